// workspace.cpp: the global reset and dump over all workspace lists.
#include "images/workspace.h"

namespace qv::workspace {
namespace {

std::vector<familyhooks>& hooks() {
  static std::vector<familyhooks> h;
  return h;
}

void clear(macroengine&) { reset_all(); }
void dump(macroengine&) { dump_all(); }

constexpr cmdrow rows[] = {
    // name    kind                handler usage    comment
    {"clear", cmdkind::procedure, clear,  "clear", "frees every workspace and restores the default types"},
    {"clean", cmdkind::procedure, clear,  "clean", "frees every workspace and restores the default types"},
    {"new",   cmdkind::procedure, clear,  "new",   "frees every workspace and restores the default types"},
    {"dump",  cmdkind::procedure, dump,   "dump",  "prints every workspace list"},
};

}  // namespace

void add_hooks(familyhooks h) {
  for (const familyhooks& e : hooks())
    if (e.reset == h.reset) return;
  hooks().push_back(h);
}

// Default types first, then each family in registration order.
void reset_all() {
  for (const familyhooks& e : hooks()) e.reset();
}

void dump_all() {
  for (const familyhooks& e : hooks())
    if (e.dump) e.dump();
}

void register_global(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::workspace
