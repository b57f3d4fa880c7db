// families.h: registration of every command family and the reference macro.
#pragma once
#include <string>
#include "engine/macroengine.h"

namespace qv::app {
void register_all(macroengine& m);   // in the fixed order of the reference macro
bool write_reference(const macroengine& m, const std::string& path, wideview version);
}  // namespace qv::app
