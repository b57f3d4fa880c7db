// scalar_ops.cpp: row access, ranges, targets and frame shifts shared by the volume operation families.
#include "volumes/scalar_ops.h"

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/threads.h"
#include "images/frame.h"

namespace qv::scalar {

namespace {

template <typename T>
void load_typed(const T* row, std::int64_t w, std::int64_t n, std::int64_t bg, std::int64_t* out) {
  std::int64_t k = std::min(w, n);
  for (std::int64_t x = 0; x < k; ++x) out[x] = row[x];
  for (std::int64_t x = k; x < n; ++x) out[x] = bg;
}

template <typename T>
void store_typed(T* row, std::int64_t n, std::int64_t top, const std::int64_t* in) {
  for (std::int64_t x = 0; x < n; ++x) row[x] = T(std::clamp<std::int64_t>(in[x], 0, top));
}

}  // namespace

void load_row(const scalarfield& f, std::int64_t y, std::int64_t z, std::int64_t n, std::int64_t* out) {
  if (y < 1 || z < 1 || y > f.height || z > f.depth || !ifscalar(f)) {
    std::fill(out, out + n, f.background);
    return;
  }
  std::size_t start = std::size_t(((z - 1) * f.height + (y - 1)) * f.width);
  switch (f.tag) {
    case scalartag::gray: load_typed(f.grayvoxels.data() + start, f.width, n, f.background, out); break;
    case scalartag::fullgray: load_typed(f.fullvoxels.data() + start, f.width, n, f.background, out); break;
    default:
      for (std::int64_t x = 0; x < n; ++x) out[x] = get(f, x + 1, y, z);
  }
}

void store_row(scalarfield& f, std::int64_t y, std::int64_t z, std::int64_t n, const std::int64_t* in) {
  if (y < 1 || z < 1 || y > f.height || z > f.depth) return;
  n = std::min(n, f.width);
  std::size_t start = std::size_t(((z - 1) * f.height + (y - 1)) * f.width);
  switch (f.tag) {
    case scalartag::gray: store_typed(f.grayvoxels.data() + start, n, 255, in); break;
    case scalartag::fullgray: store_typed(f.fullvoxels.data() + start, n, 65535, in); break;
    default:
      for (std::int64_t x = 0; x < n; ++x) set(f, x + 1, y, z, in[x]);
  }
}

valuerange read_range(wideview t, scalartag tag) {
  double v[2] = {0, 0};
  int n = read_numbers(t, v, 2);
  valuerange r{fit_real(tag, v[0]), fit_real(tag, v[1])};
  if (n < 2 || r.hi < r.lo) r.hi = r.lo;
  return r;
}

scalarfield& target_or_current(macroengine& m) {
  if (macro::target(m).empty()) return current();
  return *workspace::get_target_or_current(workspaces(), macro::target(m));
}

bool sources(macroengine& m, std::size_t from, std::size_t to, std::vector<const scalarfield*>& out) {
  out.clear();
  for (std::size_t i = from; i <= to; ++i) {
    const scalarfield* f = workspace::get_source(m, workspaces(), macro::parameter(m, i));
    if (!f || !ready(m, *f)) return false;
    out.push_back(f);
  }
  return true;
}

void prepare_target(scalarfield& t, const scalarfield& first, bool warn) {
  if (ifscalar(t)) {
    if (warn) print::line(u"Attention, target scalar field seems not to be empty!");
    return;
  }
  const qv::frame frame = first.frame;   // the target may be the first source
  std::int64_t x = first.width, y = first.height, z = first.depth;
  create_checked(t, std::uint8_t(valid_tag(std::uint8_t(t.tag)) ? t.tag : scalartag::fullgray), x, y, z);
  t.frame = frame;
}

bool ready(macroengine& m, const scalarfield& f) {
  if (ifscalar(f)) return true;
  macro::error(m, u"Error! Empty scalarfield!");
  return false;
}

std::int64_t thread_max(macroengine& m) { return threads::max_from_text(macro::var_get(m, u"thread.max")); }

framemath::vector index_to_global(const scalarfield& f, framemath::vector i) {
  framemath::vector d = framemath::apply({i.x - 1, i.y - 1, i.z - 1}, f.frame.matrix);
  return {d.x + f.frame.offset.x, d.y + f.frame.offset.y, d.z + f.frame.offset.z};
}

framemath::vector global_to_index(const scalarfield& f, framemath::vector g) {
  framemath::vector d = framemath::apply({g.x - f.frame.offset.x, g.y - f.frame.offset.y, g.z - f.frame.offset.z},
                                         framemath::inverse(f.frame.matrix));
  return {d.x + 1, d.y + 1, d.z + 1};
}

void shift_origin(scalarfield& f, const qv::frame& old, framemath::natvector first) {
  framemath::vector d = framemath::apply({double(first.x - 1), double(first.y - 1), double(first.z - 1)}, old.matrix);
  f.frame = old;
  frame_set_offset(f.frame, {old.offset.x + d.x, old.offset.y + d.y, old.offset.z + d.z});
}

}  // namespace qv::scalar

namespace qv::scalar {

namespace {
// Clips a box on one axis against both fields: first indices and length.
bool clip_axis(std::int64_t& from, std::int64_t& to, std::int64_t& n, std::int64_t sn, std::int64_t dn) {
  if (from < 1) n -= 1 - from, to += 1 - from, from = 1;
  if (to < 1) n -= 1 - to, from += 1 - to, to = 1;
  n = std::min({n, sn - from + 1, dn - to + 1});
  return n > 0;
}
}  // namespace

void copy_box(const scalarfield& s, framemath::natvector from, scalarfield& d, framemath::natvector to,
              framemath::natvector size) {
  if (!clip_axis(from.x, to.x, size.x, s.width, d.width) || !clip_axis(from.y, to.y, size.y, s.height, d.height) ||
      !clip_axis(from.z, to.z, size.z, s.depth, d.depth))
    return;
  for (std::int64_t z = 0; z < size.z; ++z)
    for (std::int64_t y = 0; y < size.y; ++y) {
      std::size_t si = std::size_t(((from.z + z - 1) * s.height + (from.y + y - 1)) * s.width + from.x - 1);
      std::size_t di = std::size_t(((to.z + z - 1) * d.height + (to.y + y - 1)) * d.width + to.x - 1);
      if (s.tag == d.tag && s.tag == scalartag::gray) {
        std::copy_n(s.grayvoxels.data() + si, size.x, d.grayvoxels.data() + di);
      } else if (s.tag == d.tag && s.tag == scalartag::fullgray) {
        std::copy_n(s.fullvoxels.data() + si, size.x, d.fullvoxels.data() + di);
      } else {
        for (std::int64_t x = 0; x < size.x; ++x)
          set(d, to.x + x, to.y + y, to.z + z, get(s, from.x + x, from.y + y, from.z + z));
      }
    }
}

}  // namespace qv::scalar

#include "foundation/progress.h"

namespace qv::scalar {
void progress_step(std::int64_t z, std::int64_t n, wideview label) {
  if (z % 16 == 0) progress::set(double(z) / double(n), label);
}
}  // namespace qv::scalar
