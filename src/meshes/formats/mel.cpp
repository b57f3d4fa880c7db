// mel.cpp: the mesh as a Maya MEL script, through the shared MEL writer.
//
// Each part of up to 1000 visible faces is one polygon object: its first face
// made by "polyCreateFacet", the others appended with "polyAppend" from their
// own points. The parts are united into one object named after the file, which
// is selected at the end. The smooth form then merges equal points and softens
// all edges.
// Known limits: no uvs, normals or colours; the parts keep their own points, so
// the plain form shows hard edges.
#include <algorithm>
#include <string>
#include <vector>

#include "foundation/progress.h"
#include "lines/formats/mel_writer.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textsink.h"

namespace qv::meshformat {
namespace {

constexpr std::int64_t part_faces = 1000;

// A MEL node name from the file name: letters, digits and "_", not starting with a digit.
widetext node_name(wideview file) {
  std::string s = base_name(file);
  const std::size_t dot = s.find('.');
  if (dot != std::string::npos) s.resize(dot);
  for (char& c : s)
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) c = '_';
  if (s.empty() || (s[0] >= '0' && s[0] <= '9')) s = "mesh_" + s;
  return text::ascii(s);
}

}  // namespace

bool save_mel(const mesh& m, wideview name, bool smooth) {
  textsink s;
  if (!open_sink(s, name)) return false;
  const widetext label = u"  Write MEL-file";
  progress::set(0, label);
  const widetext node = node_name(name);
  mel::begin(s.out, name);
  const lineformat::pointview points = lineformat::view_of(m.points.data(), meshes::point_count(m));
  std::vector<widetext> parts;
  std::int64_t in_part = 0;
  const std::size_t n = m.faces.size();
  for (std::size_t i = 0; i < n; ++i) {
    if ((i & 0xfff) == 0) progress::set(double(i) / double(n), label);
    const face& f = m.faces[i];
    if (!f.visible) continue;
    const std::int64_t corner[4] = {f.p1 - 1, f.p2 - 1, f.p3 - 1, f.p4 - 1};
    const int k = corner_count(f);
    if (in_part == 0) {
      parts.push_back(node + u"_" + qv::nat::text(std::int64_t(parts.size() + 1)));
      mel::facet(s.out, parts.back(), points, corner, k);
    } else {
      mel::append(s.out, parts.back(), nullptr, 0, points, corner, k);
    }
    if (++in_part == part_faces) in_part = 0;
  }
  if (parts.size() > 1) {
    mel::unite(s.out, node, parts.data(), std::int64_t(parts.size()));
  } else if (parts.size() == 1) {
    s.put("rename " + text::utf8(parts[0]) + " " + text::utf8(node) + ";\n");
  }
  if (smooth && !parts.empty()) {
    s.put("polyMergeVertex -d 0 -ch 0 " + text::utf8(node) + ";\n");
    s.put("polySoftEdge -a 180 -ch 0 " + text::utf8(node) + ";\n");
  }
  if (!parts.empty()) mel::select(s.out, node);
  mel::end(s.out, name);
  progress::end(label);
  return s.finish();
}

}  // namespace qv::meshformat
