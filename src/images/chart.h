// chart.h: line and point charts drawn into a gray image, with the built-in bitmap font.
#pragma once
#include <cstdint>
#include <vector>

#include "images/imagefield.h"

namespace qv::image {

// One data set: a curve through its points in x order as given, or the points alone.
struct chartseries {
  std::vector<double> x, y;
  bool points = false;
  std::uint8_t shade = 0;   // grey value of the ink, 0 black
};

struct chartlabels {
  widetext title, xtitle, ytitle;
};

// Makes `out` a gray image of width x height, white, with axes, the range of
// each axis written at its ends, the titles and the series scaled to fit.
// False (and an empty image) if the size is below 64 x 48.
bool chart_draw(imagefield& out, std::int64_t width, std::int64_t height, const chartlabels& labels,
                const std::vector<chartseries>& series);

// Text in the 3 x 5 bitmap font, each dot `scale` pixels, top left at (x, y);
// lower case prints as upper case, unknown characters as blanks.
void text_draw(imagefield& f, std::int64_t x, std::int64_t y, wideview t, std::int64_t scale, std::int64_t value);
std::int64_t text_width(wideview t, std::int64_t scale);

// A straight line of the given value between two pixels, ends included.
void line_draw(imagefield& f, std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1, std::int64_t value);

}  // namespace qv::image
