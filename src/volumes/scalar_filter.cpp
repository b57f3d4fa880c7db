// scalar_filter.cpp: the 27-voxel kernels, the label smoothing and the weighted 3x3x3 filter, through the slice ring.
#include <algorithm>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "foundation/slice_ring.h"
#include "images/image_tone.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalar_filter.h"
#include "volumes/scalar_ops.h"

namespace qv::scalar {

namespace {

// Box sums of slice z (0-based) of a w x h x d array: `column` gets the sum over
// the valid z-1..z+1 per (x, y), `rows` the 3-row sums of one row at a time.
// The kernels get S, the sum of the valid part of the 3x3x3 block, its count,
// and the centre c. `count` is 27 inside, 18 on a face, 12 on an edge, 8 at a corner.
template <typename T, typename K>
void box_slice(const T* v, std::int64_t w, std::int64_t h, std::int64_t d, std::int64_t z, T* out, K kernel) {
  const std::size_t plane = std::size_t(w * h);
  // Scratch of the calling thread, kept between slices: every entry is written before it is read.
  static thread_local std::vector<std::uint32_t> column, rows;
  if (column.size() < plane) column.resize(plane);
  if (rows.size() < std::size_t(w)) rows.resize(std::size_t(w));
  const T* mid = v + z * std::int64_t(plane);
  std::int64_t cz = 1;
  for (std::size_t i = 0; i < plane; ++i) column[i] = mid[i];
  if (z > 0) {
    const T* p = mid - plane;
    for (std::size_t i = 0; i < plane; ++i) column[i] += p[i];
    ++cz;
  }
  if (z + 1 < d) {
    const T* p = mid + plane;
    for (std::size_t i = 0; i < plane; ++i) column[i] += p[i];
    ++cz;
  }
  for (std::int64_t y = 0; y < h; ++y) {
    const std::uint32_t* c = column.data() + y * w;
    std::int64_t cy = 1;
    for (std::int64_t x = 0; x < w; ++x) rows[x] = c[x];
    if (y > 0) {
      for (std::int64_t x = 0; x < w; ++x) rows[x] += c[x - w];
      ++cy;
    }
    if (y + 1 < h) {
      for (std::int64_t x = 0; x < w; ++x) rows[x] += c[x + w];
      ++cy;
    }
    const T* centre = mid + y * w;
    T* o = out + y * w;
    const std::int64_t cyz = cy * cz;
    if (w == 1) {
      o[0] = kernel.apply(centre[0], rows[0], cyz);
      continue;
    }
    o[0] = kernel.apply(centre[0], rows[0] + rows[1], 2 * cyz);
    if (cyz == 9) {   // the inner block: a constant divisor the compiler turns into a multiplication
      for (std::int64_t x = 1; x + 1 < w; ++x) o[x] = kernel.inner(centre[x], rows[x - 1] + rows[x] + rows[x + 1]);
    } else {
      for (std::int64_t x = 1; x + 1 < w; ++x) o[x] = kernel.apply(centre[x], rows[x - 1] + rows[x] + rows[x + 1], 3 * cyz);
    }
    o[w - 1] = kernel.apply(centre[w - 1], rows[w - 2] + rows[w - 1], 2 * cyz);
  }
}

// The kernels, from S, its count and the centre c, in whole numbers.
template <typename T, int kind>
struct meankernel {
  static T result(std::int64_t c, std::int64_t mean) {
    switch (kind) {
      case 0: return T((8 * c + mean) / 9);          // softsmooth
      case 1: return T((c + mean) / 2);              // smooth
      case 2: return T(mean);                        // hardsmooth
      default: {                                     // unsharpmasking, clamped
        std::int64_t v = 2 * c - mean;
        constexpr std::int64_t top = sizeof(T) == 1 ? 255 : 65535;
        return T(v < 0 ? 0 : v > top ? top : v);
      }
    }
  }
  T apply(std::int64_t c, std::uint32_t s, std::int64_t count) const { return result(c, std::int64_t(s) / count); }
  T inner(std::int64_t c, std::uint32_t s) const { return result(c, std::int64_t(s / 27u)); }
};

// Runs `slice` over every z of the typed voxels, through the ring or serially.
template <typename T, typename Slice>
void run_ring(T* v, std::int64_t w, std::int64_t h, std::int64_t d, std::int64_t threads, wideview label, Slice slice) {
  threads::ring_filter(v, w * h, d, threads, label, slice);
}

// ---- label smoothing and the weighted filter

// The most frequent value of the block; where that is 0 with fewer than `keep`
// zeros, the most frequent other value. Ties go to the smaller value.
template <typename T>
T mode_of(T* block, int n, std::int64_t keep) {
  std::sort(block, block + n);
  T best = block[0], second = 0;
  int bestrun = 0, secondrun = 0;
  for (int i = 0; i < n;) {
    int j = i;
    while (j < n && block[j] == block[i]) ++j;
    if (j - i > bestrun) bestrun = j - i, best = block[i];
    if (block[i] != 0 && j - i > secondrun) secondrun = j - i, second = block[i];
    i = j;
  }
  return best == 0 && bestrun < keep && secondrun > 0 ? second : best;
}

template <typename T>
struct labelslice {
  std::int64_t w, h, d, keep;
  void operator()(const T* v, std::int64_t z, T* out) const {
    T block[27];
    for (std::int64_t y = 0; y < h; ++y)
      for (std::int64_t x = 0; x < w; ++x) {
        int n = 0;
        for (std::int64_t c = std::max<std::int64_t>(z - 1, 0); c <= std::min(z + 1, d - 1); ++c)
          for (std::int64_t b = std::max<std::int64_t>(y - 1, 0); b <= std::min(y + 1, h - 1); ++b)
            for (std::int64_t a = std::max<std::int64_t>(x - 1, 0); a <= std::min(x + 1, w - 1); ++a)
              block[n++] = v[(c * h + b) * w + a];
        out[y * w + x] = mode_of(block, n, keep);
      }
  }
};

// Mean of the non-zero voxels of the block for the non-zero voxels; zeros stay.
template <typename T>
struct zeroslice {
  std::int64_t w, h, d;
  void operator()(const T* v, std::int64_t z, T* out) const {
    for (std::int64_t y = 0; y < h; ++y)
      for (std::int64_t x = 0; x < w; ++x) {
        std::int64_t centre = v[(z * h + y) * w + x], s = 0, n = 0;
        if (centre == 0) {
          out[y * w + x] = 0;
          continue;
        }
        for (std::int64_t c = std::max<std::int64_t>(z - 1, 0); c <= std::min(z + 1, d - 1); ++c)
          for (std::int64_t b = std::max<std::int64_t>(y - 1, 0); b <= std::min(y + 1, h - 1); ++b)
            for (std::int64_t a = std::max<std::int64_t>(x - 1, 0); a <= std::min(x + 1, w - 1); ++a) {
              std::int64_t q = v[(c * h + b) * w + a];
              s += q, n += q != 0;
            }
        out[y * w + x] = T((centre + s / n) / 2);
      }
  }
};

// `scalar.filter`: the inner voxels get (sum of weight times voxel) div divisor,
// clamped; the outer layer of the field keeps its values.
template <typename T>
struct weightslice {
  std::int64_t w, h, d, divisor;
  const std::int64_t* weights;   // 27, x fastest, then y, then z
  void operator()(const T* v, std::int64_t z, T* out) const {
    constexpr std::int64_t top = sizeof(T) == 1 ? 255 : 65535;
    std::copy_n(v + z * w * h, w * h, out);
    if (z == 0 || z + 1 >= d) return;
    for (std::int64_t y = 1; y + 1 < h; ++y)
      for (std::int64_t x = 1; x + 1 < w; ++x) {
        std::int64_t s = 0;
        int k = 0;
        for (int c = -1; c <= 1; ++c)
          for (int b = -1; b <= 1; ++b)
            for (int a = -1; a <= 1; ++a) s += weights[k++] * v[((z + c) * h + y + b) * w + x + a];
        out[y * w + x] = T(std::clamp<std::int64_t>(s / divisor, 0, top));
      }
  }
};

// `scalar.filter.median.add`, `.mean`, `.mul`: along each axis the voxel and its
// two neighbours (those inside the field) are added, averaged or multiplied; the
// voxel becomes the median of the three axis values, clamped to its type. An
// edge in one axis thus counts the other two, and noise along one axis is outvoted.
enum class axisop { add, mean, mul };

template <typename T, axisop op>
struct medianslice {
  std::int64_t w, h, d;
  static std::int64_t combine(const T* p, std::int64_t step, bool before, bool after) {
    std::int64_t a = p[0], n = 1;
    if constexpr (op == axisop::mul) {
      constexpr std::int64_t cap = std::int64_t(1) << 40;   // far above the type's top, below overflow
      if (before) a = std::min(a * std::int64_t(p[-step]), cap);
      if (after) a = std::min(a * std::int64_t(p[step]), cap);
      return a;
    } else {
      if (before) a += p[-step], ++n;
      if (after) a += p[step], ++n;
      return op == axisop::mean ? a / n : a;
    }
  }
  void operator()(const T* v, std::int64_t z, T* out) const {
    constexpr std::int64_t top = sizeof(T) == 1 ? 255 : 65535;
    const std::int64_t plane = w * h;
    for (std::int64_t y = 0; y < h; ++y)
      for (std::int64_t x = 0; x < w; ++x) {
        const T* p = v + z * plane + y * w + x;
        std::int64_t a = combine(p, 1, x > 0, x + 1 < w), b = combine(p, w, y > 0, y + 1 < h),
                     c = combine(p, plane, z > 0, z + 1 < d);
        const std::int64_t median = std::max(std::min(a, b), std::min(std::max(a, b), c));
        out[y * w + x] = T(std::clamp<std::int64_t>(median, 0, top));
      }
  }
};

constexpr const char16_t* median_labels[] = {u"  Median filter (add)", u"  Median filter (mean)", u"  Median filter (mul)"};

template <axisop op>
void median_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    run_ring(v, f.width, f.height, f.depth, thread_max(m), median_labels[int(op)],
             medianslice<T, op>{f.width, f.height, f.depth});
  });
}

