// png.cpp: PNG writing with stored deflate blocks (checksums in checksums.cpp).
//
// Known limits: no reader; no compression. Images of up to 1 MiB of row data go
// into one IDAT chunk, larger ones into one chunk per row.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "images/formats/codec.h"

namespace qv::codec {
namespace {

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

char* put32(char* o, std::uint32_t v) {
  o[0] = char(v >> 24), o[1] = char(v >> 16), o[2] = char(v >> 8), o[3] = char(v);
  return o + 4;
}

// Stored deflate blocks of up to 8192 bytes of the data `lead` (0 or 1 byte, the
// filter byte of a row) followed by `p`, written to `o`; `last` flags the final block.
char* stored_blocks(char* o, std::size_t lead, const std::uint8_t* p, std::size_t n, bool last) {
  std::size_t total = lead + n;
  for (std::size_t done = 0; done < total;) {
    std::size_t k = std::min(block_size, total - done);
    *o++ = char(last && done + k == total ? 1 : 0);
    o[0] = char(k & 255), o[1] = char(k >> 8), o[2] = char(~k & 255), o[3] = char((~k >> 8) & 255);
    o += 4;
    std::size_t from = done;
    if (done == 0 && lead) *o++ = 0, from = 1;
    std::memcpy(o, p + (from - lead), done + k - from);
    o += done + k - from;
    done += k;
  }
  return o;
}

std::size_t blocked_length(std::size_t n) { return n + 5 * (n / block_size) + (n % block_size ? 5 : 0); }

// r, g, b (and a) planes to interleaved samples; a fixed stride lets the compiler use vector shuffles.
template <int C>
void interleave(const std::uint8_t* __restrict r, const std::uint8_t* __restrict g, const std::uint8_t* __restrict b,
                const std::uint8_t* __restrict a, std::int64_t w, std::uint8_t* __restrict o) {
  for (std::int64_t x = 0; x < w; ++x) {
    o[C * x] = r[x], o[C * x + 1] = g[x], o[C * x + 2] = b[x];
    if constexpr (C == 4) o[C * x + 3] = a[x];
  }
}

// The sample bytes of one row, without its filter byte: the gray plane's own
// row, else `scratch` filled (16 bits big-endian; r, g, b, a in turn).
const std::uint8_t* row_samples(const imagefield& f, std::int64_t y, int channels, std::string& scratch) {
  std::int64_t w = image::width(f);
  const imagebody& b = *f.pixels;
  std::size_t at = std::size_t((y - 1) * w);
  if (f.tag == fieldtag::gray) return b.gray.data.data() + at;
  std::uint8_t* o = nullptr;
  switch (f.tag) {
    case fieldtag::fullgray: {
      scratch.resize(std::size_t(2 * w));   // the same size every row: no fill after the first
      o = reinterpret_cast<std::uint8_t*>(scratch.data());
      const std::uint16_t* d = b.fullgray.data.data() + at;
      for (std::int64_t x = 0; x < w; ++x) o[2 * x] = std::uint8_t(d[x] >> 8), o[2 * x + 1] = std::uint8_t(d[x]);
      break;
    }
    case fieldtag::rgb:
    case fieldtag::rgba:
      scratch.resize(std::size_t(channels * w));
      o = reinterpret_cast<std::uint8_t*>(scratch.data());
      if (channels == 3) {
        interleave<3>(b.red.data.data() + at, b.green.data.data() + at, b.blue.data.data() + at, nullptr, w, o);
      } else {
        interleave<4>(b.red.data.data() + at, b.green.data.data() + at, b.blue.data.data() + at,
                      b.alpha.data.data() + at, w, o);
      }
      break;
    default:   // zrgb: the general read of its sub-samples
      scratch.clear();
      colour_row(f, y, channels, scratch);
  }
  return reinterpret_cast<const std::uint8_t*>(scratch.data());
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

// Where the bytes go: kept in `out`, or handed to `file` whenever `out` has grown
// past `flush_at` (large blocks, so that the buffer stays in cache and is reused).
struct pngsink {
  std::string out;
  std::FILE* file = nullptr;
  bool ok = true;
  static constexpr std::size_t flush_at = std::size_t(1) << 22;
  char* grow(std::size_t k) {   // room for `k` more bytes at the end
    std::size_t at = out.size();
    out.resize(at + k);
    return out.data() + at;
  }
  void flush(bool always = false) {
    if (!file || out.empty() || (!always && out.size() < flush_at)) return;
    ok = ok && std::fwrite(out.data(), 1, out.size(), file) == out.size();
    out.clear();
  }
};

// The one writer behind both entries; the size of every chunk is known before its bytes.
bool write_png_to(const imagefield& f, pngsink& sink) {
  std::int64_t w = image::width(f), h = image::height(f);
  bool full = f.tag == fieldtag::fullgray, gray = f.tag == fieldtag::gray || full;
  int channels = gray ? 1 : f.tag == fieldtag::rgb ? 3 : 4;
  int mode = gray ? 0 : channels == 3 ? 2 : 6;
  std::size_t r = std::size_t(w * channels * (full ? 2 : 1)) + 1, n = r - 1;
  sink.out = "\x89PNG\r\n\x1a\n";
  if (!ihdr(sink.out, std::uint32_t(w), std::uint32_t(h), full ? 16 : 8, mode)) return false;
  progress_line(full ? u"  Fullgray" : gray ? u"  Grey" : channels == 3 ? u"  RGB" : u"  RGBA", w, h);
  std::string scratch;
  const std::uint8_t zero = 0;
  std::uint32_t adler = 1;
  if (r * std::size_t(h) < one_chunk_limit) {   // all rows in one IDAT, blocks running across rows
    std::string raw;
    raw.reserve(r * std::size_t(h));
    for (std::int64_t y = 1; y <= h; ++y) {
      raw.push_back(0);
      raw.append(reinterpret_cast<const char*>(row_samples(f, y, channels, scratch)), n);
    }
    const auto* p = reinterpret_cast<const std::uint8_t*>(raw.data());
    std::size_t len = 2 + blocked_length(raw.size()) + 4;
    char* o = put32(sink.grow(12 + len), std::uint32_t(len));
    char* type = o;
    std::memcpy(o, "IDAT\x08\x1d", 6);
    o = stored_blocks(o + 6, 0, p, raw.size(), true);
    o = put32(o, adler32(1, p, raw.size()));
    put32(o, crc32(0, reinterpret_cast<const std::uint8_t*>(type), std::size_t(o - type)));
  } else {   // one IDAT per row; the first holds the zlib header, the last the Adler-32
    std::size_t per_row = blocked_length(r);
    if (!sink.file) sink.out.reserve(sink.out.size() + std::size_t(h) * (12 + per_row) + 2 + 4 + 12);
    for (std::int64_t y = 1; y <= h; ++y) {
      std::size_t len = per_row + (y == 1 ? 2 : 0) + (y == h ? 4 : 0);
      char* o = put32(sink.grow(12 + len), std::uint32_t(len));
      char* type = o;
      std::memcpy(o, "IDAT", 4), o += 4;
      if (y == 1) *o++ = 8, *o++ = 29;
      const std::uint8_t* p = row_samples(f, y, channels, scratch);
      adler = adler32(adler32(adler, &zero, 1), p, n);
      o = stored_blocks(o, 1, p, n, y == h);
      if (y == h) o = put32(o, adler);
      put32(o, crc32(0, reinterpret_cast<const std::uint8_t*>(type), std::size_t(o - type)));
      sink.flush();
    }
  }
  sink.out.append("\0\0\0\0IEND\xae\x42\x60\x82", 12);
  sink.flush(true);
  return sink.ok;
}

}  // namespace

std::string write_png(const imagefield& f) {
  pngsink sink;
  write_png_to(f, sink);
  return std::move(sink.out);
}

bool save_png(const imagefield& f, const std::string& name) {
  pngsink sink;
  sink.file = std::fopen(name.c_str(), "wb");
  bool ok = write_png_to(f, sink);
  if (!sink.file) return false;
  return std::fclose(sink.file) == 0 && ok;
}

}  // namespace qv::codec
