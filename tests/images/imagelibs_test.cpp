// Unit tests of the optional image libraries: the pixel conversions, and round trips through each library if installed.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "images/formats/imagelibs.h"
#include "images/image_files.h"

using namespace qv;

namespace {

std::string quiet(auto fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}

codec::libpixels pixels8(int channels, std::vector<std::uint8_t> p, std::int64_t w = 2, std::int64_t h = 1) {
  codec::libpixels px;
  px.width = w, px.height = h, px.channels = channels, px.p8 = std::move(p);
  return px;
}

codec::libpixels pixels16(int channels, std::vector<std::uint16_t> p, std::int64_t w = 2, std::int64_t h = 1) {
  codec::libpixels px;
  px.width = w, px.height = h, px.channels = channels, px.deep = true, px.p16 = std::move(p);
  return px;
}

imagefield stored(fieldtag t, const codec::libpixels& px, bool* ok = nullptr) {
  imagefield f;
  image::create(f, std::uint8_t(t));
  bool r = false;
  quiet([&] { r = codec::store_pixels(f, px); });
  if (ok) *ok = r;
  return f;
}

TEST(imagelibs, grey_samples_keep_their_value_or_lose_the_low_byte) {
  struct row {
    fieldtag tag;
    codec::libpixels px;
    std::int64_t first, second;
  } rows[] = {
      {fieldtag::gray, pixels8(1, {7, 250}), 7, 250},
      {fieldtag::gray, pixels16(1, {0x12ff, 0xff00}), 0x12, 0xff},
      {fieldtag::fullgray, pixels8(1, {7, 250}), 7, 250},
      {fieldtag::fullgray, pixels16(1, {0x12ff, 0xff00}), 0x12ff, 0xff00},
  };
  for (const row& r : rows) {
    imagefield f = stored(r.tag, r.px);
    EXPECT_EQ(image::get(f, 1, 1), r.first);
    EXPECT_EQ(image::get(f, 2, 1), r.second);
  }
}

TEST(imagelibs, colour_becomes_grey_as_the_native_readers_make_it) {
  struct row {
    fieldtag tag;
    codec::libpixels px;
    std::int64_t expected;
  } rows[] = {
      {fieldtag::gray, pixels8(3, {255, 255, 254, 0, 0, 0}), 254},         // (r+g+b) div 3, no saturation
      {fieldtag::fullgray, pixels8(3, {255, 255, 254, 0, 0, 0}), 764},     // the sum, as from a P6 file
      {fieldtag::fullgray, pixels16(4, {300, 600, 901, 9, 0, 0, 0, 0}), 600},
      {fieldtag::gray, pixels16(3, {0x1000, 0x2000, 0x3000, 0, 0, 0}), 0x20},
  };
  for (const row& r : rows) EXPECT_EQ(image::get(stored(r.tag, r.px), 1, 1), r.expected);
}

TEST(imagelibs, colour_images_take_channels_and_opaque_alpha_when_none_is_given) {
  struct row {
    fieldtag tag;
    codec::libpixels px;
    rgbavalue expected;
  } rows[] = {
      {fieldtag::rgb, pixels8(3, {1, 2, 3, 4, 5, 6}), {1, 2, 3, 255}},
      {fieldtag::rgba, pixels8(3, {1, 2, 3, 4, 5, 6}), {1, 2, 3, 255}},
      {fieldtag::rgba, pixels8(4, {1, 2, 3, 44, 5, 6, 7, 8}), {1, 2, 3, 44}},
      {fieldtag::rgba, pixels8(1, {9, 10}), {9, 9, 9, 255}},
      {fieldtag::rgb, pixels16(3, {0x1234, 0x5678, 0x9abc, 0, 0, 0}), {0x12, 0x56, 0x9a, 255}},
      {fieldtag::zrgb, pixels8(3, {1, 2, 3, 4, 5, 6}), {1, 2, 3, 65535}},
  };
  for (const row& r : rows) {
    imagefield f = stored(r.tag, r.px);
    rgbavalue c = image::get_rgba(f, 1, 1);
    if (r.tag == fieldtag::zrgb) c = image::get_rgbz(f, 1, 1);
    EXPECT_EQ(c, r.expected) << int(r.tag);
  }
}

TEST(imagelibs, store_refuses_short_data_and_odd_channel_counts) {
  struct row {
    codec::libpixels px;
  } rows[] = {
      {pixels8(3, {1, 2, 3})},                // two pixels need six samples
      {pixels16(1, {1})},
      {pixels8(2, {1, 2, 3, 4})},             // grey and alpha are not a layout here
      {pixels8(1, {}, 0, 1)},
      {pixels8(1, {}, std::int64_t(1) << 40, 1)},
  };
  for (const row& r : rows) {
    bool ok = true;
    stored(fieldtag::gray, r.px, &ok);
    EXPECT_FALSE(ok);
  }
}

TEST(imagelibs, fetch_gives_interleaved_rows_from_the_top_with_the_writer_line) {
  imagefield f;
  image::create(f, std::uint8_t(fieldtag::rgba), 2, 2);
  image::set_rgba(f, 1, 2, {1, 2, 3, 4});
  codec::libpixels px;
  std::string out = quiet([&] { codec::fetch_pixels(f, px); });
  EXPECT_EQ(out, "  RGBA with (2x2)\n");
  ASSERT_EQ(px.channels, 4);
  std::vector<std::uint8_t> want(16, 0);
  want[8] = 1, want[9] = 2, want[10] = 3, want[11] = 4;
  EXPECT_EQ(px.p8, want);
}

// Opens the libraries for one test and switches them off again, so that later
// tests in the same process see the native codecs only.
struct libraries : testing::Test {
  std::filesystem::path old, dir;
  void SetUp() override {
    codec::imagelibs_open();
    old = std::filesystem::current_path();
    dir = std::filesystem::temp_directory_path() / ("qv-imagelibs-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    std::filesystem::current_path(dir);
  }
  void TearDown() override {
    codec::freeimage().enabled = codec::magickwand().enabled = false;
    std::filesystem::current_path(old);
    std::filesystem::remove_all(dir);
  }
  // Only the chosen library is on.
  static void only(codec::imagelib& l) {
    codec::freeimage().enabled = codec::magickwand().enabled = false;
    l.enabled = true;
  }
};

// 16-bit and colour images written by the library come back exactly: byte order and row order hold.
void round_trip(bool (*write)(const imagefield&, const std::string&), bool (*read)(imagefield&, const std::string&)) {
  for (fieldtag t : {fieldtag::fullgray, fieldtag::gray, fieldtag::rgb, fieldtag::rgba}) {
    imagefield f, g;
    image::create(f, std::uint8_t(t), 3, 2);
    image::set_rgba(f, 1, 1, {10, 20, 30, 40});
    image::set_rgba(f, 3, 2, {200, 100, 50, 250});
    if (t == fieldtag::fullgray) image::set(f, 2, 1, 0x1234);
    image::create(g, std::uint8_t(t));
    bool ok = false;
    quiet([&] { ok = write(f, "r.png") && read(g, "r.png"); });
    ASSERT_TRUE(ok) << int(t);
    for (std::int64_t y = 1; y <= 2; ++y)
      for (std::int64_t x = 1; x <= 3; ++x)
        EXPECT_EQ(image::get_rgba(g, x, y), image::get_rgba(f, x, y)) << int(t) << " " << x << "," << y;
  }
}

TEST_F(libraries, freeimage_writes_and_reads_png_exactly) {
  if (!codec::freeimage().loaded) GTEST_SKIP() << "FreeImage not installed";
  only(codec::freeimage());
  round_trip(codec::freeimage_write, codec::freeimage_read);
}

TEST_F(libraries, magickwand_writes_and_reads_png_exactly) {
  if (!codec::magickwand().loaded) GTEST_SKIP() << "ImageMagick not installed";
  only(codec::magickwand());
  round_trip(codec::magickwand_write, codec::magickwand_read);
}

TEST_F(libraries, names_without_a_known_extension_fall_back_to_the_native_png_writer) {
  if (!codec::freeimage().loaded && !codec::magickwand().loaded) GTEST_SKIP() << "no image library installed";
  codec::freeimage().enabled = codec::freeimage().loaded, codec::magickwand().enabled = codec::magickwand().loaded;
  imagefield f;
  image::create(f, std::uint8_t(fieldtag::gray), 2, 2);
  std::string written;
  quiet([&] { written = image::save_field(f, "a.foo"); });
  EXPECT_EQ(written, "a.foo.png");
  EXPECT_TRUE(std::filesystem::exists("a.foo.png"));
}

TEST_F(libraries, switched_off_libraries_read_nothing) {
  codec::freeimage().enabled = codec::magickwand().enabled = false;
  imagefield f;
  image::create(f, std::uint8_t(fieldtag::gray), 2, 2);
  quiet([&] { image::save_field(f, "x.png"); });
  imagefield g;
  image::create(g, std::uint8_t(fieldtag::gray));
  EXPECT_FALSE(codec::freeimage_read(g, "x.png"));
  EXPECT_FALSE(codec::magickwand_read(g, "x.png"));
  std::string out = quiet([&] { image::load_field(g, std::uint8_t(fieldtag::gray), "x.png"); });
  EXPECT_EQ(out, "Read file (x.png).\n  Couldn't read File (x.png)! Create empty field.\n");
}

}  // namespace
