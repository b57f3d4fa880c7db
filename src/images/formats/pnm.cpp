// pnm.cpp: PBM, PGM and PPM reading (text and binary, 8 and 16 bits) and PBM, PGM, PPM and PAM writing.
//
// Known limits: binary PBM (P4) is not read. 16-bit binary grey is written and
// read in little-endian order, the reverse of the format's rule, so that this
// program reads back exactly what it wrote.
#include <algorithm>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "images/formats/codec.h"

namespace qv::codec {
namespace {

using image::clamp16;
using image::clamp8;

// One tokeniser for header and text samples: bytes up to a line end, or, outside
// a comment, a blank; "#" comments run to the line end; bytes <= 32 are skipped.
struct tokens {
  bytereader& r;
  bool number(std::int64_t& v) {
    std::string t;
    bool comment = false;
    while (r.left()) {
      std::uint8_t c = r.u8();
      if (c == '\n' || c == '\r') {
        comment = false;
        if (!t.empty()) break;
        continue;
      }
      if (comment) continue;
      if (c == '#') {
        comment = true;
        continue;
      }
      if (c <= 32) {
        if (!t.empty()) break;
        continue;
      }
      t.push_back(char(c));
      if (t.size() > 40) break;   // no number is this long
    }
    if (t.empty()) return false;
    v = text::nat(text::ascii(t));
    return true;
  }
  std::int64_t next() {
    std::int64_t v = 0;
    number(v);
    return v;
  }
};

const char16_t* gray_title(int magic) {
  switch (magic) {
    case 1: return u"  Grey (Mono)";
    case 3: case 6: return u"  Grey (RGB)";
    case 12: case 15: return u"  Grey (Fullgrey)";
    case 13: case 16: return u"  Grey (Fullrgb)";
    default: return u"  Grey";
  }
}

const char16_t* full_title(int magic) {
  switch (magic) {
    case 13: case 16: return u"  Fullgrey (Fullrgb)";
    default: return u"  Fullgray";
  }
}

bool grey_magic(int magic) {
  return magic == 1 || magic == 2 || magic == 3 || magic == 5 || magic == 6 || magic == 12 || magic == 13 ||
         magic == 15 || magic == 16;
}
bool colour_magic(int magic) { return magic == 2 || magic == 5 || magic == 6; }
void bad_magic(int magic) { print::line(u"  Bad Magic Identifier (" + nat::text(magic) + u")!"); }

// `put` receives the pixel index from 0 and the converted value.
template <typename T, typename Put>
bool read_gray_samples(bytereader& r, tokens& tk, int magic, std::int64_t count, Put put) {
  constexpr bool wide = sizeof(T) == 2;
  switch (magic) {
    case 1:
      for (std::int64_t i = 0; i < count; ++i) put(i, wide ? clamp16(1 - tk.next()) : clamp8(1 - tk.next()));
      return true;
    case 2:
      for (std::int64_t i = 0; i < count; ++i) put(i, wide ? clamp16(tk.next()) : clamp8(tk.next()));
      return true;
    case 3:
      for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t s = tk.next() + tk.next() + tk.next();
        put(i, wide ? clamp16(s) : clamp8(s / 3));
      }
      return true;
    case 12:
      for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t n = tk.next();
        put(i, wide ? clamp16(n) : clamp8(n / 256));
      }
      return true;
    case 13:
      for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t s = tk.next() + tk.next() + tk.next();
        put(i, wide ? clamp16(s / 3) : clamp8(s / 768));
      }
      return true;
    case 5: {
      std::int64_t have = std::min<std::int64_t>(count, std::int64_t(r.left()));
      const std::uint8_t* d = r.take(std::size_t(have));
      for (std::int64_t i = 0; i < have; ++i) put(i, T(d[i]));
      return true;
    }
    case 6: {
      std::int64_t have = std::min<std::int64_t>(count, std::int64_t(r.left() / 3));
      const std::uint8_t* d = r.take(std::size_t(have * 3));
      for (std::int64_t i = 0; i < have; ++i) {
        std::int64_t s = std::int64_t(d[3 * i]) + d[3 * i + 1] + d[3 * i + 2];
        put(i, wide ? T(s) : T(clamp8(s) / 3));   // the sum saturates before the division
      }
      return true;
    }
    case 15: {
      std::int64_t have = std::min<std::int64_t>(count, std::int64_t(r.left() / 2));
      const std::uint8_t* d = r.take(std::size_t(have * 2));
      for (std::int64_t i = 0; i < have; ++i) put(i, wide ? T(d[2 * i] | (d[2 * i + 1] << 8)) : T(d[2 * i]));
      return true;
    }
    case 16: {
      std::int64_t have = std::min<std::int64_t>(count, std::int64_t(r.left() / 6));
      const std::uint8_t* d = r.take(std::size_t(have * 6));
      for (std::int64_t i = 0; i < have; ++i) {
        const std::uint8_t* q = d + 6 * i;
        if (wide) put(i, clamp16((((q[0] << 8) | q[1]) + ((q[2] << 8) | q[3]) + ((q[4] << 8) | q[5])) / 3));
        else put(i, T(clamp8(std::int64_t(q[0]) + q[2] + q[4]) / 3));
      }
      return true;
    }
    default: bad_magic(magic); return false;
  }
}

