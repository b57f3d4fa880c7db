// voxelstore.h: the vector type that holds bulk voxels, whose blocks start as zeros without a pass over them.
#pragma once
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

namespace qv {

namespace memory {
// The machine's memory in bytes (0 when the system does not say). A block larger
// than this can never be filled, so the stores refuse it before asking for it.
double physical();
}  // namespace memory

namespace voxelblock {
// Zeroed bytes: small blocks from `calloc`; large ones as fresh pages, which
// the kernel gives zeroed, asked for in 2 MiB units so that a reader's first
// writes fault once per 2 MiB rather than once per 4 KiB.
void* take(std::size_t bytes);   // nullptr when out of memory
void give(void* p, std::size_t bytes);
}  // namespace voxelblock

// A resize constructs nothing, so a new field costs no zero fill and a reader's
// first write is the only touch of each page. Shrinking and regrowing inside
// the capacity would show the old values again: fields are sized from empty
// (capacity 0) only.
template <typename T>
struct zeroedalloc {
  using value_type = T;
  zeroedalloc() = default;
  template <typename U>
  zeroedalloc(const zeroedalloc<U>&) {}
  T* allocate(std::size_t n) {
    if (n > std::size_t(-1) / sizeof(T)) throw std::bad_alloc();
    void* p = voxelblock::take(n * sizeof(T));
    if (!p) throw std::bad_alloc();
    return static_cast<T*>(p);
  }
  void deallocate(T* p, std::size_t n) { voxelblock::give(p, n * sizeof(T)); }
  template <typename U, typename... A>
  void construct(U* p, A&&... a) {
    if constexpr (sizeof...(A) > 0) ::new (static_cast<void*>(p)) U(std::forward<A>(a)...);
  }
  friend bool operator==(const zeroedalloc&, const zeroedalloc&) { return true; }
};

template <typename T>
using voxelvector = std::vector<T, zeroedalloc<T>>;

}  // namespace qv
