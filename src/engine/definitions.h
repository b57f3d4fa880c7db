// definitions.h: macro-defined procedures, functions and modules, `with`, `include`,
// parallel passes and the parameter searches.
#pragma once
#include <cstdint>
#include "engine/macroengine.h"

namespace qv::macro {
// `with`, `procedure`, `function`, `module`, `sub`, `parallel` (when a pair is set),
// `minimize`, `maximize`: false when `command` is none of them.
bool definition_word(macroengine& m, interpframe& fr, std::int64_t& ln);
// Splices the file named by the rest of the line into the macro text after the current line.
void include_file(macroengine& m, interpframe& fr);
// Runs the macro-defined procedure or function of registry row `row` (1-based).
void call_defined(macroengine& m, std::size_t row);
}  // namespace qv::macro
