// volume_ops_bench.cpp: Mvoxel/s of volume combinations, a shrink pass, the 27-voxel kernels and the hole fill
// on 256^3 gray and fullgray volumes at 1 and 2 threads, beside scipy.ndimage on the same jobs.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "app/families.h"
#include "foundation/console.h"
#include "volumes/scalarfield.h"

using namespace qv;

namespace {

constexpr std::int64_t side = 256;

// A ball of tissue values with noise and a few hollow bubbles, air around it.
template <typename T>
void phantom(T* p, std::int64_t top, std::uint32_t seed) {
  for (std::int64_t z = 0; z < side; ++z)
    for (std::int64_t y = 0; y < side; ++y)
      for (std::int64_t x = 0; x < side; ++x) {
        double dx = (x - 128) / 100.0, dy = (y - 128) / 110.0, dz = (z - 128) / 105.0;
        double r = dx * dx + dy * dy + dz * dz;
        double bx = ((x % 32) - 16) / 6.0, by = ((y % 32) - 16) / 6.0, bz = ((z % 32) - 16) / 6.0;
        bool bubble = bx * bx + by * by + bz * bz < 1;
        seed = seed * 1664525u + 1013904223u;
        double noise = double(seed >> 24) / 255.0;
        *p++ = T(r < 1 && !bubble ? top * (0.6 + 0.3 * noise) : top * 0.1 * noise);
      }
}

void fill(const char16_t* name, std::uint8_t tag, std::uint32_t seed) {
  scalarfield& f = workspace::use(scalar::workspaces(), name);
  scalar::create(f, tag, side, side, side);
  if (tag == 150) phantom(f.grayvoxels.data(), 255, seed);
  else phantom(f.fullvoxels.data(), 65535, seed);
}

// Runs one statement after fresh inputs; gives seconds of the statement alone.
double run(const std::string& statement, std::uint8_t tag, int threads) {
  fill(u"a", tag, 1);
  fill(u"b", tag, 2);
  workspace::use(scalar::workspaces(), u"a");
  macroengine m;
  m.outfiles.emplace_back();
  app::register_all(m);
  lines::split(m.lines, "debug.no\nthread.max := " + std::to_string(threads) + "\n" + statement + "\n", false);
  m.lines.filename = "bench.macro";
  bool saved = console::consoleon;
  console::consoleon = false;
  auto t0 = std::chrono::steady_clock::now();
  macro::run(m);
  double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  console::consoleon = saved;
  return s;
}

double best_of(const std::string& statement, std::uint8_t tag, int threads) {
  double best = 1e30;
  for (int i = 0; i < 3; ++i) best = std::min(best, run(statement, tag, threads));
  return best;
}

const char* scipy_script = R"PY(
import time, numpy as np
from scipy import ndimage
n = 256
z, y, x = np.mgrid[0:n, 0:n, 0:n]
r = ((x - 128) / 100.0) ** 2 + ((y - 128) / 110.0) ** 2 + ((z - 128) / 105.0) ** 2
b = (((x % 32) - 16) / 6.0) ** 2 + (((y % 32) - 16) / 6.0) ** 2 + (((z % 32) - 16) / 6.0) ** 2 < 1
rng = np.random.default_rng(1)
for name, dtype, top in (("gray", np.uint8, 255), ("fullgray", np.uint16, 65535)):
    noise = rng.random((n, n, n))
    a = np.where((r < 1) & ~b, top * (0.6 + 0.3 * noise), top * 0.1 * noise).astype(dtype)
    c = a[::-1].copy()
    mask = a >= top // 2
    cube = np.ones((3, 3, 3), bool)
    jobs = [("add (numpy, clipped)", lambda: np.minimum(a.astype(np.int32) + c, top).astype(dtype)),
            ("binary_erosion 3x3x3", lambda: ndimage.binary_erosion(mask, cube)),
            ("uniform_filter size 3", lambda: ndimage.uniform_filter(a, 3)),
            ("binary_fill_holes", lambda: ndimage.binary_fill_holes(mask))]
    for job, fn in jobs:
        best = 1e30
        for _ in range(2):
            t = time.perf_counter(); fn(); best = min(best, time.perf_counter() - t)
        print("  scipy %-9s %-24s %8.1f Mvoxel/s" % (name, job, n ** 3 / best / 1e6))
)PY";

}  // namespace

int main() {
  const double mvox = double(side * side * side) / 1e6;
  std::printf("volume operations on %lldx%lldx%lld voxels\n", (long long)side, (long long)side, (long long)side);
  const char* jobs[][2] = {{"c := scalar.add a b", "add (two fields)"},
                           {"scalar.shrink <128,255> 0 0", "shrink pass"},
                           {"scalar.smooth", "smooth"},
                           {"scalar.hardsmooth", "hardsmooth"},
                           {"scalar.fill.holes <128,255> 255", "fill.holes"}};
  for (std::uint8_t tag : {std::uint8_t(150), std::uint8_t(151)}) {
    const char* tname = tag == 150 ? "gray" : "fullgray";
    for (auto& job : jobs)
      for (int threads : {1, 2}) {
        std::string statement = job[0];
        if (tag == 151) {   // the same share of the range in 16 bits
          auto at = statement.find("<128,255>");
          if (at != std::string::npos) statement.replace(at, 9, "<32768,65535>");
          at = statement.find("> 255");
          if (at != std::string::npos) statement.replace(at, 5, "> 65535");
        }
        double s = best_of(statement, tag, threads);
        std::printf("  quorvex %-9s %-24s threads %d %8.1f Mvoxel/s\n", tname, job[1], threads, mvox / s);
      }
  }
  std::fflush(stdout);
  if (std::system("/usr/bin/python3 -c 'import scipy.ndimage' 2>/dev/null") != 0) {
    std::printf("  scipy not installed: no comparison\n");
    return 0;
  }
  std::string cmd = std::string("/usr/bin/python3 -c '") + scipy_script + "'";
  return std::system(cmd.c_str()) == 0 ? 0 : 1;
}
