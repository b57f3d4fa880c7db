// tensor_commands.h: registrars of the tensor field's commands and of the connection scans.
#pragma once
#include "engine/macroengine.h"

namespace qv::tensor {
void register_commands(macroengine& m);   // size, type, frame, mask, mul, flips, make forms
void register_measures(macroengine& m);   // `tensor.measure.*`, eigenvalues, Westin, eigenvectors
void register_files(macroengine& m);      // load, save, append, info
void register_resample(macroengine& m);   // move, copies, resize, sub-stacks
}  // namespace qv::tensor

namespace qv::scalar {
void register_connection(macroengine& m);   // `scalar.connection*`
}
