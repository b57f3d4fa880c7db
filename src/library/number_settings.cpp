// number_settings.cpp: the `math.*` switches of the number format that every value text consults.
#include "foundation/numbertext.h"
#include "library/basics.h"

namespace qv::library {
namespace {

// Exactly one parameter, else the count report and no change.
bool one(macroengine& m) {
  if (macro::parameter_count(m) == 1) return true;
  macro::check_exact(m, 1);
  return false;
}

template <bool numberformat::*flag>
void set_flag(macroengine& m) {
  if (one(m)) number::format.*flag = text::bool_(macro::parameter_optional(m, 1));
}

template <std::int32_t numberformat::*field>
void set_count(macroengine& m) {
  if (one(m)) {
    std::int64_t v = text::nat(macro::parameter_optional(m, 1));
    number::format.*field = std::int32_t(v < INT32_MIN ? INT32_MIN : (v > INT32_MAX ? INT32_MAX : v));
  }
}

constexpr cmdrow rows[] = {
    // name               kind                handler                                usage                      comment
    {"math.scientific",  cmdkind::procedure, set_flag<&numberformat::scientific>,  "math.scientific true",    "numbers as 12E2 and 12E-4"},
    {"math.decimal",     cmdkind::procedure, set_flag<&numberformat::decimal>,     "math.decimal false",      "false: decimal comma and \"; \" between components"},
    {"math.digit",       cmdkind::procedure, set_flag<&numberformat::digit>,       "math.digit true",         "groups of three digits in whole numbers"},
    {"math.leading",     cmdkind::procedure, set_count<&numberformat::leading>,    "math.leading 0",          "leading digits (kept as a setting)"},
    {"math.trailing",    cmdkind::procedure, set_count<&numberformat::trailing>,   "math.trailing 0",         "trailing digits (kept as a setting)"},
    {"math.degree",      cmdkind::procedure, set_flag<&numberformat::degree>,      "math.degree true",        "angles in degrees (kept as a setting)"},
    {"math.vector",      cmdkind::procedure, set_flag<&numberformat::vector>,      "math.vector false",       "vector form of mesh numbers"},
    {"math.matrix",      cmdkind::procedure, set_flag<&numberformat::matrix>,      "math.matrix false",       "matrix form (kept as a setting)"},
};

}  // namespace

void register_number_settings(macroengine& m) { macro::register_rows(m, "", rows); }

}  // namespace qv::library
