// tensor.cpp: symmetric 3x3 tensors and their eigen-decomposition by cyclic Jacobi rotation.
#include <cmath>
#include <utility>

#include "foundation/numeric.h"

namespace qv {

num::matrix tensor::to_matrix(num::tensor t) { return {{t.xx, t.xy, t.xz, t.xy, t.yy, t.yz, t.xz, t.yz, t.zz}}; }

// Off-diagonals come from below the diagonal and must mirror those above.
num::tensor tensor::from_matrix(const num::matrix& m) {
  const double* a = m.m;
  if (a[3] != a[1] || a[6] != a[2] || a[7] != a[5]) return {};
  return {a[0], a[4], a[8], a[3], a[6], a[7]};
}

num::tensor tensor::add(num::tensor a, num::tensor b) {
  return {a.xx + b.xx, a.yy + b.yy, a.zz + b.zz, a.xy + b.xy, a.xz + b.xz, a.yz + b.yz};
}
num::tensor tensor::mul(num::tensor a, double s) { return {a.xx * s, a.yy * s, a.zz * s, a.xy * s, a.xz * s, a.yz * s}; }
num::tensor tensor::div(num::tensor a, double s) {
  return s == 0 ? num::tensor{} : num::tensor{a.xx / s, a.yy / s, a.zz / s, a.xy / s, a.xz / s, a.yz / s};
}
bool tensor::notequal(num::tensor a, num::tensor b) {
  return a.xx != b.xx || a.yy != b.yy || a.zz != b.zz || a.xy != b.xy || a.xz != b.xz || a.yz != b.yz;
}

namespace {

// Sweeps 0 to 3 rotate only above a threshold; from sweep 5 on, an element too
// small to change either diagonal is simply cleared. A hundred sweeps without
// convergence give all zeros. Without `Vectors` the rotations are not
// accumulated: the values come out the same, for less work.
template <bool Vectors>
tensor::eigenresult jacobi(num::tensor t) {
  using tensor::eigenresult;
  double e[3] = {t.xx, t.yy, t.zz};
  double a[3][3] = {{0, t.xy, t.xz}, {t.xy, 0, t.yz}, {t.xz, t.yz, 0}};   // only off-diagonals are read
  double v[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  constexpr int pairs[3][3] = {{0, 1, 2}, {0, 2, 1}, {1, 2, 0}};   // p, q and the third index
  for (int sweep = 0; sweep < 100; ++sweep) {
    double sum = std::fabs(a[0][1]) + std::fabs(a[0][2]) + std::fabs(a[1][2]);
    if (sum == 0) {
      eigenresult r{{e[0], e[1], e[2]}, {}, true};
      for (int i = 0; i < 9; ++i) r.vectors.m[i] = v[i / 3][i % 3];
      return r;
    }
    double threshold = sweep < 4 ? 0.2 * sum / 9 : 0;
    for (const auto& pq : pairs) {
      int p = pq[0], q = pq[1], r = pq[2];
      double apq = a[p][q];
      double g = 100 * std::fabs(apq);
      if (sweep >= 5 && std::fabs(e[p]) + g == std::fabs(e[p]) && std::fabs(e[q]) + g == std::fabs(e[q])) {
        a[p][q] = a[q][p] = 0;
        continue;
      }
      if (!(std::fabs(apq) > threshold)) continue;
      double h = e[q] - e[p], tn;
      if (std::fabs(h) + g == std::fabs(h)) {
        tn = apq / h;
      } else {
        double theta = 0.5 * h / apq;
        double root = std::sqrt(1 + theta * theta);
        tn = theta >= 0 ? 1 / (root + theta) : -1 / (root - theta);
      }
      double c = 1 / std::sqrt(1 + tn * tn), s = tn * c;
      e[p] -= tn * apq;
      e[q] += tn * apq;
      a[p][q] = a[q][p] = 0;
      double arp = a[r][p], arq = a[r][q];
      a[r][p] = a[p][r] = c * arp - s * arq;
      a[r][q] = a[q][r] = s * arp + c * arq;
      if constexpr (Vectors)
        for (auto& row : v) {
          double vp = row[p], vq = row[q];
          row[p] = c * vp - s * vq;
          row[q] = s * vp + c * vq;
        }
    }
  }
  return {};
}

}  // namespace

tensor::eigenresult tensor::eigen(num::tensor t) { return jacobi<true>(t); }
num::vector tensor::values(num::tensor t) { return values(jacobi<false>(t)); }

namespace {
// Three compare-and-exchange steps over 1-2, 2-3, 1-2 by descending absolute
// value; a pair changes places only on a strictly smaller absolute value.
void order(double e[3], num::vector rows[3]) {
  constexpr int steps[3][2] = {{0, 1}, {1, 2}, {0, 1}};
  for (const auto& st : steps) {
    int i = st[0], j = st[1];
    if (std::fabs(e[i]) < std::fabs(e[j])) {
      std::swap(e[i], e[j]);
      if (rows) std::swap(rows[i], rows[j]);
    }
  }
}
constexpr double tiny = 2.225e-308;
}  // namespace

num::vector tensor::values(const eigenresult& r) {
  double e[3] = {r.values.x, r.values.y, r.values.z};
  order(e, nullptr);
  if (e[0] < 0)
    for (double& x : e) x = -x;
  for (int i = 1; i < 3; ++i)
    if (e[i] <= 0) e[i] = tiny;
  return {e[0], e[1], e[2]};
}

num::matrix tensor::vectors(const eigenresult& r) {
  double e[3] = {r.values.x, r.values.y, r.values.z};
  num::matrix t = matrix::transpose(r.vectors);
  num::vector rows[3] = {matrix::row(t, 0), matrix::row(t, 1), matrix::row(t, 2)};
  order(e, rows);
  if (e[0] < 0)
    for (int i = 0; i < 3; ++i) {
      e[i] = -e[i];
      rows[i] = num::mul(rows[i], -1.0);
    }
  for (int i = 0; i < 3; ++i)
    if (e[i] <= 0) rows[i] = {};
  return matrix::from_rows(rows[0], rows[1], rows[2]);
}

}  // namespace qv
