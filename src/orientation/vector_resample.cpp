// vector_resample.cpp: cropping on vector length, block moves, scaled copies, sub-stacks and the 27-voxel kernels of vector fields.
#include <algorithm>
#include <cmath>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "foundation/slice_ring.h"
#include "orientation/vector_commands.h"
#include "orientation/vectorfield.h"
#include "volumes/resample.h"

namespace qv::vector {
namespace {

using framemath::natvector;

vectorfield& current() { return *workspace::current<vectorfield>(); }
std::int64_t thread_max(macroengine& m) { return threads::max_from_text(macro::var_get(m, u"thread.max")); }

bool ready(macroengine& m, const vectorfield& f) {
  if (has_voxels(f)) return true;
  macro::error(m, u"Error! Empty vectorfield!");
  return false;
}

using resample::read_index;

// The field of a `new := ...` form, or the current one.
vectorfield& target_or_current(macroengine& m) {
  if (macro::target(m).empty()) return current();
  return *workspace::get_target_or_current(workspace::list<vectorfield>(), macro::target(m));
}

// Global position of a real index from 1.
vector index_to_global(const frame& f, vector i) {
  const vector d = framemath::apply({i.x - 1, i.y - 1, i.z - 1}, f.matrix);
  return {d.x + f.offset.x, d.y + f.offset.y, d.z + f.offset.z};
}

}  // namespace

// ---- shared with the tensor field's two stacks

// The box of `size` at `first` of `s`, as a field with its origin moved there.
vectorfield cut(const vectorfield& s, framemath::natvector first, framemath::natvector size) {
  vectorfield out;
  out.tag = s.tag;
  if (!create_field(out, std::uint8_t(s.tag), size.x, size.y, size.z)) return out;
  out.frame = s.frame;
  frame_set_offset(out.frame, index_to_global(s.frame, {double(first.x), double(first.y), double(first.z)}));
  out.background = s.background;
  for (std::int64_t z = 1; z <= size.z; ++z)
    for (std::int64_t y = 1; y <= size.y; ++y)
      for (std::int64_t x = 1; x <= size.x; ++x) set(out, x, y, z, get(s, first.x + x - 1, first.y + y - 1, first.z + z - 1));
  return out;
}

void move_block(vectorfield& f, framemath::natvector a, framemath::natvector b, framemath::natvector d) {
  const auto [first, size] = resample::between(a, b);
  const vectorfield block = cut(f, first, size);
  for (std::int64_t z = 0; z < size.z; ++z)
    for (std::int64_t y = 0; y < size.y; ++y)
      for (std::int64_t x = 0; x < size.x; ++x) set(f, first.x + x, first.y + y, first.z + z, vector{});
  for (std::int64_t z = 1; z <= block.depth; ++z)
    for (std::int64_t y = 1; y <= block.height; ++y)
      for (std::int64_t x = 1; x <= block.width; ++x)
        set(f, first.x + d.x + x - 1, first.y + d.y + y - 1, first.z + d.z + z - 1, get(block, x, y, z));
}

// `s` scaled to `size`, each voxel from the block it covers, as the scalar copy does.
vectorfield scaled(const vectorfield& s, framemath::natvector size, int method) {
  vectorfield out;
  if (!create_field(out, std::uint8_t(s.tag), size.x, size.y, size.z)) return out;
  out.frame = resample::scaled_frame(s.frame, {s.width, s.height, s.depth}, size);
  out.background = s.background;
  std::vector<double> c[3];
  for (std::int64_t z = 1; z <= size.z; ++z) {
    std::int64_t z0, z1, y0, y1, x0, x1;
    resample::block_of(z, s.depth, size.z, z0, z1);
    for (std::int64_t y = 1; y <= size.y; ++y) {
      resample::block_of(y, s.height, size.y, y0, y1);
      for (std::int64_t x = 1; x <= size.x; ++x) {
        resample::block_of(x, s.width, size.x, x0, x1);
        for (auto& v : c) v.clear();
        for (std::int64_t k = z0; k <= z1; ++k)
          for (std::int64_t j = y0; j <= y1; ++j)
            for (std::int64_t i = x0; i <= x1; ++i) {
              const vector v = get(s, i, j, k);
              c[0].push_back(v.x), c[1].push_back(v.y), c[2].push_back(v.z);
            }
        set(out, x, y, z, {resample::reduce(c[0], method), resample::reduce(c[1], method), resample::reduce(c[2], method)});
      }
    }
  }
  return out;
}

namespace {

widetext box_text(natvector a, natvector b) { return natvector_text(a) + u" .. " + natvector_text(b); }

// `vector.crop <lo,hi>` and `new := vector.crop [old] <lo,hi>`: cut to the box of
// the vectors whose length lies in lo..hi.
void crop_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  const vectorfield* s = n == 2 ? workspace::get_source(m, workspace::list<vectorfield>(), macro::parameter(m, 1)) : &current();
  if (!s || !ready(m, *s)) return;
  double r[2] = {0, 0};
  if (read_numbers(macro::parameter(m, n), r, 2) < 2 || r[1] < r[0]) r[1] = r[0];
  natvector lo{s->width + 1, s->height + 1, s->depth + 1}, hi{0, 0, 0};
  for (std::int64_t z = 1; z <= s->depth; ++z)
    for (std::int64_t y = 1; y <= s->height; ++y)
      for (std::int64_t x = 1; x <= s->width; ++x) {
        const double l = framemath::length(get(*s, x, y, z));
        if (l < r[0] || l > r[1]) continue;
        lo = {std::min(lo.x, x), std::min(lo.y, y), std::min(lo.z, z)};
        hi = {std::max(hi.x, x), std::max(hi.y, y), std::max(hi.z, z)};
      }
  if (hi.x == 0) lo = hi = {0, 0, 0};
  print::line(u"  New size: " + box_text({1, 1, 1}, {s->width, s->height, s->depth}) + u" -> " + box_text(lo, hi));
  natvector size = hi.x ? natvector{hi.x - lo.x + 1, hi.y - lo.y + 1, hi.z - lo.z + 1} : natvector{0, 0, 0};
  vectorfield out = cut(*s, lo, size);
  target_or_current(m) = std::move(out);
  m.target.clear();
}

// `vector.move <a> <b> <shift>`: the block is cut out (left null) and put down shifted.
void move_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 3) return macro::check_exact(m, 3);
  vectorfield& f = current();
  if (!ready(m, f)) return;
  const natvector a = read_index(macro::parameter(m, 1)), b = read_index(macro::parameter(m, 2));
  move_block(f, a, b, read_index(macro::parameter(m, 3)));
}

