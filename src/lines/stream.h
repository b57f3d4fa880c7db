// stream.h: the streamline tracker: its settings, the seed rules and the run over a vector field.
#pragma once
#include <cstdint>
#include <vector>

#include "foundation/numeric.h"

namespace qv {
struct vectorfield;
struct scalarfield;
struct cloud;
}  // namespace qv

namespace qv::stream {

// The tracker's settings; they live as long as the process. Angles in radians.
struct settings {
  std::int64_t seeds = 1;          // 0 no visited test, 1 the seed voxel, n the cube -(n+1)..n-1
  std::int64_t snakes = 0;         // 0 whole lines, 1 cut at visited voxels, m by the cube of m
  double steps = 1;                // step length in voxel scales
  double angles = 0.017453292519943295;   // bend that stores a point; 0 stores every step
  double stop_angle = 1.5707963267948966;  // turn that ends a walk
  double stop_length = 0;          // points of a half, 0 for the diagonal
  std::int64_t stop_contrast = 0;  // largest grey step along the way, 0 for none
};
extern settings current;

enum class seedrule : std::uint8_t { all, random, plane };

// Which seeds a run takes. `mask` with `maskvalues` (one flag per value
// 0..65535) limits seeds to voxels whose mask value is flagged.
struct seedplan {
  seedrule rule = seedrule::all;
  std::int64_t count = 0;          // draws of the random rule
  num::vector point, normal;       // the plane rule, local coordinates; a zero point is the centre
  const scalarfield* mask = nullptr;
  std::vector<std::uint8_t> maskvalues;
  bool muscle = false;
};

struct result {
  std::int64_t tried = 0, found = 0;
  bool ran = false;   // false when field or cloud were not usable
};

// Tracks the field into the cloud by the plan; lines are appended and, when
// any was found, put under an object "Streamlines" with the field's frame.
// `contrast` is the scalar read by the contrast stop (may be null when it is off).
// Without a visited test (`seeds` 0) up to `threads` workers trace; the cloud
// is the same for every count.
result run(const vectorfield& f, cloud& c, const seedplan& plan, const settings& s, const scalarfield* contrast,
           std::int64_t threads = 1);

// `vector.stream.nodes`: the all-voxel walk adding 1 along each line's voxels in `target`.
bool nodes(const vectorfield& f, scalarfield& target, const settings& s);

}  // namespace qv::stream
