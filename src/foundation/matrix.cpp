// matrix.cpp: 3x3 and 4x4 matrices and quaternions; coordinates are row vectors times a matrix.
#include <cmath>

#include "foundation/numeric.h"

namespace qv {
namespace {
double det3(const double* r1, const double* r2, const double* r3) {
  return r1[0] * (r2[1] * r3[2] - r2[2] * r3[1]) - r1[1] * (r2[0] * r3[2] - r2[2] * r3[0]) +
         r1[2] * (r2[0] * r3[1] - r2[1] * r3[0]);
}
// The 3x3 minor of a 4x4 matrix without row `r` and column `c`.
double minor4(const num::matrix4& m, int r, int c) {
  double k[9];
  int n = 0;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      if (i != r && j != c) k[n++] = m.m[4 * i + j];
  return det3(k, k + 3, k + 6);
}
}  // namespace

num::matrix matrix::mul_scalar(const num::matrix& m, double s) {
  num::matrix r;
  for (int i = 0; i < 9; ++i) r.m[i] = m.m[i] * s;
  return r;
}

num::matrix matrix::mul_columns(const num::matrix& m, double a, double b, double c) {
  num::matrix r = m;
  for (int i = 0; i < 3; ++i) {
    r.m[3 * i] *= a;
    r.m[3 * i + 1] *= b;
    r.m[3 * i + 2] *= c;
  }
  return r;
}

num::matrix matrix::adjugate(const num::matrix& m) {
  const double* a = m.m;
  return {{a[4] * a[8] - a[5] * a[7], a[2] * a[7] - a[1] * a[8], a[1] * a[5] - a[2] * a[4],
           a[5] * a[6] - a[3] * a[8], a[0] * a[8] - a[2] * a[6], a[2] * a[3] - a[0] * a[5],
           a[3] * a[7] - a[4] * a[6], a[1] * a[6] - a[0] * a[7], a[0] * a[4] - a[1] * a[3]}};
}

double matrix::det(const num::matrix& m) { return vector::triple(row(m, 0), row(m, 1), row(m, 2)); }

num::matrix matrix::transpose(const num::matrix& m) {
  const double* a = m.m;
  return {{a[0], a[3], a[6], a[1], a[4], a[7], a[2], a[5], a[8]}};
}

num::matrix matrix::inverse(const num::matrix& m) {
  double d = det(m);
  return d == 0 ? num::matrix{} : mul_scalar(adjugate(m), 1 / d);
}

bool matrix::is_negative(const num::matrix& m) {
  double s = 0;
  for (double v : m.m) s += v;
  return s < 0;
}

num::matrix matrix::join(const num::matrix& a, const num::matrix& b) {
  num::matrix r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      r.m[3 * i + j] = a.m[3 * i] * b.m[j] + a.m[3 * i + 1] * b.m[3 + j] + a.m[3 * i + 2] * b.m[6 + j];
  return r;
}

double matrix::trace(const num::matrix& m) { return m.m[0] + m.m[4] + m.m[8]; }

bool matrix::equal(const num::matrix& a, const num::matrix& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// The branch of the largest diagonal element; ties go on only by strict comparison.
num::quat matrix::to_quat(const num::matrix& a) {
  const double m1 = a.m[0], m2 = a.m[1], m3 = a.m[2], m4 = a.m[3], m5 = a.m[4], m6 = a.m[5], m7 = a.m[6],
               m8 = a.m[7], m9 = a.m[8];
  double tr = m1 + m5 + m9;
  num::quat q;
  if (tr > 0) {
    double s = 2 * real::sqrt(1 + tr);
    q = {s / 4, (m6 - m8) / s, (m7 - m3) / s, (m2 - m4) / s};
  } else if (m1 > m5 && m1 > m9) {
    double s = 2 * real::sqrt(1 + m1 - m5 - m9);
    if (s == 0) return {};
    q = {(m6 - m8) / s, s / 4, (m2 + m4) / s, (m7 + m3) / s};
  } else if (m5 > m9) {
    double s = 2 * real::sqrt(1 + m5 - m1 - m9);
    if (s == 0) return {};
    q = {(m7 - m3) / s, (m2 + m4) / s, s / 4, (m6 + m8) / s};
  } else {
    double s = 2 * real::sqrt(1 + m9 - m1 - m5);
    if (s == 0) return {};
    q = {(m2 - m4) / s, (m7 + m3) / s, (m6 + m8) / s, s / 4};
  }
  if (q.w < 0) q = {-q.w, -q.x, -q.y, -q.z};
  return q;
}

// Rodrigues' rotation about the normalised axis, transposed for row vectors.
num::matrix matrix::rotation(num::vector axis, double angle) {
  num::vector k = num::norm(axis);
  double c = std::cos(angle), s = std::sin(angle), t = 1 - c;
  return {{t * k.x * k.x + c, t * k.x * k.y + s * k.z, t * k.x * k.z - s * k.y,
           t * k.x * k.y - s * k.z, t * k.y * k.y + c, t * k.y * k.z + s * k.x,
           t * k.x * k.z + s * k.y, t * k.y * k.z - s * k.x, t * k.z * k.z + c}};
}

num::matrix4 matrix4::mul_scalar(const num::matrix4& m, double s) {
  num::matrix4 r;
  for (int i = 0; i < 16; ++i) r.m[i] = m.m[i] * s;
  return r;
}

num::matrix4 matrix4::mul_columns(const num::matrix4& m, double a, double b, double c, double d) {
  num::matrix4 r = m;
  for (int i = 0; i < 4; ++i) {
    r.m[4 * i] *= a;
    r.m[4 * i + 1] *= b;
    r.m[4 * i + 2] *= c;
    r.m[4 * i + 3] *= d;
  }
  return r;
}

num::matrix4 matrix4::adjugate(const num::matrix4& m) {
  num::matrix4 r;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) r.m[4 * i + j] = ((i + j) % 2 ? -1 : 1) * minor4(m, j, i);
  return r;
}

double matrix4::det(const num::matrix4& m) {
  double d = 0;
  for (int j = 0; j < 4; ++j) d += ((3 + j) % 2 ? -1 : 1) * m.m[12 + j] * minor4(m, 3, j);
  return d;
}

num::matrix4 matrix4::transpose(const num::matrix4& m) {
  num::matrix4 r;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) r.m[4 * i + j] = m.m[4 * j + i];
  return r;
}

