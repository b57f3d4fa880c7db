// scan.h: the line-scan kernel: direction sets over a half sphere, the fixed-point run sampler, reductions and line writers.
#pragma once
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

namespace qv::scan {

struct scan_vector { std::int64_t x = 0, y = 0, z = 0; bool operator==(const scan_vector&) const = default; };
struct realvector { double x = 0, y = 0, z = 0; bool operator==(const realvector&) const = default; };
using direction_list = std::vector<scan_vector>;
using unit_list = std::vector<realvector>;
using sample_list = std::vector<std::int64_t>;

// Half to even after a clamp to the 64-bit range, as every rounding of the scans.
std::int64_t round_even(double v);
realvector normalise(realvector v);   // a null vector stays null
double length(realvector v);
double angle(realvector a, realvector b);   // arc cosine of the normalised dot product; 0 for a null side

// A random source for the limited selection: an index in 0..count-1 (null: the
// program's shared source).
using randomfn = std::uint64_t (*)(std::uint64_t count);

// Directions over a half sphere of radius n (n >= 1). limit 0 takes all, in the
// order of the z sort; a positive limit takes that many at random. `points`
// receives the rounded points before duplicate removal when not null.
void direction_set(std::int64_t n, std::int64_t limit, direction_list& directions, unit_list& units,
                   randomfn random = nullptr, direction_list* points = nullptr);
// Radii per axis: the reach in index space grows with the voxel size.
void direction_set_aniso(realvector radii, std::int64_t limit, direction_list& directions, unit_list& units,
                         randomfn random = nullptr);
// The image form: a half circle of pairs (z stays 0), sorted by y.
void direction_set_2d(std::int64_t n, std::int64_t limit, direction_list& directions, unit_list& units,
                      randomfn random = nullptr);
// The unreduced points of step 2 with their ring i and step j, for the point commands.
struct ringpoint { std::int64_t i, j; realvector v; };
void direction_points(std::int64_t n, std::vector<ringpoint>& points);

// The z sort of the direction set, shared by the rankings: a heap sort over
// 1-based positions whose order of equal keys is part of the results.
template <typename T, typename Key>
void heap_sort(T* list, std::int64_t count, Key key) {
  auto at = [&](std::int64_t i) -> T& { return list[i - 1]; };
  auto sift = [&](std::int64_t i, std::int64_t m) {
    T held = at(i);
    std::int64_t c = 2 * i;
    if (c < m && key(at(c + 1)) > key(at(c))) ++c;
    while (c <= m && key(at(c)) > key(held)) {
      at(i) = at(c);
      i = c;
      c = 2 * i;
      if (c < m && key(at(c + 1)) > key(at(c))) ++c;
    }
    at(i) = held;
  };
  for (std::int64_t i = count / 2; i >= 1; --i) sift(i, count);
  for (std::int64_t m = count; m >= 1; --m) {
    std::swap(at(1), at(m));
    sift(1, m - 1);
  }
}
template <typename T, typename Key>
void heap_sort(std::vector<T>& list, Key key) {
  heap_sort(list.data(), static_cast<std::int64_t>(list.size()), key);
}

// The reduction of a run to one number; `scratch` is reused by the quantiles.
double reduce(std::span<const std::int64_t> samples, int submethod, sample_list& scratch);
double reduce(const sample_list& samples, int submethod);
// The sample standard deviation from whole-number sums: one division of exact
// integers, so runs holding the same values give exactly equal results.
double deviation(std::int64_t count, std::int64_t sum, std::int64_t squares);

// A grey-value volume as the samplers see it: x fastest, 1-based coordinates.
template <typename T>
struct volume {
  const T* data = nullptr;
  std::int64_t nx = 0, ny = 0, nz = 0;
  std::int64_t background = 0;
  // Coordinates arrive as unsigned, so a walk that went below 1 reads outside.
  std::int64_t read(std::uint64_t x, std::uint64_t y, std::uint64_t z) const {
    if (x - 1 >= std::uint64_t(nx) || y - 1 >= std::uint64_t(ny) || z - 1 >= std::uint64_t(nz)) return background;
    return data[((z - 1) * std::uint64_t(ny) + (y - 1)) * std::uint64_t(nx) + (x - 1)];
  }
};

// The 16.16 walk from A towards B: steps scaled by 65535, positions by 65536, so
// a rising axis repeats its first voxel and a falling one does not.
struct walk {
  std::int64_t count = 0;              // voxels on the way, L + 1; 0 if L < 1
  std::int64_t sx = 0, sy = 0, sz = 0; // per-step increments
  static walk between(scan_vector a, scan_vector b, bool truncate = false);
  static std::uint64_t coordinate(std::int64_t start, std::int64_t offset) {
    return static_cast<std::uint64_t>(start * 65536 + offset) >> 16;
  }
};

// One connected run of non-zero voxels on the line from A to B.
template <typename T>
void scan_run(const volume<T>& v, scan_vector a, scan_vector b, sample_list& out);
// The same with the walk from A to B given, for callers that reuse it: it depends on B - A only.
template <typename T>
void scan_run(const volume<T>& v, scan_vector a, scan_vector b, const walk& w, sample_list& out);
// Every voxel on the line, zeros kept: exactly L + 1 samples.
template <typename T>
void scan_line(const volume<T>& v, scan_vector a, scan_vector b, sample_list& out);
// The box between two corners, x fastest; nothing if an extent is below 1.
template <typename T>
void scan_block(const volume<T>& v, scan_vector a, scan_vector b, sample_list& out);

// The line writers walk with the count truncated instead of rounded.
template <typename T>
struct writable { T* data = nullptr; std::int64_t nx = 0, ny = 0, nz = 0; };
enum class lineop : std::uint8_t { set, increment };
template <typename T>
void write_line(writable<T> f, scan_vector a, scan_vector b, lineop op, T value);

}  // namespace qv::scan
