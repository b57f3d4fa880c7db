// Unit tests of the record texts: reading component by component and writing back.
#include <gtest/gtest.h>

#include "foundation/numbertext.h"
#include "foundation/numeric_text.h"

using namespace qv;

TEST(numeric_text, records_read_one_number_after_the_other) {
  struct row { const char16_t* text; num::vector expected; };
  const row rows[] = {{u"<1, -2.5, 3>", {1, -2.5, 3}},
                      {u"1 2", {1, 2, 0}},
                      {u"<1/2, 90°, 2+3*4>", {0.5, 1.5707963267948966, 20}},
                      {u"(<4,5,6>)", {4, 5, 6}},
                      {u"<1,2,3,4>", {1, 2, 3}},
                      {u"abc", {0, 0, 0}}};
  for (const row& r : rows) EXPECT_TRUE(vector::equal(text::vector(r.text), r.expected)) << text::utf8(r.text);
  EXPECT_TRUE(hyper::equal(text::hyper(u"<1, 2, 3, 4>"), num::hyper{1, 2, 3, 4}));
  EXPECT_TRUE(complex::equal(text::complex(u"<7,8>"), num::complex{7, 8}));
  EXPECT_TRUE(natvector::equal(text::natvector(u"<1.5, 2.5, -7>"), num::natvector{2, 2, -7}));
  num::tensor t = text::tensor(u"<1,2,3,4,5,6>");
  EXPECT_EQ(t.yz, 6);
  num::quat q = text::quat(u"<1,0,0,0>");
  EXPECT_EQ(q.w, 1);
}

TEST(numeric_text, matrices_read_nine_values_and_matrix4_its_groups) {
  num::matrix m = text::matrix(u"(<1,2,3>;<4,5,6>;<7,8,9>)");
  for (int i = 0; i < 9; ++i) EXPECT_EQ(m.m[i], i + 1);
  num::matrix4 g = text::matrix4(u"<1,2>;<3,4,5,6>;<7>;<8,9,10,11,12>");
  const double expected[16] = {1, 2, 0, 0, 3, 4, 5, 6, 7, 0, 0, 0, 8, 9, 10, 11};
  for (int i = 0; i < 16; ++i) EXPECT_EQ(g.m[i], expected[i]) << i;
  num::matrix4 flat = text::matrix4(u"1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16");
  EXPECT_EQ(flat.m[15], 16);
}

TEST(numeric_text, records_write_with_comma_blank_between_components) {
  EXPECT_EQ(vector::text(num::vector{1, -2.5, 3}), u"<1, -2.5, 3>");
  EXPECT_EQ(natvector::text(num::natvector{1, -2, 3}), u"<1, -2, 3>");
  EXPECT_EQ(complex::text(num::complex{0.25, -0.0}), u"<0.25, 0>");
  EXPECT_EQ(matrix::text(matrix::identity), u"(<1, 0, 0>;<0, 1, 0>;<0, 0, 1>)");
  EXPECT_EQ(tensor::text(num::tensor{1, 2, 3, 4, 5, 6}), u"<1, 2, 3, 4, 5, 6>");
  EXPECT_EQ(quat::text(num::quat{1, 0, 0, 0}), u"<1, 0, 0, 0>");
  num::matrix4 m = text::matrix4(matrix4::text(matrix4::identity));
  for (int i = 0; i < 16; ++i) EXPECT_EQ(m.m[i], matrix4::identity.m[i]);
}

TEST(numeric_text, short_hyper_text_drops_trailing_zeros) {
  struct row { num::hyper h; const char16_t* text; };
  const row rows[] = {{{5, 0, 0, 0}, u"5"}, {{1, 2, 0, 0}, u"<1, 2>"}, {{1, 0, 3, 0}, u"<1, 0, 3>"},
                      {{0, 0, 0, 4}, u"<0, 0, 0, 4>"}, {{0, 0, 0, 0}, u"0"}};
  for (const row& r : rows) EXPECT_EQ(hyper::text_short(r.h), r.text);
}

TEST(numeric_text, decimal_comma_writes_and_reads_semicolons) {
  number::formatguard keep;
  number::format.decimal = false;
  EXPECT_EQ(vector::text(num::vector{1.5, 2, 3}), u"<1,5; 2; 3>");
  EXPECT_TRUE(vector::equal(text::vector(u"<1,5; 2; 3>"), num::vector{1.5, 2, 3}));
}

TEST(numeric_text, flags_and_bytes) {
  struct row { const char16_t* text; bool flag; };
  const row rows[] = {{u"", false},   {u"Yes", true}, {u" t ", true}, {u"on", true},  {u"OK", true},
                      {u"+", true},   {u"0", false},  {u"2", true},   {u"off", false}, {u"no", false},
                      {u"Hallo", true}, {u"J", true}, {u"0.6", true}, {u"-3", false}};
  for (const row& r : rows) EXPECT_EQ(chars::flag(r.text), r.flag) << text::utf8(r.text);
  EXPECT_EQ(text::byte(u"300"), 255);
  EXPECT_EQ(text::byte(u"-4"), 0);
  EXPECT_EQ(text::byte(u"17.5"), 18);
}
