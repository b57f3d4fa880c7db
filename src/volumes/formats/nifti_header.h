// nifti_header.h: the 348-byte NIfTI-1 / Analyze header: parsing either byte order, writing, type codes, transformation and the text dump.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/widetext.h"
#include "images/frame.h"

namespace qv::nifti {

inline constexpr std::size_t header_size = 348;
inline constexpr std::int64_t data_start = 352;   // header plus the 4-byte extender

struct header {
  std::int32_t sizeof_hdr = 348;
  char regular = 0, dim_info = 0;
  std::int16_t dim[8] = {};
  float intent_p[3] = {};
  std::int16_t intent_code = 0, datatype = 0, bitpix = 0, slice_start = 0;
  float pixdim[8] = {};
  float vox_offset = 0, scl_slope = 0, scl_inter = 0;
  std::int16_t slice_end = 0;
  std::uint8_t slice_code = 0, xyzt_units = 0;
  float cal_max = 0, cal_min = 0, slice_duration = 0, toffset = 0;
  char descrip[80] = {};
  char aux_file[24] = {};
  std::int16_t qform_code = 0, sform_code = 0;
  float quatern[3] = {};   // b, c, d
  float qoffset[3] = {};
  float srow[3][4] = {};   // srow_x, srow_y, srow_z
  char intent_name[16] = {};
  char magic[4] = {};
};

enum class headerkind { nifti1, nifti2, wrong };

// Reads the header from its first 348 bytes. A sizeof_hdr that is neither 348
// nor 540 in the file's order is tried swapped; `swapped` tells the data's order.
headerkind parse(std::string_view bytes, header& h, bool& swapped);
// The 348 bytes of `h`, little-endian.
std::string bytes_of(const header& h);

// The `storage_code` of a (bitpix, datatype) pair; 0 for a pair not known.
int storage_code(int bitpix, int datatype);
// Bytes of one stored voxel: (|code| mod 1000) / 8.
inline int storage_bytes(int code) { return (code < 0 ? -code : code) % 1000 / 8; }

// The frame the header describes: sform, else qform, else pixdim.
void transformation(const header& h, framemath::matrix& m, framemath::vector& offset);
// A header for a field of these sizes, element type (datatype, bitpix) and frame.
header make_header(std::int64_t nx, std::int64_t ny, std::int64_t nz, int datatype, int bitpix,
                   const framemath::matrix& m, framemath::vector offset, bool pair);
// Quaternion b, c, d of the rotation in `m` after each row is divided by its length.
void quaternion_of(const framemath::matrix& m, float bcd[3]);

const char16_t* datatype_name(int datatype);
const char16_t* intent_name(int intent);
// The lines of `scalar.info` for a header read by `parse`.
std::vector<widetext> info_lines(const header& h);

}  // namespace qv::nifti
