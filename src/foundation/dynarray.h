// dynarray.h: the 1-based array record that holds all bulk data, with its static and growing forms.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include "foundation/numeric.h"
#include "foundation/randomsource.h"
#include "foundation/widetext.h"

namespace qv {

// Element families. `tag` and `elementsize` are what the log lines and the growth
// rule see; a shorttext counts 512 bytes there, its two planes of the file form.
template <typename T> struct dynfamily { static constexpr std::uint8_t tag = 0; static constexpr std::int64_t size = sizeof(T); };
template <> struct dynfamily<double> { static constexpr std::uint8_t tag = 1; static constexpr std::int64_t size = 8; };
template <> struct dynfamily<std::int64_t> { static constexpr std::uint8_t tag = 2; static constexpr std::int64_t size = 8; };
template <> struct dynfamily<std::uint16_t> { static constexpr std::uint8_t tag = 3; static constexpr std::int64_t size = 2; };
template <> struct dynfamily<std::uint8_t> { static constexpr std::uint8_t tag = 4; static constexpr std::int64_t size = 1; };
template <> struct dynfamily<bool> { static constexpr std::uint8_t tag = 5; static constexpr std::int64_t size = 1; };
template <> struct dynfamily<num::complex> { static constexpr std::uint8_t tag = 6; static constexpr std::int64_t size = 16; };
template <> struct dynfamily<num::natcomplex> { static constexpr std::uint8_t tag = 7; static constexpr std::int64_t size = 16; };
template <> struct dynfamily<num::vector> { static constexpr std::uint8_t tag = 8; static constexpr std::int64_t size = 24; };
template <> struct dynfamily<num::natvector> { static constexpr std::uint8_t tag = 9; static constexpr std::int64_t size = 24; };
template <> struct dynfamily<num::hyper> { static constexpr std::uint8_t tag = 10; static constexpr std::int64_t size = 32; };
template <> struct dynfamily<num::nathyper> { static constexpr std::uint8_t tag = 11; static constexpr std::int64_t size = 32; };
template <> struct dynfamily<void*> { static constexpr std::uint8_t tag = 225; static constexpr std::int64_t size = 8; };
template <> struct dynfamily<shorttext> { static constexpr std::uint8_t tag = 241; static constexpr std::int64_t size = 512; };

// The record families keep a running minimum and maximum, component by component.
template <typename T> struct dynextras {};
template <num::record T> struct dynextras<T> {
  T minimum{}, maximum{};
  bool minvalid = false, maxvalid = false;
};

// `bool` is the bit family: one bit per element, length/8 + 1 bytes in memory.
template <typename T> using dynstore = std::conditional_t<std::is_same_v<T, bool>, std::uint8_t, T>;

// A zero-filled record is a valid, not yet set up array. The record owns its
// block: it moves, and copies only through `dyn::copy`.
template <typename T>
struct dynarray {
  std::uint8_t tag = 0;
  std::uintptr_t check = 0;     // copy of `data` while set up
  std::int64_t capacity = 0;    // elements allocated
  std::int64_t spare = 0;       // allocated beyond `length`; 0 for a static array
  std::int64_t reserved1 = 0, reserved2 = 0, reserved3 = 0;
  std::int64_t guardbefore = 0;
  dynstore<T>* data = nullptr;
  std::int64_t guardmiddle = 0;
  std::int64_t elementsize = 0;
  std::int64_t guardafter = 0;
  std::int64_t length = 0;
  bool sorted = false;
  T defaultvalue{};
  dynextras<T> extras;

  dynarray() = default;
  dynarray(const dynarray&) = delete;
  dynarray& operator=(const dynarray&) = delete;
  dynarray(dynarray&& o) noexcept { take(o); }
  dynarray& operator=(dynarray&& o) noexcept;
  ~dynarray();

