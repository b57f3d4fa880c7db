// nubrelle.cpp: the `nubrelle` line text, the one cloud format that reads back.
//
// A point a line ("x y z t", trailing zero components left out, or the record
// text "<x, y, z, t>" under `math.vector`); an empty line ends a line of
// material 0, "material: n" a line of material n, "object: name" an object.
// Eight numbers on one line are a vector: two points and the line's end.
// Known limits: a number the fast reader cannot take whole (units, arithmetic)
// goes through the general number reader, which is slower.
#include <charconv>

#include "foundation/numbertext.h"
#include "foundation/numeric_text.h"
#include "foundation/randomsource.h"
#include "lines/formats/line_formats.h"

namespace qv::lineformat {
namespace {

bool blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && blank(s.front())) s.remove_prefix(1);
  while (!s.empty() && blank(s.back())) s.remove_suffix(1);
  return s;
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; }

// `word` (lower case) somewhere in `s`, compared on the lower-case letters of `s`.
bool holds(std::string_view s, std::string_view word) {
  for (std::size_t i = 0; i + word.size() <= s.size(); ++i) {
    std::size_t k = 0;
    while (k < word.size() && lower(s[i + k]) == word[k]) ++k;
    if (k == word.size()) return true;
  }
  return false;
}

bool numeric_start(char c) { return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == '<'; }

// One number of the line; the general reader takes what `from_chars` cannot.
double number(std::string_view token, bool comma) {
  char room[64];
  if (token.size() < sizeof room) {
    for (std::size_t i = 0; i < token.size(); ++i) room[i] = comma && token[i] == ',' ? '.' : token[i];
    const char* start = room + (room[0] == '+' ? 1 : 0);
    double v = 0;
    auto r = std::from_chars(start, room + token.size(), v);
    if (r.ec == std::errc() && r.ptr == room + token.size()) return v;
  }
  return text::real(text::from_utf8(token));
}

// Up to `max` numbers between blanks, tabs, brackets and separators ("," only
// under the decimal point, where it cannot be part of a number).
int numbers(std::string_view s, double* out, int max) {
  const bool comma = !number::format.decimal;
  auto separator = [&](char c) { return blank(c) || c == ';' || c == '<' || c == '>' || (!comma && c == ','); };
  int n = 0;
  std::size_t i = 0;
  while (i < s.size() && n < max) {
    while (i < s.size() && separator(s[i])) ++i;
    std::size_t start = i;
    while (i < s.size() && !separator(s[i])) ++i;
    if (i > start) out[n++] = number(s.substr(start, i - start), comma);
  }
  return n;
}

num::hyper point_of(const double* v, int n) {
  return {n > 0 ? v[0] : 0, n > 1 ? v[1] : 0, n > 2 ? v[2] : 0, n > 3 ? v[3] : 0};
}

void point_text(textsink& out, const num::hyper& p) {
  if (number::format.vector) {
    out.put(wideview(hyper::text_short(p)));
    return;
  }
  const int n = p.t != 0 ? 4 : p.z != 0 ? 3 : p.y != 0 ? 2 : 1;
  out.reals(&p.x, n, ' ');
}

}  // namespace

void textreader::line(std::string_view raw) {
  std::string_view s = trimmed(raw);
  auto close = [&](std::int64_t material) {
    if (keeping) line::close_line(target, material);
    drawn = false;
  };
  if (s.empty()) return close(0);
  const char first = lower(s[0]);
  if (first == 'o' && holds(s, "object:")) {
    close(0);
    widetext name = text::from_utf8(trimmed(s.size() > 7 ? s.substr(7) : std::string_view()));
    line::close_object(target, name.empty() ? wideview(child) : wideview(name));
    return;
  }
  if (first == 'm' && holds(s, "material:")) {
    return close(text::nat(text::from_utf8(s.size() > 9 ? s.substr(9) : std::string_view())));
  }
  if (!numeric_start(s[0])) return close(0);
  double v[8];
  const int n = numbers(s, v, 8);
  if (!drawn) {
    drawn = true;
    keeping = !sampling || random::real() >= threshold;
  }
  if (!keeping) return;
  line::add_point(target, point_of(v, n));
  if (n > 4) {
    line::add_point(target, point_of(v + 4, n - 4));
    close(0);
  }
}

void textreader::finish() {
  if (keeping) line::close_line(target, 0);
  drawn = false;
  keeping = true;
  line::close_object(target, child);
}

void write_text(const cloud& c, textsink& out) {
  const std::int64_t objects = line::object_count(c);
  for (std::int64_t o = 1; o <= objects; ++o) {
    const std::int64_t last = line::object_last(c, o);
    for (std::int64_t l = line::object_first(c, o); l <= last; ++l) {
      const std::int64_t e = line::line_end(c, l);
      for (std::int64_t i = line::line_begin(c, l); i < e; ++i) {
        point_text(out, c.points[std::size_t(i)]);
        out.put('\n');
      }
      const std::int64_t material = c.materials[std::size_t(l - 1)];
      if (material > 0) {
        out.put("material: ");
        out.nat(material);
        out.put('\n');
      } else if (l != last) {
        out.put('\n');
      }
    }
    out.put("object: ");
    out.put(wideview(line::object_name(c, o)));
    out.put('\n');
  }
}

}  // namespace qv::lineformat
