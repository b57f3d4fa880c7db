// diffusion.h: the diffusion scan commands and what other families print of them.
#pragma once
#include <cstdint>
#include <string>

#include "engine/macroengine.h"
#include "images/frame.h"
#include "orientation/diffusion_kernel.h"

namespace qv::diffusion {
// The scan length of the running diffusion or connection command.
extern std::int64_t scan_size;
// "Method: orven2015b = ..." for the settings' method.
widetext method_line(const settings& s);
}  // namespace qv::diffusion

namespace qv::scalar {
// The point of the single-voxel scans: file [n [<x,y,z> [<dx,dy,dz>]]] of the current scalar field.
struct pointargs {
  std::string file;
  std::int64_t n = 16;
  scan::scan_vector p;
  bool shifted = false;
  framemath::vector shift;
};
// A point with a component below 1 is the centre; false (reported) for a wrong count, an empty name or n out of range.
bool point_args(macroengine& m, pointargs& a, bool with_n);
scan::scan_vector centre(const pointargs& a);   // the point plus the rounded shift
widetext point_text(const pointargs& a);        // "<x,y,z>", with " + " and the shift when given

void register_diffusion(macroengine& m);   // `scalar.fullscan`, `scalar.submethod`, `scalar.diffusion*`
void register_diffusion_points(macroengine& m);   // `.map`, `.colormap`, `.dump`, `.histogram`, `.sd`
}
namespace qv::image {
void register_diffusion(macroengine& m);   // `image.fullscan`, `image.submethod`, `image.diffusion*`
}
