// file_fuzz.cpp: one libFuzzer target per reader. The input becomes a file with the
// target's name (QV_FUZZ_FILE, gzip-packed first when QV_FUZZ_GZIP is set) in a private
// folder, and a macro (QV_FUZZ_MACRO) reads it through the real command, in process.
// Built by fuzz/CMakeLists.txt once per target with these three definitions.
#include <unistd.h>
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "app/families.h"
#include "engine/macroengine.h"
#include "foundation/console.h"
#include "images/workspace.h"

namespace {

std::string folder() {
  static const std::string dir = [] {
    std::string d = std::filesystem::temp_directory_path().string() + "/qvfuzz-" + std::to_string(getpid());
    std::filesystem::create_directories(d);
    return d;
  }();
  return dir;
}

void write_input(const std::string& name, const std::uint8_t* data, std::size_t size) {
#ifdef QV_FUZZ_GZIP
  gzFile g = gzopen(name.c_str(), "wb1");
  if (!g) return;
  if (size) gzwrite(g, data, unsigned(size));
  gzclose(g);
#else
  if (std::FILE* f = std::fopen(name.c_str(), "wb")) {
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
  }
#endif
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qv;
  static bool ready = [] {
    console::consoleon = false;
    return std::filesystem::current_path(folder()), true;
  }();
  (void)ready;
  write_input(QV_FUZZ_FILE, data, size);
  // One engine for all inputs: registering every family costs more than most reads.
  static macroengine& m = [] () -> macroengine& {
    auto* e = new macroengine;
    e->outfiles.emplace_back();
    app::register_all(*e);
    lines::split(e->lines, std::string("debug.no\nthread.max := 1\n") + QV_FUZZ_MACRO + "\n", false);
    e->lines.filename = "fuzz.macro";
    return *e;
  }();
  macro::run(m);
  workspace::reset_all();   // nothing read survives into the next input
  return 0;
}
