// definitions.cpp: macro-defined procedures and functions, `sub`, `module` and `with`.
#include "engine/definitions.h"

#include <sys/resource.h>

#include <algorithm>

#include "engine/flow.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

void trace_block(const macroengine& m, wideview word, wideview param) {
  if (!m.trace) return;
  widetext t = u"  " + widetext(word) + u"|";
  if (!param.empty()) t += widetext(param) + u"|";
  print::line(t);
}

// `procedure`, `function`, `sub`: registers the name at this depth and scans the body.
void define(macroengine& m, interpframe& fr, std::int64_t& ln, std::uint8_t cls, wideview block) {
  prepare(m, fr.line);
  widetext name = parameter_optional(m, 1);
  trace_block(m, m.command, name);
  if (block == u"sub.ignore" && name.empty()) {
    check_min(m, 1);
    return;
  }
  if (!name.empty()) register_defined(m, name, cls, ln);
  block_name(m, block);
  ln = interpret(m, ln, false);
  m.currentline = ln;
}

void module(macroengine& m, std::int64_t& ln) {
  trace_block(m, u"module", {});
  m.modulevars.resize(std::min(m.modulevars.size(), m.modulemark.size()));
  m.modulevars.push_back(std::int64_t(m.varname.size()));
  m.modulemark.push_back(m.depth + 1);
  block_name(m, u"module");
  ln = interpret(m, ln, true);
  m.currentline = ln;
}

void with(macroengine& m, interpframe& fr, std::int64_t& ln) {
  prepare(m, fr.line);
  widetext path = parameter_optional(m, 1);
  trace_block(m, u"with", path);
  if (!path.empty()) {
    m.withpath.emplace_back(text::lower(path));
    m.withscope.push_back(m.depth + 1);
  }
  block_name(m, u"with");
  ln = interpret(m, ln, true);
  m.currentline = ln;
}

// Where the outermost run began on this thread's stack.
thread_local const char* stack_top = nullptr;

// The stack limit, or 1 GiB when there is none.
std::size_t stack_limit() {
  rlimit r{};
  std::size_t limit = std::size_t(1) << 30;
  if (getrlimit(RLIMIT_STACK, &r) == 0 && r.rlim_cur != RLIM_INFINITY) limit = std::min(limit, std::size_t(r.rlim_cur));
  return limit;
}

// Lines added by splices since entry `from` of the log, in front of line `line`.
std::int64_t shifted(const macroengine& m, std::size_t from, std::int64_t line) {
  for (std::size_t i = from; i < m.splices.size(); ++i)
    if (m.splices[i].first < line) line += m.splices[i].second;
  return line;
}

}  // namespace

void stack_mark() {
  char here;
  if (!stack_top) stack_top = &here;
}

bool stack_left(int eighths) {
  char here;
  static const std::size_t limit = stack_limit();
  return !stack_top || std::size_t(stack_top > &here ? stack_top - &here : &here - stack_top) < limit / 8 * std::size_t(eighths);
}

bool definition_word(macroengine& m, interpframe& fr, std::int64_t& ln) {
  const widetext& w = m.command;
  if (w == u"with") with(m, fr, ln);
  else if (w == u"procedure") define(m, fr, ln, regclass::procedure, u"procedure");
  else if (w == u"function") define(m, fr, ln, regclass::function, u"function");
  else if (w == u"sub") define(m, fr, ln, regclass::procedure, u"sub.ignore");
  else if (w == u"module") module(m, ln);
  else if (w == u"parallel") parallel_block(m, fr, ln);
  else if (w == u"minimize") search_block(m, fr, false);
  else if (w == u"maximize") search_block(m, fr, true);
  else return false;
  return true;
}

void call_defined(macroengine& m, std::size_t row) {
  const regentry& e = m.registry[row - 1];
  const bool function = e.cls() == regclass::function;
  const std::int64_t line = e.line, caller = m.currentline;
  if (m.callnesting >= max_call_nesting || !stack_left(6)) {
    error(m, u"recursion too deep: " + e.name.str() + u" after " + nat::text(m.callnesting) + u" nested calls");
    return;
  }
  widetext saved_target = m.target;
  if (function) var_set(m, u"result", u"");
  widetext joined;
  for (std::size_t i = 0; i < m.list1.count(); ++i) {
    if (i) joined.push_back(u'\t');
    joined += m.list1.text[i].str();
  }
  var_new_inner(m, u"parameter", joined);
  const std::size_t splices = m.splices.size();
  ++m.callnesting;
  interpret(m, line, true);
  --m.callnesting;
  m.currentline = shifted(m, splices, caller);
  if (function) {
    m.target = std::move(saved_target);
    value_set(m, var_get(m, u"result"));
  }
}

}  // namespace qv::macro
