// Unit tests of the scalar rules: clamped rounding, powers, safe logarithms and angles, ranges.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/numeric.h"

using namespace qv;

namespace {
const double notanumber = std::numeric_limits<double>::quiet_NaN();
}

TEST(numeric_scalars, round_clamps_then_rounds_ties_to_even) {
  struct row { double v; std::int64_t round, trunc; };
  const row rows[] = {{0.5, 0, 0},       {1.5, 2, 1},         {2.5, 2, 2},         {-0.5, 0, 0},
                      {-1.5, -2, -1},    {-2.5, -2, -2},      {1.9, 2, 1},         {-1.9, -2, -1},
                      {1e19, INT64_MAX, INT64_MAX},           {-1e19, INT64_MIN, INT64_MIN},
                      {9223372036854775808.0, INT64_MAX, INT64_MAX}, {notanumber, 0, 0}};
  for (const row& r : rows) {
    EXPECT_EQ(real::round(r.v), r.round) << r.v;
    EXPECT_EQ(real::trunc(r.v), r.trunc) << r.v;
  }
}

TEST(numeric_scalars, power_gives_zero_for_zero_base_even_to_the_zero) {
  struct row { double x, y, expected; };
  const row rows[] = {{0, 0, 0}, {5, 0, 1}, {0, -2, 0}, {2, 10, 1024}, {2, -2, 0.25}, {-2, 3, -8}, {9, 0.5, 3}};
  for (const row& r : rows) EXPECT_DOUBLE_EQ(real::power(r.x, r.y), r.expected) << r.x << "^" << r.y;
  // A negative base with a fractional exponent goes through the odd logarithm.
  double p = real::power(-8, 1.0 / 3);
  EXPECT_DOUBLE_EQ(p, std::exp((1.0 / 3) * -std::log(8.0)));
  EXPECT_GT(p, 0);
  EXPECT_LT(p, 1);
  EXPECT_EQ(real::power_nat(0, 0), 0);
  EXPECT_EQ(real::power_nat(3, 0), 1);
  EXPECT_EQ(real::power_nat(2, -1), 0.5);
  EXPECT_EQ(real::power_nat(1e-200, -2), 0);   // the square underflows; no division by zero
  EXPECT_EQ(real::power_nat(-1, INT64_MIN), 1);
}

TEST(numeric_scalars, ln_safe_is_an_odd_function_and_zero_at_zero) {
  EXPECT_DOUBLE_EQ(real::ln_safe(-std::exp(1.0)), -1);
  EXPECT_DOUBLE_EQ(real::ln_safe(std::exp(2.0)), 2);
  EXPECT_EQ(real::ln_safe(0), 0);
  EXPECT_DOUBLE_EQ(real::log10(-100), -2);
  EXPECT_DOUBLE_EQ(real::log2(8), 3);
  EXPECT_EQ(real::log_base(1, 5), 0);
  EXPECT_EQ(real::log_base(0, 5), 0);
  EXPECT_DOUBLE_EQ(real::log_base(3, 81), 4);
}

TEST(numeric_scalars, arcsin_safe_cuts_arguments_outside_the_unit_range_to_their_fraction) {
  struct row { double x, expected; };
  const row rows[] = {{1.5, std::asin(0.5)}, {-1.5, std::asin(-0.5)}, {2, 0}, {1, num::pi / 2},
                      {-1, -num::pi / 2},    {0.3, std::asin(0.3)},    {0, 0}};
  for (const row& r : rows) EXPECT_NEAR(real::arcsin_safe(r.x), r.expected, 1e-15) << r.x;
  EXPECT_EQ(real::arcsin_safe(1.5), real::arcsin_safe(0.5));
  EXPECT_NEAR(real::arccos_safe(1), 0, 1e-15);
  EXPECT_NEAR(real::arccos_safe(-1), num::pi, 1e-15);
}

