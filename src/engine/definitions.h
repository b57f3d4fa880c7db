// definitions.h: macro-defined procedures, functions and modules, `with`, `include`,
// parallel passes, the parameter searches and the repair prompt.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include "engine/macroengine.h"

namespace qv::macro {
// `with`, `procedure`, `function`, `module`, `sub`, `parallel` (when a pair is set),
// `minimize`, `maximize`: false when `command` is none of them.
bool definition_word(macroengine& m, interpframe& fr, std::int64_t& ln);
// Runs the macro-defined procedure or function of registry row `row` (1-based).
void call_defined(macroengine& m, std::size_t row);
// Nested calls of macro-defined commands allowed before a recursion is reported.
// A call is refused earlier when three quarters of the process stack (`ulimit -s`)
// are used, since each costs several interpreter frames.
inline constexpr int max_call_nesting = 10000;
// Nested blocks allowed before the run stops with "blocks nested too deep"; the
// same stack rule holds for them.
inline constexpr std::int64_t max_block_depth = 100000;
// The stack of the run: `stack_mark` notes where the outermost run began on this
// thread (once); `stack_left` says whether less than `eighths` eighths of the
// stack limit is used since. Calls stop at six eighths and blocks at seven, so a
// runaway recursion is told as one.
void stack_mark();
bool stack_left(int eighths);

// Splices the file named by the rest of the line in place of the current line.
void include_file(macroengine& m, interpframe& fr);
// The splice itself: the file's lines replace line `at`; false when the file has
// no lines. For the template command `@@i` as well.
bool include_splice(macroengine& m, std::int64_t at, const std::string& filename);

// `parallel` while the pair is not (0, 0).
void parallel_block(macroengine& m, interpframe& fr, std::int64_t& ln);
// `minimize` and `maximize`.
void search_block(macroengine& m, interpframe& fr, bool maximize);

// The pair a process takes: from the options when either is given, else from a job
// array's environment. `env` gives a variable's value or null. A text that is no
// whole number makes the pair invalid, so that `parallel` reports it.
struct parallelpair {
  std::int64_t index = 0, count = 0;
  bool from_environment = false;
};
parallelpair parallel_pair(const widetext* index_option, const widetext* count_option,
                           const std::function<const char*(const char*)>& env);

// The prompt for a statement whose name is unknown; gives the new command word
// (parameters prepared) or an empty text.
widetext repair(macroengine& m, wideview name);
}  // namespace qv::macro
