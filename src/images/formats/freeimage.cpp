// freeimage.cpp: reading and writing images through FreeImage, found with dlopen when it is installed.
//
// Known limits: only the functions below are resolved; their signatures are
// declared here (the library's C interface, `BOOL` an int). Float and complex
// images are reduced to 8 bits by the library; palettes are expanded to 32 bits.
#include <dlfcn.h>

#include <bit>
#include <cstring>

#include "images/formats/codec.h"
#include "images/formats/imagelibs.h"

namespace qv::codec {
namespace {

struct FIBITMAP;
using fibool = int;
constexpr int fif_unknown = -1;
// Image types (FREE_IMAGE_TYPE) and colour types (FREE_IMAGE_COLOR_TYPE) we tell apart.
constexpr int fit_bitmap = 1, fit_uint16 = 2, fit_rgb16 = 9, fit_rgba16 = 10;
constexpr int fic_minisblack = 1, fic_rgbalpha = 4;

struct fiapi {
  void* handle = nullptr;
  void (*Initialise)(fibool) = nullptr;
  void (*DeInitialise)() = nullptr;
  const char* (*GetVersion)() = nullptr;
  int (*GetFileType)(const char*, int) = nullptr;
  int (*GetFIFFromFilename)(const char*) = nullptr;
  fibool (*FIFSupportsReading)(int) = nullptr;
  fibool (*FIFSupportsWriting)(int) = nullptr;
  fibool (*FIFSupportsExportBPP)(int, int) = nullptr;
  fibool (*FIFSupportsExportType)(int, int) = nullptr;
  FIBITMAP* (*Load)(int, const char*, int) = nullptr;
  fibool (*Save)(int, FIBITMAP*, const char*, int) = nullptr;
  void (*Unload)(FIBITMAP*) = nullptr;
  FIBITMAP* (*AllocateT)(int, int, int, int, unsigned, unsigned, unsigned) = nullptr;
  int (*GetImageType)(FIBITMAP*) = nullptr;
  int (*GetColorType)(FIBITMAP*) = nullptr;
  unsigned (*GetWidth)(FIBITMAP*) = nullptr;
  unsigned (*GetHeight)(FIBITMAP*) = nullptr;
  unsigned (*GetBPP)(FIBITMAP*) = nullptr;
  std::uint8_t* (*GetScanLine)(FIBITMAP*, int) = nullptr;
  FIBITMAP* (*ConvertTo32Bits)(FIBITMAP*) = nullptr;
  FIBITMAP* (*ConvertToGreyscale)(FIBITMAP*) = nullptr;
  FIBITMAP* (*ConvertToStandardType)(FIBITMAP*, fibool) = nullptr;
};
fiapi fi;

template <typename F>
bool resolve(F& fn, const char* name) {
  fn = reinterpret_cast<F>(dlsym(fi.handle, name));
  return fn != nullptr;
}

bool resolve_all() {
  return resolve(fi.Initialise, "FreeImage_Initialise") && resolve(fi.DeInitialise, "FreeImage_DeInitialise") &&
         resolve(fi.GetVersion, "FreeImage_GetVersion") && resolve(fi.GetFileType, "FreeImage_GetFileType") &&
         resolve(fi.GetFIFFromFilename, "FreeImage_GetFIFFromFilename") &&
         resolve(fi.FIFSupportsReading, "FreeImage_FIFSupportsReading") &&
         resolve(fi.FIFSupportsWriting, "FreeImage_FIFSupportsWriting") &&
         resolve(fi.FIFSupportsExportBPP, "FreeImage_FIFSupportsExportBPP") &&
         resolve(fi.FIFSupportsExportType, "FreeImage_FIFSupportsExportType") && resolve(fi.Load, "FreeImage_Load") &&
         resolve(fi.Save, "FreeImage_Save") && resolve(fi.Unload, "FreeImage_Unload") &&
         resolve(fi.AllocateT, "FreeImage_AllocateT") && resolve(fi.GetImageType, "FreeImage_GetImageType") &&
         resolve(fi.GetColorType, "FreeImage_GetColorType") && resolve(fi.GetWidth, "FreeImage_GetWidth") &&
         resolve(fi.GetHeight, "FreeImage_GetHeight") && resolve(fi.GetBPP, "FreeImage_GetBPP") &&
         resolve(fi.GetScanLine, "FreeImage_GetScanLine") && resolve(fi.ConvertTo32Bits, "FreeImage_ConvertTo32Bits") &&
         resolve(fi.ConvertToGreyscale, "FreeImage_ConvertToGreyscale") &&
         resolve(fi.ConvertToStandardType, "FreeImage_ConvertToStandardType");
}

// Owns one bitmap.
struct bitmap {
  FIBITMAP* b = nullptr;
  explicit bitmap(FIBITMAP* p = nullptr) : b(p) {}
  bitmap(const bitmap&) = delete;
  bitmap& operator=(const bitmap&) = delete;
  ~bitmap() {
    if (b) fi.Unload(b);
  }
  void reset(FIBITMAP* p) {
    if (b) fi.Unload(b);
    b = p;
  }
};

// Byte positions of red, green, blue and alpha in a 24- or 32-bit pixel: blue first on little-endian machines.
constexpr bool bgr = std::endian::native == std::endian::little;
constexpr int at_r = bgr ? 2 : 0, at_g = 1, at_b = bgr ? 0 : 2, at_a = 3;

// Copies the rows top first (the library keeps them bottom first).
template <typename S>
void copy_rows(FIBITMAP* b, std::int64_t w, std::int64_t h, int channels, std::vector<S>& out) {
  out.resize(std::size_t(w * h * channels));
  S* o = out.data();
  for (std::int64_t y = 0; y < h; ++y, o += w * channels)
    std::memcpy(o, fi.GetScanLine(b, int(h - 1 - y)), std::size_t(w * channels) * sizeof(S));
}

// 8-bit pixels of 32 bits in the library's order become r, g, b, a.
void copy_rows32(FIBITMAP* b, std::int64_t w, std::int64_t h, int channels, std::vector<std::uint8_t>& out) {
  out.resize(std::size_t(w * h * channels));
  std::uint8_t* o = out.data();
  for (std::int64_t y = 0; y < h; ++y) {
    const std::uint8_t* s = fi.GetScanLine(b, int(h - 1 - y));
    for (std::int64_t x = 0; x < w; ++x, s += 4, o += channels) {
      o[0] = s[at_r], o[1] = s[at_g], o[2] = s[at_b];
      if (channels == 4) o[3] = s[at_a];
    }
  }
}

bool decode(bitmap& bm, libpixels& px) {
  px.width = fi.GetWidth(bm.b), px.height = fi.GetHeight(bm.b);
  if (!size_ok(px.width, px.height)) return false;
  int type = fi.GetImageType(bm.b);
  if (type == fit_uint16 || type == fit_rgb16 || type == fit_rgba16) {
    px.deep = true;
    px.channels = type == fit_uint16 ? 1 : type == fit_rgb16 ? 3 : 4;
    copy_rows(bm.b, px.width, px.height, px.channels, px.p16);   // 16-bit samples keep r, g, b order
    return true;
  }
  if (type != fit_bitmap) {
    bm.reset(fi.ConvertToStandardType(bm.b, 1));
    if (!bm.b) return false;
  }
  int colour = fi.GetColorType(bm.b);
  if (colour == fic_minisblack && fi.GetBPP(bm.b) == 8) {
    px.channels = 1;
    copy_rows(bm.b, px.width, px.height, 1, px.p8);
    return true;
  }
  px.channels = colour == fic_rgbalpha ? 4 : 3;
  bm.reset(fi.ConvertTo32Bits(bm.b));
  if (!bm.b) return false;
  copy_rows32(bm.b, px.width, px.height, px.channels, px.p8);
  return true;
}

// A bitmap of the pixels, rows bottom first; none when memory is short.
FIBITMAP* encode(const libpixels& px) {
  int type = px.deep ? fit_uint16 : fit_bitmap, bpp = px.deep ? 16 : 8 * px.channels;
  unsigned rmask = bgr ? 0xFF0000u : 0xFFu, bmask = bgr ? 0xFFu : 0xFF0000u;
  FIBITMAP* b = fi.AllocateT(type, int(px.width), int(px.height), bpp, rmask, 0xFF00u, bmask);
  if (!b) return nullptr;
  std::int64_t w = px.width, h = px.height;
  for (std::int64_t y = 0; y < h; ++y) {
    std::uint8_t* o = fi.GetScanLine(b, int(h - 1 - y));
    if (px.deep) {
      std::memcpy(o, px.p16.data() + y * w, std::size_t(w) * 2);
    } else if (px.channels == 1) {
      std::memcpy(o, px.p8.data() + y * w, std::size_t(w));
    } else {
      const std::uint8_t* s = px.p8.data() + y * w * px.channels;
      for (std::int64_t x = 0; x < w; ++x, s += px.channels, o += px.channels) {
        o[at_r] = s[0], o[at_g] = s[1], o[at_b] = s[2];
        if (px.channels == 4) o[at_a] = s[3];
      }
    }
  }
  return b;
}

}  // namespace

void freeimage_open() {
  for (const char* name : {"libfreeimage.so.3", "libfreeimage.so"}) {
    fi.handle = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (fi.handle) break;
  }
  if (!fi.handle) return;
  if (!resolve_all()) {
    dlclose(fi.handle);
    fi = fiapi{};
    return;
  }
  fi.Initialise(0);
  imagelib& l = freeimage();
  l.loaded = l.enabled = true;
  const char* v = fi.GetVersion();
  l.version = v ? v : "";
}

void freeimage_close() {
  if (!fi.handle) return;
  fi.DeInitialise();
  dlclose(fi.handle);
  fi = fiapi{};
  freeimage() = imagelib{};
}

bool freeimage_read(imagefield& f, const std::string& name) {
  if (!freeimage().enabled) return false;
  int fif = fi.GetFileType(name.c_str(), 0);
  if (fif == fif_unknown) fif = fi.GetFIFFromFilename(name.c_str());
  if (fif == fif_unknown || !fi.FIFSupportsReading(fif)) return false;
  bitmap bm(fi.Load(fif, name.c_str(), 0));
  if (!bm.b) return false;
  libpixels px;
  return decode(bm, px) && store_pixels(f, px);
}

bool freeimage_write(const imagefield& f, const std::string& name) {
  if (!freeimage().enabled || !image::ifimage(f)) return false;
  int fif = fi.GetFIFFromFilename(name.c_str());
  if (fif == fif_unknown || !fi.FIFSupportsWriting(fif)) return false;
  // 16-bit grey is its own image type; the library asks bit counts only of standard bitmaps.
  bool deep = f.tag == fieldtag::fullgray;
  int bpp = f.tag == fieldtag::gray ? 8 : f.tag == fieldtag::rgba ? 32 : 24;
  if (!fi.FIFSupportsExportType(fif, deep ? fit_uint16 : fit_bitmap) || (!deep && !fi.FIFSupportsExportBPP(fif, bpp)))
    return false;
  libpixels px;
  fetch_pixels(f, px);
  bitmap bm(encode(px));
  return bm.b && fi.Save(fif, bm.b, name.c_str(), 0);
}

}  // namespace qv::codec
