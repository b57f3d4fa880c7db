// Unit tests of the image codecs: round trips, exact header bytes, the PNM conversions and bad files.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>
#include <filesystem>

#include "images/formats/codec.h"
#include "images/image_files.h"

using namespace qv;
using namespace std::string_literals;

namespace {

std::string quiet(auto fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}

// An asymmetric "F" in distinct channel values, so that flips and swaps show.
imagefield letter(fieldtag t) {
  imagefield f;
  image::create(f, std::uint8_t(t), 5, 7);
  for (int y = 1; y <= 7; ++y)
    for (int x = 1; x <= 5; ++x) {
      bool ink = x == 1 || y == 1 || (y == 4 && x < 4);
      std::int64_t v = ink ? 10 * x + y : 0;
      if (t == fieldtag::rgb || t == fieldtag::rgba) image::set_rgb(f, x, y, {v, 255 - v, 3 * y});
      else image::set(f, x, y, t == fieldtag::fullgray ? v * 300 : v);
    }
  if (t == fieldtag::rgba) image::set_rgba(f, 2, 3, {1, 2, 3, 99});
  return f;
}

std::int64_t diff(const imagefield& a, const imagefield& b) {
  if (image::width(a) != image::width(b) || image::height(a) != image::height(b)) return -1;
  std::int64_t d = 0;
  for (std::int64_t y = 1; y <= image::height(a); ++y)
    for (std::int64_t x = 1; x <= image::width(a); ++x) {
      rgbavalue p = image::get_rgba(a, x, y), q = image::get_rgba(b, x, y);
      d += std::abs(p.r - q.r) + std::abs(p.g - q.g) + std::abs(p.b - q.b) + std::abs(p.a - q.a);
    }
  return d;
}

struct tempdir : testing::Test {
  std::filesystem::path old, dir;
  void SetUp() override {
    old = std::filesystem::current_path();
    dir = std::filesystem::temp_directory_path() / ("qv-codec-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    std::filesystem::current_path(dir);
  }
  void TearDown() override {
    std::filesystem::current_path(old);
    std::filesystem::remove_all(dir);
  }
  std::string bytes_of(const std::string& name) {
    std::string s;
    codec::file_read(name, s);
    return s;
  }
};

imagefield read_back(fieldtag t, const std::string& name, bool* ok = nullptr) {
  imagefield f;
  bool r = false;
  quiet([&] { r = image::load_field(f, std::uint8_t(t), name); });
  if (ok) *ok = r;
  return f;
}

}  // namespace

using codecs = tempdir;

TEST_F(codecs, round_trips_through_every_native_reader) {
  struct row { fieldtag t; const char* name; };
  const row rows[] = {{fieldtag::gray, "g.pgm"},     {fieldtag::gray, "g.pgm.gz"}, {fieldtag::fullgray, "f.pgm"},
                      {fieldtag::fullgray, "f.pgm.gz"}, {fieldtag::rgb, "c.ppm"},   {fieldtag::rgb, "c.ppm.gz"},
                      {fieldtag::rgb, "c.bmp"},     {fieldtag::rgb, "c.rgb"},     {fieldtag::rgba, "a.rgb"}};
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    imagefield f = letter(r.t);
    quiet([&] { EXPECT_EQ(image::save_field(f, r.name), r.name); });
    bool ok = false;
    imagefield g = read_back(r.t, r.name, &ok);
    EXPECT_TRUE(ok);
    EXPECT_EQ(diff(f, g), 0);
    EXPECT_EQ(text::utf8(g.filename), r.name);
  }
}

