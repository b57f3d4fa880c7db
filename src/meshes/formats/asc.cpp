// asc.cpp: point rows (".asc", ".csv", ".prn", ".vtx") and the ASC(mesh) form with normals and faces.
//
// The ASC(mesh) form, as OpenSim reads it:
//   NORM_ASCII opensim
//   <points> <faces>
//   <minimum x y z> <maximum x y z>
//   one row per point: x y z nx ny nz
//   one row per face: 3 or 4, then the corners counted from 0
// Known limits: plain rows give points only (with normals where a row has
// six numbers); a row whose numbers are divided by ";" reads "," as the decimal point.
#include <algorithm>
#include <string>
#include <vector>

#include "foundation/console.h"
#include "foundation/progress.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"
#include "meshes/formats/textsink.h"

namespace qv::meshformat {
namespace {

// Up to `count` numbers of one row; "1,5;2;3" reads as 1.5, 2, 3.
int row_numbers(std::string_view line, double* out, int count) {
  std::string fixed;
  if (line.find(';') != std::string_view::npos) {
    fixed.assign(line);
    std::replace(fixed.begin(), fixed.end(), ',', '.');
    line = fixed;
  }
  int n = 0;
  while (n < count && read_real(line, out[n])) ++n;
  return n;
}

void read_mesh_rows(mesh& m, std::string_view rest) {
  print::line(u"  Analyze ASC(mesh)-file");
  std::int64_t np = 0, nf = 0;
  if (!read_nat(rest, np) || !read_nat(rest, nf) || np < 0 || nf < 0 || np > std::int64_t(rest.size() / 12)) {
    print::line(u"  Wrong point or face count!");
    return;
  }
  double box[6];
  for (double& b : box) read_real(rest, b);
  meshparts parts;
  parts.reserve_points(np, true, false);
  for (std::int64_t i = 0; i < np; ++i) {
    num::vector p, q;
    if (!read_vector(rest, p) || !read_vector(rest, q)) {
      print::line(u"  Unexpected end of ASC-file!");
      break;
    }
    parts.points.push_back(p);
    parts.normals.push_back(q);
  }
  for (std::int64_t i = 0; i < nf; ++i) {
    std::int64_t k, c[4] = {-1, -1, -1, -1};
    if (!read_nat(rest, k)) break;
    const std::int64_t used = std::min<std::int64_t>(std::max<std::int64_t>(k, 0), 4);
    bool complete = true;
    for (std::int64_t j = 0; j < k && complete; ++j) {   // corners past the fourth are read past
      std::int64_t v;
      complete = read_nat(rest, v);
      if (j < used) c[j] = v;
    }
    if (!complete) break;
    parts.add_face(c, k);
  }
  parts.add_to(m);
  parts.report_faces();
  print_counts(m);
}

void read_point_rows(mesh& m, std::string_view rest) {
  print::line(u"  Analyze ASCII-file");
  std::string_view line;
  const bool had_normals = !m.normals.empty();
  std::vector<num::vector> normals;
  const std::size_t first = m.points.size();
  bool any_normal = false;
  while (next_line(rest, line)) {
    double v[6];
    const int n = row_numbers(line, v, 6);
    if (n < 3) continue;
    m.points.push_back({v[0], v[1], v[2]});
    normals.push_back(n == 6 ? num::vector{v[3], v[4], v[5]} : num::vector{});
    any_normal = any_normal || n == 6;
  }
  if (any_normal || had_normals) {
    m.normals.resize(first);
    m.normals.insert(m.normals.end(), normals.begin(), normals.end());
  }
  print_counts(m);
}

}  // namespace

void read_asc(mesh& m, std::string_view bytes) {
  std::string_view rest = bytes, first;
  next_line(rest, first);
  if (holds(first, "NORM_ASCII")) read_mesh_rows(m, rest);
  else read_point_rows(m, bytes);
}

bool save_asc(const mesh& m, wideview name, ascform form) {
  textsink s;
  if (!open_sink(s, name)) return false;
  const widetext label = u"  Write ASCII-file";
  progress::set(0, label);
  // A comma between numbers cannot stand beside the decimal comma.
  const std::string_view sep = form == ascform::csv ? (number::format.decimal ? "," : ";")
                               : form == ascform::prn ? "\t" : " ";
  const std::size_t n = m.points.size();
  for (std::size_t i = 0; i < n; ++i) {
    if ((i & 0xffff) == 0) progress::set(double(i) / double(n), label);
    s.vector(m.points[i], sep);
    s.put('\n');
  }
  progress::end(label);
  return s.finish();
}

bool save_open(const mesh& m, wideview name) {
  textsink s;
  if (!open_sink(s, name)) return false;
  const widetext label = u"  Write ASC(mesh)-file";
  progress::set(0, label);
  s.line("NORM_ASCII opensim");
  const meshes::bounds b = meshes::bounding_box(m);
  s.nat(meshes::point_count(m));
  s.put(' ');
  s.nat(visible_faces(m));
  s.put('\n');
  s.vector(b.min);
  s.put(' ');
  s.vector(b.max);
  s.put('\n');
  for (std::int64_t i = 1; i <= meshes::point_count(m); ++i) {
    s.vector(m.points[std::size_t(i - 1)]);
    s.put(' ');
    s.vector(meshes::normal(m, i));
    s.put('\n');
  }
  for (const face& f : m.faces) {
    if (!f.visible) continue;
    const int k = corner_count(f);
    const std::int64_t p[4] = {f.p1, f.p2, f.p3, f.p4};
    s.put(k == 3 ? "3" : "4");
    for (int j = 0; j < k; ++j) {
      s.put(' ');
      s.nat(p[j] - 1);
    }
    s.put('\n');
  }
  progress::end(label);
  return s.finish();
}

}  // namespace qv::meshformat
