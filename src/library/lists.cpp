// lists.cpp: the list record's operations and the `list.` commands.
#include "library/list.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "foundation/files.h"
#include "foundation/numeric_text.h"
#include "foundation/progress.h"
#include "foundation/stats.h"
#include "library/calc.h"

namespace qv {
namespace lists {

namespace {
bool known_tag(std::uint8_t t) { return t == 1 || t == 2 || t == 17 || t == 33 || t == 49 || t == 241; }
}  // namespace

std::int64_t length(const list& l) {
  switch (l.tag) {
    case listtag::real: return std::int64_t(l.reals.size());
    case listtag::nat: return std::int64_t(l.nats.size());
    case listtag::complex: return std::int64_t(l.complexes.size());
    case listtag::vector: return std::int64_t(l.vectors.size());
    case listtag::hyper: return std::int64_t(l.hypers.size());
    case listtag::chars: return std::int64_t(l.chars.size());
  }
  return 0;
}

void clear(list& l) {
  l.reals.clear(), l.nats.clear(), l.complexes.clear(), l.vectors.clear(), l.hypers.clear(), l.chars.clear();
  l.position = 0;
}

void make(list& l, std::uint8_t tag, std::int64_t n) {
  clear(l);
  l.known = known_tag(tag);
  if (!l.known) {
    print::line(u"Unknown list!");
    return;
  }
  l.tag = listtag(tag);
  if (n < 1) return;
  const std::size_t k = std::size_t(n);
  switch (l.tag) {
    case listtag::real: l.reals.resize(k); break;
    case listtag::nat: l.nats.resize(k); break;
    case listtag::complex: l.complexes.resize(k); break;
    case listtag::vector: l.vectors.resize(k); break;
    case listtag::hyper: l.hypers.resize(k); break;
    case listtag::chars: l.chars.resize(k); break;
  }
}

widetext text_at(const list& l, std::int64_t i) {
  if (i < 1 || i > length(l)) return l.background;
  const std::size_t k = std::size_t(i - 1);
  switch (l.tag) {
    case listtag::real: return real::text(l.reals[k]);
    case listtag::nat: return nat::text(l.nats[k]);
    case listtag::complex: return complex::text(l.complexes[k]);
    case listtag::vector: return vector::text(l.vectors[k]);
    case listtag::hyper: return hyper::text(l.hypers[k]);
    case listtag::chars: return l.chars[k];
  }
  return l.background;
}

void push_text(list& l, wideview t) {
  if (!l.known) return;
  switch (l.tag) {
    case listtag::real: l.reals.push_back(text::real(t)); break;
    case listtag::nat: l.nats.push_back(text::nat(t)); break;
    case listtag::complex: l.complexes.push_back(text::complex(t)); break;
    case listtag::vector: l.vectors.push_back(text::vector(t)); break;
    case listtag::hyper: l.hypers.push_back(text::hyper(t)); break;
    case listtag::chars: l.chars.emplace_back(t); break;
  }
}

double real_at(const list& l, std::int64_t i) {
  if (i < 1 || i > length(l)) return 0;
  const std::size_t k = std::size_t(i - 1);
  switch (l.tag) {
    case listtag::real: return l.reals[k];
    case listtag::nat: return double(l.nats[k]);
    case listtag::complex: return l.complexes[k].x;
    case listtag::vector: return l.vectors[k].x;
    case listtag::hyper: return l.hypers[k].x;
    case listtag::chars: return text::real(l.chars[k]);
  }
  return 0;
}

namespace {

// ---- files: one element a line, in the element's text form

// A plain decimal number, read without the detour through wide text; false for
// anything else (units, expressions, decimal commas), which the text reader takes.
bool plain_number(std::string_view s, double& v) {
  if (s.empty()) return false;
  const auto r = std::from_chars(s.data(), s.data() + s.size(), v);
  return r.ec == std::errc() && r.ptr == s.data() + s.size() && s.front() != '+';
}
bool plain_whole(std::string_view s, std::int64_t& v) {
  if (s.empty()) return false;
  const auto r = std::from_chars(s.data(), s.data() + s.size(), v);
  return r.ec == std::errc() && r.ptr == s.data() + s.size();
}

void load_bytes(list& l, std::string_view bytes) {
  const widetext label = u"  Analyze";
  progress::set(0, label);
  std::size_t at = 0, lines = 0;
  while (at < bytes.size()) {
    std::size_t end = bytes.find('\n', at);
    if (end == std::string_view::npos) end = bytes.size();
    std::string_view line = bytes.substr(at, end - at);
    at = end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if ((++lines & 0xfffff) == 0) progress::set(double(at) / double(bytes.size()), label);
    double d;
    std::int64_t n;
    if (l.tag == listtag::real && plain_number(line, d)) l.reals.push_back(d);
    else if (l.tag == listtag::nat && plain_whole(line, n)) l.nats.push_back(n);
    else push_text(l, text::from_utf8(line));
  }
  progress::end(label);
}

bool save_list(const list& l, wideview name) {
  filehandle h;
  if (!file::open_write(h, name)) return false;
  std::string out;
  out.reserve(1 << 20);
  char buf[real::textroom];
  const std::int64_t n = length(l);
  for (std::int64_t i = 1; i <= n; ++i) {
    if (l.tag == listtag::real) out.append(buf, real::text_into(l.reals[std::size_t(i - 1)], buf));
    else if (l.tag == listtag::nat) out.append(buf, nat::text_into(l.nats[std::size_t(i - 1)], buf));
    else out += text::utf8(text_at(l, i));
    out.push_back('\n');
    if (out.size() >= (1 << 20)) {
      if (std::fwrite(out.data(), 1, out.size(), h.f) != out.size()) return false;
      out.clear();
    }
  }
  return std::fwrite(out.data(), 1, out.size(), h.f) == out.size();
}

// ---- commands

list& cur() { return current(); }

// The list of a `new := list.func`, reported when it is the current one.
list* target_of(macroengine& m) {
  list* t = workspace::get_target(m, workspaces(), macro::target(m));
  m.target.clear();
  return t;
}

template <listtag tag>
void type_cmd(macroengine&) { workspace_traits<list>::default_tag = std::uint8_t(tag); }

void value_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  cur().value = macro::parameter(m, 1);
}
void background_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  cur().background = macro::parameter(m, 1);
}
void iflist_fn(macroengine& m) { macro::value_set(m, length(cur()) > 0 ? u"1" : u"0"); }
void length_fn(macroengine& m) { macro::value_set(m, nat::text(length(cur()))); }
void clear_cmd(macroengine&) { clear(cur()); }

// `list.new [n]`: the default type at length n, or at the old length.
void new_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  list& l = cur();
  const std::int64_t n = macro::parameter_count(m) ? text::nat(macro::parameter(m, 1)) : length(l);
  make(l, workspace_traits<list>::default_tag, n);
}

