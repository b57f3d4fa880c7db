// tensor_commands.cpp: handlers of the tensor field's frame, size, type-switch and element-wise commands.
#include "orientation/tensor_commands.h"

#include <vector>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "images/frame_commands.h"
#include "orientation/tensorfield.h"
#include "orientation/vector_scalar.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalarfield.h"

namespace qv::tensor {
namespace {

tensorfield& current() { return *workspace::current<tensorfield>(); }

bool ready(macroengine&, const tensorfield& f) {
  if (has_voxels(f)) return true;
  print::line(u"Error! Empty tensorfield!");
  return false;
}

// ---- size, frame and type

void clear_cmd(macroengine&) { clear_field(current()); }

// `tensor.new <x,y,z>`, or `name := tensor.new <x,y,z>` for a named field.
void new_cmd(macroengine& m) {
  auto& l = workspace::list<tensorfield>();
  tensorfield& f = macro::target(m).empty() ? current() : *workspace::get_target_or_current(l, macro::target(m));
  if (!macro::target(m).empty() && has_voxels(f)) print::line(u"Attention, target tensor field seems not to be empty!");
  std::int64_t x = f.width, y = f.height, z = f.depth;
  const std::size_t n = macro::parameter_count(m);
  if (n == 1) {
    double v[3] = {0, 0, 0};
    read_numbers(macro::parameter(m, 1), v, 3);
    x = framemath::round(v[0]), y = framemath::round(v[1]), z = framemath::round(v[2]);
  } else if (n == 3) {
    x = text::nat(macro::parameter(m, 1)), y = text::nat(macro::parameter(m, 2)), z = text::nat(macro::parameter(m, 3));
  } else if (n != 0) {
    return macro::check_exact(m, 3);
  }
  const qv::frame keep = f.frame;
  create_field(f, workspace_traits<tensorfield>::default_tag, x, y, z);
  f.frame = keep;
  m.target.clear();
}

void size_fn(macroengine& m) {
  const tensorfield& f = current();
  macro::value_set(m, natvector_text({f.width, f.height, f.depth}));
}

void iftensor_fn(macroengine& m) { macro::value_set(m, has_voxels(current()) ? u"1" : u"0"); }

using shared = frame_cmd::handlers<tensorfield>;

template <tensortag T>
void switch_cmd(macroengine&) { workspace_traits<tensorfield>::default_tag = std::uint8_t(T); }

// ---- element-wise

// `new := tensor.mask old1 scalarmask 0 <1..10> ...`: old1 where the mask holds one of the values or ranges.
void mask_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 3) return macro::check_min(m, 3);
  const tensorfield* a = workspace::get_source(m, workspace::list<tensorfield>(), macro::parameter(m, 1));
  if (!a) return;
  const scalarfield* mask = workspace::get_source(m, scalar::workspaces(), macro::parameter(m, 2));
  if (!mask) return;
  if (!ready(m, *a)) return;
  if (!scalar::ifscalar(*mask)) return print::line(u"Error! Empty scalarfield!");
  if (a->width != mask->width || a->height != mask->height || a->depth != mask->depth)
    return print::line(u"Error! Scalar field (" + nat::text(mask->width) + u"x" + nat::text(mask->height) + u"x" +
                               nat::text(mask->depth) + u") and tensor field (" +
                               workspace_traits<tensorfield>::size(*a) + u") differ in size!");
  std::vector<vector::maskrange> keep;
  for (std::size_t i = 3; i <= n; ++i) keep.push_back(vector::mask_range_parse(macro::parameter(m, i)));
  tensorfield result = *a;
  vector::mask_field(result.diagonal, *mask, keep);
  vector::mask_field(result.offdiagonal, *mask, keep);
  *workspace::get_target_or_current(workspace::list<tensorfield>(), macro::target(m)) = std::move(result);
  m.target.clear();
}

// The diagonal times the first vector, the off-diagonal times the second, component by component.
void scale_stacks(tensorfield& f, framemath::vector d, framemath::vector o) {
  with_elements(f, [&](auto* dg, auto* od, std::int64_t n) {
    using T = std::remove_pointer_t<decltype(dg)>;
    for (std::int64_t i = 0; i < 3 * n; i += 3) {
      dg[i] = vector::store<T>(double(dg[i]) * d.x), dg[i + 1] = vector::store<T>(double(dg[i + 1]) * d.y);
      dg[i + 2] = vector::store<T>(double(dg[i + 2]) * d.z);
      od[i] = vector::store<T>(double(od[i]) * o.x), od[i + 1] = vector::store<T>(double(od[i + 1]) * o.y);
      od[i + 2] = vector::store<T>(double(od[i + 2]) * o.z);
    }
  });
}

