// scalar_morph.cpp: shrink and grow over the 26 neighbours, their repeated and label forms, cave, convex and hole fills.
#include <algorithm>
#include <cmath>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "foundation/stats.h"
#include "foundation/threads.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalar_ops.h"

namespace qv::scalar {
namespace {

// One shrink or grow pass. A voxel of the work class (shrink: inside the range,
// grow: outside it) with more than `n` neighbours of the other class changes to
// `value`, or to the rounded-down mean (label forms: the most frequent value) of
// those neighbours. Reads outside the field give `background`.
struct passrule {
  valuerange range;
  std::int64_t n = 13;
  bool grow = false, label = false, fixed = false;
  // Thinning: only voxels whose neighbour on side `side` (0..5: -x, +x, -y, +y,
  // -z, +z) is of the other class change, and never one with fewer than two
  // neighbours of its own class, so that lines keep their ends.
  int side = -1;
  std::int64_t value = 0;
};

constexpr int sides[6][3] = {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}};

struct change {
  std::size_t index;
  std::int64_t value;
};

// Buffers of a pass, kept by the caller across the passes of the `full` forms.
struct scratch {
  std::vector<std::uint8_t> mask, row, sums;
  std::vector<change> changes;
};

// Neighbour counts of one plane: m is 1 where a voxel belongs to the counted
// class, on a plane with a border of one voxel; p gets the 3x3 sums of m.
void plane_sums(const std::uint8_t* m, std::int64_t pw, std::int64_t ph, std::uint8_t* row, std::uint8_t* p) {
  for (std::int64_t y = 0; y < ph; ++y) {
    const std::uint8_t* r = m + y * pw;
    std::uint8_t* o = row + y * pw;
    o[0] = o[pw - 1] = 0;
    for (std::int64_t x = 1; x < pw - 1; ++x) o[x] = std::uint8_t(r[x - 1] + r[x] + r[x + 1]);
  }
  std::fill(p, p + pw, 0);
  std::fill(p + (ph - 1) * pw, p + ph * pw, 0);
  for (std::int64_t y = 1; y < ph - 1; ++y)
    for (std::int64_t x = 0; x < pw; ++x) p[y * pw + x] = std::uint8_t(row[(y - 1) * pw + x] + row[y * pw + x] + row[(y + 1) * pw + x]);
}

template <typename T>
struct passrun {
  const scalarfield& f;
  const T* v;
  const passrule& rule;
  std::vector<std::uint8_t> counted;   // by value: 1 when a voxel of that value is counted
  bool background_counted;

  passrun(const scalarfield& field, const T* voxels, const passrule& r)
      : f(field), v(voxels), rule(r), counted(std::size_t(top_of(field.tag)) + 1) {
    for (std::size_t i = 0; i < counted.size(); ++i) counted[i] = is_counted(std::int64_t(i));
    background_counted = is_counted(f.background);
  }
  bool is_counted(std::int64_t value) const { return rule.range.contains(value) == rule.grow; }

  std::int64_t at(std::int64_t x, std::int64_t y, std::int64_t z) const {
    if (x < 0 || y < 0 || z < 0 || x >= f.width || y >= f.height || z >= f.depth) return f.background;
    return v[(z * f.height + y) * f.width + x];
  }

  // The new value of a changing voxel, from its counted neighbours (0-based x, y, z).
  std::int64_t replacement(std::int64_t x, std::int64_t y, std::int64_t z, std::int64_t count) const {
    if (rule.fixed) return rule.value;
    std::int64_t sum = 0, values[26];
    int k = 0;
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          if (!dx && !dy && !dz) continue;
          std::int64_t w = at(x + dx, y + dy, z + dz);
          if (is_counted(w)) sum += w, values[k++] = w;
        }
    if (!rule.label) return sum / count;
    // The most frequent value; ties go to the smaller value.
    std::sort(values, values + k);
    std::int64_t best = values[0];
    int bestrun = 0;
    for (int i = 0; i < k;) {
      int j = i;
      while (j < k && values[j] == values[i]) ++j;
      if (j - i > bestrun) bestrun = j - i, best = values[i];
      i = j;
    }
    return best;
  }

