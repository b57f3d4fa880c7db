// table.h: the text table record of the `table.` family and its workspace list.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "images/workspace.h"

namespace qv {

// The whole file in one buffer; each separator and line end becomes a 0 byte and
// the cells are kept as start and end positions, row after row, never copied.
struct table {
  std::string buffer;
  std::vector<std::uint32_t> starts, ends;   // cell k of row r is at rowfirst[r] + k
  std::vector<std::uint32_t> rowfirst;       // one more entry than rows
  std::int64_t columns = 0;                  // the most cells of a row
  char separator = '\t';
  bool join = false;
  std::int64_t method = 0;   // 0 cells as they stand, 1 blanks around a cell left out
  std::int64_t header = 1;   // the row of the column labels
};

namespace tables {

std::int64_t rows(const table& t);
// Cell x, y (from 1) as UTF-8 bytes; past the end empty.
std::string_view cell(const table& t, std::int64_t x, std::int64_t y);
// Reads `bytes` (moved in) into the table: separators split cells, a line feed
// (with a carriage return before it) ends a row; with `comments` the engine's
// comment lines ("//", "#", "%" at the start) are left out and a " //" ends a line.
void parse(table& t, std::string bytes, bool comments);

void register_commands(macroengine& m);

}  // namespace tables

template <>
struct workspace_traits<table> {
  static constexpr const char* prefix = "table.";
  static constexpr const char16_t* word = u"table";
  static constexpr const char16_t* dumpname = u"table";
  static constexpr const char16_t* emptyline = u"  Table empty!";
  static constexpr const char16_t* currenthead = u"  Table (";
  static constexpr const char* usage[4] = {"table.use name", "table.swap name1 name2", "table.name name", "table.dump"};
  static constexpr std::uint8_t start_tag = 0;
  static inline std::uint8_t default_tag = 0;
  static std::unique_ptr<table> create(std::uint8_t) { return std::make_unique<table>(); }
  static widetext entry(const table& t) {
    return u"table(" + nat::text(t.columns) + u"x" + nat::text(tables::rows(t)) + u")";
  }
  static void announce(wideview name, const table&) { print::line(u"Use table: " + widetext(name)); }
};

}  // namespace qv
