// Unit tests of the workspace lists: use, swap, name, dump and operand resolution.
#include <gtest/gtest.h>

#include "images/imagefield.h"
#include "images/workspace.h"
#include "meshes/mesh.h"
#include "volumes/scalarfield.h"

using namespace qv;

namespace {
template <typename F>
std::string captured(F fn) {
  testing::internal::CaptureStdout();
  fn();
  return testing::internal::GetCapturedStdout();
}
struct fresh_lists : testing::Test {
  void SetUp() override {
    workspace::reset(workspace::list<imagefield>());
    workspace::reset(workspace::list<scalarfield>());
  }
};
}  // namespace

using workspaces = fresh_lists;

TEST_F(workspaces, use_creates_once_and_ignores_case) {
  auto& l = workspace::list<imagefield>();
  std::string out = captured([&] {
    workspace::use(l, u"a");
    workspace_traits<imagefield>::announce(l.current_name(), *l.current_object());
    workspace::use(l, u"A");
    workspace_traits<imagefield>::announce(l.current_name(), *l.current_object());
  });
  EXPECT_EQ(out, "Use image: A (0x0)\nUse image: A (0x0)\n");
  EXPECT_EQ(l.objects.size(), 2u);
  EXPECT_EQ(l.current, 2u);
}

TEST_F(workspaces, swap_exchanges_names_and_keeps_the_current_slot) {
  auto& l = workspace::list<imagefield>();
  workspace::use(l, u"b");
  imagefield* pixels = l.current_object();
  workspace::use(l, u"a");
  pixels = l.current_object();
  EXPECT_TRUE(workspace::swap(l, u"A", u"b"));
  EXPECT_EQ(l.current_object(), pixels);
  EXPECT_EQ(l.current_name(), u"B");
  EXPECT_EQ(captured([&] { workspace::swap(l, u"x", u"a"); }), "  Not swapped () <-> (A)\n");
}

TEST_F(workspaces, dump_prints_current_then_every_entry) {
  auto& l = workspace::list<imagefield>();
  workspace::use(l, u"z");
  image::create(*l.current_object(), 165, 3, 4);
  workspace::use(l, u"g");
  image::create(*l.current_object(), 145, 10, 20);
  EXPECT_EQ(captured([&] { workspace::dump(l); }),
            "***** dump.image *****\n"
            "  Image (3) in use: G\n"
            "  (1):fullgray(0x0):DEFAULT\n"
            "  (2):unknown:Z\n"
            "  (3):gray(10x20):G\n"
            "***** dump.image end *****\n");
  workspace_list<mesh> empty;
  EXPECT_EQ(captured([&] { workspace::dump(empty); }), "  Meshlist empty!\n");
}

TEST_F(workspaces, get_target_refuses_the_current_workspace) {
  macroengine m;
  auto& l = workspace::list<imagefield>();
  workspace::use(l, u"new");
  captured([&] { EXPECT_EQ(workspace::get_target(m, l, u"new"), nullptr); });
  EXPECT_NE(m.lasterror.find(u"Same illegal assigment (imagefield[NEW] := function imagefield[NEW])!"),
            widetext::npos);
  EXPECT_TRUE(m.stopflag);
  EXPECT_EQ(l.objects.size(), 2u);
}

TEST_F(workspaces, get_target_creates_unknown_names_and_keeps_current) {
  macroengine m;
  auto& l = workspace::list<imagefield>();
  workspace_traits<imagefield>::default_tag = 145;
  imagefield* t = workspace::get_target(m, l, u"out");
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->tag, fieldtag::gray);
  EXPECT_EQ(l.names.back(), u"OUT");
  EXPECT_EQ(l.current, 1u);
  EXPECT_EQ(workspace::get_target_or_current(l, u""), l.objects[0].get());   // empty means DEFAULT
}

TEST_F(workspaces, get_source_reports_unknown_names) {
  macroengine m;
  auto& l = workspace::list<scalarfield>();
  captured([&] { EXPECT_EQ(workspace::get_source(m, l, u"nope"), nullptr); });
  EXPECT_NE(m.lasterror.find(u"Empty scalarfield[nope]"), widetext::npos);
  EXPECT_EQ(l.objects.size(), 1u);
  EXPECT_EQ(workspace::get_source(m, l, u""), l.objects[0].get());
}

TEST_F(workspaces, reset_restores_default_and_the_start_type) {
  auto& l = workspace::list<imagefield>();
  workspace_traits<imagefield>::default_tag = 161;
  workspace::use(l, u"x");
  EXPECT_EQ(l.current_object()->tag, fieldtag::rgb);
  workspace::reset(l);
  EXPECT_EQ(workspace_traits<imagefield>::default_tag, 146);
  EXPECT_EQ(l.names, std::vector<widetext>{u"DEFAULT"});
  EXPECT_EQ(l.current_object()->tag, fieldtag::fullgray);
}
