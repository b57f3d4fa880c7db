// numeric.h: the value records (complex, vector, hyper, matrix, tensor, quat) and the scalar rules.
#pragma once
#include <array>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <cstring>

// No rule here divides by zero: a degenerate input gives a defined value,
// usually zero. All records are plain aggregates passed by value.
namespace qv {
namespace num {
using real = double;
using nat = std::int64_t;

struct complex { real x = 0, y = 0; };
struct natcomplex { nat x = 0, y = 0; };
struct vector { real x = 0, y = 0, z = 0; };
struct natvector { nat x = 0, y = 0, z = 0; };
struct hyper { real x = 0, y = 0, z = 0, t = 0; };
struct nathyper { nat x = 0, y = 0, z = 0, t = 0; };
struct matrix { real m[9] = {}; };      // row after row; rows are v1, v2, v3
struct matrix4 { real m[16] = {}; };    // row after row
struct tensor { real xx = 0, yy = 0, zz = 0, xy = 0, xz = 0, yz = 0; };
struct quat { real w = 0, x = 0, y = 0, z = 0; };   // stored as a hyper with w in its x

inline constexpr real pi = 3.141592653589793;

template <typename R> concept realrecord = std::same_as<R, complex> || std::same_as<R, vector> || std::same_as<R, hyper>;
template <typename R> concept natrecord = std::same_as<R, natcomplex> || std::same_as<R, natvector> || std::same_as<R, nathyper>;
template <typename R> concept record = realrecord<R> || natrecord<R>;

template <record R> inline constexpr int dims = std::same_as<R, complex> || std::same_as<R, natcomplex> ? 2
                                                 : std::same_as<R, vector> || std::same_as<R, natvector> ? 3 : 4;
template <record R> using element = std::conditional_t<realrecord<R>, real, nat>;

// Component i (0-based) of a record.
template <record R> constexpr element<R> at(const R& r, int i) {
  if constexpr (dims<R> == 2) return i == 0 ? r.x : r.y;
  else if constexpr (dims<R> == 3) return i == 0 ? r.x : i == 1 ? r.y : r.z;
  else return i == 0 ? r.x : i == 1 ? r.y : i == 2 ? r.z : r.t;
}
// A record from f applied to each component index.
template <record R, typename F> constexpr R build(F f) {
  if constexpr (dims<R> == 2) return R{f(0), f(1)};
  else if constexpr (dims<R> == 3) return R{f(0), f(1), f(2)};
  else return R{f(0), f(1), f(2), f(3)};
}
template <record R, typename F> constexpr R zip(R a, R b, F f) {
  return build<R>([&](int i) { return f(at(a, i), at(b, i)); });
}
template <record R, typename F> constexpr R map(R a, F f) {
  return build<R>([&](int i) { return f(at(a, i)); });
}
}  // namespace num

// Scalar rules of the real family.
namespace real {
// Clamped to plus or minus 2^63, then toward zero / to nearest with ties to even.
inline std::int64_t trunc(double v) {
  if (!(v == v)) return 0;
  if (v >= 9223372036854775808.0) return INT64_MAX;
  if (v <= -9223372036854775808.0) return INT64_MIN;
  return static_cast<std::int64_t>(v);
}
inline std::int64_t round(double v) {
  if (!(v == v)) return 0;
  if (v >= 9223372036854775808.0) return INT64_MAX;
  if (v <= -9223372036854775808.0) return INT64_MIN;
  return static_cast<std::int64_t>(std::nearbyint(v));
}
inline double sign_copy(double a, double b) { return b >= 0 ? std::fabs(a) : -std::fabs(a); }
inline bool inrange(double v, double lo, double hi) { return lo <= v && v <= hi; }
inline double clamp(double v, double lo, double hi) { return v < lo ? lo : v > hi ? hi : v; }
bool inrange_cyclic(double v, double lo, double hi, double min, double max);
double rangemap(double a, double b, double v, double c, double d);
double power_nat(double x, std::int64_t n);
double power(double x, double y);
inline double ln_safe(double x) { return x == 0 ? 0 : x > 0 ? std::log(x) : -std::log(-x); }
double log10(double x);
double log2(double x);
double log_base(double b, double x);
double tan_safe(double x);
double arcsin_safe(double x);
inline double arccos_safe(double x) { return num::pi / 2 - arcsin_safe(x); }
double atan2_safe(double y, double x);
inline double degree(double x) { return x * 0.017453292519943295; }
inline double sqrt(double x) { return std::sqrt(std::fabs(x)); }   // never a not-a-number
// `v` multiplied or divided by `base` until abs(v) lies in lo..hi.
struct fitscale {
  double value = 0;        // v after the steps
  std::int64_t count = 0;  // steps, negative where it divided
  double factor = 1;       // power(base, count)
};
fitscale fit_scale(double v, double lo, double hi, double base);
}  // namespace real

namespace nat {
inline bool inrange(std::int64_t v, std::int64_t lo, std::int64_t hi) { return lo <= v && v <= hi; }
inline std::int64_t clamp(std::int64_t v, std::int64_t lo, std::int64_t hi) { return v < lo ? lo : v > hi ? hi : v; }
bool inrange_cyclic(std::int64_t v, std::int64_t lo, std::int64_t hi, std::int64_t min, std::int64_t max);
// The real rule with the result rounded to nearest before the clamp.
std::int64_t rangemap(double a, double b, double v, std::int64_t c, std::int64_t d);
// Wrapping 64-bit arithmetic: no overflow checks, and no undefined behaviour.
inline std::int64_t add(std::int64_t a, std::int64_t b) { return std::int64_t(std::uint64_t(a) + std::uint64_t(b)); }
inline std::int64_t sub(std::int64_t a, std::int64_t b) { return std::int64_t(std::uint64_t(a) - std::uint64_t(b)); }
inline std::int64_t mul(std::int64_t a, std::int64_t b) { return std::int64_t(std::uint64_t(a) * std::uint64_t(b)); }
// Truncating; 0 for a zero divisor, a negation for -1.
inline std::int64_t div(std::int64_t a, std::int64_t b) { return b == 0 ? 0 : b == -1 ? sub(0, a) : a / b; }
}  // namespace nat

// Component-wise families over complex, vector, hyper and their nat forms.
// The named families below (`vector::norm`, `hyper::dot`...) take them by `using`.
namespace num {
template <record R> constexpr R add(R a, R b) {
  if constexpr (realrecord<R>) return zip(a, b, [](real p, real q) { return p + q; });
  else return zip(a, b, [](nat p, nat q) { return qv::nat::add(p, q); });
}
template <record R> constexpr R add(R a, element<R> s) { return add(a, map(a, [&](element<R>) { return s; })); }
template <record R> constexpr R sub(R a, R b) {
  if constexpr (realrecord<R>) return zip(a, b, [](real p, real q) { return p - q; });
  else return zip(a, b, [](nat p, nat q) { return qv::nat::sub(p, q); });
}
template <record R> constexpr R sub(R a, element<R> s) { return sub(a, map(a, [&](element<R>) { return s; })); }
template <record R> constexpr R mul(R a, element<R> s) {
  if constexpr (realrecord<R>) return map(a, [&](real p) { return p * s; });
  else return map(a, [&](nat p) { return qv::nat::mul(p, s); });
}
template <record R> constexpr R mul(element<R> s, R a) { return mul(a, s); }
template <record R> constexpr R mul_each(R a, R b) {
  if constexpr (realrecord<R>) return zip(a, b, [](real p, real q) { return p * q; });
  else return zip(a, b, [](nat p, nat q) { return qv::nat::mul(p, q); });
}
template <record R> constexpr R div_each(R a, R b) {
  if constexpr (realrecord<R>) return zip(a, b, [](real p, real q) { return q == 0 ? 0.0 : p / q; });
  else return zip(a, b, [](nat p, nat q) { return qv::nat::div(p, q); });
}
template <record R> constexpr R div(R a, element<R> s) {
  if (s == 0) return R{};
  if constexpr (realrecord<R>) return map(a, [&](real p) { return p / s; });
  else return map(a, [&](nat p) { return qv::nat::div(p, s); });
}
// s divided by each component; 0 where the component is 0.
template <record R> constexpr R div_scalar(element<R> s, R a) {
  if constexpr (realrecord<R>) return map(a, [&](real p) { return p == 0 ? 0.0 : s / p; });
  else return map(a, [&](nat p) { return qv::nat::div(s, p); });
}
template <record R> constexpr element<R> dot(R a, R b) {
  element<R> s = 0;
  for (int i = 0; i < dims<R>; ++i) {
    if constexpr (realrecord<R>) s += at(a, i) * at(b, i);
    else s = qv::nat::add(s, qv::nat::mul(at(a, i), at(b, i)));
  }
  return s;
}
template <record R> constexpr R sqr(R a) { return mul_each(a, a); }
template <realrecord R> R sqrt(R a) { return map(a, [](real p) { return qv::real::sqrt(p); }); }
template <realrecord R> R power(R a, real y) { return map(a, [&](real p) { return qv::real::power(p, y); }); }
template <record R> real length(R a) {
  real s = 0;
  for (int i = 0; i < dims<R>; ++i) s += real(at(a, i)) * real(at(a, i));
  return qv::real::sqrt(s);
}
template <realrecord R> R norm(R a) {
  real l = length(a);
  return l == 0 ? R{} : map(a, [&](real p) { return p / l; });
}
template <record R> constexpr element<R> min_component(R a) {
  element<R> m = at(a, 0);
  for (int i = 1; i < dims<R>; ++i) m = at(a, i) < m ? at(a, i) : m;
  return m;
}
template <record R> constexpr element<R> max_component(R a) {
  element<R> m = at(a, 0);
  for (int i = 1; i < dims<R>; ++i) m = at(a, i) > m ? at(a, i) : m;
  return m;
}
template <realrecord R> R minnorm(R a) { return div(a, min_component(a)); }
template <realrecord R> R maxnorm(R a) { return div(a, max_component(a)); }
template <record R> constexpr R min_each(R a, R b) { return zip(a, b, [](auto p, auto q) { return q < p ? q : p; }); }
template <record R> constexpr R max_each(R a, R b) { return zip(a, b, [](auto p, auto q) { return q > p ? q : p; }); }
// Byte by byte: -0.0 differs from 0.0 and a not-a-number equals its own copy.
template <record R> bool equal(R a, R b) { return std::memcmp(&a, &b, sizeof(R)) == 0; }
// By value: -0.0 equals 0.0 and a not-a-number differs from everything.
template <record R> constexpr bool notequal(R a, R b) {
  for (int i = 0; i < dims<R>; ++i)
    if (at(a, i) != at(b, i)) return true;
  return false;
}
// Lexicographic over the components.
template <record R> constexpr bool less(R a, R b) {
  for (int i = 0; i < dims<R>; ++i) {
    if (at(a, i) < at(b, i)) return true;
    if (at(a, i) > at(b, i)) return false;
  }
  return false;
}
template <record R> constexpr bool greater(R a, R b) { return less(b, a); }
// Radians; 0 when either length is 0.
template <record R> real angle(R a, R b) {
  real l = length(a) * length(b);
  if (l == 0) return 0;
  real d = 0;
  for (int i = 0; i < dims<R>; ++i) d += real(at(a, i)) * real(at(b, i));
  return qv::real::arccos_safe(d / l);
}
template <record R> real fullangle(R a, R b, R n) {
  real w = angle(a, b);
  return angle(a, n) > pi / 2 ? 2 * pi - w : w;
}
template <record R> constexpr bool inrange(R v, R lo, R hi) {
  for (int i = 0; i < dims<R>; ++i)
    if (!(at(lo, i) <= at(v, i) && at(v, i) <= at(hi, i))) return false;
  return true;
}
template <record R> constexpr R clamp(R v, R lo, R hi) {
  return build<R>([&](int i) { return at(v, i) < at(lo, i) ? at(lo, i) : at(v, i) > at(hi, i) ? at(hi, i) : at(v, i); });
}
// Per component the scalar map without its clamp, then one box clamp between c
// and d (or d and c when c is lexicographically greater).
template <realrecord R> R rangemap(R a, R b, R p, R c, R d) {
  R r = build<R>([&](int i) {
    real ai = at(a, i), bi = at(b, i), ci = at(c, i), di = at(d, i);
    return ai == bi ? (ci + di) * 0.5 : ci + (at(p, i) - ai) * ((di - ci) / (bi - ai));
  });
  return less(d, c) ? clamp(r, d, c) : clamp(r, c, d);
}
}  // namespace num

// The names of the macro language: `vector::norm`, `complex::dot`, `hyper::less`...
namespace complex {
using num::add; using num::sub; using num::mul; using num::mul_each; using num::div_each; using num::div;
using num::div_scalar; using num::dot; using num::sqr; using num::length; using num::equal;
using num::notequal; using num::less; using num::greater; using num::angle; using num::fullangle;
using num::inrange; using num::clamp; using num::min_each; using num::max_each; using num::sqrt;
using num::power; using num::norm; using num::minnorm; using num::maxnorm; using num::rangemap;
inline constexpr num::complex zero{};
num::natcomplex trunc(num::complex a);
num::natcomplex round(num::complex a);
num::natcomplex floor32(num::complex a);
inline num::complex polar2(double r, double a) { return {r * std::cos(a), r * std::sin(a)}; }
}  // namespace complex
namespace natcomplex {
using num::add; using num::sub; using num::mul; using num::mul_each; using num::div_each; using num::div;
using num::div_scalar; using num::dot; using num::sqr; using num::length; using num::equal;
using num::notequal; using num::less; using num::greater; using num::angle; using num::fullangle;
using num::inrange; using num::clamp; using num::min_each; using num::max_each;
inline constexpr num::natcomplex zero{};
}
namespace vector {
using num::add; using num::sub; using num::mul; using num::mul_each; using num::div_each; using num::div;
using num::div_scalar; using num::dot; using num::sqr; using num::length; using num::equal;
using num::notequal; using num::less; using num::greater; using num::angle; using num::fullangle;
using num::inrange; using num::clamp; using num::min_each; using num::max_each; using num::sqrt;
using num::power; using num::norm; using num::minnorm; using num::maxnorm; using num::rangemap;
inline constexpr num::vector zero{};
inline constexpr num::vector one{1, 1, 1};
num::natvector trunc(num::vector a);
num::natvector round(num::vector a);
num::natvector floor32(num::vector a);
// Right-handed.
inline num::vector cross(num::vector a, num::vector b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double triple(num::vector a, num::vector b, num::vector c) { return num::dot(cross(a, b), c); }
// Compares x alone, as it always has.
inline bool lessequal(num::vector a, num::vector b) { return a.x <= b.x; }
num::vector rotate_x(num::vector v, double a);
num::vector rotate_y(num::vector v, double a);
num::vector rotate_z(num::vector v, double a);
num::vector polar3(double a, double b);
num::vector polar3(double r, double a, double b);
// Whether a step along `a` brings `p` nearer the origin.
inline bool clearance(num::vector p, num::vector a) { return num::length(p) > num::length(num::add(p, a)); }
}  // namespace vector
namespace natvector {
using num::add; using num::sub; using num::mul; using num::mul_each; using num::div_each; using num::div;
using num::div_scalar; using num::dot; using num::sqr; using num::length; using num::equal;
using num::notequal; using num::less; using num::greater; using num::angle; using num::fullangle;
using num::inrange; using num::clamp; using num::min_each; using num::max_each;
inline constexpr num::natvector zero{};
num::natvector cross(num::natvector a, num::natvector b);
}  // namespace natvector
namespace hyper {
using num::add; using num::sub; using num::mul; using num::mul_each; using num::div_each; using num::div;
using num::div_scalar; using num::dot; using num::sqr; using num::length; using num::equal;
using num::notequal; using num::less; using num::greater; using num::angle; using num::fullangle;
using num::inrange; using num::clamp; using num::min_each; using num::max_each; using num::sqrt;
using num::power; using num::norm; using num::minnorm; using num::maxnorm; using num::rangemap;
inline constexpr num::hyper zero{};
num::nathyper trunc(num::hyper a);
num::nathyper round(num::hyper a);
num::nathyper floor32(num::hyper a);
// The four signed 3x3 determinants: a hyper orthogonal to all three.
num::hyper cross(num::hyper a, num::hyper b, num::hyper c);
// Cofactors alternating along the first hyper.
double det4(num::hyper a, num::hyper b, num::hyper c, num::hyper d);
num::hyper round_digits(num::hyper h, std::int64_t n);
}  // namespace hyper
namespace nathyper {
using num::add; using num::sub; using num::mul; using num::mul_each; using num::div_each; using num::div;
using num::div_scalar; using num::dot; using num::sqr; using num::length; using num::equal;
using num::notequal; using num::less; using num::greater; using num::angle; using num::fullangle;
using num::inrange; using num::clamp; using num::min_each; using num::max_each;
inline constexpr num::nathyper zero{};
}

namespace line {
double distance(num::vector p, num::vector o, num::vector d);   // from p to the line o + s d
}
namespace plane {
double distance(num::vector p, num::vector o, num::vector a, num::vector b);   // to the plane o + s a + t b
}
namespace triangle {
double area(num::vector a, num::vector b, num::vector c);
}
namespace box {
// The four corners of the lower z side first, walking round it, then the upper side.
std::array<num::vector, 8> corners(num::vector center, num::vector size);
}

namespace matrix {
inline constexpr num::matrix zero{};
inline constexpr num::matrix identity{{1, 0, 0, 0, 1, 0, 0, 0, 1}};
inline num::vector row(const num::matrix& m, int i) { return {m.m[3 * i], m.m[3 * i + 1], m.m[3 * i + 2]}; }
inline num::matrix from_rows(num::vector a, num::vector b, num::vector c) {
  return {{a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z}};
}
num::matrix mul_scalar(const num::matrix& m, double s);
num::matrix mul_columns(const num::matrix& m, double a, double b, double c);
num::matrix adjugate(const num::matrix& m);
double det(const num::matrix& m);   // triple product of the rows
num::matrix transpose(const num::matrix& m);
num::matrix inverse(const num::matrix& m);   // the zero matrix when det is 0
bool is_negative(const num::matrix& m);      // the sum of all entries is below 0
// Row vector times matrix: x*row1 + y*row2 + z*row3, the form of all coordinates.
inline num::vector apply(num::vector v, const num::matrix& m) {
  return {v.x * m.m[0] + v.y * m.m[3] + v.z * m.m[6], v.x * m.m[1] + v.y * m.m[4] + v.z * m.m[7],
          v.x * m.m[2] + v.y * m.m[5] + v.z * m.m[8]};
}
num::matrix join(const num::matrix& a, const num::matrix& b);   // a times b
double trace(const num::matrix& m);
num::quat to_quat(const num::matrix& m);
num::matrix rotation(num::vector axis, double angle);   // Rodrigues, row-vector sense
bool equal(const num::matrix& a, const num::matrix& b);  // byte by byte
}  // namespace matrix

namespace matrix4 {
inline constexpr num::matrix4 zero{};
inline constexpr num::matrix4 identity{{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}};
inline num::hyper row(const num::matrix4& m, int i) { return {m.m[4 * i], m.m[4 * i + 1], m.m[4 * i + 2], m.m[4 * i + 3]}; }
num::matrix4 mul_scalar(const num::matrix4& m, double s);
num::matrix4 mul_columns(const num::matrix4& m, double a, double b, double c, double d);
num::matrix4 adjugate(const num::matrix4& m);
double det(const num::matrix4& m);   // cofactors along the last row
num::matrix4 transpose(const num::matrix4& m);
num::matrix4 inverse(const num::matrix4& m);
bool is_negative(const num::matrix4& m);
num::hyper apply(num::hyper v, const num::matrix4& m);
num::matrix4 join(const num::matrix4& a, const num::matrix4& b);
double trace(const num::matrix4& m);
}  // namespace matrix4

namespace tensor {
inline constexpr num::tensor zero{};
num::matrix to_matrix(num::tensor t);
// The zero tensor when the matrix is not symmetric.
num::tensor from_matrix(const num::matrix& m);
inline num::vector diagonal(num::tensor t) { return {t.xx, t.yy, t.zz}; }
inline num::vector offdiagonal(num::tensor t) { return {t.xy, t.xz, t.yz}; }
inline num::tensor from_vectors(num::vector d, num::vector o) { return {d.x, d.y, d.z, o.x, o.y, o.z}; }
num::tensor add(num::tensor a, num::tensor b);
num::tensor mul(num::tensor a, double s);
num::tensor div(num::tensor a, double s);   // 0 gives the zero tensor
bool notequal(num::tensor a, num::tensor b);
// Cyclic Jacobi rotation. `values` in the order of the diagonal they grew from,
// `vectors` with one eigenvector per column. All zero without convergence.
struct eigenresult {
  num::vector values;
  num::matrix vectors;
  bool converged = false;
};
eigenresult eigen(num::tensor t);
// Eigenvalues by descending absolute value, made positive-led; a value <= 0
// after the first becomes 2.225e-308.
num::vector values(const eigenresult& e);
num::vector values(num::tensor t);   // the same values without the eigenvectors
// Eigenvectors as rows in the order of `values`; rows of values <= 0 are zero.
num::matrix vectors(const eigenresult& e);
inline num::matrix vectors(num::tensor t) { return vectors(eigen(t)); }
}  // namespace tensor

namespace quat {
inline constexpr num::quat zero{};
inline num::hyper to_hyper(num::quat q) { return {q.w, q.x, q.y, q.z}; }
inline num::quat from_hyper(num::hyper h) { return {h.x, h.y, h.z, h.t}; }
num::quat from(double angle, num::vector axis);   // the axis as given, not normalised
double angle(num::quat q);
num::vector axis(num::quat q);
inline num::quat conjugate(num::quat q) { return {q.w, -q.x, -q.y, -q.z}; }
num::quat mul(num::quat a, num::quat b);    // a*b, Hamilton's order
inline num::quat join(num::quat a, num::quat b) { return mul(b, a); }
num::vector transform(num::vector v, num::quat q);
num::matrix to_matrix(num::quat q);   // not normalised
// Tait-Bryan (Cardan) angles X-Y'-Z''.
num::vector to_euler(num::quat q);
}  // namespace quat

}  // namespace qv
