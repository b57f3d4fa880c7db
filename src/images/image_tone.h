// image_tone.h: the look-up tables of the tone adjustments, shared by images and volumes.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qv::tone {

// Half to even, as every real-to-whole conversion of the program.
inline std::int64_t round_even(double v) { return std::int64_t(std::nearbyint(v)); }

// The table of `setadjust`: values up to lo become a, from hi on b, and the
// values between go linearly from a to b, rounded half to even. With lo = hi,
// or b not above a, the table is the identity. `table` has top+1 entries.
template <typename T>
void adjust_table(std::int64_t lo, std::int64_t hi, std::int64_t top, T* table, std::int64_t a = 0, std::int64_t b = -1) {
  if (b < 0) b = top;
  for (std::int64_t i = 0; i <= top; ++i) table[i] = T(i);
  if (hi <= lo || b <= a) return;
  const double d = double(hi - lo), span = double(b - a);
  for (std::int64_t i = 0; i <= top; ++i) {
    double v = i <= lo ? double(a) : i >= hi ? double(b) : double(a) + double(i - lo) / d * span;
    table[i] = T(std::clamp<std::int64_t>(round_even(v), 0, top));
  }
}

// The table of `setlower` (values up to a become b) and `sethigher` (values from a).
template <typename T>
void threshold_table(std::int64_t a, std::int64_t b, bool higher, std::int64_t top, T* table) {
  for (std::int64_t i = 0; i <= top; ++i) table[i] = T((higher ? i >= a : i <= a) ? b : i);
}

}  // namespace qv::tone
