// vector_formats.h: the file forms of the vector field, one writer (and reader where there is one) per format.
#pragma once
#include <string>

#include "orientation/vectorfield.h"

namespace qv::vector {
// Each stored vector is multiplied by `scale`, component by component. Writers
// give false when the file could not be written completely.
bool save_nifti(const vectorfield& f, const std::string& name, vector scale, bool zipped);
bool save_avs(const vectorfield& f, const std::string& name, vector scale);
bool save_amira(const vectorfield& f, const std::string& name, vector scale);
bool save_limbert(const vectorfield& f, const std::string& name, vector scale);
bool save_text(const vectorfield& f, const std::string& name, vector scale);
// Readers size the field anew, or leave it empty with the reason printed.
// `frame`: only offset and matrix into the field; `framework`: size and frame, all null.
enum class niftipart : std::uint8_t { all, frame, framework };
bool load_nifti(vectorfield& f, const std::string& name, niftipart part = niftipart::all);
bool load_text(vectorfield& f, const std::string& name);
}  // namespace qv::vector