// Reads the optional pass count: no parameter is once, below 1 nothing.
bool times(macroengine& m, std::int64_t& n) {
  if (macro::parameter_count(m) > 1) {
    macro::check_max(m, 1);
    return false;
  }
  n = macro::parameter_count(m) ? text::nat(macro::parameter(m, 1)) : 1;
  return true;
}

constexpr const char16_t* kernel_labels[] = {u"  Softsmooth", u"  Smooth", u"  Hardsmooth", u"  Unsharpmasking"};

template <int kind>
void kernel_cmd(macroengine& m) {
  std::int64_t n = 0;
  if (!times(m, n)) return;
  scalarfield& f = current();
  if (!ready(m, f)) return;
  for (std::int64_t i = 0; i < n; ++i) smooth_field(f, kernel(kind), thread_max(m));
}

void smooth_zero_cmd(macroengine& m) {
  std::int64_t n = 0;
  if (!times(m, n)) return;
  scalarfield& f = current();
  if (!ready(m, f)) return;
  for (std::int64_t i = 0; i < n; ++i)
    with_voxels(f, [&](auto* v) {
      using T = std::remove_pointer_t<decltype(v)>;
      run_ring(v, f.width, f.height, f.depth, thread_max(m), u"  Smooth (without zero)",
               zeroslice<T>{f.width, f.height, f.depth});
    });
}

