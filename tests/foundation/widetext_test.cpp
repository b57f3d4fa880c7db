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
