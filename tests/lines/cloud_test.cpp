// Unit tests of the cloud record: closing entries, counts, erasing and compaction.
#include <gtest/gtest.h>
#include <string>
#include "lines/cloud.h"
#include "cloud_text.h"

using namespace qv;
using testing_text::text_of;

namespace {

cloud three_lines() {
  cloud c;
  num::hyper a[] = {{1, 0, 0, 0}, {2, 0, 0, 0}};
  num::hyper b[] = {{3, 0, 0, 0}};
  num::hyper d[] = {{4, 0, 0, 0}, {5, 0, 0, 0}, {6, 0, 0, 0}};
  line::add_line(c, a, 2, 7);
  line::add_line(c, b, 1, 8);
  line::add_object(c, u"first");
  line::add_line(c, d, 3, 9);
  line::add_object(c, u"second");
  return c;
}

TEST(cloud, new_cloud_has_closing_entries_and_no_content) {
  cloud c;
  EXPECT_EQ(c.lines, (std::vector<std::int64_t>{1}));
  EXPECT_EQ(c.objects, (std::vector<std::int64_t>{1}));
  EXPECT_EQ(line::line_count(c), 0);
  EXPECT_EQ(line::object_count(c), 0);
  line::close_line(c, 3);   // nothing open: no empty line appears
  line::close_object(c, u"x");
  EXPECT_EQ(c.lines.size(), 1u);
  EXPECT_EQ(c.objects.size(), 1u);
}

TEST(cloud, counts_follow_open_and_closed_parts) {
  cloud c;
  line::add_point(c, {1, 2, 3, 4});
  EXPECT_EQ(line::line_count(c), 1);   // open line
  EXPECT_EQ(line::object_count(c), 0);
  line::close_line(c, 5);
  EXPECT_EQ(c.lines, (std::vector<std::int64_t>{1, 2}));
  EXPECT_EQ(c.materials, (std::vector<std::int64_t>{5, 0}));
  EXPECT_EQ(line::object_count(c), 1);   // closed line, open object
  EXPECT_TRUE(line::close_open(c, u"repaired"));
  EXPECT_EQ(line::object_count(c), 1);
  EXPECT_EQ(line::object_name(c, 1), u"repaired");
  EXPECT_FALSE(line::close_open(c, u"repaired"));
}

TEST(cloud, points_read_by_line_and_by_object) {
  cloud c = three_lines();
  EXPECT_EQ(line::point_count(c), 6);
  EXPECT_EQ(line::line_count(c), 3);
  EXPECT_EQ(line::object_count(c), 2);
  EXPECT_EQ(line::get_point(c, 3, 2).x, 5);
  EXPECT_EQ(line::get_point(c, 2, 1, 3).x, 6);
  EXPECT_EQ(line::get_point(c, 2, 2, 1).x, 0);   // object 2 has one line
  EXPECT_EQ(text_of(c), "1 0 0 0\n2 0 0 0\n/7\n3 0 0 0\n/8\nobject first\n4 0 0 0\n5 0 0 0\n6 0 0 0\n/9\nobject second\n");
}

TEST(cloud, compaction_drops_erased_lines_and_empty_objects) {
  cloud c = three_lines();
  line::erase_line(c, 1);
  line::erase_line(c, 2);
  c.points[4] = line::erased;   // one point of the last line
  line::compact(c);
  EXPECT_EQ(text_of(c), "4 0 0 0\n6 0 0 0\n/9\nobject second\n");
  EXPECT_EQ(c.lines, (std::vector<std::int64_t>{1, 3}));
  EXPECT_EQ(c.objects, (std::vector<std::int64_t>{1, 2}));
}

TEST(cloud, compaction_keeps_an_open_line_open_and_clears_frame_when_empty) {
  cloud c = three_lines();
  line::add_point(c, {9, 0, 0, 0});
  line::erase_line(c, 2);
  line::compact(c);
  EXPECT_EQ(line::line_count(c), 3);
  EXPECT_TRUE(c.open_line);
  line::set_frame(c, {1, 1, 1, 0}, {1, 1, 1, 1}, {2, 2, 2, 1});
  for (std::int64_t l = 1; l <= 3; ++l) line::erase_line(c, l);
  line::compact(c);
  EXPECT_TRUE(line::empty(c));
  EXPECT_EQ(line::line_count(c), 0);
  EXPECT_EQ(line::object_count(c), 0);
  EXPECT_EQ(c.size.x, 0);
}

}  // namespace

namespace {
TEST(cloud, workspace_dump_counts_lines_and_names_an_empty_list) {
  cloud c = three_lines();
  EXPECT_EQ(workspace_traits<cloud>::entry(c), u"cloud(points:6;lines:3;objects:2)");
  workspace_list<cloud> none;
  testing::internal::CaptureStdout();
  workspace::dump(none);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "  Cloudlist empty!\n");
}
}  // namespace
