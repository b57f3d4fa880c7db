// cpuinfo.cpp: counting processor cores from /proc/cpuinfo.
#include "foundation/cpuinfo.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace qv::threads {
namespace {
std::string_view value_of(std::string_view line) {
  std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return {};
  std::string_view v = line.substr(colon + 1);
  while (!v.empty() && (v.front() == ' ' || v.front() == '\t')) v.remove_prefix(1);
  return v;
}
bool key_is(std::string_view line, std::string_view key) {
  if (line.substr(0, key.size()) != key) return false;
  std::string_view rest = line.substr(key.size());
  return rest.find_first_not_of(" \t") == rest.find(':');
}
}  // namespace

int processors_from(std::string_view info) {
  std::set<std::string> ids;
  int cores = 0, entries = 0;
  while (!info.empty()) {
    std::size_t nl = info.find('\n');
    std::string_view line = info.substr(0, nl);
    info = nl == std::string_view::npos ? std::string_view() : info.substr(nl + 1);
    if (key_is(line, "physical id")) ids.insert(std::string(value_of(line)));
    else if (key_is(line, "cpu cores")) cores = std::atoi(std::string(value_of(line)).c_str());
    else if (key_is(line, "processor")) ++entries;
  }
  int n = (!ids.empty() && cores > 0) ? int(ids.size()) * cores : entries;
  return n < 1 ? 1 : n;
}

int processors() {
  std::ifstream in("/proc/cpuinfo");
  std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return processors_from(all);
}

}  // namespace qv::threads
