// parallel.cpp: `parallel` passes shared among processes, and how a process learns its pair.
#include <cerrno>
#include <cstdlib>

#include "engine/definitions.h"
#include "engine/flow.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

// Modulo with the sign of the divisor, so that the passes of a negative range are
// shared as fully as those of a positive one.
std::int64_t floor_mod(__int128 a, std::int64_t count) {
  __int128 r = a % count;
  return std::int64_t(r < 0 ? r + count : r);
}

// A whole number in decimal, blanks around allowed; anything else is not one.
bool whole_number(std::string_view t, std::int64_t& out) {
  while (!t.empty() && (t.front() == ' ' || t.front() == '\t')) t.remove_prefix(1);
  while (!t.empty() && (t.back() == ' ' || t.back() == '\t')) t.remove_suffix(1);
  if (t.empty() || t.size() > 20) return false;
  std::string s(t);
  char* end = nullptr;
  errno = 0;
  long long v = std::strtoll(s.c_str(), &end, 10);
  if (errno || end != s.c_str() + s.size()) return false;
  out = v;
  return true;
}

struct passrange {
  std::int64_t from, to;
  bool one;   // the one-parameter form: relative is i/n
};

// Runs the passes i from `from` to `to` with i mod count = index. Only the owned
// values are visited, so that a long range costs a process only its own share.
void parallel_passes(macroengine& m, std::int64_t& ln, passrange r) {
  const std::int64_t count = m.parallel_count, index = m.parallel_index;
  if (count <= 0 || index < 0 || index >= count) return;   // owns no pass
  const std::int64_t opener = ln;
  const bool down = r.from > r.to;
  const std::int64_t len = r.one ? (r.to < 0 ? -r.to : r.to) : (down ? r.from - r.to : r.to - r.from) + 1;
  const __int128 first = down ? __int128(r.from) - floor_mod(__int128(r.from) - index, count)
                               : __int128(r.from) + floor_mod(__int128(index) - r.from, count);
  if (down ? first < r.to : first > r.to) return;
  std::int64_t i = std::int64_t(first);
  for (;;) {
    var_new_inner(m, u"parallel.length", nat::text(len));
    var_new_inner(m, u"parallel.count", nat::text(i));
    double rel = r.one ? double(i) / double(r.to) : double(down ? r.from - i : i - r.from) + 1.0 / double(len);
    var_new_inner(m, u"parallel.relativ", real::text(rel));
    block_name(m, u"parallel");
    std::int64_t last = opener;
    if (!run_pass(m, opener, last)) return;
    // Only the pass of the last value hands on its `end`: a process that does not
    // own it stays at the opener, and the body's lines then run as plain statements.
    if (i == r.to) {
      ln = last;
      m.currentline = ln;
      return;
    }
    if (down ? i - r.to < count : r.to - i < count) return;
    i = down ? i - count : i + count;
  }
}

}  // namespace

void parallel_block(macroengine& m, interpframe& fr, std::int64_t& ln) {
  if (m.parallel_index < 0 || m.parallel_count < 0 || m.parallel_count < m.parallel_index)
    error(m, u"Wrong parallel initialization (" + nat::text(m.parallel_index) + u"," +
                 nat::text(m.parallel_count) + u")!");
  prepare(m, fr.line);
  const std::size_t n = parameter_count(m);
  if (n == 1) {
    std::int64_t to = text::nat(parameter(m, 1));
    if (m.trace) print::line(u"  parallel|" + nat::text(to) + u"|");
    if (to == 0) {
      block_name(m, u"parallel.ignore");
      ln = interpret(m, ln, false);
      m.currentline = ln;
      return;
    }
    parallel_passes(m, ln, {to < 0 ? -1 : 1, to, true});
  } else if (n == 2) {
    std::int64_t a = text::nat(parameter(m, 1));
    std::int64_t b = text::nat(parameter(m, 2));
    if (m.trace) print::line(u"  parallel|" + nat::text(a) + u".." + nat::text(b) + u"|");
    parallel_passes(m, ln, {a, b, false});
  } else {
    check_min(m, 1);
  }
}

parallelpair parallel_pair(const widetext* index_option, const widetext* count_option,
                           const std::function<const char*(const char*)>& env) {
  parallelpair p;
  auto read = [&](std::string_view t, std::int64_t& out) {
    if (!whole_number(t, out)) out = -1;   // not a number: invalid, `parallel` reports it
  };
  if (index_option || count_option) {
    if (index_option) read(text::utf8(*index_option), p.index);
    if (count_option) read(text::utf8(*count_option), p.count);
    return p;
  }
  const char* id = env("SLURM_ARRAY_TASK_ID");
  if (!id) return p;
  p.from_environment = true;
  read(id, p.index);
  std::int64_t min = 0, step = 1, max = 0;
  if (const char* t = env("SLURM_ARRAY_TASK_MIN")) read(t, min);
  if (const char* t = env("SLURM_ARRAY_TASK_STEP")) read(t, step);
  if (const char* t = env("SLURM_ARRAY_TASK_COUNT")) {
    read(t, p.count);
  } else if (const char* t = env("SLURM_ARRAY_TASK_MAX")) {
    read(t, max);
    p.count = step > 0 && max >= min ? (max - min) / step + 1 : -1;
  } else {
    p.count = -1;
  }
  if (p.index < 0 || min < 0 || step < 1) {
    p.index = -1;
    return p;
  }
  p.index = (p.index - min) % step == 0 ? (p.index - min) / step : -1;
  return p;
}

}  // namespace qv::macro