bool read_colour(imagefield& f, bytereader& r, tokens& tk, int magic, std::int64_t count) {
  imagebody& b = *f.pixels;
  std::int64_t w = b.width;
  auto put = [&](std::int64_t i, std::int64_t cr, std::int64_t cg, std::int64_t cb) {
    image::set_rgb(f, i % w + 1, i / w + 1, {cr, cg, cb});
  };
  switch (magic) {
    case 2:
      codec::progress_line(u"  RGB (Grey)", w, b.height);
      for (std::int64_t i = 0; i < count; ++i) {
        std::int64_t v = tk.next();
        put(i, v, v, v);
      }
      return true;
    case 5: {
      codec::progress_line(u"  RGB (Grey)", w, b.height);
      std::int64_t have = std::min<std::int64_t>(count, std::int64_t(r.left()));
      const std::uint8_t* d = r.take(std::size_t(have));
      if (f.tag == fieldtag::zrgb) {
        for (std::int64_t i = 0; i < have; ++i) put(i, d[i], d[i], d[i]);
      } else {   // straight into red, then copied to green and blue
        std::copy(d, d + have, b.red.data.begin());
        b.green.data = b.red.data, b.blue.data = b.red.data;
        if (f.tag == fieldtag::rgba) std::fill(b.alpha.data.begin(), b.alpha.data.end(), 255);
      }
      return true;
    }
    case 6: {
      codec::progress_line(u"  RGB", w, b.height);
      std::int64_t have = std::min<std::int64_t>(count, std::int64_t(r.left() / 3));
      const std::uint8_t* d = r.take(std::size_t(have * 3));
      if (f.tag == fieldtag::zrgb) {
        for (std::int64_t i = 0; i < have; ++i) put(i, d[3 * i], d[3 * i + 1], d[3 * i + 2]);
      } else {
        std::uint8_t *pr = b.red.data.data(), *pg = b.green.data.data(), *pb = b.blue.data.data();
        for (std::int64_t i = 0; i < have; ++i) pr[i] = d[3 * i], pg[i] = d[3 * i + 1], pb[i] = d[3 * i + 2];
        if (f.tag == fieldtag::rgba) std::fill(b.alpha.data.begin(), b.alpha.data.end(), 255);
      }
      return true;
    }
    default: bad_magic(magic); return false;
  }
}

}  // namespace

bool read_pnm(imagefield& f, std::string_view bytes) {
  bytereader r(bytes);
  tokens tk{r};
  // The magic token is "P" and a digit; colour images take its second byte.
  std::string magic_token;
  while (r.left() && r.p[r.pos] <= 32) r.pos++;
  while (r.left() && r.p[r.pos] > 32 && magic_token.size() < 8) magic_token.push_back(char(r.u8()));
  int magic = magic_token.size() >= 2 ? int(text::nat(text::ascii(magic_token.substr(1)))) : 0;
  std::int64_t x = tk.next(), y = tk.next(), maxval = tk.next();
  bool colour = f.tag == fieldtag::rgb || f.tag == fieldtag::rgba || f.tag == fieldtag::zrgb;
  if (maxval >= 256) magic += 10;
  // The magic is judged before any size: a P4 file, whose packed bits are fewer
  // than its pixels, is refused by its magic and not by its size.
  if (!(colour ? colour_magic(magic) || maxval > 255 : grey_magic(magic))) {
    bad_magic(magic);
    // Black at its size, as long as the file could hold that many pixels at one
    // bit each (the densest PNM); absurd sizes leave the image empty.
    if (size_ok(x, y) && x * y <= 8 * std::int64_t(bytes.size())) image::create(f, std::uint8_t(f.tag), x, y);
    return false;
  }
  if (!size_ok(x, y) || x * y > std::int64_t(r.left())) {   // every sample takes a byte at least
    print::line(u"  Bad image size (" + nat::text(x) + u"x" + nat::text(y) + u")!");
    return false;
  }
  image::create(f, std::uint8_t(f.tag), x, y);
  if (!f.pixels) return false;
  std::int64_t count = x * y;
  if (colour) {
    if (maxval > 255) {
      print::line(u"  Bad value Depth (" + nat::text(maxval) + u") max = 65535!");
      return false;
    }
    return read_colour(f, r, tk, magic, count);
  }
  if (f.tag == fieldtag::gray) {
    std::uint8_t* d = f.pixels->gray.data.data();
    codec::progress_line(gray_title(magic), x, y);
    return read_gray_samples<std::uint8_t>(r, tk, magic, count, [d](std::int64_t i, std::uint8_t v) { d[i] = v; });
  }
  std::uint16_t* d = f.pixels->fullgray.data.data();
  codec::progress_line(full_title(magic), x, y);
  return read_gray_samples<std::uint16_t>(r, tk, magic, count, [d](std::int64_t i, std::uint16_t v) { d[i] = v; });
}

