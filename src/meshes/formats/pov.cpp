// pov.cpp: POV-Ray `mesh2` blocks read and written (".pov" scenes and ".inc" includes).
//
// Known limits: the reader takes "vertex_vectors", "normal_vectors" and
// "face_indices" of each block, normals only when there is one per vertex;
// "mesh" (the old triangle list) and textures are not read. The writer gives
// quads as two triangles and one colour for the whole mesh.
#include <algorithm>
#include <cmath>
#include <vector>

#include "foundation/console.h"
#include "foundation/progress.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"
#include "meshes/formats/textsink.h"

namespace qv::meshformat {
namespace {

// Reads the count and up to that many `<a, b, c>` items after the `{` that
// follows `at`; `pos` is left at the block's `}`.
std::vector<num::vector> items_after(std::string_view t, std::size_t& pos) {
  std::vector<num::vector> items;
  const std::size_t open = t.find('{', pos), close = t.find('}', pos);
  if (open == std::string_view::npos || (close != std::string_view::npos && close < open)) return items;
  const std::size_t end = close == std::string_view::npos ? t.size() : close;
  std::string_view s = t.substr(open + 1, end - open - 1);
  pos = end;
  std::int64_t count;
  if (!read_nat(s, count) || count < 0) return items;
  // Every item takes at least seven characters ("<0,0,0>"), so the count is bounded by the block.
  items.reserve(std::size_t(std::min<std::int64_t>(count, std::int64_t(s.size() / 7 + 1))));
  while (std::int64_t(items.size()) < count) {
    const std::size_t lt = s.find('<');
    if (lt == std::string_view::npos) break;
    s.remove_prefix(lt + 1);
    num::vector v;
    if (!read_vector(s, v)) continue;
    items.push_back(v);
  }
  return items;
}

std::int64_t index_of(double v) { return v >= -1e18 && v <= 1e18 ? std::int64_t(v) : -1; }

}  // namespace

void read_pov(mesh& m, std::string_view bytes) {
  print::line(u"  Analyze pov-file");
  meshparts parts;
  auto flush = [&]() {
    parts.add_to(m);
    parts.faces.clear();
  };
  static constexpr std::string_view keys[3] = {"vertex_vectors", "normal_vectors", "face_indices"};
  std::size_t pos = 0;
  for (;;) {
    std::size_t best = std::string_view::npos;
    int which = -1;
    for (int k = 0; k < 3; ++k) {
      const std::size_t at = bytes.find(keys[k], pos);
      if (at < best) best = at, which = k;
    }
    if (which < 0) break;
    pos = best + keys[which].size();
    std::vector<num::vector> items = items_after(bytes, pos);
    if (which == 0) {   // a new block
      flush();
      parts.points = std::move(items);
      parts.normals.clear();
    } else if (which == 1) {
      parts.normals = std::move(items);
    } else {
      for (const num::vector& v : items) {
        const std::int64_t c[3] = {index_of(v.x), index_of(v.y), index_of(v.z)};
        parts.add_face(c, 3);
      }
    }
  }
  flush();
  parts.report_faces();
  print_counts(m);
}

namespace {

num::vector cross(const num::vector& a, const num::vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
num::vector minus(const num::vector& a, const num::vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

// Per point the sum of the normals of the visible faces around it, made unit length.
std::vector<num::vector> smooth_normals(const mesh& m) {
  std::vector<num::vector> n(m.points.size());
  for (const face& f : m.faces) {
    if (!f.visible) continue;
    const num::vector a = meshes::point(m, f.p1), b = meshes::point(m, f.p2), c = meshes::point(m, f.p3),
                      d = meshes::point(m, f.p4);
    const num::vector w = meshes::is_triangle(f) ? cross(minus(b, a), minus(c, a)) : cross(minus(c, a), minus(d, b));
    for (std::int64_t p : {f.p1, f.p2, f.p3, f.p4}) {
      if (p == f.p4 && meshes::is_triangle(f)) continue;
      num::vector& s = n[std::size_t(p - 1)];
      s.x += w.x, s.y += w.y, s.z += w.z;
    }
  }
  for (num::vector& v : n) {
    const double l = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    if (l > 0) v = {v.x / l, v.y / l, v.z / l};
  }
  return n;
}

void put_item(textsink& s, const num::vector& v, bool last) {
  s.put("    <");
  s.vector(v, ", ");
  s.put(last ? ">\n" : ">,\n");
}

void put_index(textsink& s, std::int64_t a, std::int64_t b, std::int64_t c, bool last) {
  s.put("    <");
  s.nat(a - 1);
  s.put(", ");
  s.nat(b - 1);
  s.put(", ");
  s.nat(c - 1);
  s.put(last ? ">\n" : ">,\n");
}

// The triangles of the visible faces, a quad as two.
std::int64_t triangle_count(const mesh& m) {
  std::int64_t n = 0;
  for (const face& f : m.faces) n += f.visible ? (meshes::is_triangle(f) ? 1 : 2) : 0;
  return n;
}

void put_indices(textsink& s, const mesh& m, const char* block, std::int64_t triangles) {
  s.put("  ");
  s.put(block);
  s.put(" {\n    ");
  s.nat(triangles);
  s.put(triangles > 0 ? ",\n" : "\n");
  std::int64_t written = 0;
  for (const face& f : m.faces) {
    if (!f.visible) continue;
    put_index(s, f.p1, f.p2, f.p3, ++written == triangles);
    if (!meshes::is_triangle(f)) put_index(s, f.p1, f.p3, f.p4, ++written == triangles);
  }
  s.put("  }\n");
}

void put_vectors(textsink& s, const char* block, const std::vector<num::vector>& v, wideview label, double from) {
  s.put("  ");
  s.put(block);
  s.put(" {\n    ");
  s.nat(std::int64_t(v.size()));
  s.put(v.empty() ? "\n" : ",\n");
  for (std::size_t i = 0; i < v.size(); ++i) {
    if ((i & 0xffff) == 0) progress::set(from + 0.3 * double(i) / double(v.size()), label);
    put_item(s, v[i], i + 1 == v.size());
  }
  s.put("  }\n");
}

num::vector mean_colour(const mesh& m) {
  num::vector c;
  double n = 0;
  for (const face& f : m.faces)
    if (f.visible) c.x += f.color.x, c.y += f.color.y, c.z += f.color.z, n += 1;
  return n > 0 ? num::vector{c.x / n, c.y / n, c.z / n} : c;
}

}  // namespace

bool save_pov(const mesh& m, wideview name, povnormals normals, bool include) {
  textsink s;
  if (!open_sink(s, name)) return false;
  const widetext label = u"  Write POV-file";
  progress::set(0, label);
  if (!include) {
    s.line("#version 3.7;");
    s.line("global_settings { adc_bailout 0.0039216 ambient_light rgb <0.25, 0.25, 0.25> assumed_gamma 1.25 "
           "noise_generator 1 }");
  }
  s.line(" mesh2 {");
  put_vectors(s, "vertex_vectors", m.points, label, 0);
  std::vector<num::vector> n;
  if (normals == povnormals::smooth) n = smooth_normals(m);
  if (normals == povnormals::stored) {
    n.resize(m.points.size());
    for (std::size_t i = 0; i < n.size(); ++i) n[i] = meshes::normal(m, std::int64_t(i + 1));
  }
  if (normals != povnormals::none) put_vectors(s, "normal_vectors", n, label, 0.3);
  const std::int64_t triangles = triangle_count(m);
  put_indices(s, m, "face_indices", triangles);
  if (normals != povnormals::none) put_indices(s, m, "normal_indices", triangles);
  s.put("  pigment { color rgb <");
  s.vector(mean_colour(m), ", ");
  s.line("> } finish { phong 0.5 }");
  s.line(" }");
  progress::end(label);
  return s.finish();
}

}  // namespace qv::meshformat
