// options.h: the parsed command line and the option declarations.
#pragma once
#include <string>
#include <vector>
#include "engine/macroengine.h"
#include "foundation/widetext.h"

namespace qv {

struct optionset {
  shorttext title, titleline, copyright, exepath, workdir;
  shorttext version;
  int year = 0, month = 0, day = 0;
  bool helpmode = false, helppause = false;
  std::string update;                 // the update location
  std::vector<shorttext> optionnames, optionvalues;   // empty name: positional argument
};

namespace option {
// Splits the joined arguments into named and positional entries.
void parse(optionset& o, const std::vector<std::string>& args);
void read_file(optionset& o, const std::string& path);   // the options file, appended
// Declarations: each prints its line and returns the value in force.
widetext text(optionset& o, wideview name, wideview def, wideview description);
widetext text_last(optionset& o, wideview name, wideview def, wideview description);
std::int64_t nat(optionset& o, wideview name, std::int64_t def, std::int64_t min, std::int64_t max,
                 wideview description);
widetext vector(optionset& o, wideview name, wideview def, wideview description);
bool bool_(optionset& o, wideview name, bool def, wideview description);
void section(optionset& o, wideview title);
void help(optionset& o, wideview text);
void example(optionset& o);
bool present(const optionset& o, wideview name);
const shorttext* find(const optionset& o, wideview name);   // first entry of that name
}  // namespace option

// The version text of a build date "yyyy/mm/dd": years since 2017, month, day.
widetext version_text(std::string_view date, int* year = nullptr, int* month = nullptr, int* day = nullptr);

}  // namespace qv
