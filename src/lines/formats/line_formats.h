// line_formats.h: the readers and writers of cloud files; the handlers in line_files.cpp open the files.
#pragma once
#include <cstdint>
#include <string_view>

#include "lines/cloud.h"
#include "lines/formats/textsink.h"

namespace qv::lineformat {

// `nubrelle` text, fed line by line; `child` names objects whose name is empty.
struct textreader {
  cloud& target;
  bool sampling = false;  // the percentage form: one draw per line
  double threshold = 0;   // a line is kept when its draw in 0..1 is at least this
  widetext child;
  bool drawn = false, keeping = true;
  void line(std::string_view text);
  void finish();          // closes the open line and object at the end of a file
};

// The writers expect every line closed and inside an object.
void write_text(const cloud& c, textsink& out);
void write_obj(const cloud& c, textsink& out);
void write_dxf(const cloud& c, textsink& out);
void write_vtp(const cloud& c, textsink& out);
void write_trackvis(const cloud& c, textsink& out);
void write_mel(const cloud& c, textsink& out, wideview name);
void write_mv3d(const cloud& c, textsink& out);
void write_swc(const cloud& c, textsink& out);

// The 1000 bytes of the TrackVis header for `c`.
void trackvis_header(const cloud& c, unsigned char (&header)[1000]);

}  // namespace qv::lineformat
