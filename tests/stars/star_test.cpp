// The .star reader: format, fields, every failure message, and the guard against short files.
#include "stars/star.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

#include "fileio/entropy.h"
#include "tests/support/testutil.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

// Reads one file into the list and returns what went to standard error.
std::string readCapturingErr(StarList& list, const std::string& path, int* result, int withSun = 0,
                             bool quiet = false) {
  std::string p = path;
  testing::internal::CaptureStderr();
  *result = list.readStarFile(p.data(), withSun, quiet);
  return testing::internal::GetCapturedStderr();
}

const char* kHeader = "NUM_STARS 1\nSIZE 1.0 16\n";

}  // namespace

TEST(StarReader, ReadsAllColumns) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(
      f, std::string(kHeader) +
             "# a comment\n"
             "\n"
             "3 4 0 0.05 10 -20 30 0.1 0.2 0.3 0.65 2.5 0.1 0.2 0.3 0.4 G2 2.5 V 1234 5678 Alpha Beta  \n");
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r);
  ASSERT_EQ(r, 1);
  EXPECT_EQ(err, "    1 star objects from [" + f + "]\n");
  ASSERT_EQ(list.numStars, 1);
  const NODE_StarObject& s = list.stars[0];
  EXPECT_DOUBLE_EQ(s.basePos.x, 3.0);
  EXPECT_DOUBLE_EQ(s.basePos.y, 4.0);
  EXPECT_DOUBLE_EQ(s.basePos.s, 16.0);
  EXPECT_NEAR(s.pos.x, 0.6, 1e-12);
  EXPECT_NEAR(s.pos.y, 0.8, 1e-12);
  EXPECT_NEAR(s.pos.s, 16.0 + log10(5.0), 1e-12);
  EXPECT_FLOAT_EQ(s.distErr, 0.05f);
  EXPECT_DOUBLE_EQ(s.vel[0], 10);
  EXPECT_DOUBLE_EQ(s.vel[1], -20);
  EXPECT_DOUBLE_EQ(s.vel[2], 30);
  EXPECT_DOUBLE_EQ(s.velErr[2], 0.3);
  EXPECT_FLOAT_EQ(s.bv, 0.65f);
  EXPECT_FLOAT_EQ(s.lum, 2.5f);
  EXPECT_FLOAT_EQ(s.rgba[0], 0.1f);
  EXPECT_FLOAT_EQ(s.rgba[3], 0.4f);
  EXPECT_STREQ(s.spClass, "G2");
  EXPECT_FLOAT_EQ(s.spNum, 2.5f);
  EXPECT_STREQ(s.spType, "V");
  EXPECT_EQ(s.HD, 1234);
  EXPECT_EQ(s.HIC, 5678);
  EXPECT_STREQ(s.commonName, "Alpha Beta");  // blanks inside kept, trailing white space gone
  EXPECT_STREQ(s.constellName, "---");
  EXPECT_STREQ(s.constellCode, "---");
  EXPECT_EQ(s.nPlanets, 0);
  EXPECT_EQ(s.planets, nullptr);
  // VMag from the SIZE exponent, not from this star's distance.
  EXPECT_NEAR(s.VMag, ((float)(16.0 - 16.4894) - 1.0) * 5 + (-2.5 * log10(2.5)), 1e-4);
  EXPECT_NEAR(s.lumMag, -2.5 * log10(2.5), 1e-6);
}

TEST(StarReader, SpectralClassKeepsTwoCharactersAndAnyToken) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, std::string(kHeader) + "1 0 0 0 0 0 0 0 0 0 0 1 0.5 0.5 0.5 0.5 WN7x\n");
  StarList list;
  int r;
  readCapturingErr(list, f, &r);
  ASSERT_EQ(r, 1);
  EXPECT_STREQ(list.stars[0].spClass, "WN");
  EXPECT_FLOAT_EQ(list.stars[0].spNum, 0.0f);
  EXPECT_STREQ(list.stars[0].spType, "---");
  EXPECT_STREQ(list.stars[0].commonName, "---");
}

