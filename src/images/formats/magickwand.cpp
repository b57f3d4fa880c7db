// magickwand.cpp: reading and writing images through ImageMagick's MagickWand, found with dlopen when installed.
//
// Known limits: version 6 of the library (its pixel storage numbering); only the
// functions below are resolved and their signatures are declared here. Writing
// needs an extension the library knows as a format; the first frame of a file is read.
#include <dlfcn.h>

#include <cstring>

#include "images/formats/codec.h"
#include "images/formats/imagelibs.h"

namespace qv::codec {
namespace {

struct MagickWand;
using mbool = int;   // MagickBooleanType
constexpr int char_pixel = 1, short_pixel = 7;   // StorageType of version 6

struct mwapi {
  void* handle = nullptr;
  void (*Genesis)() = nullptr;
  void (*Terminus)() = nullptr;
  const char* (*GetVersion)(std::size_t*) = nullptr;
  MagickWand* (*New)() = nullptr;
  MagickWand* (*Destroy)(MagickWand*) = nullptr;
  mbool (*ReadImage)(MagickWand*, const char*) = nullptr;
  mbool (*WriteImage)(MagickWand*, const char*) = nullptr;
  std::size_t (*GetWidth)(MagickWand*) = nullptr;
  std::size_t (*GetHeight)(MagickWand*) = nullptr;
  std::size_t (*GetDepth)(MagickWand*) = nullptr;
  mbool (*SetDepth)(MagickWand*, std::size_t) = nullptr;
  mbool (*GetAlphaChannel)(MagickWand*) = nullptr;
  mbool (*ExportPixels)(MagickWand*, std::ptrdiff_t, std::ptrdiff_t, std::size_t, std::size_t, const char*, int,
                        void*) = nullptr;
  mbool (*ConstituteImage)(MagickWand*, std::size_t, std::size_t, const char*, int, const void*) = nullptr;
  char** (*QueryFormats)(const char*, std::size_t*) = nullptr;
  void* (*RelinquishMemory)(void*) = nullptr;
};
mwapi mw;

template <typename F>
bool resolve(F& fn, const char* name) {
  fn = reinterpret_cast<F>(dlsym(mw.handle, name));
  return fn != nullptr;
}

bool resolve_all() {
  return resolve(mw.Genesis, "MagickWandGenesis") && resolve(mw.Terminus, "MagickWandTerminus") &&
         resolve(mw.GetVersion, "MagickGetVersion") && resolve(mw.New, "NewMagickWand") &&
         resolve(mw.Destroy, "DestroyMagickWand") && resolve(mw.ReadImage, "MagickReadImage") &&
         resolve(mw.WriteImage, "MagickWriteImage") && resolve(mw.GetWidth, "MagickGetImageWidth") &&
         resolve(mw.GetHeight, "MagickGetImageHeight") && resolve(mw.GetDepth, "MagickGetImageDepth") &&
         resolve(mw.SetDepth, "MagickSetImageDepth") && resolve(mw.GetAlphaChannel, "MagickGetImageAlphaChannel") &&
         resolve(mw.ExportPixels, "MagickExportImagePixels") &&
         resolve(mw.ConstituteImage, "MagickConstituteImage") && resolve(mw.QueryFormats, "MagickQueryFormats") &&
         resolve(mw.RelinquishMemory, "MagickRelinquishMemory");
}

// Owns one wand.
struct wand {
  MagickWand* w = mw.New();
  wand() = default;
  wand(const wand&) = delete;
  wand& operator=(const wand&) = delete;
  ~wand() {
    if (w) mw.Destroy(w);
  }
};

// "ImageMagick 6.9.11-60 Q16 x86_64 ..." gives "6.9.11-60".
std::string version_word(const char* v) {
  std::string s = v ? v : "";
  std::size_t a = s.find(' ');
  if (a == std::string::npos) return s;
  std::size_t b = s.find(' ', a + 1);
  return s.substr(a + 1, b == std::string::npos ? std::string::npos : b - a - 1);
}

// True when the library has a format named by the file's last extension.
bool known_format(const std::string& name) {
  std::size_t slash = name.find_last_of('/'), dot = name.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash) || dot + 1 == name.size()) return false;
  std::string e = name.substr(dot + 1);
  for (char& c : e) {
    if (c == '*' || c == '?' || c == '[') return false;   // the query takes a pattern
    c = char(c >= 'a' && c <= 'z' ? c - 32 : c);
  }
  std::size_t n = 0;
  char** list = mw.QueryFormats(e.c_str(), &n);
  if (list) {
    for (std::size_t i = 0; i < n; ++i) mw.RelinquishMemory(list[i]);
    mw.RelinquishMemory(list);
  }
  return n > 0;
}

}  // namespace

void magickwand_open() {
  for (const char* name : {"libMagickWand-6.Q16.so.6", "libMagickWand-6.Q16.so"}) {
    mw.handle = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (mw.handle) break;
  }
  if (!mw.handle) return;
  if (!resolve_all()) {
    dlclose(mw.handle);
    mw = mwapi{};
    return;
  }
  mw.Genesis();
  imagelib& l = magickwand();
  l.loaded = l.enabled = true;
  std::size_t number = 0;
  l.version = version_word(mw.GetVersion(&number));
}

// The library stays mapped after its Terminus: it keeps a few blocks of its own
// (and its OpenMP threads) past that call, and unmapping it would orphan them.
void magickwand_close() {
  if (!mw.handle) return;
  mw.Terminus();
  mw = mwapi{};
  magickwand() = imagelib{};
}

bool magickwand_read(imagefield& f, const std::string& name) {
  if (!magickwand().enabled) return false;
  wand m;
  if (!m.w || !mw.ReadImage(m.w, name.c_str())) return false;
  libpixels px;
  px.width = std::int64_t(mw.GetWidth(m.w)), px.height = std::int64_t(mw.GetHeight(m.w));
  if (!size_ok(px.width, px.height)) return false;
  px.deep = mw.GetDepth(m.w) > 8;
  px.channels = mw.GetAlphaChannel(m.w) ? 4 : 3;
  const char* map = px.channels == 4 ? "RGBA" : "RGB";
  std::size_t n = std::size_t(px.width * px.height * px.channels);
  void* out = nullptr;
  if (px.deep) px.p16.resize(n), out = px.p16.data();
  else px.p8.resize(n), out = px.p8.data();
  if (!mw.ExportPixels(m.w, 0, 0, std::size_t(px.width), std::size_t(px.height), map,
                       px.deep ? short_pixel : char_pixel, out))
    return false;
  return store_pixels(f, px);
}

bool magickwand_write(const imagefield& f, const std::string& name) {
  if (!magickwand().enabled || !image::ifimage(f) || !known_format(name)) return false;
  libpixels px;
  fetch_pixels(f, px);
  const char* map = px.channels == 1 ? "I" : px.channels == 3 ? "RGB" : "RGBA";
  const void* data = px.deep ? static_cast<const void*>(px.p16.data()) : px.p8.data();
  wand m;
  return m.w &&
         mw.ConstituteImage(m.w, std::size_t(px.width), std::size_t(px.height), map,
                            px.deep ? short_pixel : char_pixel, data) &&
         mw.SetDepth(m.w, px.deep ? 16 : 8) && mw.WriteImage(m.w, name.c_str());
}

}  // namespace qv::codec
