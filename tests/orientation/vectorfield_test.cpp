// Unit tests of the vector field record: sizing, element writes per type, reads outside.
#include <gtest/gtest.h>
#include "orientation/vectorfield.h"

using namespace qv;
using vec = framemath::vector;

TEST(vectorfield, writes_round_per_element_type) {
  struct row { std::uint8_t tag; vec written, expected; };
  const row rows[] = {
      {88, {2.5, -0.5, 1.25}, {2.5, -0.5, 1.25}},
      {89, {2.5, 3.5, -0.5}, {2, 4, 0}},          // half to even, component by component
      {89, {-2.5, 1e30, -1e30}, {-2, 9223372036854775807.0, -9223372036854775808.0}},
      {170, {-3, 254.5, 300}, {0, 254, 255}},      // into 0..255
  };
  for (const row& r : rows) {
    vectorfield f;
    ASSERT_TRUE(vector::create_field(f, r.tag, 2, 2, 2));
    vector::set(f, 2, 1, 2, r.written);
    EXPECT_EQ(vector::get(f, 2, 1, 2), r.expected) << "tag " << int(r.tag);
    EXPECT_EQ(vector::get(f, 1, 1, 1), vec{});
  }
}

TEST(vectorfield, reads_outside_give_null_and_writes_outside_are_ignored) {
  vectorfield f;
  vector::create_field(f, 88, 3, 2, 1);
  vector::transform(f, [](vec) { return vec{1, 2, 3}; });
  const std::int64_t outside[][3] = {{0, 1, 1}, {4, 1, 1}, {1, 3, 1}, {1, 1, 2}, {1, 1, 0}, {-5, 1, 1}};
  for (const auto& p : outside) {
    vector::set(f, p[0], p[1], p[2], {9, 9, 9});
    EXPECT_EQ(vector::get(f, p[0], p[1], p[2]), vec{});
  }
  for (double c : f.reals) EXPECT_NE(c, 9.0);
}

TEST(vectorfield, sizes_below_one_or_absurd_give_an_empty_field) {
  struct row { std::int64_t x, y, z; bool made; };
  const row rows[] = {{2, 3, 4, true}, {0, 3, 4, false}, {2, -1, 4, false}, {1 << 20, 1 << 20, 1 << 20, false}};
  for (const row& r : rows) {
    vectorfield f;
    EXPECT_EQ(vector::create_field(f, 89, r.x, r.y, r.z), r.made);
    EXPECT_EQ(vector::has_voxels(f), r.made);
    EXPECT_EQ(f.nats.size(), r.made ? std::size_t(r.x * r.y * r.z * 3) : 0u);
  }
}

TEST(vectorfield, element_order_is_x_fastest_with_components_side_by_side) {
  vectorfield f;
  vector::create_field(f, 88, 3, 2, 2);
  vector::set(f, 2, 2, 2, {7, 8, 9});
  const std::size_t at = ((1 * 2 + 1) * 3 + 1) * 3;
  EXPECT_EQ(f.reals[at], 7);
  EXPECT_EQ(f.reals[at + 2], 9);
}
