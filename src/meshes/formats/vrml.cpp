// vrml.cpp: VRML and Inventor meshes (".wrl", ".vrml", ".iv"): point, normal and face index lists.
//
// Known limits: only the lists are read ("point [", "vector [", "coordIndex ["),
// not the scene: transforms, DEF/USE sharing and colours are ignored, and
// texture coordinates are passed over. An index list belongs to the point list
// before it, or to the next one when none stands between it and the last index
// list. Normals are used when there is one per point.
#include <vector>

#include "foundation/console.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textscan.h"

namespace qv::meshformat {
namespace {

enum class listkind : std::uint8_t { none, points, normals, indices };

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || c == '_' || (c >= '0' && c <= '9'); }

// The keyword before `[` at `open`, if it is one of the three lists; texture
// coordinates ("texturecoordinate ... point [", "texcoordindex [") and line sets are none.
listkind list_at(const std::string& t, std::size_t open) {
  std::size_t e = open;
  while (e > 0 && is_separator(t[e - 1])) --e;
  std::size_t b = e;
  while (b > 0 && is_letter(t[b - 1])) --b;
  const std::string_view word(t.data() + b, e - b);
  if (word == "coordindex") {   // of a face set, not of a line set
    const std::size_t lines = t.rfind("indexedlineset", b), faces = t.rfind("indexedfaceset", b);
    return lines != std::string::npos && (faces == std::string::npos || lines > faces) ? listkind::none
                                                                                      : listkind::indices;
  }
  if (word == "vector") return listkind::normals;
  if (word != "point") return listkind::none;
  const std::size_t node = t.rfind("coordinate", b);
  if (node != std::string::npos && node >= 7 && t.compare(node - 7, 7, "texture") == 0) return listkind::none;
  return listkind::points;
}

// The numbers from `open` to the closing `]`; `pos` is left after it.
template <typename Fn>
void each_number(const std::string& t, std::size_t& pos, Fn fn) {
  std::size_t close = t.find(']', pos);
  if (close == std::string::npos) close = t.size();
  std::string_view s(t.data() + pos, close - pos);
  double v;
  while (!s.empty()) {
    if (read_real(s, v)) fn(v);
    else if (!s.empty()) s.remove_prefix(1);   // "#" comments and the like
  }
  pos = close;
}

}  // namespace

void read_vrml(mesh& m, std::string_view bytes, bool wrl) {
  print::line(wrl ? u"  Analyze WRL-file" : u"  Analyze VRML-file");
  const std::string t = lower(bytes);
  meshparts parts;   // the point list in use, its normals, and the faces that name it
  std::vector<std::int64_t> pending;   // an index list met before its points
  bool fresh_points = false;
  auto faces_of = [&](const std::vector<std::int64_t>& list) {
    std::int64_t corner[5];
    std::int64_t n = 0;
    for (std::size_t i = 0; i <= list.size(); ++i) {
      if (i == list.size() || list[i] < 0) {   // -1 ends a face, so does the end of the list
        if (n > 0) parts.add_face(corner, n);
        n = 0;
        continue;
      }
      if (n < 5) corner[n] = list[i];
      ++n;
    }
  };
  auto flush = [&]() {
    parts.add_to(m);
    parts.faces.clear();
  };
  for (std::size_t pos = t.find('['); pos != std::string::npos; pos = t.find('[', pos + 1)) {
    const listkind kind = list_at(t, pos);
    if (kind == listkind::none) continue;
    ++pos;
    if (kind == listkind::points) {
      flush();
      parts.points.clear();
      parts.normals.clear();
      std::vector<double> v;
      each_number(t, pos, [&](double x) { v.push_back(x); });
      for (std::size_t i = 0; i + 2 < v.size(); i += 3) parts.points.push_back({v[i], v[i + 1], v[i + 2]});
      fresh_points = true;
      if (!pending.empty()) {
        faces_of(pending);
        pending.clear();
        fresh_points = false;
      }
    } else if (kind == listkind::normals) {
      std::vector<double> v;
      each_number(t, pos, [&](double x) { v.push_back(x); });
      parts.normals.clear();
      for (std::size_t i = 0; i + 2 < v.size(); i += 3) parts.normals.push_back({v[i], v[i + 1], v[i + 2]});
    } else {
      std::vector<std::int64_t> list;
      each_number(t, pos, [&](double x) { list.push_back(x >= -1e18 && x <= 1e18 ? std::int64_t(x) : INT64_MAX); });
      if (fresh_points) {
        faces_of(list);
        fresh_points = false;
      } else {
        pending = std::move(list);
      }
    }
    if (pos >= t.size()) break;
  }
  if (!pending.empty()) faces_of(pending);
  flush();
  parts.report_faces();
  print_counts(m);
}

}  // namespace qv::meshformat
