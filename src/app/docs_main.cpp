// docs_main.cpp: quorvex-docs <quorvex> <manual page> <command index>. Takes the option
// listing from the program's own help and the commands from the registered tables; with
// --check in place of the command index, it only reports commands the manual page lacks.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

#include "app/docs.h"
#include "app/families.h"
#include "app/options.h"
#include "foundation/console.h"

int main(int argc, char** argv) {
  using namespace qv;
  if (argc != 4) {
    std::cerr << "usage: quorvex-docs <quorvex> <manual page> <command index | --check>\n";
    return 2;
  }
  const std::string check = argv[3];
  if (check == "--check") {
    std::ifstream in(argv[2], std::ios::binary);
    std::stringstream page;
    page << in.rdbuf();
    macroengine m;
    console::consoleon = false;
    app::register_all(m);
    std::size_t missing = 0;
    for (const regentry& e : m.registry) {
      const std::string name = text::utf8(e.name.str());
      std::string written;
      for (char c : name) written += c == '-' ? std::string("\\-") : std::string(1, c);
      if (page.str().find(".B " + written + "\n") == std::string::npos) {
        std::cout << "missing: " << name << "\n";
        ++missing;
      }
    }
    std::cout << m.registry.size() - missing << " of " << m.registry.size() << " registered commands in "
              << argv[2] << "\n";
    return missing ? 1 : 0;
  }
  std::string listing;
  if (FILE* p = popen((std::string("'") + argv[1] + "' -h 2>/dev/null").c_str(), "r")) {
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) listing.append(buf, n);
    pclose(p);
  }
  const auto options = app::parse_option_listing(listing);
  if (options.empty()) {
    std::cerr << "quorvex-docs: no options in the help of " << argv[1] << "\n";
    return 1;
  }
  macroengine m;
  console::consoleon = false;
  app::register_all(m);
  const std::string version = text::utf8(version_text(QV_BUILD_DATE));
  if (!app::write_manual(m, options, argv[2], version) || !app::write_command_index(m, argv[3])) {
    std::cerr << "quorvex-docs: cannot write " << argv[2] << " or " << argv[3] << "\n";
    return 1;
  }
  return 0;
}
