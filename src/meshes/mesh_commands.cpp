// mesh_commands.cpp: handlers and table of the mesh family's own commands.
#include "meshes/mesh_commands.h"

#include "meshes/mesh.h"
#include "meshes/surface.h"

namespace qv::meshes {

void register_commands(macroengine& m) {
  workspace::register_family<mesh>(m);
  register_surface(m);
}

}  // namespace qv::meshes
