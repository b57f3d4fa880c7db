// prepare.cpp: turning the rest of a line into the two parameter lists.
#include "engine/macroengine.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

bool is_digit(widechar c) { return c >= u'0' && c <= u'9'; }

// `$` and `%` forms: digits from the last character back to the second.
widetext radix_value(wideview token, int base) {
  std::uint64_t v = 0, weight = 1;
  for (std::size_t i = token.size(); i-- > 1;) {
    widechar c = token[i];
    int d = -1;
    if (is_digit(c)) d = c - u'0';
    else if (c >= u'a' && c <= u'f') d = c - u'a' + 10;
    else if (c >= u'A' && c <= u'F') d = c - u'A' + 10;
    if (d < 0 || d >= base) continue;
    v += std::uint64_t(d) * weight;
    weight *= std::uint64_t(base);
  }
  return nat::text(std::int64_t(v));
}

widechar closer_of(widechar c) {
  switch (c) {
    case u'(': return u')';
    case u'<': return u'>';
    case u'[': return u']';
    default: return u'}';
  }
}

// Removes every doubled `q` from `rest`, so that a following "" gives nothing.
void undouble(widetext& rest, widechar q) {
  widechar pair[2] = {q, q};
  if (rest.find(wideview(pair, 2)) == widetext::npos) return;
  rest = text::replace(rest, wideview(pair, 2), {});
}

void build(macroengine& m, paramlist& list, widetext rest, bool angle) {
  list.clear();
  for (;;) {
    rest = text::trim(rest);
    if (rest.empty()) break;
    widetext tok = text::token_outside(rest, u' ', angle);
    if (tok.empty()) continue;
    widechar c = tok[0];
    std::uint8_t type;
    if (c == u'"' || c == u'\'') {
      // Only a closed quote is dropped: an unclosed one, as a comment cut leaves
      // in `print "a //b"`, stays part of the text.
      if (tok.size() > 1 && tok.back() == c) tok = tok.substr(1, tok.size() - 2);
      undouble(rest, c);
      if (tok.empty()) continue;
      type = paramtype::string;
    } else if (c == u'#') {
      std::int64_t code = text::nat(tok);
      tok = widetext(1, widechar(code));
      type = paramtype::string;
    } else if (c == u'$' || c == u'%') {
      tok = radix_value(tok, c == u'$' ? 16 : 2);
      type = paramtype::group;
    } else if (c == u'(' || c == u'[' || c == u'{' || (angle && c == u'<')) {
      if (tok.size() > 1) {
        tok.erase(0, 1);
        if (tok.back() == closer_of(c)) tok.pop_back();
        if (tok.empty()) continue;
      }
      type = paramtype::group;
    } else if (c == u'-' || is_digit(c)) {
      type = paramtype::number;
    } else if (tok.back() == u']') {
      type = paramtype::element;
    } else if (list.text.empty() && lookup_function(m, tok)) {
      type = paramtype::function;
    } else if (lookup_variable(m, tok)) {
      type = paramtype::variable;
    } else {
      type = paramtype::word;
    }
    list.text.emplace_back(std::move(tok));
    list.type.push_back(type);
  }
}

widetext element(const macroengine& m, const widetext& tok) {
  std::size_t open = tok.find(u'[');
  if (open == widetext::npos) return substitute_word(m, tok);
  widetext value = var_get(m, wideview(tok).substr(0, open));
  widetext index = substitute_word(m, text::trim(wideview(tok).substr(open + 1, tok.size() - open - 2)));
  std::int64_t i = text::nat(index);
  if (i < 0) return tok;
  if (i == 0) {
    std::int64_t count = 1;
    for (widechar c : value) count += c == u'\t';
    return nat::text(count);
  }
  for (std::int64_t k = 1; k < i; ++k) {
    std::size_t tab = value.find(u'\t');
    if (tab == widetext::npos) return {};
    value.erase(0, tab + 1);
  }
  return text::token(value, u'\t');
}

widetext group(const macroengine& m, const widetext& tok) {
  widetext out;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= tok.size(); ++i) {
    if (i < tok.size() && tok[i] != u',' && tok[i] != u';') continue;
    out += substitute_word(m, text::trim(wideview(tok).substr(start, i - start)));
    if (i < tok.size()) out.push_back(tok[i]);
    start = i + 1;
  }
  return out;
}

void evaluate(macroengine& m, paramlist& list) {
  for (std::size_t i = 0; i < list.count(); ++i) {
    widetext t = list.text[i].str();
    if (t.empty()) continue;
    switch (list.type[i]) {
      case paramtype::number:
      case paramtype::string: continue;
      case paramtype::group: t = group(m, t); break;
      case paramtype::element: t = element(m, t); break;
      case paramtype::variable:
        dispatch_variable(m, t);
        t = m.value;
        break;
      default: t = substitute_word(m, std::move(t)); break;
    }
    list.text[i] = shorttext(std::move(t));
  }
}

}  // namespace

void prepare(macroengine& m, wideview source) {
  widetext line = substitute_at(m, widetext(source));
  build(m, m.list1, line, true);
  m.list2.clear();
  m.list2source = std::move(line);
  m.list2ready = false;
  evaluate(m, m.list1);
}

namespace {
void ensure_list2(macroengine& m) {
  if (m.list2ready) return;
  m.list2ready = true;
  build(m, m.list2, m.list2source, false);
  evaluate(m, m.list2);
}
}  // namespace

widetext parameter2(macroengine& m, std::size_t i) {
  ensure_list2(m);
  if (i < 1 || i > m.list2.count()) {
    parameter_missing(m, i);
    return {};
  }
  return m.list2.text[i - 1];
}

std::size_t parameter2_count(macroengine& m) {
  ensure_list2(m);
  return m.list2.count();
}

}  // namespace qv::macro
