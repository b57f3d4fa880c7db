// dynarray_bench.cpp: appends to growing arrays, the store's most frequent path.
#include <chrono>
#include <cstdio>

#include "foundation/dynarray.h"

using namespace qv;

namespace {
template <typename T> void run(const char* name, std::int64_t count) {
  auto start = std::chrono::steady_clock::now();
  dynarray<T> a;
  dyn::dynamic_new(a);
  for (std::int64_t i = 0; i < count; ++i) dyn::append(a, T(i));
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("%-8s %lld appends, 1 thread: %.3f s, %.1f million appends/s, capacity %lld (%.1f%% spare)\n", name,
              static_cast<long long>(count), seconds, double(count) / seconds / 1e6,
              static_cast<long long>(a.capacity), 100.0 * double(a.spare) / double(a.capacity));
  volatile T sink = dyn::get(a, count / 2);
  (void)sink;
}
}  // namespace

int main() {
  run<std::int64_t>("nat", 100000000);
  run<double>("real", 100000000);
  run<std::uint8_t>("byte", 100000000);
  return 0;
}
