// textsink.h: a buffered writer of text and binary pieces to an open file, and a strided view of points.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "foundation/numeric.h"
#include "foundation/widetext.h"

namespace qv::lineformat {

// Points as doubles `stride` apart: a cloud's hypers (stride 4) or a mesh's vectors (stride 3).
struct pointview {
  const double* data = nullptr;
  std::int64_t count = 0;
  std::int64_t stride = 3;
  const double* at(std::int64_t i) const { return data + i * stride; }
};
inline pointview view_of(const num::hyper* p, std::int64_t n) { return {&p->x, n, 4}; }
inline pointview view_of(const num::vector* p, std::int64_t n) { return {&p->x, n, 3}; }

// Collects output in a block of about a megabyte and writes it in one call; `ok`
// turns false at the first short write and stays so. The file stays the caller's.
struct textsink {
  std::FILE* f;
  std::string buffer;
  bool ok = true;
  explicit textsink(std::FILE* file) : f(file) { buffer.reserve(limit + 512); }
  textsink(const textsink&) = delete;
  textsink& operator=(const textsink&) = delete;
  ~textsink() { flush(); }
  static constexpr std::size_t limit = 1 << 20;

  void put(std::string_view s) {
    buffer.append(s);
    if (buffer.size() >= limit) flush();
  }
  void put(char c) {
    buffer.push_back(c);
    if (buffer.size() >= limit) flush();
  }
  void put(wideview t);                 // as UTF-8
  void real(double v);                  // `real.text` under the number format
  void nat(std::int64_t v);             // plain decimal digits, no grouping
  void raw(const void* p, std::size_t n) { put(std::string_view(static_cast<const char*>(p), n)); }
  void flush();
};

}  // namespace qv::lineformat