  // Whether the neighbours of the work class form one 26-connected piece in the
  // block, so that taking the centre away splits nothing there.
  bool one_piece(std::int64_t x, std::int64_t y, std::int64_t z) const {
    bool mine[27];
    int total = 0, first = -1;
    for (int k = 0; k < 27; ++k) {
      mine[k] = k != 13 && !is_counted(at(x + k % 3 - 1, y + (k / 3) % 3 - 1, z + k / 9 - 1));
      if (mine[k]) ++total, first = first < 0 ? k : first;
    }
    if (total == 0) return false;
    int stack[27], top = 0, reached = 1;
    stack[top++] = first;
    mine[first] = false;
    while (top) {
      int k = stack[--top];
      for (int j = 0; j < 27; ++j)
        if (mine[j] && std::abs(j % 3 - k % 3) <= 1 && std::abs((j / 3) % 3 - (k / 3) % 3) <= 1 && std::abs(j / 9 - k / 9) <= 1)
          mine[j] = false, stack[top++] = j, ++reached;
    }
    return reached == total;
  }

  // Mask plane z (0-based, may lie outside) with its border.
  void mask_plane(std::int64_t z, std::uint8_t* m) const {
    std::int64_t pw = f.width + 2, ph = f.height + 2;
    if (z < 0 || z >= f.depth) {
      std::fill(m, m + pw * ph, std::uint8_t(background_counted));
      return;
    }
    std::fill(m, m + pw, std::uint8_t(background_counted));
    std::fill(m + (ph - 1) * pw, m + ph * pw, std::uint8_t(background_counted));
    const std::uint8_t* lut = counted.data();
    for (std::int64_t y = 0; y < f.height; ++y) {
      std::uint8_t* o = m + (y + 1) * pw;
      const T* r = v + (z * f.height + y) * f.width;
      o[0] = o[pw - 1] = std::uint8_t(background_counted);
      for (std::int64_t x = 0; x < f.width; ++x) o[x + 1] = lut[r[x]];
    }
  }

  void collect(scratch& s) const {
    std::int64_t pw = f.width + 2, ph = f.height + 2, plane = pw * ph;
    const std::size_t planebytes = static_cast<std::size_t>(plane);
    std::vector<change>& out = s.changes;
    std::vector<std::uint8_t>&mask = s.mask, &row = s.row, &sums = s.sums;
    mask.resize(planebytes), row.resize(planebytes), sums.resize(3 * planebytes);
    std::int64_t x0 = std::max<std::int64_t>(f.crop[0], 1) - 1, y0 = std::max<std::int64_t>(f.crop[1], 1) - 1,
                 z0 = std::max<std::int64_t>(f.crop[2], 1) - 1;
    auto last = [](std::int64_t c, std::int64_t n) { return c < 1 ? n : std::min(c, n); };   // 0: not set
    std::int64_t x1 = last(f.crop[3], f.width), y1 = last(f.crop[4], f.height), z1 = last(f.crop[5], f.depth);
    if (x0 >= x1 || y0 >= y1 || z0 >= z1) return;
    auto sums_of = [&](std::int64_t z) { return sums.data() + ((z % 3 + 3) % 3) * plane; };
    for (std::int64_t z = z0 - 1; z <= z0; ++z) {
      mask_plane(z, mask.data());
      plane_sums(mask.data(), pw, ph, row.data(), sums_of(z));
    }
    const std::uint8_t* lut = counted.data();
    // More than n neighbours of the other class; n = 26 takes a voxel whose 26
    // neighbours all are, so that a single spot goes with the largest count.
    const std::int64_t threshold = std::min<std::int64_t>(rule.n, 25);
    for (std::int64_t z = z0; z < z1; ++z) {
      mask_plane(z + 1, mask.data());
      plane_sums(mask.data(), pw, ph, row.data(), sums_of(z + 1));
      const std::uint8_t *a = sums_of(z - 1), *b = sums_of(z), *c = sums_of(z + 1);
      for (std::int64_t y = y0; y < y1; ++y) {
        const T* r = v + (z * f.height + y) * f.width;
        std::int64_t o = (y + 1) * pw + 1;
        for (std::int64_t x = x0; x < x1; ++x) {
          if (lut[r[x]]) continue;   // not of the work class
          std::int64_t count = a[o + x] + b[o + x] + c[o + x];
          if (rule.side >= 0 && (26 - count < 2 || !is_counted(at(x + sides[rule.side][0], y + sides[rule.side][1],
                                                                  z + sides[rule.side][2])) ||
                                 !one_piece(x, y, z)))
            continue;
          if (count > threshold) out.push_back({std::size_t((z * f.height + y) * f.width + x), replacement(x, y, z, count)});
        }
      }
    }
  }
};

