// Unit tests of `line.save` on clouds that no macro command can build yet: open lines.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

#include "app/families.h"
#include "lines/cloud.h"

using namespace qv;

namespace {

// A fresh folder made current for one test, removed with its files afterwards.
struct scratch {
  std::string old, dir;
  scratch() {
    char cwd[4096];
    old = getcwd(cwd, sizeof cwd) ? cwd : ".";
    char name[] = "/tmp/qv-linefiles-XXXXXX";
    dir = mkdtemp(name) ? name : "";
    EXPECT_EQ(chdir(dir.c_str()), 0);
  }
  ~scratch() {
    EXPECT_EQ(chdir(old.c_str()), 0);
    EXPECT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
  }
};

std::string contents(const char* name) {
  std::ifstream in(name, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

void run(macroengine& m, std::u16string_view command, std::u16string_view parameters) {
  macro::prepare(m, parameters);
  macro::dispatch_statement(m, command);
}

// The engine with every command, and the current cloud emptied.
cloud& fresh_cloud(macroengine& m) {
  app::register_all(m);
  cloud& c = *workspace::current<cloud>();
  line::clear(c);
  return c;
}

}  // namespace

TEST(line_files, open_lines_are_saved_under_repaired_and_the_cloud_counts_as_saved) {
  scratch here;
  macroengine m;
  cloud& c = fresh_cloud(m);
  const num::hyper a[] = {{1, 2, 0, 0}, {3, 0, 0, 0}};
  line::add_line(c, a, 2, 4);
  line::add_object(c, u"kept");
  line::add_line(c, a, 1, 0);      // closed, but in no object
  line::add_point(c, {0, 0, 5, 0});
  line::add_point(c, {0, 0, 0, -1});   // a line still open
  { std::ofstream old("out.txt"); old << "earlier\n"; }
  run(m, u"line.save", u"out*.txt");
  EXPECT_FALSE(m.stopflag);
  EXPECT_EQ(contents("out.txt"),
            "1 2\n3\nmaterial: 4\nobject: kept\n1 2\n\n0 0 5\n0 0 0 -1\nobject: repaired\n");
  EXPECT_EQ(contents("out.txt.bak"), "earlier\n");
  EXPECT_EQ(line::object_count(c), 2);
  EXPECT_FALSE(c.modified);
  EXPECT_EQ(c.filename, u"out.txt");
}

TEST(line_files, trackvis_header_fields_sit_at_their_offsets) {
  scratch here;
  macroengine m;
  cloud& c = fresh_cloud(m);
  const num::hyper a[] = {{1.5, 2, 3, 9}, {4, 5, 6, 9}};
  line::add_line(c, a, 2, 0);
  line::add_line(c, a + 1, 1, 0);
  line::add_object(c, u"o");
  line::set_frame(c, {10, 20, 30, 0}, {0.5, 0.25, 2, 1}, {64.5, 32.4, 7, 1});
  run(m, u"line.save", u"t.trk");
  const std::string s = contents("t.trk");
  ASSERT_EQ(s.size(), 1000u + 4 + 24 + 4 + 12);
  auto i16 = [&](std::size_t o) { std::int16_t v; std::memcpy(&v, s.data() + o, 2); return v; };
  auto i32 = [&](std::size_t o) { std::int32_t v; std::memcpy(&v, s.data() + o, 4); return v; };
  auto f32 = [&](std::size_t o) { float v; std::memcpy(&v, s.data() + o, 4); return v; };
  EXPECT_EQ(s.substr(0, 6), std::string("TRACK\0", 6));
  EXPECT_EQ(i16(6), 64);   // 64.5 rounds half to even
  EXPECT_EQ(i16(8), 32);
  EXPECT_EQ(i16(10), 7);
  EXPECT_EQ(f32(12), 0.5f);
  EXPECT_EQ(f32(20), 2.0f);
  EXPECT_EQ(f32(24), 10.0f);
  EXPECT_EQ(f32(32), 30.0f);
  EXPECT_EQ(s.substr(948, 8), std::string("LPS\0LPS\0", 8));
  EXPECT_EQ(f32(956), 1.0f);
  EXPECT_EQ(f32(968), 0.0f);
  EXPECT_EQ(f32(972), 1.0f);
  EXPECT_EQ(s[980], 1);
  EXPECT_EQ(s[981], 2);
  EXPECT_EQ(i32(988), 2);
  EXPECT_EQ(i32(992), 2);
  EXPECT_EQ(i32(996), 1000);
  EXPECT_EQ(i32(1000), 2);
  EXPECT_EQ(f32(1004), 1.5f);
  EXPECT_EQ(i32(1028), 1);
  EXPECT_EQ(f32(1040), 6.0f);
}

TEST(line_files, mel_writes_one_curve_per_line_between_its_header_and_end) {
  scratch here;
  macroengine m;
  cloud& c = fresh_cloud(m);
  const num::hyper a[] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
  line::add_line(c, a, 2, 0);
  line::add_point(c, {7, 8, 9, 0});   // open: closed under "repaired" first
  run(m, u"line.save.maya", u"c.mel");
  const std::string s = contents("c.mel");
  EXPECT_EQ(s.rfind("// Maya MEL\n// Name: c.mel\n// Last modified: ", 0), 0u);
  EXPECT_NE(s.find("\ncurve -d 1 -p 1 2 3 -p 4 5 6 -n line1;\ncurve -d 1 -p 7 8 9 -n line2;\n"), std::string::npos);
  EXPECT_TRUE(s.ends_with("\n// End of c.mel\n"));
  EXPECT_EQ(line::object_name(c, 1), u"repaired");
}
