// nifti.h: NIfTI-1 and Analyze volumes (".nii", ".hdr"+".img", and their ".gz" forms) for the scalar field.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "volumes/formats/nifti_header.h"
#include "volumes/scalarfield.h"

namespace qv::scalar {

// Lower-cased name tests used by the dispatch.
std::string lower_name(const std::string& name);
bool ends_with(const std::string& s, const char* tail);

// Reads a volume into `f` with element type `tag`; `stack` selects the volume
// of a 4D file (negative counts from the end, 0 is the first). Every failure
// leaves an empty or zero-filled field and prints its line; false then.
bool load_nifti(scalarfield& f, std::uint8_t tag, const std::string& name, std::int64_t stack);
// Only the header of `name`: false with the failure line when there is none.
bool read_header(const std::string& name, nifti::header& h, bool& swapped);
// A field of the header's sizes with zero voxels and the header's frame.
bool load_framework(scalarfield& f, std::uint8_t tag, const std::string& name);
// The frame a header describes, as `load_nifti` sets it.
void frame_from_header(const nifti::header& h, qv::frame& fr);

// Writes `f`; ".nii" is appended unless the name ends in ".nii", ".nii.gz",
// ".hdr", ".hdr.gz" or ".img". Gives the name written, empty after a failure.
std::string save_nifti(const scalarfield& f, const std::string& name);

// The `scalar.info` text of a NIfTI or Analyze header, or the line that says why not.
std::vector<widetext> info(const std::string& name);

}  // namespace qv::scalar
