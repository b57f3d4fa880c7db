// paint.cpp: painting of voxels, spheres, cubes and thick lines into scalar fields.
#include "volumes/paint.h"

#include <cmath>

#include "foundation/numeric.h"
#include "volumes/scalarfield.h"

namespace qv::paint {

void point(scalarfield& f, voxel c, std::int64_t value) { scalar::set(f, c.x, c.y, c.z, value); }

void sphere(scalarfield& f, voxel c, double radius, std::int64_t value, bool shell) {
  if (radius < 0) return;
  const std::int64_t r = std::int64_t(std::floor(radius)), rr = real::round(radius);
  for (std::int64_t z = -r; z <= r; ++z)
    for (std::int64_t y = -r; y <= r; ++y)
      for (std::int64_t x = -r; x <= r; ++x) {
        const double d = std::sqrt(double(x * x + y * y + z * z));
        if (d > radius || (shell && real::round(d) != rr)) continue;
        scalar::set(f, c.x + x, c.y + y, c.z + z, value);
      }
}

void cube(scalarfield& f, voxel c, std::int64_t radius, std::int64_t value, bool shell) {
  if (radius < 0) return;
  for (std::int64_t z = -radius; z <= radius; ++z)
    for (std::int64_t y = -radius; y <= radius; ++y)
      for (std::int64_t x = -radius; x <= radius; ++x) {
        if (shell && std::abs(x) != radius && std::abs(y) != radius && std::abs(z) != radius) continue;
        scalar::set(f, c.x + x, c.y + y, c.z + z, value);
      }
}

void line(scalarfield& f, voxel a, voxel b, std::int64_t value, double radius) {
  auto put = [&](voxel v) { radius > 0 ? sphere(f, v, radius, value) : point(f, v, value); };
  put(a);
  const double dx = double(b.x - a.x), dy = double(b.y - a.y), dz = double(b.z - a.z);
  const std::int64_t l = real::round(std::sqrt(dx * dx + dy * dy + dz * dz));
  if (l >= 1) {
    // Steps scaled by 65535 and positions by 65536, as the line scans walk.
    const std::int64_t sx = real::round(dx / double(l) * 65535), sy = real::round(dy / double(l) * 65535),
                       sz = real::round(dz / double(l) * 65535);
    auto at = [](std::int64_t s, std::int64_t o) { return std::int64_t(std::uint64_t(s * 65536 + o) >> 16); };
    for (std::int64_t k = 1; k <= l; ++k) put({at(a.x, k * sx), at(a.y, k * sy), at(a.z, k * sz)});
  }
  put(b);
}

}  // namespace qv::paint
