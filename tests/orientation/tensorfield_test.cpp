// Unit tests of the tensor field record: sizing, element rounding, reads outside, the trilinear blend.
#include <gtest/gtest.h>
#include "orientation/tensorfield.h"

using namespace qv;

TEST(Tensorfield, IntegerFieldRoundsAndOutsideIsNull) {
  tensorfield f;
  ASSERT_TRUE(tensor::create_field(f, 89, 2, 1, 1));
  tensor::set(f, 2, 1, 1, {2.5, 3.5, -1.5, 0.4, 0.6, 7});
  const tensor6 t = tensor::get(f, 2, 1, 1);
  EXPECT_EQ(t.xx, 2);   // half to even
  EXPECT_EQ(t.yy, 4);
  EXPECT_EQ(t.zz, -2);
  EXPECT_EQ(t.xy, 0);
  EXPECT_EQ(t.xz, 1);
  EXPECT_EQ(t.yz, 7);
  tensor::set(f, 3, 1, 1, {9, 9, 9, 9, 9, 9});   // ignored
  EXPECT_TRUE(tensor::is_null(tensor::get(f, 0, 1, 1)));
  EXPECT_FALSE(tensor::create_field(f, 88, 0, 1, 1));
  EXPECT_FALSE(tensor::has_voxels(f));
}

TEST(Tensorfield, TrilinearBlend) {
  tensorfield f;
  ASSERT_TRUE(tensor::create_field(f, 88, 2, 2, 1));
  tensor::set(f, 1, 1, 1, {4, 0, 0, 0, 0, 0});
  tensor::set(f, 2, 1, 1, {0, 4, 0, 0, 0, 8});
  const tensor6 mid = tensor::tensor_at(f, {1.5, 1, 1});
  EXPECT_DOUBLE_EQ(mid.xx, 2);
  EXPECT_DOUBLE_EQ(mid.yy, 2);
  EXPECT_DOUBLE_EQ(mid.yz, 4);
  const tensor6 quarter = tensor::tensor_at(f, {1.25, 1.5, 1});   // half of the weight on the empty row
  EXPECT_DOUBLE_EQ(quarter.xx, 1.5);
  EXPECT_DOUBLE_EQ(quarter.yy, 0.5);
  EXPECT_TRUE(tensor::is_null(tensor::tensor_at(f, {-5, 1, 1})));
}
