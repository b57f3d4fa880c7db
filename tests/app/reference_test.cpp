// Unit tests of the command tables as a whole: every row is fit for the reference macro.
#include <gtest/gtest.h>

#include <set>

#include "app/families.h"

using namespace qv;

TEST(reference, every_row_is_lower_case_unique_and_documented) {
  macroengine m;
  app::register_all(m);
  ASSERT_FALSE(m.reference.empty());
  // Unique per class over the full names: families share short names ("dump", "image.dump").
  std::set<std::pair<widetext, int>> seen;
  for (const regentry& e : m.registry)
    EXPECT_TRUE(seen.insert({e.name.str(), e.cls()}).second) << text::utf8(e.name.str()) << " registered twice";
  for (const cmdrow* r : m.reference) {
    std::string name = r->name;
    SCOPED_TRACE(name);
    for (char c : name) EXPECT_FALSE(c >= 'A' && c <= 'Z');
    std::string usage = r->usage;
    EXPECT_NE(std::string(r->comment), "");
    // The usage line begins with the full command name, the family prefix included.
    EXPECT_NE(usage.find(name), std::string::npos);
  }
}
