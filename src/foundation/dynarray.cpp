// dynarray.cpp: the growth rule of the array store and the lines it writes to console and log.
#include "foundation/dynarray.h"

#include <cmath>

#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::dyn {

// Many small appends cost a doubling; a volume of gigabytes overallocates by
// less than 2%. The n/16 stage of the original table could never be reached
// (its bound lay below the one before it), so 1 GiB to 10 GiB steps by n/32.
std::int64_t growth_step(std::int64_t n, std::int64_t size) {
  if (n < 0) n = 0;
  if (size < 1) size = 1;
  std::int64_t b = n > INT64_MAX / size ? INT64_MAX : n * size;
  if (b <= 1048576) return n;
  if (b <= 10485760) return n / 2;
  if (b <= 106954752) return n / 4;
  if (b <= 1073741824) return n / 8;
  if (b <= 10737418240) return n / 32;
  return n / 64;
}

std::string bytes_text(std::int64_t bytes) {
  constexpr const char* units[] = {"", " K", " M", " G", " T", " P"};
  double v = double(bytes);
  int u = 0;
  while ((v >= 1024 || v <= -1024) && u < 5) {
    v /= 1024;
    ++u;
  }
  if (u == 0) return std::to_string(bytes);
  return text::utf8(real::text(std::round(v * 100) / 100)) + units[u];
}

namespace {
std::string product(std::int64_t count, std::int64_t size) {
  return bytes_text(count > INT64_MAX / (size < 1 ? 1 : size) ? INT64_MAX : count * size);
}
}  // namespace

void note_allocation(std::string_view what, std::int64_t count, std::int64_t size) {
  if (!console::logon) return;
  console::log_line("  " + std::string(what) + " : " + product(count, size) + " Bytes (" + std::to_string(count) +
                    " * " + std::to_string(size) + ")");
}

void note_dynamic_first(std::int64_t spare, std::int64_t size) {
  if (!console::logon) return;
  console::log_line("  Allocate first dynamic : " + product(spare, size) + " Bytes ((0 + " + std::to_string(spare) +
                    ") * " + std::to_string(size) + ")");
}

void note_dynamic(std::int64_t length, std::int64_t spare, std::int64_t size) {
  if (!console::logon) return;
  console::log_line("  Allocate dynamic : " + product(length + spare, size) + " Bytes ((" + std::to_string(length) +
                    " + " + std::to_string(spare) + ") * " + std::to_string(size) + ")");
}

void note_release(std::string_view what, std::int64_t capacity, std::int64_t size) {
  note_allocation(what, capacity, size);
}

void note_mismatch(std::int64_t length, std::int64_t spare, std::int64_t capacity) {
  console::log_line("  Deallocation fails! Length: " + std::to_string(length) + " Dynamic length: " +
                    std::to_string(spare) + " Maximal: " + std::to_string(capacity) + " mismatch!");
}

void note_corrupt(std::string_view where, std::int64_t allocated, std::int64_t should) {
  report("  Corrupt memory (" + std::string(where) + " size=" + std::to_string(allocated) +
         " and should=" + std::to_string(should) + ")!");
}

void report(std::string_view message) { print::line(text::ascii(message)); }

}  // namespace qv::dyn
