// docs.cpp: the manual page and the command index, written from the registered command
// rows (the rows of the reference macro) and the program's own option listing, so that
// neither can fall behind the code.
#include "app/docs.h"

#include <fstream>
#include <map>

namespace qv::app {
namespace {

// Text for a roff line: backslashes doubled, hyphens as minus signs, and a
// leading point or quote kept from being read as a request.
std::string roff(std::string_view t) {
  std::string out;
  if (!t.empty() && (t[0] == '.' || t[0] == '\'')) out += "\\&";
  for (char c : t) {
    if (c == '\\') out += "\\e";
    else if (c == '-') out += "\\-";
    else out += c;
  }
  return out;
}

// The family of a command: its first word, or "language" for the words without one.
std::string family_of(const std::string& name) {
  const std::size_t dot = name.find('.');
  return dot == std::string::npos ? std::string("language") : name.substr(0, dot);
}

// Markdown table cells may not hold "|" or line ends.
std::string cell(std::string_view t) {
  std::string out;
  for (char c : t) {
    if (c == '|') out += "\\|";
    else if (c == '\n' || c == '\r') out += ' ';
    else out += c;
  }
  return out;
}

struct row {
  std::string name, usage, comment, file;
};

// The reference rows grouped by family, families in order of first appearance.
std::vector<std::pair<std::string, std::vector<row>>> families(const macroengine& m) {
  std::vector<std::pair<std::string, std::vector<row>>> out;
  std::map<std::string, std::size_t> at;
  for (std::size_t i = 0; i < m.reference.size() && i < m.referencesource.size(); ++i) {
    row r{text::utf8(m.referencesource[i].name), m.reference[i]->usage, m.reference[i]->comment,
          std::string(m.referencesource[i].file)};
    const std::string f = family_of(r.name);
    auto it = at.find(f);
    if (it == at.end()) {
      it = at.emplace(f, out.size()).first;
      out.push_back({f, {}});
    }
    out[it->second].second.push_back(std::move(r));
  }
  return out;
}

}  // namespace

std::vector<optionline> parse_option_listing(std::string_view listing) {
  std::vector<optionline> out;
  std::string section = "General options";
  while (!listing.empty()) {
    const std::size_t end = listing.find('\n');
    std::string_view line = listing.substr(0, end);
    listing.remove_prefix(end == std::string_view::npos ? listing.size() : end + 1);
    if (!line.empty() && line.back() == ':' && line[0] != ' ') {
      section = std::string(line.substr(0, line.size() - 1));
      continue;
    }
    if (line.size() < 4 || line.substr(0, 2) != "  ") continue;
    line.remove_prefix(2);
    if (line[0] != '-' && line.substr(0, 3) != "+/-") continue;
    const std::size_t colon = line.find(" : ");
    if (colon == std::string_view::npos) continue;
    optionline o;
    o.section = section;
    o.name = std::string(line.substr(0, colon));
    std::string_view rest = line.substr(colon + 3);
    const std::size_t eq = rest.rfind(" = ");
    o.description = std::string(rest.substr(0, eq));
    if (eq != std::string_view::npos) {
      std::string_view def = rest.substr(eq + 3);
      // Defaults that are paths of the machine that ran the listing keep their file name only.
      const std::size_t slash = def.rfind('/');
      if (slash != std::string_view::npos && def[0] == '/') def.remove_prefix(slash + 1);
      o.fallback = std::string(def);
    }
    out.push_back(std::move(o));
  }
  return out;
}

bool write_manual(const macroengine& m, const std::vector<optionline>& options, const std::string& path,
                  std::string_view version) {
  std::ofstream out(path, std::ios::binary);
  if (!out) return false;
  out << ".TH QUORVEX 1 \"\" \"quorvex " << roff(version) << "\" \"User Commands\"\n"
      << ".SH NAME\nquorvex \\- scientific image processing driven by macros\n"
      << ".SH SYNOPSIS\n.B quorvex\n[\\fIoptions\\fR] [\\fB\\-macro=\\fR\\fIfile\\fR]\n"
      << ".SH DESCRIPTION\n"
      << "quorvex runs a macro: a plain text file with one command a line, over named workspaces of "
         "2D images, 3D scalar volumes, vector and tensor fields, surface meshes and line clouds, "
         "beside lists, tables and a stack calculator. It reads and writes the common image, volume, "
         "mesh and line file formats of medical imaging and 3D work, and derives fibre directions, "
         "tensor fields, streamlines and surfaces from grey-value volumes.\n"
      << ".PP\nA first run with no macro writes the reference macro \\fBquorvex.macro\\fR, which lists every "
         "command below with a short note.\n"
      << ".SH OPTIONS\nAn option is written \\fB\\-name=value\\fR; \\fB+name\\fR and \\fB\\-name\\fR switch "
         "a flag on and off. Options also come from the options file.\n";
  std::string section;
  for (const optionline& o : options) {
    if (o.section != section) {
      section = o.section;
      out << ".SS " << roff(section) << "\n";
    }
    out << ".TP\n.B " << roff(o.name) << "\n" << roff(o.description);
    if (!o.fallback.empty()) out << " (default: " << roff(o.fallback) << ")";
    out << "\n";
  }
  out << ".SH COMMANDS\nEach entry gives the command's form with example parameters and what it does.\n";
  for (const auto& [family, rows] : families(m)) {
    out << ".SS " << roff(family) << "\n";
    for (const row& r : rows) out << ".TP\n.B " << roff(r.name) << "\n" << roff(r.usage) << "\n.br\n" << roff(r.comment) << "\n";
  }
  out << ".SH FILES\n.TP\n.B quorvex.macro\nthe macro run when no other is named; written as the reference "
         "macro on a first run\n.TP\n.B quorvex.ini\noptions read at start, beside the program\n.TP\n"
         ".B quorvex.log\nthe log of the run, with \\fB+log\\fR\n"
      << ".SH EXIT STATUS\n0 after a normal run, 1 after the help, or the parameter of \\fBhalt\\fR.\n";
  return bool(out);
}

bool write_command_index(const macroengine& m, const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  if (!out) return false;
  out << "# quorvex commands\n\n"
      << "Every command of the reference macro with its form, its note and the source file whose "
         "table registers it (the handler is in that file or in one it includes). Generated by "
         "`quorvex-docs` from the command tables: do not edit by hand.\n\n";
  const auto all = families(m);
  for (const auto& [family, rows] : all) out << "[" << family << "](#" << family << ") ";
  out << "\n";
  for (const auto& [family, rows] : all) {
    out << "\n## " << family << "\n\n| command | form | note | source |\n|---|---|---|---|\n";
    for (const row& r : rows)
      out << "| `" << cell(r.name) << "` | `" << cell(r.usage) << "` | " << cell(r.comment) << " | ["
          << r.file << "](../" << r.file << ") |\n";
  }
  return bool(out);
}

}  // namespace qv::app
