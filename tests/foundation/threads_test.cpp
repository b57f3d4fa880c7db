// Unit tests of the per-slice worker frame and the slice ring.
#include <gtest/gtest.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <new>
#include <thread>
#include <vector>
#include "foundation/threads.h"

using namespace qv;

namespace {

struct recorder {
  std::mutex lock;
  std::vector<std::int64_t> order;   // z in the order the workers began
  std::atomic<int> running{0}, peak{0};
  void operator()(std::int64_t z) {
    int now = ++running;
    int seen = peak.load();
    while (now > seen && !peak.compare_exchange_weak(seen, now)) {}
    { std::lock_guard<std::mutex> g(lock); order.push_back(z); }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    --running;
  }
};

}  // namespace

TEST(threads, thread_max_text_below_one_or_not_a_number_counts_as_one) {
  struct row { const char16_t* text; std::int64_t expected; };
  const row rows[] = {{u"4", 4}, {u"1", 1}, {u"0", 1}, {u"-3", 1}, {u"abc", 1}, {u"", 1}, {u"64", 64}};
  for (const row& r : rows) EXPECT_EQ(threads::max_from_text(r.text), r.expected) << "text " << int(r.text[0]);
}

TEST(threads, every_slice_runs_once_and_the_counters_end_equal) {
  recorder rec;
  threads::per_slice(9, 3, u"  Test", rec);
  std::vector<std::int64_t> sorted = rec.order;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, (std::vector<std::int64_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(threads::slices_started.load(), 9u);
  EXPECT_EQ(threads::slices_finished.load(), 9u);
  EXPECT_LE(rec.peak.load(), 3);
}

TEST(threads, one_thread_at_a_time_runs_slices_in_ascending_z) {
  recorder rec;
  threads::per_slice(6, 1, u"  Test", rec);
  EXPECT_EQ(rec.order, (std::vector<std::int64_t>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(rec.peak.load(), 1);
}

TEST(threads, a_cap_above_the_slice_count_runs_everything_at_once) {
  recorder rec;
  threads::per_slice(4, 100, u"  Test", rec);
  EXPECT_EQ(rec.order.size(), 4u);
  EXPECT_LE(rec.peak.load(), 4);
}

TEST(threads, no_slices_start_no_thread) {
  recorder rec;
  threads::per_slice(0, 2, u"  Test", rec);
  EXPECT_TRUE(rec.order.empty());
  EXPECT_EQ(threads::slices_started.load(), 0u);
}

namespace {

// An in-place filter along z: each voxel becomes the sum of itself and its two
// z neighbours, so a worker that saw a neighbour's new values would be caught.
struct zfilter {
  int nx = 5, ny = 4, nz = 0;
  std::vector<int> voxels;
  int at(int x, int y, int z) const { return (z < 1 || z > nz) ? 0 : voxels[((z - 1) * ny + y) * nx + x]; }
};

void zfilter_compute(void* c, std::int64_t z, unsigned char* buffer) {
  auto& f = *static_cast<zfilter*>(c);
  int* out = reinterpret_cast<int*>(buffer);
  for (int y = 0; y < f.ny; ++y)
    for (int x = 0; x < f.nx; ++x)
      out[y * f.nx + x] = f.at(x, y, int(z) - 1) + f.at(x, y, int(z)) + f.at(x, y, int(z) + 1);
  std::this_thread::sleep_for(std::chrono::microseconds(300 * (z % 3)));
}

void zfilter_write(void* c, std::int64_t z, const unsigned char* buffer) {
  auto& f = *static_cast<zfilter*>(c);
  std::copy_n(reinterpret_cast<const int*>(buffer), f.nx * f.ny, f.voxels.begin() + (z - 1) * f.nx * f.ny);
}

void zfilter_serial(void* c) {
  auto& f = *static_cast<zfilter*>(c);
  std::vector<int> next(f.voxels.size());
  for (int z = 1; z <= f.nz; ++z)
    zfilter_compute(c, z, reinterpret_cast<unsigned char*>(next.data() + (z - 1) * f.nx * f.ny));
  f.voxels = next;
}

zfilter make_zfilter(int nz) {
  zfilter f;
  f.nz = nz;
  f.voxels.resize(std::size_t(f.nx * f.ny * nz));
  for (std::size_t i = 0; i < f.voxels.size(); ++i) f.voxels[i] = int((i * 7919) % 23);
  return f;
}

}  // namespace

TEST(threads, slice_ring_with_two_and_three_threads_equals_the_serial_filter) {
  for (int threadcount : {2, 3}) {
    zfilter serial = make_zfilter(11), ring = make_zfilter(11);
    zfilter_serial(&serial);
    threads::ringjob job{sizeof(int) * 5 * 4, zfilter_compute, zfilter_write, zfilter_serial, &ring};
    threads::per_slice_ring(ring.nz, threadcount, u"  Test", job);
    EXPECT_EQ(ring.voxels, serial.voxels) << threadcount << " threads";
  }
}

TEST(threads, slice_ring_runs_serially_for_one_thread_or_one_slice) {
  struct row { int nz; std::int64_t threadcount; };
  for (const row& r : {row{1, 4}, row{6, 1}}) {
    zfilter serial = make_zfilter(r.nz), ring = make_zfilter(r.nz);
    zfilter_serial(&serial);
    threads::slices_started = 77;
    threads::ringjob job{sizeof(int) * 5 * 4, zfilter_compute, zfilter_write, zfilter_serial, &ring};
    threads::per_slice_ring(ring.nz, r.threadcount, u"  Test", job);
    EXPECT_EQ(ring.voxels, serial.voxels);
    EXPECT_EQ(threads::slices_started.load(), 77u) << "the serial path starts no thread";
  }
}

TEST(threads, a_slice_that_throws_is_counted_and_the_others_run) {
  std::atomic<int> ran{0};
  auto fn = [&](std::int64_t z) {
    if (z == 2) throw std::bad_alloc();
    ++ran;
  };
  threads::per_slice(4, 2, u"  Test", fn);
  EXPECT_EQ(ran.load(), 3);
  EXPECT_EQ(threads::slices_failed.load(), 1u);
  EXPECT_EQ(threads::slices_finished.load(), 4u);
}
