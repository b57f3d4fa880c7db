// line_exports.cpp: the one-way cloud writers: OBJ, DXF polylines, VTK poly data, MEL curves,
// MicroVisu3D and SWC rows.
//
// Known limits: OBJ, MicroVisu3D and SWC carry no frame; MEL curves are of
// degree 1, one per line, without shading.
#include <vector>

#include "foundation/numeric.h"
#include "foundation/progress.h"
#include "lines/formats/dxf_writer.h"
#include "lines/formats/line_formats.h"
#include "lines/formats/mel_writer.h"
#include "lines/formats/vtp_writer.h"

namespace qv::lineformat {
namespace {

pointview points_of(const cloud& c) { return view_of(c.points.data(), std::int64_t(c.points.size())); }

// Calls fn(line, first, end) for every line with 0-based point positions, with
// the progress line under `title` when it is not empty.
template <typename Fn>
void each_line(const cloud& c, wideview title, Fn fn) {
  const std::int64_t lines = line::line_count(c);
  if (!title.empty()) progress::set(0, title);
  for (std::int64_t l = 1; l <= lines; ++l) {
    if (!title.empty() && (l & 0xFFF) == 0) progress::set(double(l) / double(lines), title);
    fn(l, line::line_begin(c, l), line::line_end(c, l));
  }
  if (!title.empty()) progress::end(title);
}

}  // namespace

void write_obj(const cloud& c, textsink& out) {
  for (const num::hyper& p : c.points) {
    out.put("v ");
    out.reals(&p.x, 3, ' ');
    out.put('\n');
  }
  out.put("s 1\n");
  each_line(c, u"  Write OBJ-file", [&](std::int64_t, std::int64_t b, std::int64_t e) {
    if (e <= b) return;
    std::int64_t last = e;
    if (e - b == 1) {
      out.put("p ");
    } else if (num::equal(c.points[std::size_t(b)], c.points[std::size_t(e - 1)])) {
      out.put("f ");   // a closed line becomes a face, its repeated point left out
      last = e - 1;
    } else {
      out.put("l ");
    }
    for (std::int64_t i = b; i < last; ++i) {
      if (i > b) out.put(' ');
      out.nat(i + 1);
    }
    out.put('\n');
  });
}

void write_dxf(const cloud& c, textsink& out) {
  const pointview p = points_of(c);
  dxf::begin(out);
  each_line(c, u"  Write DXF-file", [&](std::int64_t, std::int64_t b, std::int64_t e) { dxf::polyline(out, p, b, e); });
  dxf::end(out);
}

void write_vtp(const cloud& c, textsink& out) {
  // Every point belongs to one line in order, so the connectivity is 0, 1, 2 ...
  const std::int64_t lines = line::line_count(c);
  std::vector<std::int64_t> offsets(static_cast<std::size_t>(lines));
  for (std::int64_t l = 1; l <= lines; ++l) offsets[std::size_t(l - 1)] = line::line_end(c, l);
  const vtp::cellblock cells{nullptr, line::point_count(c), offsets.data(), lines};
  vtp::write(out, points_of(c), nullptr, cells, {}, u"  Write VTK-file");
}

void write_mel(const cloud& c, textsink& out, wideview name) {
  const pointview p = points_of(c);
  mel::begin(out, name);
  each_line(c, u"  Write MEL-file", [&](std::int64_t l, std::int64_t b, std::int64_t e) {
    mel::curve(out, u"line" + nat::text(l), p, b, e);
  });
  mel::end(out, name);
}

void write_mv3d(const cloud& c, textsink& out) {
  out.put("# MicroVisu3D file\n# Number of lines   ");
  out.nat(line::line_count(c));
  out.put("\n# Number of points  ");
  out.nat(line::point_count(c));
  out.put("\n# Number of inter.  n.a.\n# No\t\tx\t\ty\t\tz\t\td\n");
  std::int64_t k = 0;
  each_line(c, u"  Write MicroVisu3D-file", [&](std::int64_t, std::int64_t b, std::int64_t e) {
    for (std::int64_t i = b; i < e; ++i) {
      out.nat(++k);
      out.put('\t');
      out.reals(&c.points[std::size_t(i)].x, 4, '\t');
      out.put('\n');
    }
  });
}

void write_swc(const cloud& c, textsink& out) {
  std::int64_t k = 0;
  each_line(c, u"  Write SWC-file", [&](std::int64_t l, std::int64_t b, std::int64_t e) {
    const std::int64_t type = c.materials[std::size_t(l - 1)];
    for (std::int64_t i = b; i < e; ++i) {
      out.nat(++k);
      out.put(' ');
      out.nat(type);
      out.put(' ');
      out.reals(&c.points[std::size_t(i)].x, 4, ' ');
      out.put(' ');
      out.nat(k - 1);
      out.put('\n');
    }
  });
}

}  // namespace qv::lineformat
