// Unit tests of the file services: name cleaning, reports and the basic calls.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "foundation/console.h"
#include "foundation/files.h"

using namespace qv;

namespace {
// A fresh folder for one test, removed afterwards; `ansi` off so that texts are plain.
struct scratch {
  std::filesystem::path dir;
  bool saved_ansi = console::ansi;
  scratch() {
    char pattern[] = "/tmp/qvfiles-XXXXXX";
    dir = mkdtemp(pattern);
    console::ansi = false;
  }
  ~scratch() {
    std::filesystem::remove_all(dir);
    console::ansi = saved_ansi;
  }
  widetext name(const char* n) const { return text::from_utf8((dir / n).string()); }
};

template <typename F>
std::string captured(F f) {
  testing::internal::CaptureStdout();
  f();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}
}  // namespace

TEST(files, clean_name_resolves_parent_steps_and_separators) {
  const struct {
    const char16_t* in;
    const char16_t* want;
  } rows[] = {{u"a/b/c/../../d.txt", u"a/d.txt"}, {u"a\\b\\..\\c", u"a/c"},   {u"../x", u"../x"},
              {u"/a/../../b", u"/b"},              {u"plain.txt", u"plain.txt"}, {u"a/b/../", u"a/"},
              {u"a/..", u"."}};
  for (const auto& r : rows) EXPECT_EQ(file::clean_name(r.in), r.want) << text::utf8(r.in);
}

TEST(files, error_codes_give_the_class_line_and_the_message) {
  const struct {
    int code;
    const char* want;
  } rows[] = {{2, "DOS-Error\n  File (x) not found.\n"},
              {12, "DOS-Error\n  Invalide file (x) access code.\n"},
              {106, "I/O-Error\n  Invalid numeric format from (x).\n"},
              {158, "Fatal-Error\n  Sector Not Found (x).\n"},
              {1, "\?\?\?-Error\n"},
              {7, "DOS-Error\n"},
              {300, ""},
              {0, ""}};
  scratch s;
  for (const auto& r : rows) {
    file::error = r.code;
    EXPECT_EQ(captured([] { file::report(u"x"); }), r.want) << r.code;
    EXPECT_EQ(file::error, 0);
  }
}

TEST(files, the_class_line_is_red_under_ansi) {
  scratch s;
  console::ansi = true;
  file::error = 5;
  EXPECT_EQ(captured([] { file::report(u"f"); }), "\x1b[91mDOS-Error\x1b[0m\n  File (f) access denied.\n");
}

TEST(files, system_errors_map_to_the_report_codes) {
  EXPECT_EQ(file::code_of_errno(ENOENT, false), 2);
  EXPECT_EQ(file::code_of_errno(ENOTDIR, false), 3);
  EXPECT_EQ(file::code_of_errno(EACCES, false), 5);
  EXPECT_EQ(file::code_of_errno(EIO, false), 100);
  EXPECT_EQ(file::code_of_errno(EIO, true), 101);
  EXPECT_EQ(file::code_of_errno(EROFS, true), 150);
}

TEST(files, an_empty_name_opens_nothing) {
  scratch s;
  filehandle h;
  std::string out = captured([&] { EXPECT_FALSE(file::open_read(h, u"")); });
  EXPECT_EQ(out, "Empty filename!\n");
  EXPECT_FALSE(h);
}

TEST(files, size_of_a_missing_file_is_zero_with_a_report) {
  scratch s;
  widetext n = s.name("missing.bin");
  std::string out = captured([&] { EXPECT_EQ(file::size(n), 0); });
  EXPECT_EQ(out, "DOS-Error\n  File (" + text::utf8(n) + ") not found.\n");
}

TEST(files, write_append_and_read_lines_round_trip) {
  scratch s;
  widetext n = s.name("t.txt");
  std::string out = captured([&] {
    filehandle h;
    ASSERT_TRUE(file::open_append(h, n));   // a missing file is created
    file::write_line(h, u"one°");
    h.close();
    ASSERT_TRUE(file::open_append(h, n));
    file::write_line(h, u"two");
  });
  EXPECT_EQ(out, "Append file (" + text::utf8(n) + ").\nAppend file (" + text::utf8(n) + ").\n");
  filehandle h;
  std::int64_t size = 0;
  captured([&] { ASSERT_TRUE(file::open_read_sized(h, n, size)); });
  EXPECT_EQ(size, 10);
  std::string line;
  ASSERT_TRUE(file::read_line(h, line));
  EXPECT_EQ(line, "one\xc2\xb0");
  ASSERT_TRUE(file::read_line(h, line));
  EXPECT_EQ(line, "two");
  EXPECT_FALSE(file::read_line(h, line));
}

TEST(files, directories_are_made_renamed_and_removed_with_their_reports) {
  scratch s;
  widetext a = s.name("a/b/c"), top = s.name("a");
  std::string out = captured([&] {
    EXPECT_TRUE(directory::make_all(a));
    EXPECT_TRUE(directory::exists(a));
    EXPECT_FALSE(file::exists(a));
    EXPECT_FALSE(directory::remove(top));   // not empty
  });
  EXPECT_EQ(out, "Make directory (" + text::utf8(a) + ").\nRemove directory (" + text::utf8(top) +
                     ").\nDOS-Error\n  File (" + text::utf8(top) + ") access denied.\n");
}

TEST(files, glob_lists_matching_names_sorted) {
  scratch s;
  for (const char* n : {"b.txt", "a.txt", "c.dat"}) {
    filehandle h;
    captured([&] { file::open_write(h, s.name(n)); });
  }
  std::vector<widetext> got = file::glob(s.name("*.txt"));
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(got[0], s.name("a.txt"));
  EXPECT_EQ(got[1], s.name("b.txt"));
  EXPECT_TRUE(file::glob(s.name("*.none")).empty());
}

TEST(files, program_find_searches_the_system_folders) {
  scratch s;
  EXPECT_EQ(program::find(u"sh"), u"/bin/sh");
  EXPECT_EQ(program::find(u"./local"), u"./local");
  std::string out = captured([] { EXPECT_EQ(program::find(u"no-such-program-qv"), u"no-such-program-qv"); });
  EXPECT_EQ(out, "Possible wrong binary (no-such-program-qv).\n");
}
