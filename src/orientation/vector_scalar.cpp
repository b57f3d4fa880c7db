// vector_scalar.cpp: commands between vector and scalar fields: components and angles into a scalar field, masks, fusion into an image, and the `make` forms across families.
#include "orientation/vector_scalar.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "images/imagefield.h"
#include "orientation/tensorfield.h"
#include "orientation/vectorfield.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalarfield.h"

namespace qv::vector {

// ---- operations

// Calls `fn(index, value)` for every voxel of `f` in array order, one loop per element type.
template <typename Fn>
void each_scalar(const scalarfield& f, Fn fn) {
  const std::int64_t n = scalar::voxel_count(f);
  switch (f.tag) {
    case scalartag::mono: {
      const std::uint8_t* bits = f.monobits.data();
      for (std::int64_t i = 0; i < n; ++i) fn(i, std::int64_t((bits[i >> 3] >> (i & 7)) & 1));
      break;
    }
    case scalartag::gray: {
      const std::uint8_t* d = f.grayvoxels.data();
      for (std::int64_t i = 0; i < n; ++i) fn(i, std::int64_t(d[i]));
      break;
    }
    case scalartag::fullgray: {
      const std::uint16_t* d = f.fullvoxels.data();
      for (std::int64_t i = 0; i < n; ++i) fn(i, std::int64_t(d[i]));
      break;
    }
    default: break;
  }
}

// Writes `fn(vector)` of each voxel of `v` into `s`, which has the same size;
// values are rounded half to even and clamped to the element type.
template <typename Fn>
void to_scalar(const vectorfield& v, scalarfield& s, Fn fn) {
  auto kernel = [&](auto* out, auto put) {
    with_elements(v, [&](const auto* d, std::int64_t n) {
      for (std::int64_t i = 0; i < n; ++i, d += 3) put(out, i, fn(vector{double(d[0]), double(d[1]), double(d[2])}));
    });
  };
  const scalartag t = s.tag;
  switch (t) {
    case scalartag::mono:
      std::fill(s.monobits.begin(), s.monobits.end(), std::uint8_t(0));
      kernel(s.monobits.data(), [t](std::uint8_t* o, std::int64_t i, double r) {
        if (scalar::fit_real(t, r)) o[i >> 3] = std::uint8_t(o[i >> 3] | (1u << (i & 7)));
      });
      break;
    case scalartag::gray:
      kernel(s.grayvoxels.data(),
             [t](std::uint8_t* o, std::int64_t i, double r) { o[i] = std::uint8_t(scalar::fit_real(t, r)); });
      break;
    case scalartag::fullgray:
      kernel(s.fullvoxels.data(),
             [t](std::uint16_t* o, std::int64_t i, double r) { o[i] = std::uint16_t(scalar::fit_real(t, r)); });
      break;
    default: break;
  }
}

bool same_size(const vectorfield& v, const scalarfield& s) {
  return v.width == s.width && v.height == s.height && v.depth == s.depth;
}

double angle_degrees(vector a, vector b) {
  const double la = framemath::length(a), lb = framemath::length(b);
  if (la == 0 || lb == 0) return 0;
  const double c = (a.x * b.x + a.y * b.y + a.z * b.z) / (la * lb);
  return std::acos(std::fmax(-1.0, std::fmin(1.0, c))) * 180 / 3.14159265358979323846;
}

maskrange mask_range_parse(wideview text) {
  std::u16string t(text);
  if (t.size() >= 2 && t.front() == u'<' && t.back() == u'>') t = t.substr(1, t.size() - 2);
  std::int64_t a = 0, b = 0;
  const std::size_t dots = t.find(u"..");
  if (dots == std::u16string::npos) {
    double pair[2];
    read_numbers(t, pair, 2);
    a = framemath::round(pair[0]), b = framemath::round(pair[1]);
  } else {
    a = text::nat(t.substr(0, dots)), b = text::nat(t.substr(dots + 2));
  }
  if (b == 0) return {a, a};
  return {std::min(a, b), std::max(a, b)};
}

bool mask_field(vectorfield& v, const scalarfield& mask, const std::vector<maskrange>& keep) {
  if (!same_size(v, mask)) return false;
  std::vector<std::uint8_t> hold(std::size_t(voxel_count(v)), 0);
  std::uint8_t* h = hold.data();
  each_scalar(mask, [&](std::int64_t i, std::int64_t value) {
    for (const maskrange& r : keep)
      if (value >= r.low && value <= r.high) {
        h[i] = 1;
        break;
      }
  });
  with_elements(v, [&](auto* d, std::int64_t n) {
    using T = std::remove_pointer_t<decltype(d)>;
    for (std::int64_t i = 0; i < n; ++i, d += 3)
      if (!h[i]) d[0] = d[1] = d[2] = T(0);
  });
  return true;
}

bool fuse_field(const vectorfield& v, const scalarfield& best, imagefield& out) {
  if (!same_size(v, best) || !has_voxels(v)) return false;
  const std::int64_t plane = v.width * v.height;
  std::vector<std::int64_t> top(std::size_t(plane), -1), at(std::size_t(plane), 0);
  std::int64_t* t = top.data();
  std::int64_t* a = at.data();
  each_scalar(best, [&](std::int64_t i, std::int64_t value) {
    const std::int64_t p = i % plane;
    if (value > t[p]) t[p] = value, a[p] = i;   // the first z with the largest value wins
  });
  image::create(out, 161, v.width, v.height);
  auto byte = [](double c) { return std::int64_t(std::nearbyint(std::fmin(255.0, std::fmax(0.0, c)))); };
  with_elements(v, [&](const auto* d, std::int64_t) {
    for (std::int64_t p = 0; p < plane; ++p) {
      const auto* e = d + 3 * a[p];
      image::set_rgb(out, p % v.width + 1, p / v.width + 1,
                     {byte(double(e[0])), byte(double(e[1])), byte(double(e[2]))});
    }
  });
  return true;
}

namespace {

vectorfield& current() { return *workspace::current<vectorfield>(); }

// Empty fields and unequal sizes are status lines: the command does nothing and the macro goes on.
bool ready(const vectorfield& f) {
  if (has_voxels(f)) return true;
  print::line(u"Error! Empty vectorfield!");
  return false;
}

bool scalar_ready(const scalarfield& s) {
  if (scalar::ifscalar(s)) return true;
  print::line(u"Error! Empty scalarfield!");
  return false;
}

widetext size_of(std::int64_t x, std::int64_t y, std::int64_t z) {
  return nat::text(x) + u"x" + nat::text(y) + u"x" + nat::text(z);
}

bool same_size_or_say(const vectorfield& v, const scalarfield& s) {
  if (same_size(v, s)) return true;
  print::line(u"Error! Scalar field (" + size_of(s.width, s.height, s.depth) + u") and vector field (" +
              size_of(v.width, v.height, v.depth) + u") differ in size!");
  return false;
}

// The current scalar field at the vector field's size, announced when it had to change.
scalarfield& result_scalar(const vectorfield& v) {
  scalarfield& s = scalar::current();
  if (same_size(v, s) && scalar::ifscalar(s)) return s;
  scalarfield like;
  like.width = v.width, like.height = v.height, like.depth = v.depth;
  like.frame = v.frame;
  scalar::assign_size(s, like);
  return s;
}

template <int Axis>
void get_component(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  const vectorfield& v = current();
  if (!ready(v)) return;
  scalarfield& s = result_scalar(v);
  to_scalar(v, s, [](vector c) { return Axis == 0 ? c.x : Axis == 1 ? c.y : c.z; });
}

void get_angle(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const vectorfield& v = current();
  if (!ready(v)) return;
  const vector p = read_vector(macro::parameter(m, 1));
  scalarfield& s = result_scalar(v);
  to_scalar(v, s, [p](vector c) { return angle_degrees(c, p); });
}

// `new := vector.mask old scalarmask 0 <1..10> ...`
void mask_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 3) return macro::check_min(m, 3);
  const vectorfield* a = workspace::get_source(m, workspace::list<vectorfield>(), macro::parameter(m, 1));
  if (!a) return;
  const scalarfield* mask = workspace::get_source(m, scalar::workspaces(), macro::parameter(m, 2));
  if (!mask) return;
  if (!ready(*a) || !scalar_ready(*mask) || !same_size_or_say(*a, *mask)) return;
  std::vector<maskrange> keep;
  for (std::size_t i = 3; i <= n; ++i) keep.push_back(mask_range_parse(macro::parameter(m, i)));
  vectorfield result = *a;
  mask_field(result, *mask, keep);
  vectorfield* t = workspace::get_target_or_current(workspace::list<vectorfield>(), macro::target(m));
  *t = std::move(result);
  m.target.clear();
}

