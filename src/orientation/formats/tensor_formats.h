// tensor_formats.h: the file forms of the tensor field: NIfTI-1 both ways, NRRD for writing.
#pragma once
#include <string>

#include "orientation/formats/vector_formats.h"
#include "orientation/tensorfield.h"

namespace qv::tensor {
// Writers give false when the file could not be written completely.
bool save_nifti(const tensorfield& f, const std::string& name, bool zipped);
// `.nrrd` holds header and data; `.nhdr` names a `.raw` file beside it for the data.
bool save_nrrd(const tensorfield& f, const std::string& name, bool detached);
// Sizes the field anew, or leaves it empty with the reason printed. `frame`:
// only offset and matrix into the field; `framework`: size and frame, all null.
bool load_nifti(tensorfield& f, const std::string& name, vector::niftipart part = vector::niftipart::all);
}  // namespace qv::tensor
