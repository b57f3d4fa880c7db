// scalar_combine.cpp: voxel-wise combinations of volumes, selection, masking and the byte swap.
#include <algorithm>
#include <cmath>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "foundation/stats.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalar_ops.h"

namespace qv::scalar {
namespace {

// The rows of all operands at one (y, z), and the row the formula writes.
struct rowset {
  std::vector<std::vector<std::int64_t>> in;
  std::vector<std::int64_t> out;
  std::int64_t width = 0;
  std::int64_t top = 65535;   // largest value of the target's element type
};

// The frame of every combination: sources from parameters 1..count, target by
// `:=` or the current field, one pass of rows under `label`. `fn(rowset&)`
// fills `out` from `in`. Operands read `background` outside their area.
template <typename Fn>
void combine(macroengine& m, std::size_t count, wideview label, Fn fn) {
  std::vector<const scalarfield*> src;
  if (!sources(m, 1, count, src)) return;
  scalarfield& t = target_or_current(m);
  bool had_voxels = ifscalar(t);
  prepare_target(t, *src[0]);
  std::int64_t w = t.width, h = t.height, d = t.depth;
  if (had_voxels)   // a target that was there keeps to the area all fields share
    for (const scalarfield* s : src) w = std::min(w, s->width), h = std::min(h, s->height), d = std::min(d, s->depth);
  rowset r;
  r.in.assign(src.size(), std::vector<std::int64_t>(std::size_t(std::max<std::int64_t>(w, 0))));
  r.out.resize(std::size_t(std::max<std::int64_t>(w, 0)));
  r.width = w;
  r.top = top_of(t.tag);
  progress::set(0, label);
  for (std::int64_t z = 1; z <= d; ++z) {
    for (std::int64_t y = 1; y <= h; ++y) {
      for (std::size_t k = 0; k < src.size(); ++k) load_row(*src[k], y, z, w, r.in[k].data());
      fn(r);
      store_row(t, y, z, w, r.out.data());
    }
    progress_step(z, d, label);
  }
  progress::end(label);
  m.target.clear();
}

// Two to 99 operands, refused with the minimum-count error outside that.
bool many(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n >= 2 && n <= 99) return true;
  macro::check_min(m, 2);
  return false;
}

bool exactly(macroengine& m, std::size_t n) {
  if (macro::parameter_count(m) == n) return true;
  macro::check_exact(m, std::int64_t(n));
  return false;
}

// The fold of fields that all have the target's type and size, straight over
// the voxel arrays. Every step keeps within the type's range, since the folds
// never take a value down again once it went over the top.
template <typename Step>
bool fold_alike(macroengine& m, wideview label, Step step) {
  std::vector<const scalarfield*> src;
  if (!sources(m, 1, macro::parameter_count(m), src)) return true;
  scalarfield& t = target_or_current(m);
  for (const scalarfield* f : src)
    if (f->tag != src[0]->tag || f->width != src[0]->width || f->height != src[0]->height || f->depth != src[0]->depth)
      return false;
  if (t.tag != src[0]->tag || (ifscalar(t) && (t.width != src[0]->width || t.height != src[0]->height ||
                                                t.depth != src[0]->depth)))
    return false;
  if (!ifscalar(*src[0]) || src[0]->tag == scalartag::mono) return false;
  prepare_target(t, *src[0]);
  progress::set(0, label);
  with_voxels(t, [&](auto* o) {
    using T = std::remove_pointer_t<decltype(o)>;
    constexpr std::int64_t top = sizeof(T) == 1 ? 255 : 65535;
    auto data = [](const scalarfield* f) {
      if constexpr (sizeof(T) == 1) return f->grayvoxels.data();
      else return f->fullvoxels.data();
    };
    const std::int64_t n = voxel_count(t);
    if (data(src[0]) != o) std::copy_n(data(src[0]), n, o);
    for (std::size_t k = 1; k < src.size(); ++k) {
      const T* a = data(src[k]);
      for (std::int64_t i = 0; i < n; ++i) o[i] = T(std::min<std::int64_t>(step(std::int64_t(o[i]), std::int64_t(a[i])), top));
    }
  });
  progress::end(label);
  m.target.clear();
  return true;
}

// A fold over the operands: out := in[0], then out := step(out, in[k]).
template <typename Step>
void fold(macroengine& m, wideview label, Step step) {
  if (!many(m) || fold_alike(m, label, step)) return;
  combine(m, macro::parameter_count(m), label, [&](rowset& r) {
    std::int64_t* o = r.out.data();
    std::copy(r.in[0].begin(), r.in[0].end(), o);
    for (std::size_t k = 1; k < r.in.size(); ++k) {
      const std::int64_t* a = r.in[k].data();
      for (std::int64_t x = 0; x < r.width; ++x) o[x] = step(o[x], a[x]);
    }
  });
}

void and_cmd(macroengine& m) { fold(m, u"  And", [](std::int64_t a, std::int64_t b) { return a & b; }); }
void or_cmd(macroengine& m) { fold(m, u"  Or", [](std::int64_t a, std::int64_t b) { return a | b; }); }
void over_cmd(macroengine& m) { fold(m, u"  Over", [](std::int64_t a, std::int64_t b) { return b ? b : a; }); }
void add_cmd(macroengine& m) { fold(m, u"  Addition", [](std::int64_t a, std::int64_t b) { return a + b; }); }
void add_min_cmd(macroengine& m) {
  fold(m, u"  Only minimal value", [](std::int64_t a, std::int64_t b) { return std::min(a, b); });
}
void add_max_cmd(macroengine& m) {
  fold(m, u"  Only maximal value", [](std::int64_t a, std::int64_t b) { return std::max(a, b); });
}

// Two operands: a*b div top; three: a*b*c div top^2; more: one operand at a time.
void mul_cmd(macroengine& m) {
  if (!many(m)) return;
  combine(m, macro::parameter_count(m), u"  Multiply", [](rowset& r) {
    const std::int64_t top = r.top;
    for (std::int64_t x = 0; x < r.width; ++x) {
      std::int64_t v = r.in[0][x] * r.in[1][x];
      if (r.in.size() == 3) v = v * r.in[2][x] / (top * top);
      else v /= top;
      for (std::size_t k = 3; k < r.in.size(); ++k) v = v * r.in[k][x] / top;
      r.out[x] = v;
    }
  });
}

template <typename Fn>
void pair(macroengine& m, wideview label, Fn fn) {
  if (!exactly(m, 2)) return;
  combine(m, 2, label, [&](rowset& r) {
    for (std::int64_t x = 0; x < r.width; ++x) r.out[x] = fn(r.in[0][x], r.in[1][x], r.top);
  });
}

void sub_cmd(macroengine& m) { pair(m, u"  Subtraction", [](std::int64_t a, std::int64_t b, std::int64_t) { return a - b; }); }
void sub_abs_cmd(macroengine& m) {
  pair(m, u"  Absolute subtraction", [](std::int64_t a, std::int64_t b, std::int64_t) { return std::abs(a - b); });
}
void sub_range_cmd(macroengine& m) {
  pair(m, u"  Range subtraction", [](std::int64_t a, std::int64_t b, std::int64_t top) { return (top + 1) / 2 + a - b; });
}

// `new := scalar.between old1 between old2`: the middle operand is the reference.
void between_cmd(macroengine& m) {
  if (!exactly(m, 3)) return;
  combine(m, 3, u"  Neighbor subtraction", [](rowset& r) {
    for (std::int64_t x = 0; x < r.width; ++x) {
      std::int64_t c = r.in[1][x];
      r.out[x] = (c - r.in[0][x]) + (c - r.in[2][x]);
    }
  });
}

// The values of all operands at one voxel, for the order statistics.
template <typename Pick>
void per_voxel(macroengine& m, wideview label, Pick pick) {
  if (!many(m)) return;
  std::vector<double> v;
  combine(m, macro::parameter_count(m), label, [&](rowset& r) {
    for (std::int64_t x = 0; x < r.width; ++x) {
      v.clear();
      for (const auto& row : r.in) v.push_back(double(row[x]));
      r.out[x] = pick(v);
    }
  });
}

std::int64_t mean_of(const std::vector<double>& v) {
  std::int64_t s = 0;
  for (double d : v) s += std::int64_t(d);
  return v.empty() ? 0 : s / std::int64_t(v.size());
}

std::int64_t median_of(std::vector<double>& v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  std::size_t n = v.size();
  return (std::int64_t(v[(n - 1) / 2]) + std::int64_t(v[n / 2])) / 2;
}

// Values outside median +- 2*|Q.25-Q.75| of the operands at a voxel are left out.
void drop_outliers(std::vector<double>& v) {
  std::vector<double> s = v;
  std::sort(s.begin(), s.end());
  num::complex window = stats::outlier_window(stats::quartiles_of(s), 2);
  std::erase_if(v, [&](double d) { return stats::outlier(d, window); });
}

void mean_cmd(macroengine& m) { per_voxel(m, u"  Averaging", [](std::vector<double>& v) { return mean_of(v); }); }
void median_cmd(macroengine& m) {
  per_voxel(m, u"  Median calculation", [](std::vector<double>& v) { return median_of(v); });
}
void mean_outliers_cmd(macroengine& m) {
  per_voxel(m, u"  Averaging", [](std::vector<double>& v) { return drop_outliers(v), mean_of(v); });
}
void median_outliers_cmd(macroengine& m) {
  per_voxel(m, u"  Median calculation", [](std::vector<double>& v) { return drop_outliers(v), median_of(v); });
}

// `new := scalar.intensity old1 old2 [old3] kv1 kv2 [kv3]`: the mean of value/kV
// times the mean kV, rounded half to even.
void intensity_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n != 4 && n != 6) return macro::check_min(m, 4);
  std::size_t k = n / 2;
  std::vector<double> kv(k);
  double mean_kv = 0;
  for (std::size_t i = 0; i < k; ++i) {
    kv[i] = text::real(macro::parameter(m, k + 1 + i));
    if (kv[i] == 0) return macro::check_min(m, 4);
    mean_kv += kv[i] / double(k);
  }
  combine(m, k, u"  Intensity mapping", [&](rowset& r) {
    for (std::int64_t x = 0; x < r.width; ++x) {
      double s = 0;
      for (std::size_t i = 0; i < k; ++i) s += double(r.in[i][x]) / kv[i];
      r.out[x] = real::round_nat(s / double(k) * mean_kv);
    }
  });
}

