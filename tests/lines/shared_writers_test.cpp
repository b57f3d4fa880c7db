// Unit tests of the DXF, MEL and VTP pieces that clouds and meshes share.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "lines/formats/dxf_writer.h"
#include "lines/formats/mel_writer.h"
#include "lines/formats/vtp_writer.h"

using namespace qv;

namespace {

// Runs `fn` on a sink over a temporary file and gives back what it wrote.
template <typename Fn>
std::string written(Fn fn) {
  std::FILE* f = std::tmpfile();
  {
    lineformat::textsink out(f);
    fn(out);
  }
  std::string s(std::size_t(std::ftell(f)), '\0');
  std::rewind(f);
  std::size_t n = std::fread(s.data(), 1, s.size(), f);
  std::fclose(f);
  s.resize(n);
  return s;
}

const num::vector corners[4] = {{0, 0, 0}, {1.5, 0, 0}, {0, 2, 0}, {0, 0, -3}};

}  // namespace

TEST(shared_writers, vtp_polys_of_a_mesh_keep_the_indices_and_end_offsets) {
  const std::int64_t conn[] = {0, 1, 2, 0, 2, 3, 1};
  const std::int64_t offsets[] = {3, 7};
  std::string s = written([&](lineformat::textsink& out) {
    vtp::write(out, lineformat::view_of(corners, 4), nullptr, {}, {conn, 7, offsets, 2}, u"  Write VTK(mesh)-file");
  });
  EXPECT_NE(s.find("<Piece NumberOfPoints=\"4\" NumberOfVerts=\"0\" NumberOfLines=\"0\" NumberOfStrips=\"0\" "
                   "NumberOfPolys=\"2\">"),
            std::string::npos);
  EXPECT_NE(s.find("\t\t\t\t\t1.5 0 0\n\t\t\t\t\t0 2 0\n\t\t\t\t\t0 0 -3\n"), std::string::npos);
  EXPECT_NE(s.find("\t\t\t<Polys>\n\t\t\t\t<DataArray type=\"Int32\" Name=\"connectivity\" format=\"ascii\">\n"
                   "\t\t\t\t\t0 1 2\n\t\t\t\t\t0 2 3 1\n\t\t\t\t</DataArray>\n"
                   "\t\t\t\t<DataArray type=\"Int32\" Name=\"offsets\" format=\"ascii\">\n\t\t\t\t\t3 7\n"),
            std::string::npos);
  EXPECT_EQ(s.find("<Lines>"), std::string::npos);
  EXPECT_EQ(s.substr(s.size() - 11), "</VTKFile>\n");
}

TEST(shared_writers, dxf_polyline_by_index_skips_indices_outside_the_points) {
  const std::int64_t index[] = {3, 9, -1, 1};
  std::string s = written([&](lineformat::textsink& out) {
    dxf::begin(out);
    dxf::polyline(out, lineformat::view_of(corners, 4), index, 4);
    dxf::end(out);
  });
  std::size_t vertices = 0;
  for (std::size_t p = s.find("VERTEX"); p != std::string::npos; p = s.find("VERTEX", p + 1)) ++vertices;
  EXPECT_EQ(vertices, 2u);
  EXPECT_NE(s.find("VERTEX\n  8\n0\n 10\n0\n 20\n0\n 30\n-3\n 70\n32\n"), std::string::npos);
  EXPECT_TRUE(s.ends_with("SEQEND\n  0\nENDSEC\n  0\nEOF\n"));
}

TEST(shared_writers, mel_facet_names_its_node_and_lists_each_corner) {
  const std::int64_t corner[] = {0, 1, 2};
  std::string s = written([&](lineformat::textsink& out) {
    mel::facet(out, u"f1", lineformat::view_of(corners, 4), corner, 3);
  });
  EXPECT_EQ(s, "polyCreateFacet -ch 0 -tx 1 -n f1 -p 0 0 0 -p 1.5 0 0 -p 0 2 0;\n");
}
