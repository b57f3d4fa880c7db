// randomsource.cpp: a 64-bit Mersenne twister seeded once from the system.
#include "foundation/randomsource.h"

#include <random>

namespace qv::random {
namespace {
std::mt19937_64& source() {
  static std::mt19937_64 g{std::random_device{}()};
  return g;
}
}  // namespace

double real() { return std::uniform_real_distribution<double>(0.0, 1.0)(source()); }

std::int64_t nat(std::int64_t n) {
  if (n < 1) return 0;
  return std::uniform_int_distribution<std::int64_t>(0, n - 1)(source());
}
}  // namespace qv::random
