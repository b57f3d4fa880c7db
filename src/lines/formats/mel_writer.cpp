// mel_writer.cpp: MEL text, one command a line, as Maya's script editor runs it.
//
// Known limits: no shading groups or materials; names are used as given, so the
// caller keeps them free of blanks and quotes.
#include "lines/formats/mel_writer.h"

#include <ctime>

namespace qv::mel {
namespace {

using lineformat::textsink;

void point_option(textsink& out, const double* p) {
  out.put(" -p ");
  out.real(p[0]);
  out.put(' ');
  out.real(p[1]);
  out.put(' ');
  out.real(p[2]);
}

}  // namespace

void begin(textsink& out, wideview name) {
  std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  char date[32];
  std::size_t n = std::strftime(date, sizeof date, "%Y/%m/%d %H:%M:%S", &tm);
  out.put("// Maya MEL\n// Name: ");
  out.put(name);
  out.put("\n// Last modified: ");
  out.put(std::string_view(date, n));
  out.put("\n\n");
}

void curve(textsink& out, wideview node, const lineformat::pointview& p, std::int64_t first, std::int64_t last) {
  out.put("curve -d 1");
  for (std::int64_t i = first; i < last; ++i) point_option(out, p.at(i));
  out.put(" -n ");
  out.put(node);
  out.put(";\n");
}

void facet(textsink& out, wideview node, const lineformat::pointview& p, const std::int64_t* corner, int n) {
  out.put("polyCreateFacet -ch 0 -tx 1 -n ");
  out.put(node);
  for (int i = 0; i < n; ++i)
    if (corner[i] >= 0 && corner[i] < p.count) point_option(out, p.at(corner[i]));
  out.put(";\n");
}

void append(textsink& out, wideview node, const std::int64_t* edge, int nedge, const lineformat::pointview& p,
            const std::int64_t* corner, int ncorner) {
  out.put("polyAppend -ch 0 -tx 1 -n ");
  out.put(node);
  for (int i = 0; i < nedge; ++i) {
    out.put(" -ed ");
    out.nat(edge[i]);
  }
  for (int i = 0; i < ncorner; ++i)
    if (corner[i] >= 0 && corner[i] < p.count) point_option(out, p.at(corner[i]));
  out.put(";\n");
}

void unite(textsink& out, wideview node, const widetext* part, std::int64_t n) {
  out.put("polyUnite -ch 0 -n ");
  out.put(node);
  for (std::int64_t i = 0; i < n; ++i) {
    out.put(' ');
    out.put(wideview(part[i]));
  }
  out.put(";\n");
}

void select(textsink& out, wideview node) {
  out.put("select ");
  out.put(node);
  out.put(";\n");
}

void end(textsink& out, wideview name) {
  out.put("\n// End of ");
  out.put(name);
  out.put('\n');
}

}  // namespace qv::mel
