// diffusion.cpp: the `scalar.diffusion*` and `image.diffusion*` commands: scan settings and the field scans.
#include "orientation/diffusion.h"
#include "orientation/vector_scalar.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <numbers>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/threads.h"
#include "images/imagefield.h"
#include "orientation/diffusion_kernel.h"
#include "orientation/scalar_source.h"
#include "orientation/vectorfield.h"

namespace qv::diffusion {

std::int64_t scan_size = 0;

widetext method_line(const settings& s) {
  const widetext tail = real::text_fixed(s.angle * 180 / std::numbers::pi, 2) + u"°), only for " +
                        real::text_fixed(s.max * 100, 2) + u" %";
  switch (method_of(s.method)) {
    case 1: return u"Method: orven2013 = only the single best vector";
    case 2: return u"Method: orven2014a = mean the two best vectors, if distance < " + real::text(double(s.n) * 0.5);
    case 3: return u"Method: orven2014b = mean (same SD) best vectors, only for " + real::text_fixed(s.max * 100, 2) + u" %";
    case 4: return u"Method: orven2015a = mean (same SD) best vectors (around " + tail;
    case 6: return u"Method: orven2019 = mean (same SD) best vectors (around " + tail;
    default: return u"Method: orven2015b = mean the best vectors (around " + tail;
  }
}

}  // namespace qv::diffusion

