// Unit tests of the scan kernel: direction sets, the fixed-point walk, the run sampler and the reductions.
#include <gtest/gtest.h>
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
