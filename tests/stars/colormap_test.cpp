// Colour maps: both file kinds, the look-ups, the operations on colours and the built-in ramp.
#include "stars/colormap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "fileio/entropy.h"
#include "tests/support/testutil.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

void expectColor(Color c, double r, double g, double b, double a, double eps = 1e-6) {
  EXPECT_NEAR(c.r, r, eps);
  EXPECT_NEAR(c.g, g, eps);
  EXPECT_NEAR(c.b, b, eps);
  EXPECT_NEAR(c.a, a, eps);
}

std::string rampFile(int n) {
  std::string s = "# a ramp\n\n" + std::to_string(n) + "\n";
  for (int i = 0; i < n; i++) s += "0.5 0.25 1 1\n";
  return s;
}

const char* kPointer = "\t[the published table of star colours by spectral type, one type a line]\n";

}  // namespace

TEST(ColorMapFile, ReadsRampAndKeepsName) {
  TempDir dir;
  std::string f = dir.file("bv.cmap");
  writeFile(f, "# comment\n   \n3\n# between\n0 0 0 1\n\n0.5 0.5 0.5 1\n1 1 1 0.5\n");
  ColorMap* m = loadColorMap(f.c_str(), -1.0f, 1.0f);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->nEntries, 3);
  EXPECT_EQ(m->startValue, -1.0f);
  EXPECT_EQ(m->endValue, 1.0f);
  EXPECT_EQ(std::string(m->name), f);
  expectColor(m->entries[2], 1, 1, 1, 0.5);
  // Exactly at the end value: the last entry. Halfway between entries 0 and 1: their mean.
  expectColor(getColor(m, 1.0f), 1, 1, 1, 0.5);
  expectColor(getColor(m, -0.5f), 0.25, 0.25, 0.25, 1);
  // The blend factor is for the lower entry.
  expectColor(getColor(m, -0.75f), 0.125, 0.125, 0.125, 1);
  expectColor(getColor(m, -2.0f), 0, 0, 0, 1);
  expectColor(getColor(m, 5.0f), 1, 1, 1, 0.5);
  freeColorMap(m);
}

TEST(ColorMapFile, OneEntryAlwaysGivesIt) {
  TempDir dir;
  std::string f = dir.file("one.cmap");
  writeFile(f, "1\n0.1 0.2 0.3 0.4\n");
  ColorMap* m = loadColorMap(f.c_str(), 0.0f, 2.0f);
  ASSERT_NE(m, nullptr);
  for (float v : {-5.0f, 0.0f, 1.0f, 2.0f, 7.0f}) expectColor(getColor(m, v), 0.1, 0.2, 0.3, 0.4);
  freeColorMap(m);
}

TEST(ColorMapFile, ShortLinesLeaveTheRest) {
  TempDir dir;
  std::string f = dir.file("s.cmap");
  writeFile(f, "2\n0.5 0.5\n1 1 1 1\n");
  ColorMap* m = loadColorMap(f.c_str(), 0.0f, 1.0f);
  ASSERT_NE(m, nullptr);
  expectColor(m->entries[0], 0.5, 0.5, 0, 0);
  freeColorMap(m);
}

TEST(ColorMapFile, CountLimits) {
  TempDir dir;
  std::string f = dir.file("c.cmap");
  for (int n : {0, 100001, -2}) {
    writeFile(f, "# a ramp\n\n" + std::to_string(n) + "\n0 0 0 1\n");
    ColorMap* m = nullptr;
    EXPECT_EQ(testsupport::stderrOf([&] { m = loadColorMap(f.c_str(), 0, 1); }), "Err : number of color entry in [" + f +
                                                                     "] = " + std::to_string(n) +
                                                                     "\n      it is quite unreasonable!\n\n");
    EXPECT_EQ(m, nullptr);
  }
  writeFile(f, rampFile(100000));
  ColorMap* m = loadColorMap(f.c_str(), 0, 1);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->nEntries, 100000);
  freeColorMap(m);
  // A file with nothing but comments has no count.
  writeFile(f, "# nothing\n\n");
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(loadColorMap(f.c_str(), 0, 1), nullptr); }),
            "Err : number of color entry in [" + f + "] = 0\n      it is quite unreasonable!\n\n");
}

