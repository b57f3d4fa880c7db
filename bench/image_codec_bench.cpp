// image_codec_bench.cpp: PNG writing (in memory and `image.save` to a file) and PGM rates, beside python3-pil saving PNG.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "images/formats/codec.h"
#include "images/image_files.h"

using namespace qv;

namespace {

double seconds_of(auto fn) {
  auto t0 = std::chrono::steady_clock::now();
  fn();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// The best of three runs, the first of which also warms the caches and the allocator.
double best_of_3(auto fn) {
  double t = 1e300;
  for (int i = 0; i < 3; ++i) t = std::min(t, seconds_of(fn));
  return t;
}

std::string quiet_folder() {
  auto dir = std::filesystem::temp_directory_path() / ("qv-codec-bench-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  return dir.string();
}

// python3-pil writing an image of the same size and kind at compression level 0, if it is installed.
void pil(const char* mode, std::int64_t side, const std::string& dir) {
  std::string cmd = "/usr/bin/python3 -c \"import time; from PIL import Image; im = Image.new('" + std::string(mode) +
                    "', (" + std::to_string(side) + ", " + std::to_string(side) +
                    ")); best = 1e9\nfor i in range(3):\n t = time.perf_counter(); im.save('" + dir +
                    "/pil.png', compress_level=0); best = min(best, time.perf_counter() - t)\nimport os; n = "
                    "os.path.getsize('" + dir + "/pil.png') / 1e6; print('     python3-pil save %.0f MB in %.3f s = "
                    "%.0f MB/s (compress_level=0)' % (n, best, n / best))\" 2>/dev/null || echo '     python3-pil "
                    "not installed'";
  std::fflush(stdout);
  if (std::system(cmd.c_str()) != 0) std::printf("     python3-pil run failed\n");
}

void run(fieldtag tag, const char* name, const char* pilmode, std::int64_t side, const std::string& dir) {
  imagefield f;
  image::create(f, std::uint8_t(tag), side, side);
  for (std::int64_t y = 1; y <= side; y += 7) image::set(f, y, y, y);
  std::string png, pgm, file = dir + "/b.png";
  double t_png = best_of_3([&] { png = codec::write_png(f); });
  double t_save = best_of_3([&] { image::save_field(f, file); });
  double t_pgm = seconds_of([&] { pgm = codec::write_pnm(f, codec::pnmkind::pgm, "b.pgm"); });
  imagefield g;
  image::create(g, 145);
  double t_read = seconds_of([&] { codec::read_pnm(g, pgm); });
  double mb_png = double(png.size()) / 1e6, mb_pgm = double(pgm.size()) / 1e6;
  std::printf("%-4s %lldx%lld, 1 thread (of %ld cores): PNG %.0f MB: in memory %.3f s = %.0f MB/s, image.save to %s "
              "%.3f s = %.0f MB/s\n     PGM write %.0f MB/s, PGM read %.0f MB/s (in memory)\n",
              name, static_cast<long long>(side), static_cast<long long>(side), sysconf(_SC_NPROCESSORS_ONLN), mb_png,
              t_png, mb_png / t_png, dir.c_str(), t_save, mb_png / t_save, mb_pgm / t_pgm, mb_pgm / t_read);
  pil(pilmode, side, dir);
}

}  // namespace

int main() {
  std::string dir = quiet_folder();
  run(fieldtag::gray, "gray", "L", 8192, dir);
  run(fieldtag::rgb, "rgb", "RGB", 4096, dir);
  std::filesystem::remove_all(dir);
  return 0;
}
