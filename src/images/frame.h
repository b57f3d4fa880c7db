// frame.h: the frame that ties array indices of a field to global coordinates, and the position rule.
#pragma once
#include <cstdint>
#include "foundation/widetext.h"

namespace qv {

// Small value records of the frame's own arithmetic, kept here until the shared
// numeric records can take their place.
namespace framemath {
struct vector {
  double x = 0, y = 0, z = 0;
  bool operator==(const vector&) const = default;
};
struct natvector {
  std::int64_t x = 0, y = 0, z = 0;
  bool operator==(const natvector&) const = default;
};
struct matrix {   // rows v1, v2, v3; a coordinate is a row vector times the matrix
  double m[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  vector row(int i) const { return {m[3 * i], m[3 * i + 1], m[3 * i + 2]}; }
  bool operator==(const matrix&) const = default;
};
double length(vector v);                // sqrt of the sum of squares
matrix inverse(const matrix& a);        // adjugate over determinant; 0 gives the zero matrix
vector apply(vector v, const matrix& a);   // x*row1 + y*row2 + z*row3
std::int64_t round(double v);          // clamped to 64 bits, then half to even
}  // namespace framemath

// Held by every image, scalar, vector and tensor field. `inverse` and `negated`
// are kept in step with `matrix` and `offset` so that `g2l` never inverts.
struct frame {
  framemath::vector offset;    // global position of index <1,1,1>
  framemath::matrix matrix;    // global step per index along x, y, z (rows)
  framemath::matrix inverse;
  framemath::vector negated;   // -offset
};

void frame_set_offset(frame& f, framemath::vector offset);
void frame_set_matrix(frame& f, const framemath::matrix& m);   // recomputes the inverse
void frame_refresh(frame& f);   // recomputes `inverse` and `negated` from what is held
framemath::vector frame_scale(const frame& f);   // lengths of the three rows
void frame_unflip(frame& f);
void frame_unrotate(frame& f);
bool frame_set_scale(frame& f, framemath::vector s);   // false (and nothing done) for <0,0,0>
framemath::vector l2g(const frame& f, framemath::vector index);
framemath::natvector g2l(const frame& f, framemath::vector global);

// "%(abs & rel)": a position parameter p on an axis of n indices, resolved to an
// index from 1. -1 is the last index, 0 the middle, 0.5 half way, 1 the first;
// a result outside 1..n becomes n/2.
std::int64_t position_index(double p, std::int64_t n);

// Texts of the macro language: "<x,y,z>", "<x,y>", "(<..>;<..>;<..>)".
widetext vector_text(framemath::vector v);
widetext vector2_text(double x, double y);
widetext natvector_text(framemath::natvector v);
widetext nat2_text(std::int64_t x, std::int64_t y);
widetext matrix_text(const framemath::matrix& m);
// Reads up to `count` numbers one after the other from a text such as "<1,2,3>"
// or "1 2 3"; missing ones stay 0. Gives how many were found.
int read_numbers(wideview t, double* out, int count);
framemath::vector read_vector(wideview t);

}  // namespace qv
