// anysurf.cpp: ANYSURF meshes: fixed rows of points with normals, then triangles counted from 0.
//
// Known limits: the vector that ends each triangle row is not used; points and
// faces are appended as they stand, without merging equal points.
#include <vector>

#include "foundation/console.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"

namespace qv::meshformat {

void read_anysurf(mesh& m, std::string_view bytes) {
  print::line(u"  Analyze ANYSURF-file");
  const std::vector<std::string_view> lines = split_lines(bytes);
  std::int64_t n = 0, f = 0;
  std::string_view counts = lines.size() >= 3 ? lines[2] : std::string_view{};
  if (!read_nat(counts, n) || !read_nat(counts, f) || n < 0 || f < 0) {
    print::line(u"  No point and face counts in line 3!");
    return;
  }
  // Rows beyond the file are not there: the counts shrink to the lines that exist.
  const std::int64_t rows = std::int64_t(lines.size()) - 3;
  if (n > rows) n = rows;
  if (f > rows - n) f = rows - n;
  const std::int64_t base = meshes::point_count(m);
  if (m.normals.size() < m.points.size()) m.normals.resize(m.points.size());
  for (std::int64_t i = 0; i < n; ++i) {
    std::string_view s = lines[std::size_t(3 + i)];
    num::vector p, q;
    if (read_vector(s, p)) read_vector(s, q);
    m.points.push_back(p);
    m.normals.push_back(q);
  }
  std::int64_t bad = 0;
  for (std::int64_t i = 0; i < f; ++i) {
    std::string_view s = lines[std::size_t(3 + n + i)];
    std::int64_t c[3] = {-1, -1, -1};
    read_nat(s, c[0]) && read_nat(s, c[1]) && read_nat(s, c[2]);
    if (c[0] < 0 || c[1] < 0 || c[2] < 0 || c[0] >= n || c[1] >= n || c[2] >= n) {
      ++bad;
      continue;
    }
    face t;
    t.p1 = base + c[0] + 1, t.p2 = base + c[1] + 1, t.p3 = t.p4 = base + c[2] + 1;
    t.color = {0, 0, 0, 1};
    m.faces.push_back(t);
  }
  if (n > 0 || f > bad) m.sorted = false;
  if (bad > 0) print::line(u"  Faces with wrong point indices left out : " + qv::nat::text(bad));
  print_counts(m);
}

}  // namespace qv::meshformat
