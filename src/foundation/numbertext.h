// numbertext.h: the conversions between text and numbers, the language's only type system.
#pragma once
#include <cstddef>
#include <cstdint>
#include "foundation/widetext.h"

namespace qv {

// The shared settings read whenever a value becomes text (the `math.*` commands).
struct numberformat {
  bool scientific = false;   // "12E2" and "12E-4" forms
  bool decimal = true;       // false: decimal comma, "; " between components
  bool digit = false;        // groups of three digits in whole-number text
  std::int32_t leading = 0, trailing = 0;   // kept for `math.leading`/`math.trailing`
  bool degree = true, vector = false, matrix = false;
  bool charorder = false;    // `text.less` by character only, not shorter first
  bool shortform = false;    // short number texts of the decade mode
};

namespace number {
extern numberformat format;
// Saves the format and puts it back at the end of a scope.
struct formatguard {
  numberformat saved = format;
  ~formatguard() { format = saved; }
};
}  // namespace number

namespace text {
double real(wideview t);          // any text that is no number gives 0
std::int64_t nat(wideview t);     // the same, rounded to a whole number
bool bool_(wideview t);           // 1 or more, or one of the words that read as true
}  // namespace text

namespace real {
// Room for the longest text of any double in every form below.
inline constexpr std::size_t textroom = 400;
widetext text(double v);
widetext text_short(double v);         // decimals by magnitude
widetext text_fixed(double v, int n);  // n decimals
// The same into a caller's buffer of `textroom` bytes: no allocation. Gives the length.
std::size_t text_into(double v, char* out);
std::size_t text_short_into(double v, char* out);
std::size_t text_fixed_into(double v, int n, char* out);
// The digits `std::to_chars` gives for `decimals` places (before any cleaning), by exact
// integer arithmetic; false (and nothing written) outside |v| < 2^53 with a fraction and
// up to 17 places. The fast path of the fixed forms.
bool fixed_exact_into(double v, int decimals, char* out, std::size_t& n);
// Clamps to the 64-bit range, then rounds half to even; NaN gives 0.
std::int64_t round_nat(double v);
}  // namespace real

namespace nat {
widetext text(std::int64_t v);
std::size_t text_into(std::int64_t v, char* out);   // at most 32 bytes
}  // namespace nat

}  // namespace qv
