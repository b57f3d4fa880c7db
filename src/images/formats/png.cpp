// png.cpp: PNG writing with stored deflate blocks, and the CRC-32 and Adler-32 it needs.
//
// Known limits: no reader; no compression. Images of up to 1 MiB of row data go
// into one IDAT chunk, larger ones into one chunk per row.
#include <algorithm>
#include <bit>
#include <cstring>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "images/formats/codec.h"

namespace qv::codec {
namespace {

// Slice-by-8 tables of the reflected polynomial 0xEDB88320.
struct crctables {
  std::uint32_t t[8][256];
  crctables() {
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = c & 1 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[0][i] = c;
    }
    for (std::uint32_t i = 0; i < 256; ++i)
      for (int s = 1; s < 8; ++s) t[s][i] = (t[s - 1][i] >> 8) ^ t[0][t[s - 1][i] & 255];
  }
};
const crctables& tables() {
  static const crctables c;
  return c;
}

constexpr std::size_t block_size = 8192;
constexpr std::size_t one_chunk_limit = 1048576;

void chunk(std::string& out, const char* type, std::string_view data) {
  put32be(out, std::uint32_t(data.size()));
  std::size_t at = out.size();
  out.append(type, 4);
  out.append(data);
  std::uint32_t c = crc32(0, reinterpret_cast<const std::uint8_t*>(out.data() + at), 4 + data.size());
  put32be(out, c);
}

// Stored deflate blocks of up to 8192 bytes; `last` flags the final block.
void stored_blocks(std::string& out, const std::uint8_t* p, std::size_t n, bool last) {
  for (std::size_t done = 0; done < n;) {
    std::size_t k = std::min(block_size, n - done);
    bool final = last && done + k == n;
    out.push_back(char(final ? 1 : 0));
    put16le(out, std::uint32_t(k));
    put16le(out, std::uint32_t(~k & 0xFFFF));
    out.append(reinterpret_cast<const char*>(p + done), k);
    done += k;
  }
}

std::size_t blocked_length(std::size_t n) { return n + 5 * (n / block_size) + (n % block_size ? 5 : 0); }

// One row: filter byte 0, then the samples (16 bits big-endian).
void build_row(const imagefield& f, std::int64_t y, int channels, std::string& row) {
  row.clear();
  row.push_back(0);
  std::int64_t w = image::width(f);
  if (f.tag == fieldtag::gray) {
    row.append(reinterpret_cast<const char*>(f.pixels->gray.data.data() + (y - 1) * w), std::size_t(w));
  } else if (f.tag == fieldtag::fullgray) {
    const std::uint16_t* d = f.pixels->fullgray.data.data() + (y - 1) * w;
    row.resize(std::size_t(1 + 2 * w));
    char* o = row.data() + 1;
    for (std::int64_t x = 0; x < w; ++x) o[2 * x] = char(d[x] >> 8), o[2 * x + 1] = char(d[x] & 255);
  } else {
    colour_row(f, y, channels, row);
  }
}

// The IHDR writer checks depth against mode, as the format requires.
bool ihdr(std::string& out, std::uint32_t w, std::uint32_t h, int depth, int mode) {
  auto bad_depth = [&](const char16_t* m) {
    print::line(u"Wrong png bit depth (" + nat::text(depth) + u") in mode " + m + u"!");
    return false;
  };
  switch (mode) {
    case 0: if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && depth != 16) return bad_depth(u"gray"); break;
    case 2: if (depth != 8 && depth != 16) return bad_depth(u"rgb"); break;
    case 3: if (depth != 1 && depth != 2 && depth != 4 && depth != 8) return bad_depth(u"palette"); break;
    case 4: if (depth != 8 && depth != 16) return bad_depth(u"gray+alpha"); break;
    case 6: if (depth != 8 && depth != 16) return bad_depth(u"rgb+alpha"); break;
    default: print::line(u"Wrong png mode (" + nat::text(mode) + u")!"); return false;
  }
  std::string d;
  put32be(d, w), put32be(d, h);
  d.push_back(char(depth)), d.push_back(char(mode)), d.push_back(0), d.push_back(0), d.push_back(0);
  chunk(out, "IHDR", d);
  return true;
}

}  // namespace

