// vector_commands.h: registrar of the vector field's frame, size, type and element-wise commands.
#pragma once
#include "engine/macroengine.h"

namespace qv::vector {
void register_commands(macroengine& m);
void register_resample(macroengine& m);   // crop, move, copies, sub-stacks and kernels
}
