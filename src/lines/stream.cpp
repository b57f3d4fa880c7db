// stream.cpp: the streamline walk (plain, simplified, contrast), the visited volume, snakes and the seed loops.
#include "lines/stream.h"

#include <algorithm>
#include <cmath>
#include <thread>
#include <cstdint>

#include <sys/mman.h>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "foundation/voxelstore.h"
#include "foundation/randomsource.h"
#include "lines/cloud.h"
#include "orientation/scan.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

namespace qv::stream {

settings current;

namespace {

using vec = num::vector;
struct voxel { std::int64_t x = 0, y = 0, z = 0; };

// Half to even like `framemath::round`, without a library call for the sizes a walk meets.
inline std::int64_t round_even(double v) {
  constexpr double magic = 6755399441055744.0;   // 1.5 * 2^52: the sum drops the fraction by the rounding mode
  if (std::fabs(v) < 1e15) return std::int64_t((v + magic) - magic);
  return framemath::round(v);
}

// The frame as the walk needs it: global to local index (from 1, rounded),
// local to global, the box a walk may not leave, and the step.
struct geometry {
  std::int64_t nx = 0, ny = 0, nz = 0;
  double inv[9] = {}, mat[9] = {};
  vec offset, lo, hi, stepvec;
  double maxpoints = 0;

