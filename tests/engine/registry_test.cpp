// Unit tests of registration, the plural lookup and scope shadowing.
#include <gtest/gtest.h>

#include "engine/macroengine.h"

using namespace qv;

namespace {
void h1(macroengine&) {}
void h2(macroengine&) {}

std::u16string found(macroengine& m, std::u16string_view word) {
  std::size_t row = macro::lookup_statement(m, word, false);
  return row ? m.registry[row - 1].name.str() : std::u16string();
}
}  // namespace

TEST(registry, plural_spellings_are_tried_in_their_fixed_order) {
  // `bus` tries bes, bi, fe, f, buos, boes, bis, by, y, bu, b: each row registered
  // later than the one before must still lose to the earlier spelling.
  const char* order[] = {"bes", "bi", "fe", "f", "buos", "boes", "bis", "by", "y", "bu", "b"};
  for (std::size_t n = std::size(order); n-- > 0;) {
    macroengine m;
    for (std::size_t i = n; i < std::size(order); ++i) macro::register_procedure(m, order[i], h1);
    EXPECT_EQ(found(m, u"bus"), text::ascii(order[n])) << "with rows from " << order[n];
  }
}

TEST(registry, singular_forms_find_the_command) {
  macroengine m;
  macro::register_procedure(m, "print", h1);
  macro::register_procedure(m, "image.size", h1);
  macro::register_procedure(m, "stack.clear", h1);
  macro::register_procedure(m, "leaf", h1);
  EXPECT_EQ(found(m, u"prints"), u"print");
  EXPECT_EQ(found(m, u"IMAGE.SIZES"), u"image.size");
  EXPECT_EQ(found(m, u"stack.clears"), u"stack.clear");
  EXPECT_EQ(found(m, u"leaves"), u"leaf");
  EXPECT_EQ(found(m, u"printz"), u"");
  EXPECT_EQ(m.registry[0].used, 1);
}

TEST(registry, double_registration_in_one_scope_keeps_the_first_row) {
  macroengine m;
  testing::internal::CaptureStdout();
  macro::register_procedure(m, "go", h1);
  macro::register_procedure(m, "go", h2);
  macro::register_function(m, "go", h2);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "Attention double syntax member in this scope! (go)\n");
  ASSERT_EQ(m.registry.size(), 2u);
  EXPECT_EQ(m.registry[0].start, &h1);
}

TEST(registry, blanks_in_names_become_points_with_a_warning) {
  macroengine m;
  testing::internal::CaptureStdout();
  macro::register_procedure(m, "Two Words", h1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Attention, wrong char ( ) inside command (two words)!\n");
  EXPECT_EQ(m.registry[0].name.str(), u"two.words");
}

TEST(registry, a_deeper_definition_shadows_until_its_scope_ends) {
  macroengine m;
  macro::register_procedure(m, "go", h1);
  m.depth = 2;
  macro::register_procedure(m, "go", h2);
  EXPECT_EQ(m.registry[macro::lookup_statement(m, u"go", false) - 1].start, &h2);
  macro::leave(m);
  EXPECT_EQ(m.depth, 1);
  EXPECT_EQ(m.registry[macro::lookup_statement(m, u"go", false) - 1].start, &h1);
}

TEST(registry, lookups_keep_to_their_class) {
  macroengine m;
  macro::register_function(m, "f", h1);
  macro::register_variable(m, "v", h1);
  EXPECT_EQ(macro::lookup_statement(m, u"f", false), 0u);
  EXPECT_NE(macro::lookup_function(m, u"f"), 0u);
  EXPECT_EQ(macro::lookup_function(m, u"v"), 0u);
  EXPECT_NE(macro::lookup_variable(m, u"v"), 0u);
}