num::matrix4 matrix4::inverse(const num::matrix4& m) {
  double d = det(m);
  return d == 0 ? num::matrix4{} : mul_scalar(adjugate(m), 1 / d);
}

bool matrix4::is_negative(const num::matrix4& m) {
  double s = 0;
  for (double v : m.m) s += v;
  return s < 0;
}

num::hyper matrix4::apply(num::hyper v, const num::matrix4& m) {
  const double* a = m.m;
  return {v.x * a[0] + v.y * a[4] + v.z * a[8] + v.t * a[12], v.x * a[1] + v.y * a[5] + v.z * a[9] + v.t * a[13],
          v.x * a[2] + v.y * a[6] + v.z * a[10] + v.t * a[14], v.x * a[3] + v.y * a[7] + v.z * a[11] + v.t * a[15]};
}

num::matrix4 matrix4::join(const num::matrix4& a, const num::matrix4& b) {
  num::matrix4 r;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      double s = 0;
      for (int k = 0; k < 4; ++k) s += a.m[4 * i + k] * b.m[4 * k + j];
      r.m[4 * i + j] = s;
    }
  return r;
}

double matrix4::trace(const num::matrix4& m) { return m.m[0] + m.m[5] + m.m[10] + m.m[15]; }

num::quat quat::from(double angle, num::vector axis) {
  double c = std::cos(angle / 2), s = std::sin(angle / 2);
  return {c, axis.x * s, axis.y * s, axis.z * s};
}

namespace {
// A w above 1 squares every component first; it stands in for a normalisation.
num::quat squared_if_large(num::quat q) {
  if (q.w > 1) q = {q.w * q.w, q.x * q.x, q.y * q.y, q.z * q.z};
  return q;
}
}  // namespace

double quat::angle(num::quat q) { return 2 * real::arccos_safe(squared_if_large(q).w); }

num::vector quat::axis(num::quat q) {
  q = squared_if_large(q);
  double s = real::sqrt(1 - q.w * q.w);
  return s == 0 ? num::vector{} : num::vector{q.x / s, q.y / s, q.z / s};
}

num::quat quat::mul(num::quat a, num::quat b) {
  return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
          a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x, a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

num::vector quat::transform(num::vector v, num::quat q) {
  num::quat r = mul(mul(q, {0, v.x, v.y, v.z}), conjugate(q));
  return {r.x, r.y, r.z};
}

num::matrix quat::to_matrix(num::quat q) {
  double w = q.w, x = q.x, y = q.y, z = q.z;
  return {{w * w + x * x - y * y - z * z, 2 * (x * y + w * z), 2 * (x * z - w * y),
           2 * (x * y - w * z), w * w + y * y - x * x - z * z, 2 * (y * z + w * x),
           2 * (x * z + w * y), 2 * (y * z - w * x), w * w + z * z - x * x - y * y}};
}

num::vector quat::to_euler(num::quat q) {
  double w = q.w, x = q.x, y = q.y, z = q.z;
  double s = 2 * (w * y - z * x);
  double p = std::fabs(s) >= 1 ? real::sign_copy(num::pi / 2, s) : real::arcsin_safe(s);
  return {real::atan2_safe(2 * (w * x + y * z), 1 - 2 * (x * x + y * y)), p,
          real::atan2_safe(2 * (w * z + x * y), 1 - 2 * (y * y + z * z))};
}

}  // namespace qv
