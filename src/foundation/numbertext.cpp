// numbertext.cpp: plain number reading and writing.
#include "foundation/numbertext.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace qv {
namespace {

// Collects the characters of a plain number from the first digit or minus sign on.
std::string number_chars(wideview t) {
  std::size_t i = 0;
  while (i < t.size() && !(t[i] == u'-' || (t[i] >= u'0' && t[i] <= u'9'))) ++i;
  std::string s;
  for (; i < t.size(); ++i) {
    widechar c = t[i];
    if ((c >= u'0' && c <= u'9') || c == u'-' || c == u'+' || c == u'.' || c == u'e' || c == u'E')
      s.push_back(char(c));
    else if (c != u' ')
      break;
  }
  return s;
}

std::int64_t clamp_round(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 9.2233720368547758e18) return INT64_MAX;
  if (v <= -9.2233720368547758e18) return INT64_MIN;
  return static_cast<std::int64_t>(std::nearbyint(v));   // ties to even
}

}  // namespace

double text::real(wideview t) {
  std::string s = number_chars(t);
  if (s.empty()) return 0;
  char* end = nullptr;
  double v = std::strtod(s.c_str(), &end);
  return std::isfinite(v) ? v : 0;
}

std::int64_t text::nat(wideview t) { return clamp_round(text::real(t)); }

widetext real::text(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.16g", v);
  widetext out = text::ascii(buf);
  if (out == u"-0") out = u"0";
  return out;
}

widetext nat::text(std::int64_t v) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(v));
  return text::ascii(buf);
}

}  // namespace qv
