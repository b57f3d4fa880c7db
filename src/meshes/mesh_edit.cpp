// mesh_edit.cpp: affine placing, Laplacian smoothing, normals from faces, winding and verification of meshes.
#include "meshes/mesh_edit.h"

#include <algorithm>
#include <cmath>

namespace qv::meshes {
namespace {

num::vector face_normal(const mesh& m, const face& f) {   // area-weighted, by the winding
  const num::vector a = point(m, f.p1), b = point(m, f.p2), c = point(m, f.p3);
  num::vector n = vector::cross(num::sub(b, a), num::sub(c, a));
  if (f.p4 != f.p3) {
    const num::vector d = point(m, f.p4);
    n = num::add(n, vector::cross(num::sub(c, a), num::sub(d, a)));
  }
  return n;
}

void keep_unused_out(mesh& m) {
  m.sorted = false;
  drop_unused_points(m);
  points_changed(m);
}

}  // namespace

void transform(mesh& m, const num::matrix& a, num::vector from, num::vector to) {
  for (num::vector& p : m.points) p = num::add(matrix::apply(num::sub(p, from), a), to);
  points_changed(m);
  const double det = matrix::det(a);
  if (det != 0) {
    const num::matrix normals = matrix::transpose(matrix::inverse(a));
    for (num::vector& n : m.normals) {
      const double length = num::length(n);
      n = num::mul(num::norm(matrix::apply(n, normals)), length);
    }
  }
  if (det < 0) flip_faces(m);
}

void translate(mesh& m, num::vector by) { transform(m, matrix::identity, {}, by); }

num::matrix rotation_xyz(num::vector angles) {
  auto turn = [&](num::vector e) { return vector::rotate_z(vector::rotate_y(vector::rotate_x(e, angles.x), angles.y), angles.z); };
  return matrix::from_rows(turn({1, 0, 0}), turn({0, 1, 0}), turn({0, 0, 1}));
}

placement three_point(num::vector a, num::vector b, num::vector c) {
  const num::vector x = num::norm(num::sub(b, a));
  const num::vector z = num::norm(vector::cross(x, num::sub(c, a)));
  const num::vector y = vector::cross(z, x);
  // The new coordinates are the projections on x, y, z: the columns of the matrix.
  return {matrix::transpose(matrix::from_rows(x, y, z)), a};
}

void smooth(mesh& m, std::int64_t passes, double weight) {
  const std::size_t np = m.points.size();
  std::vector<num::vector> sum(np);
  std::vector<std::int64_t> count(np);
  std::int64_t c[4];
  for (std::int64_t pass = 0; pass < passes; ++pass) {
    std::fill(sum.begin(), sum.end(), num::vector{});
    std::fill(count.begin(), count.end(), 0);
    for (const face& f : m.faces) {   // each corner takes its two neighbours along the face
      const int n = corners(f, c);
      for (int k = 0; k < n; ++k) {
        const std::int64_t p = c[k], q = c[(k + 1) % n];
        if (p < 1 || q < 1 || std::size_t(p) > np || std::size_t(q) > np) continue;
        sum[std::size_t(p - 1)] = num::add(sum[std::size_t(p - 1)], m.points[std::size_t(q - 1)]);
        sum[std::size_t(q - 1)] = num::add(sum[std::size_t(q - 1)], m.points[std::size_t(p - 1)]);
        ++count[std::size_t(p - 1)], ++count[std::size_t(q - 1)];
      }
    }
    for (std::size_t i = 0; i < np; ++i)
      if (count[i]) {
        const num::vector mean = num::div(sum[i], double(count[i]));
        m.points[i] = num::add(m.points[i], num::mul(num::sub(mean, m.points[i]), weight));
      }
  }
  points_changed(m);
  if (!m.normals.empty()) recalc_normals(m);
}

void recalc_normals(mesh& m) {
  std::vector<num::vector> n(m.points.size());
  std::int64_t c[4];
  for (const face& f : m.faces) {
    const num::vector fn = face_normal(m, f);
    for (int k = 0, count = corners(f, c); k < count; ++k)
      if (c[k] >= 1 && std::size_t(c[k]) <= n.size()) n[std::size_t(c[k] - 1)] = num::add(n[std::size_t(c[k] - 1)], fn);
  }
  for (num::vector& v : n) v = num::norm(v);
  m.normals = std::move(n);
}

void ortho_normals(mesh& m) {
  std::vector<num::vector> before = std::move(m.normals);
  recalc_normals(m);
  for (std::size_t i = 0; i < std::min(before.size(), m.normals.size()); ++i)
    if (num::dot(before[i], m.normals[i]) < 0) m.normals[i] = num::mul(m.normals[i], -1.0);
}

void flip_faces(mesh& m) {
  for (face& f : m.faces) {
    if (f.p4 == f.p3) {   // a, b, c -> a, c, b, keeping p4 = p3
      std::swap(f.p2, f.p3);
      std::swap(f.t2, f.t3);
      f.p4 = f.p3, f.t4 = f.t3;
    } else {               // a, b, c, d -> a, d, c, b
      std::swap(f.p2, f.p4);
      std::swap(f.t2, f.t4);
    }
  }
  m.sorted = false;
}

std::int64_t verify(mesh& m) {
  const std::int64_t np = point_count(m);
  auto bad = [&](const face& f) {
    const std::int64_t p[4] = {f.p1, f.p2, f.p3, f.p4};
    for (std::int64_t i : p)
      if (i < 1 || i > np) return true;
    return f.p1 == f.p2 || f.p2 == f.p3 || f.p1 == f.p3 || f.p1 == f.p4 || (f.p4 != f.p3 && f.p2 == f.p4);
  };
  const std::size_t before = m.faces.size();
  m.faces.erase(std::remove_if(m.faces.begin(), m.faces.end(), bad), m.faces.end());
  keep_unused_out(m);
  return std::int64_t(before - m.faces.size());
}

std::int64_t cut_below(mesh& m, int axis, double limit) {
  auto coordinate = [&](std::int64_t i) {
    const num::vector p = point(m, i);
    return axis == 0 ? p.x : axis == 1 ? p.y : p.z;
  };
  auto below = [&](const face& f) {
    return coordinate(f.p1) < limit || coordinate(f.p2) < limit || coordinate(f.p3) < limit || coordinate(f.p4) < limit;
  };
  const std::size_t before = m.faces.size();
  m.faces.erase(std::remove_if(m.faces.begin(), m.faces.end(), below), m.faces.end());
  keep_unused_out(m);
  return std::int64_t(before - m.faces.size());
}

num::vector center_of_gravity(const mesh& m) {
  num::vector s{};
  for (const num::vector& p : m.points) s = num::add(s, p);
  return m.points.empty() ? s : num::div(s, double(m.points.size()));
}

}  // namespace qv::meshes
