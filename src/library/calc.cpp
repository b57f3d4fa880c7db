// calc.cpp: the postfix calculator behind `stack`, its stack commands and the `math.*` norms and constants.
#include "library/calc.h"

#include <algorithm>
#include <cmath>

#include "foundation/numbertext.h"
#include "foundation/numeric_text.h"
#include "foundation/stats.h"
#include "library/basics.h"

namespace qv::calculator {
namespace {

std::vector<num::hyper> cells;

num::hyper top() { return cells.empty() ? num::hyper{} : cells.back(); }
num::hyper real_cell(double r) { return {r, 0, 0, 0}; }

// b modulo a by components on the truncated whole numbers; a zero divisor gives 0.
num::hyper modulo(num::hyper b, num::hyper a) {
  num::nathyper p = hyper::trunc(b), q = hyper::trunc(a);
  auto m = [](std::int64_t x, std::int64_t y) -> double { return y == 0 || y == -1 ? 0.0 : double(x % y); };
  return {m(p.x, q.x), m(p.y, q.y), m(p.z, q.z), m(p.t, q.t)};
}

num::hyper truncated(num::hyper h) {
  num::nathyper n = hyper::trunc(h);
  return {double(n.x), double(n.y), double(n.z), double(n.t)};
}

// Words of one character, in table order. Gives false for no match.
bool word1(widechar c) {
  num::hyper a, b;
  switch (c) {
    case u':': cells.clear(); return true;
    case u'\u00a7': std::reverse(cells.begin(), cells.end()); return true;
    case u'+': a = pop(), b = pop(); push(num::add(b, a)); return true;
    case u'-': a = pop(), b = pop(); push(num::sub(b, a)); return true;
    case u'*': a = pop(), b = pop(); push(num::mul_each(b, a)); return true;
    case u'/': a = pop(), b = pop(); push(num::div_each(b, a)); return true;
    case u'\u00b2': push(num::sqr(pop())); return true;
    case u'\u00b3': a = pop(); push(num::mul_each(a, num::sqr(a))); return true;
    case u'^': a = pop(), b = pop(); push(num::power(b, a.x)); return true;
    case u'|': push(real_cell(num::length(pop()))); return true;
    case u'%': push(num::mul(pop(), 0.01)); return true;
    case u'\u00b0': push(num::mul(pop(), 0.017453292519943295)); return true;
    case u'o': a = pop(), b = pop(); push(real_cell(num::dot(b, a))); return true;
    case u'x': {
      a = pop(), b = pop();
      num::hyper c3 = pop();
      push(hyper::cross(c3, b, a));
      return true;
    }
    case u'd': {
      a = pop(), b = pop();
      num::hyper c3 = pop(), d4 = pop();
      push(real_cell(hyper::det4(d4, c3, b, a)));
      return true;
    }
    default: return false;
  }
}

// Words of three characters, in table order.
bool word3(wideview w) {
  std::span<const num::hyper> all(cells);
  num::hyper a, b;
  if (w == u"neg") push(num::mul(pop(), -1.0));
  else if (w == u"inv") push(num::div_scalar(1.0, pop()));
  else if (w == u"log") { a = pop(), b = pop(); push(real_cell(real::log_base(b.x, a.x))); }
  else if (w == u"sin") push(real_cell(std::sin(pop().x)));
  else if (w == u"cos") push(real_cell(std::cos(pop().x)));
  else if (w == u"tan") push(real_cell(real::tan_safe(pop().x)));
  else if (w == u"min") push(stats::min(all));
  else if (w == u"max") push(stats::max(all));
  else if (w == u"sum") push(stats::sum(all));
  else if (w == u"var") push(stats::var(all));
  else if (w == u"mod") { a = pop(), b = pop(); push(modulo(b, a)); }
  else if (w == u"dup") push(top());
  else if (w == u"rot") { if (cells.size() > 2) std::swap(cells[cells.size() - 1], cells[cells.size() - 3]); }
  else return false;
  return true;
}

// Words of four characters, in table order.
bool word4(wideview w) {
  num::hyper a, b;
  std::size_t n = cells.size();
  if (w == u"mean") push(stats::mean(std::span<const num::hyper>(cells)));
  else if (w == u"swap") { if (n > 1) std::swap(cells[n - 1], cells[n - 2]); }
  else if (w == u"over") { if (n > 1) push(cells[n - 2]); }
  else if (w == u"drop") pop();
  else if (w == u"/mod") {
    a = pop(), b = pop();
    push(truncated(num::div_each(b, a)));
    num::hyper q = pop(), c = pop();
    push(modulo(c, q));
  } else {
    return false;
  }
  return true;
}

bool word6(wideview w) {
  if (w == u"arcsin") push(real_cell(real::arcsin_safe(pop().x)));
  else if (w == u"arccos") push(real_cell(real::arccos_safe(pop().x)));
  else if (w == u"arctan") push(real_cell(std::atan(pop().x)));
  else return false;
  return true;
}

bool word(wideview w) {
  switch (w.size()) {
    case 1: return word1(w[0]);
    case 2: return w == u"sd" ? (push(stats::sd(std::span<const num::hyper>(cells))), true) : false;
    case 3: return word3(w);
    case 4: return word4(w);
    case 6: return word6(w);
    default: return false;
  }
}

}  // namespace

std::vector<num::hyper>& stack() { return cells; }

num::hyper pop() {
  if (cells.empty()) return {};
  num::hyper h = cells.back();
  cells.pop_back();
  return h;
}

void push(num::hyper h) { cells.push_back(h); }

void evaluate(wideview raw, wideview evaluated) {
  if (!word(raw)) push(text::hyper(evaluated));
}

widetext cell_text(num::hyper h) {
  if (h.t == 0 && h.z == 0 && h.y == 0) return real::text(h.x);
  if (h.t == 0 && h.z == 0) return complex::text({h.x, h.y});
  if (h.t == 0) return vector::text({h.x, h.y, h.z});
  return hyper::text(h);
}

}  // namespace qv::calculator

