// variables.cpp: the variable table, its scopes and the two substitutions.
#include <algorithm>

#include "engine/macroengine.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

void index_rebuild(macroengine& m) {
  m.varindex.clear();
  m.varslot.resize(m.varname.size());
  for (std::size_t r = 0; r < m.varname.size(); ++r) {
    auto& rows = m.varindex[m.varname[r].str()];
    rows.push_back(std::uint32_t(r));
    m.varslot[r] = &rows;
  }
  ++m.varindexgeneration;
}

std::vector<std::uint32_t>& rows_of(macroengine& m, varkey& key) {
  if (key.generation != m.varindexgeneration || !key.rows) {
    key.rows = &m.varindex[key.name];
    key.generation = m.varindexgeneration;
  }
  return *key.rows;
}

// Name handling common to the setters: a list element `name[i]` turns into the
// whole new list value, blanks become points and the name is lower-cased.
void normalise(const macroengine& m, widetext& name, widetext& value) {
  if (!name.empty() && name.back() == u']') {
    std::size_t open = name.find(u'[');
    if (open != widetext::npos) {
      std::int64_t index = text::nat(wideview(name).substr(open + 1, name.size() - open - 2));
      name.resize(open);
      if (index >= 1) {
        widetext old = var_get(m, text::lower(name));
        std::vector<widetext> parts;
        while (!old.empty()) parts.push_back(text::token(old, u'\t'));
        if (parts.size() < std::size_t(index)) parts.resize(std::size_t(index));
        parts[std::size_t(index - 1)] = value;
        widetext joined;
        for (std::size_t i = 0; i < parts.size(); ++i) {
          if (i) joined.push_back(u'\t');
          joined += parts[i];
        }
        value = std::move(joined);
      }
    }
  }
  for (widechar& c : name) {
    if (c == u' ') c = u'.';
    c = text::lower_char(c);   // in place: no copy of the name
  }
}

std::size_t newest(const macroengine& m, const widetext& name) {
  auto it = m.varindex.find(name);
  if (it == m.varindex.end() || it->second.empty()) return 0;
  return it->second.back() + 1;
}

// Gives the number of rows the name now has. The name goes into a buffer left
// by a cut row where there is one, so loop words cost no allocation per pass.
std::size_t append_row(macroengine& m, std::vector<std::uint32_t>& rows, wideview name, widetext value,
                       std::int64_t scope) {
  rows.push_back(std::uint32_t(m.varname.size()));
  m.varslot.push_back(&rows);
  const std::size_t count = rows.size();
  shorttext stored;
  if (!m.varspare.empty()) {
    stored.s = std::move(m.varspare.back());
    m.varspare.pop_back();
  }
  stored.s.assign(name.substr(0, shorttext::limit));
  m.varname.push_back(std::move(stored));
  m.varvalue.emplace_back(std::move(value));
  m.varscope.push_back(scope);
  return count;
}

bool overloaded(macroengine& m, const widetext& name) {
  if (!is_registered(m, name)) return false;
  error(m, u"overloaded identifier: " + name);
  return true;
}

}  // namespace

void var_set(macroengine& m, wideview name_in, wideview value_in) {
  widetext name(name_in), value(value_in);
  normalise(m, name, value);
  if (overloaded(m, name)) return;
  if (std::size_t row = newest(m, name)) {
    m.varvalue[row - 1] = shorttext(std::move(value));
    return;
  }
  auto& rows = m.varindex[name];
  append_row(m, rows, name, std::move(value), m.depth);
}

std::size_t var_new_inner(macroengine& m, wideview name_in, wideview value_in) {
  widetext name(name_in), value(value_in);
  normalise(m, name, value);
  auto& rows = m.varindex[name];
  return append_row(m, rows, name, std::move(value), m.depth + 1);
}

void var_set_key(macroengine& m, varkey& key, widetext value) {
  auto& rows = rows_of(m, key);
  if (!rows.empty()) {
    m.varvalue[rows.back()] = shorttext(std::move(value));
    return;
  }
  append_row(m, rows, key.name, std::move(value), m.depth);
}

void var_new_inner_key(macroengine& m, varkey& key, widetext value) {
  append_row(m, rows_of(m, key), key.name, std::move(value), m.depth + 1);
}

