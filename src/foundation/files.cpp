// files.cpp: opening, naming and reporting of files and directories.
#include "foundation/files.h"

#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv {

filehandle& filehandle::operator=(filehandle&& o) noexcept {
  if (this != &o) {
    close();
    f = o.f;
    o.f = nullptr;
  }
  return *this;
}

void filehandle::close() {
  if (f) std::fclose(f);
  f = nullptr;
}

int file::error = 0;

namespace {

struct coderow {
  int code;
  const char16_t* before;   // the message is before + name + after
  const char16_t* after;
};
// Codes 2 to 17 stand for the system's own errors; 100 and above are the file layer's.
constexpr coderow messages[] = {
    {2, u"  File (", u") not found."},
    {3, u"  Path (", u") not found."},
    {4, u"  Too many open files with (", u")."},
    {5, u"  File (", u") access denied."},
    {6, u"  Invalid file (", u") handle."},
    {12, u"  Invalide file (", u") access code."},
    {15, u"  Invalide drive (", u") number."},
    {16, u"  Cannot remove current directory (", u")."},
    {17, u"  Cannot rename across drives (", u")."},
    {100, u"  Disk (", u") read error."},
    {101, u"  Disk (", u") write error."},
    {102, u"  File (", u") not assigned."},
    {103, u"  File (", u") not open."},
    {104, u"  File (", u") not open for input."},
    {105, u"  File (", u") not open for output."},
    {106, u"  Invalid numeric format from (", u")."},
    {150, u"  Disk (", u") is write-protected."},
    {151, u"  Bad drive (", u") request struct length."},
    {152, u"  Drive (", u") not ready."},
    {153, u"  Unknown command (", u")."},
    {154, u"  CRC error in data (", u")."},
    {155, u"  Invalid drive (", u") specified."},
    {156, u"  Disk (", u") seek error."},
    {157, u"  Unknown media type (", u")."},
    {158, u"  Sector Not Found (", u")."},
    {159, u"  Printer (", u") out of paper."},
    {160, u"  Device (", u") write fault."},
    {161, u"  Device (", u") read fault."},
    {162, u"  Hardware (", u") failure."},
};

// Sets `file::error` from errno and gives false, for one-line failure returns.
bool failed(bool writing = false) {
  file::error = file::code_of_errno(errno, writing);
  return false;
}

bool empty_name(wideview name) {
  if (!name.empty()) return false;
  print::line(u"Empty filename!");
  return true;
}

bool open_mode(filehandle& h, wideview name, const char* mode, bool writing) {
  h.close();
  if (empty_name(name)) return false;
  h.f = std::fopen(file::system_name(name).c_str(), mode);
  if (!h.f) {
    failed(writing);
    file::report(name);
    return false;
  }
  return true;
}

// Runs a system call that gives 0 on success; reports its failure under `name`.
bool checked(int result, wideview name, bool writing = true) {
  if (result == 0) return true;
  failed(writing);
  file::report(name);
  return false;
}

}  // namespace

int file::code_of_errno(int e, bool writing) {
  switch (e) {
    case 0: return 0;
    case ENOENT: return 2;
    case ENOTDIR: case ENAMETOOLONG: case ELOOP: return 3;
    case EMFILE: case ENFILE: return 4;
    case EACCES: case EPERM: case EISDIR: case EEXIST: case ENOTEMPTY: case ETXTBSY: return 5;
    case EBADF: return 6;
    case EINVAL: return 12;
    case EBUSY: return 16;
    case EXDEV: return 17;
    case EROFS: return 150;
    case ENOSPC: case EFBIG: return 101;
    case EIO: return writing ? 101 : 100;
    case ENXIO: case ENODEV: return 152;
    default: return 1;
  }
}

wideview file::report_class(int code) {
  if (code == 0 || code == 1) return u"\?\?\?-Error";
  if (code >= 2 && code <= 17) return u"DOS-Error";
  if (code >= 100 && code <= 106) return u"I/O-Error";
  if (code >= 150 && code <= 162) return u"Fatal-Error";
  return {};
}

widetext file::report_text(int code, wideview name) {
  for (const coderow& r : messages)
    if (r.code == code) return widetext(r.before) + widetext(name) + widetext(r.after);
  return {};
}

void file::report(wideview name) {
  int code = error;
  error = 0;
  if (code == 0) return;
  wideview cls = report_class(code);
  if (!cls.empty()) print::line_coloured(colour::red, cls);
  widetext msg = report_text(code, name);
  if (!msg.empty()) print::line(msg);
}

widetext file::clean_name(wideview name) {
  widetext t = text::replacechar(widetext(name), u'\\', u'/');
  if (t.find(u"..") == widetext::npos) return t;
  bool absolute = t[0] == u'/', folder = t.back() == u'/';
  std::vector<widetext> parts;
  widetext rest = t;
  while (!rest.empty()) {
    widetext part = text::token(rest, u'/');
    if (part.empty() || part == u".") continue;
    if (part == u".." && !parts.empty() && parts.back() != u"..") parts.pop_back();
    else if (!(part == u".." && absolute)) parts.push_back(std::move(part));   // nothing above the root
  }
  widetext out = absolute ? u"/" : u"";
  for (std::size_t i = 0; i < parts.size(); ++i) out += (i ? u"/" : u"") + parts[i];
  if (out.empty()) return u".";
  if (folder && out.back() != u'/') out += u'/';
  return out;
}

std::string file::system_name(wideview name) { return text::utf8(clean_name(name)); }

bool file::open_read(filehandle& h, wideview name) { return open_mode(h, name, "rb", false); }
bool file::open_read_text(filehandle& h, wideview name) { return open_mode(h, name, "r", false); }

