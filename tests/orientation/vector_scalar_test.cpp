// Unit tests of the operations between vector and scalar fields: mask ranges, masking on mono fields, fusion and angles.
#include <gtest/gtest.h>

#include <cmath>

#include "orientation/vector_scalar.h"

using namespace qv;
using vec = framemath::vector;

TEST(vector_scalar, mask_values_read_as_single_values_ranges_or_pairs) {
  struct row { const char16_t* text; std::int64_t low, high; };
  const row rows[] = {
      {u"3", 3, 3},       {u"<3>", 3, 3},        {u"<1..10>", 1, 10}, {u"1..10", 1, 10},
      {u"<10..1>", 1, 10}, {u"<1,10>", 1, 10},    {u"<10,1>", 1, 10},  {u"<5,0>", 5, 5},
      {u"<1..>", 1, 1},   {u"..4", 0, 4},        {u"", 0, 0},         {u"abc", 0, 0},
  };
  for (const row& r : rows) {
    const vector::maskrange m = vector::mask_range_parse(r.text);
    EXPECT_EQ((std::pair{m.low, m.high}), (std::pair{r.low, r.high})) << text::utf8(r.text);
  }
}

TEST(vector_scalar, mask_on_a_mono_field_keeps_only_the_set_voxels) {
  vectorfield v;
  vector::create_field(v, 89, 9, 1, 1);   // nine voxels: the mono bits span two bytes
  vector::transform(v, [](vec) { return vec{1, 2, 3}; });
  scalarfield s;
  scalar::create(s, 149, 9, 1, 1);
  for (std::int64_t x : {1, 8, 9}) scalar::set(s, x, 1, 1, 1);
  ASSERT_TRUE(vector::mask_field(v, s, {{1, 1}}));
  for (std::int64_t x = 1; x <= 9; ++x)
    EXPECT_EQ(vector::get(v, x, 1, 1), ((x == 1 || x >= 8) ? vec{1, 2, 3} : vec{})) << x;
}

TEST(vector_scalar, mask_refuses_fields_of_other_size) {
  vectorfield v;
  vector::create_field(v, 88, 2, 2, 2);
  scalarfield s;
  scalar::create(s, 150, 2, 2, 3);
  EXPECT_FALSE(vector::mask_field(v, s, {{0, 255}}));
}

TEST(vector_scalar, fuse_takes_the_first_z_with_the_largest_value_per_pixel) {
  vectorfield v;
  vector::create_field(v, 170, 2, 1, 3);
  scalarfield s;
  scalar::create(s, 150, 2, 1, 3);
  // pixel 1: values 5, 9, 9 -> z 2; pixel 2: values 7, 0, 1 -> z 1
  const std::int64_t values[2][3] = {{5, 9, 9}, {7, 0, 1}};
  for (std::int64_t x = 1; x <= 2; ++x)
    for (std::int64_t z = 1; z <= 3; ++z) {
      scalar::set(s, x, 1, z, values[x - 1][z - 1]);
      vector::set(v, x, 1, z, {double(10 * x + z), double(z), 300});
    }
  imagefield img;
  ASSERT_TRUE(vector::fuse_field(v, s, img));
  EXPECT_EQ(image::get_rgb(img, 1, 1), (rgbvalue{12, 2, 255}));
  EXPECT_EQ(image::get_rgb(img, 2, 1), (rgbvalue{21, 1, 255}));
}

TEST(vector_scalar, angle_is_in_degrees_and_zero_for_null_vectors) {
  struct row { vec a, b; double degrees; };
  const row rows[] = {
      {{1, 0, 0}, {0, 2, 0}, 90}, {{1, 1, 0}, {3, 0, 0}, 45}, {{-1, 0, 0}, {1, 0, 0}, 180},
      {{0, 0, 0}, {1, 0, 0}, 0},  {{1, 0, 0}, {0, 0, 0}, 0},
  };
  for (const row& r : rows) EXPECT_NEAR(vector::angle_degrees(r.a, r.b), r.degrees, 1e-9);
}
