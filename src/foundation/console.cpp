// console.cpp: console and log output.
#include "foundation/console.h"

#include <cstdio>
#include <unistd.h>

namespace qv {
namespace console {
bool consoleon = true;
bool logon = false;
bool ansi = true;
namespace {
std::FILE* logfile = nullptr;
}

bool log_open(const std::string& path) {
  log_close();
  logfile = std::fopen(path.c_str(), "w");
  logon = logfile != nullptr;
  return logon;
}

void log_close() {
  if (logfile) std::fclose(logfile);
  logfile = nullptr;
  logon = false;
}

void flush() {
  std::fflush(stdout);
  if (logfile) std::fflush(logfile);
}

}  // namespace console

void print::bytes(std::string_view s, bool line_end) {
  if (console::consoleon) {
    if (!s.empty()) std::fwrite(s.data(), 1, s.size(), stdout);
    if (line_end) std::fputc('\n', stdout);
  }
  if (console::logon && console::logfile) {
    if (!s.empty()) std::fwrite(s.data(), 1, s.size(), console::logfile);
    if (line_end) std::fputc('\n', console::logfile);
  }
}

void print::line(wideview t) { bytes(text::utf8(t), true); }
void print::part(wideview t) { bytes(text::utf8(t), false); }
void print::blank() { bytes({}, true); }
void print::spaced(wideview t) {
  line(t);
  blank();
}

}  // namespace qv

namespace qv::console {
void log_line(std::string_view s) {
  if (!logon || !logfile) return;
  std::fwrite(s.data(), 1, s.size(), logfile);
  std::fputc('\n', logfile);
}
}  // namespace qv::console

namespace qv {
widetext print::coloured(wideview colour, wideview t) {
  if (!console::ansi) return widetext(t);
  return widetext(colour) + widetext(t) + widetext(colour::reset);
}

void print::line_coloured(wideview colour, wideview t) { line(coloured(colour, t)); }

bool read::line(std::string& out) {
  out.clear();
  int c;
  while ((c = std::fgetc(stdin)) != EOF && c != '\n') out.push_back(char(c));
  if (!out.empty() && out.back() == '\r') out.pop_back();
  return c != EOF || !out.empty();
}
}  // namespace qv
