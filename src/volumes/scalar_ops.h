// scalar_ops.h: what the volume operation families share: typed dispatch, row access, ranges and targets.
#pragma once
#include <algorithm>
#include <cstdint>
#include <vector>

#include "engine/macroengine.h"
#include "volumes/scalarfield.h"

namespace qv::scalar {

// Calls `kernel(T* voxels)` with the voxels of a gray or fullgray field as their
// element type; gives false for mono and empty fields, whose bits have no pointer.
template <typename K>
bool with_voxels(scalarfield& f, K&& kernel) {
  if (!ifscalar(f)) return false;
  switch (f.tag) {
    case scalartag::gray: kernel(f.grayvoxels.data()); return true;
    case scalartag::fullgray: kernel(f.fullvoxels.data()); return true;
    default: return false;
  }
}

inline std::int64_t top_of(scalartag t) {
  return t == scalartag::gray ? 255 : t == scalartag::fullgray ? 65535 : 1;
}

// Voxels x = 1..n of row (y, z) as integers; the part outside the field reads `background`.
void load_row(const scalarfield& f, std::int64_t y, std::int64_t z, std::int64_t n, std::int64_t* out);
// Writes values 1..n of row (y, z), each fitted to the element type.
void store_row(scalarfield& f, std::int64_t y, std::int64_t z, std::int64_t n, const std::int64_t* in);

// A value or range parameter: "<lo,hi>" or a single number; hi below lo becomes lo.
// Both ends are fitted to the element type of `f`.
struct valuerange {
  std::int64_t lo = 0, hi = 0;
  bool contains(std::int64_t v) const { return v >= lo && v <= hi; }
};
valuerange read_range(wideview t, scalartag tag);

// The field of a `new := ...` form, or the current one without `:=`.
scalarfield& target_or_current(macroengine& m);

// Sources named by parameters from..to; false (after the report) when one is
// unknown or has no voxels.
bool sources(macroengine& m, std::size_t from, std::size_t to, std::vector<const scalarfield*>& out);

// Sizes an empty target like `first` (keeping its element type); a target with
// voxels prints "Attention, target scalar field seems not to be empty!" and stays.
void prepare_target(scalarfield& t, const scalarfield& first, bool warn = true);

// Reports "Error! Empty scalarfield!" and gives false for a field without voxels.
bool ready(macroengine& m, const scalarfield& f);

// `thread.max` as the workers read it.
std::int64_t thread_max(macroengine& m);

// Global position of a (real, 1-based) index and back.
framemath::vector index_to_global(const scalarfield& f, framemath::vector index);
framemath::vector global_to_index(const scalarfield& f, framemath::vector global);

// Sets the offset so that index `first` of the old frame becomes index <1,1,1>.
void shift_origin(scalarfield& f, const qv::frame& old, framemath::natvector first);

// Reads a file into `f` as element type `tag` (NIfTI, Analyze, image stacks).
bool load_file(scalarfield& f, std::uint8_t tag, const std::string& name);
std::string file_parameter(macroengine& m, std::size_t i);

}  // namespace qv::scalar

namespace qv::scalar {
// Copies the box of `size` voxels at `from` (1-based) of `s` to `to` of `d`; the
// parts outside either field are skipped.
void copy_box(const scalarfield& s, framemath::natvector from, scalarfield& d, framemath::natvector to,
              framemath::natvector size);
}  // namespace qv::scalar

namespace qv::scalar {
// The progress line of a loop over n slices, updated every 16th slice, so that
// small fields show only the start and the end.
void progress_step(std::int64_t z, std::int64_t n, wideview label);
}  // namespace qv::scalar
