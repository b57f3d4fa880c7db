// mesh_formats.h: the readers and writers of mesh files, one file per format.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "meshes/mesh.h"

namespace qv::meshformat {

// Readers add to `m`. `bytes` is the whole file; `name` is used in messages only.
// A reader that fails at the header prints why and leaves `m` as it was.
void read_dxf(qv::mesh& m, std::string_view bytes);
void read_obj(qv::mesh& m, std::string_view bytes);
void read_ply(qv::mesh& m, std::string_view bytes, wideview name);
void read_stl(qv::mesh& m, std::string_view bytes);
void read_vrml(qv::mesh& m, std::string_view bytes, bool wrl);
void read_pov(qv::mesh& m, std::string_view bytes);
void read_anysurf(qv::mesh& m, std::string_view bytes);
void read_asc(qv::mesh& m, std::string_view bytes);

// Writers give false when the file could not be opened or written completely.
// `digits`: decimals of the OBJ and PLY numbers, 0 for the full form.
struct objmaterial {
  std::string library, name;   // both empty: no "mtllib" and "usemtl" lines
};
bool save_obj(const qv::mesh& m, wideview name, const objmaterial& material, int digits);
bool save_material(wideview name, std::string_view material, std::int64_t kind, num::vector colour);
bool save_ply(const qv::mesh& m, wideview name);
bool save_ply_ascii(const qv::mesh& m, wideview name, int digits);
bool save_vtp(const qv::mesh& m, wideview name);
bool save_stl(const qv::mesh& m, wideview name);   // binary
bool save_dxf(const qv::mesh& m, wideview name);
enum class ascform : std::uint8_t { asc, csv, prn };
bool save_asc(const qv::mesh& m, wideview name, ascform form);
bool save_open(const qv::mesh& m, wideview name);
bool save_mel(const qv::mesh& m, wideview name, bool smooth);
// `smooth`: normals averaged from the faces; `normals`: the stored normals.
enum class povnormals : std::uint8_t { none, smooth, stored };
bool save_pov(const qv::mesh& m, wideview name, povnormals normals, bool include);

}  // namespace qv::meshformat
