// stl.cpp: ASCII STL meshes read through the vertex rule; binary STL written.
//
// Known limits: binary STL is refused (it is written, for other tools); the facet normal is not read; a vertex
// exactly at the origin counts as not yet set (the format's reading rule), so
// a facet that begins with one shifts its corners.
#include <cstdint>
#include <cstring>

#include "foundation/console.h"
#include "foundation/progress.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"
#include "meshes/formats/textsink.h"

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

// Binary STL: an 80-byte header that does not begin with "solid", the triangle
// count, and per triangle its unit normal, three corners as floats and a zero
// attribute word. Quads go out as two triangles (p1 p2 p3, p1 p3 p4); hidden
// faces are left out. The normal comes from the corners, zero for a degenerate
// triangle.
bool save_stl(const qv::mesh& m, wideview name) {
  textsink s;
  if (!open_sink(s, name)) return false;
  std::uint32_t count = 0;
  for (const qv::face& f : m.faces)
    if (f.visible) count += meshes::is_triangle(f) ? 1 : 2;
  char head[80];
  std::memset(head, ' ', sizeof head);
  const char title[] = "binary STL written by quorvex";
  std::memcpy(head, title, sizeof title - 1);
  s.bytes(head, sizeof head);
  s.bytes(&count, 4);
  const widetext label = u"  Write STL-file";
  progress::set(0, label);
  auto triangle = [&](std::int64_t a, std::int64_t b, std::int64_t c) {
    const num::vector p[3] = {meshes::point(m, a), meshes::point(m, b), meshes::point(m, c)};
    const num::vector n = num::norm(qv::vector::cross(num::sub(p[1], p[0]), num::sub(p[2], p[0])));
    float v[12] = {float(n.x), float(n.y), float(n.z)};
    for (int k = 0; k < 3; ++k) v[3 + 3 * k] = float(p[k].x), v[4 + 3 * k] = float(p[k].y), v[5 + 3 * k] = float(p[k].z);
    const std::uint16_t attribute = 0;
    s.bytes(v, sizeof v);
    s.bytes(&attribute, 2);
  };
  const std::int64_t nf = meshes::face_count(m);
  for (std::int64_t i = 1; i <= nf; ++i) {
    const qv::face& f = m.faces[std::size_t(i - 1)];
    if (!f.visible) continue;
    if ((i & 0xffff) == 0) progress::set(double(i) / double(nf), label);
    triangle(f.p1, f.p2, f.p3);
    if (!meshes::is_triangle(f)) triangle(f.p1, f.p3, f.p4);
  }
  progress::end(label);
  return s.finish();
}

}  // namespace qv::meshformat