TEST_F(codecs, colour_writers_of_grey_and_mono) {
  imagefield f = letter(fieldtag::rgb);
  quiet([&] { image::save_field(f, "c.pgm"); });
  imagefield g = read_back(fieldtag::gray, "c.pgm");
  rgbvalue c = image::get_rgb(f, 1, 1);
  EXPECT_EQ(image::get(g, 1, 1), (c.r + c.g + c.b) / 3);
  imagefield m;
  image::create(m, 161, 9, 2);
  image::set(m, 1, 1, 0), image::set(m, 9, 2, 255), image::set(m, 9, 1, 0);
  quiet([&] { image::save_field(m, "m.pbm"); });
  std::string s = bytes_of("m.pbm");
  std::string head = "P4\n#m.pbm\n9 2\n";
  ASSERT_EQ(s.substr(0, head.size()), head);
  EXPECT_EQ(s.size() - head.size(), 2u * 10 / 8);   // y*(x+1) div 8, short of the padded rows
  EXPECT_EQ(std::uint8_t(s[head.size()]), 0xFF);   // black pixels are set bits
}

TEST_F(codecs, pnm_conversion_table) {
  struct row { std::string file; fieldtag t; std::int64_t first; };
  const row rows[] = {
      {"P6\n1 1\n255\n\xff\xff\xff"s, fieldtag::gray, 85},          // the sum saturates before the division
      {"P6\n1 1\n255\n\xff\xff\xff"s, fieldtag::fullgray, 765},
      {"P1\n2 1\n1\n0 1"s, fieldtag::gray, 1},                       // white 0 reads 1, not 255
      {"P2\n1 1\n255\n300"s, fieldtag::gray, 255},
      {"P3\n1 1\n255\n10 20 30"s, fieldtag::gray, 20},
      {"P3\n1 1\n255\n10 20 30"s, fieldtag::fullgray, 60},
      {"P5\n1 1\n255\n\xc8"s, fieldtag::fullgray, 200},              // 8 bits kept unscaled
      {"P2\n1 1\n65535\n65535"s, fieldtag::gray, 255},               // magic 12: n div 256
      {"P3\n1 1\n1000\n768 768 768"s, fieldtag::gray, 3},            // magic 13
      {"P5\n1 1\n65535\n\x34\x12"s, fieldtag::fullgray, 0x1234},     // little-endian pairs
      {"P5\n1 1\n65535\n\x34\x12"s, fieldtag::gray, 0x34},
      {"P6\n1 1\n65535\n\x01\x00\x02\x00\x03\x00"s, fieldtag::fullgray, (256 + 512 + 768) / 3},
      {"P6\n1 1\n255\n\x01\x02\x03"s, fieldtag::rgb, 6},
      {"P5\n# a comment\n1 1\n255\n\x07"s, fieldtag::rgb, 21},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.file);
    imagefield f;
    image::create(f, std::uint8_t(r.t));
    quiet([&] { EXPECT_TRUE(codec::read_pnm(f, r.file)); });
    EXPECT_EQ(image::get(f, 1, 1), r.first);
  }
  imagefield p1;
  image::create(p1, 145);
  quiet([&] { codec::read_pnm(p1, "P1\n2 1\n1\n1 0"); });
  EXPECT_EQ(image::get(p1, 1, 1), 0);
  EXPECT_EQ(image::get(p1, 2, 1), 1);
}

TEST_F(codecs, pnm_binary_zero_bytes_are_data) {
  imagefield f;
  image::create(f, 145);
  std::string file("P5\n2 1\n255\n\x00\x09", 13);
  quiet([&] { EXPECT_TRUE(codec::read_pnm(f, file)); });
  EXPECT_EQ(image::get(f, 2, 1), 9);
}

TEST_F(codecs, pnm_refusals_print_their_messages) {
  imagefield f;
  image::create(f, 145);
  EXPECT_EQ(quiet([&] { codec::read_pnm(f, "P4\n8 1\n1\nxxxxxxxx"); }), "  Bad Magic Identifier (4)!\n");
  EXPECT_EQ(image::width(f), 8);
  imagefield c;
  image::create(c, 161);
  EXPECT_EQ(quiet([&] { codec::read_pnm(c, "P6\n1 1\n65535\n......"); }), "  Bad value Depth (65535) max = 65535!\n");
  EXPECT_EQ(image::get(c, 1, 1), 0);
  EXPECT_EQ(quiet([&] { codec::read_pnm(c, "P3\n1 1\n255\n1 2 3"); }), "  Bad Magic Identifier (3)!\n");
}

