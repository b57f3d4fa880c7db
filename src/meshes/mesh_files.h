// mesh_files.h: the registrar of `mesh.load`, `mesh.digits` and the `mesh.save*` family.
#pragma once

namespace qv {
struct macroengine;
namespace meshes {
void register_files(macroengine& m);
}  // namespace meshes
}  // namespace qv