  geometry(const vectorfield& f, const settings& s) : nx(f.width), ny(f.height), nz(f.depth) {
    std::copy(f.frame.inverse.m, f.frame.inverse.m + 9, inv);
    std::copy(f.frame.matrix.m, f.frame.matrix.m + 9, mat);
    offset = {f.frame.offset.x, f.frame.offset.y, f.frame.offset.z};
    const framemath::vector sc = frame_scale(f.frame);
    stepvec = {sc.x, sc.y, sc.z};
    if (s.steps != 1) stepvec = num::mul(stepvec, s.steps);
    const double diagonal = num::length(vec{double(nx - 1), double(ny - 1), double(nz - 1)});
    if (s.steps == 1) maxpoints = s.stop_length > 0 ? s.stop_length : double(framemath::round(diagonal));
    else maxpoints = double(framemath::round(s.stop_length > 0 ? s.stop_length / s.steps : diagonal / s.steps));
    const float half = 0.5f;   // the box edge is a 32-bit half added to the size
    lo = to_global({double(half), double(half), double(half)});
    hi = to_global({double(float(nx) + half), double(float(ny) + half), double(float(nz) + half)});
  }
  vec to_global(vec l) const {   // index from 1 to global
    const double x = l.x - 1, y = l.y - 1, z = l.z - 1;
    return {offset.x + x * mat[0] + y * mat[3] + z * mat[6], offset.y + x * mat[1] + y * mat[4] + z * mat[7],
            offset.z + x * mat[2] + y * mat[5] + z * mat[8]};
  }
  voxel to_voxel(vec g) const {   // global to index from 1, unchecked
    const double x = g.x - offset.x, y = g.y - offset.y, z = g.z - offset.z;
    return {round_even(x * inv[0] + y * inv[3] + z * inv[6] + 1), round_even(x * inv[1] + y * inv[4] + z * inv[7] + 1),
            round_even(x * inv[2] + y * inv[5] + z * inv[8] + 1)};
  }
  bool inside(voxel v) const {
    return std::uint64_t(v.x - 1) < std::uint64_t(nx) && std::uint64_t(v.y - 1) < std::uint64_t(ny) &&
           std::uint64_t(v.z - 1) < std::uint64_t(nz);
  }
  std::int64_t index(voxel v) const { return ((v.z - 1) * ny + (v.y - 1)) * nx + (v.x - 1); }
  bool in_box(vec q) const { return lo.x <= q.x && q.x <= hi.x && lo.y <= q.y && q.y <= hi.y && lo.z <= q.z && q.z <= hi.z; }
};

// angle(a, b) against a fixed limit. The cosine decides where it is clearly
// apart from the limit's cosine; near it the exact `angle` decides, so every
// result equals the comparison of `num::angle` itself.
struct anglelimit {
  double limit = 0, cosine = 1;
  explicit anglelimit(double l) : limit(l), cosine(std::cos(l)) {}
  // Sign of angle(a, b) - limit: -1, 0 or 1.
  int compare(vec a, vec b) const {
    const double l = num::length(a) * num::length(b);
    double angle = 0;
    if (l != 0) {
      const double c = (a.x * b.x + a.y * b.y + a.z * b.z) / l;
      if (c > cosine + 1e-9) return -1;
      if (c < cosine - 1e-9) return 1;
      angle = num::angle(a, b);
    }
    return angle < limit ? -1 : angle > limit ? 1 : 0;
  }
};

// One bit a voxel.
struct bitvolume {
  std::vector<std::uint64_t> words;
  const geometry* g = nullptr;
  void make(const geometry& geo) {
    g = &geo;
    words.assign(std::size_t((geo.nx * geo.ny * geo.nz + 63) / 64), 0);
  }
  bool get(voxel v) const {
    if (!g->inside(v)) return false;
    const std::int64_t i = g->index(v);
    return (words[std::size_t(i >> 6)] >> (i & 63)) & 1;
  }
  void set(voxel v) {
    if (!g->inside(v)) return;
    const std::int64_t i = g->index(v);
    words[std::size_t(i >> 6)] |= std::uint64_t(1) << (i & 63);
  }
  // Any voxel of the lopsided cube -(n+1)..n-1 around v.
  bool any(voxel v, std::int64_t n) const {
    for (std::int64_t z = v.z - n - 1; z <= v.z + n - 1; ++z)
      for (std::int64_t y = v.y - n - 1; y <= v.y + n - 1; ++y)
        for (std::int64_t x = v.x - n - 1; x <= v.x + n - 1; ++x)
          if (get({x, y, z})) return true;
    return false;
  }
  bool test(voxel v, std::int64_t n) const { return n <= 1 ? get(v) : any(v, n); }
};

// Room for `more` points. The first time, the cloud asks for address room of a
// quarter of the machine's memory at once: untouched pages cost nothing, so the
// points never move, and each page is faulted once, as a huge page where the
// system grants them. Past that room (or where the room is refused) it grows by
// doubling.
void reserve_points(std::vector<num::hyper>& points, std::size_t more) {
  if (points.capacity() - points.size() >= more) return;
  static const std::size_t room = std::size_t(memory::physical() / 4) / sizeof(num::hyper);
  std::vector<num::hyper> fresh;
  const std::size_t least = points.size() + more;
  std::size_t want = std::max({points.capacity() * 2, least, std::size_t(1) << 16});
  if (points.capacity() < room && least < room) want = std::max(want, room);
  try {
    fresh.reserve(want);
  } catch (const std::bad_alloc&) {
    fresh.reserve(std::max({points.capacity() * 2, least, std::size_t(1) << 16}));
  }
  const std::uintptr_t page = std::uintptr_t(1) << 21, begin = std::uintptr_t(fresh.data()),
                       first = (begin + page - 1) & ~(page - 1),
                       end = (begin + fresh.capacity() * sizeof(num::hyper)) & ~(page - 1);
  if (end > first) madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
  fresh.insert(fresh.end(), points.begin(), points.end());
  points.swap(fresh);
}

// The grey value at a global position by the scalar's own frame; background outside.
std::int64_t grey_at(const scalarfield& f, vec p) {
  const framemath::natvector i = g2l(f.frame, {p.x, p.y, p.z});
  return scalar::get(f, i.x, i.y, i.z);
}

double polygon_length(const std::vector<vec>& p) {
  double sum = 0;
  for (std::size_t i = 1; i < p.size(); ++i) sum += num::length(num::sub(p[i], p[i - 1]));
  return sum;
}

// The muscle test: the forward half (L1) may not be longer than the backward
// half with its gap to the seed (L2) by more than two steps; neither may be 0.
bool muscle_ok(const std::vector<vec>& forward, const std::vector<vec>& backward, double steps) {
  const double l1 = forward.size() < 2 ? 0 : polygon_length(forward);
  double l2 = 0;
  if (forward.size() > 1 && !backward.empty())
    l2 = num::length(num::sub(forward.front(), backward.front())) + polygon_length(backward);
  return l1 - l2 <= 2 * steps && l1 * l2 != 0;
}

// Lines of a run of seeds traced by one worker, in seed order.
struct tracedlines {
  std::vector<num::hyper> points;
  std::vector<std::int64_t> sizes, materials;
  std::vector<vec> forward, backward;
};

// The walk of one half from a seed over the field's elements T.
template <typename T>
struct walker {
  const T* data;
  const geometry& g;
  const settings& s;
  const scalarfield* contrast;
  anglelimit stop, bend;

