// interpret.cpp: the interpreter loop, line forms, assignment and dispatch.
#include <cstdlib>
#include <new>
#include <stdexcept>

#include "engine/definitions.h"
#include "engine/flow.h"
#include "engine/langwords.h"
#include "engine/macroengine.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {


// Cuts the comment marks: "//" or "#" or "%" at the start, else the first " //".
void cut_comment(widetext& line) {
  if (line.empty()) return;
  if (line[0] == u'#' || line[0] == u'%' || (line.size() > 1 && line[0] == u'/' && line[1] == u'/')) {
    line.clear();
    return;
  }
  std::size_t p = line.find(u" //");
  if (p != widetext::npos) line.resize(p);
}

widetext next_word(widetext& line) { return text::lower(text::token(line, u' ')); }

// The cut of line `ln`, made now if the line store changed since it was made.
const linecut& cut_line(macroengine& m, std::int64_t ln, std::string_view raw) {
  if (m.cuts.size() < m.lines.count()) m.cuts.resize(m.lines.count());
  linecut& c = m.cuts[std::size_t(ln - 1)];
  if (c.generation == m.lines.generation && c.generation != 0) return c;
  c = linecut{};
  c.generation = m.lines.generation;
  widetext line = text::from_utf8(raw);
  if (ln == 1 && !line.empty() && line[0] == u'!') {
    c.skip = true;
    return c;
  }
  line = text::trim(line, u' ', u'\t');
  cut_comment(line);
  c.blank = line.empty();
  if (!c.blank) c.command = next_word(line);
  c.rest = std::move(line);
  return c;
}

// The cut of line `ln` while the line store and `command` are as the cut left
// them (a one-line `then` or `of` puts another word in `command`); else null.
linecut* unchanged(macroengine& m, std::int64_t ln) {
  if (ln < 1 || std::size_t(ln) > m.cuts.size()) return nullptr;
  linecut& c = m.cuts[std::size_t(ln - 1)];
  if (c.generation != m.lines.generation || c.generation == 0 || c.command != m.command) return nullptr;
  return &c;
}

// `lookup_function` of the word after `:=` on line `ln` (0: not cached), kept
// for as long as the registry stays as it was; a hit counts as the lookup does.
std::size_t function_row(macroengine& m, std::int64_t ln, const widetext& name) {
  if (ln < 1 || std::size_t(ln) > m.cuts.size() || !m.withpath.empty()) return lookup_function(m, name);
  linecut& c = m.cuts[std::size_t(ln - 1)];
  if (c.registry == m.registrygeneration) {
    if (c.row) ++m.registry[c.row - 1].used;
    return c.row;
  }
  const std::size_t row = lookup_function(m, name);
  c.registry = m.registrygeneration;
  c.row = row;
  return row;
}

// "  <name>|<p1>|...|" with the parameter colours under the ANSI flag.
void trace_call(const macroengine& m, wideview head) {
  widetext out(head);
  out.push_back(u'|');
  for (std::size_t i = 0; i < m.list1.count(); ++i) {
    const widetext& t = m.list1.text[i].str();
    wideview col;
    if (console::ansi) {
      switch (m.list1.type[i]) {
        case paramtype::number:
        case paramtype::group: col = colour::blue; break;
        case paramtype::string: col = colour::red; break;
        case paramtype::function:
        case paramtype::variable: col = colour::green; break;
        default: break;
      }
    }
    if (!col.empty()) {
      out += col;
      out += t;
      out += colour::reset;
    } else {
      out += t;
    }
    out.push_back(u'|');
  }
  print::line(out);
}

void trace_function(const macroengine& m, wideview name) {
  if (!m.trace) return;
  widetext head = u"  ";
  if (console::ansi)
    head += widetext(colour::yellow) + m.target + widetext(colour::reset) + u" " + widetext(colour::green) +
            u":=" + widetext(colour::reset);
  else
    head += m.target + u" :=";
  head += u" [" + widetext(name) + u"]";
  trace_call(m, head);
}

void where_line(const macroengine& m) {
  print::line(u"In line " + nat::text(source_line(m)) + u" (" + text::from_utf8(source_file(m)) + u").");
}

// `ln`: the line whose cut this is, for the kept function lookup; 0 when the line was changed.
// The cut of line `ln` when its first word is `target` as it stands (no `@` to
// substitute, no list index): the target's stored form can then be kept there.
linecut* plain_target(macroengine& m, std::int64_t ln, const widetext& target) {
  if (ln < 1 || std::size_t(ln) > m.cuts.size() || target.empty() || target.back() == u']') return nullptr;
  linecut& c = m.cuts[std::size_t(ln - 1)];
  if (c.generation != m.lines.generation || c.generation == 0 || c.command != target) return nullptr;
  return &c;
}

