// connection_commands.cpp: the `scalar.connection*` commands: the scheme setting, the field scans into the current tensor field, and the histogram.
#include <algorithm>
#include <cmath>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "foundation/threads.h"
#include "images/chart.h"
#include "images/image_files.h"
#include "orientation/connection.h"
#include "orientation/diffusion.h"
#include "orientation/scalar_source.h"
#include "orientation/tensor_commands.h"
#include "orientation/tensorfield.h"

namespace qv::scalar {
namespace {

using connection::settings;

scalarfield& current() { return *workspace::current<scalarfield>(); }

void method_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  current().connectionmethod = std::uint8_t(text::nat(macro::parameter(m, 1)));
}

// How a scan reaches its output voxels: every f-th source voxel, the first
// lit one of each f-cube, or the plain form with anisotropic directions.
enum class form : std::uint8_t { reduced, adaptive, aniso };

// Brings the tensor field to the reduced size (clearing it only if the size
// changes) and gives it the scalar field's frame, the steps scaled by f.
bool prepare_result(tensorfield& out, const scalarfield& in, std::int64_t f) {
  const std::int64_t x = in.width / f, y = in.height / f, z = in.depth / f;
  if (out.width != x || out.height != y || out.depth != z || !tensor::has_voxels(out)) {
    tensor::create_field(out, std::uint8_t(out.tag), x, y, z);
    print::line(u"  Assigned tensor field (" + nat::text(x) + u"x" + nat::text(y) + u"x" + nat::text(z) + u") updated.");
  }
  framemath::matrix a = in.frame.matrix;
  if (f > 1)
    for (double& e : a.m) e *= double(f);
  frame_set_matrix(out.frame, a);
  frame_set_offset(out.frame, in.frame.offset);
  return tensor::has_voxels(out);
}

// Radii of the anisotropic direction set: r times the voxel sizes over the smallest.
scan::realvector aniso_radii(const scalarfield& in, double r) {
  const framemath::vector s = frame_scale(in.frame);
  const double least = std::min({s.x, s.y, s.z});
  if (!(least > 0)) return {r, r, r};
  return {r * s.x / least, r * s.y / least, r * s.z / least};
}

// A worker's directions: fixed, or a sphere set drawn anew for each slice.
void build_directions(connection::directions& d, const settings& s, form how, scan::realvector radii) {
  if (connection::fixed_scheme(s.scheme)) return connection::build_fixed(d, s.scheme, s.n);
  const std::int64_t limit = connection::limit_of(s.scheme);
  if (how == form::aniso) scan::direction_set_aniso(radii, limit, d.sphere, d.units);
  else scan::direction_set(s.n, limit, d.sphere, d.units);
  connection::build_walks(d);
}

template <typename T>
void scan_field(macroengine& m, const scan::volume<T>& v, const settings& s, std::int64_t f, form how,
                scan::realvector radii, tensorfield& out) {
  const std::int64_t wx = out.width, wy = out.height;
  auto worker = [&](std::int64_t k) {
    if (how == form::aniso && connection::fixed_scheme(s.scheme)) return;   // not supported: left as it is
    if (how != form::aniso && (v.nx <= 2 * s.n || v.ny <= 2 * s.n)) return;
    const std::int64_t z = k * f;
    connection::directions d;
    build_directions(d, s, how, radii);
    scan::sample_list run;
    auto lit = [&](std::int64_t x, std::int64_t y, std::int64_t zz) {
      return v.data && v.read(std::uint64_t(x), std::uint64_t(y), std::uint64_t(zz)) > 0;
    };
    tensor::with_elements(out, [&](auto* dg, auto* od, std::int64_t) {
      for (std::int64_t j = 1; j <= wy; ++j)
        for (std::int64_t i = 1; i <= wx; ++i) {
          tensor6 t{};
          if (how == form::adaptive) {
            bool found = false;
            for (std::int64_t c = -(f - 1); c <= 0 && !found; ++c)
              for (std::int64_t b = -(f - 1); b <= 0 && !found; ++b)
                for (std::int64_t a = -(f - 1); a <= 0 && !found; ++a)
                  if (lit(i * f + a, j * f + b, z + c)) {
                    t = connection::voxel(v, d, s, {i * f + a, j * f + b, z + c}, run);
                    found = true;
                  }
          } else if (lit(i * f, j * f, z)) {
            t = connection::voxel(v, d, s, {i * f, j * f, z}, run);
          }
          tensor::store(dg, od, ((k - 1) * wy + (j - 1)) * wx + (i - 1), t);
        }
    });
  };
  threads::per_slice(out.depth, threads::max_from_text(macro::var_get(m, u"thread.max")), u"  Calculate tensorfield",
                     worker);
}

void run(macroengine& m, const scalarfield& in, const settings& s, std::int64_t f, form how, scan::realvector radii) {
  tensorfield& out = *workspace::current<tensorfield>();
  const bool sized = prepare_result(out, in, f);
  print::line(how == form::aniso && connection::fixed_scheme(s.scheme) ? widetext(u"Method: not supported")
                                                                       : connection::method_line(s.scheme));
  if (!sized) return print::line(u"Error! Empty tensorfield!");
  const diffusion::scalarview v = diffusion::scalar_voxels(in);
  if (v.fullgray.data) return scan_field(m, v.fullgray, s, f, how, radii, out);
  scan::volume<std::uint8_t> gray = v.gray;   // no data at all: null everywhere
  gray.nx = in.width, gray.ny = in.height, gray.nz = in.depth;
  scan_field(m, gray, s, f, how, radii, out);
}

settings settings_of(const scalarfield& in, std::int64_t n) {
  settings s;
  s.n = n;
  s.scheme = connection::scheme_of(in.connectionmethod);
  s.submethod = in.submethod;
  s.fullscan = in.fullscan;
  return s;
}

void connection_run(macroengine& m, std::int64_t f, form how) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const std::int64_t n = text::nat(macro::parameter(m, 1));
  diffusion::scan_size = n;
  const scalarfield& in = current();
  if (n < 1 || n > 65535 || in.width <= 2 * n || in.height <= 2 * n || in.depth <= 2 * n) {
    print::line(u"Wrong scan size (" + nat::text(n) + u")!");
    return;
  }
  run(m, in, settings_of(in, n), f, how, {});
}

