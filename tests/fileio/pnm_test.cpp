// PNM, PFM and PDM images.
#include "fileio/pnm.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;
using testsupport::readFile;
using testsupport::run;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

std::string bytes(const unsigned char* p, size_t n) {
  return std::string(reinterpret_cast<const char*>(p), n);
}

}  // namespace

TEST(PNMWrite, P6TwoByTwoGivesThreeLinesAndTwelveBytes) {
  TempDir dir;
  unsigned char px[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  EXPECT_EQ(writePNM(dir.file("a.pnm").c_str(), "P6", 2, 2, 255, px), 1);
  EXPECT_EQ(readFile(dir.file("a.pnm")), "P6\n2 2\n255\n" + bytes(px, 12));
}

TEST(PNMWrite, P5Grey) {
  TempDir dir;
  unsigned char px[6] = {0, 50, 100, 150, 200, 250};
  EXPECT_EQ(writePNM(dir.file("g.pnm").c_str(), "P5", 3, 2, 255, px), 1);
  EXPECT_EQ(readFile(dir.file("g.pnm")), "P5\n3 2\n255\n" + bytes(px, 6));
}

TEST(PNMWrite, WrongTypeLeavesAStubOfThreeLines) {
  TempDir dir;
  unsigned char px[4] = {0};
  CaptureStdout();
  EXPECT_EQ(writePNM(dir.file("b.pnm").c_str(), "P4", 2, 2, 255, px), -1);
  EXPECT_EQ(GetCapturedStdout(), "writePNM : Wrong Type! Must be P6 or P5!\n");
  EXPECT_EQ(readFile(dir.file("b.pnm")), "P4\n2 2\n255\n");
}

TEST(PNMWrite, WrongTypeForPFMAndPDMLeavesTwoLines) {
  TempDir dir;
  float f = 1;
  double d = 1;
  CaptureStdout();
  EXPECT_EQ(writePFM(dir.file("b.pfm").c_str(), "PD", 1, 1, 1.0f, &f), -1);
  EXPECT_EQ(GetCapturedStdout(), "writePFM : Wrong Type! Must be PF!\n");
  EXPECT_EQ(readFile(dir.file("b.pfm")), "PD\n1 1\n");
  CaptureStdout();
  EXPECT_EQ(writePDM(dir.file("b.pdm").c_str(), "PF", 1, 1, 1.0, &d), -1);
  EXPECT_EQ(GetCapturedStdout(), "writePDM : Wrong Type! Must be PD!\n");
  EXPECT_EQ(readFile(dir.file("b.pdm")), "PF\n1 1\n");
}

TEST(PNMWrite, CantOpenFile) {
  unsigned char px[3] = {0};
  float f = 0;
  double d = 0;
  CaptureStdout();
  EXPECT_EQ(writePNM("/no/such/dir/x.pnm", "P6", 1, 1, 255, px), -1);
  EXPECT_EQ(writePFM("/no/such/dir/x.pfm", "PF", 1, 1, 1.0f, &f), -1);
  EXPECT_EQ(writePDM("/no/such/dir/x.pdm", "PD", 1, 1, 1.0, &d), -1);
  EXPECT_EQ(GetCapturedStdout(),
            "Can't open file [/no/such/dir/x.pnm]!\nCan't open file [/no/such/dir/x.pfm]!\n"
            "Can't open file [/no/such/dir/x.pdm]!\n");
}

TEST(PNMWrite, PFMScaleLineAndBigEndianFloats) {
  TempDir dir;
  float px[2] = {1.0f, -2.0f};
  EXPECT_EQ(writePFM(dir.file("a.pfm").c_str(), "PF", 2, 1, 1.5f, px), 1);
  EXPECT_EQ(readFile(dir.file("a.pfm")),
            std::string("PF\n2 1\n1.500000\n\x3F\x80\x00\x00\xC0\x00\x00\x00", 24));
  EXPECT_EQ(px[0], 1.0f);  // the caller's array is unchanged
  EXPECT_EQ(px[1], -2.0f);
}

TEST(PNMWrite, PDMOfOneWritesBigEndianDoubleAndFloatScale) {
  TempDir dir;
  double px = 1.0;
  EXPECT_EQ(writePDM(dir.file("a.pdm").c_str(), "PD", 1, 1, 0.1, &px), 1);
  // The scale line has a float's precision: 0.1 as a float prints as 0.100000.
  EXPECT_EQ(readFile(dir.file("a.pdm")),
            std::string("PD\n1 1\n0.100000\n\x3F\xF0\x00\x00\x00\x00\x00\x00", 24));
  EXPECT_EQ(px, 1.0);
  EXPECT_EQ(writePDM(dir.file("b.pdm").c_str(), "PD", 1, 1, 123456789.0, &px), 1);
  EXPECT_EQ(readFile(dir.file("b.pdm")).substr(0, 23), "PD\n1 1\n123456792.000000");
}

TEST(PNMWrite, NegativeSizeIsRefused) {
  TempDir dir;
  unsigned char px[3] = {0};
  CaptureStdout();
  EXPECT_EQ(writePNM(dir.file("n.pnm").c_str(), "P6", -1, 2, 255, px), -1);
  EXPECT_EQ(GetCapturedStdout(), "writePNM : Wrong size -1 x 2!\n");
}

TEST(PNMWrite, PreAllocateOnAStreamThatCantSeek) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  FILE* w = fdopen(fds[1], "w");
  CaptureStderr();
  pre_allocate(w, 100);
  EXPECT_EQ(GetCapturedStderr(),
            "Disk Full? Failed to fseek in write_pnm.\n\nDisaster? Failed to fseek back.\n\n");
  fclose(w);
  close(fds[0]);
}

