// random_commands.cpp: `min`, `max`, `minmax` and the random number functions.
#include <cmath>
#include <limits>

#include "foundation/numbertext.h"
#include "foundation/randomsource.h"
#include "library/basics.h"

namespace qv::library {
namespace {

// The components of "<a, b>" (or "<a; b>" under the decimal comma), read in turn.
void read_pair(wideview t, double& a, double& b) {
  widetext rest = text::trim(t, u'<', u'>');
  widechar sep = rest.find(u';') != widetext::npos ? u';' : u',';
  a = text::real(text::token(rest, sep));
  b = text::real(text::token(rest, sep));
}

// "<x, y, ...>" with the separator of the number format.
widetext record_text(const double* v, int n) {
  widetext t = u"<";
  for (int i = 0; i < n; ++i) {
    if (i) t += number::format.decimal ? u", " : u"; ";
    t += real::text(v[i]);
  }
  return t + u">";
}

widetext nat_record_text(const std::int64_t* v, int n) {
  widetext t = u"<";
  for (int i = 0; i < n; ++i) {
    if (i) t += number::format.decimal ? u", " : u"; ";
    t += nat::text(v[i]);
  }
  return t + u">";
}

template <bool smallest>
void extreme(macroengine& m) {
  m.value.clear();
  std::size_t n = macro::parameter_count(m);
  if (n < 1) {
    macro::check_min(m, 1);
    return;
  }
  const double inf = std::numeric_limits<double>::infinity();
  double best = smallest ? inf : -inf;
  for (std::size_t i = 1; i <= n; ++i) {
    double v = text::real(macro::parameter_optional(m, i));
    if (smallest ? v < best : v > best) best = v;
  }
  macro::value_set(m, real::text(best));
}

void minmax(macroengine& m) {
  m.value.clear();
  if (macro::parameter_count(m) != 3) {
    macro::check_exact(m, 3);
    return;
  }
  double a, b, c, d;
  read_pair(macro::parameter_optional(m, 1), a, b);
  double v = text::real(macro::parameter_optional(m, 2));
  read_pair(macro::parameter_optional(m, 3), c, d);
  double r;
  if (b == a) {
    r = (c + d) / 2;
  } else {
    r = c + (v - a) * ((d - c) / (b - a));
    double lo = std::fmin(c, d), hi = std::fmax(c, d);
    r = std::fmin(std::fmax(r, lo), hi);
  }
  macro::value_set(m, real::text(r));
}

// A real between two whole-number bounds, the smaller first.
bool range(macroengine& m, double& r) {
  m.value.clear();
  if (macro::parameter_count(m) != 2) {
    macro::check_exact(m, 2);
    return false;
  }
  double a = double(text::nat(macro::parameter_optional(m, 1)));
  double b = double(text::nat(macro::parameter_optional(m, 2)));
  if (a > b) std::swap(a, b);
  r = a + random::real() * (b - a);
  return true;
}

void random_range(macroengine& m) {
  double r;
  if (range(m, r)) macro::value_set(m, real::text(r));
}

void random_range_nat(macroengine& m) {
  double r;
  if (range(m, r)) macro::value_set(m, nat::text(std::int64_t(std::trunc(r))));
}

template <int n, bool full>
void random_reals(macroengine& m) {
  double v[4];
  for (int i = 0; i < n; ++i) v[i] = full ? 2 * random::real() - 1 : random::real();
  macro::value_set(m, n == 1 ? real::text(v[0]) : record_text(v, n));
}

template <int n, std::int64_t range>
void random_nats(macroengine& m) {
  std::int64_t v[4];
  for (int i = 0; i < n; ++i) v[i] = random::nat(range);
  macro::value_set(m, n == 1 ? nat::text(v[0]) : nat_record_text(v, n));
}

constexpr cmdrow rows[] = {
    // name                kind               handler                    usage                                   comment
    {"min",               cmdkind::function, extreme<true>,             "a := min 3 1 2",                       "the smallest parameter"},
    {"max",               cmdkind::function, extreme<false>,            "a := max 3 1 2",                       "the largest parameter"},
    {"minmax",            cmdkind::function, minmax,                    "a := minmax <0,10> 5 <0,100>",         "maps a value from one range to another, clamped"},
    {"random.range",      cmdkind::function, random_range,              "a := random.range 0 10",               "a random real between two bounds"},
    {"random.range.nat",  cmdkind::function, random_range_nat,          "a := random.range.nat 0 10",           "a random whole number between two bounds"},
    {"random",            cmdkind::variable, random_reals<1, false>,    "random",                               "a random real in [0, 1)"},
    {"random2",           cmdkind::variable, random_reals<2, false>,    "random2",                              "a pair of random reals"},
    {"random3",           cmdkind::variable, random_reals<3, false>,    "random3",                              "a vector of random reals"},
    {"random4",           cmdkind::variable, random_reals<4, false>,    "random4",                              "a hyper of random reals"},
    {"random.full",       cmdkind::variable, random_reals<1, true>,     "random.full",                          "a random real in [-1, 1)"},
    {"random2.full",      cmdkind::variable, random_reals<2, true>,     "random2.full",                         "a pair of random reals in [-1, 1)"},
    {"random3.full",      cmdkind::variable, random_reals<3, true>,     "random3.full",                         "a vector of random reals in [-1, 1)"},
    {"random4.full",      cmdkind::variable, random_reals<4, true>,     "random4.full",                         "a hyper of random reals in [-1, 1)"},
    {"random.byte",       cmdkind::variable, random_nats<1, 256>,       "random.byte",                          "a random whole number 0..255"},
    {"random.gray",       cmdkind::variable, random_nats<1, 256>,       "random.gray",                          "a random whole number 0..255"},
    {"random.word",       cmdkind::variable, random_nats<1, 65536>,     "random.word",                          "a random whole number 0..65535"},
    {"random.fullgray",   cmdkind::variable, random_nats<1, 65536>,     "random.fullgray",                      "a random whole number 0..65535"},
    {"random.rgb",        cmdkind::variable, random_nats<3, 256>,       "random.rgb",                           "a random rgb colour"},
    {"random.rgba",       cmdkind::variable, random_nats<4, 256>,       "random.rgba",                          "a random rgba colour"},
};

}  // namespace

void register_random(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::library
