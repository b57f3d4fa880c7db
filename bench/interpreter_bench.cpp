// interpreter_bench.cpp: statements per second of the interpreter on flat macros.
#include <chrono>
#include <cstdio>
#include <string>

#include "app/families.h"
#include "foundation/console.h"

using namespace qv;

namespace {
double run_macro(const std::string& text, std::size_t statements, const char* what) {
  macroengine m;
  m.outfiles.emplace_back();
  app::register_all(m);
  lines::split(m.lines, text, false);
  m.lines.filename = "bench.macro";
  bool saved = console::consoleon;
  console::consoleon = false;
  auto t0 = std::chrono::steady_clock::now();
  macro::run(m);
  double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  console::consoleon = saved;
  std::printf("%-44s %9zu statements %8.3f s %12.0f statements/s\n", what, statements, s, statements / s);
  return s;
}
}  // namespace

int main() {
  const std::size_t n = 1000000;
  std::string flat = "debug.no\n";
  for (std::size_t i = 0; i < n; ++i) flat += (i % 2) ? "a := 1\n" : "b := a\n";
  std::printf("threads: 1 (the interpreter is single-threaded)\n");
  run_macro(flat, n, "a := 1 / b := a, trace off");
  std::string with_vars = "debug.no\n";
  for (int v = 0; v < 50; ++v) with_vars += "v" + std::to_string(v) + " := " + std::to_string(v) + "\n";
  for (std::size_t i = 0; i < n; ++i) with_vars += "nop\n";
  run_macro(with_vars, n, "nop with 50 variables defined");
  std::string at = "debug.no\nx := 3\n";
  for (std::size_t i = 0; i < n; ++i) at += "y := @x\n";
  run_macro(at, n, "y := @x (at substitution)");
  // A loop whose body holds a condition and a compound operator, 50 variables defined:
  // four statements a pass (if, then, +=, end).
  std::string loop = "debug.no\n";
  for (int v = 0; v < 50; ++v) loop += "v" + std::to_string(v) + " := " + std::to_string(v) + "\n";
  loop += "c := 0\nfor 1000000\nif 1\nthen c += 1\nend\n";
  run_macro(loop, 4 * n, "for 1000000 { if; then c += 1 } with 50 vars");
}
