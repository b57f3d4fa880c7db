// volume_nifti_bench.cpp: load and save rates of a 256x256x180 16-bit volume as .nii and .nii.gz, beside gzip and nibabel.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include <fstream>

#include "foundation/console.h"
#include "timing.h"
#include "volumes/formats/nifti.h"
#include "volumes/formats/nifti_header.h"

using namespace qv;

namespace {

using bench::seconds_of;
using bench::shell_seconds;

// A head-like phantom: an ellipsoid of tissue values with a smooth gradient and
// some noise, air around it, so the deflate ratio resembles a real scan.
scalarfield phantom(std::int64_t nx, std::int64_t ny, std::int64_t nz) {
  scalarfield f;
  scalar::create(f, 151, nx, ny, nz);
  std::uint32_t seed = 12345;
  std::uint16_t* p = f.fullvoxels.data();
  for (std::int64_t z = 0; z < nz; ++z)
    for (std::int64_t y = 0; y < ny; ++y)
      for (std::int64_t x = 0; x < nx; ++x) {
        double dx = (x - nx / 2.0) / (nx * 0.4), dy = (y - ny / 2.0) / (ny * 0.45), dz = (z - nz / 2.0) / (nz * 0.45);
        double r = dx * dx + dy * dy + dz * dz;
        seed = seed * 1664525u + 1013904223u;
        int noise = int(seed >> 27);   // 0..31
        *p++ = std::uint16_t(r < 1 ? 1000 + 800 * (1 - r) + noise : noise / 4);
      }
  return f;
}

// The phantom as a signed 16-bit file (values shifted down by 1000), the type scanners write.
void write_int16(const scalarfield& f, const std::string& name) {
  nifti::header h = nifti::make_header(f.width, f.height, f.depth, 4, 16, f.frame.matrix, f.frame.offset, false);
  std::string b = nifti::bytes_of(h) + std::string(4, '\0');
  std::string data(f.fullvoxels.size() * 2, '\0');
  for (std::size_t i = 0; i < f.fullvoxels.size(); ++i) {
    std::int16_t v = std::int16_t(int(f.fullvoxels[i]) - 1000);
    std::memcpy(data.data() + 2 * i, &v, 2);
  }
  std::ofstream(name, std::ios::binary) << b << data;
}

void report(const char* what, double s, double bytes, double reference = 0) {
  std::printf("%-34s %8.3f s %9.2f MB/s", what, s, bytes / s / 1e6);
  if (reference > 0) std::printf("   ratio to reference %.2f", s / reference);
  std::printf("\n");
}

}  // namespace

int main() {
  const std::int64_t nx = 256, ny = 256, nz = 180;
  std::filesystem::path dir = std::filesystem::temp_directory_path() / "qv-volume-bench";
  std::filesystem::create_directories(dir);
  std::string nii = (dir / "v.nii").string(), gz = (dir / "v.nii.gz").string();
  std::string ref = (dir / "ref.nii").string(), refgz = (dir / "ref.nii.gz").string();
  scalarfield f = phantom(nx, ny, nz), g;
  const double bytes = double(nx * ny * nz * 2);
  console::consoleon = false;
  std::printf("volume %lldx%lldx%lld fullgray, %.1f MB, 1 thread (2 cores on this machine)\n",
              static_cast<long long>(nx), static_cast<long long>(ny), static_cast<long long>(nz), bytes / 1e6);

  write_int16(f, ref);   // int16 on disk, as scanners write it; loads convert to fullgray
  std::fflush(stdout);
  double gzip6 = shell_seconds("gzip -6 -c '" + ref + "' > '" + refgz + "'");
  double gunzip = shell_seconds("gzip -dc '" + refgz + "' > /dev/null");
  double save_nii = seconds_of([&] { scalar::save_nifti(f, nii); });
  double load_nii = seconds_of([&] { scalar::load_nifti(g, 151, ref, 0); });
  double save_gz = seconds_of([&] { scalar::save_nifti(f, gz); });
  double load_gz = seconds_of([&] { scalar::load_nifti(g, 151, refgz, 0); });
  console::consoleon = true;

  report("save .nii", save_nii, bytes);
  report("load .nii int16 (page cache)", load_nii, bytes);
  report("save .nii.gz", save_gz, bytes, gzip6);
  report("  gzip -6 of the .nii", gzip6, bytes);
  report("load .nii.gz int16", load_gz, bytes, gunzip);
  report("  gzip -dc of the same .nii.gz", gunzip, bytes);
  std::printf("compressed size %.1f MB (gzip -6: %.1f MB)\n", double(std::filesystem::file_size(gz)) / 1e6,
              double(std::filesystem::file_size(refgz)) / 1e6);
  std::fflush(stdout);

  if (std::system("/usr/bin/python3 -c 'import nibabel' 2>/dev/null") == 0) {
    std::string py = "/usr/bin/python3 -c \"import nibabel as nib, numpy as np, time, sys\n"
                     "for name in sys.argv[1:]:\n"
                     "    best = 1e9\n"
                     "    for i in range(3):\n"
                     "        t = time.perf_counter(); d = np.array(nib.load(name).dataobj); best = min(best, time.perf_counter() - t)\n"
                     "    print('nibabel load %-24s %8.3f s' % (name.split('/')[-1], best))\n"
                     "img = nib.load(sys.argv[1]); d = np.array(img.dataobj)\n"
                     "for out in ('" + (dir / "nib.nii").string() + "', '" + (dir / "nib.nii.gz").string() + "'):\n"
                     "    best = 1e9\n"
                     "    for i in range(3):\n"
                     "        t = time.perf_counter(); nib.save(nib.Nifti1Image(d, img.affine, img.header), out); best = min(best, time.perf_counter() - t)\n"
                     "    print('nibabel save %-24s %8.3f s' % (out.split('/')[-1], best))\n"
                     "\" '" + ref + "' '" + refgz + "'";
    if (std::system(py.c_str()) != 0) std::printf("nibabel timing failed\n");
  } else {
    std::printf("nibabel not installed: no comparison\n");
  }
  std::filesystem::remove_all(dir);
  return 0;
}
