// imagefield.cpp: construction of image records and the pixel reads and writes of the five pixel types.
#include "images/imagefield.h"

#include <cmath>

#include "foundation/console.h"

namespace qv::image {
namespace {

constexpr std::int64_t max_pixels = std::int64_t(1) << 40;   // far above any real image

void reset_settings(imagefield& f) {
  f.marker = 186;
  f.filename.clear();
  f.fullscan = false;
  f.copymethod = 1;
  f.submethod = 2;
  f.diffusionmethod = 0;
  f.diffusionangle = 5 * 0.017453292519943295;
  f.diffusionmax = 0.25;
  f.frame = qv::frame{};
}

// Empty body for the tag with its default values; planes sized when x*y >= 1.
std::unique_ptr<imagebody> new_body(fieldtag t, std::int64_t x, std::int64_t y) {
  auto b = std::make_unique<imagebody>();
  b->width = x, b->height = y;
  b->diagonal = framemath::round(std::sqrt(double(x) * double(x) + double(y) * double(y)));
  b->centerx = x ? double(x) / 2 : 1;
  b->centery = y ? double(y) / 2 : 1;
  bool sized = x * y >= 1;
  switch (t) {
    case fieldtag::gray:
      b->gray.value = 255;
      if (sized) b->gray.create(x, y);
      break;
    case fieldtag::fullgray:
      b->fullgray.value = 65535;
      if (sized) b->fullgray.create(x, y);
      break;
    case fieldtag::zrgb:
      b->z.value = 65535;
      b->zmin = sized ? 0 : 2;
      if (sized) b->z.create(2 * x, 2 * y);
      [[fallthrough]];
    case fieldtag::rgba:
      if (t == fieldtag::rgba && sized) b->alpha.create(x, y);
      [[fallthrough]];
    case fieldtag::rgb: {
      std::int64_t k = t == fieldtag::zrgb ? 2 : 1;
      if (sized)
        for (plane8* p : {&b->red, &b->green, &b->blue}) p->create(k * x, k * y);
      break;
    }
    default: break;
  }
  return b;
}

std::int64_t sum3(const imagebody& b, std::int64_t x, std::int64_t y) {
  return std::int64_t(b.red.get(x, y)) + b.green.get(x, y) + b.blue.get(x, y);
}

// Per-channel mean of a zrgb 2x2 block and the number of drawn sub-samples.
struct blockmean {
  rgbvalue c;
  std::int64_t z = 0;
  int drawn = 0;
};
blockmean block(const imagebody& b, std::int64_t x, std::int64_t y) {
  blockmean r;
  std::int64_t sr = 0, sg = 0, sb = 0, sz = 0;
  for (int k = 0; k < 4; ++k) {
    std::int64_t px = 2 * x - 1 + (k & 1), py = 2 * y - 1 + (k >> 1);
    sr += b.red.get(px, py), sg += b.green.get(px, py), sb += b.blue.get(px, py);
    std::uint16_t z = b.z.get(px, py);
    sz += z;
    if (z) ++r.drawn;
  }
  r.c = {sr >> 2, sg >> 2, sb >> 2};
  r.z = sz >> 2;
  return r;
}

std::uint8_t coverage(int drawn) { return clamp8(64 * drawn); }

// Depth test of the z-buffer: each sub-sample takes colour and depth when its
// stored z is not above the mapped depth, so the newest of equals wins.
void block_write(imagebody& b, std::int64_t x, std::int64_t y, std::int64_t d, rgbvalue c) {
  if (x < 1 || y < 1 || x > b.width || y > b.height) return;
  double mapped = b.zmax == b.zmin ? (2.0 + 65535.0) / 2
                                   : 2.0 + (double(d) - double(b.zmin)) * (65535.0 - 2.0) / double(b.zmax - b.zmin);
  std::uint16_t z = clamp16(framemath::round(mapped));
  std::uint8_t r = clamp8(c.r), g = clamp8(c.g), bl = clamp8(c.b);
  for (int k = 0; k < 4; ++k) {
    std::int64_t px = 2 * x - 1 + (k & 1), py = 2 * y - 1 + (k >> 1);
    if (b.z.get(px, py) <= z) {
      b.z.set(px, py, z);
      b.red.set(px, py, r), b.green.set(px, py, g), b.blue.set(px, py, bl);
    }
  }
}

std::int64_t blend(std::int64_t a, std::int64_t c, std::int64_t bg, std::int64_t div) { return (a * (c - bg)) / div + bg; }

}  // namespace

bool valid_tag(std::uint8_t t) { return t == 145 || t == 146 || t == 161 || t == 162 || t == 165; }

const char16_t* tag_name(fieldtag t) {
  switch (t) {
    case fieldtag::gray: return u"gray";
    case fieldtag::fullgray: return u"fullgray";
    case fieldtag::rgb: return u"rgb";
    case fieldtag::rgba: return u"rgba";
    default: return u"unknown";
  }
}

void create(imagefield& f, std::uint8_t tag) {
  reset_settings(f);
  f.pixels.reset();
  if (!valid_tag(tag)) {
    print::line(u"Unknown imagefield!");
    f.tag = fieldtag::none;
    return;
  }
  f.tag = fieldtag(tag);
  f.pixels = new_body(f.tag, 0, 0);
}

void create(imagefield& f, std::uint8_t tag, std::int64_t x, std::int64_t y) {
  reset_settings(f);
  f.pixels.reset();
  bool fits = x >= 1 && y >= 1 && x <= max_pixels / y;
  if (!valid_tag(tag) || !fits) {
    print::line(u"Unknown imagefield!");
    f.tag = fieldtag::none;
    return;
  }
  f.tag = fieldtag(tag);
  f.pixels = new_body(f.tag, x, y);
}

void clear(imagefield& f) {
  if (f.tag != fieldtag::none) create(f, std::uint8_t(f.tag));
}

void resize(imagefield& f, std::int64_t x, std::int64_t y) {
  if (f.tag == fieldtag::none) return;
  if (x * y >= 1) create(f, std::uint8_t(f.tag), x, y);
  else create(f, std::uint8_t(f.tag));
}

void assign(imagefield& f, const imagefield* s) {
  if (s == &f) return;
  if (!s || !s->pixels) return clear(f);
  std::int64_t x = s->pixels->width, y = s->pixels->height;
  if (x * y >= 1) create(f, std::uint8_t(s->tag), x, y);
  else create(f, std::uint8_t(s->tag));
  imagebody& b = *f.pixels;
  const imagebody& o = *s->pixels;
  b.gray = o.gray, b.fullgray = o.fullgray, b.red = o.red, b.green = o.green, b.blue = o.blue;
  b.alpha = o.alpha, b.z = o.z, b.zmin = o.zmin, b.zmax = o.zmax, b.font = o.font;
  f.frame = s->frame;
  f.filename = s->filename;
  f.fullscan = s->fullscan, f.copymethod = s->copymethod, f.submethod = s->submethod;
  f.diffusionmethod = s->diffusionmethod, f.diffusionangle = s->diffusionangle, f.diffusionmax = s->diffusionmax;
}

void free(imagefield& f) {
  f.pixels.reset();
  f.tag = fieldtag::none;
}

std::int64_t width(const imagefield& f) { return f.pixels ? f.pixels->width : 0; }
std::int64_t height(const imagefield& f) { return f.pixels ? f.pixels->height : 0; }
bool ifimage(const imagefield& f) { return width(f) * height(f) >= 1; }

std::int64_t get(const imagefield& f, std::int64_t x, std::int64_t y) {
  if (!f.pixels) return 0;
  const imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: return b.gray.get(x, y);
    case fieldtag::fullgray: return b.fullgray.get(x, y);
    case fieldtag::rgb: return sum3(b, x, y);
    case fieldtag::rgba: return (sum3(b, x, y) * b.alpha.get(x, y)) / 255;
    case fieldtag::zrgb: return sum3(b, x, y);   // the plane at logical coordinates, as stored
    default: return 0;
  }
}

