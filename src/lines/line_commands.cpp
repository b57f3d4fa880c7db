// line_commands.cpp: the `line.` commands on the current cloud: counts, copies, t values, erasing, vectors and drawing.
#include "lines/line_commands.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "foundation/stats.h"
#include "images/frame.h"
#include "lines/cloud.h"
#include "lines/line_ops.h"
#include "volumes/paint.h"
#include "volumes/scalarfield.h"

namespace qv::line {
namespace {

using num::hyper;

cloud& cur() { return *workspace::current<cloud>(); }

// Runs `fn` with the one real parameter; false after a count report.
bool real_parameter(macroengine& m, double& v) {
  if (macro::parameter_count(m) != 1) {
    macro::check_exact(m, 1);
    return false;
  }
  v = text::real(macro::parameter(m, 1));
  return true;
}

// ---- counts and copies

void clear_cmd(macroengine&) { clear(cur()); }
void objects_fn(macroengine& m) { macro::value_set(m, nat::text(object_count(cur()))); }
void lines_fn(macroengine& m) { macro::value_set(m, nat::text(line_count(cur()))); }
void points_fn(macroengine& m) { macro::value_set(m, nat::text(point_count(cur()))); }
void object_name_fn(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  macro::value_set(m, object_name(cur(), text::nat(macro::parameter(m, 1))));
}

// `new := line.copy` and `new := line.copyscale f`: f a real scales all four
// components, a vector x, y and z, a hyper each component.
void copy_fn(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  auto& l = workspace::list<cloud>();
  const cloud& source = cur();
  cloud* target = workspace::get_target(m, l, macro::target(m));
  if (!target) return;
  *target = source;
  target->modified = true;
  if (macro::parameter_count(m) == 0) return;
  double v[4] = {0, 0, 0, 0};
  const int n = read_numbers(macro::parameter(m, 1), v, 4);
  const hyper f = n <= 1 ? hyper{v[0], v[0], v[0], v[0]} : n == 3 ? hyper{v[0], v[1], v[2], 1} : hyper{v[0], v[1], v[2], v[3]};
  for (hyper& p : target->points) p = num::mul_each(p, f);
}

// ---- positions and t values

void center_cmd(macroengine&) { center(cur(), false); }
void center_objects_cmd(macroengine&) { center(cur(), true); }
void number_cmd(macroengine&) { set_t(cur(), tvalue::number); }
void distance_cmd(macroengine&) { set_t(cur(), tvalue::distance); }
void length_cmd(macroengine&) { set_t(cur(), tvalue::length); }
template <tstat S>
void stat_cmd(macroengine&) { t_statistic(cur(), S); }

// ---- erasing

template <erasetest T>
void erase_cmd(macroengine& m) {
  double v = 0;
  if (real_parameter(m, v)) erase_by(cur(), T, v);
}
void duplicates_cmd(macroengine&) { erase_duplicates(cur()); }
void duplicates_near_cmd(macroengine& m) {
  double d = 0;
  if (real_parameter(m, d)) erase_duplicates_near(cur(), d);
}
void duplicates_begin_cmd(macroengine& m) {
  double d = 0;
  if (real_parameter(m, d)) erase_duplicates_begin(cur(), d);
}
void mean_near_cmd(macroengine& m) {
  double d = 0;
  if (real_parameter(m, d)) mean_duplicates_near(cur(), d);
}
template <bool withT>
void discrete_cmd(macroengine& m) {
  double v = 0;
  if (!real_parameter(m, v) || v == 0) return;
  auto snap = [v](double c) { return v * double(real::round(c / v)); };
  cloud& c = cur();
  for (hyper& p : c.points) p = {snap(p.x), snap(p.y), snap(p.z), withT ? snap(p.t) : p.t};
  if (!c.points.empty()) c.modified = true;
}

// ---- two-point lines as vectors

template <vectorop O>
void vector_cmd(macroengine& m) {
  double s = 1;
  if ((O == vectorop::normscale || O == vectorop::scale) && !real_parameter(m, s)) return;
  vectors(cur(), O, s);
}

// ---- drawing

template <std::uint8_t mode>
void draw_mode_cmd(macroengine&) { cur().draw_mode = mode; }

template <shape S, bool solid, bool sized>
void draw_cmd(macroengine& m) {
  double r = 0;
  if (sized && !real_parameter(m, r)) return;
  draw(cur(), scalar::current(), S, solid, r);
}

constexpr auto P = cmdkind::procedure;
constexpr auto F = cmdkind::function;
constexpr cmdrow rows[] = {
    // name                     kind handler  usage  comment
    {"clear",                   P, clear_cmd,            "line.clear",                      "empties the current cloud"},
    {"clean",                   P, clear_cmd,            "line.clean",                      "empties the current cloud"},
    {"new",                     P, clear_cmd,            "line.new",                        "empties the current cloud"},
    {"line.objects",            F, objects_fn,           "n := line.line.objects",          "number of objects"},
    {"line.lines",              F, lines_fn,             "n := line.line.lines",            "number of lines"},
    {"line.points",             F, points_fn,            "n := line.line.points",           "number of points"},
    {"object.name",             F, object_name_fn,       "name := line.object.name 1",      "name of an object"},
    {"copy",                    F, copy_fn,              "new := line.copy <2,2,2>",        "copy of the cloud; a real scales x, y, z and t, a vector x, y, z, a hyper each"},
    {"copyscale",               F, copy_fn,              "new := line.copyscale <2,2,2>",   "copy of the cloud; a real scales x, y, z and t, a vector x, y, z, a hyper each"},
    {"center",                  P, center_cmd,           "line.center",                     "moves the mean of all points to the origin"},
    {"center.objects",          P, center_objects_cmd,   "line.center.objects",             "moves the mean of each object to the origin"},
    {"number",                  P, number_cmd,           "line.number",                     "t := 1, 2, 3... along each line"},
    {"distance",                P, distance_cmd,         "line.distance",                   "t := distance to the nearer neighbour on the line"},
    {"length",                  P, length_cmd,           "line.length",                     "t := arc length from the line's first point"},
    {"mean.t",                  P, stat_cmd<tstat::mean>,   "line.mean.t",                  "t := mean t of the line"},
    {"sd.t",                    P, stat_cmd<tstat::sd>,     "line.sd.t",                    "t := standard deviation of the line's t"},
    {"min.t",                   P, stat_cmd<tstat::min>,    "line.min.t",                   "t := smallest t of the line"},
    {"median.t",                P, stat_cmd<tstat::median>, "line.median.t",                "t := median t of the line"},
    {"max.t",                   P, stat_cmd<tstat::max>,    "line.max.t",                   "t := largest t of the line"},
    {"erase.t.min",             P, erase_cmd<erasetest::t_min>,      "line.erase.t.min 1",       "erases lines with a t below the value"},
    {"erase.t.max",             P, erase_cmd<erasetest::t_max>,      "line.erase.t.max 1",       "erases lines with a t above the value"},
    {"erase.length.min",        P, erase_cmd<erasetest::length_min>, "line.erase.length.min 10", "erases lines shorter than the value"},
    {"erase.length.max",        P, erase_cmd<erasetest::length_max>, "line.erase.length.max 10", "erases lines longer than the value"},
    {"erase.duplicates",        P, duplicates_cmd,       "line.erase.duplicates",           "erases lines that have a later twin, also backward"},
    {"erase.duplicates.near",   P, duplicates_near_cmd,  "line.erase.duplicates.near 1",    "erases lines within the distance of a later line"},
    {"erase.duplicates.begin",  P, duplicates_begin_cmd, "line.erase.duplicates.begin 1",   "erases lines whose first point is near a later line's first point"},
    {"mean.duplicates.near",    P, mean_near_cmd,        "line.mean.duplicates.near 1",     "points within the distance become their mean"},
    {"discrete",                P, discrete_cmd<true>,   "line.discrete 1",                 "x, y, z and t rounded to multiples of the value"},
    {"discrete.3d",             P, discrete_cmd<false>,  "line.discrete.3d 1",              "x, y, z rounded to multiples of the value"},
    {"vector.norm",             P, vector_cmd<vectorop::norm>,      "line.vector.norm",        "two-point lines get length 1"},
    {"vector.normscale",        P, vector_cmd<vectorop::normscale>, "line.vector.normscale 2", "two-point lines get the given length"},
    {"vector.scale",            P, vector_cmd<vectorop::scale>,     "line.vector.scale 2",     "two-point lines scaled by the value"},
    {"vector.minscale",         P, vector_cmd<vectorop::minscale>,  "line.vector.minscale",    "two-point lines divided by the shortest length"},
    {"vector.maxscale",         P, vector_cmd<vectorop::maxscale>,  "line.vector.maxscale",    "two-point lines divided by the longest length"},
    {"vector.negate",           P, vector_cmd<vectorop::negate>,    "line.vector.negate",      "two-point lines point the other way"},
    {"vector.invert",           P, vector_cmd<vectorop::invert>,    "line.vector.invert",      "two-point lines get 1/v by component"},
    {"draw.value",              P, draw_mode_cmd<0>,     "line.draw.value",                 "drawing writes the scalar's drawing value"},
    {"draw.value.t",            P, draw_mode_cmd<1>,     "line.draw.value.t",               "drawing writes the drawing value times t"},
    {"draw.t",                  P, draw_mode_cmd<2>,     "line.draw.t",                     "drawing writes t"},
    {"draw.point",              P, draw_cmd<shape::point, false, false>,  "line.draw.point",          "draws every point into the current scalar"},
    {"draw.point.solid",        P, draw_cmd<shape::point, true, false>,   "line.draw.point.solid",    "draws every point as a ball of radius 1"},
    {"draw.sphere",             P, draw_cmd<shape::sphere, false, true>,  "line.draw.sphere 3",       "a sphere shell at every point"},
    {"draw.sphere.solid",       P, draw_cmd<shape::sphere, true, true>,   "line.draw.sphere.solid 3", "a filled sphere at every point"},
    {"draw.cube",               P, draw_cmd<shape::cube, false, true>,    "line.draw.cube 3",         "a cube shell at every point"},
    {"draw.cube.solid",         P, draw_cmd<shape::cube, true, true>,     "line.draw.cube.solid 3",   "a filled cube at every point"},
    {"draw.line",               P, draw_cmd<shape::line, false, false>,   "line.draw.line",           "the polygon of every line"},
    {"draw.line.solid",         P, draw_cmd<shape::line, true, false>,    "line.draw.line.solid",     "the polygon of every line, one voxel thick around"},
    {"draw",                    P, draw_cmd<shape::any, false, false>,    "line.draw",                "one-point lines as points, longer lines as polygons"},
    {"draw.solid",              P, draw_cmd<shape::any, true, false>,     "line.draw.solid",          "the same, one voxel thick around"},
};

}  // namespace

void register_commands(macroengine& m) {
  workspace::register_family<cloud>(m);
  macro::register_rows(m, "line.", rows);
}

}  // namespace qv::line
