// scalar_append.h: the merge of a loaded field into the current one, shared by the scalar and vector families.
#pragma once
#include <cstdint>

#include "images/frame.h"

namespace qv::merge {

// Where two fields go in the field that covers both in global coordinates,
// with the current field's matrix. Index shifts are added to 1-based indices.
struct plan {
  framemath::natvector size;          // of the new field
  framemath::vector offset;           // global position of its index <1,1,1>
  framemath::natvector current_shift; // index in the new field minus index in the current one
  // The source (file) index i maps to round(i*a + b) in the new field: a is the
  // change of frame, b the translation, both in index units.
  framemath::matrix a;
  framemath::vector b;
};

// Computes the covering field and prints "  New header: ", the matrix rows,
// "  Source     : " and "  Destination: ".
plan covering(const frame& current, framemath::natvector currentsize, const frame& source,
              framemath::natvector sourcesize);

// The new index of source index i (1-based).
framemath::natvector place(const plan& p, std::int64_t x, std::int64_t y, std::int64_t z);

// Progress labels of the merge: "  Merging", "  Merging (without zero)".
inline const char16_t* label(bool skipzero) { return skipzero ? u"  Merging (without zero)" : u"  Merging"; }

}  // namespace qv::merge
