// search.cpp: `minimize` and `maximize`, line searches over macro variables whose body
// says through `result` whether the values are good enough.
#include <cmath>
#include <vector>

#include "engine/definitions.h"
#include "engine/flow.h"
#include "foundation/console.h"
#include "foundation/numbertext.h"

namespace qv::macro {
namespace {

struct search {
  macroengine& m;
  std::int64_t opener;
  bool maximize, decade;
  double a, b, d;
  std::vector<widetext> names;   // `searchnames`
  std::vector<double> values;    // `searchvalues`

  widetext value_text(double v) const {
    return number::format.shortform ? real::text_short(v) : real::text(v);
  }

  void assign() {
    for (std::size_t i = 0; i < names.size(); ++i) var_set(m, names[i], value_text(values[i]));
  }

  // Runs the body once; true when it left a true `result`.
  bool run() {
    block_name(m, maximize ? u"maximize" : u"minimize");
    interpret(m, opener, true);
    m.currentline = opener;
    if (m.stopflag) return false;
    widetext r = var_get(m, u"result");
    if (r.empty()) {
      error(m, maximize ? u"Please define the status of the maximization via the variable 'result'!"
                        : u"Please define the status of the minimization via the variable 'result'!");
      return false;
    }
    return text::bool_(r);
  }

  bool sweep_done() const { return maximize ? values[0] < a : values[0] > b; }

  void sweep() {
    bool ok = false;
    do {
      assign();   // the body sees the values from before the step
      for (double& v : values) v = decade ? v * (maximize ? 0.1 : 10.0) : v + (maximize ? -d : d);
      ok = run();
    } while (!sweep_done() && !ok && !m.stopflag);
  }

  void step_back() {
    if (maximize ? !(values[0] < b) : !(values[0] > a)) return;
    for (double& v : values) v = decade ? v * (maximize ? 10.0 : 0.1) : v + (maximize ? d : -d);
  }

  // One refine stage: moves each variable in turn until a whole round moves none.
  // A move that leaves the value as it was counts as stuck too, so that a value at
  // 0 cannot shrink for ever in the decade mode.
  template <typename Move, typename Back>
  void refine(Move move, Back back) {
    const std::size_t n = values.size();
    for (;;) {
      std::size_t stuck = 0;
      for (std::size_t i = 0; i < n; ++i) {
        if (m.stopflag) return;
        double moved = move(values[i]);
        if ((maximize ? moved > b : moved < a) || moved == values[i]) {
          ++stuck;
          continue;
        }
        values[i] = moved;
        assign();
        bool ok = run();
        if (m.stopflag) return;
        if (!ok) {
          values[i] = back(values[i]);
          ++stuck;
        }
      }
      if (stuck == n) return;
    }
  }

  void stages() {
    sweep();
    if (m.stopflag) return;
    step_back();
    const double sign = maximize ? 1.0 : -1.0;
    if (!decade) {
      refine([&](double v) { return v + sign * d; }, [&](double v) { return v - sign * d; });
      return;
    }
    const double shrink = maximize ? 10.0 : 0.1, grow = maximize ? 0.1 : 10.0;
    refine([&](double v) { return v * shrink; }, [&](double v) { return v * grow; });
    // The way back adds a tenth of the moved value, which does not quite undo the move.
    refine([&](double v) { return v + sign * v * 0.1; }, [&](double v) { return v - sign * v * 0.1; });
  }
};

}  // namespace

void search_block(macroengine& m, interpframe& fr, bool maximize) {
  prepare(m, fr.line);
  const std::size_t n = parameter_count(m);
  if (n < 4) {
    check_min(m, 4);
    return;
  }
  double a = text::real(parameter(m, 1)), s = text::real(parameter(m, 2)), b = text::real(parameter(m, 3));
  if (b < a) std::swap(a, b);
  if (!(b - a > 0)) return;   // nothing at all, not even a scan: the body runs as plain lines
  search q{m, m.currentline, maximize, std::fabs(s) == 0, a, b, std::fabs(s), {}, {}};
  for (std::size_t i = 4; i <= n; ++i) q.names.push_back(parameter(m, i));
  q.values.assign(q.names.size(), maximize ? b : a);
  var_set(m, u"result", u"");
  if (m.trace)
    print::line(u"  " + widetext(maximize ? u"maximize" : u"minimize") + u"|" + real::text(a) + u"..(" +
                real::text(s) + u").." + real::text(b) + u"|");
  // The decade mode writes numbers in their short form while it lasts, so that the
  // tenths show no binary noise.
  number::formatguard keep;
  if (q.decade) number::format.shortform = true;
  q.stages();
  // The current line stays at the opener: the body's lines now run once more as
  // plain statements, and its `end` closes the enclosing block.
}

}  // namespace qv::macro
