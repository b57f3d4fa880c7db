// tensor_nrrd.cpp: the NRRD writer of tensor fields: a text header, then per voxel xx, xy, xz, yy, yz, zz as
// little-endian doubles or 64-bit integers, in the same file (.nrrd) or in a .raw file beside the header (.nhdr).
#include <charconv>
#include <cstdio>
#include <vector>

#include "foundation/progress.h"
#include "orientation/formats/tensor_formats.h"

namespace qv::tensor {
namespace {

// Shortest text that reads back as the same double.
std::string number(double v) {
  char b[32];
  const auto r = std::to_chars(b, b + sizeof b, v);
  return std::string(b, r.ptr);
}
std::string triple(double x, double y, double z) { return "(" + number(x) + "," + number(y) + "," + number(z) + ")"; }

std::string header_text(const tensorfield& f) {
  const framemath::matrix& m = f.frame.matrix;
  const framemath::vector o = f.frame.offset;
  std::string h = "NRRD0004\n# quorvex\n";
  h += f.tag == tensortag::nat ? "type: int64\n" : "type: double\n";
  h += "dimension: 4\nspace: right-anterior-superior\n";
  h += "# This space is used in the NIFTI-1 extension to the Analyze format.\n";
  h += "sizes: 6 " + std::to_string(f.width) + " " + std::to_string(f.height) + " " + std::to_string(f.depth) + "\n";
  h += "space directions: none " + triple(m.m[0], m.m[1], m.m[2]) + " " + triple(m.m[3], m.m[4], m.m[5]) + " " +
       triple(m.m[6], m.m[7], m.m[8]) + "\n";
  h += "kinds: 3D-symmetric-matrix domain domain domain\nendian: little\nencoding: raw\n";
  h += "space origin: " + triple(o.x, o.y, o.z) + "\n";
  return h;
}

struct filecloser { void operator()(std::FILE* f) const { if (f) std::fclose(f); } };
using filehandle = std::unique_ptr<std::FILE, filecloser>;

template <typename T>
bool write_voxels(std::FILE* out, const T* d, const T* o, std::int64_t n) {
  std::vector<T> buffer;
  const widetext label = u"  Write tensors";
  for (std::int64_t start = 0; start < n; start += 16384) {
    progress::set(double(start) / double(n), label);
    const std::int64_t count = std::min<std::int64_t>(16384, n - start);
    buffer.resize(std::size_t(count * 6));
    T* b = buffer.data();
    for (std::int64_t i = start; i < start + count; ++i, b += 6)
      b[0] = d[3 * i], b[1] = o[3 * i], b[2] = o[3 * i + 1], b[3] = d[3 * i + 1], b[4] = o[3 * i + 2], b[5] = d[3 * i + 2];
    if (std::fwrite(buffer.data(), sizeof(T), buffer.size(), out) != buffer.size()) return false;
  }
  progress::end(label);
  return true;
}

}  // namespace

bool save_nrrd(const tensorfield& f, const std::string& name, bool detached) {
  std::string head = header_text(f);
  std::string dataname = name;
  if (detached) {
    const std::size_t slash = name.find_last_of('/'), dot = name.find_last_of('.');
    const std::string stem = dot == std::string::npos || (slash != std::string::npos && dot < slash) ? name : name.substr(0, dot);
    dataname = stem + ".raw";
    head += "data file: " + (slash == std::string::npos ? dataname : dataname.substr(slash + 1)) + "\n";
  } else {
    head += "\n";
  }
  filehandle out(std::fopen(name.c_str(), "wb"));
  if (!out || std::fwrite(head.data(), 1, head.size(), out.get()) != head.size()) return false;
  if (detached) {
    if (std::fclose(out.release()) != 0) return false;
    out.reset(std::fopen(dataname.c_str(), "wb"));
    if (!out) return false;
  }
  bool ok = true;
  with_elements(f, [&](const auto* d, const auto* o, std::int64_t n) { ok = write_voxels(out.get(), d, o, n); });
  return ok && std::fclose(out.release()) == 0;
}

}  // namespace qv::tensor
