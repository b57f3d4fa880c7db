// Unit tests of matrices, quaternions and the Jacobi eigen-decomposition of tensors.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "foundation/numeric.h"

using namespace qv;

namespace {
void expect_near(num::vector a, num::vector b, double eps = 1e-12) {
  EXPECT_NEAR(a.x, b.x, eps);
  EXPECT_NEAR(a.y, b.y, eps);
  EXPECT_NEAR(a.z, b.z, eps);
}
void expect_near(num::quat a, num::quat b, double eps = 1e-12) {
  EXPECT_NEAR(a.w, b.w, eps);
  EXPECT_NEAR(a.x, b.x, eps);
  EXPECT_NEAR(a.y, b.y, eps);
  EXPECT_NEAR(a.z, b.z, eps);
}
// The eigenvector of `row` of `m` up to its sign.
void expect_direction(const num::matrix& m, int row, num::vector dir) {
  num::vector v = matrix::row(m, row);
  if (vector::dot(v, dir) < 0) v = vector::mul(v, -1.0);
  expect_near(v, vector::norm(dir), 1e-12);
}
}  // namespace

TEST(numeric_tensor, matrix_inverse_is_zero_when_singular) {
  num::matrix m{{2, 0, 1, 1, 3, 0, 0, 1, 4}};
  EXPECT_DOUBLE_EQ(matrix::det(m), 25);
  num::matrix p = matrix::join(m, matrix::inverse(m));
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(p.m[i], matrix::identity.m[i], 1e-15) << i;
  num::matrix singular{{1, 2, 3, 2, 4, 6, 0, 1, 1}};
  EXPECT_TRUE(matrix::equal(matrix::inverse(singular), matrix::zero));
  EXPECT_TRUE(matrix::is_negative(num::matrix{{-1, 0, 0, 0, -1, 0, 0, 0, 1}}));
  EXPECT_FALSE(matrix::is_negative(matrix::identity));
}

TEST(numeric_tensor, apply_takes_a_row_vector_times_the_matrix) {
  num::matrix m{{1, 2, 3, 4, 5, 6, 7, 8, 9}};
  EXPECT_TRUE(vector::equal(matrix::apply(num::vector{1, 0, 0}, m), num::vector{1, 2, 3}));
  EXPECT_TRUE(vector::equal(matrix::apply(num::vector{1, 1, 0}, m), num::vector{5, 7, 9}));
  EXPECT_TRUE(vector::equal(matrix::row(matrix::mul_columns(m, 1, 0, 2), 1), num::vector{4, 0, 12}));
  EXPECT_EQ(matrix::trace(m), 15);
}

TEST(numeric_tensor, matrix4_determinant_and_inverse) {
  num::matrix4 m{{2, 0, 0, 1, 0, 1, 0, 0, 0, 0, 3, 0, 1, 0, 0, 1}};
  EXPECT_DOUBLE_EQ(matrix4::det(m), 3);
  num::matrix4 p = matrix4::join(m, matrix4::inverse(m));
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(p.m[i], matrix4::identity.m[i], 1e-15) << i;
  num::matrix4 singular{{1, 2, 3, 4, 2, 4, 6, 8, 0, 1, 0, 1, 1, 0, 0, 1}};
  num::matrix4 z = matrix4::inverse(singular);
  for (double v : z.m) EXPECT_EQ(v, 0);
  num::hyper h = matrix4::apply(num::hyper{0, 0, 0, 1}, m);
  EXPECT_TRUE(hyper::equal(h, num::hyper{1, 0, 0, 1}));
}

TEST(numeric_tensor, matrix_to_quat_takes_each_branch) {
  struct row { num::matrix m; num::quat q; };
  const double h = std::sqrt(0.5);
  const row rows[] = {
      {matrix::identity, {1, 0, 0, 0}},                            // trace above 0
      {{{1, 0, 0, 0, -1, 0, 0, 0, -1}}, {0, 1, 0, 0}},             // half turn about x: m1 largest
      {{{-1, 0, 0, 0, 1, 0, 0, 0, -1}}, {0, 0, 1, 0}},             // about y: m5
      {{{-1, 0, 0, 0, -1, 0, 0, 0, 1}}, {0, 0, 0, 1}},             // about z: m9
      {{{0, 1, 0, 1, 0, 0, 0, 0, -1}}, {0, h, h, 0}},              // m1 = m5: the tie goes to m5
      {{{-1, 0, 0, 0, -1, 0, 0, 0, -1}}, {0, 0, 0, h}},            // three equal: the third
  };
  for (const row& r : rows) expect_near(matrix::to_quat(r.m), r.q);
}

