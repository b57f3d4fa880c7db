// scalar_filter.h: the 27-voxel kernels as operations, for the handlers of other families.
#pragma once
#include <cstdint>

#include "volumes/scalarfield.h"

namespace qv::scalar {

enum class kernel : std::uint8_t { softsmooth = 0, smooth = 1, hardsmooth = 2, unsharpmasking = 3 };

// One pass of a kernel over a gray or fullgray field, in place, through the slice
// ring with at most `threads` workers (serially below 2 threads or 2 slices).
void smooth_field(scalarfield& f, kernel k, std::int64_t threads);

// Stretches the field's minimum..maximum to the full range of its type.
void setadjust_field(scalarfield& f);

}  // namespace qv::scalar