// ---- scaled copies

// 0 sum, 1 mean, 2 sd, 3 min, 4 Q.25, 5 median, 6 Q.75, 7 max, on each component.
int copy_method = 1;

void copy_method_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  copy_method = int(std::clamp<std::int64_t>(text::nat(macro::parameter(m, 1)), 0, 7));
}


// `new := vector.copy old [<x,y,z>]`.
void copy_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  const vectorfield* s = workspace::get_source(m, workspace::list<vectorfield>(), macro::parameter(m, 1));
  if (!s) return;
  vectorfield& t = target_or_current(m);
  m.target.clear();
  if (&t == s) return;
  if (n == 1 || !has_voxels(*s)) {
    t = *s;
    return;
  }
  const natvector size = read_index(macro::parameter(m, 2));
  if (!resample::copy_size_valid(size)) return macro::check_exact(m, 2);
  t = scaled(*s, size, copy_method);
}

void resize_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n != 1 && n != 3) return macro::check_exact(m, 3);
  vectorfield& f = current();
  if (!ready(m, f)) return;
  const natvector size = n == 1 ? read_index(macro::parameter(m, 1))
                                : natvector{text::nat(macro::parameter(m, 1)), text::nat(macro::parameter(m, 2)),
                                            text::nat(macro::parameter(m, 3))};
  if (resample::copy_size_valid(size)) f = scaled(f, size, copy_method);
}

// `vector.substack <x1,y1,z1> <x2,y2,z2>` or `new := vector.substack old <..> <..>`.
void substack_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 2) return macro::check_min(m, 2);
  if (n > 3) return macro::check_max(m, 3);
  const vectorfield* s = n == 3 ? workspace::get_source(m, workspace::list<vectorfield>(), macro::parameter(m, 1)) : &current();
  if (!s || !ready(m, *s)) return;
  const natvector a = read_index(macro::parameter(m, n - 1)), b = read_index(macro::parameter(m, n));
  const resample::block k = resample::between_clipped(a, b, {s->width, s->height, s->depth});
  vectorfield out = cut(*s, k.first, k.size);
  target_or_current(m) = std::move(out);
  m.target.clear();
}