TEST(numeric_tensor, quat_and_matrix_agree_and_w_comes_out_positive) {
  std::mt19937_64 g(7);
  std::uniform_real_distribution<double> u(-1, 1);
  for (int k = 0; k < 20; ++k) {
    num::vector axis = vector::norm(num::vector{u(g), u(g), u(g)});
    double angle = 3 * u(g);
    num::quat q = quat::from(angle, axis);
    num::matrix m = quat::to_matrix(q);
    num::vector v{u(g), u(g), u(g)};
    expect_near(quat::transform(v, q), matrix::apply(v, m));
    expect_near(matrix::apply(v, matrix::rotation(axis, angle)), matrix::apply(v, m));
    num::quat back = matrix::to_quat(m);
    if (q.w < 0) q = {-q.w, -q.x, -q.y, -q.z};
    expect_near(back, q);
  }
}

TEST(numeric_tensor, quat_products_angle_and_axis) {
  num::quat a = quat::from(0.8, num::vector{0, 0, 1});
  EXPECT_NEAR(quat::angle(a), 0.8, 1e-12);
  expect_near(quat::axis(a), num::vector{0, 0, 1});
  num::quat b = quat::from(0.5, num::vector{1, 0, 0});
  expect_near(quat::join(a, b), quat::mul(b, a));
  num::quat i{0, 1, 0, 0}, j{0, 0, 1, 0};
  expect_near(quat::mul(i, j), num::quat{0, 0, 0, 1});    // ij = k
  expect_near(quat::mul(j, i), num::quat{0, 0, 0, -1});
  EXPECT_NEAR(quat::angle(num::quat{2, 0, 0, 0}), num::pi, 1e-15);   // w above 1 is squared first
  EXPECT_TRUE(vector::equal(quat::axis(num::quat{1, 0, 0, 0}), vector::zero));
}

TEST(numeric_tensor, quat_to_euler_gives_cardan_angles) {
  struct row { double angle; num::vector axis, euler; };
  const row rows[] = {{0.3, {1, 0, 0}, {0.3, 0, 0}},
                      {0.4, {0, 1, 0}, {0, 0.4, 0}},
                      {-0.5, {0, 0, 1}, {0, 0, -0.5}},
                      {num::pi / 2, {0, 1, 0}, {0, num::pi / 2, 0}}};
  for (const row& r : rows) expect_near(quat::to_euler(quat::from(r.angle, r.axis)), r.euler, 1e-7);
  // Past the pole the pitch is held at pi/2 with the sign of s.
  EXPECT_DOUBLE_EQ(quat::to_euler(num::quat{1, 0, 1, 0}).y, num::pi / 2);
  EXPECT_DOUBLE_EQ(quat::to_euler(num::quat{1, 0, -1, 0}).y, -num::pi / 2);
}

TEST(numeric_tensor, tensor_and_matrix_convert_and_asymmetry_gives_zero) {
  num::tensor t{1, 2, 3, 4, 5, 6};
  num::matrix m = tensor::to_matrix(t);
  EXPECT_TRUE(vector::equal(matrix::row(m, 0), num::vector{1, 4, 5}));
  EXPECT_TRUE(vector::equal(matrix::row(m, 2), num::vector{5, 6, 3}));
  EXPECT_FALSE(tensor::notequal(tensor::from_matrix(m), t));
  m.m[1] = 9;
  EXPECT_FALSE(tensor::notequal(tensor::from_matrix(m), tensor::zero));
  EXPECT_FALSE(tensor::notequal(tensor::div(t, 0), tensor::zero));
}

