// tables.cpp: reading text tables into cells, and the `table.` commands.
#include "library/table.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "foundation/files.h"
#include "foundation/numeric_text.h"
#include "foundation/progress.h"
#include "library/list.h"

namespace qv {
namespace tables {

std::int64_t rows(const table& t) { return t.rowfirst.empty() ? 0 : std::int64_t(t.rowfirst.size()) - 1; }

std::string_view cell(const table& t, std::int64_t x, std::int64_t y) {
  if (y < 1 || y > rows(t) || x < 1) return {};
  const std::uint32_t first = t.rowfirst[std::size_t(y - 1)], next = t.rowfirst[std::size_t(y)];
  if (std::uint32_t(x - 1) >= next - first) return {};
  const std::size_t k = first + std::size_t(x - 1);
  std::string_view c(t.buffer.data() + t.starts[k], t.ends[k] - t.starts[k]);
  if (t.method == 1) {
    while (!c.empty() && c.front() == ' ') c.remove_prefix(1);
    while (!c.empty() && c.back() == ' ') c.remove_suffix(1);
  }
  return c;
}

void parse(table& t, std::string bytes, bool comments) {
  t.buffer = std::move(bytes);
  t.starts.clear(), t.ends.clear(), t.rowfirst.clear();
  t.columns = 0;
  char* b = t.buffer.data();
  const std::size_t n = t.buffer.size();
  if (n >= (std::size_t(1) << 32)) return;   // positions are 32-bit
  const char sep = t.separator;
  // Room for a cell every other byte at most: address room only, touched as used.
  t.starts.reserve(n / 2 + 2), t.ends.reserve(n / 2 + 2);
  const widetext label = u"  Analyze";
  progress::set(0, label);
  std::size_t i = 0;
  while (i < n) {
    // One line: from i up to its line feed (or the end).
    const char* lf = static_cast<const char*>(std::memchr(b + i, '\n', n - i));
    std::size_t end = lf ? std::size_t(lf - b) : n, stop = end;
    if (stop > i && b[stop - 1] == '\r') b[--stop] = 0;
    if (lf) b[end] = 0;
    if (comments) {
      const std::string_view line(b + i, stop - i);
      if (line.starts_with("//") || line.starts_with("#") || line.starts_with("%")) {
        i = end + 1;
        continue;
      }
      const std::size_t cut = line.find(" //");
      if (cut != std::string_view::npos) stop = i + cut;
    }
    t.rowfirst.push_back(std::uint32_t(t.starts.size()));
    std::size_t start = i, cellend = stop;   // a cell ends at the first separator of its run
    for (std::size_t k = i; k < stop; ++k) {
      const char* hit = static_cast<const char*>(std::memchr(b + k, sep, stop - k));
      if (!hit) break;
      k = std::size_t(hit - b);
      if (cellend == stop) cellend = k;
      b[k] = 0;
      if (t.join && k + 1 < stop && b[k + 1] == sep) continue;   // a run of separators is one
      t.starts.push_back(std::uint32_t(start)), t.ends.push_back(std::uint32_t(cellend));
      start = k + 1;
      cellend = stop;
    }
    t.starts.push_back(std::uint32_t(start)), t.ends.push_back(std::uint32_t(stop));
    t.columns = std::max<std::int64_t>(t.columns, std::int64_t(t.starts.size() - t.rowfirst.back()));
    i = end + 1;
    if ((t.rowfirst.size() & 0xffff) == 0) progress::set(double(i) / double(n), label);
  }
  if (!t.rowfirst.empty()) t.rowfirst.push_back(std::uint32_t(t.starts.size()));
  progress::end(label);
}

namespace {

table& cur() { return *workspace::current<table>(); }
widetext wide(std::string_view s) { return text::from_utf8(s); }

void iftable_fn(macroengine& m) { macro::value_set(m, cur().starts.empty() ? u"0" : u"1"); }
void lengthx_fn(macroengine& m) { macro::value_set(m, nat::text(cur().columns)); }
void lengthy_fn(macroengine& m) { macro::value_set(m, nat::text(rows(cur()))); }

void clear_cmd(macroengine&) {
  table& t = cur();
  const char sep = t.separator;
  const bool join = t.join;
  const std::int64_t method = t.method, header = t.header;
  t = table{};
  t.separator = sep, t.join = join, t.method = method, t.header = header;
}

void setmethod_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  cur().method = text::nat(macro::parameter(m, 1));
}
void setjoin_cmd(macroengine&) { cur().join = true; }
void header_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  cur().header = std::max<std::int64_t>(1, text::nat(macro::parameter(m, 1)));
}

template <bool comments>
void load_cmd(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  const widetext name = macro::parameter(m, 1);
  if (name.empty()) return;
  table& t = cur();
  if (n == 2) {
    const std::string s = text::utf8(macro::parameter(m, 2));
    if (!s.empty()) t.separator = s[0];
  }
  std::string bytes;
  if (!file::read_all(name, bytes)) return file::report(name);
  print::line(u"Read file (" + name + u").");
  clear_cmd(m);
  if (bytes.empty()) return print::line(u"Empty file!");
  parse(t, std::move(bytes), comments);
}

// `table.get <x,y>` or `table.get x y`.
void get_fn(macroengine& m) {
  const std::size_t n = macro::parameter_count(m);
  if (n < 1) return macro::check_min(m, 1);
  if (n > 2) return macro::check_max(m, 2);
  std::int64_t x, y;
  if (n == 1) {
    const num::natvector v = text::natvector(macro::parameter(m, 1));
    x = v.x, y = v.y;
  } else {
    x = text::nat(macro::parameter(m, 1)), y = text::nat(macro::parameter(m, 2));
  }
  macro::value_set(m, wide(cell(cur(), x, y)));
}

// A label as a variable name: blanks become "_", quotes go.
widetext label_of(std::string_view s) {
  widetext out;
  for (char16_t c : wide(s)) {
    if (c == u'"' || c == u'\'') continue;
    out.push_back(c == u' ' ? u'_' : c);
  }
  return out;
}

std::int64_t cells_in_row(const table& t, std::int64_t y) {
  return y < 1 || y > rows(t) ? 0 : std::int64_t(t.rowfirst[std::size_t(y)] - t.rowfirst[std::size_t(y - 1)]);
}

// The cells of one row (by rows) or column, from `from` on, joined by `join`, commas to points.
widetext joined(const table& t, bool byrow, std::int64_t at, std::int64_t from, char16_t join) {
  widetext out;
  const std::int64_t n = byrow ? cells_in_row(t, at) : rows(t);
  for (std::int64_t k = from; k <= n; ++k) {
    if (k > from) out.push_back(join);
    for (char16_t ch : wide(byrow ? cell(t, k, at) : cell(t, at, k))) out.push_back(ch == u',' ? u'.' : ch);
  }
  return out;
}

// Rows (or columns) to macro variables: the label is the row's first cell (the
// column's cell in the header row); the value the rest, joined by the separator
// (`.to.constant`) or as the engine's list, joined by tabs (`.to.array`).
template <bool byrow, bool array>
void to_variables_cmd(macroengine& m) {
  const table& t = cur();
  const widetext tablename = workspace::list<table>().current_name();
  const std::int64_t n = byrow ? rows(t) : t.columns;
  const char16_t join = array ? u'\t' : char16_t(static_cast<unsigned char>(t.separator));
  for (std::int64_t i = 1; i <= n; ++i) {
    if (!byrow && t.header > rows(t)) break;
    const widetext label = label_of(byrow ? cell(t, 1, i) : cell(t, i, t.header));
    if (label.empty()) continue;
    if (macro::var_find(m, label))
      print::line(widetext(byrow ? u"Warning! Double table row label (" : u"Warning! Double table column label (") +
                  label + u") at line " + nat::text(i) + u" in table" + tablename + u".");
    macro::var_set(m, label, joined(t, byrow, i, byrow ? 2 : t.header + 1, join));
  }
}

// `table.row.to.list r` and `table.column.to.list c`: the current list gets the
// data cells (a row without its label, a column below the header row).
template <bool byrow>
void to_list_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const table& t = cur();
  const std::int64_t at = text::nat(macro::parameter(m, 1));
  list& l = lists::current();
  lists::clear(l);
  // Numbers with a decimal comma are read as with a point, as for the variables.
  auto push = [&](std::string_view c) {
    widetext w = wide(c);
    if (l.tag != listtag::chars) std::replace(w.begin(), w.end(), u',', u'.');
    lists::push_text(l, w);
  };
  if (byrow) {
    if (at < 1 || at > rows(t)) return;
    for (std::int64_t x = 2; x <= cells_in_row(t, at); ++x) push(cell(t, x, at));
  } else {
    for (std::int64_t y = t.header + 1; y <= rows(t); ++y) push(cell(t, at, y));
  }
}

