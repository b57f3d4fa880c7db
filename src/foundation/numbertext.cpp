// numbertext.cpp: reading numbers and small expressions from text, and writing numbers as text.
#include "foundation/numbertext.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

namespace qv {

numberformat number::format;

namespace {

// ---- reading --------------------------------------------------------------

// Longest run of number characters we look at; longer texts are no numbers anyway.
constexpr std::size_t runroom = 480;

bool is_fill(widechar c) {
  return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n' || c == u'\v' || c == u'\f' || c == 0xA0;
}
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_number_char(char c) {
  return is_digit(c) || c == '.' || c == 'e' || c == '+' || c == '-' || c == '*' || c == '/' || c == '=' ||
         c == '<' || c == '>' || c == '&' || c == '|';
}

// What one character of the text stands for: units and constants are spelled
// out, letters lower-cased, everything else that is no ASCII becomes a stopper.
std::string_view expand(widechar c, char& one) {
  if (c == 0xB0) return "*0.01745329251994329509";   // degree sign
  if (c == u'%') return "*0.01";
  if (c == 0x3C0) return "3.141592653589793116";     // pi
  if (c >= u'A' && c <= u'Z') c = widechar(c + 32);
  one = c < 0x80 ? char(c) : '\x01';
  return std::string_view(&one, 1);
}

// Collects the number run: from the first digit or minus sign on, as long as
// number characters follow. Fill characters are dropped before anything else.
std::size_t collect(wideview t, char* run) {
  const bool comma = !number::format.decimal;
  bool started = false;
  std::size_t n = 0;
  for (widechar c : t) {
    if (is_fill(c)) continue;
    char one;
    for (char b : expand(c, one)) {
      if (comma && b == ',') b = '.';
      if (!started) {
        if (!is_digit(b) && b != '-') continue;
        started = true;
      }
      if (!is_number_char(b) || n == runroom) return n;
      run[n++] = b;
    }
  }
  return n;
}

// An operand: any signs, then a number. False when no number stands there.
bool operand(const char*& p, const char* end, double& v) {
  bool negative = false;
  while (p < end && (*p == '+' || *p == '-')) negative ^= (*p++ == '-');
  auto r = std::from_chars(p, end, v);
  if (r.ec != std::errc()) return false;
  p = r.ptr;
  if (negative) v = -v;
  return true;
}

enum class op { none, add, sub, mul, div, eq, lt, le, ne, gt, ge, band, bor };

op operator_at(const char*& p, const char* end) {
  if (p >= end) return op::none;
  char c = *p++;
  char d = p < end ? *p : 0;
  switch (c) {
    case '+': return op::add;
    case '-': return op::sub;
    case '*': return op::mul;
    case '/': return op::div;
    case '=': return op::eq;
    case '&': return op::band;
    case '|': return op::bor;
    case '<':
      if (d == '=') { ++p; return op::le; }
      if (d == '>') { ++p; return op::ne; }
      return op::lt;
    case '>':
      if (d == '=') { ++p; return op::ge; }
      return op::gt;
    default: --p; return op::none;
  }
}

double apply(op o, double a, double b) {
  switch (o) {
    case op::add: return a + b;
    case op::sub: return a - b;
    case op::mul: return a * b;
    case op::div: return b == 0 ? 0 : a / b;
    case op::eq: return a == b;
    case op::lt: return a < b;
    case op::le: return a <= b;
    case op::ne: return a != b;
    case op::gt: return a > b;
    case op::ge: return a >= b;
    case op::band: return double(real::round_nat(a) & real::round_nat(b));
    case op::bor: return double(real::round_nat(a) | real::round_nat(b));
    case op::none: break;
  }
  return a;
}

// Left to right without precedence: every operator applies at once to the
// running value. A failed operand ends the evaluation with the value so far.
double evaluate(const char* p, const char* end) {
  double v = 0;
  if (!operand(p, end, v)) return 0;
  for (;;) {
    op o = operator_at(p, end);
    if (o == op::none) return v;
    double b;
    if (!operand(p, end, b)) return v;
    v = apply(o, v, b);
  }
}

double finite_or_zero(double v) { return std::isfinite(v) ? v : 0; }

double read_run(const char* run, std::size_t n) {
  if (n == 0) return 0;
  double v;
  auto r = std::from_chars(run, run + n, v);
  if (r.ec == std::errc() && r.ptr == run + n) return finite_or_zero(v);
  return finite_or_zero(evaluate(run, run + n));
}

// ---- writing --------------------------------------------------------------

std::size_t put(char* out, std::string_view s) {
  std::memcpy(out, s.data(), s.size());
  return s.size();
}

std::size_t write_digits(std::int64_t v, char* out) {
  auto r = std::to_chars(out, out + 32, v);
  return std::size_t(r.ptr - out);
}

// Cuts the tail of a binary fraction ("...5000000001") when the point stands
// in the left half of the text.
std::size_t cut_noise(const char* s, std::size_t n) {
  const void* dot = std::memchr(s, '.', n);
  if (!dot) return n;
  std::size_t p = std::size_t(static_cast<const char*>(dot) - s) + 1;   // 1-based
  if (2 * p > n) return n;
  if (s[n - 1] == '0') {
    while (n > 0 && s[n - 1] == '0') --n;
    return n;
  }
  for (std::size_t keep : {std::size_t(1), std::size_t(2)}) {   // last one or two digits
    if (n < keep + 1 || s[n - keep - 1] != '0') continue;
    std::size_t k = n - keep;
    while (k > 0 && s[k - 1] == '0') --k;
    return k;   // at least one zero went, so the last digits go too
  }
  return n;
}

// The scientific form of a cleaned text, in place.
std::size_t scientific(char* s, std::size_t n) {
  bool negative = n > 0 && s[0] == '-';
  std::size_t b = negative ? 1 : 0;
  if (n >= b + 2 && s[b] == '0' && s[b + 1] == '.') {
    std::size_t i = b + 2, zeros = 0;
    while (i < n && s[i] == '0') ++i, ++zeros;
    std::size_t r = n - i;
    std::memmove(s + b, s + i, r);
    std::size_t m = b + r;
    m += put(s + m, "E-");
    return m + write_digits(std::int64_t(zeros + 1 + r) - 1, s + m);
  }
  if (std::memchr(s, '.', n) && n > 1) {
    while (n > 1 && s[n - 1] == '0') --n;
    if (s[n - 1] == '.') --n;
  }
  if (std::memchr(s, '.', n) || n <= 1) return n;
  std::size_t z = 0;
  while (z < n - 1 - b && s[n - 1 - z] == '0') ++z;
  if (z == 0) return n;
  n -= z;
  n += put(s + n, "E");
  return n + write_digits(std::int64_t(z), s + n);
}

// The cleaning every real text goes through, then the format switches.
std::size_t clean(char* s, std::size_t n) {
  n = cut_noise(s, n);
  std::size_t m = 0;
  for (std::size_t i = 0; i < n; ++i)
    if (s[i] != ' ') s[m++] = s[i];
  n = m;
  if (n == 0) return put(s, "0");
  if (s[n - 1] == '.') --n;
  if (n == 0 || (n == 2 && s[0] == '-' && s[1] == '0') || (n == 1 && s[0] == '-')) return put(s, "0");
  if (number::format.scientific) n = scientific(s, n);
  if (!number::format.decimal)
    for (std::size_t i = 0; i < n; ++i)
      if (s[i] == '.') s[i] = ',';
  return n;
}

}  // namespace

// The text `std::to_chars` gives for `decimals` places, by integer arithmetic:
// |v| = m * 2^e with m below 2^53, so m * 10^decimals fits 128 bits, and one
// shift with half-to-even rounding gives the last digit. Only for |v| below
// 2^53 with a fraction and up to 17 places; false leaves the rest to the library.
bool real::fixed_exact_into(double v, int decimals, char* out, std::size_t& n) {
  const double a = std::fabs(v);
  if (decimals > 17 || !(a < 9007199254740992.0) || a == std::trunc(a)) return false;
  int e;
  const double f = std::frexp(a, &e);   // a = f * 2^e, f in [0.5, 1)
  const std::uint64_t m = static_cast<std::uint64_t>(std::ldexp(f, 53));
  const int shift = 53 - e;             // a = m / 2^shift, shift above 0
  unsigned __int128 scale = 1;
  for (int i = 0; i < decimals; ++i) scale *= 10;
  const unsigned __int128 x = static_cast<unsigned __int128>(m) * scale;   // below 2^110
  unsigned __int128 q = 0;
  if (shift < 127) {
    q = x >> shift;
    const unsigned __int128 rest = x - (q << shift), half = static_cast<unsigned __int128>(1) << (shift - 1);
    if (rest > half || (rest == half && (q & 1))) ++q;
  }
  std::uint64_t whole, part;
  if (q >> 64 == 0) {   // the common case, no 128-bit division
    const std::uint64_t q64 = static_cast<std::uint64_t>(q), s64 = static_cast<std::uint64_t>(scale);
    whole = q64 / s64;
    part = q64 % s64;
  } else {
    whole = static_cast<std::uint64_t>(q / scale);
    part = static_cast<std::uint64_t>(q % scale);
  }
  n = 0;
  if (std::signbit(v)) out[n++] = '-';
  n += write_digits(static_cast<std::int64_t>(whole), out + n);
  if (decimals > 0) {
    out[n++] = '.';
    for (int i = decimals; i-- > 0; part /= 10) out[n + std::size_t(i)] = char('0' + part % 10);
    n += std::size_t(decimals);
  }
  return true;
}

namespace {

std::size_t fixed_into(double v, int decimals, char* out) {
  if (!std::isfinite(v)) return put(out, "0");
  std::size_t exact;
  if (real::fixed_exact_into(v, decimals, out, exact)) return clean(out, exact);
  auto r = std::to_chars(out, out + real::textroom - 40, v, std::chars_format::fixed, decimals);
  if (r.ec != std::errc()) return put(out, "0");
  return clean(out, std::size_t(r.ptr - out));
}

widetext widen(const char* s, std::size_t n) {
  widetext t(n, u'\0');
  for (std::size_t i = 0; i < n; ++i) t[i] = static_cast<unsigned char>(s[i]);
  return t;
}

}  // namespace

// ---- interface ------------------------------------------------------------

double text::real(wideview t) {
  char run[runroom];
  return read_run(run, collect(t, run));
}

std::int64_t text::nat(wideview t) {
  char run[runroom];
  std::size_t n = collect(t, run);
  if (n == 0) return 0;
  std::int64_t v;
  auto r = std::from_chars(run, run + n, v);
  if (r.ec == std::errc() && r.ptr == run + n) return v;   // plain whole numbers stay exact
  return real::round_nat(read_run(run, n));
}

bool text::bool_(wideview t) {
  widetext w = text::lower(text::trim(t));
  if (w == u"true" || w == u"yes" || w == u"on") return true;
  return text::real(t) >= 1;
}

std::int64_t real::round_nat(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 9.2233720368547758e18) return INT64_MAX;
  if (v <= -9.2233720368547758e18) return INT64_MIN;
  return static_cast<std::int64_t>(std::nearbyint(v));   // ties to even
}

