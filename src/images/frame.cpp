// frame.cpp: frame arithmetic, the position rule and the vector texts of the macro language.
#include "images/frame.h"

#include <cmath>
#include <cstdlib>
#include <string>

#include "foundation/numbertext.h"

namespace qv {
namespace framemath {

double length(vector v) { return std::sqrt(std::fabs(v.x * v.x + v.y * v.y + v.z * v.z)); }

matrix inverse(const matrix& a) {
  const double* m = a.m;
  double c[9] = {m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                 m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                 m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
  double det = m[0] * c[0] + m[1] * c[3] + m[2] * c[6];
  matrix r;
  for (int i = 0; i < 9; ++i) r.m[i] = det == 0 ? 0 : c[i] / det;
  return r;
}

vector apply(vector v, const matrix& a) {
  const double* m = a.m;
  return {v.x * m[0] + v.y * m[3] + v.z * m[6], v.x * m[1] + v.y * m[4] + v.z * m[7],
          v.x * m[2] + v.y * m[5] + v.z * m[8]};
}

std::int64_t round(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 9.2233720368547758e18) return INT64_MAX;
  if (v <= -9.2233720368547758e18) return INT64_MIN;
  return static_cast<std::int64_t>(std::nearbyint(v));   // the default mode rounds ties to even
}

}  // namespace framemath

using framemath::vector;

void frame_set_offset(frame& f, vector offset) {
  f.offset = offset;
  f.negated = {-offset.x, -offset.y, -offset.z};
}

void frame_set_matrix(frame& f, const framemath::matrix& m) {
  f.matrix = m;
  f.inverse = framemath::inverse(m);
}

void frame_refresh(frame& f) {
  frame_set_offset(f, f.offset);
  frame_set_matrix(f, f.matrix);
}

vector frame_scale(const frame& f) {
  return {framemath::length(f.matrix.row(0)), framemath::length(f.matrix.row(1)), framemath::length(f.matrix.row(2))};
}

void frame_unflip(frame& f) {
  framemath::matrix m = f.matrix;
  for (double& e : m.m) e = std::fabs(e);
  frame_set_matrix(f, m);
}

void frame_unrotate(frame& f) {
  vector s = frame_scale(f);
  framemath::matrix m;
  m.m[0] = s.x, m.m[4] = s.y, m.m[8] = s.z;
  frame_set_matrix(f, m);
}

bool frame_set_scale(frame& f, vector s) {
  if (s == vector{}) return false;
  framemath::matrix m;
  m.m[0] = std::fabs(s.x), m.m[4] = std::fabs(s.y), m.m[8] = std::fabs(s.z);
  frame_set_matrix(f, m);
  return true;
}

vector l2g(const frame& f, vector p) {
  vector d = framemath::apply({p.x - 1, p.y - 1, p.z - 1}, f.matrix);
  return {f.offset.x + d.x, f.offset.y + d.y, f.offset.z + d.z};
}

framemath::natvector g2l(const frame& f, vector g) {
  vector d = framemath::apply({g.x + f.negated.x, g.y + f.negated.y, g.z + f.negated.z}, f.inverse);
  return {framemath::round(d.x + 1), framemath::round(d.y + 1), framemath::round(d.z + 1)};
}

std::int64_t position_index(double p, std::int64_t n) {
  std::int64_t i;
  if (p <= -1) i = framemath::round(double(n) + p + 1);
  else if (p < 0) i = framemath::round(double(n - 1) * (1 + p)) + 1;
  else if (p == 0) i = framemath::round(float(n - 1) * 0.5f) + 1;
  else if (p < 1) i = framemath::round(double(n - 1) * p) + 1;
  else i = framemath::round(p);
  if (i < 1 || i > n) i = n / 2;
  return i;
}

widetext vector_text(vector v) {
  return u"<" + real::text(v.x) + u"," + real::text(v.y) + u"," + real::text(v.z) + u">";
}

widetext vector2_text(double x, double y) { return u"<" + real::text(x) + u"," + real::text(y) + u">"; }

widetext natvector_text(framemath::natvector v) {
  return u"<" + nat::text(v.x) + u"," + nat::text(v.y) + u"," + nat::text(v.z) + u">";
}

widetext nat2_text(std::int64_t x, std::int64_t y) { return u"<" + nat::text(x) + u"," + nat::text(y) + u">"; }

widetext matrix_text(const framemath::matrix& m) {
  return u"(" + vector_text(m.row(0)) + u";" + vector_text(m.row(1)) + u";" + vector_text(m.row(2)) + u")";
}

namespace {
bool digit(widechar c) { return c >= u'0' && c <= u'9'; }
}  // namespace

int read_numbers(wideview t, double* out, int count) {
  int found = 0;
  for (int k = 0; k < count; ++k) out[k] = 0;
  std::size_t i = 0;
  while (i < t.size() && found < count) {
    widechar c = t[i];
    bool starts = digit(c) || ((c == u'-' || c == u'+' || c == u'.') && i + 1 < t.size() &&
                               (digit(t[i + 1]) || (t[i + 1] == u'.' && i + 2 < t.size() && digit(t[i + 2]))));
    if (!starts) {
      ++i;
      continue;
    }
    std::string s;
    while (i < t.size()) {
      widechar d = t[i];
      bool exp_sign = (d == u'-' || d == u'+') && !s.empty() && (s.back() == 'e' || s.back() == 'E');
      if (digit(d) || d == u'.' || d == u'e' || d == u'E' || exp_sign || (s.empty() && (d == u'-' || d == u'+')))
        s.push_back(char(d)), ++i;
      else
        break;
    }
    char* end = nullptr;
    double v = std::strtod(s.c_str(), &end);
    out[found++] = std::isfinite(v) ? v : 0;
  }
  return found;
}

vector read_vector(wideview t) {
  double v[3];
  read_numbers(t, v, 3);
  return {v[0], v[1], v[2]};
}

}  // namespace qv
