// docs.h: the manual page and the command index, written from the command tables.
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "engine/macroengine.h"

namespace qv::app {

// One option as the program's help lists it: "  -name : description = default".
struct optionline {
  std::string section, name, description, fallback;
};
std::vector<optionline> parse_option_listing(std::string_view listing);

// The roff manual page: options, then every command of the reference rows by family.
bool write_manual(const macroengine& m, const std::vector<optionline>& options, const std::string& path,
                  std::string_view version);
// docs/commands.md: every command with its form, note and the source of its table.
bool write_command_index(const macroengine& m, const std::string& path);

}  // namespace qv::app
