// Unit tests of the diffusion search: known structures, tie rules, the fast walk against the plain sampler, threads.
#include <gtest/gtest.h>
#include <cmath>
#include <random>
#include <vector>
#include "orientation/diffusion_kernel.h"

using namespace qv;
using diffusion::realvector;

namespace {

struct testvolume {
  std::int64_t nx, ny, nz;
  std::vector<std::uint8_t> voxels;
  testvolume(std::int64_t x, std::int64_t y, std::int64_t z) : nx(x), ny(y), nz(z), voxels(std::size_t(x * y * z)) {}
  std::uint8_t& at(std::int64_t x, std::int64_t y, std::int64_t z) {
    return voxels[std::size_t(((z - 1) * ny + (y - 1)) * nx + (x - 1))];
  }
  scan::volume<std::uint8_t> view(std::int64_t background = 0) const { return {voxels.data(), nx, ny, nz, background}; }
};

// A tube of radius 3 along `axis` through the centre: bright core, dimmer rim,
// and a ripple along the tube so that its own line has a small, non-zero spread.
testvolume tube(realvector axis) {
  testvolume v(31, 31, 31);
  const realvector a = scan::normalise(axis);
  for (std::int64_t z = 1; z <= v.nz; ++z)
    for (std::int64_t y = 1; y <= v.ny; ++y)
      for (std::int64_t x = 1; x <= v.nx; ++x) {
        const realvector p{x - 16.0, y - 16.0, z - 16.0};
        const double along = p.x * a.x + p.y * a.y + p.z * a.z;
        const realvector off{p.x - along * a.x, p.y - along * a.y, p.z - along * a.z};
        const double r2 = off.x * off.x + off.y * off.y + off.z * off.z;
        if (r2 <= 9.5) v.at(x, y, z) = std::uint8_t(200 - 15 * std::lround(r2) + ((x + y + z) % 2) * 2);
      }
  return v;
}

double alignment(realvector a, realvector b) {   // |cos| of the angle between the lines
  const double la = scan::length(a), lb = scan::length(b);
  if (la == 0 || lb == 0) return 0;
  return std::fabs(a.x * b.x + a.y * b.y + a.z * b.z) / (la * lb);
}

}  // namespace

TEST(diffusion, a_tube_gives_its_own_direction_under_methods_1_5_and_6) {
  // The set never holds the z pole (its last ring is dropped as duplicates), so
  // the z tube finds its nearest set direction, 6 degrees off at n = 10; at
  // n = 6 the space diagonal has three equally good neighbours.
  struct row { realvector axis; std::int64_t n; };
  const row rows[] = {{{1, 0, 0}, 10}, {{0, 1, 0}, 10}, {{0, 0, 1}, 10}, {{1, 1, 0}, 8}, {{1, 1, 1}, 8}};
  for (const auto& [axis, n] : rows) {
    testvolume v = tube(axis);
    diffusion::lineplan plan;
    diffusion::plan_build(plan, n, v.nx, v.ny);
    diffusion::scratch work;
    for (int method : {1, 5, 6}) {
      diffusion::settings s;
      s.n = n;
      s.method = method;
      for (std::int64_t t = -4; t <= 4; ++t) {   // voxels on the axis, away from the field's faces
        const realvector unit = scan::normalise(axis);
        const std::int64_t x = 16 + std::lround(t * unit.x), y = 16 + std::lround(t * unit.y),
                           z = 16 + std::lround(t * unit.z);
        const realvector r = diffusion::voxel(v.view(), plan, s, x, y, z, work);
        EXPECT_GT(alignment(r, axis), std::cos(8 * M_PI / 180))
            << "method " << method << " axis " << axis.x << axis.y << axis.z << " at " << x << "," << y << "," << z
            << " result " << r.x << "," << r.y << "," << r.z;
      }
    }
  }
}

TEST(diffusion, a_uniform_block_gives_null_under_every_method) {
  testvolume v(21, 21, 21);
  std::fill(v.voxels.begin(), v.voxels.end(), 50);
  diffusion::lineplan plan;
  diffusion::plan_build(plan, 4, v.nx, v.ny);
  diffusion::scratch work;
  for (int method = 0; method <= 6; ++method) {
    diffusion::settings s;
    s.n = 4;
    s.method = method;
    EXPECT_EQ(diffusion::voxel(v.view(), plan, s, 11, 11, 11, work), (realvector{})) << "method " << method;
  }
}

