// declare.cpp: the declaration words `var`, `local`, `global` and the compound operators.
#include "engine/flow.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

void trace_declaration(const macroengine& m, wideview where) {
  if (m.trace) print::line(u"  " + m.target + u" " + widetext(where) + u" := |" + m.value + u"|");
}

widetext params_from(const macroengine& m, std::size_t first, wideview separator) {
  widetext out;
  for (std::size_t i = first; i <= m.list1.count(); ++i) {
    if (i > first) out += separator;
    out += m.list1.text[i - 1].str();
  }
  return out;
}

widetext first_chars(wideview t, std::int64_t n) { return widetext(t.substr(0, std::size_t(n))); }
widetext last_chars(wideview t, std::int64_t n) {
  return std::size_t(n) >= t.size() ? widetext(t) : widetext(t.substr(t.size() - std::size_t(n)));
}

}  // namespace

bool declaration_word(macroengine& m, interpframe& fr) {
  const widetext& w = m.command;
  bool is_var = w.starts_with(u"var"), is_local = w.starts_with(u"local"), is_global = w.starts_with(u"global");
  if (!is_var && !is_local && !is_global) return false;
  prepare(m, fr.line);
  std::size_t n = parameter_count(m);
  if (n < 1) {
    check_min(m, 1);
    return true;
  }
  widetext where = is_global ? widetext(u"(global)") : u"(instance " + nat::text(m.depth) + u")";
  if (is_var) {
    m.target.clear();
    m.value.clear();
    for (std::size_t i = 1; i <= n && !m.stopflag; ++i) {
      if (i > 1) m.target.push_back(u'|');
      m.target += m.list1.text[i - 1].str();
      var_set(m, m.list1.text[i - 1].str(), u"");
    }
    trace_declaration(m, where);
    return true;
  }
  m.target = m.list1.text[0].str();
  m.value = params_from(m, 2, u"");
  trace_declaration(m, where);
  if (is_local) var_set(m, m.target, m.value);
  else var_set_at(m, m.target, m.value, 1);
  return true;
}

void compound(macroengine& m) {
  const widetext op = m.command;
  const std::size_t n = parameter_count(m);
  auto p = [&](std::size_t i) -> const widetext& { return m.list1.text[i - 1].str(); };
  widetext v;
  if (op == u"~=") {
    if (n) v = p(1);
    for (std::size_t i = 2; i <= n; ++i) v = p(i) + v;
  } else if (op == u"|=") {
    v = params_from(m, 1, u" ");
  } else if (op == u"$=" || op == u"d=") {
    if (n) v = p(1);
    std::int64_t k = n ? text::nat(p(1)) : 0;
    for (std::size_t i = 2; i <= n; ++i) {
      const widetext& t = p(i);
      if (op == u"$=") v = k >= 1 ? first_chars(t, k) : last_chars(t, -k);
      else if (k >= 1) v = std::size_t(k) >= t.size() ? widetext() : t.substr(std::size_t(k));
      else v = std::size_t(-k) >= t.size() ? widetext() : t.substr(0, t.size() - std::size_t(-k));
    }
  } else if (op == u"s=") {
    if (n == 1) v = p(1);
    for (std::size_t i = 2; i <= n; ++i) {
      if (i > 2) v.push_back(u' ');
      std::size_t at = p(1).empty() ? widetext::npos : p(i).find(p(1));
      v += at == widetext::npos ? p(i) : p(i).substr(0, at);
    }
  } else if (op == u"r=") {
    if (n < 3) {
      check_min(m, 3);
      return;
    }
    for (std::size_t i = 3; i <= n; ++i) {
      if (i > 3) v.push_back(u' ');
      v += text::replace(p(i), p(1), p(2));
    }
  } else if (op == u"!=") {
    if (n < 1) {
      check_min(m, 1);
      return;
    }
    v = var_get(m, m.target);
    for (std::size_t i = 1; i <= n; ++i) v = text::replace(v, p(i), u"");
  } else if (!numeric_compound(m, op, v)) {
    v.clear();   // an unknown operator leaves the variable empty
  }
  value_set(m, std::move(v));
}

}  // namespace qv::macro
