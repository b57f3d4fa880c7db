// tensor_measures.cpp: the tensor measures: eigenvalue numbers into a scalar field, eigenvalue and eigenvector triples into a vector field.
#include <algorithm>
#include <cmath>

#include "foundation/console.h"
#include "foundation/threads.h"
#include "orientation/tensor_commands.h"
#include "orientation/tensorfield.h"
#include "volumes/scalar_commands.h"
#include "volumes/scalarfield.h"

namespace qv::tensor {
namespace {

using measurefn = double (*)(framemath::vector e);

double mean(framemath::vector e) { return (e.x + e.y + e.z) / 3; }
double spread(framemath::vector e) {
  const double m = mean(e);
  return std::sqrt((e.x - m) * (e.x - m) + (e.y - m) * (e.y - m) + (e.z - m) * (e.z - m));
}
double sum(framemath::vector e) { return e.x + e.y + e.z; }

double e1(framemath::vector e) { return e.x; }
double e2(framemath::vector e) { return e.y; }
double e3(framemath::vector e) { return e.z; }
double fa(framemath::vector e) {
  const double l = std::sqrt(e.x * e.x + e.y * e.y + e.z * e.z);
  return l == 0 ? 0 : std::sqrt(1.5) * spread(e) / l;
}
double ra(framemath::vector e) { return mean(e) == 0 ? 0 : std::sqrt(1.0 / 3) * spread(e) / mean(e); }
double md(framemath::vector e) { return mean(e); }
double radial(framemath::vector e) { return (e.y + e.z) * 0.5; }
double linear(framemath::vector e) { return sum(e) == 0 ? 0 : (e.x - e.y) / sum(e); }
double planar(framemath::vector e) { return sum(e) == 0 ? 0 : 2 * (e.y - e.z) / sum(e); }
double spherical(framemath::vector e) { return sum(e) == 0 ? 0 : 3 * e.z / sum(e); }
double vr(framemath::vector e) {
  const double m = mean(e);
  return m == 0 ? 0 : e.x * e.y * e.z / (m * m * m);
}

std::int64_t thread_max(macroengine& m) { return threads::max_from_text(macro::var_get(m, u"thread.max")); }

const tensorfield* source(macroengine&) {
  const tensorfield& f = *workspace::current<tensorfield>();
  if (has_voxels(f)) return &f;
  print::line(u"Error! Empty tensorfield!");
  return nullptr;
}

// Runs `voxel(i_tensor, i_result, tensor)` over the voxels that the tensor
// field and a result of size (rx, ry, rz) share, one worker per z slice;
// null tensors are passed over.
template <typename Fn>
void each_tensor(macroengine& m, const tensorfield& f, std::int64_t rx, std::int64_t ry, std::int64_t rz,
                 wideview label, Fn voxel) {
  const std::int64_t nx = std::min(f.width, rx), ny = std::min(f.height, ry), nz = std::min(f.depth, rz);
  auto worker = [&](std::int64_t z) {
    with_elements(f, [&](const auto* d, const auto* o, std::int64_t) {
      for (std::int64_t y = 0; y < ny; ++y) {
        const std::int64_t in = ((z - 1) * f.height + y) * f.width, out = ((z - 1) * ry + y) * rx;
        for (std::int64_t x = 0; x < nx; ++x) {
          const tensor6 t = load(d, o, in + x);
          if (!is_null(t)) voxel(out + x, t);
        }
      }
    });
  };
  threads::per_slice(nz, thread_max(m), label, worker);
}

// The value times the factor of the target's group, clamped to its range and truncated.
template <typename T>
void measure_into(macroengine& m, const tensorfield& f, scalarfield& s, T* out, measurefn fn, double factor, double top) {
  each_tensor(m, f, s.width, s.height, s.depth, u"  Calculate tensor measure", [&](std::int64_t i, const tensor6& t) {
    const double v = fn(eigenvalues(t)) * factor;
    out[i] = T(std::isnan(v) ? 0 : std::clamp(v, 0.0, top));
  });
}

// `tensor.measure.*`: `wide` is the group with the factors 255 and 65535, the other has 128 and 32768.
template <measurefn Fn, bool Wide>
void measure_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  scalarfield& s = macro::target(m).empty() ? scalar::current()
                                            : *workspace::get_target_or_current(scalar::workspaces(), macro::target(m));
  m.target.clear();
  if (!scalar::ifscalar(s)) return print::line(u"Error! Empty scalarfield (result)!");
  const tensorfield* f = source(m);
  if (!f) return;
  if (s.tag == scalartag::gray) measure_into(m, *f, s, s.grayvoxels.data(), Fn, Wide ? 255 : 128, 255);
  else if (s.tag == scalartag::fullgray) measure_into(m, *f, s, s.fullvoxels.data(), Fn, Wide ? 65535 : 32768, 65535);
}

// ---- vector measures

using triplefn = framemath::vector (*)(const tensor6& t);

framemath::vector values(const tensor6& t) { return eigenvalues(t); }
framemath::vector westin(const tensor6& t) {
  const framemath::vector e = eigenvalues(t);
  const double s = sum(e);
  return s == 0 ? framemath::vector{} : framemath::vector{linear(e), planar(e), spherical(e)};
}
framemath::vector westin_rank(const tensor6& t) {
  framemath::vector w = westin(t);
  if (w.z >= 0.5) w.x = w.y = 0;
  if (w.y >= 0.5) w.x = w.z = 0;
  if (w.x >= 0.5) w.y = w.z = 0;
  return w;
}
template <int Row>
framemath::vector eigenvector(const tensor6& t) { return eigen(t).vectors[Row]; }

// Eigenvectors are units: an integer field stores them times 2^63, an rgb field times 255.
template <triplefn Fn, bool Unit>
void vector_cmd(macroengine& m) {
  if (macro::parameter_count(m) != 0) return macro::check_max(m, 0);
  auto& l = workspace::list<vectorfield>();
  vectorfield& v = macro::target(m).empty() ? *l.current_object() : *workspace::get_target_or_current(l, macro::target(m));
  m.target.clear();
  if (!vector::has_voxels(v)) return print::line(u"Error! Empty vectorfield (result)!");
  const tensorfield* f = source(m);
  if (!f) return;
  const double k = !Unit ? 1.0 : v.tag == vectortag::nat ? 9223372036854775808.0 : v.tag == vectortag::rgb ? 255.0 : 1.0;
  vector::with_elements(v, [&](auto* out, std::int64_t) {
    using T = std::remove_pointer_t<decltype(out)>;
    each_tensor(m, *f, v.width, v.height, v.depth, u"  Calculate tensor measure", [&](std::int64_t i, const tensor6& t) {
      const framemath::vector r = Fn(t);
      out[3 * i] = vector::store<T>(r.x * k), out[3 * i + 1] = vector::store<T>(r.y * k), out[3 * i + 2] = vector::store<T>(r.z * k);
    });
  });
}

constexpr cmdkind P = cmdkind::procedure, F = cmdkind::function;

constexpr cmdrow rows[] = {
    // name                    kind handler                           usage                                        comment
    {"measure.e1",             P, measure_cmd<e1, false>,        "tensor.measure.e1",                       "largest eigenvalue into the current scalar field (gray *128, fullgray *32768)"},
    {"measure.e1",             F, measure_cmd<e1, false>,        "new := tensor.measure.e1",                "largest eigenvalue into the named scalar field"},
    {"measure.axial",          P, measure_cmd<e1, false>,        "tensor.measure.axial",                    "axial diffusivity, the largest eigenvalue (gray *128, fullgray *32768)"},
    {"measure.axial",          F, measure_cmd<e1, false>,        "new := tensor.measure.axial",             "axial diffusivity into the named scalar field"},
    {"measure.e2",             P, measure_cmd<e2, false>,        "tensor.measure.e2",                       "middle eigenvalue (gray *128, fullgray *32768)"},
    {"measure.e2",             F, measure_cmd<e2, false>,        "new := tensor.measure.e2",                "middle eigenvalue into the named scalar field"},
    {"measure.e3",             P, measure_cmd<e3, false>,        "tensor.measure.e3",                       "smallest eigenvalue (gray *128, fullgray *32768)"},
    {"measure.e3",             F, measure_cmd<e3, false>,        "new := tensor.measure.e3",                "smallest eigenvalue into the named scalar field"},
    {"measure.fa",             P, measure_cmd<fa, false>,        "tensor.measure.fa",                       "fractional anisotropy (gray *128, fullgray *32768)"},
    {"measure.fa",             F, measure_cmd<fa, false>,        "new := tensor.measure.fa",                "fractional anisotropy into the named scalar field"},
    {"measure.ra",             P, measure_cmd<ra, false>,        "tensor.measure.ra",                       "relative anisotropy (gray *128, fullgray *32768)"},
    {"measure.ra",             F, measure_cmd<ra, false>,        "new := tensor.measure.ra",                "relative anisotropy into the named scalar field"},
    {"measure.md",             P, measure_cmd<md, false>,        "tensor.measure.md",                       "mean diffusivity (gray *128, fullgray *32768)"},
    {"measure.md",             F, measure_cmd<md, false>,        "new := tensor.measure.md",                "mean diffusivity into the named scalar field"},
    {"measure.radial",         P, measure_cmd<radial, true>,     "tensor.measure.radial",                   "radial diffusivity (e2+e3)/2 (gray *255, fullgray *65535)"},
    {"measure.radial",         F, measure_cmd<radial, true>,     "new := tensor.measure.radial",            "radial diffusivity into the named scalar field"},
    {"measure.linear",         P, measure_cmd<linear, true>,     "tensor.measure.linear",                   "linear measure (e1-e2)/e1 (gray *255, fullgray *65535)"},
    {"measure.linear",         F, measure_cmd<linear, true>,     "new := tensor.measure.linear",            "linear measure into the named scalar field"},
    {"measure.planar",         P, measure_cmd<planar, true>,     "tensor.measure.planar",                   "planar measure (e2-e3)/e1 (gray *255, fullgray *65535)"},
    {"measure.planar",         F, measure_cmd<planar, true>,     "new := tensor.measure.planar",            "planar measure into the named scalar field"},
    {"measure.spherical",      P, measure_cmd<spherical, true>,  "tensor.measure.spherical",                "spherical measure e3/e1 (gray *255, fullgray *65535)"},
    {"measure.spherical",      F, measure_cmd<spherical, true>,  "new := tensor.measure.spherical",         "spherical measure into the named scalar field"},
    {"measure.vr",             P, measure_cmd<vr, true>,         "tensor.measure.vr",                       "volume ratio e1*e2*e3/md^3 (gray *255, fullgray *65535)"},
    {"measure.vr",             F, measure_cmd<vr, true>,         "new := tensor.measure.vr",                "volume ratio into the named scalar field"},
    {"eigenvalues",            P, vector_cmd<values, false>, "tensor.eigenvalues",                     "eigenvalues (e1,e2,e3) into the current vector field"},
    {"eigenvalues",            F, vector_cmd<values, false>, "new := tensor.eigenvalues",              "eigenvalues into the named vector field"},
    {"westin",                 P, vector_cmd<westin, false>,     "tensor.westin",                           "Westin measures (linear, planar, spherical) into the current vector field"},
    {"westin",                 F, vector_cmd<westin, false>,     "new := tensor.westin",                    "Westin measures into the named vector field"},
    {"westin.rank",            P, vector_cmd<westin_rank, false>, "tensor.westin.rank",                     "Westin measures, only the leading one kept above 0.5"},
    {"westin.rank",            F, vector_cmd<westin_rank, false>, "new := tensor.westin.rank",              "ranked Westin measures into the named vector field"},
    {"eigenvector.max",        P, vector_cmd<eigenvector<0>, true>, "tensor.eigenvector.max",               "unit eigenvector of e1 into the current vector field"},
    {"eigenvector.max",        F, vector_cmd<eigenvector<0>, true>, "new := tensor.eigenvector.max",        "unit eigenvector of e1 into the named vector field"},
    {"eigenvector.mid",        P, vector_cmd<eigenvector<1>, true>, "tensor.eigenvector.mid",               "unit eigenvector of e2 into the current vector field"},
    {"eigenvector.mid",        F, vector_cmd<eigenvector<1>, true>, "new := tensor.eigenvector.mid",        "unit eigenvector of e2 into the named vector field"},
    {"eigenvector.min",        P, vector_cmd<eigenvector<2>, true>, "tensor.eigenvector.min",               "unit eigenvector of e3 into the current vector field"},
    {"eigenvector.min",        F, vector_cmd<eigenvector<2>, true>, "new := tensor.eigenvector.min",        "unit eigenvector of e3 into the named vector field"},
};

}  // namespace

void register_measures(macroengine& m) { macro::register_rows(m, "tensor.", rows); }

}  // namespace qv::tensor
