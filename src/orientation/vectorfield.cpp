// vectorfield.cpp: sizing, clearing and element access of the vector field.
#include "orientation/vectorfield.h"

#include <new>

#include "foundation/console.h"

#include <algorithm>
#include <cmath>

namespace qv::vector {

bool valid_tag(std::uint8_t t) { return t == 88 || t == 89 || t == 170; }

std::int64_t voxel_count(const vectorfield& f) { return f.width * f.height * f.depth; }

bool has_voxels(const vectorfield& f) { return f.width > 0 && f.height > 0 && f.depth > 0; }

void clear_field(vectorfield& f) {
  f.width = f.height = f.depth = 0;
  voxelvector<double>().swap(f.reals);
  voxelvector<std::int64_t>().swap(f.nats);
  voxelvector<std::uint8_t>().swap(f.bytes);
  f.frame = qv::frame{};
  f.background = {};
}

bool create_field(vectorfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z) {
  clear_field(f);
  if (valid_tag(tag)) f.tag = vectortag(tag);
  // 2^40 components is far beyond any memory this program meets; it keeps the products in range.
  if (x < 1 || y < 1 || z < 1 || x > (1 << 24) || y > (1 << 24) || z > (1 << 24) ||
      double(x) * double(y) * double(z) * 3 > double(std::int64_t(1) << 40))
    return false;
  const std::size_t n = std::size_t(x * y * z * 3);
  try {
    switch (f.tag) {
      // Emptied above, so the new block comes zeroed without a fill.
      case vectortag::real: f.reals.resize(n); break;
      case vectortag::nat: f.nats.resize(n); break;
      case vectortag::rgb: f.bytes.resize(n); break;
      default: return false;
    }
  } catch (const std::bad_alloc&) {
    clear_field(f);
    print::line(u"Not enough memory! Create empty field.");
    return false;
  }
  f.width = x, f.height = y, f.depth = z;
  return true;
}

template <>
std::int64_t store<std::int64_t>(double v) {
  return framemath::round(v);
}

template <>
std::uint8_t store<std::uint8_t>(double v) {
  if (std::isnan(v)) return 0;
  return std::uint8_t(std::nearbyint(std::clamp(v, 0.0, 255.0)));
}

namespace {
bool inside(const vectorfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return x >= 1 && y >= 1 && z >= 1 && x <= f.width && y <= f.height && z <= f.depth;
}
std::size_t index(const vectorfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return std::size_t((((z - 1) * f.height + (y - 1)) * f.width + (x - 1)) * 3);
}
}  // namespace

vector get(const vectorfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  if (!inside(f, x, y, z)) return {};
  const std::size_t i = index(f, x, y, z);
  switch (f.tag) {
    case vectortag::real: return {f.reals[i], f.reals[i + 1], f.reals[i + 2]};
    case vectortag::nat: return {double(f.nats[i]), double(f.nats[i + 1]), double(f.nats[i + 2])};
    case vectortag::rgb: return {double(f.bytes[i]), double(f.bytes[i + 1]), double(f.bytes[i + 2])};
    default: return {};
  }
}

void set(vectorfield& f, std::int64_t x, std::int64_t y, std::int64_t z, vector v) {
  if (!inside(f, x, y, z)) return;
  const std::size_t i = index(f, x, y, z);
  with_elements(f, [&](auto* d, std::int64_t) {
    using T = std::remove_pointer_t<decltype(d)>;
    d[i] = store<T>(v.x), d[i + 1] = store<T>(v.y), d[i + 2] = store<T>(v.z);
  });
}

}  // namespace qv::vector