TEST(PNMWrite, WritersGoOnWhenTheSpaceTestFails) {
  // A pipe can't seek: both messages of the space test, and the pixels still go out.
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  std::string path = "/proc/self/fd/" + std::to_string(fds[1]);
  unsigned char px[3] = {'a', 'b', 'c'};
  float f = 1.0f;
  CaptureStderr();
  EXPECT_EQ(writePNM(path.c_str(), "P6", 1, 1, 255, px), 1);
  EXPECT_EQ(writePFM(path.c_str(), "PF", 1, 1, 2.0f, &f), 1);
  EXPECT_EQ(GetCapturedStderr(),
            "Disk Full? Failed to fseek in write_pnm.\n\nDisaster? Failed to fseek back.\n\n"
            "Disk Full? Failed to fseek in write_pnm.\n\nDisaster? Failed to fseek back.\n\n");
  close(fds[1]);
  char buf[128];
  ssize_t n = read(fds[0], buf, sizeof buf);
  close(fds[0]);
  EXPECT_EQ(std::string(buf, n > 0 ? n : 0),
            std::string("P6\n1 1\n255\nabcPF\n1 1\n2.000000\n\x3F\x80\x00\x00", 34));
}

TEST(PNMWrite, PreAllocateKeepsThePosition) {
  TempDir dir;
  FILE* f = fopen(dir.file("p").c_str(), "wb");
  fputs("abc", f);
  CaptureStderr();
  pre_allocate(f, 1000);
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_EQ(ftell(f), 3);
  fclose(f);
  EXPECT_EQ(readFile(dir.file("p")), "abc");
}

TEST(PNMRead, WholeImageBytesAreReversed) {
  TempDir dir;
  unsigned char px[6] = {1, 2, 3, 4, 5, 6};
  writePNM(dir.file("a.pnm").c_str(), "P6", 2, 1, 255, px);
  int w = 0, h = 0, m = 0;
  unsigned char* got = nullptr;
  ASSERT_EQ(readPNM(dir.file("a.pnm").c_str(), "P6", &w, &h, &m, &got), 1);
  EXPECT_EQ(w, 2);
  EXPECT_EQ(h, 1);
  EXPECT_EQ(m, 255);
  // One item of the image's size, turned around: not the writer's inverse.
  EXPECT_EQ(bytes(got, 6), bytes((const unsigned char*)"\6\5\4\3\2\1", 6));
  free(got);
}

TEST(PNMRead, OneByOneGreyReadsBackUnchanged) {
  TempDir dir;
  unsigned char px = 77;
  writePNM(dir.file("a.pnm").c_str(), "P5", 1, 1, 255, &px);
  int w, h, m;
  unsigned char* got = nullptr;
  ASSERT_EQ(readPNM(dir.file("a.pnm").c_str(), "P5", &w, &h, &m, &got), 1);
  EXPECT_EQ(got[0], 77);
  free(got);
}

