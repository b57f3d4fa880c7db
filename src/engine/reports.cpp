// reports.cpp: error reports, parameter checks and access to parameters and registers.
#include "engine/macroengine.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

widetext where(const macroengine& m) {
  return u" in line " + nat::text(source_line(m)) + u" (" + text::from_utf8(source_file(m)) + u")";
}

// A parameter report: only its first two words are coloured.
void parameter_report(macroengine& m, wideview rest) {
  widetext plain = u"Parameter error! " + widetext(rest);
  widetext coloured = widetext(colour::red) + u"Parameter error!" + widetext(colour::reset) + u" " +
                      widetext(rest);
  report(m, plain, coloured);
}

widetext count_words(std::int64_t n, wideview one) {
  return n == 1 ? widetext(one) : nat::text(n) + u" parameters";
}

}  // namespace

std::int64_t source_line(const macroengine& m) {
  std::int64_t n = m.currentline;
  const linestore& s = m.lines;
  if (n >= 1 && std::size_t(n) <= s.sourceline.size()) return s.sourceline[std::size_t(n - 1)];
  return n;
}

std::string source_file(const macroengine& m) {
  std::int64_t n = m.currentline;
  const linestore& s = m.lines;
  if (n >= 1 && std::size_t(n) <= s.sourcefile.size()) {
    std::int64_t f = s.sourcefile[std::size_t(n - 1)];
    if (f >= 0 && std::size_t(f) < s.filenames.size()) return s.filenames[std::size_t(f)];
  }
  return s.filename;
}

void report(macroengine& m, wideview plain, wideview coloured) {
  print::line(console::ansi ? coloured : plain);
  m.lasterror = widetext(plain.substr(0, 2 * shorttext::limit));
  m.stopflag = true;
}

void error(macroengine& m, wideview t) {
  widetext plain = u"Error (" + widetext(t) + u")" + where(m) + u"!";
  report(m, plain, widetext(colour::red) + plain + widetext(colour::reset));
}

void error_syntax(macroengine& m, wideview t) {
  widetext plain = u"Syntax error (" + widetext(t) + u")" + where(m) + u"!";
  report(m, plain, widetext(colour::red) + plain + widetext(colour::reset));
}

void error_unknown(macroengine& m, wideview name, wideview what) {
  widetext plain = u"Syntax error (" + widetext(name) + u")" + where(m) + u"! Unknown " + widetext(what) + u"!";
  report(m, plain, widetext(colour::red) + plain + widetext(colour::reset));
}

void check_min(macroengine& m, std::int64_t n) {
  if (n <= 0) {
    m.stopflag = true;
    return;
  }
  parameter_report(m, u"Please use min. " + count_words(n, u"one parameter") + where(m) + u".");
}

void check_max(macroengine& m, std::int64_t n) {
  parameter_report(m, u"Please use max. " + count_words(n, u"one parameter") + where(m) + u".");
}

void check_exact(macroengine& m, std::int64_t n) {
  if (n == 0) {
    parameter_report(m, u"No parameter needed.");
    return;
  }
  parameter_report(m, u"Please use " + count_words(n, u"one parameter") + where(m) + u".");
}

bool check_count(macroengine& m, std::int64_t n) {
  if (!m.running) return true;
  if (std::int64_t(parameter_count(m)) == n) return true;
  check_exact(m, n);
  return false;
}

void parameter_missing(macroengine& m, std::size_t i) {
  parameter_report(m, u"Please at least " + nat::text(std::int64_t(i)) + u" parameters" + where(m) + u".");
}

widetext parameter(macroengine& m, std::size_t i) {
  if (i < 1 || i > m.list1.count()) {
    parameter_missing(m, i);
    return {};
  }
  return m.list1.text[i - 1];
}

widetext parameter_optional(const macroengine& m, std::size_t i) {
  if (i < 1 || i > m.list1.count()) return {};
  return m.list1.text[i - 1];
}

std::size_t parameter_count(const macroengine& m) { return m.list1.count(); }

std::uint8_t parameter_type(const macroengine& m, std::size_t i) {
  if (i < 1 || i > m.list1.count()) return 0;
  return m.list1.type[i - 1];
}

const widetext& target(const macroengine& m) { return m.target; }
const widetext& value(const macroengine& m) { return m.value; }
const widetext& command(const macroengine& m) { return m.command; }
void value_set(macroengine& m, widetext v) {
  if (v.size() > 2 * shorttext::limit) v.resize(2 * shorttext::limit);
  m.value = std::move(v);
}

}  // namespace qv::macro
