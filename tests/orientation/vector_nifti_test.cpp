// Unit tests of the vector NIfTI form on the shared header code: header fields and the frame read back.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "foundation/console.h"
#include "orientation/formats/vector_formats.h"
#include "volumes/formats/nifti_header.h"

using namespace qv;
using vec = framemath::vector;

namespace {
std::string temp_name(const char* tail) { return ::testing::TempDir() + "vector_nifti_" + tail; }
}  // namespace

TEST(vector_nifti, header_holds_five_dimensions_intent_vector_and_the_frame) {
  vectorfield f;
  vector::create_field(f, 89, 3, 2, 4);
  frame_set_matrix(f.frame, framemath::matrix{{0, 2, 0, -1, 0, 0, 0, 0, 0.5}});
  frame_set_offset(f.frame, {10, 20, 30});
  const std::string name = temp_name("header.nii");
  ASSERT_TRUE(vector::save_nifti(f, name, {1, 1, 1}, false));
  std::ifstream in(name, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  ASSERT_EQ(bytes.size(), 352u + 3 * 2 * 4 * 3 * 8);
  nifti::header h;
  bool swapped = true;
  ASSERT_EQ(nifti::parse(bytes, h, swapped), nifti::headerkind::nifti1);
  EXPECT_FALSE(swapped);
  const std::int16_t dims[8] = {5, 3, 2, 4, 1, 3, 1, 1};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(h.dim[i], dims[i]) << i;
  EXPECT_EQ((std::pair{h.datatype, h.bitpix}), (std::pair<std::int16_t, std::int16_t>{1024, 64}));
  EXPECT_EQ(h.intent_code, 1007);
  EXPECT_STREQ(h.descrip, "quorvex vector field");
  EXPECT_EQ(std::string(h.intent_name, 6), "VECTOR");
  EXPECT_EQ(std::string(h.magic, 4), std::string("n+1\0", 4));
  // Read back, once through sform and once with only the quaternion left.
  vectorfield back;
  ASSERT_TRUE(vector::load_nifti(back, name));
  EXPECT_EQ(back.frame.matrix.row(0), (vec{0, 2, 0}));
  EXPECT_EQ(back.frame.matrix.row(1), (vec{-1, 0, 0}));
  EXPECT_EQ(back.frame.offset, (vec{10, 20, 30}));
  h.sform_code = 0;
  const std::string qonly = temp_name("qonly.nii");
  std::ofstream(qonly, std::ios::binary) << nifti::bytes_of(h) << bytes.substr(348);
  vectorfield q;
  ASSERT_TRUE(vector::load_nifti(q, qonly));
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(q.frame.matrix.m[3 * r + c], f.frame.matrix.m[3 * r + c], 1e-6) << r << c;
  std::remove(name.c_str());
  std::remove(qonly.c_str());
}
