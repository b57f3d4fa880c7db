// widetext.h: the program's own text type, its fixed table form and the text toolkit.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace qv {

// A text of 16-bit characters. UTF-8 sequences of one to three bytes give one
// character each; text leaves the program as UTF-8 again.
using widechar = char16_t;
using widetext = std::u16string;
using wideview = std::u16string_view;

// The fixed form of names, values and parameters: at most 254 characters, a
// longer text is cut without a message.
struct shorttext {
  static constexpr std::size_t limit = 254;
  widetext s;
  shorttext() = default;
  shorttext(widetext t) : s(std::move(t)) { if (s.size() > limit) s.resize(limit); }
  shorttext(wideview t) : s(t.substr(0, limit)) {}
  shorttext(const widechar* t) : shorttext(wideview(t)) {}
  operator const widetext&() const { return s; }
  const widetext& str() const { return s; }
  bool empty() const { return s.empty(); }
  std::size_t size() const { return s.size(); }
  bool operator==(const shorttext&) const = default;
};

namespace text {

widetext from_utf8(std::string_view bytes);   // decode; a stray continuation byte gives 0
std::string utf8(wideview t);                  // encode; character 0 writes nothing
widetext ascii(std::string_view bytes);        // byte-wise widening, for program literals

// Front of `source` up to the first `separator`; that part and the separator
// leave `source`. Without a separator all of it is returned.
widetext token(widetext& source, widechar separator);
// The same at the first separator outside quotes and round, square, curly and
// (unless `angle` is false) angle brackets.
widetext token_outside(widetext& source, widechar separator, bool angle = true);
inline widetext token_outside_noangle(widetext& source, widechar separator) {
  return token_outside(source, separator, false);
}

widetext trim(wideview t, widechar a = u' ', widechar b = u' ');
widetext trim_left(wideview t, widechar a = u' ', widechar b = u' ');
widetext trim_right(wideview t, widechar a = u' ', widechar b = u' ');
widetext lower(widetext t);   // ASCII range only
widetext upper(widetext t);
inline widechar lower_char(widechar c) { return (c >= u'A' && c <= u'Z') ? widechar(c + 32) : c; }

std::size_t pos(wideview needle, wideview hay);   // 1-based, 0 if none
std::size_t pos_last(wideview needle, wideview hay);
std::size_t pos_from(wideview needle, wideview hay, std::size_t from);        // search starts at `from`
std::size_t pos_last_from(wideview needle, wideview hay, std::size_t from);   // ends at or before `from`
widetext replace(wideview t, wideview from, wideview to);   // all, left to right, no rescan
widetext replacechar(widetext t, widechar a, widechar b);   // only ASCII-plane characters

// Comparisons. `less`: the shorter text first, then by character; by character
// alone while the number format's `charorder` switch is set.
inline bool equal(wideview a, wideview b) { return a == b; }
inline bool notequal(wideview a, wideview b) { return a != b; }
bool less(wideview a, wideview b);
bool lessequal(wideview a, wideview b);

// Characters by 1-based position: 0 outside; a write outside is ignored.
widechar char_(wideview t, std::size_t i);
void setchar(widetext& t, std::size_t i, widechar c);
widetext copy(wideview t, std::size_t start, std::size_t count);   // 1-based start
void delete_(widetext& t, std::size_t start, std::size_t count);
inline widetext concat(wideview a, wideview b) { return widetext(a) + widetext(b); }

}  // namespace text
}  // namespace qv
