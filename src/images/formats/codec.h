// codec.h: what the image format readers and writers share: byte reading, file access, pixel rows.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "images/imagefield.h"

namespace qv::codec {

// Bounds-checked little- and big-endian reads over bytes in memory; a read
// past the end gives 0 and clears `ok`.
struct bytereader {
  const std::uint8_t* p = nullptr;
  std::size_t n = 0, pos = 0;
  bool ok = true;
  explicit bytereader(std::string_view b) : p(reinterpret_cast<const std::uint8_t*>(b.data())), n(b.size()) {}
  std::size_t left() const { return n - pos; }
  bool need(std::size_t k) {
    if (left() < k) ok = false;
    return ok;
  }
  std::uint8_t u8() { return need(1) ? p[pos++] : 0; }
  std::uint16_t u16le() {
    if (!need(2)) return 0;
    std::uint16_t v = std::uint16_t(p[pos] | (p[pos + 1] << 8));
    pos += 2;
    return v;
  }
  std::uint32_t u32le() {
    if (!need(4)) return 0;
    std::uint32_t v = std::uint32_t(p[pos]) | std::uint32_t(p[pos + 1]) << 8 | std::uint32_t(p[pos + 2]) << 16 |
                      std::uint32_t(p[pos + 3]) << 24;
    pos += 4;
    return v;
  }
  void skip(std::size_t k) { pos = need(k) ? pos + k : n; }
  const std::uint8_t* take(std::size_t k) {   // nullptr when fewer are left
    if (!need(k)) return nullptr;
    const std::uint8_t* q = p + pos;
    pos += k;
    return q;
  }
};

// Whole file through zlib's gzip interface, which passes plain files through.
bool file_read(const std::string& name, std::string& out);
bool file_write(const std::string& name, std::string_view bytes, bool gz);

// The line that names what a reader or writer converts: "  Grey with (4x3)".
void progress_line(wideview title, std::int64_t x, std::int64_t y);

// Appends one row of interleaved 8-bit samples (3: r, g, b; 4: with alpha), y from 1.
void colour_row(const imagefield& f, std::int64_t y, int channels, std::string& out);

void put16le(std::string& s, std::uint32_t v);
void put32le(std::string& s, std::uint32_t v);
void put16be(std::string& s, std::uint32_t v);
void put32be(std::string& s, std::uint32_t v);

// Largest image a reader accepts before allocating: 2^31 pixels and 2^16 per side x 2^16.
bool size_ok(std::int64_t x, std::int64_t y);

// Readers: `f` is an empty image of the wanted type; each creates the body and
// gives true when it reached its end of processing.
bool read_pnm(imagefield& f, std::string_view bytes);
bool read_bmp(imagefield& f, std::string_view bytes);
bool read_imgf(imagefield& f, std::string_view bytes);
bool read_rgbfile(imagefield& f, std::string_view bytes);
bool read_raw(imagefield& f, std::string_view bytes, std::int64_t header, std::int64_t x, std::int64_t y);

// Writers give the file's bytes.
enum class pnmkind { pbm, pgm, ppm, pam };
std::string write_pnm(const imagefield& f, pnmkind k, const std::string& name);
std::string write_bmp(const imagefield& f);
std::string write_tga(const imagefield& f);
std::string write_tiff(const imagefield& f);
std::string write_png(const imagefield& f);
bool save_png(const imagefield& f, const std::string& name);   // the same bytes straight into a file
std::string write_rgbfile(const imagefield& f);

// Checksums of the PNG writer.
std::uint32_t crc32(std::uint32_t crc, const std::uint8_t* p, std::size_t n);   // start and end with 0
std::uint32_t adler32(std::uint32_t adler, const std::uint8_t* p, std::size_t n);   // start with 1
// The same without processor-specific instructions, as used where those are missing.
std::uint32_t crc32_portable(std::uint32_t crc, const std::uint8_t* p, std::size_t n);
std::uint32_t adler32_portable(std::uint32_t adler, const std::uint8_t* p, std::size_t n);

}  // namespace qv::codec
