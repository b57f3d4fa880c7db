// dumps.h: the `dump.` commands that print the engine's tables, and the undo lists.
#pragma once
#include <cstddef>
#include "engine/macroengine.h"

namespace qv::macro {
void register_dumps(macroengine& m);
// The undo and redo lists: counts and 1-based entries (empty text outside).
std::size_t undo_count(const macroengine& m);
std::size_t redo_count(const macroengine& m);
widetext undo_entry(const macroengine& m, std::size_t i);
widetext redo_entry(const macroengine& m, std::size_t i);
}  // namespace qv::macro
