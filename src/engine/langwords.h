// langwords.h: the words of the language that the interpreter handles itself.
#pragma once
#include <cstdint>
#include "engine/macroengine.h"

namespace qv::macro {
// Runs a language word of the dispatch table (`ignore`, `process`, `execute`, ...);
// false when `command` is none of them. May move the line counter `ln`.
bool language_word(macroengine& m, interpframe& fr, std::int64_t& ln);
// True for the words that open a nested scan inside a skipped block.
bool opens_scan(macroengine& m, wideview word);
// `then statement`, `else statement`, `of word statement`: rewrites `command` and the line.
void one_line_form(macroengine& m, interpframe& fr);
// The compound operators of `target op values`; leaves the result in `value`.
void compound(macroengine& m);
void call_row(macroengine& m, std::size_t row, wideview name, wideview kind);
[[noreturn]] void halt_action(macroengine& m);
void break_action(macroengine& m);
}  // namespace qv::macro
