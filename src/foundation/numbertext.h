// numbertext.h: the conversions between text and numbers, the language's only type system.
#pragma once
#include <cstdint>
#include "foundation/widetext.h"

namespace qv {
namespace text {
double real(wideview t);          // any text that is no number gives 0
std::int64_t nat(wideview t);     // the same, rounded to a whole number
}  // namespace text
namespace real {
widetext text(double v);
}  // namespace real
namespace nat {
widetext text(std::int64_t v);
}  // namespace nat
}  // namespace qv
