// voxelstore.cpp: zeroed blocks for voxels, large ones as whole 2 MiB pages.
#include "foundation/voxelstore.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace qv::memory {
double physical() {
  static const double bytes = [] {
    const long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGE_SIZE);
    return pages > 0 && size > 0 ? double(pages) * double(size) : 0.0;
  }();
  return bytes;
}
}  // namespace qv::memory

namespace qv::voxelblock {
namespace {
constexpr std::size_t unit = std::size_t(2) << 20;
constexpr std::size_t large = 2 * unit;   // below this, calloc's own blocks serve
std::size_t whole_units(std::size_t bytes) { return (bytes + unit - 1) / unit * unit; }
}  // namespace

void* take(std::size_t bytes) {
  if (bytes < large) return std::calloc(bytes ? bytes : 1, 1);
  // A block beyond the machine's memory could never be filled: a header or a
  // coordinate that asks for one gets the out-of-memory path at once, before
  // the system hands out address room that the first pass over it would exhaust.
  const double physical = memory::physical();
  if (physical > 0 && double(bytes) > physical) return nullptr;
  const std::size_t need = whole_units(bytes);
  if (need < bytes || need + unit < need) return nullptr;
  // One unit more than needed, so that an aligned run lies inside; the rest goes back.
  void* raw = mmap(nullptr, need + unit, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  const auto start = std::uintptr_t(raw), aligned = (start + unit - 1) / unit * unit;
  if (aligned > start) munmap(raw, aligned - start);
  if (start + unit > aligned) munmap(reinterpret_cast<void*>(aligned + need), start + unit - aligned);
  madvise(reinterpret_cast<void*>(aligned), need, MADV_HUGEPAGE);
  return reinterpret_cast<void*>(aligned);
}

void give(void* p, std::size_t bytes) {
  if (!p) return;
  if (bytes < large) std::free(p);
  else munmap(p, whole_units(bytes));
}

}  // namespace qv::voxelblock
