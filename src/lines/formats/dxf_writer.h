// dxf_writer.h: the DXF pieces shared by the cloud and mesh writers: frame, polylines and 3D faces.
#pragma once
#include <cstdint>

#include "lines/formats/textsink.h"

namespace qv::dxf {
// The HEADER section with its four variables, empty TABLES and BLOCKS, and the
// opening of ENTITIES.
void begin(lineformat::textsink& out);
// One 3D POLYLINE of points `first` to `last` - 1 of `p`, a VERTEX each, then SEQEND.
void polyline(lineformat::textsink& out, const lineformat::pointview& p, std::int64_t first, std::int64_t last);
// The same through a list of 0-based indices into `p`.
void polyline(lineformat::textsink& out, const lineformat::pointview& p, const std::int64_t* index, std::int64_t n);
// One 3DFACE of four corners (a triangle repeats its last corner).
void face(lineformat::textsink& out, const double* a, const double* b, const double* c, const double* d);
// Ends ENTITIES and the file.
void end(lineformat::textsink& out);
}  // namespace qv::dxf
