// vector_scalar.h: operations between vector and scalar fields, and the registrars of their commands.
#pragma once
#include <cstdint>
#include <vector>

#include "engine/macroengine.h"
#include "images/imagefield.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

namespace qv::vector {

// One value (low = high) or an inclusive range of mask values.
struct maskrange {
  std::int64_t low = 0, high = 0;
};
// Reads "3", "<3>", the range "<1..10>" or the pair "<1,10>", as the other mask
// commands read theirs: a second value of 0 means the single first value, a
// range is ordered, and what is no number reads as 0.
maskrange mask_range_parse(wideview text);
// Nulls every vector whose mask voxel is in none of the ranges; false when the sizes differ.
bool mask_field(vectorfield& v, const scalarfield& mask, const std::vector<maskrange>& keep);
// For each (x, y) the vector at the z of the largest scalar value (the first such z)
// becomes an rgb pixel of `out`, rounded into 0..255; false when the sizes differ.
bool fuse_field(const vectorfield& v, const scalarfield& best, imagefield& out);
// Angle between two vectors in degrees, 0 when either is null.
double angle_degrees(vector a, vector b);

// `vector.mask`, `vector.get.*`, `vector.fuse`, `vector.make.scalar`.
void register_scalar_links(macroengine& m);

}  // namespace qv::vector

namespace qv::scalar {
// `scalar.make.vector` and `scalar.make.tensor`.
void register_make_fields(macroengine& m);
}