namespace qv::library {
namespace {

// Every parameter of the line as written (angle brackets kept together) beside
// its evaluated text. The evaluated text comes from the prepared list where its
// tokens line up with the written ones, else from word substitution.
void run_tokens(macroengine& m) {
  widetext rest = m.list2source;
  std::vector<widetext> raw;
  for (;;) {
    rest = text::trim(rest);
    if (rest.empty()) break;
    widetext tok = text::token_outside(rest, u' ');
    if (!tok.empty()) raw.push_back(std::move(tok));
  }
  bool aligned = raw.size() == m.list1.count();
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (aligned) calculator::evaluate(raw[i], m.list1.text[i].str());
    else calculator::evaluate(raw[i], macro::substitute_word(m, raw[i]));
  }
}

void stack_statement(macroengine& m) { run_tokens(m); }

void stack_function(macroengine& m) {
  m.value.clear();
  run_tokens(m);
  macro::value_set(m, calculator::cell_text(calculator::pop()));
}

void stack_length(macroengine& m) {
  m.value.clear();
  macro::value_set(m, nat::text(std::int64_t(calculator::stack().size())));
}

void stack_clear(macroengine& m) {
  calculator::stack().clear();
  run_tokens(m);
}

void stack_flip(macroengine& m) {
  std::reverse(calculator::stack().begin(), calculator::stack().end());
  run_tokens(m);
}

// Each parameter read as a hyper and mapped; the texts joined with " ".
template <widetext (*each)(num::hyper)>
void per_parameter(macroengine& m) {
  m.value.clear();
  std::size_t n = macro::parameter_count(m);
  if (n < 1) {
    macro::check_min(m, 1);
    return;
  }
  widetext out;
  for (std::size_t i = 1; i <= n; ++i) {
    if (i > 1) out.push_back(u' ');
    out += each(text::hyper(macro::parameter_optional(m, i)));
  }
  macro::value_set(m, std::move(out));
}

widetext minnorm_text(num::hyper h) { return hyper::text_short(num::minnorm(h)); }
widetext norm_text(num::hyper h) { return hyper::text_short(num::norm(h)); }
widetext maxnorm_text(num::hyper h) { return hyper::text_short(num::maxnorm(h)); }
widetext length_text(num::hyper h) { return real::text_short(num::length(h)); }

void angle(macroengine& m) {
  m.value.clear();
  if (macro::parameter_count(m) != 2) {
    macro::check_exact(m, 2);
    return;
  }
  num::hyper a = text::hyper(macro::parameter_optional(m, 1));
  num::hyper b = text::hyper(macro::parameter_optional(m, 2));
  macro::value_set(m, real::text_short(num::angle(a, b)));
}

// The constants are fixed texts of 12 digits, not the double's full precision.
template <const char16_t* text>
void constant(macroengine& m) { macro::value_set(m, widetext(text)); }
constexpr char16_t pi[] = u"3.14159265359", twopi[] = u"6.28318530718", halfpi[] = u"1.57079632679",
                   quarterpi[] = u"0.785398163397";

constexpr cmdrow rows[] = {
    // name               kind                handler                        usage                            comment
    {"stack",            cmdkind::procedure, stack_statement,               "stack 2 3 +",                   "postfix calculator: tokens are words or pushed numbers"},
    {"stack",            cmdkind::function,  stack_function,                "stack 2 3 +",                   "evaluates, then pops the top as text"},
    {"stack.length",     cmdkind::function,  stack_length,                  "stack.length",                  "depth of the stack"},
    {"stack.size",       cmdkind::function,  stack_length,                  "stack.size",                    "depth of the stack"},
    {"stack.clean",      cmdkind::procedure, stack_clear,                   "stack.clean 1 2",               "empties the stack, then evaluates the tokens"},
    {"stack.clear",      cmdkind::procedure, stack_clear,                   "stack.clear 1 2",               "empties the stack, then evaluates the tokens"},
    {"stack.flip",       cmdkind::procedure, stack_flip,                    "stack.flip +",                  "reverses the stack, then evaluates the tokens"},
    {"math.minnorm",     cmdkind::function,  per_parameter<minnorm_text>,   "math.minnorm <2, 4, 8>",        "each value divided by its smallest component"},
    {"math.norm",        cmdkind::function,  per_parameter<norm_text>,      "math.norm <3, 4>",              "each value scaled to length 1"},
    {"math.maxnorm",     cmdkind::function,  per_parameter<maxnorm_text>,   "math.maxnorm <2, 4, 8>",        "each value divided by its largest component"},
    {"math.length",      cmdkind::function,  per_parameter<length_text>,    "math.length <3, 4>",            "length of each value"},
    {"math.angle",       cmdkind::function,  angle,                         "math.angle <1, 0> <0, 1>",      "angle between two values in radians"},
    {"math.pi",          cmdkind::variable,  constant<pi>,                  "math.pi",                       "3.14159265359"},
    {"math.180°",   cmdkind::variable,  constant<pi>,                  "math.180°",                "3.14159265359"},
    {"math.2*pi",        cmdkind::variable,  constant<twopi>,               "math.2*pi",                     "6.28318530718"},
    {"math.360°",   cmdkind::variable,  constant<twopi>,               "math.360°",                "6.28318530718"},
    {"math.pi/2",        cmdkind::variable,  constant<halfpi>,              "math.pi/2",                     "1.57079632679"},
    {"math.90°",    cmdkind::variable,  constant<halfpi>,              "math.90°",                 "1.57079632679"},
    {"math.pi/4",        cmdkind::variable,  constant<quarterpi>,           "math.pi/4",                     "0.785398163397"},
    {"math.45°",    cmdkind::variable,  constant<quarterpi>,           "math.45°",                 "0.785398163397"},
};

}  // namespace

void register_calculator(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::library
