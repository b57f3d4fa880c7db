// trackvis.cpp: the TrackVis `.trk` writer: a 1000-byte little-endian header, then each line as a
// point count and float32 x, y, z triples.
//
// Known limits: no scalars and no properties per point or line; t is not written;
// `vox_to_ras` stays zero, so readers take the "LPS" voxel order. Coordinates are
// rounded to float32. Writing only: there is no TrackVis reader.
#include <bit>
#include <cstring>
#include <vector>

#include "foundation/numeric.h"
#include "foundation/progress.h"
#include "lines/formats/line_formats.h"

namespace qv::lineformat {
namespace {

static_assert(std::endian::native == std::endian::little, "the .trk writer stores native little-endian values");

template <typename T>
void at(unsigned char (&h)[1000], std::size_t offset, T v) {
  std::memcpy(h + offset, &v, sizeof v);
}

// A cloud without a frame has zero voxel sizes, which readers divide by: 1 stands in.
float voxel(double v) { return v == 0 ? 1.0f : float(v); }

std::int16_t dim(double v) {
  return std::int16_t(nat::clamp(real::round(v), -32768, 32767));
}

}  // namespace

void trackvis_header(const cloud& c, unsigned char (&h)[1000]) {
  std::memset(h, 0, sizeof h);
  std::memcpy(h, "TRACK", 6);   // with its zero byte
  at(h, 6, dim(c.size.x));
  at(h, 8, dim(c.size.y));
  at(h, 10, dim(c.size.z));
  at(h, 12, voxel(c.scale.x));
  at(h, 16, voxel(c.scale.y));
  at(h, 20, voxel(c.scale.z));
  at(h, 24, float(c.offset.x));
  at(h, 28, float(c.offset.y));
  at(h, 32, float(c.offset.z));
  // n_scalars (36), the scalar names, n_properties (238), the property names,
  // vox_to_ras (440) and the reserved bytes stay zero.
  std::memcpy(h + 948, "LPS", 4);   // voxel_order
  std::memcpy(h + 952, "LPS", 4);   // pad2
  const float orientation[6] = {1, 0, 0, 0, 1, 0};
  std::memcpy(h + 956, orientation, sizeof orientation);
  h[980] = 1;   // pad1
  h[981] = 2;
  at(h, 988, std::int32_t(nat::clamp(line::line_count(c), 0, INT32_MAX)));
  at(h, 992, std::int32_t(2));
  at(h, 996, std::int32_t(1000));
}

void write_trackvis(const cloud& c, textsink& out) {
  unsigned char header[1000];
  trackvis_header(c, header);
  out.raw(header, sizeof header);
  const std::int64_t lines = line::line_count(c);
  const wideview title = u"  Write Track-file";
  progress::set(0, title);
  // Counts and coordinates go into blocks of 4 MB that the sink writes straight out.
  constexpr std::size_t room = 1 << 20;
  std::vector<float> block(room);
  std::size_t used = 0;
  const num::hyper* p = c.points.data();
  for (std::int64_t l = 1; l <= lines; ++l) {
    if ((l & 0x3FFF) == 0) progress::set(double(l) / double(lines), title);
    const std::int64_t b = line::line_begin(c, l), e = line::line_end(c, l);
    const std::int32_t count = std::int32_t(e - b);
    if (used == room) {
      out.raw(block.data(), room * sizeof(float));
      used = 0;
    }
    std::memcpy(&block[used++], &count, sizeof count);
    for (std::int64_t i = b; i < e; ++i) {
      if (used + 3 > room) {
        out.raw(block.data(), used * sizeof(float));
        used = 0;
      }
      float* q = &block[used];
      q[0] = float(p[i].x);
      q[1] = float(p[i].y);
      q[2] = float(p[i].z);
      used += 3;
    }
  }
  out.raw(block.data(), used * sizeof(float));
  progress::end(title);
}

}  // namespace qv::lineformat
