// image_ops.cpp: whole-image kernels (fill, plainness, value tables, crop) and the image workspace list.
#include "images/imagefield.h"

#include <algorithm>
#include <vector>

#include "foundation/console.h"
#include "images/image_tone.h"

namespace qv {
namespace image {
namespace {

template <typename T>
void fill_plane(imageplane<T>& p) {
  std::fill(p.data.begin(), p.data.end(), p.value);
}

template <typename T>
bool plain_plane(const imageplane<T>& p) {
  if (p.data.empty()) return true;
  const T* d = p.data.data();
  const T first = d[0];
  std::size_t n = p.data.size();
  for (std::size_t i = 1; i < n; ++i)
    if (d[i] != first) return false;
  return true;
}

// Both colour planes and alpha (where present) of the planar types.
template <typename F>
void each_colour_plane(imagebody& b, fieldtag t, F fn) {
  fn(b.red), fn(b.green), fn(b.blue);
  if (t == fieldtag::rgba) fn(b.alpha);
}

template <typename T, std::size_t N>
void sign_table(T (&t)[N]) {
  tone::sign_table(t, N);
}

// The table of `setrange` from the histogram, in stored values.
template <typename T, std::size_t N>
bool range_table(const imageplane<T>& p, T (&t)[N]) {
  std::vector<std::int64_t> h(N + 1, 0);
  for (T v : p.data) ++h[std::size_t(v) + 1];   // entries from 1: entry i counts value i-1
  return tone::range_table(h.data(), std::int64_t(N), t);
}

void range_plane8(plane8& p) {
  static thread_local std::uint8_t t[256];
  if (range_table(p, t)) apply_table8(p, t);
}
void range_plane16(plane16& p) {
  static thread_local std::uint16_t t[65536];
  if (range_table(p, t)) apply_table16(p, t);
}

template <typename T>
void copy_rect(const imageplane<T>& from, imageplane<T>& to, std::int64_t x1, std::int64_t y1) {
  for (std::int64_t y = 1; y <= to.height; ++y) {
    const T* src = from.data.data() + (y1 + y - 2) * from.width + (x1 - 1);
    std::copy(src, src + to.width, to.row(y));
  }
  to.value = from.value, to.background = from.background;
}

}  // namespace

void apply_table8(plane8& p, const std::uint8_t* t) {
  std::uint8_t* d = p.data.data();
  std::size_t n = p.data.size();
  for (std::size_t i = 0; i < n; ++i) d[i] = t[d[i]];
}

void apply_table16(plane16& p, const std::uint16_t* t) {
  std::uint16_t* d = p.data.data();
  std::size_t n = p.data.size();
  for (std::size_t i = 0; i < n; ++i) d[i] = t[d[i]];
}

void fill(imagefield& f) {
  if (!f.pixels) return;
  imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: fill_plane(b.gray); break;
    case fieldtag::fullgray: fill_plane(b.fullgray); break;
    case fieldtag::zrgb: fill_plane(b.z); [[fallthrough]];
    case fieldtag::rgb:
    case fieldtag::rgba: each_colour_plane(b, f.tag, [](plane8& p) { fill_plane(p); }); break;
    default: break;
  }
}

bool ifplain(const imagefield& f) {
  if (!ifimage(f)) return true;
  const imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: return plain_plane(b.gray);
    case fieldtag::fullgray: return plain_plane(b.fullgray);
    case fieldtag::rgb: return plain_plane(b.red) && plain_plane(b.green) && plain_plane(b.blue);
    case fieldtag::rgba: return plain_plane(b.red) && plain_plane(b.green) && plain_plane(b.blue) && plain_plane(b.alpha);
    case fieldtag::zrgb: {   // by the block means, as the rgb read sees them
      rgbvalue first = get_rgb(f, 1, 1);
      for (std::int64_t y = 1; y <= b.height; ++y)
        for (std::int64_t x = 1; x <= b.width; ++x)
          if (!(get_rgb(f, x, y) == first)) return false;
      return true;
    }
    default: return true;
  }
}

