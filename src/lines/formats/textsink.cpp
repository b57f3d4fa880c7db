// textsink.cpp: the buffered writer shared by the line and mesh file writers.
#include "lines/formats/textsink.h"

#include <charconv>

#include "foundation/numbertext.h"

namespace qv::lineformat {

void textsink::put(wideview t) { put(std::string_view(text::utf8(t))); }

void textsink::real(double v) {
  char room[real::textroom];
  put(std::string_view(room, real::text_into(v, room)));
}

void textsink::nat(std::int64_t v) {
  char room[24];
  auto r = std::to_chars(room, room + sizeof room, v);
  put(std::string_view(room, std::size_t(r.ptr - room)));
}

void textsink::flush() {
  if (buffer.empty()) return;
  if (ok && f && std::fwrite(buffer.data(), 1, buffer.size(), f) != buffer.size()) ok = false;
  buffer.clear();
}

}  // namespace qv::lineformat
