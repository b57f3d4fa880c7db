// image_files.cpp: the load and save flows, the extension dispatch and the `image.load*` and `image.save` handlers.
#include "images/image_files.h"

#include <algorithm>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "images/formats/codec.h"
#include "images/formats/imagelibs.h"

namespace qv::image {
namespace {

bool is_grey(fieldtag t) { return t == fieldtag::gray || t == fieldtag::fullgray; }

bool one_of(const std::string& e, std::initializer_list<const char*> list) {
  return std::any_of(list.begin(), list.end(), [&](const char* s) { return e == s; });
}

void couldnt_read(imagefield& f, const std::string& name) {
  print::line(u"  Couldn't read File (" + text::from_utf8(name) + u")! Create empty field.");
  clear(f);
}

// Stores the name and makes the frame consistent after a read; clears both after a failure.
void finish_load(imagefield& f, const std::string& name, bool ok) {
  if (ok && f.tag != fieldtag::none) {
    f.filename = text::from_utf8(name);
    frame_refresh(f.frame);
  } else {
    f.filename.clear();
    f.frame.inverse = framemath::matrix{};
    f.frame.negated = {};
  }
}

enum class format { none, pnm, bmp, imgf, rgbfile };

format load_format(fieldtag t, const std::string& e) {
  if (one_of(e, {"pbm", "pgm", "ppm", "pnm", "pbm.gz", "pgm.gz", "ppm.gz", "pnm.gz"})) return format::pnm;
  if (one_of(e, {"bmp", "dib"})) return format::bmp;
  if (is_grey(t) && one_of(e, {"fro", "fre", "pd", "t1", "t2", "imgf"})) return format::imgf;
  if (!is_grey(t) && e == "rgb") return format::rgbfile;
  return format::none;
}

bool read_as(imagefield& f, format k, const std::string& name) {
  std::string bytes;
  if (!codec::file_read(name, bytes)) {
    couldnt_read(f, name);
    return false;
  }
  switch (k) {
    case format::pnm: return codec::read_pnm(f, bytes);
    case format::bmp: return codec::read_bmp(f, bytes);
    case format::imgf: return codec::read_imgf(f, bytes);
    case format::rgbfile: return codec::read_rgbfile(f, bytes);
    default: return false;
  }
}

bool ends_with(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// The writer and the extension it appends when the name has none it accepts.
struct saveplan {
  std::string (*write)(const imagefield&, const std::string&) = nullptr;
  const char* extension = ".png";
  bool gz = false;
  bool matched = true;   // false: the name gets `extension` appended
};

std::string pbm(const imagefield& f, const std::string& n) { return codec::write_pnm(f, codec::pnmkind::pbm, n); }
std::string pgm(const imagefield& f, const std::string& n) { return codec::write_pnm(f, codec::pnmkind::pgm, n); }
std::string ppm(const imagefield& f, const std::string& n) { return codec::write_pnm(f, codec::pnmkind::ppm, n); }
std::string pam(const imagefield& f, const std::string& n) { return codec::write_pnm(f, codec::pnmkind::pam, n); }
std::string tif(const imagefield& f, const std::string&) { return codec::write_tiff(f); }
std::string png(const imagefield& f, const std::string&) { return codec::write_png(f); }
std::string bmp(const imagefield& f, const std::string&) { return codec::write_bmp(f); }
std::string tga(const imagefield& f, const std::string&) { return codec::write_tga(f); }
std::string rgbfile(const imagefield& f, const std::string&) { return codec::write_rgbfile(f); }

saveplan save_format(fieldtag t, const std::string& e) {
  bool gz = ends_with(e, ".gz");
  if (e == "pgm" || e == "pgm.gz") return {pgm, gz ? ".pgm.gz" : ".pgm", gz};
  if (e == "tif" || e == "tiff") return {tif, ".tif", false};
  if (!is_grey(t)) {
    if (e == "pbm" || e == "pbm.gz") return {pbm, gz ? ".pbm.gz" : ".pbm", gz};
    if (one_of(e, {"pnm", "ppm", "pnm.gz", "ppm.gz"})) return {ppm, gz ? ".ppm.gz" : ".ppm", gz};
    if (e == "pam" || e == "pam.gz") return {pam, gz ? ".pam.gz" : ".pam", gz};
    if (e == "rgb") return {rgbfile, ".rgb", false};
    if (e == "bmp" || e == "dib") return {bmp, ".bmp", false};
    if (e == "tga") return {tga, ".tga", false};
  }
  return {png, ".png", false, e == "png"};
}

std::string file_parameter(macroengine& m, std::size_t i) {
  std::string s = text::utf8(macro::parameter(m, i));
  if (s.size() >= 2 && (s.front() == '"' || s.front() == '\'') && s.back() == s.front()) s = s.substr(1, s.size() - 2);
  return s;
}

// The direct loaders: a fresh image of the default type, read as one format.
void load_direct(imagefield& f, format k, const std::string& name) {
  print::line(u"Read file (" + text::from_utf8(name) + u").");
  finish_load(f, name, read_as(f, k, name));
}

void load_cmd(macroengine& m) {
  if (macro::parameter_count(m) < 1) return macro::check_min(m, 1);
  std::string name = file_parameter(m, 1);
  imagefield& f = current();
  if (name.empty()) return free(f);
  load_field(f, workspace_traits<imagefield>::default_tag, name);
}

bool fresh(macroengine& m, imagefield& f, std::string& name) {
  if (macro::parameter_count(m) < 1) {
    macro::check_min(m, 1);
    return false;
  }
  name = file_parameter(m, 1);
  create(f, workspace_traits<imagefield>::default_tag);
  return true;
}

void loadpnm_cmd(macroengine& m) {
  std::string name;
  imagefield& f = current();
  if (fresh(m, f, name)) load_direct(f, format::pnm, name);
}

void loadbmp_cmd(macroengine& m) {
  std::string name;
  imagefield& f = current();
  if (fresh(m, f, name)) load_direct(f, format::bmp, name);
}

void loadimgf_cmd(macroengine& m) {
  std::string name;
  imagefield& f = current();
  if (!fresh(m, f, name)) return;
  if (f.tag == fieldtag::rgba) return print::line(u"rgba <> IMGF-file");
  if (!is_grey(f.tag)) return print::line(u"rgb <> IMGF-file");
  load_direct(f, format::imgf, name);
}

bool grey_refused(const imagefield& f, const char16_t* what) {
  if (f.tag == fieldtag::gray) print::line(u"gray <> " + widetext(what));
  else if (f.tag == fieldtag::fullgray) print::line(u"fullgray <> " + widetext(what));
  return is_grey(f.tag);
}

void loadrgb_cmd(macroengine& m) {
  std::string name;
  imagefield& f = current();
  if (fresh(m, f, name) && !grey_refused(f, u"RGB-file")) load_direct(f, format::rgbfile, name);
}

void loadraw_cmd(macroengine& m) {
  if (macro::parameter_count(m) < 4) return macro::check_min(m, 4);
  std::string name = file_parameter(m, 1);
  std::int64_t h = text::nat(macro::parameter(m, 2)), x = text::nat(macro::parameter(m, 3)),
               y = text::nat(macro::parameter(m, 4));
  imagefield& f = current();
  create(f, workspace_traits<imagefield>::default_tag);
  if (h < 0 || x < 1 || y < 1 || grey_refused(f, u"RAWrgb-file")) return;
  print::line(u"Read file (" + text::from_utf8(name) + u").");
  std::string bytes;
  if (!codec::file_read(name, bytes)) return couldnt_read(f, name);
  finish_load(f, name, codec::read_raw(f, bytes, h, x, y));
}

void save_cmd(macroengine& m) {
  if (macro::parameter_count(m) < 1) return macro::check_min(m, 1);
  std::string name = file_parameter(m, 1);
  if (!name.empty()) save_field(current(), name);
}

constexpr cmdkind P = cmdkind::procedure;
constexpr cmdrow rows[] = {
    // name        kind handler       usage                                   comment
    {"load",       P, load_cmd,      "image.load file.pgm",                  "reads an image into the default pixel type"},
    {"loadpnm",    P, loadpnm_cmd,   "image.loadpnm file",                   "reads a PBM, PGM or PPM file whatever its name"},
    {"loadbmp",    P, loadbmp_cmd,   "image.loadbmp file",                   "reads a BMP file whatever its name"},
    {"loadimgf",   P, loadimgf_cmd,  "image.loadimgf file",                  "reads an IMGF file into a grey image"},
    {"loadrgb",    P, loadrgb_cmd,   "image.loadrgb file",                   "reads an .rgb file into a colour image"},
    {"loadraw",    P, loadraw_cmd,   "image.loadraw file header x y",        "reads headerless colour data of 2, 3 or 4 bytes a pixel"},
    {"save",       P, save_cmd,      "image.save file.png",                  "writes the image, the format chosen by the extension"},
};

}  // namespace

std::string file_extension(const std::string& name) {
  std::size_t slash = name.find_last_of('/');
  std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
  std::string lower = base;
  for (char& c : lower) c = char(c >= 'A' && c <= 'Z' ? c + 32 : c);
  std::size_t dot = lower.rfind('.');
  if (dot == std::string::npos) return "";
  std::string e = lower.substr(dot + 1);
  if (e == "gz" && dot > 0) {
    std::size_t before = lower.rfind('.', dot - 1);
    if (before != std::string::npos) e = lower.substr(before + 1);
  }
  return e;
}

bool load_field(imagefield& f, std::uint8_t tag, const std::string& name) {
  create(f, tag);
  print::line(u"Read file (" + text::from_utf8(name) + u").");
  // The optional libraries first, then the native readers by extension.
  bool ok = codec::freeimage_read(f, name) || codec::magickwand_read(f, name);
  if (!ok) {
    format k = load_format(f.tag, file_extension(name));
    if (k == format::none) couldnt_read(f, name);
    else ok = read_as(f, k, name);
  }
  finish_load(f, name, ok);
  return ok;
}

std::string save_field(const imagefield& f, const std::string& name) {
  if (!f.pixels) return "";
  print::line(u"Write file (" + text::from_utf8(name) + u").");
  if (!ifimage(f)) return "";   // the writers need one pixel at least
  // The optional libraries write the formats they know by the name's extension.
  if (codec::freeimage_write(f, name) || codec::magickwand_write(f, name)) return name;
  std::string e = file_extension(name);
  saveplan plan = save_format(f.tag, e);
  std::string written = plan.matched ? name : name + plan.extension;   // "a.foo" becomes "a.foo.png"
  if (plan.write == png) return codec::save_png(f, written) ? written : "";   // streams, no whole-file buffer
  std::string bytes = plan.write(f, written);
  if (!codec::file_write(written, bytes, plan.gz)) return "";
  return written;
}

void register_files(macroengine& m) { macro::register_rows(m, "image.", rows); }

}  // namespace qv::image
