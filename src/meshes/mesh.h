// mesh.h: the surface mesh record and its workspace list (counts and name so far).
#pragma once
#include <cstdint>
#include <memory>

#include "images/workspace.h"

namespace qv {

struct mesh {
  std::int64_t points = 0, faces = 0, normals = 0;
  widetext filename;
};

template <>
struct workspace_traits<mesh> {
  static constexpr const char* prefix = "mesh.";
  static constexpr const char16_t* word = u"mesh";
  static constexpr const char16_t* dumpname = u"mesh";
  static constexpr const char16_t* emptyline = u"  Meshlist empty!";
  static constexpr const char16_t* currenthead = u"  Mesh (";
  static constexpr const char* usage[4] = {"mesh.use name", "mesh.swap name1 name2", "mesh.name name", "mesh.dump"};
  static constexpr std::uint8_t start_tag = 0;   // meshes have no element type
  static inline std::uint8_t default_tag = 0;
  static std::unique_ptr<mesh> create(std::uint8_t) { return std::make_unique<mesh>(); }
  static widetext entry(const mesh& f) {
    return u"mesh(points:" + nat::text(f.points) + u";faces:" + nat::text(f.faces) + u";normales:" +
           nat::text(f.normals) + u")";
  }
  static void announce(wideview, const mesh&) {}
};

}  // namespace qv
