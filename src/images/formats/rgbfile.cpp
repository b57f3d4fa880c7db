// rgbfile.cpp: the `.rgb` file (read and write), headerless raw colour data and IMGF reading.
//
// Known limits: IMGF is read only uncompressed (compression field 1); the SGI
// form of `.rgb` is read only into rgba images and only with four channels.
#include <algorithm>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "images/formats/codec.h"

namespace qv::codec {
namespace {

// Pixels of 2, 3 or 4 bytes, chosen by the data length, rows from the top.
bool read_packed(imagefield& f, bytereader& r, std::int64_t x, std::int64_t y, const char16_t* misfit) {
  std::int64_t len = std::int64_t(r.left());
  int bpp = !size_ok(x, y) ? 0 : x * y * 2 == len ? 2 : x * y * 3 == len ? 3 : x * y * 4 == len ? 4 : 0;
  if (!bpp) {
    print::line(misfit);
    return false;
  }
  image::create(f, std::uint8_t(f.tag), x, y);
  if (!f.pixels) return false;
  progress_line(bpp == 2 ? u"  RGB (16bit)" : bpp == 3 ? u"  RGB (24bit)" : u"  RGB (32bit)", x, y);
  const std::uint8_t* d = r.take(std::size_t(len));
  bool alpha = f.tag == fieldtag::rgba;
  for (std::int64_t i = 0; i < x * y; ++i) {
    const std::uint8_t* q = d + i * bpp;
    std::int64_t px = i % x + 1, py = i / x + 1;
    if (bpp == 2) {
      // red is byte 2 AND 240, green byte 2 shifted left by 4, blue byte 1 AND 240
      rgbvalue c{q[1] & 240, (q[1] << 4) & 255, q[0] & 240};
      if (alpha) image::set_rgba(f, px, py, {c.r, c.g, c.b, (q[0] << 4) & 255});
      else image::set_rgb(f, px, py, c);
    } else {
      rgbvalue c{q[0], q[1], q[2]};
      if (alpha) image::set_rgba(f, px, py, {c.r, c.g, c.b, bpp == 4 ? q[3] : 255});
      else image::set_rgb(f, px, py, c);
    }
  }
  return true;
}

// SGI image into rgba: 512-byte header, then interleaved r, g, b, a.
bool read_sgi(imagefield& f, bytereader& r) {
  r.pos = 0;
  r.skip(6);
  std::int64_t x = (r.u8() << 8), y = 0, depth = 0;
  x |= r.u8();
  y = r.u8() << 8, y |= r.u8();
  depth = r.u8() << 8, depth |= r.u8();
  r.pos = 512;
  if (depth != 4 || !size_ok(x, y) || std::int64_t(r.left()) < x * y * 4) {
    print::line(u"  Bad file size! Create empty field.");
    return false;
  }
  image::create(f, std::uint8_t(f.tag), x, y);
  if (!f.pixels) return false;
  progress_line(u"  RGBA", x, y);
  const std::uint8_t* d = r.take(std::size_t(x * y * 4));
  for (std::int64_t i = 0; i < x * y; ++i)
    image::set_rgba(f, i % x + 1, i / x + 1, {d[4 * i], d[4 * i + 1], d[4 * i + 2], d[4 * i + 3]});
  return true;
}

}  // namespace

bool read_rgbfile(imagefield& f, std::string_view bytes) {
  bytereader r(bytes);
  if (bytes.size() < 8) {
    print::line(u"  Wrong header. Empty image created!");
    return false;
  }
  if (f.tag == fieldtag::rgba && r.p[0] == 1 && r.p[1] == 218) return read_sgi(f, r);
  r.skip(4);
  std::int64_t x = r.u16le(), y = r.u16le();
  return read_packed(f, r, x, y, u"  Bad file size. Empty image created!");
}

bool read_raw(imagefield& f, std::string_view bytes, std::int64_t header, std::int64_t x, std::int64_t y) {
  bytereader r(bytes);
  const char16_t* misfit =
      f.tag == fieldtag::rgba ? u"  Bad file size! Create empty field." : u"  Bad file size. Empty image created!";
  if (header < 0 || header > std::int64_t(bytes.size())) {
    print::line(misfit);
    return false;
  }
  r.skip(std::size_t(header));
  return read_packed(f, r, x, y, misfit);
}

std::string write_rgbfile(const imagefield& f) {
  std::int64_t w = image::width(f), h = image::height(f);
  std::string s;
  s.push_back(0), s.push_back(0), s.push_back(32), s.push_back(0);
  put16le(s, std::uint32_t(w)), put16le(s, std::uint32_t(h));
  progress_line(f.tag == fieldtag::rgba ? u"  RGBA" : u"  RGB", w, h);
  s.reserve(s.size() + std::size_t(w * h * 4));
  for (std::int64_t y = 1; y <= h; ++y) {
    std::size_t at = s.size();
    colour_row(f, y, 4, s);
    if (f.tag != fieldtag::rgba)
      for (std::int64_t x = 0; x < w; ++x) s[at + std::size_t(4 * x + 3)] = char(255);
  }
  return s;
}

bool read_imgf(imagefield& f, std::string_view bytes) {
  bytereader r(bytes);
  if (bytes.size() < 28 || bytes.substr(0, 4) != "IMGF") {
    print::line(u"  Bad Magic Identifier! Create empty field.");
    return false;
  }
  r.skip(8);
  std::int64_t x = std::int32_t(r.u32le()), y = std::int32_t(r.u32le());
  std::int64_t depth = std::int32_t(r.u32le()), compression = std::int32_t(r.u32le());
  std::uint8_t fillbyte = r.u8();
  r.pos = 28;   // the block is padded to 24 bytes
  std::int64_t bytes_per = depth == 16 ? 2 : 1;
  if (!size_ok(x, y) || (compression == 1 && (depth == 8 || depth == 16) && x * y * bytes_per > std::int64_t(r.left())) ||
      x * y > std::int64_t(bytes.size()) * 64) {
    print::line(u"  Bad image size (" + nat::text(x) + u"x" + nat::text(y) + u")!");
    return false;
  }
  image::create(f, std::uint8_t(f.tag), x, y);
  if (!f.pixels) return false;
  bool wide = f.tag == fieldtag::fullgray;
  auto fill = [&] {
    if (wide) std::fill(f.pixels->fullgray.data.begin(), f.pixels->fullgray.data.end(), fillbyte);
    else std::fill(f.pixels->gray.data.begin(), f.pixels->gray.data.end(), fillbyte);
  };
  if (compression != 1) {
    print::line(u"  Error - compressed file (" + nat::text(compression) + u")");
    fill();
    return true;
  }
  if (depth != 8 && depth != 16) {
    print::line(u"  Error - wrong bit depth (" + nat::text(depth) + u")");
    fill();
    return true;
  }
  progress_line(wide ? u"  Fullgray" : depth == 16 ? u"  Grey (Fullgrey)" : u"  Grey", x, y);
  const std::uint8_t* d = r.take(std::size_t(x * y * bytes_per));
  for (std::int64_t i = 0; i < x * y; ++i) {
    if (wide) f.pixels->fullgray.data[std::size_t(i)] = depth == 16 ? std::uint16_t(d[2 * i] | (d[2 * i + 1] << 8)) : d[i];
    else f.pixels->gray.data[std::size_t(i)] = depth == 16 ? d[2 * i] : d[i];
  }
  return true;
}

}  // namespace qv::codec
