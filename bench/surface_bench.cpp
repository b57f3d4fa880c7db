// surface_bench.cpp: extraction time of `scalar.surface <100,65535>` on a volume file, one worker and several.
// Usage: surface_bench file.nii.gz [threads]. Prints wall and processor seconds (best of 5), voxels/s and the counts.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "foundation/console.h"
#include "meshes/surface.h"
#include "volumes/formats/nifti.h"
#include "volumes/scalarfield.h"

using namespace qv;

namespace {

struct timing {
  double seconds = 1e30, cpu = 1e30;   // wall and processor time, best of each
  std::int64_t points = 0, faces = 0;
};

timing extract(const scalarfield& f, std::int64_t threads) {
  timing t;
  for (int i = 0; i < 5; ++i) {
    mesh m;
    meshes::forget_last_face();
    auto t0 = std::chrono::steady_clock::now();
    const std::clock_t c0 = std::clock();
    meshes::surface_field(m, f, meshes::surfacekind::plain, 100, 65535, nullptr, threads);
    t.cpu = std::min(t.cpu, double(std::clock() - c0) / CLOCKS_PER_SEC);
    t.seconds = std::min(t.seconds, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    t.points = meshes::point_count(m), t.faces = meshes::face_count(m);
  }
  return t;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: surface_bench file.nii.gz [threads]\n");
    return 2;
  }
  const std::int64_t threads = argc > 2 ? std::atoll(argv[2]) : 2;
  console::consoleon = false;   // no progress lines between the figures
  scalarfield f;
  if (!scalar::load_nifti(f, 150, argv[1], 0)) return 1;
  const double voxels = double(scalar::voxel_count(f));
  for (std::int64_t n : {std::int64_t(1), threads}) {
    timing t = extract(f, n);
    std::printf("threads %lld: %.4f s wall (%.1f Mvoxel/s), %.4f s processor, points %lld, faces %lld\n",
                static_cast<long long>(n), t.seconds, voxels / t.seconds / 1e6, t.cpu, static_cast<long long>(t.points),
                static_cast<long long>(t.faces));
  }
  return 0;
}