void aniso_run(macroengine& m, std::int64_t f) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const widetext p = macro::parameter(m, 1);
  const double r = text::real(p);
  const scalarfield& in = current();
  if (in.width < 1 || in.height < 1 || in.depth < 1) {
    print::line(u"Wrong scan size (" + real::text(r) + u")!");
    return;
  }
  run(m, in, settings_of(in, 0), f, form::aniso, aniso_radii(in, r));
}

// ---- histogram

// The fractional anisotropy of the tensor at one voxel with scan length r and
// the anisotropic sphere set; 0 for the fixed schemes and for a dark voxel.
template <typename T>
double anisotropy_at(const scan::volume<T>& v, const scalarfield& in, scan::scan_vector p, std::int64_t r) {
  settings s = settings_of(in, r);
  if (in.width < 1 || in.height < 1 || in.depth < 1 || connection::fixed_scheme(s.scheme)) return 0;
  if (!v.data || v.read(std::uint64_t(p.x), std::uint64_t(p.y), std::uint64_t(p.z)) <= 0) return 0;
  connection::directions d;
  scan::direction_set_aniso(aniso_radii(in, double(r)), connection::limit_of(s.scheme), d.sphere, d.units);
  scan::sample_list run;
  const tensor6 t = connection::voxel(v, d, s, p, run);
  if (tensor::is_null(t)) return 0;
  const framemath::vector e = tensor::eigenvalues(t);
  const double mean = (e.x + e.y + e.z) / 3, length = std::sqrt(e.x * e.x + e.y * e.y + e.z * e.z);
  if (length == 0) return 0;
  const double dx = e.x - mean, dy = e.y - mean, dz = e.z - mean;
  return std::sqrt(1.5) * std::sqrt(dx * dx + dy * dy + dz * dz) / length;
}

