// image_pixels_bench.cpp: fill and pixel read/write rates on large gray and rgb images.
#include <chrono>
#include <cstdio>

#include "images/imagefield.h"

using namespace qv;

namespace {

double seconds_of(auto fn) {
  auto t0 = std::chrono::steady_clock::now();
  fn();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// The typed loop every whole-image kernel is built on: take the data pointer
// once, read and write each pixel as a plain value.
template <typename T>
void invert_plane(imageplane<T>& p) {
  T* d = p.data.data();
  std::size_t n = p.data.size();
  for (std::size_t i = 0; i < n; ++i) d[i] = T(~d[i]);
}

void run(fieldtag tag, const char* name, std::int64_t side) {
  imagefield f;
  image::create(f, std::uint8_t(tag), side, side);
  double mp = double(side) * double(side) / 1e6;
  image::set_value(f, 77);
  image::fill(f);   // touch the pages once
  double t_fill = seconds_of([&] {
    for (int r = 0; r < 4; ++r) image::fill(f);
  }) / 4;
  double t_typed = seconds_of([&] {
    imagebody& b = *f.pixels;
    if (tag == fieldtag::gray) invert_plane(b.gray);
    else invert_plane(b.red), invert_plane(b.green), invert_plane(b.blue);
  });
  imagefield g;
  double t_assign = seconds_of([&] { image::assign(g, &f); });
  // the record interface, one dispatch per pixel, for comparison
  std::int64_t rows = side / 8;
  double t_api = seconds_of([&] {
    for (std::int64_t y = 1; y <= rows; ++y)
      for (std::int64_t x = 1; x <= side; ++x) image::set(g, x, y, image::get(f, x, y) + 1);
  }) * 8;
  std::printf("%-5s %lldx%lld (%.0f Mpixel), 1 thread: fill %.0f Mpixel/s, typed read/write %.0f Mpixel/s, "
              "copy %.0f Mpixel/s, per-pixel get/set %.0f Mpixel/s\n",
              name, static_cast<long long>(side), static_cast<long long>(side), mp, mp / t_fill, mp / t_typed,
              mp / t_assign, mp / t_api);
}

}  // namespace

int main(int argc, char** argv) {
  std::int64_t side = argc > 1 ? std::atoll(argv[1]) : 8192;
  run(fieldtag::gray, "gray", side);
  run(fieldtag::rgb, "rgb", side);
  return 0;
}
