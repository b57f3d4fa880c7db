// scalarfield.h: the 3D scalar volume record, its voxel access, labels and its workspace list.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "foundation/voxelstore.h"
#include "images/frame.h"
#include "images/workspace.h"

namespace qv {

// Element types; keep in step with the dump names in `workspace_traits<scalarfield>`.
enum class scalartag : std::uint8_t { none = 0, mono = 149, gray = 150, fullgray = 151 };

// One atlas entry: index 0..999 and its name.
struct scalarlabel {
  std::int64_t index = 0;
  widetext name;
};

struct scalarfield {
  scalartag tag = scalartag::fullgray;
  std::int64_t width = 0, height = 0, depth = 0;
  // Voxels, x fastest, then y, then z. Only the array of `tag` is in use: `mono`
  // packs one voxel a bit (bit i%8 of byte i/8), `gray` one byte, `fullgray` one word.
  voxelvector<std::uint8_t> monobits, grayvoxels;
  voxelvector<std::uint16_t> fullvoxels;
  std::int64_t background = 0, value = 0;   // already fitted to the element type
  std::int64_t crop[6] = {1, 1, 1, 0, 0, 0};   // first x, y, z, last x, y, z
  std::vector<scalarlabel> labels;           // in index order of reading
  widetext description;                      // descrip of the last file read
  std::int64_t load_filter_offset = 0, load_filter_factor = 0;
  qv::frame frame;
  widetext filename;
  // Settings of the line scans (`scalar.fullscan`, `scalar.submethod`, `scalar.diffusion.*`).
  bool fullscan = false;
  std::uint8_t submethod = 2;
  std::uint8_t diffusionmethod = 0;
  std::uint8_t connectionmethod = 0;
  double diffusionangle = 5 * 0.017453292519943295;
  double diffusionmax = 0.25;
};

namespace scalar {

inline bool valid_tag(std::uint8_t t) { return t == 149 || t == 150 || t == 151; }
inline std::int64_t voxel_count(const scalarfield& f) { return f.width * f.height * f.depth; }
bool ifscalar(const scalarfield& f);   // a size above 0x0x0
int bit_depth(const scalarfield& f);   // 1, 8, 16; 0 for a field without voxels
const char16_t* tag_name(scalartag t); // "mono", "gray", "fullgray", "unknown"

// Largest field a reader or `scalar.new` allocates: 2^34 voxels and 2^20 per axis.
bool size_ok(std::int64_t x, std::int64_t y, std::int64_t z);

// Construction. Sizes whose product is below 1 give a field without voxels; an
// unknown tag prints "Unknown imagefield!" and leaves the field empty. All
// sized forms reset the frame, crop, value and background, and zero the voxels.
void create(scalarfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z);
void clear(scalarfield& f);   // no voxels, same tag, frame and labels reset
// Same as `create` but prints "Not enough memory! Create empty field." and
// gives false when the voxels cannot be had.
bool create_checked(scalarfield& f, std::uint8_t tag, std::int64_t x, std::int64_t y, std::int64_t z);

// Fits an integer to the element type: mono true above 0, otherwise clamped.
std::int64_t fit(scalartag t, std::int64_t v);
std::int64_t fit_real(scalartag t, double v);   // rounded half to even first

// Reads and writes, x, y, z from 1: outside reads give `background`, outside writes do nothing.
std::int64_t get(const scalarfield& f, std::int64_t x, std::int64_t y, std::int64_t z);
void set(scalarfield& f, std::int64_t x, std::int64_t y, std::int64_t z, std::int64_t v);
void set_value(scalarfield& f, std::int64_t v);
void set_background(scalarfield& f, std::int64_t v);

bool ifplain(const scalarfield& f);   // true also for a field without voxels
void flip(scalarfield& f, int axis);  // 0 x, 1 y, 2 z; mirrors voxels in place

// Labels of the field.
void labels_clear(scalarfield& f);
void label_set(scalarfield& f, std::int64_t index, wideview name);   // index above 999 is ignored
widetext label_get(const scalarfield& f, std::int64_t index);        // empty when unknown
// Reads a label file (an ".atlas.xml" beside `name` first) and prints what was found.
void load_labels(scalarfield& f, const std::string& name);
// The same after a volume is read, only when "<volume>.atlas.xml" exists.
void load_labels_beside(scalarfield& f, const std::string& volume);
// Writes index, tab, name a line under an "index\tname" head line; gives the name written.
std::string save_labels(const scalarfield& f, const std::string& name);
void dump_labels(const scalarfield& f);

// The scalar workspace list and its current field.
workspace_list<scalarfield>& workspaces();
scalarfield& current();

}  // namespace scalar

template <>
struct workspace_traits<scalarfield> {
  static constexpr const char* prefix = "scalar.";
  static constexpr const char16_t* word = u"scalarfield";
  static constexpr const char16_t* dumpname = u"scalar";
  static constexpr const char16_t* emptyline = u"  Scalarlist empty!";
  static constexpr const char16_t* currenthead = u"  Scalar (";
  static constexpr const char* usage[4] = {"scalar.use name", "scalar.swap name1 name2", "scalar.name name",
                                           "scalar.dump"};
  static constexpr std::uint8_t start_tag = 151;
  static inline std::uint8_t default_tag = 151;
  static std::unique_ptr<scalarfield> create(std::uint8_t tag) {
    auto f = std::make_unique<scalarfield>();
    f->tag = scalartag(tag);
    return f;
  }
  static widetext size(const scalarfield& f) {
    return nat::text(f.width) + u"x" + nat::text(f.height) + u"x" + nat::text(f.depth);
  }
  static widetext entry(const scalarfield& f) {
    switch (f.tag) {
      case scalartag::mono: return u"mono(" + size(f) + u")";
      case scalartag::gray: return u"gray(" + size(f) + u")";
      case scalartag::fullgray: return u"fullgray(" + size(f) + u")";
      default: return u"unknown";
    }
  }
  static void announce(wideview name, const scalarfield& f) {
    print::line(u"Use scalar: " + widetext(name) + u" (" + size(f) + u")");
  }
};

}  // namespace qv
