// vector_nifti.cpp: the NIfTI-1 form of vector fields (5D, intent VECTOR), single file and gzip, both directions.
//
// Known limits: the .hdr/.img pair is written and read unzipped only; stored
// types float32, float64, signed and unsigned 8 to 64 bit integers and RGB24;
// the vector components must stand on dim[5] (or dim[4] when dim[0] is 4).
// The 348 header bytes are read and written by the volume code's header routines.
#include "orientation/formats/vector_formats.h"

#include <zlib.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/packedfile.h"
#include "foundation/progress.h"
#include "volumes/formats/nifti_header.h"

namespace qv::vector {
namespace {

constexpr std::int16_t intent_vector = 1007;

template <typename T>
T take(const unsigned char* h, std::size_t at) {
  T v;
  std::memcpy(&v, h + at, sizeof v);
  return v;
}

struct gzcloser { void operator()(gzFile f) const { if (f) gzclose(f); } };
using gzhandle = std::unique_ptr<std::remove_pointer_t<gzFile>, gzcloser>;

// The volume header with the vector form's changes: five dimensions with the
// three components on dim[5], intent VECTOR, doubles or 64-bit integers.
nifti::header vector_header(const vectorfield& f, bool integer, bool pair) {
  nifti::header h = nifti::make_header(f.width, f.height, f.depth, integer ? 1024 : 64, 64, f.frame.matrix,
                                       f.frame.offset, pair);
  h.dim[0] = 5;
  h.dim[5] = 3;
  h.intent_code = intent_vector;
  std::memset(h.descrip, 0, sizeof h.descrip);
  std::memcpy(h.descrip, "quorvex vector field", 20);
  std::memcpy(h.intent_name, "VECTOR", 6);
  return h;
}

// Component planes, each x fastest: all x components, then all y, then all z.
template <typename T, typename Out>
bool write_planes(gzFile out, const T* d, std::int64_t n, vector scale, const widetext& label) {
  std::vector<Out> line;
  const double k[3] = {scale.x, scale.y, scale.z};
  for (int c = 0; c < 3; ++c) {
    progress::set(c / 3.0, label);
    for (std::int64_t start = 0; start < n; start += 65536) {
      const std::int64_t count = std::min<std::int64_t>(65536, n - start);
      line.resize(std::size_t(count));
      for (std::int64_t i = 0; i < count; ++i) {
        const double v = double(d[3 * (start + i) + c]) * k[c];
        if constexpr (std::is_same_v<Out, double>) line[std::size_t(i)] = v;
        else line[std::size_t(i)] = framemath::round(v);
      }
      const unsigned bytes = unsigned(count * std::int64_t(sizeof(Out)));
      if (gzwrite(out, line.data(), bytes) != int(bytes)) return false;
    }
  }
  progress::end(label);
  return true;
}

widetext sizes(std::int64_t x, std::int64_t y, std::int64_t z) {
  return nat::text(x) + u"x" + nat::text(y) + u"x" + nat::text(z);
}

}  // namespace

namespace {

// "x.hdr" and "x.img" name the Analyze-style pair: the 348 header bytes in
// "x.hdr" (magic "ni1", vox_offset 0), the voxels alone in "x.img".
bool pair_name(const std::string& name, std::string& header, std::string& data) {
  std::string low = name;
  for (char& c : low) c = char(c >= 'A' && c <= 'Z' ? c + 32 : c);
  if (!low.ends_with(".hdr") && !low.ends_with(".img")) return false;
  const std::string stem = name.substr(0, name.size() - 4);
  header = stem + ".hdr", data = stem + ".img";
  return true;
}

}  // namespace

bool save_nifti(const vectorfield& f, const std::string& name, vector scale, bool zipped) {
  if (f.width > 32767 || f.height > 32767 || f.depth > 32767) return false;
  std::string headname = name, dataname = name;
  const bool pair = !zipped && pair_name(name, headname, dataname);
  gzhandle out(gzopen(headname.c_str(), zipped ? "wb6" : "wbT"));
  if (!out) return false;
  const bool integer = f.tag != vectortag::real;
  const std::string h = nifti::bytes_of(vector_header(f, integer, pair)) + std::string(pair ? 0 : 4, '\0');   // a single file: no extensions
  if (gzwrite(out.get(), h.data(), unsigned(h.size())) != int(h.size())) return false;
  if (pair) {
    if (gzclose(out.release()) != Z_OK) return false;
    out.reset(gzopen(dataname.c_str(), "wbT"));
    if (!out) return false;
  }
  const widetext label = u"  3DVector with (" + sizes(f.width, f.height, f.depth) + u")";
  bool ok = true;
  with_elements(f, [&](const auto* d, std::int64_t n) {
    ok = integer ? write_planes<std::remove_cv_t<std::remove_pointer_t<decltype(d)>>, std::int64_t>(out.get(), d, n, scale, label)
                 : write_planes<std::remove_cv_t<std::remove_pointer_t<decltype(d)>>, double>(out.get(), d, n, scale, label);
  });
  return ok && gzclose(out.release()) == Z_OK;
}

namespace {

// Bytes per stored value and how to read one, by NIfTI datatype; 0 if not handled.
int value_bytes(std::int16_t datatype) {
  switch (datatype) {
    case 2: case 256: return 1;
    case 4: case 512: return 2;
    case 8: case 768: case 16: return 4;
    case 1024: case 1280: case 64: return 8;
    default: return 0;
  }
}

// `count` stored values of type S, byte order fixed first, into component `c`
// of the vectors from `start` on (RGB: all three components of each voxel).
template <typename S, typename T>
void put_values(T* d, unsigned char* b, std::int64_t start, std::int64_t count, int c, bool swap, bool rgb) {
  if (rgb) {
    for (std::int64_t i = 0; i < 3 * count; ++i) d[3 * start + i] = store<T>(b[i]);
    return;
  }
  if (swap && sizeof(S) > 1)
    for (std::int64_t i = 0; i < count; ++i) std::reverse(b + i * std::int64_t(sizeof(S)), b + (i + 1) * std::int64_t(sizeof(S)));
  T* out = d + 3 * start + c;
  for (std::int64_t i = 0; i < count; ++i) out[3 * i] = store<T>(double(take<S>(b, std::size_t(i) * sizeof(S))));
}

// One stored type per datatype, chosen once per block.
template <typename T>
void put_block(T* d, unsigned char* b, std::int64_t start, std::int64_t count, int c, std::int16_t datatype, bool swap) {
  switch (datatype) {
    case 128: put_values<std::uint8_t>(d, b, start, count, c, swap, true); break;
    case 2: put_values<std::uint8_t>(d, b, start, count, c, swap, false); break;
    case 256: put_values<std::int8_t>(d, b, start, count, c, swap, false); break;
    case 4: put_values<std::int16_t>(d, b, start, count, c, swap, false); break;
    case 512: put_values<std::uint16_t>(d, b, start, count, c, swap, false); break;
    case 8: put_values<std::int32_t>(d, b, start, count, c, swap, false); break;
    case 768: put_values<std::uint32_t>(d, b, start, count, c, swap, false); break;
    case 16: put_values<float>(d, b, start, count, c, swap, false); break;
    case 1024: put_values<std::int64_t>(d, b, start, count, c, swap, false); break;
    case 1280: put_values<std::uint64_t>(d, b, start, count, c, swap, false); break;
    case 64: put_values<double>(d, b, start, count, c, swap, false); break;
    default: break;
  }
}

// Bytes the file holds once unpacked: the file size, or for gzip the size its
// trailer records (modulo 2^32, so only a lower bound below 4 GB is trusted).
// `most` gets what the file could give at all: its size, or for gzip the size
// times the greatest expansion of deflate.
std::int64_t unpacked_size(const std::string& name, bool& known, bool& exact, double& most) {
  known = exact = false;
  most = 0;
  std::FILE* raw = std::fopen(name.c_str(), "rb");
  if (!raw) return 0;
  unsigned char magic[2] = {0, 0};
  const bool zipped = std::fread(magic, 1, 2, raw) == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
  std::fseek(raw, 0, SEEK_END);
  most = double(std::ftell(raw)) * (zipped ? double(packed::most_expansion) : 1.0);
  std::fseek(raw, zipped ? -4 : 0, SEEK_END);
  std::int64_t size = std::ftell(raw);
  if (zipped) {
    unsigned char t[4] = {0, 0, 0, 0};
    size = std::fread(t, 1, 4, raw) == 4 ? std::int64_t(t[0] | t[1] << 8 | t[2] << 16 | std::uint32_t(t[3]) << 24) : 0;
  }
  std::fclose(raw);
  known = true;
  exact = !zipped;
  return size;
}

// The frame the header describes (sform, else qform, else voxel sizes), printed.
void apply_frame(vectorfield& f, const nifti::header& h) {
  framemath::matrix m;
  framemath::vector o{};
  nifti::transformation(h, m, o);
  frame_set_matrix(f.frame, m);
  frame_set_offset(f.frame, o);
  print::line(u"  Transformation: " + matrix_text(m) + u" + " + vector_text(o));
}

void empty_with(vectorfield& f, wideview line) {
  print::line(line);
  clear_field(f);
}

}  // namespace

bool load_nifti(vectorfield& f, const std::string& name, niftipart part) {
  const widetext wname = text::from_utf8(name);
  std::string headname = name, dataname = name;
  const bool pair = pair_name(name, headname, dataname);
  packedfile in;
  std::string raw(nifti::header_size, '\0');
  if (!packed::open(in, headname) || packed::read(in, raw.data(), raw.size()) != raw.size()) {
    empty_with(f, u"  Couldn't read File (" + wname + u")! Create empty field.");
    return false;
  }
  nifti::header h;
  bool swap = false;
  const nifti::headerkind kind = nifti::parse(raw, h, swap);
  if (kind == nifti::headerkind::nifti2) { empty_with(f, u"  Nifti-2 currently not supported! Create empty field."); return false; }
  if (kind != nifti::headerkind::nifti1) { empty_with(f, u"  Wrong header! Create empty field."); return false; }
  std::int64_t dim[8];
  for (int i = 0; i < 8; ++i) dim[i] = h.dim[i];
  const std::int16_t datatype = h.datatype;
  // Components on dim[5] (the program's own form) or on dim[4] of a 4D file.
  std::int64_t components = 0;
  if (dim[0] >= 5 && dim[4] <= 1) components = dim[5];
  else if (dim[0] == 4) components = dim[4];
  if (dim[0] < 4 || dim[0] > 7 || dim[1] < 1 || dim[2] < 1 || dim[3] < 1 || components != 3) {
    empty_with(f, u"  Bad dim size (" + sizes(dim[1], dim[2], dim[3]) + u")! Create empty field.");
    return false;
  }
  const int bytes = datatype == 128 ? 1 : value_bytes(datatype);
  if (bytes == 0) {
    empty_with(f, u"  Bad datatype [" + nat::text(datatype) + u"]! Create empty field.");
    return false;
  }
  const float vox_offset = h.vox_offset;
  // An absurd offset is kept finite here; the size check below refuses it.
  // In a pair the voxels start at vox_offset of the data file, usually 0.
  const std::int64_t offset = pair ? (vox_offset > 0 ? std::int64_t(std::llround(std::fmin(vox_offset, 1e15))) : 0)
                              : vox_offset > 352 ? std::int64_t(std::llround(std::fmin(vox_offset, 1e15))) : 352;
  const bool rgb = datatype == 128;
  const std::uint8_t tag = rgb ? 170 : (datatype == 16 || datatype == 64) ? 88 : 89;
  if (part == niftipart::frame) {
    apply_frame(f, h);
    return true;
  }
  if (part == niftipart::framework) {
    if (!create_field(f, tag, dim[1], dim[2], dim[3])) {
      empty_with(f, u"  Bad dim size (" + sizes(dim[1], dim[2], dim[3]) + u")! Create empty field.");
      return false;
    }
    apply_frame(f, h);
    return true;
  }
  // The data must be there before the field is allocated.
  const double need = double(offset) + double(dim[1]) * double(dim[2]) * double(dim[3]) * 3 * (rgb ? 1 : bytes);
  bool known = false, exact = false;
  double most = 0;
  const std::int64_t have = unpacked_size(dataname, known, exact, most);
  if (known && (((exact || need < 4294967296.0) && double(have) < need) || most < need)) {
    empty_with(f, u"  Wrong file size! Header:" + sizes(dim[1], dim[2], dim[3]) + u" Create empty field.");
    return false;
  }
  if (!create_field(f, tag, dim[1], dim[2], dim[3])) {
    empty_with(f, u"  Bad dim size (" + sizes(dim[1], dim[2], dim[3]) + u")! Create empty field.");
    return false;
  }
  const widetext label = (rgb ? u"  3DRGB (RGB) with (" : u"  3DVector with (") + sizes(dim[1], dim[2], dim[3]) + u")";
  const std::int64_t n = dim[1] * dim[2] * dim[3];
  const std::int64_t per = rgb ? 3 : bytes, block = (std::int64_t(1) << 20) / per;
  voxelvector<unsigned char> line;   // read into before each use, so never zeroed
  line.resize(std::size_t(std::min(n, block) * per));
  bool complete = (!pair || packed::open(in, dataname)) && packed::seek(in, offset);
  // RGB24 holds the three bytes of a voxel together; other types hold three planes.
  for (int c = 0; c < (rgb ? 1 : 3) && complete; ++c) {
    progress::set(c / 3.0, label);
    for (std::int64_t start = 0; start < n && complete; start += block) {
      const std::int64_t count = std::min(block, n - start);
      const std::size_t want = std::size_t(count * per);
      if (packed::read(in, line.data(), want) != want) { complete = false; break; }
      with_elements(f, [&](auto* d, std::int64_t) { put_block(d, line.data(), start, count, c, datatype, swap); });
    }
  }
  progress::end(label);
  if (!complete) print::line(u"  Wrong file size! Header:" + sizes(dim[1], dim[2], dim[3]));
  apply_frame(f, h);
  return complete;
}

}  // namespace qv::vector