TEST(numeric_tensor, eigen_of_a_diagonal_tensor_returns_at_once) {
  tensor::eigenresult e = tensor::eigen(num::tensor{3, -1, 2, 0, 0, 0});
  EXPECT_TRUE(e.converged);
  EXPECT_TRUE(vector::equal(e.values, num::vector{3, -1, 2}));
  EXPECT_TRUE(matrix::equal(e.vectors, matrix::identity));
}

TEST(numeric_tensor, eigen_of_hand_worked_tensors) {
  // [[2,1,0],[1,2,0],[0,0,3]]: 3 along (1,1,0) and z, 1 along (1,-1,0).
  num::tensor t{2, 2, 3, 1, 0, 0};
  num::vector v = tensor::values(t);
  EXPECT_NEAR(v.x, 3, 1e-14);
  EXPECT_NEAR(v.y, 3, 1e-14);
  EXPECT_NEAR(v.z, 1, 1e-14);
  num::matrix rows = tensor::vectors(t);
  expect_direction(rows, 2, num::vector{1, -1, 0});
  // [[4,1,1],[1,4,1],[1,1,4]]: 6 along (1,1,1), 3 twice.
  num::tensor s{4, 4, 4, 1, 1, 1};
  v = tensor::values(s);
  EXPECT_NEAR(v.x, 6, 1e-14);
  EXPECT_NEAR(v.y, 3, 1e-14);
  EXPECT_NEAR(v.z, 3, 1e-14);
  expect_direction(tensor::vectors(s), 0, num::vector{1, 1, 1});
}

TEST(numeric_tensor, eigenvectors_reassemble_the_tensor) {
  std::mt19937_64 g(11);
  std::uniform_real_distribution<double> u(-5, 5);
  for (int k = 0; k < 50; ++k) {
    num::tensor t{u(g), u(g), u(g), u(g), u(g), u(g)};
    tensor::eigenresult e = tensor::eigen(t);
    ASSERT_TRUE(e.converged);
    double d[3] = {e.values.x, e.values.y, e.values.z};
    num::matrix m = tensor::to_matrix(t);
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) {
        double s = 0;
        for (int c = 0; c < 3; ++c) s += e.vectors.m[3 * i + c] * d[c] * e.vectors.m[3 * j + c];
        EXPECT_NEAR(s, m.m[3 * i + j], 1e-12) << k << ": " << i << "," << j;
      }
  }
}

TEST(numeric_tensor, values_of_a_negative_definite_tensor_come_out_positive) {
  num::vector v = tensor::values(num::tensor{-2, -2, -3, -1, 0, 0});
  EXPECT_NEAR(v.x, 3, 1e-14);
  EXPECT_NEAR(v.y, 3, 1e-14);
  EXPECT_NEAR(v.z, 1, 1e-14);
  num::matrix rows = tensor::vectors(num::tensor{-2, -2, -3, -1, 0, 0});
  expect_direction(rows, 2, num::vector{1, -1, 0});
}

TEST(numeric_tensor, non_positive_values_after_the_first_become_tiny_and_their_rows_zero) {
  num::tensor t{1, 0, 2, 0, 0, 0};
  num::vector v = tensor::values(t);
  EXPECT_TRUE(vector::equal(v, num::vector{2, 1, 2.225e-308}));
  num::matrix rows = tensor::vectors(t);
  EXPECT_TRUE(vector::equal(matrix::row(rows, 0), num::vector{0, 0, 1}));
  EXPECT_TRUE(vector::equal(matrix::row(rows, 2), vector::zero));
  // Mixed signs: 3, -2, 1 keep their order by size; -2 goes.
  num::tensor m{3, -2, 1, 0, 0, 0};
  EXPECT_TRUE(vector::equal(tensor::values(m), num::vector{3, 2.225e-308, 1}));
  EXPECT_TRUE(vector::equal(matrix::row(tensor::vectors(m), 1), vector::zero));
  EXPECT_TRUE(vector::equal(matrix::row(tensor::vectors(m), 2), num::vector{0, 0, 1}));
}

TEST(numeric_tensor, equal_absolute_values_keep_their_order) {
  // |-2| = |2|: no exchange on equal size, then the negative first flips all.
  num::vector v = tensor::values(num::tensor{-2, 2, 1, 0, 0, 0});
  EXPECT_TRUE(vector::equal(v, num::vector{2, 2.225e-308, 2.225e-308}));
}
