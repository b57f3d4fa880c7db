// macroengine.h: the one record of the interpreter and the operations handlers use.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>
#include "engine/linestore.h"
#include "engine/registry.h"
#include "foundation/widetext.h"

namespace qv {

// Parameter types of the two lists a line is prepared into.
namespace paramtype {
inline constexpr std::uint8_t word = 0, number = 1, string = 2, group = 3, element = 4,
                              function = 8, variable = 9;
}

struct paramlist {
  std::vector<shorttext> text;
  std::vector<std::uint8_t> type;
  void clear() { text.clear(); type.clear(); }
  std::size_t count() const { return text.size(); }
};

// The locals of one `macro.interpret` call that its flow-control words share.
struct interpframe {
  widetext line;          // the rest of the current line
  bool cond = true;       // the last `if` of this level
  bool loopflag = false;
  widetext casevalue;
  widetext storemark;
  widetext separator;
  std::vector<widetext> mask;
  bool templatebody = false;   // scanning the body of `store`/`append`: lines go to the file
};

// An open text file of the output stack.
struct outfile {
  shorttext name;
  std::int64_t scope = 0;
  std::FILE* handle = nullptr;   // null: the file that goes nowhere
  bool statements = false;       // `output.store`/`output.append`: print commands write here
};

// What a line gives each time the interpreter reaches it, kept while the line
// store keeps its generation: the cut is made once, and only the substitution
// and the call are done on every pass.
// A variable name already in its stored form (lower case, no list index), with
// its row list in the name index while the index keeps its generation: loop
// words and plain assignment targets are hashed once, not on every pass.
struct varkey {
  widetext name;
  std::vector<std::uint32_t>* rows = nullptr;
  std::uint64_t generation = 0;
};

struct linecut {
  std::uint64_t generation = 0;   // of the line store when cut; 0: not cut yet
  widetext command, rest;         // the first word lower-cased, and the rest, after trim and comment cut
  bool skip = false;              // the `!` first line: passed over, not even a template line
  bool blank = false;             // nothing left after the cut
  bool plain = false;             // the command is no language word (learnt on the first pass)
  // In `target := word ...`: the function row of `word` (0: none), found
  // under the registry generation `registry` (0: not looked up).
  std::uint64_t registry = 0;
  std::size_t row = 0;
  // The target of `target := ...` when it needs no substitution, and the
  // registry generation under which it was found to be no command (0: not yet).
  varkey target;
  std::uint64_t targetfree = 0;
  // The words after `:=` of such a line, kept while the registry generation is
  // `assigngen` (the first of them was then no function; 0: not yet).
  widetext assignrest;
  std::uint64_t assigngen = 0;
};

struct macroengine {
  // Registry, in registration order, with a name index (newest row last).
  std::vector<regentry> registry;
  std::unordered_map<widetext, std::vector<std::uint32_t>> regindex;
  std::vector<const cmdrow*> reference;   // rows as registered, for the reference macro
  // Each reference row's full command name and the source that holds its table.
  struct refsource {
    widetext name;
    std::string_view file;
  };
  std::vector<refsource> referencesource;
  std::uint64_t registrygeneration = 1;   // new whenever rows are added or cut

  // Variables: three parallel columns sorted by scope, newest row wins.
  std::vector<shorttext> varname, varvalue;
  std::vector<std::int64_t> varscope;
  std::unordered_map<widetext, std::vector<std::uint32_t>> varindex;
  std::vector<std::vector<std::uint32_t>*> varslot;   // each row's list in `varindex`
  std::uint64_t varindexgeneration = 1;               // new whenever `varindex` is rebuilt
  // The words of the innermost running loop: `leave` at depth `keepdepth` keeps the
  // first `keeprows` rows of that scope, whose values the loop sets anew each pass.
  std::int64_t keepdepth = -1;
  std::size_t keeprows = 0;
  std::vector<widetext> varspare;   // buffers of cut names, reused by the next rows (loops)

  std::vector<shorttext> withpath;
  std::vector<std::int64_t> withscope;
  std::vector<std::int64_t> modulemark;
  // Variable count at each module's opening, in step with `modulemark`; `macro.leave`
  // cuts only the scopes, so readers first trim this column to `modulemark`'s length.
  std::vector<std::int64_t> modulevars;
  std::vector<outfile> outfiles;   // entry 0 is the file that goes nowhere
  widetext storespace;             // separator of later template blocks (`store.space`)

