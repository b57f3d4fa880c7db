// threads.h: the worker frame that runs a command one thread per z slice, and the slice ring of in-place filters.
#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>
#include "foundation/widetext.h"

namespace qv::threads {

// Process-wide counters of the running frame; cleared by the frame before a run.
// Workers increment `slices_started` as they take a slice (in ascending z) and
// `slices_finished` as their last act on it.
extern std::atomic<std::uint32_t> slices_started, slices_finished;
// Slices whose routine ended by an exception (out of memory); the handler may report them.
extern std::atomic<std::uint32_t> slices_failed;

// The cap on threads running at once, from the text of `thread.max`: anything
// that is no number or below 1 gives 1. There is no upper clamp.
std::int64_t max_from_text(wideview t);

// A slice routine: gets its context and a z from 1 to nz, writes only its own slice.
using slicefn = void (*)(void* context, std::int64_t z);

// The frame: prints "Working threads: " nz and "Parallel: " maxthreads, drives
// the progress line under `label`, runs the slices in ascending z on at most
// `maxthreads` workers at once, and returns when all have ended. If no worker
// can be started, every slice is skipped silently.
void per_slice(std::int64_t nz, std::int64_t maxthreads, wideview label, slicefn fn, void* context);

template <typename F>
void per_slice(std::int64_t nz, std::int64_t maxthreads, wideview label, F& f) {
  per_slice(nz, maxthreads, label,
            [](void* c, std::int64_t z) { (*static_cast<F*>(c))(z); }, &f);
}

// The slice ring of the filters that overwrite the field they read. Slice z is
// computed into its own buffer; the buffer is written back only once both
// neighbours have been computed, so no worker reads a neighbour's new values.
// States: 2 pending, 1 computed, 3 being written, 0 written (or never started).
struct slice_set {
  std::vector<std::unique_ptr<unsigned char[]>> buffers;   // index z - 1
  std::unique_ptr<std::atomic<std::uint8_t>[]> slice_state;
  std::int64_t count = 0;
  std::uint8_t state(std::int64_t z) const {   // outside 1..count counts as written
    return (z < 1 || z > count) ? 0 : slice_state[z - 1].load(std::memory_order_acquire);
  }
};

struct ringjob {
  std::size_t slice_bytes = 0;
  // Computes slice z of the new field into `buffer` (slice_bytes long).
  void (*compute)(void* context, std::int64_t z, unsigned char* buffer) = nullptr;
  // Copies a finished buffer into slice z of the field.
  void (*write)(void* context, std::int64_t z, const unsigned char* buffer) = nullptr;
  // The whole filter on one thread, for fewer than 2 slices or fewer than 2 threads.
  void (*serial)(void* context) = nullptr;
  void* context = nullptr;
};

// Runs an in-place filter through the ring (or its serial routine, with no
// thread, no "Parallel: " line and no progress).
void per_slice_ring(std::int64_t nz, std::int64_t maxthreads, wideview label, const ringjob& job);

}  // namespace qv::threads
