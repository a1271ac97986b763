// The EZ container: layout, round trips, the lenient reader's reports and the strict check.
#include "fileio/entropy.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "ez_fixtures.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using eztest::Bytes;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

// Packs bytes with WriteDeflateZip into a file and returns the file's contents.
Bytes packToFile(const std::string& path, Bytes data) {
  FILE* f = fopen(path.c_str(), "wb");
  WriteDeflateZip(f, reinterpret_cast<unsigned char*>(data.data()), static_cast<int>(data.size()));
  fclose(f);
  return readFile(path);
}

// Opens a path with fopenEZ and returns everything it delivers; stderr goes to *err.
Bytes openAndRead(const std::string& path, std::string* err = nullptr) {
  CaptureStderr();
  FILE* f = fopenEZ(path.c_str(), "rb");
  std::string e = GetCapturedStderr();
  if (err) *err = e;
  if (!f) return "<null>";
  Bytes out = eztest::readAll(f);
  fclose(f);
  return out;
}

// The container's allocations fail from the n-th on, counting from 1.
void useFailingAllocator(int n) {
  testsupport::failAllocAfter(n - 1);
  setAllocFunc_EZ(testsupport::failingAlloc, free);
}

// A regular expression that matches exactly s, from start to end.
std::string exactRegex(const std::string& s) {
  std::string out = "^";
  for (char c : s) {
    if (strchr("[](){}.*+?^$|\\", c)) out += '\\';
    out += c;
  }
  out += '$';
  return out;
}

struct RestoreAllocator {
  ~RestoreAllocator() {
    setAllocFunc_EZ(malloc, free);
    testsupport::failAllocAfter(-1);
  }
};

}  // namespace

TEST(EZContainer, EmptyInputGivesSixBytesAndExpandsToEmptyStream) {
  TempDir dir;
  Bytes file = packToFile(dir.file("e.ez"), "");
  ASSERT_EQ(file, Bytes("EZ\0\0\0\0", 6));
  std::string err;
  EXPECT_EQ(openAndRead(dir.file("e.ez"), &err), "");
  EXPECT_EQ(err, "");
}

TEST(EZContainer, ExactlyOneChunkAt32768AndTwoAt32769) {
  TempDir dir;
  Bytes one = eztest::sampleData(32768);
  Bytes file = packToFile(dir.file("a.ez"), one);
  EXPECT_EQ(eztest::getBE32(file, 2), 1u);
  EXPECT_EQ(openAndRead(dir.file("a.ez")), one);

  Bytes two = eztest::sampleData(32769);
  file = packToFile(dir.file("b.ez"), two);
  ASSERT_EQ(eztest::getBE32(file, 2), 2u);
  FILE* f = fopen(dir.file("b.ez").c_str(), "rb");
  EZInfo info;
  std::string why;
  ASSERT_TRUE(checkEZ(f, &info, &why)) << why;
  fclose(f);
  ASSERT_EQ(info.chunks.size(), 2u);
  EXPECT_EQ(info.chunks[0].length, 32768u);
  EXPECT_EQ(info.chunks[1].length, 1u);
  EXPECT_EQ(info.chunks[0].offset, 6u + 16u);
  EXPECT_EQ(info.chunks[1].offset, 6u + 16u + info.chunks[0].size);
  EXPECT_EQ(openAndRead(dir.file("b.ez")), two);
}

TEST(EZContainer, LayoutIsBigEndianTablesAndLittleEndianTrailer) {
  TempDir dir;
  Bytes data = eztest::sampleData(70000);
  Bytes file = packToFile(dir.file("l.ez"), data);
  ASSERT_EQ(file.substr(0, 2), "EZ");
  uint32_t n = eztest::getBE32(file, 2);
  ASSERT_EQ(n, 3u);
  uint32_t expectOffset = 6 + 8 * n;
  for (uint32_t i = 0; i < n; i++) {
    uint32_t off = eztest::getBE32(file, 6 + 4 * i);
    uint32_t size = eztest::getBE32(file, 6 + 4 * n + 4 * i);
    EXPECT_EQ(off, expectOffset);
    // The trailer: CRC-32 and the chunk's input length, little-endian.
    size_t inLen = i < 2 ? 32768 : 70000 - 65536;
    Bytes trailer = file.substr(off + size - 8, 8);
    uint32_t len = uint8_t(trailer[4]) | uint8_t(trailer[5]) << 8 | uint8_t(trailer[6]) << 16 |
                   uint32_t(uint8_t(trailer[7])) << 24;
    EXPECT_EQ(len, inLen);
    expectOffset += size;
  }
  EXPECT_EQ(expectOffset, file.size());
}

