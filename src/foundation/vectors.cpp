// vectors.cpp: conversions, rotations and geometry of the complex, vector and hyper records.
#include <cmath>

#include "foundation/numeric.h"

namespace qv {
namespace {
std::int64_t floor32(double v) {
  if (!(v == v)) return 0;
  double f = std::floor(v);
  if (f >= 2147483647.0) return 2147483647;
  if (f <= -2147483648.0) return -2147483648LL;
  return std::int64_t(std::int32_t(f));
}
// The three conversions of a real record to its nat form.
template <typename N, typename R, typename F> N convert(R a, F f) {
  if constexpr (num::dims<R> == 2) return N{f(a.x), f(a.y)};
  else if constexpr (num::dims<R> == 3) return N{f(a.x), f(a.y), f(a.z)};
  else return N{f(a.x), f(a.y), f(a.z), f(a.t)};
}
double det3(double a1, double a2, double a3, double b1, double b2, double b3, double c1, double c2, double c3) {
  return a1 * (b2 * c3 - b3 * c2) - a2 * (b1 * c3 - b3 * c1) + a3 * (b1 * c2 - b2 * c1);
}
}  // namespace

num::natcomplex complex::trunc(num::complex a) { return convert<num::natcomplex>(a, real::trunc); }
num::natcomplex complex::round(num::complex a) { return convert<num::natcomplex>(a, real::round); }
num::natcomplex complex::floor32(num::complex a) { return convert<num::natcomplex>(a, qv::floor32); }
num::natvector vector::trunc(num::vector a) { return convert<num::natvector>(a, real::trunc); }
num::natvector vector::round(num::vector a) { return convert<num::natvector>(a, real::round); }
num::natvector vector::floor32(num::vector a) { return convert<num::natvector>(a, qv::floor32); }
num::nathyper hyper::trunc(num::hyper a) { return convert<num::nathyper>(a, real::trunc); }
num::nathyper hyper::round(num::hyper a) { return convert<num::nathyper>(a, real::round); }
num::nathyper hyper::floor32(num::hyper a) { return convert<num::nathyper>(a, qv::floor32); }

num::natvector natvector::cross(num::natvector a, num::natvector b) {
  using qv::nat::mul, qv::nat::sub;
  return {sub(mul(a.y, b.z), mul(a.z, b.y)), sub(mul(a.z, b.x), mul(a.x, b.z)), sub(mul(a.x, b.y), mul(a.y, b.x))};
}

// An angle of exactly 0 leaves the vector untouched.
num::vector vector::rotate_x(num::vector v, double a) {
  if (a == 0) return v;
  double c = std::cos(a), s = std::sin(a);
  return {v.x, v.y * c - v.z * s, v.y * s + v.z * c};
}
num::vector vector::rotate_y(num::vector v, double a) {
  if (a == 0) return v;
  double c = std::cos(a), s = std::sin(a);
  return {v.x * c + v.z * s, v.y, -v.x * s + v.z * c};
}
num::vector vector::rotate_z(num::vector v, double a) {
  if (a == 0) return v;
  double c = std::cos(a), s = std::sin(a);
  return {v.x * c - v.y * s, v.x * s + v.y * c, v.z};
}

num::vector vector::polar3(double a, double b) { return polar3(1, a, b); }
num::vector vector::polar3(double r, double a, double b) {
  return {r * std::sin(a) * std::cos(b), r * std::sin(a) * std::sin(b), r * std::cos(a)};
}

num::hyper hyper::cross(num::hyper a, num::hyper b, num::hyper c) {
  return {det3(a.y, a.z, a.t, b.y, b.z, b.t, c.y, c.z, c.t), -det3(a.x, a.z, a.t, b.x, b.z, b.t, c.x, c.z, c.t),
          det3(a.x, a.y, a.t, b.x, b.y, b.t, c.x, c.y, c.t), -det3(a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z)};
}

double hyper::det4(num::hyper a, num::hyper b, num::hyper c, num::hyper d) { return num::dot(a, cross(b, c, d)); }

// Each component to n decimals through the factor 10^n as a whole number;
// a factor that rounds to 0 (n below 0) gives the zero record.
num::hyper hyper::round_digits(num::hyper h, std::int64_t n) {
  double f = double(real::round(real::power_nat(10, n)));
  if (f == 0) return {};
  return num::map(h, [&](double v) { return double(real::round(v * f)) / f; });
}

double line::distance(num::vector p, num::vector o, num::vector d) {
  double l = num::length(d);
  return l == 0 ? 0 : num::length(vector::cross(d, num::sub(p, o))) / l;
}

double plane::distance(num::vector p, num::vector o, num::vector a, num::vector b) {
  num::vector n = vector::cross(a, b);
  double l = num::length(n);
  return l == 0 ? 0 : std::fabs(num::dot(n, p) - num::dot(n, o)) / l;
}

double triangle::area(num::vector a, num::vector b, num::vector c) {
  return 0.5 * num::length(vector::cross(num::sub(b, a), num::sub(c, a)));
}

std::array<num::vector, 8> box::corners(num::vector c, num::vector size) {
  double x = size.x / 2, y = size.y / 2, z = size.z / 2;
  return {{{c.x - x, c.y - y, c.z - z}, {c.x + x, c.y - y, c.z - z}, {c.x + x, c.y + y, c.z - z}, {c.x - x, c.y + y, c.z - z},
           {c.x - x, c.y - y, c.z + z}, {c.x + x, c.y - y, c.z + z}, {c.x + x, c.y + y, c.z + z}, {c.x - x, c.y + y, c.z + z}}};
}

}  // namespace qv
