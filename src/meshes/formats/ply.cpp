// ply.cpp: PLY meshes, ascii and binary little-endian, read and written.
//
// Known limits: big-endian files are refused; of the elements only "vertex"
// (x, y, z, nx, ny, nz and the colour properties) and "face" (its first list
// property) are used, the others are read past. Faces of more than four
// corners are left out with one "Wrong face count" line.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "foundation/console.h"
#include "foundation/progress.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"
#include "meshes/formats/textsink.h"

namespace qv::meshformat {
namespace {

// ---- header -----------------------------------------------------------------

enum class plytype : std::uint8_t { none, i8, u8, i16, u16, i32, u32, f32, f64 };

plytype type_of(std::string_view w) {
  struct row { const char* a; const char* b; plytype t; };
  static constexpr row rows[] = {{"char", "int8", plytype::i8},     {"uchar", "uint8", plytype::u8},
                                 {"short", "int16", plytype::i16},  {"ushort", "uint16", plytype::u16},
                                 {"int", "int32", plytype::i32},    {"uint", "uint32", plytype::u32},
                                 {"float", "float32", plytype::f32}, {"double", "float64", plytype::f64}};
  for (const row& r : rows)
    if (w == r.a || w == r.b) return r.t;
  return plytype::none;
}

std::size_t size_of(plytype t) {
  switch (t) {
    case plytype::i8: case plytype::u8: return 1;
    case plytype::i16: case plytype::u16: return 2;
    case plytype::i32: case plytype::u32: case plytype::f32: return 4;
    case plytype::f64: return 8;
    case plytype::none: break;
  }
  return 0;
}

bool is_integer(plytype t) { return t != plytype::f32 && t != plytype::f64; }

struct plyproperty {
  std::string name;
  plytype type = plytype::none;
  plytype counttype = plytype::none;   // set for a list
};

struct plyelement {
  std::string name;
  std::int64_t count = 0;
  std::vector<plyproperty> properties;
  // A row of only scalar properties has a fixed size.
  std::size_t fixed_size() const {
    std::size_t n = 0;
    for (const plyproperty& p : properties) {
      if (p.counttype != plytype::none) return 0;
      n += size_of(p.type);
    }
    return n;
  }
  int find(std::string_view a, std::string_view b = {}) const {
    for (std::size_t i = 0; i < properties.size(); ++i)
      if (properties[i].name == a || (!b.empty() && properties[i].name == b)) return int(i);
    return -1;
  }
};

struct plyheader {
  bool binary = false;
  std::vector<plyelement> elements;
  std::size_t body = 0;   // offset of the first byte after "end_header" and its line end
};

// Parses the header; prints the Part's message and gives false when it cannot be used.
bool parse_header(std::string_view bytes, wideview name, plyheader& h) {
  std::string_view rest = bytes, line;
  if (!next_line(rest, line) || trim(line) != "ply") {
    print::line(u"File " + widetext(name) + u" not a PLY-file!");
    return false;
  }
  bool format = false, ended = false;
  while (next_line(rest, line)) {
    std::string_view s = line;
    const std::string_view key = next_word(s);
    if (key == "format") {
      const std::string_view kind = next_word(s), version = next_word(s);
      if ((kind != "ascii" && kind != "binary_little_endian") || version != "1.0") {
        print::line(u"  Can only read ascii and binary PLY-files!");
        return false;
      }
      h.binary = kind != "ascii";
      format = true;
    } else if (key == "element") {
      plyelement e;
      e.name = std::string(next_word(s));
      std::string_view count = next_word(s);
      if (!read_nat(count, e.count) || e.count < 0) e.count = -1;
      h.elements.push_back(std::move(e));
    } else if (key == "property" && !h.elements.empty()) {
      plyproperty p;
      std::string_view t = next_word(s);
      if (t == "list") {
        p.counttype = type_of(next_word(s));
        t = next_word(s);
        if (p.counttype == plytype::none || !is_integer(p.counttype)) p.type = plytype::none;
      }
      p.type = type_of(t);
      p.name = std::string(next_word(s));
      if (p.type == plytype::none || (p.counttype == plytype::none && t == "list")) {
        print::line(u"  Can only read ascii and binary PLY-files!");
        return false;
      }
      h.elements.back().properties.push_back(std::move(p));
    } else if (key == "end_header") {
      ended = true;
      break;
    }
  }
  if (!format || !ended) {
    print::line(u"File " + widetext(name) + u" not a PLY-file!");
    return false;
  }
  h.body = bytes.size() - rest.size();
  bool vertices = false;
  for (const plyelement& e : h.elements) {
    if (e.count < 0) {
      print::line(u"File " + widetext(name) + u" not a PLY-file!");
      return false;
    }
    vertices = vertices || (e.name == "vertex" && e.count > 0);
  }
  if (!vertices) {
    print::line(u"  Empty PLY-file!");
    return false;
  }
  return true;
}

// ---- body: one value source per form ----------------------------------------

// Binary little-endian values, each read only after a test of the bytes left.
struct binarysource {
  const unsigned char* p;
  const unsigned char* end;
  bool value(plytype t, double& v) {
    const std::size_t n = size_of(t);
    if (std::size_t(end - p) < n) return false;
    switch (t) {
      case plytype::i8: v = double(std::int8_t(p[0])); break;
      case plytype::u8: v = double(p[0]); break;
      case plytype::i16: { std::int16_t x; std::memcpy(&x, p, 2); v = x; break; }
      case plytype::u16: { std::uint16_t x; std::memcpy(&x, p, 2); v = x; break; }
      case plytype::i32: { std::int32_t x; std::memcpy(&x, p, 4); v = x; break; }
      case plytype::u32: { std::uint32_t x; std::memcpy(&x, p, 4); v = x; break; }
      case plytype::f32: { float x; std::memcpy(&x, p, 4); v = x; break; }
      case plytype::f64: { double x; std::memcpy(&x, p, 8); v = x; break; }
      case plytype::none: return false;
    }
    p += n;
    return true;
  }
  std::size_t left() const { return std::size_t(end - p); }
};

// Ascii values: numbers between blanks and line ends.
struct textsource {
  std::string_view rest;
  bool value(plytype, double& v) { return read_real(rest, v); }
  std::size_t left() const { return rest.size(); }
};

// What a reader keeps of the vertex element: float rows of up to ten used values.
struct vertexslots {
  int x = -1, y = -1, z = -1, nx = -1, ny = -1, nz = -1, r = -1, g = -1, b = -1, a = -1;
  bool normals() const { return nx >= 0 && ny >= 0 && nz >= 0; }
  bool colours() const { return r >= 0 && g >= 0 && b >= 0; }
};

vertexslots slots_of(const plyelement& e) {
  vertexslots s;
  s.x = e.find("x"), s.y = e.find("y"), s.z = e.find("z");
  s.nx = e.find("nx"), s.ny = e.find("ny"), s.nz = e.find("nz");
  s.r = e.find("red", "r"), s.g = e.find("green", "g"), s.b = e.find("blue", "b"), s.a = e.find("alpha", "a");
  if (s.r < 0) s.r = e.find("diffuse_red"), s.g = e.find("diffuse_green"), s.b = e.find("diffuse_blue");
  return s;
}

// One row of any element: scalar values into `row` (list properties give their
// first items in `list`, at most `maxlist`; `listcount` the count found).
template <typename Source>
bool read_row(Source& src, const plyelement& e, double* row, int listprop, std::int64_t* list, int maxlist,
              std::int64_t& listcount) {
  for (std::size_t i = 0; i < e.properties.size(); ++i) {
    const plyproperty& p = e.properties[i];
    if (p.counttype == plytype::none) {
      if (!src.value(p.type, row[i])) return false;
      continue;
    }
    double c;
    if (!src.value(p.counttype, c) || !(c >= 0) || c > double(src.left())) return false;
    const std::int64_t n = std::int64_t(c);
    if (int(i) == listprop) listcount = n;
    for (std::int64_t k = 0; k < n; ++k) {
      double v;
      if (!src.value(p.type, v)) return false;
      if (int(i) == listprop && k < maxlist) list[k] = v >= -1e18 && v <= 1e18 ? std::int64_t(v) : -1;
    }
  }
  return true;
}

double finite(double v) { return std::isfinite(v) ? v : 0; }

// Reads the body in file order; vertices first into `parts`, then faces through it.
template <typename Source>
bool read_body(Source& src, const plyheader& h, meshparts& parts) {
  std::vector<double> row;
  bool have_vertices = false;
  for (const plyelement& e : h.elements) {
    row.assign(e.properties.size(), 0.0);
    std::int64_t list[4], listcount = 0;
    if (e.name == "vertex" && !have_vertices) {
      const vertexslots s = slots_of(e);
      const std::size_t rowsize = h.binary ? e.fixed_size() : 0;
      // Every row needs at least one byte (two in text); a count beyond the file is refused here.
      const std::size_t least = rowsize ? rowsize : (h.binary ? 1 : 2);
      if (std::uint64_t(e.count) > src.left() / least) {
        print::line(u"  Unexpected end of PLY-file!");
        return false;
      }
      parts.reserve_points(e.count, s.normals(), s.colours());
      for (std::int64_t i = 0; i < e.count; ++i) {
        if (!read_row(src, e, row.data(), -1, list, 0, listcount)) {
          print::line(u"  Unexpected end of PLY-file!");
          return false;
        }
        auto at = [&](int k) { return k >= 0 ? finite(row[std::size_t(k)]) : 0.0; };
        parts.points.push_back({at(s.x), at(s.y), at(s.z)});
        if (s.normals()) parts.normals.push_back({at(s.nx), at(s.ny), at(s.nz)});
        if (s.colours()) {
          const double scale = is_integer(e.properties[std::size_t(s.r)].type) ? 1.0 / 255 : 1.0;
          parts.colors.push_back({at(s.r) * scale, at(s.g) * scale, at(s.b) * scale, s.a >= 0 ? at(s.a) * scale : 1.0});
        }
      }
      have_vertices = true;
      continue;
    }
    if (e.properties.empty()) continue;   // rows of nothing: there is nothing to read, however many
    const bool faces = e.name == "face";
    int listprop = -1;
    if (faces)
      for (std::size_t i = 0; i < e.properties.size() && listprop < 0; ++i)
        if (e.properties[i].counttype != plytype::none) listprop = int(i);
    if (faces) parts.faces.reserve(std::size_t(std::min<std::int64_t>(e.count, std::int64_t(src.left() / 4))));
    for (std::int64_t i = 0; i < e.count; ++i) {
      listcount = 0;
      if (!read_row(src, e, row.data(), listprop, list, 4, listcount)) {
        print::line(u"  Unexpected end of PLY-file!");
        return true;   // what was read so far stands
      }
      if (listprop >= 0) parts.add_face(list, listcount);
    }
  }
  return true;
}

}  // namespace

void read_ply(qv::mesh& m, std::string_view bytes, wideview name) {
  print::line(u"  Analyze PLY-file");
  plyheader h;
  if (!parse_header(bytes, name, h)) return;
  meshparts parts;
  if (h.binary) {
    binarysource src{reinterpret_cast<const unsigned char*>(bytes.data()) + h.body,
                     reinterpret_cast<const unsigned char*>(bytes.data()) + bytes.size()};
    if (!read_body(src, h, parts)) return;
  } else {
    textsource src{bytes.substr(h.body)};
    if (!read_body(src, h, parts)) return;
  }
  parts.add_to(m);
  parts.report_faces();
  print_counts(m);
  if (!parts.colors.empty()) print::line(u"  Colors : " + qv::nat::text(std::int64_t(m.colors.size())));
}

// ---- writers ------------------------------------------------------------------

namespace {

// The header both forms share; `indexword` differs between them.
void header(textsink& s, const qv::mesh& m, bool binary, std::int64_t points, std::int64_t faces, wideview name) {
  s.line("ply");
  s.line(binary ? "format binary_little_endian 1.0" : "format ascii 1.0");
  s.line("comment object: " + base_name(name));
  s.put("element vertex ");
  s.nat(points);
  s.put('\n');
  s.line("property float x");
  s.line("property float y");
  s.line("property float z");
  if (has_normals(m)) {
    s.line("property float nx");
    s.line("property float ny");
    s.line("property float nz");
  }
  if (has_colours(m)) {
    s.line("property uchar red");
    s.line("property uchar green");
    s.line("property uchar blue");
    s.line("property uchar alpha");
  }
  s.put("element face ");
  s.nat(faces);
  s.put('\n');
  s.line(binary ? "property list uchar int vertex_indices" : "property list uchar int vertex_index");
  s.line("end_header");
}

std::uint8_t colour_byte(double v) {
  if (!(v > 0)) return 0;
  if (v >= 1) return 255;
  return std::uint8_t(std::lround(v * 255));
}

}  // namespace

bool save_ply(const qv::mesh& m, wideview name) {
  textsink s;
  if (!open_sink(s, name)) return false;
  // Points of visible faces only, renumbered from 0 in point order.
  std::vector<std::int64_t> index;
  const std::int64_t used = renumber_visible(m, index);
  const std::int64_t faces = visible_faces(m);
  print::line(u"  Deleted verticies: " + qv::nat::text(meshes::point_count(m) - used));
  header(s, m, true, used, faces, name);
  const bool normals = has_normals(m), colours = has_colours(m);
  const widetext label = u"  Write PLY-file";
  progress::set(0, label);
  const std::int64_t n = meshes::point_count(m);
  for (std::int64_t i = 1; i <= n; ++i) {
    if (index[std::size_t(i)] < 0) continue;
    if ((i & 0xffff) == 0) progress::set(double(i) / double(n) * 0.5, label);
    const num::vector p = m.points[std::size_t(i - 1)];
    float v[6] = {float(p.x), float(p.y), float(p.z)};
    std::size_t k = 3;
    if (normals) {
      const num::vector q = meshes::normal(m, i);
      v[3] = float(q.x), v[4] = float(q.y), v[5] = float(q.z);
      k = 6;
    }
    s.bytes(v, k * sizeof(float));
    if (colours) {
      const num::hyper c = meshes::point_color(m, i);
      const std::uint8_t b[4] = {colour_byte(c.x), colour_byte(c.y), colour_byte(c.z), colour_byte(c.t)};
      s.bytes(b, 4);
    }
  }
  const std::int64_t nf = meshes::face_count(m);
  for (std::int64_t f = 1; f <= nf; ++f) {
    const qv::face& fc = m.faces[std::size_t(f - 1)];
    if (!fc.visible) continue;
    if ((f & 0xffff) == 0) progress::set(0.5 + double(f) / double(nf) * 0.5, label);
    const bool tri = meshes::is_triangle(fc);
    unsigned char b[17];
    b[0] = tri ? 3 : 4;
    const std::int32_t c[4] = {std::int32_t(index[std::size_t(fc.p1)]), std::int32_t(index[std::size_t(fc.p2)]),
                               std::int32_t(index[std::size_t(fc.p3)]), std::int32_t(index[std::size_t(fc.p4)])};
    std::memcpy(b + 1, c, 16);
    s.bytes(b, tri ? 13 : 17);
  }
  progress::end(label);
  return s.finish();
}

bool save_ply_ascii(const qv::mesh& m, wideview name, int digits) {
  textsink s;
  if (!open_sink(s, name)) return false;
  s.digits = digits;
  const std::int64_t n = meshes::point_count(m), nf = meshes::face_count(m);
  header(s, m, false, n, nf, name);
  const bool normals = has_normals(m), colours = has_colours(m);
  const widetext label = u"  Write PLY-file";
  progress::set(0, label);
  for (std::int64_t i = 1; i <= n; ++i) {
    if ((i & 0xffff) == 0) progress::set(double(i) / double(n) * 0.5, label);
    s.vector(m.points[std::size_t(i - 1)]);
    if (normals) {
      s.put(' ');
      s.vector(meshes::normal(m, i));
    }
    if (colours) {
      const num::hyper c = meshes::point_color(m, i);
      for (double v : {c.x, c.y, c.z, c.t}) {
        s.put(' ');
        s.nat(colour_byte(v));
      }
    }
    s.put('\n');
  }
  for (std::int64_t f = 1; f <= nf; ++f) {
    if ((f & 0xffff) == 0) progress::set(0.5 + double(f) / double(nf) * 0.5, label);
    const qv::face& fc = m.faces[std::size_t(f - 1)];
    const bool tri = meshes::is_triangle(fc);
    s.put(tri ? "3 " : "4 ");
    s.nat(fc.p1 - 1);
    s.put(' ');
    s.nat(fc.p2 - 1);
    s.put(' ');
    s.nat(fc.p3 - 1);
    if (!tri) {
      s.put(' ');
      s.nat(fc.p4 - 1);
    }
    s.put('\n');
  }
  progress::end(label);
  return s.finish();
}

}  // namespace qv::meshformat
