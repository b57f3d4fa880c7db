// cloud_text.h: a plain text form of a cloud for the line tests.
#pragma once
#include <cstdio>
#include <string>
#include "lines/cloud.h"

namespace qv::testing_text {

// One text line per point "x y z t" (%g), "/m" after each closed line with
// material m, "object name" after each closed object.
inline std::string text_of(const cloud& c) {
  std::string s;
  char buf[160];
  const std::int64_t objects = std::int64_t(c.objects.size()), entries = std::int64_t(c.lines.size());
  for (std::int64_t o = 1; o <= objects; ++o) {
    const std::int64_t last = o < objects ? c.objects[o] - 1 : entries;
    for (std::int64_t l = c.objects[o - 1]; l <= last; ++l) {
      for (std::int64_t i = 1; i <= line::line_size(c, l); ++i) {
        const num::hyper p = line::get_point(c, l, i);
        std::snprintf(buf, sizeof buf, "%g %g %g %g\n", p.x, p.y, p.z, p.t);
        s += buf;
      }
      if (l < entries) s += "/" + std::to_string(c.materials[l - 1]) + "\n";
    }
    if (o < objects) s += "object " + text::utf8(c.names[o - 1]) + "\n";
  }
  return s;
}

}  // namespace qv::testing_text