TEST(EZContainer, FopenEZPassesPlainFilesThrough) {
  TempDir dir;
  writeFile(dir.file("plain.txt"), "hello\nworld\n");
  EXPECT_EQ(openAndRead(dir.file("plain.txt")), "hello\nworld\n");
  // A file shorter than two bytes has nothing to sniff and is a plain file.
  writeFile(dir.file("one"), "E");
  EXPECT_EQ(openAndRead(dir.file("one")), "E");
  writeFile(dir.file("none"), "");
  EXPECT_EQ(openAndRead(dir.file("none")), "");
  EXPECT_EQ(fopenEZ(dir.file("missing").c_str(), "r"), nullptr);
}

TEST(EZContainer, FopenEZIgnoresTheModeForAContainer) {
  TempDir dir;
  Bytes data = eztest::sampleData(1000);
  packToFile(dir.file("m.ez"), data);
  // Even a writing mode gives the expanded contents to read; the container itself is left alone.
  Bytes before = readFile(dir.file("m.ez"));
  FILE* f = fopenEZ(dir.file("m.ez").c_str(), "w");
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(eztest::readAll(f), data);
  fclose(f);
  EXPECT_EQ(readFile(dir.file("m.ez")), before);
}

TEST(EZContainer, TextFileBeginningWithEZIsTakenForAContainerAndFails) {
  TempDir dir;
  writeFile(dir.file("t.txt"), "EZ is the name of this line of plain text.\n");
  std::string err;
  Bytes got = openAndRead(dir.file("t.txt"), &err);
  // The sniffing looks at the two bytes only: the text is not passed through.
  EXPECT_NE(got, "EZ is the name of this line of plain text.\n");
  EXPECT_EQ(got, "");
  EXPECT_EQ(err, "\n: stdin: invalid compressed data--format violated\n");
}

TEST(EZContainer, ContainerInsideAnotherFileHasOffsetsFromTheFileStart) {
  TempDir dir;
  Bytes prefix(100, 'p');
  Bytes data = eztest::sampleData(40000);
  FILE* f = fopen(dir.file("in.bin").c_str(), "w+b");
  fwrite(prefix.data(), 1, prefix.size(), f);
  WriteDeflateZip(f, reinterpret_cast<unsigned char*>(data.data()), static_cast<int>(data.size()));
  fclose(f);
  Bytes whole = readFile(dir.file("in.bin"));
  EXPECT_EQ(eztest::getBE32(whole, 100 + 6), 100u + 6 + 16);

  // Read in place, from position 100: the offsets are right.
  f = fopen(dir.file("in.bin").c_str(), "rb");
  fseek(f, 100, SEEK_SET);
  unsigned char* out = nullptr;
  int size = 0;
  ReadDeflateZip(f, &out, &size);
  fclose(f);
  ASSERT_EQ(size, 40000);
  EXPECT_EQ(Bytes(reinterpret_cast<char*>(out), size), data);
  free(out);

  // Moved to the start of a file of its own, the container points 100 bytes too far.
  writeFile(dir.file("moved.ez"), whole.substr(100));
  std::string err;
  Bytes got = openAndRead(dir.file("moved.ez"), &err);
  EXPECT_NE(got, data);
  EXPECT_NE(err.find("invalid compressed data"), std::string::npos);
}

TEST(EZContainer, ChunkWithWrongCrcReportsAndStillDeliversItsBytes) {
  TempDir dir;
  Bytes data = eztest::sampleData(5000);
  Bytes file = packToFile(dir.file("c.ez"), data);
  uint32_t size = eztest::getBE32(file, 10);
  uint32_t off = eztest::getBE32(file, 6);
  file[off + size - 8] ^= 0x55;  // first CRC byte
  writeFile(dir.file("c.ez"), file);
  std::string err;
  EXPECT_EQ(openAndRead(dir.file("c.ez"), &err), data);
  EXPECT_EQ(err, "\n: stdin: invalid compressed data--crc error\n");
}