 private:
  void take(dynarray& o) noexcept {
    tag = o.tag;
    check = o.check;
    capacity = o.capacity;
    spare = o.spare;
    reserved1 = o.reserved1, reserved2 = o.reserved2, reserved3 = o.reserved3;
    guardbefore = o.guardbefore, guardmiddle = o.guardmiddle, guardafter = o.guardafter;
    data = o.data;
    elementsize = o.elementsize;
    length = o.length;
    sorted = o.sorted;
    defaultvalue = std::move(o.defaultvalue);
    extras = o.extras;
    o.data = nullptr;
    o.check = 1;
    o.capacity = o.spare = o.length = 0;
  }
};

namespace dyn {

// Growth step in elements for a new length of n elements of `size` bytes each.
std::int64_t growth_step(std::int64_t n, std::int64_t size);
// A byte count for the log: "512", "64 K", "1.5 M".
std::string bytes_text(std::int64_t bytes);
// The logged and printed texts of the store, one place for their wording.
void note_allocation(std::string_view what, std::int64_t count, std::int64_t size);
void note_dynamic_first(std::int64_t spare, std::int64_t size);
void note_dynamic(std::int64_t length, std::int64_t spare, std::int64_t size);
void note_release(std::string_view what, std::int64_t capacity, std::int64_t size);
void note_mismatch(std::int64_t length, std::int64_t spare, std::int64_t capacity);
void note_corrupt(std::string_view where, std::int64_t allocated, std::int64_t should);
void report(std::string_view message);   // console and log
// Requests beyond this many bytes fail without asking the allocator.
inline constexpr std::int64_t byte_limit = std::int64_t(1) << 46;

template <typename T> bool initialised(const dynarray<T>& a) {
  return a.data != nullptr && a.check == reinterpret_cast<std::uintptr_t>(a.data);
}
template <typename T> bool sound(const dynarray<T>& a) {
  return a.capacity > 0 && a.capacity - a.spare == a.length;
}
template <typename T> bool guards_clear(const dynarray<T>& a) {
  return a.guardbefore == 0 && a.guardmiddle == 0 && a.guardafter == 0;
}
// Index range (1, length), or (0, 0) when empty.
template <typename T> num::natcomplex range(const dynarray<T>& a) {
  return a.length > 0 ? num::natcomplex{1, a.length} : num::natcomplex{};
}

namespace detail {
constexpr bool overflows(std::int64_t n, std::int64_t size) {
  return n < 0 || size < 1 || n > byte_limit / size;
}
// Slots of storage for `count` elements.
template <typename T> std::int64_t slots(std::int64_t count) {
  if constexpr (std::is_same_v<T, bool>) return count / 8 + 1;
  else return count;
}
// A zeroed block of `count` elements, or nullptr.
template <typename T> dynstore<T>* allocate(std::int64_t count) {
  using S = dynstore<T>;
  std::int64_t n = slots<T>(count);
  if (overflows(n, std::int64_t(sizeof(S)))) return nullptr;
  void* p = std::calloc(std::size_t(n), sizeof(S));
  if (!p) return nullptr;
  S* s = static_cast<S*>(p);
  if constexpr (!std::is_trivially_copyable_v<S>)
    for (std::int64_t i = 0; i < n; ++i) new (s + i) S();
  return s;
}
template <typename T> void release(dynstore<T>* p, std::int64_t count) {
  using S = dynstore<T>;
  if (!p) return;
  if constexpr (!std::is_trivially_destructible_v<S>)
    for (std::int64_t i = 0, n = slots<T>(count); i < n; ++i) p[i].~S();
  std::free(p);
}
// Moves the first `count` elements from one block to another; in the bit
// family the bits past `count` in the last byte are cleared.
template <typename T> void transfer(dynstore<T>* to, dynstore<T>* from, std::int64_t count) {
  using S = dynstore<T>;
  if (count <= 0) return;
  if constexpr (std::is_same_v<T, bool>) {
    std::memcpy(to, from, std::size_t((count + 7) / 8));
    if (count % 8) to[count / 8] &= std::uint8_t((1u << (count % 8)) - 1);
  } else if constexpr (std::is_trivially_copyable_v<S>) {
    std::memcpy(to, from, std::size_t(count) * sizeof(S));
  } else {
    for (std::int64_t i = 0; i < count; ++i) to[i] = std::move(from[i]);
  }
}
// The same as a copy: the source keeps its elements.
template <typename T> void duplicate(dynstore<T>* to, const dynstore<T>* from, std::int64_t count) {
  if constexpr (std::is_trivially_copyable_v<dynstore<T>>) transfer<T>(to, const_cast<dynstore<T>*>(from), count);
  else for (std::int64_t i = 0; i < count; ++i) to[i] = from[i];
}
// Zero-fill of a run of bytes in the widest unit that divides its size.
inline void zero_bytes(unsigned char* p, std::size_t bytes) {
  if (bytes % 8 == 0) { std::uint64_t z = 0; for (std::size_t i = 0; i < bytes; i += 8) std::memcpy(p + i, &z, 8); }
  else if (bytes % 4 == 0) { std::uint32_t z = 0; for (std::size_t i = 0; i < bytes; i += 4) std::memcpy(p + i, &z, 4); }
  else if (bytes % 2 == 0) { std::uint16_t z = 0; for (std::size_t i = 0; i < bytes; i += 2) std::memcpy(p + i, &z, 2); }
  else std::memset(p, 0, bytes);
}
// Elements from index `from` (0-based) to the capacity become zero.
template <typename T> void zero_tail(dynarray<T>& a, std::int64_t from) {
  if (from >= a.capacity) return;
  if constexpr (std::is_same_v<T, bool>) {
    for (std::int64_t i = from; i < a.capacity && i % 8; ++i) a.data[i / 8] &= std::uint8_t(~(1u << (i % 8)));
    std::int64_t first = (from + 7) / 8, end = slots<T>(a.capacity);
    if (first < end) std::memset(a.data + first, 0, std::size_t(end - first));
  } else if constexpr (std::is_trivially_copyable_v<T>) {
    zero_bytes(reinterpret_cast<unsigned char*>(a.data + from), std::size_t(a.capacity - from) * sizeof(T));
  } else {
    for (std::int64_t i = from; i < a.capacity; ++i) a.data[i] = T();
  }
}
// A block of `count` elements that holds the elements of `a`, the rest zero.
// Plain element types grow in place by `realloc`, which spares copying large
// blocks; `moved` then tells that the old block is gone. Everything past the
// length of a sound array is zero already, so only the new part is cleared.
template <typename T> dynstore<T>* regrow(dynarray<T>& a, std::int64_t count, bool& moved) {
  using S = dynstore<T>;
  moved = false;
  if constexpr (std::is_trivially_copyable_v<S>) {
    if (guards_clear(a)) {
      std::int64_t n = slots<T>(count), old = slots<T>(a.capacity);
      if (overflows(n, std::int64_t(sizeof(S)))) return nullptr;
      void* p = std::realloc(static_cast<void*>(a.data), std::size_t(n) * sizeof(S));
      if (!p) return nullptr;
      moved = true;
      S* block = static_cast<S*>(p);
      if (n > old) std::memset(static_cast<void*>(block + old), 0, std::size_t(n - old) * sizeof(S));
      return block;
    }
  }
  dynstore<T>* block = allocate<T>(count);
  if (block) transfer<T>(block, a.data, a.length);
  return block;
}
template <typename T> void make_empty(dynarray<T>& a) {
  a.data = nullptr;
  a.check = 1;
  a.capacity = a.spare = a.length = 0;
  a.sorted = true;
}
// Gives the block back if the guards allow; a record overwritten by a stray
// write leaks its block rather than crash the release.
template <typename T> void release_checked(dynarray<T>& a, std::string_view where) {
  if (!guards_clear(a)) {
    note_corrupt(where, a.capacity * a.elementsize, a.capacity * a.elementsize);
    return;
  }
  release<T>(a.data, a.capacity);
}
template <typename T> void reset_extras(dynarray<T>& a) {
  if constexpr (num::record<T>) a.extras = {};
}
}  // namespace detail

template <typename T> void free(dynarray<T>& a) {
  dynstore<T>* p = a.data;
  a.data = nullptr;
  bool was = p != nullptr && a.check == reinterpret_cast<std::uintptr_t>(p);
  if (was) {
    if (!sound(a)) {
      note_mismatch(a.length, a.spare, a.capacity);
    } else {
      note_release("Deallocate finaly", a.capacity, a.elementsize);
      a.data = p;
      detail::release_checked(a, "Done");
      a.data = nullptr;
    }
  }
  a.capacity = a.spare = a.length = 0;
  a.check = 1;
  a.sorted = false;
  detail::reset_extras(a);
}

// An empty array that grows by itself. Its first spare room is 65536/size
// elements for sizes up to 65536, else `size` elements.
template <typename T> bool dynamic_new(dynarray<T>& a) {
  a.tag = 0;
  a.guardbefore = a.guardmiddle = a.guardafter = 0;
  if (initialised(a)) free(a);
  a.elementsize = dynfamily<T>::size;
  a.tag = dynfamily<T>::tag;
  std::int64_t room = a.elementsize <= 65536 ? 65536 / a.elementsize : a.elementsize;
  a.reserved1 = a.reserved2 = a.reserved3 = 0;
  a.data = detail::allocate<T>(room);
  if (!a.data) {
    report("  Wrong dynamic allocation (Out of memory?)! Create empty field.");
    detail::make_empty(a);
    return false;
  }
  a.check = reinterpret_cast<std::uintptr_t>(a.data);
  a.capacity = a.spare = room;
  a.length = 0;
  a.sorted = true;
  detail::reset_extras(a);
  note_dynamic_first(room, a.elementsize);
  return true;
}

template <typename T> bool resize(dynarray<T>& a, std::int64_t n);

// A static array: its capacity equals its length and it never grows.
template <typename T> bool static_new(dynarray<T>& a, std::int64_t n) {
  a.tag = 0;
  a.guardbefore = a.guardmiddle = a.guardafter = 0;
  if (n < 1) return dynamic_new(a);
  if (initialised(a)) {
    if (sound(a) && a.elementsize == dynfamily<T>::size) {
      a.tag = dynfamily<T>::tag;
      return resize(a, n);
    }
    free(a);
  }
  a.elementsize = dynfamily<T>::size;
  a.tag = dynfamily<T>::tag;
  a.reserved1 = a.reserved2 = a.reserved3 = 0;
  a.data = detail::allocate<T>(n);
  if (!a.data) {
    report("  Wrong static allocation (Out of memory?)! Create empty field.");
    detail::make_empty(a);
    return false;
  }
  a.check = reinterpret_cast<std::uintptr_t>(a.data);
  a.capacity = a.length = n;
  a.spare = 0;
  a.sorted = false;
  detail::reset_extras(a);
  note_allocation("Allocate first", n, a.elementsize);
  return true;
}

template <typename T> bool resize(dynarray<T>& a, std::int64_t n) {
  if (initialised(a) && a.elementsize < 1) {
    report("  Corrupt memory packet (size=" + std::to_string(a.elementsize) + ")!");
    free(a);
    return false;
  }
  if (n < 0) n = 0;
  // A record not yet set up knows its element type, so it is set up here.
  if (!initialised(a)) return n > 0 ? static_new(a, n) : dynamic_new(a);
  if (n < 1) {
    if (a.spare == 0) {
      note_release("Deallocate finaly", a.capacity, a.elementsize);
      detail::release_checked(a, "Newlength-0");
      detail::make_empty(a);
      a.check = 0;
      return true;
    }
    detail::zero_tail(a, 0);
    a.length = 0;
    a.spare = a.capacity;
    a.sorted = true;
    return true;
  }
  if (a.spare == 0) {
    dynstore<T>* block = detail::allocate<T>(n);
    if (!block) {
      report("  Not enough Memory! Create empty field.");
      detail::release_checked(a, "Newlength-static");
      detail::make_empty(a);
      return false;
    }
    detail::transfer<T>(block, a.data, std::min(a.length, n));
    note_release("Deallocate", a.capacity, a.elementsize);
    detail::release_checked(a, "Newlength-static");
    a.data = block;
    a.check = reinterpret_cast<std::uintptr_t>(block);
    a.capacity = a.length = n;
    note_allocation("Allocate first", n, a.elementsize);
    return true;
  }
  if (n < a.capacity) {
    detail::zero_tail(a, n);
    a.length = n;
    a.spare = a.capacity - n;
    a.sorted = false;
    return true;
  }
  std::int64_t step = growth_step(n, a.elementsize);
  std::int64_t spare = std::max(a.spare, step);
  bool moved = false;
  dynstore<T>* block = detail::overflows(n + spare, a.elementsize) ? nullptr : detail::regrow(a, n + spare, moved);
  if (!block) {
    spare = 0;
    block = detail::regrow(a, n, moved);
    if (!block) {
      report("  Not enough Memory! Create empty field.");
      detail::release_checked(a, "Newlength-dynamic");
      detail::make_empty(a);
      return false;
    }
    report("  Not enough Memory! Disable dynamic memory.");
  }
  note_release("Deallocate", a.capacity, a.elementsize);
  if (!moved) detail::release_checked(a, "Newlength-dynamic");
  a.data = block;
  a.check = reinterpret_cast<std::uintptr_t>(block);
  a.length = n;
  a.spare = spare;
  a.capacity = n + spare;
  if (spare > 0) note_dynamic(n, spare, a.elementsize);
  else note_allocation("Allocate first", n, a.elementsize);
  return true;
}

// The element at 1-based `i`, or the default value outside 1..length.
template <typename T> T get(const dynarray<T>& a, std::int64_t i) {
  if (i < 1 || i > a.length || !a.data) return a.defaultvalue;
  if constexpr (std::is_same_v<T, bool>) return (a.data[(i - 1) / 8] >> ((i - 1) % 8)) & 1u;
  else return a.data[i - 1];
}

namespace detail {
template <typename T> void store(dynarray<T>& a, std::int64_t i, const T& v) {
  if constexpr (std::is_same_v<T, bool>) {
    std::uint8_t bit = std::uint8_t(1u << ((i - 1) % 8));
    if (v) a.data[(i - 1) / 8] |= bit;
    else a.data[(i - 1) / 8] &= std::uint8_t(~bit);
  } else {
    a.data[i - 1] = v;
  }
  if constexpr (num::record<T>) {
    auto& e = a.extras;
    e.minimum = e.minvalid ? num::min_each(e.minimum, v) : v;
    e.maximum = e.maxvalid ? num::max_each(e.maximum, v) : v;
    e.minvalid = e.maxvalid = true;
  }
}
}  // namespace detail

// Stores at 1-based `i`. Below 1: ignored. Past the length: a dynamic array
// grows (the elements between stay zero), a static one ignores it.
template <typename T> void set(dynarray<T>& a, std::int64_t i, const std::type_identity_t<T>& v) {
  a.sorted = false;
  if (i < 1 || !a.data) return;
  if (i > a.length) {
    if (a.spare <= 0) return;
    if (i < a.capacity) {
      a.length = i;
      a.spare = a.capacity - i;
    } else if (!resize(a, i)) {
      return;
    }
    a.sorted = false;
  }
  detail::store(a, i, v);
}
template <typename T> void append(dynarray<T>& a, const std::type_identity_t<T>& v) { set(a, a.length + 1, v); }

// Raw address of an element plus a byte offset, or nullptr out of range.
template <typename T> unsigned char* pointer(dynarray<T>& a, std::int64_t i, std::int64_t byteoffset = 0) {
  if (i < 1 || i > a.length || !a.data) return nullptr;
  if constexpr (std::is_same_v<T, bool>) return reinterpret_cast<unsigned char*>(a.data + (i - 1) / 8) + byteoffset;
  else return reinterpret_cast<unsigned char*>(a.data + (i - 1)) + byteoffset;
}

namespace detail {
template <typename T> bool before(const T& a, const T& b) {
  if constexpr (std::is_same_v<T, shorttext>) return text::less(a.str(), b.str());
  else if constexpr (num::record<T>) return num::less(a, b);
  else if constexpr (std::is_floating_point_v<T>) return a < b || (!(a != a) && b != b);   // NaN last
  else return a < b;
}
template <typename T> bool same(const T& a, const T& b) {
  if constexpr (num::record<T>) return !num::notequal(a, b);
  else return a == b;
}
// First 1-based index whose element is not before `v` (binary search).
template <typename T> std::int64_t lower_bound(const dynarray<T>& a, const T& v) {
  std::int64_t lo = 1, hi = a.length + 1;
  while (lo < hi) {
    std::int64_t mid = lo + (hi - lo) / 2;
    if (before(get(a, mid), v)) lo = mid + 1;
    else hi = mid;
  }
  return lo;
}
}  // namespace detail

// First index holding `v`, 0 if none; binary search while `sorted`.
template <typename T> std::int64_t find_first(const dynarray<T>& a, const std::type_identity_t<T>& v) {
  if (a.sorted && a.length > 0) {
    std::int64_t i = detail::lower_bound(a, v);
    return i <= a.length && detail::same(get(a, i), v) ? i : 0;
  }
  for (std::int64_t i = 1; i <= a.length; ++i)
    if (detail::same(get(a, i), v)) return i;
  return 0;
}
// Last index at or before `from` holding `v`, 0 if none.
template <typename T> std::int64_t find_last(const dynarray<T>& a, const std::type_identity_t<T>& v, std::int64_t from) {
  for (std::int64_t i = std::min(from, a.length); i >= 1; --i)
    if (detail::same(get(a, i), v)) return i;
  return 0;
}
inline std::int64_t find_last(const dynarray<shorttext>& a, const shorttext& v) {
  return find_last(a, v, a.length);
}
// First index whose element is at or above `v`, 0 if none.
template <typename T> std::int64_t find_atleast(const dynarray<T>& a, const std::type_identity_t<T>& v) {
  if (a.sorted) {
    std::int64_t i = detail::lower_bound(a, v);
    return i <= a.length ? i : 0;
  }
  for (std::int64_t i = 1; i <= a.length; ++i)
    if (!detail::before(get(a, i), v)) return i;
  return 0;
}
template <typename T> std::int64_t count(const dynarray<T>& a, const std::type_identity_t<T>& v) {
  std::int64_t c = 0;
  for (std::int64_t i = 1; i <= a.length; ++i) c += detail::same(get(a, i), v) ? 1 : 0;
  return c;
}

namespace detail {
template <typename T> void exchange(dynarray<T>& a, std::int64_t i, std::int64_t j) {
  if constexpr (std::is_same_v<T, bool>) {
    bool x = get(a, i), y = get(a, j);
    store(a, i, y);
    store(a, j, x);
  } else {
    std::swap(a.data[i - 1], a.data[j - 1]);
  }
}
}  // namespace detail

// `length` swaps of two elements picked at random.
template <typename T> void shuffle(dynarray<T>& a) {
  for (std::int64_t k = 0; k < a.length; ++k)
    detail::exchange(a, random::nat(a.length) + 1, random::nat(a.length) + 1);
  if (a.length > 1) a.sorted = false;
}

template <typename T> void sort(dynarray<T>& a) {
  if (a.length > 0 && a.data) {
    if constexpr (std::is_same_v<T, bool>) {
      std::int64_t ones = count(a, true);
      for (std::int64_t i = 1; i <= a.length; ++i) detail::store(a, i, i > a.length - ones);
    } else {
      std::sort(a.data, a.data + a.length, [](const T& x, const T& y) { return detail::before(x, y); });
    }
  }
  a.sorted = true;
}

// Exchanges the blocks of two arrays of equal element size and length.
template <typename T> bool swap(dynarray<T>& a, dynarray<T>& b) {
  if (a.elementsize != b.elementsize || a.length != b.length) return false;
  std::swap(a.data, b.data);
  std::swap(a.check, b.check);
  std::swap(a.capacity, b.capacity);
  std::swap(a.spare, b.spare);
  std::swap(a.sorted, b.sorted);
  std::swap(a.extras, b.extras);
  return true;
}

// An independent copy of the same kind (static or dynamic).
template <typename T> dynarray<T> copy(const dynarray<T>& a) {
  dynarray<T> out;
  out.defaultvalue = a.defaultvalue;
  if (!initialised(a)) return out;
  if (a.spare > 0 || a.length == 0) {
    if (!dynamic_new(out) || (a.length > 0 && !resize(out, a.length))) return out;
  } else if (!static_new(out, a.length)) {
    return out;
  }
  detail::duplicate<T>(out.data, a.data, a.length);
  out.sorted = a.sorted;
  out.extras = a.extras;
  return out;
}

}  // namespace dyn

template <typename T> dynarray<T>& dynarray<T>::operator=(dynarray&& o) noexcept {
  if (this != &o) {
    dyn::free(*this);
    take(o);
  }
  return *this;
}
template <typename T> dynarray<T>::~dynarray() { dyn::free(*this); }

}  // namespace qv
