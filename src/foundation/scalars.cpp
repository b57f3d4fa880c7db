// scalars.cpp: the scalar rules of the real and nat families: ranges, powers, safe logarithms and angles.
#include <cmath>
#include <cstdint>

#include "foundation/numeric.h"

namespace qv {
namespace {
// The wrap-round test shared by the real and nat forms. When both ends
// overhang, the test of the upper end replaces that of the lower.
template <typename T> bool cyclic(T v, T lo, T hi, T min, T max) {
  T a = lo > min ? lo : min, b = hi < max ? hi : max;
  bool in = a <= v && v <= b;
  if (hi > max) return in || (min <= v && v <= min + (hi - max));
  if (lo < min) return in || (max - (min - lo) <= v && v <= max);
  return in;
}
}  // namespace

bool real::inrange_cyclic(double v, double lo, double hi, double min, double max) {
  return cyclic(v, lo, hi, min, max);
}
bool nat::inrange_cyclic(std::int64_t v, std::int64_t lo, std::int64_t hi, std::int64_t min, std::int64_t max) {
  return cyclic(v, lo, hi, min, max);
}

// c + (v-a)*((d-c)/(b-a)), clamped to the interval of c and d in either order.
double real::rangemap(double a, double b, double v, double c, double d) {
  if (a == b) return (c + d) * 0.5;
  double r = c + (v - a) * ((d - c) / (b - a));
  return c <= d ? clamp(r, c, d) : clamp(r, d, c);
}

std::int64_t nat::rangemap(double a, double b, double v, std::int64_t c, std::int64_t d) {
  double cr = double(c), dr = double(d);
  std::int64_t r = a == b ? real::round((cr + dr) * 0.5) : real::round(cr + (v - a) * ((dr - cr) / (b - a)));
  return c <= d ? clamp(r, c, d) : clamp(r, d, c);
}

// Square and multiply on abs(n); a negative n takes the reciprocal.
double real::power_nat(double x, std::int64_t n) {
  if (x == 0) return 0;
  if (n == 0) return 1;
  std::uint64_t k = n < 0 ? std::uint64_t(0) - std::uint64_t(n) : std::uint64_t(n);
  double r = 1, b = x;
  while (k) {
    if (k & 1) r *= b;
    k >>= 1;
    if (k) b *= b;
  }
  if (n > 0) return r;
  return r == 0 ? 0 : 1 / r;
}

double real::power(double x, double y) {
  if (x == 0) return 0;
  if (y == 0) return 1;
  if (std::fabs(y) < 9223372036854775808.0 && y == std::trunc(y)) return power_nat(x, std::int64_t(y));
  return std::exp(y * ln_safe(x));
}

double real::log10(double x) { return ln_safe(x) / ln_safe(10); }
double real::log2(double x) { return ln_safe(x) / ln_safe(2); }
double real::log_base(double b, double x) {
  double l = ln_safe(b);
  return l == 0 ? 0 : ln_safe(x) / l;
}

double real::tan_safe(double x) {
  double c = std::cos(x);
  return c == 0 ? 0 : std::sin(x) / c;
}

// Outside -1..1 the argument is first cut to its fractional part.
double real::arcsin_safe(double x) {
  if (x < -1 || x > 1) x = x - std::trunc(x);
  double s = real::sqrt(1 - x * x);
  if (s == 0 || !(s == s)) return x > 0 ? num::pi / 2 : -num::pi / 2;
  return std::atan(x / s);
}

// Both arguments 0 give 0.
double real::atan2_safe(double y, double x) {
  double r;
  if (std::fabs(x) > std::fabs(y)) {
    r = std::atan(y / x);
  } else {
    if (y == 0 || !(y == y)) return 0;
    double q = std::atan(x / y);
    r = (q < 0 ? -num::pi / 2 : num::pi / 2) - q;
  }
  if (x < 0) r += y < 0 ? -num::pi : num::pi;
  return r;
}

real::fitscale real::fit_scale(double v, double lo, double hi, double base) {
  fitscale f{v, 0, 1};
  // A base that cannot move v, or a window it cannot reach, leaves v as it is.
  if (v == 0 || !std::isfinite(v) || !(std::fabs(base) > 1) || !std::isfinite(base) || !(lo <= hi)) return f;
  for (int guard = 0; std::fabs(f.value) < lo && guard < 4096; ++guard) {
    f.value *= base;
    ++f.count;
  }
  for (int guard = 0; std::fabs(f.value) > hi && guard < 4096; ++guard) {
    f.value /= base;
    --f.count;
  }
  f.factor = power(base, double(f.count));
  return f;
}

}  // namespace qv
