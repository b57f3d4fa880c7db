// packedfile.h: a file read from its start straight into the caller's memory, gzip and plain alike.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

struct gzFile_s;

namespace qv {

// zlib's reader: gzip members are inflated straight into the caller's block
// (reads above its 256 KiB buffer skip the buffer), plain files are copied.
struct packedfile {
  gzFile_s* stream = nullptr;
  bool zipped = false;
  std::int64_t stored = 0;      // bytes on disk
  std::int64_t delivered = 0;   // bytes given out so far
  packedfile() = default;
  packedfile(const packedfile&) = delete;
  packedfile& operator=(const packedfile&) = delete;
  ~packedfile() { close(); }
  void close();
  explicit operator bool() const { return stream != nullptr; }
};

namespace packed {
// Deflate expands at most 1032 to 1: no gzip file gives more than this many bytes per byte.
inline constexpr std::int64_t most_expansion = 1032;

bool open(packedfile& p, const std::string& name);
// Up to `n` bytes into `out`; fewer only at the end of the data or where a
// damaged gzip stream stops (what came before the damage is kept).
std::size_t read(packedfile& p, void* out, std::size_t n);
// Moves on to byte `at` of the unpacked data (back means reading again from the start).
bool seek(packedfile& p, std::int64_t at);
// The most bytes the file can give: its size, or for gzip the expansion limit.
std::int64_t bound(const packedfile& p);
// Reads to the end and gives the whole unpacked size, for the report of a short file.
std::int64_t total(packedfile& p);
}  // namespace packed
}  // namespace qv
