// Unit tests of the stored-voxel conversion: every code into each element type, the filter, float ranges, short data.
#include <gtest/gtest.h>

#include <cstring>

#include "volumes/formats/read_stack.h"

using namespace qv;

namespace {

std::string quiet(auto fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}

template <typename T>
std::string bytes_of(std::initializer_list<T> values, bool big = false) {
  std::string s;
  for (T v : values) {
    char b[sizeof(T)];
    std::memcpy(b, &v, sizeof(T));
    if (big) std::reverse(b, b + sizeof(T));
    s.append(b, sizeof(T));
  }
  return s;
}

struct result {
  std::vector<std::int64_t> voxels;
  std::string out;
};

// Reads `data` as nx voxels in one row into a fresh field of `tag`.
result convert(scalartag tag, int code, const std::string& data, std::int64_t nx, std::int64_t off = 0,
            std::int64_t fac = 0, double lo = 0, double hi = 0, bool swap = false) {
  scalarfield f;
  f.tag = tag;
  scalar::bytesource src;
  src.memory = data;
  src.size = std::int64_t(data.size());
  scalar::stackrequest r;
  r.code = code, r.swap = swap, r.nx = nx, r.ny = 1, r.nz = 1;
  r.filter_offset = off, r.filter_factor = fac, r.range_min = lo, r.range_max = hi;
  result res;
  res.out = quiet([&] { scalar::read_stack(f, src, r); });
  for (std::int64_t x = 1; x <= f.width; ++x) res.voxels.push_back(scalar::get(f, x, 1, 1));
  return res;
}

using V = std::vector<std::int64_t>;

}  // namespace

TEST(read_stack, integer_codes_reduce_by_the_fixed_table) {
  struct row {
    int code;
    std::string data;
    scalartag tag;
    V expected;
  };
  const row rows[] = {
      {8, bytes_of<std::uint8_t>({0, 200, 255}), scalartag::gray, {0, 200, 255}},
      {8, bytes_of<std::uint8_t>({0, 200, 255}), scalartag::fullgray, {0, 200, 255}},
      {-8, bytes_of<std::int8_t>({-128, 0, 127}), scalartag::gray, {0, 128, 255}},
      {-8, bytes_of<std::int8_t>({-128, 0, 127}), scalartag::fullgray, {0, 128, 255}},
      {16, bytes_of<std::uint16_t>({0x1234, 0xFFFF, 255}), scalartag::gray, {0x12, 0xFF, 0}},
      {16, bytes_of<std::uint16_t>({0x1234, 0xFFFF, 255}), scalartag::fullgray, {0x1234, 0xFFFF, 255}},
      {-16, bytes_of<std::int16_t>({-32768, 0, 32767}), scalartag::gray, {0, 128, 255}},
      {-16, bytes_of<std::int16_t>({-32768, -10, 32767}), scalartag::fullgray, {0, 32758, 65535}},
      {32, bytes_of<std::uint32_t>({0x12345678, 0xFFFFFFFF}), scalartag::gray, {0x12, 0xFF}},
      {32, bytes_of<std::uint32_t>({0x12345678, 0xFFFFFFFF}), scalartag::fullgray, {0x1234, 0xFFFF}},
      {-32, bytes_of<std::int32_t>({INT32_MIN, 0, INT32_MAX}), scalartag::gray, {0, 128, 255}},
      {-32, bytes_of<std::int32_t>({INT32_MIN, 0, INT32_MAX}), scalartag::fullgray, {0, 32768, 65535}},
      {64, bytes_of<std::uint64_t>({0xAB00000000000000ull, 1}), scalartag::gray, {0xAB, 0}},
      {64, bytes_of<std::uint64_t>({0xABCD000000000000ull, 1}), scalartag::fullgray, {0xABCD, 0}},
      {-64, bytes_of<std::int64_t>({INT64_MIN, 0, INT64_MAX}), scalartag::gray, {0, 128, 255}},
      {-64, bytes_of<std::int64_t>({INT64_MIN, 0, INT64_MAX}), scalartag::fullgray, {0, 32768, 65535}},
      {2024, std::string("\x0a\x14\x1f\xff\xff\xff", 6), scalartag::gray, {20, 255}},
      {2032, std::string("\x0a\x14\x1f\x00\xff\xff\xff\x00", 8), scalartag::fullgray, {20, 255}},
      {3024, bytes_of<std::uint16_t>({0x0100, 0x0200, 0x0300}), scalartag::gray, {2}},
      {3024, bytes_of<std::uint16_t>({0x0100, 0x0200, 0x0300}), scalartag::fullgray, {0x0200}},
      {3032, bytes_of<std::uint16_t>({30, 60, 90, 7}), scalartag::fullgray, {60}},
  };
  for (const row& r : rows) {
    std::int64_t n = std::int64_t(r.expected.size());
    EXPECT_EQ(convert(r.tag, r.code, r.data, n).voxels, r.expected) << "code " << r.code;
  }
}

