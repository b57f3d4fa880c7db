// tensor_files.cpp: `tensor.save`, `tensor.load`, the header-only loads, the `tensor.append` merges and `tensor.info`.
#include <algorithm>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "images/image_files.h"
#include "orientation/formats/tensor_formats.h"
#include "orientation/tensor_commands.h"
#include "volumes/formats/nifti.h"

namespace qv::tensor {
namespace {

tensorfield& current() { return *workspace::current<tensorfield>(); }

bool is_nifti(const std::string& e) { return e == "nii" || e == "nii.gz" || e == "hdr"; }

void save_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const tensorfield& f = current();
  if (!has_voxels(f)) return print::line(u"Error! Empty tensorfield!");
  const widetext name = macro::parameter(m, 1);
  const std::string file = text::utf8(name), e = image::file_extension(file);
  if (!is_nifti(e) && e != "nrrd" && e != "nhdr") return print::line(u"Not provided!");
  print::line(u"Write file (" + name + u").");
  const bool ok = e == "nrrd" || e == "nhdr" ? save_nrrd(f, file, e == "nhdr") : save_nifti(f, file, e == "nii.gz");
  if (!ok) print::line(u"  Couldn't write File (" + name + u")!");
}

// Reads a NIfTI file; any other name leaves an empty field.
bool load_file(tensorfield& f, const widetext& name, vector::niftipart part = vector::niftipart::all) {
  const std::string file = text::utf8(name);
  if (!is_nifti(image::file_extension(file))) {
    print::line(u"  Couldn't read File (" + name + u")! Create empty field.");
    clear_field(f);
    return false;
  }
  return load_nifti(f, file, part);
}

void load_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  print::line(u"Read file (" + name + u").");
  tensorfield& f = current();
  load_file(f, name);
  f.filename = name;
}

// Only the header: the frame into the current field, or size and frame with all tensors null.
void load_header(macroengine& m, vector::niftipart part) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  if (!is_nifti(image::file_extension(text::utf8(name)))) return print::line(u"Not provided!");
  print::line(u"Read file (" + name + u").");
  load_file(current(), name, part);
}
void load_properties_cmd(macroengine& m) { load_header(m, vector::niftipart::frame); }
void load_framework_cmd(macroengine& m) { load_header(m, vector::niftipart::framework); }

// Reads a file as a field and merges it voxel by voxel into the current one,
// over the sizes both share; an empty current field takes the file as it is.
void append(macroengine& m, bool without_zero) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  print::line(u"Read file (" + name + u").");
  tensorfield other;
  if (!load_file(other, name)) return;
  tensorfield& f = current();
  if (!has_voxels(f)) {
    f = std::move(other);
    return;
  }
  const widetext label = without_zero ? u"  Merging (without zero)" : u"  Merging";
  const std::int64_t nx = std::min(f.width, other.width), ny = std::min(f.height, other.height),
                     nz = std::min(f.depth, other.depth);
  for (std::int64_t z = 1; z <= nz; ++z) {
    progress::set(double(z - 1) / double(nz), label);
    for (std::int64_t y = 1; y <= ny; ++y)
      for (std::int64_t x = 1; x <= nx; ++x) {
        const tensor6 t = get(other, x, y, z);
        if (!without_zero || !is_null(t)) set(f, x, y, z, t);
      }
  }
  progress::end(label);
}
void append_cmd(macroengine& m) { append(m, false); }
void append_zero_cmd(macroengine& m) { append(m, true); }

// The header dump of a tensor file: to the console, or into the second parameter's file.
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

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    {"save",            P, save_cmd,            "tensor.save file.nii.gz",            "save tensor field: nii, nii.gz, hdr, nrrd or nhdr (+raw)"},
    {"load",            P, load_cmd,            "tensor.load file.nii.gz",            "reads a tensor field: nii or nii.gz, six values per voxel"},
    {"load.properties", P, load_properties_cmd, "tensor.load.properties file.nii",    "reads only offset and matrix into the field"},
    {"load.framework",  P, load_framework_cmd,  "tensor.load.framework file.nii",     "size and frame of a file, all tensors null"},
    {"append",          P, append_cmd,          "tensor.append file.nii",             "merges a file into the field"},
    {"append.zero",     P, append_zero_cmd,     "tensor.append.zero file.nii",        "merges a file into the field, without its null tensors"},
    {"info",            P, info_cmd,            "tensor.info file.nii [out.txt]",     "prints the header of a tensor file"},
};

}  // namespace

void register_files(macroengine& m) { macro::register_rows(m, "tensor.", rows); }

}  // namespace qv::tensor
