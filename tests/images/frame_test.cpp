// Unit tests of the field frame and the position rule.
#include <gtest/gtest.h>

#include "images/frame.h"

using namespace qv;

TEST(frame, position_rule_resolves_every_class_of_parameter) {
  struct row { double p; std::int64_t n, index; };
  const row rows[] = {
      {0, 10, 5},      {0, 11, 6},   {-1, 100, 100}, {-0.5, 100, 51}, {500, 100, 50}, {1, 100, 1},
      {0.99999, 100, 100}, {0.5, 11, 6}, {-2, 100, 99},  {7, 100, 7},   {0.5, 10, 5},   {-100, 100, 1},
      {-101, 100, 50}, {0, 1, 1},
  };
  for (const row& r : rows) EXPECT_EQ(position_index(r.p, r.n), r.index) << r.p << " on " << r.n;
}

TEST(frame, l2g_and_g2l_are_inverse_on_a_rotated_frame) {
  frame f;
  frame_set_matrix(f, framemath::matrix{{0, 2, 0, -1, 0, 0, 0, 0, 1}});
  frame_set_offset(f, {1, 2, 3});
  framemath::vector g = l2g(f, {2, 2, 1});
  EXPECT_EQ(g, (framemath::vector{0, 4, 3}));
  EXPECT_EQ(g2l(f, g), (framemath::natvector{2, 2, 1}));
  EXPECT_EQ(g2l(f, {3, 4, 3}), (framemath::natvector{2, -1, 1}));
}

TEST(frame, g2l_rounds_half_to_even) {
  frame f;
  EXPECT_EQ(g2l(f, {1.5, 2.5, -0.5}), (framemath::natvector{2, 4, 0}));   // 2.5, 3.5, 0.5
}

TEST(frame, scale_drops_the_sign_and_ignores_zero) {
  frame f;
  EXPECT_TRUE(frame_set_scale(f, {-2, 1, 3}));
  EXPECT_EQ(frame_scale(f), (framemath::vector{2, 1, 3}));
  EXPECT_EQ(f.inverse.m[0], 0.5);
  EXPECT_FALSE(frame_set_scale(f, {0, 0, 0}));
  EXPECT_EQ(f.matrix.m[0], 2);
}

TEST(frame, unflip_and_unrotate_keep_lengths) {
  frame f;
  frame_set_matrix(f, framemath::matrix{{0, -3, 4, -1, 0, 0, 0, 0, -2}});
  frame_unflip(f);
  EXPECT_EQ(f.matrix, (framemath::matrix{{0, 3, 4, 1, 0, 0, 0, 0, 2}}));
  frame_unrotate(f);
  EXPECT_EQ(f.matrix, (framemath::matrix{{5, 0, 0, 0, 1, 0, 0, 0, 2}}));
  EXPECT_DOUBLE_EQ(f.inverse.m[0], 0.2);
}

TEST(frame, texts_and_number_reading) {
  EXPECT_EQ(vector_text({1, -2.5, 0}), u"<1,-2.5,0>");
  EXPECT_EQ(matrix_text(framemath::matrix{}), u"(<1,0,0>;<0,1,0>;<0,0,1>)");
  struct row { const char16_t* text; framemath::vector v; };
  const row rows[] = {{u"<1,2,3>", {1, 2, 3}}, {u"1 2", {1, 2, 0}}, {u"<-1.5,2e2,-.5>", {-1.5, 200, -0.5}}, {u"", {}}};
  for (const row& r : rows) EXPECT_EQ(read_vector(r.text), r.v);
}