// ---- the 27-voxel kernels on each component

// Slice z (from 0) of the kernel `kind` (0 soft, 1 smooth, 2 hard) over the three
// components: the mean of the valid part of the 3x3x3 block, in reals, with the
// centre weighted as the scalar kernels weight it; stored by the element rule.
template <typename T>
struct vectorslice {
  std::int64_t w, h, d;
  int kind;
  void operator()(const T* v, std::int64_t z, T* out) const {
    for (std::int64_t y = 0; y < h; ++y)
      for (std::int64_t x = 0; x < w; ++x) {
        double s[3] = {0, 0, 0};
        std::int64_t count = 0;
        for (std::int64_t c = std::max<std::int64_t>(z - 1, 0); c <= std::min(z + 1, d - 1); ++c)
          for (std::int64_t b = std::max<std::int64_t>(y - 1, 0); b <= std::min(y + 1, h - 1); ++b)
            for (std::int64_t a = std::max<std::int64_t>(x - 1, 0); a <= std::min(x + 1, w - 1); ++a) {
              const T* p = v + 3 * ((c * h + b) * w + a);
              s[0] += double(p[0]), s[1] += double(p[1]), s[2] += double(p[2]);
              ++count;
            }
        const T* centre = v + 3 * ((z * h + y) * w + x);
        T* o = out + 3 * (y * w + x);
        for (int k = 0; k < 3; ++k) {
          const double mean = s[k] / double(count), c = double(centre[k]);
          o[k] = store<T>(kind == 0 ? (8 * c + mean) / 9 : kind == 1 ? (c + mean) / 2 : mean);
        }
      }
  }
};

constexpr const char16_t* smooth_labels[] = {u"  Softsmooth", u"  Smooth", u"  Hardsmooth"};

template <int kind>
void smooth_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  vectorfield& f = current();
  if (!ready(m, f)) return;
  const std::int64_t passes = macro::parameter_count(m) ? text::nat(macro::parameter(m, 1)) : 1;
  for (std::int64_t i = 0; i < passes; ++i)
    with_elements(f, [&](auto* v, std::int64_t) {
      using T = std::remove_pointer_t<decltype(v)>;
      threads::ring_filter(v, 3 * f.width * f.height, f.depth, thread_max(m), smooth_labels[kind],
                           vectorslice<T>{f.width, f.height, f.depth, kind});
    });
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name         kind handler         usage                                               comment
    {"crop",        P, crop_cmd,        "vector.crop <0.5, 1>",                             "crop to the bounding box of a vector length or range"},
    {"crop",        F, crop_cmd,        "new := vector.crop old <0.5, 1>",                  "new := old cropped to the bounding box of a vector length or range"},
    {"move",        P, move_cmd,        "vector.move <10,10,10> <20,20,20> <0,50,50>",      "move block (<10, 10, 10> <20, 20, 20>) with <0, 50, 50> to <10, 60, 60>"},
    {"copy.method", P, copy_method_cmd, "vector.copy.method 1",                             "0=sum 1=mean(default) 2=sd 3=min 4=Q.25 5=median 6=Q.75 7=max, for downscaling"},
    {"copy",        F, copy_cmd,        "new := vector.copy old <x,y,z>",                   "copy and scale"},
    {"resize",      P, resize_cmd,      "vector.resize <x,y,z>",                            "scale the field to a new size"},
    {"substack",    P, substack_cmd,    "vector.substack <x1,y1,z1> <x2,y2,z2>",            "keep only the block between the two corners"},
    {"substack",    F, substack_cmd,    "new := vector.substack old <x1,y1,z1> <x2,y2,z2>", "the block of old between the two corners"},
    {"softsmooth",  P, smooth_cmd<0>,   "vector.softsmooth 1",                              "n passes of the 27-voxel kernel (8*v + mean) / 9 on each component"},
    {"smooth",      P, smooth_cmd<1>,   "vector.smooth 1",                                  "n passes of the 27-voxel kernel (v + mean) / 2 on each component"},
    {"hardsmooth",  P, smooth_cmd<2>,   "vector.hardsmooth 1",                              "n passes of the 27-voxel mean on each component"},
};

}  // namespace

void register_resample(macroengine& m) { macro::register_rows(m, "vector.", rows); }

}  // namespace qv::vector
