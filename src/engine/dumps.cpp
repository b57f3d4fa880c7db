// dumps.cpp: the `dump.` commands, which print the engine's tables between a head and an
// end line, into the open output file if there is one.
#include "engine/dumps.h"

#include "engine/flow.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

void out(macroengine& m, wideview t) {
  if (!output_write(m, t, true)) print::line(t);
}

// "***** dump.vars *****" ... "***** dump.vars end *****" around the rows.
template <typename Rows>
void framed(macroengine& m, wideview title, Rows rows) {
  out(m, u"***** " + widetext(title) + u" *****");
  rows();
  out(m, u"***** " + widetext(title) + u" end *****");
}

widetext n(std::int64_t v) { return nat::text(v); }
widetext numbered(std::size_t i) { return u"  (" + n(std::int64_t(i)) + u") "; }

void lines(macroengine& m) {
  framed(m, u"dump.lines", [&] {
    for (std::size_t i = 1; i <= m.lines.count(); ++i) out(m, numbered(i) + text::from_utf8(m.lines.line(i)));
  });
}

void used(macroengine& m) {
  framed(m, u"dump.used", [&] {
    for (const regentry& e : m.registry)
      if (e.used > 0) out(m, u"  " + e.name.str() + u" " + n(e.used) + u" times");
  });
}

void progs(macroengine& m) {
  framed(m, u"dump.progs", [&] {
    std::size_t k = 0;
    for (const regentry& e : m.registry)
      if (e.line > 0)
        out(m, numbered(++k) + (e.cls() == regclass::function ? u"function " : u"procedure ") + e.name.str() +
                   u" (scope " + n(e.scope) + u", line " + n(e.line) + u")");
  });
}

void modulus(macroengine& m) {
  framed(m, u"dump.modulus", [&] {
    for (std::size_t i = 0; i < m.modulemark.size(); ++i) {
      widetext vars = i < m.modulevars.size() ? n(m.modulevars[i]) : widetext(u"0");
      out(m, numbered(i + 1) + u"variables " + vars + u", scope " + n(m.modulemark[i]));
    }
  });
}

void vars_with(macroengine& m, bool scopes) {
  framed(m, u"dump.vars", [&] {
    for (std::size_t i = 0; i < m.varname.size(); ++i) {
      widetext row = numbered(i + 1) + m.varname[i].str() + u" := \"" + m.varvalue[i].str() + u"\"";
      if (scopes) row += u" (scope " + n(m.varscope[i]) + u")";
      out(m, row);
    }
  });
}
void vars(macroengine& m) { vars_with(m, false); }
void vars_scope(macroengine& m) { vars_with(m, true); }

void withs(macroengine& m) {
  framed(m, u"dump.withs", [&] {
    for (std::size_t i = 0; i < m.withpath.size(); ++i)
      out(m, numbered(i + 1) + m.withpath[i].str() + u" (scope " + n(m.withscope[i]) + u")");
  });
}

void outputs(macroengine& m) {
  framed(m, u"dump.outputs", [&] {
    for (std::size_t i = 1; i < m.outfiles.size(); ++i)
      out(m, numbered(i) + m.outfiles[i].name.str() + u" (scope " + n(m.outfiles[i].scope) + u")");
  });
}

void stack(macroengine& m) {
  framed(m, u"dump.stack", [&] {
    // Entry i names the level at depth i + 1; the top level and plain blocks have no name.
    for (std::size_t i = 0; i < m.blocknames.size(); ++i) {
      const widetext& name = m.blocknames[i].str();
      out(m, name.empty() ? u"  (" + n(std::int64_t(i + 1)) + u")" : numbered(i + 1) + name);
    }
  });
}

void undo(macroengine& m) {
  framed(m, u"dump.redo & undo", [&] {
    for (std::size_t i = 1; i <= redo_count(m); ++i) out(m, numbered(i) + redo_entry(m, i));
    out(m, u"***** *****");
    for (std::size_t i = 1; i <= undo_count(m); ++i) out(m, numbered(i) + undo_entry(m, i));
  });
}

void all(macroengine& m) {
  for (handler h : {lines, progs, modulus, vars, withs, outputs, stack, undo}) h(m);
}

constexpr cmdrow rows[] = {
    // name         kind                handler     usage                   comment
    {"line",       cmdkind::procedure, lines,      "dump.line",            "print the macro's lines with their numbers"},
    {"used",       cmdkind::procedure, used,       "dump.used",            "print how often each command was found"},
    {"prog",       cmdkind::procedure, progs,      "dump.prog",            "print the macro's own procedures and functions"},
    {"func",       cmdkind::procedure, progs,      "dump.func",            "print the macro's own procedures and functions"},
    {"modulus",    cmdkind::procedure, modulus,    "dump.modulus",         "print the open module marks"},
    {"modul",      cmdkind::procedure, modulus,    "dump.modul",           "print the open module marks"},
    {"var",        cmdkind::procedure, vars,       "dump.var",             "print all variables"},
    {"var.scope",  cmdkind::procedure, vars_scope, "dump.var.scope",       "print all variables with their scopes"},
    {"vars.scope", cmdkind::procedure, vars_scope, "dump.vars.scope",      "print all variables with their scopes"},
    {"with",       cmdkind::procedure, withs,      "dump.with",            "print the open with paths"},
    {"output",     cmdkind::procedure, outputs,    "dump.output",          "print the open output files"},
    {"stack",      cmdkind::procedure, stack,      "dump.stack",           "print the block names by depth"},
    {"undo",       cmdkind::procedure, undo,       "dump.undo",            "print the redo and undo lists"},
    // The registrar's prefix doubles the word of "dump.redo"; the name stands so.
    {"dump.redo",  cmdkind::procedure, undo,       "dump.dump.redo",       "print the redo and undo lists"},
    {"all",        cmdkind::procedure, all,        "dump.all",             "print lines, procedures, modules, variables, withs, outputs, stack, undo"},
};

}  // namespace

void register_dumps(macroengine& m) { register_rows(m, "dump.", rows); }

std::size_t undo_count(const macroengine& m) { return m.undolist.size(); }
std::size_t redo_count(const macroengine& m) { return m.redolist.size(); }
widetext undo_entry(const macroengine& m, std::size_t i) {
  return i >= 1 && i <= m.undolist.size() ? m.undolist[i - 1].str() : widetext();
}
widetext redo_entry(const macroengine& m, std::size_t i) {
  return i >= 1 && i <= m.redolist.size() ? m.redolist[i - 1].str() : widetext();
}

}  // namespace qv::macro
