// tensor_nifti.cpp: the NIfTI-1 form of tensor fields, single file and gzip, both directions.
//
// The program writes five dimensions (x, y, z, 1, 6) with intent SYMMATRIX and
// the six components as planes in its own order xx, yy, zz, xy, xz, yz; it
// reads that form and the 4D form with the six planes on dim[4]. Stored types:
// float32, float64 and signed or unsigned integers of 8 to 64 bits. The file
// is taken into memory whole, so every size is checked against the bytes read.
#include "orientation/formats/tensor_formats.h"

#include <zlib.h>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/packedfile.h"
#include "foundation/progress.h"
#include "volumes/formats/nifti.h"
#include "volumes/formats/nifti_header.h"

namespace qv::tensor {
namespace {

constexpr std::int16_t intent_symmatrix = 1005;

widetext sizes(std::int64_t x, std::int64_t y, std::int64_t z) {
  return nat::text(x) + u"x" + nat::text(y) + u"x" + nat::text(z);
}

struct gzcloser { void operator()(gzFile f) const { if (f) gzclose(f); } };
using gzhandle = std::unique_ptr<std::remove_pointer_t<gzFile>, gzcloser>;

// Plane c of the six, x fastest, gathered from the stacks into `Out`.
template <typename T, typename Out>
bool write_planes(gzFile out, const T* d, const T* o, std::int64_t n, const widetext& label) {
  std::vector<Out> line;
  for (int c = 0; c < 6; ++c) {
    progress::set(c / 6.0, label);
    const T* src = (c < 3 ? d : o) + c % 3;
    for (std::int64_t start = 0; start < n; start += 65536) {
      const std::int64_t count = std::min<std::int64_t>(65536, n - start);
      line.resize(std::size_t(count));
      for (std::int64_t i = 0; i < count; ++i) line[std::size_t(i)] = Out(src[3 * (start + i)]);
      const unsigned bytes = unsigned(count * std::int64_t(sizeof(Out)));
      if (gzwrite(out, line.data(), bytes) != int(bytes)) return false;
    }
  }
  progress::end(label);
  return true;
}

}  // namespace

bool save_nifti(const tensorfield& f, const std::string& name, bool zipped) {
  if (f.width > 32767 || f.height > 32767 || f.depth > 32767) return false;
  gzhandle out(gzopen(name.c_str(), zipped ? "wb6" : "wbT"));
  if (!out) return false;
  const bool integer = f.tag == tensortag::nat;
  nifti::header h = nifti::make_header(f.width, f.height, f.depth, integer ? 1024 : 64, 64, f.frame.matrix,
                                       f.frame.offset, false);
  h.dim[0] = 5;
  h.dim[4] = 1;
  h.dim[5] = 6;
  h.pixdim[4] = h.pixdim[5] = 1;
  h.intent_code = intent_symmatrix;
  std::memset(h.descrip, 0, sizeof h.descrip);
  std::memcpy(h.descrip, "quorvex tensor field", 20);
  std::memset(h.intent_name, 0, sizeof h.intent_name);
  std::memcpy(h.intent_name, "SYMMATRIX", 9);
  const std::string head = nifti::bytes_of(h) + std::string(4, '\0');   // no extensions
  if (gzwrite(out.get(), head.data(), unsigned(head.size())) != int(head.size())) return false;
  const widetext label = (integer ? u"  3DTensor64 with (" : u"  3DTensor with (") + sizes(f.width, f.height, f.depth) + u")";
  bool ok = true;
  with_elements(f, [&](const auto* d, const auto* o, std::int64_t n) {
    using T = std::remove_cv_t<std::remove_pointer_t<decltype(d)>>;
    ok = write_planes<T, T>(out.get(), d, o, n, label);
  });
  return ok && gzclose(out.release()) == Z_OK;
}

namespace {

// The stored type: bytes per value and the label part; 0 bytes if not taken.
struct storedtype {
  int bytes = 0;
  const char16_t* name = u"";
  bool real = false;
};
storedtype stored(std::int16_t datatype) {
  switch (datatype) {
    case 2: return {1, u"8Bit", false};
    case 256: return {1, u"-8Bit", false};
    case 4: return {2, u"-16Bit", false};
    case 512: return {2, u"16Bit", false};
    case 8: return {4, u"-32Bit", false};
    case 768: return {4, u"32Bit", false};
    case 1024: return {8, u"-64Bit", false};
    case 1280: return {8, u"64Bit", false};
    case 16: return {4, u"32Float", true};
    case 64: return {8, u"64Float", true};
    default: return {};
  }
}

template <typename S>
S value(const unsigned char* p, bool swap) {
  unsigned char b[sizeof(S)];
  if (swap)
    for (std::size_t i = 0; i < sizeof(S); ++i) b[i] = p[sizeof(S) - 1 - i];
  else
    std::memcpy(b, p, sizeof(S));
  S v;
  std::memcpy(&v, b, sizeof v);
  return v;
}

// Plane c into its stack slot, stored type S to element type T, times the slope plus the intercept.
template <typename S, typename T>
void read_plane(const unsigned char* p, std::int64_t n, bool swap, T* dst, double slope, double inter) {
  const bool plain = slope == 1 && inter == 0;
  for (std::int64_t i = 0; i < n; ++i, p += sizeof(S), dst += 3) {
    const S v = value<S>(p, swap);
    if constexpr (std::is_same_v<S, T>) {
      if (plain) { *dst = v; continue; }
    }
    *dst = vector::store<T>(double(v) * slope + inter);
  }
}

template <typename T>
void read_plane_as(std::int16_t datatype, const unsigned char* p, std::int64_t n, bool swap, T* dst, double slope,
                   double inter) {
  switch (datatype) {
    case 2: return read_plane<std::uint8_t>(p, n, swap, dst, slope, inter);
    case 256: return read_plane<std::int8_t>(p, n, swap, dst, slope, inter);
    case 4: return read_plane<std::int16_t>(p, n, swap, dst, slope, inter);
    case 512: return read_plane<std::uint16_t>(p, n, swap, dst, slope, inter);
    case 8: return read_plane<std::int32_t>(p, n, swap, dst, slope, inter);
    case 768: return read_plane<std::uint32_t>(p, n, swap, dst, slope, inter);
    case 1024: return read_plane<std::int64_t>(p, n, swap, dst, slope, inter);
    case 1280: return read_plane<std::uint64_t>(p, n, swap, dst, slope, inter);
    case 16: return read_plane<float>(p, n, swap, dst, slope, inter);
    case 64: return read_plane<double>(p, n, swap, dst, slope, inter);
    default: return;
  }
}

// The whole file, unpacked if it is gzip; false if it cannot be opened.
bool read_file(const std::string& name, std::string& bytes) {
  packedfile p;
  if (!packed::open(p, name)) return false;
  bytes.clear();
  char buffer[1 << 16];
  for (std::size_t k; (k = packed::read(p, buffer, sizeof buffer)) > 0;) bytes.append(buffer, k);
  return true;
}

// The frame the header describes (sform, else qform, else voxel sizes), printed with its inverse.
void apply_frame(tensorfield& f, const nifti::header& h) {
  scalar::frame_from_header(h, f.frame);
  print::line(u"  Transformation: " + matrix_text(f.frame.matrix) + u" + " + vector_text(f.frame.offset));
  print::line(u"  Inverse       : " + matrix_text(f.frame.inverse));
}

bool empty_with(tensorfield& f, wideview line) {
  print::line(line);
  clear_field(f);
  return false;
}

}  // namespace

bool load_nifti(tensorfield& f, const std::string& name, vector::niftipart part) {
  const widetext wname = text::from_utf8(name);
  std::string bytes;
  if (!read_file(name, bytes) || bytes.size() < nifti::header_size)
    return empty_with(f, u"  Couldn't read File (" + wname + u")! Create empty field.");
  nifti::header h;
  bool swap = false;
  const nifti::headerkind kind = nifti::parse(std::string_view(bytes).substr(0, nifti::header_size), h, swap);
  if (kind == nifti::headerkind::nifti2) return empty_with(f, u"  Nifti-2 currently not supported! Create empty field.");
  if (kind != nifti::headerkind::nifti1) return empty_with(f, u"  Wrong header! Create empty field.");
  std::int64_t dim[8];
  for (int i = 0; i < 8; ++i) dim[i] = h.dim[i];
  // The six components on dim[5] (the program's own form) or on dim[4] of a 4D file.
  std::int64_t components = 0;
  if (dim[0] >= 5 && dim[4] <= 1) components = dim[5];
  else if (dim[0] == 4) components = dim[4];
  if (dim[0] < 4 || dim[0] > 7 || dim[1] < 1 || dim[2] < 1 || dim[3] < 1 || components != 6)
    return empty_with(f, u"  Bad dim size (" + sizes(dim[1], dim[2], dim[3]) + u")! Create empty field.");
  const storedtype type = stored(h.datatype);
  if (type.bytes == 0) return empty_with(f, u"  Bad datatype [" + nat::text(h.datatype) + u"]! Create empty field.");
  const std::uint8_t tag = type.real ? 88 : 89;
  if (part == vector::niftipart::frame) {
    apply_frame(f, h);
    return true;
  }
  const std::int64_t n = dim[1] * dim[2] * dim[3];
  if (part == vector::niftipart::all) {
    const double offset = h.vox_offset > 352 ? std::round(std::fmin(double(h.vox_offset), 1e15)) : 352.0;
    if (double(bytes.size()) < offset + double(n) * 6 * type.bytes)
      return empty_with(f, u"  Wrong file size! Header:" + sizes(dim[1], dim[2], dim[3]) + u" Create empty field.");
  }
  if (!create_field(f, tag, dim[1], dim[2], dim[3]))
    return empty_with(f, u"  Bad dim size (" + sizes(dim[1], dim[2], dim[3]) + u")! Create empty field.");
  if (part == vector::niftipart::all) {
    const std::int64_t offset = h.vox_offset > 352 ? std::int64_t(std::llround(h.vox_offset)) : 352;
    const double slope = std::isfinite(h.scl_slope) && h.scl_slope != 0 ? h.scl_slope : 1.0;
    const double inter = slope != 1.0 && std::isfinite(h.scl_inter) ? h.scl_inter : 0.0;
    const widetext label = u"  3DTensor (" + widetext(type.name) + u") with (" + sizes(dim[1], dim[2], dim[3]) + u")";
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data()) + offset;
    with_elements(f, [&](auto* d, auto* o, std::int64_t) {
      for (int c = 0; c < 6; ++c) {
        progress::set(c / 6.0, label);
        read_plane_as(h.datatype, p + std::int64_t(c) * n * type.bytes, n, swap, (c < 3 ? d : o) + c % 3, slope, inter);
      }
    });
    progress::end(label);
  }
  apply_frame(f, h);
  return true;
}

}  // namespace qv::tensor
