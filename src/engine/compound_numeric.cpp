// compound_numeric.cpp: the arithmetic compound operators and the template
// commands that include files or move coordinates.
#include <filesystem>

#include "engine/definitions.h"
#include "engine/flow.h"
#include "foundation/console.h"

namespace qv::macro {

bool numeric_compound(macroengine&, wideview, widetext&) { return false; }

bool template_extra(macroengine& m, interpframe&, widechar c) {
  if (c == u'I' || c == u'i') {
    // The file's lines take the place of this one; its first line is passed, as
    // with `include`, and the template goes on with the second.
    if (parameter_count(m) < 1) {
      check_min(m, 1);
      return true;
    }
    widetext name = parameter(m, 1);
    std::error_code ec;
    if (!std::filesystem::exists(text::utf8(name), ec)) print::line(u"  Include file (" + name + u") not found!");
    else include_splice(m, m.currentline, text::utf8(name));
    return true;
  }
  return false;
}

}  // namespace qv::macro