void histogram_cmd(macroengine& m) {
  pointargs a;
  if (!point_args(m, a, false)) return;
  print::line(u"Connection histogram at: " + point_text(a));
  const scalarfield& in = current();
  const std::int64_t most = framemath::round(double(std::min({in.width, in.height, in.depth})) * 0.5);
  if (most < 1) return;
  image::chartseries values;
  values.x.resize(std::size_t(most));
  values.y.resize(std::size_t(most));
  const diffusion::scalarview v = diffusion::scalar_voxels(in);
  for (std::int64_t r = most; r >= 1; --r) {
    progress::set(double(most - r) / double(most), u"  Calculate histogram");
    values.x[std::size_t(r - 1)] = double(r);
    values.y[std::size_t(r - 1)] = v.fullgray.data ? anisotropy_at(v.fullgray, in, centre(a), r)
                                                    : anisotropy_at(v.gray, in, centre(a), r);
  }
  progress::end(u"  Calculate histogram");
  imagefield chart;
  image::chart_draw(chart, 640, 480, {u"Connection histogram", u"scansize", u"number of maximas"}, {values});
  image::save_field(chart, a.file);
}

void connection_cmd(macroengine& m) { connection_run(m, 1, form::reduced); }
template <int F>
void reduced_cmd(macroengine& m) { connection_run(m, F, form::reduced); }
template <int F>
void adaptive_cmd(macroengine& m) { connection_run(m, F, form::adaptive); }
template <int F>
void aniso_cmd(macroengine& m) { aniso_run(m, F); }

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    {"connection.method",      P, method_cmd,      "scalar.connection.method 5",       "1=hdti 2=dti 3=ddti 4=hardhardi 5=softhardi (default) 6=hardi"},
    {"connection",             P, connection_cmd,  "scalar.connection 16",             "tensor field of all scan directions, weighted by their uniformity, scan length 16"},
    {"connection.x2",          P, reduced_cmd<2>,  "scalar.connection.x2 16",          "the same on every second voxel: field of size/2"},
    {"connection.x3",          P, reduced_cmd<3>,  "scalar.connection.x3 16",          "the same on every third voxel: field of size/3"},
    {"connection.x4",          P, reduced_cmd<4>,  "scalar.connection.x4 16",          "the same on every fourth voxel: field of size/4"},
    {"connection.x5",          P, reduced_cmd<5>,  "scalar.connection.x5 16",          "the same on every fifth voxel: field of size/5"},
    {"connection.adaptive.x2", P, adaptive_cmd<2>, "scalar.connection.adaptive.x2 16", "field of size/2 from the first non-zero voxel of each cube (also written adaptive_x2)"},
    {"connection.adaptive.x3", P, adaptive_cmd<3>, "scalar.connection.adaptive.x3 16", "field of size/3 from the first non-zero voxel of each cube (also written adaptive_x3)"},
    {"connection.adaptive.x4", P, adaptive_cmd<4>, "scalar.connection.adaptive.x4 16", "field of size/4 from the first non-zero voxel of each cube (also written adaptive_x4)"},
    {"connection.adaptive.x5", P, adaptive_cmd<5>, "scalar.connection.adaptive.x5 16", "field of size/5 from the first non-zero voxel of each cube (also written adaptive_x5)"},
    {"connection.histogram",   P, histogram_cmd,   "scalar.connection.histogram file.png <x,y,z>", "chart of the fractional anisotropy against scan size at one voxel"},
    {"connection.aniso",       P, aniso_cmd<1>,    "scalar.connection.aniso 16",       "full size, scan length 16 along the finest axis, longer along coarser ones"},
    {"connection.aniso.x2",    P, aniso_cmd<2>,    "scalar.connection.aniso.x2 16",    "anisotropic scan on every second voxel: field of size/2"},
    {"connection.aniso.x3",    P, aniso_cmd<3>,    "scalar.connection.aniso.x3 16",    "anisotropic scan on every third voxel: field of size/3"},
    {"connection.aniso.x4",    P, aniso_cmd<4>,    "scalar.connection.aniso.x4 16",    "anisotropic scan on every fourth voxel: field of size/4"},
    {"connection.aniso.x5",    P, aniso_cmd<5>,    "scalar.connection.aniso.x5 16",    "anisotropic scan on every fifth voxel: field of size/5"},
};

}  // namespace

void register_connection(macroengine& m) { macro::register_rows(m, "scalar.", rows); }

}  // namespace qv::scalar
