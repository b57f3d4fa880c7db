// scan.cpp: direction sets, reductions, the run and line samplers and the line writers.
#include "orientation/scan.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <numbers>
#include <unordered_set>

#include "foundation/randomsource.h"

namespace qv::scan {

std::int64_t round_even(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 9.2233720368547758e18) return std::numeric_limits<std::int64_t>::max();
  if (v <= -9.2233720368547758e18) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(std::nearbyint(v));   // the default mode rounds half to even
}

double length(realvector v) { return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z); }

realvector normalise(realvector v) {
  double l = length(v);
  if (l == 0) return v;
  return {v.x / l, v.y / l, v.z / l};
}

double angle(realvector a, realvector b) {
  double la = length(a), lb = length(b);
  if (la == 0 || lb == 0) return 0;
  double c = (a.x * b.x + a.y * b.y + a.z * b.z) / (la * lb);
  return std::acos(std::clamp(c, -1.0, 1.0));
}

namespace {

constexpr double pi = std::numbers::pi;

// The program's shared random source; workers of one run draw from it in turn.
std::uint64_t shared_random(std::uint64_t count) {
  static std::mutex turn;
  std::lock_guard<std::mutex> hold(turn);
  return std::uint64_t(random::nat(std::int64_t(count)));
}

struct vectorhash {
  std::size_t operator()(const scan_vector& v) const {
    std::uint64_t h = std::uint64_t(v.x) * 0x9E3779B97F4A7C15ull;
    h ^= std::uint64_t(v.y) * 0xC2B2AE3D27D4EB4Full + (h >> 29);
    h ^= std::uint64_t(v.z) * 0x165667B19E3779F9ull + (h >> 31);
    return h;
  }
};

// Keeps the element at p only if no later element equals it or its negation;
// the last element is never kept. Walking backwards gives the same set in one pass.
direction_list without_duplicates(const direction_list& points) {
  direction_list kept;
  if (points.empty()) return kept;
  std::unordered_set<scan_vector, vectorhash> later;
  later.reserve(points.size() * 2);
  later.insert(points.back());
  for (std::size_t p = points.size() - 1; p-- > 0;) {
    const scan_vector& e = points[p];
    if (!later.count(e) && !later.count(scan_vector{-e.x, -e.y, -e.z})) kept.push_back(e);
    later.insert(e);
  }
  std::reverse(kept.begin(), kept.end());
  return kept;
}

realvector as_real(scan_vector v) { return {double(v.x), double(v.y), double(v.z)}; }

// Steps 6 to 8: all elements in order, or `limit` drawn without replacement.
void select(direction_list& sorted, std::int64_t limit, direction_list& directions, unit_list& units,
            randomfn random) {
  directions.clear();
  units.clear();
  const std::int64_t count = static_cast<std::int64_t>(sorted.size());
  if (limit >= count) limit = 0;
  if (limit <= 0) {
    directions = sorted;
    units.reserve(sorted.size());
    for (const scan_vector& d : sorted) units.push_back(normalise(as_real(d)));
    return;
  }
  if (!random) random = shared_random;
  const scan_vector null{};
  limit = std::min<std::int64_t>(limit, std::count_if(sorted.begin(), sorted.end(),
                                                      [&](const scan_vector& d) { return !(d == null); }));
  while (limit > 0) {
    scan_vector& d = sorted[random(std::uint64_t(count))];
    if (d == null) continue;
    directions.push_back(d);
    units.push_back(normalise(as_real(d)));
    d = null;
    --limit;
  }
}

void finish_set(direction_list& points, std::int64_t limit, direction_list& directions, unit_list& units,
                randomfn random, bool by_y) {
  direction_list sorted = without_duplicates(points);
  if (by_y) heap_sort(sorted, [](const scan_vector& v) { return v.y; });
  else heap_sort(sorted, [](const scan_vector& v) { return v.z; });
  select(sorted, limit, directions, units, random);
}

}  // namespace

void direction_points(std::int64_t n, std::vector<ringpoint>& points) {
  points.clear();
  const double r = double(n);
  const std::int64_t rings = round_even(pi * r);
  for (std::int64_t i = 0; i < rings; ++i) {
    const double d = r * std::sin(double(i) / r);   // the ring radius uses i, its angle i + 1
    const std::int64_t steps = round_even(pi * d);
    const double theta = double(i + 1) / r;
    for (std::int64_t j = 0; j < steps; ++j) {
      const double phi = double(j + 1) / d;
      points.push_back({i, j, {r * std::sin(theta) * std::cos(phi), r * std::sin(theta) * std::sin(phi),
                               r * std::cos(theta)}});
    }
  }
}

