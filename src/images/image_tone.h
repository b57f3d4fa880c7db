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

// The table of `setsign`: the lower half of the range moves up by half the
// range and the upper half down, which turns wrapped two's-complement data into
// an ascending range. `n` is the number of entries (256 or 65536).
template <typename T>
void sign_table(T* t, std::size_t n) {
  const std::size_t half = n / 2;
  for (std::size_t v = 0; v < n; ++v) t[v] = T(v < half ? v + half : v - half);
}

// The table of `setrange` from the histogram `h` of n+1 entries, where h[i]
// counts the value i-1: shifted data starts at 0, wrapped data is unwrapped.
// False when the data is neither and nothing is to be applied.
template <typename T>
bool range_table(const std::int64_t* h, std::int64_t n, T* t) {
  std::fill(t, t + n, T(0));
  if (h[1] == 0 || h[n] == 0) {
    std::int64_t s = 1;
    while (s <= n && h[s] == 0) ++s;
    if (s > n) s = 1;
    for (std::int64_t i = s; i <= n; ++i) t[i - 1] = T(i - s);
    return true;
  }
  if (h[n / 2] != 0) return false;
  std::int64_t a = n / 2, b = n / 2;
  while (a <= n && h[a] == 0) ++a;
  while (b >= 1 && h[b] == 0) --b;
  if (a > n || b < 1) return false;
  for (std::int64_t i = a; i <= n; ++i) t[i - 1] = T(i - a);
  for (std::int64_t i = 1; i <= b; ++i) t[i - 1] = T(i + (n - a));
  return true;
}

// The table of `setequal` from the histogram `h` (h[v] counts the value v) of
// `count` values: each value goes to its cumulative share of the range.
template <typename T>
void equal_table(const std::int64_t* h, std::int64_t top, std::int64_t count, T* t) {
  std::int64_t sum = 0;
  for (std::int64_t i = 0; i <= top; ++i) {
    sum += h[i];
    t[i] = T(std::clamp<std::int64_t>(round_even(double(sum) / double(count) * double(top)), 0, top));
  }
}

// The peak of a histogram h[0..top]: the most frequent value above 0 (the
// background does not count), the smaller on a tie; -1 when only 0 occurs.
inline std::int64_t peak_of(const std::int64_t* h, std::int64_t top) {
  std::int64_t best = -1;
  for (std::int64_t i = 1; i <= top; ++i)
    if (h[i] > 0 && (best < 0 || h[i] > h[best])) best = i;
  return best;
}

// The tables of the peak forms, from the histogram's peak p and its smallest and
// largest values lo..hi above 0: `lower` stretches p..hi to the full range (the
// peak and what lies below it go to 0), `higher` stretches lo..p (the peak and
// what lies above it go to the top), `middle` maps lo..p to 0..top/2 and p..hi to
// top/2..top. False (table untouched) when the field holds no such value.
enum class peakform { lower, middle, higher };
template <typename T>
bool peak_table(const std::int64_t* h, std::int64_t top, peakform form, T* table) {
  const std::int64_t p = peak_of(h, top);
  if (p < 0) return false;
  std::int64_t lo = 1, hi = top;
  while (h[lo] == 0) ++lo;
  while (h[hi] == 0) --hi;
  switch (form) {
    case peakform::lower: adjust_table(p, hi, top, table); return hi > p;
    case peakform::higher: adjust_table(lo, p, top, table); return p > lo;
    case peakform::middle: break;
  }
  const std::int64_t mid = top / 2;
  for (std::int64_t i = 0; i <= top; ++i) {
    double v = i <= lo ? 0.0 : i >= hi ? double(top)
             : i <= p ? (p > lo ? double(i - lo) / double(p - lo) * double(mid) : double(mid))
                      : double(mid) + double(i - p) / double(hi - p) * double(top - mid);
    table[i] = T(std::clamp<std::int64_t>(round_even(v), 0, top));
  }
  return hi > lo;
}

}  // namespace qv::tone
