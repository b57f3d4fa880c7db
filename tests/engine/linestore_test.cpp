// Unit tests of splitting a macro file into lines.
#include <gtest/gtest.h>

#include "engine/linestore.h"

using namespace qv;

namespace {
std::vector<std::string> split(std::string bytes) {
  linestore s;
  lines::split(s, std::move(bytes), false);
  std::vector<std::string> out;
  for (std::size_t i = 1; i <= s.count(); ++i) out.emplace_back(s.line(i));
  return out;
}
}  // namespace

TEST(linestore, mixed_line_ends_and_empty_lines_are_kept) {
  using v = std::vector<std::string>;
  EXPECT_EQ(split("a\nb\r\nc\rd"), (v{"a", "b", "c", "d"}));
  EXPECT_EQ(split("a\n\nb\n"), (v{"a", "", "b"}));
  EXPECT_EQ(split("\r\n\r\nx"), (v{"", "", "x"}));
  EXPECT_EQ(split("a\r\r\nb"), (v{"a", "", "b"}));
}

TEST(linestore, files_under_two_bytes_have_no_lines) {
  EXPECT_TRUE(split("").empty());
  EXPECT_TRUE(split("x").empty());
  EXPECT_EQ(split("xy").size(), 1u);
}

TEST(linestore, a_line_of_only_a_carriage_return_is_empty) {
  EXPECT_EQ(split("a\r\n\r\nb"), (std::vector<std::string>{"a", "", "b"}));
}
