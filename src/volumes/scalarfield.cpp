// scalarfield.cpp: construction, voxel reads and writes, flips and the type rules of the scalar field.
#include "volumes/scalarfield.h"

#include <algorithm>
#include <new>

#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::scalar {

bool ifscalar(const scalarfield& f) { return f.width > 0 && f.height > 0 && f.depth > 0; }

int bit_depth(const scalarfield& f) {
  if (!ifscalar(f)) return 0;
  switch (f.tag) {
    case scalartag::mono: return 1;
    case scalartag::gray: return 8;
    case scalartag::fullgray: return 16;
    default: return 0;
  }
}

const char16_t* tag_name(scalartag t) {
  switch (t) {
    case scalartag::mono: return u"mono";
    case scalartag::gray: return u"gray";
    case scalartag::fullgray: return u"fullgray";
    default: return u"unknown";
  }
}

bool size_ok(std::int64_t x, std::int64_t y, std::int64_t z) {
  constexpr std::int64_t side = std::int64_t(1) << 20, total = std::int64_t(1) << 34;
  if (x < 1 || y < 1 || z < 1 || x > side || y > side || z > side) return false;
  return x * y <= total && x * y * z <= total;   // x*y < 2^40, so neither product overflows
}

namespace {

void reset_state(scalarfield& f) {
  f.monobits.clear(), f.grayvoxels.clear(), f.fullvoxels.clear();
  f.monobits.shrink_to_fit(), f.grayvoxels.shrink_to_fit(), f.fullvoxels.shrink_to_fit();
  f.width = f.height = f.depth = 0;
  f.background = f.value = 0;
  std::fill(std::begin(f.crop), std::end(f.crop), 0);
  f.crop[0] = f.crop[1] = f.crop[2] = 1;
  f.frame = qv::frame{};
  f.labels.clear();
  f.description.clear();
}

std::size_t index_of(const scalarfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return std::size_t(((z - 1) * f.height + (y - 1)) * f.width + (x - 1));
}

bool inside(const scalarfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return x >= 1 && y >= 1 && z >= 1 && x <= f.width && y <= f.height && z <= f.depth;
}

}  // namespace

void create(scalarfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z) {
  reset_state(f);
  if (!valid_tag(tag)) {
    print::line(u"Unknown imagefield!");
    f.tag = scalartag::none;
    return;
  }
  f.tag = scalartag(tag);
  if (x < 1 || y < 1 || z < 1) return;
  std::size_t n = std::size_t(x * y * z);
  switch (f.tag) {
    // The storage is empty here, so the new block is zeros without a fill.
    case scalartag::mono: f.monobits.resize((n + 7) / 8); break;
    case scalartag::gray: f.grayvoxels.resize(n); break;
    default: f.fullvoxels.resize(n); break;
  }
  f.width = x, f.height = y, f.depth = z;
  f.crop[3] = x, f.crop[4] = y, f.crop[5] = z;
}

bool create_checked(scalarfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z) {
  if (x >= 1 && y >= 1 && z >= 1 && !size_ok(x, y, z)) {
    print::line(u"Not enough memory! Create empty field.");
    create(f, tag, 0, 0, 0);
    return false;
  }
  try {
    create(f, tag, x, y, z);
  } catch (const std::bad_alloc&) {
    print::line(u"Not enough memory! Create empty field.");
    create(f, tag, 0, 0, 0);
    return false;
  }
  return true;
}

void clear(scalarfield& f) { create(f, std::uint8_t(f.tag == scalartag::none ? scalartag::fullgray : f.tag), 0, 0, 0); }

std::int64_t fit(scalartag t, std::int64_t v) {
  switch (t) {
    case scalartag::mono: return v > 0 ? 1 : 0;
    case scalartag::gray: return std::clamp<std::int64_t>(v, 0, 255);
    case scalartag::fullgray: return std::clamp<std::int64_t>(v, 0, 65535);
    default: return 0;
  }
}

std::int64_t fit_real(scalartag t, double v) { return fit(t, real::round_nat(v)); }

std::int64_t get(const scalarfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  if (!inside(f, x, y, z)) return f.background;
  std::size_t i = index_of(f, x, y, z);
  switch (f.tag) {
    case scalartag::mono: return (f.monobits[i >> 3] >> (i & 7)) & 1;
    case scalartag::gray: return f.grayvoxels[i];
    case scalartag::fullgray: return f.fullvoxels[i];
    default: return f.background;
  }
}

