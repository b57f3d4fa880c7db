// dxf_writer.cpp: DXF text in group-code pairs, the code right-aligned in three columns.
//
// Known limits: everything goes on layer "0"; no colours, no blocks, no units.
#include "lines/formats/dxf_writer.h"

namespace qv::dxf {
namespace {

using lineformat::textsink;

void pair(textsink& out, std::string_view code, std::string_view value) {
  out.put(code);
  out.put('\n');
  out.put(value);
  out.put('\n');
}

// Group codes 10/20/30 and their kin 11/21/31... for corner `k`.
void corner(textsink& out, const double* p, int k) {
  static constexpr std::string_view codes[4][3] = {
      {" 10", " 20", " 30"}, {" 11", " 21", " 31"}, {" 12", " 22", " 32"}, {" 13", " 23", " 33"}};
  for (int i = 0; i < 3; ++i) {
    out.put(codes[k][i]);
    out.put('\n');
    out.real(p[i]);
    out.put('\n');
  }
}

void vertex(textsink& out, const double* p) {
  pair(out, "  0", "VERTEX");
  pair(out, "  8", "0");
  corner(out, p, 0);
  pair(out, " 70", "32");   // a vertex of a 3D polyline
}

void polyline_head(textsink& out) {
  pair(out, "  0", "POLYLINE");
  pair(out, "  8", "0");
  pair(out, " 66", "1");    // vertices follow
  pair(out, " 10", "0.0");
  pair(out, " 20", "0.0");
  pair(out, " 30", "0.0");
  pair(out, " 70", "8");    // a 3D polyline
}

void section(textsink& out, std::string_view name) {
  pair(out, "  0", "SECTION");
  pair(out, "  2", name);
}

}  // namespace

void begin(textsink& out) {
  section(out, "HEADER");
  pair(out, "  9", "$AUNITS");
  pair(out, " 70", "0");
  pair(out, "  9", "$FILLMODE");
  pair(out, " 70", "1");
  pair(out, "  9", "$SPLFRAME");
  pair(out, " 70", "0");
  pair(out, "  9", "$SPLINESEGS");
  pair(out, " 70", "8");
  pair(out, "  0", "ENDSEC");
  section(out, "TABLES");
  pair(out, "  0", "ENDSEC");
  section(out, "BLOCKS");
  pair(out, "  0", "ENDSEC");
  section(out, "ENTITIES");
}

void polyline(textsink& out, const lineformat::pointview& p, std::int64_t first, std::int64_t last) {
  polyline_head(out);
  for (std::int64_t i = first; i < last; ++i) vertex(out, p.at(i));
  pair(out, "  0", "SEQEND");
}

void polyline(textsink& out, const lineformat::pointview& p, const std::int64_t* index, std::int64_t n) {
  polyline_head(out);
  for (std::int64_t i = 0; i < n; ++i)
    if (index[i] >= 0 && index[i] < p.count) vertex(out, p.at(index[i]));
  pair(out, "  0", "SEQEND");
}

void face(textsink& out, const double* a, const double* b, const double* c, const double* d) {
  pair(out, "  0", "3DFACE");
  pair(out, "  8", "0");
  corner(out, a, 0);
  corner(out, b, 1);
  corner(out, c, 2);
  corner(out, d, 3);
}

void end(textsink& out) {
  pair(out, "  0", "ENDSEC");
  pair(out, "  0", "EOF");
}

}  // namespace qv::dxf