std::string write_pnm(const imagefield& f, pnmkind k, const std::string& name) {
  std::int64_t w = image::width(f), h = image::height(f);
  std::string s;
  std::string size = std::to_string(w) + " " + std::to_string(h) + "\n";
  bool grey_type = f.tag == fieldtag::gray || f.tag == fieldtag::fullgray;
  if (k == pnmkind::pam) {
    bool alpha = f.tag != fieldtag::rgb;
    s = "P7\n#" + name + "\nWIDTH " + std::to_string(w) + "\nHEIGHT " + std::to_string(h) + "\nDEPTH " +
        (alpha ? "4" : "3") + "\nMAXVAL 255 \n" + (f.tag == fieldtag::rgba ? "TUPLTYPE RGB_ALPHA \n" : "TUPLTYPE RGB  \n") +
        "ENDHDR\n";
    codec::progress_line(alpha ? u"  RGBA" : u"  RGB", w, h);
    s.reserve(s.size() + std::size_t(w * h * (alpha ? 4 : 3)));
    for (std::int64_t y = 1; y <= h; ++y) colour_row(f, y, alpha ? 4 : 3, s);
    return s;
  }
  if (k == pnmkind::pbm) {
    s = "P4\n#" + name + "\n" + size;
    codec::progress_line(u"  Monochrome", w, h);
    std::string rows;
    std::int64_t rowbytes = (w + 7) / 8;
    rows.assign(std::size_t(rowbytes * h), '\0');
    for (std::int64_t y = 1; y <= h; ++y)
      for (std::int64_t x = 1; x <= w; ++x) {
        rgbvalue c = image::get_rgb(f, x, y);
        if ((c.r + c.g + c.b) / 3 < 128) rows[std::size_t((y - 1) * rowbytes + (x - 1) / 8)] |= char(0x80 >> ((x - 1) % 8));
      }
    // The count of bytes written follows its own rule, short of or past the padded rows.
    std::int64_t count = (w - 1) % 8 == 0 ? w * h / 8 : h * (w + 1) / 8;
    rows.resize(std::size_t(count), '\0');
    return s + rows;
  }
  if (k == pnmkind::pgm && f.tag == fieldtag::fullgray) {
    s = "P5\n#" + name + "\n" + size + "65535\n";
    codec::progress_line(u"  Fullgray", w, h);
    const auto& d = f.pixels->fullgray.data;
    std::size_t at = s.size();
    s.resize(at + d.size() * 2);
    for (std::size_t i = 0; i < d.size(); ++i) s[at + 2 * i] = char(d[i] & 255), s[at + 2 * i + 1] = char(d[i] >> 8);
    return s;
  }
  if (k == pnmkind::pgm) {
    s = "P5\n#" + name + "\n" + size + "255\n";
    codec::progress_line(u"  Grey", w, h);
    if (grey_type) {
      s.append(reinterpret_cast<const char*>(f.pixels->gray.data.data()), f.pixels->gray.data.size());
      return s;
    }
    std::string row;
    for (std::int64_t y = 1; y <= h; ++y) {
      row.clear();
      colour_row(f, y, 3, row);
      for (std::int64_t x = 0; x < w; ++x)
        s.push_back(char((std::uint8_t(row[3 * x]) + std::uint8_t(row[3 * x + 1]) + std::uint8_t(row[3 * x + 2])) / 3));
    }
    return s;
  }
  s = "P6\n#" + name + "\n" + size + "255\n";
  codec::progress_line(u"  RGB", w, h);
  s.reserve(s.size() + std::size_t(w * h * 3));
  for (std::int64_t y = 1; y <= h; ++y) colour_row(f, y, 3, s);
  return s;
}

}  // namespace qv::codec
