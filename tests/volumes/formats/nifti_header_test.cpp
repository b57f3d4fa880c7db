// Unit tests of the NIfTI-1 header: bytes at their offsets, byte order, type codes, the frame and the info lines.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "volumes/formats/nifti_header.h"

using namespace qv;

namespace {

template <typename T>
T at(const std::string& b, std::size_t offset) {
  T v;
  std::memcpy(&v, b.data() + offset, sizeof(T));
  return v;
}

framemath::matrix rotated() {   // 90 degrees about z, voxel steps 2, 3, 4
  return framemath::matrix{{0, 2, 0, -3, 0, 0, 0, 0, 4}};
}

}  // namespace

TEST(nifti_header, written_fields_stand_at_their_offsets) {
  nifti::header h = nifti::make_header(5, 6, 7, 512, 16, rotated(), {10, 20, 30}, false);
  std::string b = nifti::bytes_of(h);
  ASSERT_EQ(b.size(), 348u);
  EXPECT_EQ(at<std::int32_t>(b, 0), 348);
  EXPECT_EQ(b[38], 'r');
  EXPECT_EQ(b[39], 0);
  const std::int16_t dims[8] = {3, 5, 6, 7, 1, 1, 1, 1};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(at<std::int16_t>(b, 40 + 2 * std::size_t(i)), dims[i]) << i;
  EXPECT_EQ(at<std::int16_t>(b, 68), 0);
  EXPECT_EQ(at<std::int16_t>(b, 70), 512);
  EXPECT_EQ(at<std::int16_t>(b, 72), 16);
  EXPECT_EQ(at<float>(b, 76), 1.f);
  EXPECT_EQ(at<float>(b, 80), 2.f);
  EXPECT_EQ(at<float>(b, 84), 3.f);
  EXPECT_EQ(at<float>(b, 88), 4.f);
  EXPECT_EQ(at<float>(b, 108), 352.f);
  EXPECT_EQ(at<float>(b, 112), 1.f);
  EXPECT_EQ(at<float>(b, 116), 0.f);
  EXPECT_EQ(std::uint8_t(b[122]), 1);
  EXPECT_EQ(std::uint8_t(b[123]), 10);
  EXPECT_EQ(at<float>(b, 124), 0.f);
  EXPECT_EQ(at<std::int16_t>(b, 252), 1);
  EXPECT_EQ(at<std::int16_t>(b, 254), 1);
  EXPECT_EQ(at<float>(b, 268), 10.f);
  EXPECT_EQ(at<float>(b, 272), 20.f);
  EXPECT_EQ(at<float>(b, 276), 30.f);
  const float srow[12] = {0, -3, 0, 10, 2, 0, 0, 20, 0, 0, 4, 30};   // column k of the srows is row k
  for (int i = 0; i < 12; ++i) EXPECT_EQ(at<float>(b, 280 + 4 * std::size_t(i)), srow[i]) << i;
  EXPECT_EQ(std::string(b.data() + 344, 4), std::string("n+1\0", 4));
  EXPECT_EQ(std::string(nifti::bytes_of(nifti::make_header(1, 1, 1, 2, 8, {}, {}, true)).data() + 344, 4),
            std::string("ni1\0", 4));
}

TEST(nifti_header, quaternion_of_a_rotation_gives_back_its_matrix) {
  nifti::header h = nifti::make_header(5, 6, 7, 2, 8, rotated(), {1, 2, 3}, false);
  EXPECT_NEAR(h.quatern[0], 0, 1e-6);
  EXPECT_NEAR(h.quatern[1], 0, 1e-6);
  EXPECT_NEAR(h.quatern[2], std::sqrt(0.5), 1e-6);
  h.sform_code = 0;   // the frame now comes from the quaternion
  framemath::matrix m;
  framemath::vector o;
  nifti::transformation(h, m, o);
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(m.m[i], rotated().m[i], 1e-5) << i;
  EXPECT_EQ(o, (framemath::vector{1, 2, 3}));
}

TEST(nifti_header, transformation_takes_sform_then_qform_then_pixdim) {
  nifti::header h;
  h.pixdim[1] = 2, h.pixdim[2] = 3, h.pixdim[3] = 4;
  framemath::matrix m;
  framemath::vector o;
  nifti::transformation(h, m, o);
  EXPECT_EQ(m, (framemath::matrix{{2, 0, 0, 0, 3, 0, 0, 0, 4}}));
  h.qform_code = 2;   // the code stands where qfac would: the z step doubles
  h.qoffset[0] = 5;
  nifti::transformation(h, m, o);
  EXPECT_EQ(m, (framemath::matrix{{2, 0, 0, 0, 3, 0, 0, 0, 8}}));
  EXPECT_EQ(o, (framemath::vector{5, 0, 0}));
  h.sform_code = 1;   // srows all zero: a null row falls back to the pixdim diagonal
  nifti::transformation(h, m, o);
  EXPECT_EQ(m, (framemath::matrix{{2, 0, 0, 0, 3, 0, 0, 0, 4}}));
  h.pixdim[2] = 0;
  nifti::transformation(h, m, o);
  EXPECT_EQ(m, framemath::matrix{});
}

