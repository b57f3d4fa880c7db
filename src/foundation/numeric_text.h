// numeric_text.h: the value records to and from the text of the macro language ("<1, 2, 3>").
#pragma once
#include <cstdint>
#include "foundation/numeric.h"
#include "foundation/widetext.h"

namespace qv {
namespace text {
// Numbers read one after the other from the same text, past blanks, commas,
// semicolons and brackets; each piece goes through `text::real`. Missing
// components are 0.
num::complex complex(wideview t);
num::natcomplex natcomplex(wideview t);
num::vector vector(wideview t);
num::natvector natvector(wideview t);
num::hyper hyper(wideview t);
num::nathyper nathyper(wideview t);
num::tensor tensor(wideview t);     // xx, yy, zz, xy, xz, yz
num::matrix matrix(wideview t);     // nine values, row after row
num::matrix4 matrix4(wideview t);   // sixteen, or four groups of four divided by ";"
num::quat quat(wideview t);         // w, x, y, z
std::uint8_t byte(wideview t);      // a whole number clamped to 0..255
// Up to `count` reals into `out`; gives how many were found.
int reals(wideview t, double* out, int count);
}  // namespace text

namespace chars {
// Blanks stripped and lower case; empty is false; "y", "j", "h", "t" at the
// front, or "on", "ok", "1", "+", are true; else a nat of at least 1.
bool flag(wideview t);
}  // namespace chars

// "<x, y, z>" with `real.text` components ("; " between them under the decimal comma).
namespace complex { widetext text(num::complex v); }
namespace natcomplex { widetext text(num::natcomplex v); }
namespace vector { widetext text(num::vector v); }
namespace natvector { widetext text(num::natvector v); }
namespace hyper {
widetext text(num::hyper v);
// Trailing zero components dropped; with y, z and t all zero the bare number.
widetext text_short(num::hyper v);
}  // namespace hyper
namespace nathyper { widetext text(num::nathyper v); }
namespace tensor { widetext text(num::tensor v); }
namespace matrix { widetext text(const num::matrix& m); }     // "(<..>;<..>;<..>)"
namespace matrix4 { widetext text(const num::matrix4& m); }   // "(<..>;<..>;<..>;<..>)"
namespace quat { widetext text(num::quat q); }               // "<w, x, y, z>"
}  // namespace qv