// ---- selection and masks

// The frame of the selections: for each voxel of the target's area, `pick(v,
// key, out)` gets the voxel v of `from` and the voxel key of `keys` and gives
// true when out is to be written; other voxels keep what the target holds.
template <typename Pick>
void combine_masked(macroengine& m, scalarfield& t, const scalarfield& from, const scalarfield& keys, wideview label,
                    Pick pick) {
  std::int64_t w = t.width;
  std::vector<std::int64_t> v(static_cast<std::size_t>(w)), k(v), out(v);
  progress::set(0, label);
  for (std::int64_t z = 1; z <= t.depth; ++z) {
    for (std::int64_t y = 1; y <= t.height; ++y) {
      load_row(from, y, z, w, v.data());
      load_row(keys, y, z, w, k.data());
      load_row(t, y, z, w, out.data());
      for (std::int64_t x = 0; x < w; ++x) pick(v[x], k[x], out[x]);
      store_row(t, y, z, w, out.data());
    }
    progress_step(z, t.depth, label);
  }
  progress::end(label);
  m.target.clear();
}

// `new := scalar.select old1 range [value]`: voxels of old1 in range are written
// (as themselves or as value); the others keep what the target holds.
void select_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n < 2) return macro::check_min(m, 2);
  if (n > 3) return macro::check_max(m, 3);
  std::vector<const scalarfield*> src;
  if (!sources(m, 1, 1, src)) return;
  scalarfield& t = target_or_current(m);
  prepare_target(t, *src[0], false);
  valuerange r = read_range(macro::parameter(m, 2), src[0]->tag);
  bool fixed = n == 3;
  std::int64_t value = fixed ? text::nat(macro::parameter(m, 3)) : 0;
  combine_masked(m, t, *src[0], *src[0], u"  Selection", [&](std::int64_t v, std::int64_t key, std::int64_t& out) {
    if (r.contains(key)) out = fixed ? value : v;
  });
}

