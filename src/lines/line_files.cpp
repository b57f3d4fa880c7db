// line_files.cpp: `line.load` and the `line.save` family on the current cloud.
#include "lines/line_files.h"

#include <cerrno>
#include <cstdio>
#include <string>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "lines/cloud.h"
#include "lines/formats/line_formats.h"

namespace qv::line {
namespace {

enum class lineform { text, obj, dxf, vtp, trk, mel, mv3d, swc };

// The lower-cased text after the last point of the name's last part.
widetext extension(wideview name) {
  std::size_t dot = name.rfind(u'.'), slash = name.rfind(u'/');
  if (dot == wideview::npos || (slash != wideview::npos && slash > dot)) return {};
  return text::lower(widetext(name.substr(dot + 1)));
}

lineform form_of(wideview name) {
  const widetext e = extension(name);
  if (e == u"dxf") return lineform::dxf;
  if (e == u"obj") return lineform::obj;
  if (e == u"vtp" || e == u"vtk") return lineform::vtp;
  if (e == u"trk") return lineform::trk;
  if (e == u"mel") return lineform::mel;
  if (e == u"mv3d") return lineform::mv3d;
  if (e == u"swc") return lineform::swc;
  return lineform::text;
}

void write_form(const cloud& c, lineformat::textsink& out, lineform form, wideview name) {
  switch (form) {
    case lineform::text: return lineformat::write_text(c, out);
    case lineform::obj: return lineformat::write_obj(c, out);
    case lineform::dxf: return lineformat::write_dxf(c, out);
    case lineform::vtp: return lineformat::write_vtp(c, out);
    case lineform::trk: return lineformat::write_trackvis(c, out);
    case lineform::mel: return lineformat::write_mel(c, out, name);
    case lineform::mv3d: return lineformat::write_mv3d(c, out);
    case lineform::swc: return lineformat::write_swc(c, out);
  }
}

// The text and MEL forms first close what is open, under an object "repaired",
// and keep an earlier file of the name as name.bak.
void save_cloud(cloud& c, widetext name, lineform form) {
  if (form == lineform::text || form == lineform::mel) {
    line::close_open(c, u"repaired");
    if (file::exists(name)) file::rename(name, name + u".bak");
  }
  filehandle h;
  if (!file::open_write(h, name)) return;
  lineformat::textsink out(h.f);
  write_form(c, out, form, name);
  out.flush();
  if (!out.ok || std::fflush(h.f) != 0) {
    file::error = file::code_of_errno(errno ? errno : EIO, true);
    file::report(name);
    return;
  }
  c.filename = std::move(name);
  c.modified = false;
}

// One parameter; nothing for an empty name or a cloud without lines.
void save_with(macroengine& m, lineform form, bool by_extension) {
  if (macro::parameter_count(m) != 1) {
    macro::check_exact(m, 1);
    return;
  }
  widetext name = text::replace(macro::parameter_optional(m, 1), u"*", u"");
  cloud* c = workspace::current<cloud>();
  if (!c || name.empty() || line::line_count(*c) == 0) return;
  save_cloud(*c, name, by_extension ? form_of(name) : form);
}

void save(macroengine& m) { save_with(m, lineform::text, true); }
template <lineform form>
void save_as(macroengine& m) { save_with(m, form, false); }

// Feeds the reader one text line at a time from blocks of a megabyte.
bool read_lines(wideview name, lineformat::textreader& reader) {
  filehandle h;
  if (!file::open_read(h, name)) return false;
  print::line(u"Read file (" + widetext(name) + u").");
  std::string block, carry;
  block.resize(1 << 20);
  for (;;) {
    const std::size_t n = std::fread(block.data(), 1, block.size(), h.f);
    if (n == 0) break;
    std::string_view rest(block.data(), n);
    for (std::size_t nl; (nl = rest.find('\n')) != std::string_view::npos; rest.remove_prefix(nl + 1)) {
      if (carry.empty()) {
        reader.line(rest.substr(0, nl));
      } else {
        carry.append(rest.substr(0, nl));
        reader.line(carry);
        carry.clear();
      }
    }
    carry.append(rest);
  }
  if (!carry.empty()) reader.line(carry);
  reader.finish();
  return true;
}

// Every line of `from` appended to `to`, all under one new object `name`.
void merge(cloud& to, const cloud& from, wideview name) {
  line::close_open(to, u"repaired");
  const std::int64_t lines = line::line_count(from);
  for (std::int64_t l = 1; l <= lines; ++l) {
    const std::int64_t b = line::line_begin(from, l);
    line::add_line(to, from.points.data() + b, line::line_end(from, l) - b, from.materials[std::size_t(l - 1)]);
  }
  line::close_object(to, name);
}

void load(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1 || n > 2) {
    if (n < 1) macro::check_min(m, 1);
    else macro::check_max(m, 2);
    return;
  }
  const widetext pattern = macro::parameter_optional(m, 1);
  cloud* c = workspace::current<cloud>();
  if (!c || pattern.empty()) return;
  std::vector<widetext> names = file::glob(pattern);
  if (names.empty()) {
    filehandle h;
    file::open_read(h, pattern);   // reports the missing file
    return;
  }
  cloud loaded;
  lineformat::textreader reader{loaded, false, 0.0, widetext()};
  if (n == 2) {
    double p = text::real(macro::parameter_optional(m, 2));
    p = p < 0 ? 0 : p > 100 ? 100 : p;
    reader.sampling = true;
    reader.threshold = (100 - p) * 0.01;
  }
  for (const widetext& name : names) {
    reader.child = u"child-" + name;
    read_lines(name, reader);
  }
  if (line::empty(*c)) {
    loaded.draw_mode = c->draw_mode;
    *c = std::move(loaded);
    c->modified = false;
  } else {
    merge(*c, loaded, pattern);
  }
  c->filename = pattern;
}

constexpr cmdrow rows[] = {
    // name               kind                handler                         usage                             comment
    {"load",             cmdkind::procedure, load,                           "line.load lines.txt 50",         "reads line text (name patterns allowed); with a percentage only about so many lines"},
    {"save",             cmdkind::procedure, save,                           "line.save lines.trk",            "by extension: dxf, obj, vtp/vtk, trk, mel, mv3d, swc, else line text"},
    {"save.txt",         cmdkind::procedure, save_as<lineform::text>,        "line.save.txt lines.txt",        "line text: a point a line, lines parted by empty lines"},
    {"savetxt",          cmdkind::procedure, save_as<lineform::text>,        "line.savetxt lines.txt",         "line text (old name)"},
    {"save.obj",         cmdkind::procedure, save_as<lineform::obj>,         "line.save.obj lines.obj",        "OBJ points, lines and closed lines as faces"},
    {"save.dxf",         cmdkind::procedure, save_as<lineform::dxf>,         "line.save.dxf lines.dxf",        "DXF, a polyline per line"},
    {"save.vtk",         cmdkind::procedure, save_as<lineform::vtp>,         "line.save.vtk lines.vtp",        "VTK XML poly data"},
    {"save.vtp",         cmdkind::procedure, save_as<lineform::vtp>,         "line.save.vtp lines.vtp",        "VTK XML poly data"},
    {"save.trackvis",    cmdkind::procedure, save_as<lineform::trk>,         "line.save.trackvis lines.trk",   "TrackVis tracks"},
    {"savetrackvis",     cmdkind::procedure, save_as<lineform::trk>,         "line.savetrackvis lines.trk",    "TrackVis tracks (old name)"},
    {"save.maya",        cmdkind::procedure, save_as<lineform::mel>,         "line.save.maya lines.mel",       "Maya MEL curves"},
    {"savemaya",         cmdkind::procedure, save_as<lineform::mel>,         "line.savemaya lines.mel",        "Maya MEL curves (old name)"},
    {"save.mv3d",        cmdkind::procedure, save_as<lineform::mv3d>,        "line.save.mv3d lines.txt",       "MicroVisu3D point rows"},
    {"save.swc",         cmdkind::procedure, save_as<lineform::swc>,         "line.save.swc lines.swc",        "SWC rows, the line material as type"},
};

}  // namespace

void register_files(macroengine& m) { macro::register_rows(m, "line.", rows); }

}  // namespace qv::line
