// diffusion_kernel.h: the per-voxel search for the direction of least grey-value spread, over plain voxel arrays.
#pragma once
#include <cstdint>
#include <vector>
#include "orientation/scan.h"

namespace qv::diffusion {

using scan::realvector;

// The settings a scan reads; method 0 and unknown values act like 5.
struct settings {
  std::int64_t n = 16;          // scan length, the `scan_size` of the run
  int method = 5;
  int submethod = 2;
  bool fullscan = false;
  double max = 0.25;            // `diffusion_max`, a fraction
  double angle = 0.0872664625997164788;   // `diffusion_angle`, 5 degrees in radians
};
int method_of(int stored);   // 1..6

// The walks of one direction set, relative to the centre voxel. For a voxel
// whose lines stay inside the field the fixed-point walk visits the same
// offsets whatever the voxel, so they are taken once per direction.
struct lineplan {
  scan::direction_list directions;
  scan::unit_list units;
  std::vector<std::int64_t> start;      // first entry of direction i in the offset lists
  std::vector<std::int32_t> count;      // voxels on the line, L + 1
  std::vector<std::int32_t> fx, fy, fz, bx, by, bz;   // from A = p + d forwards, from B = p - d backwards
  std::vector<std::int32_t> flin, blin; // the same as offsets into an array of rows stride_x, planes stride_x stride_y
  std::int64_t stride_x = 0, stride_y = 0;
  std::int64_t reach_x = 0, reach_y = 0, reach_z = 0;   // largest offset of any line, per axis
  struct box { std::int32_t lx, hx, ly, hy, lz, hz; };  // offsets one direction reaches, both ways
  std::vector<box> boxes;
  bool linear = false;                  // false: offsets too large, every voxel takes the checked walk
};
// `planar`: the half circle of the image scan instead of the half sphere.
void plan_build(lineplan& plan, std::int64_t n, std::int64_t nx, std::int64_t ny, bool planar = false);
void plan_strides(lineplan& plan, std::int64_t stride_x, std::int64_t stride_y);

// Per-worker lists, reused from voxel to voxel.
// A qualifying line of methods 4 to 6. A line known to be worse than the best
// keeps its sums only; its deviation is taken if the full ranking is needed.
struct ranking {
  std::int32_t position;
  double stat;                          // NaN until computed
  std::int64_t count = 0, sum = 0, squares = 0;
};
struct scratch {
  scan::sample_list run, sorted;
  std::vector<ranking> ranked;          // methods 4 to 6: every qualifying line, sized once per plan
  std::vector<std::int32_t> ties;       // directions whose statistic equals the best so far
  std::int64_t samples = 0;             // line samples read, for the rate figures
  std::vector<unsigned char> slab;      // the planes around one slice, padded with background
};

// The direction at voxel (x, y, z), 1-based; the field value there must be above 0.
template <typename T>
realvector voxel(const scan::volume<T>& v, const lineplan& plan, const settings& s, std::int64_t x,
                 std::int64_t y, std::int64_t z, scratch& work);

// The same through the plain sampler `scan_run` and the full ranking sort:
// slower, for checking the fast path and for the single-voxel commands.
template <typename T>
realvector voxel_plain(const scan::volume<T>& v, const lineplan& plan, const settings& s, std::int64_t x,
                       std::int64_t y, std::int64_t z, scratch& work);

// One output slice: source voxels (i f, j f, z) for i up to nx / f and j up to
// ny / f; `out` holds (nx / f) * (ny / f) results, x fastest. The slice copies
// the planes its lines reach into a slab padded with `background`, so that every
// line walks by array offsets; the plan's strides follow the slab.
template <typename T>
void slice(const scan::volume<T>& v, lineplan& plan, const settings& s, std::int64_t z, std::int64_t f,
           scratch& work, realvector* out);

// The whole field through the worker frame: output slice k (1 to nz / f) from
// source slice k f, each worker with its own plan and lists. `out` holds
// (nx / f) (ny / f) (nz / f) results; returns the line samples read.
// A volume without data gives null everywhere. `planar` scans an image (nz 1)
// with the half circle, one worker per row instead of per slice.
template <typename T>
std::int64_t field(const scan::volume<T>& v, const settings& s, std::int64_t f, std::int64_t maxthreads,
                   realvector* out);
template <typename T>
std::int64_t field_2d(const scan::volume<T>& v, const settings& s, std::int64_t maxthreads, realvector* out);

}  // namespace qv::diffusion
