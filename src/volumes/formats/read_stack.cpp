// read_stack.cpp: the conversion of stored voxels into mono, gray and fullgray, with the load filter and float ranges.
//
// The stored type and the target type are template parameters; the mapping of
// one voxel is a lambda chosen once per call, so the voxel loop holds no switch.
#include "volumes/formats/read_stack.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "foundation/console.h"
#include "foundation/numbertext.h"
#include "foundation/progress.h"

namespace qv::scalar {

bool bytesource::read(std::int64_t at, void* out, std::size_t n) const {
  if (at < 0 || at > size || std::int64_t(n) > size - at) return false;
  if (stream) return packed::seek(*stream, at) && packed::read(*stream, out, n) == n;
  if (file) {
    if (fseeko(file, off_t(at), SEEK_SET) != 0) return false;
    return std::fread(out, 1, n, file) == n;
  }
  std::memcpy(out, memory.data() + at, n);
  return true;
}

namespace {

// Stored forms that are not plain numbers.
template <typename C, int N>
struct colour {
  C c[N];
};
using rgb8 = colour<std::uint8_t, 3>;
using rgba8 = colour<std::uint8_t, 4>;
using rgb16 = colour<std::uint16_t, 3>;
using rgba16 = colour<std::uint16_t, 4>;
struct float80 {
  std::uint8_t b[10];
};

template <typename S>
struct traits {   // plain numbers: one component
  using component = S;
  static constexpr int components = 1;
};
template <typename C, int N>
struct traits<colour<C, N>> {
  using component = C;
  static constexpr int components = N;
};
template <>
struct traits<float80> {
  using component = float80;
  static constexpr int components = 1;
};

template <typename S>
S load(const std::uint8_t* p) {
  S v;
  std::memcpy(&v, p, sizeof(S));
  return v;
}

double as_double(float80 v) {
#if defined(__x86_64__) || defined(__i386__)
  long double d = 0;
  std::memcpy(&d, v.b, 10);   // the x87 extended format, as stored
  return double(d);
#else
  (void)v;
  return 0;
#endif
}
template <typename S>
double as_double(S v) { return double(v); }

// Reverses the bytes of each component of `n` stored voxels in place.
template <typename S>
void swap_block(std::uint8_t* p, std::size_t n) {
  constexpr std::size_t cs = sizeof(typename traits<S>::component);
  if constexpr (cs > 1) {
    std::size_t total = n * sizeof(S);
    for (std::size_t i = 0; i < total; i += cs) std::reverse(p + i, p + i + cs);
  }
}

// Where converted voxels go; `put` takes the voxel's flat index.
struct graysink {
  std::uint8_t* p;
  static constexpr std::int64_t top = 255;
  void put(std::size_t i, std::int64_t v) { p[i] = std::uint8_t(v); }
};
struct fullsink {
  std::uint16_t* p;
  static constexpr std::int64_t top = 65535;
  void put(std::size_t i, std::int64_t v) { p[i] = std::uint16_t(v); }
};
struct monosink {
  std::uint8_t* p;   // zeroed by the field's creation, so only set bits are written
  static constexpr std::int64_t top = 1;
  void put(std::size_t i, std::int64_t v) {
    if (v) p[i >> 3] |= std::uint8_t(1u << (i & 7));
  }
};

struct context {
  const bytesource& src;
  const stackrequest& r;
  std::size_t voxels;
  widetext title;
  voxelvector<std::uint8_t> buffer;   // filled before each use, so never zeroed
};

// One pass over the stored voxels; `visit(index, stored)` sees each in order.
// Progress runs from `from` over `span` of the bar.
template <typename S, typename Visit>
bool pass(context& c, Visit visit, double from, double span) {
  std::size_t per = c.buffer.size() / sizeof(S);
  for (std::size_t i = 0; i < c.voxels; i += per) {
    std::size_t k = std::min(per, c.voxels - i);
    std::uint8_t* b = c.buffer.data();
    if (!c.src.read(c.r.offset + std::int64_t(i * sizeof(S)), b, k * sizeof(S))) return false;
    if (c.r.swap) swap_block<S>(b, k);
    for (std::size_t j = 0; j < k; ++j) visit(i + j, load<S>(b + j * sizeof(S)));
    progress::set(from + span * double(i + k) / double(c.voxels), c.title);
  }
  return true;
}

template <typename S, typename Sink>
std::int64_t reduce(S v);

// Stored and target voxels of one size, without a filter: the bytes go straight
// into the field and are reduced in place, a block at a time while it is in the cache.
template <typename S, typename Sink>
bool read_direct(context& c, Sink sink) {
  constexpr std::size_t block = (std::size_t(1) << 20) / sizeof(S);
  for (std::size_t i = 0; i < c.voxels; i += block) {
    std::size_t k = std::min(block, c.voxels - i);
    auto* out = sink.p + i;
    std::uint8_t* b = reinterpret_cast<std::uint8_t*>(out);
    if (!c.src.read(c.r.offset + std::int64_t(i * sizeof(S)), b, k * sizeof(S))) return false;
    if (c.r.swap) swap_block<S>(b, k);
    for (std::size_t j = 0; j < k; ++j) out[j] = std::remove_reference_t<decltype(*out)>(reduce<S, Sink>(load<S>(b + j * sizeof(S))));
    progress::set(double(i + k) / double(c.voxels), c.title);
  }
  return true;
}

template <typename S, typename Sink, typename Map>
bool convert(context& c, Sink sink, Map map, double from = 0, double span = 1) {
  return pass<S>(c, [&](std::size_t i, S v) { sink.put(i, map(v)); }, from, span);
}

std::int64_t clamp_top(__int128 v, std::int64_t top) { return v < 0 ? 0 : v > top ? top : std::int64_t(v); }

// The load filter on a whole number: (offset + v) * factor, or / -factor.
// Clamped before the product, so nothing overflows 128 bits.
template <typename Sink>
std::int64_t filter_int(__int128 v, std::int64_t offset, std::int64_t factor) {
  __int128 s = v + offset;
  if constexpr (std::is_same_v<Sink, monosink>) {
    if (factor < 0) s /= -__int128(factor);
    return s > 0;
  } else {
    if (factor > 0) return s <= 0 ? 0 : s >= Sink::top ? Sink::top : clamp_top(s * factor, Sink::top);
    if (factor < 0) return clamp_top(s / -__int128(factor), Sink::top);
    return clamp_top(s, Sink::top);
  }
}

template <typename Sink>
std::int64_t filter_real(double v, std::int64_t offset, std::int64_t factor) {
  double s = double(offset) + v;
  if (factor > 0) s *= double(factor);
  else if (factor < 0) s /= -double(factor);
  if constexpr (std::is_same_v<Sink, monosink>) return s > 0;
  else return s > 0 ? (s < double(Sink::top) ? std::int64_t(s) : Sink::top) : 0;   // NaN gives 0
}

// Unfiltered whole numbers: the fixed reduction of each stored type.
template <typename S, typename Sink>
std::int64_t reduce(S v) {
  constexpr bool mono = std::is_same_v<Sink, monosink>, gray = std::is_same_v<Sink, graysink>;
  if constexpr (!std::is_integral_v<S>) {   // colours: the mean, or the sum against 3 x half
    using C = typename traits<S>::component;
    std::int64_t sum = std::int64_t(v.c[0]) + v.c[1] + v.c[2];
    if constexpr (mono) return sum > 3 * std::int64_t(std::numeric_limits<C>::max() / 2);
    else if constexpr (sizeof(C) == 2 && gray) return ((v.c[0] >> 8) + (v.c[1] >> 8) + (v.c[2] >> 8)) / 3;
    else return sum / 3;
  } else if constexpr (std::is_signed_v<S>) {
    if constexpr (mono) return v > 0;
    using U = std::make_unsigned_t<S>;
    U u = U(U(v) ^ (U(1) << (8 * sizeof(S) - 1)));   // v + half the range, without overflow
    constexpr int shift = int(8 * sizeof(S)) - (gray ? 8 : 16);
    if constexpr (shift <= 0) return std::int64_t(u);
    else return std::int64_t(u >> shift);
  } else {
    if constexpr (mono) return v > (std::numeric_limits<S>::max() >> 1);
    constexpr int shift = int(8 * sizeof(S)) - (gray ? 8 : 16);
    if constexpr (shift <= 0) return std::int64_t(v);
    else return std::int64_t(v >> shift);
  }
}

template <typename S>
__int128 whole(S v) {
  if constexpr (std::is_integral_v<S>) return __int128(v);
  else return (std::int64_t(v.c[0]) + v.c[1] + v.c[2]) / 3;   // colours filter their mean
}

// Float voxels without a filter: a range, from the header or from a first pass.
template <typename S, typename Sink>
bool read_range(context& c, Sink sink, bool automatic) {
  double lo = c.r.range_min, hi = c.r.range_max;
  double from = 0, span = 1;
  if (automatic) {
    double mn = DBL_MAX, mx = -DBL_MAX;
    bool any = false;
    auto scan = [&](std::size_t, S s) {
      double v = as_double(s);
      if (v < mn) mn = v, any = true;   // NaN fails both tests and is passed over
      if (v > mx) mx = v, any = true;
    };
    if (!pass<S>(c, scan, 0, 0.5)) return false;
    lo = any ? mn : 0, hi = any ? mx : 0;
    from = span = 0.5;
  }
  bool ok = true;
  if (hi - lo > 0) {
    if constexpr (std::is_same_v<Sink, monosink>) {
      double t = (lo + hi) / 2;
      ok = convert<S>(c, sink, [t](S s) -> std::int64_t { return as_double(s) > t; }, from, span);
    } else {
      double top = double(Sink::top), width = hi - lo;
      ok = convert<S>(c, sink, [lo, top, width](S s) -> std::int64_t {
        double v = std::nearbyint((as_double(s) - lo) * top / width);   // in this order, so 0.5 ties stay ties
        return v > 0 ? (v < double(Sink::top) ? std::int64_t(v) : Sink::top) : 0;
      }, from, span);
    }
  }
  progress::end(c.title);
  if constexpr (std::is_same_v<Sink, monosink>)
    print::line(u"  New min (" + real::text(lo) + u") max (" + real::text(hi) + u") values -> threshold=" +
                real::text((lo + hi) / 2));
  else
    print::line(u"  New min (" + real::text(lo) + u") max (" + real::text(hi) + u") values -> 0.." +
                nat::text(Sink::top) + u"!");
  return ok;
}

bool filtered(const stackrequest& r) { return r.filter_offset != 0 || r.filter_factor != 0; }
bool is_float(int code) { return code == 1032 || code == 1064 || code == 1080; }

template <typename S, typename Sink>
bool read_typed(context& c, Sink sink) {
  const stackrequest& r = c.r;
  std::int64_t off = r.filter_offset, fac = r.filter_factor;
  if constexpr (std::is_floating_point_v<S> || std::is_same_v<S, float80>) {
    if (!filtered(r)) return read_range<S>(c, sink, !(r.range_max - r.range_min > 0));
    bool ok = convert<S>(c, sink, [off, fac](S s) { return filter_real<Sink>(as_double(s), off, fac); });
    progress::end(c.title);
    return ok;
  } else {
    bool ok = false;
    if constexpr (std::is_integral_v<S> && !std::is_same_v<Sink, monosink> && sizeof(S) == sizeof(*sink.p)) {
      if (!filtered(r)) ok = read_direct<S>(c, sink);
      else ok = convert<S>(c, sink, [off, fac](S s) { return filter_int<Sink>(whole(s), off, fac); });
    } else {
      ok = filtered(r) ? convert<S>(c, sink, [off, fac](S s) { return filter_int<Sink>(whole(s), off, fac); })
                       : convert<S>(c, sink, [](S s) { return reduce<S, Sink>(s); });
    }
    progress::end(c.title);
    return ok;
  }
}

template <typename Sink>
bool read_into(context& c, Sink sink) {
  switch (c.r.code) {
    case 8: return read_typed<std::uint8_t>(c, sink);
    case -8: return read_typed<std::int8_t>(c, sink);
    case 16: return read_typed<std::uint16_t>(c, sink);
    case -16: return read_typed<std::int16_t>(c, sink);
    case 32: return read_typed<std::uint32_t>(c, sink);
    case -32: return read_typed<std::int32_t>(c, sink);
    case 64: return read_typed<std::uint64_t>(c, sink);
    case -64: return read_typed<std::int64_t>(c, sink);
    case 1032: return read_typed<float>(c, sink);
    case 1064: return read_typed<double>(c, sink);
    case 1080: return read_typed<float80>(c, sink);
    case 2024: return read_typed<rgb8>(c, sink);
    case 2032: return read_typed<rgba8>(c, sink);
    case 3024: return read_typed<rgb16>(c, sink);
    case 3032: return read_typed<rgba16>(c, sink);
    default: return false;
  }
}

bool known_code(int code) {
  static constexpr int codes[] = {8, -8, 16, -16, 32, -32, 64, -64, 1032, 1064, 1080, 2024, 2032, 3024, 3032};
  return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

widetext sizes_text(const stackrequest& r) {
  return nat::text(r.nx) + u"x" + nat::text(r.ny) + u"x" + nat::text(r.nz);
}

// Above this many voxels a file too short for its header gives an empty field
// rather than one of zeros, so that a forged header cannot claim the memory.
constexpr std::int64_t zero_field_limit = std::int64_t(1) << 28;

// The report of a source too short for its header, and the field it leaves:
// zeros of the header's size, or empty above the limit.
void short_file(scalarfield& f, const stackrequest& r, std::int64_t size) {
  std::int64_t bytes = stored_bytes(r.code), voxels = r.nx * r.ny * r.nz;
  widetext sizes = u" with (" + sizes_text(r) + u")";
  print::line(u"  Wrong file size! Header: " + sizes_text(r) + u" x " + nat::text(bytes) + u" bytes");
  print::line(u"  Calculated type (bytes): " + real::text(double(size - r.offset) / double(voxels)));
  print::line(f.tag == scalartag::mono ? u"  3DFullgrey (MonoZero)" + sizes : u"  3DGrey (GreyZero)" + sizes);
  std::uint8_t tag = std::uint8_t(f.tag);
  if (voxels > zero_field_limit) create(f, tag, 0, 0, 0);
  else create_checked(f, tag, r.nx, r.ny, r.nz);
}

}  // namespace

std::int64_t stored_bytes(int code) {
  if (code == 3024 || code == 3032) return 2 * ((code % 1000) / 8);   // 16-bit colour components
  return (code < 0 ? -code : code) % 1000 / 8;
}

std::size_t buffer_elements(int code) {
  std::int64_t bytes = stored_bytes(code);
  return 0x800000 / std::size_t(bytes > 0 ? bytes : 1) - 1;
}

widetext stack_label(int code, scalartag target) {
  const bool mono = target == scalartag::mono;
  switch (code) {
    case 8: return mono ? u"Grey|$7F" : u"Grey";
    case -8: return mono ? u"-Grey|0" : u"-Grey";
    case 16: return mono ? u"Fullgrey|$7FFF" : u"Fullgrey";
    case -16: return mono ? u"-Fullgrey|0" : u"-Fullgrey";
    case 32: return mono ? u"32Grey|$7FFF:FFFF" : u"32Grey";
    case -32: return mono ? u"-32Grey|0" : u"-32Grey";
    case 64: return mono ? u"64Grey|$7FFF:FFFF:FFFF:FFFF" : u"64Grey";
    case -64: return mono ? u"-64Grey|0" : u"-64Grey";
    case 1032: return u"32Float";
    case 1064: return u"64Float";
    case 1080: return u"80Float";
    case 2024: return mono ? u"RGB|3*$7F" : u"RGB";
    case 2032: return mono ? u"RGBA|3*$7F" : u"RGBA";
    case 3024: return mono ? u"FullRGB|3*$7FFF" : u"FullRGB";
    case 3032: return mono ? u"FullRGBA|3*$7FFF" : u"FullRGBA";
    default: return u"";
  }
}

bool read_stack(scalarfield& f, const bytesource& src, const stackrequest& r) {
  std::uint8_t tag = std::uint8_t(f.tag);
  if (r.nx < 1 || r.ny < 1 || r.nz < 1) {
    print::line(u"  3DGrey with (0x0x0)");
    create(f, tag, 0, 0, 0);
    return false;
  }
  if (!size_ok(r.nx, r.ny, r.nz)) {
    print::line(u"Not enough memory! Create empty field.");
    create(f, tag, 0, 0, 0);
    return false;
  }
  widetext sizes = u" with (" + sizes_text(r) + u")";
  if (!known_code(r.code)) {
    print::line(u"  3DGrey (" + nat::text(r.code) + u" - unknown type)" + sizes);
    return create_checked(f, tag, r.nx, r.ny, r.nz) && false;
  }
  std::int64_t bytes = stored_bytes(r.code);
  std::int64_t voxels = r.nx * r.ny * r.nz;
  // No product overflows: size_ok bounds voxels by 2^34. A stream's bound is
  // what it could give; only a stream shorter than that is read to its end.
  if (src.size - r.offset < bytes * voxels) {
    short_file(f, r, src.stream ? packed::total(*src.stream) : src.size);
    return false;
  }
  if (!create_checked(f, tag, r.nx, r.ny, r.nz)) return false;

  widetext label = stack_label(r.code, f.tag);
  if (is_float(r.code)) {
    label += filtered(r) ? u"_f" : (r.range_max - r.range_min > 0) ? u"_o" : u"_a";
    if (filtered(r) && f.tag == scalartag::mono) label += u"|0";
  }
  context c{src, r, std::size_t(voxels), {}, {}};
  c.title = (r.code == 8 && f.tag == scalartag::gray) ? u"  3DGrey" + sizes : u"  3DGrey (" + label + u")" + sizes;
  const int width = r.code < 0 ? -r.code : r.code;
  const bool direct = !filtered(r) && ((width == 16 && f.tag == scalartag::fullgray) || (width == 8 && f.tag == scalartag::gray));
  if (!direct) c.buffer.resize(buffer_elements(r.code) * std::size_t(bytes));   // the direct reads need none
  bool ok = false;
  switch (f.tag) {
    case scalartag::mono: ok = read_into(c, monosink{f.monobits.data()}); break;
    case scalartag::gray: ok = read_into(c, graysink{f.grayvoxels.data()}); break;
    case scalartag::fullgray: ok = read_into(c, fullsink{f.fullvoxels.data()}); break;
    default: break;
  }
  if (!ok && src.stream) {   // a stream that ends early is found short only while it is read
    progress::end(c.title);
    short_file(f, r, packed::total(*src.stream));
  }
  return ok;
}

}  // namespace qv::scalar
