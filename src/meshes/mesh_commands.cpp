// mesh_commands.cpp: handlers and table of the mesh family's own commands: values, clearing, building, editing, placing.
#include "meshes/mesh_commands.h"

#include <cmath>

#include "engine/macroengine.h"
#include "engine/registry.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/numeric_text.h"
#include "images/frame.h"
#include "meshes/mesh.h"
#include "meshes/mesh_edit.h"
#include "meshes/surface.h"

namespace qv::meshes {
namespace {

mesh& current() { return *workspace::current<mesh>(); }
num::vector vector_parameter(macroengine& m, std::size_t i) { return text::vector(macro::parameter(m, i)); }
widetext text_of(num::vector v) { return vector_text({v.x, v.y, v.z}); }

// ---- values

void pivot_fn(macroengine& m) { macro::value_set(m, text_of(current().pivot)); }
void vertices_fn(macroengine& m) { macro::value_set(m, nat::text(point_count(current()))); }
void faces_fn(macroengine& m) { macro::value_set(m, nat::text(face_count(current()))); }
void normals_fn(macroengine& m) { macro::value_set(m, nat::text(normal_count(current()))); }

// ---- clear and build

void clear_cmd(macroengine&) { clear(current()); }

// Three or four corners, then as many normals or none, then (`.color`) one colour r, g, b in 0..1.
void put_face(macroengine& m, bool colored) {
  const std::size_t n = macro::parameter_count(m), corners = n - (colored ? 1 : 0);
  if (corners != 3 && corners != 4 && corners != 6 && corners != 8) {
    if (n < (colored ? 4u : 3u)) return macro::check_min(m, colored ? 4 : 3);
    return macro::check_max(m, colored ? 9 : 8);
  }
  num::vector p[8];
  for (std::size_t i = 0; i < corners; ++i) p[i] = vector_parameter(m, i + 1);
  num::hyper color{};
  if (colored) {
    const num::vector c = vector_parameter(m, n);
    color = {c.x, c.y, c.z, 1};
  }
  mesh& target = current();
  switch (corners) {
    case 3: return add_triangle(target, p[0], p[1], p[2], color);
    case 4: return add_quad(target, p[0], p[1], p[2], p[3], color);
    case 6: return add_triangle(target, p[0], p[1], p[2], p[3], p[4], p[5], color);
    default: return add_quad(target, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], color);
  }
}
void put_cmd(macroengine& m) { put_face(m, false); }
void put_color_cmd(macroengine& m) { put_face(m, true); }

// A scale parameter: a vector, or one real for all axes, or 1.
num::vector scale_parameter(macroengine& m, std::size_t i) {
  if (macro::parameter_count(m) < i) return {1, 1, 1};
  const widetext t = macro::parameter(m, i);
  double v[3] = {1, 1, 1};
  if (text::reals(t, v, 3) == 1) v[1] = v[2] = v[0];
  return {v[0], v[1], v[2]};
}
num::matrix diagonal(num::vector s) { return matrix::from_rows({s.x, 0, 0}, {0, s.y, 0}, {0, 0, s.z}); }

// `new := mesh.copy [scale]` and `new := mesh.copyscale scale`: the current mesh
// into the named one, its points scaled about the origin (copy) or about its pivot (copyscale).
void copy_into(macroengine& m, bool about_pivot) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  mesh* target = workspace::get_target(m, workspace::list<mesh>(), macro::target(m));
  if (!target) return;
  const mesh& source = current();
  *target = source;
  points_changed(*target);
  const num::vector s = scale_parameter(m, 1);
  if (s.x != 1 || s.y != 1 || s.z != 1) {
    const num::vector at = about_pivot ? source.pivot : num::vector{};
    transform(*target, diagonal(s), at, at);
  }
  m.target.clear();
}
void copy_fn(macroengine& m) { copy_into(m, false); }
void copyscale_fn(macroengine& m) { copy_into(m, true); }

// ---- edit

