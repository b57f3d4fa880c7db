// cloud.h: the point and line cloud record and its workspace list (counts and name so far).
#pragma once
#include <cstdint>
#include <memory>

#include "images/workspace.h"

namespace qv {

struct cloud {
  std::int64_t points = 0, lines = 0, objects = 0;
  widetext filename;
};

template <>
struct workspace_traits<cloud> {
  static constexpr const char* prefix = "line.";
  static constexpr const char16_t* word = u"line";
  static constexpr const char16_t* dumpname = u"cloud";
  static constexpr const char16_t* emptyline = u"  Cloudlist empty!";
  static constexpr const char16_t* currenthead = u"  cloud (";
  static constexpr const char* usage[4] = {"line.use name", "line.swap name1 name2", "line.name name", "line.dump"};
  static constexpr std::uint8_t start_tag = 0;   // clouds have no element type
  static inline std::uint8_t default_tag = 0;
  static std::unique_ptr<cloud> create(std::uint8_t) { return std::make_unique<cloud>(); }
  static widetext entry(const cloud& f) {
    return u"cloud(points:" + nat::text(f.points) + u";lines:" + nat::text(f.lines) + u";objects:" +
           nat::text(f.objects) + u")";
  }
  static void announce(wideview, const cloud&) {}
};

}  // namespace qv
