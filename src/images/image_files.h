// image_files.h: loading and saving images, and the registrar of `image.load`, `image.save` and kin.
#pragma once
#include <string>

#include "engine/macroengine.h"
#include "images/imagefield.h"

namespace qv::image {
// The lower-cased extension, with a last ".gz" taken together with the part before it.
std::string file_extension(const std::string& name);
// The load flow with the image's own type; true when a reader reached its end.
bool load_field(imagefield& f, std::uint8_t tag, const std::string& name);
// The save flow; gives the name actually written ("a.foo" may become "a.foo.png"), empty if none.
std::string save_field(const imagefield& f, const std::string& name);
void register_files(macroengine& m);
}  // namespace qv::image
