// Unit tests of surface extraction: hand-worked voxels, snapping, closure, cubes, thread independence.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <utility>

#include "foundation/progress.h"
#include "meshes/cube_tables.h"
#include "meshes/surface.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

using namespace qv;
using meshes::surfacekind;

namespace {

scalarfield field(std::int64_t n, std::initializer_list<std::array<std::int64_t, 4>> voxels) {
  scalarfield f;
  scalar::create(f, 150, n, n, n);
  for (const auto& v : voxels) scalar::set(f, v[0], v[1], v[2], v[3]);
  return f;
}

mesh surface(const scalarfield& f, surfacekind kind, std::int64_t lo, std::int64_t hi, std::int64_t threads = 1) {
  meshes::forget_last_face();
  mesh m;
  testing::internal::CaptureStdout();
  meshes::surface_field(m, f, kind, lo, hi, nullptr, threads);
  testing::internal::GetCapturedStdout();
  return m;
}

// Every edge of every face is met once in each direction: a closed, consistently wound surface.
bool closed(const mesh& m) {
  std::map<std::pair<std::int64_t, std::int64_t>, int> edges;
  for (const face& f : m.faces) {
    std::int64_t c[4];
    int n = meshes::corners(f, c);
    for (int k = 0; k < n; ++k) ++edges[{c[k], c[(k + 1) % n]}];
  }
  for (const auto& [e, count] : edges) {
    auto back = edges.find({e.second, e.first});
    if (count != 1 || back == edges.end() || back->second != 1) return false;
  }
  return !edges.empty();
}

// Weaker, for snapped surfaces where several sheets may meet at one edge: each
// edge is met as often in one direction as in the other, so there is no hole.
bool watertight(const mesh& m) {
  std::map<std::pair<std::int64_t, std::int64_t>, int> edges;
  for (const face& f : m.faces) {
    std::int64_t c[4];
    int n = meshes::corners(f, c);
    for (int k = 0; k < n; ++k) ++edges[{c[k], c[(k + 1) % n]}];
  }
  for (const auto& [e, count] : edges) {
    auto back = edges.find({e.second, e.first});
    if (back == edges.end() || back->second != count) return false;
  }
  return !edges.empty();
}

bool on_lattice(const mesh& m) {
  for (const num::vector& p : m.points)
    if (p.x != std::round(p.x) || p.y != std::round(p.y) || p.z != std::round(p.z)) return false;
  return true;
}

}  // namespace

TEST(surface, the_edge_table_is_the_published_one) {
  EXPECT_EQ(meshes::cube_edges[0], 0x0);
  EXPECT_EQ(meshes::cube_edges[1], 0x109);
  EXPECT_EQ(meshes::cube_edges[2], 0x203);
  EXPECT_EQ(meshes::cube_edges[3], 0x30a);
  EXPECT_EQ(meshes::cube_edges[255], 0x0);
  for (int i = 0; i < 256; ++i) {   // each row uses exactly the edges of its case
    unsigned used = 0;
    for (int k = 0; k < 16 && meshes::cube_triangles[i][k] >= 0; ++k) used |= 1u << meshes::cube_triangles[i][k];
    EXPECT_EQ(used, meshes::cube_edges[std::size_t(i)]) << "case " << i;
  }
}

TEST(surface, one_voxel_at_odd_indices_gives_an_octahedron_on_the_lattice) {
  // Midpoints 2.5 and 3.5 snap to 2 and 4: six vertices one voxel from the centre.
  mesh m = surface(field(5, {{3, 3, 3, 1}}), surfacekind::plain, 1, 1);
  EXPECT_EQ(meshes::point_count(m), 6);
  EXPECT_EQ(meshes::face_count(m), 8);
  EXPECT_TRUE(on_lattice(m));
  EXPECT_TRUE(closed(m));
  const meshes::bounds b = meshes::bounding_box(m);   // global = index - 1
  EXPECT_EQ(b.min.x, 1);
  EXPECT_EQ(b.max.x, 3);
  // Normals point away from the voxel, to lower values.
  for (std::int64_t i = 1; i <= 6; ++i) {
    num::vector p = meshes::point(m, i), n = meshes::normal(m, i);
    EXPECT_GT(num::dot(n, num::sub(p, num::vector{2, 2, 2})), 0);
  }
  // The winding agrees: each face's normal points outwards too.
  const face& f = m.faces[0];
  num::vector a = meshes::point(m, f.p1), b2 = meshes::point(m, f.p2), c = meshes::point(m, f.p3);
  num::vector cen = num::div(num::add(num::add(a, b2), c), 3.0);
  EXPECT_GT(num::dot(vector::cross(num::sub(b2, a), num::sub(c, a)), num::sub(cen, num::vector{2, 2, 2})), 0);
}

TEST(surface, one_voxel_at_even_indices_collapses_entirely) {
  // 1.5 and 2.5 both snap to 2: every triangle has equal corners and is dropped.
  mesh m = surface(field(3, {{2, 2, 2, 1}}), surfacekind::plain, 1, 1);
  EXPECT_EQ(meshes::face_count(m), 0);
  EXPECT_EQ(meshes::point_count(m), 0);
}

TEST(surface, weak_vertices_near_a_corner_snap_to_that_corner) {
  // Values 255 inside and 1 beside: t = (2-1)/(255-1) and (254-1)/(255-1) put the vertices at the corners.
  scalarfield low = field(5, {{3, 3, 3, 255}});
  mesh a = surface(low, surfacekind::weak, 2, std::numeric_limits<std::int64_t>::max());
  mesh b = surface(low, surfacekind::weak, 254, std::numeric_limits<std::int64_t>::max());
  // t near 0 from the outside corner: vertices on the outside neighbours (an octahedron of radius 1);
  // t near 1: vertices on the voxel itself, all collapsed.
  EXPECT_EQ(meshes::point_count(a), 6);
  EXPECT_TRUE(closed(a));
  EXPECT_EQ(meshes::face_count(b), 0);
}