void fuse_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  const vectorfield& v = current();
  if (!ready(v)) return;
  const scalarfield& s = scalar::current();
  if (!scalar_ready(s) || !same_size_or_say(v, s)) return;
  progress::set(0.0, u"  Fuse");
  fuse_field(v, s, image::current());
  progress::end(u"  Fuse");
}

// `vector.make.scalar`: size and frame of the vector field go to the current scalar field, or the named one.
void make_scalar_fn(macroengine& m) {
  scalarfield* t = macro::target(m).empty()
                       ? &scalar::current()
                       : workspace::get_target_or_current(scalar::workspaces(), macro::target(m));
  const vectorfield& v = current();
  scalar::create_checked(*t, workspace_traits<scalarfield>::default_tag, v.width, v.height, v.depth);
  t->frame = v.frame;
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name         kind handler        usage                                          comment
    {"mask",        F, mask_cmd,        "new := vector.mask old1 scalarmask 0 <1..10>", "keeps old1 where the mask holds one of the values or ranges"},
    {"get.x",       P, get_component<0>, "vector.get.x",                               "stores the x component in the current scalar field"},
    {"get.y",       P, get_component<1>, "vector.get.y",                               "stores the y component in the current scalar field"},
    {"get.z",       P, get_component<2>, "vector.get.z",                               "stores the z component in the current scalar field"},
    {"get.angle",   P, get_angle,       "vector.get.angle <1,0,0>",                     "stores the angle to <1,0,0> in degrees in the current scalar field"},
    {"fuse",        P, fuse_cmd,        "vector.fuse",                                  "fuse color image stack (vector field along z) with best scalar value to new image value"},
    {"make.scalar", P, make_scalar_fn,  "vector.make.scalar",                           "the current scalar field gets the size and frame of the vector field"},
    {"make.scalar", F, make_scalar_fn,  "old := vector.make.scalar",                    "the named scalar field gets the size and frame of the vector field"},
};

}  // namespace

