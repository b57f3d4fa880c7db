// surface.h: surfaces of scalar fields appended to a mesh: marching cubes snapped to the lattice, and voxel cubes.
#pragma once
#include <cstdint>

#include "meshes/mesh.h"

namespace qv {
struct scalarfield;
struct vectorfield;
struct macroengine;

namespace meshes {

// What "inside" means and where a vertex falls on its edge.
//   plain:  lo <= v <= hi, vertex at the middle of the edge
//   smooth: density (share of inside voxels around a corner, 0..255) above 127, density-weighted
//   weak:   v >= lo (give hi as the largest value), value-weighted
enum class surfacekind : std::uint8_t { plain, smooth, weak };

// Appends the surface of `f` to `m`. Faces are coloured by `colors` at each
// cube's base voxel (divided by 255) when it is given and has voxels. Cubes are
// computed by up to `threads` workers, one z slice at a time, and added to the
// mesh in z order, so the mesh does not depend on the count.
void surface_field(mesh& m, const scalarfield& f, surfacekind kind, std::int64_t lo, std::int64_t hi,
                   const vectorfield* colors, std::int64_t threads);
// One quad for each face of an inside voxel whose neighbour is not inside.
void cube_field(mesh& m, const scalarfield& f, std::int64_t lo, std::int64_t hi, const vectorfield* colors);

// `scalar.surface`, `scalar.smoothsurface`, `scalar.weaksurface`, `scalar.cube` and their `.color` forms.
void register_surface(macroengine& m);

}  // namespace meshes
}  // namespace qv
