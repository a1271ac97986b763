// Hostile sizes in the container and image readers: a chunk offset at the top of the int range,
// image headers of a few bytes asking for gigabytes, and the byte count of an SGI image past
// what an int holds. Each file is written here byte for byte; nothing may be allocated for a
// size the file can't hold, and every refusal has its message.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ez_fixtures.h"
#include "fileio/entropy.h"
#include "fileio/sgi.h"
#include "tests/support/testutil.h"

using eztest::Bytes;
using testsupport::stderrOf;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

// How much shorter than its pixels an image file may be and still be read.
constexpr long kAllowance = 1L << 20;
constexpr long kSGIHeader = 512;
constexpr int kFirstChunk = 0;  // the chunk whose offset a case damages

const char* kFormatViolated = "\n: stdin: invalid compressed data--format violated\n";

Bytes be16(unsigned v) {
  return Bytes{static_cast<char>(v >> 8), static_cast<char>(v & 0xff)};
}
Bytes be32(unsigned v) {
  return be16(v >> 16) + be16(v & 0xffff);
}

// The 12 bytes that an SGI reader looks at: magic, type, dim, xsize, ysize, zsize.
Bytes sgiHead(unsigned x, unsigned y, unsigned z, bool rle) {
  return be16(474) + be16(rle ? 0x0101 : 0x0001) + be16(3) + be16(x) + be16(y) + be16(z);
}

Bytes sgiHeader(unsigned x, unsigned y, unsigned z, bool rle) {
  Bytes h = sgiHead(x, y, z, rle);
  return h + Bytes(kSGIHeader - h.size(), '\0');
}

// The pixel allocator of the texture readers, recording each size asked for. Sizes up to
// kGrant are granted; anything larger is refused, so that a test can see a size asked for
// without the memory being taken.
constexpr size_t kGrant = 64u << 20;
std::vector<size_t> asked;
void* recordingAlloc(size_t bytes) {
  asked.push_back(bytes);
  return bytes <= kGrant ? malloc(bytes) : nullptr;
}

struct RecordingScope {
  RecordingScope() {
    asked.clear();
    setAllocFunc_SGI(recordingAlloc, free);
  }
  ~RecordingScope() { setAllocFunc_SGI(malloc, free); }
};

// Expands a container through ExpandToFile, with what it printed and what it returned.
struct Expanded {
  int result = 0;
  Bytes data;
  std::string err;
};

Expanded expand(const std::string& path) {
  Expanded e;
  FILE* in = fopen(path.c_str(), "rb");
  FILE* out = tmpfile();
  e.err = stderrOf([&] { e.result = ExpandToFile(in, out); });
  rewind(out);
  e.data = eztest::readAll(out);
  fclose(out);
  fclose(in);
  return e;
}

}  // namespace

// ---- EZ container ----

TEST(HostileEZ, GoodContainerExpandsAndCountsItsBytesPlusOne) {
  TempDir dir;
  Bytes data = eztest::sampleData(40000, 3);
  Bytes b = eztest::makeContainer(
      {eztest::makeChunk(data.substr(0, 32768)), eztest::makeChunk(data.substr(32768))});
  writeFile(dir.file("g.ez"), b);
  Expanded e = expand(dir.file("g.ez"));
  EXPECT_EQ(e.data, data);
  EXPECT_EQ(e.err, "");
  EXPECT_EQ(e.result, static_cast<int>(b.size()) + 1);
}

TEST(HostileEZ, ChunkOffsetsAtOrPastTheEndAreRefusedWithoutSeekingThere) {
  TempDir dir;
  Bytes chunk = eztest::makeChunk("hostile");
  Bytes good = eztest::makeContainer({chunk});
  constexpr int kTables = 6 + 8;  // magic, count, one offset, one size
  const uint32_t size = static_cast<uint32_t>(good.size());
  struct Case {
    uint32_t offset;
    int result;  // what ExpandToFile counts: the bytes read, plus 1
  } cases[] = {
      // 0x7fffffff was sought and counted: ftell of it plus 1 passed what an int holds.
      {0x7fffffffu, kTables + 1},
      {0x80000000u, kTables + 1},
      {0xffffffffu, kTables + 1},
      {size, kTables + 1},
      {size + 1, kTables + 1},
      // One byte inside the file is still read, and fails to inflate.
      {size - 1, static_cast<int>(size) + 1},
  };
  for (const Case& c : cases) {
    Bytes b = good;
    eztest::putBE32(b, 6 + 4 * kFirstChunk, c.offset);
    writeFile(dir.file("o.ez"), b);
    Expanded e = expand(dir.file("o.ez"));
    EXPECT_EQ(e.result, c.result) << c.offset;
    EXPECT_EQ(e.data, "") << c.offset;
    EXPECT_EQ(e.err, kFormatViolated) << c.offset;
    // Through fopenEZ, as every reader opens its file: an empty stream and the one report.
    FILE* f = nullptr;
    std::string err = stderrOf([&] { f = fopenEZ(dir.file("o.ez").c_str(), "r"); });
    ASSERT_NE(f, nullptr) << c.offset;
    EXPECT_EQ(eztest::readAll(f), "") << c.offset;
    EXPECT_EQ(err, kFormatViolated) << c.offset;
    fclose(f);
  }
}