// One pass over the field; gives the number of changed voxels. Mono fields and
// fields without voxels are left alone, with the count 0.
std::int64_t pass(scalarfield& f, const passrule& rule, scratch& s) {
  s.changes.clear();
  bool typed = with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    passrun<T>(f, v, rule).collect(s);
    for (const change& c : s.changes) v[c.index] = T(c.value);
  });
  return typed ? std::int64_t(s.changes.size()) : 0;
}

std::int64_t pass(scalarfield& f, const passrule& rule) {
  scratch s;
  return pass(f, rule, s);
}

// Repeats passes until one changes nothing or 9999 further passes were done.
std::int64_t full_pass(scalarfield& f, const passrule& rule) {
  const wideview label = u"  Remove pixels";
  progress::set(0, label);
  scratch s;
  std::int64_t first = pass(f, rule, s), last = first, total = first, shown = 0;
  for (std::int64_t step = 0; last != 0 && step < 9999; ++step) {
    last = pass(f, rule, s);
    total += last;
    std::int64_t percent = (first - last) * 100 / first;   // shown only when it grows
    if (percent > shown) progress::set(double(percent) / 100, label), shown = percent;
  }
  progress::end(label);
  return total;
}

// Reads `<a,b> [n [v]]` from parameter `from` on; n is clamped to 0..26, v fitted.
passrule read_rule(macroengine& m, const scalarfield& f, std::size_t from, std::size_t nparam, std::size_t vparam) {
  passrule r;
  std::size_t count = macro::parameter_count(m);
  r.range = count >= from ? read_range(macro::parameter(m, from), f.tag) : valuerange{1, top_of(f.tag)};
  if (count >= nparam) r.n = std::clamp<std::int64_t>(text::nat(macro::parameter(m, nparam)), 0, 26);
  r.fixed = vparam && count >= vparam;
  if (r.fixed) r.value = fit(f.tag, text::nat(macro::parameter(m, vparam)));
  return r;
}

void removed(std::int64_t n) { print::line(u"  Removed pixels: " + nat::text(n)); }

// `scalar.shrink <a,b> n [v]` and its kin; `full` repeats, `label` takes the most frequent value.
template <bool grow, bool full, bool label>
void morph_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 3) return macro::check_max(m, 3);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  passrule r = read_rule(m, f, 1, 2, 3);
  r.grow = grow, r.label = label;
  removed(full ? full_pass(f, r) : pass(f, r));
}

// `scalar.open <a,b> n1 n2 [v1 v2]`: shrink then grow; `scalar.close`: grow then shrink.
template <bool close, bool label>
void open_close_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n != 3 && n != 5) return macro::check_exact(m, 3);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  passrule shrink = read_rule(m, f, 1, 2, n == 5 ? 4 : 0), grow = read_rule(m, f, 1, 3, n == 5 ? 5 : 0);
  shrink.label = grow.label = label;
  grow.grow = true;
  std::int64_t total = close ? pass(f, grow) + pass(f, shrink) : pass(f, shrink) + pass(f, grow);
  removed(total);
}

// `scalar.skeleton <a,b> n [v]`: one thinning round, a shrink pass from each of
// the six sides in turn; `fullskeleton` repeats rounds as the full forms do.
template <bool full, bool label>
void skeleton_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 3) return macro::check_max(m, 3);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  passrule r = read_rule(m, f, 1, 2, 3);
  r.label = label;
  scratch s;
  auto round = [&] {
    std::int64_t n = 0;
    for (r.side = 0; r.side < 6; ++r.side) n += pass(f, r, s);
    return n;
  };
  if (!full) return removed(round());
  const wideview title = u"  Remove pixels";
  progress::set(0, title);
  std::int64_t last = round(), total = last;
  for (std::int64_t step = 0; last != 0 && step < 9999; ++step) total += last = round();
  progress::end(title);
  removed(total);
}

