// linestore.cpp: reading a macro file into lines.
#include "engine/linestore.h"

#include <fstream>
#include <iterator>

namespace qv::lines {

void touch(linestore& s) {
  static std::uint64_t last = 0;   // shared by all stores, so that no two stores ever share one
  s.generation = ++last;
}

void split(linestore& s, std::string bytes, bool show_progress) {
  (void)show_progress;   // splitting a file in memory takes well under a second
  touch(s);
  s.buffer = std::move(bytes);
  s.offset.clear();
  s.length.clear();
  std::size_t n = s.buffer.size();
  if (n < 2) return;
  char* b = s.buffer.data();
  std::size_t start = 0;
  std::int64_t len = 0;
  auto record = [&](std::size_t next) {
    s.offset.push_back(std::int64_t(start));
    s.length.push_back(len);
    start = next;
    len = 0;
  };
  for (std::size_t i = 0; i < n; ++i) {
    char c = b[i];
    if (c == 0) {
      // Zero bytes are passed over; a line that begins with one starts after it.
      if (len == 0) start = i + 1;
      continue;
    }
    if (c == '\n') {
      if (i > 0 && b[i - 1] == '\r') b[i - 1] = 0;
      b[i] = 0;
      record(i + 1);
    } else if (c == '\r' && !(i + 1 < n && b[i + 1] == '\n')) {
      b[i] = 0;
      record(i + 1);
    } else if (c != '\r') {
      ++len;
    }
  }
  if (len > 0) record(n);
}

bool load(linestore& s, const std::string& filename) {
  std::ifstream in(filename, std::ios::binary);
  s.filename = filename;
  if (!in) {
    split(s, {});
    return false;
  }
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  split(s, std::move(bytes));
  return true;
}

}  // namespace qv::lines
