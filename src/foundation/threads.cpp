// threads.cpp: the per-slice worker frame and the slice ring.
#include "foundation/threads.h"

#include <pthread.h>
#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"

namespace qv::threads {

std::atomic<std::uint32_t> slices_started{0}, slices_finished{0}, slice_taken{0}, slices_failed{0};

std::int64_t max_from_text(wideview t) {
  std::int64_t n = text::nat(t);
  return n < 1 ? 1 : n;
}

namespace {

// What a new thread copies before it signals the handshake; lives on the
// frame's stack, which is why the frame waits for `slice_taken`.
struct startcell {
  slicefn fn;
  void* context;
  const std::int64_t* z;
};

void* entry(void* arg) {
  const auto* cell = static_cast<const startcell*>(arg);
  slicefn fn = cell->fn;
  void* context = cell->context;
  std::int64_t z = *cell->z;
  slice_taken.fetch_add(1);
  slice_taken.notify_one();
  // An exception may not leave a thread; a slice that ran out of memory keeps what it held.
  try {
    fn(context, z);
  } catch (...) {
    slices_failed.fetch_add(1);
  }
  slices_finished.fetch_add(1);
  slices_finished.notify_all();
  return nullptr;
}

// The frame's waits sleep on the counter instead of spinning: on a machine
// with as many cores as workers a spinning frame would take a worker's core.
void wait_taken() {
  while (slice_taken.load() == 0) slice_taken.wait(0);
}

void wait_running_below(std::int64_t cap) {
  for (;;) {
    std::uint32_t finished = slices_finished.load();
    if (static_cast<std::int64_t>(slices_started.load()) - finished < cap) return;
    slices_finished.wait(finished);
  }
}

// Hooks of the ring around the plain frame.
struct framehooks {
  void (*before_start)(void* ring, std::int64_t z) = nullptr;
  void (*start_failed)(void* ring, std::int64_t z) = nullptr;
  void (*after_pass)(void* ring) = nullptr;
  void* ring = nullptr;
};

bool start_thread(startcell& cell) {
  pthread_t id;
  if (pthread_create(&id, nullptr, entry, &cell) != 0) return false;
  pthread_detach(id);
  return true;
}

void run_frame(std::int64_t nz, std::int64_t maxthreads, wideview label, slicefn fn, void* context,
               const framehooks& hooks) {
  slices_finished = 0;
  slices_started = 0;
  slices_failed = 0;
  print::line(widetext(u"Working threads: ") + nat::text(nz));
  print::line(widetext(u"Parallel: ") + nat::text(maxthreads));
  progress::set(0.0, label);
  for (std::int64_t z = 1; z <= nz; ++z) {
    if (hooks.before_start) hooks.before_start(hooks.ring, z);
    slices_started.fetch_add(1);
    slice_taken = 0;
    startcell cell{fn, context, &z};
    if (!start_thread(cell)) {
      if (hooks.start_failed) hooks.start_failed(hooks.ring, z);
      slice_taken.fetch_add(1);
      slices_finished.fetch_add(1);
    }
    wait_taken();
    wait_running_below(maxthreads);
    if (hooks.after_pass) hooks.after_pass(hooks.ring);
    progress::set(static_cast<double>(slices_finished.load()) / double(nz), label);
  }
  wait_running_below(1);
  progress::end(label);
}

// ---- slice ring

struct ringrun {
  const ringjob* job;
  slice_set set;
};

void ring_compute(void* context, std::int64_t z) {
  auto* r = static_cast<ringrun*>(context);
  r->job->compute(r->job->context, z, r->set.buffers[z - 1].data());
  r->set.slice_state[z - 1].store(1, std::memory_order_release);
}

void ring_before_start(void* ring, std::int64_t z) {
  auto* r = static_cast<ringrun*>(ring);
  r->set.buffers[z - 1].assign(r->job->slice_bytes, 0);
}

void ring_start_failed(void* ring, std::int64_t z) {
  static_cast<ringrun*>(ring)->set.slice_state[z - 1].store(0);
}

void write_back(ringrun& r, std::int64_t z) {
  r.job->write(r.job->context, z, r.set.buffers[z - 1].data());
  std::vector<unsigned char>().swap(r.set.buffers[z - 1]);
  r.set.slice_state[z - 1].store(0);
}

// A computed slice goes back once neither neighbour is still pending.
void ring_after_pass(void* ring) {
  auto& r = *static_cast<ringrun*>(ring);
  for (std::int64_t z = 1; z <= r.set.count; ++z)
    if (r.set.state(z) == 1 && r.set.state(z - 1) < 2 && r.set.state(z + 1) < 2) write_back(r, z);
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
  ringrun r{&job, {}};
  r.set.count = nz;
  r.set.buffers.resize(static_cast<std::size_t>(nz));
  r.set.slice_state = std::make_unique<std::atomic<std::uint8_t>[]>(static_cast<std::size_t>(nz));
  for (std::int64_t z = 0; z < nz; ++z) r.set.slice_state[z].store(2);
  framehooks hooks{ring_before_start, ring_start_failed, ring_after_pass, &r};
  run_frame(nz, maxthreads, label, ring_compute, &r, hooks);
  for (std::int64_t z = 1; z <= nz; ++z)
    if (r.set.state(z) == 1) write_back(r, z);
}

}  // namespace qv::threads
