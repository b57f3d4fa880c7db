// Unit tests of the streamline tracker on hand-worked fields, checked through the cloud's text form.
#include <gtest/gtest.h>
#include <string>
#include "cloud_text.h"
#include "lines/cloud.h"
#include "lines/stream.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

using namespace qv;
using testing_text::text_of;

namespace {

vectorfield field(std::int64_t n = 10) {
  vectorfield f;
  vector::create_field(f, 88, n, n, n);
  return f;
}
void fill(vectorfield& f, framemath::vector v) {
  for (std::int64_t z = 1; z <= f.depth; ++z)
    for (std::int64_t y = 1; y <= f.height; ++y)
      for (std::int64_t x = 1; x <= f.width; ++x) vector::set(f, x, y, z, v);
}

struct run_result {
  stream::result r;
  std::string text, out;
};
run_result track(const vectorfield& f, const stream::settings& s, cloud& c) {
  stream::seedplan plan;
  testing::internal::CaptureStdout();
  run_result x;
  x.r = stream::run(f, c, plan, s, nullptr);
  x.out = testing::internal::GetCapturedStdout();
  x.text = text_of(c);
  return x;
}
std::string first_line(const std::string& t) { return t.substr(0, t.find('/')); }

TEST(stream, constant_field_gives_three_point_lines_and_marks_them_visited) {
  vectorfield f = field();
  fill(f, {1, 0, 0});
  cloud c;
  const run_result x = track(f, {}, c);
  // The seed, the forward end one step past the box (9.5), the backward end.
  EXPECT_EQ(first_line(x.text), "-1 0 0 0\n0 0 0 0\n10 0 0 0\n");
  EXPECT_EQ(x.r.found, 81);   // one line per row: the rest of the row is visited
  EXPECT_EQ(x.r.tried, 81);
  EXPECT_EQ(line::line_count(c), 81);
  EXPECT_EQ(line::object_name(c, 1), u"Streamlines");
  EXPECT_EQ(c.materials[1], 2);
  EXPECT_EQ(c.size.x, 10);
  EXPECT_EQ(c.size.t, 1);
  EXPECT_NE(x.out.find("  Found 81 (100%) streamlines from seeds.\n"), std::string::npos);
}

TEST(stream, simplified_walk_stores_the_bend_and_stop_angle_is_strict) {
  vectorfield f = field();
  for (std::int64_t z = 1; z <= 10; ++z)
    for (std::int64_t y = 1; y <= 10; ++y)
      for (std::int64_t x = 1; x <= 10; ++x) vector::set(f, x, y, z, x <= 5 ? framemath::vector{1, 0, 0} : framemath::vector{0, 1, 0});
  stream::settings s;
  cloud c;
  // A right angle is not below 90 degrees: the walk ends at the stored bend.
  EXPECT_EQ(first_line(track(f, s, c).text), "-1 0 0 0\n0 0 0 0\n5 1 0 0\n");
  s.stop_angle = real::degree(100);
  cloud d;
  EXPECT_EQ(first_line(track(f, s, d).text), "-1 0 0 0\n0 0 0 0\n5 1 0 0\n5 10 0 0\n");
}

TEST(stream, stop_angle_zero_ends_each_half_after_one_step) {
  vectorfield f = field();
  fill(f, {1, 0, 0});
  stream::settings s;
  s.stop_angle = 0;
  s.seeds = 0;
  cloud c;
  const run_result x = track(f, s, c);
  EXPECT_EQ(first_line(x.text), "-1 0 0 0\n0 0 0 0\n1 0 0 0\n");
  EXPECT_EQ(x.r.found, 729);   // no visited test: every voxel of the 9^3 seeds
}

TEST(stream, plain_walk_stores_every_step_up_to_maxpoints) {
  vectorfield f = field();
  fill(f, {1, 0, 0});
  stream::settings s;
  s.angles = 0;
  s.stop_length = 3;
  cloud c;
  EXPECT_EQ(first_line(track(f, s, c).text), "-1 0 0 0\n0 0 0 0\n1 0 0 0\n2 0 0 0\n");
  s.steps = 0.5;   // maxpoints 3/0.5 = 6, steps half a voxel
  cloud d;
  EXPECT_EQ(first_line(track(f, s, d).text), "-0.5 0 0 0\n0 0 0 0\n0.5 0 0 0\n1 0 0 0\n1.5 0 0 0\n2 0 0 0\n2.5 0 0 0\n");
}

TEST(stream, zero_field_finds_nothing_and_leaves_the_cloud) {
  vectorfield f = field(4);
  cloud c;
  const run_result x = track(f, {}, c);
  EXPECT_NE(x.out.find("\n  Found 0 (0%) streamlines from seeds.\n"), std::string::npos);
  EXPECT_EQ(x.text, "");
  EXPECT_EQ(c.size.x, 0);
}

// Seeds 2 refuse a seed with a visited voxel at offsets -3..1 on any axis.
TEST(stream, seeds_two_test_the_lopsided_cube) {
  vectorfield f = field();
  for (std::int64_t x = 1; x <= 9; ++x) vector::set(f, x, 6, 5, {1, 0, 0});   // the row, first seed
  const std::int64_t lone[][3] = {{9, 2, 6}, {2, 5, 6}, {5, 6, 8}, {5, 6, 9}};
  for (auto& v : lone) vector::set(f, v[0], v[1], v[2], {1, 0, 0});
  stream::settings s;
  s.seeds = 2;
  cloud c;
  const run_result x = track(f, s, c);
  // (9,2,6) is 4 rows away in y and starts; (2,5,6) is one row below the row
  // and one plane above it; (5,6,8) is 3 planes above it; (5,6,9) is 4 planes above.
  EXPECT_EQ(x.r.tried, 3);
  EXPECT_EQ(x.r.found, 3);
  EXPECT_EQ(x.text.find("3 1 5 0\n"), std::string::npos);
  EXPECT_NE(x.text.find("8 1 5 0\n"), std::string::npos);   // seed (9,2,6)
  EXPECT_NE(x.text.find("4 5 8 0\n"), std::string::npos);   // seed (5,6,9)
  s.seeds = 1;
  cloud d;
  EXPECT_EQ(track(f, s, d).r.found, 5);
}

// Snakes cut a later track at the first voxel an earlier line passed through.
TEST(stream, snakes_cut_a_track_where_it_meets_an_earlier_one) {
  vectorfield f = field();
  for (std::int64_t y = 1; y <= 4; ++y) vector::set(f, 5, y, 5, {0, 1, 0});   // column, seeded first
  for (std::int64_t x = 1; x <= 9; ++x) vector::set(f, x, 5, 5, {1, 0, 0});   // row it turns into
  stream::settings s;
  s.angles = 0;
  s.stop_angle = real::degree(100);
  s.snakes = 1;
  cloud c;
  const run_result x = track(f, s, c);
  EXPECT_EQ(x.r.found, 2);
  EXPECT_EQ(line::line_count(c), 2);
  EXPECT_EQ(x.text.substr(0, x.text.find("/1\n")),   // up the column, along the row to its last vector
            "4 -1 4 0\n4 0 4 0\n4 1 4 0\n4 2 4 0\n4 3 4 0\n4 4 4 0\n5 4 4 0\n6 4 4 0\n7 4 4 0\n8 4 4 0\n9 4 4 0\n");
  const std::string second = x.text.substr(x.text.find("/1\n") + 3);
  EXPECT_EQ(second, "-1 4 4 0\n0 4 4 0\n1 4 4 0\n2 4 4 0\n3 4 4 0\n/2\nobject Streamlines\n");
  s.snakes = 0;   // without snakes the row seed gives the whole row
  cloud d;
  track(f, s, d);
  EXPECT_EQ(line::line_size(d, 2), 11);   // -1 .. 9 along the row
}

TEST(stream, muscle_test_keeps_lines_whose_forward_half_is_not_longer) {
  vectorfield f = field();
  fill(f, {1, 0, 0});
  stream::settings s;
  s.seeds = 0;
  stream::seedplan plan;
  plan.muscle = true;
  cloud c;
  testing::internal::CaptureStdout();
  const stream::result r = stream::run(f, c, plan, s, nullptr);
  testing::internal::GetCapturedStdout();
  // Seed at global s: forward s..10, L1 = 10 - s; backward -1, L2 = s + 1; kept for s >= 4.
  EXPECT_EQ(r.tried, 729);
  EXPECT_EQ(r.found, 81 * 5);
}

// Without a visited test seeds are traced in parallel; the cloud must not change.
TEST(stream, clouds_are_the_same_for_any_number_of_workers) {
  vectorfield f = field(24);
  for (std::int64_t z = 1; z <= 24; ++z)
    for (std::int64_t y = 1; y <= 24; ++y)
      for (std::int64_t x = 1; x <= 24; ++x)
        vector::set(f, x, y, z, (x * 7 + y * 3 + z) % 5 == 0 ? framemath::vector{} : framemath::vector{double(y % 3) - 1, 1, double(x % 4) * 0.3});
  stream::settings s;
  s.seeds = 0;
  s.angles = 0;
  stream::seedplan plan;
  plan.muscle = true;
  cloud one, three;
  testing::internal::CaptureStdout();
  const stream::result a = stream::run(f, one, plan, s, nullptr, 1);
  const stream::result b = stream::run(f, three, plan, s, nullptr, 3);
  testing::internal::GetCapturedStdout();
  EXPECT_GT(a.found, 100);
  EXPECT_EQ(a.found, b.found);
  EXPECT_EQ(a.tried, b.tried);
  EXPECT_EQ(text_of(one), text_of(three));
}

TEST(stream, nodes_count_lines_through_each_voxel) {
  vectorfield f = field(4);
  for (std::int64_t x = 1; x <= 4; ++x) vector::set(f, x, 1, 1, {1, 0, 0});
  scalarfield target;
  scalar::create(target, 151, 4, 4, 4);
  stream::settings s;
  testing::internal::CaptureStdout();
  stream::nodes(f, target, s);
  testing::internal::GetCapturedStdout();
  // Seeds x = 1..3 on the row, each line from voxel 0 to voxel 5 (outside).
  EXPECT_EQ(scalar::get(target, 1, 1, 1), 3);
  EXPECT_EQ(scalar::get(target, 4, 1, 1), 3);
  EXPECT_EQ(scalar::get(target, 1, 2, 1), 0);
}

}  // namespace
