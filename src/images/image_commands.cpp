// image_commands.cpp: handlers of the image frame, size, type-switch and value commands.
#include "images/image_commands.h"

#include "foundation/console.h"
#include "images/frame_commands.h"
#include "foundation/numbertext.h"
#include "images/imagefield.h"

namespace qv::image {
namespace {

using framemath::vector;

widetext flag(bool b) { return b ? u"1" : u"0"; }

void clear_cmd(macroengine&) { clear(current()); }

// Re-creates the current image with the default type, at its own size or the given one.
void new_cmd(macroengine& m) {
  imagefield& f = current();
  std::int64_t x = width(f), y = height(f);
  std::size_t n = macro::parameter_count(m);
  if (n == 1) {
    double v[2];
    read_numbers(macro::parameter(m, 1), v, 2);
    x = framemath::round(v[0]), y = framemath::round(v[1]);
  } else if (n >= 2) {
    x = text::nat(macro::parameter(m, 1)), y = text::nat(macro::parameter(m, 2));
  }
  std::uint8_t tag = workspace_traits<imagefield>::default_tag;
  if (x >= 1 && y >= 1) create(f, tag, x, y);
  else create(f, tag);
}

void size_fn(macroengine& m) { macro::value_set(m, nat2_text(width(current()), height(current()))); }

void center_fn(macroengine& m) {
  imagefield& f = current();
  macro::value_set(m, vector2_text(double(width(f)) / 2, double(height(f)) / 2));
}

void center_cmd(macroengine&) {
  imagefield& f = current();
  vector s = frame_scale(f.frame);
  frame_set_offset(f.frame, {double(width(f)) * s.x / 2, double(height(f)) * s.y / 2, 0});
}

// The frame commands every field family shares.
using shared = frame_cmd::handlers<imagefield>;

template <fieldtag T>
void switch_cmd(macroengine&) { workspace_traits<imagefield>::default_tag = std::uint8_t(T); }

bool has_separator(wideview t) {
  for (widechar c : t)
    if (c == u' ' || c == u',' || c == u';') return true;
  return false;
}

// One colour text, one whole number, or a colour and an alpha.
void set_setting(macroengine& m, bool background) {
  imagefield& f = current();
  std::size_t n = macro::parameter_count(m);
  if (n == 1) {
    widetext p = macro::parameter(m, 1);
    if (has_separator(p)) {
      double c[3];
      read_numbers(p, c, 3);
      rgbvalue v{framemath::round(c[0]), framemath::round(c[1]), framemath::round(c[2])};
      background ? set_background(f, v) : set_value(f, v);
    } else {
      std::int64_t v = text::nat(p);
      background ? set_background(f, v) : set_value(f, v);
    }
  } else if (n == 2) {
    double c[3];
    read_numbers(macro::parameter(m, 1), c, 3);
    rgbavalue v{framemath::round(c[0]), framemath::round(c[1]), framemath::round(c[2]),
                text::nat(macro::parameter(m, 2))};
    background ? set_background(f, v) : set_value(f, v);
  } else {
    macro::check_min(m, 1);
  }
}

void value_cmd(macroengine& m) { set_setting(m, false); }
void background_cmd(macroengine& m) { set_setting(m, true); }

void ifimage_fn(macroengine& m) { macro::value_set(m, flag(ifimage(current()))); }
void ifplain_fn(macroengine& m) { macro::value_set(m, flag(ifplain(current()))); }

void crop_cmd(macroengine& m) {
  std::int64_t p = macro::parameter_count(m) == 1 ? text::nat(macro::parameter(m, 1)) : 0;
  crop_field(current(), p);
}

void setsign_cmd(macroengine&) { setsign(current()); }
void setrange_cmd(macroengine&) { setrange(current()); }
void fill_cmd(macroengine&) { fill(current()); }

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name             kind handler        usage                                  comment
    {"clear",           P, clear_cmd,       "image.clear",                          "drops pixels and frame, keeps the pixel type"},
    {"clean",           P, clear_cmd,       "image.clean",                          "drops pixels and frame, keeps the pixel type"},
    {"new",             P, new_cmd,         "image.new <x,y>",                      "re-creates the image with the default type"},
    {"size",            F, size_fn,         "<x,y> := image.size",                  "size of the image"},
    {"center",          F, center_fn,       "<x,y> := image.center",                "half the size"},
    {"center",          P, center_cmd,      "image.center",                         "puts the origin in the middle of the image"},
    {"origin.center",   F, center_fn,       "<x,y> := image.origin.center",         "half the size"},
    {"origin.center",   P, center_cmd,      "image.origin.center",                  "puts the origin in the middle of the image"},
    {"offset.center",   F, center_fn,       "<x,y> := image.offset.center",         "half the size"},
    {"offset.center",   P, center_cmd,      "image.offset.center",                  "puts the origin in the middle of the image"},
    {"origin",          F, shared::origin_fn,       "<x,y,z> := image.origin",              "global position of pixel <1,1>"},
    {"origin",          P, shared::origin_cmd,      "image.origin <x,y,z>",                 "sets the global position of pixel <1,1>"},
    {"offset",          F, shared::origin_fn,       "<x,y,z> := image.offset",              "global position of pixel <1,1>"},
    {"offset",          P, shared::origin_cmd,      "image.offset <x,y,z>",                 "sets the global position of pixel <1,1>"},
    {"scale",           P, shared::scale_cmd,       "image.scale <x,y,z>",                  "pixel size, the sign is dropped"},
    {"scale",           F, shared::scale_fn,        "<x,y,z> := image.scale",               "pixel size"},
    {"matrix",          F, shared::matrix_fn,       "(<..>;<..>;<..>) := image.matrix",     "pixel steps in global space"},
    {"matrix.v1",       F, shared::matrix_v1,       "<x,y,z> := image.matrix.v1",           "step per x index"},
    {"matrix.v2",       F, shared::matrix_v2,       "<x,y,z> := image.matrix.v2",           "step per y index"},
    {"matrix.v3",       F, shared::matrix_v3,       "<x,y,z> := image.matrix.v3",           "step per z index"},
    {"matrix",          P, shared::matrix_cmd,      "image.matrix <v1> <v2> <v3>",          "sets the pixel steps in global space"},
    {"unflip",          P, shared::unflip_cmd,      "image.unflip",                         "makes every matrix entry positive"},
    {"unrotate",        P, shared::unrotate_cmd,    "image.unrotate",                       "keeps only the lengths of the matrix rows"},
    {"l2g",             F, shared::l2g_fn,          "<x,y,z> := image.l2g <x,y,z>",         "index to global position"},
    {"g2l",             F, shared::g2l_fn,          "<x,y,z> := image.g2l <x,y,z>",         "global position to index"},
    {"8bit",            P, switch_cmd<fieldtag::gray>,     "image.8bit",            "new images are gray (8 bit)"},
    {"byte",            P, switch_cmd<fieldtag::gray>,     "image.byte",            "new images are gray (8 bit)"},
    {"gray",            P, switch_cmd<fieldtag::gray>,     "image.gray",            "new images are gray (8 bit)"},
    {"16bit",           P, switch_cmd<fieldtag::fullgray>, "image.16bit",           "new images are fullgray (16 bit)"},
    {"word",            P, switch_cmd<fieldtag::fullgray>, "image.word",            "new images are fullgray (16 bit)"},
    {"nat",             P, switch_cmd<fieldtag::fullgray>, "image.nat",             "new images are fullgray (16 bit)"},
    {"fullgray",        P, switch_cmd<fieldtag::fullgray>, "image.fullgray",        "new images are fullgray (16 bit)"},
    {"hdrgray",         P, switch_cmd<fieldtag::fullgray>, "image.hdrgray",         "new images are fullgray (16 bit)"},
    {"24bit",           P, switch_cmd<fieldtag::rgb>,      "image.24bit",           "new images are rgb"},
    {"rgb",             P, switch_cmd<fieldtag::rgb>,      "image.rgb",             "new images are rgb"},
    {"32bit",           P, switch_cmd<fieldtag::rgba>,     "image.32bit",           "new images are rgba"},
    {"rgba",            P, switch_cmd<fieldtag::rgba>,     "image.rgba",            "new images are rgba"},
    {"40bit",           P, switch_cmd<fieldtag::zrgb>,     "image.40bit",           "new images are z-buffered rgb"},
    {"value",           P, value_cmd,       "image.value 255 | <r,g,b> [alpha]",    "drawing value"},
    {"background",      P, background_cmd,  "image.background 0 | <r,g,b> [alpha]", "value of reads outside the image"},
    {"ifimage",         F, ifimage_fn,      "flag := image.ifimage",                "1 if the image has pixels"},
    {"ifplain",         F, ifplain_fn,      "flag := image.ifplain",                "1 if all pixels are equal or the image is empty"},
    {"crop",            P, crop_cmd,        "image.crop 0",                         "cuts to the pixels above the value"},
    {"setsign",         P, setsign_cmd,     "image.setsign",                        "turns wrapped signed data into an ascending range"},
    {"setrange",        P, setrange_cmd,    "image.setrange",                       "shifts or unwraps the used value range to start at 0"},
    {"fill",            P, fill_cmd,        "image.fill",                           "fills the image with its value"},
};

}  // namespace

void register_commands(macroengine& m) {
  workspace::register_family<imagefield>(m);
  macro::register_rows(m, "image.", rows);
}

}  // namespace qv::image
