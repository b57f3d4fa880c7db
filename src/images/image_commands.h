// image_commands.h: registrar of the image workspace, frame, type and pixel-setting commands.
#pragma once
#include "engine/macroengine.h"

namespace qv::image {
void register_commands(macroengine& m);   // `image.use` and kin first, then the frame and type commands
}
