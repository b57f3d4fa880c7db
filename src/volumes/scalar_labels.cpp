// scalar_labels.cpp: the labels of a scalar field and their three file forms (atlas XML, tab-separated, plain).
#include <algorithm>

#include "foundation/console.h"
#include "foundation/files.h"
#include "foundation/numbertext.h"
#include "volumes/scalarfield.h"

namespace qv::scalar {
namespace {

constexpr std::int64_t label_limit = 999;

std::vector<std::string> split_lines(const std::string& bytes) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start < bytes.size()) {
    std::size_t end = bytes.find('\n', start);
    if (end == std::string::npos) end = bytes.size();
    std::string l = bytes.substr(start, end - start);
    if (!l.empty() && l.back() == '\r') l.pop_back();
    lines.push_back(std::move(l));
    start = end + 1;
  }
  return lines;
}

std::string lower(std::string s) {
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = char(c + 32);
  return s;
}

std::string trimmed(const std::string& s) {
  std::size_t a = s.find_first_not_of(" \t"), b = s.find_last_not_of(" \t");
  return a == std::string::npos ? std::string() : s.substr(a, b - a + 1);
}

// "<area ... name="Cortex" ...>" gives Cortex: the name starts six characters
// after "name=" (past the quote mark) and ends before the next quote mark.
void read_atlas(scalarfield& f, const std::vector<std::string>& lines) {
  for (const std::string& l : lines) {
    std::string low = lower(l);
    if (low.find("<area") == std::string::npos) continue;
    std::size_t p = low.find("name=");
    if (p == std::string::npos || p + 6 > l.size()) continue;
    std::size_t e = l.find_first_of("\"'", p + 6);
    if (e == std::string::npos) e = l.size();
    label_set(f, std::int64_t(f.labels.size()), text::from_utf8(l.substr(p + 6, e - p - 6)));
  }
}

void read_tabbed(scalarfield& f, const std::vector<std::string>& lines) {
  for (std::size_t i = 1; i < lines.size(); ++i) {
    std::size_t tab = lines[i].find('\t');
    if (tab == std::string::npos) continue;
    std::int64_t index = text::nat(text::from_utf8(lines[i].substr(0, tab)));
    label_set(f, index, text::from_utf8(lines[i].substr(tab + 1)));
  }
}

bool is_atlas(const std::vector<std::string>& lines) {
  if (lines.size() < 4) return false;
  for (std::size_t i = 0; i < 3; ++i)
    if (lower(trimmed(lines[i])) == "<atlas>") return true;
  return false;
}

// The head line of the tab form: "index", alone or before a tab.
bool is_tabbed(const std::vector<std::string>& lines) {
  return lines.size() >= 2 && lower(trimmed(lines[0].substr(0, lines[0].find('\t')))) == "index";
}

// "a.nii", "a.nii.gz" and "a.hdr" all look for "a.atlas.xml".
std::string atlas_name(const std::string& name) {
  std::string base = name;
  if (lower(base).size() > 3 && lower(base).ends_with(".gz")) base.resize(base.size() - 3);
  std::size_t slash = base.find_last_of('/'), dot = base.find_last_of('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) base.resize(dot);
  return base + ".atlas.xml";
}

}  // namespace

void labels_clear(scalarfield& f) { f.labels.clear(); }

void label_set(scalarfield& f, std::int64_t index, wideview name) {
  if (index < 0 || index > label_limit) return;
  auto at = std::lower_bound(f.labels.begin(), f.labels.end(), index,
                             [](const scalarlabel& l, std::int64_t i) { return l.index < i; });
  if (at != f.labels.end() && at->index == index) at->name = widetext(name);
  else f.labels.insert(at, scalarlabel{index, widetext(name)});
}

widetext label_get(const scalarfield& f, std::int64_t index) {
  for (const scalarlabel& l : f.labels)
    if (l.index == index) return l.name;
  return {};
}

void load_labels(scalarfield& f, const std::string& name) {
  std::string atlas = atlas_name(name);
  std::string chosen = file::exists(text::from_utf8(atlas)) ? atlas : name;
  std::string bytes;
  if (!file::read_all(text::from_utf8(chosen), bytes)) return;
  std::vector<std::string> lines = split_lines(bytes);
  if (lines.empty()) return;
  labels_clear(f);
  if (is_atlas(lines)) read_atlas(f, lines);
  else if (is_tabbed(lines)) read_tabbed(f, lines);
  else
    for (std::size_t k = 0; k < lines.size(); ++k) label_set(f, std::int64_t(k), text::from_utf8(lines[k]));
  std::size_t n = f.labels.size();
  if (n == 0) print::line(u"  Found nothing.");
  else if (n == 1) print::line(u"  Found one label.");
  else print::line(u"  Found " + nat::text(std::int64_t(n)) + u" labels.");
}

void load_labels_beside(scalarfield& f, const std::string& volume) {
  if (file::exists(text::from_utf8(atlas_name(volume)))) load_labels(f, volume);
}

std::string save_labels(const scalarfield& f, const std::string& name) {
  static const char* known[] = {".labels", ".txt", ".tsv", ".xml", ".lst"};
  std::string out = name, low = lower(name);
  if (std::none_of(std::begin(known), std::end(known), [&](const char* e) { return low.ends_with(e); }))
    out += ".labels";
  filehandle h;
  if (!file::open_write_text(h, text::from_utf8(out))) return {};
  print::line(u"Write file (" + text::from_utf8(out) + u").");
  bool ok = file::write_line(h, u"index\tname");
  for (const scalarlabel& l : f.labels) ok = ok && file::write_line(h, nat::text(l.index) + u"\t" + l.name);
  return ok ? out : std::string();
}

void dump_labels(const scalarfield& f) {
  if (f.labels.empty()) {
    print::line(u"  No labels.");
    return;
  }
  print::line(u"***** dump.labels *****");
  for (const scalarlabel& l : f.labels) print::line(u"  " + nat::text(l.index) + u"\t" + l.name);
  print::line(u"***** dump.labels end *****");
}

}  // namespace qv::scalar
