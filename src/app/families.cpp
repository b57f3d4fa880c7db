// families.cpp: calls every family's registrar in reference-macro order.
#include "app/families.h"

#include "engine/dumps.h"
#include "library/basics.h"

namespace qv::app {

void register_all(macroengine& m) {
  // Command library first, then the global workspace words and the field families.
  library::register_basics(m);
  library::register_run(m);
  library::register_random(m);
  library::register_time(m);
  library::register_number_settings(m);
  macro::register_dumps(m);   // `dump.`: the last of the command library
}

}  // namespace qv::app
