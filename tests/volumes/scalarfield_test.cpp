// Unit tests of the scalar field record: type rules, reads and writes, flips, plainness and labels.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "volumes/scalar_commands.h"
#include "volumes/scalarfield.h"

using namespace qv;

namespace {

std::string quiet(auto fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}

scalarfield make(scalartag t, std::int64_t x, std::int64_t y, std::int64_t z) {
  scalarfield f;
  scalar::create(f, std::uint8_t(t), x, y, z);
  return f;
}

struct tempfile {
  std::string name;
  explicit tempfile(const std::string& leaf, const std::string& text)
      : name((std::filesystem::temp_directory_path() / (std::to_string(::getpid()) + leaf)).string()) {
    std::ofstream(name) << text;
  }
  ~tempfile() { std::filesystem::remove(name); }
};

}  // namespace

TEST(scalarfield, writes_and_settings_fit_the_element_type) {
  struct row {
    scalartag tag;
    std::int64_t in, out;
  };
  const row rows[] = {{scalartag::gray, 300, 255},     {scalartag::gray, -4, 0},      {scalartag::mono, 300, 1},
                      {scalartag::mono, 0, 0},         {scalartag::mono, -2, 0},      {scalartag::fullgray, 70000, 65535},
                      {scalartag::fullgray, 1234, 1234}};
  for (const row& r : rows) {
    scalarfield f = make(r.tag, 2, 2, 2);
    scalar::set(f, 2, 2, 2, r.in);
    scalar::set_value(f, r.in);
    scalar::set_background(f, r.in);
    EXPECT_EQ(scalar::get(f, 2, 2, 2), r.out) << r.in;
    EXPECT_EQ(f.value, r.out);
    EXPECT_EQ(f.background, r.out);
  }
}

TEST(scalarfield, outside_reads_give_background_and_outside_writes_nothing) {
  scalarfield f = make(scalartag::gray, 2, 3, 4);
  scalar::set_background(f, 9);
  for (auto [x, y, z] : {std::tuple{0, 1, 1}, {3, 1, 1}, {1, 4, 1}, {1, 1, 5}, {1, 1, 0}}) {
    scalar::set(f, x, y, z, 200);
    EXPECT_EQ(scalar::get(f, x, y, z), 9);
  }
  EXPECT_TRUE(scalar::ifplain(f));
}

TEST(scalarfield, sizes_below_one_give_a_field_without_voxels) {
  scalarfield f = make(scalartag::gray, 0, 5, 5);
  EXPECT_FALSE(scalar::ifscalar(f));
  EXPECT_EQ(scalar::bit_depth(f), 0);
  EXPECT_EQ(f.width, 0);
  EXPECT_EQ(quiet([&] { scalar::create(f, 99, 2, 2, 2); }), "Unknown imagefield!\n");
  EXPECT_EQ(f.tag, scalartag::none);
  EXPECT_EQ(scalar::bit_depth(make(scalartag::mono, 1, 1, 1)), 1);
}

TEST(scalarfield, ifplain_sees_one_differing_voxel_in_every_type) {
  for (scalartag t : {scalartag::mono, scalartag::gray, scalartag::fullgray}) {
    scalarfield f = make(t, 3, 3, 3);   // 27 voxels: mono has a partial last byte
    EXPECT_TRUE(scalar::ifplain(f));
    scalar::set(f, 3, 3, 3, 1);
    EXPECT_FALSE(scalar::ifplain(f)) << int(t);
  }
}

TEST(scalarfield, flips_mirror_each_axis_in_every_type) {
  for (scalartag t : {scalartag::mono, scalartag::gray, scalartag::fullgray})
    for (int axis = 0; axis < 3; ++axis) {
      scalarfield f = make(t, 3, 4, 5);
      scalar::set(f, 1, 1, 1, 1);
      scalar::flip(f, axis);
      std::int64_t x = axis == 0 ? 3 : 1, y = axis == 1 ? 4 : 1, z = axis == 2 ? 5 : 1;
      EXPECT_EQ(scalar::get(f, x, y, z), 1) << int(t) << " axis " << axis;
      EXPECT_EQ(scalar::get(f, 1, 1, 1), 0);
    }
}

TEST(scalarfield, assign_size_brings_a_field_to_the_size_and_frame_of_another) {
  scalarfield a = make(scalartag::fullgray, 4, 5, 6), b = make(scalartag::gray, 1, 1, 1);
  frame_set_offset(a.frame, {1, 2, 3});
  EXPECT_EQ(quiet([&] { scalar::assign_size(b, a); }), "  Assigned scalar field (4x5x6) updated.\n");
  EXPECT_EQ(b.tag, scalartag::gray);
  EXPECT_EQ(b.depth, 6);
  EXPECT_EQ(b.frame.offset, a.frame.offset);
}

TEST(scalarlabels, three_file_forms_are_told_apart) {
  struct row {
    const char* leaf;
    std::string text;
    std::vector<std::pair<std::int64_t, widetext>> expected;
    const char* line;
  };
  const row rows[] = {
      {"plain.txt", "exterior\nbone\nmuscle\n", {{0, u"exterior"}, {1, u"bone"}, {2, u"muscle"}}, "  Found 3 labels.\n"},
      {"tab.txt", "Index\tName\n5\tliver\n7\tspleen\n", {{5, u"liver"}, {7, u"spleen"}}, "  Found 2 labels.\n"},
      {"atlas.txt", "<?xml?>\n<atlas>\n<data>\n<area name=\"A b\"/>\n<other/>\n</atlas>\n", {{0, u"A b"}},
       "  Found one label.\n"},
      {"nothing.txt", "<x>\n<atlas>\n<y>\n<z>\n", {}, "  Found nothing.\n"},
  };
  for (const row& r : rows) {
    tempfile file(r.leaf, r.text);
    scalarfield f;
    scalar::label_set(f, 900, u"old");
    EXPECT_EQ(quiet([&] { scalar::load_labels(f, file.name); }), r.line) << r.leaf;
    ASSERT_EQ(f.labels.size(), r.expected.size()) << r.leaf;
    for (std::size_t i = 0; i < r.expected.size(); ++i) {
      EXPECT_EQ(f.labels[i].index, r.expected[i].first);
      EXPECT_EQ(f.labels[i].name, r.expected[i].second);
    }
  }
}

TEST(scalarlabels, indices_past_999_are_ignored_and_saved_labels_read_back) {
  scalarfield f, g;
  scalar::label_set(f, 1000, u"too far");
  scalar::label_set(f, 999, u"last");
  scalar::label_set(f, 3, u"three");
  EXPECT_EQ(f.labels.size(), 2u);
  std::string base = (std::filesystem::temp_directory_path() / (std::to_string(::getpid()) + "saved")).string();
  std::string written;
  quiet([&] { written = scalar::save_labels(f, base); });
  EXPECT_EQ(written, base + ".labels");
  quiet([&] { scalar::load_labels(g, written); });
  EXPECT_EQ(scalar::label_get(g, 999), u"last");
  EXPECT_EQ(scalar::label_get(g, 3), u"three");
  EXPECT_EQ(scalar::label_get(g, 4), u"");
  std::filesystem::remove(written);
}

TEST(scalarlabels, dump_prints_head_lines_or_no_labels) {
  scalarfield f;
  EXPECT_EQ(quiet([&] { scalar::dump_labels(f); }), "  No labels.\n");
  scalar::label_set(f, 2, u"two");
  EXPECT_EQ(quiet([&] { scalar::dump_labels(f); }), "***** dump.labels *****\n  2\ttwo\n***** dump.labels end *****\n");
}