std::uint32_t crc32(std::uint32_t crc, const std::uint8_t* p, std::size_t n) {
  const auto& t = tables().t;
  std::uint32_t c = ~crc;
  while (n >= 8) {
    std::uint32_t a, b;
    std::memcpy(&a, p, 4), std::memcpy(&b, p + 4, 4);
    if constexpr (std::endian::native == std::endian::big) a = __builtin_bswap32(a), b = __builtin_bswap32(b);
    a ^= c;
    c = t[7][a & 255] ^ t[6][(a >> 8) & 255] ^ t[5][(a >> 16) & 255] ^ t[4][a >> 24] ^ t[3][b & 255] ^
        t[2][(b >> 8) & 255] ^ t[1][(b >> 16) & 255] ^ t[0][b >> 24];
    p += 8, n -= 8;
  }
  while (n--) c = t[0][(c ^ *p++) & 255] ^ (c >> 8);
  return ~c;
}

// Sums modulo 65521, reduced once per 5552 bytes, the most that cannot overflow 32 bits.
std::uint32_t adler32(std::uint32_t adler, const std::uint8_t* p, std::size_t n) {
  std::uint32_t a = adler & 0xFFFF, b = adler >> 16;
  while (n) {
    std::size_t k = std::min<std::size_t>(n, 5552);
    n -= k;
    for (; k >= 8; k -= 8, p += 8) {
      a += p[0], b += a, a += p[1], b += a, a += p[2], b += a, a += p[3], b += a;
      a += p[4], b += a, a += p[5], b += a, a += p[6], b += a, a += p[7], b += a;
    }
    while (k--) a += *p++, b += a;
    a %= 65521, b %= 65521;
  }
  return (b << 16) | a;
}

std::string write_png(const imagefield& f) {
  std::int64_t w = image::width(f), h = image::height(f);
  bool full = f.tag == fieldtag::fullgray, gray = f.tag == fieldtag::gray || full;
  int channels = gray ? 1 : f.tag == fieldtag::rgb ? 3 : 4;
  int mode = gray ? 0 : channels == 3 ? 2 : 6;
  std::size_t r = std::size_t(w * channels * (full ? 2 : 1)) + 1;
  std::string out = "\x89PNG\r\n\x1a\n";
  if (!ihdr(out, std::uint32_t(w), std::uint32_t(h), full ? 16 : 8, mode)) return out;
  progress_line(full ? u"  Fullgray" : gray ? u"  Grey" : channels == 3 ? u"  RGB" : u"  RGBA", w, h);
  std::string row, data;
  std::uint32_t adler = 1;
  out.reserve(std::size_t(h) * (blocked_length(r) + 12) + 64);
  if (r * std::size_t(h) < one_chunk_limit) {
    std::string raw;
    raw.reserve(r * std::size_t(h));
    for (std::int64_t y = 1; y <= h; ++y) {
      build_row(f, y, channels, row);
      raw += row;
    }
    const auto* p = reinterpret_cast<const std::uint8_t*>(raw.data());
    data.reserve(blocked_length(raw.size()) + 6);
    data.push_back(8), data.push_back(29);
    stored_blocks(data, p, raw.size(), true);
    put32be(data, adler32(1, p, raw.size()));
    chunk(out, "IDAT", data);
  } else {
    for (std::int64_t y = 1; y <= h; ++y) {
      build_row(f, y, channels, row);
      const auto* p = reinterpret_cast<const std::uint8_t*>(row.data());
      data.clear();
      if (y == 1) data.push_back(8), data.push_back(29);
      stored_blocks(data, p, row.size(), y == h);
      adler = adler32(adler, p, row.size());
      if (y == h) put32be(data, adler);
      chunk(out, "IDAT", data);
    }
  }
  out.append("\0\0\0\0IEND\xae\x42\x60\x82", 12);
  return out;
}

}  // namespace qv::codec