void mul_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  tensorfield& f = current();
  if (!ready(m, f)) return;
  const framemath::vector d = read_vector(macro::parameter(m, 1)), o = read_vector(macro::parameter(m, 2));
  scale_stacks(f, {d.x, d.y, d.z}, {o.x, o.y, o.z});
}

// Mirrors the voxels along one axis; the two off-diagonal components that
// carry that axis change sign (x: xy, xz; y: xy, yz; z: xz, yz).
template <int Axis>
void flip_cmd(macroengine& m) {
  tensorfield& f = current();
  if (!ready(m, f)) return;
  static constexpr const char16_t* labels[3] = {u"Flip x", u"Flip y", u"Flip z"};
  progress::set(0.0, labels[Axis]);
  const std::int64_t n[3] = {f.width, f.height, f.depth};
  const std::int64_t step[3] = {1, f.width, f.width * f.height};
  with_elements(f, [&](auto* d, auto* o, std::int64_t) {
    for (std::int64_t z = 0; z < (Axis == 2 ? n[2] / 2 : n[2]); ++z)
      for (std::int64_t y = 0; y < (Axis == 1 ? n[1] / 2 : n[1]); ++y)
        for (std::int64_t x = 0; x < (Axis == 0 ? n[0] / 2 : n[0]); ++x) {
          const std::int64_t p[3] = {x, y, z};
          const std::int64_t a = x * step[0] + y * step[1] + z * step[2];
          const std::int64_t b = a + (n[Axis] - 1 - 2 * p[Axis]) * step[Axis];
          for (int c = 0; c < 3; ++c) std::swap(d[3 * a + c], d[3 * b + c]), std::swap(o[3 * a + c], o[3 * b + c]);
        }
  });
  static constexpr double signs[3][3] = {{-1, -1, 1}, {-1, 1, -1}, {1, -1, -1}};
  scale_stacks(f, {1, 1, 1}, {signs[Axis][0], signs[Axis][1], signs[Axis][2]});
  progress::end(labels[Axis]);
}

// `old := tensor.make.tensor`: size and frame of the current field go to the named one.
void make_tensor_fn(macroengine& m) {
  tensorfield* t = workspace::get_target(m, workspace::list<tensorfield>(), macro::target(m));
  if (!t) return;
  const tensorfield& f = current();
  create_field(*t, workspace_traits<tensorfield>::default_tag, f.width, f.height, f.depth);
  t->frame = f.frame;
  m.target.clear();
}

// `tensor.make.scalar`: size and frame of the tensor field go to the current scalar field, or the named one.
void make_scalar_fn(macroengine& m) {
  scalarfield* t = macro::target(m).empty()
                       ? &scalar::current()
                       : workspace::get_target_or_current(scalar::workspaces(), macro::target(m));
  const tensorfield& f = current();
  scalar::create_checked(*t, workspace_traits<scalarfield>::default_tag, f.width, f.height, f.depth);
  t->frame = f.frame;
  m.target.clear();
}

