// threads.cpp: the per-slice worker frame and the slice ring.
#include "foundation/threads.h"

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"

namespace qv::threads {

std::atomic<std::uint32_t> slices_started{0}, slices_finished{0}, slices_failed{0};

std::int64_t max_from_text(wideview t) {
  std::int64_t n = text::nat(t);
  return n < 1 ? 1 : n;
}

namespace {

// One run of the frame. The workers, at most `maxthreads` of them, claim the
// slices in ascending z from one counter, so a slice starts as soon as a worker
// is free, without a handshake with the frame: starts stay in ascending order
// and capped, and the counters keep their meaning.
struct runstate {
  std::int64_t nz;
  slicefn fn;
  void* context;
  std::atomic<std::int64_t> next{0};
  // The frame sleeps until the last slice ends, waking now and then for the
  // progress line: a wake per slice would take a worker's core each time.
  std::mutex donelock;
  std::condition_variable done;
};

void* worker(void* arg) {
  auto* r = static_cast<runstate*>(arg);
  for (;;) {
    const std::int64_t z = r->next.fetch_add(1) + 1;
    if (z > r->nz) break;
    slices_started.fetch_add(1);
    // An exception may not leave a thread; a slice that ran out of memory keeps what it held.
    try {
      r->fn(r->context, z);
    } catch (...) {
      slices_failed.fetch_add(1);
    }
    if (std::int64_t(slices_finished.fetch_add(1)) + 1 >= r->nz) {
      std::lock_guard<std::mutex> lock(r->donelock);
      r->done.notify_all();
    }
  }
  return nullptr;
}

// Hooks of the ring around the plain frame.
struct framehooks {
  void (*start_failed)(void* ring, std::int64_t z) = nullptr;
  void (*after_pass)(void* ring) = nullptr;
  void* ring = nullptr;
};

void run_frame(std::int64_t nz, std::int64_t maxthreads, wideview label, slicefn fn, void* context,
               const framehooks& hooks) {
  slices_finished = 0;
  slices_started = 0;
  slices_failed = 0;
  print::line(widetext(u"Working threads: ") + nat::text(nz));
  print::line(widetext(u"Parallel: ") + nat::text(maxthreads));
  progress::set(0.0, label);
  runstate r;
  r.nz = nz, r.fn = fn, r.context = context;
  std::vector<pthread_t> ids;
  for (std::int64_t i = 0; i < std::min(maxthreads, nz); ++i) {
    pthread_t id;
    if (pthread_create(&id, nullptr, worker, &r) != 0) break;
    ids.push_back(id);
  }
  if (ids.empty())   // no worker at all: every slice is skipped
    for (std::int64_t z = 1; z <= nz; ++z) {
      if (hooks.start_failed) hooks.start_failed(hooks.ring, z);
      slices_started.fetch_add(1);
      slices_finished.fetch_add(1);
    }
  // Every tenth of a second, and once all have ended: write back what may go
  // back (the workers do so themselves as they go) and show the progress.
  for (;;) {
    const std::uint32_t finished = slices_finished.load();
    if (hooks.after_pass) hooks.after_pass(hooks.ring);
    progress::set(nz > 0 ? static_cast<double>(finished) / double(nz) : 1.0, label);
    if (static_cast<std::int64_t>(finished) >= nz) break;
    std::unique_lock<std::mutex> lock(r.donelock);
    r.done.wait_for(lock, std::chrono::milliseconds(100),
                    [&] { return static_cast<std::int64_t>(slices_finished.load()) >= nz; });
  }
  for (pthread_t id : ids) pthread_join(id, nullptr);
  progress::end(label);
}

// ---- slice ring

struct ringrun {
  const ringjob* job = nullptr;
  slice_set set;
  // Buffers that went back to the field, for the next slices: a fresh block of
  // a slice's size would cost page faults each time.
  std::mutex sparelock;
  std::vector<std::unique_ptr<unsigned char[]>> spare;
};

void write_back(ringrun& r, std::int64_t z);

// Slice z goes back if it is computed and neither neighbour is still pending;
// the state 3 (being written) makes sure that only one thread writes it.
void try_write_back(ringrun& r, std::int64_t z) {
  if (z < 1 || z > r.set.count || r.set.state(z - 1) == 2 || r.set.state(z + 1) == 2) return;
  std::uint8_t computed = 1;
  if (r.set.slice_state[z - 1].compare_exchange_strong(computed, 3, std::memory_order_acq_rel)) write_back(r, z);
}

// The worker of slice z takes a buffer (not cleared: the slice routine writes all
// of it), computes the slice, and writes back what its slice has made ready: the
// slice itself and its two neighbours, so no write-back waits for the frame.
void ring_compute(void* context, std::int64_t z) {
  auto* r = static_cast<ringrun*>(context);
  {
    std::lock_guard<std::mutex> lock(r->sparelock);
    if (!r->spare.empty()) {
      r->set.buffers[z - 1] = std::move(r->spare.back());
      r->spare.pop_back();
    }
  }
  if (!r->set.buffers[z - 1]) r->set.buffers[z - 1].reset(new unsigned char[r->job->slice_bytes]);
  r->job->compute(r->job->context, z, r->set.buffers[z - 1].get());
  r->set.slice_state[z - 1].store(1, std::memory_order_release);
  for (std::int64_t c = z - 1; c <= z + 1; ++c) try_write_back(*r, c);
}

void ring_start_failed(void* ring, std::int64_t z) {
  static_cast<ringrun*>(ring)->set.slice_state[z - 1].store(0);
}

void write_back(ringrun& r, std::int64_t z) {
  r.job->write(r.job->context, z, r.set.buffers[z - 1].get());
  {
    std::lock_guard<std::mutex> lock(r.sparelock);
    r.spare.push_back(std::move(r.set.buffers[z - 1]));
  }
  r.set.slice_state[z - 1].store(0, std::memory_order_release);
}

// The frame's walk after each finished slice: whatever the workers left.
void ring_after_pass(void* ring) {
  auto& r = *static_cast<ringrun*>(ring);
  for (std::int64_t z = 1; z <= r.set.count; ++z)
    if (r.set.state(z) == 1) try_write_back(r, z);
}

}  // namespace

void per_slice(std::int64_t nz, std::int64_t maxthreads, wideview label, slicefn fn, void* context) {
  run_frame(nz, maxthreads < 1 ? 1 : maxthreads, label, fn, context, framehooks{});
}

void per_slice_ring(std::int64_t nz, std::int64_t maxthreads, wideview label, const ringjob& job) {
  if (nz < 2 || maxthreads < 2) {
    job.serial(job.context);
    return;
  }
  ringrun r;
  r.job = &job;
  r.set.count = nz;
  r.set.buffers.resize(static_cast<std::size_t>(nz));
  r.set.slice_state = std::make_unique<std::atomic<std::uint8_t>[]>(static_cast<std::size_t>(nz));
  for (std::int64_t z = 0; z < nz; ++z) r.set.slice_state[z].store(2);
  framehooks hooks{ring_start_failed, ring_after_pass, &r};
  run_frame(nz, maxthreads, label, ring_compute, &r, hooks);
  for (std::int64_t z = 1; z <= nz; ++z)
    if (r.set.state(z) == 1) write_back(r, z);   // all computed by now
}

}  // namespace qv::threads
