// vector_commands.h: registrar of the vector field's frame, size, type and element-wise commands.
#pragma once
#include "orientation/vectorfield.h"
#include "engine/macroengine.h"

namespace qv::vector {
void register_commands(macroengine& m);
void register_resample(macroengine& m);   // crop, move, copies, sub-stacks and kernels

// The resampling steps, also run on the tensor field's two stacks.
// The box of `size` at `first` (indices from 1), with the frame's origin moved there.
vectorfield cut(const vectorfield& s, framemath::natvector first, framemath::natvector size);
// The block between the corners a and b is cut out (left null) and put down shifted by d.
void move_block(vectorfield& f, framemath::natvector a, framemath::natvector b, framemath::natvector d);
// `s` scaled to `size`, each voxel reduced from the block it covers by `method`
// (0 sum, 1 mean, 2 sd, 3 min, 4 Q.25, 5 median, 6 Q.75, 7 max, on each component).
vectorfield scaled(const vectorfield& s, framemath::natvector size, int method);
}
