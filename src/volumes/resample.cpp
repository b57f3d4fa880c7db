// resample.cpp: reductions of blocks and frames of scaled copies.
#include "volumes/resample.h"

#include <algorithm>
#include <cstdlib>

#include "foundation/stats.h"

namespace qv::resample {

double reduce(std::vector<double>& v, int method) {
  switch (method) {
    case 0: return stats::sum(v);
    case 2: return stats::sd(v);
    case 3: return stats::min(v);
    case 7: return stats::max(v);
    case 4: case 5: case 6: {
      std::sort(v.begin(), v.end());
      const stats::quartiles q = stats::quartiles_of(v);
      return method == 4 ? q.q25 : method == 5 ? q.median : q.q75;
    }
    default: return stats::mean(v);
  }
}

double most_frequent(std::vector<double>& v) {
  std::sort(v.begin(), v.end());
  double best = v.empty() ? 0 : v[0];
  std::size_t bestrun = 0;
  for (std::size_t i = 0; i < v.size();) {
    std::size_t j = i;
    while (j < v.size() && v[j] == v[i]) ++j;
    if (j - i > bestrun) bestrun = j - i, best = v[i];
    i = j;
  }
  return best;
}

framemath::natvector read_index(wideview t) {
  double v[3] = {0, 0, 0};
  read_numbers(t, v, 3);
  return {framemath::round(v[0]), framemath::round(v[1]), framemath::round(v[2])};
}

block between(framemath::natvector a, framemath::natvector b) {
  return {{std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)},
          {std::abs(b.x - a.x) + 1, std::abs(b.y - a.y) + 1, std::abs(b.z - a.z) + 1}};
}

block between_clipped(framemath::natvector a, framemath::natvector b, framemath::natvector n) {
  const framemath::natvector first{std::max<std::int64_t>(1, std::min(a.x, b.x)), std::max<std::int64_t>(1, std::min(a.y, b.y)),
                                   std::max<std::int64_t>(1, std::min(a.z, b.z))};
  const framemath::natvector last{std::min(n.x, std::max(a.x, b.x)), std::min(n.y, std::max(a.y, b.y)),
                                  std::min(n.z, std::max(a.z, b.z))};
  block r{first, {last.x - first.x + 1, last.y - first.y + 1, last.z - first.z + 1}};
  if (r.size.x < 1 || r.size.y < 1 || r.size.z < 1) r.size = {0, 0, 0};
  return r;
}

frame scaled_frame(const frame& f, framemath::natvector from, framemath::natvector to) {
  const double s[3] = {double(from.x) / double(to.x), double(from.y) / double(to.y), double(from.z) / double(to.z)};
  framemath::matrix mx = f.matrix;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) mx.m[3 * r + c] *= s[r];
  const framemath::vector d = framemath::apply({s[0] / 2 - 0.5, s[1] / 2 - 0.5, s[2] / 2 - 0.5}, f.matrix);
  frame out = f;
  frame_set_offset(out, {f.offset.x + d.x, f.offset.y + d.y, f.offset.z + d.z});
  frame_set_matrix(out, mx);
  return out;
}

}  // namespace qv::resample