// ---- fills

std::size_t flat(const scalarfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return std::size_t((z * f.height + y) * f.width + x);
}

// `scalar.fill.holes <5,15> 10`: voxels outside the range that no 6-connected path
// of such voxels joins to a face of the field get the value.
void fill_holes_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  valuerange r = read_range(macro::parameter(m, 1), f.tag);
  std::int64_t value = fit(f.tag, text::nat(macro::parameter(m, 2)));
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    const std::int64_t w = f.width, h = f.height, d = f.depth;
    // The field with two layers around it: the inner layer is open space that
    // touches every face, the outer one a wall, so that the fill needs no bounds
    // tests. 0 open and unreached, 1 structure, wall or reached.
    const std::int64_t pw = w + 4, ph = h + 4, pd = d + 4, pp = pw * ph;
    std::vector<std::uint8_t> seen(static_cast<std::size_t>(pp * pd), 1);
    auto inner = [&](std::int64_t x, std::int64_t y, std::int64_t z) { return ((z + 2) * ph + y + 2) * pw + x + 2; };
    for (std::int64_t z = -1; z <= d; ++z)
      for (std::int64_t y = -1; y <= h; ++y) {
        std::uint8_t* row = seen.data() + inner(0, y, z);
        if (z < 0 || y < 0 || z >= d || y >= h) {
          std::fill(row - 1, row + w + 1, 0);
          continue;
        }
        const T* src = v + (z * h + y) * w;
        row[-1] = row[w] = 0;
        for (std::int64_t x = 0; x < w; ++x) row[x] = r.contains(src[x]);
      }
    progress::set(0, u"  Search outside");
    // A scan-line fill: each seed opens its whole run along x, and each of
    // the four rows beside the run gets one seed per open stretch.
    std::vector<std::int64_t> stack{inner(-1, -1, -1)};
    const std::int64_t beside[4] = {pw, -pw, pp, -pp};
    std::uint8_t* s = seen.data();
    while (!stack.empty()) {
      std::int64_t i = stack.back();
      stack.pop_back();
      if (s[i]) continue;
      std::int64_t lo = i, hi = i;
      while (!s[lo - 1]) --lo;
      while (!s[hi + 1]) ++hi;
      std::fill(s + lo, s + hi + 1, std::uint8_t(1));
      for (std::int64_t step : beside)
        for (std::int64_t j = lo + step; j <= hi + step; ++j)
          if (!s[j] && (j == lo + step || s[j - 1])) stack.push_back(j);
    }
    progress::end(u"  Search outside");
    for (std::int64_t z = 0; z < d; ++z)
      for (std::int64_t y = 0; y < h; ++y) {
        const std::uint8_t* row = s + inner(0, y, z);
        T* out = v + (z * h + y) * w;
        for (std::int64_t x = 0; x < w; ++x)
          if (!row[x]) out[x] = T(value);
      }
  });
}

// `scalar.fill.cave.x <128,255>`: along each line in x, voxels outside the range
// between the first and the last voxel in it get `scalar.value`.
template <int axis>
void fill_cave_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  valuerange r = read_range(macro::parameter(m, 1), f.tag);
  std::int64_t sizes[3] = {f.width, f.height, f.depth};
  std::int64_t stride[3] = {1, f.width, f.width * f.height};
  int a = axis == 0 ? 1 : 0, b = axis == 2 ? 1 : 2;
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    for (std::int64_t j = 0; j < sizes[b]; ++j)
      for (std::int64_t i = 0; i < sizes[a]; ++i) {
        T* line = v + i * stride[a] + j * stride[b];
        std::int64_t s = stride[axis], n = sizes[axis], first = -1, last = -1;
        for (std::int64_t k = 0; k < n; ++k)
          if (r.contains(line[k * s])) last = k, first = first < 0 ? k : first;
        for (std::int64_t k = first + 1; first >= 0 && k < last; ++k)
          if (!r.contains(line[k * s])) line[k * s] = T(f.value);
      }
  });
}

