// scalar_append.cpp: `scalar.append*`, the merge of a volume file into the current field.
#include "volumes/scalar_append.h"

#include <algorithm>
#include <cmath>

#include "foundation/console.h"
#include "foundation/progress.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalar_ops.h"

namespace qv::merge {

using framemath::natvector;
using framemath::vector;

namespace {
vector add(vector a, vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
vector sub(vector a, vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
widetext box_text(natvector a, natvector b, natvector shift) {
  return natvector_text(a) + u" .. " + natvector_text(b) + u" + " + natvector_text(shift);
}
}  // namespace

plan covering(const frame& current, natvector csize, const frame& source, natvector ssize) {
  plan p;
  // Source index i (from 1) in current index units: ((i-1)*S + so - co) * C^-1 + 1.
  framemath::matrix inv = framemath::inverse(current.matrix);
  for (int r = 0; r < 3; ++r) {
    vector row = framemath::apply(source.matrix.row(r), inv);
    p.a.m[3 * r] = row.x, p.a.m[3 * r + 1] = row.y, p.a.m[3 * r + 2] = row.z;
  }
  vector base = framemath::apply(sub(source.offset, current.offset), inv);
  std::int64_t lo[3] = {1, 1, 1}, hi[3] = {csize.x, csize.y, csize.z};
  for (int corner = 0; corner < 8; ++corner) {
    vector i{corner & 1 ? double(ssize.x - 1) : 0, corner & 2 ? double(ssize.y - 1) : 0,
             corner & 4 ? double(ssize.z - 1) : 0};
    vector c = add(framemath::apply(i, p.a), base);
    double v[3] = {c.x + 1, c.y + 1, c.z + 1};
    for (int k = 0; k < 3; ++k) {
      std::int64_t n = framemath::round(v[k]);
      lo[k] = std::min(lo[k], n), hi[k] = std::max(hi[k], n);
    }
  }
  p.size = {hi[0] - lo[0] + 1, hi[1] - lo[1] + 1, hi[2] - lo[2] + 1};
  p.current_shift = {1 - lo[0], 1 - lo[1], 1 - lo[2]};
  p.offset = add(current.offset, framemath::apply({double(lo[0] - 1), double(lo[1] - 1), double(lo[2] - 1)},
                                                  current.matrix));
  // In new index units: i -> (i-1)*A + base + 1 + shift = i*A + b.
  vector ones = framemath::apply({1, 1, 1}, p.a);
  p.b = {base.x + 1 + double(p.current_shift.x) - ones.x, base.y + 1 + double(p.current_shift.y) - ones.y,
         base.z + 1 + double(p.current_shift.z) - ones.z};
  natvector first = place(p, 1, 1, 1);
  print::line(u"  New header: " + vector_text(p.offset));
  print::line(u"               " + vector_text(current.matrix.row(0)) + u" " + vector_text(current.matrix.row(1)) +
              u" " + vector_text(current.matrix.row(2)));
  print::line(u"  Source     : " +
              box_text({1, 1, 1}, ssize, {first.x - 1, first.y - 1, first.z - 1}));
  print::line(u"  Destination: " + box_text({1, 1, 1}, csize, p.current_shift));
  return p;
}

natvector place(const plan& p, std::int64_t x, std::int64_t y, std::int64_t z) {
  vector v = add(framemath::apply({double(x), double(y), double(z)}, p.a), p.b);
  return {framemath::round(v.x), framemath::round(v.y), framemath::round(v.z)};
}

}  // namespace qv::merge

namespace qv::scalar {
namespace {

using framemath::natvector;

// Copies the voxels of `s` into `d` at the places the plan gives; with
// `skipzero` a voxel 0 of `s` leaves `d` as it is.
void put(const scalarfield& s, scalarfield& d, const merge::plan& p, bool skipzero) {
  const wideview label = merge::label(skipzero);
  progress::set(0, label);
  for (std::int64_t z = 1; z <= s.depth; ++z) {
    for (std::int64_t y = 1; y <= s.height; ++y)
      for (std::int64_t x = 1; x <= s.width; ++x) {
        std::int64_t v = get(s, x, y, z);
        if (skipzero && v == 0) continue;
        natvector i = merge::place(p, x, y, z);
        set(d, i.x, i.y, i.z, v);
      }
    progress_step(z, s.depth, label);
  }
  progress::end(label);
}

// `scalar.append file`, `.append.zero`: the file and the current field in the
// box that covers both; `appendcenter*`: the file's centre on the field's centre,
// by index, the size unchanged.
template <bool skipzero, bool center>
void append_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  scalarfield& f = current();
  scalarfield loaded;
  std::uint8_t tag = valid_tag(std::uint8_t(f.tag)) ? std::uint8_t(f.tag) : workspace_traits<scalarfield>::default_tag;
  if (!load_file(loaded, tag, file_parameter(m, 1)) || !ifscalar(loaded)) return;
  if (!ifscalar(f)) {
    f = std::move(loaded);
    return;
  }
  merge::plan p;
  if (center) {
    p.size = {f.width, f.height, f.depth};
    p.b = {double((f.width - loaded.width) / 2), double((f.height - loaded.height) / 2),
           double((f.depth - loaded.depth) / 2)};
    put(loaded, f, p, skipzero);
    return;
  }
  p = merge::covering(f.frame, {f.width, f.height, f.depth}, loaded.frame, {loaded.width, loaded.height, loaded.depth});
  scalarfield out;
  if (!create_checked(out, std::uint8_t(f.tag), p.size.x, p.size.y, p.size.z)) return;
  out.frame = f.frame;
  frame_set_offset(out.frame, p.offset);
  out.labels = std::move(f.labels);
  out.background = f.background, out.value = f.value;
  copy_box(f, {1, 1, 1}, out, {1 + p.current_shift.x, 1 + p.current_shift.y, 1 + p.current_shift.z},
           {f.width, f.height, f.depth});
  put(loaded, out, p, skipzero);
  f = std::move(out);
}

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    // name                 kind handler                    usage                                    comment
    {"append",              P, append_cmd<false, false>,  "scalar.append file.nii",                "merge a file into the field, in global coordinates"},
    {"append.zero",         P, append_cmd<true, false>,   "scalar.append.zero file.nii",           "merge a file into the field, without its zero voxels"},
    {"appendcenter",        P, append_cmd<false, true>,   "scalar.appendcenter file.nii",          "merge a file into the field, centre on centre"},
    {"appendcenter.zero",   P, append_cmd<true, true>,    "scalar.appendcenter.zero file.nii",     "merge a file into the field, centre on centre, without its zero voxels"},
};

}  // namespace

void register_append(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
