// Unit tests of number reading and writing.
#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <string>

#include "foundation/numbertext.h"

using namespace qv;

namespace {
struct realcase {
  const char16_t* in;
  double want;
};
struct textcase {
  double in;
  const char16_t* want;
};
}  // namespace

TEST(numbertext, text_real_reads_numbers_units_and_expressions_left_to_right) {
  const realcase rows[] = {
      {u"", 0},         {u"abc", 0},           {u"12", 12},        {u"-3.5", -3.5},      {u"  7 ", 7},
      {u"1e3", 1000},   {u"1/2", 0.5},         {u"2+3*4", 20},     {u"10-2*3", 24},      {u"1/0", 0},
      {u"50%", 0.5},    {u"x=12", 12},         {u"1 2 3", 123},    {u"2 eggs", 2},       {u"3<4", 1},
      {u"3>=4", 0},     {u"3<>4", 1},          {u"5=5", 1},        {u"6&3", 2},          {u"6|3", 7},
      {u"2*-3", -6},    {u"4/", 4},            {u"-", 0},          {u"<1, 2>", 1},       {u"1e999", 0},
      {u"2.5E-1", 0.25}, {u"\t8\n", 8},        {u"1e-2*100", 1},   {u"1.5.5", 1.5},
  };
  for (const auto& r : rows) EXPECT_DOUBLE_EQ(text::real(r.in), r.want) << text::utf8(r.in);
  EXPECT_EQ(text::real(u"90°"), 1.5707963267948966);
  EXPECT_DOUBLE_EQ(text::real(u"2π"), 23.141592653589793);   // no operator between: the digits run on
  EXPECT_EQ(text::real(u"π"), 3.141592653589793116);
}

TEST(numbertext, text_real_reads_a_decimal_comma_under_the_comma_switch) {
  number::formatguard keep;
  EXPECT_EQ(text::real(u"1,5"), 1);
  number::format.decimal = false;
  EXPECT_EQ(text::real(u"1,5"), 1.5);
  EXPECT_EQ(text::real(u"π"), 3.141592653589793116);
}

TEST(numbertext, text_nat_rounds_half_to_even_and_keeps_big_whole_numbers_exact) {
  const struct {
    const char16_t* in;
    std::int64_t want;
  } rows[] = {{u"2.5", 2},  {u"3.5", 4},  {u"-2.5", -2}, {u"9007199254740993", 9007199254740993LL},
              {u"1e30", INT64_MAX}, {u"-1e30", INT64_MIN}, {u"7/2", 4}, {u"abc", 0}};
  for (const auto& r : rows) EXPECT_EQ(text::nat(r.in), r.want) << text::utf8(r.in);
}

TEST(numbertext, text_bool_takes_numbers_from_one_and_the_true_words) {
  const struct {
    const char16_t* in;
    bool want;
  } rows[] = {{u"1", true}, {u"0.5", false}, {u"True", true}, {u"yes", true}, {u"on", true},
              {u"off", false}, {u"", false}, {u"2", true}};
  for (const auto& r : rows) EXPECT_EQ(text::bool_(r.in), r.want) << text::utf8(r.in);
}

TEST(numbertext, real_text_cleans_binary_noise_and_minus_zero) {
  const textcase rows[] = {
      {0, u"0"},         {-0.0, u"0"},           {5, u"5"},           {-12, u"-12"},
      {0.1, u"0.1"},     {0.1 + 0.2, u"0.3"},    {1.1 + 2.2, u"3.3"}, {1.0 / 3, u"0.3333333333333333"},
      {-1e-20, u"0"},    {2.5, u"2.5"},          {1e-5, u"0.00001"},  {123456789.25, u"123456789.25"},
      {NAN, u"0"},       {INFINITY, u"0"},       {1e15, u"1000000000000000.0000000000000000"},
  };
  for (const auto& r : rows) EXPECT_EQ(real::text(r.in), r.want) << r.in;
}

TEST(numbertext, real_text_short_takes_decimals_by_magnitude) {
  const textcase rows[] = {{0, u"0"}, {123456.7, u"123457"}, {1.5, u"1.5"}, {3.14159265, u"3.14159"},
                           {0.00000123456789, u"0.00000123457"}, {-2.25, u"-2.25"}};
  for (const auto& r : rows) EXPECT_EQ(real::text_short(r.in), r.want) << r.in;
}

