// scalar_source.cpp: the scan view of a scalar field's voxels.
#include "orientation/scalar_source.h"

namespace qv::diffusion {

// Gray and fullgray fields give their voxel array; mono, empty and unsized
// fields read as ones without data, and the scans give null vectors there.
scalarview scalar_voxels(const scalarfield& f) {
  scalarview v;
  v.nx = f.width, v.ny = f.height, v.nz = f.depth;
  std::size_t n = std::size_t(scalar::voxel_count(f));
  if (n == 0) return v;
  std::int64_t back = f.background;
  if (f.tag == scalartag::gray && f.grayvoxels.size() == n) v.gray = {f.grayvoxels.data(), v.nx, v.ny, v.nz, back};
  if (f.tag == scalartag::fullgray && f.fullvoxels.size() == n)
    v.fullgray = {f.fullvoxels.data(), v.nx, v.ny, v.nz, back};
  return v;
}

}  // namespace qv::diffusion