  walker(const T* d, const geometry& geo, const settings& set, const scalarfield* c)
      : data(d), g(geo), s(set), contrast(set.stop_contrast > 0 ? c : nullptr), stop(set.stop_angle), bend(set.angles) {}

  vec raw(voxel v) const {
    if (!g.inside(v)) return {};
    const T* e = data + 3 * g.index(v);
    return {double(e[0]), double(e[1]), double(e[2])};
  }

  // `out` gets the points of the half: for the forward half the seed first.
  void half(vec seed, double sign, std::vector<vec>& out) const {
    out.clear();
    if (sign > 0) out.push_back(seed);
    const bool simplified = s.angles > 0;
    vec p = seed, previous{}, anchor = seed, q = seed;
    std::int64_t v = contrast ? grey_at(*contrast, seed) : 0;
    // A step of less than a voxel often stays in the voxel of the step before:
    // then the direction is the one already normalised, and its angle to the
    // previous one is its angle to itself, worked out once.
    voxel last{};
    bool have = false, selfknown = false;
    vec d{};
    int self = 0;
    for (;;) {
      const std::int64_t w = contrast ? grey_at(*contrast, p) : 0;
      const voxel here = g.to_voxel(p);
      const bool same = have && here.x == last.x && here.y == last.y && here.z == last.z;
      if (!same) {
        d = num::norm(raw(here));
        last = here;
        have = true;
        selfknown = false;
      }
      q = {p.x + sign * (d.x * g.stepvec.x), p.y + sign * (d.y * g.stepvec.y), p.z + sign * (d.z * g.stepvec.z)};
      if (num::notequal(q, p)) {
        if (!simplified) out.push_back(q);
        else if (bend.compare(num::sub(p, anchor), num::sub(q, p)) > 0) out.push_back(anchor = q);
      }
      if (!g.in_box(q) || num::equal(q, p)) break;
      if (same && !selfknown) {
        self = stop.compare(d, d);
        selfknown = true;
      }
      if ((same ? self : stop.compare(d, previous)) >= 0 || double(out.size()) >= g.maxpoints) break;
      if (contrast) {
        if (std::abs(w - v) > s.stop_contrast) break;
        v = w;
      }
      p = q;
      previous = d;
    }
    if (simplified && num::notequal(q, anchor)) out.push_back(q);
  }
};

// One command's run: seeds in the plan's order, lines into the cloud.
template <typename T>
struct tracker {
  const geometry& g;
  const settings& s;
  const seedplan& plan;
  walker<T> w;
  cloud& c;
  bitvolume visited;
  std::vector<vec> forward, backward;
  std::vector<voxel> collected;
  result r;

  tracker(const T* data, const geometry& geo, const settings& set, const seedplan& p, cloud& cl, const scalarfield* contrast)
      : g(geo), s(set), plan(p), w(data, geo, set, contrast), c(cl) {
    if (s.seeds > 0 || s.snakes > 0) visited.make(g);
  }

  bool masked_out(voxel v) const {
    if (!plan.mask) return false;
    const std::int64_t m = scalar::get(*plan.mask, v.x, v.y, v.z);
    return m < 0 || m >= std::int64_t(plan.maskvalues.size()) || !plan.maskvalues[std::size_t(m)];
  }
  bool zero(voxel v) const {
    const vec d = w.raw(v);
    return d.x == 0 && d.y == 0 && d.z == 0;
  }

