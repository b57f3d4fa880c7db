// bmp.cpp: BMP reading (old bitmaps, header sizes 12 to 124, 1/4/8/24 bits) and BMP and TGA writing.
//
// Known limits: compressed BMP is refused; the stored data offset is ignored and
// the palette and pixels follow straight after the header bytes read.
#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "images/formats/codec.h"

namespace qv::codec {
namespace {

struct bmpheader {
  std::int64_t width = 0, height = 0, bits = 0, compression = 0;
  int palette_entry = 4;   // bytes per palette entry
};

// Header sizes and the bytes read after the size field; 64 and 124 read four more than they need.
bool read_info(bytereader& r, bmpheader& h) {
  std::uint32_t size = r.u32le();
  std::size_t further;
  switch (size) {
    case 12: further = 8; break;
    case 40: further = 36; break;
    case 64: further = 64; break;
    case 108: further = 104; break;
    case 124: further = 124; break;
    default: print::line(u"Unknown header size (" + nat::text(size) + u")."); return false;
  }
  if (!r.need(further)) return false;
  std::size_t start = r.pos;
  if (size == 12) {
    h.width = std::int16_t(r.u16le()), h.height = std::int16_t(r.u16le());
    r.u16le();
    h.bits = r.u16le();
    h.palette_entry = 3;
  } else {
    h.width = std::int32_t(r.u32le()), h.height = std::int32_t(r.u32le());
    r.u16le();
    h.bits = r.u16le();
    h.compression = r.u16le();
  }
  r.pos = start + further;
  return true;
}

bool refuse() {
  print::line(u"  Bad Magic Identifier! Create empty field.");
  return false;
}

}  // namespace

bool read_bmp(imagefield& f, std::string_view bytes) {
  bytereader r(bytes);
  if (bytes.size() < 2) {
    print::line(u"Wrong file size (" + nat::text(std::int64_t(bytes.size())) + u").");
    return false;
  }
  std::uint16_t type = r.u16le();
  bmpheader h;
  auto is = [&](const char* two) { return type == std::uint16_t(two[0] | (two[1] << 8)); };
  if (type == 0) {
    if (!r.need(8)) return refuse();
    h.width = r.u16le(), h.height = r.u16le();
    r.skip(3);
    h.bits = r.u8();
  } else if (is("BM") || is("BA") || is("CI") || is("CP") || is("IC") || is("PT")) {
    r.skip(12);
    if (!read_info(r, h)) return refuse();
  } else {
    print::line(u"Unknown header type (" + nat::text(type) + u").");
    return refuse();
  }
  if (h.compression != 0) {
    print::line(u"I'm to stupid for compressed images.");
    return refuse();
  }
  if (h.bits != 1 && h.bits != 4 && h.bits != 8 && h.bits != 24) {
    print::line(u"  Bad BitsPerPixel Identifier (" + nat::text(h.bits) + u"). Empty image created!");
    return false;
  }
  std::int64_t x = h.width < 0 ? -h.width : h.width, y = h.height < 0 ? -h.height : h.height;
  std::uint8_t palette[256][3] = {};
  if (h.bits < 9) {
    std::int64_t entries = std::int64_t(1) << h.bits;
    if (!r.need(std::size_t(entries * h.palette_entry))) return refuse();
    for (std::int64_t i = 0; i < entries; ++i) {
      palette[i][2] = r.u8(), palette[i][1] = r.u8(), palette[i][0] = r.u8();   // blue, green, red
      if (h.palette_entry == 4) r.u8();
    }
  }
  std::int64_t rowbytes = x * h.bits / 8;
  if (rowbytes * 8 < x * h.bits) ++rowbytes;   // a partial last byte still holds pixels
  std::int64_t stride = rowbytes + (4 - rowbytes % 4) % 4;
  if (!size_ok(x, y) || stride * y > std::int64_t(r.left())) {
    print::line(u"Wrong file size (" + nat::text(std::int64_t(bytes.size())) + u").");
    return refuse();
  }
  image::create(f, std::uint8_t(f.tag), x, y);
  if (!f.pixels) return false;
  const char16_t* title = h.bits == 24 ? (f.tag == fieldtag::gray ? u"  Grey (RGB)" : u"  RGB (24bit)")
                          : h.bits == 4 ? (f.tag == fieldtag::gray ? u"  Grey (4bit)" : u"  RGB (4bit)")
                                        : (f.tag == fieldtag::gray ? u"  Grey" : u"  RGB");
  progress_line(title, x, y);
  for (std::int64_t row = 0; row < y; ++row) {
    const std::uint8_t* d = r.take(std::size_t(stride));
    std::int64_t py = y - row;   // rows run bottom-up
    for (std::int64_t px = 0; px < x; ++px) {
      std::int64_t c[3];
      if (h.bits == 24) {
        c[0] = d[3 * px + 2], c[1] = d[3 * px + 1], c[2] = d[3 * px];
      } else {
        std::uint8_t index = h.bits == 8 ? d[px]
                             : h.bits == 4 ? std::uint8_t((d[px / 2] >> (px % 2 ? 0 : 4)) & 15)
                                           : std::uint8_t((d[px / 8] >> (7 - px % 8)) & 1);
        c[0] = palette[index][0], c[1] = palette[index][1], c[2] = palette[index][2];
      }
      std::int64_t sum = c[0] + c[1] + c[2];
      if (f.tag == fieldtag::gray) f.pixels->gray.set(px + 1, py, image::clamp8(sum / 3));
      else if (f.tag == fieldtag::fullgray) f.pixels->fullgray.set(px + 1, py, image::clamp16(sum));
      else image::set_rgb(f, px + 1, py, {c[0], c[1], c[2]});
    }
  }
  return true;
}

std::string write_bmp(const imagefield& f) {
  std::int64_t w = image::width(f), h = image::height(f);
  std::int64_t rowbytes = (w * 3) % 4 == 0 ? w * 3 : (w * 3 / 4 + 1) * 4;
  std::string s = "BM";
  put32le(s, std::uint32_t(54 + rowbytes * h));
  put32le(s, 0);
  put32le(s, 54);
  put32le(s, 40);
  put32le(s, std::uint32_t(w)), put32le(s, std::uint32_t(h));
  put16le(s, 1), put16le(s, 24);
  put32le(s, 0);
  put32le(s, std::uint32_t(h * rowbytes));
  for (int i = 0; i < 4; ++i) put32le(s, 0);
  progress_line(u"  RGB", w, h);
  std::string row;
  for (std::int64_t y = h; y >= 1; --y) {
    row.clear();
    colour_row(f, y, 3, row);
    for (std::int64_t x = 0; x < w; ++x) s.push_back(row[3 * x + 2]), s.push_back(row[3 * x + 1]), s.push_back(row[3 * x]);
    s.append(std::size_t(rowbytes - w * 3), '\0');
  }
  return s;
}

std::string write_tga(const imagefield& f) {
  std::int64_t w = image::width(f), h = image::height(f);
  std::string s(18, '\0');
  s[2] = 2;
  s[12] = char(w & 255), s[13] = char((w >> 8) & 255), s[14] = char(h & 255), s[15] = char((h >> 8) & 255);
  s[16] = 24;
  progress_line(u"  RGB", w, h);
  std::string row;
  for (std::int64_t y = h; y >= 1; --y) {
    row.clear();
    colour_row(f, y, 3, row);
    for (std::int64_t x = 0; x < w; ++x) s.push_back(row[3 * x + 2]), s.push_back(row[3 * x + 1]), s.push_back(row[3 * x]);
  }
  return s;
}

}  // namespace qv::codec