TEST(StarReader, ThreeOrFourFieldsGiveAnInvisibleRecord) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 2\nSIZE 2 17\n1 0 0\n0 1 0 0.5\n");
  StarList list;
  int r;
  readCapturingErr(list, f, &r);
  ASSERT_EQ(r, 1);
  ASSERT_EQ(list.numStars, 2);
  for (int i = 0; i < 2; i++) {
    const NODE_StarObject& s = list.stars[i];
    EXPECT_EQ(s.lum, 0.0f);
    EXPECT_FLOAT_EQ(s.rgba[0], 0.8f);
    EXPECT_FLOAT_EQ(s.rgba[3], 0.8f);
    EXPECT_STREQ(s.spClass, "---");
    EXPECT_STREQ(s.spType, "---");
    EXPECT_EQ(s.HD, 0);
    EXPECT_NEAR(s.pos.s, 17 + log10(2.0), 1e-12);
  }
  // Three fields: VMag 0; four fields: lum 0 gives an infinite magnitude, which is kept.
  int three = list.stars[0].distErr == 0.0f && list.stars[0].VMag == 0.0f ? 0 : 1;
  EXPECT_EQ(list.stars[three].VMag, 0.0f);
  EXPECT_TRUE(std::isinf(list.stars[1 - three].VMag));
  EXPECT_GT(list.stars[1 - three].VMag, 0);
  // A star with lum 0 has no size at any distance.
  int px = -1, alpha = -1;
  EXPECT_EQ(list.computePXSizeAlpha(&px, &alpha, list.stars[1 - three].VMag, 1.0f, 1e-6f, 0), 1);
  EXPECT_EQ(px, 0);
}

TEST(StarReader, RefusesFieldCountsThatStopInsideAGroup) {
  const char* fields = "1 2 3 0.1 1 2 3 0.1 0.1 0.1 0.5 1 0.5 0.5 0.5 0.5 G 2 V 1 2 Name";
  for (int n : {1, 2, 5, 6, 8, 9, 13, 14, 15}) {
    std::string line;
    const char* p = fields;
    for (int i = 0; i < n; i++) {
      while (*p == ' ') p++;
      const char* e = strchr(p, ' ');
      line += std::string(p, e ? e - p : strlen(p));
      line += i + 1 < n ? " " : "";
      p = e ? e : p + strlen(p);
    }
    TempDir dir;
    std::string f = dir.file("a.star");
    writeFile(f, std::string(kHeader) + line + "\n");
    StarList list;
    int r;
    std::string err = readCapturingErr(list, f, &r);
    EXPECT_EQ(r, -1) << n;
    EXPECT_EQ(err, "Error : Line 3 in [" + f + "]:\n\t[" + line +
                       "\n]\n\tThis data line is of invalid data format!\n\n")
        << n;
  }
  for (int n : {3, 4, 7, 10, 11, 12, 16, 17, 18, 19, 20, 21, 22}) {
    std::string line;
    const char* p = fields;
    for (int i = 0; i < n; i++) {
      while (*p == ' ') p++;
      const char* e = strchr(p, ' ');
      line += std::string(p, e ? e - p : strlen(p)) + " ";
      p = e ? e : p + strlen(p);
    }
    TempDir dir;
    std::string f = dir.file("a.star");
    writeFile(f, std::string(kHeader) + line + "\n");
    StarList list;
    int r;
    readCapturingErr(list, f, &r);
    EXPECT_EQ(r, 1) << n;
  }
}

TEST(StarReader, LongNameEndsAtTheField) {
  TempDir dir;
  std::string f = dir.file("a.star");
  std::string name = "A very long common name of forty chars";  // 39 characters
  writeFile(f, std::string(kHeader) + "1 0 0 0 0 0 0 0 0 0 0 1 0.5 0.5 0.5 0.5 G 2 V 1 2 " + name + "\n");
  StarList list;
  int r;
  readCapturingErr(list, f, &r);
  ASSERT_EQ(r, 1);
  EXPECT_EQ(std::string(list.stars[0].commonName), name.substr(0, 31));
  EXPECT_STREQ(list.stars[0].constellName, "---");
}

