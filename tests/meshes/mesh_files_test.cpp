// Unit tests of the mesh readers and writers: hostile files, a seeded mutation run over every
// reader, hidden faces in the writers, and binary PLY read back.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <string>

#include "foundation/console.h"
#include "foundation/files.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/mesh.h"

using namespace qv;

namespace {

// Every face names existing points and uvs; normals and colours are no longer than the points.
::testing::AssertionResult valid(const mesh& m) {
  const std::int64_t n = meshes::point_count(m), t = std::int64_t(m.uvs.size());
  for (std::size_t i = 0; i < m.faces.size(); ++i) {
    const face& f = m.faces[i];
    for (std::int64_t p : {f.p1, f.p2, f.p3, f.p4})
      if (p < 1 || p > n) return ::testing::AssertionFailure() << "face " << i + 1 << " names point " << p;
    for (std::int64_t u : {f.t1, f.t2, f.t3, f.t4})
      if (u < 0 || u > t) return ::testing::AssertionFailure() << "face " << i + 1 << " names uv " << u;
  }
  if (m.normals.size() > m.points.size() || m.colors.size() > m.points.size())
    return ::testing::AssertionFailure() << "more normals or colours than points";
  return ::testing::AssertionSuccess();
}

// Runs with the console quiet and a fresh memory of the last face.
struct quiet {
  bool was = console::consoleon;
  quiet() {
    console::consoleon = false;
    meshes::forget_last_face();
  }
  ~quiet() { console::consoleon = was; }
};

using reader = std::function<void(mesh&, std::string_view)>;
struct format {
  const char* name;
  reader read;
  std::string seed;   // a small valid file
};

std::string binary_ply() {
  std::string s = "ply\nformat binary_little_endian 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
                  "property float z\nproperty uchar red\nproperty uchar green\nproperty uchar blue\n"
                  "element face 2\nproperty list uchar int vertex_indices\nend_header\n";
  const float p[4][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 2}};
  for (const auto& v : p) {
    s.append(reinterpret_cast<const char*>(v), 12);
    s.append("\x10\x20\x30", 3);
  }
  const std::int32_t a[3] = {0, 1, 2}, b[4] = {0, 2, 3, 1};
  s.push_back(3);
  s.append(reinterpret_cast<const char*>(a), 12);
  s.push_back(4);
  s.append(reinterpret_cast<const char*>(b), 16);
  return s;
}

std::vector<format> formats() {
  return {
      {"obj", [](mesh& m, std::string_view b) { meshformat::read_obj(m, b); },
       "o a\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 1\nvt 0 0\nvt 1 1\nvn 0 0 1\nf 1/1/1 2/2/1 3\nf 1 3 4 2\n"},
      {"ply ascii", [](mesh& m, std::string_view b) { meshformat::read_ply(m, b, u"x.ply"); },
       "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
       "property float nx\nproperty float ny\nproperty float nz\nelement face 2\n"
       "property list uchar int vertex_index\nend_header\n0 0 0 0 0 1\n1 0 0 0 0 1\n1 1 0 0 0 1\n0 1 0 0 0 1\n"
       "3 0 1 2\n4 0 1 2 3\n"},
      {"ply binary", [](mesh& m, std::string_view b) { meshformat::read_ply(m, b, u"x.ply"); }, binary_ply()},
      {"stl", [](mesh& m, std::string_view b) { meshformat::read_stl(m, b); },
       "solid a\nfacet normal 0 0 1\nouter loop\nvertex 1 0 0\nvertex 1 1 0\nvertex 0 1 0\nendloop\nendfacet\n"
       "endsolid a\n"},
      {"dxf", [](mesh& m, std::string_view b) { meshformat::read_dxf(m, b); },
       "0\nSECTION\n2\nENTITIES\n0\n3DFACE\n10\n0\n20\n0\n30\n0\n11\n1\n21\n0\n31\n0\n12\n1\n22\n1\n32\n0\n13\n0\n23\n"
       "1\n33\n0\n0\nENDSEC\n"},
      {"wrl", [](mesh& m, std::string_view b) { meshformat::read_vrml(m, b, true); },
       "Shape { geometry IndexedFaceSet { coord Coordinate { point [ 0 0 0, 1 0 0, 1 1 0, 0 1 0 ] }\n"
       "normal Normal { vector [ 0 0 1, 0 0 1, 0 0 1, 0 0 1 ] }\ncoordIndex [ 0 1 2 -1 0 2 3 1 -1 ] } }\n"},
      {"pov", [](mesh& m, std::string_view b) { meshformat::read_pov(m, b); },
       "mesh2 {\nvertex_vectors { 3, <0, 0, 0>, <1, 0, 0>, <0, 1, 0> }\nnormal_vectors { 3, <0,0,1>, <0,0,1>, "
       "<0,0,1> }\nface_indices { 1, <0, 1, 2> }\n}\n"},
      {"anysurf", [](mesh& m, std::string_view b) { meshformat::read_anysurf(m, b); },
       "ANYSURF\nx\n3 1\n0 0 0 0 0 1\n1 0 0 0 0 1\n0 1 0 0 0 1\n0 1 2 0 0 0\n"},
      {"asc mesh", [](mesh& m, std::string_view b) { meshformat::read_asc(m, b); },
       "NORM_ASCII opensim\n3 1\n0 0 0 1 1 0\n0 0 0 0 0 1\n1 0 0 0 0 1\n0 1 0 0 0 1\n3 0 1 2\n"},
      {"asc rows", [](mesh& m, std::string_view b) { meshformat::read_asc(m, b); }, "1 2 3\n4;5;6\n1,5;2;3 0 0 1\n"},
  };
}

}  // namespace

