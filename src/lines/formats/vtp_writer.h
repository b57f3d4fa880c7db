// vtp_writer.h: VTK XML poly data in ascii, shared by the cloud and mesh writers.
#pragma once
#include <cstdint>

#include "lines/formats/textsink.h"

namespace qv::vtp {
// Cells as VTK stores them: the point indices of all cells one after the other
// (`connectivity`, 0-based; null stands for 0, 1, 2 ... `size` - 1) and the end
// offset of each cell into it (`offsets`, `count` of them).
struct cellblock {
  const std::int64_t* connectivity = nullptr;
  std::int64_t size = 0;
  const std::int64_t* offsets = nullptr;
  std::int64_t count = 0;
};
// The whole file: header, the optional normals, the points, the <Lines> block
// when `lines` has cells and the <Polys> block when `polys` has cells (an empty
// <Polys> when neither has). `title` heads the progress line.
void write(lineformat::textsink& out, const lineformat::pointview& points, const lineformat::pointview* normals,
           const cellblock& lines, const cellblock& polys, wideview title);
}  // namespace qv::vtp
