// time_commands.cpp: the timer and the fields of the present date and time.
#include <ctime>

#include "foundation/numbertext.h"
#include "foundation/progress.h"
#include "library/basics.h"

namespace qv::library {
namespace {

double timer_mark = time::program_start;

struct clockfields {
  std::tm tm{};
  std::int64_t millisecond = 0;
};

clockfields present() {
  clockfields c;
  double now = time::now();
  std::time_t whole = static_cast<std::time_t>(now);
  localtime_r(&whole, &c.tm);
  c.millisecond = static_cast<std::int64_t>((now - double(whole)) * 1000);
  if (c.millisecond < 0 || c.millisecond > 999) c.millisecond = 0;
  return c;
}

void timer_start(macroengine&) { timer_mark = time::now(); }
void timer_get(macroengine& m) { macro::value_set(m, time::text(time::between(timer_mark, time::now()))); }

template <int field>
void clock_field(macroengine& m) {
  clockfields c = present();
  const std::int64_t values[] = {c.tm.tm_hour, c.tm.tm_min, c.tm.tm_sec, c.millisecond,
                                 c.tm.tm_year + 1900, c.tm.tm_mon + 1, c.tm.tm_mday};
  macro::value_set(m, nat::text(values[field]));
}

void timestamp(macroengine& m) {
  clockfields c = present();
  macro::value_set(m, nat::text(c.tm.tm_hour) + u":" + nat::text(c.tm.tm_min) + u":" + nat::text(c.tm.tm_sec) +
                          u":" + nat::text(c.millisecond));
}

void datestamp(macroengine& m) {
  clockfields c = present();
  macro::value_set(m, nat::text(c.tm.tm_year + 1900) + u"_" + nat::text(c.tm.tm_mon + 1) + u"_" +
                          nat::text(c.tm.tm_mday));
}

void weekday(macroengine& m) {
  constexpr wideview names[] = {u"Sunday", u"Monday", u"Tuesday", u"Wensday", u"Thursday", u"Friday", u"Saturday"};
  clockfields c = present();
  macro::value_set(m, widetext(names[(c.tm.tm_wday % 7 + 7) % 7]));
}

void leapyear(macroengine& m) {
  m.value.clear();
  if (macro::parameter_count(m) != 1) {
    macro::check_exact(m, 1);
    return;
  }
  std::int64_t y = text::nat(macro::parameter_optional(m, 1));
  bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
  macro::value_set(m, leap ? u"1" : u"0");
}

constexpr cmdrow rows[] = {
    // name          kind               handler          usage                     comment
    {"timer.start", cmdkind::plain,    timer_start,     "timer.start",            "sets the timer mark to now"},
    {"timer.get",   cmdkind::function, timer_get,       "a := timer.get",         "time since the timer mark"},
    {"hour",        cmdkind::variable, clock_field<0>,  "hour",                   "hour of the present time"},
    {"minute",      cmdkind::variable, clock_field<1>,  "minute",                 "minute of the present time"},
    {"second",      cmdkind::variable, clock_field<2>,  "second",                 "second of the present time"},
    {"milliscond",  cmdkind::variable, clock_field<3>,  "milliscond",             "millisecond of the present time"},
    {"timestamp",   cmdkind::variable, timestamp,       "timestamp",              "hour:minute:second:millisecond"},
    {"year",        cmdkind::variable, clock_field<4>,  "year",                   "year of the present date"},
    {"month",       cmdkind::variable, clock_field<5>,  "month",                  "month of the present date"},
    {"day",         cmdkind::variable, clock_field<6>,  "day",                    "day of the present date"},
    {"weekday",     cmdkind::variable, weekday,         "weekday",                "name of the present weekday"},
    {"leapyear",    cmdkind::function, leapyear,        "a := leapyear 2000",     "1 for a leap year, else 0"},
    {"datestamp",   cmdkind::variable, datestamp,       "datestamp",              "year_month_day"},
};

}  // namespace

void register_time(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::library
