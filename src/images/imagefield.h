// imagefield.h: the 2D image record, its five pixel types and the pixel reads and writes between them.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "images/frame.h"
#include "images/workspace.h"

namespace qv {

// Pixel types; keep in step with `tag_name` and the dump texts.
enum class fieldtag : std::uint8_t { none = 0, gray = 145, fullgray = 146, rgb = 161, rgba = 162, zrgb = 165 };
bool valid_tag(std::uint8_t t);

// Values of the uniform interface; components may be out of range until a write clamps them.
struct rgbvalue {
  std::int64_t r = 0, g = 0, b = 0;
  bool operator==(const rgbvalue&) const = default;
};
struct rgbavalue {
  std::int64_t r = 0, g = 0, b = 0, a = 0;
  bool operator==(const rgbavalue&) const = default;
};

// One channel: row-major, x fastest, indices from 1 at the interface.
template <typename T>
struct imageplane {
  std::vector<T> data;
  std::int64_t width = 0, height = 0;
  T background = 0;   // what reads outside the array give
  T value = 0;        // the drawing value
  std::int64_t clip[4] = {1, 1, 0, 0};   // x1, y1, x2, y2
  std::vector<double> xtable, ytable;

  void create(std::int64_t x, std::int64_t y) {
    width = x, height = y;
    data.assign(std::size_t(x * y), T(0));
    clip[0] = 1, clip[1] = 1, clip[2] = x, clip[3] = y;
    xtable.assign(std::size_t(x), 0.0);
    ytable.assign(std::size_t(y), 0.0);
  }
  bool inside(std::int64_t x, std::int64_t y) const { return x >= 1 && y >= 1 && x <= width && y <= height; }
  T get(std::int64_t x, std::int64_t y) const {
    return inside(x, y) ? data[std::size_t((y - 1) * width + (x - 1))] : background;
  }
  void set(std::int64_t x, std::int64_t y, T v) {
    if (inside(x, y)) data[std::size_t((y - 1) * width + (x - 1))] = v;
  }
  T* row(std::int64_t y) { return data.data() + (y - 1) * width; }   // y from 1
};
using plane8 = imageplane<std::uint8_t>;
using plane16 = imageplane<std::uint16_t>;

// The pixel body. Which planes are in use follows the tag: `gray` or `fullgray`
// alone; `red`, `green`, `blue` for rgb, plus `alpha` for rgba, plus `z` for zrgb.
// zrgb planes are twice the logical size in x and y: 2x2 sub-samples per pixel.
struct imagebody {
  std::int64_t width = 0, height = 0;   // logical size
  plane8 gray;
  plane16 fullgray;
  plane8 red, green, blue, alpha;
  plane16 z;
  std::int64_t zmin = 0, zmax = 65535;
  std::int64_t diagonal = 0;
  double centerx = 1, centery = 1;
  int font = 0;
};

struct imagefield {
  std::uint8_t marker = 186;   // set by construction
  fieldtag tag = fieldtag::none;
  std::unique_ptr<imagebody> pixels;
  widetext filename;           // up to 511 bytes
  bool fullscan = false;
  std::uint8_t copymethod = 1;
  std::uint8_t submethod = 2;
  std::uint8_t diffusionmethod = 0;
  double diffusionangle = 5 * 0.017453292519943295;
  double diffusionmax = 0.25;
  qv::frame frame;
};

namespace image {

// Construction. The sized form with x*y below 1 or an unknown tag prints
// "Unknown imagefield!" and leaves tag none without body.
void create(imagefield& f, std::uint8_t tag);
void create(imagefield& f, std::uint8_t tag, std::int64_t x, std::int64_t y);
void clear(imagefield& f);                                 // empty body, same tag, settings reset
void resize(imagefield& f, std::int64_t x, std::int64_t y);   // new body, pixels gone, frame reset
void assign(imagefield& f, const imagefield* source);
void free(imagefield& f);

std::int64_t width(const imagefield& f);
std::int64_t height(const imagefield& f);
bool ifimage(const imagefield& f);
bool ifplain(const imagefield& f);
const char16_t* tag_name(fieldtag t);   // "gray", "fullgray", "rgb", "rgba", "unknown"

// Reads (x, y from 1). Outside the array each plane gives its background.
std::int64_t get(const imagefield& f, std::int64_t x, std::int64_t y);
std::int64_t get_8bit(const imagefield& f, std::int64_t x, std::int64_t y);
rgbvalue get_rgb(const imagefield& f, std::int64_t x, std::int64_t y);
rgbavalue get_rgba(const imagefield& f, std::int64_t x, std::int64_t y);
std::uint8_t get_alpha(const imagefield& f, std::int64_t x, std::int64_t y);
std::int64_t get_z(const imagefield& f, std::int64_t x, std::int64_t y);
rgbavalue get_rgbz(const imagefield& f, std::int64_t x, std::int64_t y);   // alpha: 65535 or the z mean

// Writes clamp and never wrap; outside the array they do nothing.
void set(imagefield& f, std::int64_t x, std::int64_t y, std::int64_t n);
void set_rgb(imagefield& f, std::int64_t x, std::int64_t y, rgbvalue c);
void set_rgba(imagefield& f, std::int64_t x, std::int64_t y, rgbavalue c);
void set_z(imagefield& f, std::int64_t x, std::int64_t y, std::int64_t z, rgbvalue c);

// Drawing value and background.
std::int64_t get_value(const imagefield& f);
std::int64_t get_background(const imagefield& f);
rgbvalue get_value_rgb(const imagefield& f);
rgbvalue get_background_rgb(const imagefield& f);
rgbavalue get_value_rgba(const imagefield& f);
rgbavalue get_background_rgba(const imagefield& f);
void set_value(imagefield& f, std::int64_t n);
void set_value(imagefield& f, rgbvalue c);
void set_value(imagefield& f, rgbavalue c);
void set_background(imagefield& f, std::int64_t n);
void set_background(imagefield& f, rgbvalue c);
void set_background(imagefield& f, rgbavalue c);

// Whole-image operations.
void fill(imagefield& f);                 // every plane with its own `value`
bool setsign(imagefield& f);
bool setrange(imagefield& f);
bool crop_field(imagefield& f, std::int64_t above);   // false when no pixel is above
void apply_table8(plane8& p, const std::uint8_t* t);
void apply_table16(plane16& p, const std::uint16_t* t);

inline std::uint8_t clamp8(std::int64_t v) { return std::uint8_t(v < 0 ? 0 : v > 255 ? 255 : v); }
inline std::uint16_t clamp16(std::int64_t v) { return std::uint16_t(v < 0 ? 0 : v > 65535 ? 65535 : v); }

// The image workspace list and the current image.
workspace_list<imagefield>& workspaces();
imagefield& current();

}  // namespace image

template <>
struct workspace_traits<imagefield> {
  static constexpr const char* prefix = "image.";
  static constexpr const char16_t* word = u"imagefield";
  static constexpr const char16_t* dumpname = u"image";
  static constexpr const char16_t* emptyline = u"  Imagelist empty!";
  static constexpr const char16_t* currenthead = u"  Image (";
  static constexpr const char* usage[4] = {"image.use name", "image.swap name1 name2", "image.name name",
                                           "image.dump"};
  static constexpr std::uint8_t start_tag = 146;
  static inline std::uint8_t default_tag = 146;
  static std::unique_ptr<imagefield> create(std::uint8_t tag) {
    auto f = std::make_unique<imagefield>();
    image::create(*f, tag);
    return f;
  }
  static widetext entry(const imagefield& f);
  static void announce(wideview name, const imagefield& f);
};

}  // namespace qv
