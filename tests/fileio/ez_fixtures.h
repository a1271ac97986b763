// Container fixtures for the tests: containers built by hand, bytes in and out of files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace eztest {

using Bytes = std::string;

// Compressible sample data: a text table of numbers, size bytes long.
Bytes sampleData(size_t size, unsigned seed = 1);

// One chunk as the writer makes it: raw deflate, then CRC-32 and length, little-endian.
Bytes makeChunk(const Bytes& input);

// A container of the given chunks, tables first, chunks back to back from offset 6 + 8n
// (plus base, for a container that starts base bytes into its file).
Bytes makeContainer(const std::vector<Bytes>& chunks, uint32_t base = 0);

// Big-endian and little-endian 32-bit fields.
uint32_t getBE32(const Bytes& b, size_t at);
void putBE32(Bytes& b, size_t at, uint32_t v);
void putLE32(Bytes& b, size_t at, uint32_t v);

// Whole contents of a stream from its current position to the end.
Bytes readAll(FILE* f);

}  // namespace eztest
