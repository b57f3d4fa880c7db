// ini_fuzz.cpp: the options file.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "app/options.h"
#include "foundation/console.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qv;
  console::consoleon = false;
  static const std::string name =
      std::filesystem::temp_directory_path().string() + "/qvfuzz-ini-" + std::to_string(getpid()) + ".ini";
  if (std::FILE* f = std::fopen(name.c_str(), "wb")) {
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
  }
  optionset o;
  option::read_file(o, name);
  return 0;
}
