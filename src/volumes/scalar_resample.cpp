// scalar_resample.cpp: cropping, block moves, gap patches, copies with scaling and sub-stacks of volumes.
#include <algorithm>
#include <cmath>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "volumes/scalar_commands.h"
#include "volumes/resample.h"
#include "volumes/scalar_ops.h"

namespace qv::scalar {
namespace {

using framemath::natvector;

using resample::read_index;

// A field of `size` with the type, labels and frame of `like`, its origin moved to
// index `first` of `like`; the voxels are zero.
scalarfield cut_field(const scalarfield& like, natvector first, natvector size) {
  scalarfield out;
  if (!create_checked(out, std::uint8_t(like.tag), size.x, size.y, size.z)) return out;
  shift_origin(out, like.frame, first);
  out.labels = like.labels;
  out.background = like.background, out.value = like.value;
  return out;
}

// ---- crop

struct box {
  natvector first{0, 0, 0}, last{0, 0, 0};
  bool empty() const { return last.x < first.x; }
};

// The bounding box of the voxels of `f` in `r`; an empty box when there is none.
box bounds(const scalarfield& f, valuerange r) {
  box b{{f.width + 1, f.height + 1, f.depth + 1}, {0, 0, 0}};
  std::vector<std::int64_t> row(std::size_t(f.width));
  for (std::int64_t z = 1; z <= f.depth; ++z)
    for (std::int64_t y = 1; y <= f.height; ++y) {
      load_row(f, y, z, f.width, row.data());
      for (std::int64_t x = 1; x <= f.width; ++x)
        if (r.contains(row[std::size_t(x - 1)])) {
          b.first = {std::min(b.first.x, x), std::min(b.first.y, y), std::min(b.first.z, z)};
          b.last = {std::max(b.last.x, x), std::max(b.last.y, y), std::max(b.last.z, z)};
        }
    }
  return b;
}

widetext box_text(natvector a, natvector b) { return natvector_text(a) + u" .. " + natvector_text(b); }

// `scalar.crop <1,10>`, `new := scalar.crop <1,10>`, `new := scalar.crop old1 <1,10>`,
// `new := scalar.crop old1 mask <1,10>`: old1 cut to the box of the mask's voxels in range.
void crop_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 3) return macro::check_max(m, 3);
  std::vector<const scalarfield*> src;
  if (n >= 2 && !sources(m, 1, n - 1, src)) return;
  const scalarfield& from = n >= 2 ? *src[0] : current();
  const scalarfield& key = n == 3 ? *src[1] : from;
  if (!ready(m, from) || !ready(m, key)) return;
  box b = bounds(key, read_range(macro::parameter(m, n), key.tag));
  if (b.empty()) b = box{};   // nothing in range: the size goes to zero
  natvector size = b.last.x == 0 ? natvector{0, 0, 0}
                                 : natvector{b.last.x - b.first.x + 1, b.last.y - b.first.y + 1, b.last.z - b.first.z + 1};
  print::line(u"  New size: " + box_text({1, 1, 1}, {from.width, from.height, from.depth}) + u" -> " +
              box_text(b.first, b.last));
  scalarfield out = cut_field(from, b.first, size);
  copy_box(from, b.first, out, {1, 1, 1}, size);
  target_or_current(m) = std::move(out);
  m.target.clear();
}

// ---- move

// `scalar.move <10,10,10> <20,20,20> <0,50,50>`: the block is cut out (left 0) and
// put down again shifted; what falls outside the field is lost.
void move_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 3) return macro::check_exact(m, 3);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  natvector a = read_index(macro::parameter(m, 1)), b = read_index(macro::parameter(m, 2));
  natvector d = read_index(macro::parameter(m, 3));
  const auto [first, size] = resample::between(a, b);
  scalarfield block;
  if (!create_checked(block, std::uint8_t(f.tag), size.x, size.y, size.z)) return;
  copy_box(f, first, block, {1, 1, 1}, size);
  scalarfield zero;
  create(zero, std::uint8_t(f.tag), size.x, size.y, size.z);
  copy_box(zero, {1, 1, 1}, f, first, size);
  copy_box(block, {1, 1, 1}, f, {first.x + d.x, first.y + d.y, first.z + d.z}, size);
}

// ---- gap patches

