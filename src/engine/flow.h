// flow.h: conditions, conditional blocks and loops; declarations and compound
// operators; file blocks and templates.
#pragma once
#include <cstdint>
#include <functional>
#include "engine/macroengine.h"

namespace qv::macro {
// The flow-control, declaration and file-block words of the dispatch table;
// false when `command` is none of them.
bool flow_word(macroengine& m, interpframe& fr, std::int64_t& ln);
bool declaration_word(macroengine& m, interpframe& fr);
bool file_block_word(macroengine& m, interpframe& fr, std::int64_t& ln);

// Sets the block name of the next deeper level.
void block_name(macroengine& m, wideview name);
// Runs the body behind `opener` once; false when the run is stopping.
bool run_pass(macroengine& m, std::int64_t opener, std::int64_t& last);
// Counts from `a` to `b` (either way), setting `<prefix>.length`, `.count` and the
// relative variable `relative` by the two-parameter formulas of `for`;
// `rest` names the rest variable or is empty. Gives the line of the last pass.
std::int64_t count_passes(macroengine& m, std::int64_t opener, std::int64_t a, std::int64_t b,
                          wideview length, wideview rest, wideview count, wideview relative,
                          const std::function<bool(std::int64_t)>& take = {});

// The arithmetic compound operators (`+=`, `o=`, `#=`, ...); false for an unknown one.
bool numeric_compound(macroengine& m, wideview op, widetext& value);

// The truth of a parameter: its number is 1 or more.
bool truth(wideview p);

// Template commands beyond the plain ones (`@@i`, `@@r`, `@@t`); false for an unknown one.
bool template_extra(macroengine& m, interpframe& fr, widechar c);
// Template lines of `store`/`append` bodies.
void template_line(macroengine& m, interpframe& fr, std::string_view raw);
// Text for the open `output.store` file; false when none is open and the text
// belongs to the console.
bool output_write(macroengine& m, wideview text, bool line_end);
}  // namespace qv::macro
