// scalar_tone.cpp: the tone adjustments of volumes, through the look-up tables the images use.
#include <algorithm>

#include "foundation/numbertext.h"
#include "images/image_tone.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalar_filter.h"
#include "volumes/scalar_ops.h"

namespace qv::scalar {
namespace {

// Calls `make(table, histogram, count, top)` and puts every voxel through the
// table it filled, unless it gave false. Mono fields stay as they are.
template <typename Make>
void through_table(macroengine& m, Make make) {
  scalarfield& f = current();
  if (!ready(m, f)) return;
  with_voxels(f, [&](auto* v) {
    using T = std::remove_pointer_t<decltype(v)>;
    const std::int64_t n = voxel_count(f), top = top_of(f.tag);
    std::vector<std::int64_t> h(std::size_t(top) + 2, 0);
    for (std::int64_t i = 0; i < n; ++i) ++h[v[i]];
    std::vector<T> table(std::size_t(top) + 1);
    for (std::int64_t i = 0; i <= top; ++i) table[std::size_t(i)] = T(i);
    if (!make(table.data(), h.data(), n, top)) return;
    for (std::int64_t i = 0; i < n; ++i) v[i] = table[v[i]];
  });
}

void setsign_cmd(macroengine& m) {
  through_table(m, [](auto* t, const std::int64_t*, std::int64_t, std::int64_t top) {
    tone::sign_table(t, std::size_t(top) + 1);
    return true;
  });
}

void setrange_cmd(macroengine& m) {
  through_table(m, [](auto* t, const std::int64_t* h, std::int64_t, std::int64_t top) {
    std::vector<std::int64_t> from1(std::size_t(top) + 2, 0);   // entry i counts the value i-1
    std::copy(h, h + top + 1, from1.begin() + 1);
    return tone::range_table(from1.data(), top + 1, t);
  });
}

// Smallest and largest value with more than `least` voxels; false when none has.
bool extremes(const std::int64_t* h, std::int64_t top, std::int64_t least, std::int64_t& lo, std::int64_t& hi) {
  lo = 0, hi = top;
  while (lo <= top && h[lo] <= least) ++lo;
  while (hi >= 0 && h[hi] <= least) --hi;
  return lo < hi;
}

// `scalar.setadjust`, `<lo,hi>`, `<lo,hi> <a,b>`: stretches lo..hi (the field's own
// minimum..maximum without parameters) to a..b (the full range).
void setadjust_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n > 2) return macro::check_max(m, 2);
  double from[2] = {0, 0}, to[2] = {0, -1};
  if (n >= 1) read_numbers(macro::parameter(m, 1), from, 2);
  if (n == 2) read_numbers(macro::parameter(m, 2), to, 2);
  through_table(m, [&](auto* t, const std::int64_t* h, std::int64_t, std::int64_t top) {
    std::int64_t lo = real::round_nat(from[0]), hi = real::round_nat(from[1]);
    if (n == 0 && !extremes(h, top, 0, lo, hi)) return false;
    std::int64_t a = n == 2 ? real::round_nat(to[0]) : 0, b = n == 2 ? real::round_nat(to[1]) : top;
    if (lo >= hi || a >= b) return false;
    tone::adjust_table(lo, hi, top, t, std::clamp<std::int64_t>(a, 0, top), std::clamp<std::int64_t>(b, 0, top));
    return true;
  });
}

// `scalar.setcrop`: the range without the single spots at its begin and end
// (values held by one voxel only) is stretched to the full range.
void setcrop_cmd(macroengine& m) {
  through_table(m, [](auto* t, const std::int64_t* h, std::int64_t, std::int64_t top) {
    std::int64_t lo = 0, hi = 0;
    if (!extremes(h, top, 1, lo, hi)) return false;
    tone::adjust_table(lo, hi, top, t);
    return true;
  });
}

void setequal_cmd(macroengine& m) {
  through_table(m, [](auto* t, const std::int64_t* h, std::int64_t count, std::int64_t top) {
    if (count < 2) return false;
    tone::equal_table(h, top, count, t);
    return true;
  });
}

// `scalar.setlower a b`: values up to a become b; `scalar.sethigher a b`: values from a.
template <bool higher>
void threshold_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  std::int64_t a = text::nat(macro::parameter(m, 1)), b = text::nat(macro::parameter(m, 2));
  if (a < 0 || a > 65535 || b < 0 || b > 65535) return;
  through_table(m, [&](auto* t, const std::int64_t*, std::int64_t, std::int64_t top) {
    tone::threshold_table(a, std::min(b, top), higher, top, t);
    return true;
  });
}

// `scalar.setvalue <a,b> c`: values a..b become c.
void setvalue_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  valuerange r = read_range(macro::parameter(m, 1), current().tag);
  std::int64_t c = fit(current().tag, text::nat(macro::parameter(m, 2)));
  through_table(m, [&](auto* t, const std::int64_t*, std::int64_t, std::int64_t) {
    for (std::int64_t i = r.lo; i <= r.hi; ++i) t[i] = std::remove_reference_t<decltype(*t)>(c);
    return true;
  });
}

// `scalar.setpeaklower`, `.setpeakmiddle`, `.setpeakhigher`: the histogram's peak
// (the most frequent value above 0) goes to the bottom, middle or top of the range.
template <tone::peakform form>
void setpeak_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  through_table(m, [](auto* t, const std::int64_t* h, std::int64_t, std::int64_t top) {
    return tone::peak_table(h, top, form, t);
  });
}

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    // name        kind handler              usage                                  comment
    {"setsign",    P, setsign_cmd,          "scalar.setsign",                      "turns wrapped signed data into an ascending range"},
    {"setrange",   P, setrange_cmd,         "scalar.setrange",                     "shifts or unwraps the used value range to start at 0"},
    {"setcrop",    P, setcrop_cmd,          "scalar.setcrop",                      "for single spots, begin and end of the value range"},
    {"setlower",   P, threshold_cmd<false>, "scalar.setlower 10 0",                "sets values up to 10 to 0"},
    {"sethigher",  P, threshold_cmd<true>,  "scalar.sethigher 200 255",            "sets values from 200 to 255"},
    {"setvalue",   P, setvalue_cmd,         "scalar.setvalue <10,20> 0",           "sets a value range to 0"},
    {"setadjust",  P, setadjust_cmd,        "scalar.setadjust <lo,hi> <a,b>",      "stretches lo..hi (default the own range) to a..b (default the full range)"},
    {"setequal",   P, setequal_cmd,         "scalar.setequal",                     "histogram equalisation"},
    {"setpeaklower",  P, setpeak_cmd<tone::peakform::lower>,  "scalar.setpeaklower",  "the histogram peak (most frequent value above 0) and all below go to 0, the rest is stretched above it"},
    {"setpeakmiddle", P, setpeak_cmd<tone::peakform::middle>, "scalar.setpeakmiddle", "the histogram peak goes to the middle of the range, the values below and above are stretched around it"},
    {"setpeakhigher", P, setpeak_cmd<tone::peakform::higher>, "scalar.setpeakhigher", "the histogram peak and all above go to the top, the rest is stretched below it"},
};

}  // namespace

void register_tone(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
