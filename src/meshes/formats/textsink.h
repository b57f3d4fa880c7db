// textsink.h: the output file of a mesh writer around the shared buffered sink, with the number forms of the mesh files.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "foundation/numeric.h"
#include "lines/formats/textsink.h"

namespace qv::meshformat {

// An open output file and the shared sink in front of it; closes with it.
struct textsink {
  filehandle h;
  lineformat::textsink out{nullptr};
  int digits = 0;   // decimals of `real`; 0 is the full `real.text` form

  void put(std::string_view s) { out.put(s); }
  void put(char c) { out.put(c); }
  void line(std::string_view s) {
    out.put(s);
    out.put('\n');
  }
  void bytes(const void* p, std::size_t n) { out.raw(p, n); }
  void nat(std::int64_t v) { out.nat(v); }   // plain digits, whatever `math.digit` says
  void real(double v) {
    if (digits <= 0) return out.real(v);
    char t[qv::real::textroom];
    out.put(std::string_view(t, qv::real::text_fixed_into(v, digits, t)));
  }
  // x, y, z between blanks (or `sep`).
  void vector(const num::vector& v, std::string_view sep = " ") {
    real(v.x);
    put(sep);
    real(v.y);
    put(sep);
    real(v.z);
  }
  // Flushes and closes; false when anything failed.
  bool finish() {
    out.flush();
    bool ok = out.ok;
    if (h.f && std::fflush(h.f) != 0) ok = false;
    out.f = nullptr;
    h.close();
    return ok;
  }
};

// Opens `name` for writing (the file service prints "Write file (name)." or the failure).
inline bool open_sink(textsink& s, wideview name) {
  if (!file::open_write(s.h, name)) return false;
  s.out.f = s.h.f;
  return true;
}

// The file's name without its folder, for the comment lines of the writers.
inline std::string base_name(wideview name) {
  const std::string s = text::utf8(name);
  const std::size_t slash = s.find_last_of("/\\");
  return slash == std::string::npos ? s : s.substr(slash + 1);
}

}  // namespace qv::meshformat