  // Points of the line being stored; they reach the cloud in one piece.
  std::vector<num::hyper> pending;
  void put(vec p) { pending.push_back({p.x, p.y, p.z, 0}); }
  void flush() {
    reserve_points(c.points, pending.size());
    line::add_line(c, pending.data(), std::int64_t(pending.size()), r.tried);
    pending.clear();
  }

  // Sets the collected voxels, joined pair by pair by the 16.16 line walk.
  void join() {
    if (collected.size() == 1) visited.set(collected[0]);
    for (std::size_t i = 1; i < collected.size(); ++i) {
      const voxel a = collected[i - 1], b = collected[i];
      const scan::walk wk = scan::walk::between({a.x, a.y, a.z}, {b.x, b.y, b.z});
      visited.set(a);
      visited.set(b);
      for (std::int64_t k = 0; k < wk.count; ++k)
        visited.set({std::int64_t(scan::walk::coordinate(a.x, k * wk.sx)), std::int64_t(scan::walk::coordinate(a.y, k * wk.sy)),
                     std::int64_t(scan::walk::coordinate(a.z, k * wk.sz))});
    }
  }
  // One half under the snake rule: points until the first one in visited ground.
  template <typename It>
  void snake(It from, It to) {
    collected.clear();
    for (It i = from; i != to; ++i) {
      const voxel v = g.to_voxel(*i);
      if (visited.test(v, s.snakes)) break;
      put(*i);
      collected.push_back(v);
    }
    join();
  }

  void store() {
    if (s.seeds > 0 && s.snakes > 0) {
      snake(backward.rbegin(), backward.rend());
      snake(forward.begin(), forward.end());
      flush();   // nothing when no point was stored
      return;
    }
    for (auto i = backward.rbegin(); i != backward.rend(); ++i) put(*i);
    for (const vec& p : forward) put(p);
    if (s.seeds > 0) {   // the voxels of the points and the voxels between them
      collected.clear();
      for (auto i = backward.rbegin(); i != backward.rend(); ++i) collected.push_back(g.to_voxel(*i));
      for (const vec& p : forward) collected.push_back(g.to_voxel(p));
      join();
    }
    flush();
  }

  // A seed at global `pos` whose voxel is `v`: the visited test, both halves, the tests, the line.
  void seed(vec pos, voxel v) {
    if (s.seeds > 0 && visited.test(v, s.seeds)) return;
    ++r.tried;
    w.half(pos, 1, forward);
    w.half(pos, -1, backward);
    if (forward.size() + backward.size() <= 1) return;
    if (plan.muscle && !muscle_ok(forward, backward, s.steps)) return;
    ++r.found;
    store();
  }

  // Without a visited test no seed depends on another: seeds are gathered in
  // blocks, traced by `workers` threads over consecutive runs of the block, and
  // the lines are appended in seed order, so the cloud is the same for any count.
  std::int64_t workers = 1;
  std::vector<vec> block;
  std::vector<tracedlines> traced;
  static constexpr std::size_t blocksize = 8192;

