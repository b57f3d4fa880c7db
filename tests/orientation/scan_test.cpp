// Unit tests of the scan kernel: direction sets, the fixed-point walk, the run sampler and the reductions.
#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <vector>
#include "orientation/scan.h"

using namespace qv;
using scan::scan_vector;

TEST(scan, direction_counts_before_and_after_duplicate_removal_match_the_table) {
  struct row { std::int64_t n; std::size_t points, kept; };
  const row rows[] = {{1, 6, 3},      {2, 24, 18},     {3, 55, 43},      {4, 102, 85},
                      {5, 156, 138},  {8, 402, 341},   {16, 1605, 1450}, {32, 6432, 5835}};
  for (const row& r : rows) {
    scan::direction_list dirs, points;
    scan::unit_list units;
    scan::direction_set(r.n, 0, dirs, units, nullptr, &points);
    EXPECT_EQ(points.size(), r.points) << "n = " << r.n;
    EXPECT_EQ(dirs.size(), r.kept) << "n = " << r.n;
    EXPECT_EQ(units.size(), dirs.size());
  }
}

TEST(scan, radius_one_rounds_to_six_points_and_loses_the_z_axis) {
  scan::direction_list dirs, points;
  scan::unit_list units;
  scan::direction_set(1, 0, dirs, units, nullptr, &points);
  EXPECT_EQ(points, (scan::direction_list{{0, 1, 0}, {-1, 1, 0}, {-1, 0, 0}, {0, 0, -1}, {0, 0, -1}, {0, 0, -1}}));
  EXPECT_EQ(dirs.size(), 3u);
  for (const scan_vector& d : dirs) EXPECT_EQ(d.z, 0) << d.x << "," << d.y;
  for (const scan_vector& d : {scan_vector{0, 1, 0}, scan_vector{-1, 1, 0}, scan_vector{-1, 0, 0}})
    EXPECT_NE(std::find(dirs.begin(), dirs.end(), d), dirs.end());
}

TEST(scan, the_z_pole_is_lost_with_the_dropped_last_point) {
  for (std::int64_t n : {1, 4, 8, 10, 16}) {
    scan::direction_list dirs, points;
    scan::unit_list units;
    scan::direction_set(n, 0, dirs, units, nullptr, &points);
    EXPECT_EQ(points.back(), (scan_vector{0, 0, -n}));
    EXPECT_EQ(std::find(dirs.begin(), dirs.end(), scan_vector{0, 0, -n}), dirs.end()) << "n = " << n;
    EXPECT_EQ(std::find(dirs.begin(), dirs.end(), scan_vector{0, 0, n}), dirs.end()) << "n = " << n;
  }
}

TEST(scan, direction_set_is_sorted_by_z_and_has_unit_twins) {
  scan::direction_list dirs;
  scan::unit_list units;
  scan::direction_set(8, 0, dirs, units);
  for (std::size_t i = 1; i < dirs.size(); ++i) EXPECT_LE(dirs[i - 1].z, dirs[i].z);
  for (std::size_t i = 0; i < dirs.size(); ++i) {
    EXPECT_NEAR(scan::length(units[i]), 1.0, 1e-12);
    EXPECT_NEAR(units[i].x * scan::length({double(dirs[i].x), double(dirs[i].y), double(dirs[i].z)}),
                double(dirs[i].x), 1e-9);
  }
}

TEST(scan, a_limit_draws_that_many_distinct_directions_and_a_limit_above_the_count_takes_all) {
  scan::direction_list all, some, again;
  scan::unit_list units;
  scan::direction_set(4, 0, all, units);
  scan::direction_set(4, 10, some, units);
  EXPECT_EQ(some.size(), 10u);
  EXPECT_EQ(units.size(), 10u);
  for (std::size_t i = 0; i < some.size(); ++i) {
    EXPECT_NE(std::find(all.begin(), all.end(), some[i]), all.end());
    EXPECT_EQ(std::count(some.begin(), some.end(), some[i]), 1);
  }
  scan::direction_set(4, 85, again, units);
  EXPECT_EQ(again, all);
}