// A plain decimal "[-]ddd[.ddd]" of at most 15 digits: the digits as a whole
// number divided by a power of ten, both exact, which one correctly rounded
// division turns into the nearest double, as the library would. False for
// anything else (exponents, long numbers), which the library then reads.
bool short_decimal(std::string_view c, double& v) {
  static constexpr double tens[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  std::size_t i = 0;
  const bool negative = !c.empty() && c[0] == '-';
  if (negative) ++i;
  std::uint64_t digits = 0;
  int count = 0, after = -1;
  for (; i < c.size(); ++i) {
    const char ch = c[i];
    if (ch == '.' && after < 0) {
      after = 0;
      continue;
    }
    if (ch < '0' || ch > '9' || ++count > 15) return false;
    digits = digits * 10 + std::uint64_t(ch - '0');
    if (after >= 0) ++after;
  }
  if (count == 0) return false;
  v = double(digits) / tens[after < 0 ? 0 : after];
  if (negative) v = -v;
  return true;
}

// `table.getstat`: mean and standard deviation of the cells that hold a number
// (a decimal comma counts as a point), as the pair <mean,sd>.
void getstat_fn(macroengine& m) {
  const table& t = cur();
  // Sums of the values shifted by the first one (so that a large mean cancels
  // nothing), each with Kahan's compensation.
  double shift = 0, sum = 0, sumc = 0, sq = 0, sqc = 0;
  std::int64_t count = 0;
  auto add = [](double& s, double& c, double x) {
    const double y = x - c, t = s + y;
    c = (t - s) - y;
    s = t;
  };
  std::string scratch;
  for (std::size_t k = 0; k < t.starts.size(); ++k) {
    std::string_view c(t.buffer.data() + t.starts[k], t.ends[k] - t.starts[k]);
    while (!c.empty() && c.front() == ' ') c.remove_prefix(1);
    while (!c.empty() && c.back() == ' ') c.remove_suffix(1);
    if (c.empty()) continue;
    if (c.find(',') != std::string_view::npos) {
      scratch.assign(c);
      std::replace(scratch.begin(), scratch.end(), ',', '.');
      c = scratch;
    }
    double v;
    if (!short_decimal(c, v)) {
      const char* b = c.data();
      if (*b == '+') ++b;
      const auto r = std::from_chars(b, c.data() + c.size(), v);
      if (r.ec != std::errc() || r.ptr != c.data() + c.size()) continue;
    }
    if (count++ == 0) shift = v;
    const double d = v - shift;
    add(sum, sumc, d);
    add(sq, sqc, d * d);
  }
  const double mean = count ? shift + sum / double(count) : 0;
  const double sd = count > 1 ? std::sqrt(std::max(0.0, (sq - sum * sum / double(count)) / double(count - 1))) : 0;
  macro::value_set(m, complex::text({mean, sd}));
}

// `table.save`, `.save.transposed`, `.save.data`: tab-separated rows; the data
// form leaves out the label column and the rows down to the header row.
enum class saveform { plain, transposed, data };
template <saveform form>
void save_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext name = macro::parameter(m, 1);
  if (name.empty()) return;
  const table& t = cur();
  filehandle h;
  if (!file::open_write(h, name)) return file::report(name);
  const bool data = form == saveform::data;
  const std::int64_t nx = form == saveform::transposed ? rows(t) : t.columns;
  const std::int64_t ny = form == saveform::transposed ? t.columns : rows(t);
  std::string out;
  for (std::int64_t y = data ? t.header + 1 : 1; y <= ny; ++y) {
    for (std::int64_t x = data ? 2 : 1; x <= nx; ++x) {
      if (x > (data ? 2 : 1)) out.push_back('\t');
      out += form == saveform::transposed ? cell(t, y, x) : cell(t, x, y);
    }
    out.push_back('\n');
  }
  if (std::fwrite(out.data(), 1, out.size(), h.f) != out.size()) file::report(name);
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows_table[] = {
    // name                 kind handler                          usage                              comment
    {"iftable",             F, iftable_fn,                        "flag := table.iftable",           "1 if any cells exist"},
    {"lengthx",             F, lengthx_fn,                        "n := table.lengthx",              "columns"},
    {"sizex",               F, lengthx_fn,                        "n := table.sizex",                "columns"},
    {"lengthy",             F, lengthy_fn,                        "n := table.lengthy",              "rows"},
    {"sizey",               F, lengthy_fn,                        "n := table.sizey",                "rows"},
    {"clear",               P, clear_cmd,                         "table.clear",                     "empties the table"},
    {"clean",               P, clear_cmd,                         "table.clean",                     "empties the table"},
    {"setmethod",           P, setmethod_cmd,                     "table.setmethod 1",               "reading method: 0 cells as they stand, 1 blanks around a cell left out"},
    {"setjoin",             P, setjoin_cmd,                       "table.setjoin",                   "runs of the separator count as one"},
    {"load",                P, load_cmd<false>,                   "table.load file.txt ;",           "reads the file; the second parameter's first character is the separator (default tab)"},
    {"load.comment",        P, load_cmd<true>,                    "table.load.comment file.txt ;",   "the same, without lines starting with //, # or % and text after \" //\""},
    {"header",              P, header_cmd,                        "table.header 1",                  "the row of the column labels"},
    {"get",                 F, get_fn,                            "a := table.get <1,2>",            "text of the cell at column x, row y (also x y)"},
    {"rows.to.constant",    P, to_variables_cmd<true, false>,     "table.rows.to.constant",          "a variable per row: first cell the name, the rest the value"},
    {"rows.to.array",       P, to_variables_cmd<true, true>,      "table.rows.to.array",             "a list variable per row: first cell the name, the rest its elements"},
    {"columns.to.constant", P, to_variables_cmd<false, false>,    "table.columns.to.constant",       "a variable per column: the header cell the name, the cells below the value"},
    {"columns.to.array",    P, to_variables_cmd<false, true>,     "table.columns.to.array",          "a list variable per column: the header cell the name, the cells below its elements"},
    {"row.to.list",         P, to_list_cmd<true>,                 "table.row.to.list 2",             "the current list gets the row's cells after its label"},
    {"column.to.list",      P, to_list_cmd<false>,                "table.column.to.list 2",          "the current list gets the column's cells below the header row"},
    {"getstat",             F, getstat_fn,                        "<mean,sd> := table.getstat",      "mean and SD of the cells that hold a number"},
    {"save",                P, save_cmd<saveform::plain>,         "table.save file.txt",             "writes the table, tab-separated"},
    {"save.transposed",     P, save_cmd<saveform::transposed>,    "table.save.transposed file.txt",  "writes columns as rows"},
    {"save.data",           P, save_cmd<saveform::data>,          "table.save.data file.txt",        "writes the cells without the label column and header rows"},
};

}  // namespace

void register_commands(macroengine& m) {
  workspace::register_family<table>(m, false);
  macro::register_rows(m, "table.", rows_table);
}

}  // namespace tables
}  // namespace qv
