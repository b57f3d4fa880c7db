// Unit tests of the parallel pair's sources and of the include splice's source maps.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <unistd.h>

#include "engine/definitions.h"
#include "engine/macroengine.h"

using namespace qv;

namespace {

struct pairrow {
  const char* index_option;   // null: not given
  const char* count_option;
  std::map<std::string, std::string> env;
  std::int64_t index, count;
  bool from_environment;
};

macro::parallelpair pair_of(const pairrow& r) {
  widetext i = r.index_option ? text::ascii(r.index_option) : widetext();
  widetext c = r.count_option ? text::ascii(r.count_option) : widetext();
  return macro::parallel_pair(r.index_option ? &i : nullptr, r.count_option ? &c : nullptr,
                              [&](const char* name) -> const char* {
                                auto it = r.env.find(name);
                                return it == r.env.end() ? nullptr : it->second.c_str();
                              });
}

std::string temp_file(const std::string& name, const std::string& bytes) {
  std::string path = (std::filesystem::temp_directory_path() / (std::to_string(::getpid()) + "-" + name)).string();
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

std::string line_of(const macroengine& m, std::size_t i) { return std::string(m.lines.line(i)); }

}  // namespace

TEST(definitions, parallel_pair_comes_from_options_else_from_a_job_array) {
  const std::map<std::string, std::string> array = {
      {"SLURM_ARRAY_TASK_ID", "12"}, {"SLURM_ARRAY_TASK_MIN", "10"}, {"SLURM_ARRAY_TASK_COUNT", "4"}};
  const pairrow rows[] = {
      {nullptr, nullptr, {}, 0, 0, false},
      {"1", "3", {}, 1, 3, false},
      {nullptr, "3", {}, 0, 3, false},
      {" 2 ", nullptr, array, 2, 0, false},   // an option wins, the other counts as 0
      {nullptr, nullptr, array, 2, 4, true},
      {nullptr, nullptr, {{"SLURM_ARRAY_TASK_ID", "3"}, {"SLURM_ARRAY_TASK_COUNT", "5"}}, 3, 5, true},
      {nullptr, nullptr,
       {{"SLURM_ARRAY_TASK_ID", "8"}, {"SLURM_ARRAY_TASK_MIN", "0"}, {"SLURM_ARRAY_TASK_STEP", "4"},
        {"SLURM_ARRAY_TASK_MAX", "28"}},
       2, 8, true},
  };
  for (const pairrow& r : rows) {
    macro::parallelpair p = pair_of(r);
    EXPECT_EQ(p.index, r.index) << (r.index_option ? r.index_option : "-") << " " << r.env.size();
    EXPECT_EQ(p.count, r.count) << (r.index_option ? r.index_option : "-") << " " << r.env.size();
    EXPECT_EQ(p.from_environment, r.from_environment);
  }
}

TEST(definitions, parallel_pair_marks_bad_values_invalid) {
  const pairrow rows[] = {
      {"x", "2", {}, -1, 2, false},
      {"1", "2.5", {}, 1, -1, false},
      {"", "2", {}, -1, 2, false},
      {nullptr, nullptr, {{"SLURM_ARRAY_TASK_ID", "x"}, {"SLURM_ARRAY_TASK_COUNT", "3"}}, -1, 3, true},
      {nullptr, nullptr, {{"SLURM_ARRAY_TASK_ID", "2"}}, 2, -1, true},   // no count, no max
      {nullptr, nullptr, {{"SLURM_ARRAY_TASK_ID", "2"}, {"SLURM_ARRAY_TASK_MIN", "5"}, {"SLURM_ARRAY_TASK_COUNT", "3"}},
       -3, 3, true},
      {nullptr, nullptr,
       {{"SLURM_ARRAY_TASK_ID", "5"}, {"SLURM_ARRAY_TASK_STEP", "4"}, {"SLURM_ARRAY_TASK_COUNT", "3"}}, -1, 3, true},
  };
  for (const pairrow& r : rows) {
    macro::parallelpair p = pair_of(r);
    EXPECT_EQ(p.index, r.index) << (r.index_option ? r.index_option : "-");
    EXPECT_EQ(p.count, r.count) << (r.count_option ? r.count_option : "-");
  }
}

TEST(definitions, include_splice_replaces_the_line_and_maps_every_line_to_its_file) {
  macroengine m;
  lines::split(m.lines, "one\ntwo\nthree\nfour\n");
  m.lines.filename = "main.macro";
  std::string inc = temp_file("qv_splice_a.macro", "// a1\na2\r\na3");
  ASSERT_TRUE(macro::include_splice(m, 2, inc));
  const std::string want[] = {"one", "// a1", "a2", "a3", "three", "four"};
  const std::int64_t wantline[] = {1, 1, 2, 3, 3, 4};
  ASSERT_EQ(m.lines.count(), 6u);
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(line_of(m, i + 1), want[i]) << i;
    m.currentline = std::int64_t(i + 1);
    EXPECT_EQ(macro::source_line(m), wantline[i]) << i;
    EXPECT_EQ(macro::source_file(m), i >= 1 && i <= 3 ? inc : std::string("main.macro")) << i;
  }
  // A second splice inside the first file keeps both maps.
  std::string inner = temp_file("qv_splice_b.macro", "// b1\nb2\n");
  ASSERT_TRUE(macro::include_splice(m, 3, inner));
  EXPECT_EQ(line_of(m, 4), "b2");
  m.currentline = 4;
  EXPECT_EQ(macro::source_line(m), 2);
  EXPECT_EQ(macro::source_file(m), inner);
  m.currentline = 5;
  EXPECT_EQ(macro::source_line(m), 3);
  EXPECT_EQ(macro::source_file(m), inc);
  std::remove(inc.c_str());
  std::remove(inner.c_str());
}

TEST(definitions, include_splice_moves_later_definitions_and_logs_the_growth) {
  macroengine m;
  lines::split(m.lines, "a\nb\nc\nd\n");
  m.depth = 1;
  macro::register_defined(m, u"early", regclass::procedure, 1);
  macro::register_defined(m, u"late", regclass::function, 3);
  std::string inc = temp_file("qv_splice_c.macro", "x\ny\nz\n");
  ASSERT_TRUE(macro::include_splice(m, 2, inc));
  EXPECT_EQ(m.registry[0].line, 1);
  EXPECT_EQ(m.registry[1].line, 5);
  ASSERT_EQ(m.splices.size(), 1u);
  EXPECT_EQ(m.splices[0], std::make_pair(std::int64_t(2), std::int64_t(2)));
  std::remove(inc.c_str());
}

TEST(definitions, include_splice_of_a_file_without_lines_changes_nothing) {
  macroengine m;
  lines::split(m.lines, "a\nb\n");
  std::string empty = temp_file("qv_splice_d.macro", "x");   // under two bytes: no lines
  EXPECT_FALSE(macro::include_splice(m, 1, empty));
  EXPECT_FALSE(macro::include_splice(m, 1, "/nonexistent/qv.macro"));
  EXPECT_FALSE(macro::include_splice(m, 9, empty));
  EXPECT_EQ(m.lines.count(), 2u);
  EXPECT_TRUE(m.lines.sourceline.empty());
  std::remove(empty.c_str());
}