std::int64_t get_8bit(const imagefield& f, std::int64_t x, std::int64_t y) {
  if (!f.pixels) return 0;
  const imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: return b.gray.get(x, y);
    case fieldtag::fullgray: return b.fullgray.get(x, y) / 256;
    case fieldtag::rgb: return sum3(b, x, y) / 3;
    case fieldtag::rgba: return ((sum3(b, x, y) / 3) * b.alpha.get(x, y)) / 255;
    case fieldtag::zrgb: return sum3(b, x, y) / 3;
    default: return 0;
  }
}

rgbvalue get_rgb(const imagefield& f, std::int64_t x, std::int64_t y) {
  if (!f.pixels) return {};
  const imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: {
      std::int64_t v = b.gray.get(x, y);
      return {v, v, v};
    }
    case fieldtag::fullgray: {
      std::int64_t v = b.fullgray.get(x, y);
      return {v, v, v};
    }
    case fieldtag::rgb:
    case fieldtag::rgba: return {b.red.get(x, y), b.green.get(x, y), b.blue.get(x, y)};
    case fieldtag::zrgb: return block(b, x, y).c;
    default: return {};
  }
}

rgbavalue get_rgba(const imagefield& f, std::int64_t x, std::int64_t y) {
  if (!f.pixels) return {};
  if (f.tag == fieldtag::rgba) {
    const imagebody& b = *f.pixels;
    return {b.red.get(x, y), b.green.get(x, y), b.blue.get(x, y), b.alpha.get(x, y)};
  }
  if (f.tag == fieldtag::zrgb) {
    blockmean m = block(*f.pixels, x, y);
    return {m.c.r, m.c.g, m.c.b, coverage(m.drawn)};
  }
  rgbvalue c = get_rgb(f, x, y);
  return {c.r, c.g, c.b, f.tag == fieldtag::none ? 0 : 255};
}

