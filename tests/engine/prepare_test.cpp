// Unit tests of the parameter lists: token types, substitutions and elements.
#include <gtest/gtest.h>

#include "engine/macroengine.h"

using namespace qv;

namespace {
void value_handler(macroengine& m) { macro::value_set(m, u"4,2"); }

std::vector<std::u16string> params(macroengine& m, std::u16string_view line) {
  macro::prepare(m, line);
  std::vector<std::u16string> out;
  for (std::size_t i = 1; i <= macro::parameter_count(m); ++i) out.push_back(macro::parameter(m, i));
  return out;
}
using list = std::vector<std::u16string>;
}  // namespace

TEST(prepare, quotes_codes_and_radix_forms) {
  macroengine m;
  EXPECT_EQ(params(m, u"\"a b\" 'c' \"\" #65 $ff %101 $ % ("), (list{u"a b", u"c", u"A", u"255", u"5", u"0", u"0", u"("}));
  EXPECT_EQ(params(m, u"\"say \"\"hi\"\" now\""), (list{u"say \"\"hi\"\" now"}));
  EXPECT_EQ(params(m, u"\" x"), (list{u"\" x"}));   // an unclosed quote stays
}

TEST(prepare, groups_substitute_each_element) {
  macroengine m;
  macro::var_set(m, u"a", u"7");
  EXPECT_EQ(params(m, u"<a, 2; a> (x) [] ( {q}"), (list{u"7,2;7", u"x", u"{q}"}));
  EXPECT_EQ(m.list1.type[0], paramtype::group);
}

TEST(prepare, numbers_stay_text_and_words_are_substituted) {
  macroengine m;
  macro::var_set(m, u"b", u"c");
  macro::var_set(m, u"c", u"done");
  EXPECT_EQ(params(m, u"-1 1/2 B q"), (list{u"-1", u"1/2", u"c", u"q"}));   // c is newer than b
  EXPECT_EQ(m.list1.type[0], paramtype::number);
}

TEST(prepare, alias_chains_follow_the_table_order_only) {
  macroengine m;
  macro::var_set(m, u"y", u"1");
  macro::var_set(m, u"x", u"y");   // newer than y: x -> y -> 1
  EXPECT_EQ(params(m, u"x"), (list{u"1"}));
  macroengine n;
  macro::var_set(n, u"x", u"y");
  macro::var_set(n, u"y", u"1");   // y is newer: the walk has passed it when x gives y
  EXPECT_EQ(params(n, u"x"), (list{u"y"}));
}

TEST(prepare, at_substitution_has_no_word_boundary) {
  macroengine m;
  macro::var_set(m, u"ab", u"long");
  macro::var_set(m, u"a", u"X");   // newest first: @a hits @ab
  EXPECT_EQ(params(m, u"@ab \"@A\""), (list{u"Xb", u"X"}));
}

TEST(prepare, list_elements_by_index) {
  macroengine m;
  macro::var_set(m, u"d", u"a\tb\tc");
  EXPECT_EQ(params(m, u"d[0] d[2] d[9] d[-1] e[0]"), (list{u"3", u"b", u"", u"d[-1]", u"1"}));
  macro::var_set(m, u"d[2]", u"x");
  EXPECT_EQ(macro::var_get(m, u"d"), u"a\tx\tc");
  macro::var_set(m, u"n[3]", u"z");
  EXPECT_EQ(macro::var_get(m, u"n"), u"\t\tz");
}

TEST(prepare, variable_functions_give_their_value_and_functions_only_lead) {
  macroengine m;
  macro::register_variable(m, "image.size", value_handler);
  macro::register_function(m, "f", value_handler);
  EXPECT_EQ(params(m, u"image.size f"), (list{u"4,2", u"f"}));
  EXPECT_EQ(m.list1.type[0], paramtype::variable);
  EXPECT_EQ(m.list1.type[1], paramtype::word);
  params(m, u"f 1");
  EXPECT_EQ(m.list1.type[0], paramtype::function);
}

TEST(prepare, list_two_treats_angle_brackets_as_characters) {
  macroengine m;
  macro::prepare(m, u"<1 2> 3");
  EXPECT_EQ(macro::parameter_count(m), 2u);
  EXPECT_EQ(macro::parameter2_count(m), 3u);
  EXPECT_EQ(macro::parameter2(m, 1), u"<1");
}

TEST(prepare, parameters_are_cut_to_254_characters) {
  macroengine m;
  auto p = params(m, std::u16string(300, u'z'));
  ASSERT_EQ(p.size(), 1u);
  EXPECT_EQ(p[0].size(), 254u);
}
