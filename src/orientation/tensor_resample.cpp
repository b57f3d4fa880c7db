// tensor_resample.cpp: block moves, scaled copies and sub-stacks of tensor fields, run on
// the two vector stacks by the vector field's own steps.
#include <algorithm>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "orientation/tensor_commands.h"
#include "orientation/tensorfield.h"
#include "orientation/vector_commands.h"
#include "volumes/resample.h"

namespace qv::tensor {
namespace {

using framemath::natvector;
using resample::read_index;

tensorfield& current() { return *workspace::current<tensorfield>(); }

bool ready(const tensorfield& f) {
  if (has_voxels(f)) return true;
  print::line(u"Error! Empty tensorfield!");
  return false;
}

tensorfield& target_or_current(macroengine& m) {
  if (macro::target(m).empty()) return current();
  return *workspace::get_target_or_current(workspace::list<tensorfield>(), macro::target(m));
}

// A field of the two stacks made alike from those of `s`, with `frame`; empty if either failed.
tensorfield assemble(const tensorfield& s, vectorfield diagonal, vectorfield offdiagonal, const qv::frame& frame) {
  tensorfield out;
  out.tag = s.tag;
  if (!vector::has_voxels(diagonal) || !vector::has_voxels(offdiagonal)) return out;
  out.width = diagonal.width, out.height = diagonal.height, out.depth = diagonal.depth;
  out.frame = frame;
  out.diagonal = std::move(diagonal), out.offdiagonal = std::move(offdiagonal);
  out.diagonal.frame = out.offdiagonal.frame = frame;
  return out;
}

tensorfield cut(const tensorfield& s, natvector first, natvector size) {
  qv::frame frame = s.frame;
  frame_set_offset(frame, l2g(s.frame, {double(first.x), double(first.y), double(first.z)}));
  return assemble(s, vector::cut(s.diagonal, first, size), vector::cut(s.offdiagonal, first, size), frame);
}

// 0 sum, 1 mean (default), 2 sd, 3 min, 4 Q.25, 5 median, 6 Q.75, 7 max, on each component.
int copy_method = 1;

tensorfield scaled(const tensorfield& s, natvector size) {
  const qv::frame frame = resample::scaled_frame(s.frame, {s.width, s.height, s.depth}, size);
  return assemble(s, vector::scaled(s.diagonal, size, copy_method), vector::scaled(s.offdiagonal, size, copy_method),
                  frame);
}


// `tensor.move <a> <b> <shift>`: the block is cut out (left null) and put down shifted.
void move_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 3) return macro::check_exact(m, 3);
  tensorfield& f = current();
  if (!ready(f)) return;
  const natvector a = read_index(macro::parameter(m, 1)), b = read_index(macro::parameter(m, 2));
  const natvector d = read_index(macro::parameter(m, 3));
  vector::move_block(f.diagonal, a, b, d);
  vector::move_block(f.offdiagonal, a, b, d);
}

void copy_method_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  copy_method = int(std::clamp<std::int64_t>(text::nat(macro::parameter(m, 1)), 0, 7));
}

// `new := tensor.copy old [<x,y,z>]`.
void copy_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  const tensorfield* s = workspace::get_source(m, workspace::list<tensorfield>(), macro::parameter(m, 1));
  if (!s) return;
  tensorfield& t = target_or_current(m);
  m.target.clear();
  if (&t == s) return;
  if (n == 1 || !has_voxels(*s)) {
    t = *s;
    return;
  }
  const natvector size = read_index(macro::parameter(m, 2));
  if (!resample::copy_size_valid(size)) return macro::check_exact(m, 2);
  t = scaled(*s, size);
}

// `tensor.resize <x,y,z>` or `tensor.resize x y z`.
void resize_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n != 1 && n != 3) return macro::check_exact(m, 3);
  tensorfield& f = current();
  if (!ready(f)) return;
  const natvector size = n == 1 ? read_index(macro::parameter(m, 1))
                                : natvector{text::nat(macro::parameter(m, 1)), text::nat(macro::parameter(m, 2)),
                                            text::nat(macro::parameter(m, 3))};
  if (resample::copy_size_valid(size)) f = scaled(f, size);
}

// `tensor.substack <x1,y1,z1> <x2,y2,z2>` or `new := tensor.substack old <..> <..>`.
void substack_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 2) return macro::check_min(m, 2);
  if (n > 3) return macro::check_max(m, 3);
  const tensorfield* s = n == 3 ? workspace::get_source(m, workspace::list<tensorfield>(), macro::parameter(m, 1)) : &current();
  if (!s || !ready(*s)) return;
  const natvector a = read_index(macro::parameter(m, n - 1)), b = read_index(macro::parameter(m, n));
  const resample::block k = resample::between_clipped(a, b, {s->width, s->height, s->depth});
  tensorfield out = cut(*s, k.first, k.size);
  target_or_current(m) = std::move(out);
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name         kind handler         usage                                               comment
    {"move",        P, move_cmd,        "tensor.move <10,10,10> <20,20,20> <0,50,50>",      "move block (<10, 10, 10> <20, 20, 20>) with <0, 50, 50> to <10, 60, 60>"},
    {"copy.method", P, copy_method_cmd, "tensor.copy.method 1",                             "0=sum 1=mean(default) 2=sd 3=min 4=Q.25 5=median 6=Q.75 7=max, for downscaling"},
    {"copy",        F, copy_cmd,        "new := tensor.copy old <x,y,z>",                   "copy and scale, each component by the copy method"},
    {"resize",      P, resize_cmd,      "tensor.resize <x,y,z>",                            "scale the field to a new size"},
    {"substack",    P, substack_cmd,    "tensor.substack <x1,y1,z1> <x2,y2,z2>",            "keep only the block between the two corners"},
    {"substack",    F, substack_cmd,    "new := tensor.substack old <x1,y1,z1> <x2,y2,z2>", "the block of old between the two corners"},
};

}  // namespace

void register_resample(macroengine& m) { macro::register_rows(m, "tensor.", rows); }

}  // namespace qv::tensor
