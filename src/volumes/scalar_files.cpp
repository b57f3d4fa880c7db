// scalar_files.cpp: handlers of `scalar.load*`, `scalar.save`, `scalar.info`, the load filter, image stacks and labels.
#include <algorithm>
#include <cstdio>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "images/image_files.h"
#include "images/imagefield.h"
#include "volumes/formats/nifti.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalar_ops.h"

namespace qv::scalar {

std::string file_parameter(macroengine& m, std::size_t i) {
  std::string s = text::utf8(macro::parameter(m, i));
  if (s.size() >= 2 && (s.front() == '"' || s.front() == '\'') && s.back() == s.front()) s = s.substr(1, s.size() - 2);
  return s;
}

namespace {

std::uint8_t level() { return workspace_traits<scalarfield>::default_tag; }

bool one_of(const std::string& e, std::initializer_list<const char*> list) {
  return std::any_of(list.begin(), list.end(), [&](const char* s) { return e == s; });
}

bool nifti_extension(const std::string& e) {
  return one_of(e, {"nii", "hdr", "img", "nii.gz", "hdr.gz", "img.gz"});
}

bool other_volume_extension(const std::string& e) {
  return one_of(e, {"mif", "mdf", "mifx", "pcr", "nrrd", "nhdr", "am", "vgl", "vtk", "arf", "xml"});
}

bool image_extension(const std::string& e) {
  return one_of(e, {"png", "tif", "tiff", "pgm", "pgm.gz", "pnm", "ppm", "pbm", "pam", "bmp", "tga", "rgb"});
}

// Copies one image into slice z (from 1) of `f`, over the part both cover.
void put_slice(scalarfield& f, const imagefield& img, std::int64_t z) {
  std::int64_t w = std::min(f.width, image::width(img)), h = std::min(f.height, image::height(img));
  for (std::int64_t y = 1; y <= h; ++y)
    for (std::int64_t x = 1; x <= w; ++x) {
      std::int64_t v = image::get(img, x, y);
      set(f, x, y, z, f.tag == scalartag::mono ? (v > 127 ? 1 : 0) : v);
    }
}

// A file pattern with `*` loads the sorted matches as z slices; a plain name is one slice.
bool load_image_stack(scalarfield& f, std::uint8_t tag, const std::string& pattern) {
  std::vector<widetext> names;
  if (pattern.find('*') != std::string::npos) names = file::glob(text::from_utf8(pattern));
  else names.push_back(text::from_utf8(pattern));
  std::uint8_t imagetag = tag == std::uint8_t(scalartag::fullgray) ? 146 : 145;
  imagefield img;
  if (names.empty() || !image::load_field(img, imagetag, text::utf8(names[0])) || !image::ifimage(img)) {
    if (names.empty()) print::line(u"  Couldn't read File (" + text::from_utf8(pattern) + u")! Create empty field.");
    create(f, tag, 0, 0, 0);
    return false;
  }
  if (!create_checked(f, tag, image::width(img), image::height(img), std::int64_t(names.size()))) return false;
  put_slice(f, img, 1);
  for (std::size_t k = 1; k < names.size(); ++k) {
    imagefield next;
    if (image::load_field(next, imagetag, text::utf8(names[k])) && image::ifimage(next))
      put_slice(f, next, std::int64_t(k + 1));
  }
  f.filename = text::from_utf8(pattern);
  return true;
}

bool load_any(scalarfield& f, std::uint8_t tag, const std::string& name, std::int64_t stack) {
  std::string e = image::file_extension(name);
  if (nifti_extension(e)) return load_nifti(f, tag, name, stack);
  if (other_volume_extension(e)) {
    print::line(u"  Format not supported (" + text::from_utf8(e) + u")! Create empty field.");
    create(f, tag, 0, 0, 0);
    return false;
  }
  return load_image_stack(f, tag, name);
}

std::int64_t stack_parameter(macroengine& m) {
  return macro::parameter_count(m) >= 2 ? text::nat(macro::parameter(m, 2)) : 0;
}

void load_cmd(macroengine& m) {
  if (macro::parameter_count(m) < 1) return macro::check_min(m, 1);
  if (macro::parameter_count(m) > 2) return macro::check_max(m, 2);
  load_any(current(), level(), file_parameter(m, 1), stack_parameter(m));
}

// `scalar.load.nii`, `scalar.load.hdr`, `scalar.load.nii.gz`: NIfTI whatever the name says.
void load_nii_cmd(macroengine& m) {
  if (macro::parameter_count(m) < 1) return macro::check_min(m, 1);
  if (macro::parameter_count(m) > 2) return macro::check_max(m, 2);
  load_nifti(current(), level(), file_parameter(m, 1), stack_parameter(m));
}

// One file per z slice: "name_0001.png" and on; a single slice keeps the name.
bool save_image_stack(const scalarfield& f, const std::string& name, const std::string& e) {
  if (!ifscalar(f)) {
    print::line(u"Error! Empty scalarfield!");
    return false;
  }
  std::string stem = name.substr(0, name.size() - e.size() - 1);
  bool ok = true;
  for (std::int64_t z = 1; z <= f.depth && ok; ++z) {
    imagefield img;
    image::create(img, f.tag == scalartag::fullgray ? 146 : 145, f.width, f.height);
    for (std::int64_t y = 1; y <= f.height; ++y)
      for (std::int64_t x = 1; x <= f.width; ++x) {
        std::int64_t v = get(f, x, y, z);
        image::set(img, x, y, f.tag == scalartag::mono ? v * 255 : v);
      }
    char number[32];
    std::snprintf(number, sizeof number, "_%04lld.", static_cast<long long>(z));
    std::string out = f.depth == 1 ? name : stem + number + e;
    ok = !image::save_field(img, out).empty();
  }
  return ok;
}

void save_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  std::string name = file_parameter(m, 1);
  std::string e = image::file_extension(name);
  if (image_extension(e)) save_image_stack(current(), name, e);
  else save_nifti(current(), name);
}

void info_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  std::vector<widetext> lines = info(file_parameter(m, 1));
  if (n == 1) {
    for (const widetext& l : lines) print::line(l);
    return;
  }
  filehandle h;
  widetext out = text::from_utf8(file_parameter(m, 2));
  if (!file::open_write_text(h, out)) return;
  for (const widetext& l : lines) file::write_line(h, l);
}

