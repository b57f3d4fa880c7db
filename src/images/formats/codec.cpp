// codec.cpp: file access through zlib's gzip interface, pixel rows and byte packing for the image codecs.
#include "images/formats/codec.h"

#include <zlib.h>

#include <cstdio>
#include <memory>

#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::codec {

bool file_read(const std::string& name, std::string& out) {
  out.clear();
  gzFile g = gzopen(name.c_str(), "rb");
  if (!g) return false;
  gzbuffer(g, 1 << 17);
  char buf[1 << 16];
  for (;;) {
    int k = gzread(g, buf, sizeof buf);
    if (k <= 0) break;
    out.append(buf, std::size_t(k));
  }
  gzclose(g);
  return true;
}

bool file_write(const std::string& name, std::string_view bytes, bool gz) {
  if (gz) {
    gzFile g = gzopen(name.c_str(), "wb");
    if (!g) return false;
    std::size_t done = 0;
    while (done < bytes.size()) {   // gzwrite takes at most an unsigned int at a time
      unsigned k = unsigned(std::min<std::size_t>(bytes.size() - done, 1u << 30));
      if (gzwrite(g, bytes.data() + done, k) != int(k)) break;
      done += k;
    }
    gzclose(g);
    return done == bytes.size();
  }
  std::FILE* f = std::fopen(name.c_str(), "wb");
  if (!f) return false;
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return std::fclose(f) == 0 && ok;
}

void progress_line(wideview title, std::int64_t x, std::int64_t y) {
  print::line(widetext(title) + u" with (" + nat::text(x) + u"x" + nat::text(y) + u")");
}

void colour_row(const imagefield& f, std::int64_t y, int channels, std::string& out) {
  std::int64_t w = image::width(f);
  std::size_t at = out.size();
  out.resize(at + std::size_t(w * channels));
  char* o = out.data() + at;
  if (f.tag == fieldtag::rgb || f.tag == fieldtag::rgba) {
    const imagebody& b = *f.pixels;
    const std::uint8_t* r = b.red.data.data() + (y - 1) * w;
    const std::uint8_t* g = b.green.data.data() + (y - 1) * w;
    const std::uint8_t* bl = b.blue.data.data() + (y - 1) * w;
    const std::uint8_t* a = f.tag == fieldtag::rgba ? b.alpha.data.data() + (y - 1) * w : nullptr;
    for (std::int64_t x = 0; x < w; ++x, o += channels) {
      o[0] = char(r[x]), o[1] = char(g[x]), o[2] = char(bl[x]);
      if (channels == 4) o[3] = char(a ? a[x] : 255);
    }
    return;
  }
  for (std::int64_t x = 1; x <= w; ++x, o += channels) {   // zrgb and the grey types: the general read
    rgbavalue c = image::get_rgba(f, x, y);
    o[0] = char(image::clamp8(c.r)), o[1] = char(image::clamp8(c.g)), o[2] = char(image::clamp8(c.b));
    if (channels == 4) o[3] = char(image::clamp8(c.a));
  }
}

void put16le(std::string& s, std::uint32_t v) { s.push_back(char(v & 255)), s.push_back(char((v >> 8) & 255)); }
void put32le(std::string& s, std::uint32_t v) { put16le(s, v & 65535), put16le(s, v >> 16); }
void put16be(std::string& s, std::uint32_t v) { s.push_back(char((v >> 8) & 255)), s.push_back(char(v & 255)); }
void put32be(std::string& s, std::uint32_t v) { put16be(s, v >> 16), put16be(s, v & 65535); }

bool size_ok(std::int64_t x, std::int64_t y) {
  return x >= 1 && y >= 1 && x <= (std::int64_t(1) << 24) && y <= (std::int64_t(1) << 24) &&
         x * y <= (std::int64_t(1) << 31);
}

}  // namespace qv::codec
