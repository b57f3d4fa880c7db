// line_files.h: the registrar of `line.load`, `line.save` and the format-named save commands.
#pragma once
#include "engine/macroengine.h"

namespace qv::line {
void register_files(macroengine& m);
}  // namespace qv::line
