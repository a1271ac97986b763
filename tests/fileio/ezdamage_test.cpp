// Damaged containers: the lenient reader must neither crash, hang nor touch memory it doesn't
// own (this suite runs under AddressSanitizer in the debug build), and the strict check must
// refuse every one of them.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ez_fixtures.h"
#include "fileio/entropy.h"
#include "tests/support/testutil.h"

using eztest::Bytes;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

struct Outcome {
  bool opened = false;
  Bytes data;
  std::string err;
  bool strictOk = false;
};

Outcome tryFile(const std::string& path, const Bytes& bytes) {
  writeFile(path, bytes);
  Outcome o;
  CaptureStderr();
  FILE* f = fopenEZ(path.c_str(), "rb");
  o.err = GetCapturedStderr();
  if (f) {
    o.opened = true;
    o.data = eztest::readAll(f);
    fclose(f);
  }
  f = fopen(path.c_str(), "rb");
  o.strictOk = checkEZ(f);
  fclose(f);
  return o;
}

Bytes goodContainer(const Bytes& data) {
  std::vector<Bytes> chunks;
  for (size_t at = 0; at < data.size(); at += 32768)
    chunks.push_back(eztest::makeChunk(data.substr(at, 32768)));
  return eztest::makeContainer(chunks);
}

}  // namespace

TEST(EZDamage, EveryTruncationOfAContainerIsSafe) {
  TempDir dir;
  Bytes data = eztest::sampleData(70000, 5);
  Bytes good = goodContainer(data);
  // Every cut in the header and tables, then every 97th byte through the chunks.
  for (size_t len = 2; len < good.size(); len += (len < 64 ? 1 : 97)) {
    Outcome o = tryFile(dir.file("t.ez"), good.substr(0, len));
    EXPECT_TRUE(o.opened) << len;
    EXPECT_LE(o.data.size(), data.size()) << len;
    EXPECT_FALSE(o.strictOk) << len;
    EXPECT_NE(o.err, "") << len;
    // Whatever came out is a prefix of each chunk's true contents.
    if (o.data.size() <= 32768) {
      EXPECT_EQ(o.data, data.substr(0, o.data.size())) << len;
    }
  }
}

TEST(EZDamage, HugeChunkCountIsRefusedWithoutAllocatingForIt) {
  TempDir dir;
  for (uint32_t count : {0xffffffffu, 0x80000000u, 0x10000u, 1000u, 50u}) {
    Bytes b = goodContainer(eztest::sampleData(100));
    eztest::putBE32(b, 2, count);
    Outcome o = tryFile(dir.file("h.ez"), b);
    EXPECT_TRUE(o.opened) << count;
    EXPECT_EQ(o.data, "") << count;
    EXPECT_EQ(o.err, "\n: stdin: invalid compressed data--format violated\n") << count;
    EXPECT_FALSE(o.strictOk) << count;
  }
}

TEST(EZDamage, ChunkTablesPointingOutsideTheFile) {
  TempDir dir;
  Bytes data = eztest::sampleData(40000, 9);
  Bytes good = goodContainer(data);
  for (uint32_t off : {0u, 5u, 0x7fffffffu, 0xffffffffu, static_cast<uint32_t>(good.size()),
                       static_cast<uint32_t>(good.size() - 3)}) {
    Bytes b = good;
    eztest::putBE32(b, 6, off);
    Outcome o = tryFile(dir.file("o.ez"), b);
    EXPECT_TRUE(o.opened);
    EXPECT_FALSE(o.strictOk) << off;
    EXPECT_NE(o.err.find("invalid compressed data"), std::string::npos) << off;
    // The second chunk is unharmed and still arrives behind whatever the first gave.
    EXPECT_LE(o.data.size(), data.size());
    EXPECT_EQ(o.data.substr(o.data.size() - (40000 - 32768)), data.substr(32768)) << off;
  }
}

TEST(EZDamage, ChunkSizesLargerThanTheInputBufferOrAbsurd) {
  TempDir dir;
  Bytes data = eztest::sampleData(40000, 11);
  Bytes good = goodContainer(data);
  for (uint32_t size : {65537u, 100000u, 0x7fffffffu, 0xffffffffu, 0u, 3u}) {
    Bytes b = good;
    eztest::putBE32(b, 6 + 8, size);  // the first chunk's size
    Outcome o = tryFile(dir.file("s.ez"), b);
    EXPECT_TRUE(o.opened);
    EXPECT_FALSE(o.strictOk) << size;
    EXPECT_LE(o.data.size(), data.size()) << size;
    EXPECT_NE(o.err.find("invalid compressed data--format violated"), std::string::npos) << size << o.err;
  }
}

TEST(EZDamage, SizeAboveTheBufferIsReportedEvenWhenTheChunkDecodes) {
  TempDir dir;
  // A chunk sitting in a 70000-byte file whose size entry says 70000: the first 65536 bytes
  // hold the whole chunk, so the bytes arrive, with the report of the size.
  Bytes chunk = eztest::makeChunk("abc");
  Bytes b = eztest::makeContainer({chunk}) + Bytes(70000, '\0');
  eztest::putBE32(b, 6 + 4, 70000);
  Outcome o = tryFile(dir.file("z.ez"), b);
  EXPECT_EQ(o.data, "abc");
  EXPECT_EQ(o.err, "\n: stdin: invalid compressed data--format violated\n");
  EXPECT_FALSE(o.strictOk);
}

TEST(EZDamage, DeterministicByteFlipsNeverCrash) {
  TempDir dir;
  Bytes data = eztest::sampleData(80000, 13);
  Bytes good = goodContainer(data);
  unsigned x = 12345;
  for (int round = 0; round < 300; round++) {
    Bytes b = good;
    int flips = 1 + round % 4;
    for (int k = 0; k < flips; k++) {
      x = x * 1664525u + 1013904223u;
      size_t at = round < 100 ? (x >> 8) % 40 : (x >> 8) % b.size();  // a third aim at the header
      b[at] = static_cast<char>(b[at] ^ (1 + (x >> 24) % 255));
    }
    Outcome o = tryFile(dir.file("f.ez"), b);
    EXPECT_TRUE(o.opened) << round;
    EXPECT_LE(o.data.size(), static_cast<size_t>(3 * 32768)) << round;
  }
}

TEST(EZDamage, RandomGarbageAfterTheMagic) {
  TempDir dir;
  unsigned x = 777;
  for (int round = 0; round < 100; round++) {
    Bytes b = "EZ";
    int len = round * 37 % 3000;
    for (int i = 0; i < len; i++) {
      x = x * 1664525u + 1013904223u;
      b += static_cast<char>(x >> 24);
    }
    Outcome o = tryFile(dir.file("g.ez"), b);
    EXPECT_TRUE(o.opened) << round;
    EXPECT_FALSE(o.strictOk) << round;
  }
}

TEST(EZDamage, ChunkTooShortForItsTrailer) {
  TempDir dir;
  Bytes chunk = eztest::makeChunk("hello there");
  Bytes b = eztest::makeContainer({chunk.substr(0, chunk.size() - 5)});
  Outcome o = tryFile(dir.file("s.ez"), b);
  EXPECT_EQ(o.data, "hello there");
  EXPECT_EQ(o.err, "\n: stdin: invalid compressed data--format violated\n");
  EXPECT_FALSE(o.strictOk);
}
