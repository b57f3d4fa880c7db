// connection.h: the connection scan: per voxel, the weighted sum of the outer products of all scan directions.
#pragma once
#include <cstdint>

#include "orientation/tensorfield.h"
#include "foundation/widetext.h"
#include "orientation/scan.h"

namespace qv::connection {

// Schemes 1 hdti, 2 dti, 3 ddti (fixed directions), 4 hardhardi, 5 softhardi,
// 6 hardi (sphere); 0 and values above 6 act as 5.
int scheme_of(int stored);
bool fixed_scheme(int scheme);
std::int64_t limit_of(int scheme);   // the direction limit of a sphere scheme, 0 for all
widetext method_line(int scheme);

struct settings {
  std::int64_t n = 16;   // scan length; 0 in the anisotropic scans: a line counts from the length of its direction
  int scheme = 5;
  int submethod = 2;
  bool fullscan = false;
};

// The directions of one worker: the fixed ones of the scheme, or a sphere set.
struct directions {
  scan::direction_list sphere;
  scan::unit_list units;
  std::vector<scan::walk> walks;        // of each sphere direction, from p + d to p - d
  std::vector<scan::realvector> fixed;
};
void build_fixed(directions& d, int scheme, std::int64_t n);
void build_walks(directions& d);        // after the sphere set is filled

// The tensor at voxel p (1-based) whose value is above 0.
template <typename T>
tensor6 voxel(const scan::volume<T>& v, const directions& d, const settings& s, scan::scan_vector p,
                  scan::sample_list& run);

}  // namespace qv::connection
