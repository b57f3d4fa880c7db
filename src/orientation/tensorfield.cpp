// tensorfield.cpp: sizing, clearing and element access of the tensor field.
#include "orientation/tensorfield.h"

#include <cmath>

namespace qv::tensor {

bool valid_tag(std::uint8_t t) { return t == 88 || t == 89; }

std::int64_t voxel_count(const tensorfield& f) { return f.width * f.height * f.depth; }

bool has_voxels(const tensorfield& f) {
  return f.width > 0 && f.height > 0 && f.depth > 0 && vector::has_voxels(f.diagonal) &&
         vector::has_voxels(f.offdiagonal);
}

void clear_field(tensorfield& f) {
  f.width = f.height = f.depth = 0;
  vector::clear_field(f.diagonal);
  vector::clear_field(f.offdiagonal);
  f.frame = qv::frame{};
}

bool create_field(tensorfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z) {
  clear_field(f);
  if (valid_tag(tag)) f.tag = tensortag(tag);
  if (!valid_tag(std::uint8_t(f.tag))) return false;
  if (!vector::create_field(f.diagonal, std::uint8_t(f.tag), x, y, z) ||
      !vector::create_field(f.offdiagonal, std::uint8_t(f.tag), x, y, z)) {
    clear_field(f);
    return false;
  }
  f.width = x, f.height = y, f.depth = z;
  return true;
}

namespace {
bool inside(const tensorfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return x >= 1 && y >= 1 && z >= 1 && x <= f.width && y <= f.height && z <= f.depth && has_voxels(f);
}
std::int64_t index(const tensorfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return ((z - 1) * f.height + (y - 1)) * f.width + (x - 1);
}
}  // namespace

tensor6 get(const tensorfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  if (!inside(f, x, y, z)) return {};
  tensor6 t{};
  with_elements(f, [&](const auto* d, const auto* o, std::int64_t) { t = load(d, o, index(f, x, y, z)); });
  return t;
}

void set(tensorfield& f, std::int64_t x, std::int64_t y, std::int64_t z, tensor6 t) {
  if (!inside(f, x, y, z)) return;
  with_elements(f, [&](auto* d, auto* o, std::int64_t) { store(d, o, index(f, x, y, z), t); });
}

tensor6 tensor_at(const tensorfield& f, framemath::vector p) {
  const double fx = std::floor(p.x), fy = std::floor(p.y), fz = std::floor(p.z);
  if (!(std::fabs(fx) < 1e15 && std::fabs(fy) < 1e15 && std::fabs(fz) < 1e15)) return {};
  const std::int64_t x = std::int64_t(fx), y = std::int64_t(fy), z = std::int64_t(fz);
  const double ax = p.x - fx, ay = p.y - fy, az = p.z - fz;
  tensor6 r{};
  for (int c = 0; c < 8; ++c) {
    const int i = c & 1, j = (c >> 1) & 1, k = c >> 2;
    const double w = (i ? ax : 1 - ax) * (j ? ay : 1 - ay) * (k ? az : 1 - az);
    if (w == 0) continue;
    const tensor6 t = get(f, x + i, y + j, z + k);
    r.xx += w * t.xx, r.yy += w * t.yy, r.zz += w * t.zz, r.xy += w * t.xy, r.xz += w * t.xz, r.yz += w * t.yz;
  }
  return r;
}

}  // namespace qv::tensor