std::size_t real::text_into(double v, char* out) {
  // Whole numbers of up to 15 digits come out of the cleaning as their digits.
  if (v == std::trunc(v) && std::fabs(v) < 1e15) {
    std::size_t n = write_digits(static_cast<std::int64_t>(v), out);
    return number::format.scientific ? scientific(out, n) : n;
  }
  return fixed_into(v, 16, out);
}

std::size_t real::text_short_into(double v, char* out) {
  if (v == 0 || !std::isfinite(v)) return put(out, "0");
  double a = std::fabs(v);
  int d = 11;
  double bound = 100000;
  for (int k = 0; k < 11; ++k, bound /= 10)
    if (a >= bound) {
      d = k;
      break;
    }
  return fixed_into(v, d, out);
}

std::size_t real::text_fixed_into(double v, int n, char* out) {
  return fixed_into(v, n < 0 ? 0 : (n > 30 ? 30 : n), out);
}

widetext real::text(double v) {
  char buf[textroom];
  return widen(buf, text_into(v, buf));
}

widetext real::text_short(double v) {
  char buf[textroom];
  return widen(buf, text_short_into(v, buf));
}

widetext real::text_fixed(double v, int n) {
  char buf[textroom];
  return widen(buf, text_fixed_into(v, n, buf));
}

std::size_t nat::text_into(std::int64_t v, char* out) {
  std::size_t n = write_digits(v, out);
  if (number::format.scientific) return scientific(out, n);
  std::size_t b = v < 0 ? 1 : 0;
  std::size_t digits = n - b;
  if (!number::format.digit || n < 4 || digits < 4) return n;
  char sep = number::format.decimal ? ',' : '.';
  char tmp[32];
  std::size_t m = 0;
  if (b) tmp[m++] = '-';
  for (std::size_t i = 0; i < digits; ++i) {
    if (i > 0 && (digits - i) % 3 == 0) tmp[m++] = sep;
    tmp[m++] = out[b + i];
  }
  std::memcpy(out, tmp, m);
  return m;
}

widetext nat::text(std::int64_t v) {
  char buf[40];
  return widen(buf, text_into(v, buf));
}

}  // namespace qv
