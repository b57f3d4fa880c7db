// line_ops.h: operations on a whole cloud: centring, t values, erasing, two-point vectors and drawing.
#pragma once
#include <cstdint>

namespace qv {
struct cloud;
struct scalarfield;
}  // namespace qv

namespace qv::line {

// Subtracts the mean x, y, z of all points (or of each object's points).
void center(cloud& c, bool by_object);

enum class tvalue : std::uint8_t { number, distance, length };
void set_t(cloud& c, tvalue v);
enum class tstat : std::uint8_t { mean, sd, min, median, max };
void t_statistic(cloud& c, tstat s);   // each t := the statistic of its line's t values

// Erase whole lines by a test, then compact. Length tests skip lines of one point.
enum class erasetest : std::uint8_t { t_min, t_max, length_min, length_max };
void erase_by(cloud& c, erasetest test, double v);
void erase_duplicates(cloud& c);                     // exact twins, also read backward
void erase_duplicates_near(cloud& c, double d);      // curves within d of a later line
void erase_duplicates_begin(cloud& c, double d);     // first points within d
void mean_duplicates_near(cloud& c, double d);       // points within d become their mean

enum class vectorop : std::uint8_t { norm, normscale, scale, minscale, maxscale, negate, invert };
void vectors(cloud& c, vectorop op, double s);       // lines of exactly two points only

enum class shape : std::uint8_t { point, sphere, cube, line, any };
// Draws into `f` by `c.draw_mode`; `solid` fills spheres and cubes and thickens points and lines.
void draw(const cloud& c, scalarfield& f, shape s, bool solid, double radius);

}  // namespace qv::line
