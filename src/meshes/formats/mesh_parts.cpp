// mesh_parts.cpp: collected file contents into the mesh, and the writers' views of the mesh.
#include "meshes/formats/mesh_parts.h"

#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::meshformat {

void meshparts::reserve_points(std::int64_t n, bool with_normals, bool with_colours) {
  points.reserve(std::size_t(n));
  if (with_normals) normals.reserve(std::size_t(n));
  if (with_colours) colors.reserve(std::size_t(n));
}

void meshparts::add_face(const std::int64_t* corners, std::int64_t n) {
  if (n > 4) {
    if (widest == 0) widest = n;
    return;
  }
  if (n < 3) {
    ++too_few;
    return;
  }
  partface f;
  f.corners = std::int8_t(n);
  for (std::int64_t k = 0; k < n; ++k) f.p[k] = corners[k];
  if (n == 3) f.p[3] = f.p[2];
  faces.push_back(f);
}

void meshparts::report_faces() {
  if (widest > 0) print::line(u"Wrong face count (" + nat::text(widest) + u")");
  if (too_few > 0) print::line(u"  Faces with less than three corners left out : " + nat::text(too_few));
  if (bad_index > 0) print::line(u"  Faces with wrong point indices left out : " + nat::text(bad_index));
}

void meshparts::add_to(mesh& m) {
  const std::int64_t n = std::int64_t(points.size());
  const bool with_normals = normals.size() == points.size(), with_colours = colors.size() == points.size();
  triangleflag flag(m);
  // Room for everything at once: the merge appends, and a million faces grown by doubling copy twice their bytes.
  m.faces.reserve(m.faces.size() + faces.size());
  m.points.reserve(m.points.size() + points.size());
  m.adjacency.reserve(m.adjacency.size() + points.size());
  for (const partface& f : faces) {
    bool valid = true;
    for (int k = 0; k < f.corners; ++k) valid = valid && f.p[k] >= 0 && f.p[k] < n;
    if (!valid) {
      ++bad_index;
      continue;
    }
    const std::size_t a = std::size_t(f.p[0]), b = std::size_t(f.p[1]), c = std::size_t(f.p[2]),
                      d = std::size_t(f.p[3]);
    num::hyper colour{};
    if (with_colours)
      for (int k = 0; k < f.corners; ++k) {
        const num::hyper& q = colors[std::size_t(f.p[k])];
        colour.x += q.x / f.corners, colour.y += q.y / f.corners, colour.z += q.z / f.corners;
      }
    if (f.corners == 3 && with_normals)
      meshes::add_triangle(m, points[a], points[b], points[c], normals[a], normals[b], normals[c], colour);
    else if (f.corners == 3)
      meshes::add_triangle(m, points[a], points[b], points[c], colour);
    else if (with_normals)
      meshes::add_quad(m, points[a], points[b], points[c], points[d], normals[a], normals[b], normals[c],
                       normals[d], colour);
    else
      meshes::add_quad(m, points[a], points[b], points[c], points[d], colour);
    if (f.corners == 4) flag.all = false;
    if (with_colours) {
      const face& added = m.faces.back();
      const std::int64_t merged[4] = {added.p1, added.p2, added.p3, added.p4};
      for (int k = 0; k < f.corners; ++k) meshes::point_color(m, merged[k], colors[std::size_t(f.p[k])]);
    }
  }
}

void print_counts(const mesh& m) {
  print::line(u"  Points  : " + nat::text(meshes::point_count(m)));
  print::line(u"  Normals : " + nat::text(meshes::normal_count(m)));
  print::line(u"  Faces   : " + nat::text(meshes::face_count(m)));
}

std::int64_t visible_faces(const mesh& m) {
  std::int64_t n = 0;
  for (const face& f : m.faces) n += f.visible ? 1 : 0;
  return n;
}

std::int64_t renumber_visible(const mesh& m, std::vector<std::int64_t>& index) {
  const std::int64_t n = meshes::point_count(m);
  index.assign(std::size_t(n + 1), -1);
  for (const face& f : m.faces) {
    if (!f.visible) continue;
    for (std::int64_t p : {f.p1, f.p2, f.p3, f.p4})
      if (p >= 1 && p <= n) index[std::size_t(p)] = 0;
  }
  std::int64_t used = 0;
  for (std::int64_t i = 1; i <= n; ++i)
    if (index[std::size_t(i)] == 0) index[std::size_t(i)] = used++;
  return used;
}

}  // namespace qv::meshformat