void register_scalar_links(macroengine& m) { macro::register_rows(m, "vector.", rows); }

}  // namespace qv::vector

namespace qv::scalar {
namespace {

// `scalar.make.vector`: size and frame of the scalar field go to the used vector field, or the named one.
void make_vector_fn(macroengine& m) {
  auto& l = workspace::list<vectorfield>();
  vectorfield* t = macro::target(m).empty() ? l.current_object() : workspace::get_target_or_current(l, macro::target(m));
  const scalarfield& s = current();
  vector::create_field(*t, workspace_traits<vectorfield>::default_tag, s.width, s.height, s.depth);
  t->frame = s.frame;
  m.target.clear();
}

void make_tensor_fn(macroengine& m) {
  auto& l = workspace::list<tensorfield>();
  tensorfield* t = macro::target(m).empty() ? l.current_object() : workspace::get_target_or_current(l, macro::target(m));
  const scalarfield& s = current();
  tensor::create_field(*t, workspace_traits<tensorfield>::default_tag, s.width, s.height, s.depth);
  t->frame = s.frame;
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    {"make.vector", P, make_vector_fn, "scalar.make.vector",        "the used vector field gets the size and frame of the scalar field"},
    {"make.vector", F, make_vector_fn, "old := scalar.make.vector", "the named vector field gets the size and frame of the scalar field"},
    {"make.tensor", P, make_tensor_fn, "scalar.make.tensor",        "the used tensor field gets the size and frame of the scalar field"},
    {"make.tensor", F, make_tensor_fn, "old := scalar.make.tensor", "the named tensor field gets the size and frame of the scalar field"},
};

}  // namespace

void register_make_fields(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
