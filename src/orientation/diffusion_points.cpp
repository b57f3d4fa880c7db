// diffusion_points.cpp: the single-voxel diffusion commands: dump, map, colormap, histogram and the SD charts.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <numbers>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "images/chart.h"
#include "images/image_files.h"
#include "orientation/diffusion.h"
#include "orientation/scalar_source.h"

namespace qv::scalar {
namespace {

using image::create;
using image::get;
using image::height;
using image::set;
using image::set_rgb;
using image::width;

scalarfield& current() { return *workspace::current<scalarfield>(); }

}  // namespace

// file [n [<x,y,z> [<dx,dy,dz>]]]: a point with a component below 1 is the centre.
bool point_args(macroengine& m, pointargs& a, bool with_n) {
  const std::size_t count = macro::parameter_count(m);
  const std::size_t most = with_n ? 4 : 3;
  if (count < 1) { macro::check_min(m, 1); return false; }
  if (count > most) { macro::check_max(m, std::int64_t(most)); return false; }
  a.file = text::utf8(macro::parameter(m, 1));
  std::size_t next = 2;
  if (with_n && count >= next) a.n = text::nat(macro::parameter(m, next++));
  const scalarfield& f = *workspace::current<scalarfield>();
  framemath::vector p{0, 0, 0};
  if (count >= next) p = read_vector(macro::parameter(m, next++));
  if (p.x < 1 || p.y < 1 || p.z < 1) a.p = {f.width / 2, f.height / 2, f.depth / 2};
  else a.p = {framemath::round(p.x), framemath::round(p.y), framemath::round(p.z)};
  if (count >= next) {
    a.shift = read_vector(macro::parameter(m, next));
    a.shifted = true;
  }
  return !a.file.empty() && a.n >= 1 && a.n <= 65535;
}

scan::scan_vector centre(const pointargs& a) {
  if (!a.shifted) return a.p;
  return {a.p.x + framemath::round(a.shift.x), a.p.y + framemath::round(a.shift.y), a.p.z + framemath::round(a.shift.z)};
}

widetext point_text(const pointargs& a) {
  const widetext t = natvector_text({a.p.x, a.p.y, a.p.z});
  return a.shifted ? t + u" + " + vector_text(a.shift) : t;
}

namespace {

// The runs of the unreduced points of a direction set at one voxel:
// A = round(p + v), B = round(p - v), rounded after the addition.
template <typename T>
void point_run(const scan::volume<T>& v, scan::scan_vector p, const scan::ringpoint& q, scan::sample_list& run) {
  run.clear();
  if (!v.data) return;
  const scan::scan_vector a{scan::round_even(double(p.x) + q.v.x), scan::round_even(double(p.y) + q.v.y),
                            scan::round_even(double(p.z) + q.v.z)};
  const scan::scan_vector b{scan::round_even(double(p.x) - q.v.x), scan::round_even(double(p.y) - q.v.y),
                            scan::round_even(double(p.z) - q.v.z)};
  scan::scan_run(v, a, b, run);
}

// Calls fn with the gray or fullgray view of the current scalar field.
template <typename Fn>
void with_view(Fn fn) {
  const diffusion::scalarview v = diffusion::scalar_voxels(current());
  if (v.fullgray.data) fn(v.fullgray);
  else fn(v.gray);
}

std::string u8(const widetext& t) { return text::utf8(t); }

struct fileclose { void operator()(std::FILE* f) const { if (f) std::fclose(f); } };

// ---- dump

template <typename T>
void dump_lines(std::FILE* out, const scan::volume<T>& v, const pointargs& a) {
  std::vector<scan::ringpoint> points;
  scan::direction_points(a.n, points);
  scan::sample_list run;
  struct hit { std::int64_t number; double sd; };
  std::vector<hit> hits;
  for (std::size_t k = 0; k < points.size(); ++k) {
    const scan::ringpoint& q = points[k];
    point_run(v, centre(a), q, run);
    const std::int64_t count = std::int64_t(run.size());
    std::string line = count >= a.n ? std::to_string(hits.size() + 1) : "<r";
    line += " u:" + std::to_string(q.i) + " v:" + std::to_string(q.j) + " x:" + u8(real::text(q.v.x)) +
            " y:" + u8(real::text(q.v.y)) + " z:" + u8(real::text(q.v.z));
    if (count == 0) {
      line += " len:0";
    } else {
      const double mean = scan::reduce(run, 1), sd = scan::reduce(run, 2);
      line += " len:" + std::to_string(count) + " mean:" + u8(real::text(mean)) + " SD:" + u8(real::text(sd));
      for (std::int64_t s : run) line += " " + std::to_string(s);
      if (count >= a.n) hits.push_back({std::int64_t(hits.size() + 1), sd});
    }
    std::fprintf(out, "%s\n", line.c_str());
    if (k + 1 == points.size() || points[k + 1].i != q.i) std::fprintf(out, "\n");   // a ring ends
  }
  if (hits.size() < 2) return;
  std::stable_sort(hits.begin(), hits.end(), [](const hit& x, const hit& y) { return x.sd < y.sd; });
  const char* heads[3] = {" Min SD pos: ", " 2. SD pos: ", " 3. SD pos: "};
  for (std::size_t r = 0; r < std::min<std::size_t>(3, hits.size()); ++r)
    std::fprintf(out, "%s%lld (SD: %s)\n", heads[r], (long long)hits[r].number, u8(real::text(hits[r].sd)).c_str());
}

void dump_cmd(macroengine& m) {
  pointargs a;
  if (!point_args(m, a, true)) return;
  std::unique_ptr<std::FILE, fileclose> out(std::fopen(a.file.c_str(), "wb"));
  if (!out) return;
  print::line(u"Diffusion dump at: " + point_text(a));
  with_view([&](const auto& v) { dump_lines(out.get(), v, a); });
}

// ---- map and colormap

// "name.ext" with the extension kept if it is pgm, tif or png, else pgm; and the part before it.
void split_name(const std::string& file, std::string& base, std::string& extension) {
  const std::size_t dot = file.rfind('.');
  const std::size_t slash = file.rfind('/');
  const bool has = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  base = has ? file.substr(0, dot) : file;
  extension = has ? image::file_extension(file) : "";
  if (extension != "pgm" && extension != "tif" && extension != "png") extension = "pgm";
}

// Stretches a fullgray image over 0..65535.
void normalise(imagefield& f) {
  std::int64_t lo = 65535, hi = 0;
  for (std::int64_t y = 1; y <= height(f); ++y)
    for (std::int64_t x = 1; x <= width(f); ++x) lo = std::min(lo, get(f, x, y)), hi = std::max(hi, get(f, x, y));
  if (hi <= lo) return;
  for (std::int64_t y = 1; y <= height(f); ++y)
    for (std::int64_t x = 1; x <= width(f); ++x) set(f, x, y, (get(f, x, y) - lo) * 65535 / (hi - lo));
}

void save_with_low(const imagefield& f, const std::string& base, const std::string& extension) {
  image::save_field(f, base + "." + extension);
  imagefield low;
  create(low, std::uint8_t(fieldtag::gray), width(f), height(f));
  for (std::int64_t y = 1; y <= height(f); ++y)
    for (std::int64_t x = 1; x <= width(f); ++x) set(low, x, y, get(f, x, y) >> 8);
  image::save_field(low, base + "-low." + extension);
}

void circle(imagefield& f, std::int64_t cx, std::int64_t cy, std::int64_t r, std::int64_t value) {
  for (int step = 0; step < 64; ++step) {
    const double a = step * std::numbers::pi / 32;
    set(f, cx + std::llround(r * std::cos(a)), cy + std::llround(r * std::sin(a)), value);
  }
}

// One entry per point of the map: its pixel and, when the run qualified, mean and SD.
struct cell { std::int64_t x, y; bool qualified; double mean, sd; };

template <typename T>
std::vector<cell> map_cells(const scan::volume<T>& v, const pointargs& a, std::int64_t size) {
  std::vector<scan::ringpoint> points;
  scan::direction_points(a.n, points);
  std::vector<cell> cells;
  scan::sample_list run;
  for (std::size_t k = 0; k < points.size();) {
    std::size_t end = k;
    while (end < points.size() && points[end].i == points[k].i) ++end;
    const std::int64_t steps = std::int64_t(end - k);
    for (std::size_t e = k; e < end; ++e) {
      point_run(v, centre(a), points[e], run);
      const bool ok = std::int64_t(run.size()) >= a.n;
      cells.push_back({points[e].j + 1 + (size / 2 - steps / 2), points[e].i + 2, ok, ok ? scan::reduce(run, 1) : 0,
                       ok ? scan::reduce(run, 2) : 0});
    }
    k = end;
  }
  return cells;
}

std::int64_t capped(double v) { return std::min<std::int64_t>(framemath::round(v), 65535); }

void map_cmd(macroengine& m) {
  pointargs a;
  if (!point_args(m, a, true)) return;
  const std::int64_t size = scan::round_even(std::numbers::pi * double(a.n));
  imagefield f;
  create(f, std::uint8_t(fieldtag::fullgray), size, size);
  print::line(u"Diffusion map at: " + point_text(a));
  std::vector<cell> cells;
  with_view([&](const auto& v) { cells = map_cells(v, a, size); });
  std::vector<const cell*> hits;
  for (const cell& c : cells) {
    if (c.qualified) hits.push_back(&c);
    set(f, c.x, c.y, c.qualified ? capped(2 * c.sd) : 0);
  }
  if (hits.size() > 2) {
    std::stable_sort(hits.begin(), hits.end(), [](const cell* x, const cell* y) { return x->sd < y->sd; });
    std::int64_t equal = 0;
    while (equal < std::int64_t(hits.size()) && hits[std::size_t(equal)]->sd == hits[0]->sd) ++equal;
    std::int64_t lo = 65535, hi = 0;
    for (std::int64_t y = 1; y <= size; ++y)
      for (std::int64_t x = 1; x <= size; ++x) lo = std::min(lo, get(f, x, y)), hi = std::max(hi, get(f, x, y));
    if (equal < 3) {
      for (std::int64_t e = 0; e < equal; ++e) circle(f, hits[std::size_t(e)]->x, hits[std::size_t(e)]->y, 2, lo);
      for (std::int64_t e = 0; e < equal; ++e) circle(f, hits[std::size_t(e)]->x, hits[std::size_t(e)]->y, 3, hi);
    }
    image::text_draw(f, 1, 1, nat::text(equal), 1, hi);
  }
  if (size < 1) return;
  std::string base, extension;
  split_name(a.file, base, extension);
  normalise(f);
  save_with_low(f, base, extension);
}

void colormap_cmd(macroengine& m) {
  pointargs a;
  if (!point_args(m, a, true)) return;
  const std::int64_t size = scan::round_even(std::numbers::pi * double(a.n));
  if (size < 1) return;
  imagefield mean, sd, colour;
  create(mean, std::uint8_t(fieldtag::fullgray), size, size);
  create(sd, std::uint8_t(fieldtag::fullgray), size, size);
  print::line(u"Diffusion colormap at: " + point_text(a));
  std::vector<cell> cells;
  with_view([&](const auto& v) { cells = map_cells(v, a, size); });
  for (const cell& c : cells) {
    set(mean, c.x, c.y, c.qualified ? capped(c.mean) : 0);
    set(sd, c.x, c.y, c.qualified ? capped(2 * c.sd) : 0);
  }
  std::string base, extension;
  split_name(a.file, base, extension);
  image::save_field(mean, base + "-mean." + extension);
  image::save_field(sd, base + "-sd." + extension);
  normalise(mean);
  normalise(sd);
  create(colour, std::uint8_t(fieldtag::rgb), size, size);
  for (std::int64_t y = 1; y <= size; ++y)
    for (std::int64_t x = 1; x <= size; ++x) set_rgb(colour, x, y, {get(mean, x, y) >> 8, 0, get(sd, x, y) >> 8});
  image::save_field(colour, a.file);
}

// ---- histogram and SD charts

template <typename T>
std::int64_t minima_at(const scan::volume<T>& v, scan::scan_vector p, std::int64_t r) {
  std::vector<scan::ringpoint> points;
  scan::direction_points(r, points);
  std::vector<double> sds;
  scan::sample_list run;
  for (const scan::ringpoint& q : points) {
    point_run(v, p, q, run);
    if (std::int64_t(run.size()) >= r) sds.push_back(scan::reduce(run, 2));
  }
  if (sds.size() < 3) return 0;
  std::sort(sds.begin(), sds.end());
  return std::int64_t(std::count(sds.begin(), sds.end(), sds[0]));
}

void histogram_cmd(macroengine& m) {
  pointargs a;
  if (!point_args(m, a, false)) return;
  print::line(u"Diffusion histogram at: " + point_text(a));
  const scalarfield& f = current();
  const std::int64_t most = framemath::round(double(std::min({f.width, f.height, f.depth})) * 0.5);
  if (most < 1) return;
  image::chartseries counts;
  counts.x.resize(std::size_t(most));
  counts.y.resize(std::size_t(most));
  for (std::int64_t r = most; r >= 1; --r) {
    progress::set(double(most - r) / double(most), u"  Calculate histogram");
    std::int64_t c = 0;
    with_view([&](const auto& v) { c = minima_at(v, centre(a), r); });
    counts.x[std::size_t(r - 1)] = double(r);
    counts.y[std::size_t(r - 1)] = double(c);
  }
  progress::end(u"  Calculate histogram");
  imagefield chart;
  image::chart_draw(chart, 640, 480, {u"Diffusion histogram", u"scansize", u"number of maximas"}, {counts});
  image::save_field(chart, a.file);
}

// Extremes of means and SDs of windows 2r + 1 around the middle of full lines.
template <typename T>
void window_extremes(const scan::volume<T>& v, scan::scan_vector p, std::int64_t size, std::vector<double> (&out)[4]) {
  for (auto& o : out) o.clear();
  const double inf = std::numeric_limits<double>::infinity();
  out[0].assign(std::size_t(size), inf), out[1].assign(std::size_t(size), -inf);
  out[2].assign(std::size_t(size), inf), out[3].assign(std::size_t(size), -inf);
  std::vector<scan::ringpoint> points;
  scan::direction_points(size, points);
  scan::sample_list line;
  std::vector<double> window;
  for (const scan::ringpoint& q : points) {
    line.clear();
    if (v.data) {
      const scan::scan_vector a{scan::round_even(double(p.x) + q.v.x), scan::round_even(double(p.y) + q.v.y),
                                scan::round_even(double(p.z) + q.v.z)};
      const scan::scan_vector b{scan::round_even(double(p.x) - q.v.x), scan::round_even(double(p.y) - q.v.y),
                                scan::round_even(double(p.z) - q.v.z)};
      scan::scan_line(v, a, b, line);
    }
    const std::int64_t count = std::int64_t(line.size());
    for (std::int64_t r = 1; r <= size; ++r) {
      window.clear();
      for (std::int64_t d = -r; d <= r; ++d) {
        const std::int64_t at = framemath::round(double(count) * 0.5 + double(d));
        if (at >= 1 && at <= count && line[std::size_t(at - 1)] != 0) window.push_back(double(line[std::size_t(at - 1)]));
      }
      if (std::int64_t(window.size()) < r) continue;
      double sum = 0;
      for (double w : window) sum += w;
      const double mean = sum / double(window.size());
      double spread = 0;
      for (double w : window) spread += (w - mean) * (w - mean);
      const double sd = std::sqrt(std::fabs(spread / double(window.size())));   // by the count here
      const std::size_t i = std::size_t(r - 1);
      out[0][i] = std::min(out[0][i], mean), out[1][i] = std::max(out[1][i], mean);
      out[2][i] = std::min(out[2][i], sd), out[3][i] = std::max(out[3][i], sd);
    }
  }
  for (std::size_t i = 0; i < std::size_t(size); ++i)
    for (int k = 0; k < 2; ++k) {
      double& lo = out[2 * k][i];
      double& hi = out[2 * k + 1][i];
      if (hi < 0) hi = 0;
      if (lo > hi) lo = 0;
    }
}

void sd_cmd(macroengine& m) {
  pointargs a;
  if (!point_args(m, a, true)) return;
  print::line(u"Diffusion SD's at: " + point_text(a));
  const scalarfield& f = current();
  const std::int64_t size = framemath::round(double(std::min({f.width, f.height, f.depth})) * 0.5);
  if (size < 1) return;
  std::vector<double> ext[4];
  with_view([&](const auto& v) { window_extremes(v, centre(a), size, ext); });
  image::chartseries s[4];
  for (int k = 0; k < 4; ++k) {
    for (std::int64_t r = 1; r <= size; ++r) s[k].x.push_back(double(r));
    s[k].y = ext[k];
    s[k].shade = k % 2 ? 0 : 128;   // max in the first colour, min in the second
  }
  std::string base, extension;
  split_name(a.file, base, extension);
  const std::string tail = image::file_extension(a.file).empty() ? std::string("png") : image::file_extension(a.file);
  imagefield chart;
  image::chart_draw(chart, 640, 480, {u"Diffusion SD's", u"scansize", u"minimal & maximal Mean"}, {s[1], s[0]});
  image::save_field(chart, base + "-mean." + tail);
  image::chart_draw(chart, 640, 480, {u"Diffusion SD's", u"scansize", u"minimal & maximal SD"}, {s[3], s[2]});
  image::save_field(chart, base + "-sd." + tail);
}

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    {"diffusion.map",       P, map_cmd,       "scalar.diffusion.map file.pgm 16 <x,y,z> <dx,dy,dz>", "image of the statistic over the direction sphere at one voxel"},
    {"diffusion.colormap",  P, colormap_cmd,  "scalar.diffusion.colormap file.png 16 <x,y,z>",      "images of mean and SD at one voxel, and a colour image of both"},
    {"diffusion.dump",      P, dump_cmd,      "scalar.diffusion.dump file.txt 16 <x,y,z> <dx,dy,dz>", "text dump of all lines at one voxel"},
    {"diffusion.histogram", P, histogram_cmd, "scalar.diffusion.histogram file.png <x,y,z>",        "chart of the number of minima against scan size"},
    {"diffusion.sd",        P, sd_cmd,        "scalar.diffusion.sd file.png 16 <x,y,z>",            "two charts of extreme means and SDs against window size"},
};

}  // namespace

void register_diffusion_points(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
