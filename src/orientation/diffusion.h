// diffusion.h: the diffusion scan commands and what other families print of them.
#pragma once
#include <cstdint>

#include "engine/macroengine.h"
#include "orientation/diffusion_kernel.h"

namespace qv::diffusion {
// The scan length of the running diffusion or connection command.
extern std::int64_t scan_size;
// "Method: orven2015b = ..." for the settings' method.
widetext method_line(const settings& s);
}  // namespace qv::diffusion

namespace qv::scalar {
void register_diffusion(macroengine& m);   // `scalar.fullscan`, `scalar.submethod`, `scalar.diffusion*`
void register_diffusion_points(macroengine& m);   // `.map`, `.colormap`, `.dump`, `.histogram`, `.sd`
}
namespace qv::image {
void register_diffusion(macroengine& m);   // `image.fullscan`, `image.submethod`, `image.diffusion*`
}
