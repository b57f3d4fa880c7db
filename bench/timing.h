// timing.h: the best-of-a-few timing that the benchmark programs share.
#pragma once
#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/resource.h>

namespace qv::bench {

inline double seconds_of(auto fn, int repeats = 3) {   // the best of a few runs
  double best = 1e30;
  for (int i = 0; i < repeats; ++i) {
    auto t0 = std::chrono::steady_clock::now();
    fn();
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
  }
  return best;
}

inline double shell_seconds(const std::string& cmd) {
  return seconds_of([&] {
    if (std::system(cmd.c_str()) != 0) std::fprintf(stderr, "failed: %s\n", cmd.c_str());
  });
}

// Processor time instead of wall time, for a machine shared with other work:
// this process's own, and that of the commands it runs.
inline double cpu_seconds_of(auto fn, int repeats = 3) {
  double best = 1e30;
  for (int i = 0; i < repeats; ++i) {
    const std::clock_t t0 = std::clock();
    fn();
    best = std::min(best, double(std::clock() - t0) / CLOCKS_PER_SEC);
  }
  return best;
}

inline double children_seconds() {
  rusage r{};
  getrusage(RUSAGE_CHILDREN, &r);
  return double(r.ru_utime.tv_sec + r.ru_stime.tv_sec) + 1e-6 * double(r.ru_utime.tv_usec + r.ru_stime.tv_usec);
}

inline double shell_cpu_seconds(const std::string& cmd, int repeats = 3) {
  double best = 1e30;
  for (int i = 0; i < repeats; ++i) {
    const double t0 = children_seconds();
    if (std::system(cmd.c_str()) != 0) std::fprintf(stderr, "failed: %s\n", cmd.c_str());
    best = std::min(best, children_seconds() - t0);
  }
  return best;
}

}  // namespace qv::bench