TEST(diffusion, fullscan_nulls_a_voxel_with_one_short_line) {
  testvolume v = tube({1, 0, 0});
  diffusion::lineplan plan;
  diffusion::plan_build(plan, 6, v.nx, v.ny);
  diffusion::scratch work;
  diffusion::settings s;
  s.n = 6;
  s.method = 1;
  EXPECT_NE(diffusion::voxel(v.view(), plan, s, 16, 16, 16, work), (realvector{}));
  s.fullscan = true;   // the lines across the tube leave it after 3 voxels
  EXPECT_EQ(diffusion::voxel(v.view(), plan, s, 16, 16, 16, work), (realvector{}));
}

TEST(diffusion, method_4_with_a_single_best_line_returns_that_lines_vector) {
  testvolume v = tube({0, 1, 0});
  diffusion::lineplan plan;
  diffusion::plan_build(plan, 6, v.nx, v.ny);
  diffusion::scratch work;
  diffusion::settings s;
  s.n = 6;
  s.method = 4;
  const realvector r = diffusion::voxel(v.view(), plan, s, 16, 16, 16, work);
  bool found = false;
  for (const scan::scan_vector& d : plan.directions)
    found |= (r == realvector{double(d.x), double(d.y), double(d.z)});
  EXPECT_TRUE(found) << r.x << "," << r.y << "," << r.z;
  EXPECT_EQ(std::fabs(r.y), 6.0);
}

TEST(diffusion, fast_walk_equals_the_plain_sampler_for_every_method_border_voxels_included) {
  std::mt19937 rng(7);
  testvolume v(14, 13, 12);
  for (auto& c : v.voxels) c = (rng() % 3 == 0) ? 0 : std::uint8_t(1 + rng() % 4);   // small values: many ties
  diffusion::lineplan plan;
  diffusion::plan_build(plan, 3, v.nx, v.ny);
  diffusion::scratch fast, plain;
  for (std::int64_t background : {0, 2})
    for (int submethod : {2, 5, 0})
      for (int method = 1; method <= 6; ++method) {
        diffusion::settings s;
        s.n = 3;
        s.method = method;
        s.submethod = submethod;
        s.fullscan = (method == 2 && submethod == 0);
        for (std::int64_t z = 1; z <= v.nz; ++z)
          for (std::int64_t y = 1; y <= v.ny; ++y)
            for (std::int64_t x = 1; x <= v.nx; ++x) {
              if (v.at(x, y, z) == 0) continue;
              const realvector a = diffusion::voxel(v.view(background), plan, s, x, y, z, fast);
              const realvector b = diffusion::voxel_plain(v.view(background), plan, s, x, y, z, plain);
              ASSERT_EQ(a, b) << "method " << method << " submethod " << submethod << " at " << x << "," << y << ","
                              << z;
            }
        EXPECT_EQ(fast.samples, plain.samples);
      }
}

TEST(diffusion, the_padded_slab_walk_equals_the_plain_sampler_over_a_whole_field) {
  std::mt19937 rng(11);
  testvolume v(13, 12, 11);
  for (auto& c : v.voxels) c = (rng() % 3 == 0) ? 0 : std::uint8_t(1 + rng() % 5);
  for (std::int64_t background : {0, 3})
    for (int method : {1, 3, 5, 6}) {
      diffusion::settings s;
      s.n = 3;
      s.method = method;
      std::vector<realvector> out(v.voxels.size());
      diffusion::field(v.view(background), s, 1, 2, out.data());
      diffusion::lineplan plan;
      diffusion::plan_build(plan, 3, v.nx, v.ny);
      diffusion::scratch plain;
      for (std::int64_t z = 1; z <= v.nz; ++z)
        for (std::int64_t y = 1; y <= v.ny; ++y)
          for (std::int64_t x = 1; x <= v.nx; ++x) {
            const realvector expected = v.at(x, y, z) == 0 ? realvector{}
                                          : diffusion::voxel_plain(v.view(background), plan, s, x, y, z, plain);
            ASSERT_EQ(out[std::size_t(((z - 1) * v.ny + (y - 1)) * v.nx + (x - 1))], expected)
                << "method " << method << " background " << background << " at " << x << "," << y << "," << z;
          }
    }
}

