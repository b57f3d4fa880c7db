// resample.h: the block rule and reductions of scaled copies, shared by the scalar and vector families.
#pragma once
#include <cstdint>
#include <vector>

#include "foundation/widetext.h"
#include "images/frame.h"

namespace qv::resample {

// The reduction of `scalar.copy.method` and `vector.copy.method`: 0 sum, 1 mean,
// 2 sd, 3 min, 4 Q.25, 5 median, 6 Q.75, 7 max. The values may be reordered.
double reduce(std::vector<double>& v, int method);
// The most frequent value; ties go to the smaller value. The values are sorted.
double most_frequent(std::vector<double>& v);

// First and last source index (from 1) that target index i covers when n
// source indices become t; at least one.
inline void block_of(std::int64_t i, std::int64_t n, std::int64_t t, std::int64_t& lo, std::int64_t& hi) {
  lo = (i - 1) * n / t + 1;
  hi = i * n / t < lo ? lo : i * n / t;
}

// An index triple from "<x,y,z>", rounded half to even; missing parts are 0.
framemath::natvector read_index(wideview t);
// A target size of the vector and tensor copies: at least 1 a side, at most 2^32 voxels.
inline bool copy_size_valid(framemath::natvector s) {
  return s.x >= 1 && s.y >= 1 && s.z >= 1 && s.x <= (std::int64_t(1) << 32) && s.y <= (std::int64_t(1) << 32) &&
         double(s.x) * double(s.y) * double(s.z) <= double(std::int64_t(1) << 32);
}

// The block between two corners given in either order: its first index and size.
struct block {
  framemath::natvector first, size;
};
block between(framemath::natvector a, framemath::natvector b);
// The same block clipped to a field of `fieldsize`; the size is zero when nothing is left.
block between_clipped(framemath::natvector a, framemath::natvector b, framemath::natvector fieldsize);

// The frame of a field of `from` voxels scaled to `to`: the steps grow by the
// scale and the origin moves to the middle of the first block, so the field stays where it was.
frame scaled_frame(const frame& f, framemath::natvector from, framemath::natvector to);

}  // namespace qv::resample
