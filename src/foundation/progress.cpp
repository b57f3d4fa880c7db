// progress.cpp: the progress line (at most one console line a second) and time texts.
#include "foundation/progress.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <mutex>

#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv {

double time::system_now() {
  using namespace std::chrono;
  return duration<double>(system_clock::now().time_since_epoch()).count();
}

time::clockfn time::now = time::system_now;
double time::program_start = time::system_now();

namespace {

struct progressstate {
  shorttext title;
  widetext last;        // the last line printed, so that a shorter one can blank it out
  int phase = 0;
  double relative = 0;
  double start = 0;     // when the title changed
  double tick = 0;      // the last printed line
};
progressstate state;
std::mutex busy;   // workers may call in; a busy line is simply skipped

// With QV_FROZEN_PROGRESS set (the golden runner sets it) the progress line sees
// a clock that stays at the program start: no new second ever begins, so only the
// first and the last line of each progress appear, whatever the load.
const bool frozen = std::getenv("QV_FROZEN_PROGRESS") != nullptr;
double clock_now() { return frozen ? time::program_start : time::now(); }

constexpr std::size_t linecut = 80;

// Prints to the console only, cut to 80 characters, padded over the previous
// line and ended by a carriage return (or a line end for the last line).
void show(widetext line, bool final) {
  if (line.size() > linecut) line.resize(linecut);
  widetext padded = line;
  if (padded.size() < state.last.size()) padded.resize(state.last.size(), u' ');
  state.last = final ? widetext() : line;
  bool logon = console::logon;
  console::logon = false;
  print::bytes(text::utf8(padded) + (final ? "\n" : "\r"), false);
  console::logon = logon;
  if (progress::hook) progress::hook();
}

widetext since_of_elapsed(double now) {
  return u"(" + time::text(time::between(state.start, now)) + u" of " +
         time::text(time::between(time::program_start, now)) + u").";
}

bool new_second(double now) { return std::floor(now) != std::floor(state.tick); }

wideview frame(int phase) {
  constexpr wideview frames[] = {u"-", u"-", u"\\", u"|", u"/"};
  return frames[(phase >= 0 && phase <= 4) ? phase : 0];
}

}  // namespace

progress::hookfn progress::hook = nullptr;

time::span time::between(double from, double to) {
  double d = to - from;
  std::int64_t s = d > 0 ? std::int64_t(d) : 0;
  span r;
  r.seconds = s % 60;
  s /= 60;
  r.minutes = s % 60;
  s /= 60;
  r.hours = s % 24;
  r.days = s / 24;
  return r;
}

widetext time::text(const span& s) {
  const std::int64_t fields[] = {s.days, s.hours, s.minutes, s.seconds, s.hundredths};
  constexpr wideview units[] = {u" d", u" h", u" min", u" sec", u" 100sec"};
  int first = -1, last = -1;
  for (int i = 0; i < 5; ++i)
    if (fields[i] != 0) {
      if (first < 0) first = i;
      last = i;
    }
  if (first < 0) return u"0 sec";
  widetext t;
  for (int i = first; i <= last; ++i) {
    if (i > first) t += u':';
    t += nat::text(fields[i]);
  }
  return t + widetext(units[first]);
}

time::span time::elapsed() { return between(program_start, now()); }
time::span time::since_progress() { return between(state.start, now()); }

void progress::spin(wideview title) {
  std::unique_lock lock(busy, std::try_to_lock);
  if (!lock) return;
  double now = clock_now();
  if (title != state.title.str()) {
    state.title = shorttext(title);
    state.start = state.tick = now;
    show(u"Please wait. " + widetext(title) + u" (" + time::text(time::between(time::program_start, now)) +
             u"). -",
         false);
    state.phase = 2;
    state.relative = state.phase * 0.25;
    return;
  }
  if (!new_second(now)) return;
  state.tick = now;
  show(u"Please wait. " + widetext(title) + u" " + since_of_elapsed(now) + u" " + widetext(frame(state.phase)),
       false);
  state.phase = state.phase >= 4 ? 1 : state.phase + 1;
  state.relative = state.phase * 0.25;
}

void progress::set(double relative, wideview title) {
  std::unique_lock lock(busy, std::try_to_lock);
  if (!lock) return;
  if (!(relative > 0)) relative = 0;   // NaN counts as 0 too
  if (relative > 1) relative = 1;
  double now = clock_now();
  if (title != state.title.str()) {
    state.title = shorttext(title);
    state.start = state.tick = now;
    state.relative = 0;
    show(widetext(title) + u". 0 % ready " + since_of_elapsed(now), false);
    return;
  }
  state.relative = relative;
  if (!new_second(now)) return;
  state.tick = now;
  show(widetext(title) + u". " + real::text_fixed(relative * 100, 2) + u" % ready " + since_of_elapsed(now), false);
}

void progress::ready(wideview title) {
  std::lock_guard lock(busy);
  show(u"Please wait ready. " + widetext(title) + u" " + since_of_elapsed(clock_now()), true);
  state.title = shorttext();
}

void progress::end(wideview title) {
  std::lock_guard lock(busy);
  show(widetext(title) + u". 100 % ready " + since_of_elapsed(clock_now()), true);
  state.title = shorttext();
  state.relative = 1;
}

void progress::end_running() {
  if (!state.title.empty()) progress::end(widetext(state.title.str()));
}

const widetext& progress::title() { return state.title.str(); }
double progress::relative() { return state.relative; }
void progress::reset() { state = progressstate{}; }

}  // namespace qv
