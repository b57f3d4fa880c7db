// tiff.cpp: TIFF writing: little-endian, one uncompressed strip, a directory of 13 entries after the data.
//
// Known limits: no reader. The strip byte count of grey images and the places of
// the minimum and maximum values are written as this program has always written them.
#include "images/formats/codec.h"

namespace qv::codec {
namespace {

void entry(std::string& s, std::uint16_t tag, std::uint16_t type, std::uint32_t count, std::uint32_t value) {
  put16le(s, tag), put16le(s, type), put32le(s, count), put32le(s, value);
}
constexpr std::uint16_t short_type = 3, long_type = 4;

}  // namespace

std::string write_tiff(const imagefield& f) {
  std::uint32_t w = std::uint32_t(image::width(f)), h = std::uint32_t(image::height(f));
  bool gray = f.tag == fieldtag::gray, full = f.tag == fieldtag::fullgray, colour = !gray && !full;
  std::uint32_t xy = w * h, data = gray ? xy : full ? xy * 2 : xy * 3;
  std::string s = "II";
  put16le(s, 42);
  put32le(s, 8 + data);
  s.reserve(8 + data + 200);
  if (gray) {
    progress_line(u"  Grey", w, h);
    s.append(reinterpret_cast<const char*>(f.pixels->gray.data.data()), xy);
  } else if (full) {
    progress_line(u"  Fullgray", w, h);
    for (std::uint16_t v : f.pixels->fullgray.data) put16le(s, v);
  } else {
    progress_line(u"  RGB", w, h);
    for (std::int64_t y = 1; y <= std::int64_t(h); ++y) colour_row(f, y, 3, s);
  }
  put16le(s, 13);
  entry(s, 256, long_type, 1, w);
  entry(s, 257, long_type, 1, h);
  entry(s, 258, short_type, 1, full ? 16 : 8);
  entry(s, 259, short_type, 1, 1);
  entry(s, 262, short_type, 1, colour ? 2 : 1);
  entry(s, 273, long_type, 1, 8);
  entry(s, 274, short_type, 1, 1);
  entry(s, 277, short_type, 1, colour ? 3 : 1);
  entry(s, 278, long_type, 1, h);
  entry(s, 279, long_type, 1, colour ? xy * 3 : xy * 2);
  entry(s, 280, short_type, colour ? 3 : 1, colour ? xy * 3 + 170 : xy * 2 + 170);
  entry(s, 281, short_type, colour ? 3 : 1, colour ? xy * 3 + 176 : xy * 2 + 172);
  entry(s, 284, short_type, 1, 1);
  put32le(s, 0);
  // Minimum and maximum; colour images give one of each per sample, so that
  // the offsets of the directory lie inside the file.
  for (int i = 0; i < (colour ? 3 : 1); ++i) put16le(s, 0);
  for (int i = 0; i < (colour ? 3 : 1); ++i) put16le(s, full ? 65535 : 255);
  return s;
}

}  // namespace qv::codec
