// Unit tests of the diffusion commands: method lines, sizing and frame of the result, the frame lines.
#include <gtest/gtest.h>
#include <array>
#include <string>

#include "app/families.h"
#include "orientation/diffusion.h"
#include "orientation/vectorfield.h"
#include "volumes/scalarfield.h"

using namespace qv;

namespace {

// Runs macro text in a fresh engine and gives what it printed.
std::string run(const std::string& text) {
  macroengine m;
  m.outfiles.emplace_back();
  app::register_all(m);
  lines::split(m.lines, "debug.no\n" + text, false);
  m.lines.filename = "test.macro";
  testing::internal::CaptureStdout();
  macro::run(m);
  return testing::internal::GetCapturedStdout();
}

bool contains(const std::string& out, const std::string& line) { return out.find(line) != std::string::npos; }

}  // namespace

// Numbers follow the number formatter, which drops the noise of "4.99999..." to "5".
TEST(diffusion_commands, method_lines_name_each_method_with_its_numbers) {
  struct row { int method; std::int64_t n; double max, angle; std::string line; };
  const row rows[] = {
      {1, 16, 0.25, 5 * M_PI / 180, "Method: orven2013 = only the single best vector"},
      {2, 16, 0.25, 5 * M_PI / 180, "Method: orven2014a = mean the two best vectors, if distance < 8"},
      {2, 5, 0.25, 5 * M_PI / 180, "Method: orven2014a = mean the two best vectors, if distance < 2.5"},
      {3, 16, 0.25, 5 * M_PI / 180, "Method: orven2014b = mean (same SD) best vectors, only for 25.00 %"},
      {4, 16, 0.3, 0.1, "Method: orven2015a = mean (same SD) best vectors (around 5.73°), only for 30.00 %"},
      {5, 16, 0.25, 5 * M_PI / 180, "Method: orven2015b = mean the best vectors (around 5°), only for 25.00 %"},
      {0, 16, 0.25, 5 * M_PI / 180, "Method: orven2015b = mean the best vectors (around 5°), only for 25.00 %"},
      {9, 16, 0.25, 5 * M_PI / 180, "Method: orven2015b = mean the best vectors (around 5°), only for 25.00 %"},
      {6, 16, 0.25, 5 * M_PI / 180, "Method: orven2019 = mean (same SD) best vectors (around 5°), only for 25.00 %"},
  };
  for (const row& r : rows) {
    diffusion::settings s;
    s.method = r.method, s.n = r.n, s.max = r.max, s.angle = r.angle;
    EXPECT_EQ(text::utf8(diffusion::method_line(s)), r.line);
  }
}

TEST(diffusion_commands, the_scan_size_must_be_below_half_of_every_axis) {
  workspace::reset(workspace::list<scalarfield>());
  scalarfield& f = *workspace::current<scalarfield>();
  f.width = 9, f.height = 9, f.depth = 8;
  const std::string out = run("scalar.diffusion 4\nscalar.diffusion 3\n");
  EXPECT_TRUE(contains(out, "Wrong scan size (4)!\n"));
  EXPECT_FALSE(contains(out, "Wrong scan size (3)!"));
  EXPECT_TRUE(contains(out, "Working threads: 8\nParallel: "));
}

TEST(diffusion_commands, a_reduced_scan_sizes_the_vector_field_and_scales_its_frame) {
  workspace::reset(workspace::list<scalarfield>());
  workspace::reset(workspace::list<vectorfield>());
  scalarfield& f = *workspace::current<scalarfield>();
  f.width = 11, f.height = 10, f.depth = 9;
  frame_set_matrix(f.frame, framemath::matrix{{0.5, 0, 0, 0, 1, 0, 0, 0, 2}});
  frame_set_offset(f.frame, {1, 2, 3});
  const std::string out = run("scalar.diffusion.method 1\nscalar.diffusion.x2 2\nscalar.diffusion.x2 2\n");
  const std::string assigned = "  Assigned vector field (5x5x4) updated.\n";
  const std::size_t first = out.find(assigned);
  ASSERT_NE(first, std::string::npos) << out;
  EXPECT_EQ(out.find(assigned, first + 1), std::string::npos) << "the second run keeps the field";
  EXPECT_TRUE(contains(out, "Method: orven2013 = only the single best vector\nWorking threads: 4\n"));
  const vectorfield& v = *workspace::current<vectorfield>();
  EXPECT_EQ(v.width * 100 + v.height * 10 + v.depth, 554);
  EXPECT_EQ(v.frame.matrix, (framemath::matrix{{1, 0, 0, 0, 2, 0, 0, 0, 4}}));
  EXPECT_EQ(v.frame.offset, (framemath::vector{1, 2, 3}));
  EXPECT_EQ(v.frame.inverse.m[8], 0.25);
}

// Scan length 1, mean of a line: at (2,2,2) the two best lines tie and method 1
// gives null; at (3,3,3), the first retry (+1,+1,+1), the line (0,1,0) is the
// single best with mean 9 (worked out line by line in diffusion_kernel_test.cpp).
TEST(diffusion_commands, the_adaptive_form_retries_a_null_voxel_and_writes_eight_voxels_in_source_coordinates) {
  auto fresh = [] {
    workspace::reset(workspace::list<scalarfield>());
    workspace::reset(workspace::list<vectorfield>());
    scalarfield& f = *workspace::current<scalarfield>();
    scalar::create(f, 150, 6, 6, 6);
    for (auto [x, y, z, v] : {std::array<std::int64_t, 4>{1, 3, 2, 12}, {1, 2, 2, 12}, {2, 1, 2, 12}, {2, 2, 2, 12},
                              {2, 3, 2, 30}, {2, 4, 3, 12}, {2, 3, 3, 12}, {3, 2, 3, 12}, {3, 3, 3, 12}, {3, 4, 3, 3}})
      scalar::set(f, x, y, z, v);
  };
  const std::string settings = "thread.max := 2\nscalar.submethod 1\nscalar.diffusion.method 1\n";
  fresh();
  run(settings + "scalar.diffusion.x2 1\n");
  const vectorfield& v = *workspace::current<vectorfield>();
  ASSERT_EQ(v.width * 100 + v.height * 10 + v.depth, 333);
  for (std::int64_t z = 1; z <= 3; ++z)   // the plain form samples (2,2,2) only, and finds null
    for (std::int64_t y = 1; y <= 3; ++y)
      for (std::int64_t x = 1; x <= 3; ++x) EXPECT_EQ(vector::get(v, x, y, z), (framemath::vector{})) << x << y << z;
  fresh();
  run(settings + "scalar.diffusion.adaptive.x2 1\n");
  const vectorfield& a = *workspace::current<vectorfield>();
  ASSERT_EQ(a.width * 100 + a.height * 10 + a.depth, 333);
  for (std::int64_t z = 1; z <= 3; ++z)
    for (std::int64_t y = 1; y <= 3; ++y)
      for (std::int64_t x = 1; x <= 3; ++x) {
        const bool corner = x >= 2 && y >= 2 && z >= 2;   // (2 + a, 2 + b, 2 + c); the rest lies beyond the field
        EXPECT_EQ(vector::get(a, x, y, z), (corner ? framemath::vector{0, 9, 0} : framemath::vector{})) << x << y << z;
      }
}
