// mesh.cpp: adding faces with exact point merging, accessors, adjacency, colours, zero faces and clusters.
#include "meshes/mesh.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "foundation/console.h"
#include "foundation/progress.h"

namespace qv::meshes {
namespace {

// The corners of the face added last, process-wide and shared by all meshes: a
// scan that adds neighbouring faces finds most of its corners here.
std::int64_t last_face[4] = {0, 0, 0, 0};

bool same_value(num::vector a, num::vector b) { return a.x == b.x && a.y == b.y && a.z == b.z; }
bool same_bytes(const num::vector& a, const num::vector& b) { return std::memcmp(&a, &b, sizeof(num::vector)) == 0; }

std::uint64_t mix(std::uint64_t h) {
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdull;
  h ^= h >> 33;
  h *= 0xc4ceb9fe1a85ec53ull;
  return h ^ (h >> 33);
}
std::uint64_t hash(const num::vector& p) {
  std::uint64_t w[3];
  std::memcpy(w, &p, sizeof w);
  return mix(w[0] ^ mix(w[1] ^ mix(w[2] + 0x9e3779b97f4a7c15ull)));
}

// A point whose x is not a number never matches on x in the walk, so it is never found.
bool findable(const num::vector& p) { return p.x == p.x; }

void index_insert(pointindex& ix, const std::vector<num::vector>& pts, std::int64_t i) {
  const num::vector& p = pts[std::size_t(i - 1)];
  if (!findable(p)) return;
  const std::size_t mask = ix.slots.size() - 1;
  for (std::size_t s = hash(p) & mask;; s = (s + 1) & mask) {
    std::int64_t& slot = ix.slots[s];
    if (slot == 0) {
      slot = i;
      ++ix.used;
      return;
    }
    if (same_bytes(pts[std::size_t(slot - 1)], p)) {   // the later point of equal bytes wins, as in the walk
      slot = i;
      return;
    }
  }
}

void index_rebuild(pointindex& ix, const std::vector<num::vector>& pts, std::size_t room) {
  std::size_t size = 1024;
  while (size < 2 * room) size *= 2;
  ix.slots.assign(size, 0);
  ix.used = 0;
  ix.stale = false;
  for (std::int64_t i = 1; i <= std::int64_t(pts.size()); ++i) index_insert(ix, pts, i);
  ix.covered = std::int64_t(pts.size());
}

// Brings the index up to the points held now, with room for a few more.
void index_update(mesh& m) {
  pointindex& ix = m.index;
  const std::int64_t n = point_count(m);
  if (ix.stale || ix.covered > n || ix.slots.empty()) return index_rebuild(ix, m.points, std::size_t(n) + 4);
  for (std::int64_t i = ix.covered + 1; i <= n; ++i) {
    if (2 * (ix.used + 1) > std::int64_t(ix.slots.size())) return index_rebuild(ix, m.points, std::size_t(n) * 2);
    index_insert(ix, m.points, i);
  }
  ix.covered = n;
}

std::int64_t index_find(const mesh& m, const num::vector& p) {
  const pointindex& ix = m.index;
  const std::size_t mask = ix.slots.size() - 1;
  for (std::size_t s = hash(p) & mask;; s = (s + 1) & mask) {
    std::int64_t slot = ix.slots[s];
    if (slot == 0) return 0;
    if (same_bytes(m.points[std::size_t(slot - 1)], p)) return slot;
  }
}

std::int64_t lookup(mesh& m, const num::vector& p) {
  const std::int64_t n = point_count(m);
  if (n == 0) return 0;
  for (std::int64_t i : last_face)
    if (i >= 1 && i <= n && same_value(m.points[std::size_t(i - 1)], p)) return i;
  if (!findable(p)) return 0;
  index_update(m);
  return index_find(m, p);
}

// One corner: its merged index, or a new point (with its normal when given).
std::int64_t corner(mesh& m, const num::vector& p, const num::vector* normal, std::int64_t newface) {
  std::int64_t i = lookup(m, p);
  if (i) return i;
  m.points.push_back(p);
  i = point_count(m);
  if (normal) {
    if (m.normals.size() + 1 < m.points.size()) m.normals.resize(m.points.size() - 1);   // keep normals beside their points
    if (m.normals.size() + 1 == m.points.size()) m.normals.push_back(*normal);
  }
  m.adjacency.push_back({i, newface});
  if (!m.index.stale && m.index.covered == i - 1 && 2 * (m.index.used + 1) <= std::int64_t(m.index.slots.size())) {
    index_insert(m.index, m.points, i);
    m.index.covered = i;
  }
  return i;
}

void add_face(mesh& m, const num::vector* p, const num::vector* n, int count, num::hyper color) {
  const std::int64_t newface = face_count(m) + 1;
  face f;
  std::int64_t* idx[4] = {&f.p1, &f.p2, &f.p3, &f.p4};
  for (int k = 0; k < count; ++k) *idx[k] = corner(m, p[k], n ? n + k : nullptr, newface);
  if (count == 3) f.p4 = f.p3;
  f.visible = 1;
  f.color = {color.x, color.y, color.z, 1};
  m.faces.push_back(f);
  m.sorted = false;
  last_face[0] = f.p1, last_face[1] = f.p2, last_face[2] = f.p3, last_face[3] = f.p4;
}

template <typename T>
T read_at(const std::vector<T>& a, std::int64_t i) {
  return i >= 1 && i <= std::int64_t(a.size()) ? a[std::size_t(i - 1)] : T{};
}
template <typename T>
void write_at(std::vector<T>& a, std::int64_t i, const T& v) {
  if (i >= 1 && i <= std::int64_t(a.size())) a[std::size_t(i - 1)] = v;
}

}  // namespace

void clear(mesh& m) {
  widetext name = std::move(m.filename);
  m = mesh{};
  m.filename = std::move(name);
}

void forget_last_face() { std::fill(std::begin(last_face), std::end(last_face), 0); }

void add_triangle(mesh& m, num::vector a, num::vector b, num::vector c, num::vector na, num::vector nb,
                  num::vector nc, num::hyper color) {
  const num::vector p[3] = {a, b, c}, n[3] = {na, nb, nc};
  add_face(m, p, n, 3, color);
  m.triangles = true;
}
void add_quad(mesh& m, num::vector a, num::vector b, num::vector c, num::vector d, num::vector na, num::vector nb,
              num::vector nc, num::vector nd, num::hyper color) {
  const num::vector p[4] = {a, b, c, d}, n[4] = {na, nb, nc, nd};
  add_face(m, p, n, 4, color);
  m.triangles = false;
}
void add_triangle(mesh& m, num::vector a, num::vector b, num::vector c, num::hyper color) {
  const num::vector p[3] = {a, b, c};
  add_face(m, p, nullptr, 3, color);
  m.triangles = true;
}
void add_quad(mesh& m, num::vector a, num::vector b, num::vector c, num::vector d, num::hyper color) {
  const num::vector p[4] = {a, b, c, d};
  add_face(m, p, nullptr, 4, color);
}

std::int64_t find_point(mesh& m, num::vector p) { return lookup(m, p); }

void reserve(mesh& m, std::int64_t points, std::int64_t faces) {
  if (points < 0 || faces < 0) return;
  const std::size_t np = m.points.size() + std::size_t(points);
  m.points.reserve(np);
  m.normals.reserve(np);
  m.adjacency.reserve(np);
  m.faces.reserve(m.faces.size() + std::size_t(faces));
  if (m.index.slots.size() < 2 * np) index_rebuild(m.index, m.points, np);
}

num::vector point(const mesh& m, std::int64_t i) { return read_at(m.points, i); }
void point(mesh& m, std::int64_t i, num::vector v) {
  if (i < 1 || i > point_count(m)) return;
  m.points[std::size_t(i - 1)] = v;
  m.index.stale = true;
}
num::vector normal(const mesh& m, std::int64_t i) { return read_at(m.normals, i); }
void normal(mesh& m, std::int64_t i, num::vector v) { write_at(m.normals, i, v); }
face get_face(const mesh& m, std::int64_t i) { return read_at(m.faces, i); }
void set_face(mesh& m, std::int64_t i, const face& f) {
  if (i < 1 || i > face_count(m)) return;
  m.faces[std::size_t(i - 1)] = f;
  m.sorted = false;
}
num::hyper face_color(const mesh& m, std::int64_t i) {
  return i >= 1 && i <= face_count(m) ? m.faces[std::size_t(i - 1)].color : num::hyper{};
}
void face_color(mesh& m, std::int64_t i, num::hyper c) {
  if (i >= 1 && i <= face_count(m)) m.faces[std::size_t(i - 1)].color = c;
}
num::hyper point_color(const mesh& m, std::int64_t i) { return read_at(m.colors, i); }
void point_color(mesh& m, std::int64_t i, num::hyper c) {
  if (i < 1 || i > point_count(m)) return;
  if (m.colors.size() < m.points.size()) m.colors.resize(m.points.size());
  m.colors[std::size_t(i - 1)] = c;
}

void points_changed(mesh& m) { m.index.stale = true; }

int corners(const face& f, std::int64_t out[4]) {
  out[0] = f.p1, out[1] = f.p2, out[2] = f.p3;
  if (f.p4 == f.p3) return 3;
  out[3] = f.p4;
  return 4;
}

bounds bounding_box(const mesh& m) {
  if (m.points.empty()) return {};
  bounds b{m.points[0], m.points[0]};
  for (const num::vector& p : m.points) {
    b.min = {std::min(b.min.x, p.x), std::min(b.min.y, p.y), std::min(b.min.z, p.z)};
    b.max = {std::max(b.max.x, p.x), std::max(b.max.y, p.y), std::max(b.max.z, p.z)};
  }
  return b;
}

num::vector center_of_points(const mesh& m) {
  bounds b = bounding_box(m);
  return {(b.min.x + b.max.x) / 2, (b.min.y + b.max.y) / 2, (b.min.z + b.max.z) / 2};
}

// Pairs (point, face) for each distinct corner, grouped by point and in face
// order inside a group: a counting sort, with `faceindex` as its offsets.
void sort(mesh& m) {
  progress::set(0, u"  Sort");
  const std::int64_t np = point_count(m);
  m.faceindex.assign(std::size_t(np) + 1, 0);
  std::int64_t c[4];
  for (const face& f : m.faces)
    for (int k = 0, n = corners(f, c); k < n; ++k)
      if (c[k] >= 1 && c[k] <= np) ++m.faceindex[std::size_t(c[k] - 1)];
  std::int64_t sum = 0;
  for (std::int64_t& v : m.faceindex) {
    std::int64_t count = v;
    v = sum;
    sum += count;
  }
  m.adjacency.resize(std::size_t(sum));
  std::vector<std::int64_t> fill(m.faceindex.begin(), m.faceindex.end() - 1);
  for (std::int64_t fi = 1; fi <= face_count(m); ++fi) {
    const face& f = m.faces[std::size_t(fi - 1)];
    for (int k = 0, n = corners(f, c); k < n; ++k)
      if (c[k] >= 1 && c[k] <= np) m.adjacency[std::size_t(fill[std::size_t(c[k] - 1)]++)] = {c[k], fi};
  }
  m.sorted = true;
  progress::end(u"  Sort");
}

void update_point_color(mesh& m) {
  if (!m.sorted) sort(m);
  progress::set(0, u"  Update point color");
  m.colors.resize(m.points.size());
  for (std::size_t p = 0; p < m.points.size(); ++p) {
    const std::int64_t from = m.faceindex[p], to = m.faceindex[p + 1];
    if (from == to) continue;   // a point of no face keeps its colour
    num::hyper s{};
    for (std::int64_t k = from; k < to; ++k) s = num::add(s, m.faces[std::size_t(m.adjacency[std::size_t(k)].y - 1)].color);
    m.colors[p] = num::div(s, double(to - from));
  }
  progress::end(u"  Update point color");
}

void update_face_color(mesh& m) {
  progress::set(0, u"  Update face color");
  std::int64_t c[4];
  for (face& f : m.faces) {
    int n = corners(f, c);
    num::hyper s{};
    for (int k = 0; k < n; ++k) s = num::add(s, point_color(m, c[k]));
    f.color = num::div(s, double(n));
  }
  progress::end(u"  Update face color");
}

void drop_unused_points(mesh& m) {
  const std::size_t np = m.points.size();
  std::vector<std::int64_t> renumber(np + 1, 0);
  std::int64_t c[4];
  for (const face& f : m.faces)
    for (int k = 0, n = corners(f, c); k < n; ++k)
      if (c[k] >= 1 && std::size_t(c[k]) <= np) renumber[std::size_t(c[k])] = 1;
  std::int64_t next = 0;
  for (std::size_t i = 1; i <= np; ++i) {
    if (!renumber[i]) continue;
    renumber[i] = ++next;
    m.points[std::size_t(next - 1)] = m.points[i - 1];
    if (i <= m.normals.size()) m.normals[std::size_t(next - 1)] = m.normals[i - 1];
    if (i <= m.colors.size()) m.colors[std::size_t(next - 1)] = m.colors[i - 1];
  }
  if (std::size_t(next) == np) return;
  m.points.resize(std::size_t(next));
  if (m.normals.size() > std::size_t(next)) m.normals.resize(std::size_t(next));
  if (m.colors.size() > std::size_t(next)) m.colors.resize(std::size_t(next));
  auto map = [&](std::int64_t& p) { p = p >= 1 && std::size_t(p) <= np ? renumber[std::size_t(p)] : 0; };
  for (face& f : m.faces) map(f.p1), map(f.p2), map(f.p3), map(f.p4);
  m.sorted = false;
  m.index.stale = true;
  forget_last_face();
}

std::int64_t check_zero(mesh& m) {
  print::line(u"  Check zero lengths");
  std::int64_t c[4];
  auto zero = [&](const face& f) {
    int n = corners(f, c), distinct = 0;
    for (int k = 0; k < n; ++k) {
      bool seen = false;
      for (int j = 0; j < k && !seen; ++j) seen = same_value(point(m, c[j]), point(m, c[k]));
      distinct += seen ? 0 : 1;
    }
    return distinct < 3;
  };
  print::line(u"  Update faces");
  const std::size_t before = m.faces.size();
  m.faces.erase(std::remove_if(m.faces.begin(), m.faces.end(), zero), m.faces.end());
  const std::int64_t removed = std::int64_t(before - m.faces.size());
  print::line(u"  Update points");
  if (removed) {
    m.sorted = false;
    drop_unused_points(m);
  }
  print::line(u"  " + nat::text(removed) + u" zero points.");
  return removed;
}

// Union over shared points: every point joins the faces that use it, the lower
// root winning, so faces that share a point end in one cluster.
std::int64_t cluster_labels(mesh& m, std::vector<std::int64_t>& label) {
  if (!m.sorted) sort(m);
  const std::size_t nf = m.faces.size();
  std::vector<std::int64_t> root(nf);
  std::iota(root.begin(), root.end(), 0);
  auto find = [&](std::int64_t f) {
    while (root[std::size_t(f)] != f) f = root[std::size_t(f)] = root[std::size_t(root[std::size_t(f)])];
    return f;
  };
  for (std::size_t p = 0; p + 1 < m.faceindex.size(); ++p) {
    const std::int64_t from = m.faceindex[p], to = m.faceindex[p + 1];
    for (std::int64_t k = from + 1; k < to; ++k) {
      std::int64_t a = find(m.adjacency[std::size_t(from)].y - 1), b = find(m.adjacency[std::size_t(k)].y - 1);
      if (a != b) root[std::size_t(std::max(a, b))] = std::min(a, b);
    }
  }
  // Number the clusters by descending face count, ties in order of their first face.
  std::vector<std::int64_t> size(nf, 0), order;
  for (std::size_t f = 0; f < nf; ++f) ++size[std::size_t(find(std::int64_t(f)))];
  for (std::size_t f = 0; f < nf; ++f)
    if (root[f] == std::int64_t(f)) order.push_back(std::int64_t(f));
  std::stable_sort(order.begin(), order.end(), [&](std::int64_t a, std::int64_t b) { return size[std::size_t(a)] > size[std::size_t(b)]; });
  std::vector<std::int64_t> rank(nf, 0);
  for (std::size_t r = 0; r < order.size(); ++r) rank[std::size_t(order[r])] = std::int64_t(r + 1);
  label.resize(nf);
  for (std::size_t f = 0; f < nf; ++f) label[f] = rank[std::size_t(find(std::int64_t(f)))];
  return std::int64_t(order.size());
}

void cluster(mesh& m, std::int64_t n) {
  std::vector<std::int64_t> label;
  const std::int64_t total = cluster_labels(m, label);
  progress::set(0, u"  Cluster");
  progress::end(u"  Cluster");
  std::vector<std::int64_t> count(std::size_t(total) + 1, 0);
  for (std::int64_t l : label) ++count[std::size_t(l)];
  const std::int64_t shown = std::clamp<std::int64_t>(n, 0, total);
  std::int64_t visible = 0;
  for (std::int64_t r = 1; r <= shown; ++r) {
    print::line(u"  Max (" + nat::text(r) + u") : " + nat::text(count[std::size_t(r)]));
    visible += count[std::size_t(r)];
  }
  for (std::size_t f = 0; f < m.faces.size(); ++f) m.faces[f].visible = label[f] <= shown ? 1 : 0;
  print::line(u"  Objects (visible) : " + nat::text(total) + u" (" + nat::text(shown) + u")");
  print::line(u"  Points  : " + nat::text(point_count(m)));
  print::line(u"  Normals : " + nat::text(normal_count(m)));
  print::line(u"  Faces (visible)  : " + nat::text(face_count(m)) + u" (" + nat::text(visible) + u")");
}

}  // namespace qv::meshes
