// calc.h: the postfix calculator of `stack` and its one process-wide stack of hypers.
#pragma once
#include <cstddef>
#include <vector>
#include "foundation/widetext.h"
#include "foundation/numeric.h"

namespace qv::calculator {
// Index 0 is the bottom; the top is the last element. Lives for the whole run.
std::vector<num::hyper>& stack();
num::hyper pop();   // the zero hyper when empty
void push(num::hyper h);
// Runs one token: `raw` as written in the macro line picks the word; anything
// that is no word is read from `evaluated` as a hyper and pushed.
void evaluate(wideview raw, wideview evaluated);
// Real, complex, vector or hyper text by the trailing zero components.
widetext cell_text(num::hyper h);
}  // namespace qv::calculator
