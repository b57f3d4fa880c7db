// surface_commands.cpp: handlers and table of `scalar.surface`, `scalar.smoothsurface`, `scalar.weaksurface`, `scalar.cube`.
#include <limits>

#include "engine/macroengine.h"
#include "engine/registry.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/numeric_text.h"
#include "foundation/threads.h"
#include "meshes/surface.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

namespace qv::meshes {
namespace {

// A value or a range `<lo,hi>`; a second value below the first makes one value.
// Anything but one parameter gives the default range.
num::natcomplex range_parameter(macroengine& m) {
  num::natcomplex r{128, 65535};
  if (macro::parameter_count(m) != 1) return r;
  r = text::natcomplex(macro::parameter(m, 1));
  if (r.y < r.x) r.y = r.x;
  return r;
}

// A field whose matrix sums below zero may flip the surface inside out.
void matrix_note(const scalarfield& f) {
  num::matrix mm;
  for (int i = 0; i < 9; ++i) mm.m[i] = f.frame.matrix.m[i];
  if (!matrix::is_negative(mm)) return;
  print::line(u"  Matrix with negative entries " + matrix_text(f.frame.matrix));
  print::line(u"  Note: Check your coordinate system!");
}

// The current field and mesh, or nothing to do.
struct operands {
  scalarfield* field = workspace::current<scalarfield>();
  mesh* target = workspace::current<mesh>();
  bool ready() const { return field && target && scalar::ifscalar(*field); }
};

const vectorfield* colors(bool wanted) { return wanted ? workspace::current<vectorfield>() : nullptr; }

template <surfacekind kind, bool colored>
void surface_cmd(macroengine& m) {
  operands o;
  if (!o.ready()) return;
  matrix_note(*o.field);
  std::int64_t lo, hi;
  if constexpr (kind == surfacekind::weak) {
    lo = macro::parameter_count(m) == 1 ? text::nat(macro::parameter(m, 1)) : 128;
    hi = std::numeric_limits<std::int64_t>::max();
  } else {
    num::natcomplex r = range_parameter(m);
    lo = r.x, hi = r.y;
  }
  surface_field(*o.target, *o.field, kind, lo, hi, colors(colored),
                threads::max_from_text(macro::var_get(m, u"thread.max")));
}

template <bool colored>
void cube_cmd(macroengine& m) {
  operands o;
  if (!o.ready()) return;
  matrix_note(*o.field);
  num::natcomplex r = range_parameter(m);
  cube_field(*o.target, *o.field, r.x, r.y, colors(colored));
}

constexpr cmdrow rows[] = {
    {"surface", cmdkind::procedure, surface_cmd<surfacekind::plain, false>, "scalar.surface <128,65535>",
     "adds the surface of the voxels in the range to the current mesh (marching cubes on the voxel lattice)"},
    {"surface.color", cmdkind::procedure, surface_cmd<surfacekind::plain, true>, "scalar.surface.color <128,65535>",
     "the same, faces coloured by the current vector field / 255"},
    {"smoothsurface", cmdkind::procedure, surface_cmd<surfacekind::smooth, false>, "scalar.smoothsurface <128,65535>",
     "surface of the local density of voxels in the range"},
    {"smoothsurface.color", cmdkind::procedure, surface_cmd<surfacekind::smooth, true>,
     "scalar.smoothsurface.color <128,65535>", "the same, faces coloured by the current vector field / 255"},
    {"weaksurface", cmdkind::procedure, surface_cmd<surfacekind::weak, false>, "scalar.weaksurface 128",
     "surface of the voxels at or above the threshold, vertices weighted by value"},
    {"weaksurface.color", cmdkind::procedure, surface_cmd<surfacekind::weak, true>, "scalar.weaksurface.color 128",
     "the same, faces coloured by the current vector field / 255"},
    {"cube", cmdkind::procedure, cube_cmd<false>, "scalar.cube <128,65535>",
     "adds one quad for each open face of the voxels in the range"},
    {"cube.color", cmdkind::procedure, cube_cmd<true>, "scalar.cube.color <128,65535>",
     "the same, faces coloured by the current vector field / 255"},
};

}  // namespace

void register_surface(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::meshes
