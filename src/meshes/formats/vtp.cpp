// vtp.cpp: the mesh as VTK XML poly data (".vtp"), through the shared writer.
//
// Known limits: ascii only; all points are written, with the normals when the
// mesh has any (missing ones as null vectors), and the visible faces as polys.
#include <vector>

#include "lines/formats/vtp_writer.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/formats/mesh_parts.h"
#include "meshes/formats/textsink.h"

namespace qv::meshformat {

bool save_vtp(const mesh& m, wideview name) {
  textsink s;
  if (!open_sink(s, name)) return false;
  std::vector<std::int64_t> connectivity, offsets;
  connectivity.reserve(m.faces.size() * 4);
  offsets.reserve(m.faces.size());
  for (const face& f : m.faces) {
    if (!f.visible) continue;
    const std::int64_t p[4] = {f.p1, f.p2, f.p3, f.p4};
    for (int k = 0, n = corner_count(f); k < n; ++k) connectivity.push_back(p[k] - 1);
    offsets.push_back(std::int64_t(connectivity.size()));
  }
  const lineformat::pointview points = lineformat::view_of(m.points.data(), meshes::point_count(m));
  std::vector<num::vector> padded;
  const std::vector<num::vector>* normals = &m.normals;
  if (has_normals(m) && m.normals.size() < m.points.size()) {
    padded = m.normals;
    padded.resize(m.points.size());
    normals = &padded;
  }
  const lineformat::pointview normalview = lineformat::view_of(normals->data(), meshes::point_count(m));
  const vtp::cellblock polys{connectivity.data(), std::int64_t(connectivity.size()), offsets.data(),
                             std::int64_t(offsets.size())};
  vtp::write(s.out, points, has_normals(m) ? &normalview : nullptr, vtp::cellblock{}, polys, u"  Write VTK(mesh)-file");
  return s.finish();
}

}  // namespace qv::meshformat
