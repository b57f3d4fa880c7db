// dxf.cpp: DXF meshes: "3DFACE" entities read, and written through the shared DXF writer.
//
// Known limits: of the entities only "3DFACE" is read (polyface meshes and
// blocks are not); colours and layers are not read.
#include "foundation/console.h"
#include "foundation/progress.h"
#include "lines/formats/dxf_writer.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"
#include "meshes/formats/textsink.h"

namespace qv::meshformat {
namespace {

bool same(const num::vector& a, const num::vector& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

// The corners of one "3DFACE"; a fourth corner equal to the third, or none, makes a triangle.
struct dxfface {
  num::vector c[4];
  bool given[4] = {};
  void add(mesh& m, triangleflag& flag) const {
    if (!given[0] || !given[1] || !given[2]) return;
    if (!given[3] || same(c[3], c[2])) {
      meshes::add_triangle(m, c[0], c[1], c[2], num::hyper{});
    } else {
      meshes::add_quad(m, c[0], c[1], c[2], c[3], num::hyper{});
      flag.all = false;
    }
  }
};

}  // namespace

void read_dxf(mesh& m, std::string_view bytes) {
  print::line(u"  Analyze DXF-file");
  std::string_view rest = bytes, codeline, value;
  dxfface f;
  bool inside = false;
  triangleflag flag(m);
  // Pairs of lines: a group code, then its value.
  while (next_line(rest, codeline) && next_line(rest, value)) {
    std::string_view c = trim(codeline);
    std::int64_t code;
    if (!read_nat(c, code)) continue;
    if (code == 0) {
      if (inside) f.add(m, flag);
      inside = trim(value) == "3DFACE";
      f = dxfface{};
      continue;
    }
    if (!inside || code < 10 || code > 33 || code % 10 > 3) continue;
    const int k = int(code % 10);
    double v;
    std::string_view s = value;
    if (!read_real(s, v)) v = 0;
    if (code < 20) f.c[k].x = v, f.given[k] = true;
    else if (code < 30) f.c[k].y = v;
    else f.c[k].z = v;
  }
  if (inside) f.add(m, flag);
  print::line(u"  Points : " + qv::nat::text(meshes::point_count(m)));
  print::line(u"  Faces  : " + qv::nat::text(meshes::face_count(m)));
}

// One 3DFACE per visible face; a triangle repeats its third corner.
bool save_dxf(const mesh& m, wideview name) {
  textsink s;
  if (!open_sink(s, name)) return false;
  const widetext label = u"  Write DXF-file";
  progress::set(0, label);
  dxf::begin(s.out);
  const std::size_t n = m.faces.size();
  for (std::size_t i = 0; i < n; ++i) {
    if ((i & 0xffff) == 0) progress::set(double(i) / double(n), label);
    const face& f = m.faces[i];
    if (!f.visible) continue;
    const num::vector a = meshes::point(m, f.p1), b = meshes::point(m, f.p2), c = meshes::point(m, f.p3),
                      d = meshes::point(m, f.p4);
    dxf::face(s.out, &a.x, &b.x, &c.x, &d.x);
  }
  dxf::end(s.out);
  progress::end(label);
  return s.finish();
}

}  // namespace qv::meshformat
