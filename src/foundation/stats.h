// stats.h: order statistics, means and deviations of arrays of reals and hypers, and the outlier window.
#pragma once
#include <cstdint>
#include <span>
#include "foundation/numeric.h"

namespace qv::stats {

// Quartiles by sorted position (1-based, `/` truncating): element n/4+1, n/2+1
// and (n/4)*3+1 for odd n; n/4, n/2 and (n/4)*3 for even n, where the lower of
// the two middle elements stands. A position outside the array gives 0.
struct quartiles {
  double q25 = 0, median = 0, q75 = 0;
};
quartiles quartiles_of(std::span<const double> v);   // the array is left in place
double median(std::span<const double> v);

double min(std::span<const double> v);   // +infinity when empty
double max(std::span<const double> v);   // -infinity when empty
std::int64_t max_index(std::span<const double> v);   // first of equal maxima, 0 when empty
double sum(std::span<const double> v);
double mean(std::span<const double> v);   // 0 when empty
double sd(std::span<const double> v);     // divisor n-1; 0 below two values

// Hypers: min and max by the lexicographic order, the rest by component.
num::hyper min(std::span<const num::hyper> v);
num::hyper max(std::span<const num::hyper> v);
num::hyper sum(std::span<const num::hyper> v);
num::hyper mean(std::span<const num::hyper> v);
num::hyper var(std::span<const num::hyper> v);   // divisor n-1; zero below two values
num::hyper sd(std::span<const num::hyper> v);

// A value outside median +- factor*abs(Q.25-Q.75) is an outlier.
num::complex outlier_window(const quartiles& q, double factor);
inline bool outlier(double v, num::complex window) { return v < window.x || v > window.y; }

}  // namespace qv::stats
