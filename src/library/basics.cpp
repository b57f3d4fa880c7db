// basics.cpp: `print` and its kin, `nop`, `stop` and the trace switches.
#include "library/basics.h"

#include "engine/flow.h"
#include "engine/langwords.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::library {
namespace {

widetext joined(const macroengine& m) {
  widetext t;
  for (std::size_t i = 1; i <= macro::parameter_count(m); ++i) t += macro::parameter_optional(m, i);
  return t;
}

void debug(macroengine& m) { m.trace = true; }
void debug_no(macroengine& m) { m.trace = false; }
void nop(macroengine&) {}

void stop(macroengine& m) {
  print::line(u"In line " + nat::text(macro::source_line(m)) + u" (" + text::from_utf8(macro::source_file(m)) +
              u").");
  print::line(u"Script stop.");
  m.stopflag = true;
}

void write(macroengine& m) {
  if (!macro::parameter_count(m)) return;
  widetext t = joined(m);
  if (!macro::output_write(m, t, false)) print::part(t);
}

void writeln(macroengine& m) {
  widetext t = joined(m);
  if (!macro::output_write(m, t, true)) print::line(t);
}

constexpr cmdrow rows[] = {
    // name       kind               handler   usage                  comment
    {"debug",    cmdkind::plain,     debug,    "debug",               "print every statement before it runs"},
    {"debug.no", cmdkind::plain,     debug_no, "debug.no",            "no statement trace"},
    {"nop",      cmdkind::plain,     nop,      "nop",                 "does nothing"},
    {"stop",     cmdkind::procedure, stop,     "stop",                "ends the macro here"},
    {"write",    cmdkind::procedure, write,    "write text ...",      "prints the parameters without line end"},
    {"writeln",  cmdkind::procedure, writeln,  "writeln text ...",    "prints the parameters and a line end"},
    {"print",    cmdkind::procedure, writeln,  "print text ...",      "prints the parameters and a line end"},
    {"echo",     cmdkind::procedure, writeln,  "echo text ...",       "prints the parameters and a line end"},
};

}  // namespace

void register_basics(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::library