// `tensor.make.vector`: the same into the current vector field, or the named one.
void make_vector_fn(macroengine& m) {
  auto& l = workspace::list<vectorfield>();
  vectorfield* t = macro::target(m).empty() ? l.current_object() : workspace::get_target_or_current(l, macro::target(m));
  const tensorfield& f = current();
  vector::create_field(*t, workspace_traits<vectorfield>::default_tag, f.width, f.height, f.depth);
  t->frame = f.frame;
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name            kind handler                   usage                                     comment
    {"float",          P, switch_cmd<tensortag::real>, "tensor.float",                          "new tensor fields hold float64"},
    {"integer",        P, switch_cmd<tensortag::nat>,  "tensor.integer",                        "new tensor fields hold 64-bit integers"},
    {"clean",          P, clear_cmd,          "tensor.clean",                                   "drops tensors and frame, keeps the type"},
    {"new",            P, new_cmd,            "tensor.new <x,y,z>",                             "re-creates the field with the default type, all null"},
    {"new",            F, new_cmd,            "name := tensor.new <x,y,z>",                     "re-creates the named field with the default type, all null"},
    {"size",           F, size_fn,            "<x,y,z> := tensor.size",                         "size of the field"},
    {"iftensor",       F, iftensor_fn,        "flag := tensor.iftensor",                        "1 if the field has voxels"},
    {"center",         F, shared::center_fn,  "<x,y,z> := tensor.center",                       "half the size"},
    {"center",         P, shared::center_cmd, "tensor.center",                                  "puts the origin in the middle of the field"},
    {"origin",         F, shared::origin_fn,  "<x,y,z> := tensor.origin",                       "global position of voxel <1,1,1>"},
    {"origin",         P, shared::origin_cmd, "tensor.origin <x,y,z>",                          "sets the global position of voxel <1,1,1>"},
    {"offset",         F, shared::origin_fn,  "<x,y,z> := tensor.offset",                       "global position of voxel <1,1,1>"},
    {"offset",         P, shared::origin_cmd, "tensor.offset <x,y,z>",                          "sets the global position of voxel <1,1,1>"},
    {"offset.add",     P, shared::origin_add_cmd, "tensor.offset.add <x,y,z>",                  "moves the global position of voxel <1,1,1>"},
    {"offset.center",  P, shared::center_cmd, "tensor.offset.center",                           "puts the origin in the middle of the field"},
    {"scale",          P, shared::scale_cmd,  "tensor.scale <x,y,z>",                           "voxel size, the sign is dropped"},
    {"scale",          F, shared::scale_fn,   "<x,y,z> := tensor.scale",                        "voxel size"},
    {"scale.mul",      P, shared::scale_mul_cmd, "tensor.scale.mul <x,y,z>",                    "multiplies the voxel steps per axis"},
    {"scale.norm",     P, shared::scale_norm_cmd, "tensor.scale.norm",                          "scales the voxel steps so the shortest is 1"},
    {"matrix",         F, shared::matrix_fn,  "(<..>;<..>;<..>) := tensor.matrix",              "voxel steps in global space"},
    {"matrix.v1",      F, shared::matrix_v1,  "<x,y,z> := tensor.matrix.v1",                    "step per x index"},
    {"matrix.v2",      F, shared::matrix_v2,  "<x,y,z> := tensor.matrix.v2",                    "step per y index"},
    {"matrix.v3",      F, shared::matrix_v3,  "<x,y,z> := tensor.matrix.v3",                    "step per z index"},
    {"matrix",         P, shared::matrix_cmd, "tensor.matrix <v1> <v2> <v3>",                   "sets the voxel steps in global space"},
    {"unflip",         P, shared::unflip_cmd, "tensor.unflip",                                  "makes every matrix entry positive"},
    {"unrotate",       P, shared::unrotate_cmd, "tensor.unrotate",                              "keeps only the lengths of the matrix rows"},
    {"l2g",            F, shared::l2g_fn,     "<x,y,z> := tensor.l2g <x,y,z>",                  "index to global position"},
    {"g2l",            F, shared::g2l_fn,     "<x,y,z> := tensor.g2l <x,y,z>",                  "global position to index"},
    {"mask",           F, mask_cmd,           "new := tensor.mask old1 scalarmask 0 <1,10>",   "copies old1 where the mask holds one of the values or ranges"},
    {"mul",            P, mul_cmd,            "tensor.mul <1,1,1> <-1,-1,1>",                   "trace corner * all entries"},
    {"flip.x",         P, flip_cmd<0>,        "tensor.flip.x",                                  "mirrors along x, xy and xz change sign"},
    {"flip.y",         P, flip_cmd<1>,        "tensor.flip.y",                                  "mirrors along y, xy and yz change sign"},
    {"flip.z",         P, flip_cmd<2>,        "tensor.flip.z",                                  "mirrors along z, xz and yz change sign"},
    {"make.tensor",    F, make_tensor_fn,     "old := tensor.make.tensor",                      "a field with the size and frame of the current one"},
    {"make.scalar",    P, make_scalar_fn,     "tensor.make.scalar",                             "the current scalar field gets the size and frame of the tensor field"},
    {"make.scalar",    F, make_scalar_fn,     "old := tensor.make.scalar",                      "the named scalar field gets the size and frame of the tensor field"},
    {"make.vector",    P, make_vector_fn,     "tensor.make.vector",                             "the current vector field gets the size and frame of the tensor field"},
    {"make.vector",    F, make_vector_fn,     "old := tensor.make.vector",                      "the named vector field gets the size and frame of the tensor field"},
};

}  // namespace

void register_commands(macroengine& m) { macro::register_rows(m, "tensor.", rows); }

}  // namespace qv::tensor
