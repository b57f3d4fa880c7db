// cloud.cpp: counts, building, erasing and compaction of the point and line cloud.
#include "lines/cloud.h"

namespace qv::line {

namespace {
std::int64_t size_of(const auto& v) { return std::int64_t(v.size()); }
}  // namespace

std::int64_t point_count(const cloud& c) { return size_of(c.points); }

std::int64_t line_count(const cloud& c) {
  const std::int64_t n = size_of(c.lines);
  return c.lines.back() == point_count(c) + 1 ? n - 1 : n;
}

std::int64_t object_count(const cloud& c) {
  const std::int64_t n = size_of(c.objects);
  return c.objects.back() == size_of(c.lines) ? n - 1 : n;
}

bool empty(const cloud& c) { return c.points.empty(); }

std::int64_t line_begin(const cloud& c, std::int64_t l) {
  if (l < 1 || l > size_of(c.lines)) return 0;
  return c.lines[l - 1] - 1;
}

std::int64_t line_end(const cloud& c, std::int64_t l) {
  if (l < 1 || l > size_of(c.lines)) return 0;
  return l < size_of(c.lines) ? c.lines[l] - 1 : point_count(c);
}

std::int64_t object_first(const cloud& c, std::int64_t o) {
  if (o < 1 || o > size_of(c.objects)) return 0;
  return c.objects[o - 1];
}

std::int64_t object_last(const cloud& c, std::int64_t o) {
  if (o < 1 || o > size_of(c.objects)) return -1;
  return o < size_of(c.objects) ? c.objects[o] - 1 : line_count(c);
}

num::hyper get_point(const cloud& c, std::int64_t l, std::int64_t i) {
  if (i < 1 || i > line_size(c, l)) return {};
  return c.points[line_begin(c, l) + i - 1];
}

num::hyper get_point(const cloud& c, std::int64_t o, std::int64_t l, std::int64_t i) {
  const std::int64_t first = object_first(c, o);
  if (l < 1 || first + l - 1 > object_last(c, o)) return {};
  return get_point(c, first + l - 1, i);
}

widetext object_name(const cloud& c, std::int64_t o) {
  if (o < 1 || o > size_of(c.names)) return {};
  return c.names[o - 1];
}

void add_point(cloud& c, num::hyper p) {
  c.points.push_back(p);
  c.modified = c.open_point = c.open_line = c.open_object = true;
}

void close_line(cloud& c, std::int64_t material) {
  const std::int64_t next = point_count(c) + 1;
  if (c.lines.back() == next) return;
  c.lines.push_back(next);
  c.materials.back() = material;
  c.materials.push_back(0);
  c.open_point = c.open_line = false;
  c.modified = true;
}

void close_object(cloud& c, wideview name) {
  const std::int64_t next = size_of(c.lines);
  if (c.objects.back() >= next) return;
  c.objects.push_back(next);
  c.names.back() = widetext(name);
  c.names.emplace_back();
  c.open_object = false;
  c.modified = true;
}

void add_line(cloud& c, const num::hyper* p, std::int64_t n, std::int64_t material) {
  if (n <= 0) return;
  c.points.insert(c.points.end(), p, p + n);
  c.modified = true;
  c.open_object = true;
  close_line(c, material);
}

bool close_open(cloud& c, wideview name) {
  const bool open = c.lines.back() != point_count(c) + 1 || c.objects.back() != size_of(c.lines);
  close_line(c, 0);
  close_object(c, name);
  return open;
}

void clear(cloud& c) {
  const std::uint8_t mode = c.draw_mode;
  c = cloud{};
  c.draw_mode = mode;
  c.modified = true;
}

void set_frame(cloud& c, num::hyper offset, num::hyper scale, num::hyper size) {
  c.offset = offset, c.scale = scale, c.size = size;
}

void clear_frame(cloud& c) { c.offset = c.scale = c.size = num::hyper{}; }

void erase_line(cloud& c, std::int64_t l) {
  const std::int64_t e = line_end(c, l);
  for (std::int64_t i = line_begin(c, l); i < e; ++i) c.points[i] = erased;
  c.modified = true;
}

void compact(cloud& c) {
  cloud n;
  n.draw_mode = c.draw_mode;
  n.offset = c.offset, n.scale = c.scale, n.size = c.size;
  n.filename = std::move(c.filename);
  n.points.reserve(c.points.size());
  const std::int64_t entries = size_of(c.lines), objects = size_of(c.objects);
  for (std::int64_t o = 1; o <= objects; ++o) {
    const std::int64_t last = o < objects ? c.objects[o] - 1 : entries;
    for (std::int64_t l = c.objects[o - 1]; l <= last; ++l) {
      const std::int64_t e = line_end(c, l);
      for (std::int64_t i = line_begin(c, l); i < e; ++i)
        if (!is_erased(c.points[i])) n.points.push_back(c.points[i]);
      if (l < entries) close_line(n, c.materials[l - 1]);   // the entry after the last is the open line
    }
    if (o < objects) close_object(n, c.names[o - 1]);
  }
  n.open_point = n.open_line = n.lines.back() != point_count(n) + 1;
  n.open_object = n.open_line || n.objects.back() != size_of(n.lines);
  n.modified = true;
  if (n.points.empty()) clear_frame(n);
  c = std::move(n);
}

}  // namespace qv::line