// `scalar.fill.convex <128,255>`: a voxel outside the range is enclosed when
// it lies between two voxels in it on its line in x, in y and in z; enclosed
// voxels get `scalar.value`. The lines' first and last hits are found first,
// then the slices are filled by the worker frame.
void fill_convex_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  valuerange r = read_range(macro::parameter(m, 1), f.tag);
  const std::int64_t w = f.width, h = f.height, d = f.depth;
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    // first and last index in range on each line, -1 and -2 where there is none
    std::vector<std::int32_t> fx(std::size_t(h * d), -1), lx(fx.size(), -2), fy(std::size_t(w * d), -1),
        ly(fy.size(), -2), fz(std::size_t(w * h), -1), lz(fz.size(), -2);
    for (std::int64_t z = 0; z < d; ++z)
      for (std::int64_t y = 0; y < h; ++y)
        for (std::int64_t x = 0; x < w; ++x) {
          if (!r.contains(v[flat(f, x, y, z)])) continue;
          auto mark = [](std::vector<std::int32_t>& first, std::vector<std::int32_t>& last, std::int64_t line,
                         std::int64_t i) {
            if (first[std::size_t(line)] < 0) first[std::size_t(line)] = std::int32_t(i);
            last[std::size_t(line)] = std::int32_t(i);
          };
          mark(fx, lx, z * h + y, x), mark(fy, ly, z * w + x, y), mark(fz, lz, y * w + x, z);
        }
    const T value = T(f.value);
    auto slice = [&](std::int64_t z1) {
      const std::int64_t z = z1 - 1;
      for (std::int64_t y = 0; y < h; ++y)
        for (std::int64_t x = 0; x < w; ++x) {
          T& c = v[flat(f, x, y, z)];
          const std::size_t ix = std::size_t(z * h + y), iy = std::size_t(z * w + x), iz = std::size_t(y * w + x);
          if (!r.contains(c) && x > fx[ix] && x < lx[ix] && y > fy[iy] && y < ly[iy] && z > fz[iz] && z < lz[iz])
            c = value;
        }
    };
    threads::per_slice(d, thread_max(m), u"  Fill convex", slice);
  });
}

// ---- convex hulls

struct point2 {
  double a, b;
};
double cross(point2 o, point2 p, point2 q) { return (p.a - o.a) * (q.b - o.b) - (p.b - o.b) * (q.a - o.a); }

// The convex hull of `p` in counter-clockwise order (monotone chain).
std::vector<point2> hull(std::vector<point2>& p) {
  std::sort(p.begin(), p.end(), [](point2 u, point2 w) { return u.a < w.a || (u.a == w.a && u.b < w.b); });
  if (p.size() < 3) return p;
  std::vector<point2> h(2 * p.size());
  std::size_t k = 0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    while (k >= 2 && cross(h[k - 2], h[k - 1], p[i]) <= 0) --k;
    h[k++] = p[i];
  }
  for (std::size_t i = p.size() - 1, t = k + 1; i > 0; --i) {
    while (k >= t && cross(h[k - 2], h[k - 1], p[i - 1]) <= 0) --k;
    h[k++] = p[i - 1];
  }
  h.resize(k - 1);
  return h;
}

bool inside_hull(const std::vector<point2>& h, point2 q) {
  if (h.size() < 3) {
    for (std::size_t i = 0; i < h.size(); ++i) {
      const point2 p = h[i], r = h[(i + 1) % h.size()];
      double minA = std::min(p.a, r.a), maxA = std::max(p.a, r.a), minB = std::min(p.b, r.b), maxB = std::max(p.b, r.b);
      if (std::abs(cross(p, r, q)) < 1e-9 && q.a >= minA && q.a <= maxA && q.b >= minB && q.b <= maxB) return true;
    }
    return false;
  }
  for (std::size_t i = 0; i < h.size(); ++i)
    if (cross(h[i], h[(i + 1) % h.size()], q) < -1e-9) return false;
  return true;
}