// `var_set` of the target, through the cut's key where the line allows it.
void set_target(macroengine& m, std::int64_t ln) {
  linecut* c = plain_target(m, ln, m.target);
  if (!c) {
    var_set(m, m.target, m.value);
    return;
  }
  if (c->targetfree != m.registrygeneration) {
    if (is_registered(m, m.target)) {
      var_set(m, m.target, m.value);   // reports the overloaded name
      return;
    }
    c->targetfree = m.registrygeneration;
    if (c->target.name.empty()) c->target.name = m.target;
  }
  var_set_key(m, c->target, m.value);
}

// `target := words`: the words joined into the value, with the trace line.
void plain_value(macroengine& m, wideview words) {
  m.command = u":=";
  prepare(m, words);
  widetext v;
  for (const shorttext& p : m.list1.text) v += p.str();
  value_set(m, std::move(v));
  if (m.trace) {
    if (console::ansi)
      print::line(u"  " + widetext(colour::yellow) + m.target + widetext(colour::reset) + u" " +
                  widetext(colour::green) + u":=" + widetext(colour::reset) + u" |" + m.value + u"|");
    else
      print::line(u"  " + m.target + u" := |" + m.value + u"|");
  }
}

void assignment(macroengine& m, interpframe& fr, std::int64_t ln) {
  // A line whose target needs no substitution and whose first word after `:=` is
  // no function (under this registry) keeps the words to join in its cut.
  linecut* cut = ln && m.withpath.empty() && m.command.find(u'@') == widetext::npos ? plain_target(m, ln, m.command) : nullptr;
  if (cut && cut->assigngen == m.registrygeneration) {
    m.target = m.command;
    m.value.clear();
    plain_value(m, cut->assignrest);
    if (!m.target.empty() && !m.stopflag) set_target(m, ln);
    return;
  }
  m.target = substitute_at(m, m.command);
  m.value.clear();
  m.command = next_word(fr.line);
  if (m.command != u":=") {
    prepare(m, fr.line);
    compound(m);
  } else {
    widetext word = text::token(fr.line, u' ');
    m.command = text::lower(word);
    widetext name = m.command;
    std::size_t row = function_row(m, ln, name);
    if (!row && !m.withpath.empty()) {
      widetext longer = with_path(m) + u"." + name;
      if ((row = lookup_function(m, longer))) name = longer;
    }
    if (row) {
      prepare(m, fr.line);
      trace_function(m, name);
      call_row(m, row, name, u"function");
    } else {
      widetext rest = fr.line.empty() ? word : word + u" " + fr.line;
      if (cut) {
        cut->assignrest = rest;
        cut->assigngen = m.registrygeneration;
      }
      plain_value(m, rest);
    }
  }
  if (!m.target.empty() && !m.stopflag) set_target(m, ln);
}

void statement(macroengine& m, interpframe& fr) {
  prepare(m, fr.line);
  if (m.stopflag) return;
  if (!m.withpath.empty()) dispatch_statement(m, with_path(m) + u"." + m.command);
  else dispatch_statement(m, widetext(m.command));   // a copy: the repair prompt rewrites `command`
}

void scan_line(macroengine& m, interpframe& fr, std::int64_t& ln) {
  if (opens_scan(m, m.command)) {
    ln = interpret(m, ln, false);
    m.currentline = ln;
  }
  (void)fr;
}

}  // namespace

widetext with_path(const macroengine& m) {
  widetext path;
  for (std::size_t i = 0; i < m.withpath.size(); ++i) {
    if (i) path.push_back(u'.');
    path += m.withpath[i].str();
  }
  return path;
}

void halt_action(macroengine& m) {
  where_line(m);
  print::line(u"Script & program halt. Terminate everything.");
  int code = m.list1.count() ? int(text::nat(m.list1.text[0].str())) : 0;
  console::flush();
  console::log_close();
  std::exit(code);
}

void break_action(macroengine& m) {
  where_line(m);
  print::line(u"Script break. Terminate everything.");
  m.stopflag = true;
}

void call_row(macroengine& m, std::size_t row, wideview name, wideview kind) {
  const regentry& e = m.registry[row - 1];
  // A handler whose memory ran out ends with the array store's report, and the
  // macro goes on, as after a failed allocation of a field.
  try {
    if (e.start) e.start(m);
    else if (e.finish) e.finish(m);
    else if (e.line) call_defined(m, row);
    else error_unknown(m, name, kind);
  } catch (const std::bad_alloc&) {
    print::line(u"  Wrong static allocation (Out of memory?)! Create empty field.");
  } catch (const std::length_error&) {
    print::line(u"  Wrong static allocation (Out of memory?)! Create empty field.");
  }
}

