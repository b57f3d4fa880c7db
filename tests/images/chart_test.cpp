// Unit tests of the chart routine and its bitmap font.
#include <gtest/gtest.h>
#include "images/chart.h"

using namespace qv;

TEST(chart, a_chart_is_a_white_gray_image_with_black_axes_and_its_curve) {
  imagefield f;
  image::chartseries s;
  s.x = {0, 10};
  s.y = {0, 10};
  s.shade = 7;
  ASSERT_TRUE(image::chart_draw(f, 200, 100, {u"T", u"x", u"y"}, {s}));
  EXPECT_EQ(f.tag, fieldtag::gray);
  EXPECT_EQ(image::width(f), 200);
  EXPECT_EQ(image::height(f), 100);
  EXPECT_EQ(image::get(f, 199, 99), 255);   // paper
  EXPECT_EQ(image::get(f, 120, 50), 0);     // x axis: bottom = height - 50
  EXPECT_EQ(image::get(f, 70, 45), 0);      // y axis at left = 70
  EXPECT_EQ(image::get(f, 70, 50), 7);      // the curve starts at the origin of the plot area
  EXPECT_EQ(image::get(f, 125, 45), 7);     // passes its middle
  EXPECT_EQ(image::get(f, 180, 40), 7);     // and ends at its top right corner
}

TEST(chart, too_small_a_chart_gives_an_empty_image) {
  imagefield f;
  EXPECT_FALSE(image::chart_draw(f, 63, 480, {}, {}));
  EXPECT_EQ(image::width(f) * image::height(f), 0);
}

TEST(chart, font_draws_digits_and_upper_cases_letters) {
  imagefield a, b;
  image::create(a, 145, 20, 8);
  image::create(b, 145, 20, 8);
  image::text_draw(a, 1, 1, u"a1", 1, 9);
  image::text_draw(b, 1, 1, u"A1", 1, 9);
  EXPECT_EQ(a.pixels->gray.data, b.pixels->gray.data);
  // "1": 010 / 110 / 010 / 010 / 111 in the second cell, from x = 5
  EXPECT_EQ(image::get(a, 6, 1), 9);
  EXPECT_EQ(image::get(a, 5, 1), 0);
  EXPECT_EQ(image::get(a, 5, 5), 9);
  EXPECT_EQ(image::text_width(u"abc", 2), 24);
}
