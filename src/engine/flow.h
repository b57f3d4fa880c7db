// flow.h: conditions, conditional blocks and loops; variables' declaration words; file blocks.
#pragma once
#include <cstdint>
#include "engine/macroengine.h"

namespace qv::macro {
// The flow-control and declaration words of the dispatch table; false when
// `command` is none of them.
bool flow_word(macroengine& m, interpframe& fr, std::int64_t& ln);
}  // namespace qv::macro
