// run_commands.cpp: `run` (a macro on a fresh engine) and `execute` (another program).
#include <sys/wait.h>
#include <cerrno>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "foundation/console.h"
#include "foundation/files.h"
#include "library/basics.h"

namespace qv::library {
namespace {

void run(macroengine& m) {
  if (macro::parameter_count(m) < 1) {
    macro::check_exact(m, 1);
    return;
  }
  widetext name = macro::parameter_optional(m, 1);
  if (!file::exists(name)) return;
  print::blank();
  print::line(u">>>> Sub program");
  // The sub-program knows only the language words: no command is registered.
  auto sub = std::make_unique<macroengine>();
  sub->outfiles.emplace_back();
  lines::load(sub->lines, file::system_name(name));
  macro::run_sub(*sub);
  if (!sub->lasterror.empty()) {
    m.lasterror = sub->lasterror;
    m.stopflag = true;
  }
  sub.reset();
  print::blank();
  print::line(u"<<<<< End of sub program");
}

// Splits an argument text at blanks; double quotes group and are dropped.
std::vector<std::string> split_arguments(const std::string& s) {
  std::vector<std::string> out;
  std::string cur;
  bool quoted = false, any = false;
  for (char c : s) {
    if (c == '"') {
      quoted = !quoted;
      any = true;
    } else if (c == ' ' && !quoted) {
      if (any) out.push_back(cur);
      cur.clear();
      any = false;
    } else {
      cur.push_back(c);
      any = true;
    }
  }
  if (any) out.push_back(cur);
  return out;
}

// Starts a program and waits for its end; its exit code is not looked at.
void start_and_wait(const widetext& program, const widetext& arguments) {
  std::string path = text::utf8(program::find(program));
  std::vector<std::string> args = split_arguments(text::utf8(arguments));
  args.insert(args.begin(), path);
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    execv(path.c_str(), argv.data());
    _exit(127);
  }
  if (pid < 0) return;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
}

void execute(macroengine& m) {
  std::size_t n = macro::parameter_count(m);
  if (n < 1) {
    macro::check_exact(m, 1);
    return;
  }
  widetext program = macro::parameter_optional(m, 1);
  bool windows = program.find(u".exe") != widetext::npos;
  widetext arguments;
  if (windows) arguments = u"\"" + program + u"\"";
  for (std::size_t i = 2; i <= n; ++i) {
    if (!arguments.empty() || i > 2) arguments += u' ';
    widetext p = macro::parameter_optional(m, i);
    arguments += windows ? u"\"" + p + u"\"" : p;
  }
  print::blank();
  print::line(u">>>> Sub program (" + (windows ? widetext(u"wine64") : program) + u")");
  console::flush();
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  start_and_wait(windows ? widetext(u"wine64") : program, arguments);
  print::blank();
  print::line(u"<<<<< End of sub program");
}

constexpr cmdrow rows[] = {
    // name      kind                handler  usage                       comment
    {"run",     cmdkind::procedure, run,     "run sub.macro",            "runs a macro on a fresh engine with only the language words"},
    {"execute", cmdkind::procedure, execute, "execute ./quorvex",        "starts a program with its arguments and waits for it"},
};

}  // namespace

void register_run(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::library
