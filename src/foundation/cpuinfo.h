// cpuinfo.h: the number of processor cores, from the system's processor description.
#pragma once
#include <string_view>

namespace qv::threads {
// Cores = distinct "physical id" values times "cpu cores"; without those keys the
// count of "processor" entries; at least 1.
int processors();
int processors_from(std::string_view cpuinfo);
}  // namespace qv::threads
