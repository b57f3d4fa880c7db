// numeric_text.cpp: reading records from text component by component, and writing them back.
#include "foundation/numeric_text.h"

#include "foundation/numbertext.h"

namespace qv {
namespace {
bool separator(widechar c) {
  switch (c) {
    case u' ': case u'\t': case u';': case u'<': case u'>': case u'(': case u')':
    case u'[': case u']': case u'{': case u'}':
      return true;
    case u',':
      return number::format.decimal;   // under the decimal comma it belongs to the number
    default:
      return false;
  }
}
bool numberlike(wideview piece) {
  for (widechar c : piece)
    if ((c >= u'0' && c <= u'9') || c == u'π') return true;
  return false;
}
// Calls `take` with each number piece of `t`, at most `count` times.
template <typename F> int pieces(wideview t, int count, F take) {
  int found = 0;
  std::size_t i = 0;
  while (found < count && i < t.size()) {
    while (i < t.size() && separator(t[i])) ++i;
    std::size_t j = i;
    while (j < t.size() && !separator(t[j])) ++j;
    wideview piece = t.substr(i, j - i);
    i = j;
    if (numberlike(piece)) take(found++, piece);
  }
  return found;
}
template <int N> std::array<double, N> reals_of(wideview t) {
  std::array<double, N> v{};
  text::reals(t, v.data(), N);
  return v;
}
template <int N> std::array<std::int64_t, N> nats_of(wideview t) {
  std::array<std::int64_t, N> v{};
  pieces(t, N, [&](int k, wideview p) { v[std::size_t(k)] = text::nat(p); });
  return v;
}
widetext components(const double* v, int n) {
  widetext out = u"<";
  for (int i = 0; i < n; ++i) {
    if (i) out += number::format.decimal ? u", " : u"; ";
    out += real::text(v[i]);
  }
  return out + u">";
}
widetext components(const std::int64_t* v, int n) {
  widetext out = u"<";
  for (int i = 0; i < n; ++i) {
    if (i) out += number::format.decimal ? u", " : u"; ";
    out += nat::text(v[i]);
  }
  return out + u">";
}
}  // namespace

int text::reals(wideview t, double* out, int count) {
  for (int k = 0; k < count; ++k) out[k] = 0;
  return pieces(t, count, [&](int k, wideview p) { out[k] = text::real(p); });
}

num::complex text::complex(wideview t) { auto v = reals_of<2>(t); return {v[0], v[1]}; }
num::natcomplex text::natcomplex(wideview t) { auto v = nats_of<2>(t); return {v[0], v[1]}; }
num::vector text::vector(wideview t) { auto v = reals_of<3>(t); return {v[0], v[1], v[2]}; }
num::natvector text::natvector(wideview t) { auto v = nats_of<3>(t); return {v[0], v[1], v[2]}; }
num::hyper text::hyper(wideview t) { auto v = reals_of<4>(t); return {v[0], v[1], v[2], v[3]}; }
num::nathyper text::nathyper(wideview t) { auto v = nats_of<4>(t); return {v[0], v[1], v[2], v[3]}; }
num::quat text::quat(wideview t) { auto v = reals_of<4>(t); return {v[0], v[1], v[2], v[3]}; }
num::tensor text::tensor(wideview t) {
  auto v = reals_of<6>(t);
  return {v[0], v[1], v[2], v[3], v[4], v[5]};
}
num::matrix text::matrix(wideview t) {
  num::matrix m;
  reals(t, m.m, 9);
  return m;
}
num::matrix4 text::matrix4(wideview t) {
  num::matrix4 m;
  if (!number::format.decimal || t.find(u';') == wideview::npos) {
    reals(t, m.m, 16);
    return m;
  }
  std::size_t start = 0;
  for (int row = 0; row < 4 && start <= t.size(); ++row) {
    std::size_t end = t.find(u';', start);
    if (end == wideview::npos) end = t.size();
    reals(t.substr(start, end - start), m.m + 4 * row, 4);
    start = end + 1;
  }
  return m;
}
std::uint8_t text::byte(wideview t) { return std::uint8_t(nat::clamp(text::nat(t), 0, 255)); }

bool chars::flag(wideview t) {
  widetext w;
  for (widechar c : t)
    if (c != u' ') w.push_back(text::lower_char(c));
  if (w.empty()) return false;
  widechar c = w[0];
  if (c == u'y' || c == u'j' || c == u'h' || c == u't') return true;
  if (w == u"on" || w == u"ok" || w == u"1" || w == u"+") return true;
  return text::nat(w) >= 1;
}

widetext complex::text(num::complex v) { double a[] = {v.x, v.y}; return components(a, 2); }
widetext natcomplex::text(num::natcomplex v) { std::int64_t a[] = {v.x, v.y}; return components(a, 2); }
widetext vector::text(num::vector v) { double a[] = {v.x, v.y, v.z}; return components(a, 3); }
widetext natvector::text(num::natvector v) { std::int64_t a[] = {v.x, v.y, v.z}; return components(a, 3); }
widetext hyper::text(num::hyper v) { double a[] = {v.x, v.y, v.z, v.t}; return components(a, 4); }
widetext nathyper::text(num::nathyper v) { std::int64_t a[] = {v.x, v.y, v.z, v.t}; return components(a, 4); }
widetext quat::text(num::quat q) { double a[] = {q.w, q.x, q.y, q.z}; return components(a, 4); }
widetext tensor::text(num::tensor v) {
  double a[] = {v.xx, v.yy, v.zz, v.xy, v.xz, v.yz};
  return components(a, 6);
}

widetext hyper::text_short(num::hyper v) {
  double a[] = {v.x, v.y, v.z, v.t};
  int n = 4;
  while (n > 1 && a[n - 1] == 0) --n;
  return n == 1 ? real::text(v.x) : components(a, n);
}

widetext matrix::text(const num::matrix& m) {
  return u"(" + vector::text(row(m, 0)) + u";" + vector::text(row(m, 1)) + u";" + vector::text(row(m, 2)) + u")";
}
widetext matrix4::text(const num::matrix4& m) {
  widetext out = u"(";
  for (int i = 0; i < 4; ++i) out += (i ? u";" : u"") + hyper::text(row(m, i));
  return out + u")";
}

}  // namespace qv