TEST(PNMRead, CommentLineBehindTheFirstLineReadsTheSame) {
  TempDir dir;
  std::string px("\x10\x20\x30\x40", 4);
  writeFile(dir.file("a.pnm"), "P5\n2 2\n255\n" + px);
  writeFile(dir.file("b.pnm"), "P5\n# made by hand\n# twice\n2 2\n255\n" + px);
  int w1, h1, m1, w2, h2, m2;
  unsigned char *g1 = nullptr, *g2 = nullptr;
  ASSERT_EQ(readPNM(dir.file("a.pnm").c_str(), "P5", &w1, &h1, &m1, &g1), 1);
  ASSERT_EQ(readPNM(dir.file("b.pnm").c_str(), "P5", &w2, &h2, &m2, &g2), 1);
  EXPECT_EQ(w1, w2);
  EXPECT_EQ(h1, h2);
  EXPECT_EQ(m1, m2);
  EXPECT_EQ(bytes(g1, 4), bytes(g2, 4));
  EXPECT_EQ(bytes(g1, 4), "\x40\x30\x20\x10");
  free(g1);
  free(g2);
}

TEST(PNMRead, TypeArgumentDecidesNotTheFile) {
  TempDir dir;
  writeFile(dir.file("a.pnm"), "P5\n1 2\n255\nabcdef");
  int w, h, m;
  unsigned char* got = nullptr;
  ASSERT_EQ(readPNM(dir.file("a.pnm").c_str(), "P6", &w, &h, &m, &got), 1);
  // Read as P6: 1 x 2 x 3 bytes.
  EXPECT_EQ(bytes(got, 6), "fedcba");
  free(got);
  // And a file that says anything at all in its first line.
  writeFile(dir.file("b.pnm"), "whatever\n1 1\n255\nQ");
  ASSERT_EQ(readPNM(dir.file("b.pnm").c_str(), "P5", &w, &h, &m, &got), 1);
  EXPECT_EQ(got[0], 'Q');
  free(got);
}

TEST(PNMRead, WrongTypeMessages) {
  TempDir dir;
  writeFile(dir.file("a"), "P6\n1 1\n255\nabc");
  int w, h, m;
  float fs;
  double ds;
  unsigned char* g = nullptr;
  float* fg = nullptr;
  double* dg = nullptr;
  CaptureStdout();
  EXPECT_EQ(readPNM(dir.file("a").c_str(), "PF", &w, &h, &m, &g), -1);
  EXPECT_EQ(readPFM(dir.file("a").c_str(), "P6", &w, &h, &fs, &fg), -1);
  EXPECT_EQ(readPDM(dir.file("a").c_str(), "PF", &w, &h, &ds, &dg), -1);
  EXPECT_EQ(GetCapturedStdout(),
            "readPNM : Wrong Type! Must be P6 or P5!\nwritePFM : Wrong Type! Must be PF!\n"
            "writePDM : Wrong Type! Must be PD!\n");
  // Values read before the failure stay set.
  EXPECT_EQ(w, 1);
  EXPECT_EQ(m, 255);
}

TEST(PNMRead, CantReadFile) {
  int w, h, m;
  unsigned char* g = nullptr;
  CaptureStdout();
  EXPECT_EQ(readPNM("/no/such/file.pnm", "P6", &w, &h, &m, &g), -1);
  EXPECT_EQ(GetCapturedStdout(), "Can't read file [/no/such/file.pnm]!\n");
}

TEST(PNMRead, PFMAndPDMSlicesAreTurnedPerSlice) {
  TempDir dir;
  float px[2] = {1.0f, 2.0f};  // 3F800000 40000000 in the file
  writePFM(dir.file("a.pfm").c_str(), "PF", 2, 1, 1.5f, px);
  int w, h;
  float scale = 0;
  float* got = nullptr;
  ASSERT_EQ(readPFM(dir.file("a.pfm").c_str(), "PF", &w, &h, &scale, &got), 1);
  EXPECT_EQ(scale, 1.5f);
  // Four slices of width x height = 2 bytes, each turned: 80 3F 00 00 00 40 00 00.
  EXPECT_EQ(bytes(reinterpret_cast<unsigned char*>(got), 8),
            std::string("\x80\x3F\x00\x00\x00\x40\x00\x00", 8));
  free(got);

  double d = 1.0;
  writePDM(dir.file("a.pdm").c_str(), "PD", 1, 1, 2.5, &d);
  double dscale = 0;
  double* dgot = nullptr;
  ASSERT_EQ(readPDM(dir.file("a.pdm").c_str(), "PD", &w, &h, &dscale, &dgot), 1);
  EXPECT_EQ(dscale, 2.5);
  // Slices of one byte are not turned: a 1 x 1 PDM keeps the file's byte order in memory.
  EXPECT_EQ(bytes(reinterpret_cast<unsigned char*>(dgot), 8), std::string("\x3F\xF0\0\0\0\0\0\0", 8));
  free(dgot);
}

