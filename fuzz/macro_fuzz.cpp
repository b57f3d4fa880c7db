// macro_fuzz.cpp: the interpreter on random macro text, with the language and the
// commands that touch no file or process (print, calculator, lists, text numbers).
// Inputs with loop words are passed over: an endless loop is a valid macro.
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/macroengine.h"
#include "foundation/console.h"
#include "library/basics.h"
#include "library/calc.h"
#include "library/list.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qv;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (std::string_view word : {"while", "repeat", "until", "for", "halt", "run", "execute", "wait", "sleep",
                                "delay", "include", "output", "store", "append", "@@"})
    if (text.find(word) != std::string_view::npos) return 0;
  console::consoleon = false;
  macroengine m;
  m.outfiles.emplace_back();
  library::register_basics(m);
  library::register_calculator(m);
  lists::register_commands(m);
  lines::split(m.lines, std::string(text), false);
  m.lines.filename = "fuzz.macro";
  macro::run(m);
  return 0;
}
