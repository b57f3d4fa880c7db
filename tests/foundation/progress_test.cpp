// Unit tests of time texts and the progress line, on a clock moved by hand.
#include <gtest/gtest.h>

#include "foundation/console.h"
#include "foundation/progress.h"

using namespace qv;

namespace {
double fake = 0;
double fake_now() { return fake; }

// Runs the progress calls on a fake clock with the program started at 1000 s.
struct fakeclock {
  time::clockfn saved = time::now;
  double saved_start = time::program_start;
  bool saved_console = console::consoleon;
  fakeclock() {
    time::now = fake_now;
    time::program_start = 1000;
    fake = 1000;
    console::consoleon = true;
    progress::reset();
  }
  ~fakeclock() {
    time::now = saved;
    time::program_start = saved_start;
    console::consoleon = saved_console;
    progress::reset();
  }
};

std::string captured(void (*f)()) {
  testing::internal::CaptureStdout();
  f();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}
}  // namespace

TEST(progress, time_text_joins_fields_from_the_first_to_the_last_set_one) {
  const struct {
    time::span in;
    const char16_t* want;
  } rows[] = {{{0, 0, 1, 5, 0}, u"1:5 min"},  {{0, 2, 0, 0, 0}, u"2 h"},     {{0, 0, 0, 0, 0}, u"0 sec"},
              {{1, 0, 0, 5, 0}, u"1:0:0:5 d"}, {{0, 0, 0, 42, 0}, u"42 sec"}, {{0, 3, 0, 7, 0}, u"3:0:7 h"}};
  for (const auto& r : rows) EXPECT_EQ(time::text(r.in), r.want) << text::utf8(r.want);
}

TEST(progress, spans_split_whole_seconds_into_fields) {
  time::span s = time::between(0, 86400 + 3 * 3600 + 4 * 60 + 5.9);
  EXPECT_EQ(s.days, 1);
  EXPECT_EQ(s.hours, 3);
  EXPECT_EQ(s.minutes, 4);
  EXPECT_EQ(s.seconds, 5);
  EXPECT_EQ(time::text(time::between(10, 10.7)), u"0 sec");
}

TEST(progress, spinner_prints_once_a_second_with_turning_frames) {
  fakeclock clock;
  std::string out = captured([] {
    fake = 1065.2;
    progress::spin(u"Load");
    fake = 1065.7;   // same second: nothing
    progress::spin(u"Load");
    for (int i = 0; i < 5; ++i) {
      fake += 1;
      progress::spin(u"Load");
    }
  });
  EXPECT_EQ(out,
            "Please wait. Load (1:5 min). -\r"
            "Please wait. Load (1 sec of 1:6 min). \\\r"
            "Please wait. Load (2 sec of 1:7 min). |\r"
            "Please wait. Load (3 sec of 1:8 min). /\r"
            "Please wait. Load (4 sec of 1:9 min). -\r"
            "Please wait. Load (5 sec of 1:10 min). \\\r");
}

TEST(progress, percentage_lines_clamp_and_end_with_a_line_end) {
  fakeclock clock;
  std::string out = captured([] {
    progress::set(0.3, u"Sum");
    fake += 1;
    progress::set(1.7, u"Sum");
    fake += 1;
    progress::set(-1, u"Sum");
    progress::end(u"Sum");
  });
  EXPECT_EQ(out,
            "Sum. 0 % ready (0 sec of 0 sec).\r"
            "Sum. 100.00 % ready (1 sec of 1 sec).\r"
            "Sum. 0 % ready (2 sec of 2 sec).     \r"
            "Sum. 100 % ready (2 sec of 2 sec).\n");
  EXPECT_TRUE(progress::title().empty());
}

TEST(progress, a_shorter_line_blanks_out_the_longer_one_before_it) {
  fakeclock clock;
  std::string out = captured([] {
    progress::spin(u"A long title");
    progress::ready(u"A");
  });
  EXPECT_EQ(out,
            "Please wait. A long title (0 sec). -\r"
            "Please wait ready. A (0 sec of 0 sec).\n");
}

TEST(progress, lines_are_cut_to_80_characters) {
  fakeclock clock;
  std::string out = captured([] { progress::set(0.5, widetext(100, u'x')); });
  ASSERT_FALSE(out.empty());
  EXPECT_EQ(out.size(), 81u);
  EXPECT_EQ(out.back(), '\r');
}

TEST(progress, nothing_reaches_the_console_while_it_is_off) {
  fakeclock clock;
  console::consoleon = false;
  std::string out = captured([] { progress::spin(u"Quiet"); });
  console::consoleon = true;
  EXPECT_EQ(out, "");
}
