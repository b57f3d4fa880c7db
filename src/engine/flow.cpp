// flow.cpp: conditions, conditional blocks and loops.
#include "engine/flow.h"
#include "foundation/voxelstore.h"

#include <glob.h>
#include <sys/stat.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/randomsource.h"

namespace qv::macro {
namespace {

widetext real_text(double v) { return real::text(v); }

std::int64_t whole(wideview t) { return text::nat(t); }

void trace_head(const macroengine& m, wideview head) {
  if (m.trace) print::line(u"  " + widetext(head) + u"|");
}

std::vector<widetext> all_parameters(const macroengine& m) {
  std::vector<widetext> out;
  for (const shorttext& s : m.list1.text) out.push_back(s.str());
  return out;
}

// ---- conditions ----------------------------------------------------------

// Four components read in turn from a text; a missing one is 0.
std::array<double, 4> read_hyper(wideview p) {
  std::array<double, 4> h{};
  std::size_t i = 0;
  for (double& v : h) {
    while (i < p.size() && !(p[i] == u'-' || p[i] == u'.' || (p[i] >= u'0' && p[i] <= u'9'))) ++i;
    std::size_t j = i;
    while (j < p.size() && p[j] != u',' && p[j] != u';' && p[j] != u' ' && p[j] != u'\t') ++j;
    v = text::real(p.substr(i, j - i));
    i = j;
  }
  return h;
}

double hyper_length(wideview p) {
  auto h = read_hyper(p);
  return std::sqrt(h[0] * h[0] + h[1] * h[1] + h[2] * h[2] + h[3] * h[3]);
}

bool hyper_text_equal(wideview a, wideview b) { return read_hyper(a) == read_hyper(b); }


bool contains(wideview hay, wideview needle) { return hay.find(needle) != wideview::npos; }

bool file_exists(const widetext& name) {
  std::string n = text::utf8(name);
  struct stat st;
  if (::stat(n.c_str(), &st) == 0) return true;
  glob_t g{};
  bool any = ::glob(n.c_str(), 0, nullptr, &g) == 0 && g.gl_pathc > 0;
  globfree(&g);
  return any;
}

std::int64_t file_size(const widetext& name) {
  struct stat st;
  if (::stat(text::utf8(name).c_str(), &st) != 0) return -1;
  return std::int64_t(st.st_size);
}

enum class cond_kind {
  all, notall, one, none, zero, notzero, smaller, bigger, equal, absequal, empty, notempty, same, notsame,
  contain, notcontain, onecontain, notonecontain, part, notpart, onepart, notonepart, exists, notexists,
  zerosize, equalsize, smallersize, biggersize
};

struct condword {
  std::u16string_view word;
  cond_kind kind;
};

constexpr condword condwords[] = {
    {u"if", cond_kind::all},          {u"ifall", cond_kind::all},
    {u"ifand", cond_kind::all},       {u"ifnot", cond_kind::notall},
    {u"ifnotall", cond_kind::notall}, {u"ifnand", cond_kind::notall},
    {u"ifone", cond_kind::one},       {u"ifor", cond_kind::one},
    {u"ifnotone", cond_kind::none},   {u"ifnor", cond_kind::none},
    {u"ifzero", cond_kind::zero},     {u"ifnotzero", cond_kind::notzero},
    {u"ifsmaller", cond_kind::smaller}, {u"ifbigger", cond_kind::bigger},
    {u"ifequal", cond_kind::equal},   {u"ifabsequal", cond_kind::absequal},
    {u"ifempty", cond_kind::empty},   {u"ifnotempty", cond_kind::notempty},
    {u"ifsame", cond_kind::same},     {u"ifnotsame", cond_kind::notsame},
    {u"ifcontain", cond_kind::contain}, {u"ifallcontain", cond_kind::contain},
    {u"ifnotcontain", cond_kind::notcontain}, {u"ifnotallcontain", cond_kind::notcontain},
    {u"ifonecontain", cond_kind::onecontain}, {u"ifnotonecontain", cond_kind::notonecontain},
    {u"ifpart", cond_kind::part},     {u"ifallpart", cond_kind::part},
    {u"ifnotpart", cond_kind::notpart}, {u"ifnotallpart", cond_kind::notpart},
    {u"ifonepart", cond_kind::onepart}, {u"ifnotonepart", cond_kind::notonepart},
    {u"ifexists", cond_kind::exists}, {u"ifnotexists", cond_kind::notexists},
    {u"ifzero.filesize", cond_kind::zerosize}, {u"ifequal.filesize", cond_kind::equalsize},
    {u"iffilesize", cond_kind::equalsize}, {u"ifsmaller.filesize", cond_kind::smallersize},
    {u"ifbigger.filesize", cond_kind::biggersize},
};

const condword* find_condition(wideview w) {
  if (w.size() < 2 || w[0] != u'i' || w[1] != u'f') return nullptr;
  for (const condword& c : condwords)
    if (c.word == w) return &c;
  return nullptr;
}

// The first word of a condition's row, which its trace shows.
wideview first_name(cond_kind k) {
  for (const condword& c : condwords)
    if (c.kind == k) return c.word;
  return u"if";
}

template <typename F>
bool all_pairs(const std::vector<widetext>& p, F f) {
  for (std::size_t i = 0; i + 1 < p.size(); ++i)
    if (!f(p[i], p[i + 1])) return false;
  return true;
}

void condition(macroengine& m, interpframe& fr, cond_kind k) {
  prepare(m, fr.line);
  if (m.trace) {
    widetext t = u"  " + widetext(first_name(k)) + u"|";
    for (const shorttext& s : m.list1.text) t += s.str() + u"|";
    print::line(t);
  }
  std::vector<widetext> p = all_parameters(m);
  std::size_t n = p.size();
  auto need = [&](std::size_t count) {
    if (n >= count) return true;
    check_min(m, 1);   // the reported minimum stays one, whatever is needed
    return false;
  };
  auto each_truth = [&](bool want_all) {
    std::size_t t = 0;
    for (const widetext& s : p) t += truth(s);
    return want_all ? t == n : t > 0;
  };
  auto rest_test = [&](bool p1_in_rest, bool every) {
    std::size_t hits = 0;
    for (std::size_t i = 1; i < n; ++i)
      hits += p1_in_rest ? contains(p[i], p[0]) : contains(p[0], p[i]);
    return every ? hits == n - 1 : hits > 0;
  };
  bool c = false;
  switch (k) {
    case cond_kind::all: if (!need(1)) return; c = each_truth(true); break;
    case cond_kind::notall: if (!need(1)) return; c = !each_truth(true); break;
    case cond_kind::one: if (!need(1)) return; c = each_truth(false); break;
    case cond_kind::none: if (!need(1)) return; c = !each_truth(false); break;
    case cond_kind::zero:
      if (!need(1)) return;
      c = true;
      for (const widetext& s : p) c = c && hyper_length(s) == 0;
      break;
    case cond_kind::notzero:
      if (!need(1)) return;
      c = true;
      for (const widetext& s : p) c = c && hyper_length(s) != 0;
      break;
    case cond_kind::smaller:
      if (!need(2)) return;
      c = all_pairs(p, [](const widetext& a, const widetext& b) { return hyper_length(a) < hyper_length(b); });
      break;
    case cond_kind::bigger:
      if (!need(2)) return;
      c = all_pairs(p, [](const widetext& a, const widetext& b) { return hyper_length(a) > hyper_length(b); });
      break;
    case cond_kind::equal:
      if (!need(2)) return;
      c = all_pairs(p, [](const widetext& a, const widetext& b) { return hyper_text_equal(a, b); });
      break;
    case cond_kind::absequal:
      if (!need(2)) return;
      c = all_pairs(p, [](const widetext& a, const widetext& b) { return hyper_length(a) == hyper_length(b); });
      break;
    case cond_kind::empty:
      c = true;
      for (const widetext& s : p) c = c && s.empty();
      break;
    case cond_kind::notempty:
      c = false;
      for (const widetext& s : p) c = c || !s.empty();
      break;
    case cond_kind::same: c = all_pairs(p, [](const widetext& a, const widetext& b) { return a == b; }); break;
    case cond_kind::notsame: c = !all_pairs(p, [](const widetext& a, const widetext& b) { return a == b; }); break;
    case cond_kind::contain: if (!need(2)) return; c = rest_test(true, true); break;
    case cond_kind::notcontain: if (!need(2)) return; c = !rest_test(true, true); break;
    case cond_kind::onecontain: if (!need(2)) return; c = rest_test(true, false); break;
    case cond_kind::notonecontain: if (!need(2)) return; c = !rest_test(true, false); break;
    case cond_kind::part: if (!need(2)) return; c = rest_test(false, true); break;
    case cond_kind::notpart: if (!need(2)) return; c = !rest_test(false, true); break;
    case cond_kind::onepart: if (!need(2)) return; c = rest_test(false, false); break;
    case cond_kind::notonepart: if (!need(2)) return; c = !rest_test(false, false); break;
    case cond_kind::exists:
    case cond_kind::notexists: {
      if (!need(1)) return;
      bool every = true;
      for (const widetext& s : p) every = every && file_exists(s);
      c = k == cond_kind::exists ? every : !every;
      break;
    }
    case cond_kind::zerosize:
      if (n != 1) {
        check_exact(m, 1);
        return;
      }
      if (file_size(p[0]) != 0) fr.cond = false;   // these tests can only clear
      return;
    case cond_kind::equalsize:
    case cond_kind::smallersize:
    case cond_kind::biggersize: {
      if (n != 2) {
        check_exact(m, 2);
        return;
      }
      std::int64_t size = file_size(p[0]), want = whole(p[1]);
      bool ok = k == cond_kind::equalsize ? size == want : k == cond_kind::smallersize ? size < want : size > want;
      if (!ok) fr.cond = false;
      return;
    }
  }
  fr.cond = c;
}

// ---- blocks --------------------------------------------------------------

void conditional_block(macroengine& m, interpframe& fr, std::int64_t& ln, bool run, wideview name) {
  trace_head(m, m.command);
  block_name(m, run ? widetext(name) : widetext(name) + u".ignore");
  ln = interpret(m, ln, run);
  m.currentline = ln;
  (void)fr;
}

void of_block(macroengine& m, interpframe& fr, std::int64_t& ln, bool negate) {
  prepare(m, fr.line);
  if (parameter_count(m) < 1) {
    check_min(m, 1);
    return;
  }
  bool hit = false;
  for (const shorttext& s : m.list1.text) hit = hit || s.str() == fr.casevalue;
  conditional_block(m, fr, ln, negate ? !hit : hit, negate ? u"ofnot" : u"of");
}

// ---- loops ---------------------------------------------------------------

// The loop words of one loop, hashed once for all its passes; an empty name is
// a word the loop does not set. The words become inner variables of the first
// pass; `leave` keeps them between passes (see `macroengine::keeprows`), so the
// later passes only change their values, and the loop drops them at its end.
struct loopkeys {
  macroengine& m;
  varkey length, rest, count, relative;
  std::size_t rows = 0, at = 0;   // rows the loop made; the next one to set in this pass
  bool first = true;
  const std::int64_t outerdepth;   // the keep of an enclosing loop, restored at the end
  const std::size_t outerrows;
  loopkeys(macroengine& e, wideview l, wideview r, wideview c, wideview v)
      : m(e), length{widetext(l)}, rest{widetext(r)}, count{widetext(c)}, relative{widetext(v)},
        outerdepth(e.keepdepth), outerrows(e.keeprows) {}
  loopkeys(const loopkeys&) = delete;
  loopkeys& operator=(const loopkeys&) = delete;
  ~loopkeys() {
    m.keepdepth = outerdepth;
    m.keeprows = outerrows;
    if (!first && !m.stopflag) var_drop_inner(m, rows);
  }
  void set(varkey& key, wideview value) {
    if (key.name.empty()) return;
    if (first) {
      var_new_inner_key(m, key, widetext(value));
      ++rows;
    } else {
      m.varvalue[at++].s.assign(value.substr(0, shorttext::limit));   // into the buffer it has
    }
  }
  // One pass over the body; false when the macro stops.
  bool run(std::int64_t opener, std::int64_t& last) {
    if (first) {
      first = false;
      m.keepdepth = m.depth + 1;
      m.keeprows = rows;
    }
    block_name(m, u"for");
    if (!run_pass(m, opener, last)) return false;
    // The kept words are the newest rows, unless the pass did not come back to
    // this depth; then they are made anew.
    const std::size_t n = m.varname.size();
    bool kept = n >= rows;
    for (std::size_t i = n - (kept ? rows : 0); kept && i < n; ++i) kept = m.varscope[i] == m.depth + 1;
    if (kept) {
      at = n - rows;
    } else {
      first = true;
      rows = 0;
      m.keeprows = 0;
    }
    return true;
  }
};

void set_inner(loopkeys& k, varkey& key, wideview value) { k.set(key, value); }

bool evaluate_all(macroengine& m, wideview text) {
  prepare(m, text);
  if (parameter_count(m) == 0) {
    check_min(m, 1);
    return false;
  }
  for (const shorttext& s : m.list1.text)
    if (!truth(s.str())) return false;
  return true;
}

void closing_scan(macroengine& m, std::int64_t opener, std::int64_t& ln, wideview name) {
  var_new_inner(m, u"condition", u"0");
  block_name(m, name);
  ln = interpret(m, opener, false);
  m.currentline = ln;
}

void while_loop(macroengine& m, interpframe& fr, std::int64_t& ln) {
  trace_head(m, u"while");
  const std::int64_t opener = ln;
  const widetext kept = fr.line;
  fr.loopflag = evaluate_all(m, kept);
  std::int64_t last = opener;
  while (fr.loopflag && !m.stopflag) {
    var_new_inner(m, u"condition", u"1");
    block_name(m, u"while");
    interpret(m, opener, true);
    if (m.stopflag) break;
    fr.loopflag = evaluate_all(m, kept);
  }
  if (m.stopflag) return;
  closing_scan(m, opener, last, u"while.ignore");
  ln = last;
}

void repeat_loop(macroengine& m, interpframe& fr, std::int64_t& ln) {
  trace_head(m, u"repeat");
  const std::int64_t opener = ln;
  fr.loopflag = true;
  do {
    var_new_inner(m, u"condition", u"1");
    block_name(m, u"repeat");
    interpret(m, opener, true);
    if (m.stopflag) return;
    fr.loopflag = evaluate_all(m, m.value);
  } while (!fr.loopflag && !m.stopflag);
  if (m.stopflag) return;
  closing_scan(m, opener, ln, u"repeat.ignore");
}

void for_one(macroengine& m, std::int64_t& ln, std::int64_t n) {
  if (m.trace) print::line(u"  for|" + nat::text(n) + u"|");
  if (n == 0) {
    block_name(m, u"for.ignore");
    ln = interpret(m, ln, false);
    m.currentline = ln;
    return;
  }
  const std::int64_t opener = ln, len = n < 0 ? -n : n, step = n < 0 ? -1 : 1;
  std::int64_t last = opener;
  loopkeys k(m, u"for.length", u"for.rest", u"for.count", u"for.relative");
  const widetext length = nat::text(len);
  for (std::int64_t i = step;; i += step) {
    set_inner(k, k.length, length);
    set_inner(k, k.rest, nat::text(len - i));
    set_inner(k, k.count, nat::text(i));
    set_inner(k, k.relative, real_text(double(i) / double(n)));
    if (!k.run(opener, last)) return;
    if (i == n) break;
  }
  ln = last;
  m.currentline = ln;
}

void for_real(macroengine& m, std::int64_t& ln, double a, double s, double b) {
  if (m.trace) print::line(u"  for|" + real_text(a) + u"..(" + real_text(s) + u").." + real_text(b) + u"|");
  const std::int64_t opener = ln;
  const double step = std::fabs(s);
  const bool down = b < a;
  std::int64_t last = opener;
  loopkeys k(m, u"for.length", u"for.rest", u"for.count", u"for.relative");
  for (;;) {
    double span = down ? a - b + 1 : b - a + 1;
    double len = step == 0 ? 0 : span / step;
    set_inner(k, k.length, nat::text(real::round_nat(len)));
    set_inner(k, k.rest, widetext());
    set_inner(k, k.relative, widetext());
    set_inner(k, k.count, real_text(a));
    a = down ? a - step : a + step;
    bool final_pass = down ? a < b : a > b;
    if (!k.run(opener, last)) return;
    if (final_pass) break;
  }
  ln = last;
  m.currentline = ln;
}

void for_loop(macroengine& m, interpframe& fr, std::int64_t& ln) {
  prepare(m, fr.line);
  std::size_t n = parameter_count(m);
  if (n == 1) {
    for_one(m, ln, real::round_nat(text::real(parameter(m, 1))));
  } else if (n == 2) {
    std::int64_t a = real::round_nat(text::real(parameter(m, 1))), b = real::round_nat(text::real(parameter(m, 2)));
    if (m.trace) print::line(u"  for|" + nat::text(a) + u".." + nat::text(b) + u"|");
    ln = count_passes(m, ln, a, b, u"for.length", u"for.rest", u"for.count", u"for.relative");
    m.currentline = ln;
  } else if (n == 3) {
    for_real(m, ln, text::real(parameter(m, 1)), text::real(parameter(m, 2)), text::real(parameter(m, 3)));
  } else {
    check_min(m, 1);
  }
}

void for_part(macroengine& m, interpframe& fr, std::int64_t& ln) {
  prepare(m, fr.line);
  if (parameter_count(m) != 3) return;   // neither runs nor scans: the body's lines go on as plain statements
  std::int64_t n = text::nat(parameter(m, 1)), part = text::nat(parameter(m, 2)), parts = text::nat(parameter(m, 3));
  if (n <= 0 || part <= 0 || parts <= 0) return;
  std::int64_t share = n / parts, from, to;
  if (part == 1) {
    from = 1;
    to = share;
  } else if (part == parts) {
    from = (parts - 1) * share + 1;
    to = n;
  } else {
    from = (part - 1) * share + 1;
    to = part * share;
  }
  if (m.trace) print::line(u"  for.part|" + nat::text(from) + u".." + nat::text(to) + u"|");
  ln = count_passes(m, ln, from, to, u"for.length", u"", u"for.count", u"for.relativ");
  m.currentline = ln;
}

template <typename T>
void shuffle(std::vector<T>& v) {
  for (std::size_t i = v.size(); i > 1; --i) std::swap(v[i - 1], v[std::size_t(random::nat(std::int64_t(i)))]);
}

// Passes over shuffled values: `for.count` takes the values in their new order.
template <typename T>
void random_passes(macroengine& m, std::int64_t& ln, const std::vector<T>& values, std::int64_t first,
                   std::int64_t last_i) {
  const std::int64_t opener = ln, len = std::int64_t(values.size());
  std::int64_t last = opener;
  loopkeys k(m, u"for.length", u"for.rest", u"for.count", u"for.relative");
  for (std::int64_t i = first; i <= last_i; ++i) {
    T v = i >= 1 && i <= len ? values[std::size_t(i - 1)] : T{};
    set_inner(k, k.length, nat::text(len));
    set_inner(k, k.rest, nat::text(len - i));
    if constexpr (std::is_same_v<T, double>) set_inner(k, k.count, real_text(v));
    else set_inner(k, k.count, nat::text(v));
    set_inner(k, k.relative, real_text(len ? double(i) / double(len) : 0));
    if (!k.run(opener, last)) return;
  }
  ln = last;
  m.currentline = ln;
}

// A static array of n entries; where the memory is not there, the allocation
// report of the array store, and false.
template <typename T>
bool static_array(std::vector<T>& v, std::uint64_t n) {
  // More than the machine's memory is refused before it is asked for.
  const double physical = memory::physical();
  if (physical > 0 && double(n) * double(sizeof(T)) > physical) {
    print::line(u"  Wrong static allocation (Out of memory?)! Create empty field.");
    return false;
  }
  try {
    v.resize(static_cast<std::size_t>(n));
    return true;
  } catch (const std::exception&) {   // bad_alloc, or a length beyond any vector
    print::line(u"  Wrong static allocation (Out of memory?)! Create empty field.");
    return false;
  }
}

// The body passed over, as for a loop of no passes.
void skip_body(macroengine& m, std::int64_t& ln) {
  block_name(m, u"for.ignore");
  ln = interpret(m, ln, false);
  m.currentline = ln;
}

void for_random(macroengine& m, interpframe& fr, std::int64_t& ln) {
  prepare(m, fr.line);
  std::size_t n = parameter_count(m);
  if (n == 1) {
    std::int64_t count = real::round_nat(text::real(parameter(m, 1)));
    if (m.trace) print::line(u"  for.random|" + nat::text(count) + u"|");
    std::int64_t len = count < 0 ? -count : count;
    if (len < 1) {
      block_name(m, u"for.ignore");
      ln = interpret(m, ln, false);
      m.currentline = ln;
      return;
    }
    std::vector<std::int64_t> values;
    if (!static_array(values, std::uint64_t(len))) return skip_body(m, ln);
    for (std::int64_t i = 1; i <= len; ++i) values[std::size_t(i - 1)] = i;
    shuffle(values);
    random_passes(m, ln, values, 1, len);
  } else if (n == 2) {
    std::int64_t a = real::round_nat(text::real(parameter(m, 1))), b = real::round_nat(text::real(parameter(m, 2)));
    if (b < a) std::swap(a, b);
    if (m.trace) print::line(u"  for.random|" + nat::text(a) + u".." + nat::text(b) + u"|");
    // A fixed array of b-a+1 entries filled at the indices a..b: past its end the
    // writes are dropped, so that only a = 1 gives the whole set.
    std::vector<std::int64_t> values;
    if (!static_array(values, std::uint64_t(b) - std::uint64_t(a) + 1)) return skip_body(m, ln);
    for (std::int64_t i = a; i <= b; ++i)
      if (i >= 1 && i <= std::int64_t(values.size())) values[std::size_t(i - 1)] = i;
    shuffle(values);
    random_passes(m, ln, values, a, b);
  } else if (n == 3) {
    double a = text::real(parameter(m, 1)), s = std::fabs(text::real(parameter(m, 2))), b = text::real(parameter(m, 3));
    if (b < a) std::swap(a, b);
    if (m.trace) print::line(u"  for|" + real_text(a) + u"..(" + real_text(s) + u").." + real_text(b) + u"|");
    std::vector<double> values{a};
    if (s > 0)
      for (double v = a + s; v <= b && values.size() < (std::size_t(1) << 26); v += s) values.push_back(v);
    shuffle(values);
    random_passes(m, ln, values, 1, std::int64_t(values.size()));
  } else {
    check_min(m, 1);
  }
}

}  // namespace

bool truth(wideview p) { return text::real(p) >= 1.0; }

void block_name(macroengine& m, wideview name) {
  m.blocknames.resize(std::size_t(m.depth) + 1);
  m.blocknames.back() = shorttext(name);
}

bool run_pass(macroengine& m, std::int64_t opener, std::int64_t& last) {
  last = interpret(m, opener, true);
  return !m.stopflag;
}

std::int64_t count_passes(macroengine& m, std::int64_t opener, std::int64_t a, std::int64_t b, wideview length,
                          wideview rest, wideview count, wideview relative,
                          const std::function<bool(std::int64_t)>& take) {
  const std::int64_t len = (a > b ? a - b : b - a) + 1, step = a > b ? -1 : 1;
  std::int64_t last = opener;
  bool ran = false;
  loopkeys k(m, length, rest, count, relative);
  for (std::int64_t i = a;; i += step) {
    if (!take || take(i)) {
      set_inner(k, k.length, nat::text(len));
      set_inner(k, k.rest, nat::text(len - i));
      set_inner(k, k.count, nat::text(i));
      set_inner(k, k.relative, real_text(double(i > a ? i - a : a - i) + 1.0 / double(len)));
      if (!k.run(opener, last)) return m.currentline;
      ran = true;
    }
    if (i == b) break;
  }
  if (!ran) {
    block_name(m, u"for.ignore");
    last = interpret(m, opener, false);
  }
  return last;
}

bool flow_word(macroengine& m, interpframe& fr, std::int64_t& ln) {
  const widetext& w = m.command;
  if (const condword* c = find_condition(w)) {
    condition(m, fr, c->kind);
    return true;
  }
  if (w == u"case") {
    prepare(m, fr.line);
    if (parameter_count(m) != 1) {
      check_exact(m, 1);
      return true;
    }
    fr.casevalue = parameter(m, 1);
    return true;
  }
  if (w == u"if.then" || w == u"then" || w == u"if.true") {
    conditional_block(m, fr, ln, fr.cond, u"if.then");
    return true;
  }
  if (w == u"if.else" || w == u"else" || w == u"if.false") {
    conditional_block(m, fr, ln, !fr.cond, u"if.else");
    return true;
  }
  if (w == u"of" || w == u"ofnot") {
    of_block(m, fr, ln, w == u"ofnot");
    return true;
  }
  if (w == u"for" || (w == u"parallel" && m.parallel_index == 0 && m.parallel_count == 0)) {
    for_loop(m, fr, ln);
    return true;
  }
  if (w == u"for.part") {
    for_part(m, fr, ln);
    return true;
  }
  if (w == u"for.random") {
    for_random(m, fr, ln);
    return true;
  }
  if (w == u"while") {
    while_loop(m, fr, ln);
    return true;
  }
  if (w == u"repeat") {
    repeat_loop(m, fr, ln);
    return true;
  }
  return declaration_word(m, fr) || file_block_word(m, fr, ln);
}

}  // namespace qv::macro
