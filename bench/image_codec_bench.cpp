// image_codec_bench.cpp: PNG writing and PGM reading and writing rates on large gray and rgb images.
#include <unistd.h>

#include <chrono>
#include <cstdio>

#include "images/formats/codec.h"
#include "images/image_files.h"

using namespace qv;

namespace {

double seconds_of(auto fn) {
  auto t0 = std::chrono::steady_clock::now();
  fn();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

void run(fieldtag tag, const char* name, std::int64_t side) {
  imagefield f;
  image::create(f, std::uint8_t(tag), side, side);
  for (std::int64_t y = 1; y <= side; y += 7) image::set(f, y, y, y);
  std::string png, pgm;
  double t_png = seconds_of([&] { png = codec::write_png(f); });
  double t_pgm = seconds_of([&] { pgm = codec::write_pnm(f, codec::pnmkind::pgm, "b.pgm"); });
  imagefield g;
  image::create(g, 145);
  double t_read = seconds_of([&] { codec::read_pnm(g, pgm); });
  double mb_png = double(png.size()) / 1e6, mb_pgm = double(pgm.size()) / 1e6;
  std::printf("%-4s %lldx%lld, 1 thread: PNG write %.0f MB in %.3f s = %.0f MB/s; PGM write %.0f MB/s; "
              "PGM read %.0f MB/s (in memory, no disk)\n",
              name, static_cast<long long>(side), static_cast<long long>(side), mb_png, t_png, mb_png / t_png,
              mb_pgm / t_pgm, mb_pgm / t_read);
}

}  // namespace

int main() {
  run(fieldtag::gray, "gray", 8192);
  run(fieldtag::rgb, "rgb", 4096);
  return 0;
}
