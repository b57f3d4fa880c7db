// imagelibs.cpp: the state of the optional image libraries and the pixel conversions between them and images.
#include "images/formats/imagelibs.h"

#include <algorithm>

#include "images/formats/codec.h"

namespace qv::codec {
namespace {

bool opened = false;

std::int64_t grey_of(std::int64_t r, std::int64_t g, std::int64_t b) { return (r + g + b) / 3; }

// One kernel per sample type: `S` is what the library gave, 8 or 16 bits.
template <typename S>
void store_grey(imagefield& f, const S* s, int channels, std::size_t n) {
  constexpr bool deep = sizeof(S) == 2;
  imagebody& b = *f.pixels;
  if (f.tag == fieldtag::gray) {
    std::uint8_t* o = b.gray.data.data();
    for (std::size_t i = 0; i < n; ++i, s += channels) {
      std::int64_t v = channels == 1 ? s[0] : grey_of(s[0], s[1], s[2]);
      o[i] = std::uint8_t(deep ? v >> 8 : v);
    }
    return;
  }
  std::uint16_t* o = b.fullgray.data.data();   // 8-bit samples stay values, as the native readers keep them
  for (std::size_t i = 0; i < n; ++i, s += channels) {
    std::int64_t v = channels == 1 ? s[0] : deep ? grey_of(s[0], s[1], s[2]) : s[0] + s[1] + s[2];
    o[i] = std::uint16_t(v);
  }
}

template <typename S>
void store_colour(imagefield& f, const S* s, int channels, std::size_t n) {
  constexpr int shift = sizeof(S) == 2 ? 8 : 0;
  imagebody& b = *f.pixels;
  int g = channels >= 3 ? 1 : 0, bl = channels >= 3 ? 2 : 0;
  if (f.tag == fieldtag::zrgb) {   // 2x2 sub-samples per pixel: the general write
    std::int64_t w = b.width;
    for (std::size_t i = 0; i < n; ++i, s += channels)
      image::set_rgb(f, std::int64_t(i) % w + 1, std::int64_t(i) / w + 1, {s[0] >> shift, s[g] >> shift, s[bl] >> shift});
    return;
  }
  std::uint8_t *pr = b.red.data.data(), *pg = b.green.data.data(), *pb = b.blue.data.data();
  std::uint8_t* pa = f.tag == fieldtag::rgba ? b.alpha.data.data() : nullptr;
  for (std::size_t i = 0; i < n; ++i, s += channels) {
    pr[i] = std::uint8_t(s[0] >> shift), pg[i] = std::uint8_t(s[g] >> shift), pb[i] = std::uint8_t(s[bl] >> shift);
    if (pa) pa[i] = channels == 4 ? std::uint8_t(s[3] >> shift) : 255;
  }
}

template <typename S>
void store_all(imagefield& f, const S* s, int channels, std::size_t n) {
  if (f.tag == fieldtag::gray || f.tag == fieldtag::fullgray) store_grey(f, s, channels, n);
  else store_colour(f, s, channels, n);
}

const char16_t* store_title(fieldtag t, int channels) {
  switch (t) {
    case fieldtag::gray: return channels == 1 ? u"  Grey" : u"  Grey (RGB)";
    case fieldtag::fullgray: return channels == 1 ? u"  Fullgray" : u"  Fullgrey (Fullrgb)";
    case fieldtag::rgba: return channels == 1 ? u"  RGB (Grey)" : u"  RGBA";
    default: return channels == 1 ? u"  RGB (Grey)" : u"  RGB";
  }
}

}  // namespace

imagelib& freeimage() {
  static imagelib l;
  return l;
}

imagelib& magickwand() {
  static imagelib l;
  return l;
}

void imagelibs_open() {
  if (opened) return;
  opened = true;
  freeimage_open();
  magickwand_open();
}

void imagelibs_close() {
  if (!opened) return;
  opened = false;
  freeimage_close();
  magickwand_close();
}

bool store_pixels(imagefield& f, const libpixels& px) {
  if (!size_ok(px.width, px.height) || (px.channels != 1 && px.channels != 3 && px.channels != 4)) return false;
  std::size_t n = std::size_t(px.width * px.height), want = n * std::size_t(px.channels);
  if ((px.deep ? px.p16.size() : px.p8.size()) < want) return false;
  image::create(f, std::uint8_t(f.tag), px.width, px.height);
  if (!f.pixels) return false;
  progress_line(store_title(f.tag, px.channels), px.width, px.height);
  if (px.deep) store_all(f, px.p16.data(), px.channels, n);
  else store_all(f, px.p8.data(), px.channels, n);
  return true;
}

void fetch_pixels(const imagefield& f, libpixels& px) {
  std::int64_t w = image::width(f), h = image::height(f);
  fieldtag t = f.tag;
  progress_line(t == fieldtag::gray ? u"  Grey" : t == fieldtag::fullgray ? u"  Fullgray" : t == fieldtag::rgba ? u"  RGBA" : u"  RGB", w, h);
  px = libpixels{};
  px.width = w, px.height = h;
  std::size_t n = std::size_t(w * h);
  const imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray:
      px.channels = 1;
      px.p8 = b.gray.data;
      break;
    case fieldtag::fullgray:
      px.channels = 1, px.deep = true;
      px.p16 = b.fullgray.data;
      break;
    default: {
      px.channels = f.tag == fieldtag::rgba ? 4 : 3;
      std::string row;
      px.p8.resize(n * std::size_t(px.channels));
      for (std::int64_t y = 1; y <= h; ++y) {
        row.clear();
        colour_row(f, y, px.channels, row);
        std::copy(row.begin(), row.end(), px.p8.begin() + std::ptrdiff_t((y - 1) * w * px.channels));
      }
    }
  }
}

}  // namespace qv::codec
