// vectorfield.h: the 3D vector field record and its workspace list (size, frame, name, tag so far).
#pragma once
#include <cstdint>
#include <memory>

#include "images/frame.h"
#include "images/workspace.h"

namespace qv {

// Element types; keep in step with the dump names in `workspace_traits<vectorfield>`.
enum class vectortag : std::uint8_t { none = 0, real = 88, nat = 89, rgb = 170 };

struct vectorfield {
  vectortag tag = vectortag::real;
  std::int64_t width = 0, height = 0, depth = 0;
  qv::frame frame;
  widetext filename;
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

}  // namespace qv
