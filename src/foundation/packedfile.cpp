// packedfile.cpp: zlib's gzip reader in large steps, for the volume readers.
#include "foundation/packedfile.h"

#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <vector>

namespace qv {

void packedfile::close() {
  if (stream) gzclose(stream);
  stream = nullptr;
}

namespace packed {

bool open(packedfile& p, const std::string& name) {
  p.close();
  p.delivered = 0;
  struct stat st {};
  if (stat(name.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) return false;
  p.stored = std::int64_t(st.st_size);
  p.stream = gzopen(name.c_str(), "rb");
  if (!p.stream) return false;
  gzbuffer(p.stream, 1 << 18);
  p.zipped = gzdirect(p.stream) == 0;
  return true;
}

std::size_t read(packedfile& p, void* out, std::size_t n) {
  if (!p.stream) return 0;
  char* to = static_cast<char*>(out);
  std::size_t have = 0;
  while (have < n) {
    unsigned want = unsigned(std::min<std::size_t>(n - have, 1u << 30));   // gzread counts in int
    int k = gzread(p.stream, to + have, want);
    if (k <= 0) break;   // the end, or a damaged stream
    have += std::size_t(k);
  }
  p.delivered += std::int64_t(have);
  return have;
}

bool seek(packedfile& p, std::int64_t at) {
  if (!p.stream || at < 0) return false;
  if (at < p.delivered) {
    if (gzrewind(p.stream) != 0) return false;
    p.delivered = 0;
  }
  std::vector<char> scratch(std::size_t(std::min<std::int64_t>(at - p.delivered, 1 << 16)));
  while (p.delivered < at) {
    std::size_t k = std::size_t(std::min<std::int64_t>(at - p.delivered, std::int64_t(scratch.size())));
    if (read(p, scratch.data(), k) != k) return false;
  }
  return true;
}

std::int64_t bound(const packedfile& p) { return p.zipped ? p.stored * most_expansion : p.stored; }

std::int64_t total(packedfile& p) {
  std::vector<char> scratch(1 << 16);
  while (read(p, scratch.data(), scratch.size()) == scratch.size()) {
  }
  return p.delivered;
}

}  // namespace packed
}  // namespace qv
