// read_stack.h: converting stored voxels of any type (a `storage_code`) into the scalar field's element type.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "foundation/packedfile.h"
#include "volumes/scalarfield.h"

namespace qv::scalar {

// Where the voxels come from: an open file, bytes already in memory, or a
// packed (gzip) stream read from its start, whose `size` is only known once
// it has been read to the end; `read` moves it forward (back: from the start).
struct bytesource {
  std::FILE* file = nullptr;
  std::string_view memory;
  std::int64_t size = 0;   // bytes available; for a stream, the most it can give
  packedfile* stream = nullptr;
  bool read(std::int64_t at, void* out, std::size_t n) const;
};

// `storage_code`: 8, -8, 16, -16, 32, -32, 64, -64 (integers, negative when
// signed), 1032, 1064, 1080 (floats), 2024, 2032, 3024, 3032 (8- and 16-bit RGB, RGBA).
struct stackrequest {
  int code = 8;
  bool swap = false;               // the file's byte order is not the host's
  std::int64_t offset = 0;         // first voxel byte
  std::int64_t nx = 0, ny = 0, nz = 0;
  std::int64_t filter_offset = 0, filter_factor = 0;
  double range_min = 0, range_max = 0;   // header range of float data; 0, 0 for none
};

// Sizes `f` (keeping its tag) and fills it from `src`. A short source leaves
// the voxels 0 with the "Wrong file size!" lines. False when no voxels were read.
bool read_stack(scalarfield& f, const bytesource& src, const stackrequest& r);

// The label part of the progress text for a code and target ("-Fullgrey", "Grey|$7F").
widetext stack_label(int code, scalartag target);

// Bytes of one stored voxel (10 for the 80-bit float, 6 and 8 for 16-bit colours).
std::int64_t stored_bytes(int code);
// Voxels the conversion buffer holds: 8 MiB worth, less one.
std::size_t buffer_elements(int code);

}  // namespace qv::scalar
