// repair.cpp: the prompt that lets a person at the console replace an unknown statement.
#include <cstdio>
#include <string>

#include "engine/definitions.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

std::string read_answer() {
  std::string s;
  for (int c; (c = std::fgetc(stdin)) != EOF && c != '\n';) s.push_back(char(c));
  if (!s.empty() && s.back() == '\r') s.pop_back();
  return s;
}

// The current line as its own file holds it now, so that an edit saved meanwhile
// takes effect; the numbers of the running text do not change.
std::string reloaded_line(const macroengine& m) {
  linestore fresh;
  lines::load(fresh, source_file(m));
  std::int64_t n = source_line(m);
  if (n < 1 || std::size_t(n) > fresh.count()) return {};
  return std::string(fresh.line(std::size_t(n)));
}

void cut_comment(widetext& line) {
  if (line.empty()) return;
  if (line[0] == u'#' || line[0] == u'%' || line.starts_with(u"//")) {
    line.clear();
    return;
  }
  std::size_t p = line.find(u" //");
  if (p != widetext::npos) line.resize(p);
}

}  // namespace

widetext repair(macroengine& m, wideview name) {
  widetext where = u" (" + widetext(name) + u") in line " + nat::text(source_line(m)) + u" (" +
                   text::from_utf8(source_file(m)) + u")!";
  if (console::ansi) print::line(widetext(colour::red) + u"Syntax error" + widetext(colour::reset) + where);
  else print::line(u"Syntax error" + where);
  if (m.currentline >= 1 && std::size_t(m.currentline) <= m.lines.count())
    print::line(text::from_utf8(m.lines.line(std::size_t(m.currentline))));
  print::line(u"Would you like to change the whole command line?");
  print::line(u"  leave blank – reload command (with the same line numbering!)");
  print::line(u"  ... – new comannd (without parameters)");
  print::line(u"  nop – for ignore it");
  print::line(u"  stop, break, halt – for a stop with ascending enforcement");
  if (console::ansi) print::part(widetext(colour::red) + u">> " + widetext(colour::reset));
  else print::part(u">> ");
  console::flush();
  std::string answer = read_answer();
  if (answer.empty()) answer = reloaded_line(m);
  widetext line = text::trim(text::from_utf8(answer), u' ', u'\t');
  cut_comment(line);
  widetext word = text::lower(text::token(line, u' '));
  prepare(m, line);
  if (!word.empty() && !m.withpath.empty()) word = with_path(m) + u"." + word;
  m.command = word;
  return word;
}

}  // namespace qv::macro