// `scalar.convex.x <128,255>`: in each plane across x (the yz plane), voxels
// outside the range inside the convex hull of the voxels in it get `scalar.value`.
template <int axis>
void convex_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  valuerange r = read_range(macro::parameter(m, 1), f.tag);
  std::int64_t sizes[3] = {f.width, f.height, f.depth};
  int ia = axis == 0 ? 1 : 0, ib = axis == 2 ? 1 : 2;
  auto index = [&](std::int64_t p, std::int64_t a, std::int64_t b) {
    std::int64_t c[3];
    c[axis] = p, c[ia] = a, c[ib] = b;
    return flat(f, c[0], c[1], c[2]);
  };
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    std::vector<point2> pts;
    for (std::int64_t p = 0; p < sizes[axis]; ++p) {
      pts.clear();
      for (std::int64_t b = 0; b < sizes[ib]; ++b)
        for (std::int64_t a = 0; a < sizes[ia]; ++a)
          if (r.contains(v[index(p, a, b)])) pts.push_back({double(a), double(b)});
      if (pts.empty()) continue;
      std::vector<point2> h = hull(pts);
      for (std::int64_t b = 0; b < sizes[ib]; ++b)
        for (std::int64_t a = 0; a < sizes[ia]; ++a) {
          T& w = v[index(p, a, b)];
          if (!r.contains(w) && inside_hull(h, {double(a), double(b)})) w = T(f.value);
        }
    }
  });
}

// ---- outliers