TEST(mesh_readers, every_seed_file_gives_a_valid_mesh_with_faces) {
  quiet q;
  for (const format& f : formats()) {
    mesh m;
    f.read(m, f.seed);
    EXPECT_TRUE(valid(m)) << f.name;
    if (std::string_view(f.name) != "asc rows") EXPECT_GT(meshes::face_count(m), 0) << f.name;
    else EXPECT_EQ(meshes::point_count(m), 3);
  }
}

TEST(mesh_readers, every_cut_of_every_seed_leaves_a_valid_mesh) {
  quiet q;
  for (const format& f : formats())
    for (std::size_t n = 0; n <= f.seed.size(); ++n) {
      mesh m;
      f.read(m, std::string_view(f.seed).substr(0, n));
      ASSERT_TRUE(valid(m)) << f.name << " cut at " << n;
    }
}

TEST(mesh_readers, seeded_mutations_leave_a_valid_mesh) {
  quiet q;
  std::mt19937 random(12345);
  const char pieces[][8] = {"-1", "0", "99999", "4e9", "-7", " ", "\n", "/", "[", "]", "<", ">", "{", "}", "nan",
                            "1e308", "f ", "v ", "3DFACE"};
  for (const format& f : formats())
    for (int round = 0; round < 400; ++round) {
      std::string s = f.seed;
      for (int k = 1 + int(random() % 4); k > 0 && !s.empty(); --k) {
        const std::size_t at = random() % s.size();
        switch (random() % 4) {
          case 0: s[at] = char(random()); break;
          case 1: s.erase(at, 1 + random() % 8); break;
          case 2: s.insert(at, pieces[random() % std::size(pieces)]); break;
          default: s.insert(at, s.substr(random() % s.size(), random() % 40)); break;
        }
      }
      mesh m;
      f.read(m, s);
      ASSERT_TRUE(valid(m)) << f.name << " round " << round << ":\n" << s;
    }
}

TEST(mesh_readers, counts_beyond_the_file_are_refused_before_anything_is_added) {
  quiet q;
  const std::string ply = "ply\nformat binary_little_endian 1.0\nelement vertex 4000000000000\nproperty float x\n"
                          "element face 1\nproperty list uchar int vertex_indices\nend_header\n\1\2\3\4";
  mesh m;
  meshformat::read_ply(m, ply, u"x.ply");
  EXPECT_EQ(meshes::point_count(m), 0);
  meshformat::read_anysurf(m, "ANYSURF\nx\n99999999999 99999999999\n0 0 0 0 0 1\n");
  EXPECT_EQ(meshes::point_count(m), 1);   // the one row there is
  meshformat::read_pov(m, "mesh2 { vertex_vectors { 999999999999, <1,2,3> } face_indices { 99999999, <0,0,0> } }");
  meshformat::read_asc(m, "NORM_ASCII\n999999999 5\n");
  EXPECT_TRUE(valid(m));
}

