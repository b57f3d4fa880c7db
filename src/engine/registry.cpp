// registry.cpp: registration of commands, name lookup with the plural spellings.
#include "engine/registry.h"

#include "engine/definitions.h"
#include "engine/macroengine.h"
#include "foundation/console.h"

namespace qv::macro {
namespace {

constexpr std::uint8_t form_plain = 0, form_engine = 1;

void add_row(macroengine& m, widetext name, std::uint8_t cls, std::uint8_t form, handler start,
             handler finish, std::int64_t line) {
  name = text::lower(std::move(name));
  if (name.find(u' ') != widetext::npos) {
    print::line(u"Attention, wrong char ( ) inside command (" + name + u")!");
    for (widechar& c : name)
      if (c == u' ') c = u'.';
  }
  widetext full = m.prefix + name;
  std::int64_t scope = m.depth;
  auto it = m.regindex.find(full);
  if (it != m.regindex.end()) {
    for (std::uint32_t row : it->second) {
      const regentry& e = m.registry[row];
      if (e.scope == scope && e.cls() == cls) {
        print::line(u"Attention double syntax member in this scope! (" + full + u")");
        return;
      }
    }
  }
  regentry e;
  e.name = shorttext(full);
  e.kind = std::uint8_t(cls | (form << 4));
  e.start = start;
  e.finish = finish;
  e.line = line;
  e.scope = scope;
  m.regindex[e.name.str()].push_back(std::uint32_t(m.registry.size()));
  m.registry.push_back(std::move(e));
  ++m.registrygeneration;
}

// The newest row of `name` whose class is accepted, 1-based, or 0.
std::size_t base_lookup(const macroengine& m, wideview name, std::uint8_t cls_a, std::uint8_t cls_b) {
  auto it = m.regindex.find(widetext(name));
  if (it == m.regindex.end()) return 0;
  const auto& rows = it->second;
  for (auto r = rows.rbegin(); r != rows.rend(); ++r) {
    std::uint8_t c = m.registry[*r].cls();
    if (c == cls_a || c == cls_b) return *r + 1;
  }
  return 0;
}

widetext first(wideview name, std::ptrdiff_t n) {
  if (n <= 0) return {};
  return widetext(name.substr(0, std::size_t(n)));
}

// The singular and plural spellings tried, in order, when the exact name fails.
std::vector<widetext> spellings(wideview name) {
  std::vector<widetext> out;
  if (name.empty()) return out;
  std::ptrdiff_t len = std::ptrdiff_t(name.size());
  widetext w(name);
  widechar last = name.back();
  if (last > 255) return out;
  switch (last) {
    case u'a': out = {w + u"e", first(name, len - 1) + u"um"}; break;
    case u'e': out = {first(name, len - 2) + u"ves", first(name, len - 1)}; break;
    case u'f': out = {first(name, len - 1) + u"ves"}; break;
    case u'i': out = {first(name, len - 1) + u"us"}; break;
    case u'm': out = {first(name, len - 2) + u"a"}; break;
    case u'o': out = {w + u"s", w + u"es"}; break;
    case u's':
      out = {first(name, len - 2) + u"es", first(name, len - 2) + u"i", first(name, len - 3) + u"fe",
             first(name, len - 3) + u"f",  first(name, len - 1) + u"os", first(name, len - 2) + u"oes",
             first(name, len - 2) + u"is", first(name, len - 2) + u"y", first(name, len - 3) + u"y",
             first(name, len - 1),         first(name, len - 2)};
      break;
    case u'y': out = {w + u"s", first(name, len - 1) + u"ies"}; break;
    default: out = {w + u"s", w + u"es"}; break;
  }
  return out;
}

std::size_t lookup(macroengine& m, wideview name, std::uint8_t cls_a, std::uint8_t cls_b) {
  widetext low = text::lower(widetext(name));
  std::size_t row = base_lookup(m, low, cls_a, cls_b);
  if (!row)
    for (const widetext& s : spellings(low))
      if ((row = base_lookup(m, s, cls_a, cls_b))) break;
  if (row) ++m.registry[row - 1].used;
  return row;
}

}  // namespace

void prefix_set(macroengine& m, std::string_view prefix) { m.prefix = text::lower(text::ascii(prefix)); }
void prefix_clear(macroengine& m) { m.prefix.clear(); }

void register_plain(macroengine& m, std::string_view name, handler h) {
  add_row(m, text::from_utf8(name), regclass::procedure, form_plain, h, nullptr, 0);
}
void register_procedure(macroengine& m, std::string_view name, handler h) {
  add_row(m, text::from_utf8(name), regclass::procedure, form_engine, h, nullptr, 0);
}
void register_function(macroengine& m, std::string_view name, handler h) {
  add_row(m, text::from_utf8(name), regclass::function, form_engine, h, nullptr, 0);
}
void register_both(macroengine& m, std::string_view name, handler statement, handler function) {
  register_procedure(m, name, statement);
  register_function(m, name, function);
}
void register_variable(macroengine& m, std::string_view name, handler h) {
  add_row(m, text::from_utf8(name), regclass::variable, form_engine, h, nullptr, 0);
}
void register_block(macroengine& m, std::string_view name, handler start, handler finish) {
  add_row(m, text::from_utf8(name), regclass::block, form_engine, start, finish, 0);
}
void register_defined(macroengine& m, wideview name, std::uint8_t cls, std::int64_t line) {
  widetext saved = std::move(m.prefix);
  m.prefix.clear();
  add_row(m, widetext(name), cls, form_engine, nullptr, nullptr, line);
  m.prefix = std::move(saved);
}

void register_rows(macroengine& m, std::string_view prefix, const cmdrow* rows, std::size_t count,
                   const char* where) {
  prefix_set(m, prefix);
  // The path from the source tree's `src/` on, whatever folder it was built in.
  std::string_view file = where;
  const std::size_t at = file.rfind("src/");
  if (at != std::string_view::npos) file.remove_prefix(at);
  for (std::size_t i = 0; i < count; ++i) {
    const cmdrow& r = rows[i];
    switch (r.kind) {
      case cmdkind::block: register_block(m, r.name, r.start, r.finish); break;
      case cmdkind::plain: register_plain(m, r.name, r.start); break;
      case cmdkind::procedure: register_procedure(m, r.name, r.start); break;
      case cmdkind::function: register_function(m, r.name, r.start); break;
      case cmdkind::variable: register_variable(m, r.name, r.start); break;
    }
    m.reference.push_back(&r);
    widetext full = m.prefix + text::lower(text::from_utf8(r.name));
    for (widechar& c : full)
      if (c == u' ') c = u'.';
    m.referencesource.push_back({std::move(full), file});
  }
  prefix_clear(m);
}

std::size_t lookup_statement(macroengine& m, wideview name, bool mayrepair) {
  std::size_t row = lookup(m, name, regclass::block, regclass::procedure);
  if (row || !mayrepair || !m.trace) return row;
  // A person at the console may type a replacement; it is looked up exactly.
  widetext word = repair(m, name);
  if (word.empty()) return 0;
  row = base_lookup(m, word, regclass::block, regclass::procedure);
  if (row) ++m.registry[row - 1].used;
  return row;
}
std::size_t lookup_function(macroengine& m, wideview name) {
  return lookup(m, name, regclass::function, regclass::function);
}
std::size_t lookup_variable(macroengine& m, wideview name) {
  return lookup(m, name, regclass::variable, regclass::variable);
}
std::size_t lookup_exact(macroengine& m, wideview name, std::uint8_t cls) {
  return base_lookup(m, text::lower(widetext(name)), cls, cls);
}
bool is_registered(const macroengine& m, wideview name) { return m.regindex.count(widetext(name)) > 0; }

}  // namespace qv::macro
