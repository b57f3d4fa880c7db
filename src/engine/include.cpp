// include.cpp: splicing another file into the running macro, with the source maps
// that let reports name each line's own file and number.
#include <filesystem>

#include "engine/definitions.h"
#include "foundation/console.h"

namespace qv::macro {
namespace {

// Gives every line its own number in file 0 (the main file) the first time a
// splice needs the maps.
void start_maps(linestore& s) {
  if (s.sourceline.size() == s.count()) return;
  s.sourceline.resize(s.count());
  s.sourcefile.assign(s.count(), 0);
  for (std::size_t i = 0; i < s.count(); ++i) s.sourceline[i] = std::int64_t(i + 1);
  if (s.filenames.empty()) s.filenames.push_back(s.filename);
}

std::int64_t file_index(linestore& s, const std::string& name) {
  for (std::size_t i = 0; i < s.filenames.size(); ++i)
    if (s.filenames[i] == name) return std::int64_t(i);
  s.filenames.push_back(name);
  return std::int64_t(s.filenames.size() - 1);
}

}  // namespace

bool include_splice(macroengine& m, std::int64_t at, const std::string& filename) {
  linestore in;
  lines::load(in, filename);
  linestore& s = m.lines;
  if (in.count() == 0 || at < 1 || std::size_t(at) > s.count()) return false;
  start_maps(s);
  const std::int64_t file = file_index(s, filename);
  const std::size_t pos = std::size_t(at - 1), added = in.count();

  // The new buffer: lines before, the file's lines, lines after, each ended by a zero.
  std::string buffer;
  std::vector<std::int64_t> offset, length, sourceline, sourcefile;
  const std::size_t total = s.count() - 1 + added;
  offset.reserve(total);
  length.reserve(total);
  sourceline.reserve(total);
  sourcefile.reserve(total);
  auto put = [&](std::string_view text, std::int64_t line, std::int64_t f) {
    offset.push_back(std::int64_t(buffer.size()));
    length.push_back(std::int64_t(text.size()));
    buffer.append(text);
    buffer.push_back('\0');
    sourceline.push_back(line);
    sourcefile.push_back(f);
  };
  for (std::size_t i = 0; i < s.count(); ++i) {
    if (i != pos) {
      put(s.line(i + 1), s.sourceline[i], s.sourcefile[i]);
      continue;
    }
    for (std::size_t k = 0; k < added; ++k) put(in.line(k + 1), std::int64_t(k + 1), file);
  }
  s.buffer = std::move(buffer);
  s.offset = std::move(offset);
  s.length = std::move(length);
  s.sourceline = std::move(sourceline);
  s.sourcefile = std::move(sourcefile);
  lines::touch(s);

  // Defined commands whose body lies behind the splice move with their lines.
  const std::int64_t grow = std::int64_t(added) - 1;
  for (regentry& e : m.registry)
    if (e.line > at) e.line += grow;
  m.splices.emplace_back(at, grow);
  return true;
}

void include_file(macroengine& m, interpframe& fr) {
  prepare(m, fr.line);
  if (parameter_count(m) < 1) {
    check_min(m, 1);
    return;
  }
  widetext name = parameter(m, 1);
  std::string file = text::utf8(name);
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) {
    print::line(u"  Include file (" + name + u") not found!");
    return;
  }
  if (m.trace) print::line(u"  include|" + name + u"|");
  include_splice(m, m.currentline, file);
}

}  // namespace qv::macro
