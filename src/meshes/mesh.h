// mesh.h: the surface mesh record (points, normals, colours, uvs, quad faces), its operations and workspace list.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/numeric.h"
#include "images/workspace.h"

namespace qv {

// A face is always stored as a quad; a triangle repeats its third point as `p4`.
// Point and uv indices count from 1; a uv index of 0 means none.
struct face {
  std::int64_t p1 = 0, p2 = 0, p3 = 0, p4 = 0;
  std::int64_t t1 = 0, t2 = 0, t3 = 0, t4 = 0;
  std::uint8_t visible = 1;
  num::hyper color;   // r, g, b, a in 0..1
};

// Finds the latest point with the same bytes in O(1), standing in for the
// backward walk over `points`. It covers points[0..covered) and is brought up
// to date by the merge itself; anything that rewrites points in place calls
// `mesh::points_changed`, which makes the next merge rebuild it.
struct pointindex {
  std::vector<std::int64_t> slots;   // 1-based point index, 0 empty; size a power of two
  std::int64_t covered = 0;
  std::int64_t used = 0;
  bool stale = true;
};

// The arrays hold element i at [i-1]; the accessors in `mesh::` take 1-based indices.
struct mesh {
  std::vector<num::vector> points;
  std::vector<num::vector> normals;   // one per point when present; may be empty or shorter
  std::vector<num::hyper> colors;     // point colours r, g, b, a in 0..1
  std::vector<num::complex> uvs;
  std::vector<num::natcomplex> adjacency;   // (point, face) pairs, sorted while `sorted`
  std::vector<std::int64_t> faceindex;      // after `sort`: first adjacency pair of point i at [i-1], one extra at the end
  std::vector<face> faces;
  bool sorted = true;      // `adjacency` is up to date
  bool triangles = true;   // every face is a triangle
  num::vector pivot;       // centre of rotation and scaling commands
  widetext filename;
  pointindex index;        // not part of the mesh's content; see `pointindex`
};

// The operations of the record. The namespace takes the folder's name, since
// `mesh` itself names the record.
namespace meshes {

inline std::int64_t point_count(const mesh& m) { return std::int64_t(m.points.size()); }
inline std::int64_t face_count(const mesh& m) { return std::int64_t(m.faces.size()); }
inline std::int64_t normal_count(const mesh& m) { return std::int64_t(m.normals.size()); }
inline bool is_triangle(const face& f) { return f.p3 == f.p4; }

// Everything empty, `sorted` and `triangles` true, pivot zero (the name of the file stays).
void clear(mesh& m);
// Forgets the process-wide memory of the last face's corners (tests, and the global reset).
void forget_last_face();

// Adding faces. The colour gets alpha 1. Corners merge exactly with existing
// points: first with the corners of the face added last (by value, process-wide),
// then with the latest point of the same bytes (an x that is not a number never merges).
void add_triangle(mesh& m, num::vector a, num::vector b, num::vector c, num::vector na, num::vector nb,
                  num::vector nc, num::hyper color);
void add_quad(mesh& m, num::vector a, num::vector b, num::vector c, num::vector d, num::vector na,
              num::vector nb, num::vector nc, num::vector nd, num::hyper color);
void add_triangle(mesh& m, num::vector a, num::vector b, num::vector c, num::hyper color);
void add_quad(mesh& m, num::vector a, num::vector b, num::vector c, num::vector d, num::hyper color);   // `triangles` unchanged
// Room for this many more points (with normals) and faces, and a point index
// sized for them, so that a large surface is added without regrowing.
void reserve(mesh& m, std::int64_t points, std::int64_t faces);
// The index a corner would merge into, or 0 for a new point (no change to the mesh).
std::int64_t find_point(mesh& m, num::vector p);

// Reads and writes by 1-based index; an index out of range reads zero and writes nothing.
num::vector point(const mesh& m, std::int64_t i);
void point(mesh& m, std::int64_t i, num::vector v);
num::vector normal(const mesh& m, std::int64_t i);
void normal(mesh& m, std::int64_t i, num::vector v);
face get_face(const mesh& m, std::int64_t i);
void set_face(mesh& m, std::int64_t i, const face& f);
num::hyper face_color(const mesh& m, std::int64_t i);
void face_color(mesh& m, std::int64_t i, num::hyper c);
num::hyper point_color(const mesh& m, std::int64_t i);
void point_color(mesh& m, std::int64_t i, num::hyper c);   // grows `colors` to the point count when short

// Call after rewriting `points` in place (moves, swaps, removal).
void points_changed(mesh& m);

// The distinct corners of a face in order (3 for a triangle, up to 4), written to `out`; gives the count.
int corners(const face& f, std::int64_t out[4]);

num::vector center_of_points(const mesh& m);   // mean of bounding box minimum and maximum
struct bounds {
  num::vector min, max;
};
bounds bounding_box(const mesh& m);   // zero for an empty mesh

void sort(mesh& m);                 // rebuilds `adjacency` and `faceindex`; "  Sort"
void update_point_color(mesh& m);   // "  Update point color"
void update_face_color(mesh& m);    // "  Update face color"
std::int64_t check_zero(mesh& m);   // removes faces with fewer than three distinct points; gives their count
void cluster(mesh& m, std::int64_t n);   // keeps the `n` largest connected parts visible
// Cluster label (1 = largest) of every face; gives the number of clusters.
std::int64_t cluster_labels(mesh& m, std::vector<std::int64_t>& label);
// Drops unused points (with their normals and colours) and renumbers the faces.
void drop_unused_points(mesh& m);

}  // namespace meshes

template <>
struct workspace_traits<mesh> {
  static constexpr const char* prefix = "mesh.";
  static constexpr const char16_t* word = u"mesh";
  static constexpr const char16_t* dumpname = u"mesh";
  static constexpr const char16_t* emptyline = u"  Meshlist empty!";
  static constexpr const char16_t* currenthead = u"  Mesh (";
  static constexpr const char* usage[4] = {"mesh.use name", "mesh.swap name1 name2", "mesh.name name", "mesh.dump"};
  static constexpr std::uint8_t start_tag = 0;   // meshes have no element type
  static inline std::uint8_t default_tag = 0;
  static std::unique_ptr<mesh> create(std::uint8_t) { return std::make_unique<mesh>(); }
  static widetext entry(const mesh& f) {
    return u"mesh(points:" + nat::text(meshes::point_count(f)) + u";faces:" + nat::text(meshes::face_count(f)) +
           u";normales:" + nat::text(meshes::normal_count(f)) + u")";
  }
  static void announce(wideview, const mesh&) {}
};

}  // namespace qv
