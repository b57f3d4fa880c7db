// Unit tests of the mesh record: exact merging, flags, zero faces, clusters, colours.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "meshes/mesh.h"
#include "meshes/mesh_edit.h"

using namespace qv;
using v3 = num::vector;

namespace {
const num::hyper black{};
struct fresh {   // every test starts without a remembered last face
  fresh() { meshes::forget_last_face(); }
};
}  // namespace

TEST(mesh, a_triangle_added_twice_keeps_three_points_and_two_faces) {
  fresh f;
  mesh m;
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, black);
  meshes::forget_last_face();   // the second add must merge through the point search, not the memory
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, black);
  EXPECT_EQ(meshes::point_count(m), 3);
  EXPECT_EQ(meshes::face_count(m), 2);
  const face& a = m.faces[1];
  EXPECT_EQ(a.p1, 1);
  EXPECT_EQ(a.p2, 2);
  EXPECT_EQ(a.p3, 3);
  EXPECT_EQ(a.p4, 3);   // a triangle repeats its third point
  EXPECT_EQ(a.visible, 1);
  EXPECT_EQ(a.color.t, 1);   // alpha 1 whatever was given
  EXPECT_TRUE(m.triangles);
  EXPECT_FALSE(m.sorted);
}

TEST(mesh, a_quad_clears_triangles_and_the_plain_quad_leaves_it) {
  fresh f;
  mesh m;
  meshes::add_quad(m, {0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, black);
  EXPECT_TRUE(m.triangles);   // the form without normals leaves the flag
  meshes::add_quad(m, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}, {}, {}, {}, {}, black);
  EXPECT_FALSE(m.triangles);
  meshes::add_triangle(m, {5, 0, 0}, {6, 0, 0}, {5, 1, 0}, black);
  EXPECT_TRUE(m.triangles);
  EXPECT_EQ(meshes::point_count(m), 11);
  EXPECT_EQ(meshes::normal_count(m), 8);   // zero normals fill in for the points before the first normal
}

TEST(mesh, minus_zero_merges_through_the_memory_but_not_through_the_search) {
  fresh f;
  mesh m;
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, black);
  // The memory compares by value: -0.0 finds 0.0.
  meshes::add_triangle(m, {-0.0, 0, 0}, {2, 0, 0}, {0, 2, 0}, black);
  EXPECT_EQ(m.faces[1].p1, 1);
  // The search compares bytes on an equal x: -0.0 is a new point.
  meshes::forget_last_face();
  meshes::add_triangle(m, {-0.0, 0, 0}, {3, 0, 0}, {0, 3, 0}, black);
  EXPECT_EQ(m.faces[2].p1, 6);
  EXPECT_TRUE(std::signbit(m.points[5].x));
  // Both are now there; the search gives the one of equal bytes.
  meshes::forget_last_face();
  EXPECT_EQ(meshes::find_point(m, {0, 0, 0}), 1);
  EXPECT_EQ(meshes::find_point(m, {-0.0, 0, 0}), 6);
}

TEST(mesh, a_point_whose_x_is_not_a_number_never_merges) {
  fresh f;
  mesh m;
  const double nan = std::nan("");
  meshes::add_triangle(m, {nan, 0, 0}, {nan, 0, 0}, {1, 1, 1}, black);
  EXPECT_EQ(meshes::point_count(m), 3);
}

TEST(mesh, merging_equals_the_backward_walk_on_random_points) {
  fresh f;
  mesh m;
  std::mt19937 gen(7);
  std::uniform_int_distribution<int> d(0, 6);
  auto walk = [&](v3 p) -> std::int64_t {
    for (std::int64_t i = meshes::point_count(m); i >= 1; --i)
      if (m.points[std::size_t(i - 1)].x == p.x && std::memcmp(&m.points[std::size_t(i - 1)], &p, sizeof p) == 0) return i;
    return 0;
  };
  for (int k = 0; k < 3000; ++k) {
    v3 p{d(gen) * 0.5, double(d(gen)), d(gen) == 0 ? -0.0 : double(d(gen))};
    meshes::forget_last_face();
    std::int64_t expect = walk(p);
    ASSERT_EQ(meshes::find_point(m, p), expect);
    if (!expect) meshes::add_triangle(m, p, p, p, black);
    if (k % 500 == 0) meshes::point(m, 1, {9, 9, double(k)});   // an in-place write must not leave the index behind
  }
}

TEST(mesh, check_zero_removes_collapsed_faces_and_their_points) {
  fresh f;
  mesh m;
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, black);
  meshes::add_triangle(m, {5, 5, 5}, {5, 5, 5}, {6, 6, 6}, black);   // two corners one point
  meshes::add_quad(m, {0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, black);
  testing::internal::CaptureStdout();
  EXPECT_EQ(meshes::check_zero(m), 1);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("  1 zero points."), std::string::npos);
  EXPECT_EQ(meshes::face_count(m), 2);
  EXPECT_EQ(meshes::point_count(m), 4);
  EXPECT_EQ(m.faces[1].p3, 4);   // renumbered past the dropped points
  EXPECT_EQ(m.faces[1].p4, 3);
}