TEST(StarReader, SpTypeDashesAreRefused) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, std::string(kHeader) + "1 0 0 0 0 0 0 0 0 0 0 1 0.5 0.5 0.5 0.5 G 2 ---\n");
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Err (line 3): undefined spectral sequence [I,II,III,IV,V] :\n\t[---]");
}

TEST(StarReader, SpTypeIsCaseSensitive) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, std::string(kHeader) + "1 0 0 0 0 0 0 0 0 0 0 1 0.5 0.5 0.5 0.5 G 2 iv\n");
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Err (line 3): undefined spectral sequence [I,II,III,IV,V] :\n\t[iv]");
}

TEST(StarReader, SpectralNumberOutOfRange) {
  TempDir dir;
  std::string f = dir.file("a.star");
  std::string line = "1 0 0 0 0 0 0 0 0 0 0 1 0.5 0.5 0.5 0.5 G 10.5 V\n";
  writeFile(f, std::string(kHeader) + "# c\n" + line);
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Err (line 4): spectral number [10.500000] out of range [0,10] :\n\t[" + line + "]");
}

TEST(StarReader, NegativeDistanceError) {
  TempDir dir;
  std::string f = dir.file("a.star");
  std::string line = "1 0 0 -0.1\n";
  writeFile(f, std::string(kHeader) + line);
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Error : Line 3 in [" + f + "]:\n\t[" + line +
                     "]\n\tpercentage error in distance should be non-negative.\n");
}

TEST(StarReader, ColourChannelsOutOfRange) {
  const char* names[4] = {"Red", "Green", "Blue", "Alpha"};
  for (int c = 0; c < 4; c++) {
    for (const char* bad : {"-0.01", "1.01"}) {
      std::string rgba;
      for (int j = 0; j < 4; j++) rgba += std::string(" ") + (j == c ? bad : "0.5");
      TempDir dir;
      std::string f = dir.file("a.star");
      writeFile(f, std::string(kHeader) + "1 0 0 0 0 0 0 0 0 0 0 1" + rgba + "\n");
      StarList list;
      int r;
      std::string err = readCapturingErr(list, f, &r);
      EXPECT_EQ(r, -1);
      EXPECT_EQ(err,
                "Error : Line 3 in [" + f + "]\n\tThe " + names[c] + " Channel is out of range [0,1]\n\n");
    }
  }
  // Red is tested before green.
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, std::string(kHeader) + "1 0 0 0 0 0 0 0 0 0 0 1 2 2 0.5 0.5\n");
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r);
  EXPECT_NE(err.find("Red"), std::string::npos);
  EXPECT_EQ(err.find("Green"), std::string::npos);
}

