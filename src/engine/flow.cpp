// flow.cpp: conditions, conditional blocks, loops, declarations and file blocks.
#include "engine/flow.h"

namespace qv::macro {

bool flow_word(macroengine&, interpframe&, std::int64_t&) { return false; }

}  // namespace qv::macro
