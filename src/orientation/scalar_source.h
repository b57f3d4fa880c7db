// scalar_source.h: the voxels of a scalar field as the line scans read them.
#pragma once
#include <cstdint>

#include "orientation/scan.h"
#include "volumes/scalarfield.h"

namespace qv::diffusion {

// A gray (8-bit) or fullgray (16-bit) view; both null for a mono or empty field,
// on which no scan line ever qualifies.
struct scalarview {
  scan::volume<std::uint8_t> gray;
  scan::volume<std::uint16_t> fullgray;
  std::int64_t nx = 0, ny = 0, nz = 0;
};
scalarview scalar_voxels(const scalarfield& f);

}  // namespace qv::diffusion