TEST(scan, the_2d_set_is_a_half_circle_of_pairs) {
  scan::direction_list dirs;
  scan::unit_list units;
  scan::direction_set_2d(4, 0, dirs, units);
  ASSERT_FALSE(dirs.empty());
  for (std::size_t i = 0; i < dirs.size(); ++i) {
    EXPECT_EQ(dirs[i].z, 0);
    if (i) { EXPECT_LE(dirs[i - 1].y, dirs[i].y); }
    for (std::size_t j = i + 1; j < dirs.size(); ++j)
      EXPECT_FALSE(dirs[i] == dirs[j] || (dirs[i].x == -dirs[j].x && dirs[i].y == -dirs[j].y));
  }
}

TEST(scan, the_anisotropic_set_reaches_further_along_the_long_voxel_axis) {
  scan::direction_list dirs;
  scan::unit_list units;
  scan::direction_set_aniso({4, 4, 8}, 0, dirs, units);
  std::int64_t most_x = 0, most_z = 0;
  for (const scan_vector& d : dirs) { most_x = std::max(most_x, std::abs(d.x)); most_z = std::max(most_z, std::abs(d.z)); }
  EXPECT_EQ(most_x, 4);
  EXPECT_EQ(most_z, 8);
}

TEST(scan, reductions_of_a_run) {
  struct row { std::vector<std::int64_t> samples; int submethod; double expected; };
  const row rows[] = {
      {{1, 2, 3, 4}, 0, 10},   {{1, 2, 3, 4}, 1, 2.5},  {{1, 2, 3, 4}, 3, 1},  {{1, 2, 3, 4}, 7, 4},
      {{4, 3, 2, 1}, 5, 2},    // even median: the lower element, not 2.5
      {{5, 1, 3}, 5, 3},       {{1, 2, 3, 4, 5, 6, 7, 8}, 4, 2}, {{1, 2, 3, 4, 5, 6, 7, 8}, 6, 6},
      {{1, 2, 3, 4, 5}, 4, 2}, {{1, 2, 3, 4, 5}, 6, 4},
      {{2, 4, 4, 4, 5, 5, 7, 9}, 2, std::sqrt(32.0 / 7)}, {{2, 4, 4, 4, 5, 5, 7, 9}, 99, std::sqrt(32.0 / 7)},
      {{7}, 2, 0},             {{3, 3, 3}, 2, 0},
  };
  for (const row& r : rows)
    EXPECT_DOUBLE_EQ(scan::reduce(r.samples, r.submethod), r.expected) << "submethod " << r.submethod;
}

TEST(scan, deviation_of_permuted_runs_is_exactly_equal) {
  EXPECT_EQ(scan::reduce({1, 2, 2, 7, 3}, 2), scan::reduce({7, 3, 2, 1, 2}, 2));
  EXPECT_EQ(scan::deviation(50000, 50000LL * 3, 50000LL * 9), 0.0);   // the wide path
}

namespace {

// A volume whose voxel value is its x coordinate.
struct ramp {
  std::vector<std::uint16_t> voxels;
  scan::volume<std::uint16_t> view;
  ramp(std::int64_t nx, std::int64_t ny, std::int64_t nz) : voxels(std::size_t(nx * ny * nz)) {
    for (std::size_t i = 0; i < voxels.size(); ++i) voxels[i] = std::uint16_t(i % std::size_t(nx) + 1);
    view = {voxels.data(), nx, ny, nz, 0};
  }
};

std::vector<std::int64_t> span_of(std::int64_t from, std::int64_t to) {
  std::vector<std::int64_t> v;
  for (std::int64_t i = from; from <= to ? i <= to : i >= to; i += from <= to ? 1 : -1) v.push_back(i);
  return v;
}

}  // namespace

TEST(scan, a_rising_walk_repeats_its_first_voxel_and_a_falling_one_reads_each_once) {
  ramp r(130, 3, 3);
  scan::sample_list out;
  scan::scan_run(r.view, {100, 2, 2}, {116, 2, 2}, out);
  std::vector<std::int64_t> rising{100};
  for (std::int64_t x : span_of(100, 115)) rising.push_back(x);
  EXPECT_EQ(out, rising);
  scan::scan_run(r.view, {116, 2, 2}, {100, 2, 2}, out);
  EXPECT_EQ(out, span_of(116, 100));
}

