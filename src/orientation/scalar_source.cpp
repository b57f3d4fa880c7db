// scalar_source.cpp: the scan view of a scalar field's voxels.
#include "orientation/scalar_source.h"

namespace qv::diffusion {

// The scalar record carries sizes and frame but no voxel array yet; until it
// does, every field reads as one without data, and the scans give null vectors.
scalarview scalar_voxels(const scalarfield& f) {
  scalarview v;
  v.nx = f.width, v.ny = f.height, v.nz = f.depth;
  return v;
}

}  // namespace qv::diffusion