void dispatch_statement(macroengine& m, wideview name) {
  std::size_t row = lookup_statement(m, name, m.mayrepair);
  if (!row) {
    error_unknown(m, name, u"procedure");
    return;
  }
  const regentry& e = m.registry[row - 1];
  if (e.cls() == regclass::block) {
    if (!e.start || !e.finish || e.line) {
      error_unknown(m, name, u"block");
      return;
    }
    if (m.trace) trace_call(m, u"  " + widetext(name));
    handler finish = e.finish;
    e.start(m);
    std::int64_t ln = interpret(m, m.currentline, true);
    m.currentline = ln;
    finish(m);
    return;
  }
  if (!e.start && !e.finish && !e.line) {
    error_unknown(m, name, u"procedure");
    return;
  }
  if (m.trace) trace_call(m, u"  " + widetext(name));
  call_row(m, row, name, u"procedure");
}

void dispatch_function(macroengine& m, wideview name) {
  std::size_t row = lookup_function(m, name);
  if (!row) {
    error_unknown(m, name, u"function");
    return;
  }
  trace_function(m, name);
  call_row(m, row, name, u"function");
}

void dispatch_variable(macroengine& m, wideview name) {
  std::size_t row = lookup_variable(m, name);
  if (!row || !m.registry[row - 1].start) {
    error_unknown(m, name, u"variable λ function");
    return;
  }
  m.registry[row - 1].start(m);
}

std::int64_t interpret(macroengine& m, std::int64_t startline, bool active) {
  if (m.depth >= max_block_depth || !stack_left(7)) {
    error(m, u"blocks nested too deep (" + nat::text(m.depth) + u" levels)");
    return startline;
  }
  ++m.depth;
  interpframe fr;
  fr.templatebody = m.storebody;
  m.storebody = false;
  fr.separator = m.storespace;
  interpframe* outer = m.frame;
  m.frame = &fr;
  std::int64_t ln = startline;
  for (;;) {
    const std::int64_t count = std::int64_t(m.lines.count());   // an `include` adds lines
    if (ln >= count || m.stopflag) break;
    ++ln;
    m.currentline = ln;
    const std::string_view raw = m.lines.line(std::size_t(ln));
    const linecut& cut = cut_line(m, ln, raw);
    if (cut.skip) continue;
    if (cut.blank) {
      if (fr.templatebody) template_line(m, fr, raw);
      continue;
    }
    m.target.clear();
    m.value.clear();
    m.command = cut.command;
    fr.line = cut.rest;
    const std::int64_t own = ln;   // the cut of this line stands while `command` is still its first word
    if (fr.templatebody && m.command != u"end" && m.command != u"until" && m.command != u"halt" &&
        m.command != u"break") {
      // Body of `store`/`append`: every passed-over line is text for the file.
      if (opens_scan(m, m.command)) {
        ln = interpret(m, ln, false);
        m.currentline = ln;
        if (ln <= count) template_line(m, fr, m.lines.line(std::size_t(ln)));
      } else {
        template_line(m, fr, raw);
      }
      continue;
    }
    if (m.command == u"include") include_file(m, fr);
    one_line_form(m, fr);
    if (m.command.empty()) continue;
    if (m.command == u"halt") {
      prepare(m, fr.line);
      halt_action(m);
    }
    if (m.command == u"break") {
      prepare(m, fr.line);
      break_action(m);
      continue;
    }
    if (m.command == u"end" || m.command == u"until") {
      m.value = substitute_word(m, fr.line);
      leave(m);
      m.frame = outer;
      return ln;
    }
    if (m.command == u"begin") continue;
    if (!active) {
      scan_line(m, fr, ln);
      continue;
    }
    linecut* same = unchanged(m, own);
    if (!(same && same->plain)) {
      if (language_word(m, fr, ln)) continue;
      if (same) same->plain = true;   // language words are told by the word alone
    }
    if (fr.line.size() > 2 && fr.line.find(u"= ", 1) != widetext::npos) {
      assignment(m, fr, same ? own : 0);
    } else {
      statement(m, fr);
      // A block moves the line counter to its `end`; a defined call restores it.
      ln = m.currentline;
    }
  }
  m.frame = outer;
  return ln;
}

void run(macroengine& m) {
  if (m.lines.count() && !m.registry.empty()) run_sub(m);
  m.list1.clear();
  m.list2.clear();
}

void run_sub(macroengine& m) {
  if (m.lines.count()) {
    m.depth = 1;   // cut every row of instance 1 and above
    leave(m);
    m.depth = 0;
    m.prefix.clear();
    m.withpath.clear();
    m.withscope.clear();
    m.list1.clear();
    m.list2.clear();
    m.running = false;
    m.stopflag = false;
    m.currentline = 0;
    m.lasterror.clear();
    print::line(u"Script runs...");
    stack_mark();
    m.running = true;
    for (const char16_t* name : {u"true", u"false", u"condition", u"for.length", u"for.rest", u"for.count",
                                 u"for.relative"})
      var_set(m, name, wideview(name) == u"true" ? u"1" : u"0");
    interpret(m, 0, true);
    leave(m);
    m.running = false;
    print::line(u"Script ends.");
  }
  m.list1.clear();
  m.list2.clear();
}

}  // namespace qv::macro
