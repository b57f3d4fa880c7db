// Unit tests of the complex, vector and hyper families and their nat forms.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/numeric.h"

using namespace qv;

namespace {
void expect_near(num::vector a, num::vector b, double eps = 1e-12) {
  EXPECT_NEAR(a.x, b.x, eps);
  EXPECT_NEAR(a.y, b.y, eps);
  EXPECT_NEAR(a.z, b.z, eps);
}
}  // namespace

TEST(numeric_records, equal_is_byte_wise_and_notequal_by_value) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  num::vector zero{0, 0, 0}, negzero{-0.0, 0, 0}, withnan{nan, 0, 0};
  EXPECT_FALSE(vector::equal(zero, negzero));
  EXPECT_FALSE(vector::notequal(zero, negzero));
  EXPECT_TRUE(vector::equal(withnan, withnan));
  EXPECT_TRUE(vector::notequal(withnan, withnan));
  EXPECT_TRUE(vector::equal(zero, vector::zero));
  EXPECT_TRUE(hyper::notequal(num::hyper{1, 2, 3, 4}, num::hyper{1, 2, 3, 5}));
}

TEST(numeric_records, degenerate_inputs_give_the_zero_record) {
  EXPECT_TRUE(vector::equal(vector::norm(vector::zero), vector::zero));
  EXPECT_EQ(vector::angle(vector::zero, num::vector{1, 0, 0}), 0);
  EXPECT_TRUE(vector::equal(vector::div(num::vector{1, 2, 3}, 0.0), vector::zero));
  EXPECT_TRUE(vector::equal(vector::minnorm(num::vector{0, 1, 2}), vector::zero));
  EXPECT_TRUE(vector::equal(vector::div_each(num::vector{1, 2, 3}, num::vector{2, 0, 4}), num::vector{0.5, 0, 0.75}));
  EXPECT_TRUE(vector::equal(vector::div_scalar(6, num::vector{2, 0, 3}), num::vector{3, 0, 2}));
  EXPECT_TRUE(natvector::equal(natvector::div(num::natvector{4, 5, 6}, 0), natvector::zero));
  EXPECT_TRUE(natvector::equal(natvector::div(num::natvector{INT64_MIN, 5, 6}, -1), num::natvector{INT64_MIN, -5, -6}));
  EXPECT_TRUE(natcomplex::equal(natcomplex::div_each(num::natcomplex{7, 7}, num::natcomplex{2, 0}), num::natcomplex{3, 0}));
}

TEST(numeric_records, minnorm_and_maxnorm_compare_signed_components) {
  EXPECT_TRUE(vector::equal(vector::minnorm(num::vector{2, -4, 8}), num::vector{-0.5, 1, -2}));
  EXPECT_TRUE(vector::equal(vector::maxnorm(num::vector{2, -4, 8}), num::vector{0.25, -0.5, 1}));
  EXPECT_NEAR(vector::length(vector::norm(num::vector{3, 4, 12})), 1, 1e-15);
  EXPECT_EQ(vector::length(num::vector{3, 4, 12}), 13);
  EXPECT_EQ(vector::length(num::natvector{3, 4, 0}), 5);
}

TEST(numeric_records, angle_and_fullangle) {
  num::vector x{1, 0, 0}, y{0, 1, 0};
  EXPECT_DOUBLE_EQ(vector::angle(x, y), num::pi / 2);
  EXPECT_NEAR(vector::angle(x, num::vector{-2, 0, 0}), num::pi, 1e-15);
  EXPECT_DOUBLE_EQ(vector::fullangle(x, y, num::vector{0, 1, 0}), num::pi / 2);
  EXPECT_DOUBLE_EQ(vector::fullangle(x, y, num::vector{-1, -1, 0}), 1.5 * num::pi);
}

TEST(numeric_records, cross_is_right_handed_and_hyper_cross_is_orthogonal) {
  EXPECT_TRUE(vector::equal(vector::cross(num::vector{1, 0, 0}, num::vector{0, 1, 0}), num::vector{0, 0, 1}));
  EXPECT_EQ(vector::triple(num::vector{1, 0, 0}, num::vector{0, 1, 0}, num::vector{0, 0, 2}), 2);
  num::hyper a{1, 2, 0, 1}, b{0, 1, 3, -1}, c{2, 0, 1, 1};
  num::hyper n = hyper::cross(a, b, c);
  EXPECT_NEAR(hyper::dot(n, a), 0, 1e-12);
  EXPECT_NEAR(hyper::dot(n, b), 0, 1e-12);
  EXPECT_NEAR(hyper::dot(n, c), 0, 1e-12);
  num::hyper e1{1, 0, 0, 0}, e2{0, 1, 0, 0}, e3{0, 0, 1, 0}, e4{0, 0, 0, 1};
  EXPECT_EQ(hyper::det4(e1, e2, e3, e4), 1);
  EXPECT_EQ(hyper::det4(e2, e1, e3, e4), -1);
  EXPECT_EQ(hyper::det4(num::hyper{2, 0, 0, 0}, e2, e3, num::hyper{5, 0, 0, 3}), 6);
  EXPECT_TRUE(natvector::equal(natvector::cross(num::natvector{1, 0, 0}, num::natvector{0, 1, 0}), num::natvector{0, 0, 1}));
}

TEST(numeric_records, less_is_lexicographic_and_lessequal_looks_at_x_alone) {
  struct row { num::vector a, b; bool less, lessequal; };
  const row rows[] = {{{1, 5, 5}, {1, 6, 0}, true, true},
                      {{1, 5, 5}, {1, 0, 0}, false, true},
                      {{2, 0, 0}, {1, 9, 9}, false, false},
                      {{1, 2, 3}, {1, 2, 3}, false, true}};
  for (const row& r : rows) {
    EXPECT_EQ(vector::less(r.a, r.b), r.less);
    EXPECT_EQ(vector::lessequal(r.a, r.b), r.lessequal);
  }
  EXPECT_TRUE(vector::greater(num::vector{1, 0, 1}, num::vector{1, 0, 0}));
}

