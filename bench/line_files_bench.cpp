// line_files_bench.cpp: `line.save` rates for 10 million points as .trk and as line text, beside
// nibabel's TrkFile save of the same streamlines in the same run.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "lines/cloud.h"
#include "lines/formats/line_formats.h"

using namespace qv;

namespace {

double seconds_since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// Streamline-like walks: 50,000 lines of 200 points, steps of 0.5 voxels through a 100^3 box.
void fill(cloud& c) {
  constexpr int lines = 50'000, points = 200;
  c.points.reserve(std::size_t(lines) * points);
  std::uint64_t seed = 12345;
  auto uniform = [&] {
    seed = seed * 6364136223846793005ull + 1442695040888963407ull;
    return double(seed >> 11) * 0x1.0p-53;
  };
  for (int l = 0; l < lines; ++l) {
    double x = 100 * uniform(), y = 100 * uniform(), z = 100 * uniform();
    double a = 6.283185307179586 * uniform(), b = std::acos(2 * uniform() - 1);
    for (int i = 0; i < points; ++i) {
      a += 0.2 * (uniform() - 0.5);
      b += 0.2 * (uniform() - 0.5);
      x += 0.5 * std::sin(b) * std::cos(a);
      y += 0.5 * std::sin(b) * std::sin(a);
      z += 0.5 * std::cos(b);
      line::add_point(c, {x, y, z, double(i)});
    }
    line::close_line(c, l);
  }
  line::close_object(c, u"bench");
  line::set_frame(c, {0, 0, 0, 0}, {1, 1, 1, 1}, {100, 100, 100, 1});
}

// Wall seconds; `cpu` gets the processor seconds, which a loaded machine stretches less.
double save(const cloud& c, const char* name, void (*writer)(const cloud&, lineformat::textsink&), double& cpu) {
  auto t0 = std::chrono::steady_clock::now();
  const std::clock_t c0 = std::clock();
  std::FILE* f = std::fopen(name, "wb");
  if (!f) return 0;
  {
    lineformat::textsink out(f);
    writer(c, out);
  }
  std::fclose(f);
  cpu = double(std::clock() - c0) / CLOCKS_PER_SEC;
  return seconds_since(t0);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string dir = argc > 1 ? argv[1] : ".";
  const std::string trk = dir + "/bench_lines.trk", txt = dir + "/bench_lines.txt";
  cloud c;
  fill(c);
  const double n = double(c.points.size());
  std::printf("points: %.0f, lines: %lld, threads: 1\n", n, static_cast<long long>(line::line_count(c)));
  double cpu = 0, t = save(c, trk.c_str(), lineformat::write_trackvis, cpu);
  std::printf("line.save .trk: %.3f s, %.1f M points/s (processor %.3f s, %.1f M points/s)\n", t, n / t / 1e6, cpu,
              n / cpu / 1e6);
  t = save(c, txt.c_str(), lineformat::write_text, cpu);
  std::printf("line.save text: %.3f s, %.1f M points/s (processor %.3f s, %.1f M points/s)\n", t, n / t / 1e6, cpu,
              n / cpu / 1e6);
  // nibabel saves the streamlines it reads back from our file; only its save is timed.
  const std::string py =
      "/usr/bin/python3 -W ignore -c \"import time, nibabel as nib\n"
      "t = nib.streamlines.load('" + trk + "')\n"
      "n = len(t.streamlines.get_data())\n"
      "t0, c0 = time.perf_counter(), time.process_time()\n"
      "nib.streamlines.save(t.tractogram, '" + dir + "/bench_nibabel.trk', header=t.header)\n"
      "s, c = time.perf_counter() - t0, time.process_time() - c0\n"
      "print('nibabel TrkFile save: %.3f s, %.1f M points/s (processor %.3f s, %.1f M points/s)' % (s, n / s / 1e6, c, n / c / 1e6))\"";
  std::fflush(stdout);
  if (std::system(py.c_str()) != 0) std::printf("nibabel TrkFile save: not run (python3-nibabel missing?)\n");
  std::remove(trk.c_str());
  std::remove(txt.c_str());
  std::remove((dir + "/bench_nibabel.trk").c_str());
  return 0;
}
