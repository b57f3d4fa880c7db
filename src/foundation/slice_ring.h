// slice_ring.h: typed in-place filters over the z slices of an array, through the slice ring of `threads`.
#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

#include "foundation/threads.h"

namespace qv::threads {

// What one run holds: the array, the elements of one slice, the slice count,
// and `slice(const T* all, z, T* out)`, which computes slice z (from 0) of the
// new array into `out` from the old array.
template <typename T, typename Slice>
struct ringrecord {
  T* v;
  std::int64_t plane, depth;
  Slice slice;

  static void compute(void* c, std::int64_t z, unsigned char* buffer) {
    auto* r = static_cast<ringrecord*>(c);
    r->slice(r->v, z - 1, reinterpret_cast<T*>(buffer));
  }
  static void write(void* c, std::int64_t z, const unsigned char* buffer) {
    auto* r = static_cast<ringrecord*>(c);
    std::copy_n(reinterpret_cast<const T*>(buffer), r->plane, r->v + (z - 1) * r->plane);
  }
  // The serial routine: slice z goes back once z+1 has been computed, so every
  // slice is computed from old neighbours, as in the ring.
  static void serial(void* c) {
    auto* r = static_cast<ringrecord*>(c);
    const std::size_t plane = static_cast<std::size_t>(r->plane);
    std::vector<T> held[2] = {std::vector<T>(plane), std::vector<T>(plane)};
    for (std::int64_t z = 0; z < r->depth; ++z) {
      r->slice(r->v, z, held[z & 1].data());
      if (z > 0) std::copy(held[(z - 1) & 1].begin(), held[(z - 1) & 1].end(), r->v + (z - 1) * r->plane);
    }
    if (r->depth > 0)
      std::copy(held[(r->depth - 1) & 1].begin(), held[(r->depth - 1) & 1].end(), r->v + (r->depth - 1) * r->plane);
  }
};

// Runs `slice` over every z of `v` in place: through the ring with at most
// `maxthreads` workers, or serially below 2 threads or 2 slices.
template <typename T, typename Slice>
void ring_filter(T* v, std::int64_t plane, std::int64_t depth, std::int64_t maxthreads, wideview label, Slice slice) {
  ringrecord<T, Slice> r{v, plane, depth, slice};
  ringjob job;
  job.slice_bytes = static_cast<std::size_t>(plane) * sizeof(T);
  job.compute = ringrecord<T, Slice>::compute;
  job.write = ringrecord<T, Slice>::write;
  job.serial = ringrecord<T, Slice>::serial;
  job.context = &r;
  per_slice_ring(depth, maxthreads, label, job);
}

}  // namespace qv::threads
