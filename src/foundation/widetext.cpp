// widetext.cpp: UTF-8 decoding and encoding, tokens and trimming.
#include "foundation/widetext.h"

#include "foundation/numbertext.h"

namespace qv::text {

widetext from_utf8(std::string_view b) {
  widetext out;
  out.reserve(b.size());
  std::size_t i = 0, n = b.size();
  while (i < n) {
    unsigned char c = static_cast<unsigned char>(b[i]);
    if (c < 0x80) { out.push_back(c); ++i; continue; }
    if ((c & 0xE0) == 0xC0 && i + 1 < n && (b[i + 1] & 0xC0) == 0x80) {
      out.push_back(widechar(((c & 0x1F) << 6) | (b[i + 1] & 0x3F)));
      i += 2;
      continue;
    }
    if ((c & 0xF0) == 0xE0 && i + 2 < n && (b[i + 1] & 0xC0) == 0x80 && (b[i + 2] & 0xC0) == 0x80) {
      out.push_back(widechar(((c & 0x0F) << 12) | ((b[i + 1] & 0x3F) << 6) | (b[i + 2] & 0x3F)));
      i += 3;
      continue;
    }
    // Stray continuation bytes and the unsupported four-byte forms give 0.
    out.push_back(0);
    ++i;
  }
  return out;
}

std::string utf8(wideview t) {
  std::string out;
  out.reserve(t.size());
  for (widechar c : t) {
    if (c == 0) continue;
    if (c < 0x80) {
      out.push_back(char(c));
    } else if (c < 0x800) {
      out.push_back(char(0xC0 | (c >> 6)));
      out.push_back(char(0x80 | (c & 0x3F)));
    } else {
      out.push_back(char(0xE0 | (c >> 12)));
      out.push_back(char(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(char(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

widetext ascii(std::string_view b) {
  widetext out(b.size(), 0);
  for (std::size_t i = 0; i < b.size(); ++i) out[i] = static_cast<unsigned char>(b[i]);
  return out;
}

widetext token(widetext& source, widechar separator) {
  std::size_t p = source.find(separator);
  if (p == widetext::npos) return std::move(source);   // leaves `source` empty
  widetext front = source.substr(0, p);
  source.erase(0, p + 1);
  return front;
}

widetext token_outside(widetext& source, widechar separator, bool angle) {
  bool in_double = false, in_single = false;
  int depth = 0;
  for (std::size_t i = 0; i < source.size(); ++i) {
    widechar c = source[i];
    if (c == u'"' && !in_single) { in_double = !in_double; continue; }
    if (c == u'\'' && !in_double) { in_single = !in_single; continue; }
    if (in_double || in_single) continue;
    if (c == u'(' || c == u'[' || c == u'{' || (angle && c == u'<')) { ++depth; continue; }
    if (c == u')' || c == u']' || c == u'}' || (angle && c == u'>')) { --depth; continue; }
    if (c == separator && depth <= 0) {
      widetext front = source.substr(0, i);
      source.erase(0, i + 1);
      return front;
    }
  }
  widetext all = std::move(source);
  source.clear();
  return all;
}

widetext trim_left(wideview t, widechar a, widechar b) {
  std::size_t i = 0;
  while (i < t.size() && (t[i] == a || t[i] == b)) ++i;
  return widetext(t.substr(i));
}

widetext trim_right(wideview t, widechar a, widechar b) {
  std::size_t n = t.size();
  while (n > 0 && (t[n - 1] == a || t[n - 1] == b)) --n;
  return widetext(t.substr(0, n));
}

widetext trim(wideview t, widechar a, widechar b) {
  std::size_t i = 0, n = t.size();
  while (i < n && (t[i] == a || t[i] == b)) ++i;
  while (n > i && (t[n - 1] == a || t[n - 1] == b)) --n;
  return widetext(t.substr(i, n - i));
}

widetext lower(widetext t) {
  for (widechar& c : t) c = lower_char(c);
  return t;
}

widetext upper(widetext t) {
  for (widechar& c : t)
    if (c >= u'a' && c <= u'z') c = widechar(c - 32);
  return t;
}

std::size_t pos(wideview needle, wideview hay) {
  if (needle.empty()) return 0;
  std::size_t p = hay.find(needle);
  return p == wideview::npos ? 0 : p + 1;
}

widetext replace(wideview t, wideview from, wideview to) {
  if (from.empty()) return widetext(t);
  widetext out;
  std::size_t i = 0;
  for (;;) {
    std::size_t p = t.find(from, i);
    if (p == wideview::npos) break;
    out.append(t.substr(i, p - i));
    out.append(to);
    i = p + from.size();
  }
  out.append(t.substr(i));
  return out;
}

}  // namespace qv::text

namespace qv::text {

std::size_t pos_last(wideview needle, wideview hay) {
  if (needle.empty()) return 0;
  std::size_t p = hay.rfind(needle);
  return p == wideview::npos ? 0 : p + 1;
}

std::size_t pos_from(wideview needle, wideview hay, std::size_t from) {
  if (needle.empty() || from > hay.size()) return 0;
  std::size_t p = hay.find(needle, from == 0 ? 0 : from - 1);
  return p == wideview::npos ? 0 : p + 1;
}

std::size_t pos_last_from(wideview needle, wideview hay, std::size_t from) {
  if (needle.empty() || from == 0) return 0;
  std::size_t p = hay.rfind(needle, from - 1);
  return p == wideview::npos ? 0 : p + 1;
}

widetext replacechar(widetext t, widechar a, widechar b) {
  if (a > 0xFF) return t;
  for (widechar& c : t)
    if (c == a) c = b;
  return t;
}

bool less(wideview a, wideview b) {
  if (!number::format.charorder && a.size() != b.size()) return a.size() < b.size();
  return a < b;
}

bool lessequal(wideview a, wideview b) { return a == b || less(a, b); }

widechar char_(wideview t, std::size_t i) { return (i >= 1 && i <= t.size()) ? t[i - 1] : widechar(0); }

void setchar(widetext& t, std::size_t i, widechar c) {
  if (i >= 1 && i <= t.size()) t[i - 1] = c;
}

widetext copy(wideview t, std::size_t start, std::size_t count) {
  if (start == 0) start = 1;
  if (start > t.size()) return {};
  return widetext(t.substr(start - 1, count));
}

void delete_(widetext& t, std::size_t start, std::size_t count) {
  if (start == 0 || start > t.size()) return;
  t.erase(start - 1, count);
}

}  // namespace qv::text
