// options.cpp: command-line parsing, the options file and the option declarations.
#include "app/options.h"

#include <cstdio>
#include <fstream>
#include <iostream>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/numeric_text.h"

namespace qv {
namespace {

// Drops a leading `"` or `'`, the same character at the end, and undoubles it inside.
widetext unquote(widetext piece) {
  if (piece.empty() || (piece[0] != u'"' && piece[0] != u'\'')) return piece;
  widechar q = piece[0];
  piece.erase(0, 1);
  if (!piece.empty() && piece.back() == q) piece.pop_back();
  widechar pair[2] = {q, q};
  return text::replace(piece, wideview(pair, 2), wideview(pair, 1));
}

widetext strip_minus(wideview t) {
  std::size_t i = 0;
  while (i < t.size() && t[i] == u'-') ++i;
  return widetext(t.substr(i));
}

void add(optionset& o, widetext name, widetext value) {
  o.optionnames.emplace_back(std::move(name));
  o.optionvalues.emplace_back(std::move(value));
}

void pause(const optionset& o) {
  if (!o.helppause) return;
  print::line(u"*** press enter ***");
  std::string dummy;
  std::getline(std::cin, dummy);
}

}  // namespace

widetext version_text(std::string_view date, int* year, int* month, int* day) {
  auto num = [&](std::size_t at, std::size_t len) {
    int v = 0;
    for (std::size_t i = at; i < at + len && i < date.size(); ++i)
      if (date[i] >= '0' && date[i] <= '9') v = v * 10 + (date[i] - '0');
    return v;
  };
  int y = num(0, 4), mo = num(5, 2), d = num(8, 2);
  if (year) *year = y;
  if (month) *month = mo;
  if (day) *day = d;
  return nat::text(y - 2017) + u"." + nat::text(mo) + u"." + nat::text(d);
}

void option::parse(optionset& o, const std::vector<std::string>& args) {
  widetext joined;
  for (const std::string& a : args) {
    if (a.empty()) continue;
    if (!joined.empty()) joined.push_back(u'\t');
    joined += text::from_utf8(a);
  }
  long pending = -1;   // entry of a `-x` that a following positional piece may fill
  while (!joined.empty()) {
    widetext piece = text::token_outside(joined, u'\t');
    for (widechar& c : piece)
      if (c == u'\t') c = u' ';
    if (piece.empty()) continue;
    if (piece[0] == u'-') {
      std::size_t eq = piece.find(u'=');
      if (eq == widetext::npos || eq < 1) {
        add(o, strip_minus(piece), u"false");
        pending = long(o.optionnames.size()) - 1;
      } else {
        add(o, strip_minus(wideview(piece).substr(0, eq)), unquote(piece.substr(eq + 1)));
        pending = -1;
      }
    } else if (piece[0] == u'+') {
      add(o, piece.substr(1), u"true");
      pending = -1;
    } else {
      widetext value = unquote(piece);
      if (pending >= 0) o.optionvalues[std::size_t(pending)] = shorttext(std::move(value));
      else add(o, {}, std::move(value));
      pending = -1;
    }
  }
}

void option::read_file(optionset& o, const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return;
  std::string raw;
  while (std::getline(in, raw)) {
    if (!raw.empty() && raw.back() == '\r') raw.pop_back();
    if (raw.empty()) continue;
    widetext line = text::from_utf8(raw);
    std::size_t cut = line.find(u'=');
    if (cut == widetext::npos) cut = line.find(u' ');
    if (cut == widetext::npos) add(o, strip_minus(line), {});
    else add(o, strip_minus(wideview(line).substr(0, cut)), line.substr(cut + 1));
  }
}

const shorttext* option::find(const optionset& o, wideview name) {
  for (std::size_t i = 0; i < o.optionnames.size(); ++i)
    if (o.optionnames[i].str() == name) return &o.optionvalues[i];
  return nullptr;
}

bool option::present(const optionset& o, wideview name) { return find(o, name) != nullptr; }

widetext option::text(optionset& o, wideview name, wideview def, wideview description) {
  widetext v(def);
  if (!o.helpmode)
    if (const shorttext* s = find(o, name)) v = s->str();
  print::line(u"  -" + widetext(name) + u" : " + widetext(description) + u" = " + v);
  return v;
}

widetext option::text_last(optionset& o, wideview name, wideview def, wideview description) {
  widetext v(def);
  if (!o.helpmode) {
    if (const shorttext* s = find(o, name)) {
      v = s->str();
    } else {
      for (std::size_t i = o.optionnames.size(); i-- > 0;)
        if (o.optionnames[i].empty()) {
          v = o.optionvalues[i].str();
          break;
        }
    }
  }
  print::line(u"  -" + widetext(name) + u" : " + widetext(description) + u" = " + v);
  return v;
}

std::int64_t option::nat(optionset& o, wideview name, std::int64_t def, std::int64_t min, std::int64_t max,
                         wideview description) {
  std::int64_t v = def;
  if (!o.helpmode)
    if (const shorttext* s = find(o, name)) v = text::nat(s->str());
  if (v < min) v = min;
  if (v > max) v = max;
  print::line(u"  -" + widetext(name) + u" : " + widetext(description) + u" (" + nat::text(min) + u"-" +
              nat::text(max) + u") = " + nat::text(v));
  return v;
}

widetext option::vector(optionset& o, wideview name, wideview def, wideview description) {
  widetext v(def);
  if (!o.helpmode)
    if (const shorttext* s = find(o, name)) v = s->str();
  v = vector::text(text::vector(v));
  print::line(u"  -" + widetext(name) + u" : " + widetext(description) + u" = " + v);
  return v;
}

bool option::bool_(optionset& o, wideview name, bool def, wideview description) {
  bool v = def;
  if (!o.helpmode)
    if (const shorttext* s = find(o, name)) {
      const widetext& t = s->str();
      v = t == u"true" || t == u"on" || t == u"yes" || text::real(t) >= 1;
    }
  print::line(u"  +/-" + widetext(name) + u" : " + widetext(description) + (v ? u" = on" : u" = off"));
  return v;
}

void option::section(optionset& o, wideview title) {
  pause(o);
  print::blank();
  print::line(widetext(title) + u":");
}

void option::help(optionset& o, wideview t) {
  if (o.helpmode) print::line(u"      " + widetext(t));
}

void option::example(optionset& o) {
  pause(o);
  print::blank();
  print::line(u"  -? : show this help");
  print::line(u"  -h : shows this help without waiting");
  if (o.helpmode) {
    print::blank();
    print::line(u"Example: quorvex -image.input=*.ppm -image.type=png");
  }
}

}  // namespace qv
