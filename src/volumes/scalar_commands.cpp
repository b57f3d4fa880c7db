// scalar_commands.cpp: handlers of the scalar type switches, state and frame queries, flips and `scalar.make`.
#include "volumes/scalar_commands.h"

#include <algorithm>

#include "foundation/console.h"
#include "images/frame_commands.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "volumes/scalarfield.h"

namespace qv::scalar {

void assign_size(scalarfield& f, const scalarfield& like) {
  create(f, std::uint8_t(valid_tag(std::uint8_t(f.tag)) ? f.tag : scalartag::fullgray), like.width, like.height,
         like.depth);
  f.frame = like.frame;
  print::line(u"  Assigned scalar field (" + workspace_traits<scalarfield>::size(f) + u") updated.");
}

namespace {

using framemath::vector;

widetext flag(bool b) { return b ? u"1" : u"0"; }
std::uint8_t level() { return workspace_traits<scalarfield>::default_tag; }

template <scalartag T>
void switch_cmd(macroengine&) { workspace_traits<scalarfield>::default_tag = std::uint8_t(T); }

void ifscalar_fn(macroengine& m) { macro::value_set(m, flag(ifscalar(current()))); }
void ifplain_fn(macroengine& m) { macro::value_set(m, flag(ifplain(current()))); }

void size_fn(macroengine& m) {
  const scalarfield& f = current();
  macro::value_set(m, natvector_text({f.width, f.height, f.depth}));
}

// The frame commands every field family shares.
using shared = frame_cmd::handlers<scalarfield>;

void value_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  set_value(current(), text::nat(macro::parameter(m, 1)));
}

void background_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  set_background(current(), text::nat(macro::parameter(m, 1)));
}

void clean_cmd(macroengine&) { create(current(), level(), 0, 0, 0); }

// No parameter keeps the size; x y z or <x,y,z> give a new one.
void new_cmd(macroengine& m) {
  scalarfield& f = current();
  std::int64_t x = f.width, y = f.height, z = f.depth;
  std::size_t n = macro::parameter_count(m);
  if (n == 1) {
    double v[3];
    read_numbers(macro::parameter(m, 1), v, 3);
    x = framemath::round(v[0]), y = framemath::round(v[1]), z = framemath::round(v[2]);
  } else if (n == 3) {
    x = text::nat(macro::parameter(m, 1)), y = text::nat(macro::parameter(m, 2)), z = text::nat(macro::parameter(m, 3));
  } else if (n != 0) {
    return macro::check_exact(m, 3);
  }
  if (x < 1 || y < 1 || z < 1) x = y = z = 0;
  create_checked(f, level(), x, y, z);
}

template <int axis>
void flip_cmd(macroengine&) {
  static constexpr const char16_t* titles[] = {u"  Flip x", u"  Flip y", u"  Flip z"};
  scalarfield& f = current();
  if (!ifscalar(f)) return print::line(u"Error! Empty scalarfield!");
  progress::set(0, titles[axis]);
  flip(f, axis);
  progress::end(titles[axis]);
}

