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
