// mesh_files.cpp: `mesh.load`, `mesh.digits` and the `mesh.save*` writers, chosen by command or extension.
#include "meshes/mesh_files.h"

#include <algorithm>
#include <string>

#include "engine/macroengine.h"
#include "engine/registry.h"
#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "foundation/numeric_text.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/textscan.h"

namespace qv::meshes {
namespace {

using meshformat::ascform;
using meshformat::povnormals;

// Decimals of the OBJ and PLY numbers; 0 is the full `real.text` form.
int digits = 0;

mesh& current() { return *workspace::current<mesh>(); }

// The lower-cased text after the last "." of the name's last part; empty if none.
std::string extension_of(const widetext& name) {
  const std::string s = text::utf8(name);
  const std::size_t dot = s.find_last_of('.'), slash = s.find_last_of("/\\");
  if (dot == std::string::npos || (slash != std::string::npos && slash > dot)) return {};
  return meshformat::lower(std::string_view(s).substr(dot + 1));
}

// The name with `ext` appended unless it ends in it already (case ignored).
widetext with_extension(const widetext& name, std::string_view ext) {
  const std::string low = meshformat::lower(text::utf8(name));
  if (low.size() >= ext.size() && low.compare(low.size() - ext.size(), ext.size(), ext) == 0) return name;
  return name + text::ascii(ext);
}

// The name without its last extension.
widetext without_extension(const widetext& name) {
  const std::size_t dot = name.find_last_of(u'.'), slash = name.find_last_of(u"/\\");
  if (dot == widetext::npos || (slash != widetext::npos && slash > dot)) return name;
  return name.substr(0, dot);
}

// ---- load ---------------------------------------------------------------------

void load(macroengine& e) {
  if (macro::parameter_count(e) != 1) return macro::check_exact(e, 1);
  const widetext name = macro::parameter(e, 1);
  if (name.empty()) return;
  const std::string ext = extension_of(name);
  static constexpr const char* known[] = {"dxf", "obj", "ply", "wrl", "iv", "vrml", "pov", "inc", "stl",
                                          "anysurf", "asc", "vtx", "csv", "prn"};
  if (std::none_of(std::begin(known), std::end(known), [&](const char* k) { return ext == k; }))
    return print::line(u"Unkown fileextension (" + text::ascii(ext) + u")!");
  print::line(u"Read file (" + name + u").");
  std::string bytes;
  if (!file::read_all(name, bytes)) return;
  mesh& m = current();
  if (ext == "dxf") meshformat::read_dxf(m, bytes);
  else if (ext == "obj") meshformat::read_obj(m, bytes);
  else if (ext == "ply") meshformat::read_ply(m, bytes, name);
  else if (ext == "wrl") meshformat::read_vrml(m, bytes, true);
  else if (ext == "iv" || ext == "vrml") meshformat::read_vrml(m, bytes, false);
  else if (ext == "pov" || ext == "inc") meshformat::read_pov(m, bytes);
  else if (ext == "stl") meshformat::read_stl(m, bytes);
  else if (ext == "anysurf") meshformat::read_anysurf(m, bytes);
  else meshformat::read_asc(m, bytes);
  m.filename = name;
}

void digits_cmd(macroengine& e) {
  if (macro::parameter_count(e) != 1) return macro::check_exact(e, 1);
  digits = int(std::clamp<std::int64_t>(text::nat(macro::parameter(e, 1)), 0, 30));
}

// ---- save -----------------------------------------------------------------------

enum class format : std::uint8_t { obj, dxf, ply, aply, vtp, asc, csv, prn, mel, smel, pov, spov, npov, inc,
                                   sinc, ninc, open, stl };

// The extension each format's file gets, and the extensions `mesh.save` knows (in step with `format`).
constexpr const char* extensions[] = {".obj", ".dxf", ".ply", ".ply", ".vtp", ".asc", ".csv", ".prn", ".mel",
                                      ".mel", ".pov", ".pov", ".pov", ".inc", ".inc", ".inc", ".asc", ".stl"};
constexpr const char* selectors[] = {"obj", "dxf", "ply", "aply", "vtp", "asc", "csv", "prn", "mel",
                                     "smel", "pov", "spov", "npov", "inc", "sinc", "ninc", "open", "stl"};
static_assert(std::size(extensions) == std::size(selectors) && std::size(selectors) == std::size_t(format::stl) + 1);

bool write(const mesh& m, const widetext& name, format f, const meshformat::objmaterial& material) {
  // The file formats need the decimal point whatever `math.decimal` says; the
  // point rows follow the number format as they are.
  number::formatguard guard;
  if (f != format::asc && f != format::csv && f != format::prn) number::format.decimal = true;
  switch (f) {
    case format::obj: return meshformat::save_obj(m, name, material, digits);
    case format::dxf: return meshformat::save_dxf(m, name);
    case format::ply: return meshformat::save_ply(m, name);
    case format::aply: return meshformat::save_ply_ascii(m, name, digits);
    case format::vtp: return meshformat::save_vtp(m, name);
    case format::asc: return meshformat::save_asc(m, name, ascform::asc);
    case format::csv: return meshformat::save_asc(m, name, ascform::csv);
    case format::prn: return meshformat::save_asc(m, name, ascform::prn);
    case format::mel: return meshformat::save_mel(m, name, false);
    case format::smel: return meshformat::save_mel(m, name, true);
    case format::pov: return meshformat::save_pov(m, name, povnormals::none, false);
    case format::spov: return meshformat::save_pov(m, name, povnormals::smooth, false);
    case format::npov: return meshformat::save_pov(m, name, povnormals::stored, false);
    case format::inc: return meshformat::save_pov(m, name, povnormals::none, true);
    case format::sinc: return meshformat::save_pov(m, name, povnormals::smooth, true);
    case format::ninc: return meshformat::save_pov(m, name, povnormals::stored, true);
    case format::open: return meshformat::save_open(m, name);
    case format::stl: return meshformat::save_stl(m, name);
  }
  return false;
}

// The shared flow: nothing for an empty name, the message for an empty mesh,
// the extension appended, then the writer.
void save_as(const widetext& given, format f, const meshformat::objmaterial& material = {}) {
  if (given.empty()) return;
  const widetext name = with_extension(given, extensions[int(f)]);
  const mesh& m = current();
  if (m.points.empty()) return print::line(u"Empty file (" + name + u") - not written!");
  if (!write(m, name, f, material)) print::line(u"  Couldn't write File (" + name + u")!");
  if (f == format::ply || f == format::aply) number::format.vector = false;   // the PLY writers leave it cleared
}

void save_one(macroengine& e, format f) {
  if (macro::parameter_count(e) != 1) return macro::check_exact(e, 1);
  save_as(macro::parameter(e, 1), f);
}

// By extension; a selector that is no extension of its own ("aply", "smel",
// "npov", "open"...) gives way to the format's extension.
void save(macroengine& e) {
  if (macro::parameter_count(e) != 1) return macro::check_exact(e, 1);
  const widetext name = macro::parameter(e, 1);
  if (name.empty()) return;
  const std::string ext = extension_of(name);
  for (std::size_t i = 0; i < std::size(selectors); ++i) {
    if (ext != selectors[i]) continue;
    const bool own = ext == std::string_view(extensions[i]).substr(1);
    return save_as(own ? name : without_extension(name), format(i));
  }
  print::line(u"Unkown fileextension (" + text::ascii(ext) + u")!");
}

void save_obj(macroengine& e) {
  const std::size_t n = macro::parameter_count(e);
  if (n != 1 && n != 3) return n < 1 ? macro::check_min(e, 1) : macro::check_exact(e, 3);
  meshformat::objmaterial material;
  if (n == 3) {
    material.library = text::utf8(macro::parameter(e, 2));
    material.name = text::utf8(macro::parameter(e, 3));
  }
  save_as(macro::parameter(e, 1), format::obj, material);
}

void save_mat(macroengine& e) {
  const std::size_t n = macro::parameter_count(e);
  if (n < 3) return macro::check_min(e, 3);
  if (n > 4) return macro::check_max(e, 4);
  const widetext given = macro::parameter(e, 1);
  if (given.empty()) return;
  const num::vector colour = n == 4 ? text::vector(macro::parameter(e, 4)) : num::vector{1, 1, 1};
  const widetext name = with_extension(given, ".mtl");
  number::formatguard guard;
  number::format.decimal = true;
  if (!meshformat::save_material(name, text::utf8(macro::parameter(e, 2)), text::nat(macro::parameter(e, 3)), colour))
    print::line(u"  Couldn't write File (" + name + u")!");
}

void save_dxf(macroengine& e) { save_one(e, format::dxf); }
void save_ply(macroengine& e) { save_one(e, format::ply); }
void save_ply_ascii(macroengine& e) { save_one(e, format::aply); }
void save_vtp(macroengine& e) { save_one(e, format::vtp); }
void save_stl(macroengine& e) { save_one(e, format::stl); }
void save_asc(macroengine& e) { save_one(e, format::asc); }
void save_csv(macroengine& e) { save_one(e, format::csv); }
void save_prn(macroengine& e) { save_one(e, format::prn); }
void save_open(macroengine& e) { save_one(e, format::open); }
void save_mel(macroengine& e) { save_one(e, format::mel); }
void save_mel_smooth(macroengine& e) { save_one(e, format::smel); }
void save_pov(macroengine& e) { save_one(e, format::pov); }
void save_pov_smooth(macroengine& e) { save_one(e, format::spov); }
void save_inc(macroengine& e) { save_one(e, format::inc); }
void save_inc_smooth(macroengine& e) { save_one(e, format::sinc); }

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    {"load",            P, load,            "mesh.load file.obj",  "adds a mesh file: dxf, obj, ply, wrl, iv, vrml, pov, inc, stl, anysurf, asc, vtx, csv, prn"},
    {"digits",          P, digits_cmd,      "mesh.digits 0",       "decimals of OBJ and PLY numbers; 0 writes all digits"},
    {"save.obj",        P, save_obj,        "mesh.save.obj file.obj [file.mtl material]", "OBJ of the visible faces, optionally with a material library"},
    {"save.mat",        P, save_mat,        "mesh.save.mat file.mtl name 1 [<1,1,1>]", "OBJ material: 1 neon, 2 flat, 3 dissolved, 4 shiny, 5 mirror, 6 glas"},
    {"save.dxf",        P, save_dxf,        "mesh.save.dxf file.dxf", "DXF with one 3DFACE per face"},
    {"save.ply",        P, save_ply,        "mesh.save.ply file.ply", "binary PLY of the visible faces"},
    {"save.ply.ascii",  P, save_ply_ascii,  "mesh.save.ply.ascii file.ply", "ascii PLY"},
    {"save.vtp",        P, save_vtp,        "mesh.save.vtp file.vtp", "VTK XML poly data"},
    {"save.stl",        P, save_stl,        "mesh.save.stl file.stl", "binary STL of the visible faces, quads as two triangles"},
    {"save.asc",        P, save_asc,        "mesh.save.asc file.asc", "points as rows x y z"},
    {"save.csv",        P, save_csv,        "mesh.save.csv file.csv", "points as rows x,y,z"},
    {"save.prn",        P, save_prn,        "mesh.save.prn file.prn", "points as tab-separated rows"},
    {"save.open",       P, save_open,       "mesh.save.open file.asc", "ASC mesh with normals for OpenSim"},
    {"save.mel",        P, save_mel,        "mesh.save.mel file.mel", "Maya MEL script"},
    {"save.mel.smooth", P, save_mel_smooth, "mesh.save.mel.smooth file.mel", "Maya MEL script, smooth shaded"},
    {"save.pov",        P, save_pov,        "mesh.save.pov file.pov", "POV-Ray scene with a mesh2"},
    {"save.pov.smooth", P, save_pov_smooth, "mesh.save.pov.smooth file.pov", "POV-Ray scene, normals from the faces"},
    {"save.inc",        P, save_inc,        "mesh.save.inc file.inc", "POV-Ray include with a mesh2"},
    {"save.inc.smooth", P, save_inc_smooth, "mesh.save.inc.smooth file.inc", "POV-Ray include, normals from the faces"},
    {"save",            P, save,            "mesh.save file.obj", "by extension: dxf obj ply aply vtp asc csv prn mel smel pov spov npov inc sinc ninc open stl"},
};

}  // namespace

void register_files(macroengine& m) { macro::register_rows(m, "mesh.", rows); }

}  // namespace qv::meshes
