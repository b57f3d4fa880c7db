// eigen_bench.cpp: Jacobi eigen-decompositions of random symmetric tensors.
#include <chrono>
#include <cstdio>
#include <random>
#include <vector>

#include "foundation/numeric.h"

using namespace qv;

int main() {
  constexpr int count = 10000000, pool = 4096;
  std::mt19937_64 g(1);
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<num::tensor> tensors(pool);
  for (num::tensor& t : tensors) t = {u(g), u(g), u(g), u(g), u(g), u(g)};
  double check = 0;
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) {
    num::vector v = tensor::values(tensor::eigen(tensors[std::size_t(i % pool)]));
    check += v.x;
  }
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("tensor.eigen + values: %d random symmetric tensors, 1 thread: %.3f s, %.2f million/s (%.0f ns each; check %.3f)\n",
              count, seconds, count / seconds / 1e6, seconds / count * 1e9, check);
  start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) {
    num::matrix m = tensor::vectors(tensor::eigen(tensors[std::size_t(i % pool)]));
    check += m.m[0];
  }
  seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("tensor.eigen + vectors: %d tensors, 1 thread: %.3f s, %.2f million/s (check %.3f)\n", count, seconds,
              count / seconds / 1e6, check);
  return 0;
}
