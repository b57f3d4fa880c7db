// basics.h: the first commands: printing, tracing and stopping.
#pragma once
#include "engine/macroengine.h"

namespace qv::library {
void register_basics(macroengine& m);
}