TEST(numbertext, real_text_fixed_gives_n_decimals_then_cleans) {
  EXPECT_EQ(real::text_fixed(45.678, 2), u"45.68");
  EXPECT_EQ(real::text_fixed(5, 2), u"5");
  EXPECT_EQ(real::text_fixed(0.125, 1), u"0.1");
}

TEST(numbertext, scientific_form_moves_zeros_into_the_exponent) {
  number::formatguard keep;
  number::format.scientific = true;
  const textcase rows[] = {{1200, u"12E2"}, {0.0012, u"12E-4"}, {-0.5, u"-5E-1"}, {12.5, u"12.5"}, {7, u"7"},
                           {0, u"0"}, {-3000, u"-3E3"}};
  for (const auto& r : rows) EXPECT_EQ(real::text(r.in), r.want) << r.in;
  EXPECT_EQ(nat::text(1200), u"12E2");
}

TEST(numbertext, decimal_comma_and_digit_groups) {
  number::formatguard keep;
  number::format.decimal = false;
  EXPECT_EQ(real::text(2.5), u"2,5");
  number::format.digit = true;
  EXPECT_EQ(nat::text(1234567), u"1.234.567");
  number::format.decimal = true;
  EXPECT_EQ(nat::text(1234567), u"1,234,567");
  EXPECT_EQ(nat::text(-1234), u"-1,234");
  EXPECT_EQ(nat::text(-123), u"-123");
  EXPECT_EQ(nat::text(999), u"999");
}

TEST(numbertext, format_guard_puts_the_settings_back) {
  {
    number::formatguard keep;
    number::format.scientific = true;
  }
  EXPECT_FALSE(number::format.scientific);
}

TEST(numbertext, writing_into_a_buffer_matches_the_text_form) {
  char buf[real::textroom];
  for (double v : {0.0, 1.0, -7.25, 1e-7, 123456.789, 1e300, -1e-300}) {
    std::size_t n = real::text_into(v, buf);
    EXPECT_EQ(text::ascii(std::string_view(buf, n)), real::text(v)) << v;
  }
}

TEST(numbertext, real_text_reads_back_as_the_same_value_for_plain_numbers) {
  for (double v : {0.5, 12.75, -3.0, 1e-3, 98765.4321})
    EXPECT_EQ(text::real(real::text(v)), v) << v;
}

// The integer path of the fixed forms writes what the library's correctly rounded
// conversion writes, ties (exact binary halves) and the 2^53 edge included.
TEST(numbertext, fixed_digits_equal_the_library_conversion) {
  std::uint64_t seed = 88172645463325252ull;
  auto next = [&] {
    seed ^= seed << 13, seed ^= seed >> 7, seed ^= seed << 17;
    return seed;
  };
  auto same = [](double v, int d) {
    char mine[real::textroom], lib[real::textroom];
    std::size_t n = 0;
    if (!real::fixed_exact_into(v, d, mine, n)) return true;   // left to the library
    const auto r = std::to_chars(lib, lib + sizeof lib, v, std::chars_format::fixed, d);
    const std::string a(mine, n), b(lib, r.ptr);
    EXPECT_EQ(a, b) << "value " << v << " places " << d;
    return a == b;
  };
  for (double v : {0.5, 0.125, 2.5e-17, 1.5, 0.0625, -0.375, 4503599627370495.5, 1e-300, -3e-17, 0.1, 2.0 / 3})
    for (int d = 0; d <= 17; ++d) same(v, d);
  int bad = 0;
  for (int i = 0; i < 200000 && bad < 5; ++i) {
    const std::uint64_t r = next();
    double v;
    switch (i % 3) {
      case 0: v = std::ldexp(double(r >> 11), -int(next() % 80)); break;              // any exponent
      case 1: v = double(r % 1000003) / double(next() % 999983 + 1); break;            // quotients
      default: v = std::ldexp(double((r >> 11) | 1), -53 - int(next() % 4)) * 10; break;  // halves near ties
    }
    if (r & 1) v = -v;
    if (!same(v, int(next() % 18))) ++bad;
  }
}
