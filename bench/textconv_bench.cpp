// textconv_bench.cpp: rates of number-to-text and text-to-number conversion on plain numbers.
#include <chrono>
#include <cstdio>
#include <vector>

#include "foundation/numbertext.h"

using namespace qv;

namespace {
double seconds_since(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}
}  // namespace

int main() {
  constexpr std::size_t count = 10'000'000;
  // Plain numbers as macros hold them: whole numbers and short decimals.
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = (i % 2) ? double(i % 100000) : double(i % 100000) * 0.25;
  std::printf("numbers: %zu, threads: 1\n", count);

  char buf[real::textroom];
  std::size_t total = 0;
  auto t0 = std::chrono::steady_clock::now();
  for (double v : values) total += real::text_into(v, buf);
  double wt = seconds_since(t0);
  std::printf("real.text (into buffer): %.1f million/s (%zu chars)\n", count / wt / 1e6, total);

  // Texts prepared up front; the reader takes views of them.
  std::vector<widetext> texts;
  texts.reserve(1000);
  for (std::size_t i = 0; i < 1000; ++i) texts.push_back(real::text(values[i * 997 % count]));
  double sum = 0;
  t0 = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < count; ++i) sum += text::real(texts[i % texts.size()]);
  double rt = seconds_since(t0);
  std::printf("text.real: %.1f million/s (sum %.1f)\n", count / rt / 1e6, sum);

  std::int64_t nsum = 0;
  t0 = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < count; ++i) nsum += text::nat(texts[i % texts.size()]);
  double nt = seconds_since(t0);
  std::printf("text.nat: %.1f million/s (sum %lld)\n", count / nt / 1e6, static_cast<long long>(nsum));

  t0 = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < count / 10; ++i) total += real::text(values[i]).size();
  double at = seconds_since(t0);
  std::printf("real.text (widetext result): %.1f million/s\n", count / 10 / at / 1e6);
  return 0;
}
