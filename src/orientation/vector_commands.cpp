// vector_commands.cpp: handlers of the vector field's frame, size, type-switch and element-wise commands.
#include "orientation/vector_commands.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/console.h"
#include "images/frame_commands.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "orientation/vector_scalar.h"
#include "orientation/vectorfield.h"

namespace qv::vector {
namespace {

vectorfield& current() { return *workspace::current<vectorfield>(); }
widetext flag(bool b) { return b ? u"1" : u"0"; }

vector operator+(vector a, vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
vector operator-(vector a, vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
vector operator*(vector a, double f) { return {a.x * f, a.y * f, a.z * f}; }
double dot(vector a, vector b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
vector unit(vector v) {
  const double l = framemath::length(v);
  return l == 0 ? v : v * (1 / l);
}

// An empty field says so in a status line (the macro goes on); true when there is data to work on.
bool ready(const vectorfield& f) {
  if (has_voxels(f)) return true;
  print::line(u"Error! Empty vectorfield!");
  return false;
}

// ---- size, frame and type

void clear_cmd(macroengine&) { clear_field(current()); }

void new_cmd(macroengine& m) {
  vectorfield& f = current();
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
  create_field(f, workspace_traits<vectorfield>::default_tag, x, y, z);
}

void size_fn(macroengine& m) {
  const vectorfield& f = current();
  macro::value_set(m, natvector_text({f.width, f.height, f.depth}));
}

// The frame commands every field family shares.
using shared = frame_cmd::handlers<vectorfield>;

template <vectortag T>
void switch_cmd(macroengine&) { workspace_traits<vectorfield>::default_tag = std::uint8_t(T); }

void ifvector_fn(macroengine& m) { macro::value_set(m, flag(has_voxels(current()))); }

void ifplain_fn(macroengine& m) {
  bool plain = true;
  with_elements(static_cast<const vectorfield&>(current()), [&](const auto* d, std::int64_t n) {
    for (std::int64_t i = 1; i < n && plain; ++i)
      plain = d[3 * i] == d[0] && d[3 * i + 1] == d[1] && d[3 * i + 2] == d[2];
  });
  macro::value_set(m, flag(plain));
}

// Smallest or largest value of each component over the field.
void extreme(macroengine& m, bool largest) {
  const vectorfield& f = current();
  if (!has_voxels(f)) return macro::value_set(m, vector_text({}));
  vector r = get(f, 1, 1, 1);
  with_elements(f, [&](const auto* d, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i, d += 3) {
      const double c[3] = {double(d[0]), double(d[1]), double(d[2])};
      r = largest ? vector{std::max(r.x, c[0]), std::max(r.y, c[1]), std::max(r.z, c[2])}
                  : vector{std::min(r.x, c[0]), std::min(r.y, c[1]), std::min(r.z, c[2])};
    }
  });
  macro::value_set(m, vector_text(r));
}
void min_fn(macroengine& m) { extreme(m, false); }
void max_fn(macroengine& m) { extreme(m, true); }

// ---- element-wise

// Runs `fn` over the current field with one vector parameter.
template <typename Fn>
void with_parameter(macroengine& m, Fn fn) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  vectorfield& f = current();
  if (!ready(f)) return;
  const vector p = read_vector(macro::parameter(m, 1));
  transform(f, [&](vector v) { return fn(v, p); });
}

// `new := vector.add old1 old2` and its kin: voxel-wise over the target's size;
// an empty target takes size, type default and frame from the first operand.
template <typename Fn>
void combine(macroengine& m, Fn fn) {
  auto& l = workspace::list<vectorfield>();
  const vectorfield* a = workspace::get_source(m, l, macro::parameter(m, 1));
  if (!a) return;
  const vectorfield* b = workspace::get_source(m, l, macro::parameter(m, 2));
  if (!b) return;
  vectorfield* t = workspace::get_target_or_current(l, macro::target(m));
  if (!has_voxels(*t)) {
    const vectorfield first = *a;   // the target may be an operand
    create_field(*t, workspace_traits<vectorfield>::default_tag, first.width, first.height, first.depth);
    t->frame = first.frame;
  } else {
    print::line(u"Attention, target vector field seems not to be empty!");
  }
  vectorfield result = *t;
  for (std::int64_t z = 1; z <= t->depth; ++z)
    for (std::int64_t y = 1; y <= t->height; ++y)
      for (std::int64_t x = 1; x <= t->width; ++x) set(result, x, y, z, fn(get(*a, x, y, z), get(*b, x, y, z)));
  *t = std::move(result);
  m.target.clear();
}

void add_cmd(macroengine& m) {
  if (!macro::target(m).empty() && macro::parameter_count(m) == 2)
    return combine(m, [](vector a, vector b) { return a + b; });
  with_parameter(m, [](vector v, vector p) { return v + p; });
}

void sub_cmd(macroengine& m) {
  if (!macro::target(m).empty() && macro::parameter_count(m) == 2)
    return combine(m, [](vector a, vector b) { return a - b; });
  with_parameter(m, [](vector v, vector p) { return v - p; });
}

void mean_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  combine(m, [](vector a, vector b) { return (a + b) * 0.5; });
}

void mul_cmd(macroengine& m) {
  with_parameter(m, [](vector v, vector p) { return vector{v.x * p.x, v.y * p.y, v.z * p.z}; });
}

// Unit length in a float field; integer and byte fields norm to the top of
// their range, as the program has it.
double norm_length(const vectorfield& f) {
  switch (f.tag) {
    case vectortag::nat: return 4294967295.0;
    case vectortag::rgb: return 255.0;
    default: return 1.0;
  }
}

void norm_cmd(macroengine&) {
  vectorfield& f = current();
  if (!ready(f)) return;
  const double top = norm_length(f);
  transform(f, [&](vector v) { return unit(v) * top; });
}

// Each vector divided by its smallest (or largest) component magnitude; a zero divisor leaves it.
void norm_component(bool largest) {
  vectorfield& f = current();
  if (!ready(f)) return;
  transform(f, [&](vector v) {
    const double a = std::fabs(v.x), b = std::fabs(v.y), c = std::fabs(v.z);
    const double d = largest ? std::max({a, b, c}) : std::min({a, b, c});
    return d == 0 ? v : v * (1 / d);
  });
}
void norm_min_cmd(macroengine&) { norm_component(false); }
void norm_max_cmd(macroengine&) { norm_component(true); }

double longest(const vectorfield& f) {
  double most = 0;
  with_elements(f, [&](const auto* d, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i, d += 3)
      most = std::max(most, framemath::length({double(d[0]), double(d[1]), double(d[2])}));
  });
  return most;
}

void relative(double factor) {
  vectorfield& f = current();
  if (!ready(f)) return;
  const double most = longest(f);
  if (most == 0) return;
  transform(f, [&](vector v) { return v * (factor / most); });
}
void norm_relative_cmd(macroengine&) { relative(1.0); }

void setlength_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  vectorfield& f = current();
  if (!ready(f)) return;
  const double l = text::real(macro::parameter(m, 1));
  transform(f, [&](vector v) { return unit(v) * l; });
}