bool setsign(imagefield& f) {
  if (!f.pixels) return false;
  imagebody& b = *f.pixels;
  static const auto t8 = [] {
    struct { std::uint8_t t[256]; } s;
    sign_table(s.t);
    return s;
  }();
  static const auto t16 = [] {
    struct { std::uint16_t t[65536]; } s;
    sign_table(s.t);
    return s;
  }();
  switch (f.tag) {
    case fieldtag::gray: apply_table8(b.gray, t8.t); break;
    case fieldtag::fullgray: apply_table16(b.fullgray, t16.t); break;
    case fieldtag::rgb:
    case fieldtag::rgba:
    case fieldtag::zrgb: each_colour_plane(b, f.tag, [](plane8& p) { apply_table8(p, t8.t); }); break;
    default: return false;
  }
  return true;
}

bool setrange(imagefield& f) {
  if (!f.pixels) return false;
  imagebody& b = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: range_plane8(b.gray); break;
    case fieldtag::fullgray: range_plane16(b.fullgray); break;
    case fieldtag::rgb:
    case fieldtag::rgba:
    case fieldtag::zrgb: each_colour_plane(b, f.tag, range_plane8); break;
    default: return false;
  }
  return true;
}

bool crop_field(imagefield& f, std::int64_t above) {
  if (!ifimage(f)) return false;
  std::int64_t w = width(f), h = height(f);
  std::int64_t x1 = w + 1, y1 = h + 1, x2 = 0, y2 = 0;
  for (std::int64_t y = 1; y <= h; ++y)
    for (std::int64_t x = 1; x <= w; ++x)
      if (get(f, x, y) > above) x1 = std::min(x1, x), x2 = std::max(x2, x), y1 = std::min(y1, y), y2 = std::max(y2, y);
  if (x2 == 0) return false;
  std::int64_t nw = x2 - x1 + 1, nh = y2 - y1 + 1;
  print::line(u"  New size: " + nat2_text(x1, y1) + u" .. " + nat2_text(x2, y2) + u" -> " + nat2_text(nw, nh));
  imagefield out;
  create(out, std::uint8_t(f.tag), nw, nh);
  if (!out.pixels) return false;
  imagebody& d = *out.pixels;
  const imagebody& s = *f.pixels;
  switch (f.tag) {
    case fieldtag::gray: copy_rect(s.gray, d.gray, x1, y1); break;
    case fieldtag::fullgray: copy_rect(s.fullgray, d.fullgray, x1, y1); break;
    case fieldtag::rgba: copy_rect(s.alpha, d.alpha, x1, y1); [[fallthrough]];
    case fieldtag::rgb:
      copy_rect(s.red, d.red, x1, y1), copy_rect(s.green, d.green, x1, y1), copy_rect(s.blue, d.blue, x1, y1);
      break;
    case fieldtag::zrgb:   // planes at twice the size: the block of the corner pixel starts at 2x-1
      copy_rect(s.red, d.red, 2 * x1 - 1, 2 * y1 - 1), copy_rect(s.green, d.green, 2 * x1 - 1, 2 * y1 - 1);
      copy_rect(s.blue, d.blue, 2 * x1 - 1, 2 * y1 - 1), copy_rect(s.z, d.z, 2 * x1 - 1, 2 * y1 - 1);
      d.zmin = s.zmin, d.zmax = s.zmax;
      break;
    default: break;
  }
  // Keep global positions: the new first pixel sits where <x1,y1> was.
  out.frame = f.frame;
  frame_set_offset(out.frame, l2g(f.frame, {double(x1), double(y1), 1}));
  out.filename = f.filename, out.fullscan = f.fullscan, out.copymethod = f.copymethod, out.submethod = f.submethod;
  out.diffusionmethod = f.diffusionmethod, out.diffusionangle = f.diffusionangle, out.diffusionmax = f.diffusionmax;
  f.pixels = std::move(out.pixels);
  f.frame = out.frame;
  return true;
}

workspace_list<imagefield>& workspaces() { return workspace::list<imagefield>(); }
imagefield& current() { return *workspaces().current_object(); }

}  // namespace image

widetext workspace_traits<imagefield>::entry(const imagefield& f) {
  if (f.tag == fieldtag::none || f.tag == fieldtag::zrgb) return u"unknown";
  return widetext(image::tag_name(f.tag)) + u"(" + nat::text(image::width(f)) + u"x" + nat::text(image::height(f)) + u")";
}

void workspace_traits<imagefield>::announce(wideview name, const imagefield& f) {
  print::line(u"Use image: " + widetext(name) + u" (" + nat::text(image::width(f)) + u"x" + nat::text(image::height(f)) +
              u")");
}

}  // namespace qv
