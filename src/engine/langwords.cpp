// langwords.cpp: block words, one-line conditionals and the scanning rule.
#include "engine/langwords.h"

#include <array>

#include "engine/definitions.h"
#include "engine/flow.h"
#include "foundation/console.h"

namespace qv::macro {
namespace {

void trace_word(const macroengine& m, wideview word) {
  if (m.trace) print::line(u"  " + widetext(word) + u"|");
}

// `ignore` passes its body over, `process` runs it: both are plain blocks.
void nested_block(macroengine& m, std::int64_t& ln, bool active) {
  trace_word(m, m.command);
  ln = interpret(m, ln, active);
  m.currentline = ln;
}

constexpr std::array<std::u16string_view, 21> scan_openers = {
    u"ignore", u"process", u"with",   u"procedure", u"function", u"module",       u"if.then",
    u"then",   u"if.true", u"if.else", u"else",     u"if.false", u"of",           u"for",
    u"repeat", u"while",   u"parallel", u"output.store", u"output.append", u"store", u"append"};

}  // namespace

bool language_word(macroengine& m, interpframe& fr, std::int64_t& ln) {
  const widetext& w = m.command;
  if (w == u"ignore") {
    nested_block(m, ln, false);
    return true;
  }
  if (w == u"process") {
    nested_block(m, ln, true);
    return true;
  }
  if (flow_word(m, fr, ln) || definition_word(m, fr, ln)) return true;
  if (w == u"execute") {
    prepare(m, fr.line);
    if (!m.stopflag) dispatch_statement(m, u"execute");
    return true;
  }
  return false;
}

bool opens_scan(macroengine& m, wideview word) {
  for (wideview w : scan_openers)
    if (w == word) return true;
  std::size_t row = lookup_statement(m, word, false);
  return row && m.registry[row - 1].cls() == regclass::block;
}

void one_line_form(macroengine& m, interpframe& fr) {
  const widetext& w = m.command;
  if (fr.line.empty() || w.empty()) return;
  if (w[0] != u'i' && w[0] != u't' && w[0] != u'e' && w[0] != u'o') return;   // none of the words below
  bool truth;
  if (w == u"if.then" || w == u"then" || w == u"if.true") {
    truth = fr.cond;
  } else if (w == u"if.else" || w == u"else" || w == u"if.false") {
    truth = !fr.cond;
  } else if (w == u"of" && fr.line.find(u' ') != widetext::npos) {
    widetext rest = fr.line;
    truth = text::token(rest, u' ') == fr.casevalue;
    if (truth) fr.line = std::move(rest);
  } else {
    return;
  }
  if (truth) {
    m.command = text::lower(text::token(fr.line, u' '));
    return;
  }
  if (fr.line == u"halt") m.command = u"halt";
  else if (fr.line == u"break") m.command = u"break";
  else m.command.clear();
  fr.line.clear();
}


}  // namespace qv::macro
