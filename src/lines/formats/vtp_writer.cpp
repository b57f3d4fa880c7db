// vtp_writer.cpp: the `.vtp` frame, one tab more per nesting level and data rows at five tabs.
//
// Known limits: ascii only, Float32 points and Int32 indices (files past 2^31
// indices are not readable by VTK in this form).
#include "lines/formats/vtp_writer.h"

#include "foundation/progress.h"

namespace qv::vtp {
namespace {

using lineformat::pointview;
using lineformat::textsink;

constexpr std::string_view endarray = "\t\t\t\t</DataArray>\n";

void rows_of_points(textsink& out, const pointview& p, std::int64_t& done, std::int64_t total, wideview title) {
  for (std::int64_t i = 0; i < p.count; ++i) {
    if ((++done & 0xFFFF) == 0) progress::set(double(done) / double(total), title);
    const double* v = p.at(i);
    out.put("\t\t\t\t\t");
    out.real(v[0]);
    out.put(' ');
    out.real(v[1]);
    out.put(' ');
    out.real(v[2]);
    out.put('\n');
  }
}

// One row per cell for the connectivity, then the offsets, ten to a row.
void cells(textsink& out, std::string_view tag, const cellblock& c, std::int64_t& done, std::int64_t total,
           wideview title) {
  out.put("\t\t\t<");
  out.put(tag);
  out.put(">\n\t\t\t\t<DataArray type=\"Int32\" Name=\"connectivity\" format=\"ascii\">\n");
  std::int64_t k = 0;
  for (std::int64_t cell = 0; cell < c.count; ++cell) {
    if ((++done & 0xFFF) == 0) progress::set(double(done) / double(total), title);
    std::int64_t last = c.offsets[cell] < c.size ? c.offsets[cell] : c.size;
    out.put("\t\t\t\t\t");
    for (bool first = true; k < last; ++k, first = false) {
      if (!first) out.put(' ');
      out.nat(c.connectivity ? c.connectivity[k] : k);
    }
    out.put('\n');
  }
  out.put(endarray);
  out.put("\t\t\t\t<DataArray type=\"Int32\" Name=\"offsets\" format=\"ascii\">\n");
  for (std::int64_t cell = 0; cell < c.count; ++cell) {
    out.put(cell % 10 == 0 ? "\t\t\t\t\t" : " ");
    out.nat(c.offsets[cell]);
    if (cell % 10 == 9 || cell + 1 == c.count) out.put('\n');
  }
  out.put(endarray);
  out.put("\t\t\t</");
  out.put(tag);
  out.put(">\n");
}

}  // namespace

void write(textsink& out, const pointview& points, const pointview* normals, const cellblock& lines,
           const cellblock& polys, wideview title) {
  const std::int64_t total = points.count * (normals ? 2 : 1) + lines.count + polys.count;
  std::int64_t done = 0;
  progress::set(0, title);
  out.put("<?xml version=\"1.0\"?>\n<VTKFile type=\"PolyData\" version=\"0.1\" byte_order=\"LittleEndian\">\n");
  out.put("\t<PolyData>\n\t\t<Piece NumberOfPoints=\"");
  out.nat(points.count);
  out.put("\" NumberOfVerts=\"0\" NumberOfLines=\"");
  out.nat(lines.count);
  out.put("\" NumberOfStrips=\"0\" NumberOfPolys=\"");
  out.nat(polys.count);
  out.put("\">\n");
  if (normals) {
    out.put("\t\t\t<PointData Normals=\"Normals\">\n");
    out.put("\t\t\t\t<DataArray type=\"Float32\" Name=\"Normals\" NumberOfComponents=\"3\" format=\"ascii\">\n");
    rows_of_points(out, *normals, done, total, title);
    out.put(endarray);
    out.put("\t\t\t</PointData>\n");
  }
  out.put("\t\t\t<Points>\n\t\t\t\t<DataArray type=\"Float32\" NumberOfComponents=\"3\" format=\"ascii\">\n");
  rows_of_points(out, points, done, total, title);
  out.put(endarray);
  out.put("\t\t\t</Points>\n");
  if (lines.count > 0) cells(out, "Lines", lines, done, total, title);
  if (polys.count > 0 || lines.count == 0) cells(out, "Polys", polys, done, total, title);
  out.put("\t\t</Piece>\n\t</PolyData>\n</VTKFile>\n");
  progress::end(title);
}

}  // namespace qv::vtp