TEST(mesh, cluster_keeps_the_largest_part_visible) {
  fresh f;
  mesh m;
  // Blob one: a strip of three triangles; blob two: one triangle far away.
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, black);
  meshes::add_triangle(m, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, black);
  meshes::add_triangle(m, {9, 9, 9}, {10, 9, 9}, {9, 10, 9}, black);
  meshes::add_triangle(m, {1, 1, 0}, {2, 1, 0}, {0, 1, 0}, black);
  testing::internal::CaptureStdout();
  meshes::cluster(m, 1);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_NE(out.find("  Max (1) : 3\n"), std::string::npos) << out;
  EXPECT_NE(out.find("  Objects (visible) : 2 (1)\n"), std::string::npos) << out;
  EXPECT_NE(out.find("  Faces (visible)  : 4 (3)\n"), std::string::npos) << out;
  EXPECT_EQ(m.faces[2].visible, 0);
  EXPECT_EQ(m.faces[3].visible, 1);
}

TEST(mesh, colours_pass_between_faces_and_points) {
  fresh f;
  mesh m;
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0, 0, 0});
  meshes::add_triangle(m, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 1, 0, 0});
  testing::internal::CaptureStdout();
  meshes::update_point_color(m);
  EXPECT_EQ(meshes::point_color(m, 1).x, 1);
  EXPECT_EQ(meshes::point_color(m, 2).x, 0.5);   // shared by both faces
  EXPECT_EQ(meshes::point_color(m, 2).y, 0.5);
  meshes::point_color(m, 4, {0, 0, 1, 1});
  meshes::update_face_color(m);
  testing::internal::GetCapturedStdout();
  EXPECT_DOUBLE_EQ(meshes::face_color(m, 2).z, 1.0 / 3);
  EXPECT_EQ(meshes::center_of_points(m).x, 0.5);
}

TEST(mesh, a_million_triangles_of_a_grid_merge_quickly) {
  fresh f;
  mesh m;
  const int n = 708;   // 2 * 707^2 ~ one million triangles
  for (int y = 0; y + 1 < n; ++y)
    for (int x = 0; x + 1 < n; ++x) {
      meshes::add_triangle(m, {double(x), double(y), 0}, {x + 1.0, double(y), 0}, {double(x), y + 1.0, 0}, black);
      meshes::add_triangle(m, {x + 1.0, double(y), 0}, {x + 1.0, y + 1.0, 0}, {double(x), y + 1.0, 0}, black);
    }
  EXPECT_EQ(meshes::point_count(m), std::int64_t(n) * n);
  EXPECT_EQ(meshes::face_count(m), 2 * std::int64_t(n - 1) * (n - 1));
}

TEST(mesh_edit, a_mirror_keeps_faces_facing_out_and_normals_follow) {
  fresh f;
  mesh m;
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}, black);
  meshes::transform(m, matrix::from_rows({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}), {}, {});
  EXPECT_EQ(m.points[1].x, -1);
  EXPECT_EQ(m.normals[0].z, 1);   // upright on the plane still
  // The winding turned, so the face's normal by its corners is still +z.
  const face& t = m.faces[0];
  num::vector n = vector::cross(num::sub(meshes::point(m, t.p2), meshes::point(m, t.p1)),
                                num::sub(meshes::point(m, t.p3), meshes::point(m, t.p1)));
  EXPECT_GT(n.z, 0);
  EXPECT_EQ(t.p4, t.p3);
}

TEST(mesh_edit, three_points_place_the_first_at_the_origin_and_the_second_on_x) {
  fresh f;
  mesh m;
  meshes::add_triangle(m, {1, 1, 1}, {1, 3, 1}, {0, 1, 1}, black);
  meshes::placement p = meshes::three_point({1, 1, 1}, {1, 3, 1}, {0, 1, 1});
  meshes::transform(m, p.turn, p.from, {});
  EXPECT_NEAR(m.points[0].x, 0, 1e-12);
  EXPECT_NEAR(m.points[1].x, 2, 1e-12);
  EXPECT_NEAR(m.points[1].y, 0, 1e-12);
  EXPECT_NEAR(m.points[2].y, 1, 1e-12);   // the third in the xy plane, y >= 0
  EXPECT_NEAR(m.points[2].z, 0, 1e-12);
}

TEST(mesh_edit, rotation_about_z_turns_x_into_y_and_smoothing_pulls_a_spike_in) {
  num::vector v = matrix::apply({1, 0, 0}, meshes::rotation_xyz({0, 0, num::pi / 2}));
  EXPECT_NEAR(v.x, 0, 1e-12);
  EXPECT_NEAR(v.y, 1, 1e-12);
  fresh f;
  mesh m;
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 0, 9}, black);
  meshes::add_triangle(m, {1, 0, 0}, {1, 1, 0}, {0, 0, 9}, black);
  meshes::smooth(m, 1, 0.5);
  EXPECT_LT(m.points[2].z, 9);
  EXPECT_GT(m.points[2].z, 0);
}