TEST(read_stack, mono_voxels_are_true_above_the_threshold_of_their_code) {
  struct row {
    int code;
    std::string data;
    V expected;
    const char* label;
  };
  const row rows[] = {
      {8, bytes_of<std::uint8_t>({127, 128}), {0, 1}, "(Grey|$7F)"},
      {-8, bytes_of<std::int8_t>({0, 1}), {0, 1}, "(-Grey|0)"},
      {16, bytes_of<std::uint16_t>({32767, 32768}), {0, 1}, "(Fullgrey|$7FFF)"},
      {-16, bytes_of<std::int16_t>({-5, 3}), {0, 1}, "(-Fullgrey|0)"},
      {32, bytes_of<std::uint32_t>({2147483647u, 2147483648u}), {0, 1}, "(32Grey|$7FFF:FFFF)"},
      {64, bytes_of<std::uint64_t>({9223372036854775807ull, 9223372036854775808ull}), {0, 1},
       "(64Grey|$7FFF:FFFF:FFFF:FFFF)"},
      {2024, std::string("\x7f\x7f\x7f\x80\x7f\x7f", 6), {0, 1}, "(RGB|3*$7F)"},
  };
  for (const row& r : rows) {
    result res = convert(scalartag::mono, r.code, r.data, std::int64_t(r.expected.size()));
    EXPECT_EQ(res.voxels, r.expected) << "code " << r.code;
    EXPECT_NE(res.out.find(r.label), std::string::npos) << res.out;
  }
}

TEST(read_stack, integer_filter_shifts_multiplies_or_divides_and_clamps) {
  std::string d = bytes_of<std::int16_t>({-12000, -11990, 0, 300});
  EXPECT_EQ(convert(scalartag::gray, -16, d, 4, 12000).voxels, (V{0, 10, 255, 255}));
  EXPECT_EQ(convert(scalartag::gray, -16, d, 4, 12000, 10).voxels, (V{0, 100, 255, 255}));
  EXPECT_EQ(convert(scalartag::fullgray, -16, d, 4, 12000, -2).voxels, (V{0, 5, 6000, 6150}));
  EXPECT_EQ(convert(scalartag::fullgray, -16, d, 4, 0, 1).voxels, (V{0, 0, 0, 300}));
}

