// registry.h: command table rows, the registry record and registration.
#pragma once
#include <cstdint>
#include <string_view>
#include <vector>
#include "foundation/widetext.h"

namespace qv {

struct macroengine;
using handler = void (*)(macroengine&);

// What a row registers: a block (two handlers around a body), a statement, a
// function (right side of `:=`) or a variable function (a word in parameter
// position). `plain` is a statement whose handler needs nothing from the engine.
enum class cmdkind : std::uint8_t { block, plain, procedure, function, variable };

// One row of a family's command table. Row order is registration order and
// the order of the reference macro, which prints `usage // comment`.
struct cmdrow {
  const char* name;
  cmdkind kind;
  handler start;
  const char* usage;
  const char* comment;
  handler finish = nullptr;   // blocks only
};

// Class numbers in the low four bits of `kind`.
namespace regclass {
inline constexpr std::uint8_t block = 1, procedure = 2, function = 3, variable = 4;
}

struct regentry {
  shorttext name;
  std::uint8_t kind = 0;      // bits 0-3 class, bits 4-6 calling form
  handler start = nullptr;
  handler finish = nullptr;
  std::int64_t line = 0;      // definition line of a macro-defined procedure or function
  std::int64_t used = 0;
  std::int64_t scope = 0;
  shorttext syntax1, syntax2, syntax3;
  std::uint8_t cls() const { return kind & 15; }
};

namespace macro {
void prefix_set(macroengine& m, std::string_view prefix);
void prefix_clear(macroengine& m);
// Registration; the name gets the `prefix` register in front.
void register_plain(macroengine& m, std::string_view name, handler h);
void register_procedure(macroengine& m, std::string_view name, handler h);
void register_function(macroengine& m, std::string_view name, handler h);
void register_both(macroengine& m, std::string_view name, handler statement, handler function);
void register_variable(macroengine& m, std::string_view name, handler h);
void register_block(macroengine& m, std::string_view name, handler start, handler finish);
// A macro-defined entry (procedure or function) at the current depth.
void register_defined(macroengine& m, wideview name, std::uint8_t cls, std::int64_t line);
// Registers a family's table under `prefix` and records its reference lines.
// `where` names the source that holds the table (for the command index).
void register_rows(macroengine& m, std::string_view prefix, const cmdrow* rows, std::size_t count,
                   const char* where = __builtin_FILE());
template <std::size_t N>
void register_rows(macroengine& m, std::string_view prefix, const cmdrow (&rows)[N], const char* where = __builtin_FILE()) {
  register_rows(m, prefix, rows, N, where);
}

// Lookups give the 1-based row or 0; they try the plural spellings when the
// exact name fails. A hit counts in `used`.
std::size_t lookup_statement(macroengine& m, wideview name, bool mayrepair);
std::size_t lookup_function(macroengine& m, wideview name);
std::size_t lookup_variable(macroengine& m, wideview name);
std::size_t lookup_exact(macroengine& m, wideview name, std::uint8_t cls);   // no plurals, no count
bool is_registered(const macroengine& m, wideview name);   // any class
}  // namespace macro
}  // namespace qv
