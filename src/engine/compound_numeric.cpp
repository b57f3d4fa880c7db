// compound_numeric.cpp: the arithmetic compound operators on four-component values.
#include "engine/flow.h"

namespace qv::macro {

bool numeric_compound(macroengine&, wideview, widetext&) { return false; }

bool template_extra(macroengine&, interpframe&, widechar) { return false; }

}  // namespace qv::macro