TEST_F(codecs, pnm_packed_bitmap_is_refused_by_its_magic_before_its_size) {
  // A real P4 file: 9x2 pixels in four packed bytes, no maximum, so the bytes are
  // fewer than the pixels and the maximum token is taken from the data.
  const std::string file = std::string("P4\n#m.pbm\n9 2\n\xff\x80\x00\x00", 16);
  for (std::uint8_t tag : {145, 146, 161}) {
    imagefield f;
    image::create(f, tag);
    EXPECT_EQ(quiet([&] { EXPECT_FALSE(codec::read_pnm(f, file)); }), "  Bad Magic Identifier (4)!\n") << int(tag);
    EXPECT_EQ(image::width(f), 9) << int(tag);
    EXPECT_EQ(image::get(f, 1, 1), 0) << int(tag);
  }
  imagefield huge;   // an absurd size beside a bad magic allocates nothing
  image::create(huge, 145);
  EXPECT_EQ(quiet([&] { codec::read_pnm(huge, "P4\n99999 99999\n\xff"); }), "  Bad Magic Identifier (4)!\n");
  EXPECT_EQ(image::width(huge), 0);
}

TEST_F(codecs, bad_files_give_a_message_and_no_crash) {
  const std::string files[] = {
      "P5\n99999999 99999999\n255\nab", "P5\n4 4\n255\nab", "P5", "", "BM",
      std::string("BM\0\0\0\0\0\0\0\0\0\0\0\0\xff\xff\xff\x7f", 18),
      std::string("BM\0\0\0\0\0\0\0\0\0\0\0\0\x28\0\0\0\xff\xff\0\0\xff\xff\0\0\1\0\x18\0\0\0\0\0", 34),
      "IMGF", std::string("\0\0\0\0\xff\xff\xff\xff", 8),
  };
  for (const std::string& b : files)
    for (fieldtag t : {fieldtag::gray, fieldtag::rgb, fieldtag::rgba}) {
      imagefield f;
      image::create(f, std::uint8_t(t));
      std::string out = quiet([&] {
        EXPECT_FALSE(codec::read_pnm(f, b) && image::width(f) > 4);
        codec::read_bmp(f, b);
        codec::read_rgbfile(f, b);
        if (t != fieldtag::rgb) codec::read_imgf(f, b);
      });
      EXPECT_FALSE(out.empty());
    }
}

TEST_F(codecs, bmp_header_sizes_palettes_and_refusals) {
  // 2x2, 1 bit, header size 40, palette black and white, bottom-up rows padded to 4 bytes
  std::string b("BM", 2);
  b += std::string(12, '\0');
  std::string info(40 - 4, '\0');
  info[0] = 2, info[4] = 2, info[8] = 1, info[10] = 1;
  b += std::string("\x28\0\0\0", 4) + info;
  b += std::string("\0\0\0\0\xff\xff\xff\0", 8);
  b += std::string("\x80\0\0\0\x40\0\0\0", 8);   // bottom row: white left; top row: white right
  imagefield f;
  image::create(f, 145);
  quiet([&] { EXPECT_TRUE(codec::read_bmp(f, b)); });
  EXPECT_EQ(image::get(f, 1, 2), 255);
  EXPECT_EQ(image::get(f, 2, 1), 255);
  EXPECT_EQ(image::get(f, 1, 1), 0);
  std::string compressed = b;
  compressed[14 + 4 + 12] = 1;
  EXPECT_EQ(quiet([&] { codec::read_bmp(f, compressed); }),
            "I'm to stupid for compressed images.\n  Bad Magic Identifier! Create empty field.\n");
  std::string odd = b;
  odd[14] = 41;
  EXPECT_EQ(quiet([&] { codec::read_bmp(f, odd); }), "Unknown header size (41).\n  Bad Magic Identifier! Create empty field.\n");
  EXPECT_EQ(quiet([&] { codec::read_bmp(f, "X"); }), "Wrong file size (1).\n");
}