TEST(StarReader, HeaderFaults) {
  TempDir dir;
  struct Case {
    std::string text, err;
    bool quietable;
  } cases[] = {
      {"", "Error : Line 1 in [F]\n\tIdentifier [NUM_STARS] missing, is it a .star file?\n\n", true},
      {"# NUM_STARS 1\nSIZE 1 1\n1 0 0\n",
       "Error : Line 1 in [F]\n\tIdentifier [NUM_STARS] missing, is it a .star file?\n\n", true},
      {"num_stars 1\nSIZE 1 1\n1 0 0\n",
       "Error : Line 1 in [F]\n\tIdentifier [NUM_STARS] missing, is it a .star file?\n\n", true},
      {"NUM_STARS\nSIZE 1 1\n1 0 0\n", "Error : Line 1 in [F]\n\tNot enough data!\n", true},
      {"NUM_STARS 1\n\nSIZE 1 1\n1 0 0\n",
       "Error : Line 2 in [F]\n\tIdentifier [SIZE] missing, is it a .star file?\n\n", false},
      {"NUM_STARS 1\nSIZE\n1 0 0\n", "Error : Line 2 in [F]\n\tNot enough data!\n", false},
      {"NUM_STARS 1\nSIZE 1.5\n1 0 0\n", "Error : Line 2 in [F]\n\tNot enough data!\n", false},
      {"NUM_STARS -3\nSIZE 1 1\n1 0 0\n",
       "Error : Line 1 in [F]\n\tThe number of stars [-3] is negative!\n\n", false},
  };
  for (const Case& c : cases) {
    std::string f = dir.file("h.star");
    writeFile(f, c.text);
    std::string want = c.err;
    size_t mark = want.find("[F]");
    want = want.substr(0, mark) + "[" + f + "]" + want.substr(mark + 3);
    for (bool quiet : {false, true}) {
      StarList list;
      int r;
      std::string err = readCapturingErr(list, f, &r, 0, quiet);
      EXPECT_EQ(r, -1);
      EXPECT_EQ(err, quiet && c.quietable ? "" : want) << c.text;
    }
  }
}

TEST(StarReader, MissingFileAndQuiet) {
  StarList list;
  int r;
  std::string err = readCapturingErr(list, "/nonexistent/x.star", &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Err : can't read file [/nonexistent/x.star]!\n\n");
  err = readCapturingErr(list, "/nonexistent/x.star", &r, 0, true);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "");
}

TEST(StarReader, QuietDoesNotSilenceDataFaults) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, std::string(kHeader) + "1 0\n");
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r, 0, true);
  EXPECT_EQ(r, -1);
  EXPECT_NE(err.find("This data line is of invalid data format!"), std::string::npos);
}

namespace {
void* failingAlloc(size_t) {
  return nullptr;
}
}  // namespace

TEST(StarReader, ArrayAllocationFailure) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 3\nSIZE 1 1\n1 0 0\n1 0 0\n1 0 0\n");
  StarList list;
  list.allocFunc = failingAlloc;
  int count = 0;
  testing::internal::CaptureStderr();
  EXPECT_EQ(list.readStarObj(f.c_str(), &count, true), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error (StarList::readStarObj) allocating memory [" +
                                                        std::to_string(3 * sizeof(NODE_StarObject)) +
                                                        "] to obj.\n");
}

