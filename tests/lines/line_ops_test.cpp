// Unit tests of the whole-cloud operations, checked through the cloud's text form.
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include "cloud_text.h"
#include "lines/cloud.h"
#include "lines/line_ops.h"
#include "volumes/scalarfield.h"

using namespace qv;
using testing_text::text_of;

namespace {

cloud make(const std::vector<std::vector<num::hyper>>& lines) {
  cloud c;
  std::int64_t m = 1;
  for (const auto& l : lines) line::add_line(c, l.data(), std::int64_t(l.size()), m++);
  line::add_object(c, u"o");
  return c;
}

TEST(line_ops, number_length_and_distance_restart_on_each_line) {
  cloud c = make({{{0, 0, 0, 9}, {3, 4, 0, 9}, {3, 4, 1, 9}}, {{5, 5, 5, 9}}});
  line::set_t(c, line::tvalue::number);
  EXPECT_EQ(text_of(c), "0 0 0 1\n3 4 0 2\n3 4 1 3\n/1\n5 5 5 1\n/2\nobject o\n");
  line::set_t(c, line::tvalue::length);
  EXPECT_EQ(text_of(c), "0 0 0 0\n3 4 0 5\n3 4 1 6\n/1\n5 5 5 0\n/2\nobject o\n");
  line::set_t(c, line::tvalue::distance);
  EXPECT_EQ(text_of(c), "0 0 0 5\n3 4 0 1\n3 4 1 1\n/1\n5 5 5 0\n/2\nobject o\n");
  line::t_statistic(c, line::tstat::max);
  EXPECT_EQ(text_of(c), "0 0 0 5\n3 4 0 5\n3 4 1 5\n/1\n5 5 5 0\n/2\nobject o\n");
}

TEST(line_ops, erase_by_t_removes_whole_lines_and_keeps_the_order) {
  cloud c = make({{{1, 0, 0, 1}, {2, 0, 0, 5}}, {{3, 0, 0, 0}}, {{4, 0, 0, 2}, {5, 0, 0, 2}}});
  line::erase_by(c, line::erasetest::t_min, 1);
  EXPECT_EQ(text_of(c), "1 0 0 1\n2 0 0 5\n/1\n4 0 0 2\n5 0 0 2\n/3\nobject o\n");
  line::erase_by(c, line::erasetest::length_min, 1.5);   // both have length 1
  EXPECT_EQ(text_of(c), "");
  EXPECT_EQ(line::object_count(c), 0);
}

TEST(line_ops, twins_read_backward_count_and_the_last_survives) {
  cloud c = make({{{1, 0, 0, 0}, {2, 0, 0, 0}}, {{2, 0, 0, 0}, {1, 0, 0, 0}}, {{1, 0, 0, 0}, {2, 0, 0, 1}}});
  line::erase_duplicates(c);
  EXPECT_EQ(text_of(c), "2 0 0 0\n1 0 0 0\n/2\n1 0 0 0\n2 0 0 1\n/3\nobject o\n");
}

TEST(line_ops, near_duplicates_by_curve_and_by_first_point) {
  cloud c = make({{{0, 0, 0, 0}, {5, 0, 0, 0}, {10, 0, 0, 0}},
                  {{10, 0.5, 0, 0}, {0, 0.5, 0, 0}},   // the same path walked back, half a unit off
                  {{0, 3, 0, 0}, {10, 3, 0, 0}}});
  cloud d = c;
  line::erase_duplicates_near(c, 0.6);
  EXPECT_EQ(line::line_count(c), 2);
  EXPECT_EQ(c.materials[0], 2);
  line::erase_duplicates_begin(d, 3);   // first points 0, 10 and 0 away from the third's
  EXPECT_EQ(line::line_count(d), 2);
  EXPECT_EQ(d.materials[0], 2);
}

TEST(line_ops, mean_of_near_points_keeps_the_lines) {
  cloud c = make({{{0, 0, 0, 0}, {10, 0, 0, 0}}, {{1, 0, 0, 0}, {20, 0, 0, 0}}});
  line::mean_duplicates_near(c, 1.5);
  EXPECT_EQ(text_of(c), "0.5 0 0 0\n10 0 0 0\n/1\n0.5 0 0 0\n20 0 0 0\n/2\nobject o\n");
}

TEST(line_ops, two_point_lines_as_vectors) {
  cloud c = make({{{1, 1, 1, 0}, {1, 1, 3, 0}}, {{0, 0, 0, 0}, {4, 0, 0, 0}}, {{0, 0, 0, 0}, {1, 0, 0, 0}, {2, 0, 0, 0}}});
  line::vectors(c, line::vectorop::minscale, 0);
  EXPECT_EQ(text_of(c), "1 1 1 0\n1 1 2 0\n/1\n0 0 0 0\n2 0 0 0\n/2\n0 0 0 0\n1 0 0 0\n2 0 0 0\n/3\nobject o\n");
  line::vectors(c, line::vectorop::negate, 0);
  line::vectors(c, line::vectorop::normscale, 3);
  EXPECT_EQ(text_of(c).substr(0, 26), "1 1 1 0\n1 1 -2 0\n/1\n0 0 0 ");
}

TEST(line_ops, center_by_object_and_drawing_into_a_scalar) {
  cloud c = make({{{2, 2, 2, 3}, {4, 2, 2, 3}}});
  scalarfield f;
  scalar::create(f, 151, 8, 8, 8);
  scalar::set_value(f, 7);
  line::draw(c, f, line::shape::line, false, 0);
  EXPECT_EQ(scalar::get(f, 3, 3, 3), 7);   // global 2 is index 3
  EXPECT_EQ(scalar::get(f, 4, 3, 3), 7);
  EXPECT_EQ(scalar::get(f, 5, 3, 3), 7);
  EXPECT_EQ(scalar::get(f, 6, 3, 3), 0);
  c.draw_mode = 2;
  line::draw(c, f, line::shape::cube, true, 1);
  EXPECT_EQ(scalar::get(f, 6, 4, 4), 3);
  EXPECT_EQ(scalar::get(f, 7, 4, 4), 0);
  line::center(c, true);
  EXPECT_EQ(text_of(c), "-1 0 0 3\n1 0 0 3\n/1\nobject o\n");
}

}  // namespace