// `new := scalar.mask old1 mask 0 <1,10> ...`: old1 where the mask holds one of the values.
void mask_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n < 3) return macro::check_min(m, 3);
  std::vector<const scalarfield*> src;
  if (!sources(m, 1, 2, src)) return;
  std::vector<std::uint8_t> wanted(65536, 0);
  for (std::size_t i = 3; i <= n; ++i) {
    double v[2] = {0, 0};
    read_numbers(macro::parameter(m, i), v, 2);
    std::int64_t lo = std::clamp<std::int64_t>(real::round_nat(v[0]), 0, 65535);
    std::int64_t hi = std::clamp<std::int64_t>(real::round_nat(v[1]), 0, 65535);
    if (hi == 0) hi = lo;   // a single value, or a range ending at 0
    if (lo > hi) std::swap(lo, hi);
    std::fill(wanted.begin() + lo, wanted.begin() + hi + 1, 1);
  }
  scalarfield& t = target_or_current(m);
  prepare_target(t, *src[0], false);
  combine_masked(m, t, *src[0], *src[1], u"  Masking", [&](std::int64_t v, std::int64_t key, std::int64_t& out) {
    if (key >= 0 && key <= 65535 && wanted[std::size_t(key)]) out = v;
  });
}

// "#0101" is read as binary digits and "$0F" as hexadecimal; other texts as numbers.
std::int64_t read_bits(wideview t) {
  if (t.empty() || (t[0] != u'#' && t[0] != u'$')) return text::nat(t);
  int base = t[0] == u'#' ? 2 : 16;
  std::int64_t v = 0;
  for (char16_t c : t.substr(1)) {
    int d = c >= u'0' && c <= u'9' ? c - u'0' : c >= u'a' && c <= u'f' ? c - u'a' + 10 : c >= u'A' && c <= u'F' ? c - u'A' + 10 : 99;
    if (d >= base) break;
    v = v * base + d;
  }
  return v;
}