void load_properties_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  nifti::header h;
  bool swapped = false;
  if (read_header(file_parameter(m, 1), h, swapped)) frame_from_header(h, current().frame);
}

void load_framework_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  load_framework(current(), level(), file_parameter(m, 1));
}

void load_filter_cmd(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n > 2) return macro::check_max(m, 2);
  scalarfield& f = current();
  f.load_filter_offset = n >= 1 ? text::nat(macro::parameter(m, 1)) : 0;
  f.load_filter_factor = n == 2 ? text::nat(macro::parameter(m, 2)) : 0;
}

void labels_new_cmd(macroengine&) { labels_clear(current()); }

void load_labels_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  load_labels(current(), file_parameter(m, 1));
}

void labels_length_fn(macroengine& m) {
  macro::value_set(m, nat::text(std::int64_t(current().labels.size())));
}

void label_fn(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  macro::value_set(m, label_get(current(), text::nat(macro::parameter(m, 1))));
}

void label_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 2) return macro::check_exact(m, 2);
  widetext name = macro::parameter(m, 2);
  if (name.size() >= 2 && (name.front() == u'"' || name.front() == u'\'') && name.back() == name.front())
    name = name.substr(1, name.size() - 2);
  label_set(current(), text::nat(macro::parameter(m, 1)), name);
}

void labels_dump_cmd(macroengine&) { dump_labels(current()); }

void save_labels_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  save_labels(current(), file_parameter(m, 1));
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name            kind handler            usage                                   comment
    {"load",           P, load_cmd,            "scalar.load file.nii [stack]",         "reads a volume, or image files (pattern with *) as z slices"},
    {"load.nii",       P, load_nii_cmd,        "scalar.load.nii file [stack]",         "reads a NIfTI or Analyze volume whatever its name"},
    {"loadnii",        P, load_nii_cmd,        "scalar.loadnii file [stack]",          "reads a NIfTI or Analyze volume whatever its name"},
    {"load.hdr",       P, load_nii_cmd,        "scalar.load.hdr file.hdr [stack]",     "reads a NIfTI or Analyze pair"},
    {"loadhdr",        P, load_nii_cmd,        "scalar.loadhdr file.hdr [stack]",      "reads a NIfTI or Analyze pair"},
    {"load.nii.gz",    P, load_nii_cmd,        "scalar.load.nii.gz file.nii.gz [stack]", "reads a zipped NIfTI volume"},
    {"loadnii.gz",     P, load_nii_cmd,        "scalar.loadnii.gz file.nii.gz [stack]", "reads a zipped NIfTI volume"},
    {"load.filter",    P, load_filter_cmd,     "scalar.load.filter [offset [factor]]", "reset load filter - range adjusted to local range (Default - 0 0)"},
    {"load.properties", P, load_properties_cmd, "scalar.load.properties file.nii",     "reads only offset and matrix into the field"},
    {"load.framework", P, load_framework_cmd,  "scalar.load.framework file.nii",       "a new field with the file's size and frame, voxels 0"},
    {"info",           P, info_cmd,            "scalar.info file.nii [out.txt]",       "prints the header of a volume file"},
    {"save",           P, save_cmd,            "scalar.save file.nii",                 "writes the field; image extensions write one file per slice"},
    {"labels.new",     P, labels_new_cmd,      "scalar.labels.new",                    "forgets all labels"},
    {"labels.clean",   P, labels_new_cmd,      "scalar.labels.clean",                  "forgets all labels"},
    {"labels.clear",   P, labels_new_cmd,      "scalar.labels.clear",                  "forgets all labels"},
    {"load.labels",    P, load_labels_cmd,     "scalar.load.labels file",              "atlas xml, tab separated [1#name] or one name a line; maximal 0-999 labels"},
    {"labels.length",  F, labels_length_fn,    "count := scalar.labels.length",        "number of labels"},
    {"label",          F, label_fn,            "name := scalar.label 1",               "name of a label index"},
    {"label",          P, label_cmd,           "scalar.label 1 \"exterior\"",          "names a label index"},
    {"labels.dump",    P, labels_dump_cmd,     "scalar.labels.dump",                   "prints the labels"},
    {"save.labels",    P, save_labels_cmd,     "scalar.save.labels file.labels",       "writes the labels, tab separated"},
};

}  // namespace

bool load_file(scalarfield& f, std::uint8_t tag, const std::string& name) { return load_any(f, tag, name, 0); }

void register_files(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
