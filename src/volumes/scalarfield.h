// scalarfield.h: the 3D scalar volume record and its workspace list (size, frame, name, tag so far).
#pragma once
#include <cstdint>
#include <memory>

#include "images/frame.h"
#include "images/workspace.h"

namespace qv {

// Element types; keep in step with the dump names in `workspace_traits<scalarfield>`.
enum class scalartag : std::uint8_t { none = 0, mono = 149, gray = 150, fullgray = 151 };

struct scalarfield {
  scalartag tag = scalartag::fullgray;
  std::int64_t width = 0, height = 0, depth = 0;
  qv::frame frame;
  widetext filename;
  // Settings of the line scans (`scalar.fullscan`, `scalar.submethod`, `scalar.diffusion.*`).
  bool fullscan = false;
  std::uint8_t submethod = 2;
  std::uint8_t diffusionmethod = 0;
  std::uint8_t connectionmethod = 0;
  double diffusionangle = 5 * 0.017453292519943295;
  double diffusionmax = 0.25;
};

template <>
struct workspace_traits<scalarfield> {
  static constexpr const char* prefix = "scalar.";
  static constexpr const char16_t* word = u"scalarfield";
  static constexpr const char16_t* dumpname = u"scalar";
  static constexpr const char16_t* emptyline = u"  Scalarlist empty!";
  static constexpr const char16_t* currenthead = u"  Scalar (";
  static constexpr const char* usage[4] = {"scalar.use name", "scalar.swap name1 name2", "scalar.name name",
                                           "scalar.dump"};
  static constexpr std::uint8_t start_tag = 151;
  static inline std::uint8_t default_tag = 151;
  static std::unique_ptr<scalarfield> create(std::uint8_t tag) {
    auto f = std::make_unique<scalarfield>();
    f->tag = scalartag(tag);
    return f;
  }
  static widetext size(const scalarfield& f) {
    return nat::text(f.width) + u"x" + nat::text(f.height) + u"x" + nat::text(f.depth);
  }
  static widetext entry(const scalarfield& f) {
    switch (f.tag) {
      case scalartag::mono: return u"mono(" + size(f) + u")";
      case scalartag::gray: return u"gray(" + size(f) + u")";
      case scalartag::fullgray: return u"fullgray(" + size(f) + u")";
      default: return u"unknown";
    }
  }
  static void announce(wideview name, const scalarfield& f) {
    print::line(u"Use scalar: " + widetext(name) + u" (" + size(f) + u")");
  }
};

}  // namespace qv
