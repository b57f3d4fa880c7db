// vector_text.cpp: the text-headed vector forms: AVS field, Amira text, `limbert` segments and plain text.
//
// Known limits: the AVS data are 32-bit (float or integer) little-endian, after
// the two form feeds that end an AVS header; plain text reads back only what
// the plain text writer writes (positions taken as index positions of the frame).
#include "orientation/formats/vector_formats.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

#include "foundation/numbertext.h"
#include "foundation/progress.h"

namespace qv::vector {
namespace {

struct fileclose { void operator()(std::FILE* f) const { if (f) std::fclose(f); } };
using filehandle = std::unique_ptr<std::FILE, fileclose>;

std::string u8(const widetext& t) { return text::utf8(t); }
std::string num(double v) { return u8(real::text(v)); }
std::string fixed(double v) { return u8(real::text_fixed(v, 5)); }

vector scaled(vector v, vector s) { return {v.x * s.x, v.y * s.y, v.z * s.z}; }
vector position(const vectorfield& f, std::int64_t x, std::int64_t y, std::int64_t z) {
  return l2g(f.frame, {double(x), double(y), double(z)});
}

std::string sizes(const vectorfield& f) {
  return std::to_string(f.width) + "x" + std::to_string(f.height) + "x" + std::to_string(f.depth);
}

bool put(std::FILE* out, const std::string& s) { return std::fwrite(s.data(), 1, s.size(), out) == s.size(); }

// Calls fn(x, y, z, v) for every voxel in z, y, x order with the progress line.
template <typename Fn>
void each_voxel(const vectorfield& f, wideview label, Fn fn) {
  for (std::int64_t z = 1; z <= f.depth; ++z) {
    progress::set(double(z - 1) / double(f.depth), label);
    for (std::int64_t y = 1; y <= f.height; ++y)
      for (std::int64_t x = 1; x <= f.width; ++x) fn(x, y, z, get(f, x, y, z));
  }
  progress::end(label);
}

}  // namespace

bool save_avs(const vectorfield& f, const std::string& name, vector scale) {
  filehandle out(std::fopen(name.c_str(), "wb"));
  if (!out) return false;
  const bool integer = f.tag != vectortag::real;
  const vector first = position(f, 1, 1, 1), last = position(f, f.width, f.height, f.depth);
  std::string h = "# AVS field file\nndim=3\ndim1=" + std::to_string(f.width) + "\ndim2=" + std::to_string(f.height) +
                  "\ndim3=" + std::to_string(f.depth) + "\nnspace=3\nveclen=3\n" +
                  (integer ? "data=integer\n" : "data=float\n") + "field=uniform\n" + "min_ext=" + num(first.x) + " " +
                  num(first.y) + " " + num(first.z) + "\nmax_ext=" + num(last.x) + " " + num(last.y) + " " +
                  num(last.z) + "\n\f\f";
  bool ok = put(out.get(), h);
  const widetext label = text::ascii((integer ? "  3DVector32 with (" : "  3DVector with (") + sizes(f) + ")");
  each_voxel(f, label, [&](std::int64_t, std::int64_t, std::int64_t, vector v) {
    const vector s = scaled(v, scale);
    if (integer) {
      const std::int32_t c[3] = {std::int32_t(framemath::round(s.x)), std::int32_t(framemath::round(s.y)),
                                 std::int32_t(framemath::round(s.z))};
      ok = ok && std::fwrite(c, sizeof c, 1, out.get()) == 1;
    } else {
      const float c[3] = {float(s.x), float(s.y), float(s.z)};
      ok = ok && std::fwrite(c, sizeof c, 1, out.get()) == 1;
    }
  });
  return ok;
}

bool save_amira(const vectorfield& f, const std::string& name, vector scale) {
  filehandle out(std::fopen(name.c_str(), "wb"));
  if (!out) return false;
  const vector a = position(f, 1, 1, 1), b = position(f, f.width, f.height, f.depth);
  const std::string dims = std::to_string(f.width) + " " + std::to_string(f.height) + " " + std::to_string(f.depth);
  std::string h = "# AmiraMesh 3D ASCII 2.0\ndefine Lattice " + dims + "\nParameters {\n    Content \"" +
                  std::to_string(f.width) + "x" + std::to_string(f.height) + "x" + std::to_string(f.depth) +
                  " float[3], uniform coordinates\",\n    BoundingBox " + num(a.x) + " " + num(b.x) + " " + num(a.y) +
                  " " + num(b.y) + " " + num(a.z) + " " + num(b.z) + ",\n    CoordType \"uniform\"\n}\n" +
                  "Lattice { float[3] Data } @1\n# Data section follows\n@1\n";
  bool ok = put(out.get(), h);
  each_voxel(f, u"  3DVector with (", [&](std::int64_t, std::int64_t, std::int64_t, vector v) {
    const vector s = scaled(v, scale);
    ok = ok && put(out.get(), num(s.x) + " " + num(s.y) + " " + num(s.z) + "\n");
  });
  return ok;
}

// Each non-null vector as a segment centred on its voxel: two position lines and an empty line.
bool save_limbert(const vectorfield& f, const std::string& name, vector scale) {
  filehandle out(std::fopen(name.c_str(), "wb"));
  if (!out) return false;
  bool ok = true;
  each_voxel(f, u"Save vectorfield", [&](std::int64_t x, std::int64_t y, std::int64_t z, vector v) {
    if (v == vector{}) return;
    const vector h = scaled(v, {scale.x / 2, scale.y / 2, scale.z / 2});
    const vector p = position(f, x, y, z);
    ok = ok && put(out.get(), u8(vector_text({p.x - h.x, p.y - h.y, p.z - h.z})) + "\n" +
                                  u8(vector_text({p.x + h.x, p.y + h.y, p.z + h.z})) + "\n\n");
  });
  return ok;
}

// One line per non-null voxel: running number, global position, vector, 5 decimals.
bool save_text(const vectorfield& f, const std::string& name, vector scale) {
  filehandle out(std::fopen(name.c_str(), "wb"));
  if (!out) return false;
  bool ok = true;
  std::int64_t count = 0;
  each_voxel(f, u"Save vectorfield", [&](std::int64_t x, std::int64_t y, std::int64_t z, vector v) {
    if (v == vector{}) return;
    const vector p = position(f, x, y, z), s = scaled(v, scale);
    ok = ok && put(out.get(), std::to_string(++count) + " " + fixed(p.x) + " " + fixed(p.y) + " " + fixed(p.z) + " " +
                                  fixed(s.x) + " " + fixed(s.y) + " " + fixed(s.z) + "\n");
  });
  return ok;
}

// The plain text form: the field spans the largest index of the positions,
// which are read back through the identity frame.
bool load_text(vectorfield& f, const std::string& name) {
  std::ifstream in(name);
  if (!in) {
    clear_field(f);
    return false;
  }
  struct entry { std::int64_t x, y, z; vector v; };
  std::vector<entry> entries;
  std::string line;
  std::int64_t nx = 0, ny = 0, nz = 0;
  while (std::getline(in, line)) {
    std::istringstream s(line);
    double n, px, py, pz;
    vector v;
    if (!(s >> n >> px >> py >> pz >> v.x >> v.y >> v.z)) continue;
    const std::int64_t x = framemath::round(px) + 1, y = framemath::round(py) + 1, z = framemath::round(pz) + 1;
    if (x < 1 || y < 1 || z < 1 || x > 65535 || y > 65535 || z > 65535) continue;
    nx = std::max(nx, x), ny = std::max(ny, y), nz = std::max(nz, z);
    entries.push_back({x, y, z, v});
  }
  if (!create_field(f, workspace_traits<vectorfield>::default_tag, nx, ny, nz)) return false;
  for (const entry& e : entries) set(f, e.x, e.y, e.z, e.v);
  return true;
}

}  // namespace qv::vector