TEST(diffusion, one_and_two_threads_give_identical_fields) {
  testvolume v = tube({1, 2, 0});
  diffusion::settings s;
  s.n = 4;
  std::vector<realvector> one(v.voxels.size()), two(v.voxels.size());
  diffusion::field(v.view(), s, 1, 1, one.data());
  diffusion::field(v.view(), s, 1, 2, two.data());
  EXPECT_EQ(one, two);
  std::size_t nonnull = 0;
  for (const realvector& r : one) nonnull += !(r == realvector{});
  EXPECT_GT(nonnull, 100u);
}

TEST(diffusion, a_reduced_field_samples_every_second_voxel) {
  testvolume v = tube({0, 0, 1});
  diffusion::settings s;
  s.n = 4;
  std::vector<realvector> full(v.voxels.size()), half(15 * 15 * 15);
  diffusion::field(v.view(), s, 1, 2, full.data());
  diffusion::field(v.view(), s, 2, 2, half.data());
  for (std::int64_t k = 1; k <= 15; ++k)
    for (std::int64_t j = 1; j <= 15; ++j)
      for (std::int64_t i = 1; i <= 15; ++i)
        ASSERT_EQ(half[std::size_t(((k - 1) * 15 + (j - 1)) * 15 + (i - 1))],
                  full[std::size_t(((2 * k - 1) * 31 + (2 * j - 1)) * 31 + (2 * i - 1))]);
}

// ---- Tie rules, worked out by hand at scan length 1 on a 3x3x3 volume.
//
// At n = 1 the set holds three directions; the heap sort by z (all z are 0)
// leaves them as D1 = (-1,1,0), D2 = (-1,0,0), D3 = (0,1,0). At the centre
// p = (2,2,2) every line starts at A = p + d, which is lit, and its fixed-point
// walk reads (positions in the plane z = 2):
//   D1, L = round(2.83) = 3: (1,3) (1,2) (2,1) (2,1)   -> a b c c
//   D2, L = 2, rising x:     (1,2) (1,2) (2,2)         -> b b p
//   D3, L = 2, falling y:    (2,3) (2,2) (2,1)         -> e p c
// With submethod 1 (mean) the statistics are exact small numbers.
namespace {

testvolume cross(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t p, std::uint8_t e) {
  testvolume v(3, 3, 3);
  v.at(1, 3, 2) = a, v.at(1, 2, 2) = b, v.at(2, 1, 2) = c, v.at(2, 2, 2) = p, v.at(2, 3, 2) = e;
  return v;
}
// D1 = D2 = 12 tie for best, D3 = 9 is smaller and comes last.
testvolume tie_then_smaller() { return cross(12, 12, 12, 12, 3); }
// D1 = D2 = 12 tie for best, D3 = 18 is worse.
testvolume tie_at_best() { return cross(12, 12, 12, 12, 30); }

realvector centre(const testvolume& v, int method, double max = 0.25, double angle = 0.0872664625997164788) {
  diffusion::lineplan plan;
  diffusion::plan_build(plan, 1, v.nx, v.ny);
  diffusion::scratch work;
  diffusion::settings s;
  s.n = 1;
  s.method = method;
  s.submethod = 1;
  s.max = max;
  s.angle = angle;
  return diffusion::voxel(v.view(), plan, s, 2, 2, 2, work);
}

void expect_near(realvector got, realvector want, const char* what) {
  EXPECT_NEAR(got.x, want.x, 1e-12) << what;
  EXPECT_NEAR(got.y, want.y, 1e-12) << what;
  EXPECT_NEAR(got.z, want.z, 1e-12) << what;
}

}  // namespace

TEST(diffusion, scan_length_one_scans_three_lines_in_heap_order) {
  diffusion::lineplan plan;
  diffusion::plan_build(plan, 1, 3, 3);
  EXPECT_EQ(plan.directions, (scan::direction_list{{-1, 1, 0}, {-1, 0, 0}, {0, 1, 0}}));
}

TEST(diffusion, methods_1_and_2_cancel_a_tie_and_a_smaller_line_after_it_wins) {
  for (int method : {1, 2}) {
    // The tie of D1 and D2 clears the result; D3 then sets it afresh: 9 (0,1,0).
    EXPECT_EQ(centre(tie_then_smaller(), method), (realvector{0, 9, 0})) << "method " << method;
    // A tie at the best with nothing smaller after it leaves null. Under method 2
    // the two units lie 0.77 apart, not within 0.5 n, nor is the one the other's negation.
    EXPECT_EQ(centre(tie_at_best(), method), (realvector{})) << "method " << method;
  }
}