void var_set_at(macroengine& m, wideview name_in, wideview value_in, std::int64_t scope) {
  widetext name(name_in), value(value_in);
  normalise(m, name, value);
  if (overloaded(m, name)) return;
  if (std::size_t row = newest(m, name)) {
    m.varvalue[row - 1] = shorttext(std::move(value));
    return;
  }
  std::size_t n = m.varname.size();
  if (n == 0) return;   // the walk runs over the rows there are: nothing to insert between
  if (scope >= m.varscope[n - 1]) {
    auto& rows = m.varindex[name];
    append_row(m, rows, name, std::move(value), scope);
    return;
  }
  std::size_t at = n;
  while (at > 0 && m.varscope[at - 1] > scope) --at;
  m.varname.insert(m.varname.begin() + std::ptrdiff_t(at), shorttext(std::move(name)));
  m.varvalue.insert(m.varvalue.begin() + std::ptrdiff_t(at), shorttext(std::move(value)));
  m.varscope.insert(m.varscope.begin() + std::ptrdiff_t(at), scope);
  index_rebuild(m);
}

widetext var_get(const macroengine& m, wideview name) {
  std::size_t row = newest(m, text::lower(widetext(name)));
  return row ? m.varvalue[row - 1].str() : widetext();
}

std::size_t var_find(const macroengine& m, wideview name) { return newest(m, text::lower(widetext(name))); }

widetext substitute_at(const macroengine& m, widetext line) {
  if (line.empty() || m.varname.empty() || line.find(u'@') == widetext::npos) return line;
  for (std::size_t r = m.varname.size(); r-- > 0;) {
    const widetext& name = m.varname[r].str();
    if (line.find(u'@') == widetext::npos) break;
    widetext key = u"@" + name;
    if (line.find(key) != widetext::npos) line = text::replace(line, key, m.varvalue[r].str());
    widetext upper = u"@" + text::upper(name);
    if (upper != key && line.find(upper) != widetext::npos) line = text::replace(line, upper, m.varvalue[r].str());
  }
  return line;
}

widetext substitute_word(const macroengine& m, widetext word) {
  if (m.varname.empty()) return word;
  std::size_t limit = m.varname.size();   // rows below this one are still to be walked
  for (;;) {
    auto it = m.varindex.find(text::lower(word));
    if (it == m.varindex.end()) return word;
    const auto& rows = it->second;
    auto pos = std::lower_bound(rows.begin(), rows.end(), std::uint32_t(limit));
    if (pos == rows.begin()) return word;
    std::size_t row = *(pos - 1);
    word = m.varvalue[row].str();
    limit = row;
  }
}

void var_drop_inner(macroengine& m, std::size_t count) {
  std::size_t n = m.varname.size();
  while (count-- > 0 && n > 0 && m.varscope[n - 1] > m.depth) {
    --n;
    if (!m.varslot[n]->empty()) m.varslot[n]->pop_back();
    if (m.varspare.size() < 64) m.varspare.push_back(std::move(m.varname[n].s));
  }
  m.varslot.resize(n);
  m.varname.resize(n);
  m.varvalue.resize(n);
  m.varscope.resize(n);
}

void leave(macroengine& m) {
  std::int64_t d = m.depth;
  auto cut_at = [d](const std::vector<std::int64_t>& scopes) {
    std::size_t i = 0;
    while (i < scopes.size() && scopes[i] < d) ++i;
    return i;
  };
  // Registry: built-ins have scope 0, so only defined names can go.
  std::size_t r = m.registry.size();
  while (r > 0 && m.registry[r - 1].scope >= d) --r;
  for (std::size_t i = m.registry.size(); i-- > r;) {
    auto it = m.regindex.find(m.registry[i].name.str());
    if (it != m.regindex.end()) {
      it->second.pop_back();
      if (it->second.empty()) m.regindex.erase(it);
    }
  }
  if (r < m.registry.size()) ++m.registrygeneration;
  m.registry.resize(r);
  std::size_t mm = cut_at(m.modulemark);
  m.modulemark.resize(mm);
  std::size_t v = cut_at(m.varscope);
  if (m.keeprows && m.keepdepth == d) v = std::min(m.varname.size(), v + m.keeprows);   // a loop's words
  if (v < m.varname.size()) {
    // An emptied entry stays: loops make the same names again on every pass.
    for (std::size_t i = m.varname.size(); i-- > v;) {
      if (!m.varslot[i]->empty()) m.varslot[i]->pop_back();
      if (m.varspare.size() < 64) m.varspare.push_back(std::move(m.varname[i].s));
    }
    m.varslot.resize(v);
    m.varname.resize(v);
    m.varvalue.resize(v);
    m.varscope.resize(v);
  }
  std::size_t w = cut_at(m.withscope);
  m.withpath.resize(w);
  m.withscope.resize(w);
  while (m.outfiles.size() > 1 && m.outfiles.back().scope >= d) {
    if (m.outfiles.back().handle) std::fclose(m.outfiles.back().handle);
    m.outfiles.pop_back();
  }
  if (m.depth > 0) --m.depth;
  if (m.blocknames.size() > std::size_t(m.depth)) m.blocknames.resize(std::size_t(m.depth));
}

}  // namespace qv::macro

