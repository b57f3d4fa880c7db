// basics.h: the commands that need no workspace: output, running, numbers, random values and time.
#pragma once
#include "engine/macroengine.h"

namespace qv::library {
void register_basics(macroengine& m);   // printing, waiting, tracing and stopping
void register_run(macroengine& m);      // `run` and `execute`
void register_random(macroengine& m);   // `min`, `max`, `minmax` and the random values
void register_time(macroengine& m);     // timer and clock
void register_number_settings(macroengine& m);   // the `math.*` switches of the number format
void register_calculator(macroengine& m);   // `stack` and its words, the `math.*` norms and constants
// Parameters 1..n joined without separator.
widetext joined_parameters(const macroengine& m);
}  // namespace qv::library