  linestore lines;
  std::vector<linecut> cuts;   // index: line - 1
  // Each `include` splice: the line it replaced and the lines it added, so that a
  // caller of a defined command can find its own line again after the body spliced.
  std::vector<std::pair<std::int64_t, std::int64_t>> splices;
  std::vector<shorttext> undolist, redolist;   // shown by `dump.undo`; nothing writes them yet

  // Registers; each holds up to 510 characters.
  widetext prefix, target, value, command, lasterror;
  bool running = false, stopflag = false, trace = true;
  std::int64_t currentline = 0;
  std::int64_t depth = 0;
  std::vector<shorttext> blocknames;
  paramlist list1, list2;
  widetext list2source;   // the substituted line; list 2 is built from it when first asked for
  bool list2ready = true;
  interpframe* frame = nullptr;   // the innermost running `macro.interpret`
  bool storebody = false;         // the scan runs over the body of `store`/`append`
  bool mayrepair = false;         // the ANSI flag, passed to statement lookups
  int callnesting = 0;            // macro-defined calls in progress
  std::int64_t parallel_index = 0, parallel_count = 0;   // the parallel pair; (0, 0): no sharing
};

namespace macro {
// Parameters of the current line, 1-based. `parameter` reports a missing one.
widetext parameter(macroengine& m, std::size_t i);
widetext parameter_optional(const macroengine& m, std::size_t i);
std::size_t parameter_count(const macroengine& m);
widetext parameter2(macroengine& m, std::size_t i);
std::size_t parameter2_count(macroengine& m);
void parameter_missing(macroengine& m, std::size_t i);   // the report for an absent parameter
std::uint8_t parameter_type(const macroengine& m, std::size_t i);

// Parameter-count reports; the handler has compared already.
void check_min(macroengine& m, std::int64_t n);
void check_max(macroengine& m, std::int64_t n);
void check_exact(macroengine& m, std::int64_t n);
// Compares by itself; true at once while no macro runs.
bool check_count(macroengine& m, std::int64_t n);

// Reports: print through the Attention channel, fill `lasterror`, set `stopflag`.
void error(macroengine& m, wideview text);
void error_syntax(macroengine& m, wideview text);
void error_unknown(macroengine& m, wideview name, wideview what);   // "Unknown procedure" and kin
void report(macroengine& m, wideview plain, wideview coloured);

const widetext& target(const macroengine& m);
const widetext& value(const macroengine& m);
void value_set(macroengine& m, widetext v);
const widetext& command(const macroengine& m);

// Line number in its own source file and that file's name, for reports.
std::int64_t source_line(const macroengine& m);
std::string source_file(const macroengine& m);

// Variables.
void var_set(macroengine& m, wideview name, wideview value);
std::size_t var_new_inner(macroengine& m, wideview name, wideview value);
// The same two for names already in stored form (see `varkey`).
void var_set_key(macroengine& m, varkey& key, widetext value);
void var_new_inner_key(macroengine& m, varkey& key, widetext value);
void var_drop_inner(macroengine& m, std::size_t count);   // up to `count` newest rows above the current depth
void var_set_at(macroengine& m, wideview name, wideview value, std::int64_t scope);
widetext var_get(const macroengine& m, wideview name);
std::size_t var_find(const macroengine& m, wideview name);   // 1-based row or 0
widetext substitute_at(const macroengine& m, widetext line);
widetext substitute_word(const macroengine& m, widetext word);

// The interpreter.
void run(macroengine& m);
void run_sub(macroengine& m);   // a sub-program: no registry needed
std::int64_t interpret(macroengine& m, std::int64_t startline, bool active);
void prepare(macroengine& m, wideview text);
void leave(macroengine& m);
widetext with_path(const macroengine& m);   // the open `with` names joined by points
void dispatch_statement(macroengine& m, wideview name);
void dispatch_function(macroengine& m, wideview name);
void dispatch_variable(macroengine& m, wideview name);
}  // namespace macro
}  // namespace qv