void setlength_relative_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  relative(text::real(macro::parameter(m, 1)));
}

void erase(macroengine& m, bool above) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  vectorfield& f = current();
  if (!ready(f)) return;
  const double l = text::real(macro::parameter(m, 1));
  transform(f, [&](vector v) {
    const double len = framemath::length(v);
    return (above ? len > l : len < l) ? vector{} : v;
  });
}
void erase_min_cmd(macroengine& m) { erase(m, false); }
void erase_max_cmd(macroengine& m) { erase(m, true); }

void background_cmd(macroengine&) {
  vectorfield& f = current();
  if (!ready(f)) return;
  vector sum{};
  for (std::int64_t z = 1; z <= f.depth; ++z) {
    progress::set(double(z - 1) / double(f.depth), u"Scan vectors");
    for (std::int64_t y = 1; y <= f.height; ++y)
      for (std::int64_t x = 1; x <= f.width; ++x) sum = sum + get(f, x, y, z);
  }
  progress::end(u"Scan vectors");
  f.background = sum * (1.0 / double(voxel_count(f)));
}

// Equal to the background within a relative tolerance of 1e-9 (at least 1e-9 absolute).
void cleanup_cmd(macroengine&) {
  vectorfield& f = current();
  if (!ready(f)) return;
  const vector b = f.background;
  const double tolerance = 1e-9 * std::max(1.0, framemath::length(b));
  progress::set(0.0, u"Cleanup");
  transform(f, [&](vector v) { return framemath::length(v - b) <= tolerance ? vector{} : v; });
  progress::end(u"Cleanup");
}

void direction_cmd(macroengine& m) {
  with_parameter(m, [](vector v, vector p) { return dot(v, p) < 0 ? v * -1.0 : v; });
}

void inverse_cmd(macroengine&) {
  vectorfield& f = current();
  if (!ready(f)) return;
  auto inv = [](double c) { return c == 0 ? 0.0 : 1 / c; };
  transform(f, [&](vector v) { return vector{inv(v.x), inv(v.y), inv(v.z)}; });
}

