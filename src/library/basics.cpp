// basics.cpp: `print` and its kin, the colour prints, `progress`, `wait`, `nop`, `stop` and the trace switches.
#include "library/basics.h"

#include <chrono>
#include <cstdint>
#include <thread>

#include "engine/flow.h"
#include "engine/langwords.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"

namespace qv::library {

widetext joined_parameters(const macroengine& m) {
  widetext t;
  for (std::size_t i = 1; i <= macro::parameter_count(m); ++i) t += macro::parameter_optional(m, i);
  return t;
}

namespace {

void debug(macroengine& m) { m.trace = true; }
void debug_no(macroengine& m) { m.trace = false; }
void nop(macroengine&) {}

void stop(macroengine& m) {
  print::line(u"In line " + nat::text(macro::source_line(m)) + u" (" + text::from_utf8(macro::source_file(m)) +
              u").");
  print::line(u"Script stop.");
  m.stopflag = true;
}

// The product is clamped to the 64-bit range and then taken as a 32-bit count;
// a count that comes out negative waits not at all.
void wait(macroengine& m) {
  if (!macro::parameter_count(m)) return;
  std::int64_t ms = real::round_nat(text::real(macro::parameter_optional(m, 1)) * 1000.0);
  std::int32_t count = static_cast<std::int32_t>(static_cast<std::uint32_t>(ms));
  if (count > 0) std::this_thread::sleep_for(std::chrono::milliseconds(count));
}

void write(macroengine& m) {
  if (!macro::parameter_count(m)) return;
  widetext t = joined_parameters(m);
  if (!macro::output_write(m, t, false)) print::part(t);
}

void write_tab(macroengine& m) {
  if (!macro::output_write(m, u"\t", false)) print::part(u"\t");
}

void writeln(macroengine& m) {
  widetext t = joined_parameters(m);
  if (!macro::output_write(m, t, true)) print::line(t);
}

// Colour prints: an output file gets the plain text.
template <const wideview* colour>
void print_in(macroengine& m) {
  widetext t = joined_parameters(m);
  if (!macro::output_write(m, t, true)) print::line_coloured(*colour, t);
}

void progress_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n == 0) {
    progress::end_running();
    return;
  }
  if (n != 2) {
    macro::check_exact(m, 2);
    return;
  }
  progress::set(text::real(macro::parameter_optional(m, 2)), macro::parameter_optional(m, 1));
}

constexpr cmdrow rows[] = {
    // name           kind                handler                    usage                         comment
    {"debug",        cmdkind::plain,     debug,                     "debug",                      "print every statement before it runs"},
    {"debug.no",     cmdkind::plain,     debug_no,                  "debug.no",                   "no statement trace"},
    {"wait",         cmdkind::procedure, wait,                      "wait 0.5",                   "pauses for seconds"},
    {"sleep",        cmdkind::procedure, wait,                      "sleep 0.5",                  "pauses for seconds"},
    {"delay",        cmdkind::procedure, wait,                      "delay 0.5",                  "pauses for seconds"},
    {"nop",          cmdkind::plain,     nop,                       "nop",                        "does nothing"},
    {"stop",         cmdkind::procedure, stop,                      "stop",                       "ends the macro here"},
    {"write",        cmdkind::procedure, write,                     "write text ...",             "prints the parameters without line end"},
    {"write.tab",    cmdkind::procedure, write_tab,                 "write.tab",                  "prints a tab without line end"},
    {"writeln",      cmdkind::procedure, writeln,                   "writeln text ...",           "prints the parameters and a line end"},
    {"print",        cmdkind::procedure, writeln,                   "print text ...",             "prints the parameters and a line end"},
    {"echo",         cmdkind::procedure, writeln,                   "echo text ...",              "prints the parameters and a line end"},
    {"print.red",    cmdkind::procedure, print_in<&colour::red>,    "print.red text ...",         "prints a line in red"},
    {"print.green",  cmdkind::procedure, print_in<&colour::green>,  "print.green text ...",       "prints a line in green"},
    {"print.blue",   cmdkind::procedure, print_in<&colour::blue>,   "print.blue text ...",        "prints a line in blue"},
    {"print.yellow", cmdkind::procedure, print_in<&colour::yellow>, "print.yellow text ...",      "prints a line in yellow"},
    {"print.cyan",   cmdkind::procedure, print_in<&colour::cyan>,   "print.cyan text ...",        "prints a line in cyan"},
    {"print.purple", cmdkind::procedure, print_in<&colour::purple>, "print.purple text ...",      "prints a line in purple"},
    {"progress",     cmdkind::procedure, progress_cmd,              "progress \"Working\" 0.5",   "progress line; no parameter ends it"},
};

}  // namespace

void register_basics(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::library