TEST(numeric_scalars, atan2_safe_matches_the_quadrants_and_gives_zero_at_the_origin) {
  const double pts[][2] = {{1, 2}, {2, 1}, {-1, 2}, {-2, 1}, {-1, -2}, {-2, -1}, {1, -2}, {2, -1}, {0, 1}, {0, -1}, {1, 0}, {3, 3}};
  for (const auto& p : pts) EXPECT_NEAR(real::atan2_safe(p[0], p[1]), std::atan2(p[0], p[1]), 1e-15) << p[0] << "," << p[1];
  EXPECT_EQ(real::atan2_safe(0, 0), 0);
}

TEST(numeric_scalars, sign_copy_and_tan_safe) {
  EXPECT_EQ(real::sign_copy(-3, 0), 3);
  EXPECT_EQ(real::sign_copy(3, -0.1), -3);
  EXPECT_EQ(real::sign_copy(-3, -0.0), 3);   // -0.0 >= 0
  EXPECT_DOUBLE_EQ(real::tan_safe(0.5), std::tan(0.5));
  EXPECT_DOUBLE_EQ(real::degree(180), num::pi);
}

TEST(numeric_scalars, rangemap_clamps_in_either_order_and_splits_an_empty_range) {
  struct row { double a, b, v, c, d, expected; };
  const row rows[] = {{0, 10, 5, 0, 100, 50},  {0, 10, 20, 0, 100, 100}, {2, 2, 7, 0, 10, 5},
                      {0, 10, 2, 100, 0, 80},  {0, 10, -5, 100, 0, 100}, {0, 10, 15, 100, 0, 0}};
  for (const row& r : rows) EXPECT_DOUBLE_EQ(real::rangemap(r.a, r.b, r.v, r.c, r.d), r.expected);
  EXPECT_EQ(nat::rangemap(0, 3, 1, 0, 10), 3);
  EXPECT_EQ(nat::rangemap(0, 4, 1, 0, 10), 2);    // 2.5 rounds to even
  EXPECT_EQ(nat::rangemap(0, 4, 9, 10, 0), 0);
  EXPECT_EQ(nat::rangemap(1, 1, 9, 0, 5), 2);
}

TEST(numeric_scalars, inrange_cyclic_wraps_round_the_ends) {
  struct row { double v, lo, hi; bool expected; };
  const row rows[] = {{15, -10, 20, true},  {250, -10, 20, true}, {244, -10, 20, false}, {100, -10, 20, false},
                      {5, 250, 260, true},  {6, 250, 260, false}, {252, 250, 260, true}, {100, 50, 150, true},
                      {200, 50, 150, false}};
  for (const row& r : rows) EXPECT_EQ(real::inrange_cyclic(r.v, r.lo, r.hi, 0, 255), r.expected) << r.v;
  EXPECT_TRUE(nat::inrange_cyclic(250, -10, 20, 0, 255));
  EXPECT_FALSE(nat::inrange_cyclic(21, -10, 20, 0, 255));
}

TEST(numeric_scalars, fit_scale_counts_its_steps) {
  real::fitscale f = real::fit_scale(1234, 1, 10, 10);
  EXPECT_NEAR(f.value, 1.234, 1e-12);
  EXPECT_EQ(f.count, -3);
  EXPECT_DOUBLE_EQ(f.factor, 0.001);
  f = real::fit_scale(-0.05, 1, 10, 10);
  EXPECT_NEAR(f.value, -5, 1e-12);
  EXPECT_EQ(f.count, 2);
  EXPECT_DOUBLE_EQ(f.factor, 100);
  f = real::fit_scale(0, 1, 10, 10);
  EXPECT_EQ(f.count, 0);
  EXPECT_EQ(f.factor, 1);
  f = real::fit_scale(5, 1, 10, 1);   // a base that cannot move v
  EXPECT_EQ(f.factor, 1);
}

TEST(numeric_scalars, nat_division_never_traps) {
  EXPECT_EQ(nat::div(7, 0), 0);
  EXPECT_EQ(nat::div(INT64_MIN, -1), INT64_MIN);
  EXPECT_EQ(nat::div(-7, 2), -3);
  EXPECT_EQ(nat::add(INT64_MAX, 1), INT64_MIN);
}