// `old := scalar.make`: the named field gets the size and frame of the current one.
void make_fn(macroengine& m) {
  scalarfield* t = workspace::get_target(m, workspaces(), macro::target(m));
  if (!t) return;
  const scalarfield& f = current();
  create_checked(*t, level(), f.width, f.height, f.depth);
  t->frame = f.frame;
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name            kind handler      usage                                   comment
    {"1bit",           P, switch_cmd<scalartag::mono>,     "scalar.1bit",         "new scalar fields are mono (1 bit)"},
    {"bool",           P, switch_cmd<scalartag::mono>,     "scalar.bool",         "new scalar fields are mono (1 bit)"},
    {"8bit",           P, switch_cmd<scalartag::gray>,     "scalar.8bit",         "new scalar fields are gray (8 bit)"},
    {"byte",           P, switch_cmd<scalartag::gray>,     "scalar.byte",         "new scalar fields are gray (8 bit)"},
    {"16bit",          P, switch_cmd<scalartag::fullgray>, "scalar.16bit",        "new scalar fields are fullgray (16 bit)"},
    {"word",           P, switch_cmd<scalartag::fullgray>, "scalar.word",         "new scalar fields are fullgray (16 bit)"},
    {"nat",            P, switch_cmd<scalartag::fullgray>, "scalar.nat",          "new scalar fields are fullgray (16 bit)"},
    {"ifscalar",       F, ifscalar_fn,  "flag := scalar.ifscalar",              "true, if scalar has a size bigger than 0x0x0"},
    {"ifplain",        F, ifplain_fn,   "flag := scalar.ifplain",               "true, if all voxels hold one value"},
    {"size",           F, size_fn,      "<x,y,z> := scalar.size",               "size of the field"},
    {"center",         F, shared::center_fn,    "<x,y,z> := scalar.center",             "half the size"},
    {"center",         P, shared::center_cmd,   "scalar.center",                        "puts the origin in the middle of the field"},
    {"origin.center",  F, shared::center_fn,    "<x,y,z> := scalar.origin.center",      "half the size"},
    {"origin.center",  P, shared::center_cmd,   "scalar.origin.center",                 "puts the origin in the middle of the field"},
    {"offset.center",  F, shared::center_fn,    "<x,y,z> := scalar.offset.center",      "half the size"},
    {"offset.center",  P, shared::center_cmd,   "scalar.offset.center",                 "puts the origin in the middle of the field"},
    {"origin",         F, shared::origin_fn,    "<x,y,z> := scalar.origin",             "global position of voxel <1,1,1>"},
    {"origin",         P, shared::origin_cmd,   "scalar.origin <x,y,z>",                "sets the global position of voxel <1,1,1>"},
    {"offset",         F, shared::origin_fn,    "<x,y,z> := scalar.offset",             "global position of voxel <1,1,1>"},
    {"offset",         P, shared::origin_cmd,   "scalar.offset <x,y,z>",                "sets the global position of voxel <1,1,1>"},
    {"offset.add",     P, shared::origin_add_cmd, "scalar.offset.add <x,y,z>",          "moves the global position of voxel <1,1,1>"},
    {"origin.add",     P, shared::origin_add_cmd, "scalar.origin.add <x,y,z>",          "moves the global position of voxel <1,1,1>"},
    {"scale",          P, shared::scale_cmd,    "scalar.scale <x,y,z>",                 "voxel size, the sign is dropped"},
    {"scale",          F, shared::scale_fn,     "<x,y,z> := scalar.scale",              "voxel size"},
    {"scale.mul",      P, shared::scale_mul_cmd, "scalar.scale.mul <x,y,z>",            "multiplies the voxel steps per axis"},
    {"scale.norm",     P, shared::scale_norm_cmd, "scalar.scale.norm",                  "scales the voxel steps so the shortest is 1"},
    {"matrix",         F, shared::matrix_fn,    "(<..>;<..>;<..>) := scalar.matrix",    "voxel steps in global space"},
    {"matrix.v1",      F, shared::matrix_v1,    "<x,y,z> := scalar.matrix.v1",          "step per x index"},
    {"matrix.v2",      F, shared::matrix_v2,    "<x,y,z> := scalar.matrix.v2",          "step per y index"},
    {"matrix.v3",      F, shared::matrix_v3,    "<x,y,z> := scalar.matrix.v3",          "step per z index"},
    {"matrix",         P, shared::matrix_cmd,   "scalar.matrix <v1> <v2> <v3>",         "sets the voxel steps in global space"},
    {"unflip",         P, shared::unflip_cmd,   "scalar.unflip",                        "makes every matrix entry positive"},
    {"unrotate",       P, shared::unrotate_cmd, "scalar.unrotate",                      "keeps only the lengths of the matrix rows"},
    {"l2g",            F, shared::l2g_fn,       "<x,y,z> := scalar.l2g <x,y,z>",        "index to global position"},
    {"g2l",            F, shared::g2l_fn,       "<x,y,z> := scalar.g2l <x,y,z>",        "global position to index"},
    {"value",          P, value_cmd,    "scalar.value 255",                     "drawing value, fitted to the voxel type"},
    {"background",     P, background_cmd, "scalar.background 0",                "value of reads outside the field"},
    {"clean",          P, clean_cmd,    "scalar.clean",                         "empties the field, as scalar.new <0,0,0>"},
    {"clear",          P, clean_cmd,    "scalar.clear",                         "empties the field, as scalar.new <0,0,0>"},
    {"new",            P, new_cmd,      "scalar.new <x,y,z>",                   "re-creates the field with the bit level, at its size or the given one"},
    {"flip.x",         P, flip_cmd<0>,  "scalar.flip.x",                        "mirrors the voxels along x"},
    {"flip.y",         P, flip_cmd<1>,  "scalar.flip.y",                        "mirrors the voxels along y"},
    {"flip.z",         P, flip_cmd<2>,  "scalar.flip.z",                        "mirrors the voxels along z"},
    {"make",           F, make_fn,      "old := scalar.make",                   "a field with the size and frame of the current one"},
    {"make.scalar",    F, make_fn,      "old := scalar.make.scalar",            "a field with the size and frame of the current one"},
};

}  // namespace

void register_commands(macroengine& m) {
  macro::register_rows(m, "scalar.", rows);
  register_files(m);
  register_combine(m);
  register_resample(m);
  register_append(m);
  register_morph(m);
  register_filter(m);
  register_tone(m);
  register_samples(m);
}

}  // namespace qv::scalar