TEST(numeric_records, rotations_and_polar_forms) {
  expect_near(vector::rotate_z(num::vector{1, 0, 0}, num::pi / 2), num::vector{0, 1, 0});
  expect_near(vector::rotate_x(num::vector{0, 1, 0}, num::pi / 2), num::vector{0, 0, 1});
  expect_near(vector::rotate_y(num::vector{0, 0, 1}, num::pi / 2), num::vector{1, 0, 0});
  num::vector odd{-0.0, 1, 2};
  EXPECT_TRUE(vector::equal(vector::rotate_x(odd, 0), odd));   // no trigonometry at 0
  expect_near(vector::polar3(2, num::pi / 2, 0), num::vector{2, 0, 0});
  expect_near(vector::polar3(0, 0), num::vector{0, 0, 1});
  num::complex p = complex::polar2(2, num::pi / 2);
  EXPECT_NEAR(p.x, 0, 1e-15);
  EXPECT_NEAR(p.y, 2, 1e-15);
}

TEST(numeric_records, distances_areas_and_clearance) {
  EXPECT_DOUBLE_EQ(line::distance(num::vector{0, 3, 0}, num::vector{5, 0, 0}, num::vector{2, 0, 0}), 3);
  EXPECT_EQ(line::distance(num::vector{0, 3, 0}, num::vector{}, num::vector{}), 0);
  EXPECT_DOUBLE_EQ(plane::distance(num::vector{1, 1, -4}, num::vector{0, 0, 1}, num::vector{1, 0, 0}, num::vector{0, 2, 0}), 5);
  EXPECT_EQ(plane::distance(num::vector{1, 1, 1}, num::vector{}, num::vector{1, 0, 0}, num::vector{2, 0, 0}), 0);
  EXPECT_DOUBLE_EQ(triangle::area(num::vector{0, 0, 0}, num::vector{4, 0, 0}, num::vector{0, 3, 0}), 6);
  EXPECT_TRUE(vector::clearance(num::vector{5, 0, 0}, num::vector{-1, 0, 0}));
  EXPECT_FALSE(vector::clearance(num::vector{5, 0, 0}, num::vector{0, 1, 0}));
}

TEST(numeric_records, box_corners_walk_round_the_lower_side_first) {
  auto c = box::corners(num::vector{10, 20, 30}, num::vector{2, 4, 6});
  const num::vector expected[8] = {{9, 18, 27}, {11, 18, 27}, {11, 22, 27}, {9, 22, 27},
                                   {9, 18, 33}, {11, 18, 33}, {11, 22, 33}, {9, 22, 33}};
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(vector::equal(c[std::size_t(i)], expected[i])) << i;
}

TEST(numeric_records, vector_rangemap_clamps_to_the_box_once) {
  num::vector a{0, 0, 0}, b{10, 10, 0}, c{0, 0, 5}, d{100, 50, 7};
  // x maps 5 -> 50, y 5 -> 25, z has an empty range and gives (5+7)/2.
  EXPECT_TRUE(vector::equal(vector::rangemap(a, b, num::vector{5, 5, 3}, c, d), num::vector{50, 25, 6}));
  EXPECT_TRUE(vector::equal(vector::rangemap(a, b, num::vector{20, -4, 0}, c, d), num::vector{100, 0, 6}));
  // With c lexicographically above d the box runs from d to c, even where a
  // component of c lies below that of d: y is held at 50 here.
  num::vector c2{100, 0, 7}, d2{0, 50, 5};
  EXPECT_TRUE(vector::equal(vector::rangemap(a, b, num::vector{5, 5, 0}, c2, d2), num::vector{50, 50, 6}));
}

TEST(numeric_records, conversions_to_nat_forms) {
  num::vector v{-1.5, 2.5, 3e10};
  EXPECT_TRUE(natvector::equal(vector::trunc(v), num::natvector{-1, 2, 30000000000}));
  EXPECT_TRUE(natvector::equal(vector::round(v), num::natvector{-2, 2, 30000000000}));
  EXPECT_TRUE(natvector::equal(vector::floor32(v), num::natvector{-2, 2, 2147483647}));
  EXPECT_TRUE(nathyper::equal(hyper::floor32(num::hyper{-3e10, 0.5, -0.5, 7}), num::nathyper{-2147483648LL, 0, -1, 7}));
}

TEST(numeric_records, round_digits_rounds_each_component) {
  num::hyper h = hyper::round_digits(num::hyper{1.23456, -2.5, 0.125, 10}, 2);
  EXPECT_DOUBLE_EQ(h.x, 1.23);
  EXPECT_DOUBLE_EQ(h.y, -2.5);
  EXPECT_DOUBLE_EQ(h.z, 0.12);   // 12.5 rounds to even
  EXPECT_TRUE(hyper::equal(hyper::round_digits(num::hyper{1, 2, 3, 4}, -1), hyper::zero));
}

TEST(numeric_records, box_test_and_clamp) {
  EXPECT_TRUE(vector::inrange(num::vector{1, 2, 3}, num::vector{0, 0, 0}, num::vector{3, 3, 3}));
  EXPECT_FALSE(vector::inrange(num::vector{1, 4, 3}, num::vector{0, 0, 0}, num::vector{3, 3, 3}));
  EXPECT_TRUE(vector::equal(vector::clamp(num::vector{-1, 4, 2}, num::vector{0, 0, 0}, num::vector{3, 3, 3}), num::vector{0, 3, 2}));
}
