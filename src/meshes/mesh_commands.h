// mesh_commands.h: the registrar of the mesh family and of the surface commands of scalar fields.
#pragma once

namespace qv {
struct macroengine;
namespace meshes {
// `mesh.use` and its kin, then the mesh commands, then `scalar.surface` and its kin.
void register_commands(macroengine& m);
}  // namespace meshes
}  // namespace qv