TEST(ColorMapFile, Failures) {
  TempDir dir;
  std::string f = dir.file("few.cmap");
  writeFile(f, "3\n1 1 1 1\n# c\n0 0 0 1\n");
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(loadColorMap(f.c_str(), 0, 1), nullptr); }),
            "Err : not enough color entries in file [" + f + "]\n");
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(loadColorMap("/nonexistent/x.cmap", 0, 1), nullptr); }),
            "Err : opening colormap [/nonexistent/x.cmap]\n");
  writeFile(f, "1\n1 1 1 1\n");
  EXPECT_EQ(testsupport::stderrOf([&] {
              EXPECT_EQ(loadColorMapPtr(f.c_str(), 0, 1, [](size_t) -> void* { return nullptr; }), nullptr);
            }),
            "Err : cannot allocate memory for colormap!\n");
}

TEST(ColorMapFile, ReadsThroughTheEZContainer) {
  TempDir dir;
  std::string text = "2\n1 0 0 1\n0 0 1 1\n";
  std::string f = dir.file("packed.cmap");
  FILE* out = fopen(f.c_str(), "wb");
  WriteDeflateZip(out, (unsigned char*)text.data(), (int)text.size());
  fclose(out);
  ColorMap* m = loadColorMap(f.c_str(), 0, 1);
  ASSERT_NE(m, nullptr);
  expectColor(getColor(m, 0.5f), 0.5, 0, 0.5, 1);
  freeColorMap(m);

  std::string sp = "B0(V) 0 0 10 20 30\n";
  std::string g = dir.file("packed.sp");
  out = fopen(g.c_str(), "wb");
  WriteDeflateZip(out, (unsigned char*)sp.data(), (int)sp.size());
  fclose(out);
  SpColorMap* s = loadSpColorMap(g.c_str());
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->nEntries, 1);
  EXPECT_EQ(s->entries[0].blue, 30);
  freeSpColorMap(s);
}

TEST(SpColorMapFile, ParsesTypes) {
  TempDir dir;
  std::string f = dir.file("sp.txt");
  writeFile(f,
            "# type  two numbers  r g b\n"
            "O5(V)   0.1 0.2  300 -4 10\n"
            "\n"
            "WN5     0 0      1 2 3\n"
            "B1.5(III) 0 0    100 110 120\n"
            "M0(Ia)  0 0      255 200 100\n");
  SpColorMap* m = loadSpColorMap(f.c_str());
  ASSERT_NE(m, nullptr);
  ASSERT_EQ(m->nEntries, 4);
  EXPECT_EQ(std::string(m->name), f);
  const SpColorEntry& o = m->entries[0];
  EXPECT_EQ(o.red, 255);
  EXPECT_EQ(o.green, 0);
  EXPECT_EQ(o.blue, 10);
  EXPECT_EQ(o.spClass[0], 'O');
  EXPECT_EQ(o.spClass[1], 0);
  EXPECT_EQ(o.spNum, 5.0f);
  EXPECT_STREQ(o.lumClass, "V");
  const SpColorEntry& wn = m->entries[1];
  EXPECT_EQ(wn.spClass[0], 'W');
  EXPECT_EQ(wn.spClass[1], 'N');
  EXPECT_EQ(wn.spNum, 5.0f);  // at the third character
  EXPECT_STREQ(wn.lumClass, "");
  EXPECT_EQ(m->entries[2].spNum, 1.5f);
  EXPECT_STREQ(m->entries[2].lumClass, "III");
  EXPECT_STREQ(m->entries[3].lumClass, "Ia");
  freeSpColorMap(m);
}