TEST(EZContainer, ChunkWithWrongLengthReportsAndStillDeliversItsBytes) {
  TempDir dir;
  Bytes data = eztest::sampleData(5000);
  Bytes file = packToFile(dir.file("c.ez"), data);
  uint32_t size = eztest::getBE32(file, 10);
  uint32_t off = eztest::getBE32(file, 6);
  eztest::putLE32(file, off + size - 4, 4999);
  writeFile(dir.file("c.ez"), file);
  std::string err;
  EXPECT_EQ(openAndRead(dir.file("c.ez"), &err), data);
  EXPECT_EQ(err, "\n: stdin: invalid compressed data--length error\n");
}

TEST(EZContainer, ChunkWithBrokenDataReportsFormatViolation) {
  TempDir dir;
  Bytes good = eztest::makeChunk("first chunk\n");
  Bytes bad = Bytes("\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff", 12);
  writeFile(dir.file("f.ez"), eztest::makeContainer({good, bad}));
  std::string err;
  Bytes got = openAndRead(dir.file("f.ez"), &err);
  // The first chunk still arrives; the second gives what came out of it, nothing here.
  EXPECT_EQ(got.substr(0, 12), "first chunk\n");
  EXPECT_EQ(err, "\n: stdin: invalid compressed data--format violated\n");
}

TEST(EZContainer, ExpandToFileReturnsBytesReadPlusOne) {
  TempDir dir;
  Bytes data = eztest::sampleData(50000);
  Bytes file = packToFile(dir.file("x.ez"), data);
  FILE* in = fopen(dir.file("x.ez").c_str(), "rb");
  FILE* out = fopen(dir.file("x.out").c_str(), "wb");
  int r = ExpandToFile(in, out);
  fclose(in);
  fclose(out);
  EXPECT_EQ(r, static_cast<int>(file.size()) + 1);
  EXPECT_EQ(readFile(dir.file("x.out")), data);
}

TEST(EZContainer, PackFromFileReturnsGrowthOfTheOutput) {
  TempDir dir;
  Bytes data = eztest::sampleData(100000);
  writeFile(dir.file("p.txt"), data);
  FILE* in = fopen(dir.file("p.txt").c_str(), "rb");
  FILE* out = fopen(dir.file("p.ez").c_str(), "wb");
  fwrite("head", 1, 4, out);
  int r = PackFromFile(out, in);
  long end = ftell(out);
  fclose(in);
  fclose(out);
  EXPECT_EQ(r, end - 4);
  Bytes file = readFile(dir.file("p.ez"));
  EXPECT_EQ(file.size(), static_cast<size_t>(r) + 4);
  EXPECT_LT(file.size(), data.size() / 2);  // a text table packs well
  writeFile(dir.file("q.ez"), file.substr(4));
  // Written behind 4 bytes, its offsets count from the file's start; read there it is whole.
  FILE* f = fopen(dir.file("p.ez").c_str(), "rb");
  fseek(f, 4, SEEK_SET);
  unsigned char* got = nullptr;
  int size = 0;
  ReadDeflateZip(f, &got, &size);
  fclose(f);
  EXPECT_EQ(Bytes(reinterpret_cast<char*>(got), size), data);
  free(got);
}

TEST(EZContainer, ReadDeflateZipHandsOutTheFullBlock) {
  TempDir dir;
  Bytes data = eztest::sampleData(40000);
  packToFile(dir.file("r.ez"), data);
  FILE* f = fopen(dir.file("r.ez").c_str(), "rb");
  unsigned char* got = nullptr;
  int size = 0;
  ReadDeflateZip(f, &got, &size);
  fclose(f);
  EXPECT_EQ(size, 40000);
  // The block is chunkCount x 32768 bytes; its last byte can be written.
  got[2 * 32768 - 1] = 1;
  free(got);
}

TEST(EZContainer, EntropyZipAndUnzipRoundTrip) {
  Bytes data = eztest::sampleData(32768, 7);
  std::vector<unsigned char> packed(EZ_INBUF_SIZE), back(EZ_CHUNK_SIZE);
  int packedSize = -1, backSize = -1;
  EXPECT_EQ(entropyZip(reinterpret_cast<unsigned char*>(data.data()), packed.data(), 32768, &packedSize), 0);
  ASSERT_GT(packedSize, 8);
  EXPECT_EQ(Bytes(reinterpret_cast<char*>(packed.data()), packedSize),
            eztest::makeChunk(data).substr(0, packedSize));
  EXPECT_EQ(entropyUnzip(packed.data(), back.data(), packedSize, &backSize), 0);
  EXPECT_EQ(backSize, 32768);
  EXPECT_EQ(Bytes(reinterpret_cast<char*>(back.data()), backSize), data);
}