std::uint8_t get_alpha(const imagefield& f, std::int64_t x, std::int64_t y) {
  if (!f.pixels) return 255;
  if (f.tag == fieldtag::rgba) return f.pixels->alpha.get(x, y);
  if (f.tag == fieldtag::zrgb) return coverage(block(*f.pixels, x, y).drawn);
  return 255;
}

std::int64_t get_z(const imagefield& f, std::int64_t x, std::int64_t y) {
  if (!f.pixels || f.tag != fieldtag::zrgb) return 0;
  return block(*f.pixels, x, y).z;
}

rgbavalue get_rgbz(const imagefield& f, std::int64_t x, std::int64_t y) {
  if (!f.pixels) return {};
  if (f.tag == fieldtag::zrgb) {
    blockmean m = block(*f.pixels, x, y);
    return {m.c.r, m.c.g, m.c.b, m.z};
  }
  rgbvalue c = get_rgb(f, x, y);
  return {c.r, c.g, c.b, 65535};
}

void set(imagefield& f, std::int64_t x, std::int64_t y, std::int64_t n) {
  if (!f.pixels) return;
  imagebody& b = *f.pixels;
  std::uint8_t c = clamp8(n);
  switch (f.tag) {
    case fieldtag::gray: b.gray.set(x, y, c); break;
    case fieldtag::fullgray: b.fullgray.set(x, y, clamp16(n)); break;
    case fieldtag::rgba: b.alpha.set(x, y, 255); [[fallthrough]];
    case fieldtag::rgb: b.red.set(x, y, c), b.green.set(x, y, c), b.blue.set(x, y, c); break;
    case fieldtag::zrgb: block_write(b, x, y, 65535, {c, c, c}); break;
    default: break;
  }
}

void set_rgb(imagefield& f, std::int64_t x, std::int64_t y, rgbvalue c) {
  if (!f.pixels) return;
  imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: b.gray.set(x, y, clamp8((c.r + c.g + c.b) / 3)); break;
    case fieldtag::fullgray: b.fullgray.set(x, y, clamp16(c.r + c.g + c.b)); break;
    case fieldtag::rgba: b.alpha.set(x, y, 255); [[fallthrough]];
    case fieldtag::rgb: b.red.set(x, y, clamp8(c.r)), b.green.set(x, y, clamp8(c.g)), b.blue.set(x, y, clamp8(c.b)); break;
    case fieldtag::zrgb: block_write(b, x, y, 65535, c); break;
    default: break;
  }
}

// Alpha blends against the background read as one whole number, also per channel.
void set_rgba(imagefield& f, std::int64_t x, std::int64_t y, rgbavalue c) {
  if (!f.pixels) return;
  imagebody& b = *f.pixels;
  std::int64_t bg = get_background(f);
  switch (f.tag) {
    case fieldtag::gray: b.gray.set(x, y, clamp8(blend(c.a, (c.r + c.g + c.b) / 3, bg, 255))); break;
    case fieldtag::fullgray: b.fullgray.set(x, y, clamp8(blend(c.a, c.r + c.g + c.b, bg, 65535))); break;
    case fieldtag::rgb:
      b.red.set(x, y, clamp8(blend(c.a, c.r, bg, 255)));
      b.green.set(x, y, clamp8(blend(c.a, c.g, bg, 255)));
      b.blue.set(x, y, clamp8(blend(c.a, c.b, bg, 255)));
      break;
    case fieldtag::rgba:
      b.red.set(x, y, clamp8(c.r)), b.green.set(x, y, clamp8(c.g)), b.blue.set(x, y, clamp8(c.b));
      b.alpha.set(x, y, clamp8(c.a));
      break;
    case fieldtag::zrgb:
      block_write(b, x, y, 65535,
                  {clamp8(blend(c.a, c.r, bg, 255)), clamp8(blend(c.a, c.g, bg, 255)), clamp8(blend(c.a, c.b, bg, 255))});
      break;
    default: break;
  }
}

