// surface.cpp: marching cubes over a scalar field with lattice-snapped vertices, and exposed voxel faces as quads.
#include "meshes/surface.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "foundation/progress.h"
#include "meshes/cube_tables.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

namespace qv::meshes {
namespace {

// Voxel reads from 1 with 0 outside the field, so that a surface closes at the field's faces.
template <typename T>
struct wordreader {
  const T* data;
  std::int64_t w, h, d, slice;
  std::int64_t at(std::int64_t x, std::int64_t y, std::int64_t z) const {
    if (std::uint64_t(x - 1) >= std::uint64_t(w) || std::uint64_t(y - 1) >= std::uint64_t(h) ||
        std::uint64_t(z - 1) >= std::uint64_t(d))
      return 0;
    return data[(x - 1) + w * (y - 1) + slice * (z - 1)];
  }
  // The eight corners of the cube based at (x, y, z), in the table's order;
  // a cube wholly inside the field reads them straight from the array.
  void cube(std::int64_t x, std::int64_t y, std::int64_t z, std::int64_t v[8]) const {
    if (x >= 1 && y >= 1 && z >= 1 && x < w && y < h && z < d) {
      const T* p = data + (x - 1) + w * (y - 1) + slice * (z - 1);
      v[0] = p[0], v[1] = p[1], v[2] = p[w + 1], v[3] = p[w];
      p += slice;
      v[4] = p[0], v[5] = p[1], v[6] = p[w + 1], v[7] = p[w];
      return;
    }
    for (int c = 0; c < 8; ++c) v[c] = at(x + cube_corner[c][0], y + cube_corner[c][1], z + cube_corner[c][2]);
  }
};
struct monoreader {   // bit i%8 of byte i/8
  const std::uint8_t* bits;
  std::int64_t w, h, d, slice;
  std::int64_t at(std::int64_t x, std::int64_t y, std::int64_t z) const {
    if (std::uint64_t(x - 1) >= std::uint64_t(w) || std::uint64_t(y - 1) >= std::uint64_t(h) ||
        std::uint64_t(z - 1) >= std::uint64_t(d))
      return 0;
    const std::int64_t i = (x - 1) + w * (y - 1) + slice * (z - 1);
    return (bits[i >> 3] >> (i & 7)) & 1;
  }
  void cube(std::int64_t x, std::int64_t y, std::int64_t z, std::int64_t v[8]) const {
    for (int c = 0; c < 8; ++c) v[c] = at(x + cube_corner[c][0], y + cube_corner[c][1], z + cube_corner[c][2]);
  }
};

// Calls `fn` with the reader of the field's element type; false for a field without voxels.
template <typename F>
bool with_reader(const scalarfield& f, F&& fn) {
  if (!scalar::ifscalar(f)) return false;
  const std::int64_t slice = f.width * f.height;
  switch (f.tag) {
    case scalartag::mono: fn(monoreader{f.monobits.data(), f.width, f.height, f.depth, slice}); return true;
    case scalartag::gray: fn(wordreader<std::uint8_t>{f.grayvoxels.data(), f.width, f.height, f.depth, slice}); return true;
    case scalartag::fullgray: fn(wordreader<std::uint16_t>{f.fullvoxels.data(), f.width, f.height, f.depth, slice}); return true;
    default: return false;
  }
}

// Coarse occupancy grid: 102 cells a side; 0 empty, 1 reached from a neighbour,
// 2 holds an inside voxel. A cube is computed only where the cell of its base
// voxel is not 0. Marking reaches every cell whose cubes can touch an inside
// voxel, so the grid skips work and never a face.
struct coarsegrid {
  static constexpr std::int64_t side = 102;
  std::vector<std::uint8_t> cells = std::vector<std::uint8_t>(side * side * side, 0);
  std::vector<std::int64_t> cx, cy, cz;   // cell coordinate of voxel 0..n+1 along each axis
  static std::vector<std::int64_t> axis(std::int64_t n) {
    // (i*99)/n spreads a long axis over the grid; a short one (which that rule
    // would spread with gaps) takes one cell per voxel.
    std::vector<std::int64_t> c(std::size_t(n + 2));
    for (std::int64_t i = 0; i <= n + 1; ++i) c[std::size_t(i)] = n <= 100 ? i : std::min<std::int64_t>(i * 99 / n, side - 1);
    return c;
  }
  coarsegrid(std::int64_t w, std::int64_t h, std::int64_t d) : cx(axis(w)), cy(axis(h)), cz(axis(d)) {}
  static std::int64_t index(std::int64_t x, std::int64_t y, std::int64_t z) { return z + side * y + side * side * x; }
  std::int64_t cell(std::int64_t x, std::int64_t y, std::int64_t z) const {
    return index(cx[std::size_t(x)], cy[std::size_t(y)], cz[std::size_t(z)]);
  }
  // Cells from `low` to `high` around the cell of an inside voxel become 1 where
  // they are 0, then the cell itself 2. The cube of base b holds voxels b..b+1,
  // so an inside voxel needs the cells one lower; a density reaches one further each way.
  void mark(std::int64_t x, std::int64_t y, std::int64_t z, int low, int high) {
    const std::int64_t ax = cx[std::size_t(x)], ay = cy[std::size_t(y)], az = cz[std::size_t(z)];
    for (int dz = low; dz <= high; ++dz)
      for (int dy = low; dy <= high; ++dy)
        for (int dx = low; dx <= high; ++dx) {
          const std::int64_t px = ax + dx, py = ay + dy, pz = az + dz;
          if (px < 0 || py < 0 || pz < 0 || px >= side || py >= side || pz >= side) continue;
          std::uint8_t& c = cells[std::size_t(index(px, py, pz))];
          if (c == 0) c = 1;
        }
    cells[std::size_t(index(ax, ay, az))] = 2;
  }
};

// A triangle as the lattice points of its corners, already in the order of
// adding; positions and normals follow from them when the mesh takes it.
struct facet {
  std::int32_t p[3][3];
};
struct slicefacets {
  std::vector<facet> facets;
  std::vector<num::hyper> colors;   // one per facet in the `.color` forms, else empty
};

struct surfacejob {
  surfacekind kind;
  std::int64_t lo, hi;
  const vectorfield* colors;   // null for black faces
  framemath::matrix matrix;
  framemath::vector offset;
  const coarsegrid* grid;
  std::int64_t w, h, d;