  void trace_run(tracedlines& out, std::size_t from, std::size_t to, std::int64_t base) const {
    for (std::size_t k = from; k < to; ++k) {
      w.half(block[k], 1, out.forward);
      w.half(block[k], -1, out.backward);
      if (out.forward.size() + out.backward.size() <= 1) continue;
      if (plan.muscle && !muscle_ok(out.forward, out.backward, s.steps)) continue;
      for (auto i = out.backward.rbegin(); i != out.backward.rend(); ++i) out.points.push_back({i->x, i->y, i->z, 0});
      for (const vec& p : out.forward) out.points.push_back({p.x, p.y, p.z, 0});
      out.sizes.push_back(std::int64_t(out.forward.size() + out.backward.size()));
      out.materials.push_back(base + std::int64_t(k) + 1);
    }
  }
  void drain() {
    const std::size_t n = block.size();
    if (n == 0) return;
    const std::size_t parts = std::size_t(std::clamp<std::int64_t>(workers, 1, std::int64_t(n)));
    traced.resize(std::max(traced.size(), parts));
    const std::int64_t base = r.tried;
    std::vector<std::thread> pool;
    for (std::size_t t = 0; t < parts; ++t) {
      tracedlines& out = traced[t];
      out.points.clear(), out.sizes.clear(), out.materials.clear();
      const std::size_t from = n * t / parts, to = n * (t + 1) / parts;
      if (t + 1 < parts) pool.emplace_back([this, &out, from, to, base] { trace_run(out, from, to, base); });
      else trace_run(out, from, to, base);
    }
    for (std::thread& t : pool) t.join();
    r.tried += std::int64_t(n);
    for (std::size_t t = 0; t < parts; ++t) {
      const tracedlines& out = traced[t];
      reserve_points(c.points, out.points.size());
      const num::hyper* p = out.points.data();
      for (std::size_t l = 0; l < out.sizes.size(); p += out.sizes[l], ++l) line::add_line(c, p, out.sizes[l], out.materials[l]);
      r.found += std::int64_t(out.sizes.size());
    }
    block.clear();
  }
  void take(vec pos, voxel v) {
    if (s.seeds > 0 || workers < 2) return seed(pos, v);
    block.push_back(pos);
    if (block.size() == blocksize) drain();
  }

  void all_voxels() {
    for (std::int64_t z = 1; z < g.nz; ++z) {
      progress::set(double(z - 1) / double(g.nz - 1), u"Calculate stream lines");
      for (std::int64_t y = 1; y < g.ny; ++y)
        for (std::int64_t x = 1; x < g.nx; ++x) {
          const voxel v{x, y, z};
          if (masked_out(v) || zero(v)) continue;
          take(g.to_global({double(x), double(y), double(z)}), v);
        }
    }
    progress::end(u"Calculate stream lines");
  }

  // Three draws x, y, z; one more draw after a zero vector (or a voxel outside the mask).
  void random_seeds() {
    for (std::int64_t i = 0; i < plan.count; ++i) {
      vec p;
      voxel v;
      bool ok = false;
      for (int attempt = 0; attempt < 2 && !ok; ++attempt) {
        p.x = random::real() * double(g.nx);
        p.y = random::real() * double(g.ny);
        p.z = random::real() * double(g.nz);
        v = {std::clamp<std::int64_t>(round_even(p.x), 1, g.nx), std::clamp<std::int64_t>(round_even(p.y), 1, g.ny),
             std::clamp<std::int64_t>(round_even(p.z), 1, g.nz)};
        ok = !masked_out(v) && !zero(v);
      }
      if (ok) take(g.to_global(p), v);
    }
  }

  void plane_seeds() {
    vec p = plan.point, n = plan.normal;
    if (num::equal(p, vec{})) p = num::mul(vec{double(g.nx - 1), double(g.ny - 1), double(g.nz - 1)}, 0.5);
    vec e1 = num::norm(vector::cross(n, {1, 0, 0}));
    if (num::equal(e1, vec{})) e1 = num::norm(vector::cross(n, {0, 1, 0}));
    if (num::equal(e1, vec{})) e1 = num::norm(vector::cross(n, {0, 0, 1}));
    const vec e2 = num::norm(vector::cross(n, e1));
    const std::int64_t d = framemath::round(num::length(vec{double(g.nx), double(g.ny), double(g.nz)}));
    for (std::int64_t a = -d; a <= d; ++a) {
      progress::set(double(a + d) / double(2 * d), u"Calculate stream lines");
      for (std::int64_t b = -d; b <= d; ++b) {
        const vec l = num::add(num::add(p, num::mul(e1, double(b))), num::mul(e2, double(a)));
        const voxel v{round_even(l.x), round_even(l.y), round_even(l.z)};
        if (!g.inside(v) || masked_out(v) || zero(v)) continue;
        take(g.to_global(l), v);
      }
    }
    progress::end(u"Calculate stream lines");
  }

