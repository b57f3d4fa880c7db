// Unit tests of the report texts and parameter checks.
#include <gtest/gtest.h>

#include "engine/macroengine.h"
#include "foundation/console.h"

using namespace qv;

namespace {
struct plain_console {
  bool saved = console::ansi;
  plain_console() { console::ansi = false; }
  ~plain_console() { console::ansi = saved; }
};

std::string captured(void (*fn)(macroengine&)) {
  macroengine m;
  m.lines.filename = "t.macro";
  m.currentline = 7;
  testing::internal::CaptureStdout();
  fn(m);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(m.stopflag);
  return out;
}
}  // namespace

TEST(reports, parameter_checks_have_their_exact_wording) {
  plain_console plain;
  struct row { void (*fn)(macroengine&); const char* text; };
  const row rows[] = {
      {[](macroengine& m) { macro::check_min(m, 1); }, "Parameter error! Please use min. one parameter in line 7 (t.macro).\n"},
      {[](macroengine& m) { macro::check_min(m, 3); }, "Parameter error! Please use min. 3 parameters in line 7 (t.macro).\n"},
      {[](macroengine& m) { macro::check_min(m, 0); }, ""},
      {[](macroengine& m) { macro::check_max(m, 1); }, "Parameter error! Please use max. one parameter in line 7 (t.macro).\n"},
      {[](macroengine& m) { macro::check_max(m, 2); }, "Parameter error! Please use max. 2 parameters in line 7 (t.macro).\n"},
      {[](macroengine& m) { macro::check_exact(m, 0); }, "Parameter error! No parameter needed.\n"},
      {[](macroengine& m) { macro::check_exact(m, 1); }, "Parameter error! Please use one parameter in line 7 (t.macro).\n"},
      {[](macroengine& m) { macro::check_exact(m, 4); }, "Parameter error! Please use 4 parameters in line 7 (t.macro).\n"},
      {[](macroengine& m) { macro::parameter(m, 2); }, "Parameter error! Please at least 2 parameters in line 7 (t.macro).\n"},
      {[](macroengine& m) { macro::error(m, u"x"); }, "Error (x) in line 7 (t.macro)!\n"},
      {[](macroengine& m) { macro::error_syntax(m, u"x"); }, "Syntax error (x) in line 7 (t.macro)!\n"},
      {[](macroengine& m) { macro::error_unknown(m, u"w", u"block"); }, "Syntax error (w) in line 7 (t.macro)! Unknown block!\n"},
  };
  for (const row& r : rows) EXPECT_EQ(captured(r.fn), r.text);
}

TEST(reports, colour_covers_only_the_first_two_words_of_parameter_errors) {
  bool saved = console::ansi;
  console::ansi = true;
  std::string out = captured([](macroengine& m) { macro::check_exact(m, 2); });
  console::ansi = saved;
  EXPECT_EQ(out, "\x1b[91mParameter error!\x1b[0m Please use 2 parameters in line 7 (t.macro).\n");
}

TEST(reports, lasterror_keeps_the_plain_text) {
  plain_console plain;
  macroengine m;
  m.lines.filename = "a.macro";
  m.currentline = 2;
  testing::internal::CaptureStdout();
  macro::error_unknown(m, u"foo", u"function");
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(m.lasterror, u"Syntax error (foo) in line 2 (a.macro)! Unknown function!");
}

TEST(reports, check_count_answers_true_while_no_macro_runs) {
  macroengine m;
  EXPECT_TRUE(macro::check_count(m, 3));
  EXPECT_FALSE(m.stopflag);
}
