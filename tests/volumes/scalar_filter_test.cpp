// Unit tests of the 27-voxel kernels and the merge geometry of volumes.
#include <gtest/gtest.h>

#include "volumes/scalar_append.h"
#include "volumes/scalar_filter.h"
#include "volumes/scalarfield.h"

using namespace qv;

namespace {

template <typename T>
scalarfield noise(scalartag t, voxelvector<T> scalarfield::*voxels, std::int64_t top) {
  scalarfield f;
  scalar::create(f, std::uint8_t(t), 13, 11, 7);
  std::uint32_t seed = 99;
  for (T& v : f.*voxels) v = T(std::int64_t((seed = seed * 1664525u + 1013904223u) >> 8) % top);
  return f;
}

// The field after one pass of `k` with at most `threads` workers, output swallowed.
scalarfield smoothed(scalarfield f, scalar::kernel k, std::int64_t threads) {
  testing::internal::CaptureStdout();
  scalar::smooth_field(f, k, threads);
  testing::internal::GetCapturedStdout();
  return f;
}

TEST(scalar_filter, ring_and_serial_routine_give_the_same_voxels) {
  for (scalar::kernel k : {scalar::kernel::softsmooth, scalar::kernel::smooth, scalar::kernel::hardsmooth,
                           scalar::kernel::unsharpmasking}) {
    const scalarfield gray = noise<std::uint8_t>(scalartag::gray, &scalarfield::grayvoxels, 256);
    const scalarfield full = noise<std::uint16_t>(scalartag::fullgray, &scalarfield::fullvoxels, 65536);
    const scalarfield serial = smoothed(gray, k, 1), serialfull = smoothed(full, k, 1);
    EXPECT_NE(serial.grayvoxels, gray.grayvoxels);
    for (std::int64_t threads : {2, 3, 40}) {
      EXPECT_EQ(smoothed(gray, k, threads).grayvoxels, serial.grayvoxels) << int(k) << " threads " << threads;
      EXPECT_EQ(smoothed(full, k, threads).fullvoxels, serialfull.fullvoxels) << int(k) << " threads " << threads;
    }
  }
}

TEST(scalar_filter, hardsmooth_takes_the_mean_of_the_valid_block) {
  const scalarfield f = noise<std::uint16_t>(scalartag::fullgray, &scalarfield::fullvoxels, 65536);
  const scalarfield g = smoothed(f, scalar::kernel::hardsmooth, 2);
  for (std::int64_t z = 1; z <= f.depth; ++z)
    for (std::int64_t y = 1; y <= f.height; ++y)
      for (std::int64_t x = 1; x <= f.width; ++x) {
        std::int64_t s = 0, n = 0;
        for (std::int64_t c = z - 1; c <= z + 1; ++c)
          for (std::int64_t b = y - 1; b <= y + 1; ++b)
            for (std::int64_t a = x - 1; a <= x + 1; ++a)
              if (a >= 1 && b >= 1 && c >= 1 && a <= f.width && b <= f.height && c <= f.depth)
                s += scalar::get(f, a, b, c), ++n;
        ASSERT_EQ(scalar::get(g, x, y, z), s / n) << x << "," << y << "," << z;
      }
}

TEST(scalar_filter, kernels_leave_mono_fields_alone) {
  scalarfield f;
  scalar::create(f, 149, 4, 4, 4);
  scalar::set(f, 2, 2, 2, 1);
  const scalarfield g = smoothed(f, scalar::kernel::hardsmooth, 2);
  EXPECT_EQ(g.monobits, f.monobits);
}

TEST(merge, covering_box_places_a_shifted_and_scaled_source) {
  frame current, source;
  frame_set_offset(source, {-2, 0, 10});
  framemath::matrix twice;
  twice.m[0] = 2, twice.m[4] = 2, twice.m[8] = 2;
  frame_set_matrix(source, twice);
  testing::internal::CaptureStdout();
  const merge::plan p = merge::covering(current, {4, 4, 4}, source, {3, 2, 1});
  const std::string out = testing::internal::GetCapturedStdout();
  // Source x covers -2, 0, 2 and y 0, 2; z stays at 10: the box reaches x -2..3, y 0..3, z 0..10.
  EXPECT_EQ(p.size.x, 6);
  EXPECT_EQ(p.size.y, 4);
  EXPECT_EQ(p.size.z, 11);
  EXPECT_EQ(p.current_shift.x, 2);
  EXPECT_EQ(p.current_shift.z, 0);
  const framemath::natvector last = merge::place(p, 3, 2, 1);
  EXPECT_EQ(last.x, 5);   // global x 2 is current index 3, new index 5
  EXPECT_EQ(last.y, 3);
  EXPECT_EQ(last.z, 11);
  EXPECT_NE(out.find("  New header: <-2,0,0>"), std::string::npos) << out;
}

}  // namespace
