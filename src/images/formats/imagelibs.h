// imagelibs.h: the optional FreeImage and MagickWand libraries, found at run time, as first readers and writers.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "images/imagefield.h"

namespace qv::codec {

// One optional library: found by `imagelibs_open`, switched by its option.
struct imagelib {
  bool loaded = false;    // the library and every function we call were found
  bool enabled = false;   // loaded and not switched off
  std::string version;    // as the library tells it: "3.18.0", "6.9.11-60"
};
imagelib& freeimage();
imagelib& magickwand();

// Looks for both libraries once (later calls do nothing); `imagelibs_close` lets them go.
void imagelibs_open();
void imagelibs_close();
// The halves of the above, one per library.
void freeimage_open();
void freeimage_close();
void magickwand_open();
void magickwand_close();

// Pixels on their way between a library and an image: rows from the top, x fastest,
// samples interleaved (1 grey; 3 r, g, b; 4 with alpha), 8 bits in `p8` or, when
// `deep`, 16 bits in `p16`.
struct libpixels {
  std::int64_t width = 0, height = 0;
  int channels = 0;
  bool deep = false;
  std::vector<std::uint8_t> p8;
  std::vector<std::uint16_t> p16;
};

// Sizes `f` (its tag kept) and converts the pixels into it: grey from colour is
// (r+g+b) div 3, `fullgray` takes 8-bit samples as values and 8-bit colour as r+g+b,
// the 8-bit types take the high byte of 16-bit samples. Prints the progress line.
bool store_pixels(imagefield& f, const libpixels& px);
// The image's pixels for a writer: `gray` 1x8, `fullgray` 1x16, `rgba` 4x8, else 3x8.
// Prints the writer's progress line.
void fetch_pixels(const imagefield& f, libpixels& px);

// Each gives true when the library read or wrote the file; false leaves the next way open.
bool freeimage_read(imagefield& f, const std::string& name);
bool freeimage_write(const imagefield& f, const std::string& name);
bool magickwand_read(imagefield& f, const std::string& name);
bool magickwand_write(const imagefield& f, const std::string& name);

}  // namespace qv::codec