void direction_set(std::int64_t n, std::int64_t limit, direction_list& directions, unit_list& units,
                   randomfn random, direction_list* rounded) {
  std::vector<ringpoint> raw;
  direction_points(n, raw);
  direction_list points;
  points.reserve(raw.size());
  for (const ringpoint& p : raw) points.push_back({round_even(p.v.x), round_even(p.v.y), round_even(p.v.z)});
  if (rounded) *rounded = points;
  finish_set(points, limit, directions, units, random, false);
}

void direction_set_aniso(realvector s, std::int64_t limit, direction_list& directions, unit_list& units,
                         randomfn random) {
  const double r = std::max({s.x, s.y, s.z});
  direction_list points;
  const std::int64_t rings = round_even(pi * r);
  for (std::int64_t i = 0; i < rings; ++i) {
    const double d = r * std::sin(double(i) / r);
    const std::int64_t steps = round_even(pi * d);
    const double theta = double(i + 1) / r;
    for (std::int64_t j = 0; j < steps; ++j) {
      const double phi = double(j + 1) / d;
      points.push_back({round_even(std::sin(theta) * std::cos(phi) * s.x),
                        round_even(std::sin(theta) * std::sin(phi) * s.y), round_even(std::cos(theta) * s.z)});
    }
  }
  finish_set(points, limit, directions, units, random, false);
}

void direction_set_2d(std::int64_t n, std::int64_t limit, direction_list& directions, unit_list& units,
                      randomfn random) {
  direction_list points;
  const double r = double(n);
  const std::int64_t count = round_even(pi * r);
  for (std::int64_t i = 0; i < count; ++i) {
    const double a = double(i + 1) / r;
    points.push_back({round_even(r * std::cos(a)), round_even(r * std::sin(a)), 0});
  }
  finish_set(points, limit, directions, units, random, true);
}

// ---- reductions

double deviation(std::int64_t count, std::int64_t sum, std::int64_t squares) {
  if (count < 2) return 0;
  // count * squares - sum^2 is count times the sum of squared deviations.
  if (count <= 40000) {
    const std::int64_t spread = count * squares - sum * sum;
    return std::sqrt(std::fabs(double(spread) / double(count * (count - 1))));
  }
  const __int128 spread = __int128(count) * squares - __int128(sum) * sum;
  return std::sqrt(std::fabs(double(spread) / (double(count) * double(count - 1))));
}

namespace {

double quantile(std::span<const std::int64_t> samples, std::int64_t k, sample_list& scratch) {
  scratch.assign(samples.begin(), samples.end());
  std::sort(scratch.begin(), scratch.end());
  const std::int64_t count = static_cast<std::int64_t>(scratch.size());
  // Odd: the element at k + 1. Even: the lower element at k (1-based), on purpose.
  std::int64_t position = (count % 2 == 1) ? k + 1 : k;
  position = std::clamp<std::int64_t>(position, 1, count);
  return double(scratch[std::size_t(position - 1)]);
}

}  // namespace

double reduce(std::span<const std::int64_t> samples, int submethod, sample_list& scratch) {
  const std::int64_t count = static_cast<std::int64_t>(samples.size());
  if (count == 0) return 0;
  std::int64_t sum = 0, squares = 0;
  switch (submethod) {
    case 0:
      for (std::int64_t v : samples) sum += v;
      return double(sum);
    case 1:
      for (std::int64_t v : samples) sum += v;
      return double(sum) / double(count);
    case 3: return double(*std::min_element(samples.begin(), samples.end()));
    case 4: return quantile(samples, count / 4, scratch);
    case 5: return quantile(samples, count / 2, scratch);
    case 6: return quantile(samples, (count / 4) * 3, scratch);
    case 7: return double(*std::max_element(samples.begin(), samples.end()));
    default:
      for (std::int64_t v : samples) { sum += v; squares += v * v; }
      return deviation(count, sum, squares);
  }
}

double reduce(const sample_list& samples, int submethod) {
  sample_list scratch;
  return reduce(std::span<const std::int64_t>(samples), submethod, scratch);
}

// ---- samplers

walk walk::between(scan_vector a, scan_vector b, bool truncate) {
  const double dx = double(b.x - a.x), dy = double(b.y - a.y), dz = double(b.z - a.z);
  const double len = std::sqrt(dx * dx + dy * dy + dz * dz);
  const std::int64_t l = truncate ? static_cast<std::int64_t>(len) : round_even(len);
  walk w;
  if (l < 1) return w;
  w.count = l + 1;
  w.sx = round_even(dx / double(l) * 65535);
  w.sy = round_even(dy / double(l) * 65535);
  w.sz = round_even(dz / double(l) * 65535);
  return w;
}

