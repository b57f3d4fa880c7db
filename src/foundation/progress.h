// progress.h: the self-rewriting progress line, time spans and their text.
#pragma once
#include <cstdint>
#include "foundation/widetext.h"

namespace qv {

namespace time {
// Wall-clock seconds; replaceable so that tests can move time by hand.
using clockfn = double (*)();
extern clockfn now;
double system_now();
extern double program_start;   // taken at start-up

struct span {
  std::int64_t days = 0, hours = 0, minutes = 0, seconds = 0, hundredths = 0;
};
span between(double from, double to);   // whole seconds, split into fields
widetext text(const span& s);            // "1:5 min", "2 h", "0 sec"
span elapsed();                          // since program start
span since_progress();                   // since the running progress began
}  // namespace time

namespace progress {
// Called after each progress line when set.
using hookfn = void (*)();
extern hookfn hook;

void spin(wideview title);                   // waiting form, no total known
void set(double relative, wideview title);   // percentage form, `relative` 0 to 1
void ready(wideview title);                  // ends the spinner
void end(wideview title);                    // ends the percentage form
void end_running();                          // `end` of the running title, if any
const widetext& title();                     // empty while none runs
double relative();
void reset();                                // forget all state (tests)
}  // namespace progress
}  // namespace qv