// Mirrors the voxel order along one axis and negates that component.
template <int Axis>
void flip_cmd(macroengine&) {
  vectorfield& f = current();
  if (!ready(f)) return;
  static constexpr const char16_t* labels[3] = {u"  Flip x", u"  Flip y", u"  Flip z"};
  const std::int64_t n[3] = {f.width, f.height, f.depth};
  progress::set(0.0, labels[Axis]);
  for (std::int64_t z = 1; z <= (Axis == 2 ? f.depth / 2 + f.depth % 2 : f.depth); ++z)
    for (std::int64_t y = 1; y <= (Axis == 1 ? f.height / 2 + f.height % 2 : f.height); ++y)
      for (std::int64_t x = 1; x <= (Axis == 0 ? f.width / 2 + f.width % 2 : f.width); ++x) {
        std::int64_t p[3] = {x, y, z};
        std::int64_t q[3] = {x, y, z};
        q[Axis] = n[Axis] + 1 - p[Axis];
        vector a = get(f, p[0], p[1], p[2]), b = get(f, q[0], q[1], q[2]);
        double* ca = Axis == 0 ? &a.x : Axis == 1 ? &a.y : &a.z;
        double* cb = Axis == 0 ? &b.x : Axis == 1 ? &b.y : &b.z;
        *ca = -*ca;
        if (q[Axis] != p[Axis]) *cb = -*cb;
        set(f, p[0], p[1], p[2], b);
        if (q[Axis] != p[Axis]) set(f, q[0], q[1], q[2], a);
      }
  progress::end(labels[Axis]);
}

