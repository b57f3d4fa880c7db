// line_commands.cpp: the `line.` commands on the current cloud.
#include "lines/line_commands.h"

#include "lines/cloud.h"

namespace qv::line {

void register_commands(macroengine& m) { workspace::register_family<cloud>(m); }

}  // namespace qv::line
