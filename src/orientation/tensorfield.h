// tensorfield.h: the 3D tensor field record, its workspace list, and the element access all tensor commands share.
#pragma once
#include <cstdint>
#include <memory>

#include "images/frame.h"
#include "images/workspace.h"
#include "orientation/vectorfield.h"

namespace qv {

// Element types; keep in step with the dump names in `workspace_traits<tensorfield>`.
enum class tensortag : std::uint8_t { none = 0, real = 88, nat = 89 };

// The value of one voxel: xx, yy, zz, xy, xz, yz.
struct tensor6 {
  double xx = 0, yy = 0, zz = 0, xy = 0, xz = 0, yz = 0;
};

// One symmetric tensor per voxel as two vector stacks of equal size and tag:
// the diagonal (xx, yy, zz) and the off-diagonal (xy, xz, yz). The stacks'
// own frames stay unused; the field's frame is the one that counts. The
// field is empty if either stack is.
struct tensorfield {
  tensortag tag = tensortag::real;
  std::int64_t width = 0, height = 0, depth = 0;
  qv::frame frame;
  widetext filename;
  vectorfield diagonal, offdiagonal;
};

template <>
struct workspace_traits<tensorfield> {
  static constexpr const char* prefix = "tensor.";
  static constexpr const char16_t* word = u"tensorfield";
  static constexpr const char16_t* dumpname = u"tensor";
  static constexpr const char16_t* emptyline = u"  Tensor field list empty!";
  static constexpr const char16_t* currenthead = u"  Tensor field (";
  static constexpr const char* usage[4] = {"tensor.use name", "tensor.swap name1 name2", "tensor.name name",
                                           "tensor.dump"};
  static constexpr std::uint8_t start_tag = 88;
  static inline std::uint8_t default_tag = 88;
  static std::unique_ptr<tensorfield> create(std::uint8_t tag) {
    auto f = std::make_unique<tensorfield>();
    f->tag = tensortag(tag);
    return f;
  }
  static widetext size(const tensorfield& f) {
    return nat::text(f.width) + u"x" + nat::text(f.height) + u"x" + nat::text(f.depth);
  }
  static widetext entry(const tensorfield& f) {
    switch (f.tag) {
      case tensortag::real: return u"float(" + size(f) + u")";
      case tensortag::nat: return u"nat(" + size(f) + u")";
      default: return u"unknown";
    }
  }
  static void announce(wideview name, const tensorfield& f) {
    print::line(u"Use tensor: " + widetext(name) + u" (" + size(f) + u")");
  }
};

namespace tensor {

bool valid_tag(std::uint8_t t);
std::int64_t voxel_count(const tensorfield& f);
bool has_voxels(const tensorfield& f);
// Sized anew with the given tag, all null; sizes below 1 or too large give an empty field.
bool create_field(tensorfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z);
void clear_field(tensorfield& f);   // drops tensors and frame, keeps the tag

// Reads outside give the null tensor, writes outside are ignored; x, y, z from 1.
// An integer field rounds each component half to even.
tensor6 get(const tensorfield& f, std::int64_t x, std::int64_t y, std::int64_t z);
void set(tensorfield& f, std::int64_t x, std::int64_t y, std::int64_t z, tensor6 t);
inline bool is_null(const tensor6& t) {
  return t.xx == 0 && t.yy == 0 && t.zz == 0 && t.xy == 0 && t.xz == 0 && t.yz == 0;
}

// Eigenvalues by descending absolute value, led by a positive one, later
// values of 0 or below made tiny; the unit eigenvectors in the same order
// (zero for such values). A decomposition that does not converge gives zeros.
struct eigensystem {
  framemath::vector values, vectors[3];
};
framemath::vector eigenvalues(const tensor6& t);
eigensystem eigen(const tensor6& t);

// The trilinear blend of the eight voxels around a real index position (1-based).
tensor6 tensor_at(const tensorfield& f, framemath::vector p);

// Calls `kernel(T* diagonal, T* offdiagonal, count)` with both stacks as their
// element type, three values per voxel. False for an unknown tag.
template <typename K>
bool with_elements(tensorfield& f, K&& kernel) {
  switch (f.tag) {
    case tensortag::real: kernel(f.diagonal.reals.data(), f.offdiagonal.reals.data(), voxel_count(f)); return true;
    case tensortag::nat: kernel(f.diagonal.nats.data(), f.offdiagonal.nats.data(), voxel_count(f)); return true;
    default: return false;
  }
}
template <typename K>
bool with_elements(const tensorfield& f, K&& kernel) {
  return with_elements(const_cast<tensorfield&>(f), [&](auto* d, auto* o, std::int64_t n) {
    using T = std::remove_pointer_t<decltype(d)>;
    kernel(static_cast<const T*>(d), static_cast<const T*>(o), n);
  });
}

// The six components of voxel i from the two stacks, and back with the element's rounding.
template <typename T>
tensor6 load(const T* d, const T* o, std::int64_t i) {
  d += 3 * i, o += 3 * i;
  return {double(d[0]), double(d[1]), double(d[2]), double(o[0]), double(o[1]), double(o[2])};
}
template <typename T>
void store(T* d, T* o, std::int64_t i, const tensor6& t) {
  d += 3 * i, o += 3 * i;
  d[0] = vector::store<T>(t.xx), d[1] = vector::store<T>(t.yy), d[2] = vector::store<T>(t.zz);
  o[0] = vector::store<T>(t.xy), o[1] = vector::store<T>(t.xz), o[2] = vector::store<T>(t.yz);
}

}  // namespace tensor
}  // namespace qv