// Index of voxel (a, b) of plane p across `axis` (0 x, 1 y, 2 z), as x, y, z.
natvector on_plane(int axis, std::int64_t p, std::int64_t a, std::int64_t b) {
  return axis == 0 ? natvector{p, a, b} : axis == 1 ? natvector{a, p, b} : natvector{a, b, p};
}

// `scalar.patch.x n`: a run of at most n planes across x that hold only zeros,
// between two planes that hold something, is filled by linear interpolation of
// those two planes, voxel by voxel, rounded half to even.
template <int axis>
void patch_cmd(macroengine& m) {
  static constexpr const char16_t* labels[] = {u"  Patch x gap", u"  Patch y gap", u"  Patch z gap"};
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  std::int64_t gap = text::nat(macro::parameter(m, 1));
  std::int64_t sizes[3] = {f.width, f.height, f.depth};
  std::int64_t np = sizes[axis], na = sizes[axis == 0 ? 1 : 0], nb = sizes[axis == 2 ? 1 : 2];
  std::vector<std::uint8_t> filled(std::size_t(np + 1), 0);
  for (std::int64_t p = 1; p <= np; ++p)
    for (std::int64_t b = 1; b <= nb && !filled[p]; ++b)
      for (std::int64_t a = 1; a <= na && !filled[p]; ++a) {
        natvector i = on_plane(axis, p, a, b);
        filled[std::size_t(p)] = get(f, i.x, i.y, i.z) != 0;
      }
  progress::set(0, labels[axis]);
  std::int64_t last = 0;   // the last plane with voxels
  for (std::int64_t p = 1; p <= np; ++p) {
    if (!filled[std::size_t(p)]) continue;
    if (last && p - last > 1 && p - last - 1 <= gap)
      for (std::int64_t q = last + 1; q < p; ++q) {
        double t = double(q - last) / double(p - last);
        for (std::int64_t b = 1; b <= nb; ++b)
          for (std::int64_t a = 1; a <= na; ++a) {
            natvector i = on_plane(axis, last, a, b), j = on_plane(axis, p, a, b), k = on_plane(axis, q, a, b);
            double v = (1 - t) * double(get(f, i.x, i.y, i.z)) + t * double(get(f, j.x, j.y, j.z));
            set(f, k.x, k.y, k.z, real::round_nat(v));
          }
      }
    last = p;
    progress_step(p, np, labels[axis]);
  }
  progress::end(labels[axis]);
}

// ---- copies with scaling

// How a block of source voxels becomes one voxel when a copy scales down:
// 0 sum, 1 mean, 2 sd, 3 min, 4 Q.25, 5 median, 6 Q.75, 7 max.
int copy_method = 1;

void copy_method_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  copy_method = int(std::clamp<std::int64_t>(text::nat(macro::parameter(m, 1)), 0, 7));
}

// `s` scaled to `size`: each voxel takes the block of source voxels it covers
// through `method` (or the most frequent value, for labels). The frame keeps
// the field where it was: the steps grow by the scale, and the origin moves to
// the middle of the first block.
scalarfield scaled(const scalarfield& s, natvector size, int method, bool label) {
  scalarfield out;
  if (!create_checked(out, std::uint8_t(s.tag), size.x, size.y, size.z)) return out;
  out.labels = s.labels;
  out.background = s.background, out.value = s.value;
  out.frame = resample::scaled_frame(s.frame, {s.width, s.height, s.depth}, size);
  std::vector<double> v;
  progress::set(0, u"  Copy");
  for (std::int64_t z = 1; z <= size.z; ++z) {
    std::int64_t z0, z1, y0, y1, x0, x1;
    resample::block_of(z, s.depth, size.z, z0, z1);
    for (std::int64_t y = 1; y <= size.y; ++y) {
      resample::block_of(y, s.height, size.y, y0, y1);
      for (std::int64_t x = 1; x <= size.x; ++x) {
        resample::block_of(x, s.width, size.x, x0, x1);
        v.clear();
        for (std::int64_t c = z0; c <= z1; ++c)
          for (std::int64_t b = y0; b <= y1; ++b)
            for (std::int64_t a = x0; a <= x1; ++a) v.push_back(double(get(s, a, b, c)));
        set(out, x, y, z, fit_real(out.tag, label ? resample::most_frequent(v) : resample::reduce(v, method)));
      }
    }
    progress_step(z, size.z, u"  Copy");
  }
  progress::end(u"  Copy");
  return out;
}

