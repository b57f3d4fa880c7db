// Unit tests of the image record: construction, the conversions of reads and writes, whole-image kernels.
#include <gtest/gtest.h>

#include "images/imagefield.h"

using namespace qv;

namespace {
imagefield make(fieldtag t, std::int64_t x, std::int64_t y) {
  imagefield f;
  image::create(f, std::uint8_t(t), x, y);
  return f;
}
std::string captured(auto fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}
}  // namespace

TEST(imagefield, unknown_tag_or_empty_size_gives_no_body) {
  imagefield f;
  EXPECT_EQ(captured([&] { image::create(f, 99, 4, 4); }), "Unknown imagefield!\n");
  EXPECT_EQ(f.tag, fieldtag::none);
  EXPECT_FALSE(f.pixels);
  EXPECT_EQ(captured([&] { image::create(f, 145, 0, 4); }), "Unknown imagefield!\n");
  EXPECT_EQ(image::get(f, 1, 1), 0);
  EXPECT_EQ(image::get_alpha(f, 1, 1), 255);
  EXPECT_EQ(image::get_rgba(f, 1, 1), (rgbavalue{0, 0, 0, 0}));
}

TEST(imagefield, empty_image_is_plain_and_not_an_image) {
  imagefield f;
  image::create(f, 161);
  EXPECT_FALSE(image::ifimage(f));
  EXPECT_TRUE(image::ifplain(f));
  EXPECT_EQ(image::width(f), 0);
}

TEST(imagefield, whole_number_reads_of_each_type) {
  imagefield rgb = make(fieldtag::rgb, 2, 2);
  image::set_rgb(rgb, 1, 1, {255, 255, 255});
  EXPECT_EQ(image::get(rgb, 1, 1), 765);
  EXPECT_EQ(image::get_8bit(rgb, 1, 1), 255);
  imagefield rgba = make(fieldtag::rgba, 2, 2);
  image::set_rgba(rgba, 1, 1, {255, 255, 255, 0});
  EXPECT_EQ(image::get(rgba, 1, 1), 0);
  image::set_rgba(rgba, 1, 1, {90, 90, 90, 128});
  EXPECT_EQ(image::get(rgba, 1, 1), (270 * 128) / 255);
  EXPECT_EQ(image::get_8bit(rgba, 1, 1), (90 * 128) / 255);
  imagefield full = make(fieldtag::fullgray, 2, 2);
  image::set(full, 1, 1, 1000);
  EXPECT_EQ(image::get_8bit(full, 1, 1), 3);
  EXPECT_EQ(image::get_rgba(full, 1, 1), (rgbavalue{1000, 1000, 1000, 255}));
}

TEST(imagefield, writes_clamp_and_never_wrap) {
  struct row { fieldtag t; std::int64_t n, read; };
  const row rows[] = {{fieldtag::gray, 765, 255}, {fieldtag::gray, -3, 0}, {fieldtag::fullgray, -5, 0},
                      {fieldtag::fullgray, 70000, 65535}, {fieldtag::rgb, 300, 765}, {fieldtag::rgba, 100, 300}};
  for (const row& r : rows) {
    imagefield f = make(r.t, 3, 3);
    image::set(f, 2, 2, r.n);
    EXPECT_EQ(image::get(f, 2, 2), r.read) << int(r.t) << " " << r.n;
  }
  imagefield g = make(fieldtag::gray, 1, 1), fg = make(fieldtag::fullgray, 1, 1);
  image::set_rgb(g, 1, 1, {255, 255, 255});
  image::set_rgb(fg, 1, 1, {255, 255, 255});
  EXPECT_EQ(image::get(g, 1, 1), 255);
  EXPECT_EQ(image::get(fg, 1, 1), 765);
}

TEST(imagefield, outside_reads_give_the_background_and_writes_are_ignored) {
  imagefield g = make(fieldtag::gray, 2, 2);
  image::set_background(g, 7);
  EXPECT_EQ(image::get(g, 0, 1), 7);
  EXPECT_EQ(image::get(g, 3, 1), 7);
  image::set(g, 0, 1, 9);
  image::set(g, 1, 3, 9);
  EXPECT_TRUE(image::ifplain(g));
  imagefield c = make(fieldtag::rgb, 2, 2);
  image::set_background(c, rgbvalue{1, 2, 3});
  EXPECT_EQ(image::get(c, 0, 1), 6);
  EXPECT_EQ(image::get_background(c), 6);
}

