// cloud.h: the point and line cloud record, its structure operations and its workspace list.
#pragma once
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "foundation/numeric.h"
#include "images/workspace.h"

namespace qv {

// Objects hold lines, lines hold points. `lines` and `objects` keep one closing
// entry each: `lines` ends with the start of the next line to come (point count
// + 1 once every line is closed), `objects` with the next object's first line
// (the entry count of `lines` once every object is closed). All indices stored
// in the arrays count from 1. `materials` and `names` keep one slot for the line
// and object still open, so they stay as long as `lines` and `objects`.
struct cloud {
  std::vector<num::hyper> points;
  std::vector<std::int64_t> lines{1};
  std::vector<std::int64_t> materials{0};   // the tracker stores the seed number here
  std::vector<std::int64_t> objects{1};
  std::vector<widetext> names{widetext()};
  bool modified = false;
  std::vector<std::int64_t> keeplines, keepobjects;   // scratch of the compaction
  std::uint8_t draw_mode = 0;   // 0 value, 1 value*t, 2 t
  bool open_point = false, open_line = false, open_object = false;
  num::hyper offset, scale, size;   // frame of the field that made the lines; t is 0, 1, 1
  widetext filename;
};

namespace line {

// All four components negative infinity: the mark of a point to be dropped by `compact`.
inline constexpr num::hyper erased{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
inline bool is_erased(const num::hyper& p) { return p.x == erased.x && p.y == erased.y && p.z == erased.z && p.t == erased.t; }

// Counts by the closing-entry rule: lines and objects that hold something,
// closed or still open.
std::int64_t point_count(const cloud& c);
std::int64_t line_count(const cloud& c);
std::int64_t object_count(const cloud& c);
bool empty(const cloud& c);   // no point at all

// Line l and object o from 1. Points of line l are points[line_begin .. line_end),
// 0-based; lines of object o are line_first .. line_last, 1-based. Out of range gives 0..0.
std::int64_t line_begin(const cloud& c, std::int64_t l);
std::int64_t line_end(const cloud& c, std::int64_t l);
inline std::int64_t line_size(const cloud& c, std::int64_t l) { return line_end(c, l) - line_begin(c, l); }
std::int64_t object_first(const cloud& c, std::int64_t o);
std::int64_t object_last(const cloud& c, std::int64_t o);
// Point `i` (from 1) of line `l`, or of line `l` of object `o`; the zero hyper when outside.
num::hyper get_point(const cloud& c, std::int64_t l, std::int64_t i);
num::hyper get_point(const cloud& c, std::int64_t o, std::int64_t l, std::int64_t i);
widetext object_name(const cloud& c, std::int64_t o);   // empty when outside

// Building. `add_point` begins a line (and an object) when none is open;
// `close_line` ends the open line with its material and does nothing when no
// point was added since the last close; `close_object` puts the closed lines
// since the last object under `name`, nothing when there are none.
void add_point(cloud& c, num::hyper p);
void close_line(cloud& c, std::int64_t material);
void close_object(cloud& c, wideview name);
// Appends `n` points as one closed line.
void add_line(cloud& c, const num::hyper* p, std::int64_t n, std::int64_t material);
inline void add_object(cloud& c, wideview name) { close_object(c, name); }
// Closes an open line with material 0 and puts loose closed lines under `name`;
// true when anything had to be closed.
bool close_open(cloud& c, wideview name);

// Back to the state of a new cloud; keeps `draw_mode`.
void clear(cloud& c);
void set_frame(cloud& c, num::hyper offset, num::hyper scale, num::hyper size);
void clear_frame(cloud& c);

// Overwrites the points of line `l` with `erased`.
void erase_line(cloud& c, std::int64_t l);
// Drops erased points, lines left without points and objects left without
// lines; materials and names travel with what stays. Clears the frame when
// no point remains. An open line or object stays open.
void compact(cloud& c);

}  // namespace line

template <>
struct workspace_traits<cloud> {
  static constexpr const char* prefix = "line.";
  static constexpr const char16_t* word = u"line";
  static constexpr const char16_t* dumpname = u"cloud";
  static constexpr const char16_t* emptyline = u"  Cloudlist empty!";
  static constexpr const char16_t* currenthead = u"  cloud (";
  static constexpr const char* usage[4] = {"line.use name", "line.swap name1 name2", "line.name name", "line.dump"};
  static constexpr std::uint8_t start_tag = 0;   // clouds have no element type
  static inline std::uint8_t default_tag = 0;
  static std::unique_ptr<cloud> create(std::uint8_t) { return std::make_unique<cloud>(); }
  static widetext entry(const cloud& f) {
    return u"cloud(points:" + nat::text(line::point_count(f)) + u";lines:" + nat::text(line::line_count(f)) +
           u";objects:" + nat::text(line::object_count(f)) + u")";
  }
  static void announce(wideview, const cloud&) {}
};

}  // namespace qv
