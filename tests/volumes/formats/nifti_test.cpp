// Unit tests of NIfTI volume files: round trips in every form, dimension handling, stack selection and bad files.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "volumes/formats/nifti.h"

using namespace qv;

namespace {

std::string quiet(auto fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}

struct tempdir {
  std::filesystem::path path;
  tempdir() {
    path = std::filesystem::temp_directory_path() / ("qv-nifti-" + std::to_string(::getpid()) + "-" +
                                                     testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(path);
  }
  ~tempdir() { std::filesystem::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }
};

void write_file(const std::string& name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}

std::string read_file(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// An asymmetric volume: every voxel a distinct value.
scalarfield sample(scalartag t, std::int64_t x = 3, std::int64_t y = 4, std::int64_t z = 5) {
  scalarfield f;
  scalar::create(f, std::uint8_t(t), x, y, z);
  for (std::int64_t k = 1; k <= z; ++k)
    for (std::int64_t j = 1; j <= y; ++j)
      for (std::int64_t i = 1; i <= x; ++i) scalar::set(f, i, j, k, t == scalartag::mono ? (i + j + k) % 2 : 100 * k + 10 * j + i);
  frame_set_matrix(f.frame, framemath::matrix{{0, 2, 0, -3, 0, 0, 0, 0, 4}});
  frame_set_offset(f.frame, {1, 2, 3});
  return f;
}

bool same_voxels(const scalarfield& a, const scalarfield& b) {
  if (a.width != b.width || a.height != b.height || a.depth != b.depth) return false;
  for (std::int64_t k = 1; k <= a.depth; ++k)
    for (std::int64_t j = 1; j <= a.height; ++j)
      for (std::int64_t i = 1; i <= a.width; ++i)
        if (scalar::get(a, i, j, k) != scalar::get(b, i, j, k)) return false;
  return true;
}

// A single-file NIfTI of int16 voxels with the given dims.
std::string int16_file(std::vector<std::int16_t> dims, const std::vector<std::int16_t>& voxels, float vox_offset = 352) {
  nifti::header h = nifti::make_header(1, 1, 1, 4, 16, {}, {}, false);
  for (int i = 0; i < 8; ++i) h.dim[i] = i < int(dims.size()) ? dims[std::size_t(i)] : 1;
  h.vox_offset = vox_offset;
  std::string b = nifti::bytes_of(h) + std::string(4, '\0');
  b.append(reinterpret_cast<const char*>(voxels.data()), voxels.size() * 2);
  return b;
}

std::vector<std::int16_t> counting(int n) {
  std::vector<std::int16_t> v(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) v[std::size_t(i)] = std::int16_t(i);
  return v;
}

}  // namespace

TEST(nifti_file, every_form_round_trips_voxels_and_frame) {
  tempdir d;
  for (scalartag t : {scalartag::mono, scalartag::gray, scalartag::fullgray})
    for (const char* name : {"v.nii", "v.nii.gz", "v.hdr", "v.img.gz"}) {
      scalarfield f = sample(t), g;
      std::string written;
      quiet([&] { written = scalar::save_nifti(f, d / name); });
      ASSERT_FALSE(written.empty()) << name;
      // mono goes out as bytes 0 and 1, which read back as gray (into mono they would be below 127)
      std::uint8_t back = std::uint8_t(t == scalartag::mono ? scalartag::gray : t);
      quiet([&] { EXPECT_TRUE(scalar::load_nifti(g, back, d / name, 0)) << name; });
      EXPECT_TRUE(same_voxels(f, g)) << name << " " << int(t);
      for (int i = 0; i < 9; ++i) EXPECT_NEAR(g.frame.matrix.m[i], f.frame.matrix.m[i], 1e-6) << name;
      EXPECT_EQ(g.frame.offset, f.frame.offset);
      EXPECT_EQ(g.description, u"quorvex volume");
    }
  EXPECT_TRUE(std::filesystem::exists(d / "v.img"));
  EXPECT_EQ(read_file(d / "v.hdr").size(), 348u);                 // no extender in the pair
  EXPECT_EQ(read_file(d / "v.nii").size(), 352u + 3 * 4 * 5 * 2);   // the last form written was fullgray
}

TEST(nifti_file, name_without_known_extension_gets_nii) {
  tempdir d;
  scalarfield f = sample(scalartag::gray);
  std::string out = quiet([&] { EXPECT_EQ(scalar::save_nifti(f, d / "plain"), d / "plain.nii"); });
  EXPECT_EQ(out.substr(0, 12), "Write file (");
}

TEST(nifti_file, load_prints_read_line_progress_and_transformation) {
  tempdir d;
  write_file(d / "a.nii", int16_file({3, 2, 1, 1}, {-1, 0, 1, 2, 3, 4}));
  scalarfield f;
  std::string out = quiet([&] { scalar::load_nifti(f, 151, d / "a.nii", 0); });
  EXPECT_EQ(out.substr(0, out.find('\n')), "Read file (" + d / "a.nii" + ").");
  EXPECT_NE(out.find("  3DGrey (-Fullgrey) with (2x1x1)"), std::string::npos) << out;
  EXPECT_NE(out.find("  Transformation: (<1,0,0>;<0,1,0>;<0,0,1>) + <0,0,0>\n"), std::string::npos) << out;
  EXPECT_EQ(scalar::get(f, 1, 1, 1), 32767);
}

TEST(nifti_file, vox_offset_zero_reads_at_352_and_larger_ones_are_kept) {
  tempdir d;
  write_file(d / "z.nii", int16_file({3, 2, 1, 1}, {5, 6}, 0));
  scalarfield f;
  quiet([&] { scalar::load_nifti(f, 151, d / "z.nii", 0); });
  EXPECT_EQ(scalar::get(f, 2, 1, 1), 6 + 32768);
  std::string b = int16_file({3, 2, 1, 1}, {}, 360);
  b += std::string(8, '\x7f');
  b.append("\x07\x00\x09\x00", 4);
  write_file(d / "o.nii", b);
  quiet([&] { scalar::load_nifti(f, 151, d / "o.nii", 0); });
  EXPECT_EQ(scalar::get(f, 1, 1, 1), 7 + 32768);
}

TEST(nifti_file, fourth_dimension_selects_a_stack_counted_from_either_end) {
  tempdir d;
  write_file(d / "s.nii", int16_file({4, 3, 3, 4, 5}, counting(3 * 3 * 4 * 5)));
  struct row {
    std::int64_t stack, first;
  };
  for (row r : {row{0, 0}, row{1, 0}, row{2, 36}, row{-1, 144}, row{-5, 0}, row{5, 144}}) {
    scalarfield f;
    quiet([&] { EXPECT_TRUE(scalar::load_nifti(f, 151, d / "s.nii", r.stack)); });
    EXPECT_EQ(f.depth, 4);
    EXPECT_EQ(scalar::get(f, 1, 1, 1), r.first + 32768) << r.stack;
  }
  scalarfield f;
  EXPECT_NE(quiet([&] { scalar::load_nifti(f, 151, d / "s.nii", 6); })
                .find("  Wrong selected stack 6 from [1..5]! Create empty field.\n"),
            std::string::npos);
  EXPECT_FALSE(scalar::ifscalar(f));
}

TEST(nifti_file, singleton_axes_collapse_into_the_fourth) {
  tempdir d;
  write_file(d / "c.nii", int16_file({4, 1, 2, 3, 4}, counting(24)));
  scalarfield f;
  quiet([&] { scalar::load_nifti(f, 151, d / "c.nii", 0); });
  EXPECT_EQ((std::vector<std::int64_t>{f.width, f.height, f.depth}), (std::vector<std::int64_t>{2, 3, 4}));
  EXPECT_EQ(scalar::get(f, 2, 3, 4), 23 + 32768);
}

TEST(nifti_file, bad_files_print_their_line_and_leave_an_empty_field) {
  tempdir d;
  std::string good = int16_file({3, 2, 2, 2}, counting(8));
  auto with_int = [&](std::size_t offset, auto v) {
    std::string b = good;
    std::memcpy(b.data() + offset, &v, sizeof v);
    return b;
  };
  struct row {
    std::string name, bytes, line;
  };
  std::vector<row> rows = {
      {"size.nii", with_int(0, std::int32_t(300)), "  Wrong header! Create empty field.\n"},
      {"two.nii", with_int(0, std::int32_t(540)), "  Nifti-2 currently not supported! Create empty field.\n"},
      {"neg.nii", with_int(42, std::int16_t(-4)), "  Bad dim size (-4x2x2)! Create empty field.\n"},
      {"dim0.nii", with_int(40, std::int16_t(9)), "  Bad dim size (2x2x2x1x1x1x1)! Create empty field.\n"},
      {"type.nii", with_int(70, std::int16_t(32)), "  Bad dim values! Create empty field.\n"},
      {"huge.nii",
       [&] {
         std::string b = good;
         std::int16_t v = 32767;
         for (std::size_t o : {42, 44, 46}) std::memcpy(b.data() + o, &v, 2);
         return b;
       }(),
       "Not enough memory! Create empty field.\n"},
      {"short.nii", good.substr(0, 200), "  Wrong header! Create empty field.\n"},
      {"fake.nii.gz", good, "  Couldn't read File ("},
  };
  rows.push_back({"big.nii",
                  [&] {
                    std::string b = with_int(42, std::int16_t(32767));
                    std::int16_t v = 32767;
                    std::memcpy(b.data() + 44, &v, 2);
                    return b;
                  }(),
                  "  Wrong file size! Header: 32767x32767x2 x 2 bytes\n"});
  for (const row& r : rows) {
    write_file(d / r.name, r.bytes);
    scalarfield f;
    std::string out = quiet([&] { EXPECT_FALSE(scalar::load_nifti(f, 151, d / r.name, 0)); });
    EXPECT_NE(out.find(r.line), std::string::npos) << r.name << ": " << out;
    EXPECT_FALSE(scalar::ifscalar(f)) << r.name;
  }
  scalarfield f;
  EXPECT_EQ(quiet([&] { scalar::load_nifti(f, 151, d / "missing.nii", 0); }),
            "  Couldn't read File (" + d / "missing.nii" + ")! Create empty field.\n");
}

TEST(nifti_file, truncated_data_give_zero_voxels_of_the_header_size) {
  tempdir d;
  write_file(d / "t.nii", int16_file({3, 2, 2, 2}, counting(5)));
  scalarfield f;
  std::string out = quiet([&] { scalar::load_nifti(f, 151, d / "t.nii", 0); });
  EXPECT_NE(out.find("  Wrong file size! Header: 2x2x2 x 2 bytes\n  Calculated type (bytes): 1.25\n"),
            std::string::npos)
      << out;
  EXPECT_EQ(f.depth, 2);
  EXPECT_TRUE(scalar::ifplain(f));
  EXPECT_EQ(scalar::get(f, 1, 1, 1), 0);
}

TEST(nifti_file, truncated_gzip_keeps_what_it_holds) {
  tempdir d;
  scalarfield f = sample(scalartag::fullgray, 100, 100, 100), g;
  quiet([&] { scalar::save_nifti(f, d / "t.nii.gz"); });
  std::string b = read_file(d / "t.nii.gz");
  write_file(d / "cut.nii.gz", b.substr(0, b.size() / 2));
  quiet([&] { scalar::load_nifti(g, 151, d / "cut.nii.gz", 0); });
  EXPECT_EQ(g.depth, 100);
}

// The zipped form streams its voxels into the field: stacks past an offset with
// extension bytes, both the direct and the converting target, and a stream cut
// short, which must report the bytes it really held.
TEST(nifti_file, zipped_stream_reads_like_the_plain_file_and_reports_its_real_length) {
  tempdir d;
  std::vector<std::int16_t> v = counting(3 * 3 * 4 * 5);
  for (auto& x : v) x = std::int16_t(x * 211 - 9000);
  std::string plain = int16_file({4, 3, 3, 4, 5}, {}, 368);
  plain += std::string(16, '\x11');
  plain.append(reinterpret_cast<const char*>(v.data()), v.size() * 2);
  write_file(d / "s.nii", plain);
  auto zip = [&](const std::string& name, const std::string& bytes) {
    gzFile g = gzopen((d / name).c_str(), "wb6");
    gzwrite(g, bytes.data(), unsigned(bytes.size()));
    gzclose(g);
  };
  zip("s.nii.gz", plain);
  for (std::uint8_t tag : {std::uint8_t(151), std::uint8_t(150)})
    for (std::int64_t stack : {1, 3, -1}) {
      scalarfield a, b;
      quiet([&] { EXPECT_TRUE(scalar::load_nifti(a, tag, d / "s.nii", stack)); });
      quiet([&] { EXPECT_TRUE(scalar::load_nifti(b, tag, d / "s.nii.gz", stack)); });
      EXPECT_TRUE(same_voxels(a, b)) << int(tag) << " " << stack;
    }
  std::string cut = plain.substr(0, 368 + 3 * 3 * 4 * 2 + 7);   // stack 2 breaks off after 7 bytes
  write_file(d / "cut.nii", cut);
  zip("cut.nii.gz", cut);
  scalarfield f;
  std::string lines = "  Wrong file size! Header: 3x3x4 x 2 bytes\n  Calculated type (bytes): ";
  std::string a = quiet([&] { EXPECT_FALSE(scalar::load_nifti(f, 151, d / "cut.nii", 2)); });
  std::string b = quiet([&] { EXPECT_FALSE(scalar::load_nifti(f, 151, d / "cut.nii.gz", 2)); });
  ASSERT_NE(a.find(lines), std::string::npos) << a;
  std::size_t at = a.find(lines), end = a.find('\n', at + lines.size());
  EXPECT_NE(b.find(a.substr(at, end - at)), std::string::npos) << b;
  EXPECT_EQ(f.depth, 4);
  EXPECT_TRUE(scalar::ifplain(f));
}

TEST(nifti_file, pair_without_data_file_keeps_size_and_frame) {
  tempdir d;
  scalarfield f = sample(scalartag::gray), g;
  quiet([&] { scalar::save_nifti(f, d / "p.hdr"); });
  std::filesystem::remove(d / "p.img");
  std::string out = quiet([&] { scalar::load_nifti(g, 150, d / "p.hdr", 0); });
  EXPECT_NE(out.find("  Couldn't read File (" + d / "p.hdr" + ")! Create field without values.\n"), std::string::npos)
      << out;
  EXPECT_EQ(g.depth, 5);
  EXPECT_EQ(g.frame.offset, f.frame.offset);
}

TEST(nifti_file, atlas_beside_the_volume_brings_its_labels) {
  tempdir d;
  scalarfield f = sample(scalartag::gray), g;
  quiet([&] { scalar::save_nifti(f, d / "brain.nii.gz"); });
  write_file(d / "brain.atlas.xml",
             "<?xml version=\"1.0\"?>\n<atlas>\n<header/>\n<data>\n<area index=\"0\" name=\"Air\"/>\n"
             "<area index=\"1\" name=\"Grey matter\"/>\n</data>\n</atlas>\n");
  std::string out = quiet([&] { scalar::load_nifti(g, 150, d / "brain.nii.gz", 0); });
  EXPECT_NE(out.find("  Found 2 labels.\n"), std::string::npos) << out;
  EXPECT_EQ(scalar::label_get(g, 1), u"Grey matter");
}

TEST(nifti_file, info_of_other_names_says_why_not) {
  EXPECT_EQ(scalar::info("a.mif"), std::vector<widetext>{u"Header file inside (a.m?f*)!"});
  EXPECT_EQ(scalar::info("x/a.pcr"), std::vector<widetext>{u"Header file inside (x/a.pcr)!"});
  EXPECT_EQ(scalar::info("a.png"), std::vector<widetext>{u"Not provided!"});
  EXPECT_EQ(scalar::info("a.mif.gz"), std::vector<widetext>{u"Zipped file not provided!"});
}

TEST(nifti_file, framework_gives_size_and_frame_without_values) {
  tempdir d;
  scalarfield f = sample(scalartag::fullgray), g;
  quiet([&] { scalar::save_nifti(f, d / "fw.nii"); });
  quiet([&] { EXPECT_TRUE(scalar::load_framework(g, 150, d / "fw.nii")); });
  EXPECT_EQ(g.tag, scalartag::gray);
  EXPECT_EQ(g.depth, 5);
  EXPECT_TRUE(scalar::ifplain(g));
  EXPECT_EQ(g.frame.offset, f.frame.offset);
}