namespace qv::scalar {
namespace {

using diffusion::realvector;
using diffusion::settings;

scalarfield& current() { return *workspace::current<scalarfield>(); }
vectorfield& current_vector() { return *workspace::current<vectorfield>(); }
std::int64_t thread_max(macroengine& m) { return threads::max_from_text(macro::var_get(m, u"thread.max")); }

// ---- settings: one parameter each, stored without a range check

bool one(macroengine& m) {
  if (macro::parameter_count(m) == 1) return true;
  macro::check_exact(m, 1);
  return false;
}
void fullscan_cmd(macroengine& m) { if (one(m)) current().fullscan = text::bool_(macro::parameter(m, 1)); }
void submethod_cmd(macroengine& m) { if (one(m)) current().submethod = std::uint8_t(text::nat(macro::parameter(m, 1))); }
void method_cmd(macroengine& m) { if (one(m)) current().diffusionmethod = std::uint8_t(text::nat(macro::parameter(m, 1))); }
void max_cmd(macroengine& m) { if (one(m)) current().diffusionmax = text::real(macro::parameter(m, 1)); }
void angle_cmd(macroengine& m) { if (one(m)) current().diffusionangle = text::real(macro::parameter(m, 1)); }

settings settings_of(const scalarfield& f, std::int64_t n) {
  settings s;
  s.n = n;
  s.method = f.diffusionmethod;
  s.submethod = f.submethod;
  s.fullscan = f.fullscan;
  s.max = f.diffusionmax;
  s.angle = f.diffusionangle;
  return s;
}

// Brings the vector field to the reduced size (clearing it only if the size
// changes) and gives it the scalar field's frame, the steps scaled by f.
bool prepare_result(vectorfield& out, const scalarfield& in, std::int64_t f) {
  const std::int64_t x = in.width / f, y = in.height / f, z = in.depth / f;
  if (out.width != x || out.height != y || out.depth != z || !vector::has_voxels(out)) {
    vector::create_field(out, std::uint8_t(out.tag), x, y, z);
    print::line(u"  Assigned vector field (" + nat::text(x) + u"x" + nat::text(y) + u"x" + nat::text(z) + u") updated.");
  }
  framemath::matrix a = in.frame.matrix;
  if (f > 1)
    for (double& e : a.m) e *= double(f);
  frame_set_matrix(out.frame, a);
  frame_set_offset(out.frame, in.frame.offset);
  return vector::has_voxels(out);
}

// Results of the doubles kernel into the field's own element type.
void store_results(vectorfield& out, const std::vector<realvector>& r) {
  vector::with_elements(out, [&](auto* d, std::int64_t n) {
    using T = std::remove_pointer_t<decltype(d)>;
    for (std::int64_t i = 0; i < n && std::size_t(i) < r.size(); ++i, d += 3)
      d[0] = vector::store<T>(r[std::size_t(i)].x), d[1] = vector::store<T>(r[std::size_t(i)].y),
      d[2] = vector::store<T>(r[std::size_t(i)].z);
  });
}

template <typename T>
void scan_field(macroengine& m, const scan::volume<T>& v, const settings& s, std::int64_t f, vectorfield& out) {
  if (out.tag == vectortag::real) {
    // The doubles of a float field have the kernel's layout: three per voxel, x fastest.
    diffusion::field(v, s, f, thread_max(m), reinterpret_cast<realvector*>(out.reals.data()));
    return;
  }
  std::vector<realvector> r(std::size_t(vector::voxel_count(out)));
  diffusion::field(v, s, f, thread_max(m), r.data());
  store_results(out, r);
}

// The adaptive forms: the test voxel is (2i, 2j, Z) whatever f; a null result
// is tried again at up to seven neighbours, and the result goes to the eight
// voxels (i f + a, j f + b, Z + c) in source coordinates, as the program has it.
template <typename T>
void scan_adaptive(macroengine& m, const scan::volume<T>& v, const settings& s, std::int64_t f, vectorfield& out) {
  static constexpr std::int64_t retries[7][3] = {{1, 1, 1}, {0, 1, 1}, {1, 0, 0}, {1, 0, 1}, {0, 1, 0}, {1, 1, 0}, {0, 0, 1}};
  static constexpr std::int64_t corners[8][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0},
                                                 {0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {1, 1, 1}};
  std::mutex writes;   // neighbouring slices write into each other's: the last writer wins
  const std::int64_t wx = v.nx / f, wy = v.ny / f;
  auto worker = [&](std::int64_t k) {
    const std::int64_t z = k * f;
    diffusion::lineplan plan;
    diffusion::plan_build(plan, s.n, v.nx, v.ny);
    diffusion::scratch work;
    std::vector<realvector> results(std::size_t(wx * wy));
    for (std::int64_t j = 1; j <= wy; ++j)
      for (std::int64_t i = 1; i <= wx; ++i) {
        realvector r{};
        if (v.data && v.read(std::uint64_t(2 * i), std::uint64_t(2 * j), std::uint64_t(z)) > 0) {
          r = diffusion::voxel(v, plan, s, i * f, j * f, z, work);
          for (int t = 0; t < 7 && r == realvector{}; ++t)
            r = diffusion::voxel(v, plan, s, i * f + retries[t][0], j * f + retries[t][1], z + retries[t][2], work);
        }
        results[std::size_t((j - 1) * wx + (i - 1))] = r;
      }
    std::lock_guard<std::mutex> hold(writes);
    for (std::int64_t j = 1; j <= wy; ++j)
      for (std::int64_t i = 1; i <= wx; ++i) {
        const realvector& r = results[std::size_t((j - 1) * wx + (i - 1))];
        for (const auto& c : corners) vector::set(out, i * f + c[0], j * f + c[1], z + c[2], {r.x, r.y, r.z});
      }
  };
  threads::per_slice(v.nz / f, thread_max(m), u"  Calculate vectorfield", worker);
}

// A result field that came out empty (a reduced size of 0 on an axis): the
// frame still runs, and each slice finds no field, says so and is skipped;
// the macro goes on.
void empty_result(macroengine& m, std::int64_t slices) {
  std::atomic<std::int64_t> skipped{0};
  auto worker = [&](std::int64_t) { skipped.fetch_add(1, std::memory_order_relaxed); };
  threads::per_slice(slices, thread_max(m), u"  Calculate vectorfield", worker);
  for (std::int64_t z = 0; z < skipped.load(); ++z) print::line(u"Error! Empty vectorfield!");
}

void diffusion_run(macroengine& m, std::int64_t f, bool adaptive) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const std::int64_t n = text::nat(macro::parameter(m, 1));
  diffusion::scan_size = n;
  const scalarfield& in = current();
  if (n < 1 || n > 65535 || in.width <= 2 * n || in.height <= 2 * n || in.depth <= 2 * n) {
    print::line(u"Wrong scan size (" + nat::text(n) + u")!");
    return;
  }
  vectorfield& out = current_vector();
  const bool sized = prepare_result(out, in, f);
  const settings s = settings_of(in, n);
  print::line(diffusion::method_line(s));
  if (!sized) return empty_result(m, in.depth / f);
  const diffusion::scalarview v = diffusion::scalar_voxels(in);
  if (v.fullgray.data) {
    adaptive ? scan_adaptive(m, v.fullgray, s, f, out) : scan_field(m, v.fullgray, s, f, out);
  } else {
    scan::volume<std::uint8_t> gray = v.gray;   // no data at all: null everywhere
    gray.nx = in.width, gray.ny = in.height, gray.nz = in.depth;
    adaptive ? scan_adaptive(m, gray, s, f, out) : scan_field(m, gray, s, f, out);
  }
}

void diffusion_cmd(macroengine& m) { diffusion_run(m, 1, false); }
template <int F>
void reduced_cmd(macroengine& m) { diffusion_run(m, F, false); }
template <int F>
void adaptive_cmd(macroengine& m) { diffusion_run(m, F, true); }

constexpr cmdkind P = cmdkind::procedure;

constexpr cmdrow rows[] = {
    {"fullscan",              P, fullscan_cmd,     "scalar.fullscan false",          "true = scan only full spheres (without zero), false(default) = scan incomplete spheres"},
    {"submethod",             P, submethod_cmd,    "scalar.submethod 2",             "reduction of a line: 0 sum, 1 mean, 2 sd (default), 3 min, 4 Q.25, 5 median, 6 Q.75, 7 max"},
    {"diffusion.method",      P, method_cmd,       "scalar.diffusion.method 5",      "1=orven2013 2=orven2014a 3=orven2014b 4=orven2015a 5=orven2015b (default) 6=orven2019"},
    {"diffusion.max",         P, max_cmd,          "scalar.diffusion.max 0.25",      "fraction of tied directions above which a voxel has no direction"},
    {"diffusion.angle",       P, angle_cmd,        "scalar.diffusion.angle 0.0872664626", "cone of the tied directions, radians (default 5 degrees)"},
    {"diffusion",             P, diffusion_cmd,    "scalar.diffusion 16",            "vector field of the least grey-value spread, scan length 16"},
    {"diffusion.x2",          P, reduced_cmd<2>,   "scalar.diffusion.x2 16",         "the same on every second voxel: field of size/2"},
    {"diffusion.x3",          P, reduced_cmd<3>,   "scalar.diffusion.x3 16",         "the same on every third voxel: field of size/3"},
    {"diffusion.x4",          P, reduced_cmd<4>,   "scalar.diffusion.x4 16",         "the same on every fourth voxel: field of size/4"},
    {"diffusion.x5",          P, reduced_cmd<5>,   "scalar.diffusion.x5 16",         "the same on every fifth voxel: field of size/5"},
    {"diffusion.adaptive.x2", P, adaptive_cmd<2>,  "scalar.diffusion.adaptive.x2 16", "only for scalar div 2 or if fails for subpixels"},
    {"diffusion.adaptive.x3", P, adaptive_cmd<3>,  "scalar.diffusion.adaptive.x3 16", "only for scalar div 2 or if fails for subpixels"},
    {"diffusion.adaptive.x4", P, adaptive_cmd<4>,  "scalar.diffusion.adaptive.x4 16", "only for scalar div 2 or if fails for subpixels"},
    {"diffusion.adaptive.x5", P, adaptive_cmd<5>,  "scalar.diffusion.adaptive.x5 16", "only for scalar div 2 or if fails for subpixels"},
};

}  // namespace