TEST(nifti_header, other_byte_order_is_detected_and_read_swapped) {
  std::string b = nifti::bytes_of(nifti::make_header(5, 6, 7, 4, 16, rotated(), {1, 2, 3}, false));
  std::string big = b;
  auto flip = [&](std::size_t offset, std::size_t n) { std::reverse(big.begin() + long(offset), big.begin() + long(offset + n)); };
  flip(0, 4);
  for (std::size_t i = 0; i < 8; ++i) flip(40 + 2 * i, 2);
  flip(70, 2), flip(72, 2);
  for (std::size_t i = 0; i < 12; ++i) flip(280 + 4 * i, 4);
  nifti::header h;
  bool swapped = false;
  EXPECT_EQ(nifti::parse(big, h, swapped), nifti::headerkind::nifti1);
  EXPECT_TRUE(swapped);
  EXPECT_EQ(h.dim[3], 7);
  EXPECT_EQ(h.datatype, 4);
  EXPECT_EQ(h.srow[0][1], -3.f);
}

TEST(nifti_header, sizeof_hdr_540_is_nifti2_and_anything_else_wrong) {
  std::string b(348, '\0');
  nifti::header h;
  bool swapped;
  std::int32_t n = 540;
  std::memcpy(b.data(), &n, 4);
  EXPECT_EQ(nifti::parse(b, h, swapped), nifti::headerkind::nifti2);
  n = 349;
  std::memcpy(b.data(), &n, 4);
  EXPECT_EQ(nifti::parse(b, h, swapped), nifti::headerkind::wrong);
  EXPECT_EQ(nifti::parse(b.substr(0, 100), h, swapped), nifti::headerkind::wrong);
}

TEST(nifti_header, type_pairs_give_storage_codes) {
  struct row {
    int bitpix, datatype, code;
  };
  const row rows[] = {{8, 2, 8},      {8, 256, -8},    {16, 512, 16},   {16, 4, -16},  {32, 768, 32},
                      {32, 8, -32},   {64, 1280, 64},  {64, 1024, -64}, {32, 16, 1032}, {64, 64, 1064},
                      {24, 128, 2024}, {32, 2304, 2032}, {16, 2, 0},    {32, 32, 0}};
  for (const row& r : rows) EXPECT_EQ(nifti::storage_code(r.bitpix, r.datatype), r.code) << r.datatype;
}

TEST(nifti_header, names_of_types_and_intents) {
  EXPECT_EQ(widetext(nifti::datatype_name(2)), u"INT8");
  EXPECT_EQ(widetext(nifti::datatype_name(256)), u"INT8");
  EXPECT_EQ(widetext(nifti::datatype_name(512)), u"UINT16");
  EXPECT_EQ(widetext(nifti::datatype_name(2304)), u"Unknown type");
  EXPECT_EQ(widetext(nifti::intent_name(2)), u"CORREL");
  EXPECT_EQ(widetext(nifti::intent_name(22)), u"PVAL");
  EXPECT_EQ(widetext(nifti::intent_name(1007)), u"VECTOR");
  EXPECT_EQ(widetext(nifti::intent_name(0)), u"No intent");
}

TEST(nifti_header, info_lines_follow_the_header) {
  nifti::header h = nifti::make_header(5, 6, 7, 512, 16, rotated(), {10, 20, 30}, false);
  std::vector<widetext> l = nifti::info_lines(h);
  ASSERT_EQ(l.size(), 38u);
  EXPECT_EQ(l[0], u"Nifti header of one file - NII Version 1");
  EXPECT_EQ(l[1], u"==================");
  EXPECT_EQ(l[2], u"Description: quorvex volume");
  EXPECT_EQ(l[4], u"  Size: 348");
  EXPECT_EQ(l[6], u"  Slice order: 0 Timing order: 1");
  EXPECT_EQ(l[10], u"Affine transformtion (1).");
  EXPECT_EQ(l[11], u"  0\t-3\t0\t10");
  EXPECT_EQ(l[14], u"Quaternion (1).");
  EXPECT_EQ(l[16], u"  offset = [10, 20, 30]");
  EXPECT_EQ(l[17], u"Data array dimensions (16 bits & UINT16) data type).");
  EXPECT_EQ(l[19], u"  Dim[1] = 5");
  EXPECT_EQ(l[26], u"Grid spacings.");
  EXPECT_EQ(l[27], u"  Pixdim[0] = qfac = 1");
  EXPECT_EQ(l[28], u"  Pixdim[1] = 2 mm");
  EXPECT_EQ(l[31], u"  Pixdim[4] = 1 s");
  EXPECT_EQ(l.back(), u"  Data offset: 352");
  nifti::header pair = nifti::make_header(1, 1, 1, 2, 8, {}, {}, true);
  EXPECT_EQ(nifti::info_lines(pair)[0], u"Nifti header - NII Version 1");
  pair.magic[0] = 0;
  EXPECT_EQ(nifti::info_lines(pair)[0], u"Nifti header - HDR");
  pair.sizeof_hdr = 1234;
  EXPECT_EQ(nifti::info_lines(pair), std::vector<widetext>{u"Error (Header size = 1234)! Not a nifti 1 file format!"});
}