  void go() {
    switch (plan.rule) {
      case seedrule::all: all_voxels(); break;
      case seedrule::random: random_seeds(); break;
      case seedrule::plane: plane_seeds(); break;
    }
    drain();
  }
};

bool usable(const vectorfield& f) {
  return vector::has_voxels(f) && (f.width - 1) * (f.height - 1) * (f.depth - 1) > 0;
}

}  // namespace

result run(const vectorfield& f, cloud& c, const seedplan& plan, const settings& s, const scalarfield* contrast,
           std::int64_t threads) {
  result r;
  if (!usable(f)) return r;
  const geometry g(f, s);
  const std::int64_t firstline = std::int64_t(c.lines.size());
  vector::with_elements(f, [&](const auto* data, std::int64_t) {
    tracker t(data, g, s, plan, c, contrast);
    t.workers = threads;
    t.go();
    r = t.r;
  });
  r.ran = true;
  if (r.found == 0) {
    print::line(u"  Found 0 (0%) streamlines from seeds.");
    return r;
  }
  if (std::int64_t(c.lines.size()) > firstline) line::close_object(c, u"Streamlines");
  const framemath::vector sc = frame_scale(f.frame);
  line::set_frame(c, {f.frame.offset.x, f.frame.offset.y, f.frame.offset.z, 0}, {sc.x, sc.y, sc.z, 1},
                  {double(f.width), double(f.height), double(f.depth), 1});
  if (plan.rule == seedrule::random)
    print::line(u"  Note: Required seeds may vary from the found seeds by zero vectors.");
  widetext percent = real::text_fixed(100.0 * double(r.found) / double(r.tried), 2);
  if (percent.find_first_of(u".,") != widetext::npos) {   // trailing zeros and a bare point go
    while (percent.back() == u'0') percent.pop_back();
    if (percent.back() == u'.' || percent.back() == u',') percent.pop_back();
  }
  print::line(u"  Found " + nat::text(r.found) + u" (" + percent + u"%) streamlines from seeds.");
  return r;
}

bool nodes(const vectorfield& f, scalarfield& target, const settings& s) {
  if (!usable(f)) return false;
  const geometry g(f, s);
  std::vector<vec> forward, backward;
  std::vector<voxel> polygon;
  auto add = [&](voxel v) { scalar::set(target, v.x, v.y, v.z, scalar::get(target, v.x, v.y, v.z) + 1); };
  vector::with_elements(f, [&](const auto* data, std::int64_t) {
    const walker w(data, g, s, &target);
    for (std::int64_t z = 1; z < g.nz; ++z) {
      progress::set(double(z - 1) / double(g.nz - 1), u"Calculate stream nodes");
      for (std::int64_t y = 1; y < g.ny; ++y)
        for (std::int64_t x = 1; x < g.nx; ++x) {
          const vec d = w.raw({x, y, z});
          if (d.x == 0 && d.y == 0 && d.z == 0) continue;
          const vec pos = g.to_global({double(x), double(y), double(z)});
          w.half(pos, 1, forward);
          w.half(pos, -1, backward);
          if (forward.size() + backward.size() <= 1) continue;
          polygon.clear();
          for (auto i = backward.rbegin(); i != backward.rend(); ++i) polygon.push_back(g.to_voxel(*i));
          for (const vec& p : forward) polygon.push_back(g.to_voxel(p));
          // Each voxel of the polygon once per line: a joint belongs to the segment it ends.
          add(polygon[0]);
          for (std::size_t i = 1; i < polygon.size(); ++i) {
            const voxel a = polygon[i - 1], b = polygon[i];
            const scan::walk wk = scan::walk::between({a.x, a.y, a.z}, {b.x, b.y, b.z});
            for (std::int64_t k = 1; k < wk.count; ++k)
              add({std::int64_t(scan::walk::coordinate(a.x, k * wk.sx)), std::int64_t(scan::walk::coordinate(a.y, k * wk.sy)),
                   std::int64_t(scan::walk::coordinate(a.z, k * wk.sz))});
            if (wk.count == 0 && (a.x != b.x || a.y != b.y || a.z != b.z)) add(b);
          }
        }
    }
    progress::end(u"Calculate stream nodes");
  });
  return true;
}

}  // namespace qv::stream
