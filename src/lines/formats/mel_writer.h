// mel_writer.h: Maya MEL script pieces shared by the cloud and mesh writers.
#pragma once
#include <cstdint>

#include "lines/formats/textsink.h"

namespace qv::mel {
// "// Maya MEL", "// Name: " name, "// Last modified: " date and time.
void begin(lineformat::textsink& out, wideview name);
// A curve of degree 1 through points `first` to `last` - 1: one cloud line.
void curve(lineformat::textsink& out, wideview node, const lineformat::pointview& p, std::int64_t first,
           std::int64_t last);
// "polyCreateFacet -ch 0 -tx 1 -n " node and a " -p x y z" option per corner.
void facet(lineformat::textsink& out, wideview node, const lineformat::pointview& p, const std::int64_t* corner,
           int n);
// "polyAppend -ch 0 -tx 1 -n " node with " -ed" edge options, then a " -p" per new corner.
void append(lineformat::textsink& out, wideview node, const std::int64_t* edge, int nedge,
            const lineformat::pointview& p, const std::int64_t* corner, int ncorner);
// "polyUnite -ch 0 -n " node and the parts, then "select " node.
void unite(lineformat::textsink& out, wideview node, const widetext* part, std::int64_t n);
void select(lineformat::textsink& out, wideview node);
// "// End of " name.
void end(lineformat::textsink& out, wideview name);
}  // namespace qv::mel
