// scalar_samples.cpp: `scalar.samples`, the voxels of a value range as the points of one line.
#include "foundation/console.h"
#include "lines/cloud.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalar_ops.h"

namespace qv::scalar {
namespace {

// `scalar.samples <lo,hi> old` stores every voxel of old whose value lies in the
// range as a point of one new line of the current cloud: its global position, with
// the value as t, in an object named "Samples". `scalar.samples <lo,hi> old1 old2` takes the voxels of old1 in the
// range and stores old2's value at the same index as t (old2 read as a sampled
// field: outside it, its background). Points go in the order z, y, x.
void samples_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 2) return macro::check_min(m, 2);
  if (n > 3) return macro::check_max(m, 3);
  std::vector<const scalarfield*> fields;
  if (!sources(m, 2, n, fields)) return;
  const scalarfield& mask = *fields[0];
  const scalarfield& values = *fields.back();
  const valuerange r = read_range(macro::parameter(m, 1), mask.tag);
  std::vector<num::hyper> points;
  std::vector<std::int64_t> row(std::size_t(mask.width)), sampled(std::size_t(mask.width));
  for (std::int64_t z = 1; z <= mask.depth; ++z)
    for (std::int64_t y = 1; y <= mask.height; ++y) {
      load_row(mask, y, z, mask.width, row.data());
      if (&values != &mask) load_row(values, y, z, mask.width, sampled.data());
      const std::vector<std::int64_t>& t = &values != &mask ? sampled : row;
      for (std::int64_t x = 1; x <= mask.width; ++x) {
        if (!r.contains(row[std::size_t(x - 1)])) continue;
        const framemath::vector g = index_to_global(mask, {double(x), double(y), double(z)});
        points.push_back({g.x, g.y, g.z, double(t[std::size_t(x - 1)])});
      }
    }
  cloud& c = *workspace::current<cloud>();
  if (points.empty()) return print::line(u"  Samples: 0");
  line::add_line(c, points.data(), std::int64_t(points.size()), 0);
  line::close_object(c, u"Samples");
  print::line(u"  Samples: " + nat::text(std::int64_t(points.size())));
}

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    // name     kind handler      usage                                 comment
    {"samples", P, samples_cmd, "scalar.samples <64,128> old1 [old2]", "store values from 64..128 into line (with old2: old2's values where old1 is in 64..128)"},
};

}  // namespace

void register_samples(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
