// real_fuzz.cpp: the number reader on any text, and the writer on what it read.
#include <cstdint>
#include <string_view>

#include "foundation/numbertext.h"
#include "foundation/widetext.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace qv;
  const widetext t = text::from_utf8(std::string_view(reinterpret_cast<const char*>(data), size));
  const double v = text::real(t);
  (void)text::nat(t);
  (void)real::text(v);
  return 0;
}