TEST(surface, a_full_field_closes_at_its_faces) {
  scalarfield f;
  scalar::create(f, 150, 6, 5, 4);
  for (std::int64_t z = 1; z <= 4; ++z)
    for (std::int64_t y = 1; y <= 5; ++y)
      for (std::int64_t x = 1; x <= 6; ++x) scalar::set(f, x, y, z, 200);
  mesh m = surface(f, surfacekind::plain, 100, 65535);
  EXPECT_TRUE(closed(m));
  EXPECT_TRUE(on_lattice(m));
  const meshes::bounds b = meshes::bounding_box(m);
  EXPECT_EQ(b.min.x, -1);   // index 0 snapped from 0.5
  EXPECT_EQ(b.max.x, 5);    // index 6 snapped from 6.5
}

TEST(surface, one_and_two_threads_give_identical_meshes_and_the_grid_skips_nothing) {
  std::mt19937 gen(3);
  std::uniform_int_distribution<int> d(0, 255);
  scalarfield f;
  scalar::create(f, 150, 130, 7, 120);   // long axes use the coarse grid's spread cells
  for (std::int64_t z = 1; z <= 120; ++z)
    for (std::int64_t y = 1; y <= 7; ++y)
      for (std::int64_t x = 1; x <= 130; ++x)
        if ((x / 9 + z / 7) % 3 == 0) scalar::set(f, x, y, z, d(gen));
  for (surfacekind k : {surfacekind::plain, surfacekind::smooth, surfacekind::weak}) {
    mesh one = surface(f, k, 128, 65535, 1), two = surface(f, k, 128, 65535, 2);
    ASSERT_GT(meshes::face_count(one), 100);
    ASSERT_EQ(one.points.size(), two.points.size());
    ASSERT_EQ(one.faces.size(), two.faces.size());
    EXPECT_EQ(std::memcmp(one.points.data(), two.points.data(), one.points.size() * sizeof(num::vector)), 0);
    EXPECT_EQ(std::memcmp(one.normals.data(), two.normals.data(), one.normals.size() * sizeof(num::vector)), 0);
    for (std::size_t i = 0; i < one.faces.size(); ++i) ASSERT_EQ(one.faces[i].p4, two.faces[i].p4);
    EXPECT_TRUE(watertight(one));
  }
}

TEST(surface, cube_of_one_voxel_is_six_quads_with_corners_at_nine_tenths) {
  scalarfield f = field(3, {{2, 2, 2, 200}});
  meshes::forget_last_face();
  mesh m;
  testing::internal::CaptureStdout();
  meshes::cube_field(m, f, 128, 65535, nullptr);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(meshes::face_count(m), 6);
  EXPECT_EQ(meshes::point_count(m), 8);
  EXPECT_TRUE(closed(m));
  for (const num::vector& p : m.points) {
    EXPECT_DOUBLE_EQ(std::fabs(p.x - 1), 0.45);
    EXPECT_DOUBLE_EQ(std::fabs(p.z - 1), 0.45);
  }
  EXPECT_EQ(m.faces[0].p1, 1);   // z+1 first: c0 (-,+,+)
  EXPECT_DOUBLE_EQ(m.points[0].x, 0.55);
  EXPECT_DOUBLE_EQ(m.points[0].y, 1.45);
}

TEST(surface, cube_of_two_neighbours_shares_the_inner_face_corners) {
  scalarfield f = field(4, {{2, 2, 2, 200}, {3, 2, 2, 200}});
  meshes::forget_last_face();
  mesh m;
  testing::internal::CaptureStdout();
  meshes::cube_field(m, f, 128, 65535, nullptr);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(meshes::face_count(m), 10);
  EXPECT_EQ(meshes::point_count(m), 12);   // the corners at the shared face keep the full half-size
  EXPECT_TRUE(closed(m));
  bool full = false;
  for (const num::vector& p : m.points) full = full || p.x == 1.5;
  EXPECT_TRUE(full);
}

TEST(surface, colour_forms_take_the_vector_at_the_base_voxel_over_255) {
  scalarfield f = field(5, {{3, 3, 3, 1}});
  vectorfield v;
  vector::create_field(v, 88, 5, 5, 5);
  for (std::int64_t z = 1; z <= 5; ++z)
    for (std::int64_t y = 1; y <= 5; ++y)
      for (std::int64_t x = 1; x <= 5; ++x) vector::set(v, x, y, z, {51, 102, 255});
  meshes::forget_last_face();
  mesh m;
  testing::internal::CaptureStdout();
  meshes::surface_field(m, f, surfacekind::plain, 1, 1, &v, 2);
  std::string out = testing::internal::GetCapturedStdout();
  ASSERT_EQ(meshes::face_count(m), 8);
  // The cube based at (2,2,2) reads the vector there; the one based at (3,3,3) too.
  EXPECT_DOUBLE_EQ(m.faces[0].color.x, 0.2);
  EXPECT_DOUBLE_EQ(m.faces[0].color.z, 1.0);
  EXPECT_EQ(m.faces[0].color.t, 1);
  EXPECT_NE(out.find("Update point color"), std::string::npos);
  EXPECT_DOUBLE_EQ(meshes::point_color(m, 1).y, 0.4);
  // An empty vector field gives the plain black surface.
  vectorfield none;
  mesh plain;
  testing::internal::CaptureStdout();
  meshes::surface_field(plain, f, surfacekind::plain, 1, 1, &none, 1);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(plain.faces[0].color.x, 0);
  EXPECT_TRUE(plain.colors.empty());
}