TEST(imagefield, alpha_blending_follows_each_type) {
  imagefield full = make(fieldtag::fullgray, 1, 1);
  image::set_rgba(full, 1, 1, {65535, 65535, 65535, 65535});
  EXPECT_EQ(image::get(full, 1, 1), 255);   // the ceiling of this blend is 255
  imagefield g = make(fieldtag::gray, 1, 1);
  image::set_background(g, 100);
  image::set_rgba(g, 1, 1, {200, 200, 200, 51});   // (51*(200-100)) div 255 + 100
  EXPECT_EQ(image::get(g, 1, 1), 120);
  imagefield c = make(fieldtag::rgb, 1, 1);
  image::set_background(c, rgbvalue{10, 10, 10});   // B is the channel sum, 30
  image::set_rgba(c, 1, 1, {255, 30, 0, 255});
  EXPECT_EQ(image::get_rgb(c, 1, 1), (rgbvalue{255, 30, 0}));
  image::set_rgba(c, 1, 1, {255, 30, 0, 0});
  EXPECT_EQ(image::get_rgb(c, 1, 1), (rgbvalue{30, 30, 30}));
  imagefield a = make(fieldtag::rgba, 1, 1);
  image::set_rgba(a, 1, 1, {300, 1, 2, 3});
  EXPECT_EQ(image::get_rgba(a, 1, 1), (rgbavalue{255, 1, 2, 3}));
}

TEST(imagefield, zrgb_keeps_the_nearest_of_each_sub_sample) {
  imagefield z = make(fieldtag::zrgb, 2, 2);
  EXPECT_EQ(z.pixels->red.width, 4);
  EXPECT_EQ(image::get_alpha(z, 1, 1), 0);
  image::set_z(z, 1, 1, 1000, {200, 0, 0});
  EXPECT_EQ(image::get_alpha(z, 1, 1), 255);
  EXPECT_EQ(image::get_rgb(z, 1, 1), (rgbvalue{200, 0, 0}));
  image::set_z(z, 1, 1, 500, {0, 200, 0});   // further away: hidden
  EXPECT_EQ(image::get_rgb(z, 1, 1), (rgbvalue{200, 0, 0}));
  image::set_z(z, 1, 1, 1000, {0, 0, 100});   // a tie goes to the newest write
  EXPECT_EQ(image::get_rgba(z, 1, 1), (rgbavalue{0, 0, 100, 255}));
  // depth 1000 of 0..65535 maps onto 2..65535
  EXPECT_EQ(image::get_z(z, 1, 1), framemath::round(2 + 1000.0 * 65533 / 65535));
  // a half covered pixel: two sub-samples drawn by hand
  z.pixels->z.set(3, 1, 9), z.pixels->z.set(4, 1, 9);
  z.pixels->red.set(3, 1, 100), z.pixels->red.set(4, 1, 100);
  EXPECT_EQ(image::get_alpha(z, 2, 1), 128);
  EXPECT_EQ(image::get_rgb(z, 2, 1), (rgbvalue{50, 0, 0}));
  EXPECT_EQ(image::get(z, 3, 1), 100);   // whole-number reads address the plane undoubled
}

TEST(imagefield, setsign_swaps_the_halves) {
  struct row { fieldtag t; std::int64_t in, out; };
  const row rows[] = {{fieldtag::gray, 200, 72}, {fieldtag::gray, 100, 228}, {fieldtag::gray, 0, 128},
                      {fieldtag::fullgray, 0, 32768}, {fieldtag::fullgray, 40000, 7232}, {fieldtag::rgb, 255, 3 * 127}};
  for (const row& r : rows) {
    imagefield f = make(r.t, 1, 1);
    image::set(f, 1, 1, r.in);
    image::setsign(f);
    EXPECT_EQ(image::get(f, 1, 1), r.out) << r.in;
  }
}