TEST_F(codecs, bmp_writer_header_bytes) {
  imagefield f = letter(fieldtag::rgb);
  std::string s = codec::write_bmp(f);
  quiet([] {});
  std::int64_t rowbytes = 16;   // 5*3 = 15 rounded up to 16
  ASSERT_EQ(s.size(), 54u + 7 * rowbytes);
  const unsigned char head[] = {'B', 'M', 54 + 112, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0, 40, 0, 0, 0, 5, 0, 0, 0, 7, 0, 0, 0, 1, 0, 24, 0, 0, 0, 0, 0, 112};
  for (std::size_t i = 0; i < sizeof head; ++i) EXPECT_EQ(std::uint8_t(s[i]), head[i]) << i;
}

TEST_F(codecs, png_bytes_chunks_and_checksums) {
  imagefield f;
  image::create(f, 145, 2, 1);
  image::set(f, 1, 1, 7), image::set(f, 2, 1, 9);
  std::string s = quiet([] {}), png;
  quiet([&] { png = codec::write_png(f); });
  const unsigned char expect[] = {
      0x89, 'P', 'N', 'G', 13, 10, 26, 10,
      0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0, 0, 2, 0, 0, 0, 1, 8, 0, 0, 0, 0};
  ASSERT_GE(png.size(), sizeof expect);
  for (std::size_t i = 0; i < sizeof expect; ++i) EXPECT_EQ(std::uint8_t(png[i]), expect[i]) << i;
  auto at = [&](std::size_t i) { return std::uint8_t(png[i]); };
  auto be32 = [&](std::size_t i) { return std::uint32_t(at(i)) << 24 | at(i + 1) << 16 | at(i + 2) << 8 | at(i + 3); };
  EXPECT_EQ(be32(29), ::crc32(0, reinterpret_cast<const Bytef*>(png.data() + 12), 17));
  // IDAT: 3 raw bytes -> 2 + 5 + 3 + 4
  EXPECT_EQ(be32(33), 14u);
  const unsigned char idat[] = {'I', 'D', 'A', 'T', 8, 29, 1, 3, 0, 0xFC, 0xFF, 0, 7, 9};
  for (std::size_t i = 0; i < sizeof idat; ++i) EXPECT_EQ(at(37 + i), idat[i]) << i;
  const unsigned char raw[] = {0, 7, 9};
  EXPECT_EQ(be32(51), ::adler32(1, raw, 3));
  EXPECT_EQ(be32(55), ::crc32(0, reinterpret_cast<const Bytef*>(png.data() + 37), 18));
  const unsigned char iend[] = {0, 0, 0, 0, 'I', 'E', 'N', 'D', 174, 66, 96, 130};
  ASSERT_EQ(png.size(), 59u + 12);
  for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(at(59 + i), iend[i]);
}

