// vectorfield.h: the 3D vector field record, its workspace list, and the element access all vector commands share.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/voxelstore.h"
#include "images/frame.h"
#include "images/workspace.h"
#include <type_traits>

namespace qv {

// Element types; keep in step with the dump names in `workspace_traits<vectorfield>`.
enum class vectortag : std::uint8_t { none = 0, real = 88, nat = 89, rgb = 170 };

// One 3-vector per voxel, x fastest, the three components side by side in the
// array that the tag names (the other two stay empty). An empty field has no
// voxels and sizes 0.
struct vectorfield {
  vectortag tag = vectortag::real;
  std::int64_t width = 0, height = 0, depth = 0;
  qv::frame frame;
  widetext filename;
  voxelvector<double> reals;         // tag 88
  voxelvector<std::int64_t> nats;    // tag 89: writes round half to even
  voxelvector<std::uint8_t> bytes;   // tag 170: writes round into 0..255
  framemath::vector background;      // set by `vector.background`
};

template <>
struct workspace_traits<vectorfield> {
  static constexpr const char* prefix = "vector.";
  static constexpr const char16_t* word = u"vectorfield";
  static constexpr const char16_t* dumpname = u"vector";
  static constexpr const char16_t* emptyline = u"  Vector field list empty!";
  static constexpr const char16_t* currenthead = u"  Vector field (";
  static constexpr const char* usage[4] = {"vector.use name", "vector.swap name1 name2", "vector.name name",
                                           "vector.dump"};
  static constexpr std::uint8_t start_tag = 88;
  static inline std::uint8_t default_tag = 88;
  static std::unique_ptr<vectorfield> create(std::uint8_t tag) {
    auto f = std::make_unique<vectorfield>();
    f->tag = vectortag(tag);
    return f;
  }
  static widetext size(const vectorfield& f) {
    return nat::text(f.width) + u"x" + nat::text(f.height) + u"x" + nat::text(f.depth);
  }
  static widetext entry(const vectorfield& f) {
    switch (f.tag) {
      case vectortag::real: return u"float(" + size(f) + u")";
      case vectortag::nat: return u"nat(" + size(f) + u")";
      case vectortag::rgb: return u"rgb(" + size(f) + u")";
      default: return u"unknown";
    }
  }
  static void announce(wideview name, const vectorfield& f) {
    print::line(u"Use vector: " + widetext(name) + u" (" + size(f) + u")");
  }
};

namespace vector {

using framemath::vector;   // inside this namespace `vector` is the value, std::vector stays qualified

bool valid_tag(std::uint8_t t);
std::int64_t voxel_count(const vectorfield& f);
bool has_voxels(const vectorfield& f);
// Sized anew with the given tag, all null; sizes below 1 or too large give an empty field.
bool create_field(vectorfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z);
void clear_field(vectorfield& f);   // drops voxels and frame, keeps the tag

// Reads outside give the null vector, writes outside are ignored; x, y, z from 1.
vector get(const vectorfield& f, std::int64_t x, std::int64_t y, std::int64_t z);
void set(vectorfield& f, std::int64_t x, std::int64_t y, std::int64_t z, vector v);

// The element conversions of a write: doubles as they are, integers rounded
// half to even after a clamp, bytes rounded into 0..255.
template <typename T>
T store(double v);
template <> inline double store<double>(double v) { return v; }
template <> std::int64_t store<std::int64_t>(double v);
template <> std::uint8_t store<std::uint8_t>(double v);

// Calls `kernel(T* data, count)` with the field's array as its element type,
// so that per-voxel loops are compiled once per type. False for an unknown tag.
template <typename K>
bool with_elements(vectorfield& f, K&& kernel) {
  switch (f.tag) {
    case vectortag::real: kernel(f.reals.data(), voxel_count(f)); return true;
    case vectortag::nat: kernel(f.nats.data(), voxel_count(f)); return true;
    case vectortag::rgb: kernel(f.bytes.data(), voxel_count(f)); return true;
    default: return false;
  }
}
template <typename K>
bool with_elements(const vectorfield& f, K&& kernel) {
  return with_elements(const_cast<vectorfield&>(f), [&](auto* d, std::int64_t n) {
    kernel(static_cast<const std::remove_pointer_t<decltype(d)>*>(d), n);
  });
}

// Replaces each vector v by fn(v); one loop per element type.
template <typename Fn>
bool transform(vectorfield& f, Fn fn) {
  return with_elements(f, [&](auto* d, std::int64_t n) {
    using T = std::remove_pointer_t<decltype(d)>;
    for (std::int64_t i = 0; i < n; ++i, d += 3) {
      const vector r = fn(vector{double(d[0]), double(d[1]), double(d[2])});
      d[0] = store<T>(r.x), d[1] = store<T>(r.y), d[2] = store<T>(r.z);
    }
  });
}

}  // namespace vector
}  // namespace qv