TEST(imagefield, setrange_shifts_or_unwraps) {
  imagefield f = make(fieldtag::gray, 11, 1);
  for (int x = 1; x <= 11; ++x) image::set(f, x, 1, 9 + x);   // 10..20
  image::setrange(f);
  for (int x = 1; x <= 11; ++x) EXPECT_EQ(image::get(f, x, 1), x - 1);
  // wrapped data: 250..255 then 0..3, nothing around the middle
  imagefield w = make(fieldtag::gray, 10, 1);
  const int in[10] = {250, 251, 252, 253, 254, 255, 0, 1, 2, 3};
  for (int x = 1; x <= 10; ++x) image::set(w, x, 1, in[x - 1]);
  image::setrange(w);
  for (int x = 1; x <= 10; ++x) EXPECT_EQ(image::get(w, x, 1), x - 1);
  // data that covers the middle and both ends stays as it is
  imagefield k = make(fieldtag::gray, 3, 1);
  image::set(k, 1, 1, 0), image::set(k, 2, 1, 127), image::set(k, 3, 1, 255);
  image::setrange(k);
  EXPECT_EQ(image::get(k, 2, 1), 127);
}

TEST(imagefield, crop_keeps_global_positions) {
  imagefield f = make(fieldtag::gray, 10, 8);
  frame_set_matrix(f.frame, framemath::matrix{{2, 0, 0, 0, 3, 0, 0, 0, 1}});
  frame_set_offset(f.frame, {100, 200, 0});
  image::set(f, 4, 3, 50), image::set(f, 6, 5, 60), image::set(f, 9, 1, 5);
  framemath::vector before = l2g(f.frame, {6, 5, 1});
  std::string out = captured([&] { EXPECT_TRUE(image::crop_field(f, 10)); });
  EXPECT_EQ(out, "  New size: <4,3> .. <6,5> -> <3,3>\n");
  EXPECT_EQ(image::width(f), 3);
  EXPECT_EQ(image::get(f, 3, 3), 60);
  EXPECT_EQ(l2g(f.frame, {3, 3, 1}), before);
  EXPECT_EQ(f.frame.negated.x, -106);
  EXPECT_FALSE(image::crop_field(f, 100));
  EXPECT_EQ(image::width(f), 3);
}

TEST(imagefield, fill_uses_each_planes_value) {
  imagefield c = make(fieldtag::rgba, 3, 2);
  image::set_value(c, rgbavalue{1, 2, 3, 4});
  image::fill(c);
  EXPECT_EQ(image::get_rgba(c, 3, 2), (rgbavalue{1, 2, 3, 4}));
  EXPECT_TRUE(image::ifplain(c));
  image::set(c, 1, 1, 0);
  EXPECT_FALSE(image::ifplain(c));
  imagefield g = make(fieldtag::gray, 2, 2);
  image::fill(g);
  EXPECT_EQ(image::get(g, 2, 2), 255);   // a new gray image draws in white
}

TEST(imagefield, value_forms_convert_per_type) {
  imagefield g = make(fieldtag::gray, 1, 1), fg = make(fieldtag::fullgray, 1, 1), a = make(fieldtag::rgba, 1, 1);
  image::set_value(g, rgbvalue{300, 30, 0});   // mean of the bytes: (255+30+0) div 3
  EXPECT_EQ(image::get_value(g), 95);
  image::set_value(fg, rgbvalue{300, 30, 0});
  EXPECT_EQ(image::get_value(fg), 330);
  image::set_value(a, rgbavalue{255, 255, 1, 9});
  EXPECT_EQ(image::get_value(a), 2);   // (255+255+1)/255 rounded
  EXPECT_EQ(image::get_value_rgba(a), (rgbavalue{255, 255, 1, 9}));
}

TEST(imagefield, assign_copies_pixels_frame_and_settings) {
  imagefield s = make(fieldtag::rgb, 2, 3);
  image::set_rgb(s, 2, 3, {1, 2, 3});
  frame_set_offset(s.frame, {5, 6, 7});
  s.filename = u"x.ppm";
  s.submethod = 9;
  imagefield d;
  image::create(d, 145);
  image::assign(d, &s);
  EXPECT_EQ(d.tag, fieldtag::rgb);
  EXPECT_EQ(image::get_rgb(d, 2, 3), (rgbvalue{1, 2, 3}));
  EXPECT_EQ(d.frame.negated.z, -7);
  EXPECT_EQ(d.filename, u"x.ppm");
  EXPECT_EQ(d.submethod, 9);
  image::assign(d, nullptr);
  EXPECT_EQ(d.tag, fieldtag::rgb);
  EXPECT_FALSE(image::ifimage(d));
}