void verification_cmd(macroengine&) {
  const std::int64_t removed = verify(current());
  print::line(u"  Faces removed: " + nat::text(removed));
}
void split_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  cluster(current(), macro::parameter_count(m) ? text::nat(macro::parameter(m, 1)) : 1);
}
template <int tenths>   // how far a pass moves each point to its neighbours' mean
void smooth_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  smooth(current(), macro::parameter_count(m) ? text::nat(macro::parameter(m, 1)) : 1, tenths / 10.0);
}
void normal_recalc_cmd(macroengine&) { recalc_normals(current()); }
void normal_ortho_cmd(macroengine&) { ortho_normals(current()); }
void normal_scale_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const double s = text::real(macro::parameter(m, 1));
  for (num::vector& n : current().normals) n = num::mul(n, s);
}
void normal_norm_cmd(macroengine&) {
  for (num::vector& n : current().normals) n = num::norm(n);
}
void normal_remove_cmd(macroengine&) { current().normals.clear(); }
void normal_flip_cmd(macroengine&) {
  for (num::vector& n : current().normals) n = num::mul(n, -1.0);
}
void face_flip_cmd(macroengine&) { flip_faces(current()); }

double& axis_of(num::vector& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

template <int axis>   // the coordinate becomes 0: the mesh flattened onto the plane
void clear_axis_cmd(macroengine&) {
  mesh& g = current();
  for (num::vector& p : g.points) axis_of(p, axis) = 0;
  points_changed(g);
}
template <int axis>   // faces reaching below the plane (0 or the parameter) are removed
void clean_axis_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  cut_below(current(), axis, macro::parameter_count(m) ? text::real(macro::parameter(m, 1)) : 0);
}
template <int axis>
void mirror_axis_cmd(macroengine&) {
  num::vector s{1, 1, 1};
  axis_of(s, axis) = -1;
  transform(current(), diagonal(s), {}, {});
}
template <int axis>   // folds the mesh onto the positive side; normals follow their points
void abs_axis_cmd(macroengine&) {
  mesh& g = current();
  for (std::size_t i = 0; i < g.points.size(); ++i) {
    double& c = axis_of(g.points[i], axis);
    if (c < 0 && i < g.normals.size()) axis_of(g.normals[i], axis) *= -1;
    c = std::fabs(c);
  }
  points_changed(g);
}
template <int a, int b>
void swap_axes_cmd(macroengine&) {
  num::vector rows[3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  std::swap(rows[a], rows[b]);
  transform(current(), matrix::from_rows(rows[0], rows[1], rows[2]), {}, {});
}

// ---- placing. Plain forms work about the origin, `.relative` forms about the
// centre of the points, `.pivot` forms about the pivot.
enum class about : std::uint8_t { origin, centre, pivot };
num::vector centre_of(const mesh& g, about a) {
  return a == about::origin ? num::vector{} : a == about::centre ? center_of_points(g) : g.pivot;
}

template <about a>
void rotate_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  mesh& g = current();
  const num::vector c = centre_of(g, a);
  transform(g, rotation_xyz(vector_parameter(m, 1)), c, c);
}
template <about a>
void rotate_vector_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  mesh& g = current();
  const num::vector c = centre_of(g, a);
  transform(g, matrix::rotation(num::norm(vector_parameter(m, 1)), text::real(macro::parameter(m, 2))), c, c);
}
template <about a>
void scale_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  mesh& g = current();
  const num::vector c = centre_of(g, a);
  transform(g, diagonal(scale_parameter(m, 1)), c, c);
}
void translate_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  translate(current(), vector_parameter(m, 1));
}
void translate_relative_cmd(macroengine& m) {   // in parts of the bounding box's size
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  mesh& g = current();
  const bounds b = bounding_box(g);
  translate(g, num::mul_each(vector_parameter(m, 1), num::sub(b.max, b.min)));
}
void translate_pivot_cmd(macroengine& m) {   // the pivot's place goes to the given point
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  mesh& g = current();
  translate(g, num::sub(vector_parameter(m, 1), g.pivot));
}
void three_point_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 3) return macro::check_exact(m, 3);
  const placement p = three_point(vector_parameter(m, 1), vector_parameter(m, 2), vector_parameter(m, 3));
  transform(current(), p.turn, p.from, {});
}
void set_pivot_zero_cmd(macroengine&) { current().pivot = {}; }
void set_pivot_center_cmd(macroengine&) { current().pivot = center_of_points(current()); }
void set_pivot_gravity_cmd(macroengine&) { current().pivot = center_of_gravity(current()); }
void set_pivot_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  current().pivot = vector_parameter(m, 1);
}
void center_cmd(macroengine&) { translate(current(), num::mul(center_of_points(current()), -1.0)); }
void recenter_cmd(macroengine&) { translate(current(), num::sub(current().pivot, center_of_points(current()))); }

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name               kind handler            usage                                   comment
    {"mesh.pivot",         F, pivot_fn,          "p := mesh.mesh.pivot",                  "the pivot of rotations and scaling"},
    {"mesh.vertices",      F, vertices_fn,       "n := mesh.mesh.vertices",               "number of points"},
    {"mesh.faces",         F, faces_fn,          "n := mesh.mesh.faces",                  "number of faces"},
    {"mesh.normals",       F, normals_fn,        "n := mesh.mesh.normals",                "number of normals"},
    {"clear",              P, clear_cmd,         "mesh.clear",                            "empties the current mesh"},
    {"clean",              P, clear_cmd,         "mesh.clean",                            "empties the current mesh"},
    {"new",                P, clear_cmd,         "mesh.new",                              "empties the current mesh"},
    {"put",                P, put_cmd,           "mesh.put <0,0,0> <1,0,0> <0,1,0>",     "adds a triangle or quad, optionally with as many normals"},
    {"put.color",          P, put_color_cmd,     "mesh.put.color <0,0,0> <1,0,0> <0,1,0> <1,0,0>", "the same with a face colour r,g,b in 0..1 last"},
    {"copy",               F, copy_fn,           "new := mesh.copy 2",                    "copies the current mesh, points scaled about the origin by a real or vector if given"},
    {"copyscale",          F, copyscale_fn,      "new := mesh.copyscale <1,1,2>",         "copies the current mesh, points scaled about its pivot"},
    {"verification",       P, verification_cmd,  "mesh.verification",                     "removes faces with bad or repeated corners, then unused points"},
    {"split",              P, split_cmd,         "mesh.split 1",                          "shows only the n largest connected parts"},
    {"softsmooth",         P, smooth_cmd<2>,     "mesh.softsmooth 1",                     "n passes moving each point 0.2 of the way to its neighbours' mean"},
    {"smooth",             P, smooth_cmd<5>,     "mesh.smooth 1",                         "n passes moving each point half way to its neighbours' mean"},
    {"hardsmooth",         P, smooth_cmd<10>,    "mesh.hardsmooth 1",                     "n passes moving each point onto its neighbours' mean"},
    {"normal.recalc",      P, normal_recalc_cmd, "mesh.normal.recalc",                    "unit normals from the faces around each point"},
    {"normal.ortho",       P, normal_ortho_cmd,  "mesh.normal.ortho",                     "normals upright on the surface, on the side of the old ones"},
    {"normal.scale",       P, normal_scale_cmd,  "mesh.normal.scale 2",                   "multiplies the normals"},
    {"normal.norm",        P, normal_norm_cmd,   "mesh.normal.norm",                      "normals to unit length"},
    {"normal.remove",      P, normal_remove_cmd, "mesh.normal.remove",                    "drops the normals"},
    {"normal.flip",        P, normal_flip_cmd,   "mesh.normal.flip",                      "turns the normals round"},
    {"face.flip",          P, face_flip_cmd,     "mesh.face.flip",                        "reverses the winding of all faces"},
    {"clear.x",            P, clear_axis_cmd<0>, "mesh.clear.x",                          "x of all points := 0"},
    {"clear.y",            P, clear_axis_cmd<1>, "mesh.clear.y",                          "y of all points := 0"},
    {"clear.z",            P, clear_axis_cmd<2>, "mesh.clear.z",                          "z of all points := 0"},
    {"clean.x",            P, clean_axis_cmd<0>, "mesh.clean.x 0",                        "removes faces reaching below x (default 0)"},
    {"clean.y",            P, clean_axis_cmd<1>, "mesh.clean.y 0",                        "removes faces reaching below y (default 0)"},
    {"clean.z",            P, clean_axis_cmd<2>, "mesh.clean.z 0",                        "removes faces reaching below z (default 0)"},
    {"mirror.x",           P, mirror_axis_cmd<0>, "mesh.mirror.x",                        "x := -x, faces kept facing out"},
    {"mirror.y",           P, mirror_axis_cmd<1>, "mesh.mirror.y",                        "y := -y, faces kept facing out"},
    {"mirror.z",           P, mirror_axis_cmd<2>, "mesh.mirror.z",                        "z := -z, faces kept facing out"},
    {"abs.x",              P, abs_axis_cmd<0>,   "mesh.abs.x",                            "x := |x|"},
    {"abs.y",              P, abs_axis_cmd<1>,   "mesh.abs.y",                            "y := |y|"},
    {"abs.z",              P, abs_axis_cmd<2>,   "mesh.abs.z",                            "z := |z|"},
    {"swap.xy",            P, swap_axes_cmd<0, 1>, "mesh.swap.xy",                        "exchanges x and y"},
    {"swap.xz",            P, swap_axes_cmd<0, 2>, "mesh.swap.xz",                        "exchanges x and z"},
    {"swap.yz",            P, swap_axes_cmd<1, 2>, "mesh.swap.yz",                        "exchanges y and z"},
    {"rotate",             P, rotate_cmd<about::origin>, "mesh.rotate <0,0,1.5708>",      "rotates about the origin by angles about x, y, z (rad)"},
    {"rotate.relative",    P, rotate_cmd<about::centre>, "mesh.rotate.relative <0,0,1.5708>", "the same about the centre of the points"},
    {"rotate.pivot",       P, rotate_cmd<about::pivot>, "mesh.rotate.pivot <0,0,1.5708>", "the same about the pivot"},
    {"rotate.vector",      P, rotate_vector_cmd<about::origin>, "mesh.rotate.vector <0,0,1> 1.5708", "rotates about an axis through the origin (rad)"},
    {"rotate.vector.relative", P, rotate_vector_cmd<about::centre>, "mesh.rotate.vector.relative <0,0,1> 1.5708", "the same through the centre of the points"},
    {"rotate.vector.pivot", P, rotate_vector_cmd<about::pivot>, "mesh.rotate.vector.pivot <0,0,1> 1.5708", "the same through the pivot"},
    {"translate",          P, translate_cmd,     "mesh.translate <1,0,0>",                "moves all points"},
    {"translate.relative", P, translate_relative_cmd, "mesh.translate.relative <0.5,0,0>", "moves by parts of the bounding box's size"},
    {"translate.pivot",    P, translate_pivot_cmd, "mesh.translate.pivot <0,0,0>",        "moves the mesh so that its pivot lies at the point"},
    {"scale",              P, scale_cmd<about::origin>, "mesh.scale <2,2,2>",             "scales about the origin by a real or vector"},
    {"scale.relative",     P, scale_cmd<about::centre>, "mesh.scale.relative 2",          "the same about the centre of the points"},
    {"scale.pivot",        P, scale_cmd<about::pivot>, "mesh.scale.pivot 2",              "the same about the pivot"},
    {"3point",             P, three_point_cmd,   "mesh.3point <0,0,0> <1,0,0> <0,1,0>",   "the first point to the origin, the second on +x, the third in the xy plane"},
    {"set.pivot.zero",     P, set_pivot_zero_cmd, "mesh.set.pivot.zero",                  "pivot := <0,0,0>"},
    {"set.pivot.center",   P, set_pivot_center_cmd, "mesh.set.pivot.center",              "pivot := centre of the bounding box"},
    {"set.pivot.gravity",  P, set_pivot_gravity_cmd, "mesh.set.pivot.gravity",            "pivot := mean of the points"},
    {"set.pivot",          P, set_pivot_cmd,     "mesh.set.pivot <0,0,0>",                "pivot := the point"},
    {"center",             P, center_cmd,        "mesh.center",                           "moves the centre of the bounding box to the origin"},
    {"recenter",           P, recenter_cmd,      "mesh.recenter",                         "moves the centre of the bounding box to the pivot"},
};

}  // namespace

void register_commands(macroengine& m) {
  workspace::register_family<mesh>(m);
  macro::register_rows(m, "mesh.", rows);
  register_surface(m);
}

}  // namespace qv::meshes
