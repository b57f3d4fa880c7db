// stl.cpp: ASCII STL meshes read through the vertex rule.
//
// Known limits: binary STL is refused; the facet normal is not read; a vertex
// exactly at the origin counts as not yet set (the format's reading rule), so
// a facet that begins with one shifts its corners.
#include <cstdint>
#include <cstring>

#include "foundation/console.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"

namespace qv::meshformat {
namespace {

bool is_null(const num::vector& v) { return v.x == 0 && v.y == 0 && v.z == 0; }

// A binary file: its size is that of the 84-byte head and the 50-byte facets the
// head counts, or it holds zero bytes, which no text form has.
bool looks_binary(std::string_view bytes) {
  if (bytes.size() >= 84) {
    std::uint32_t n;
    std::memcpy(&n, bytes.data() + 80, 4);
    if (std::uint64_t(bytes.size()) == 84 + std::uint64_t(n) * 50) return true;
  }
  return bytes.find('\0') != std::string_view::npos;
}

}  // namespace

void read_stl(mesh& m, std::string_view bytes) {
  print::line(u"  Analyze STL-file");
  std::string_view rest = bytes, first, line;
  if (looks_binary(bytes) || !next_line(rest, first) || !holds(lower(first), "solid") || rest.empty()) {
    print::line(u"This is not a STL-ascii-file!");
    return;
  }
  num::vector corner[3];
  triangleflag flag(m);
  while (next_line(rest, line)) {
    if (line.size() < 2) continue;
    const std::size_t at = line.find("vertex");
    if (at != std::string_view::npos) {
      std::string_view s = line.substr(at + 6);
      num::vector v;
      if (!read_vector(s, v)) v = {};
      for (num::vector& c : corner)
        if (is_null(c)) {
          c = v;
          break;
        }
      continue;
    }
    if (is_null(corner[0])) continue;
    meshes::add_triangle(m, corner[0], corner[1], corner[2], num::hyper{});
    corner[0] = corner[1] = corner[2] = {};
  }
  print_counts(m);
}

}  // namespace qv::meshformat