void load_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  if (name.empty()) return;
  std::string bytes;
  if (!file::read_all(name, bytes)) {
    file::report(name);
    return;
  }
  print::line(u"Read file (" + name + u").");
  list& l = cur();
  clear(l);
  load_bytes(l, bytes);
}

void save_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  if (name.empty()) return;
  if (!save_list(cur(), name)) file::report(name);
}

// `list.save.table a b ... file`: the named lists side by side, tab-separated,
// as many rows as the longest; a shorter list leaves its cells empty.
void save_table_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 2) return macro::check_min(m, 2);
  const widetext name = macro::parameter(m, n);
  if (name.empty()) return;
  std::vector<const list*> columns;
  std::int64_t rows = 0;
  for (std::size_t i = 1; i < n; ++i) {
    const widetext word = macro::parameter(m, i);
    const std::size_t k = workspace::find(workspaces(), word);
    if (!k) {
      print::line(u"Unknown list (" + word + u") ignored!");
      continue;
    }
    columns.push_back(workspaces().objects[k - 1].get());
    rows = std::max(rows, length(*columns.back()));
  }
  print::line(u"Write lists to file (" + name + u").");
  filehandle h;
  h.f = std::fopen(file::system_name(name).c_str(), "wb");
  if (!h) return print::line(u"  Couldn't write File (" + name + u")!");
  std::string out;
  for (std::int64_t r = 1; r <= rows; ++r) {
    for (std::size_t c = 0; c < columns.size(); ++c) {
      if (c) out.push_back('\t');
      if (r <= length(*columns[c])) out += text::utf8(text_at(*columns[c], r));
    }
    out.push_back('\n');
  }
  if (std::fwrite(out.data(), 1, out.size(), h.f) != out.size()) file::report(name);
}