  bool inside(std::int64_t v) const { return lo <= v && v <= hi; }
  num::vector global(double x, double y, double z) const {   // local-to-global of an index from 1
    framemath::vector g = framemath::apply({x - 1, y - 1, z - 1}, matrix);
    return {offset.x + g.x, offset.y + g.y, offset.z + g.z};
  }
  num::vector global_direction(num::vector n) const {
    framemath::vector g = framemath::apply({n.x, n.y, n.z}, matrix);
    return num::norm(num::vector{g.x, g.y, g.z});
  }
};

// Share of inside voxels in the 3x3x3 block centred on a corner, as 0..255.
template <typename R>
std::int64_t density(const R& r, const surfacejob& job, std::int64_t x, std::int64_t y, std::int64_t z) {
  std::int64_t count = 0;
  for (std::int64_t dz = -1; dz <= 1; ++dz)
    for (std::int64_t dy = -1; dy <= 1; ++dy)
      for (std::int64_t dx = -1; dx <= 1; ++dx) count += job.inside(r.at(x + dx, y + dy, z + dz)) ? 1 : 0;
  return count * 255 / 27;
}

// One cube with corner 0 at voxel (x, y, z); its triangles go to `out`.
template <typename R>
void cube_step(const R& r, const surfacejob& job, std::int64_t x, std::int64_t y, std::int64_t z,
               slicefacets& out) {
  std::int64_t v[8];
  unsigned index = 0;
  if (job.kind == surfacekind::smooth) {
    for (int c = 0; c < 8; ++c) {
      v[c] = density(r, job, x + cube_corner[c][0], y + cube_corner[c][1], z + cube_corner[c][2]);
      index |= v[c] > 127 ? 1u << c : 0u;
    }
  } else {
    r.cube(x, y, z, v);
    for (int c = 0; c < 8; ++c) index |= job.inside(v[c]) ? 1u << c : 0u;
  }
  const unsigned edges = cube_edges[index];
  if (edges == 0) return;
  const double level = job.kind == surfacekind::weak ? double(job.lo) : 128.0;
  std::int32_t point[12][3];
  for (int e = 0; e < 12; ++e) {
    if (!(edges & (1u << e))) continue;
    const int a = cube_edge[e][0], b = cube_edge[e][1];
    double t = 0.5;
    if (job.kind != surfacekind::plain && v[a] != v[b]) t = (level - double(v[a])) / double(v[b] - v[a]);
    // Every vertex snaps to the lattice (half to even); t only picks the corner.
    point[e][0] = std::int32_t(std::nearbyint(double(x + cube_corner[a][0]) + t * cube_direction[e][0]));
    point[e][1] = std::int32_t(std::nearbyint(double(y + cube_corner[a][1]) + t * cube_direction[e][1]));
    point[e][2] = std::int32_t(std::nearbyint(double(z + cube_corner[a][2]) + t * cube_direction[e][2]));
  }
  num::hyper color{};
  if (job.colors) {
    framemath::vector c = vector::get(*job.colors, x, y, z);
    color = {c.x / 255, c.y / 255, c.z / 255, 0};
  }
  auto same = [&](int a, int b) { return std::memcmp(point[a], point[b], sizeof point[a]) == 0; };
  const std::int8_t* row = cube_triangles[index];
  for (int k = 0; k < 15 && row[k] >= 0; k += 3) {
    const int e0 = row[k], e1 = row[k + 1], e2 = row[k + 2];
    if (same(e0, e1) || same(e1, e2) || same(e0, e2)) continue;   // collapsed by the snapping
    // Third, second, first: the table's winding turned around.
    facet f;
    std::memcpy(f.p[0], point[e2], sizeof f.p[0]);
    std::memcpy(f.p[1], point[e1], sizeof f.p[1]);
    std::memcpy(f.p[2], point[e0], sizeof f.p[2]);
    out.facets.push_back(f);
    if (job.colors) out.colors.push_back(color);
  }
}

// The global position of a lattice point and the normal there: the central
// difference of the raw values, pointing to lower values, carried through the matrix.
template <typename R>
void vertex(const R& r, const surfacejob& job, const std::int32_t* p, num::vector& position, num::vector& normal) {
  const std::int64_t x = p[0], y = p[1], z = p[2];
  const num::vector grad{double(r.at(x - 1, y, z) - r.at(x + 1, y, z)), double(r.at(x, y - 1, z) - r.at(x, y + 1, z)),
                         double(r.at(x, y, z - 1) - r.at(x, y, z + 1))};
  position = job.global(double(x), double(y), double(z));
  normal = job.global_direction(num::norm(grad));
}

template <typename R>
void mark_inside(const R& r, const surfacejob& job, coarsegrid& grid) {
  const int low = job.kind == surfacekind::smooth ? -2 : -1, high = job.kind == surfacekind::smooth ? 1 : 0;
  for (std::int64_t z = 1; z <= job.d; ++z) {
    progress::set(double(z) / double(job.d), u"Precalculation");
    for (std::int64_t y = 1; y <= job.h; ++y)
      for (std::int64_t x = 1; x <= job.w; ++x)
        if (grid.cells[std::size_t(grid.cell(x, y, z))] != 2 && job.inside(r.at(x, y, z))) grid.mark(x, y, z, low, high);
  }
  progress::end(u"Precalculation");
}

template <typename R>
void surface_slice(const R& r, const surfacejob& job, std::int64_t z, slicefacets& out) {
  for (std::int64_t y = 0; y <= job.h + 1; ++y)
    for (std::int64_t x = 0; x <= job.w + 1; ++x)
      if (job.grid->cells[std::size_t(job.grid->cell(x, y, z))] != 0) cube_step(r, job, x, y, z, out);
}

// Slices 0..d+1 by up to `threads` workers, each slice into its own list.
template <typename R>
std::vector<slicefacets> surface_slices(const R& r, const surfacejob& job, std::int64_t threads) {
  const std::int64_t count = job.d + 2;
  std::vector<slicefacets> slices(static_cast<std::size_t>(count));
  std::atomic<std::int64_t> next{0}, done{0};
  auto work = [&] {
    for (std::int64_t z; (z = next.fetch_add(1)) < count;) {
      surface_slice(r, job, z, slices[std::size_t(z)]);
      progress::set(double(done.fetch_add(1) + 1) / double(count), u"Calculate surface");
    }
  };
  const std::int64_t n = std::clamp<std::int64_t>(threads, 1, count);
  std::vector<std::thread> pool;
  for (std::int64_t i = 1; i < n; ++i) pool.emplace_back(work);
  work();
  for (std::thread& t : pool) t.join();
  progress::end(u"Calculate surface");
  return slices;
}

// The main thread adds the slices in z order, as one pass over the field would.
template <typename R>
void add_facets(mesh& m, const R& r, const surfacejob& job, const std::vector<slicefacets>& slices) {
  std::int64_t total = 0;
  for (const slicefacets& s : slices) total += std::int64_t(s.facets.size());
  reserve(m, total / 2 + 16, total);
  num::vector p[3], n[3];
  for (const slicefacets& s : slices)
    for (std::size_t i = 0; i < s.facets.size(); ++i) {
      for (int k = 0; k < 3; ++k) vertex(r, job, s.facets[i].p[k], p[k], n[k]);
      if (!num::notequal(p[0], p[1]) || !num::notequal(p[1], p[2]) || !num::notequal(p[0], p[2])) continue;
      add_triangle(m, p[0], p[1], p[2], n[0], n[1], n[2], s.colors.empty() ? num::hyper{} : s.colors[i]);
    }
}

surfacejob make_job(const scalarfield& f, surfacekind kind, std::int64_t lo, std::int64_t hi, const vectorfield* colors) {
  surfacejob job{kind, lo, hi, colors && vector::has_voxels(*colors) ? colors : nullptr, f.frame.matrix, f.frame.offset,
                 nullptr, f.width, f.height, f.depth};
  return job;
}

}  // namespace

void surface_field(mesh& m, const scalarfield& f, surfacekind kind, std::int64_t lo, std::int64_t hi,
                   const vectorfield* colors, std::int64_t threads) {
  surfacejob job = make_job(f, kind, lo, hi, colors);
  with_reader(f, [&](const auto& r) {
    coarsegrid grid(f.width, f.height, f.depth);
    mark_inside(r, job, grid);
    job.grid = &grid;
    add_facets(m, r, job, surface_slices(r, job, threads));
  });
  if (job.colors) update_point_color(m);
}

namespace {

template <typename R>
void cubes(mesh& m, const R& r, const surfacejob& job) {
  // Corner signs of x, y, z; a corner's three faces are those of its signs.
  constexpr int sign[8][3] = {{-1, 1, 1}, {1, 1, 1}, {1, -1, 1}, {-1, -1, 1}, {-1, 1, -1}, {1, 1, -1}, {1, -1, -1}, {-1, -1, -1}};
  for (std::int64_t z = 1; z <= job.d; ++z) {
    progress::set(double(z) / double(job.d), u"Calculate cubic surface");
    for (std::int64_t y = 1; y <= job.h; ++y)
      for (std::int64_t x = 1; x <= job.w; ++x) {
        if (!job.inside(r.at(x, y, z))) continue;
        // Neighbour inside, by axis and sign: [axis][0] the lower side, [axis][1] the upper.
        const bool near[3][2] = {{job.inside(r.at(x - 1, y, z)), job.inside(r.at(x + 1, y, z))},
                                 {job.inside(r.at(x, y - 1, z)), job.inside(r.at(x, y + 1, z))},
                                 {job.inside(r.at(x, y, z - 1)), job.inside(r.at(x, y, z + 1))}};
        if (near[0][0] && near[0][1] && near[1][0] && near[1][1] && near[2][0] && near[2][1]) continue;
        num::vector c[8];
        for (int k = 0; k < 8; ++k) {
          const bool open = !near[0][sign[k][0] > 0] && !near[1][sign[k][1] > 0] && !near[2][sign[k][2] > 0];
          const double half = open ? 0.45 : 0.5;   // an outer corner comes in by a tenth
          c[k] = job.global(double(x) + sign[k][0] * half, double(y) + sign[k][1] * half, double(z) + sign[k][2] * half);
        }
        num::hyper color{};
        if (job.colors) {
          framemath::vector v = vector::get(*job.colors, x, y, z);
          color = {v.x / 255, v.y / 255, v.z / 255, 0};
        }
        if (!near[2][1]) add_quad(m, c[0], c[1], c[2], c[3], color);
        if (!near[2][0]) add_quad(m, c[4], c[7], c[6], c[5], color);
        if (!near[0][1]) add_quad(m, c[1], c[5], c[6], c[2], color);
        if (!near[0][0]) add_quad(m, c[0], c[3], c[7], c[4], color);
        if (!near[1][1]) add_quad(m, c[0], c[4], c[5], c[1], color);
        if (!near[1][0]) add_quad(m, c[2], c[6], c[7], c[3], color);
      }
  }
  progress::end(u"Calculate cubic surface");
}

}  // namespace

void cube_field(mesh& m, const scalarfield& f, std::int64_t lo, std::int64_t hi, const vectorfield* colors) {
  const surfacejob job = make_job(f, surfacekind::plain, lo, hi, colors);
  with_reader(f, [&](const auto& r) { cubes(m, r, job); });
}

}  // namespace qv::meshes