TEST(StarReader, SunSlotAllocationFailure) {
  StarList list;
  list.allocFunc = failingAlloc;
  testing::internal::CaptureStderr();
  EXPECT_EQ(list.readStarFiles(0, nullptr, 1, false), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Err: StarList::readStarFiles : Can't allocate memory.\n");
  EXPECT_EQ(list.numStars, 0);
  EXPECT_EQ(list.stars, nullptr);
}

// A file with fewer data lines than NUM_STARS promises is refused, naming the file and the last
// line read, and the catalogue stays as it was.
TEST(StarReader, ShortFileIsRefusedAndCatalogueKept) {
  TempDir dir;
  std::string good = dir.file("good.star");
  writeFile(good, "NUM_STARS 2\nSIZE 1 16\n1 0 0 0 0 0 0 0 0 0 0 1\n0 2 0 0 0 0 0 0 0 0 0 1\n");
  StarList list;
  int r;
  readCapturingErr(list, good, &r, 1);
  ASSERT_EQ(r, 1);
  NODE_StarObject* before = list.stars;
  ASSERT_EQ(list.numStars, 3);

  std::string shortFile = dir.file("short.star");
  writeFile(shortFile, "NUM_STARS 3\nSIZE 1 16\n1 0 0\n# one\n0 1 0\n");
  std::string err = readCapturingErr(list, shortFile, &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Error : Line 5 in [" + shortFile +
                     "]\n\tThe file ends after 2 of the 3 star records that NUM_STARS promises!\n\n");
  EXPECT_EQ(list.stars, before);
  EXPECT_EQ(list.numStars, 3);
  EXPECT_EQ(list.withSun, 1);
  EXPECT_STREQ(list.stars[0].commonName, "Sun");

  // Ending in comments and blank lines: the reader still returns.
  std::string tail = dir.file("tail.star");
  writeFile(tail, "NUM_STARS 2\nSIZE 1 16\n1 0 0\n# c\n\n   \n# d\n");
  err = readCapturingErr(list, tail, &r, 0, true);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Error : Line 7 in [" + tail +
                     "]\n\tThe file ends after 1 of the 2 star records that NUM_STARS promises!\n\n");
  EXPECT_EQ(list.numStars, 3);

  // Enough bytes, but comments where the last records should be.
  std::string none = dir.file("none.star");
  writeFile(none, "NUM_STARS 2\nSIZE 1 16\n# no stars here at all\n");
  err = readCapturingErr(list, none, &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Error : Line 3 in [" + none +
                     "]\n\tThe file ends after 0 of the 2 star records that NUM_STARS promises!\n\n");
  EXPECT_EQ(list.numStars, 3);
}

// A damaged count far beyond what the file holds is refused before any memory is taken.
TEST(StarReader, CountBeyondTheFileIsRefused) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 2000000000\nSIZE 1 16\n1 0 0\n");
  StarList list;
  list.allocFunc = failingAlloc;  // must not be reached
  int r;
  std::string err = readCapturingErr(list, f, &r);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Error : Line 1 in [" + f +
                     "]\n\tThe file can't hold the 2000000000 star records that NUM_STARS promises!\n\n");
  // Just enough bytes for the records is not refused up front.
  writeFile(f, "NUM_STARS 2\nSIZE 1 16\n1 0 0\n1 0 0");
  StarList ok;
  readCapturingErr(ok, f, &r);
  EXPECT_EQ(r, 1);
  EXPECT_EQ(ok.numStars, 2);
}

TEST(StarReader, LastDataLineWithoutNewlineIsRead) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 1\nSIZE 1 16\n1 0 0 0 0 0 0 0 0 0 0 1 0.5 0.5 0.5 0.5 G 2 V 7 8 Name");
  StarList list;
  int r;
  readCapturingErr(list, f, &r);
  ASSERT_EQ(r, 1);
  EXPECT_STREQ(list.stars[0].commonName, "Name");
}

TEST(StarReader, ZeroStarsIsAnEmptyCatalogue) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 0\nSIZE 1 16\n");
  StarList list;
  int r;
  std::string err = readCapturingErr(list, f, &r);
  EXPECT_EQ(r, 1);
  EXPECT_EQ(err, "    0 star objects from [" + f + "]\n");
  EXPECT_EQ(list.numStars, 0);
  EXPECT_EQ(list.getNumStars(), 0);
}

TEST(StarReader, ReadsAnEZPackedFile) {
  TempDir dir;
  std::string text = "NUM_STARS 2\nSIZE 1 16\n# packed\n1 0 0 0 0 0 0 0 0 0 0 1\n0 3 0 0 0 0 0 0 0 0 0 2\n";
  std::string f = dir.file("p.star");
  FILE* out = fopen(f.c_str(), "wb");
  ASSERT_NE(out, nullptr);
  WriteDeflateZip(out, (unsigned char*)text.data(), (int)text.size());
  fclose(out);
  ASSERT_EQ(testsupport::readFile(f).substr(0, 2), "EZ");
  StarList list;
  int r;
  readCapturingErr(list, f, &r);
  ASSERT_EQ(r, 1);
  ASSERT_EQ(list.numStars, 2);
  EXPECT_FLOAT_EQ(list.stars[0].lum, 1.0f);
  EXPECT_FLOAT_EQ(list.stars[1].lum, 2.0f);
}

