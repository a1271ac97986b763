// Container fixtures for the EZ tests: hand-built containers and file bytes.
#include "ez_fixtures.h"

#include <zlib.h>

#include <cstdio>

namespace eztest {

Bytes sampleData(size_t size, unsigned seed) {
  Bytes out;
  out.reserve(size + 64);
  unsigned x = seed;
  char line[64];
  for (int row = 0; out.size() < size; row++) {
    x = x * 1103515245u + 12345u;
    snprintf(line, sizeof line, "%6d %10.4f %8.3f %c\n", row, (x >> 8) % 100000 / 37.0, (x >> 4) % 5000 / 7.0,
             'A' + static_cast<char>(x % 26));
    out += line;
  }
  out.resize(size);
  return out;
}

Bytes makeChunk(const Bytes& input) {
  z_stream zs{};
  deflateInit2(&zs, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  Bytes out(deflateBound(&zs, input.size()) + 16, '\0');
  zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
  zs.avail_in = static_cast<uInt>(input.size());
  zs.next_out = reinterpret_cast<Bytef*>(out.data());
  zs.avail_out = static_cast<uInt>(out.size());
  deflate(&zs, Z_FINISH);
  out.resize(zs.total_out);
  deflateEnd(&zs);
  uLong crc = crc32(0L, reinterpret_cast<const Bytef*>(input.data()), static_cast<uInt>(input.size()));
  Bytes trailer(8, '\0');
  putLE32(trailer, 0, static_cast<uint32_t>(crc));
  putLE32(trailer, 4, static_cast<uint32_t>(input.size()));
  return out + trailer;
}

Bytes makeContainer(const std::vector<Bytes>& chunks, uint32_t base) {
  uint32_t n = static_cast<uint32_t>(chunks.size());
  Bytes out = "EZ" + Bytes(4 + 8 * n, '\0');
  putBE32(out, 2, n);
  uint32_t offset = base + 6 + 8 * n;
  for (uint32_t i = 0; i < n; i++) {
    putBE32(out, 6 + 4 * i, offset);
    putBE32(out, 6 + 4 * n + 4 * i, static_cast<uint32_t>(chunks[i].size()));
    offset += static_cast<uint32_t>(chunks[i].size());
  }
  for (const Bytes& c : chunks) out += c;
  return out;
}

uint32_t getBE32(const Bytes& b, size_t at) {
  return uint32_t(uint8_t(b[at])) << 24 | uint32_t(uint8_t(b[at + 1])) << 16 |
         uint32_t(uint8_t(b[at + 2])) << 8 | uint32_t(uint8_t(b[at + 3]));
}

void putBE32(Bytes& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; i++) b[at + i] = static_cast<char>(v >> (24 - 8 * i));
}

void putLE32(Bytes& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; i++) b[at + i] = static_cast<char>(v >> (8 * i));
}

Bytes readAll(FILE* f) {
  Bytes out;
  char buf[8192];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
  return out;
}

}  // namespace eztest