// `old := vector.make.vector`: size and frame of the current field go to the named one.
void make_vector_fn(macroengine& m) {
  auto& l = workspace::list<vectorfield>();
  vectorfield* t = workspace::get_target(m, l, macro::target(m));
  if (!t) return;
  const vectorfield& f = current();
  create_field(*t, workspace_traits<vectorfield>::default_tag, f.width, f.height, f.depth);
  t->frame = f.frame;
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name                kind handler                  usage                                    comment
    {"float",              P, switch_cmd<vectortag::real>, "vector.float",                      "new vector fields hold float80 or float64"},
    {"real",               P, switch_cmd<vectortag::real>, "vector.real",                       "new vector fields hold float80 or float64"},
    {"integer",            P, switch_cmd<vectortag::nat>,  "vector.integer",                    "new vector fields hold integers"},
    {"int32",              P, switch_cmd<vectortag::nat>,  "vector.int32",                      "new vector fields hold integers"},
    {"int64",              P, switch_cmd<vectortag::nat>,  "vector.int64",                      "new vector fields hold integers"},
    {"nat",                P, switch_cmd<vectortag::nat>,  "vector.nat",                        "new vector fields hold integers"},
    {"24bit",              P, switch_cmd<vectortag::rgb>,  "vector.24bit",                      "new vector fields hold rgb bytes"},
    {"rgb",                P, switch_cmd<vectortag::rgb>,  "vector.rgb",                        "new vector fields hold rgb bytes"},
    {"clean",              P, clear_cmd,          "vector.clean",                               "drops vectors and frame, keeps the type"},
    {"clear",              P, clear_cmd,          "vector.clear",                               "drops vectors and frame, keeps the type"},
    {"new",                P, new_cmd,            "vector.new <x,y,z>",                         "re-creates the field with the default type, all null"},
    {"size",               F, size_fn,            "<x,y,z> := vector.size",                     "size of the field"},
    {"center",             F, shared::center_fn,          "<x,y,z> := vector.center",                   "half the size"},
    {"center",             P, shared::center_cmd,         "vector.center",                              "puts the origin in the middle of the field"},
    {"origin.center",      P, shared::center_cmd,         "vector.origin.center",                       "puts the origin in the middle of the field"},
    {"offset.center",      P, shared::center_cmd,         "vector.offset.center",                       "puts the origin in the middle of the field"},
    {"origin",             F, shared::origin_fn,          "<x,y,z> := vector.origin",                   "global position of voxel <1,1,1>"},
    {"origin",             P, shared::origin_cmd,         "vector.origin <x,y,z>",                      "sets the global position of voxel <1,1,1>"},
    {"offset",             F, shared::origin_fn,          "<x,y,z> := vector.offset",                   "global position of voxel <1,1,1>"},
    {"offset",             P, shared::origin_cmd,         "vector.offset <x,y,z>",                      "sets the global position of voxel <1,1,1>"},
    {"origin.add",         P, shared::origin_add_cmd,     "vector.origin.add <x,y,z>",                  "moves the global position of voxel <1,1,1>"},
    {"offset.add",         P, shared::origin_add_cmd,     "vector.offset.add <x,y,z>",                  "moves the global position of voxel <1,1,1>"},
    {"scale",              P, shared::scale_cmd,          "vector.scale <x,y,z>",                       "voxel size, the sign is dropped"},
    {"scale",              F, shared::scale_fn,           "<x,y,z> := vector.scale",                    "voxel size"},
    {"scale.mul",          P, shared::scale_mul_cmd,      "vector.scale.mul <x,y,z>",                   "multiplies the voxel steps per axis"},
    {"scale.norm",         P, shared::scale_norm_cmd,     "vector.scale.norm",                          "scales the voxel steps so the shortest is 1"},
    {"matrix",             F, shared::matrix_fn,          "(<..>;<..>;<..>) := vector.matrix",          "voxel steps in global space"},
    {"matrix.v1",          F, shared::matrix_v1,          "<x,y,z> := vector.matrix.v1",                "step per x index"},
    {"matrix.v2",          F, shared::matrix_v2,          "<x,y,z> := vector.matrix.v2",                "step per y index"},
    {"matrix.v3",          F, shared::matrix_v3,          "<x,y,z> := vector.matrix.v3",                "step per z index"},
    {"matrix",             P, shared::matrix_cmd,         "vector.matrix <v1> <v2> <v3>",               "sets the voxel steps in global space"},
    {"unflip",             P, shared::unflip_cmd,         "vector.unflip",                              "makes every matrix entry positive"},
    {"unrotate",           P, shared::unrotate_cmd,       "vector.unrotate",                            "keeps only the lengths of the matrix rows"},
    {"l2g",                F, shared::l2g_fn,             "<x,y,z> := vector.l2g <x,y,z>",              "index to global position"},
    {"g2l",                F, shared::g2l_fn,             "<x,y,z> := vector.g2l <x,y,z>",              "global position to index"},
    {"ifvector",           F, ifvector_fn,        "flag := vector.ifvector",                    "1 if the field has voxels"},
    {"ifplain",            F, ifplain_fn,         "flag := vector.ifplain",                     "1 if all vectors are equal"},
    {"min",                F, min_fn,             "<x,y,z> := vector.min",                      "smallest value of each component"},
    {"max",                F, max_fn,             "<x,y,z> := vector.max",                      "largest value of each component"},
    {"add",                P, add_cmd,            "vector.add <1,1,1>",                         "adds the vector to all entries"},
    {"add",                F, add_cmd,            "new := vector.add old1 old2",                "voxel-wise sum; also possible: new := old1 + old2"},
    {"sub",                P, sub_cmd,            "vector.sub <1,1,1>",                         "subtracts the vector from all entries"},
    {"sub",                F, sub_cmd,            "new := vector.sub old1 old2",                "voxel-wise difference; also possible: new := old1 - old2"},
    {"mean",               F, mean_cmd,           "new := vector.mean old1 old2",               "voxel-wise mean"},
    {"mul",                P, mul_cmd,            "vector.mul <2,2,2>",                         "multiplies all entries by component"},
    {"norm",               P, norm_cmd,           "vector.norm",                                "each vector to length 1 (int32 range +-4294967295, float -1..1)"},
    {"norm.min",           P, norm_min_cmd,       "vector.norm.min",                            "norm by the smallest component value"},
    {"norm.max",           P, norm_max_cmd,       "vector.norm.max",                            "norm by the largest component value"},
    {"norm.relative",      P, norm_relative_cmd,  "vector.norm.relative",                       "divides all by the length of the longest vector"},
    {"setlength",          P, setlength_cmd,      "vector.setlength 2",                         "norm, then length 2"},
    {"setlength.relative", P, setlength_relative_cmd, "vector.setlength.relative 2",            "relative norm, then times 2"},
    {"erase.min",          P, erase_min_cmd,      "vector.erase.min 2",                         "vectors shorter than 2 become null"},
    {"erase.max",          P, erase_max_cmd,      "vector.erase.max 2",                         "vectors longer than 2 become null"},
    {"background",         P, background_cmd,     "vector.background",                          "computes the background vector, the mean of all"},
    {"cleanup",            P, cleanup_cmd,        "vector.cleanup",                             "remove vector, if it nears to background vector"},
    {"direction",          P, direction_cmd,      "vector.direction <1,1,1>",                   "look at <1,1,1>"},
    {"inverse",            P, inverse_cmd,        "vector.inverse",                             "1/v by component, 0 stays 0"},
    {"flip.x",             P, flip_cmd<0>,        "vector.flip.x",                              "mirrors along x and negates x"},
    {"flip.y",             P, flip_cmd<1>,        "vector.flip.y",                              "mirrors along y and negates y"},
    {"flip.z",             P, flip_cmd<2>,        "vector.flip.z",                              "mirrors along z and negates z"},
    {"make.vector",        F, make_vector_fn,     "old := vector.make.vector",                  "a field with the size and frame of the current one"},
};

}  // namespace

void register_commands(macroengine& m) {
  macro::register_rows(m, "vector.", rows);
  register_scalar_links(m);
}

}  // namespace qv::vector
