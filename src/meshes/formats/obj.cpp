// obj.cpp: Wavefront OBJ meshes read and written, and the OBJ material library.
//
// Known limits: points after the first face line are not read, so faces that
// name them are left out; relative (negative) indices, "l" and "p" lines,
// groups and materials are not read; faces keep at most four corners.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "foundation/console.h"
#include "foundation/progress.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"
#include "meshes/formats/textsink.h"

namespace qv::meshformat {
namespace {

// Only the first two characters of a line decide what it is.
bool kind(std::string_view line, char a, char b) { return line.size() >= 2 && line[0] == a && line[1] == b; }
bool is_face(std::string_view line) { return kind(line, 'f', ' ') || kind(line, 'f', '\t'); }
bool is_point(std::string_view line) { return kind(line, 'v', ' ') || kind(line, 'v', '\t'); }

num::vector vector_after(std::string_view line) {
  line.remove_prefix(2);
  num::vector v;
  if (read_real(line, v.x) && read_real(line, v.y)) read_real(line, v.z);
  return v;
}

// One corner "p", "p/t", "p//n" or "p/t/n"; a missing or unreadable number is 0.
struct corner {
  std::int64_t p = 0, t = 0, n = 0;
};

corner read_corner(std::string_view w) {
  corner c;
  std::int64_t* field[3] = {&c.p, &c.t, &c.n};
  for (int k = 0; k < 3 && !w.empty(); ++k) {
    const std::size_t slash = w.find('/');
    std::string_view part = w.substr(0, slash);
    if (!read_nat(part, *field[k])) *field[k] = 0;
    if (slash == std::string_view::npos) break;
    w.remove_prefix(slash + 1);
  }
  return c;
}

struct objcounts {
  std::int64_t objects = 0, points = 0, bad = 0, few = 0;
  std::size_t first_vn = 0, first_vt = 0;   // 1-based line numbers, 0 for none
};

// Walk 1: objects and points up to the first face line; the first "vn" and "vt" lines.
void walk_points(mesh& m, const std::vector<std::string_view>& lines, objcounts& c) {
  std::size_t i = 0;
  for (; i < lines.size() && !is_face(lines[i]); ++i) {
    const std::string_view l = lines[i];
    if (kind(l, 'o', ' ')) ++c.objects;
    else if (is_point(l)) m.points.push_back(vector_after(l)), ++c.points;
    else if (c.first_vn == 0 && kind(l, 'v', 'n')) c.first_vn = i + 1;
    else if (c.first_vt == 0 && kind(l, 'v', 't')) c.first_vt = i + 1;
  }
  // A file that names its normals or uvs only after the faces still gives them.
  for (; i < lines.size() && (c.first_vn == 0 || c.first_vt == 0); ++i) {
    if (c.first_vn == 0 && kind(lines[i], 'v', 'n')) c.first_vn = i + 1;
    if (c.first_vt == 0 && kind(lines[i], 'v', 't')) c.first_vt = i + 1;
  }
}

// Walks 2 and 3: the uvs replace the mesh's, the normals go to a list in file order.
void walk_uvs(mesh& m, const std::vector<std::string_view>& lines, const objcounts& c) {
  if (c.first_vt == 0) return;
  m.uvs.clear();
  for (std::size_t i = c.first_vt - 1; i < lines.size(); ++i) {
    if (!kind(lines[i], 'v', 't')) continue;
    std::string_view l = lines[i].substr(2);
    num::complex uv;
    if (read_real(l, uv.x)) read_real(l, uv.y);
    m.uvs.push_back(uv);
  }
}

std::vector<num::vector> walk_normals(const std::vector<std::string_view>& lines, const objcounts& c) {
  std::vector<num::vector> normals;
  if (c.first_vn == 0) return normals;
  for (std::size_t i = c.first_vn - 1; i < lines.size(); ++i)
    if (kind(lines[i], 'v', 'n')) normals.push_back(vector_after(lines[i]));
  return normals;
}

// Walk 4: faces from the line numbered by the point count on; point indices
// count from the first point of this file.
void walk_faces(mesh& m, const std::vector<std::string_view>& lines, const std::vector<num::vector>& normals,
                std::int64_t base, objcounts& c) {
  const std::int64_t points = meshes::point_count(m), uvs = std::int64_t(m.uvs.size()),
                     nn = std::int64_t(normals.size());
  const std::size_t first = std::size_t(std::max<std::int64_t>(c.points, 1)) - 1;
  std::size_t faces = 0;   // room for all at once: a million faces grown by doubling copy twice their bytes
  for (std::size_t i = first; i < lines.size(); ++i) faces += is_face(lines[i]) ? 1 : 0;
  m.faces.reserve(m.faces.size() + faces);
  for (std::size_t i = first; i < lines.size(); ++i) {
    if (!is_face(lines[i])) continue;
    std::string_view rest = trim(lines[i].substr(2));
    corner k[4];
    int n = 0;
    while (n < 4) {
      const std::string_view w = next_word(rest);
      if (w.empty()) break;
      k[n++] = read_corner(w);
    }
    if (n < 3) {
      ++c.few;
      continue;
    }
    bool valid = true;
    for (int j = 0; j < n; ++j) {
      k[j].p += base;
      valid = valid && k[j].p > base && k[j].p <= points;
      if (k[j].t < 0 || k[j].t > uvs) k[j].t = 0;
    }
    if (!valid) {
      ++c.bad;
      continue;
    }
    for (int j = 0; j < n; ++j)
      if (k[j].n >= 1 && k[j].n <= nn) {
        if (std::int64_t(m.normals.size()) < points) m.normals.resize(std::size_t(points));
        m.normals[std::size_t(k[j].p - 1)] = normals[std::size_t(k[j].n - 1)];
      }
    if (n == 3) k[3] = k[2];
    else m.triangles = false;
    face f;
    f.p1 = k[0].p, f.p2 = k[1].p, f.p3 = k[2].p, f.p4 = k[3].p;
    f.t1 = k[0].t, f.t2 = k[1].t, f.t3 = k[2].t, f.t4 = k[3].t;
    f.visible = 1;
    f.color = {0, 0, 0, 1};
    m.faces.push_back(f);
  }
}

}  // namespace

void read_obj(mesh& m, std::string_view bytes) {
  print::line(u"  Analyze OBJ-file");
  const std::vector<std::string_view> lines = split_lines(bytes);
  const std::int64_t base = meshes::point_count(m);
  objcounts c;
  walk_points(m, lines, c);
  walk_uvs(m, lines, c);
  const std::vector<num::vector> normals = walk_normals(lines, c);
  if (!m.faces.empty() || c.points > 0) m.sorted = false;
  walk_faces(m, lines, normals, base, c);
  if (c.few > 0) print::line(u"  Faces with less than three corners left out : " + qv::nat::text(c.few));
  if (c.bad > 0) print::line(u"  Faces with wrong point indices left out : " + qv::nat::text(c.bad));
  print::line(u"  Objects : " + qv::nat::text(std::max<std::int64_t>(c.objects, 1)));
  print::line(u"  Points  : " + qv::nat::text(meshes::point_count(m)));
  print::line(u"  Normals : " + qv::nat::text(meshes::normal_count(m)));
  print::line(u"  UVs : " + qv::nat::text(std::int64_t(m.uvs.size())));
  print::line(u"  Faces   : " + qv::nat::text(meshes::face_count(m)));
}

namespace {

// One corner: the point, then "/" and the uv where uvs exist, and the normal
// (numbered as the point) where normals exist.
void put_corner(textsink& s, std::int64_t p, std::int64_t t, bool uvs, bool normals) {
  s.nat(p);
  if (uvs && t > 0) {
    s.put('/');
    s.nat(t);
    if (normals) s.put('/');
  } else if (normals) {
    s.put("//");
  }
  if (normals) s.nat(p);
}

}  // namespace

bool save_obj(const mesh& m, wideview name, const objmaterial& material, int digits) {
  textsink s;
  if (!open_sink(s, name)) return false;
  s.digits = digits;
  s.line("# OBJ-File - " + text::utf8(name));
  s.line("# Version 1.0");
  if (!material.library.empty()) s.line("mtllib " + material.library);
  std::vector<std::int64_t> index;
  renumber_visible(m, index);
  const std::int64_t n = meshes::point_count(m), nf = meshes::face_count(m);
  const bool uvs = !m.uvs.empty(), normals = has_normals(m);
  const widetext label = u"  Write OBJ-file";
  progress::set(0, label);
  const double steps = double(n) * (normals ? 2 : 1) + double(nf);
  for (std::int64_t i = 1; i <= n; ++i) {
    if ((i & 0xffff) == 0) progress::set(double(i) / steps, label);
    if (index[std::size_t(i)] < 0) continue;
    s.put("v ");
    s.vector(m.points[std::size_t(i - 1)]);
    s.put('\n');
  }
  for (const num::complex& t : m.uvs) {
    s.put("vt ");
    s.real(t.x);
    s.put(' ');
    s.real(t.y);
    s.put('\n');
  }
  if (normals)
    for (std::int64_t i = 1; i <= n; ++i) {
      if ((i & 0xffff) == 0) progress::set(double(n + i) / steps, label);
      if (index[std::size_t(i)] < 0) continue;
      s.put("vn ");
      s.vector(meshes::normal(m, i));
      s.put('\n');
    }
  s.line("s 1");
  if (!material.name.empty()) s.line("usemtl " + material.name);
  const int corners = m.triangles ? 3 : 4;
  for (std::int64_t i = 1; i <= nf; ++i) {
    if ((i & 0xffff) == 0) progress::set(double(n * (normals ? 2 : 1) + i) / steps, label);
    const face& f = m.faces[std::size_t(i - 1)];
    if (!f.visible) continue;
    const std::int64_t p[4] = {f.p1, f.p2, f.p3, f.p4}, t[4] = {f.t1, f.t2, f.t3, f.t4};
    s.put('f');
    for (int k = 0; k < corners; ++k) {
      s.put(' ');
      put_corner(s, index[std::size_t(p[k])] + 1, t[k], uvs, normals);
    }
    s.put('\n');
  }
  progress::end(label);
  return s.finish();
}

namespace {

std::string four(double v) {
  char t[64];
  std::snprintf(t, sizeof t, "%.4f", v);
  return t;
}

std::string colour_line(const char* key, num::vector c) {
  return std::string(key) + " " + four(c.x) + " " + four(c.y) + " " + four(c.z);
}

}  // namespace

// Kinds 1 Neon, 2 Flat, 3 Dissolved, 4 Shiny, 5 Mirror, 6 Glas; others count as the nearest.
bool save_material(wideview name, std::string_view material, std::int64_t kind, num::vector colour) {
  textsink s;
  if (!open_sink(s, name)) return false;
  kind = std::clamp<std::int64_t>(kind, 1, 6);
  s.line("newmtl " + std::string(material));
  if (kind == 6) {
    s.line("Ka 0.0000 0.0000 0.0000");
    s.line("Kd 0.0000 0.0000 0.0000");
    s.line("Ks 0.9000 0.9000 0.9000");
    s.line("d 0.1000");
    s.line("Ns 200");
    s.line("illum 4");
    return s.finish();
  }
  s.line(colour_line("Kd", colour));
  s.line(colour_line("Ka", colour));
  s.line(kind == 4 ? "Ks 1.0000 1.0000 1.0000" : colour_line("Ks", colour));
  if (kind == 3) s.line("d 0.8000");
  if (kind == 4 || kind == 5) s.line("Ns 200.0000");
  static constexpr const char* illum[6] = {"illum 0", "illum 1", "illum 1", "illum 1", "illum 3", "illum 4"};
  s.line(illum[kind - 1]);
  return s.finish();
}

}  // namespace qv::meshformat