void set_z(imagefield& f, std::int64_t x, std::int64_t y, std::int64_t z, rgbvalue c) {
  if (f.tag == fieldtag::zrgb && f.pixels) block_write(*f.pixels, x, y, z, c);
  else set_rgb(f, x, y, c);
}

// Value and background share their rules; `which` picks the member of each plane.
namespace {
template <typename T>
T& slot(imageplane<T>& p, bool background) { return background ? p.background : p.value; }
template <typename T>
T slot(const imageplane<T>& p, bool background) { return background ? p.background : p.value; }

rgbavalue read_setting(const imagefield& f, bool bg) {
  if (!f.pixels) return {};
  const imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: {
      std::int64_t v = slot(b.gray, bg);
      return {v, v, v, 255};
    }
    case fieldtag::fullgray: {
      std::int64_t v = slot(b.fullgray, bg);
      return {v, v, v, 255};
    }
    case fieldtag::rgba: return {slot(b.red, bg), slot(b.green, bg), slot(b.blue, bg), slot(b.alpha, bg)};
    case fieldtag::rgb:
    case fieldtag::zrgb: return {slot(b.red, bg), slot(b.green, bg), slot(b.blue, bg), 255};
    default: return {};
  }
}

std::int64_t read_setting_whole(const imagefield& f, bool bg) {
  rgbavalue v = read_setting(f, bg);
  switch (f.tag) {
    case fieldtag::gray:
    case fieldtag::fullgray: return v.r;
    case fieldtag::rgb:
    case fieldtag::zrgb: return v.r + v.g + v.b;
    case fieldtag::rgba: return framemath::round(double(v.r + v.g + v.b) / 255.0);
    default: return 0;
  }
}

void write_colour(imagefield& f, bool bg, rgbvalue c, std::int64_t a, bool with_alpha) {
  if (!f.pixels) return;
  imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: slot(b.gray, bg) = std::uint8_t((clamp8(c.r) + clamp8(c.g) + clamp8(c.b)) / 3); break;
    case fieldtag::fullgray: slot(b.fullgray, bg) = clamp16(c.r + c.g + c.b); break;
    case fieldtag::rgba: slot(b.alpha, bg) = with_alpha ? clamp8(a) : 255; [[fallthrough]];
    case fieldtag::rgb:
    case fieldtag::zrgb:
      slot(b.red, bg) = clamp8(c.r), slot(b.green, bg) = clamp8(c.g), slot(b.blue, bg) = clamp8(c.b);
      break;
    default: break;
  }
}

void write_whole(imagefield& f, bool bg, std::int64_t n) {
  if (!f.pixels) return;
  if (f.tag == fieldtag::gray) slot(f.pixels->gray, bg) = clamp8(n);
  else if (f.tag == fieldtag::fullgray) slot(f.pixels->fullgray, bg) = clamp16(n);
  else write_colour(f, bg, {n, n, n}, 255, false);
}
}  // namespace

std::int64_t get_value(const imagefield& f) { return read_setting_whole(f, false); }
std::int64_t get_background(const imagefield& f) { return read_setting_whole(f, true); }
rgbvalue get_value_rgb(const imagefield& f) {
  rgbavalue v = read_setting(f, false);
  return {v.r, v.g, v.b};
}
rgbvalue get_background_rgb(const imagefield& f) {
  rgbavalue v = read_setting(f, true);
  return {v.r, v.g, v.b};
}
rgbavalue get_value_rgba(const imagefield& f) { return read_setting(f, false); }
rgbavalue get_background_rgba(const imagefield& f) { return read_setting(f, true); }
void set_value(imagefield& f, std::int64_t n) { write_whole(f, false, n); }
void set_value(imagefield& f, rgbvalue c) { write_colour(f, false, c, 255, false); }
void set_value(imagefield& f, rgbavalue c) { write_colour(f, false, {c.r, c.g, c.b}, c.a, true); }
void set_background(imagefield& f, std::int64_t n) { write_whole(f, true, n); }
void set_background(imagefield& f, rgbvalue c) { write_colour(f, true, c, 255, false); }
void set_background(imagefield& f, rgbavalue c) { write_colour(f, true, {c.r, c.g, c.b}, c.a, true); }

}  // namespace qv::image
