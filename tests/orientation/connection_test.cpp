// Unit tests of the connection scan: tensors worked out by hand on tiny volumes.
#include <gtest/gtest.h>
#include <vector>
#include "orientation/connection.h"

using namespace qv;

namespace {

struct testvolume {
  std::int64_t nx, ny, nz;
  std::vector<std::uint8_t> voxels;
  testvolume(std::int64_t n, std::uint8_t fill) : nx(n), ny(n), nz(n), voxels(std::size_t(n * n * n), fill) {}
  std::uint8_t& at(std::int64_t x, std::int64_t y, std::int64_t z) {
    return voxels[std::size_t(((z - 1) * ny + (y - 1)) * nx + (x - 1))];
  }
  scan::volume<std::uint8_t> view() const { return {voxels.data(), nx, ny, nz, 0}; }
};

tensor6 scan_at(const testvolume& v, int scheme, std::int64_t n, bool fullscan, scan::scan_vector p) {
  connection::directions d;
  connection::settings s;
  s.n = n, s.scheme = scheme, s.fullscan = fullscan;
  if (connection::fixed_scheme(scheme)) connection::build_fixed(d, scheme, n);
  else scan::direction_set(n, connection::limit_of(scheme), d.sphere, d.units);
  scan::sample_list run;
  return connection::voxel(v.view(), d, s, p, run);
}

void expect_tensor(const tensor6& t, double xx, double yy, double zz, double xy, double xz, double yz) {
  EXPECT_NEAR(t.xx, xx, 1e-9);
  EXPECT_NEAR(t.yy, yy, 1e-9);
  EXPECT_NEAR(t.zz, zz, 1e-9);
  EXPECT_NEAR(t.xy, xy, 1e-9);
  EXPECT_NEAR(t.xz, xz, 1e-9);
  EXPECT_NEAR(t.yz, yz, 1e-9);
}

// A uniform line along x: only the x line qualifies, 9 voxels without spread
// weigh sqrt(10), so xx = 10; with fullscan the two short lines null it.
TEST(Connection, HdtiOnTubeAlongX) {
  testvolume v(21, 0);
  for (std::int64_t x = 1; x <= 21; ++x) v.at(x, 11, 11) = 100;
  expect_tensor(scan_at(v, 1, 4, false, {11, 11, 11}), 10, 0, 0, 0, 0, 0);
  expect_tensor(scan_at(v, 1, 4, true, {11, 11, 11}), 0, 0, 0, 0, 0, 0);
}

// Uniform block, dti, n = 3: axis lines hold 7 voxels (weight^2 8); the
// diagonals, (2,2,2) once rounded, walk round(4 sqrt 3) = 7 steps, 8 samples
// (weight^2 9, a third on each axis): the diagonal is 8 + 4 * 3 = 20 and the
// off-diagonals cancel; the trace is the sum of c + 1 over the lines, 60.
TEST(Connection, DtiUniformBlockTrace) {
  testvolume v(21, 50);
  const tensor6 t = scan_at(v, 2, 3, true, {11, 11, 11});
  expect_tensor(t, 20, 20, 20, 0, 0, 0);
  EXPECT_NEAR(t.xx + t.yy + t.zz, 60, 1e-9);
}

// One short line of seven: without fullscan six lines remain (the (k,k,k)
// line drops 3 from each diagonal entry and its +3 from each off-diagonal);
// with fullscan the voxel is null.
TEST(Connection, DtiFullscanShortLineGivesNull) {
  testvolume v(21, 50);
  v.at(12, 12, 12) = 0;
  v.at(10, 10, 10) = 0;
  expect_tensor(scan_at(v, 2, 3, false, {11, 11, 11}), 17, 17, 17, -3, -3, -3);
  expect_tensor(scan_at(v, 2, 3, true, {11, 11, 11}), 0, 0, 0, 0, 0, 0);
}

// Sphere scheme in a uniform block: every line weighs sqrt(c + 1) along a unit
// vector, so the trace is the sum of c + 1; with hardi at n = 1 no line runs along z.
TEST(Connection, HardiUniformBlock) {
  testvolume v(9, 50);
  connection::directions d;
  scan::direction_set(1, 0, d.sphere, d.units);
  double expected = 0;
  for (const auto& e : d.sphere) {
    EXPECT_FALSE(e.x == 0 && e.y == 0);
    scan::sample_list run;
    scan::scan_run(v.view(), {5 + e.x, 5 + e.y, 5 + e.z}, {5 - e.x, 5 - e.y, 5 - e.z}, run);
    expected += double(run.size()) + 1;
  }
  const tensor6 t = scan_at(v, 6, 1, false, {5, 5, 5});
  EXPECT_NEAR(t.xx + t.yy + t.zz, expected, 1e-9);
  EXPECT_GT(t.xx, 0);
}

}  // namespace