// `scalar.remove.outliers factor`: an interior voxel outside median +- factor*|Q.25-Q.75|
// of its 27-voxel block takes the median; border voxels keep their values.
void remove_outliers_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  std::int64_t factor = macro::parameter_count(m) ? text::nat(macro::parameter(m, 1)) : 2;
  std::int64_t count = 0;
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    const std::vector<T> old(v, v + voxel_count(f));
    std::vector<double> block(27);
    const std::int64_t w = f.width, h = f.height;
    for (std::int64_t z = 1; z + 1 < f.depth; ++z)
      for (std::int64_t y = 1; y + 1 < h; ++y)
        for (std::int64_t x = 1; x + 1 < w; ++x) {
          int k = 0;
          for (int dz = -1; dz <= 1; ++dz)
            for (int dy = -1; dy <= 1; ++dy)
              for (int dx = -1; dx <= 1; ++dx) block[k++] = double(old[flat(f, x + dx, y + dy, z + dz)]);
          std::sort(block.begin(), block.end());
          stats::quartiles q = stats::quartiles_of(block);
          double c = double(old[flat(f, x, y, z)]);
          if (stats::outlier(c, stats::outlier_window(q, double(factor)))) {
            v[flat(f, x, y, z)] = T(q.median);
            ++count;
          }
        }
  });
  print::line(u"  Removed outliers: " + nat::text(count));
}

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    // name                      kind handler                          usage                                   comment
    {"shrink",                   P, morph_cmd<false, false, false>,  "scalar.shrink <1,255> 13 [v]",          "remove single spots, if 13 neighbors (max 26) outside value or range"},
    {"erode",                    P, morph_cmd<false, false, false>,  "scalar.erode <1,255> 13 [v]",           "remove single spots, if 13 neighbors (max 26) outside value or range"},
    {"fullshrink",               P, morph_cmd<false, true, false>,   "scalar.fullshrink <1,255> 13 [v]",      "shrink until no more points or iteration steps > 9999"},
    {"fullerode",                P, morph_cmd<false, true, false>,   "scalar.fullerode <1,255> 13 [v]",       "shrink until no more points or iteration steps > 9999"},
    {"ultimate_erosion",         P, morph_cmd<false, true, false>,   "scalar.ultimate_erosion <1,255> 13 [v]", "shrink until no more points or iteration steps > 9999"},
    {"grow",                     P, morph_cmd<true, false, false>,   "scalar.grow <1,255> 13 [v]",            "fill single hole, if 13 neighbors (max 26) inside value or range"},
    {"dilate",                   P, morph_cmd<true, false, false>,   "scalar.dilate <1,255> 13 [v]",          "fill single hole, if 13 neighbors (max 26) inside value or range"},
    {"fullgrow",                 P, morph_cmd<true, true, false>,    "scalar.fullgrow <1,255> 13 [v]",        "grow until no more points or iteration steps > 9999"},
    {"fulldilate",               P, morph_cmd<true, true, false>,    "scalar.fulldilate <1,255> 13 [v]",      "grow until no more points or iteration steps > 9999"},
    {"ultimate_dilation",        P, morph_cmd<true, true, false>,    "scalar.ultimate_dilation <1,255> 13 [v]", "grow until no more points or iteration steps > 9999"},
    {"open",                     P, open_close_cmd<false, false>,    "scalar.open <128, 255> 4 4 1 1",        "shrink <128, 255> 4 1 + grow <128, 255> 4 1"},
    {"close",                    P, open_close_cmd<true, false>,     "scalar.close <128, 255> 4 4 1 1",       "grow <128, 255> 4 1 + shrink <128, 255> 4 1"},
    {"shrink.label",             P, morph_cmd<false, false, true>,   "scalar.shrink.label <1,255> 13 [v]",    "shrink; a removed voxel takes the most frequent value around it"},
    {"fullshrink.label",         P, morph_cmd<false, true, true>,    "scalar.fullshrink.label <1,255> 13 [v]", "fullshrink; a removed voxel takes the most frequent value around it"},
    {"grow.label",               P, morph_cmd<true, false, true>,    "scalar.grow.label <1,255> 13 [v]",      "grow; a grown voxel takes the most frequent label around it"},
    {"fullgrow.label",           P, morph_cmd<true, true, true>,     "scalar.fullgrow.label <1,255> 13 [v]",  "fullgrow; a grown voxel takes the most frequent label around it"},
    {"open.label",               P, open_close_cmd<false, true>,     "scalar.open.label <128, 255> 4 4",      "open with the label forms"},
    {"close.label",              P, open_close_cmd<true, true>,      "scalar.close.label <128, 255> 4 4",     "close with the label forms"},
    {"skeleton",                 P, skeleton_cmd<false, false>,      "scalar.skeleton <1,255> 13 [v]",        "thinning with the same counts: one shrink pass from each side"},
    {"fullskeleton",             P, skeleton_cmd<true, false>,       "scalar.fullskeleton <1,255> 13 [v]",    "thinning until no more points or iteration steps > 9999"},
    {"skeleton.label",           P, skeleton_cmd<false, true>,       "scalar.skeleton.label <1,255> 13 [v]",  "skeleton; a removed voxel takes the most frequent value around it"},
    {"fullskeleton.label",       P, skeleton_cmd<true, true>,        "scalar.fullskeleton.label <1,255> 13 [v]", "fullskeleton; a removed voxel takes the most frequent value around it"},
    {"fill.cave.x",              P, fill_cave_cmd<0>,                "scalar.fill.cave.x <128, 255>",         "fill from outside along x axis; scalar.value is the fill value"},
    {"fill.cave.y",              P, fill_cave_cmd<1>,                "scalar.fill.cave.y <128, 255>",         "fill from outside along y axis; scalar.value is the fill value"},
    {"fill.cave.z",              P, fill_cave_cmd<2>,                "scalar.fill.cave.z <128, 255>",         "fill from outside along z axis; scalar.value is the fill value"},
    {"convex.x",                 P, convex_cmd<0>,                   "scalar.convex.x <128, 255>",            "calculate convex hull (yz) and fill along x axis"},
    {"convex.yz",                P, convex_cmd<0>,                   "scalar.convex.yz <128, 255>",           "calculate convex hull (yz) and fill along x axis"},
    {"convex.y",                 P, convex_cmd<1>,                   "scalar.convex.y <128, 255>",            "calculate convex hull (xz) and fill along y axis"},
    {"convex.xz",                P, convex_cmd<1>,                   "scalar.convex.xz <128, 255>",           "calculate convex hull (xz) and fill along y axis"},
    {"convex.z",                 P, convex_cmd<2>,                   "scalar.convex.z <128, 255>",            "calculate convex hull (xy) and fill along z axis"},
    {"convex.xy",                P, convex_cmd<2>,                   "scalar.convex.xy <128, 255>",           "calculate convex hull (xy) and fill along z axis"},
    {"fill.convex",              P, fill_convex_cmd,                 "scalar.fill.convex <128, 255>",         "fill from outside"},
    {"fill.holes",               P, fill_holes_cmd,                  "scalar.fill.holes <5, 15> 10",          "fill holes with 10 from structures 5..15"},
    {"remove.outliers",          P, remove_outliers_cmd,             "scalar.remove.outliers 2",              "if value outside of median+/-(factor * abs(q.25-q.75))"},
};

}  // namespace

void register_morph(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