TEST(diffusion, method_3_averages_a_tie_unless_the_tied_share_reaches_the_maximum) {
  // Three lines tried; two tie at 12: null where 3 x max <= 2.
  EXPECT_EQ(centre(tie_at_best(), 3, 0.25), (realvector{}));
  EXPECT_EQ(centre(tie_at_best(), 3, 0.6), (realvector{}));
  // With max 1 the sum 12 u1 + 12 u2 (D2 does not point against it) is divided by c = 2.
  const double r = std::sqrt(0.5);
  expect_near(centre(tie_at_best(), 3, 1.0), {(-12 * r - 12) / 2, 12 * r / 2, 0}, "tie at best");
  // The smaller D3 restarts the count: c = 1, the result 9 u3 as it is.
  EXPECT_EQ(centre(tie_then_smaller(), 3, 1.0), (realvector{0, 9, 0}));
  // Max 1 still nulls the voxel where every direction ties.
  EXPECT_EQ(centre(cross(12, 12, 12, 12, 12), 3, 1.0), (realvector{}));
}

TEST(diffusion, methods_4_5_and_6_part_on_the_cone_and_on_the_length) {
  // A single best line (D3, 9) with max 0.5 (3 x 0.5 > 1): methods 4 and 5 give
  // the integer direction itself, method 6 that direction at the length 9.
  EXPECT_EQ(centre(tie_then_smaller(), 4, 0.5), (realvector{0, 1, 0}));
  EXPECT_EQ(centre(tie_then_smaller(), 5, 0.5), (realvector{0, 1, 0}));
  EXPECT_EQ(centre(tie_then_smaller(), 6, 0.5), (realvector{0, 9, 0}));
  // D1 and D2 tie: mean = (-2,1,0). The heap sort of the ranking puts D2 first;
  // D2 lies 0.4636 rad off the mean, D1 0.3217 rad.
  for (int method : {4, 5, 6})   // 3 x 0.5 <= 2: too many ties
    EXPECT_EQ(centre(tie_at_best(), method, 0.5, 0.5), (realvector{})) << "method " << method;
  // Cone 0.5: both tied lines are added, the worse D3 (63 degrees off) ends the walk.
  EXPECT_EQ(centre(tie_at_best(), 4, 0.9, 0.5), (realvector{-2, 1, 0}));
  EXPECT_EQ(centre(tie_at_best(), 5, 0.9, 0.5), (realvector{-2, 1, 0}));
  expect_near(centre(tie_at_best(), 6, 0.9, 0.5), {-24 / std::sqrt(5.0), 12 / std::sqrt(5.0), 0}, "method 6");
  // Cone 0.4: D2, first in the ranking, is off it. Method 4 skips it and adds D1;
  // methods 5 and 6 stop at once, with k = 1, and give null.
  EXPECT_EQ(centre(tie_at_best(), 4, 0.9, 0.4), (realvector{-1, 1, 0}));
  EXPECT_EQ(centre(tie_at_best(), 5, 0.9, 0.4), (realvector{}));
  EXPECT_EQ(centre(tie_at_best(), 6, 0.9, 0.4), (realvector{}));
  // The default cone of 5 degrees holds neither tied line.
  for (int method : {4, 5, 6}) EXPECT_EQ(centre(tie_at_best(), method, 0.9), (realvector{})) << "method " << method;
}

TEST(diffusion, one_small_volume_gives_three_different_fields_under_methods_1_5_and_6) {
  const testvolume v = tie_at_best();
  diffusion::settings s;
  s.n = 1;
  s.submethod = 1;
  s.max = 0.9;
  s.angle = 0.5;
  std::vector<realvector> fields[3];
  const int methods[3] = {1, 5, 6};
  for (int k = 0; k < 3; ++k) {
    s.method = methods[k];
    fields[k].resize(v.voxels.size());
    diffusion::field(v.view(), s, 1, 2, fields[k].data());
  }
  const std::size_t c = 13;   // (2,2,2)
  EXPECT_EQ(fields[0][c], (realvector{}));
  EXPECT_EQ(fields[1][c], (realvector{-2, 1, 0}));
  expect_near(fields[2][c], {-24 / std::sqrt(5.0), 12 / std::sqrt(5.0), 0}, "method 6");
  EXPECT_NE(fields[0], fields[1]);
  EXPECT_NE(fields[1], fields[2]);
  EXPECT_NE(fields[0], fields[2]);
}