void copy_fn(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  const list& s = cur();
  list* t = target_of(m);
  if (t && t != &s) *t = s;
}

void flip_cmd(macroengine&) {
  list& l = cur();
  std::reverse(l.reals.begin(), l.reals.end());
  std::reverse(l.nats.begin(), l.nats.end());
  std::reverse(l.complexes.begin(), l.complexes.end());
  std::reverse(l.vectors.begin(), l.vectors.end());
  std::reverse(l.hypers.begin(), l.hypers.end());
  std::reverse(l.chars.begin(), l.chars.end());
}

void push_cmd(macroengine& m) {
  list& l = cur();
  for (std::size_t i = 1; i <= macro::parameter_count(m); ++i) push_text(l, macro::parameter(m, i));
}

void pop_fn(macroengine& m) {
  list& l = cur();
  const std::int64_t n = length(l);
  if (n == 0) return macro::value_set(m, l.background);
  macro::value_set(m, text_at(l, n));
  switch (l.tag) {
    case listtag::real: l.reals.pop_back(); break;
    case listtag::nat: l.nats.pop_back(); break;
    case listtag::complex: l.complexes.pop_back(); break;
    case listtag::vector: l.vectors.pop_back(); break;
    case listtag::hyper: l.hypers.pop_back(); break;
    case listtag::chars: l.chars.pop_back(); break;
  }
}

// The cursor: 0 on an empty list; `next` stops at length + 1, `before` at 0.
enum class move { first, next, before, last };
template <move w>
void cursor_cmd(macroengine&) {
  list& l = cur();
  const std::int64_t n = length(l);
  if (n == 0) {
    l.position = 0;
    return;
  }
  switch (w) {
    case move::first: l.position = 1; break;
    case move::last: l.position = n; break;
    case move::next: l.position = std::min(l.position + 1, n + 1); break;
    case move::before: l.position = std::max<std::int64_t>(l.position - 1, 0); break;
  }
}

// `list.get`: at the cursor, or at each index given, joined by tabs.
void get_fn(macroengine& m) {
  const list& l = cur();
  const std::size_t n = macro::parameter_count(m);
  if (n == 0) return macro::value_set(m, text_at(l, l.position));
  widetext out;
  for (std::size_t i = 1; i <= n; ++i) {
    if (i > 1) out.push_back(u'\t');
    out += text_at(l, text::nat(macro::parameter(m, i)));
  }
  macro::value_set(m, out);
}

// The smallest and largest element: by value for numbers, by the order of the
// components for vectors, by text for chars; empty text on an empty list.
template <bool largest>
void extreme_fn(macroengine& m) {
  const list& l = cur();
  const std::int64_t n = length(l);
  if (n == 0) return macro::value_set(m, widetext());
  auto pick = [](const auto& v) {
    auto it = largest ? std::max_element(v.begin(), v.end()) : std::min_element(v.begin(), v.end());
    return std::int64_t(it - v.begin()) + 1;
  };
  auto less = [](const auto& a, const auto& b) { return std::tie(a.x, a.y) < std::tie(b.x, b.y); };
  std::int64_t at = 1;
  switch (l.tag) {
    case listtag::real: at = pick(l.reals); break;
    case listtag::nat: at = pick(l.nats); break;
    case listtag::chars: at = pick(l.chars); break;
    case listtag::complex: {
      auto it = largest ? std::max_element(l.complexes.begin(), l.complexes.end(), less)
                        : std::min_element(l.complexes.begin(), l.complexes.end(), less);
      at = std::int64_t(it - l.complexes.begin()) + 1;
      break;
    }
    case listtag::vector: {
      auto lv = [](const num::vector& a, const num::vector& b) { return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z); };
      auto it = largest ? std::max_element(l.vectors.begin(), l.vectors.end(), lv)
                        : std::min_element(l.vectors.begin(), l.vectors.end(), lv);
      at = std::int64_t(it - l.vectors.begin()) + 1;
      break;
    }
    case listtag::hyper: {
      auto lh = [](const num::hyper& a, const num::hyper& b) { return std::tie(a.x, a.y, a.z, a.t) < std::tie(b.x, b.y, b.z, b.t); };
      auto it = largest ? std::max_element(l.hypers.begin(), l.hypers.end(), lh)
                        : std::min_element(l.hypers.begin(), l.hypers.end(), lh);
      at = std::int64_t(it - l.hypers.begin()) + 1;
      break;
    }
  }
  macro::value_set(m, text_at(l, at));
}

