// Unit tests of the PNG writer's checksums and of its bytes, which must not change as it gets faster.
#include <gtest/gtest.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "images/formats/codec.h"

using namespace qv;

namespace {

std::vector<std::uint8_t> pattern(std::size_t n, bool saturated) {
  std::vector<std::uint8_t> v(n);
  for (std::size_t i = 0; i < n; ++i) v[i] = saturated ? 255 : std::uint8_t(i * 7 + i / 300 + (i >> 11));
  return v;
}

// Every length up to 300 at every misalignment up to 15, where the vector paths hand over to the byte loops.
TEST(checksums, crc32_and_adler32_match_zlib_at_every_short_length_and_offset) {
  for (bool saturated : {false, true}) {
    std::vector<std::uint8_t> v = pattern(340, saturated);
    for (std::size_t at = 0; at < 16; ++at)
      for (std::size_t n = 0; n <= 300; ++n) {
        const std::uint8_t* p = v.data() + at;
        ASSERT_EQ(codec::crc32(0, p, n), ::crc32(0, p, uInt(n))) << at << " " << n;
        ASSERT_EQ(codec::crc32_portable(0, p, n), ::crc32(0, p, uInt(n))) << at << " " << n;
        ASSERT_EQ(codec::adler32(1, p, n), ::adler32(1, p, uInt(n))) << at << " " << n;
        ASSERT_EQ(codec::adler32_portable(1, p, n), ::adler32(1, p, uInt(n))) << at << " " << n;
      }
  }
}

// All-255 bytes drive the Adler sums to their largest values between reductions.
TEST(checksums, long_runs_and_chained_calls_match_zlib) {
  struct row {
    std::size_t n, split;
    bool saturated;
  } rows[] = {{5552, 0, true},    {5553, 5552, true},   {5552 * 3 + 31, 77, true}, {1000003, 8193, false},
              {1000003, 0, true}, {65536, 32768, false}, {200, 100, false}};
  for (const row& r : rows) {
    std::vector<std::uint8_t> v = pattern(r.n, r.saturated);
    const std::uint8_t* p = v.data();
    std::uint32_t crc = ::crc32(0, p, uInt(r.n)), adler = ::adler32(1, p, uInt(r.n));
    EXPECT_EQ(codec::crc32(codec::crc32(0, p, r.split), p + r.split, r.n - r.split), crc) << r.n;
    EXPECT_EQ(codec::adler32(codec::adler32(1, p, r.split), p + r.split, r.n - r.split), adler) << r.n;
    EXPECT_EQ(codec::crc32_portable(0, p, r.n), crc) << r.n;
    EXPECT_EQ(codec::adler32_portable(1, p, r.n), adler) << r.n;
  }
}

std::string quiet(auto fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}

imagefield patterned(fieldtag t, std::int64_t w, std::int64_t h) {
  imagefield f;
  image::create(f, std::uint8_t(t), w, h);
  for (std::int64_t y = 1; y <= h; ++y)
    for (std::int64_t x = 1; x <= w; ++x) {
      std::int64_t v = x * 131 + y * 17 + (x * y) % 251;
      if (t == fieldtag::gray) image::set(f, x, y, v & 255);
      else if (t == fieldtag::fullgray) image::set(f, x, y, (v * 37) & 65535);
      else image::set_rgba(f, x, y, {v & 255, (v >> 3) & 255, (x ^ y) & 255, (v >> 5) & 255});
    }
  return f;
}

// Size and CRC-32 of whole files as the first, plain writer made them: both layouts,
// the 1 MiB limit from either side, blocks that end with a row, all pixel types.
struct pngcase {
  fieldtag tag;
  std::int64_t w, h;
  std::size_t size;
  std::uint32_t crc;
};
const pngcase png_cases[] = {
    {fieldtag::gray, 5, 3, 86, 0x0656309au},
    {fieldtag::gray, 8191, 1, 8260, 0x928da392u},
    {fieldtag::gray, 8192, 200, 1643051, 0xe26b4c38u},
    {fieldtag::gray, 1024, 1024, 1067059, 0xbdb53c93u},
    {fieldtag::gray, 1023, 1024, 1066035, 0x5afafca4u},
    {fieldtag::gray, 1022, 1025, 1049278, 0x39160db4u},
    {fieldtag::gray, 16383, 70, 1148471, 0x654036ecu},
    {fieldtag::fullgray, 700, 800, 1134451, 0x7632fddcu},
    {fieldtag::fullgray, 5000, 3, 30086, 0x41105c1cu},
    {fieldtag::rgb, 3000, 130, 1173041, 0x9f302054u},
    {fieldtag::rgba, 2049, 129, 1060302, 0xb67ac18bu},
    {fieldtag::zrgb, 600, 600, 1450851, 0x28b4318cu},
    {fieldtag::rgb, 1, 400000, 8400051, 0x61e9caf3u},
};

TEST(checksums, png_files_keep_their_bytes_in_memory_and_on_disk) {
  auto dir = std::filesystem::temp_directory_path() / ("qv-pngbytes-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  std::string name = (dir / "p.png").string();
  for (const pngcase& c : png_cases) {
    imagefield f = patterned(c.tag, c.w, c.h);
    std::string png;
    bool saved = false;
    quiet([&] { png = codec::write_png(f), saved = codec::save_png(f, name); });
    EXPECT_EQ(png.size(), c.size) << int(c.tag) << " " << c.w << "x" << c.h;
    EXPECT_EQ(::crc32(0, reinterpret_cast<const Bytef*>(png.data()), uInt(png.size())), c.crc)
        << int(c.tag) << " " << c.w << "x" << c.h;
    ASSERT_TRUE(saved);
    std::ifstream in(name, std::ios::binary);
    std::stringstream file;
    file << in.rdbuf();
    EXPECT_TRUE(file.str() == png) << int(c.tag) << " " << c.w << "x" << c.h;
  }
  std::filesystem::remove_all(dir);
}

TEST(checksums, save_png_into_a_folder_that_is_missing_fails_quietly) {
  imagefield f = patterned(fieldtag::gray, 3, 2);
  bool saved = true;
  std::string out = quiet([&] { saved = codec::save_png(f, "/nonexistent-folder/x.png"); });
  EXPECT_FALSE(saved);
  EXPECT_EQ(out, "  Grey with (3x2)\n");
}

}  // namespace
