// vector_files.cpp: `vector.save`, `vector.load` and the `vector.append` merges, dispatched by extension.
#include "orientation/vector_files.h"

#include <algorithm>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "images/image_files.h"
#include "orientation/formats/vector_formats.h"
#include "volumes/formats/nifti.h"

namespace qv::vector {
namespace {

vectorfield& current() { return *workspace::current<vectorfield>(); }

// The writer by extension; plain text for every name it does not know.
bool save_by_extension(const vectorfield& f, const std::string& name, vector scale) {
  const std::string e = image::file_extension(name);
  if (e == "nii" || e == "hdr") return save_nifti(f, name, scale, false);
  if (e == "nii.gz") return save_nifti(f, name, scale, true);
  if (e == "fld") return save_avs(f, name, scale);
  if (e == "am") return save_amira(f, name, scale);
  if (e == "limbert") return save_limbert(f, name, scale);
  return save_text(f, name, scale);
}

bool load_by_extension(vectorfield& f, const std::string& name) {
  const std::string e = image::file_extension(name);
  if (e == "nii" || e == "nii.gz") return load_nifti(f, name);
  return load_text(f, name);
}

void save_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  const vectorfield& f = current();
  if (!has_voxels(f)) return print::line(u"Error! Empty vectorfield!");
  const widetext name = macro::parameter(m, 1);
  const vector scale = n == 2 ? read_vector(macro::parameter(m, 2)) : vector{1, 1, 1};
  print::line(u"Write file (" + name + u").");
  if (!save_by_extension(f, text::utf8(name), scale)) print::line(u"  Couldn't write File (" + name + u")!");
}

void load_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  const widetext name = macro::parameter(m, 1);
  print::line(u"Read file (" + name + u").");
  vectorfield& f = current();
  load_by_extension(f, text::utf8(name));
  f.filename = name;
}

// Only the header: the frame into the current field, or size and frame into a new one.
void load_header(macroengine& m, niftipart part) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  const std::string e = image::file_extension(text::utf8(name));
  if (e != "nii" && e != "nii.gz") return print::line(u"Not provided!");
  print::line(u"Read file (" + name + u").");
  load_nifti(current(), text::utf8(name), part);
}
void load_properties_cmd(macroengine& m) { load_header(m, niftipart::frame); }
void load_framework_cmd(macroengine& m) { load_header(m, niftipart::framework); }

// Reads a file as a field and merges it voxel by voxel into the current one.
enum class merge : std::uint8_t { all, without_zero, longest };

void append(macroengine& m, merge how) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  print::line(u"Read file (" + name + u").");
  vectorfield other;
  if (!load_by_extension(other, text::utf8(name))) return;
  vectorfield& f = current();
  if (!has_voxels(f)) {
    f = std::move(other);
    return;
  }
  static constexpr const char16_t* labels[3] = {u"  Merging", u"  Merging (without zero)",
                                                u"  Merging (without zero and for the longest vector)"};
  const widetext label = labels[int(how)];
  const std::int64_t nx = std::min(f.width, other.width), ny = std::min(f.height, other.height),
                     nz = std::min(f.depth, other.depth);
  for (std::int64_t z = 1; z <= nz; ++z) {
    progress::set(double(z - 1) / double(nz), label);
    for (std::int64_t y = 1; y <= ny; ++y)
      for (std::int64_t x = 1; x <= nx; ++x) {
        const vector v = get(other, x, y, z);
        if (how != merge::all && v == vector{}) continue;
        if (how == merge::longest && framemath::length(v) <= framemath::length(get(f, x, y, z))) continue;
        set(f, x, y, z, v);
      }
  }
  progress::end(label);
}

// The header dump of `scalar.info`, for a vector file: to the console, or into the second parameter's file.
void info_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  const std::vector<widetext> lines = scalar::info(text::utf8(macro::parameter(m, 1)));
  if (n == 1) {
    for (const widetext& l : lines) print::line(l);
    return;
  }
  filehandle h;
  if (!file::open_write_text(h, macro::parameter(m, 2))) return;
  for (const widetext& l : lines) file::write_line(h, l);
}

void append_cmd(macroengine& m) { append(m, merge::all); }
void append_zero_cmd(macroengine& m) { append(m, merge::without_zero); }
void append_best_cmd(macroengine& m) { append(m, merge::longest); }

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    {"save",        P, save_cmd,        "vector.save file.nii.gz [<0.5,0.5,0.5>]", "save vector field with vector scaling <0.5, 0.5, 0.5>; nii, nii.gz, fld, am, limbert or txt"},
    {"load",        P, load_cmd,        "vector.load file.nii.gz",              "reads a vector field: nii, nii.gz or txt"},
    {"load.properties", P, load_properties_cmd, "vector.load.properties file.nii", "reads only offset and matrix into the field"},
    {"load.framework",  P, load_framework_cmd,  "vector.load.framework file.nii",  "size and frame of a file, all vectors null"},
    {"info",        P, info_cmd,        "vector.info file.nii [out.txt]",       "prints the header of a vector file"},
    {"append",      P, append_cmd,      "vector.append file.nii",               "merges a file into the field"},
    {"append.zero", P, append_zero_cmd, "vector.append.zero file.nii",          "merges a file into the field, without its null vectors"},
    {"append.best", P, append_best_cmd, "vector.append.best file.nii",          "merges a file into the field, keeping the longer vector"},
};

}  // namespace

void register_files(macroengine& m) { macro::register_rows(m, "vector.", rows); }

}  // namespace qv::vector
