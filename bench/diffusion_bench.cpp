// diffusion_bench.cpp: voxels and line samples per second of the diffusion search on a synthetic fibre volume.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "foundation/console.h"
#include "orientation/diffusion_kernel.h"

using namespace qv;

namespace {

// 96^3 bytes: tubes of radius 5 on a 16-voxel grid (about a third of the
// voxels), along x in the lower half and along y in the upper half, with
// bright cores and a hashed ripple.
std::vector<std::uint8_t> fibres(std::int64_t size, std::size_t& nonzero) {
  std::vector<std::uint8_t> v(std::size_t(size * size * size));
  nonzero = 0;
  for (std::int64_t z = 0; z < size; ++z)
    for (std::int64_t y = 0; y < size; ++y)
      for (std::int64_t x = 0; x < size; ++x) {
        const std::int64_t a = (z < size / 2) ? y : x;   // across-axis coordinates of the tube
        const std::int64_t da = a % 16 - 8, dz = z % 16 - 8;
        const std::int64_t r2 = da * da + dz * dz;
        if (r2 > 26) continue;
        const std::uint32_t h = std::uint32_t(x * 73856093u ^ y * 19349663u ^ z * 83492791u);
        v[std::size_t((z * size + y) * size + x)] = std::uint8_t(120 + 100 * (26 - r2) / 26 + (h >> 7) % 9);
        ++nonzero;
      }
  return v;
}

}  // namespace

int main(int argc, char** argv) {
  const std::int64_t size = 96;
  std::size_t nonzero = 0;
  const std::vector<std::uint8_t> voxels = fibres(size, nonzero);
  const scan::volume<std::uint8_t> view{voxels.data(), size, size, size, 0};
  std::vector<diffusion::realvector> out(voxels.size());
  // Slices per run at n = 16 can be cut from the command line to keep runs short.
  const std::int64_t depth16 = argc > 1 ? std::atoll(argv[1]) : size;
  std::printf("volume %lldx%lldx%lld, %zu non-zero voxels (%.1f %%)\n", (long long)size, (long long)size,
              (long long)size, nonzero, 100.0 * double(nonzero) / double(voxels.size()));
  console::consoleon = false;
  for (std::int64_t n : {8, 16}) {
    scan::volume<std::uint8_t> part = view;
    if (n == 16) part.nz = depth16;
    for (std::int64_t threadcount : {1, 2}) {
      diffusion::settings s;
      s.n = n;
      const auto t0 = std::chrono::steady_clock::now();
      const std::int64_t samples = diffusion::field(part, s, 1, threadcount, out.data());
      const double t = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
      const double voxelcount = double(size * size * part.nz);
      std::fprintf(stdout, "n=%2lld threads=%lld slices=%3lld  %7.3f s  %10.0f voxels/s  %6.3f G line samples/s\n",
                   (long long)n, (long long)threadcount, (long long)part.nz, t, voxelcount / t,
                   double(samples) / t / 1e9);
      std::fflush(stdout);
    }
  }
  return 0;
}