TEST(SpColorMapFile, Lookups) {
  TempDir dir;
  std::string f = dir.file("sp.txt");
  writeFile(f, "B5(V) 0 0 10 10 10\nB6(V) 0 0 20 20 20\nB6(III) 0 0 30 30 30\nWN5 0 0 40 40 40\n");
  SpColorMap* m = loadSpColorMap(f.c_str());
  ASSERT_NE(m, nullptr);
  // No O entries: pure green.
  expectColor(getSpColor(m, "O", 5, "V"), 0, 1, 0, 1);
  // 5.4 among 5 and 6: the colour of 5, unblended.
  expectColor(getSpColor(m, "B", 5.4f, "V"), 10 / 255.0, 10 / 255.0, 10 / 255.0, 1);
  // A tie keeps the first found; the luminosity class plays no part.
  expectColor(getSpColor(m, "B", 6.0f, "III"), 20 / 255.0, 20 / 255.0, 20 / 255.0, 1);
  expectColor(getSpColor(m, "B", 5.5f, "V"), 10 / 255.0, 10 / 255.0, 10 / 255.0, 1);
  expectColor(getSpColor(m, "WN", 9, "---"), 40 / 255.0, 40 / 255.0, 40 / 255.0, 1);
  // Only the first two characters are compared.
  expectColor(getSpColor(m, "WN7", 9, "---"), 40 / 255.0, 40 / 255.0, 40 / 255.0, 1);
  expectColor(getSpColor(m, "W", 9, "---"), 0, 1, 0, 1);
  freeSpColorMap(m);
}

TEST(SpColorMapFile, TypeWithoutParentheses) {
  TempDir dir;
  std::string f = dir.file("sp.txt");
  writeFile(f, "A0(V) 0 0 1 1 1\nG2V 0 0 255 240 200\nK0(V) 0 0 5 5 5\n");
  SpColorMap* m = nullptr;
  EXPECT_EQ(testsupport::stderrOf([&] { m = loadSpColorMap(f.c_str()); }),
            "Err (line 2 in [" + f + "]) - format of spectral type incorrect.\n" + kPointer);
  // The faulty entry stands as it is and ends the map.
  ASSERT_NE(m, nullptr);
  ASSERT_EQ(m->nEntries, 2);
  EXPECT_EQ(m->entries[1].spClass[0], 'G');
  EXPECT_EQ(m->entries[1].red, 255);
  EXPECT_STREQ(m->entries[1].lumClass, "");
  freeSpColorMap(m);
}

TEST(SpColorMapFile, Failures) {
  TempDir dir;
  std::string f = dir.file("sp.txt");
  writeFile(f, "# only\n\n  # comments\n");
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(loadSpColorMap(f.c_str()), nullptr); }),
            "Err: no spectral color entry found in [" + f + "].\n");
  writeFile(f, "# c\nA0(V) 0 0 1 1 1\nB0(V) 0 0 1 1\n");
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(loadSpColorMap(f.c_str()), nullptr); }),
            "Err (line 3 in [" + f + "]) - not enough argument.\n" + kPointer);
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(loadSpColorMap("/nonexistent/sp"), nullptr); }),
            "Err : opening spectral colormap [/nonexistent/sp]\n");
  writeFile(f, "A0(V) 0 0 1 1 1\n");
  EXPECT_EQ(testsupport::stderrOf([&] {
              EXPECT_EQ(loadSpColorMapPtr(f.c_str(), [](size_t) -> void* { return nullptr; }), nullptr);
            }),
            "Err : cannot allocate memory for spectral colormap!\n");
}

TEST(ColorOps, RampAndScale) {
  // Near: white. Far: red.
  expectColor(colorMapScale(5), 1, 1, 1, 1);
  expectColor(colorMapT(1), 1, 1, 1, 1);
  expectColor(colorMapScale(30), 1, 0, 0, 1);
  expectColor(colorMapT(0), 1, 0, 0, 1);
  double top = log10(4.2723) + 26;
  expectColor(colorMapScale(top), 1, 0, 0, 1);
  expectColor(colorMapScale(8), 1, 1, 1, 1);
  // Half way in log distance is t 0.5: x = 127.5.
  double x = 127.5;
  double u = (x - 81) / 80;
  expectColor(colorMapScale((8 + top) / 2), ((1 - u) * 15 + u * 255) / 255, 1.0,
              ((1 - (x - 88) / 128) * 255 + (x - 88) / 128) / 255, 1, 1e-5);
  // Points of the ramp: x 80 gives red 15; x 81 too; x 190 gives green (1 - 42/86).
  expectColor(colorMapT(1 - 80 / 255.0), 15 / 255.0, 1, 1, 1, 1e-5);
  expectColor(colorMapT(1 - 81 / 255.0), 15 / 255.0, 1, 1, 1, 1e-5);
  Color c = colorMapT(1 - 190 / 255.0);
  EXPECT_NEAR(c.g, (1 - 42 / 86.0), 1e-5);
  EXPECT_NEAR(c.r, 1, 1e-6);
  EXPECT_NEAR(c.b, ((1 - 102 / 128.0) * 255 + 102 / 128.0) / 255, 1e-5);
  c = colorMapT(1 - 215.5 / 255.0);
  EXPECT_NEAR(c.b, 0.5 / 255, 1e-5);
}

