// definitions.cpp: macro-defined commands, `with`, `include`, parallel passes and searches.
#include "engine/definitions.h"

namespace qv::macro {

bool definition_word(macroengine&, interpframe&, std::int64_t&) { return false; }

void include_file(macroengine&, interpframe&) {}

void call_defined(macroengine& m, std::size_t row) {
  error_unknown(m, m.registry[row - 1].name.str(), u"procedure");
}

}  // namespace qv::macro
