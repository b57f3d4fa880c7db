// mesh_edit.h: geometric edits of a mesh: affine placing, smoothing, normals, winding, verification.
#pragma once
#include <cstdint>

#include "meshes/mesh.h"

namespace qv::meshes {

// p := (p - from) * a + to for every point (row vector times matrix). Normals
// follow through the inverse transpose and keep their lengths; a matrix of
// negative determinant turns the faces round so that they keep facing out; a
// singular one leaves the normals alone.
void transform(mesh& m, const num::matrix& a, num::vector from, num::vector to);
void translate(mesh& m, num::vector by);

// Rotation matrices in the row-vector sense: about x, then y, then z (radians).
num::matrix rotation_xyz(num::vector angles);
// The frame that takes `a` to the origin, a->b onto +x and c into the xy plane (y >= 0), as matrix and shift.
struct placement {
  num::matrix turn;
  num::vector from;
};
placement three_point(num::vector a, num::vector b, num::vector c);

// `passes` Laplacian passes: each point moves `weight` of the way to the mean of its neighbours.
void smooth(mesh& m, std::int64_t passes, double weight);
// One unit normal per point: the area-weighted mean of the normals of its faces.
void recalc_normals(mesh& m);
// The recalculated normals, each turned to the side of the normal held before.
void ortho_normals(mesh& m);
void flip_faces(mesh& m);   // reverses the winding of every face
// Removes faces with a corner out of range or fewer than three distinct corner
// indices, then points of no face; gives the number of faces removed.
std::int64_t verify(mesh& m);
// Removes the faces with a corner whose coordinate `axis` (0 x, 1 y, 2 z) is below `limit`, then unused points.
std::int64_t cut_below(mesh& m, int axis, double limit);

num::vector center_of_gravity(const mesh& m);   // mean of the points

}  // namespace qv::meshes
