// diffusion_kernel.cpp: line walks from precomputed offsets and the six ways of choosing among the best lines.
#include "orientation/diffusion_kernel.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <mutex>
#include "foundation/threads.h"

namespace qv::diffusion {

using scan::scan_vector;

int method_of(int stored) { return (stored >= 1 && stored <= 6) ? stored : 5; }

namespace {

realvector as_real(const scan_vector& d) { return {double(d.x), double(d.y), double(d.z)}; }
realvector operator+(realvector a, realvector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
realvector operator-(realvector a, realvector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
realvector operator-(realvector a) { return {-a.x, -a.y, -a.z}; }
realvector operator*(realvector a, double f) { return {a.x * f, a.y * f, a.z * f}; }
realvector operator/(realvector a, double f) { return {a.x / f, a.y / f, a.z / f}; }

bool fits32(std::int64_t v) { return v >= std::numeric_limits<std::int32_t>::min() && v <= std::numeric_limits<std::int32_t>::max(); }

}  // namespace

void plan_build(lineplan& plan, std::int64_t n, std::int64_t nx, std::int64_t ny, bool planar) {
  if (planar) scan::direction_set_2d(n, 0, plan.directions, plan.units);
  else scan::direction_set(n, 0, plan.directions, plan.units);
  plan.start.clear();
  plan.count.clear();
  plan.boxes.clear();
  for (auto* list : {&plan.fx, &plan.fy, &plan.fz, &plan.bx, &plan.by, &plan.bz}) list->clear();
  for (const scan_vector& d : plan.directions) {
    const scan_vector back{-d.x, -d.y, -d.z};
    const scan::walk w = scan::walk::between(d, back);   // A = p + d, B = p - d
    plan.start.push_back(static_cast<std::int64_t>(plan.fx.size()));
    plan.count.push_back(std::int32_t(w.count));
    lineplan::box b{0, 0, 0, 0, 0, 0};
    auto note = [&](std::int64_t x, std::int64_t y, std::int64_t z, std::vector<std::int32_t>& lx,
                    std::vector<std::int32_t>& ly, std::vector<std::int32_t>& lz) {
      lx.push_back(std::int32_t(x));   // |offset| <= 2 n + 1 with n <= 65535
      ly.push_back(std::int32_t(y));
      lz.push_back(std::int32_t(z));
      b = {std::min<std::int32_t>(b.lx, std::int32_t(x)), std::max<std::int32_t>(b.hx, std::int32_t(x)),
           std::min<std::int32_t>(b.ly, std::int32_t(y)), std::max<std::int32_t>(b.hy, std::int32_t(y)),
           std::min<std::int32_t>(b.lz, std::int32_t(z)), std::max<std::int32_t>(b.hz, std::int32_t(z))};
    };
    // A whole-voxel start keeps the fraction of the walk: coordinate = start + (k step >> 16).
    for (std::int64_t k = 0; k < w.count; ++k) {
      note(d.x + ((k * w.sx) >> 16), d.y + ((k * w.sy) >> 16), d.z + ((k * w.sz) >> 16), plan.fx, plan.fy, plan.fz);
      note(back.x + ((-k * w.sx) >> 16), back.y + ((-k * w.sy) >> 16), back.z + ((-k * w.sz) >> 16), plan.bx,
           plan.by, plan.bz);
    }
    plan.boxes.push_back(b);
  }
  plan.reach_x = plan.reach_y = plan.reach_z = 0;
  for (const lineplan::box& b : plan.boxes) {
    plan.reach_x = std::max<std::int64_t>({plan.reach_x, -b.lx, b.hx});
    plan.reach_y = std::max<std::int64_t>({plan.reach_y, -b.ly, b.hy});
    plan.reach_z = std::max<std::int64_t>({plan.reach_z, -b.lz, b.hz});
  }
  plan_strides(plan, nx, ny);
}

void plan_strides(lineplan& plan, std::int64_t stride_x, std::int64_t stride_y) {
  plan.stride_x = stride_x;
  plan.stride_y = stride_y;
  plan.linear = true;
  plan.flin.resize(plan.fx.size());
  plan.blin.resize(plan.bx.size());
  auto offset = [&](std::int64_t x, std::int64_t y, std::int64_t z) {
    const std::int64_t o = x + stride_x * (y + stride_y * z);
    if (!fits32(o)) plan.linear = false;
    return std::int32_t(o);
  };
  for (std::size_t e = 0; e < plan.fx.size(); ++e) {
    plan.flin[e] = offset(plan.fx[e], plan.fy[e], plan.fz[e]);
    plan.blin[e] = offset(plan.bx[e], plan.by[e], plan.bz[e]);
  }
}

namespace {

// The state of one voxel's search; `M` is the method, 1 to 6.
template <int M>
struct search {
  const lineplan& plan;
  const settings& s;
  scratch& work;
  double best = std::numeric_limits<double>::infinity();
  realvector result{}, mean{};
  bool single = false;
  std::int64_t c = 0, t = 0;
  ranking* ranked = nullptr;   // methods 4 to 6: `work.ranked`, one entry per direction at most
  std::int64_t ranks = 0;

  search(const lineplan& p, const settings& st, scratch& w) : plan(p), s(st), work(w) {
    if constexpr (M >= 4) {
      if (work.ranked.size() < p.directions.size()) work.ranked.resize(p.directions.size());
      ranked = work.ranked.data();
      work.ties.clear();
    }
  }

  // A line shorter than n: false when `fullscan` settles the voxel as null.
  bool short_line() {
    ++t;
    return !s.fullscan;
  }

  void line(std::int32_t i, double stat) {
    ++t;
    const realvector u = plan.units[std::size_t(i)];
    if constexpr (M == 1) {
      if (stat < best) { best = stat; result = u * stat; }
      else if (stat == best) result = {};
    } else if constexpr (M == 2) {
      if (stat < best) { best = stat; result = u * stat; single = true; }
      else if (stat == best) {
        if (single) {
          const realvector w = scan::normalise(result);
          const double reach = 0.5 * double(s.n);   // a length in scan steps, compared with unit vectors
          if (scan::length(w - u) < reach) result = (result + u * stat) / 2;
          else if (scan::length(w - (-u)) < reach) result = (result + (-u) * stat) / 2;
          else result = {};
          single = false;
        } else {
          result = {};
        }
      }
    } else if constexpr (M == 3) {
      if (stat < best) { best = stat; result = u * stat; c = 1; }
      else if (stat == best && c > 0) {
        if (scan::length(result) > scan::length(result + u)) result = result + (-u) * stat;
        else result = result + u * stat;
        ++c;
      }
    } else {
      const realvector v = as_real(plan.directions[std::size_t(i)]);
      if (stat < best) { best = stat; mean = v; c = 1; work.ties.clear(); work.ties.push_back(i); }
      else if (stat == best && c > 0) { mean = mean + v; ++c; work.ties.push_back(i); }
      ranked[ranks++] = {i, stat};
    }
  }

  // A line whose deviation is certainly above the best: only the counts change.
  void worse(std::int32_t i, std::int64_t count, std::int64_t sum, std::int64_t squares) {
    ++t;
    if constexpr (M >= 4) ranked[ranks++] = {i, std::numeric_limits<double>::quiet_NaN(), count, sum, squares};
    else (void)i, (void)count, (void)sum, (void)squares;
  }

  realvector finish(bool shortcut) {
    if constexpr (M <= 2) return result;
    if constexpr (M == 3) {
      if (double(t) * s.max <= double(c)) return {};
      return c > 1 ? result / double(c) : result;
    }
    const std::int64_t count = ranks;
    if (count < 3 || c < 1) return {};
    if (double(count) * s.max <= double(c)) return {};   // too many ties: no preferred direction
    if (shortcut) {
      realvector acc{};
      if (tied_sum(acc)) return close(acc);
    }
    return ranked_walk(count);
  }

  // Without the sort: the ties lead the ranking, and their integer sum is exact
  // in any order. Method 4 adds each tie on or against the cone; methods 5 and 6
  // may do so only while no tie would end the walk.
  bool tied_sum(realvector& acc) {
    for (std::int32_t i : work.ties) {
      const realvector v = as_real(plan.directions[std::size_t(i)]);
      const bool along = scan::angle(mean, v) <= s.angle;
      const bool against = scan::angle(mean, -v) <= s.angle;
      if constexpr (M == 4) {
        if (along) acc = acc + v;
        else if (against) acc = acc + (-v);
      } else {
        if (!along || against) return false;
        acc = acc + v;
      }
    }
    return true;
  }

  realvector ranked_walk(std::int64_t count) {
    for (std::int64_t e = 0; e < count; ++e)
      if (std::isnan(ranked[e].stat)) ranked[e].stat = scan::deviation(ranked[e].count, ranked[e].sum, ranked[e].squares);
    scan::heap_sort(ranked, count, [](const ranking& r) { return r.stat; });
    realvector acc{};
    std::int64_t k = 1;
    for (;; ++k) {
      const ranking& r = ranked[k - 1];
      const realvector v = as_real(plan.directions[std::size_t(r.position)]);
      const double along = scan::angle(mean, v), against = scan::angle(mean, -v);
      if (r.stat == best) {
        if (along <= s.angle) acc = acc + v;
        else if (against <= s.angle) acc = acc + (-v);
      }
      if constexpr (M == 4) {
        if (!(r.stat == best && k < count)) break;
      } else {
        if (along > s.angle || against <= s.angle || k >= count) break;
      }
    }
    if (k < 2) return {};
    return close(acc);
  }

  realvector close(realvector acc) const {
    if constexpr (M == 6) return scan::normalise(acc) * best;
    return acc;
  }
};

// The statistic of a run whose samples stand in `buffer`, with their sums.
double statistic(int submethod, std::int64_t m, std::int64_t sum, std::int64_t squares, const std::int64_t* buffer,
                 scan::sample_list& sorted) {
  switch (submethod) {
    case 0: return double(sum);
    case 1: return double(sum) / double(m);
    case 3: case 4: case 5: case 6: case 7:
      return scan::reduce(std::span<const std::int64_t>(buffer, std::size_t(m)), submethod, sorted);
    default: return scan::deviation(m, sum, squares);
  }
}

// One run along precomputed array offsets from the centre voxel `c`: no bounds
// test, for lines that stay inside the array.
template <typename T>
inline std::int64_t run_linear(const T* c, const std::int32_t* f, const std::int32_t* b, std::int32_t count,
                               std::int64_t* buffer, std::int64_t& sum, std::int64_t& squares) {
  const std::int32_t* o = f;
  std::int32_t k = 0;
  if (c[f[0]] == 0) {
    if (c[b[0]] != 0) o = b;
    else while (k < count && c[f[k]] == 0) ++k;
  }
  std::int64_t m = 0;
  for (; k < count; ++k) {
    const std::int64_t v = c[o[k]];
    if (v == 0) break;
    buffer[m++] = v;
    sum += v;
    squares += v * v;
  }
  return m;
}

// The same with every read checked, outside reads giving `background`.
template <typename T>
std::int64_t run_checked(const scan::volume<T>& v, const lineplan& p, std::size_t i, std::int64_t x, std::int64_t y,
                         std::int64_t z, std::int64_t* buffer, std::int64_t& sum, std::int64_t& squares) {
  const std::size_t s = std::size_t(p.start[i]);
  const std::int32_t count = p.count[i];
  auto fwd = [&](std::int32_t k) {
    return v.read(std::uint64_t(x + p.fx[s + k]), std::uint64_t(y + p.fy[s + k]), std::uint64_t(z + p.fz[s + k]));
  };
  auto bwd = [&](std::int32_t k) {
    return v.read(std::uint64_t(x + p.bx[s + k]), std::uint64_t(y + p.by[s + k]), std::uint64_t(z + p.bz[s + k]));
  };
  bool back = false;
  std::int32_t k = 0;
  if (fwd(0) == 0) {
    if (bwd(0) != 0) back = true;
    else while (k < count && fwd(k) == 0) ++k;
  }
  std::int64_t m = 0;
  for (; k < count; ++k) {
    const std::int64_t value = back ? bwd(k) : fwd(k);
    if (value == 0) break;
    buffer[m++] = value;
    sum += value;
    squares += value * value;
  }
  return m;
}

std::int64_t longest(const lineplan& p) {
  std::int64_t most = 0;
  for (std::int32_t c : p.count) most = std::max<std::int64_t>(most, c);
  return most;
}

// The search at one voxel; `centre` points at it in an array with the plan's
// strides, and `linear(i)` tells whether line i may walk by array offsets there.
template <typename T, int M, typename Linear>
realvector search_voxel(const scan::volume<T>& v, const lineplan& p, const settings& s, std::int64_t x,
                        std::int64_t y, std::int64_t z, const T* centre, Linear linear, scratch& work) {
  if (work.run.size() < std::size_t(longest(p))) work.run.resize(std::size_t(longest(p)));
  search<M> state(p, s, work);
  std::int64_t* buffer = work.run.data();
  const std::size_t directions = p.directions.size();
  const bool deviation = s.submethod < 0 || s.submethod == 2 || s.submethod > 7;
  std::int64_t samples = 0;
  for (std::size_t i = 0; i < directions; ++i) {
    std::int64_t sum = 0, squares = 0;
    const std::int64_t m =
        linear(i) ? run_linear(centre, p.flin.data() + p.start[i], p.blin.data() + p.start[i], p.count[i], buffer,
                               sum, squares)
                  : run_checked(v, p, i, x, y, z, buffer, sum, squares);
    samples += m;
    if (m < s.n) {
      if (!state.short_line()) { work.samples += samples; return {}; }
      continue;
    }
    if (deviation && m <= 40000) {
      // sd = sqrt(spread / (m (m - 1))): a spread clearly above best^2 m (m - 1)
      // cannot tie or win, and needs neither the division nor the root.
      const double spread = double(m * squares - sum * sum);
      if (spread > state.best * state.best * double(m * (m - 1)) * (1 + 1e-6)) {
        state.worse(std::int32_t(i), m, sum, squares);
        continue;
      }
    }
    state.line(std::int32_t(i), statistic(s.submethod, m, sum, squares, buffer, work.sorted));
  }
  work.samples += samples;
  return state.finish(true);
}

// In the field itself: lines that would leave it take the checked walk.
template <typename T, int M>
realvector voxel_m(const scan::volume<T>& v, const lineplan& p, const settings& s, std::int64_t x, std::int64_t y,
                   std::int64_t z, scratch& work) {
  if (!v.data) return {};
  const bool strided = p.linear && p.stride_x == v.nx && p.stride_y == v.ny;
  const bool inside = strided && x - p.reach_x >= 1 && x + p.reach_x <= v.nx && y - p.reach_y >= 1 &&
                      y + p.reach_y <= v.ny && z - p.reach_z >= 1 && z + p.reach_z <= v.nz;
  const T* centre = v.data + ((z - 1) * v.ny + (y - 1)) * v.nx + (x - 1);
  const std::int64_t lx = 1 - x, hx = v.nx - x, ly = 1 - y, hy = v.ny - y, lz = 1 - z, hz = v.nz - z;
  auto linear = [&](std::size_t i) {
    if (inside) return true;
    const lineplan::box& b = p.boxes[i];
    return strided && b.lx >= lx && b.hx <= hx && b.ly >= ly && b.hy <= hy && b.lz >= lz && b.hz <= hz;
  };
  return search_voxel<T, M>(v, p, s, x, y, z, centre, linear, work);
}

template <typename T, int M>
realvector voxel_plain_m(const scan::volume<T>& v, const lineplan& p, const settings& s, std::int64_t x,
                         std::int64_t y, std::int64_t z, scratch& work) {
  search<M> state(p, s, work);
  const scan_vector centre{x, y, z};
  for (std::size_t i = 0; i < p.directions.size(); ++i) {
    const scan_vector& d = p.directions[i];
    scan::scan_run(v, {centre.x + d.x, centre.y + d.y, centre.z + d.z},
                   {centre.x - d.x, centre.y - d.y, centre.z - d.z}, work.run);
    work.samples += static_cast<std::int64_t>(work.run.size());
    if (static_cast<std::int64_t>(work.run.size()) < s.n) {
      if (!state.short_line()) return {};
      continue;
    }
    state.line(std::int32_t(i), scan::reduce(std::span<const std::int64_t>(work.run), s.submethod, work.sorted));
  }
  return state.finish(false);
}

// Copies planes z - reach_z .. z + reach_z into the slab with reach_x, reach_y
// columns and rows of background around them; false if the slab would be too big.
template <typename T>
bool fill_slab(const scan::volume<T>& v, const lineplan& p, std::int64_t z, scratch& work) {
  const std::int64_t sx = v.nx + 2 * p.reach_x, sy = v.ny + 2 * p.reach_y, sz = 2 * p.reach_z + 1;
  const std::int64_t bytes = sx * sy * sz * std::int64_t(sizeof(T));
  if (bytes > (std::int64_t(64) << 20)) return false;
  work.slab.resize(std::size_t(bytes));
  T* slab = reinterpret_cast<T*>(work.slab.data());
  const T background = T(v.background);
  for (std::int64_t c = 0; c < sz; ++c) {
    const std::int64_t zz = z - p.reach_z + c;
    for (std::int64_t r = 0; r < sy; ++r) {
      T* row = slab + (c * sy + r) * sx;
      const std::int64_t yy = r - p.reach_y + 1;
      if (zz < 1 || zz > v.nz || yy < 1 || yy > v.ny) { std::fill(row, row + sx, background); continue; }
      std::fill(row, row + p.reach_x, background);
      std::copy_n(v.data + ((zz - 1) * v.ny + (yy - 1)) * v.nx, v.nx, row + p.reach_x);
      std::fill(row + p.reach_x + v.nx, row + sx, background);
    }
  }
  return true;
}

template <typename T, int M>
void slice_m(const scan::volume<T>& v, lineplan& p, const settings& s, std::int64_t z, std::int64_t f, scratch& work,
             realvector* out) {
  const std::int64_t wx = v.nx / f, wy = v.ny / f;
  const bool padded = fill_slab(v, p, z, work);
  const std::int64_t sx = v.nx + 2 * p.reach_x, sy = v.ny + 2 * p.reach_y;
  if (padded && (p.stride_x != sx || p.stride_y != sy)) plan_strides(p, sx, sy);
  if (!padded && (p.stride_x != v.nx || p.stride_y != v.ny)) plan_strides(p, v.nx, v.ny);
  const bool all_linear = padded && p.linear;
  const T* slab = reinterpret_cast<const T*>(work.slab.data());
  for (std::int64_t j = 1; j <= wy; ++j)
    for (std::int64_t i = 1; i <= wx; ++i) {
      const std::int64_t x = i * f, y = j * f;
      realvector& r = out[(j - 1) * wx + (i - 1)];
      if (v.read(std::uint64_t(x), std::uint64_t(y), std::uint64_t(z)) <= 0) { r = {}; continue; }
      if (all_linear) {
        const T* centre = slab + (p.reach_z * sy + (y - 1 + p.reach_y)) * sx + (x - 1 + p.reach_x);
        r = search_voxel<T, M>(v, p, s, x, y, z, centre, [](std::size_t) { return true; }, work);
      } else {
        r = voxel_m<T, M>(v, p, s, x, y, z, work);
      }
    }
}

}  // namespace

template <typename T>
realvector voxel(const scan::volume<T>& v, const lineplan& p, const settings& s, std::int64_t x, std::int64_t y,
                 std::int64_t z, scratch& work) {
  switch (method_of(s.method)) {
    case 1: return voxel_m<T, 1>(v, p, s, x, y, z, work);
    case 2: return voxel_m<T, 2>(v, p, s, x, y, z, work);
    case 3: return voxel_m<T, 3>(v, p, s, x, y, z, work);
    case 4: return voxel_m<T, 4>(v, p, s, x, y, z, work);
    case 6: return voxel_m<T, 6>(v, p, s, x, y, z, work);
    default: return voxel_m<T, 5>(v, p, s, x, y, z, work);
  }
}

template <typename T>
realvector voxel_plain(const scan::volume<T>& v, const lineplan& p, const settings& s, std::int64_t x,
                       std::int64_t y, std::int64_t z, scratch& work) {
  switch (method_of(s.method)) {
    case 1: return voxel_plain_m<T, 1>(v, p, s, x, y, z, work);
    case 2: return voxel_plain_m<T, 2>(v, p, s, x, y, z, work);
    case 3: return voxel_plain_m<T, 3>(v, p, s, x, y, z, work);
    case 4: return voxel_plain_m<T, 4>(v, p, s, x, y, z, work);
    case 6: return voxel_plain_m<T, 6>(v, p, s, x, y, z, work);
    default: return voxel_plain_m<T, 5>(v, p, s, x, y, z, work);
  }
}

template <typename T>
void slice(const scan::volume<T>& v, lineplan& p, const settings& s, std::int64_t z, std::int64_t f,
           scratch& work, realvector* out) {
  if (f < 1) f = 1;
  if (!v.data) {   // no voxels: no line ever qualifies
    std::fill(out, out + (v.nx / f) * (v.ny / f), realvector{});
    return;
  }
  switch (method_of(s.method)) {
    case 1: return slice_m<T, 1>(v, p, s, z, f, work, out);
    case 2: return slice_m<T, 2>(v, p, s, z, f, work, out);
    case 3: return slice_m<T, 3>(v, p, s, z, f, work, out);
    case 4: return slice_m<T, 4>(v, p, s, z, f, work, out);
    case 6: return slice_m<T, 6>(v, p, s, z, f, work, out);
    default: return slice_m<T, 5>(v, p, s, z, f, work, out);
  }
}

namespace {

// Plans and lists of the workers, kept from slice to slice: a worker takes a
// free set at its start and gives it back at its end, so that no slice builds
// its plan again or allocates (and faults in) its slab anew. No more sets are
// in use at once than threads run, and a set is built by its first user.
struct workerset {
  lineplan plan;
  scratch work;
  bool built = false;
};

struct workerpool {
  std::mutex lock;
  std::vector<std::unique_ptr<workerset>> sets;
  std::vector<workerset*> idle;
  explicit workerpool(std::int64_t most) : sets(std::size_t(std::max<std::int64_t>(most, 1))) {}
  workerset& take() {
    std::lock_guard<std::mutex> hold(lock);
    if (!idle.empty()) {
      workerset* w = idle.back();
      idle.pop_back();
      return *w;
    }
    for (auto& s : sets)
      if (!s) return *(s = std::make_unique<workerset>());
    sets.push_back(std::make_unique<workerset>());   // only if more ran at once than promised
    return *sets.back();
  }
  void give(workerset& w) {
    std::lock_guard<std::mutex> hold(lock);
    idle.push_back(&w);
  }
  std::int64_t samples() const {
    std::int64_t n = 0;
    for (const auto& s : sets) n += s ? s->work.samples : 0;
    return n;
  }
};

// Runs `body(set, k)` for k from 1 to `count` through the worker frame, each
// slice with a set of the pool built by `build`.
template <typename Build, typename Body>
std::int64_t pooled(std::int64_t count, std::int64_t maxthreads, Build build, Body body) {
  workerpool pool(std::min(count, maxthreads));
  auto worker = [&](std::int64_t k) {
    workerset& w = pool.take();
    if (!w.built) build(w.plan), w.built = true;
    body(w, k);
    pool.give(w);
  };
  threads::per_slice(count, maxthreads, u"  Calculate vectorfield", worker);
  return pool.samples();
}

}  // namespace

template <typename T>
std::int64_t field(const scan::volume<T>& v, const settings& s, std::int64_t f, std::int64_t maxthreads,
                   realvector* out) {
  if (f < 1) f = 1;
  const std::int64_t wx = v.nx / f, wy = v.ny / f, wz = v.nz / f;
  return pooled(
      wz, maxthreads, [&](lineplan& plan) { plan_build(plan, s.n, v.nx, v.ny); },
      [&](workerset& w, std::int64_t k) { slice(v, w.plan, s, k * f, f, w.work, out + (k - 1) * wx * wy); });
}

template <typename T>
std::int64_t field_2d(const scan::volume<T>& v, const settings& s, std::int64_t maxthreads, realvector* out) {
  return pooled(
      v.ny, maxthreads, [&](lineplan& plan) { plan_build(plan, s.n, v.nx, v.ny, true); },
      [&](workerset& w, std::int64_t y) {
        for (std::int64_t x = 1; x <= v.nx; ++x) {
          realvector& r = out[(y - 1) * v.nx + (x - 1)];
          r = (v.data && v.read(std::uint64_t(x), std::uint64_t(y), 1) > 0) ? voxel(v, w.plan, s, x, y, 1, w.work)
                                                                           : realvector{};
        }
      });
}

#define QV_DIFFUSION_TYPES(T)                                                                                    \
  template realvector voxel(const scan::volume<T>&, const lineplan&, const settings&, std::int64_t, std::int64_t, \
                            std::int64_t, scratch&);                                                              \
  template realvector voxel_plain(const scan::volume<T>&, const lineplan&, const settings&, std::int64_t,         \
                                  std::int64_t, std::int64_t, scratch&);                                          \
  template void slice(const scan::volume<T>&, lineplan&, const settings&, std::int64_t, std::int64_t,       \
                      scratch&, realvector*);                                                             \
  template std::int64_t field(const scan::volume<T>&, const settings&, std::int64_t, std::int64_t, realvector*); \
  template std::int64_t field_2d(const scan::volume<T>&, const settings&, std::int64_t, realvector*);
QV_DIFFUSION_TYPES(std::uint8_t)
QV_DIFFUSION_TYPES(std::uint16_t)
#undef QV_DIFFUSION_TYPES

}  // namespace qv::diffusion
