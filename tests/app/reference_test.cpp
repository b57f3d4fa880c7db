// Unit tests of the command tables as a whole: every row is fit for the reference macro.
#include <gtest/gtest.h>

#include <set>

#include "app/families.h"

using namespace qv;

TEST(reference, every_row_is_lower_case_unique_and_documented) {
  macroengine m;
  app::register_all(m);
  ASSERT_FALSE(m.reference.empty());
  std::set<std::pair<std::string, int>> seen;
  for (const cmdrow* r : m.reference) {
    std::string name = r->name;
    SCOPED_TRACE(name);
    for (char c : name) EXPECT_FALSE(c >= 'A' && c <= 'Z');
    EXPECT_TRUE(seen.insert({name, int(r->kind == cmdkind::function)}).second) << "registered twice";
    std::string usage = r->usage;
    EXPECT_NE(std::string(r->comment), "");
    // The usage line begins with the full command name, the family prefix included.
    EXPECT_NE(usage.find(name), std::string::npos);
  }
}
