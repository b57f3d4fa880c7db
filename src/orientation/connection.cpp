// connection.cpp: the connection scan kernel: sphere and fixed schemes, line weights and the accumulation.
#include "orientation/connection.h"

#include <cmath>

namespace qv::connection {

int scheme_of(int stored) { return stored >= 1 && stored <= 6 ? stored : 5; }
bool fixed_scheme(int scheme) { return scheme >= 1 && scheme <= 3; }
std::int64_t limit_of(int scheme) { return scheme == 4 ? 64 : scheme == 6 ? 0 : 128; }

widetext method_line(int scheme) {
  switch (scheme) {
    case 1: return u"Method: hdti = similar to three direction (half) diffusion imaging";
    case 2: return u"Method: dti = similar to seven direction diffusion imaging";
    case 3: return u"Method: ddti = similar to thirteen direction (double) diffusion imaging";
    case 4: return u"Method: hardhardi = similar to high angular resolution diffusion imaging with limit of 64 orientation vectors";
    case 6: return u"Method: hardi = similar to high angular resolution diffusion imaging";
    default: return u"Method: softhardi = similar to high angular resolution diffusion imaging with limit of 128 orientation vectors";
  }
}

void build_fixed(directions& d, int scheme, std::int64_t n) {
  const double l = double(n), k = l * 0.5773502691896257, m = l * 0.7071067811865476;
  const scan::realvector all[13] = {{l, 0, 0},  {0, l, 0},  {0, 0, l},  {k, k, k},   {k, k, -k},  {-k, k, k},  {-k, k, -k},
                                    {m, m, 0},  {-m, m, 0}, {m, 0, m},  {-m, 0, m},  {0, m, m},   {0, m, -m}};
  const int count = scheme == 1 ? 3 : scheme == 2 ? 7 : scheme == 3 ? 13 : 0;
  d.fixed.assign(all, all + count);
}

void build_walks(directions& d) {
  d.walks.clear();
  for (const scan::scan_vector& e : d.sphere) d.walks.push_back(scan::walk::between(e, {-e.x, -e.y, -e.z}));
}

namespace {

// Small spread weighs most; a line without spread counts by its length.
double weight(const scan::sample_list& run, int submethod) {
  const double s = scan::reduce(run, submethod);
  if (s == 0) return 1 / std::sqrt(std::fabs(1 / (double(run.size()) + 1)));
  return 1 / s;
}

void accumulate(tensor6& t, scan::realvector u, double w) {
  const double x = u.x * w, y = u.y * w, z = u.z * w;
  t.xx += x * x, t.yy += y * y, t.zz += z * z;
  t.xy += x * y, t.xz += x * z, t.yz += y * z;
}

}  // namespace

template <typename T>
tensor6 voxel(const scan::volume<T>& v, const directions& d, const settings& s, scan::scan_vector p,
                  scan::sample_list& run) {
  tensor6 t{};
  if (!d.fixed.empty()) {
    std::size_t good = 0;
    for (const scan::realvector& f : d.fixed) {
      const scan::scan_vector a{scan::round_even(double(p.x) + f.x), scan::round_even(double(p.y) + f.y),
                                scan::round_even(double(p.z) + f.z)};
      const scan::scan_vector b{scan::round_even(double(p.x) - f.x), scan::round_even(double(p.y) - f.y),
                                scan::round_even(double(p.z) - f.z)};
      scan::scan_run(v, a, b, run);
      if (std::int64_t(run.size()) < s.n) continue;
      ++good;
      accumulate(t, scan::normalise({double(b.x - a.x), double(b.y - a.y), double(b.z - a.z)}), weight(run, s.submethod));
    }
    return s.fullscan && good < d.fixed.size() ? tensor6{} : t;
  }
  for (std::size_t i = 0; i < d.sphere.size(); ++i) {
    const scan::scan_vector& e = d.sphere[i];
    const scan::scan_vector a{p.x + e.x, p.y + e.y, p.z + e.z}, b{p.x - e.x, p.y - e.y, p.z - e.z};
    if (i < d.walks.size()) scan::scan_run(v, a, b, d.walks[i], run);
    else scan::scan_run(v, a, b, run);
    const double c = double(run.size());
    const bool counts = s.n > 0 ? c >= double(s.n)
                                : c >= std::sqrt(double(e.x * e.x) + double(e.y * e.y) + double(e.z * e.z));
    if (!counts) {
      if (s.fullscan) return {};
      continue;
    }
    accumulate(t, d.units[i], weight(run, s.submethod));
  }
  return t;
}

template tensor6 voxel(const scan::volume<std::uint8_t>&, const directions&, const settings&, scan::scan_vector,
                           scan::sample_list&);
template tensor6 voxel(const scan::volume<std::uint16_t>&, const directions&, const settings&, scan::scan_vector,
                           scan::sample_list&);

}  // namespace qv::connection
