// stream_bench.cpp: streamline tracking on the 96^3 crossing-fibre field with 100,000 random
// seeds in its mask, in points per second, beside MRtrix3's tckgen FACT on the same files.
#include <algorithm>
#include <chrono>
#include <sys/times.h>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "foundation/console.h"
#include "lines/cloud.h"
#include "lines/stream.h"
#include "orientation/formats/vector_formats.h"
#include "volumes/formats/nifti.h"

using namespace qv;

namespace {

template <typename Fn>
double seconds_of(Fn fn, int repeats = 3) {   // the best of a few runs
  double best = 1e30;
  for (int i = 0; i < repeats; ++i) {
    const auto t0 = std::chrono::steady_clock::now();
    fn();
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
  }
  return best;
}

// Points in a .tck file: float32 triples after the header, a NaN triple after each
// track and an infinite one at the end.
long long tck_points(const std::string& name, long long& tracks) {
  std::ifstream in(name, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  const std::string s = ss.str();
  const std::size_t at = s.find("\nfile: . ");
  if (at == std::string::npos) return -1;
  const long long offset = std::atoll(s.c_str() + at + 9);
  const long long triples = (long long)(s.size() - std::size_t(offset)) / 12;
  const std::size_t c = s.find("\ncount: ");
  tracks = c == std::string::npos ? 0 : std::atoll(s.c_str() + c + 8);
  return triples - tracks - 1;
}

struct outcome { double seconds = 0, cpu = 0; long long points = 0, lines = 0; };

outcome track(const vectorfield& f, const stream::seedplan& plan, const stream::settings& s, int threads = 1,
              cloud* keep = nullptr) {
  outcome o;
  cloud c;
  tms t0{}, t1{};
  times(&t0);
  o.seconds = seconds_of([&] {
    c = cloud{};
    console::consoleon = false;
    stream::run(f, c, plan, s, nullptr, threads);
    console::consoleon = true;
  });
  times(&t1);
  o.cpu = double(t1.tms_utime + t1.tms_stime - t0.tms_utime - t0.tms_stime) / double(sysconf(_SC_CLK_TCK)) / 3;
  o.points = line::point_count(c), o.lines = line::line_count(c);
  if (keep) *keep = std::move(c);
  return o;
}

void report(const char* what, const outcome& o) {
  std::printf("%-46s %7.3f s %8lld lines %9lld points %6.2f M points/s", what, o.seconds, o.lines, o.points,
              double(o.points) / o.seconds * 1e-6);
  std::printf(", %.3f s cpu (%.2f M points/cpu s)", o.cpu, o.cpu > 0 ? double(o.points) / o.cpu * 1e-6 : 0.0);
  std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  const char* env = std::getenv("QV_BENCH_DATA");
  const std::string dir = argc > 1 ? argv[1] : env ? env : "/tmp/quorvex-bench-data";
  const std::string peaks = dir + "/peaks_96.nii.gz", mask = dir + "/mask_96.nii.gz";
  vectorfield f;
  scalarfield m;
  console::consoleon = false;
  const bool ok = vector::load_nifti(f, peaks) && scalar::load_nifti(m, 150, mask, 0);
  console::consoleon = true;
  if (!ok) {
    std::fprintf(stderr, "needs %s and %s (../shared/bench/data.sh makes them)\n", peaks.c_str(), mask.c_str());
    return 1;
  }
  const long long seeds = 100000;
  std::printf("stream: %lldx%lldx%lld field, %lld random seeds in the mask, tracker on 1 thread, %u cores\n",
              (long long)f.width, (long long)f.height, (long long)f.depth, seeds, std::thread::hardware_concurrency());
  stream::seedplan plan;
  plan.rule = stream::seedrule::random;
  plan.count = seeds;
  plan.mask = &m;
  plan.maskvalues.assign(65536, 0);
  plan.maskvalues[1] = 1;
  // Like FACT: every step stored, half-voxel steps, no visited test.
  stream::settings every;
  every.angles = 0, every.steps = 0.5, every.seeds = 0;
  // The random draws come first, so a fixed sequence of seeds is fed to both
  // thread counts through the plane of seeds instead: every voxel of the mask.
  report("quorvex, every step stored, step 0.5", track(f, plan, every));
  report("quorvex, every step stored, step 0.5, 2 threads", track(f, plan, every, 2));
  stream::seedplan all = plan;
  all.rule = stream::seedrule::all;
  cloud one, two;
  track(f, all, every, 1, &one);
  track(f, all, every, 2, &two);
  std::printf("all mask voxels as seeds: %lld lines, clouds for 1 and 2 threads %s\n", (long long)line::line_count(one),
              one.points.size() == two.points.size() && one.lines == two.lines && one.materials == two.materials &&
                      std::equal(one.points.begin(), one.points.end(), two.points.begin(),
                                 [](const num::hyper& a, const num::hyper& b) { return num::equal(a, b); })
                  ? "identical"
                  : "DIFFER");
  every.steps = 1;
  report("quorvex, every step stored, step 1", track(f, plan, every));
  report("quorvex, defaults (bends only, visited test)", track(f, plan, stream::settings{}));

  for (int threads : {1, 2}) {
    const std::string out = "/tmp/quorvex-stream-bench.tck";
    const std::string cmd = "tckgen -quiet -force -algorithm FACT -step 0.5 -seeds " + std::to_string(seeds) +
                            " -select 0 -seed_image " + mask + " -nthreads " + std::to_string(threads) + " " + peaks +
                            " " + out + " >/dev/null 2>&1";
    bool ran = true;
    tms t0{}, t1{};
    times(&t0);
    const double t = seconds_of([&] { ran = ran && std::system(cmd.c_str()) == 0; });
    times(&t1);
    const double cpu = double(t1.tms_cutime + t1.tms_cstime - t0.tms_cutime - t0.tms_cstime) / double(sysconf(_SC_CLK_TCK)) / 3;
    long long tracks = 0;
    const long long points = ran ? tck_points(out, tracks) : -1;
    std::remove(out.c_str());
    if (points < 0) {
      std::printf("tckgen FACT: not run (Debian's mrtrix3 missing? scripts/setup-bench.sh installs it)\n");
      break;
    }
    char what[64];
    std::snprintf(what, sizeof what, "tckgen FACT, step 0.5, %d thread%s (with load)", threads, threads > 1 ? "s" : "");
    report(what, {t, cpu, points, tracks});
  }
  return 0;
}
