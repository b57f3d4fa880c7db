// console.h: the output routines that write the same text to console and log.
#pragma once
#include <string>
#include <string_view>
#include "foundation/widetext.h"

namespace qv {
namespace console {
extern bool consoleon;   // print to standard output
extern bool logon;       // print to the log file; true only while it is open
extern bool ansi;        // use escape sequences; `-strict` clears it
bool log_open(const std::string& path);
void log_close();
void flush();
}  // namespace console

namespace colour {
inline constexpr wideview red = u"\x1b[91m", green = u"\x1b[32m", blue = u"\x1b[34m",
                          yellow = u"\x1b[33m", cyan = u"\x1b[36m", purple = u"\x1b[35m",
                          reset = u"\x1b[0m";
}  // namespace colour

namespace print {
void line(wideview t);    // text and a line end, to console and log
void part(wideview t);    // the same with no line end
void blank();             // an empty line
void spaced(wideview t);  // text, a line end and a blank line
void bytes(std::string_view utf8, bool line_end);   // for text that is UTF-8 already
// The text between `colour` and the reset while `ansi` is on; plain otherwise.
widetext coloured(wideview colour, wideview t);
void line_coloured(wideview colour, wideview t);
}  // namespace print

namespace read {
// One line from standard input without its line end; false at the end of input.
bool line(std::string& out);
}  // namespace read
}  // namespace qv

namespace qv::console {
// A line for the log alone (allocation notes and the like); nothing while no log is open.
void log_line(std::string_view utf8);
}  // namespace qv::console
