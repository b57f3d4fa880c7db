// line_ops.cpp: whole-cloud operations behind the `line.` commands.
#include "lines/line_ops.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include "foundation/progress.h"
#include "foundation/stats.h"
#include "lines/cloud.h"
#include "volumes/paint.h"
#include "volumes/scalarfield.h"

namespace qv::line {
namespace {

using num::hyper;

double distance3(const hyper& a, const hyper& b) {
  return num::length(num::vector{a.x - b.x, a.y - b.y, a.z - b.z});
}
double distance4(const hyper& a, const hyper& b) { return num::length(num::sub(a, b)); }

double polygon_length(const cloud& c, std::int64_t b, std::int64_t e) {
  double sum = 0;
  for (std::int64_t i = b + 1; i < e; ++i) sum += distance3(c.points[i], c.points[i - 1]);
  return sum;
}

// Calls fn(begin, end) for every line, 0-based point ranges.
template <typename Fn>
void each_line(const cloud& c, Fn fn) {
  const std::int64_t n = line_count(c);
  for (std::int64_t l = 1; l <= n; ++l) fn(line_begin(c, l), line_end(c, l));
}

void center_range(cloud& c, std::int64_t b, std::int64_t e) {
  if (e <= b) return;
  num::vector sum;
  for (std::int64_t i = b; i < e; ++i) sum = num::add(sum, num::vector{c.points[i].x, c.points[i].y, c.points[i].z});
  const num::vector mean = num::div(sum, double(e - b));
  for (std::int64_t i = b; i < e; ++i) c.points[i].x -= mean.x, c.points[i].y -= mean.y, c.points[i].z -= mean.z;
  c.modified = true;
}

// A smooth curve through the first (up to) nine points of a line, sampled 11
// times at equal parameter steps: a Catmull-Rom spline with repeated ends.
using samples = std::array<hyper, 11>;
samples curve(const cloud& c, std::int64_t b, std::int64_t e) {
  const std::int64_t m = std::min<std::int64_t>(9, e - b);
  const hyper* p = c.points.data() + b;
  samples s;
  for (int k = 0; k <= 10; ++k) {
    const double u = double(k) * double(m - 1) / 10.0;
    const std::int64_t i = std::min<std::int64_t>(std::int64_t(u), m - 2);
    const double t = u - double(i), t2 = t * t, t3 = t2 * t;
    const hyper p0 = p[std::max<std::int64_t>(i - 1, 0)], p1 = p[i], p2 = p[i + 1], p3 = p[std::min(i + 2, m - 1)];
    s[std::size_t(k)] = num::build<hyper>([&](int a) {
      const double a0 = num::at(p0, a), a1 = num::at(p1, a), a2 = num::at(p2, a), a3 = num::at(p3, a);
      return 0.5 * (2 * a1 + (a2 - a0) * t + (2 * a0 - 5 * a1 + 4 * a2 - a3) * t2 + (3 * a1 - 3 * a2 + a3 - a0) * t3);
    });
  }
  return s;
}

bool near_curves(const samples& a, const samples& b, double d) {
  bool forward = true, backward = true;
  for (std::size_t k = 0; k < 11 && (forward || backward); ++k) {
    if (distance4(a[k], b[k]) > d) forward = false;
    if (distance4(a[k], b[10 - k]) > d) backward = false;
  }
  return forward || backward;
}

struct linerange { std::int64_t b, e; };
std::vector<linerange> ranges(const cloud& c) {
  std::vector<linerange> r;
  each_line(c, [&](std::int64_t b, std::int64_t e) { r.push_back({b, e}); });
  return r;
}

void compact_if(cloud& c, bool any) {
  if (any) compact(c);
}

}  // namespace

void center(cloud& c, bool by_object) {
  if (empty(c)) return;
  if (!by_object) return center_range(c, 0, point_count(c));
  const std::int64_t n = std::int64_t(c.objects.size());
  for (std::int64_t o = 1; o <= n; ++o) {
    const std::int64_t first = object_first(c, o), last = object_last(c, o);
    if (last >= first) center_range(c, line_begin(c, first), line_end(c, last));
  }
}

void set_t(cloud& c, tvalue v) {
  if (empty(c)) return;
  each_line(c, [&](std::int64_t b, std::int64_t e) {
    hyper* p = c.points.data();
    const std::int64_t n = e - b;
    if (v == tvalue::number) {
      for (std::int64_t i = b; i < e; ++i) p[i].t = double(i - b + 1);
    } else if (v == tvalue::length) {
      double sum = 0;
      for (std::int64_t i = b; i < e; ++i) {
        if (i > b) sum += distance3(p[i], p[i - 1]);
        p[i].t = sum;
      }
    } else {
      // A line whose ends are equal is closed: its ends are each other's neighbours.
      const bool closed = n > 1 && !num::notequal(p[b], p[e - 1]);
      std::vector<double> t(std::size_t(n), 0);
      constexpr double far = std::numeric_limits<double>::infinity();
      for (std::int64_t i = b; i < e && n > 1; ++i) {
        const double before = i > b ? distance3(p[i], p[i - 1]) : closed ? distance3(p[b], p[e - 1]) : far;
        const double after = i + 1 < e ? distance3(p[i], p[i + 1]) : closed ? distance3(p[e - 1], p[b]) : far;
        t[std::size_t(i - b)] = std::min(before, after);
      }
      for (std::int64_t i = b; i < e; ++i) p[i].t = t[std::size_t(i - b)];
    }
  });
  c.modified = true;
}

void t_statistic(cloud& c, tstat s) {
  if (empty(c)) return;
  std::vector<double> t;
  each_line(c, [&](std::int64_t b, std::int64_t e) {
    t.clear();
    for (std::int64_t i = b; i < e; ++i) t.push_back(c.points[i].t);
    const std::span<const double> v(t);
    const double r = s == tstat::mean ? stats::mean(v) : s == tstat::sd ? stats::sd(v) : s == tstat::min ? stats::min(v)
                   : s == tstat::median ? stats::median(v) : stats::max(v);
    for (std::int64_t i = b; i < e; ++i) c.points[i].t = r;
  });
  c.modified = true;
}

void erase_by(cloud& c, erasetest test, double v) {
  if (empty(c)) return;
  bool any = false;
  const std::int64_t n = line_count(c);
  for (std::int64_t l = 1; l <= n; ++l) {
    const std::int64_t b = line_begin(c, l), e = line_end(c, l);
    bool hit = false;
    if (test == erasetest::t_min || test == erasetest::t_max) {
      for (std::int64_t i = b; i < e && !hit; ++i) hit = test == erasetest::t_min ? c.points[i].t < v : c.points[i].t > v;
    } else if (e - b >= 2) {
      const double len = polygon_length(c, b, e);
      hit = test == erasetest::length_min ? len < v : len > v;
    }
    if (hit) erase_line(c, l), any = true;
  }
  compact_if(c, any);
}

void erase_duplicates(cloud& c) {
  if (empty(c)) return;
  const std::vector<linerange> r = ranges(c);
  const hyper* p = c.points.data();
  bool any = false;
  for (std::size_t i = 0; i < r.size(); ++i) {
    progress::set(double(i) / double(r.size()), u"Erase duplicates");
    const std::int64_t n = r[i].e - r[i].b;
    if (n == 0 || is_erased(p[r[i].b])) continue;
    for (std::size_t j = i + 1; j < r.size(); ++j) {
      if (r[j].e - r[j].b != n) continue;
      bool forward = true, backward = true;
      for (std::int64_t k = 0; k < n && (forward || backward); ++k) {
        if (num::notequal(p[r[i].b + k], p[r[j].b + k])) forward = false;
        if (num::notequal(p[r[i].b + k], p[r[j].e - 1 - k])) backward = false;
      }
      if (forward || backward) {
        erase_line(c, std::int64_t(i + 1));
        any = true;
        break;
      }
    }
  }
  progress::end(u"Erase duplicates");
  compact_if(c, any);
}

void erase_duplicates_near(cloud& c, double d) {
  if (empty(c)) return;
  const std::vector<linerange> r = ranges(c);
  std::vector<samples> s(r.size());
  for (std::size_t i = 0; i < r.size(); ++i)
    if (r[i].e - r[i].b > 1) s[i] = curve(c, r[i].b, r[i].e);
  const hyper* p = c.points.data();
  std::vector<std::uint8_t> gone(r.size(), 0);
  for (std::size_t i = 0; i < r.size(); ++i) {
    progress::set(double(i) / double(r.size()), u"Erase near duplicates");
    const std::int64_t n = r[i].e - r[i].b;
    if (n == 0) continue;
    for (std::size_t j = i + 1; j < r.size(); ++j) {
      const std::int64_t m = r[j].e - r[j].b;
      if (gone[j] || m == 0 || (n == 1) != (m == 1)) continue;
      if (n == 1 ? distance4(p[r[i].b], p[r[j].b]) <= d : near_curves(s[i], s[j], d)) {
        gone[i] = 1;
        break;
      }
    }
  }
  progress::end(u"Erase near duplicates");
  bool any = false;
  for (std::size_t i = 0; i < r.size(); ++i)
    if (gone[i]) erase_line(c, std::int64_t(i + 1)), any = true;
  compact_if(c, any);
}

void erase_duplicates_begin(cloud& c, double d) {
  if (empty(c)) return;
  const std::vector<linerange> r = ranges(c);
  hyper* p = c.points.data();
  std::vector<hyper> first(r.size());
  for (std::size_t i = 0; i < r.size(); ++i) first[i] = r[i].e > r[i].b ? p[r[i].b] : erased;
  bool any = false;
  for (std::size_t i = 0; i < r.size(); ++i) {
    progress::set(double(i) / double(r.size()), u"Erase near duplicates");
    if (is_erased(first[i])) continue;
    for (std::size_t j = i + 1; j < r.size(); ++j)
      if (!is_erased(first[j]) && distance4(first[i], first[j]) <= d) {
        first[i] = erased;
        erase_line(c, std::int64_t(i + 1));
        any = true;
        break;
      }
  }
  progress::end(u"Erase near duplicates");
  compact_if(c, any);
}

void mean_duplicates_near(cloud& c, double d) {
  if (empty(c)) return;
  std::vector<hyper>& p = c.points;
  std::vector<std::uint8_t> flag(p.size(), 0);
  std::vector<std::size_t> group;
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (i % 1024 == 0) progress::set(double(i) / double(p.size()), u"Mean near duplicates");
    if (flag[i]) continue;
    group.assign(1, i);
    for (std::size_t j = i + 1; j < p.size(); ++j)
      if (!flag[j] && distance4(p[i], p[j]) <= d) group.push_back(j);
    hyper sum;
    for (std::size_t k : group) sum = num::add(sum, p[k]);
    const hyper mean = num::div(sum, double(group.size()));
    for (std::size_t k : group) p[k] = mean, flag[k] = 1;
  }
  progress::end(u"Mean near duplicates");
  c.modified = true;
}