// `new := scalar.mask.binary old1 mask #0101`: old1 where mask and the bits share a bit.
void mask_binary_cmd(macroengine& m) {
  if (!exactly(m, 3)) return;
  std::vector<const scalarfield*> src;
  if (!sources(m, 1, 2, src)) return;
  std::int64_t bits = read_bits(macro::parameter(m, 3));
  scalarfield& t = target_or_current(m);
  prepare_target(t, *src[0], false);
  combine_masked(m, t, *src[0], *src[1], u"  Masking", [&](std::int64_t v, std::int64_t key, std::int64_t& out) {
    if (key & bits) out = v;
  });
}

// Each 16-bit voxel swaps its two bytes; gray and mono stay as they are.
void setendian_cmd(macroengine& m) {
  scalarfield& f = current();
  if (!ready(m, f) || f.tag != scalartag::fullgray) return;
  for (std::uint16_t& v : f.fullvoxels) v = std::uint16_t((v >> 8) | (v << 8));
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name             kind handler             usage                                           comment
    {"and",             F, and_cmd,             "new := scalar.and old1 old2 ...",              "new := old1 and old2; up to 99 scalars"},
    {"or",              F, or_cmd,              "new := scalar.or old1 old2 ...",               "new := old1 or old2; up to 99 scalars"},
    {"over",            F, over_cmd,            "new := scalar.over old1 old2 ...",             "if old2 = 0 then new := old1 else new := old2; up to 99 scalars"},
    {"sub",             F, sub_cmd,             "new := scalar.sub old1 old2",                  "new := old1 - old2"},
    {"sub.abs",         F, sub_abs_cmd,         "new := scalar.sub.abs old1 old2",              "new := abs(old1 - old2)"},
    {"sub.range",       F, sub_range_cmd,       "new := scalar.sub.range old1 old2",            "new := rangecenter + (old1 - old2)"},
    {"between",         F, between_cmd,         "new := scalar.between old1 between old2",      "new := (between - old1) + (between - old2)"},
    {"add",             F, add_cmd,             "new := scalar.add old1 old2 ...",              "new := old1 + old2; up to 99 scalars"},
    {"add.min",         F, add_min_cmd,         "new := scalar.add.min old1 old2 ...",          "new := min(old1, old2); up to 99 scalars"},
    {"add.max",         F, add_max_cmd,         "new := scalar.add.max old1 old2 ...",          "new := max(old1, old2); up to 99 scalars"},
    {"mul",             F, mul_cmd,             "new := scalar.mul old1 old2 ...",              "new := old1 * old2 div range; up to 99 scalars"},
    {"mean",            F, mean_cmd,            "new := scalar.mean old1 old2 ...",             "new := (old1 + old2) div 2; up to 99 scalars"},
    {"median",          F, median_cmd,          "new := scalar.median old1 old2 old3 ...",      "new := median(old1, old2, old3); up to 99 scalars"},
    {"mean.outliers",   F, mean_outliers_cmd,   "new := scalar.mean.outliers old1 old2 ...",    "mean without values outside median+/-(2 * abs(q.25-q.75))"},
    {"median.outliers", F, median_outliers_cmd, "new := scalar.median.outliers old1 old2 ...",  "median without values outside median+/-(2 * abs(q.25-q.75))"},
    {"intensity",       F, intensity_cmd,       "new := scalar.intensity old1 old2 80 120",     "new := (old1/80 + old2/120)/2 * (80+120)/2"},
    {"select",          F, select_cmd,          "new := scalar.select old1 <128, 255> 1",       "new := if old1 into value or range then set new to old1 (or to 1)"},
    {"select",          P, select_cmd,          "scalar.select old1 6",                         "current := if old1 is 6 then set it to old1"},
    {"mask",            F, mask_cmd,            "new := scalar.mask old1 mask 0 <1, 10>",       "new := if mask = (0 or 1..10 or ...) use old1"},
    {"mask",            P, mask_cmd,            "scalar.mask old1 mask 0 <1, 10>",              "current := if mask = (0 or 1..10 or ...) use old1"},
    {"mask.binary",     F, mask_binary_cmd,     "new := scalar.mask.binary old1 mask 5",        "new := if mask and 5 (bits 0101) use old1"},
    {"mask.binary",     P, mask_binary_cmd,     "scalar.mask.binary old1 mask 5",               "current := if mask and 5 use old1"},
    {"setendian",       P, setendian_cmd,       "scalar.setendian",                             "swap endianness $ABCD -> $CDAB"},
};

}  // namespace

void register_combine(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
