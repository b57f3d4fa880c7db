// mesh_parts.h: what the mesh readers collect from a file before it goes into the mesh, and
// the views of the mesh the writers share.
#pragma once
#include <cstdint>
#include <vector>

#include "meshes/mesh.h"

namespace qv::meshformat {

// A face as a file gives it: 0-based corners into the file's own point list.
struct partface {
  std::int64_t p[4] = {};
  std::int8_t corners = 0;
};

// Points, normals, colours and faces of one file, checked before anything is added.
struct meshparts {
  std::vector<num::vector> points, normals;   // normals: empty, or one per point
  std::vector<num::hyper> colors;             // empty, or one per point
  std::vector<partface> faces;
  std::int64_t widest = 0;     // the first corner count above four met, 0 if none
  std::int64_t too_few = 0;    // faces of fewer than three corners
  std::int64_t bad_index = 0;  // faces with a corner outside the points

  void reserve_points(std::int64_t n, bool with_normals, bool with_colours);
  // A face of `n` corners; more than four or fewer than three are counted and left out.
  void add_face(const std::int64_t* corners, std::int64_t n);
  // The lines about faces left out: "Wrong face count (n)", too few corners, bad
  // indices (known after `add_to`).
  void report_faces();
  // Adds every face with a valid index through the merge of the mesh, with the
  // normals and colours of its corners; the colours go to the merged points.
  void add_to(mesh& m);
};

// The all-triangles flag over a reader's additions: the add operations set it by
// the last face alone, so a quad read before a triangle would be written as a
// triangle. True at the end only if the mesh held triangles alone before and no
// quad came.
struct triangleflag {
  mesh& m;
  bool all;
  explicit triangleflag(mesh& target) : m(target), all(target.triangles || target.faces.empty()) {}
  triangleflag(const triangleflag&) = delete;
  triangleflag& operator=(const triangleflag&) = delete;
  ~triangleflag() { m.triangles = all; }
};

// The count lines of most readers: points, normals and faces of the mesh.
void print_counts(const mesh& m);

// Writers' views.
inline bool has_normals(const mesh& m) { return !m.normals.empty(); }
inline bool has_colours(const mesh& m) { return !m.colors.empty(); }
std::int64_t visible_faces(const mesh& m);
// index[i] for 1-based point i: the 0-based number among the points of visible
// faces in point order, or -1 for a point no visible face uses. Gives the count.
std::int64_t renumber_visible(const mesh& m, std::vector<std::int64_t>& index);
// The face's corners as written: 3 for a triangle, else 4.
inline int corner_count(const face& f) { return meshes::is_triangle(f) ? 3 : 4; }

}  // namespace qv::meshformat