void set(scalarfield& f, std::int64_t x, std::int64_t y, std::int64_t z, std::int64_t v) {
  if (!inside(f, x, y, z)) return;
  std::size_t i = index_of(f, x, y, z);
  v = fit(f.tag, v);
  switch (f.tag) {
    case scalartag::mono:
      if (v) f.monobits[i >> 3] |= std::uint8_t(1u << (i & 7));
      else f.monobits[i >> 3] &= std::uint8_t(~(1u << (i & 7)));
      break;
    case scalartag::gray: f.grayvoxels[i] = std::uint8_t(v); break;
    case scalartag::fullgray: f.fullvoxels[i] = std::uint16_t(v); break;
    default: break;
  }
}

void set_value(scalarfield& f, std::int64_t v) { f.value = fit(f.tag, v); }
void set_background(scalarfield& f, std::int64_t v) { f.background = fit(f.tag, v); }

namespace {

template <typename V>
bool all_equal(const V& v) {
  return std::adjacent_find(v.begin(), v.end(), std::not_equal_to<typename V::value_type>()) == v.end();
}

bool mono_plain(const scalarfield& f) {
  std::size_t n = std::size_t(voxel_count(f));
  if (n == 0) return true;
  std::uint8_t first = f.monobits[0] & 1;
  std::uint8_t full = first ? 0xFF : 0;
  std::size_t whole = n / 8;
  for (std::size_t i = 0; i < whole; ++i)
    if (f.monobits[i] != full) return false;
  for (std::size_t i = whole * 8; i < n; ++i)
    if (((f.monobits[i >> 3] >> (i & 7)) & 1) != first) return false;
  return true;
}

// Mirrors the voxels of one element type along one axis (0 x, 1 y, 2 z), in place.
template <typename T>
void flip_elements(T* p, const scalarfield& f, int axis) {
  std::int64_t nx = f.width, ny = f.height, nz = f.depth;
  if (axis == 0) {
    for (std::int64_t r = 0; r < ny * nz; ++r) std::reverse(p + r * nx, p + (r + 1) * nx);
  } else if (axis == 1) {
    for (std::int64_t z = 0; z < nz; ++z)
      for (std::int64_t y = 0; y < ny / 2; ++y)
        std::swap_ranges(p + (z * ny + y) * nx, p + (z * ny + y + 1) * nx, p + (z * ny + ny - 1 - y) * nx);
  } else {
    for (std::int64_t z = 0; z < nz / 2; ++z)
      std::swap_ranges(p + z * ny * nx, p + (z + 1) * ny * nx, p + (nz - 1 - z) * ny * nx);
  }
}

}  // namespace

bool ifplain(const scalarfield& f) {
  switch (f.tag) {
    case scalartag::mono: return mono_plain(f);
    case scalartag::gray: return all_equal(f.grayvoxels);
    case scalartag::fullgray: return all_equal(f.fullvoxels);
    default: return true;
  }
}

void flip(scalarfield& f, int axis) {
  if (!ifscalar(f)) return;
  switch (f.tag) {
    case scalartag::gray: flip_elements(f.grayvoxels.data(), f, axis); break;
    case scalartag::fullgray: flip_elements(f.fullvoxels.data(), f, axis); break;
    case scalartag::mono: {
      // Bits are unpacked for the mirror and packed again: one byte a voxel for a moment.
      std::size_t n = std::size_t(voxel_count(f));
      std::vector<std::uint8_t> b(n);
      for (std::size_t i = 0; i < n; ++i) b[i] = (f.monobits[i >> 3] >> (i & 7)) & 1;
      flip_elements(b.data(), f, axis);
      std::fill(f.monobits.begin(), f.monobits.end(), 0);
      for (std::size_t i = 0; i < n; ++i) f.monobits[i >> 3] |= std::uint8_t(b[i] << (i & 7));
      break;
    }
    default: break;
  }
}

workspace_list<scalarfield>& workspaces() { return workspace::list<scalarfield>(); }
scalarfield& current() {
  workspace_list<scalarfield>& l = workspaces();
  if (!l.current_object()) workspace::rebuild(l);
  return *l.current_object();
}

}  // namespace qv::scalar