TEST(mesh_readers, faces_naming_point_zero_negative_or_past_the_end_are_left_out) {
  quiet q;
  mesh m;
  meshformat::read_obj(m, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 0 1 2\nf -1 2 3\nf 1 2 4\nf 1 2 3/7/9\n");
  ASSERT_EQ(meshes::face_count(m), 1);
  EXPECT_EQ(m.faces[0].t3, 0);   // a uv index past the uvs becomes none
  mesh p;
  meshformat::read_ply(p, "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                          "property float z\nelement face 3\nproperty list uchar int vertex_index\nend_header\n"
                          "0 0 0\n1 0 0\n0 1 0\n3 0 1 3\n3 -1 0 1\n3 0 1 2\n", u"x.ply");
  EXPECT_EQ(meshes::face_count(p), 1);
  EXPECT_TRUE(valid(m));
  EXPECT_TRUE(valid(p));
}

TEST(mesh_readers, a_line_of_100000_characters_is_read_past) {
  quiet q;
  const std::string longline(100000, '7');
  for (const format& f : formats()) {
    mesh m;
    std::string s = f.seed;
    s.insert(s.find('\n') + 1, longline + "\n");
    f.read(m, s);
    EXPECT_TRUE(valid(m)) << f.name;
  }
}

TEST(mesh_readers, obj_faces_index_from_the_points_the_mesh_had_before) {
  quiet q;
  mesh m;
  meshes::add_triangle(m, {5, 5, 5}, {6, 5, 5}, {5, 6, 5}, num::hyper{});
  meshformat::read_obj(m, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  ASSERT_EQ(meshes::face_count(m), 2);
  EXPECT_EQ(m.faces[1].p1, 4);
  EXPECT_EQ(m.faces[1].p3, 6);
}

TEST(mesh_readers, a_quad_before_a_triangle_keeps_the_mesh_not_all_triangles) {
  quiet q;
  mesh m;
  meshformat::read_ply(m, "ply\nformat ascii 1.0\nelement vertex 5\nproperty float x\nproperty float y\n"
                          "property float z\nelement face 2\nproperty list uchar int vertex_index\nend_header\n"
                          "0 0 0\n1 0 0\n1 1 0\n0 1 0\n2 2 2\n4 0 1 2 3\n3 0 1 4\n", u"x.ply");
  EXPECT_FALSE(m.triangles);
}

namespace {

// A temporary folder removed with the record.
struct tempdir {
  std::filesystem::path path;
  tempdir() {
    char t[] = "/tmp/qvmeshXXXXXX";
    path = mkdtemp(t);
  }
  ~tempdir() { std::filesystem::remove_all(path); }
  widetext name(const char* file) const { return text::from_utf8((path / file).string()); }
};

// Two triangles and a quad, the middle triangle hidden; point 6 is used only by it,
// point 7 by no face at all.
mesh sample() {
  mesh m;
  meshes::add_triangle(m, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}, num::hyper{1, 0, 0, 1});
  meshes::add_triangle(m, {1, 0, 0}, {5, 5, 5}, {0, 1, 0}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}, num::hyper{});
  meshes::add_quad(m, {1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {0, 1, 0}, {0, 1, 0}, {0, 1, 0}, {0, 1, 0},
                   num::hyper{});
  m.points.push_back({9, 9, 9});
  m.faces[1].visible = 0;
  for (std::int64_t i = 1; i <= meshes::point_count(m); ++i)
    meshes::point_color(m, i, {0.1 * double(i), 0.5, 1, 1});
  return m;
}

std::string contents(const widetext& name) {
  std::string s;
  file::read_all(name, s);
  return s;
}

}  // namespace

TEST(mesh_writers, hidden_faces_and_their_points_are_absent_from_obj_and_binary_ply) {
  quiet q;
  tempdir d;
  const mesh m = sample();
  ASSERT_TRUE(meshformat::save_obj(m, d.name("a.obj"), {}, 0));
  const std::string obj = contents(d.name("a.obj"));
  EXPECT_EQ(obj.find("v 5 5 5"), std::string::npos);
  EXPECT_EQ(obj.find("v 9 9 9"), std::string::npos);
  EXPECT_NE(obj.find("f 1//1 2//2 3//3 3//3\nf 2//2 4//4 5//5 6//6\n"), std::string::npos) << obj;
  ASSERT_TRUE(meshformat::save_ply(m, d.name("a.ply")));
  mesh back;
  meshformat::read_ply(back, contents(d.name("a.ply")), u"a.ply");
  EXPECT_EQ(meshes::point_count(back), 6);
  EXPECT_EQ(meshes::face_count(back), 2);
  EXPECT_FALSE(back.triangles);
  ASSERT_EQ(back.colors.size(), 6u);
  // Point 5 of the mesh (2, 0, 0) is the fourth point read back: its colour comes back in bytes.
  EXPECT_EQ(meshes::point(back, 4).x, 2);
  EXPECT_NEAR(meshes::point_color(back, 4).x, 0.5, 0.5 / 255);
  EXPECT_EQ(meshes::normal(back, 5).y, 1);
}

TEST(mesh_writers, vtp_dxf_and_pov_leave_hidden_faces_out_and_keep_the_points) {
  quiet q;
  tempdir d;
  const mesh m = sample();
  ASSERT_TRUE(meshformat::save_vtp(m, d.name("a.vtp")));
  const std::string vtp = contents(d.name("a.vtp"));
  EXPECT_NE(vtp.find("NumberOfPoints=\"8\" NumberOfVerts=\"0\" NumberOfLines=\"0\" NumberOfStrips=\"0\" "
                     "NumberOfPolys=\"2\""),
            std::string::npos);
  EXPECT_NE(vtp.find("\t\t\t\t\t0 1 2\n\t\t\t\t\t1 4 5 6\n"), std::string::npos) << vtp;
  ASSERT_TRUE(meshformat::save_dxf(m, d.name("a.dxf")));
  mesh back;
  meshformat::read_dxf(back, contents(d.name("a.dxf")));
  EXPECT_EQ(meshes::face_count(back), 2);
  ASSERT_TRUE(meshformat::save_pov(m, d.name("a.pov"), meshformat::povnormals::smooth, false));
  mesh pov;
  meshformat::read_pov(pov, contents(d.name("a.pov")));
  EXPECT_EQ(meshes::face_count(pov), 3);   // the quad as two triangles
  EXPECT_EQ(meshes::normal_count(pov), 6);
}
