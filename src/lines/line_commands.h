// line_commands.h: the registrar of the `line.` family (workspace words and cloud commands).
#pragma once
#include "engine/macroengine.h"

namespace qv::line {
// `line.use`, `line.swap`, `line.name`, `line.dump` and the commands on the current cloud.
void register_commands(macroengine& m);
// The tracker's `vector.stream*` commands, under the vector family's prefix.
void register_stream(macroengine& m);
}  // namespace qv::line