TEST(StarReader, LineFunctions) {
  char a[] = "text \t\r\n";
  StarList::chomp(a);
  EXPECT_STREQ(a, "text");
  char b[] = "   ";
  StarList::chomp(b);
  EXPECT_STREQ(b, "");
  char c1[] = "  # x", c2[] = "x # y", c3[] = "", c4[] = " \t\n", c5[] = "#";
  EXPECT_EQ(StarList::isComment(c1), 1);
  EXPECT_EQ(StarList::isComment(c2), 0);
  EXPECT_EQ(StarList::isComment(c3), 0);
  EXPECT_EQ(StarList::isComment(c5), 1);
  EXPECT_EQ(StarList::isBlankLine(c3), 1);
  EXPECT_EQ(StarList::isBlankLine(c4), 1);
  EXPECT_EQ(StarList::isBlankLine(c1), 0);

  TempDir dir;
  std::string f = dir.file("l.txt");
  writeFile(f, "# c\n\nfirst\n  # d\nsecond\nlast without newline");
  FILE* fp = fopen(f.c_str(), "r");
  char buf[512];
  int lineNo = 0;
  EXPECT_EQ(StarList::getValidLine(fp, buf, &lineNo), 0);
  EXPECT_STREQ(buf, "first\n");
  EXPECT_EQ(lineNo, 3);
  EXPECT_EQ(StarList::getValidLine(fp, buf, &lineNo), 0);
  EXPECT_STREQ(buf, "second\n");
  EXPECT_EQ(lineNo, 5);
  EXPECT_EQ(StarList::getValidLine(fp, buf, &lineNo), 1);
  fclose(fp);
}

// Damaged files, made by changing, cutting and doubling bytes of a good one: each read ends, with
// a catalogue or with -1, and a failed read leaves the catalogue as it was.
TEST(StarReader, DamagedFilesNeverHangOrCrash) {
  std::string good =
      "NUM_STARS 4\nSIZE 3.0856776 16\n# comment\n"
      "-1.769 -1.912 -0.407 0.002 -5 3 1 0.1 0.1 0.1 0.00 22.8 1 1 1 1 A1 0 V 48915 32349 Sirius\n"
      "\n2.780 6.695 2.529 0.002 0 0 0 0 0 0 0.00 40.0 1 1 1 1 A0 0 V 172167 91262 Vega\n"
      "-65.15 99.25 59.09 0.02\n"
      "1 2 3 0.1 1 2 3\n";
  TempDir dir;
  std::string f = dir.file("d.star");
  std::mt19937 rng(99);
  const char alphabet[] = "0123456789 .-#\nEeNUMSTARIZV\t";
  StarList list;
  int r;
  readCapturingErr(list, std::string(f), &r);  // missing file: nothing read yet
  int accepted = 0;
  for (int round = 0; round < 400; round++) {
    std::string text = good;
    int edits = 1 + (int)(rng() % 4);
    for (int e = 0; e < edits; e++) {
      size_t at = rng() % text.size();
      switch (rng() % 4) {
        case 0:
          text[at] = alphabet[rng() % (sizeof alphabet - 1)];
          break;
        case 1:
          text.erase(at, 1 + rng() % 20);
          break;
        case 2:
          text.resize(at);
          break;
        default:
          text = text.substr(0, at) + text.substr(at, 1 + rng() % 30) + text.substr(at);
          break;
      }
      if (text.empty()) text.push_back('N');
    }
    writeFile(f, text);
    NODE_StarObject* before = list.stars;
    int numBefore = list.numStars;
    std::string err = readCapturingErr(list, f, &r, (int)(round & 1));
    if (r == 1) {
      accepted++;
      for (int i = 1; i < list.numStars; i++) EXPECT_LE(list.stars[i - 1].pos.s, list.stars[i].pos.s);
      if (before != list.stars) free(before);
    } else {
      EXPECT_EQ(r, -1);
      EXPECT_FALSE(err.empty());
      EXPECT_EQ(list.stars, before);
      EXPECT_EQ(list.numStars, numBefore);
    }
  }
  EXPECT_GT(accepted, 0);
}
