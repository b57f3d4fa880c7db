// files.h: file and directory services with name cleaning and the file-error report.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>
#include "foundation/widetext.h"

namespace qv {

// An open file; closes itself.
struct filehandle {
  std::FILE* f = nullptr;
  filehandle() = default;
  filehandle(const filehandle&) = delete;
  filehandle& operator=(const filehandle&) = delete;
  filehandle(filehandle&& o) noexcept : f(o.f) { o.f = nullptr; }
  filehandle& operator=(filehandle&& o) noexcept;
  ~filehandle() { close(); }
  void close();
  explicit operator bool() const { return f != nullptr; }
};

namespace file {
// The code the last file operation left: 0, or one of the codes of `report`.
extern int error;
int code_of_errno(int e, bool writing);
// Takes and resets `error`; prints the class line and the message when it is not 0.
void report(wideview name);
widetext report_text(int code, wideview name);   // the message line, empty if the code has none
wideview report_class(int code);                 // "DOS-Error" and kin, empty if none

// "a/b/../../c" and "a\..\b" resolved; separators made "/". Empty stays empty.
widetext clean_name(wideview name);
std::string system_name(wideview name);   // cleaned and UTF-8 encoded

bool open_read(filehandle& h, wideview name);
bool open_read_text(filehandle& h, wideview name);
bool open_read_sized(filehandle& h, wideview name, std::int64_t& size);   // reports the size
bool open_write(filehandle& h, wideview name);
bool open_write_text(filehandle& h, wideview name);
bool open_append(filehandle& h, wideview name);   // creates a missing file
bool read_line(filehandle& h, std::string& line);   // false at the end of the file
bool write_line(filehandle& h, wideview line);
bool read_all(wideview name, std::string& bytes);   // the whole file, without messages beyond errors

bool delete_(wideview name);
bool rename(wideview from, wideview to);
std::int64_t size(wideview name);   // 0 with a report when it cannot be opened
bool exists(wideview name);
// Names matching a pattern with `*`, `?` and `[...]`, sorted; a name without
// wildcards gives itself when it exists.
std::vector<widetext> glob(wideview pattern);
}  // namespace file

namespace directory {
bool exists(wideview name);
bool change(wideview name);
bool make(wideview name);
bool make_all(wideview name);   // every missing level
bool remove(wideview name);
bool rename(wideview from, wideview to);
}  // namespace directory

namespace program {
// The full path of an executable: a name with a path stands; else the usual
// system folders are tried, and the name comes back unchanged if none has it.
widetext find(wideview name);
}  // namespace program
}  // namespace qv
