// tensor_eigen.cpp: the eigen-decomposition of a voxel's tensor through the symmetric solver of the numeric kernel.
#include "foundation/numeric.h"
#include "orientation/tensorfield.h"

namespace qv::tensor {
namespace {
num::tensor plain(const tensor6& t) { return {t.xx, t.yy, t.zz, t.xy, t.xz, t.yz}; }
framemath::vector frame_vector(num::vector v) { return {v.x, v.y, v.z}; }
}  // namespace

framemath::vector eigenvalues(const tensor6& t) { return frame_vector(values(plain(t))); }

eigensystem eigen(const tensor6& t) {
  const eigenresult r = eigen(plain(t));
  const num::matrix rows = vectors(r);
  return {frame_vector(values(r)),
          {frame_vector(matrix::row(rows, 0)), frame_vector(matrix::row(rows, 1)), frame_vector(matrix::row(rows, 2))}};
}

}  // namespace qv::tensor
