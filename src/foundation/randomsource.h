// randomsource.h: the one process-wide random generator.
#pragma once
#include <cstdint>

namespace qv::random {
double real();                        // uniform in [0, 1)
std::int64_t nat(std::int64_t n);     // uniform over 0..n-1; 0 when n is below 1
}  // namespace qv::random
