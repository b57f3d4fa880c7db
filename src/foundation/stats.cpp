// stats.cpp: order statistics through a sorted index array, means and deviations.
#include "foundation/stats.h"

#include <algorithm>
#include <limits>

#include "foundation/dynarray.h"

namespace qv::stats {
namespace {
// 1-based indices of `v` in ascending order; not-a-numbers sort last.
dynarray<std::int64_t> order(std::span<const double> v) {
  dynarray<std::int64_t> idx;
  std::int64_t n = std::int64_t(v.size());
  if (n == 0 || !dyn::static_new(idx, n)) return idx;
  for (std::int64_t i = 0; i < n; ++i) idx.data[i] = i;
  std::stable_sort(idx.data, idx.data + n, [&](std::int64_t a, std::int64_t b) {
    double x = v[std::size_t(a)], y = v[std::size_t(b)];
    return x < y || (x == x && y != y);
  });
  return idx;
}
// Element k (1-based) in sort order, 0 outside; in the even case the element
// is taken as its sum with itself times 0.5.
double element(std::span<const double> v, const dynarray<std::int64_t>& idx, std::int64_t k, bool even) {
  if (k < 1 || k > idx.length) return 0;
  double e = v[std::size_t(idx.data[k - 1])];
  return even ? (e + e) * 0.5 : e;
}
}  // namespace

quartiles quartiles_of(std::span<const double> v) {
  std::int64_t n = std::int64_t(v.size());
  if (n == 0) return {};
  dynarray<std::int64_t> idx = order(v);
  if (idx.length != n) return {};
  if (n % 2) return {element(v, idx, n / 4 + 1, false), element(v, idx, n / 2 + 1, false), element(v, idx, (n / 4) * 3 + 1, false)};
  return {element(v, idx, n / 4, true), element(v, idx, n / 2, true), element(v, idx, (n / 4) * 3, true)};
}

double median(std::span<const double> v) { return quartiles_of(v).median; }

double min(std::span<const double> v) {
  double m = std::numeric_limits<double>::infinity();
  for (double x : v) m = x < m ? x : m;
  return m;
}

double max(std::span<const double> v) {
  double m = -std::numeric_limits<double>::infinity();
  for (double x : v) m = x > m ? x : m;
  return m;
}

std::int64_t max_index(std::span<const double> v) {
  std::int64_t best = 0;
  for (std::size_t i = 0; i < v.size(); ++i)
    if (best == 0 || v[i] > v[std::size_t(best - 1)]) best = std::int64_t(i) + 1;
  return best;
}

double sum(std::span<const double> v) {
  double s = 0;
  for (double x : v) s += x;
  return s;
}

double mean(std::span<const double> v) { return v.empty() ? 0 : sum(v) / double(v.size()); }

double sd(std::span<const double> v) {
  if (v.size() < 2) return 0;
  double m = mean(v), s = 0;
  for (double x : v) s += (x - m) * (x - m);
  return real::sqrt(s / double(v.size() - 1));
}

num::hyper min(std::span<const num::hyper> v) {
  if (v.empty()) return {};
  num::hyper m = v[0];
  for (const num::hyper& h : v) m = num::less(h, m) ? h : m;
  return m;
}

num::hyper max(std::span<const num::hyper> v) {
  if (v.empty()) return {};
  num::hyper m = v[0];
  for (const num::hyper& h : v) m = num::greater(h, m) ? h : m;
  return m;
}

num::hyper sum(std::span<const num::hyper> v) {
  num::hyper s;
  for (const num::hyper& h : v) s = num::add(s, h);
  return s;
}

num::hyper mean(std::span<const num::hyper> v) { return v.empty() ? num::hyper{} : num::div(sum(v), double(v.size())); }

num::hyper var(std::span<const num::hyper> v) {
  if (v.size() < 2) return {};
  num::hyper m = mean(v), s;
  for (const num::hyper& h : v) s = num::add(s, num::sqr(num::sub(h, m)));
  return num::div(s, double(v.size() - 1));
}

num::hyper sd(std::span<const num::hyper> v) { return num::sqrt(var(v)); }

num::complex outlier_window(const quartiles& q, double factor) {
  double w = factor * std::fabs(q.q25 - q.q75);
  return {q.median - w, q.median + w};
}

}  // namespace qv::stats