TEST(scan, a_run_stops_at_the_field_end_unless_the_background_is_not_zero) {
  ramp r(10, 3, 3);
  scan::sample_list out;
  scan::scan_run(r.view, {8, 2, 2}, {14, 2, 2}, out);
  EXPECT_EQ(out, (std::vector<std::int64_t>{8, 8, 9, 10}));
  r.view.background = 5;
  scan::scan_run(r.view, {8, 2, 2}, {14, 2, 2}, out);
  EXPECT_EQ(out, (std::vector<std::int64_t>{8, 8, 9, 10, 5, 5, 5}));
}

TEST(scan, run_takes_the_first_structure_met_from_a_when_both_ends_read_zero) {
  std::vector<std::uint8_t> voxels(20, 0);
  voxels[3] = 7; voxels[4] = 8; voxels[10] = 9; voxels[11] = 9;   // x = 4, 5 and x = 11, 12
  scan::volume<std::uint8_t> v{voxels.data(), 20, 1, 1, 0};
  scan::sample_list out;
  scan::scan_run(v, {1, 1, 1}, {16, 1, 1}, out);
  EXPECT_EQ(out, (std::vector<std::int64_t>{7, 8}));
  scan::scan_run(v, {16, 1, 1}, {1, 1, 1}, out);
  EXPECT_EQ(out, (std::vector<std::int64_t>{9, 9}));
  v.background = 1;   // A now reads the background: the run begins there
  scan::scan_run(v, {22, 1, 1}, {1, 1, 1}, out);
  EXPECT_EQ(out, (std::vector<std::int64_t>{1, 1}));
}

TEST(scan, a_run_from_b_when_only_b_is_inside_a_structure) {
  ramp r(20, 3, 3);
  std::vector<std::uint16_t> voxels = r.voxels;
  scan::volume<std::uint16_t> v = r.view;
  voxels[std::size_t((1 * 3 + 1) * 20 + 2)] = 0;   // (3, 2, 2) reads 0
  v.data = voxels.data();
  scan::sample_list out;
  scan::scan_run(v, {3, 2, 2}, {9, 2, 2}, out);
  EXPECT_EQ(out, span_of(9, 4));
}

TEST(scan, line_sampler_keeps_zeros_and_block_sampler_copies_x_fastest) {
  ramp r(6, 2, 2);
  scan::sample_list out;
  scan::scan_line(r.view, {4, 1, 1}, {8, 1, 1}, out);
  EXPECT_EQ(out, (std::vector<std::int64_t>{4, 4, 5, 6, 0}));
  scan::scan_line(r.view, {4, 1, 1}, {4, 1, 1}, out);
  EXPECT_TRUE(out.empty());
  scan::scan_block(r.view, {2, 1, 1}, {3, 2, 1}, out);
  EXPECT_EQ(out, (std::vector<std::int64_t>{2, 3, 2, 3}));
  scan::scan_block(r.view, {3, 1, 1}, {2, 2, 1}, out);
  EXPECT_TRUE(out.empty());
}

TEST(scan, line_writers_truncate_the_count_and_increment_wraps) {
  std::vector<std::uint8_t> voxels(10, 0);
  scan::writable<std::uint8_t> f{voxels.data(), 10, 1, 1};
  scan::write_line(f, {2, 1, 1}, {5, 1, 1}, scan::lineop::set, std::uint8_t(9));
  EXPECT_EQ(voxels, (std::vector<std::uint8_t>{0, 9, 9, 9, 0, 0, 0, 0, 0, 0}));
  voxels.assign(10, 255);
  scan::write_line(f, {10, 1, 1}, {8, 1, 1}, scan::lineop::increment, std::uint8_t(0));
  EXPECT_EQ(voxels, (std::vector<std::uint8_t>{255, 255, 255, 255, 255, 255, 255, 0, 0, 0}));
}