TEST(HostileEZ, LastChunkAtTheTopOfTheIntRangeLeavesTheFirstChunkDelivered) {
  TempDir dir;
  Bytes data = eztest::sampleData(33000, 4);
  Bytes first = eztest::makeChunk(data.substr(0, 32768));
  Bytes b = eztest::makeContainer({first, eztest::makeChunk(data.substr(32768))});
  eztest::putBE32(b, 6 + 4, 0x7fffffffu);  // the second chunk's offset
  writeFile(dir.file("l.ez"), b);
  Expanded e = expand(dir.file("l.ez"));
  EXPECT_EQ(e.data, data.substr(0, 32768));
  EXPECT_EQ(e.err, kFormatViolated);
  // The stream stands behind the first chunk, which is where reading stopped.
  EXPECT_EQ(e.result, 6 + 16 + static_cast<int>(first.size()) + 1);
}

// ---- SGI ----

TEST(HostileSGI, TwelveByteHeadersAskingForGigabytesAreRefusedBeforeAnyAllocation) {
  TempDir dir;
  struct Case {
    unsigned x, y, z;
    bool rle;
    std::string message;  // with PATH for the file's name
  } cases[] = {
      // 8192 x 8192 x 4 from 12 bytes was cleared and handed out: 268 MB.
      {8192, 8192, 4, false, "ImageOpen : Size 8192 x 8192 x 4 is larger than the file [PATH]!\n"},
      // 65535 in every field: 17 GB asked for by read_texture, an int overflow in read_sgi.
      {65535, 65535, 65535, false,
       "ImageOpen : Size 65535 x 65535 x 65535 is larger than the file [PATH]!\n"},
      // Run-length: the tables were allocated from the header before the file was seen to hold them.
      {8192, 8192, 4, true, "ImageOpen : Row tables of 8192 x 4 entries are larger than the file [PATH]!\n"},
      {65535, 65535, 65535, true,
       "ImageOpen : Row tables of 65535 x 65535 entries are larger than the file [PATH]!\n"},
  };
  for (const Case& c : cases) {
    std::string path = dir.file("h.sgi");
    writeFile(path, sgiHead(c.x, c.y, c.z, c.rle));
    std::string want = c.message;
    want.replace(want.find("PATH"), 4, path);
    RecordingScope rec;
    int w = -1, h = -1, ch = -1;
    unsigned char* px = reinterpret_cast<unsigned char*>(1);
    EXPECT_EQ(stderrOf([&] { px = read_sgi(path.c_str(), &w, &h, &ch); }), want) << c.x;
    EXPECT_EQ(px, nullptr);
    EXPECT_EQ(stderrOf([&] { px = read_texture(path.c_str(), &w, &h, &ch); }), want) << c.x;
    EXPECT_EQ(px, nullptr);
    ImageRec* img = reinterpret_cast<ImageRec*>(1);
    EXPECT_EQ(stderrOf([&] { img = ImageOpen(path.c_str()); }), want);
    EXPECT_EQ(img, nullptr);
    EXPECT_TRUE(asked.empty()) << c.x;
    // The sizes are never handed out: the header was refused before they were read into them.
    EXPECT_EQ(w, -1);
    EXPECT_EQ(h, -1);
    EXPECT_EQ(ch, -1);
  }
}

