// chart.cpp: the chart routine, lines and the 3 x 5 bitmap font.
#include "images/chart.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "foundation/numbertext.h"

namespace qv::image {
namespace {

// Glyphs of 5 rows of 3 dots, top row first; '1' is a dot.
struct glyph { char c; const char* rows; };
constexpr glyph font[] = {
    {'0', "111101101101111"}, {'1', "010110010010111"}, {'2', "111001111100111"}, {'3', "111001111001111"},
    {'4', "101101111001001"}, {'5', "111100111001111"}, {'6', "111100111101111"}, {'7', "111001001001001"},
    {'8', "111101111101111"}, {'9', "111101111001111"}, {'A', "010101111101101"}, {'B', "110101110101110"},
    {'C', "011100100100011"}, {'D', "110101101101110"}, {'E', "111100110100111"}, {'F', "111100110100100"},
    {'G', "011100101101011"}, {'H', "101101111101101"}, {'I', "111010010010111"}, {'J', "001001001101010"},
    {'K', "101101110101101"}, {'L', "100100100100111"}, {'M', "101111111101101"}, {'N', "110101101101101"},
    {'O', "010101101101010"}, {'P', "110101110100100"}, {'Q', "010101101110011"}, {'R', "110101110101101"},
    {'S', "011100010001110"}, {'T', "111010010010010"}, {'U', "101101101101111"}, {'V', "101101101101010"},
    {'W', "101101111111101"}, {'X', "101101010101101"}, {'Y', "101101010010010"}, {'Z', "111001010100111"},
    {'.', "000000000000010"}, {'-', "000000111000000"}, {'+', "000010111010000"}, {'&', "010101010101011"},
    {'\'', "010010000000000"}, {'(', "001010010010001"}, {')', "100010010010100"}, {',', "000000000010100"},
    {':', "000010000010000"}, {'%', "101001010100101"}, {'/', "001001010100100"}, {'=', "000111000111000"},
    {'<', "001010100010001"}, {'>', "100010001010100"}, {'_', "000000000000111"}, {'#', "101111101111101"},
};

const char* rows_of(widechar c) {
  if (c >= u'a' && c <= u'z') c = widechar(c - 32);
  for (const glyph& g : font)
    if (widechar(g.c) == c) return g.rows;
  return nullptr;
}

void dot(imagefield& f, std::int64_t x, std::int64_t y, std::int64_t scale, std::int64_t value) {
  for (std::int64_t b = 0; b < scale; ++b)
    for (std::int64_t a = 0; a < scale; ++a) set(f, x + a, y + b, value);
}

// Short number text for the axis ends.
widetext label(double v) {
  if (v == std::floor(v) && std::fabs(v) < 1e15) return nat::text(std::int64_t(v));
  return real::text_fixed(v, std::fabs(v) >= 100 ? 0 : 2);
}

}  // namespace

std::int64_t text_width(wideview t, std::int64_t scale) { return std::int64_t(t.size()) * 4 * scale; }

void text_draw(imagefield& f, std::int64_t x, std::int64_t y, wideview t, std::int64_t scale, std::int64_t value) {
  for (std::size_t i = 0; i < t.size(); ++i) {
    const char* rows = rows_of(t[i]);
    if (!rows) continue;
    for (int r = 0; r < 5; ++r)
      for (int c = 0; c < 3; ++c)
        if (rows[3 * r + c] == '1') dot(f, x + (std::int64_t(i) * 4 + c) * scale, y + r * scale, scale, value);
  }
}

void line_draw(imagefield& f, std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1, std::int64_t value) {
  const std::int64_t dx = std::llabs(x1 - x0), dy = -std::llabs(y1 - y0);
  const std::int64_t sx = x0 < x1 ? 1 : -1, sy = y0 < y1 ? 1 : -1;
  std::int64_t e = dx + dy;
  for (;;) {
    set(f, x0, y0, value);
    if (x0 == x1 && y0 == y1) break;
    const std::int64_t e2 = 2 * e;
    if (e2 >= dy) { e += dy; x0 += sx; }
    if (e2 <= dx) { e += dx; y0 += sy; }
  }
}

bool chart_draw(imagefield& out, std::int64_t width, std::int64_t height, const chartlabels& labels,
                const std::vector<chartseries>& series) {
  if (width < 64 || height < 48) {
    clear(out);
    return false;
  }
  create(out, std::uint8_t(fieldtag::gray), width, height);
  for (std::int64_t y = 1; y <= height; ++y)
    for (std::int64_t x = 1; x <= width; ++x) set(out, x, y, 255);
  // Plot area: room for the titles above and below and for the numbers at the left.
  const std::int64_t left = 70, right = width - 20, top = 40, bottom = height - 50;
  double xmin = 0, xmax = 1, ymin = 0, ymax = 1;
  bool any = false;
  for (const chartseries& s : series)
    for (std::size_t i = 0; i < std::min(s.x.size(), s.y.size()); ++i) {
      if (!std::isfinite(s.x[i]) || !std::isfinite(s.y[i])) continue;
      if (!any) xmin = xmax = s.x[i], ymin = ymax = s.y[i], any = true;
      xmin = std::min(xmin, s.x[i]), xmax = std::max(xmax, s.x[i]);
      ymin = std::min(ymin, s.y[i]), ymax = std::max(ymax, s.y[i]);
    }
  if (xmax == xmin) xmax = xmin + 1;
  if (ymax == ymin) ymax = ymin + 1;
  auto px = [&](double x) { return left + std::llround((x - xmin) / (xmax - xmin) * double(right - left)); };
  auto py = [&](double y) { return bottom - std::llround((y - ymin) / (ymax - ymin) * double(bottom - top)); };
  line_draw(out, left, bottom, right, bottom, 0);
  line_draw(out, left, bottom, left, top, 0);
  text_draw(out, (width - text_width(labels.title, 3)) / 2, 8, labels.title, 3, 0);
  text_draw(out, (left + right - text_width(labels.xtitle, 2)) / 2, bottom + 28, labels.xtitle, 2, 0);
  text_draw(out, 8, top - 18, labels.ytitle, 2, 0);
  const widetext x0 = label(xmin), x1 = label(xmax), y0 = label(ymin), y1 = label(ymax);
  text_draw(out, left, bottom + 8, x0, 2, 0);
  text_draw(out, right - text_width(x1, 2), bottom + 8, x1, 2, 0);
  text_draw(out, left - 6 - text_width(y0, 2), bottom - 10, y0, 2, 0);
  text_draw(out, left - 6 - text_width(y1, 2), top, y1, 2, 0);
  for (const chartseries& s : series) {
    bool have = false;
    std::int64_t lx = 0, ly = 0;
    for (std::size_t i = 0; i < std::min(s.x.size(), s.y.size()); ++i) {
      if (!std::isfinite(s.x[i]) || !std::isfinite(s.y[i])) continue;
      const std::int64_t x = px(s.x[i]), y = py(s.y[i]);
      if (s.points) dot(out, x - 1, y - 1, 3, s.shade);
      else if (have) line_draw(out, lx, ly, x, y, s.shade);
      lx = x, ly = y, have = true;
    }
  }
  return true;
}

}  // namespace qv::image
