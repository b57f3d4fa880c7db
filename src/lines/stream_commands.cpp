// stream_commands.cpp: the `vector.stream*` commands: tracker settings, seed rules and their parameters.
#include <algorithm>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/threads.h"
#include "lines/cloud.h"
#include "lines/line_commands.h"
#include "lines/stream.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

namespace qv::stream {
namespace {

// ---- settings

template <typename V, V settings::*field, V (*fit)(widetext)>
void setter(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  current.*field = fit(macro::parameter(m, 1));
}
std::int64_t count_fit(widetext t) { return std::max<std::int64_t>(text::nat(t), 0); }
double steps_fit(widetext t) {
  const double v = text::real(t);
  return v < 0 ? 1 : v;
}
double angle_fit(widetext t) { return std::clamp(real::degree(text::real(t)), 0.0, num::pi); }
double length_fit(widetext t) { return std::max(text::real(t), 0.0); }

// ---- seeds and runs

// The negative-matrix note of every command but the plain forms.
void matrix_note(const vectorfield& f) {
  num::matrix mm;
  std::copy(f.frame.matrix.m, f.frame.matrix.m + 9, mm.m);
  if (!matrix::is_negative(mm)) return;
  print::line(u"  Matrix with negative entries " + matrix_text(f.frame.matrix));
  print::line(u"  Note: Check your coordinate system!");
}

// Mask name and values from parameter `first` on; false when the name is unknown (reported).
bool read_mask(macroengine& m, std::size_t first, seedplan& plan) {
  const scalarfield* mask = workspace::get_source(m, scalar::workspaces(), macro::parameter(m, first));
  if (!mask) return false;
  plan.mask = mask;
  plan.maskvalues.assign(65536, 0);
  const std::int64_t top = std::int64_t(plan.maskvalues.size()) - 1;
  for (std::size_t i = first + 1; i <= macro::parameter_count(m); ++i) {
    double v[2] = {0, 0};
    read_numbers(macro::parameter(m, i), v, 2);
    std::int64_t a = real::round_nat(v[0]), b = real::round_nat(v[1]);
    if (b == 0) b = a;
    if (b < a) std::swap(a, b);
    for (std::int64_t k = std::max<std::int64_t>(a, 0); k <= std::min(b, top); ++k) plan.maskvalues[std::size_t(k)] = 1;
  }
  return true;
}

void track(macroengine& m, seedplan& plan) {
  const vectorfield* f = workspace::current<vectorfield>();
  cloud* c = workspace::current<cloud>();
  if (!f || !c) return;
  run(*f, *c, plan, current, &scalar::current(), threads::max_from_text(macro::var_get(m, u"thread.max")));
}

// The parameter layout of a command: how many lead parameters, whether a mask follows.
enum class form : std::uint8_t { none, count, point_normal, axis_x, axis_y, axis_z };

template <form F, bool mask, bool muscle, bool note>
void stream_cmd(macroengine& m) {
  const vectorfield* f = workspace::current<vectorfield>();
  if (note && f) matrix_note(*f);
  constexpr std::size_t lead = F == form::none ? 0 : F == form::point_normal ? 2 : 1;
  const std::size_t n = macro::parameter_count(m);
  if (mask ? n < lead + 2 : n != lead) return mask ? macro::check_min(m, std::int64_t(lead + 2)) : macro::check_exact(m, std::int64_t(lead));
  seedplan plan;
  plan.muscle = muscle;
  if constexpr (F == form::count) {
    plan.rule = seedrule::random;
    plan.count = text::nat(macro::parameter(m, 1));
  } else if constexpr (F == form::point_normal) {
    plan.rule = seedrule::plane;
    const framemath::vector p = read_vector(macro::parameter(m, 1)), d = read_vector(macro::parameter(m, 2));
    plan.point = {p.x, p.y, p.z};
    plan.normal = {d.x, d.y, d.z};
  } else if constexpr (F != form::none) {
    plan.rule = seedrule::plane;
    const double v = double(text::nat(macro::parameter(m, 1)));
    constexpr int axis = F == form::axis_x ? 0 : F == form::axis_y ? 1 : 2;
    plan.point = {axis == 0 ? v : 0, axis == 1 ? v : 0, axis == 2 ? v : 0};
    plan.normal = {axis == 0 ? 1.0 : 0, axis == 1 ? 1.0 : 0, axis == 2 ? 1.0 : 0};
  }
  if (mask && !read_mask(m, lead + 1, plan)) return;
  track(m, plan);
}

void nodes_cmd(macroengine&) {
  const vectorfield* f = workspace::current<vectorfield>();
  if (f) nodes(*f, scalar::current(), current);
}

constexpr auto P = cmdkind::procedure;
using V = vectorfield;
constexpr cmdrow rows[] = {
    // name                  kind handler  usage  comment
    {"stream.seeds",          P, setter<std::int64_t, &settings::seeds, count_fit>,       "vector.stream.seeds 1",              "0 every voxel seeds; 1 not from visited voxels; 2 not near visited voxels (around -1..1)"},
    {"stream.snakes",         P, setter<std::int64_t, &settings::snakes, count_fit>,      "vector.stream.snakes 0",             "0 whole lines; 1 lines end where they meet earlier lines; 2 and more keep a distance"},
    {"stream.steps",          P, setter<double, &settings::steps, steps_fit>,             "vector.stream.steps 1",              "step length in voxels"},
    {"stream.angles",         P, setter<double, &settings::angles, angle_fit>,            "vector.stream.angles 1",             "degrees of bend that store a point; 0 stores every step"},
    {"stream.stop.angle",     P, setter<double, &settings::stop_angle, angle_fit>,        "vector.stream.stop.angle 90",        "a turn of this many degrees ends a line"},
    {"stream.stop.length",    P, setter<double, &settings::stop_length, length_fit>,      "vector.stream.stop.length 0",        "points per half line; 0 for the diagonal of the field"},
    {"stream.stop.contrast",  P, setter<std::int64_t, &settings::stop_contrast, count_fit>, "vector.stream.stop.contrast 0",    "a grey step above this in the current scalar ends a line; 0 off"},
    {"stream",                P, stream_cmd<form::none, false, false, false>,            "vector.stream",                      "streamlines from every voxel into the current cloud"},
    {"stream.uniform",        P, stream_cmd<form::none, false, false, true>,             "vector.stream.uniform",              "streamlines from every voxel into the current cloud"},
    {"stream.random",         P, stream_cmd<form::count, false, false, true>,            "vector.stream.random 10000",         "streamlines from random seeds"},
    {"stream.uniform.random", P, stream_cmd<form::count, false, false, true>,            "vector.stream.uniform.random 10000", "streamlines from random seeds"},
    {"stream.mask",           P, stream_cmd<form::none, true, false, true>,              "vector.stream.mask mask 1 <3,5>",    "streamlines from voxels whose mask value is listed"},
    {"stream.mask.random",    P, stream_cmd<form::count, true, false, true>,             "vector.stream.mask.random 10000 mask 1 <3,5>", "streamlines from random seeds whose mask value is listed"},
    {"stream.muscle",         P, stream_cmd<form::none, false, true, true>,              "vector.stream.muscle",               "streamlines from every voxel, halves of like length only"},
    {"stream.muscle.random",  P, stream_cmd<form::count, false, true, true>,             "vector.stream.muscle.random 10000",  "streamlines from random seeds, halves of like length only"},
    {"stream.muscle.mask",    P, stream_cmd<form::none, true, true, true>,               "vector.stream.muscle.mask mask 1 <3,5>", "masked streamlines, halves of like length only"},
    {"stream.muscle.mask.random", P, stream_cmd<form::count, true, true, true>,          "vector.stream.muscle.mask.random 10000 mask 1 <3,5>", "random masked streamlines, halves of like length only"},
    {"stream.slice",          P, stream_cmd<form::point_normal, false, false, true>,     "vector.stream.slice <0,0,10> <0,0,1>", "streamlines from the plane through a point (<0,0,0> the centre) with a normal"},
    {"stream.slicex",         P, stream_cmd<form::axis_x, false, false, true>,           "vector.stream.slicex 10",            "streamlines from the plane x = 10 (0 the centre)"},
    {"stream.slicey",         P, stream_cmd<form::axis_y, false, false, true>,           "vector.stream.slicey 10",            "streamlines from the plane y = 10 (0 the centre)"},
    {"stream.slicez",         P, stream_cmd<form::axis_z, false, false, true>,           "vector.stream.slicez 10",            "streamlines from the plane z = 10 (0 the centre)"},
    {"stream.slice.mask",     P, stream_cmd<form::point_normal, true, false, true>,      "vector.stream.slice.mask <0,0,10> <0,0,1> mask 1 <3,5>", "plane seeds whose mask value is listed"},
    {"stream.slicex.mask",    P, stream_cmd<form::axis_x, true, false, true>,            "vector.stream.slicex.mask 10 mask 1 <3,5>", "plane seeds whose mask value is listed"},
    {"stream.slicey.mask",    P, stream_cmd<form::axis_y, true, false, true>,            "vector.stream.slicey.mask 10 mask 1 <3,5>", "plane seeds whose mask value is listed"},
    {"stream.slicez.mask",    P, stream_cmd<form::axis_z, true, false, true>,            "vector.stream.slicez.mask 10 mask 1 <3,5>", "plane seeds whose mask value is listed"},
    {"stream.nodes",          P, nodes_cmd,                                              "vector.stream.nodes",                "adds 1 to the current scalar along every streamline"},
};

}  // namespace
}  // namespace qv::stream

namespace qv::line {
void register_stream(macroengine& m) { macro::register_rows(m, "vector.", stream::rows); }
}  // namespace qv::line
