// outfiles.cpp: the output file stack, the file blocks and template lines.
#include <cstdio>

#include "engine/flow.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

constexpr std::size_t max_open = 255;

void write_text(macroengine& m, wideview t, bool line_end = true) {
  const outfile& f = m.outfiles.back();
  if (!f.handle) return;
  std::string s = text::utf8(t);
  if (line_end) s.push_back('\n');
  std::fwrite(s.data(), 1, s.size(), f.handle);
}

widetext joined(const macroengine& m, std::size_t first, wideview separator) {
  widetext out;
  for (std::size_t i = first; i <= m.list1.count(); ++i) {
    if (i > first) out += separator;
    out += m.list1.text[i - 1].str();
  }
  return out;
}

bool numeric(wideview t) {
  return !t.empty() && ((t[0] >= u'0' && t[0] <= u'9') || t[0] == u'-' || t[0] == u'+' || t[0] == u'.');
}

// `*`, `+`, `-`: each column against its mask entry.
widetext masked_columns(const macroengine& m, const interpframe& fr, widechar op) {
  widetext out;
  std::size_t n = std::min(m.list1.count(), fr.mask.size());
  for (std::size_t i = 0; i < n; ++i) {
    if (i) out += fr.separator;
    const widetext& mask = fr.mask[i];
    const widetext& col = m.list1.text[i].str();
    if (numeric(mask)) {
      double a = text::real(mask), b = text::real(col);
      out += real::text(op == u'*' ? a * b : op == u'+' ? a + b : a - b);
    } else if (mask == u"@") {
      out += col;
    } else {
      out += mask + col;
    }
  }
  return out;
}

void at_at_line(macroengine& m, interpframe& fr, widetext line) {
  std::size_t mark = line.find(u"@@$");
  if (mark != widetext::npos) line.replace(mark, 3, u"@@" + fr.storemark);
  if (line.size() < 3 || line[2] == u' ') return;
  widechar c = line[2];
  prepare(m, wideview(line).substr(3));
  std::size_t n = parameter_count(m);
  auto p = [&](std::size_t i) -> const widetext& { return m.list1.text[i - 1].str(); };
  auto at_least = [&](std::size_t k) {
    if (n >= k) return true;
    check_min(m, std::int64_t(k));
    return false;
  };
  switch (c) {
    case u'!':
    case u'?':
      if (!at_least(2)) return;
      if ((text::nat(p(1)) >= 1) == (c == u'?')) write_text(m, joined(m, 2, fr.separator));
      return;
    case u'C':
    case u'c':
      if (!at_least(3)) return;
      if (p(1) == p(2)) write_text(m, joined(m, 3, fr.separator));
      return;
    case u'J':
    case u'j': fr.storemark = n ? text::trim(p(1)) : widetext(); return;
    case u'M':
    case u'm':
      if (!at_least(1)) return;
      fr.mask.clear();
      for (std::size_t i = 1; i <= n; ++i) fr.mask.push_back(p(i));
      return;
    case u'S':
    case u's': fr.separator = n ? p(1) : widetext(); return;
    case u'*':
    case u'+':
    case u'-': write_text(m, masked_columns(m, fr, c)); return;
    default:
      if (c >= u'0' && c <= u'9') {
        if (!at_least(2)) return;
        if (p(1) == widetext(1, c)) write_text(m, joined(m, 2, fr.separator));
        return;
      }
      if (template_extra(m, fr, c)) return;
      error_unknown(m, line.substr(0, 3), u"@ command");
  }
}

bool on_stack(const macroengine& m, const widetext& name) {
  for (std::size_t i = 1; i < m.outfiles.size(); ++i)
    if (m.outfiles[i].name.str() == name) return true;
  return false;
}

}  // namespace

void template_line(macroengine& m, interpframe& fr, std::string_view raw) {
  widetext line = text::from_utf8(raw);
  if (line.empty() || line[0] != u'@') {
    write_text(m, line);
  } else if (line.size() < 2 || line[1] != u'@') {
    prepare(m, wideview(line).substr(1));
    write_text(m, joined(m, 1, fr.separator));
  } else {
    at_at_line(m, fr, std::move(line));
  }
}

bool output_write(macroengine& m, wideview t, bool line_end) {
  if (m.outfiles.size() < 2 || !m.outfiles.back().statements) return false;
  write_text(m, t, line_end);
  return true;
}

bool file_block_word(macroengine& m, interpframe& fr, std::int64_t& ln) {
  const widetext w = m.command;
  if (w == u"store.space" || w == u"append.space") {
    prepare(m, fr.line);
    m.storespace = parameter_count(m) ? parameter(m, 1) : widetext();
    return true;
  }
  bool statements = w == u"output.store" || w == u"output.append";
  bool appending = w == u"append" || w == u"output.append";
  if (!statements && w != u"store" && w != u"append") return false;
  prepare(m, fr.line);
  if (parameter_count(m) < 1) {
    check_min(m, 1);
    return true;
  }
  widetext name = parameter(m, 1);
  if (m.trace) print::line(u"  " + w + u"|" + name + u"|");
  if (m.outfiles.empty()) m.outfiles.emplace_back();
  outfile f;
  f.scope = m.depth + 1;
  f.statements = statements;
  bool opened = true;
  if (on_stack(m, name)) {
    print::line(u"Attention file is open! (" + name + u")");
  } else if (m.outfiles.size() > max_open) {
    print::line(u"To much open files! (" + name + u")");
  } else {
    f.handle = std::fopen(text::utf8(name).c_str(), appending ? "ab" : "wb");
    f.name = shorttext(name);
    opened = f.handle != nullptr;
  }
  if (opened) m.outfiles.push_back(std::move(f));
  block_name(m, opened ? w : w + u".ignore");
  if (!statements) m.storebody = opened;
  ln = interpret(m, ln, statements);
  m.storebody = false;
  m.currentline = ln;
  return true;
}

}  // namespace qv::macro