TEST(HostileSGI, VerbatimFileShortByTheAllowanceIsReadAndOneByteMoreIsRefused) {
  TempDir dir;
  // Headers with no pixels at all: 1024 x 1024 x 1 is short by exactly the allowance.
  // 17 x 61681 is one sample more (1048577 = 17 x 61681).
  std::string path = dir.file("a.sgi");
  writeFile(path, sgiHeader(1024, 1024, 1, false));
  RecordingScope rec;
  int w = 0, h = 0, c = 0;
  unsigned char* px = nullptr;
  EXPECT_EQ(stderrOf([&] { px = read_sgi(path.c_str(), &w, &h, &c); }), "");
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(w, 1024);
  EXPECT_EQ(h, 1024);
  EXPECT_EQ(px[0], 0);
  EXPECT_EQ(px[1024 * 1024 - 1], 0);
  free(px);
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0], static_cast<size_t>(kAllowance));

  writeFile(path, sgiHeader(17, 61681, 1, false));
  asked.clear();
  EXPECT_EQ(stderrOf([&] { px = read_sgi(path.c_str(), &w, &h, &c); }),
            "ImageOpen : Size 17 x 61681 x 1 is larger than the file [" + path + "]!\n");
  EXPECT_EQ(px, nullptr);
  EXPECT_TRUE(asked.empty());

  // A file that is merely a little short keeps the old way: the bytes that are there arrive.
  writeFile(path, sgiHeader(4, 2, 1, false) + "abcde");
  EXPECT_EQ(stderrOf([&] { px = read_sgi(path.c_str(), &w, &h, &c); }), "");
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(px), 5), "abcde");
  free(px);
}

TEST(HostileSGI, RunLengthFileMustHoldEnoughPacketsForItsSamples) {
  TempDir dir;
  std::string path = dir.file("r.sgi");
  // One row of 65535 samples with its tables and one packet: 127 samples per two bytes of
  // packets is the most a row can give, so the claim is refused beyond the allowance.
  writeFile(path, sgiHeader(65535, 20, 1, true) + Bytes(8 * 20, '\0') + Bytes("\x05q\0", 3));
  RecordingScope rec;
  int w = 0, h = 0, c = 0;
  unsigned char* px = nullptr;
  // 65535 x 20 samples are 1310700, past the allowance of 1048576 and what 3 bytes give.
  EXPECT_EQ(stderrOf([&] { px = read_sgi(path.c_str(), &w, &h, &c); }),
            "ImageOpen : Size 65535 x 20 x 1 is larger than the file [" + path + "]!\n");
  EXPECT_EQ(px, nullptr);
  EXPECT_TRUE(asked.empty());
  // With 16 rows (1048560 samples) the same file is within the allowance and is read: the row
  // tables at 512 give row 0 its packet, the other rows point at offset 0 and size 0.
  Bytes t16 = be32(kSGIHeader + 8 * 16);
  Bytes starts = t16 + Bytes(4 * 15, '\0');
  Bytes sizes = be32(3) + Bytes(4 * 15, '\0');
  writeFile(path, sgiHeader(65535, 16, 1, true) + starts + sizes + Bytes("\x05q\0", 3));
  EXPECT_EQ(stderrOf([&] { px = read_sgi(path.c_str(), &w, &h, &c); }), "");
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(px), 6), std::string("qqqqq\0", 6));
  free(px);
}

TEST(HostileSGI, ByteCountOfZsizeTimesXsizePastAnIntIsAskedForWhole) {
  TempDir dir;
  // 65535 x 1 x 65535 run-length: tables of 65535 entries each and, behind them, enough room
  // (a sparse tail) for the packets of 65535 x 65535 samples. read_sgi's byte count is
  // 4294836225, past an int: it used to wrap. The allocator, refusing it, must see it whole.
  std::string path = dir.file("z.sgi");
  const unsigned kX = 65535, kZ = 65535;
  Bytes head = sgiHeader(kX, 1, kZ, true);
  writeFile(path, head);
  const unsigned long long samples = static_cast<unsigned long long>(kX) * kZ;
  const long long length = kSGIHeader + 8LL * kZ + static_cast<long long>(samples * 2 / 127) + 2;
  ASSERT_EQ(truncate(path.c_str(), length), 0);
  RecordingScope rec;
  int w = 0, h = 0, c = 0;
  unsigned char* px = reinterpret_cast<unsigned char*>(1);
  EXPECT_EQ(stderrOf([&] { px = read_sgi(path.c_str(), &w, &h, &c); }), "");
  EXPECT_EQ(px, nullptr);
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0], static_cast<size_t>(samples));
  EXPECT_EQ(w, 65535);
  EXPECT_EQ(c, 65535);
  // read_texture asks for four bytes a pixel, whatever the planes, and reads the rows, which
  // the zero tables leave empty.
  asked.clear();
  px = read_texture(path.c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0], static_cast<size_t>(4) * kX);
  EXPECT_EQ(px[0], 0);
  free(px);
}