TEST(EZContainer, EntropyZipReportsAFullOutputWithoutWritingPastIt) {
  Bytes data = eztest::sampleData(1000, 3);
  std::vector<unsigned char> out(40, 0xAB);
  int outSize = -1;
  CaptureStderr();
  int rc = entropyZip(reinterpret_cast<unsigned char*>(data.data()), out.data(), 1000, &outSize, 32);
  EXPECT_EQ(GetCapturedStderr(), "\n: stdin: out of memory\n");
  EXPECT_EQ(rc, 1);
  EXPECT_LE(outSize, 32);
  for (int i = 32; i < 40; i++) EXPECT_EQ(out[i], 0xAB);
}

TEST(EZContainer, CompressorWithoutMemoryReportsInsufficientMemory) {
  RestoreAllocator restore;
  Bytes data = "some bytes";
  std::vector<unsigned char> out(100);
  int outSize = -1;
  useFailingAllocator(1);
  CaptureStderr();
  int rc = entropyZip(reinterpret_cast<unsigned char*>(data.data()), out.data(), 10, &outSize);
  EXPECT_EQ(GetCapturedStderr(), "\n: stdin: insufficient memory\n\n");
  EXPECT_EQ(rc, 1);
}

TEST(EZContainer, ExpanderWithoutMemoryReportsOutOfMemory) {
  RestoreAllocator restore;
  Bytes chunk = eztest::makeChunk("some bytes");
  std::vector<unsigned char> out(EZ_CHUNK_SIZE);
  int outSize = -1;
  useFailingAllocator(1);
  CaptureStderr();
  int rc = entropyUnzip(reinterpret_cast<unsigned char*>(chunk.data()), out.data(),
                        static_cast<int>(chunk.size()), &outSize);
  EXPECT_EQ(GetCapturedStderr(), "\n: stdin: out of memory\n");
  EXPECT_EQ(rc, 1);
  EXPECT_EQ(outSize, 0);
}

TEST(EZContainer, ChunkThatExpandsPastItsRoomIsCutAtIt) {
  TempDir dir;
  Bytes big(40000, 'z');
  writeFile(dir.file("big.ez"), eztest::makeContainer({eztest::makeChunk(big)}));
  std::string err;
  Bytes got = openAndRead(dir.file("big.ez"), &err);
  EXPECT_EQ(got, Bytes(32768, 'z'));
  EXPECT_EQ(err, "\n: stdin: invalid compressed data--format violated\n");
}

TEST(EZContainerDeath, WrongMagicEndsTheProcess) {
  TempDir dir;
  writeFile(dir.file("n.bin"), "NOT A CONTAINER");
  EXPECT_EXIT(
      {
        FILE* f = fopen(dir.file("n.bin").c_str(), "rb");
        unsigned char* d;
        int s;
        ReadDeflateZip(f, &d, &s);
      },
      testing::ExitedWithCode(1), exactRegex("[ReadDeflateZip]: input file is not in our zip file format\n"));
}

TEST(EZContainerDeath, ReaderAllocationFailuresEndTheProcess) {
  TempDir dir;
  Bytes data = eztest::sampleData(100);
  packToFile(dir.file("a.ez"), data);
  const char* messages[] = {
      "[ReadDeflateZip]: No memory for inbuf\n", "[ReadDeflateZip]: no memory for offset table\n",
      "[ReadDeflateZip]: no memory for chrunksize table\n", "[ReadDeflateZip]: No memory for outbuf\n"};
  for (int n = 1; n <= 4; n++) {
    EXPECT_EXIT(
        {
          FILE* f = fopen(dir.file("a.ez").c_str(), "rb");
          useFailingAllocator(n);
          unsigned char* d;
          int s;
          ReadDeflateZip(f, &d, &s);
        },
        testing::ExitedWithCode(1), exactRegex(messages[n - 1]))
        << n;
  }
}