void vectors(cloud& c, vectorop op, double s) {
  if (empty(c)) return;
  double shortest = std::numeric_limits<double>::infinity(), longest = 0;
  each_line(c, [&](std::int64_t b, std::int64_t e) {
    if (e - b != 2) return;
    const double l = num::length(num::sub(c.points[b + 1], c.points[b]));
    shortest = std::min(shortest, l), longest = std::max(longest, l);
  });
  each_line(c, [&](std::int64_t b, std::int64_t e) {
    if (e - b != 2) return;
    const hyper a = c.points[b], v = num::sub(c.points[b + 1], a);
    hyper w;
    switch (op) {
      case vectorop::norm: w = num::norm(v); break;
      case vectorop::normscale: w = num::mul(num::norm(v), s); break;
      case vectorop::scale: w = num::mul(v, s); break;
      case vectorop::minscale: w = num::div(v, shortest); break;
      case vectorop::maxscale: w = num::div(v, longest); break;
      case vectorop::negate: w = num::mul(v, -1.0); break;
      case vectorop::invert: w = num::div_scalar(1.0, v); break;
    }
    c.points[b + 1] = num::add(a, w);
    c.modified = true;
  });
}

void draw(const cloud& c, scalarfield& f, shape s, bool solid, double radius) {
  if (empty(c)) return;
  const double* m = f.frame.matrix.m;
  const framemath::vector o = f.frame.offset;
  auto axis = [](double v, double offset, double scale) { return scale == 0 ? 0 : real::round((v - offset) / scale) + 1; };
  auto at = [&](const hyper& p) {
    return paint::voxel{axis(p.x, o.x, m[0]), axis(p.y, o.y, m[4]), axis(p.z, o.z, m[8])};
  };
  auto value = [&](const hyper& p) {
    return c.draw_mode == 0 ? f.value : c.draw_mode == 1 ? real::round(double(f.value) * p.t) : real::round(p.t);
  };
  auto dot = [&](const hyper& p) {
    solid ? paint::sphere(f, at(p), 1, value(p)) : paint::point(f, at(p), value(p));
  };
  each_line(c, [&](std::int64_t b, std::int64_t e) {
    const hyper* p = c.points.data();
    switch (s) {
      case shape::point:
        for (std::int64_t i = b; i < e; ++i) dot(p[i]);
        break;
      case shape::sphere:
        for (std::int64_t i = b; i < e; ++i) paint::sphere(f, at(p[i]), radius, value(p[i]), !solid);
        break;
      case shape::cube:
        for (std::int64_t i = b; i < e; ++i) paint::cube(f, at(p[i]), real::round(radius), value(p[i]), !solid);
        break;
      case shape::line:
      case shape::any:
        if (e - b == 1 && s == shape::any) dot(p[b]);
        for (std::int64_t i = b + 1; i < e; ++i) paint::line(f, at(p[i - 1]), at(p[i]), value(p[i - 1]), solid ? 1 : 0);
        break;
    }
  });
}

}  // namespace qv::line
