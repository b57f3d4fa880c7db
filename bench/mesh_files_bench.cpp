// mesh_files_bench.cpp: processor-time rates of writing and reading of a mesh of about a million triangles as binary PLY and
// OBJ, in process and as whole runs of the program, beside meshio doing the same in the same run.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "foundation/console.h"
#include "timing.h"
#include "foundation/files.h"
#include "meshes/formats/mesh_formats.h"
#include "meshes/mesh.h"

using namespace qv;

namespace {

// Processor seconds: the machine is shared, and wall time tells more about the others' work.
using bench::cpu_seconds_of;
using bench::shell_cpu_seconds;

// A closed-looking surface of lattice points as a marching-cubes run leaves one: a height
// field of random blobs over a 708 x 708 grid, two triangles per cell, added in scan
// order so that neighbouring faces share points.
mesh blobs() {
  mesh m;
  const int n = 708;
  std::uint32_t seed = 12345;
  double cx[40], cy[40], r[40];
  for (int k = 0; k < 40; ++k) {
    seed = seed * 1664525u + 1013904223u;
    cx[k] = double(seed >> 8) / double(1 << 24) * n;
    seed = seed * 1664525u + 1013904223u;
    cy[k] = double(seed >> 8) / double(1 << 24) * n;
    seed = seed * 1664525u + 1013904223u;
    r[k] = 20 + double(seed >> 8) / double(1 << 24) * 60;
  }
  std::vector<double> h(std::size_t(n + 1) * (n + 1));
  for (int y = 0; y <= n; ++y)
    for (int x = 0; x <= n; ++x) {
      double v = 0;
      for (int k = 0; k < 40; ++k) {
        const double d = ((x - cx[k]) * (x - cx[k]) + (y - cy[k]) * (y - cy[k])) / (r[k] * r[k]);
        v += 60 * std::exp(-d);
      }
      h[std::size_t(y) * (n + 1) + x] = std::round(v);
    }
  auto p = [&](int x, int y) { return num::vector{double(x), double(y), h[std::size_t(y) * (n + 1) + x]}; };
  const num::hyper black{};
  for (int y = 0; y < n; ++y)
    for (int x = 0; x < n; ++x) {
      meshes::add_triangle(m, p(x, y), p(x + 1, y), p(x + 1, y + 1), black);
      meshes::add_triangle(m, p(x, y), p(x + 1, y + 1), p(x, y + 1), black);
    }
  return m;
}

void report(const char* what, double s, double bytes) {
  std::printf("%-44s %8.3f s %9.2f MB/s\n", what, s, bytes / s / 1e6);
}

std::string read_file(const std::string& name) {
  std::string s;
  file::read_all(text::from_utf8(name), s);
  return s;
}

}  // namespace