TEST(EZContainerDeath, WriterAllocationFailuresEndTheProcess) {
  TempDir dir;
  const char* messages[] = {"[WriteDeflateZip]: Not enough memory.\n",
                            "[WriteDeflateZip]: no memory for offset table\n",
                            "[WriteDeflateZip]: no memory for chrunk size table\n"};
  for (int n = 1; n <= 3; n++) {
    EXPECT_EXIT(
        {
          FILE* f = fopen(dir.file("w.ez").c_str(), "wb");
          std::vector<unsigned char> data(10, 1);
          useFailingAllocator(n);
          WriteDeflateZip(f, data.data(), 10);
        },
        testing::ExitedWithCode(1), exactRegex(messages[n - 1]))
        << n;
  }
}

TEST(EZContainerDeath, PackFromFileAllocationFailureEndsTheProcess) {
  TempDir dir;
  writeFile(dir.file("in.txt"), "abc");
  EXPECT_EXIT(
      {
        FILE* in = fopen(dir.file("in.txt").c_str(), "rb");
        FILE* out = fopen(dir.file("out.ez").c_str(), "wb");
        useFailingAllocator(1);
        PackFromFile(out, in);
      },
      testing::ExitedWithCode(1), exactRegex("[PackFromFile]: no memory for zipping\n"));
}

TEST(EZCheck, AcceptsSoundContainersAndRestoresThePosition) {
  TempDir dir;
  for (size_t size : {0u, 1u, 32768u, 100000u}) {
    Bytes data = eztest::sampleData(size);
    packToFile(dir.file("s.ez"), data);
    FILE* f = fopen(dir.file("s.ez").c_str(), "rb");
    EZInfo info;
    std::string why;
    EXPECT_TRUE(checkEZ(f, &info, &why)) << size << ": " << why;
    EXPECT_EQ(ftell(f), 0);
    EXPECT_EQ(info.expandedSize, static_cast<long>(size));
    EXPECT_EQ(info.chunkCount, (size + 32767) / 32768);
    fclose(f);
  }
}

TEST(EZCheck, RefusesEachKindOfDamage) {
  TempDir dir;
  Bytes data = eztest::sampleData(70000);
  Bytes good = packToFile(dir.file("g.ez"), data);
  uint32_t off0 = eztest::getBE32(good, 6);
  uint32_t size0 = eztest::getBE32(good, 6 + 12);
  struct Case {
    const char* name;
    Bytes bytes;
    const char* reason;
  };
  std::vector<Case> cases;
  cases.push_back({"magic", "XY" + good.substr(2), "not an EZ container"});
  cases.push_back({"short header", good.substr(0, 4), "truncated header"});
  Bytes huge = good;
  eztest::putBE32(huge, 2, 0x7fffffff);
  cases.push_back({"huge count", huge, "needs tables longer than the file"});
  cases.push_back({"truncated", good.substr(0, good.size() - 10), "lie outside the file"});
  Bytes outside = good;
  eztest::putBE32(outside, 6, 1000000);
  cases.push_back({"offset outside", outside, "lie outside the file"});
  Bytes toobig = good;
  eztest::putBE32(toobig, 6 + 12, 70000);
  cases.push_back({"size too big", toobig, "lie outside the file"});
  Bytes crc = good;
  crc[off0 + size0 - 8] ^= 1;
  cases.push_back({"crc", crc, "chunk 1 of 3: CRC error"});
  Bytes len = good;
  eztest::putLE32(len, off0 + size0 - 4, 32767);
  cases.push_back({"length", len, "chunk 1 of 3: length error"});
  Bytes flipped = good;
  flipped[off0 + 5] ^= 0xff;
  cases.push_back({"data", flipped, "chunk 1 of 3"});
  // A chunk of one byte in the middle: sound as a chunk, wrong as a container.
  cases.push_back({"short middle chunk",
                   eztest::makeContainer({eztest::makeChunk("x"), eztest::makeChunk("y")}), "holds 1 bytes"});
  for (const Case& c : cases) {
    writeFile(dir.file("d.ez"), c.bytes);
    FILE* f = fopen(dir.file("d.ez").c_str(), "rb");
    std::string why;
    EXPECT_FALSE(checkEZ(f, nullptr, &why)) << c.name;
    EXPECT_NE(why.find(c.reason), std::string::npos) << c.name << ": " << why;
    EXPECT_EQ(ftell(f), 0) << c.name;
    fclose(f);
  }
}