bool file::open_read_sized(filehandle& h, wideview name, std::int64_t& size) {
  size = 0;
  if (!open_mode(h, name, "rb", false)) return false;
  struct stat st {};
  if (fstat(fileno(h.f), &st) == 0) size = st.st_size;
  print::line(u"Read file (" + widetext(name) + u") with size (" + nat::text(size) + u").");
  return true;
}

bool file::open_write(filehandle& h, wideview name) {
  if (!open_mode(h, name, "wb", true)) return false;
  print::line(u"Write file (" + widetext(name) + u").");
  return true;
}

bool file::open_write_text(filehandle& h, wideview name) {
  if (!open_mode(h, name, "w", true)) return false;
  print::line(u"Write file (" + widetext(name) + u").");
  return true;
}

bool file::open_append(filehandle& h, wideview name) {
  if (!open_mode(h, name, "ab", true)) return false;
  print::line(u"Append file (" + widetext(name) + u").");
  return true;
}

bool file::read_line(filehandle& h, std::string& line) {
  line.clear();
  if (!h) {
    error = 103;
    return false;
  }
  int c;
  while ((c = std::fgetc(h.f)) != EOF && c != '\n') line.push_back(char(c));
  if (!line.empty() && line.back() == '\r') line.pop_back();
  if (c == EOF && std::ferror(h.f)) error = 100;
  return c != EOF || !line.empty();
}

bool file::write_line(filehandle& h, wideview line) {
  if (!h) {
    error = 103;
    return false;
  }
  std::string s = text::utf8(line);
  s.push_back('\n');
  if (std::fwrite(s.data(), 1, s.size(), h.f) != s.size()) {
    error = 101;
    return false;
  }
  return true;
}

bool file::read_all(wideview name, std::string& bytes) {
  bytes.clear();
  filehandle h;
  if (!open_read(h, name)) return false;
  // Room for the whole file at once, so the text does not move while it grows.
  if (std::fseek(h.f, 0, SEEK_END) == 0) {
    const long size = std::ftell(h.f);
    if (size > 0) bytes.reserve(std::size_t(size));
    std::rewind(h.f);
  }
  char buf[65536];
  std::size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, h.f)) > 0) bytes.append(buf, n);
  if (std::ferror(h.f)) {
    error = 100;
    report(name);
    return false;
  }
  return true;
}

bool file::delete_(wideview name) {
  if (empty_name(name)) return false;
  print::line(u"Delete file (" + widetext(name) + u").");
  return checked(std::remove(system_name(name).c_str()), name);
}

bool file::rename(wideview from, wideview to) {
  if (empty_name(from) || empty_name(to)) return false;
  print::line(u"Rename file (" + widetext(from) + u" -> " + widetext(to) + u").");
  return checked(std::rename(system_name(from).c_str(), system_name(to).c_str()), from);
}

std::int64_t file::size(wideview name) {
  filehandle h;
  if (!open_mode(h, name, "rb", false)) return 0;
  struct stat st {};
  return fstat(fileno(h.f), &st) == 0 ? std::int64_t(st.st_size) : 0;
}

bool file::exists(wideview name) {
  struct stat st {};
  return !name.empty() && stat(system_name(name).c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

std::vector<widetext> file::glob(wideview pattern) {
  std::vector<widetext> out;
  if (pattern.empty()) return out;
  std::string p = system_name(pattern);
  glob_t g{};
  if (::glob(p.c_str(), 0, nullptr, &g) == 0)
    for (std::size_t i = 0; i < g.gl_pathc; ++i) out.push_back(text::from_utf8(g.gl_pathv[i]));
  globfree(&g);
  std::sort(out.begin(), out.end());
  return out;
}

bool directory::exists(wideview name) {
  struct stat st {};
  return !name.empty() && stat(file::system_name(name).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool directory::change(wideview name) {
  if (empty_name(name)) return false;
  print::line(u"Change directory (" + widetext(name) + u").");
  return checked(chdir(file::system_name(name).c_str()), name, false);
}

bool directory::make(wideview name) {
  if (empty_name(name)) return false;
  print::line(u"Make directory (" + widetext(name) + u").");
  return checked(mkdir(file::system_name(name).c_str(), 0777), name);
}

bool directory::make_all(wideview name) {
  if (empty_name(name)) return false;
  print::line(u"Make directory (" + widetext(name) + u").");
  std::string p = file::system_name(name);
  for (std::size_t i = 1; i <= p.size(); ++i) {
    if (i < p.size() && p[i] != '/') continue;
    std::string level = p.substr(0, i);
    struct stat st {};
    if (stat(level.c_str(), &st) == 0) continue;
    if (mkdir(level.c_str(), 0777) != 0) return checked(-1, name);
  }
  return true;
}

bool directory::remove(wideview name) {
  if (empty_name(name)) return false;
  print::line(u"Remove directory (" + widetext(name) + u").");
  return checked(rmdir(file::system_name(name).c_str()), name);
}

bool directory::rename(wideview from, wideview to) {
  if (empty_name(from) || empty_name(to)) return false;
  print::line(u"Rename directory (" + widetext(from) + u" -> " + widetext(to) + u").");
  return checked(std::rename(file::system_name(from).c_str(), file::system_name(to).c_str()), from);
}

widetext program::find(wideview name) {
  if (name.find(u'/') != wideview::npos) return widetext(name);
  for (const char16_t* dir : {u"/bin/", u"/usr/bin/", u"/usr/local/bin/", u"/sbin/", u"/usr/sbin/", u"/usr/local/sbin/"}) {
    widetext path = widetext(dir) + widetext(name);
    if (access(text::utf8(path).c_str(), X_OK) == 0 && file::exists(path)) return path;
  }
  print::line_coloured(colour::red, u"Possible wrong binary (" + widetext(name) + u").");
  return widetext(name);
}

}  // namespace qv
