// reference.cpp: writes the reference macro from the registered command rows.
#include <fstream>

#include "app/families.h"

namespace qv::app {

bool write_reference(const macroengine& m, const std::string& path, wideview version) {
  std::ofstream out(path, std::ios::binary);
  if (!out) return false;
  out << "//!./quorvex // Version: " << text::utf8(version) << "\n"
      << "// This is a list of quorvex commands - you can use this macro like a programing language\n"
      << "// Each line below is a command with its parameters and a short note; README.md tells more.\n"
      << "// Copyright (c) 2017-2026 the quorvex developers\n"
      << "\n"
      << "io.file.remove \"quorvex.macro\" // remove old command list\n"
      << "execute ./quorvex // make new command list\n"
      << "halt // Do not interpret the rest\n"
      << "// *************************************************\n"
      << "// @variable denotes builtin variables.\n"
      << "// Assignment := are only used if the stack type is the same (image := image.func) or a result "
         "(10 := image.func).\n";
  for (const cmdrow* r : m.reference) out << r->usage << " // " << r->comment << "\n";
  out << "// For more line commands, look at Nubrelle!\n";
  return bool(out);
}

}  // namespace qv::app
