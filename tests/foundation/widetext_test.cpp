// Unit tests of the text type and its toolkit.
#include <gtest/gtest.h>
#include "foundation/widetext.h"

using namespace qv;

TEST(widetext, shorttext_cuts_to_254_characters) {
  shorttext s(widetext(300, u'x'));
  EXPECT_EQ(s.size(), 254u);
}

TEST(widetext, utf8_round_trip_and_stray_bytes) {
  EXPECT_EQ(text::from_utf8("a\xc2\xb0\xcf\x80"), widetext(u"a°π"));
  EXPECT_EQ(text::utf8(u"a°π"), "a\xc2\xb0\xcf\x80");
  EXPECT_EQ(text::from_utf8("\x80z"), widetext(u"\0z", 2));
  EXPECT_EQ(text::utf8(widetext(u"a\0b", 3)), "ab");
}

TEST(widetext, token_outside_respects_quotes_and_brackets) {
  widetext s = u"\"a b\" <1, 2> c";
  EXPECT_EQ(text::token_outside(s, u' '), u"\"a b\"");
  EXPECT_EQ(text::token_outside(s, u' '), u"<1, 2>");
  EXPECT_EQ(text::token_outside(s, u' '), u"c");
  EXPECT_TRUE(s.empty());
  widetext t = u"a<b c>d";
  EXPECT_EQ(text::token_outside_noangle(t, u' '), u"a<b");
}

TEST(widetext, char_and_setchar_ignore_positions_outside) {
  widetext t = u"abc";
  EXPECT_EQ(text::char_(t, 0), 0);
  EXPECT_EQ(text::char_(t, 1), u'a');
  EXPECT_EQ(text::char_(t, 4), 0);
  text::setchar(t, 0, u'x');
  text::setchar(t, 4, u'x');
  text::setchar(t, 2, u'x');
  EXPECT_EQ(t, u"axc");
}

TEST(widetext, positions_count_from_one) {
  EXPECT_EQ(text::pos(u"b", u"abcb"), 2u);
  EXPECT_EQ(text::pos(u"z", u"abcb"), 0u);
  EXPECT_EQ(text::pos_last(u"b", u"abcb"), 4u);
  EXPECT_EQ(text::pos_from(u"b", u"abcb", 3), 4u);
  EXPECT_EQ(text::pos_last_from(u"b", u"abcb", 3), 2u);
  EXPECT_EQ(text::pos(u"", u"abc"), 0u);
}

TEST(widetext, less_puts_shorter_texts_first) {
  EXPECT_TRUE(text::less(u"z", u"aa"));
  EXPECT_FALSE(text::less(u"aa", u"z"));
  EXPECT_TRUE(text::less(u"ab", u"ac"));
  EXPECT_TRUE(text::lessequal(u"ab", u"ab"));
}

TEST(widetext, replace_goes_left_to_right_without_rescan) {
  EXPECT_EQ(text::replace(u"aaa", u"aa", u"a"), u"aa");
  EXPECT_EQ(text::replace(u"a-b-c", u"-", u"--"), u"a--b--c");
  EXPECT_EQ(text::replacechar(u"a°a", u'a', u'b'), u"b°b");
}

TEST(widetext, copy_and_delete_clip_to_the_text) {
  EXPECT_EQ(text::copy(u"abcdef", 2, 3), u"bcd");
  EXPECT_EQ(text::copy(u"abc", 5, 3), u"");
  widetext t = u"abcdef";
  text::delete_(t, 5, 10);
  EXPECT_EQ(t, u"abcd");
}

TEST(widetext, four_byte_sequences_are_not_kept) {
  widetext t = text::from_utf8("a\xf0\x9f\x98\x80" "b");
  EXPECT_NE(text::utf8(t), "a\xf0\x9f\x98\x80" "b");
  EXPECT_EQ(t.front(), u'a');
  EXPECT_EQ(t.back(), u'b');
}