int main(int, char** argv) {
  console::consoleon = false;
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / "qv-mesh-bench";
  std::filesystem::create_directories(dir);
  const std::string ply = (dir / "m.ply").string(), obj = (dir / "m.obj").string();
  const std::string prog = (std::filesystem::absolute(argv[0]).parent_path().parent_path() / "quorvex").string();
  const mesh m = blobs();
  std::printf("mesh: %lld points, %lld triangles\n", (long long)meshes::point_count(m),
              (long long)meshes::face_count(m));

  const double ply_write = cpu_seconds_of([&] { meshformat::save_ply(m, text::from_utf8(ply)); });
  const double ply_bytes = double(std::filesystem::file_size(ply));
  const double obj_write = cpu_seconds_of([&] { meshformat::save_obj(m, text::from_utf8(obj), {}, 0); });
  const double obj_bytes = double(std::filesystem::file_size(obj));
  const std::string plydata = read_file(ply), objdata = read_file(obj);
  const double ply_read = cpu_seconds_of([&] {
    mesh r;
    meshformat::read_ply(r, plydata, u"m.ply");
  });
  const double obj_read = cpu_seconds_of([&] {
    mesh r;
    meshformat::read_obj(r, objdata);
  });
  std::printf("in process (file bytes over time; reads from memory)\n");
  report("  quorvex binary PLY write", ply_write, ply_bytes);
  report("  quorvex binary PLY read", ply_read, ply_bytes);
  report("  quorvex OBJ write", obj_write, obj_bytes);
  report("  quorvex OBJ read", obj_read, obj_bytes);

  const std::string py = "/usr/bin/python3";
  const std::string timing = dir.string() + "/meshio_times.py";
  if (FILE* f = std::fopen(timing.c_str(), "w")) {
    std::fprintf(f,
                 "import sys, time, meshio\n"
                 "for name, out in ((sys.argv[1], sys.argv[3]), (sys.argv[2], sys.argv[4])):\n"
                 "    best_r = best_w = 1e30\n"
                 "    for i in range(1):\n"
                 "        t = time.process_time(); m = meshio.read(name); best_r = min(best_r, time.process_time() - t)\n"
                 "        t = time.process_time(); meshio.write(out, m); best_w = min(best_w, time.process_time() - t)\n"
                 "    print(best_w, best_r)\n");
    std::fclose(f);
  }
  const std::string outply = (dir / "meshio.ply").string(), outobj = (dir / "meshio.obj").string();
  FILE* pipe = popen((py + " " + timing + " " + ply + " " + obj + " " + outply + " " + outobj + " 2>/dev/null").c_str(), "r");
  double mw[2] = {0, 0}, mr[2] = {0, 0};
  if (pipe) {
    if (std::fscanf(pipe, "%lf %lf %lf %lf", &mw[0], &mr[0], &mw[1], &mr[1]) != 4) std::fprintf(stderr, "no meshio times\n");
    pclose(pipe);
  }
  if (mw[0] > 0) {
    report("  meshio binary PLY write", mw[0], ply_bytes);
    report("  meshio binary PLY read", mr[0], ply_bytes);
    report("  meshio OBJ write", mw[1], obj_bytes);
    report("  meshio OBJ read", mr[1], obj_bytes);
  }

  std::printf("whole process (start, read, write where named, end)\n");
  auto macro = [&](const char* name, const std::string& body) {
    const std::string path = (dir / name).string();
    if (FILE* f = std::fopen(path.c_str(), "w")) {
      std::fputs(body.c_str(), f);
      std::fclose(f);
    }
    return "cd " + dir.string() + " && " + prog + " -strict -macro=" + name + " > /dev/null 2>&1";
  };
  report("  quorvex read PLY", shell_cpu_seconds(macro("r_ply.macro", "mesh.load m.ply\n")), ply_bytes);
  report("  quorvex read PLY, write PLY", shell_cpu_seconds(macro("rw_ply.macro", "mesh.load m.ply\nmesh.save.ply q.ply\n")),
         2 * ply_bytes);
  report("  quorvex read OBJ", shell_cpu_seconds(macro("r_obj.macro", "mesh.load m.obj\n")), obj_bytes);
  report("  quorvex read OBJ, write OBJ", shell_cpu_seconds(macro("rw_obj.macro", "mesh.load m.obj\nmesh.save.obj q.obj\n")),
         2 * obj_bytes);
  const std::string mio = "cd " + dir.string() + " && " + py + " -c \"import meshio; ";
  report("  meshio read PLY", shell_cpu_seconds(mio + "meshio.read('m.ply')\"", 1), ply_bytes);
  report("  meshio read PLY, write PLY", shell_cpu_seconds(mio + "meshio.write('p.ply', meshio.read('m.ply'))\"", 1), 2 * ply_bytes);
  report("  meshio read OBJ", shell_cpu_seconds(mio + "meshio.read('m.obj')\"", 1), obj_bytes);
  report("  meshio read OBJ, write OBJ", shell_cpu_seconds(mio + "meshio.write('p.obj', meshio.read('m.obj'))\"", 1),
         2 * obj_bytes);
  std::filesystem::remove_all(dir);
  return 0;
}
