// Unit tests of the command-line parser and the version text.
#include <gtest/gtest.h>

#include "app/options.h"

using namespace qv;

namespace {
std::vector<std::pair<std::u16string, std::u16string>> parsed(std::vector<std::string> args) {
  optionset o;
  option::parse(o, args);
  std::vector<std::pair<std::u16string, std::u16string>> out;
  for (std::size_t i = 0; i < o.optionnames.size(); ++i) out.emplace_back(o.optionnames[i].str(), o.optionvalues[i].str());
  return out;
}
using pairs = std::vector<std::pair<std::u16string, std::u16string>>;
}  // namespace

TEST(options, odd_forms_of_the_command_line) {
  EXPECT_EQ(parsed({"my.macro"}), (pairs{{u"", u"my.macro"}}));
  EXPECT_EQ(parsed({"-macro"}), (pairs{{u"macro", u"false"}}));
  EXPECT_EQ(parsed({"-x", "y", "z"}), (pairs{{u"x", u"y"}, {u"", u"z"}}));
  EXPECT_EQ(parsed({"-a=1", "-a=2"}), (pairs{{u"a", u"1"}, {u"a", u"2"}}));
  EXPECT_EQ(parsed({"--long=\"q \"\"x\"\"\"", "+flag"}), (pairs{{u"long", u"q \"x\""}, {u"flag", u"true"}}));
  EXPECT_EQ(parsed({"-strict", "-macro=t.macro"}), (pairs{{u"strict", u"false"}, {u"macro", u"t.macro"}}));
  EXPECT_EQ(parsed({"'quoted name'", "", "-v", "+w", "k"}),
            (pairs{{u"", u"quoted name"}, {u"v", u"false"}, {u"w", u"true"}, {u"", u"k"}}));
}

TEST(options, getters_find_the_first_entry) {
  optionset o;
  option::parse(o, {"-a=1", "-a=2"});
  EXPECT_EQ(option::find(o, u"a")->str(), u"1");
  EXPECT_EQ(option::find(o, u"A"), nullptr);
}

TEST(options, version_counts_years_from_the_first_release) {
  EXPECT_EQ(version_text("2026/04/08"), u"9.4.8");
  EXPECT_EQ(version_text("2017/12/31"), u"0.12.31");
}