bool size_valid(natvector s) { return s.x >= 1 && s.y >= 1 && s.z >= 1 && size_ok(s.x, s.y, s.z); }

// `new := scalar.copy old [<x,y,z>]` and `.copy.label`: a copy, scaled when a size is given.
template <bool label>
void copy_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  std::vector<const scalarfield*> src;
  if (!sources(m, 1, 1, src)) return;
  const scalarfield& s = *src[0];
  scalarfield& t = target_or_current(m);
  m.target.clear();
  if (&t == &s) return;
  if (n == 1 || !ifscalar(s)) {
    t = s;
    return;
  }
  natvector size = read_index(macro::parameter(m, 2));
  if (!size_valid(size)) return macro::check_exact(m, 2);
  t = scaled(s, size, copy_method, label);
}

// `scalar.resize <x,y,z>` or x y z: the current field scaled in place.
void resize_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n != 1 && n != 3) return macro::check_exact(m, 3);
  scalarfield& f = current();
  if (!ready(m, f)) return;
  natvector size = n == 1 ? read_index(macro::parameter(m, 1))
                          : natvector{text::nat(macro::parameter(m, 1)), text::nat(macro::parameter(m, 2)),
                                      text::nat(macro::parameter(m, 3))};
  if (!size_valid(size)) return;
  f = scaled(f, size, copy_method, false);
}

// `scalar.substack <x1,y1,z1> <x2,y2,z2>` or `new := scalar.substack old <..> <..>`.
void substack_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n < 2) return macro::check_min(m, 2);
  if (n > 3) return macro::check_max(m, 3);
  std::vector<const scalarfield*> src;
  if (n == 3 && !sources(m, 1, 1, src)) return;
  const scalarfield& s = n == 3 ? *src[0] : current();
  if (!ready(m, s)) return;
  natvector a = read_index(macro::parameter(m, n - 1)), b = read_index(macro::parameter(m, n));
  const resample::block k = resample::between_clipped(a, b, {s.width, s.height, s.depth});
  scalarfield out = cut_field(s, k.first, k.size);
  copy_box(s, k.first, out, {1, 1, 1}, k.size);
  target_or_current(m) = std::move(out);
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name         kind handler            usage                                               comment
    {"patch.x",     P, patch_cmd<0>,       "scalar.patch.x 2",                                  "patch n slices in x"},
    {"patch.y",     P, patch_cmd<1>,       "scalar.patch.y 2",                                  "patch n slices in y"},
    {"patch.z",     P, patch_cmd<2>,       "scalar.patch.z 2",                                  "patch n slices in z"},
    {"move",        P, move_cmd,           "scalar.move <10,10,10> <20,20,20> <0,50,50>",       "move block (<10, 10, 10> <20, 20, 20>) with <0, 50, 50> to <10, 60, 60>"},
    {"crop",        P, crop_cmd,           "scalar.crop <1, 10>",                               "crop to the bounding box of a value or range"},
    {"crop",        F, crop_cmd,           "new := scalar.crop old1 mask <1, 10>",              "new := old1 cropped to the bounding box of mask in 1..10 (old1 and mask optional)"},
    {"copy.method", P, copy_method_cmd,    "scalar.copy.method 1",                              "0=sum 1=mean(default) 2=sd 3=min 4=Q.25 5=median 6=Q.75 7=max, for downscaling"},
    {"copy",        F, copy_cmd<false>,    "new := scalar.copy old <x,y,z>",                    "copy and scale"},
    {"resize",      P, resize_cmd,         "scalar.resize <x,y,z>",                             "scale the field to a new size"},
    {"copy.label",  F, copy_cmd<true>,     "new := scalar.copy.label old <x,y,z>",              "copy and scale, keeps the most frequent value"},
    {"substack",    P, substack_cmd,       "scalar.substack <x1,y1,z1> <x2,y2,z2>",             "keep only the block between the two corners"},
    {"substack",    F, substack_cmd,       "new := scalar.substack old <x1,y1,z1> <x2,y2,z2>",  "the block of old between the two corners"},
};

}  // namespace

void register_resample(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