TEST_F(codecs, png_data_inflates_back_to_the_rows_in_both_layouts) {
  for (std::int64_t side : {3, 800}) {   // one IDAT, then one IDAT per row (800*1601 bytes > 1 MiB)
    imagefield f;
    image::create(f, 146, side, side);
    for (std::int64_t y = 1; y <= side; ++y)
      for (std::int64_t x = 1; x <= side; ++x) image::set(f, x, y, x * 131 + y);
    std::string png;
    quiet([&] { png = codec::write_png(f); });
    std::string z;
    std::size_t pos = 8, chunks = 0;
    while (pos + 12 <= png.size()) {
      std::uint32_t n = std::uint32_t(std::uint8_t(png[pos])) << 24 | std::uint8_t(png[pos + 1]) << 16 |
                        std::uint8_t(png[pos + 2]) << 8 | std::uint8_t(png[pos + 3]);
      if (png.compare(pos + 4, 4, "IDAT") == 0) z.append(png, pos + 8, n), ++chunks;
      std::uint32_t crc = ::crc32(0, reinterpret_cast<const Bytef*>(png.data() + pos + 4), n + 4);
      std::uint32_t stored = std::uint32_t(std::uint8_t(png[pos + 8 + n])) << 24 | std::uint8_t(png[pos + 9 + n]) << 16 |
                             std::uint8_t(png[pos + 10 + n]) << 8 | std::uint8_t(png[pos + 11 + n]);
      EXPECT_EQ(crc, stored);
      pos += 12 + n;
    }
    EXPECT_EQ(chunks, side == 3 ? 1u : std::size_t(side));
    std::size_t rowlen = std::size_t(1 + 2 * side);
    std::string raw(rowlen * std::size_t(side), '\0');
    uLongf len = uLongf(raw.size());
    ASSERT_EQ(::uncompress(reinterpret_cast<Bytef*>(raw.data()), &len, reinterpret_cast<const Bytef*>(z.data()),
                           uLong(z.size())), Z_OK);
    ASSERT_EQ(len, raw.size());
    std::size_t i = rowlen * 1 + 1 + 2;   // row 2, pixel 2, big-endian
    EXPECT_EQ(std::uint8_t(raw[i]) << 8 | std::uint8_t(raw[i + 1]), 2 * 131 + 2);
  }
}

TEST_F(codecs, checksums_match_zlib) {
  std::string s(100003, '\0');
  for (std::size_t i = 0; i < s.size(); ++i) s[i] = char(i * 7 + i / 300);
  const auto* p = reinterpret_cast<const std::uint8_t*>(s.data());
  EXPECT_EQ(codec::crc32(0, p, s.size()), ::crc32(0, p, uInt(s.size())));
  EXPECT_EQ(codec::adler32(1, p, s.size()), ::adler32(1, p, uInt(s.size())));
  EXPECT_EQ(codec::adler32(codec::adler32(1, p, 10), p + 10, s.size() - 10), ::adler32(1, p, uInt(s.size())));
}

TEST_F(codecs, tiff_directory_of_thirteen_entries) {
  imagefield f = letter(fieldtag::gray);
  std::string t;
  quiet([&] { t = codec::write_tiff(f); });
  auto u16 = [&](std::size_t i) { return std::uint32_t(std::uint8_t(t[i]) | std::uint8_t(t[i + 1]) << 8); };
  auto u32 = [&](std::size_t i) { return u16(i) | u16(i + 2) << 16; };
  EXPECT_EQ(t.substr(0, 2), "II");
  EXPECT_EQ(u16(2), 42u);
  std::size_t dir = u32(4);
  EXPECT_EQ(dir, 8u + 35);
  EXPECT_EQ(u16(dir), 13u);
  const std::uint32_t tags[13][2] = {{256, 5}, {257, 7}, {258, 8}, {259, 1}, {262, 1}, {273, 8}, {274, 1},
                                     {277, 1}, {278, 7}, {279, 70}, {280, 70 + 170}, {281, 70 + 172}, {284, 1}};
  for (int i = 0; i < 13; ++i) {
    std::size_t e = dir + 2 + 12 * std::size_t(i);
    EXPECT_EQ(u16(e), tags[i][0]);
    EXPECT_EQ(u32(e + 4), 1u);
    EXPECT_EQ(u32(e + 8), tags[i][1]) << tags[i][0];
  }
  std::size_t end = dir + 2 + 13 * 12;
  EXPECT_EQ(u32(end), 0u);
  EXPECT_EQ(u16(end + 4), 0u);
  EXPECT_EQ(u16(end + 6), 255u);
  EXPECT_EQ(t.size(), end + 8);
}

