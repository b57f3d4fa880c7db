// Unit tests of the order statistics, means and deviations, and the outlier window.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "foundation/stats.h"

using namespace qv;

TEST(numeric_stats, quartiles_by_position_with_the_lower_middle_for_even_counts) {
  struct row { std::vector<double> v; double q25, median, q75; };
  const row rows[] = {
      {{1, 2, 3, 4, 5, 6, 7, 8}, 2, 4, 6},
      {{8, 3, 5, 1, 7, 2, 6, 4}, 2, 4, 6},   // order of the input does not matter
      {{1, 2, 3, 4, 5, 6, 7}, 2, 4, 4},      // (7/4)*3+1 = 4
      {{1, 2, 3, 4}, 1, 2, 3},
      {{3, 1, 2}, 1, 2, 1},
      {{5}, 5, 5, 5},
      {{5, 7}, 0, 5, 0},                     // position 0 lies outside the array
      {{}, 0, 0, 0},
  };
  for (const row& r : rows) {
    stats::quartiles q = stats::quartiles_of(r.v);
    EXPECT_EQ(q.q25, r.q25) << r.v.size();
    EXPECT_EQ(q.median, r.median) << r.v.size();
    EXPECT_EQ(q.q75, r.q75) << r.v.size();
  }
  std::vector<double> v{4, 1, 3, 2};
  EXPECT_EQ(stats::median(v), 2);
  EXPECT_EQ(v, (std::vector<double>{4, 1, 3, 2}));   // left in place
}

TEST(numeric_stats, not_a_number_sorts_last) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> v{nan, 3, 1, 2, nan};
  EXPECT_EQ(stats::median(v), 3);
}

TEST(numeric_stats, min_max_and_their_empty_values) {
  std::vector<double> none;
  EXPECT_EQ(stats::min(none), std::numeric_limits<double>::infinity());
  EXPECT_EQ(stats::max(none), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(stats::max_index(none), 0);
  std::vector<double> v{1, 3, -2, 3};
  EXPECT_EQ(stats::min(v), -2);
  EXPECT_EQ(stats::max(v), 3);
  EXPECT_EQ(stats::max_index(v), 2);
}

TEST(numeric_stats, mean_and_sample_deviation) {
  std::vector<double> v{2, 4, 4, 4, 5, 5, 7, 9};
  EXPECT_EQ(stats::mean(v), 5);
  EXPECT_DOUBLE_EQ(stats::sd(v), std::sqrt(32.0 / 7));
  EXPECT_EQ(stats::mean(std::vector<double>{}), 0);
  EXPECT_EQ(stats::sd(std::vector<double>{4}), 0);
}

TEST(numeric_stats, hyper_arrays_by_lexicographic_order_and_by_component) {
  std::vector<num::hyper> v{{1, 5, 0, 0}, {1, 2, 9, 0}, {0, 9, 9, 9}};
  EXPECT_TRUE(hyper::equal(stats::min(v), num::hyper{0, 9, 9, 9}));
  EXPECT_TRUE(hyper::equal(stats::max(v), num::hyper{1, 5, 0, 0}));
  EXPECT_TRUE(hyper::equal(stats::sum(v), num::hyper{2, 16, 18, 9}));
  EXPECT_TRUE(hyper::equal(stats::mean(v), num::hyper{2.0 / 3, 16.0 / 3, 6, 3}));
  std::vector<num::hyper> two{{1, 0, 0, 0}, {3, 0, 2, 0}};
  EXPECT_TRUE(hyper::equal(stats::var(two), num::hyper{2, 0, 2, 0}));
  EXPECT_TRUE(hyper::equal(stats::var(std::vector<num::hyper>{{1, 2, 3, 4}}), hyper::zero));
}

TEST(numeric_stats, outlier_window_spans_factor_times_the_quartile_distance) {
  stats::quartiles q = stats::quartiles_of(std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8});
  num::complex w = stats::outlier_window(q, 1.5);
  EXPECT_EQ(w.x, -2);
  EXPECT_EQ(w.y, 10);
  EXPECT_TRUE(stats::outlier(10.5, w));
  EXPECT_FALSE(stats::outlier(10, w));
  EXPECT_TRUE(stats::outlier(-2.5, w));
}