// `list.smooth [times]` on real lists: each step runs upward in place,
// f[i] := ((f[i-1] + f[i+1]) * 0.5 + f[i]) * 0.5 for i from 2 to n-1.
void smooth_cmd(macroengine& m) {
  if (macro::parameter_count(m) > 1) return macro::check_max(m, 1);
  list& l = cur();
  if (l.tag != listtag::real) return;
  const std::int64_t times = macro::parameter_count(m) ? text::nat(macro::parameter(m, 1)) : 1;
  std::vector<double>& f = l.reals;
  for (std::int64_t t = 0; t < times; ++t)
    for (std::size_t i = 1; i + 1 < f.size(); ++i) f[i] = ((f[i - 1] + f[i + 1]) * 0.5 + f[i]) * 0.5;
}

double outlier_factor = 2.0;

void outlier_factor_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  outlier_factor = text::real(macro::parameter(m, 1));
}

// Half the span of the running baseline: each element is judged against the
// median and quartile band of the 2 * 10 + 1 elements around it (fewer at the ends).
constexpr std::int64_t baseline_half = 10;

// `new := list.outlier` and `.outlier.baseline`: a nat list of the same length,
// 1 where the element lies outside median +- factor * |Q.25 - Q.75|, else 0.
template <bool running>
void outlier_fn(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  const list& s = cur();
  const std::int64_t n = length(s);
  std::vector<double> v(static_cast<std::size_t>(n));
  for (std::int64_t i = 1; i <= n; ++i) v[std::size_t(i - 1)] = real_at(s, i);
  list* t = target_of(m);
  if (!t) return;
  make(*t, std::uint8_t(listtag::nat), n);
  if (!running) {
    const num::complex w = stats::outlier_window(stats::quartiles_of(v), outlier_factor);
    for (std::int64_t i = 0; i < n; ++i) t->nats[std::size_t(i)] = stats::outlier(v[std::size_t(i)], w) ? 1 : 0;
    return;
  }
  for (std::int64_t i = 0; i < n; ++i) {
    const std::int64_t a = std::max<std::int64_t>(0, i - baseline_half), b = std::min(n, i + baseline_half + 1);
    const std::span<const double> part(v.data() + a, std::size_t(b - a));
    const num::complex w = stats::outlier_window(stats::quartiles_of(part), outlier_factor);
    t->nats[std::size_t(i)] = stats::outlier(v[std::size_t(i)], w) ? 1 : 0;
  }
}

// `stack.to.list`: the current list gets the calculator's stack, bottom first,
// each entry as its short hyper text read by the list's type.
void stack_to_list_cmd(macroengine&) {
  list& l = cur();
  clear(l);
  for (const num::hyper& h : calculator::stack()) push_text(l, hyper::text_short(h));
}