// The streaming expansion delivers, byte for byte and message for message, what the whole-block
// reader delivers: on sound containers and on each kind of damage the lenient reader lives with.
TEST(EZContainer, ExpandToFileDeliversWhatReadDeflateZipDelivers) {
  TempDir dir;
  Bytes data = eztest::sampleData(100000);
  Bytes good = packToFile(dir.file("g.ez"), data);
  uint32_t n = eztest::getBE32(good, 2);
  ASSERT_EQ(n, 4u);
  uint32_t off1 = eztest::getBE32(good, 6 + 4);
  uint32_t size1 = eztest::getBE32(good, 6 + 4 * n + 4);
  std::vector<std::pair<std::string, Bytes>> cases;
  cases.push_back({"sound", good});
  cases.push_back({"empty", Bytes("EZ\0\0\0\0", 6)});
  Bytes crc = good;
  crc[off1 + size1 - 8] ^= 1;
  cases.push_back({"crc of the second chunk", crc});
  Bytes flipped = good;
  flipped[off1 + 3] ^= 0xff;
  cases.push_back({"data of the second chunk", flipped});
  Bytes outside = good;
  eztest::putBE32(outside, 6 + 4, 0x7fffffff);
  cases.push_back({"second offset outside", outside});
  Bytes oversize = good;
  eztest::putBE32(oversize, 6 + 4 * n + 4, 70000);
  cases.push_back({"second size above the buffer", oversize});
  Bytes huge = good;
  eztest::putBE32(huge, 2, 0xfffffff0u);
  cases.push_back({"huge count", huge});
  cases.push_back({"truncated", good.substr(0, good.size() - 100)});
  cases.push_back({"expands past its room", eztest::makeContainer({eztest::makeChunk(Bytes(40000, 'z')),
                                                                   eztest::makeChunk("tail")})});
  for (auto& [name, bytes] : cases) {
    writeFile(dir.file("c.ez"), bytes);
    FILE* in = fopen(dir.file("c.ez").c_str(), "rb");
    unsigned char* block = nullptr;
    int size = -1;
    CaptureStderr();
    ReadDeflateZip(in, &block, &size);
    std::string wantErr = GetCapturedStderr();
    Bytes want(reinterpret_cast<char*>(block), static_cast<size_t>(size));
    long wantPos = ftell(in);
    free(block);
    rewind(in);
    FILE* out = tmpfile();
    CaptureStderr();
    int r = ExpandToFile(in, out);
    std::string gotErr = GetCapturedStderr();
    EXPECT_EQ(r, wantPos + 1) << name;
    rewind(out);
    EXPECT_EQ(eztest::readAll(out), want) << name;
    EXPECT_EQ(gotErr, wantErr) << name;
    fclose(out);
    fclose(in);
  }
}

TEST(EZCheck, ExpandCheckedWritesTheSoundContainerAndStopsAtTheFirstFault) {
  TempDir dir;
  Bytes data = eztest::sampleData(100000);
  Bytes good = packToFile(dir.file("g.ez"), data);
  uint32_t n = eztest::getBE32(good, 2);
  uint32_t off2 = eztest::getBE32(good, 6 + 8);
  uint32_t size2 = eztest::getBE32(good, 6 + 4 * n + 8);
  for (int damaged = 0; damaged < 2; damaged++) {
    Bytes bytes = good;
    if (damaged) bytes[off2 + size2 - 8] ^= 1;  // the third chunk's CRC
    writeFile(dir.file("c.ez"), bytes);
    FILE* in = fopen(dir.file("c.ez").c_str(), "rb");
    FILE* out = tmpfile();
    EZInfo info, checked;
    std::string why, checkWhy;
    bool sound = expandCheckedEZ(in, out, &info, &why);
    EXPECT_EQ(ftell(in), 0);
    bool checkSound = checkEZ(in, &checked, &checkWhy);
    EXPECT_EQ(sound, !damaged);
    EXPECT_EQ(sound, checkSound);
    EXPECT_EQ(why, checkWhy);
    EXPECT_EQ(info.expandedSize, checked.expandedSize);
    rewind(out);
    Bytes written = eztest::readAll(out);
    if (damaged) {
      EXPECT_EQ(why, "chunk 3 of 4: CRC error");
      EXPECT_EQ(written, data.substr(0, 2 * EZ_CHUNK_SIZE));  // the chunks before the fault
    } else {
      EXPECT_EQ(written, data);
      EXPECT_EQ(info.expandedSize, 100000);
    }
    fclose(out);
    fclose(in);
  }
}