// ---- read_pnm ----

TEST(HostilePNM, NineteenByteHeaderAskingFor805MBIsRefusedBeforeAnyAllocation) {
  TempDir dir;
  std::string path = dir.file("h.ppm");
  Bytes header = "P6\n16384 16384\n255\n";
  ASSERT_EQ(header.size(), 19u);
  writeFile(path, header);
  RecordingScope rec;
  int w = 0, h = 0, c = 0;
  unsigned char* px = reinterpret_cast<unsigned char*>(1);
  std::string want = "read_pnm : Size 16384 x 16384 x 3 is larger than the file [" + path + "]!\n";
  EXPECT_EQ(stderrOf([&] { px = read_pnm(path.c_str(), &w, &h, &c); }), want);
  EXPECT_EQ(px, nullptr);
  EXPECT_TRUE(asked.empty());
  // Into the caller's buffer: refused the same, and the buffer is untouched.
  unsigned char buf[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(stderrOf([&] { px = read_pnm_tobuf(path.c_str(), &w, &h, &c, buf); }), want);
  EXPECT_EQ(px, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buf), 4), "----");
}

TEST(HostilePNM, ShortfallUpToTheAllowanceIsReadAndOneByteMoreIsRefused) {
  TempDir dir;
  std::string path = dir.file("s.pgm");
  struct Case {
    long width;
    Bytes pixels;
    bool read;
  } cases[] = {
      {kAllowance, "", true},
      {kAllowance + 1, "", false},
      {kAllowance + 3, "abc", true},
      {kAllowance + 4, "abc", false},
      // 70000 x 70000 x 3 passes an int as well as the file.
      {70000, "", false},
  };
  for (const Case& k : cases) {
    long height = k.width == 70000 ? 70000 : 1;
    int comps = k.width == 70000 ? 3 : 1;
    Bytes text = std::string(comps == 3 ? "P6" : "P5") + "\n" + std::to_string(k.width) + " " +
                 std::to_string(height) + "\n255\n" + k.pixels;
    writeFile(path, text);
    RecordingScope rec;
    int w = 0, h = 0, c = 0;
    unsigned char* px = nullptr;
    std::string err = stderrOf([&] { px = read_pnm(path.c_str(), &w, &h, &c); });
    if (k.read) {
      EXPECT_EQ(err, "") << k.width;
      ASSERT_NE(px, nullptr) << k.width;
      EXPECT_EQ(std::string(reinterpret_cast<char*>(px), k.pixels.size()), k.pixels);
      ASSERT_EQ(asked.size(), 1u);
      EXPECT_EQ(asked[0], static_cast<size_t>(k.width));
      free(px);
    } else {
      EXPECT_EQ(err, "read_pnm : Size " + std::to_string(k.width) + " x " + std::to_string(height) + " x " +
                         std::to_string(comps) + " is larger than the file [" + path + "]!\n")
          << k.width;
      EXPECT_EQ(px, nullptr) << k.width;
      EXPECT_TRUE(asked.empty()) << k.width;
    }
  }
}

TEST(HostilePNM, EZPackedHeaderIsMeasuredByItsExpandedLength) {
  TempDir dir;
  // The stream of an EZ file is its expanded text: a packed 19-byte header is refused as the
  // plain one, and a packed full image is read.
  std::string path = dir.file("p.ppm");
  Bytes header = "P6\n16384 16384\n255\n";
  writeFile(path, eztest::makeContainer({eztest::makeChunk(header)}));
  int w = 0, h = 0, c = 0;
  unsigned char* px = reinterpret_cast<unsigned char*>(1);
  EXPECT_EQ(stderrOf([&] { px = read_pnm(path.c_str(), &w, &h, &c); }),
            "read_pnm : Size 16384 x 16384 x 3 is larger than the file [" + path + "]!\n");
  EXPECT_EQ(px, nullptr);
  writeFile(path, eztest::makeContainer({eztest::makeChunk("P6\n1 2\n255\nabcdef")}));
  px = read_pnm(path.c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(px), 6), "abcdef");
  free(px);
}
