// families.cpp: calls every family's registrar in reference-macro order.
#include "app/families.h"

#include "library/basics.h"

namespace qv::app {

void register_all(macroengine& m) {
  // Command library first, then the global workspace words and the field families.
  library::register_basics(m);
}

}  // namespace qv::app