TEST(ColorOps, BlendMultEqualPrint) {
  Color a{1, 0.5f, 0, 1}, b{0, 0.5f, 1, 0};
  expectColor(blendColor(a, b, 0.25f), 0.25, 0.5, 0.75, 0.25);
  expectColor(multColor(a, Color{0.5f, 0.5f, 0.5f, 0.5f}), 0.5, 0.25, 0, 0.5);
  Color z{0, 0, 0, 0}, tiny{1e-8f, 0, 0, 0}, small{1e-6f, 0, 0, 0};
  EXPECT_EQ(colorEqual(z, tiny), 1);
  EXPECT_EQ(colorEqual(z, small), 0);
  EXPECT_EQ(colorEqual(a, a), 1);
  char* buf = nullptr;
  size_t len = 0;
  FILE* fp = open_memstream(&buf, &len);
  printColor(fp, a);
  fclose(fp);
  EXPECT_EQ(std::string(buf, len), "color : 1.000000 0.500000 0.000000 1.000000\n");
  free(buf);
  // Null is accepted by the release functions.
  freeColorMap(nullptr);
  freeSpColorMap(nullptr);
  freeColorMapPtr(nullptr, free);
  freeSpColorMapPtr(nullptr, free);
}

TEST(ColorOps, LineTests) {
  EXPECT_EQ(colormap::isComment("  # x"), 1);
  EXPECT_EQ(colormap::isComment("x #"), 0);
  EXPECT_EQ(colormap::isComment("   "), 0);
  EXPECT_EQ(colormap::isBlankLine(""), 1);
  EXPECT_EQ(colormap::isBlankLine(" \t\r\n"), 1);
  EXPECT_EQ(colormap::isBlankLine(" a "), 0);
}

// Damaged map files of both kinds: every load ends, with a map or with null.
TEST(ColorMapFile, DamagedFilesNeverHangOrCrash) {
  const std::string plain = "# ramp\n3\n0 0 1 1\n0.5 0.5 0.5 1\n1 0 0 1\n";
  const std::string sp =
      "# type\nO5(V) 0 0 155 176 255\nB1.5(III) 0 0 170 191 255\nWN5 0 0 1 2 3\nG2(V) 0 0 255 244 234\n";
  TempDir dir;
  std::string f = dir.file("d.map");
  std::mt19937 rng(5);
  const char alphabet[] = "0123456789 .-#\n()OBAGVWN\t";
  for (int round = 0; round < 400; round++) {
    std::string text = round & 1 ? sp : plain;
    int edits = 1 + (int)(rng() % 3);
    for (int e = 0; e < edits; e++) {
      size_t at = rng() % text.size();
      if (rng() % 3 == 0)
        text.erase(at, 1 + rng() % 10);
      else
        text[at] = alphabet[rng() % (sizeof alphabet - 1)];
      if (text.empty()) text.push_back('#');
    }
    writeFile(f, text);
    testing::internal::CaptureStderr();
    if (round & 1) {
      SpColorMap* m = loadSpColorMap(f.c_str());
      if (m) {
        EXPECT_GE(m->nEntries, 1);
        Color c = getSpColor(m, "O", 5, "V");
        EXPECT_GE(c.g, 0.0f);
      }
      freeSpColorMap(m);
    } else {
      ColorMap* m = loadColorMap(f.c_str(), 0, 1);
      if (m) {
        EXPECT_GE(m->nEntries, 1);
        EXPECT_LE(m->nEntries, 100000);
        getColor(m, 0.3f);
      }
      freeColorMap(m);
    }
    testing::internal::GetCapturedStderr();
  }
}