namespace {

template <typename T>
std::int64_t read_on(const volume<T>& v, scan_vector s, const walk& w, std::int64_t k) {
  return v.read(walk::coordinate(s.x, k * w.sx), walk::coordinate(s.y, k * w.sy),
                walk::coordinate(s.z, k * w.sz));
}

}  // namespace

template <typename T>
void scan_run(const volume<T>& v, scan_vector a, scan_vector b, sample_list& out) {
  scan_run(v, a, b, walk::between(a, b), out);
}

template <typename T>
void scan_run(const volume<T>& v, scan_vector a, scan_vector b, const walk& w, sample_list& out) {
  out.clear();
  if (w.count == 0 || !v.data) return;
  std::int64_t k = 0;
  if (read_on(v, a, w, 0) == 0 && read_on(v, b, w, 0) != 0) {
    walk back = w;   // from B with the steps subtracted
    back.sx = -w.sx; back.sy = -w.sy; back.sz = -w.sz;
    for (; k < w.count; ++k) {
      std::int64_t value = read_on(v, b, back, k);
      if (value == 0) break;
      out.push_back(value);
    }
    return;
  }
  while (k < w.count && read_on(v, a, w, k) == 0) ++k;   // only when A reads 0 as well
  for (; k < w.count; ++k) {
    std::int64_t value = read_on(v, a, w, k);
    if (value == 0) break;
    out.push_back(value);
  }
}

template <typename T>
void scan_line(const volume<T>& v, scan_vector a, scan_vector b, sample_list& out) {
  out.clear();
  const walk w = walk::between(a, b);
  if (!v.data) return;
  for (std::int64_t k = 0; k < w.count; ++k) out.push_back(read_on(v, a, w, k));
}

template <typename T>
void scan_block(const volume<T>& v, scan_vector a, scan_vector b, sample_list& out) {
  out.clear();
  if (b.x < a.x || b.y < a.y || b.z < a.z || !v.data) return;   // an extent b - a + 1 below 1
  for (std::int64_t z = a.z; z <= b.z; ++z)
    for (std::int64_t y = a.y; y <= b.y; ++y)
      for (std::int64_t x = a.x; x <= b.x; ++x)
        out.push_back(v.read(std::uint64_t(x), std::uint64_t(y), std::uint64_t(z)));
}

template <typename T>
void write_line(writable<T> f, scan_vector a, scan_vector b, lineop op, T value) {
  const walk w = walk::between(a, b, true);
  if (!f.data) return;
  for (std::int64_t k = 0; k < w.count; ++k) {
    const std::uint64_t x = walk::coordinate(a.x, k * w.sx), y = walk::coordinate(a.y, k * w.sy),
                        z = walk::coordinate(a.z, k * w.sz);
    if (x - 1 >= std::uint64_t(f.nx) || y - 1 >= std::uint64_t(f.ny) || z - 1 >= std::uint64_t(f.nz)) continue;
    T& cell = f.data[((z - 1) * std::uint64_t(f.ny) + (y - 1)) * std::uint64_t(f.nx) + (x - 1)];
    cell = (op == lineop::increment) ? T(cell + 1) : value;   // the increment wraps in T's width
  }
}

template void scan_run(const volume<std::uint8_t>&, scan_vector, scan_vector, sample_list&);
template void scan_run(const volume<std::uint16_t>&, scan_vector, scan_vector, sample_list&);
template void scan_run(const volume<std::uint8_t>&, scan_vector, scan_vector, const walk&, sample_list&);
template void scan_run(const volume<std::uint16_t>&, scan_vector, scan_vector, const walk&, sample_list&);
template void scan_line(const volume<std::uint8_t>&, scan_vector, scan_vector, sample_list&);
template void scan_line(const volume<std::uint16_t>&, scan_vector, scan_vector, sample_list&);
template void scan_block(const volume<std::uint8_t>&, scan_vector, scan_vector, sample_list&);
template void scan_block(const volume<std::uint16_t>&, scan_vector, scan_vector, sample_list&);
template void write_line(writable<std::uint8_t>, scan_vector, scan_vector, lineop, std::uint8_t);
template void write_line(writable<std::uint16_t>, scan_vector, scan_vector, lineop, std::uint16_t);

}  // namespace qv::scan