TEST(PNMRead, AllocatorPairIsUsed) {
  TempDir dir;
  unsigned char px[3] = {1, 2, 3};
  writePNM(dir.file("a.pnm").c_str(), "P6", 1, 1, 255, px);
  int w, h, m;
  unsigned char* got = nullptr;
  {
    testsupport::FailAllocScope never(-1);
    setAllocFunc_PNM(testsupport::failingAlloc, free);
    EXPECT_EQ(readPNM(dir.file("a.pnm").c_str(), "P6", &w, &h, &m, &got), 1);
    EXPECT_EQ(testsupport::failingAllocCalls(), 1);
    free(got);
  }
  {
    testsupport::FailAllocScope always(0);
    EXPECT_EQ(readPNM(dir.file("a.pnm").c_str(), "P6", &w, &h, &m, &got), -1);
  }
  setAllocFunc_PNM(malloc, free);
  EXPECT_EQ(ptrPNMMalloc, &malloc);
}

TEST(PNMRead, DamagedSizesAreRefused) {
  TempDir dir;
  int w, h, m;
  unsigned char* g = nullptr;
  struct Case {
    std::string file, out;
  } cases[] = {
      {"P6\n100 100\n255\nabc", "readPNM : Size 100 x 100 is larger than the file!\n"},
      {"P6\n-3 2\n255\nabcdefghijklmnopqr", "readPNM : Wrong size -3 x 2!\n"},
      {"P6\n0 0\n255\n", "readPNM : Wrong size 0 x 0!\n"},
      {"P6\n2000000000 2000000000\n255\nabc", "readPNM : Wrong size 2000000000 x 2000000000!\n"},
      {"P6\nnothing here\n", "readPNM : No width and height!\n"},
      {"P6", "readPNM : No width and height!\n"},
      {"", "readPNM : No width and height!\n"},
  };
  for (const Case& c : cases) {
    writeFile(dir.file("d.pnm"), c.file);
    CaptureStdout();
    EXPECT_EQ(readPNM(dir.file("d.pnm").c_str(), "P6", &w, &h, &m, &g), -1) << c.file;
    EXPECT_EQ(GetCapturedStdout(), c.out) << c.file;
  }
  writeFile(dir.file("d.pfm"), "PF\n10 10\n1.0\nabcd");
  float s;
  float* fg;
  CaptureStdout();
  EXPECT_EQ(readPFM(dir.file("d.pfm").c_str(), "PF", &w, &h, &s, &fg), -1);
  EXPECT_EQ(GetCapturedStdout(), "readPFM : Size 10 x 10 is larger than the file!\n");
  writeFile(dir.file("d.pdm"), "PD\n1 1\n1.0\nabcd");
  double ds;
  double* dg;
  CaptureStdout();
  EXPECT_EQ(readPDM(dir.file("d.pdm").c_str(), "PD", &w, &h, &ds, &dg), -1);
  EXPECT_EQ(GetCapturedStdout(), "readPDM : Size 1 x 1 is larger than the file!\n");
}

TEST(PNMPeer, P6AndP5WrittenAreReadByImageMagick) {
  TempDir dir;
  const int w = 5, h = 3;
  std::vector<unsigned char> rgb(w * h * 3), grey(w * h);
  for (int i = 0; i < w * h * 3; i++) rgb[i] = static_cast<unsigned char>(i * 17 + 3);
  for (int i = 0; i < w * h; i++) grey[i] = static_cast<unsigned char>(i * 13);
  ASSERT_EQ(writePNM(dir.file("c.pnm").c_str(), "P6", w, h, 255, rgb.data()), 1);
  ASSERT_EQ(writePNM(dir.file("g.pnm").c_str(), "P5", w, h, 255, grey.data()), 1);
  auto id = run("identify -format '%w %h %[channels]\\n' " + dir.file("c.pnm") + " " + dir.file("g.pnm"));
  ASSERT_EQ(id.status, 0) << id.err;
  EXPECT_EQ(id.out, "5 3 srgb\n5 3 gray\n");
  auto c = run("convert " + dir.file("c.pnm") + " -depth 8 rgb:-");
  ASSERT_EQ(c.status, 0) << c.err;
  EXPECT_EQ(c.out, bytes(rgb.data(), rgb.size()));
  auto g = run("convert " + dir.file("g.pnm") + " -depth 8 gray:-");
  ASSERT_EQ(g.status, 0) << g.err;
  EXPECT_EQ(g.out, bytes(grey.data(), grey.size()));
}
