// Byte order and stream routines.
#include "fileio/common.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "tests/support/testutil.h"

using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

TEST(Common, SwapByteReversesEachElement) {
  unsigned char b[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  SwapByte(b, 4, 2);
  EXPECT_EQ(std::vector<unsigned char>(b, b + 8), (std::vector<unsigned char>{4, 3, 2, 1, 8, 7, 6, 5}));
  SwapByte(b, 8, 1);
  EXPECT_EQ(std::vector<unsigned char>(b, b + 8), (std::vector<unsigned char>{5, 6, 7, 8, 1, 2, 3, 4}));
  SwapByte(b, 3, 1);
  EXPECT_EQ(std::vector<unsigned char>(b, b + 3), (std::vector<unsigned char>{7, 6, 5}));
  SwapByte(b, 1, 8);  // one byte an element: untouched
  EXPECT_EQ(b[0], 7);
}

TEST(Common, CpFwriteWritesBigEndianAndLeavesTheBufferUnchanged) {
  TempDir dir;
  uint32_t v[2] = {0x11223344u, 0xA0B0C0D0u};
  FILE* f = fopen(dir.file("w").c_str(), "wb");
  EXPECT_EQ(cp_fwrite(v, 4, 2, f), 2u);
  fclose(f);
  EXPECT_EQ(v[0], 0x11223344u);
  EXPECT_EQ(v[1], 0xA0B0C0D0u);
  EXPECT_EQ(readFile(dir.file("w")), std::string("\x11\x22\x33\x44\xA0\xB0\xC0\xD0", 8));
  uint16_t s = 0x0102;
  f = fopen(dir.file("s").c_str(), "wb");
  cp_fwrite(&s, 2, 1, f);
  fclose(f);
  EXPECT_EQ(readFile(dir.file("s")), std::string("\x01\x02", 2));
  EXPECT_EQ(s, 0x0102);
}

TEST(Common, CpFreadTurnsOnlyTheElementsReallyRead) {
  TempDir dir;
  writeFile(dir.file("r"), std::string("\x00\x00\x01\x02\x0A\x0B", 6));  // one and a half elements
  uint32_t v[2] = {0xDEADBEEFu, 0xCAFEF00Du};
  FILE* f = fopen(dir.file("r").c_str(), "rb");
  EXPECT_EQ(cp_fread(v, 4, 2, f), 1u);
  fclose(f);
  EXPECT_EQ(v[0], 0x00000102u);
  // The partial second element is as fread left it, not turned.
  unsigned char tail[2];
  memcpy(tail, &v[1], 2);
  EXPECT_EQ(tail[0], 0x0A);
  EXPECT_EQ(tail[1], 0x0B);
}

TEST(Common, CpFreadOfBytesPassesThrough) {
  TempDir dir;
  writeFile(dir.file("b"), "abc");
  char buf[4] = {0};
  FILE* f = fopen(dir.file("b").c_str(), "rb");
  EXPECT_EQ(cp_fread(buf, 1, 3, f), 3u);
  fclose(f);
  EXPECT_STREQ(buf, "abc");
}

TEST(CommonDeath, SizeZeroEndsTheProcess) {
  TempDir dir;
  writeFile(dir.file("b"), "abc");
  EXPECT_EXIT(
      {
        char buf[4];
        FILE* f = fopen(dir.file("b").c_str(), "rb");
        cp_fread(buf, 0, 3, f);
      },
      testing::ExitedWithCode(1), "^\\[cp_fread\\]: fread size < 1\n$");
  EXPECT_EXIT(
      {
        char buf[4] = "abc";
        FILE* f = fopen(dir.file("c").c_str(), "wb");
        cp_fwrite(buf, 0, 3, f);
      },
      testing::ExitedWithCode(1), "^\\[cp_fwrite\\]: fwrite size < 1\n$");
}

TEST(Common, GetFileSizeKeepsThePosition) {
  TempDir dir;
  writeFile(dir.file("f"), std::string(1234, 'x'));
  FILE* f = fopen(dir.file("f").c_str(), "rb");
  fseek(f, 100, SEEK_SET);
  EXPECT_EQ(getFileSize(f), 1234);
  EXPECT_EQ(ftell(f), 100);
  fclose(f);
}

TEST(Common, GetFileSizeOfAPipeIsMinusOne) {
  FILE* p = popen("echo hi", "r");
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(getFileSize(p), -1);
  pclose(p);
}
