// tensorfield.h: the 3D tensor field record and its workspace list (size, frame, name, tag so far).
#pragma once
#include <cstdint>
#include <memory>

#include "images/frame.h"
#include "images/workspace.h"

namespace qv {

// Element types; keep in step with the dump names in `workspace_traits<tensorfield>`.
enum class tensortag : std::uint8_t { none = 0, real = 88, nat = 89 };

struct tensorfield {
  tensortag tag = tensortag::real;
  std::int64_t width = 0, height = 0, depth = 0;
  qv::frame frame;
  widetext filename;
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

}  // namespace qv
