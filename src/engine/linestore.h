// linestore.h: the macro's text as one byte buffer with line offsets and source maps.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qv {

struct linestore {
  std::string buffer;                  // the file's bytes; line ends overwritten with zeros
  std::vector<std::int64_t> offset;    // one entry per line
  std::vector<std::int64_t> length;
  std::vector<std::int64_t> sourceline;   // after an `include`: line number in its own file
  std::vector<std::int64_t> sourcefile;   // and the index of that file in `filenames`
  std::vector<std::string> filenames;
  std::string filename;                // the main file
  std::uint64_t generation = 0;        // new whenever the lines change; 0 for a store never filled
  std::size_t count() const { return offset.size(); }
  // Line i (1-based) as bytes, without its line end.
  std::string_view line(std::size_t i) const {
    return std::string_view(buffer.data() + offset[i - 1], std::size_t(length[i - 1]));
  }
};

namespace lines {
// Splits bytes at CR, LF and CRLF, keeping empty lines; under two bytes gives no lines.
void split(linestore& s, std::string bytes, bool show_progress = true);
bool load(linestore& s, const std::string& filename);   // false when the file cannot be read
// Gives the store a generation no store has had, after its lines changed.
void touch(linestore& s);
}  // namespace lines
}  // namespace qv