// `scalar.smooth.label n`: n from 10 to 27 zeros keep a voxel 0.
void smooth_label_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  std::int64_t keep = macro::parameter_count(m) ? std::clamp<std::int64_t>(text::nat(macro::parameter(m, 1)), 10, 27) : 27;
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    run_ring(v, f.width, f.height, f.depth, thread_max(m), u"  Smooth label", labelslice<T>{f.width, f.height, f.depth, keep});
  });
}

// `scalar.filter m1 .. m27 d`: exactly 28 parameters; a divisor 0 does nothing.
void filter_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 28) return macro::check_exact(m, 28);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  std::int64_t weights[27];
  for (int i = 0; i < 27; ++i) weights[i] = text::nat(macro::parameter(m, std::size_t(i + 1)));
  std::int64_t divisor = text::nat(macro::parameter(m, 28));
  if (divisor == 0) return;
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    // Serial, as the filter prints no thread lines.
    run_ring(v, f.width, f.height, f.depth, 1, u"  Filter", weightslice<T>{f.width, f.height, f.depth, divisor, weights});
  });
}

// `scalar.cleanup`: setadjust, smooth, and unsharp masking twice.
void cleanup_cmd(macroengine& m) {
  scalarfield& f = current();
  if (!ready(m, f)) return;
  print::line(u"Adjust...");
  setadjust_field(f);
  print::line(u"Smooth...");
  smooth_field(f, kernel::smooth, thread_max(m));
  print::line(u"Unsharp(1/2)...");
  smooth_field(f, kernel::unsharpmasking, thread_max(m));
  print::line(u"Unsharp(2/2)...");
  smooth_field(f, kernel::unsharpmasking, thread_max(m));
}

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    // name             kind handler           usage                                     comment
    {"softsmooth",      P, kernel_cmd<0>,     "scalar.softsmooth [times]",              "27-voxel kernel: (8*v + mean) div 9"},
    {"smooth",          P, kernel_cmd<1>,     "scalar.smooth [times]",                  "27-voxel kernel: (v + mean) div 2"},
    {"smooth.zero",     P, smooth_zero_cmd,   "scalar.smooth.zero [times]",             "smooth without zero voxels"},
    {"smooth0",         P, smooth_zero_cmd,   "scalar.smooth0 [times]",                 "smooth without zero voxels"},
    {"hardsmooth",      P, kernel_cmd<2>,     "scalar.hardsmooth [times]",              "27-voxel kernel: mean"},
    {"unsharpmasking",  P, kernel_cmd<3>,     "scalar.unsharpmasking [times]",          "27-voxel kernel: 2*v - mean"},
    {"smooth.label",    P, smooth_label_cmd,  "scalar.smooth.label 27",                 "look for highest amount of value - ignore highest zeros from 27 to 10"},
    {"cleanup",         P, cleanup_cmd,       "scalar.cleanup",                         "setadjust + smooth + 2 x unsharpmasking"},
    {"filter",          P, filter_cmd,        "scalar.filter 0 0 0 0 1 0 0 0 0 0 1 0 1 1 1 0 1 0 0 0 0 0 1 0 0 0 0 7", "matrix [1..27] div [28]"},
    {"filter.median.add",  P, median_cmd<axisop::add>,  "scalar.filter.median.add",  "median from (add along x, y and z)"},
    {"filter.median.mean", P, median_cmd<axisop::mean>, "scalar.filter.median.mean", "median from (mean along x, y and z)"},
    {"filter.median.mul",  P, median_cmd<axisop::mul>,  "scalar.filter.median.mul",  "median from (mul along x, y and z)"},
};

}  // namespace

void smooth_field(scalarfield& f, kernel k, std::int64_t threads) {
  int kind = int(k);
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    const std::int64_t w = f.width, h = f.height, d = f.depth;
    auto run = [&](auto kernelrecord) {
      run_ring(v, w, h, d, threads, kernel_labels[kind],
               [=](const T* src, std::int64_t z, T* out) { box_slice(src, w, h, d, z, out, kernelrecord); });
    };
    switch (kind) {
      case 0: run(meankernel<T, 0>{}); break;
      case 1: run(meankernel<T, 1>{}); break;
      case 2: run(meankernel<T, 2>{}); break;
      default: run(meankernel<T, 3>{}); break;
    }
  });
}

// Stretches the field's own minimum..maximum to the full range of its type.
void setadjust_field(scalarfield& f) {
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    const std::int64_t n = voxel_count(f), top = top_of(f.tag);
    auto [lo, hi] = std::minmax_element(v, v + n);
    std::vector<T> table(std::size_t(top) + 1);
    tone::adjust_table(*lo, *hi, top, table.data());
    for (std::int64_t i = 0; i < n; ++i) v[i] = table[v[i]];
  });
}

void register_filter(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