void register_diffusion(macroengine& m) {
  macro::register_rows(m, "scalar.", rows);
  register_make_fields(m);   // `scalar.make.vector`, `.make.tensor`: the scalar rows this folder owns
}

}  // namespace qv::scalar

namespace qv::image {
namespace {

using diffusion::realvector;

bool one(macroengine& m) {
  if (macro::parameter_count(m) == 1) return true;
  macro::check_exact(m, 1);
  return false;
}
void fullscan_cmd(macroengine& m) { if (one(m)) current().fullscan = text::bool_(macro::parameter(m, 1)); }
void submethod_cmd(macroengine& m) { if (one(m)) current().submethod = std::uint8_t(text::nat(macro::parameter(m, 1))); }
void method_cmd(macroengine& m) { if (one(m)) current().diffusionmethod = std::uint8_t(text::nat(macro::parameter(m, 1))); }
void max_cmd(macroengine& m) { if (one(m)) current().diffusionmax = text::real(macro::parameter(m, 1)); }
void angle_cmd(macroengine& m) { if (one(m)) current().diffusionangle = text::real(macro::parameter(m, 1)); }

// The orientation of a result pair as a grey value: the angle from (1, 0),
// taken the long way round when the pair points up (against (0, -1)).
std::int64_t orientation_value(realvector w, bool wide) {
  const double scale = wide ? 65535 / std::numbers::pi : 255 / std::numbers::pi;
  const double top = wide ? 65535 : 255;
  const double a = scan::angle({w.x, w.y, 0}, {1, 0, 0}), b = scan::angle({w.x, w.y, 0}, {0, -1, 0});
  const double angle = b <= std::numbers::pi / 2 ? a : 2 * std::numbers::pi - a;
  return std::int64_t(std::clamp((angle - std::numbers::pi / 2) * scale, 0.0, top));
}

template <typename T>
void scan_image(macroengine& m, const scan::volume<T>& v, const diffusion::settings& s, imagefield& out) {
  std::vector<realvector> r(std::size_t(v.nx * v.ny));
  diffusion::field_2d(v, s, threads::max_from_text(macro::var_get(m, u"thread.max")), r.data());
  const bool wide = out.tag == fieldtag::fullgray;
  for (std::int64_t y = 1; y <= height(out); ++y)
    for (std::int64_t x = 1; x <= width(out); ++x) {
      const bool inside = x <= v.nx && y <= v.ny;
      const bool lit = inside && v.read(std::uint64_t(x), std::uint64_t(y), 1) > 0;
      const std::int64_t g = lit ? orientation_value(r[std::size_t((y - 1) * v.nx + (x - 1))], wide) : 0;
      if (out.tag == fieldtag::gray || out.tag == fieldtag::fullgray) set(out, x, y, g);
      else set_rgb(out, x, y, {g, g, g});
    }
}

// new := image.diffusion n: the 2D scan of the current image into the named one.
void diffusion_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 1) return macro::check_exact(m, 1);
  const std::int64_t n = text::nat(macro::parameter(m, 1));
  imagefield& in = current();
  if (n < 1 || n > 65535 || width(in) <= 2 * n || height(in) <= 2 * n) {
    print::line(u"Wrong scan size (" + nat::text(n) + u")!");
    return;
  }
  imagefield* out = workspace::get_target_or_current(workspaces(), macro::target(m));
  if (width(*out) * height(*out) < 1) {
    create(*out, workspace_traits<imagefield>::default_tag, width(in), height(in));
    out->frame = in.frame;
  } else {
    print::line(u"Attention, target image field seems not to be empty!");
  }
  diffusion::settings s;
  s.n = n;
  s.method = in.diffusionmethod;
  s.submethod = in.submethod;
  s.fullscan = in.fullscan;
  s.max = in.diffusionmax;
  s.angle = in.diffusionangle;
  print::line(diffusion::method_line(s));
  if (in.tag == fieldtag::fullgray) {
    const plane16& p = in.pixels->fullgray;
    scan_image(m, scan::volume<std::uint16_t>{p.data.data(), p.width, p.height, 1, p.background}, s, *out);
  } else if (in.tag == fieldtag::gray) {
    const plane8& p = in.pixels->gray;
    scan_image(m, scan::volume<std::uint8_t>{p.data.data(), p.width, p.height, 1, p.background}, s, *out);
  } else {
    scan_image(m, scan::volume<std::uint8_t>{nullptr, width(in), height(in), 1, 0}, s, *out);
  }
  m.target.clear();
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    {"fullscan",         P, fullscan_cmd,  "image.fullscan false",       "true = scan only full circles (without zero), false(default) = scan incomplete circles"},
    {"submethod",        P, submethod_cmd, "image.submethod 2",          "reduction of a line: 0 sum, 1 mean, 2 sd (default), 3 min, 4 Q.25, 5 median, 6 Q.75, 7 max"},
    {"diffusion.method", P, method_cmd,    "image.diffusion.method 5",   "1=orven2013 2=orven2014a 3=orven2014b 4=orven2015a 5=orven2015b (default) 6=orven2019"},
    {"diffusion.max",    P, max_cmd,       "image.diffusion.max 0.25",   "fraction of tied directions above which a pixel has no direction"},
    {"diffusion.angle",  P, angle_cmd,     "image.diffusion.angle 0.0872664626", "cone of the tied directions, radians (default 5 degrees)"},
    {"diffusion",        F, diffusion_cmd, "new := image.diffusion 16",  "2D scan; the result image holds the orientation as a grey value"},
};

}  // namespace

void register_diffusion(macroengine& m) { macro::register_rows(m, "image.", rows); }

}  // namespace qv::image