TEST_F(codecs, extensions_and_written_names) {
  struct row { const char* name; const char* ext; };
  const row rows[] = {{"a.PGM.GZ", "pgm.gz"}, {"dir.x/b", ""}, {"x.TIF", "tif"}, {"c.gz", "gz"}, {"a.b.c", "c"}};
  for (const row& r : rows) EXPECT_EQ(image::file_extension(r.name), r.ext) << r.name;
  imagefield g = letter(fieldtag::gray), c = letter(fieldtag::rgb), empty;
  image::create(empty, 145);
  quiet([&] {
    EXPECT_EQ(image::save_field(g, "a.foo"), "a.foo.png");
    EXPECT_EQ(image::save_field(g, "x.TIF"), "x.TIF");
    EXPECT_EQ(image::save_field(g, "g.bmp"), "g.bmp.png");
    EXPECT_EQ(image::save_field(c, "c.pnm.gz"), "c.pnm.gz");
    EXPECT_EQ(image::save_field(empty, "e.png"), "");
  });
  EXPECT_EQ(bytes_of("x.TIF").substr(0, 2), "II");
  EXPECT_EQ(bytes_of("c.pnm.gz").substr(0, 2), "P6");
  EXPECT_FALSE(std::filesystem::exists("e.png"));
}

TEST_F(codecs, failed_loads_leave_an_empty_image_without_name) {
  std::FILE* f = std::fopen("notgz.pgm.gz", "wb");
  std::fputs("no gzip at all", f);
  std::fclose(f);
  struct row { const char* name; const char* out; };
  const row rows[] = {
      {"missing.pgm", "Read file (missing.pgm).\n  Couldn't read File (missing.pgm)! Create empty field.\n"},
      {"some.png", "Read file (some.png).\n  Couldn't read File (some.png)! Create empty field.\n"},
  };
  for (const row& r : rows) {
    imagefield g;
    bool ok = true;
    EXPECT_EQ(quiet([&] { ok = image::load_field(g, 145, r.name); }), r.out);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(image::ifimage(g));
    EXPECT_TRUE(g.filename.empty());
  }
  imagefield g;
  quiet([&] { EXPECT_FALSE(image::load_field(g, 145, "notgz.pgm.gz")); });
  EXPECT_TRUE(g.filename.empty());
}

TEST_F(codecs, imgf_and_raw_readers) {
  std::string imgf = "IMGF" + std::string(4, '\0');
  auto i32 = [&](std::uint32_t v) { codec::put32le(imgf, v); };
  i32(2), i32(1), i32(16), i32(1);
  imgf.push_back(5);
  imgf += std::string(3, '\0');
  imgf += std::string("\x34\x12\x78\x56", 4);
  imagefield f;
  image::create(f, 146);
  quiet([&] { EXPECT_TRUE(codec::read_imgf(f, imgf)); });
  EXPECT_EQ(image::get(f, 2, 1), 0x5678);
  imgf[20] = 2;   // compressed: filled with the fill byte
  EXPECT_EQ(quiet([&] { codec::read_imgf(f, imgf); }), "  Error - compressed file (2)\n");
  EXPECT_EQ(image::get(f, 1, 1), 5);
  imagefield c;
  image::create(c, 161);
  std::string raw = "hh" + std::string("\x12\xab\x34\xcd", 4);
  quiet([&] { EXPECT_TRUE(codec::read_raw(c, raw, 2, 2, 1)); });
  EXPECT_EQ(image::get_rgb(c, 1, 1), (rgbvalue{0xa0, 0xb0, 0x10}));
  EXPECT_EQ(quiet([&] { codec::read_raw(c, raw, 2, 3, 1); }), "  Bad file size. Empty image created!\n");
}
