// vector_files.h: registrar of the vector field's file commands.
#pragma once
#include "engine/macroengine.h"

namespace qv::vector {
void register_files(macroengine& m);
}