// `list.to.stack`: the stack becomes the list's elements read as hypers, element 1 at the bottom.
void list_to_stack_cmd(macroengine&) {
  const list& l = cur();
  std::vector<num::hyper>& s = calculator::stack();
  s.clear();
  for (std::int64_t i = 1; i <= length(l); ++i) s.push_back(text::hyper(text_at(l, i)));
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow stack_rows[] = {
    {"to.list", P, stack_to_list_cmd, "stack.to.list", "the current list gets the stack, bottom first"},
};

constexpr cmdrow rows[] = {
    // name               kind handler                       usage                                  comment
    {"real",              P, type_cmd<listtag::real>,         "list.real",                           "new lists hold reals"},
    {"nat",               P, type_cmd<listtag::nat>,          "list.nat",                            "new lists hold whole numbers (the default)"},
    {"complex",           P, type_cmd<listtag::complex>,      "list.complex",                        "new lists hold complex pairs"},
    {"vector",            P, type_cmd<listtag::vector>,       "list.vector",                         "new lists hold vectors"},
    {"hyper",             P, type_cmd<listtag::hyper>,        "list.hyper",                          "new lists hold hypers"},
    {"chars",             P, type_cmd<listtag::chars>,        "list.chars",                          "new lists hold texts"},
    {"value",             P, value_cmd,                       "list.value 0",                        "the value a read outside the list gives"},
    {"background",        P, background_cmd,                  "list.background 0",                   "the background a read outside the list gives"},
    {"iflist",            F, iflist_fn,                       "flag := list.iflist",                 "1 if the list has entries"},
    {"length",            F, length_fn,                       "n := list.length",                    "number of entries"},
    {"size",              F, length_fn,                       "n := list.size",                      "number of entries"},
    {"clear",             P, clear_cmd,                       "list.clear",                          "frees the entries"},
    {"clean",             P, clear_cmd,                       "list.clean",                          "frees the entries"},
    {"new",               P, new_cmd,                         "list.new 10",                         "re-creates the list with the default type at length n (none: the old length)"},
    {"load",              P, load_cmd,                        "list.load file.txt",                  "reads one element a line"},
    {"save",              P, save_cmd,                        "list.save file.txt",                  "writes one element a line"},
    {"save.table",        P, save_table_cmd,                  "list.save.table a b file.txt",        "writes the named lists side by side, tab-separated"},
    {"copy",              F, copy_fn,                         "new := list.copy",                    "copies the current list"},
    {"flip",              P, flip_cmd,                        "list.flip",                           "reverses the order"},
    {"push",              P, push_cmd,                        "list.push a b c",                     "appends each parameter"},
    {"pop",               F, pop_fn,                          "a := list.pop",                       "the last element, removed"},
    {"first",             P, cursor_cmd<move::first>,         "list.first",                          "cursor to the first element"},
    {"next",              P, cursor_cmd<move::next>,          "list.next",                           "cursor one on, at most one past the end"},
    {"before",            P, cursor_cmd<move::before>,        "list.before",                         "cursor one back, at least 0"},
    {"last",              P, cursor_cmd<move::last>,          "list.last",                           "cursor to the last element"},
    {"get",               F, get_fn,                          "a := list.get 1 2",                   "the element at the cursor, or at the indices, tab-joined"},
    {"min",               F, extreme_fn<false>,               "a := list.min",                       "smallest element (empty text on an empty list)"},
    {"max",               F, extreme_fn<true>,                "a := list.max",                       "largest element (empty text on an empty list)"},
    {"smooth",            P, smooth_cmd,                      "list.smooth 1",                       "smoothing steps on a real list"},
    {"outlier.factor",    P, outlier_factor_cmd,              "list.outlier.factor 2",               "factor of the outlier test (default 2)"},
    {"outlier",           F, outlier_fn<false>,               "new := list.outlier",                 "1 where an element lies outside median +- factor * |Q.25 - Q.75|, else 0"},
    {"outlier.baseline",  F, outlier_fn<true>,                "new := list.outlier.baseline",        "the same against the 21 elements around each one"},
    {"to.stack",          P, list_to_stack_cmd,               "list.to.stack",                       "the calculator's stack becomes the list, element 1 at the bottom"},
};

}  // namespace

void register_commands(macroengine& m) {
  workspace::register_family<list>(m, false);
  macro::register_rows(m, "list.", rows);
  macro::register_rows(m, "stack.", stack_rows);
}

}  // namespace lists
}  // namespace qv
