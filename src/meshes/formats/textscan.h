// textscan.h: byte-level walking of text mesh files: lines, words and numbers without allocation.
#pragma once
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/numeric.h"

namespace qv::meshformat {

// The next line of `rest` without its end ("\n", "\r\n" or a lone "\r"); false at the end.
inline bool next_line(std::string_view& rest, std::string_view& line) {
  if (rest.empty()) return false;
  std::size_t i = 0, n = rest.size();
  while (i < n && rest[i] != '\n' && rest[i] != '\r') ++i;
  line = rest.substr(0, i);
  if (i < n && rest[i] == '\r') ++i;
  if (i < n && rest[i] == '\n') ++i;
  rest.remove_prefix(i);
  return true;
}

// All lines of a text, in order, as views into it.
inline std::vector<std::string_view> split_lines(std::string_view all) {
  std::vector<std::string_view> lines;
  lines.reserve(all.size() / 32 + 1);
  std::string_view line;
  while (next_line(all, line)) lines.push_back(line);
  return lines;
}

inline bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\f' || c == '\v'; }

// Separators between numbers of the text formats: blanks, commas, semicolons and line ends.
inline bool is_separator(char c) { return is_blank(c) || c == ',' || c == ';' || c == '\r' || c == '\n'; }

inline void skip_separators(std::string_view& s) {
  std::size_t i = 0;
  while (i < s.size() && is_separator(s[i])) ++i;
  s.remove_prefix(i);
}

inline std::string_view trim(std::string_view s) {
  while (!s.empty() && (is_blank(s.front()) || s.front() == '\r' || s.front() == '\n')) s.remove_prefix(1);
  while (!s.empty() && (is_blank(s.back()) || s.back() == '\r' || s.back() == '\n')) s.remove_suffix(1);
  return s;
}

// The next word up to a blank; empty at the end.
inline std::string_view next_word(std::string_view& s) {
  std::size_t i = 0;
  while (i < s.size() && is_blank(s[i])) ++i;
  std::size_t j = i;
  while (j < s.size() && !is_blank(s[j])) ++j;
  std::string_view w = s.substr(i, j - i);
  s.remove_prefix(j);
  return w;
}

// A real after any separators; a leading "+" is allowed, and what is not finite
// reads as 0. False, with `s` unchanged past the separators, when no number stands there.
inline bool read_real(std::string_view& s, double& v) {
  skip_separators(s);
  const char* b = s.data();
  const char* e = b + s.size();
  if (b < e && *b == '+') ++b;
  auto r = std::from_chars(b, e, v);
  if (r.ec == std::errc::result_out_of_range) {   // keeps the sign, gives 0 for an underflow
    const char* p = r.ptr;
    v = 0;
    s.remove_prefix(std::size_t(p - s.data()));
    return true;
  }
  if (r.ec != std::errc()) return false;
  if (!std::isfinite(v)) v = 0;
  s.remove_prefix(std::size_t(r.ptr - s.data()));
  return true;
}

// A whole number after any separators ("+" allowed); a fraction part is passed over.
inline bool read_nat(std::string_view& s, std::int64_t& v) {
  skip_separators(s);
  const char* b = s.data();
  const char* e = b + s.size();
  if (b < e && *b == '+') ++b;
  auto r = std::from_chars(b, e, v);
  if (r.ec == std::errc::result_out_of_range) {
    v = INT64_MAX;
  } else if (r.ec != std::errc()) {
    return false;
  }
  const char* p = r.ptr;
  if (p < e && *p == '.') {   // "3.0" as the index 3
    ++p;
    while (p < e && *p >= '0' && *p <= '9') ++p;
  }
  s.remove_prefix(std::size_t(p - s.data()));
  return true;
}

inline bool read_vector(std::string_view& s, num::vector& v) {
  return read_real(s, v.x) && read_real(s, v.y) && read_real(s, v.z);
}

inline bool starts_with(std::string_view s, std::string_view head) { return s.substr(0, head.size()) == head; }
inline bool holds(std::string_view s, std::string_view part) { return s.find(part) != std::string_view::npos; }

// The ASCII range lower-cased.
inline std::string lower(std::string_view s) {
  std::string t(s);
  for (char& c : t)
    if (c >= 'A' && c <= 'Z') c = char(c + 32);
  return t;
}

}  // namespace qv::meshformat