TEST(read_stack, float_filter_gives_offset_plus_value_halved_without_range_line) {
  result r = convert(scalartag::fullgray, 1032, bytes_of<float>({-12000.f, -11000.5f, 200000.f}), 3, 12000, -2);
  EXPECT_EQ(r.voxels, (V{0, 499, 65535}));
  EXPECT_NE(r.out.find("  3DGrey (32Float_f) with (3x1x1)"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find("New min"), std::string::npos);
}

TEST(read_stack, float_header_range_maps_to_the_full_type_and_clamps_beyond) {
  result r = convert(scalartag::gray, 1064, bytes_of<double>({-5, 0, 50, 100, 400}), 5, 0, 0, 0, 100);
  EXPECT_EQ(r.voxels, (V{0, 0, 128, 255, 255}));   // 127.5 rounds half to even
  EXPECT_NE(r.out.find("(64Float_o)"), std::string::npos);
  EXPECT_NE(r.out.find("  New min (0) max (100) values -> 0..255!\n"), std::string::npos) << r.out;
}

TEST(read_stack, float_without_range_finds_it_in_a_first_pass_and_skips_nan) {
  float nan = std::numeric_limits<float>::quiet_NaN();
  result r = convert(scalartag::fullgray, 1032, bytes_of<float>({2, nan, 4, 3}), 4);
  EXPECT_EQ(r.voxels, (V{0, 0, 65535, 32768}));
  EXPECT_NE(r.out.find("(32Float_a)"), std::string::npos);
  EXPECT_NE(r.out.find("  New min (2) max (4) values -> 0..65535!\n"), std::string::npos) << r.out;
}

TEST(read_stack, float_of_one_value_stays_zero) {
  EXPECT_EQ(convert(scalartag::gray, 1032, bytes_of<float>({7, 7}), 2).voxels, (V{0, 0}));
}

TEST(read_stack, float_to_mono_thresholds_at_the_middle_of_the_range) {
  result r = convert(scalartag::mono, 1032, bytes_of<float>({0, 4.9f, 5.1f, 10}), 4);
  EXPECT_EQ(r.voxels, (V{0, 0, 1, 1}));
  EXPECT_NE(r.out.find("  New min (0) max (10) values -> threshold=5\n"), std::string::npos) << r.out;
}

TEST(read_stack, swapped_data_read_equal_to_their_little_endian_twin) {
  EXPECT_EQ(convert(scalartag::fullgray, -16, bytes_of<std::int16_t>({-3, 1000}, true), 2, 0, 0, 0, 0, true).voxels,
            convert(scalartag::fullgray, -16, bytes_of<std::int16_t>({-3, 1000}), 2).voxels);
  EXPECT_EQ(convert(scalartag::gray, 1064, bytes_of<double>({1, 2, 3}, true), 3, 0, 0, 0, 0, true).voxels,
            (V{0, 128, 255}));
}

TEST(read_stack, short_data_give_a_zero_field_with_the_size_lines) {
  result r = convert(scalartag::gray, 16, bytes_of<std::uint16_t>({1, 2}), 3);
  EXPECT_EQ(r.voxels, (V{0, 0, 0}));
  EXPECT_EQ(r.out,
            "  Wrong file size! Header: 3x1x1 x 2 bytes\n"
            "  Calculated type (bytes): 1.3333333333333333\n"
            "  3DGrey (GreyZero) with (3x1x1)\n");
  EXPECT_NE(convert(scalartag::mono, 8, "", 3).out.find("  3DFullgrey (MonoZero) with (3x1x1)"), std::string::npos);
}

TEST(read_stack, sizes_past_memory_give_an_empty_field) {
  scalarfield f;
  scalar::bytesource src;
  scalar::stackrequest r;
  r.code = 8, r.nx = 1 << 20, r.ny = 1 << 20, r.nz = 1 << 20;
  EXPECT_EQ(quiet([&] { EXPECT_FALSE(scalar::read_stack(f, src, r)); }), "Not enough memory! Create empty field.\n");
  EXPECT_FALSE(scalar::ifscalar(f));
}

TEST(read_stack, no_voxels_give_a_field_of_size_zero) {
  EXPECT_EQ(convert(scalartag::gray, 8, "abc", 0).out, "  3DGrey with (0x0x0)\n");
}

TEST(read_stack, reads_span_several_buffers) {
  // More voxels than one 8 MiB buffer holds, so the chunk loop's seams are crossed.
  const std::size_t n = 1024 * 1024 * 3, per = scalar::buffer_elements(64);
  ASSERT_LT(2 * per, n);
  std::string data(n * 8, '\0');
  for (std::size_t i = 0; i < n; ++i) {
    std::uint64_t v = std::uint64_t(i % 65536) << 48;
    std::memcpy(data.data() + 8 * i, &v, 8);
  }
  scalarfield f;
  f.tag = scalartag::fullgray;
  scalar::bytesource src{nullptr, data, std::int64_t(data.size())};
  scalar::stackrequest r;
  r.code = 64, r.nx = 1024, r.ny = 1024, r.nz = 3;
  quiet([&] { EXPECT_TRUE(scalar::read_stack(f, src, r)); });
  ASSERT_EQ(f.fullvoxels.size(), n);
  for (std::size_t i : {std::size_t(0), per - 1, per, 2 * per + 1, n - 1})
    EXPECT_EQ(f.fullvoxels[i], std::uint16_t(i % 65536)) << i;
}
