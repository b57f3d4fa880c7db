// paint.h: shapes painted into a scalar field: voxel, sphere, cube and (thick) line, by index from 1.
#pragma once
#include <cstdint>

namespace qv {
struct scalarfield;
}

namespace qv::paint {

struct voxel { std::int64_t x = 0, y = 0, z = 0; };

// All writes go through `scalar::set`: clamped to the element type, nothing outside.
void point(scalarfield& f, voxel c, std::int64_t value);
// Voxels whose distance from `c` is at most `radius`; `shell` keeps only those
// whose rounded distance equals the rounded radius.
void sphere(scalarfield& f, voxel c, double radius, std::int64_t value, bool shell = false);
// Voxels with every axis offset within `radius`; `shell` keeps the outer layer only.
void cube(scalarfield& f, voxel c, std::int64_t radius, std::int64_t value, bool shell = false);
// The 16.16 line walk from a to b (steps of 1/L, L the rounded length), each
// voxel widened to a ball of `radius` (0: the voxel alone). Both ends are painted.
void line(scalarfield& f, voxel a, voxel b, std::int64_t value, double radius = 0);

}  // namespace qv::paint
