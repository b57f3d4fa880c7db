// main.cpp: the program's start: banner, options, registration, the macro run.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "app/families.h"
#include "app/options.h"
#include "engine/definitions.h"
#include "foundation/console.h"
#include "foundation/cpuinfo.h"
#include "foundation/numbertext.h"
#include "images/formats/imagelibs.h"

namespace qv {
namespace {

#if defined(__aarch64__)
constexpr const char16_t* cpu_word = u"aarch64";
#elif defined(__x86_64__)
constexpr const char16_t* cpu_word = u"x86_64";
#else
constexpr const char16_t* cpu_word = u"unknown";
#endif

#if defined(NDEBUG)
constexpr const char16_t* version_word = u" - Version ";
#else
constexpr const char16_t* version_word = u" - Debug version ";
#endif

const auto program_start = std::chrono::steady_clock::now();

std::string exe_path() {
  char buf[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return "quorvex";
  return std::string(buf, std::size_t(n));
}

// The elapsed run time in days, hours, minutes and seconds, from the first
// field that is not 0 to the last, with the unit of the first.
widetext elapsed_text() {
  auto secs = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - program_start).count();
  std::int64_t f[5] = {secs / 86400, (secs / 3600) % 24, (secs / 60) % 60, secs % 60, 0};
  const char16_t* unit[5] = {u" d", u" h", u" min", u" sec", u" 100sec"};
  int first = -1, last = -1;
  for (int i = 0; i < 5; ++i)
    if (f[i]) {
      if (first < 0) first = i;
      last = i;
    }
  if (first < 0) return u"0 sec";
  widetext t;
  for (int i = first; i <= last; ++i) t += (i > first ? u":" : u"") + nat::text(f[i]);
  return t + unit[first];
}

void update(const std::string& location, const std::string& exename) {
  pid_t pid = fork();
  int code = -1;
  if (pid == 0) {
    execl("/usr/bin/wget", "wget", location.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  if (pid > 0) {
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) code = WEXITSTATUS(status);
  }
  static const char16_t* texts[] = {
      nullptr,
      u"Generic error code.",
      u"Parse error—for instance, when parsing command-line options, the ‘.wgetrc’ or ‘.netrc’...",
      u"File I/O error.",
      u"Network failure.",
      u"SSL verification failure.",
      u"Username/password authentication failure.",
      u"Protocol errors.",
      u"Server issued an error response."};
  if (code == 0) print::line(u"You can find the new file at \"" + text::from_utf8(exename) + u".n\".");
  else if (code >= 1 && code <= 8) print::line(texts[code]);
  else print::line(u"wget was not found: please install it (/usr/bin/wget) to load a new version.");
}

void print_clock() {
  std::time_t now = std::time(nullptr);
  std::tm tm{};
  localtime_r(&now, &tm);
  char date[32], clock[32];
  std::strftime(date, sizeof date, "%Y/%m/%d", &tm);
  std::strftime(clock, sizeof clock, "%H:%M:%S", &tm);
  print::line(u"  : " + text::ascii(date));
  print::line(u"  : " + text::ascii(clock));
}

// Every option in its fixed order; each declared value becomes a macro variable.
void declare(optionset& o, macroengine& m, bool& first, widetext& macrofile) {
  first = option::bool_(o, u"first", false, u"Write first macro file example");
  macrofile = option::text_last(o, u"macro", u"quorvex.macro", u"macro file");
  for (widechar q : {u'"', u'\''}) {
    if (!macrofile.empty() && macrofile.front() == q) macrofile.erase(0, 1);
    if (!macrofile.empty() && macrofile.back() == q) macrofile.pop_back();
  }
  // Added here, beside the macro file, since they say how this process runs the
  // macro: which passes of its `parallel` loops it takes. Without either option a
  // job array's environment gives the pair.
  const bool index_given = option::present(o, u"parallel.index"), count_given = option::present(o, u"parallel.count");
  widetext index = option::text(o, u"parallel.index", u"0", u"parallel passes of this process (i mod count = index)");
  widetext count = option::text(o, u"parallel.count", u"0", u"processes sharing the parallel passes (0: none)");
  macro::parallelpair pair = macro::parallel_pair(index_given ? &index : nullptr, count_given ? &count : nullptr,
                                                  [](const char* name) -> const char* { return std::getenv(name); });
  m.parallel_index = pair.index;
  m.parallel_count = pair.count;
  if (pair.from_environment)
    print::line(u"  job array (SLURM_ARRAY_TASK_ID) : parallel.index = " + nat::text(pair.index) +
                u", parallel.count = " + nat::text(pair.count));
  auto var = [&](wideview name, wideview value) { macro::var_set(m, name, value); };
  option::section(o, u"Input Options");
  var(u"image.input", option::text(o, u"image.input", u"image.ppm", u"inputfile(s) (image)"));
  var(u"scalar.input", option::text(o, u"scalar.input", u"scalar.nii.gz", u"inputfile(s) (scalar field)"));
  var(u"vector.input", option::text(o, u"vector.input", u"vector.nii.gz", u"inputfile(s) (vector field)"));
  var(u"tensor.input", option::text(o, u"tensor.input", u"tensor.nii.gz", u"inputfile(s) (tensor field)"));
  var(u"mesh.input", option::text(o, u"mesh.input", u"input.obj", u"inputfile (meshes)"));
  // The optional image libraries: their section only when one of them is installed.
  codec::imagelibs_open();
  codec::imagelib &fi = codec::freeimage(), &mw = codec::magickwand();
  if (fi.loaded || mw.loaded) option::section(o, u"Image options");
  if (fi.loaded)
    fi.enabled = option::bool_(o, u"freeimage", true, u"FreeImage (" + text::from_utf8(fi.version) + u")");
  if (mw.loaded)
    mw.enabled = option::bool_(o, u"imagemagick", true, u"Imagemagick® (" + text::from_utf8(mw.version) + u")");
  option::section(o, u"Transformation Options");
  var(u"mesh.split", nat::text(option::nat(o, u"mesh.split", 0, 0, 100, u"how much biggest objects")));
  var(u"mesh.smooth", nat::text(option::nat(o, u"mesh.smooth", 0, 0, 100, u"how much smooth passes")));
  var(u"mesh.rotate", option::vector(o, u"mesh.rotate", u"0,0,0", u"rotate object (rad)"));
  var(u"mesh.translate", option::vector(o, u"mesh.transform", u"0,0,0", u"translate object"));
  var(u"mesh.scale", option::vector(o, u"mesh.scale", u"1,1,1", u"scale object"));
  option::section(o, u"Output Options");
  var(u"image.type", option::text(o, u"image.type", u"png", u"output filetype (image)"));
  var(u"scalar.type", option::text(o, u"scalar.type", u"nii.gz", u"output filetype (scalar stack)"));
  var(u"vector.type", option::text(o, u"vector.type", u"nii.gz", u"output filetype (vector stack)"));
  var(u"tensor.type", option::text(o, u"tensor.type", u"nii.gz", u"output filetype (tensor stack)"));
  var(u"mesh.type", text::lower(option::text(o, u"mesh.type", u"obj", u"output filetype (meshes)")));
  option::example(o);
}

bool has_console() { return fcntl(1, F_GETFD) != -1; }

int start(int argc, char** argv) {
  optionset o;
  macroengine m;
  m.outfiles.emplace_back();   // entry 0: the file that goes nowhere
  std::string exe = exe_path();
  std::string exename = std::filesystem::path(exe).filename().string();
  std::string cwd = std::filesystem::current_path().string();
  o.title = shorttext(u"quorvex");
  o.version = shorttext(version_text(QV_BUILD_DATE, &o.year, &o.month, &o.day));
  o.titleline = shorttext(o.title.str() + version_word + o.version.str() + u" for Linux (" + cpu_word +
                          (std::endian::native == std::endian::big ? u" BE)" : u" LE)"));
  o.copyright = shorttext(u"Copyright (c) 2017-" + nat::text(o.year) + u" the quorvex developers");
  o.exepath = shorttext(text::from_utf8(exe));
  o.workdir = shorttext(text::from_utf8(cwd));
  console::consoleon = has_console();

  print::blank();
  print::line(o.titleline.str());
  print::line(o.copyright.str());
  print::blank();
  print::line(o.exepath.str());
  print::line(o.workdir.str());
  print::blank();

  std::vector<std::string> args(argv + 1, argv + argc);
  if (!args.empty() && args[0] == "-strict") console::ansi = false;
  m.mayrepair = console::ansi;
  o.update = std::string(QV_UPDATE_BASE) + "/" + text::utf8(cpu_word) + "-Linux/" + exename;
  print::line(u"  -update : Load a new version from " + text::from_utf8(o.update));
  if (!args.empty() && args[0] == "-update") {
    update(o.update, exename);
    return 0;
  }
  print::blank();
  print::line(u"Usage: quorvex [<options>]");
  print::blank();

  option::parse(o, args);
  std::string ini = text::utf8(option::text(o, u"#", text::from_utf8(exe + ".ini"), u"optionsfile"));
  option::read_file(o, ini);
  if (option::bool_(o, u"log", false, u"logfile")) {
    if (console::log_open(exe + ".log")) {
      std::string head = "\n" + text::utf8(o.titleline.str()) + "\n" + text::utf8(o.copyright.str()) + "\n\n" + exe + "\n" +
                         cwd + "\n";
      console::log_line(head);
    }
  } else {
    console::log_close();
  }
  print_clock();
  if (console::consoleon) console::consoleon = option::bool_(o, u"verbose", true, u"verbose");
  if (option::present(o, u"?")) o.helpmode = o.helppause = true;
  for (const char16_t* h : {u"h", u"help", u"hilfe"})
    if (option::present(o, h)) o.helpmode = true;

  bool first = false;
  widetext macrofile;
  declare(o, m, first, macrofile);

  widetext last;
  for (std::size_t i = 0; i < o.optionnames.size(); ++i) {
    if (o.optionnames[i].empty()) last = o.optionvalues[i].str();
    else macro::var_set(m, u"parameter." + o.optionnames[i].str(), o.optionvalues[i].str());
  }
  if (!last.empty()) macro::var_set(m, u"parameter.last", last);
  o.optionnames.clear();
  o.optionvalues.clear();
  if (o.helpmode) return 1;
  print::blank();

  macro::var_set(m, u"thread.max", nat::text(threads::processors()));
  app::register_all(m);

  std::string file = text::utf8(macrofile);
  if (!first && std::filesystem::is_regular_file(file)) {
    lines::load(m.lines, file);
  } else {
    app::write_reference(m, "quorvex.macro", o.version.str());
    print::line(u"This is your first run of the program, please specify the file quorvex.macro!");
  }
  macro::run(m);
  codec::imagelibs_close();
  return 0;
}

}  // namespace
}  // namespace qv

int main(int argc, char** argv) {
  int code = qv::start(argc, argv);
  if (code == 0) {
    qv::console::log_close();
    qv::print::blank();
    qv::print::line(u"Done (" + qv::elapsed_text() + u").");
  }
  qv::console::flush();
  return code;
}
