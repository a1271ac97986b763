// Tests of the model-file functions that need no window: file name variables, the recent list,
// the comment lines of the export, the export's and openFile's early refusals, and the small
// float and angle functions.
#include "tool/vmfile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "tests/support/testutil.h"
#include "tool/velmora.h"

namespace {

using testsupport::TempDir;
using testsupport::writeFile;

// A comment of 128 characters: the reader takes "#" as a word and skips 127 characters, so
// what follows on the line reaches it as new words.
const std::string kLongComment = "# " + std::string(126, 'x') + " vz 1 2\n";

// ---- resetAlignFile -----------------------------------------------------------------------------

struct NameCase {
  const char* file;
  const char* base;
  const char* path;
};

void PrintTo(const NameCase& c, std::ostream* os) {
  *os << "[" << c.file << "]";
}

class ResetAlignFile : public testing::TestWithParam<NameCase> {};

TEST_P(ResetAlignFile, SplitsTheFileName) {
  const NameCase& c = GetParam();
  copyText(alignfile, c.file, sizeof alignfile);
  try_open_alignfile = "untouched";
  resetAlignFile(0);
  EXPECT_STREQ(alignfile_basename, c.base);
  EXPECT_EQ(alignpath, c.path);
  EXPECT_EQ(try_open_alignfile, "untouched");
  resetAlignFile(1);
  EXPECT_EQ(try_open_alignfile, c.base);
}

INSTANTIATE_TEST_SUITE_P(
    Names, ResetAlignFile,
    testing::Values(NameCase{"/data/models/m51.obj", "m51.obj", "/data/models/"},
                    NameCase{"m51.obj", "m51.obj", "./"}, NameCase{"models//m51.obj", "m51.obj", "models/"},
                    NameCase{"models///m51.obj", "m51.obj", "models/"}, NameCase{"/m51.obj", "m51.obj", "/"},
                    NameCase{"//m51.obj", "m51.obj", "/"}, NameCase{"models/", "", "models/"},
                    // backslashes become slashes, but for one in the first position
                    NameCase{"\\server\\share/m51.obj", "m51.obj", "\\server/share/"},
                    NameCase{"a\\b/c\\d/m51.obj", "m51.obj", "a/b/c/d/"},
                    // without any slash the whole name is the base name
                    NameCase{"a\\b\\m51.obj", "a\\b\\m51.obj", "./"}, NameCase{"", "", "./"}));

// ---- The recent list ----------------------------------------------------------------------------

class RecentList : public testing::Test {
 protected:
  void SetUp() override { nRecentFiles = 0; }
  std::vector<std::string> names() const {
    std::vector<std::string> out;
    for (int i = 0; i < nRecentFiles; i++) out.push_back(std::string(recentPaths[i]) + "|" + recentFiles[i]);
    return out;
  }
};

TEST_F(RecentList, NewestComesFirst) {
  addRecentFile("d", "a.obj");
  addRecentFile("d", "b.obj");
  addRecentFile("e", "a.obj");  // same name, other directory: another entry
  EXPECT_EQ(names(), (std::vector<std::string>{"e|a.obj", "d|b.obj", "d|a.obj"}));
}

TEST_F(RecentList, TheHeadAddedAgainLeavesTheOrder) {
  for (const char* n : {"1", "2", "3", "4"}) addRecentFile("d", n);
  addRecentFile("d", "4");
  EXPECT_EQ(names(), (std::vector<std::string>{"d|4", "d|3", "d|2", "d|1"}));
}

TEST_F(RecentList, EntryThreeAddedAgainMovesToTheHead) {
  for (const char* n : {"1", "2", "3", "4", "5"}) addRecentFile("d", n);
  ASSERT_STREQ(recentFiles[3], "2");
  addRecentFile(recentPaths[3], recentFiles[3]);  // the pair may come from the list itself
  EXPECT_EQ(names(), (std::vector<std::string>{"d|2", "d|5", "d|4", "d|3", "d|1"}));
}

TEST_F(RecentList, ATenthFilePushesOutTheOldest) {
  for (int i = 0; i < 10; i++) addRecentFile("d", std::to_string(i).c_str());
  EXPECT_EQ(nRecentFiles, kMaxRecentFiles);
  EXPECT_EQ(names(),
            (std::vector<std::string>{"d|9", "d|8", "d|7", "d|6", "d|5", "d|4", "d|3", "d|2", "d|1"}));
}

TEST_F(RecentList, AFullListKeepsItsSizeWhenAnEntryReturns) {
  for (int i = 0; i < 9; i++) addRecentFile("d", std::to_string(i).c_str());
  addRecentFile("d", "0");  // the oldest, now again the newest
  EXPECT_EQ(names(),
            (std::vector<std::string>{"d|0", "d|8", "d|7", "d|6", "d|5", "d|4", "d|3", "d|2", "d|1"}));
}

// The walk that removes an equal pair steps over the entry that slid into the gap, so of two
// equal neighbours only the first goes.
TEST_F(RecentList, TheEntryThatSlidIntoTheGapIsNotLookedAt) {
  const char* files[] = {"a", "a", "b"};
  for (int i = 0; i < 3; i++) {
    copyText(recentPaths[i], "d", 512);
    copyText(recentFiles[i], files[i], 512);
  }
  nRecentFiles = 3;
  addRecentFile("d", "a");
  EXPECT_EQ(names(), (std::vector<std::string>{"d|a", "d|a", "d|b"}));
}

TEST_F(RecentList, AnEntryOutOfRangeIsRefused) {
  addRecentFile("d", "a.obj");
  for (int entry : {-1, 1, 9, 230}) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    openRecentFile(entry);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Err(openRecentFile): input argument (entry) is out of range!\n")
        << entry;
  }
  EXPECT_EQ(names(), (std::vector<std::string>{"d|a.obj"}));
}

// ---- openFile's refusals, which come before any drawing ------------------------------------------

class OpenFileRefusal : public testing::Test {
 protected:
  void SetUp() override {
    alignModel = nullptr;
    copyText(alignfile, "previous.obj", sizeof alignfile);
    nRecentFiles = 0;
    nUndo = 3;
  }
  void expectNothingChanged() {
    EXPECT_EQ(alignModel, nullptr);
    EXPECT_STREQ(alignfile, "previous.obj");
    EXPECT_EQ(nRecentFiles, 0);
    EXPECT_EQ(nUndo, 3);
  }
  std::string open(const char* dir, const char* name, int* result = nullptr) {
    testing::internal::CaptureStderr();
    int r = openFile(dir, name);
    if (result) *result = r;
    return testing::internal::GetCapturedStderr();
  }
};

TEST_F(OpenFileRefusal, AnEmptyNameNamesTheDirectory) {
  int r = 0;
  EXPECT_EQ(open("/some/dir", "", &r), "Err : cannot open [/some/dir/<null>]\n");
  EXPECT_EQ(r, -1);
  EXPECT_EQ(open("/some/dir", nullptr), "Err : cannot open [/some/dir/<null>]\n");
  expectNothingChanged();
}

TEST_F(OpenFileRefusal, AMissingFileFailsToOpen) {
  TempDir dir;
  int r = 0;
  EXPECT_EQ(open(dir.path().c_str(), "none.obj", &r),
            "Try to read [" + dir.path() + "/none.obj] (please wait) ... failed to open.\n");
  EXPECT_EQ(r, -1);
  // a directory that ends in a slash gets no second one
  EXPECT_EQ(open((dir.path() + "/").c_str(), "none.obj"),
            "Try to read [" + dir.path() + "/none.obj] (please wait) ... failed to open.\n");
  expectNothingChanged();
}

TEST_F(OpenFileRefusal, ADirectoryIsNoModel) {
  TempDir dir;
  std::filesystem::create_directory(dir.file("sub.obj"));
  EXPECT_EQ(open(dir.path().c_str(), "sub.obj"),
            "Try to read [" + dir.path() + "/sub.obj] (please wait) ... failed to open.\n");
  expectNothingChanged();
}

// Files on which the model reader would end the process are refused, and the tool goes on.
struct BadModel {
  const char* name;
  const char* text;
  const char* reason;  // behind "Err : [path]: "; "%d" stands for the directory
};

void PrintTo(const BadModel& c, std::ostream* os) {
  *os << c.name;
}

class OpenFileBadModel : public OpenFileRefusal, public testing::WithParamInterface<BadModel> {};

TEST_P(OpenFileBadModel, IsRefusedWithItsReason) {
  TempDir dir;
  const BadModel& c = GetParam();
  writeFile(dir.file("bad.obj"), c.text);
  writeFile(dir.file("tex.mtl"), "newmtl t\nKd 1 1 1\nTd modulate missing.ppm\n");
  writeFile(dir.file("gif.mtl"), "newmtl t\nKd 1 1 1\nTd modulate image.gif\n");
  writeFile(dir.file("image.gif"), "GIF89a");
  writeFile(dir.file("env.mtl"), "newmtl t\nKd 1 1 1\nTd sideways image.ppm\n");
  writeFile(dir.file("image.ppm"), "P6\n1 1\n255\nabc");
  std::string reason = c.reason;
  size_t at = reason.find("%d");
  if (at != std::string::npos) reason.replace(at, 2, dir.path() + "/");
  const std::string path = dir.file("bad.obj");
  EXPECT_EQ(
      open(dir.path().c_str(), "bad.obj"),
      "Try to read [" + path + "] (please wait) ... failed to read.\nErr : [" + path + "]: " + reason + "\n");
  expectNothingChanged();
}

INSTANTIATE_TEST_SUITE_P(
    Models, OpenFileBadModel,
    testing::Values(
        BadModel{"UnknownVertexWord", "v 1 2 3\nvp 1 2\n", "unknown token [vp]"},
        BadModel{"MissingMaterialFile", "mtllib none.mtl\nv 1 2 3\n",
                 "cannot open material file [%dnone.mtl]"},
        BadModel{"MissingTextureImage", "mtllib tex.mtl\nv 1 2 3\n",
                 "cannot open texture image [%dmissing.ppm]"},
        BadModel{"UnknownImageType", "mtllib gif.mtl\nv 1 2 3\n", "unknown image type [image.gif]"},
        BadModel{"UnknownTextureMode", "mtllib env.mtl\nv 1 2 3\n", "unknown texture mode [sideways]"},
        // a long comment reaches the reader in stretches of 127 characters; the
        // second stretch begins with a word the reader can't take
        BadModel{"WordInTheTailOfALongLine", kLongComment.c_str(), "unknown token [vz]"}),
    [](const testing::TestParamInfo<BadModel>& info) { return std::string(info.param.name); });

TEST_F(OpenFileRefusal, ADamagedModelFailsToRead) {
  TempDir dir;
  writeFile(dir.file("damaged.obj"), "v 1 2 3\nv 2 3 4\nv 3 4 6\nf 1 2 7\n");
  const std::string path = dir.file("damaged.obj");
  EXPECT_EQ(open(dir.path().c_str(), "damaged.obj"),
            "Try to read [" + path + "] (please wait) ... glmReadOBJ() failed: damaged objfile \"" + path +
                "\": triangle 1 refers to vertex 7 of 3.\nfailed to read.\n");
  expectNothingChanged();
}

// ---- The export's refusals before it writes anything ----------------------------------------------

struct ExportRefusal {
  const char* name;
  const char* target;
  const char* source;
  const char* out;
  const char* err;
};

void PrintTo(const ExportRefusal& c, std::ostream* os) {
  *os << c.name;
}

class ExportRefused : public testing::TestWithParam<ExportRefusal> {};

TEST_P(ExportRefused, PrintsItsMessage) {
  const ExportRefusal& c = GetParam();
  const double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1};
  const float init[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1};
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  int r = exportObjFile(c.target, c.source, nullptr, matrix, init, 1.0f, 0, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), c.err);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), c.out);
  EXPECT_EQ(r, -1);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ExportRefused,
    testing::Values(ExportRefusal{"NoTarget", nullptr, "/tmp/a.obj", "export obj file to [<NULL>] ... ",
                                  "Err (exportObjFile): cannot export to <NULL>\n"},
                    ExportRefusal{"EmptyTarget", "", "/tmp/a.obj", "export obj file to [] ... ",
                                  "Err (exportObjFile): cannot export to <NULL>\n"},
                    ExportRefusal{"NoSource", "/tmp/never-written.obj", nullptr,
                                  "export obj file to [/tmp/never-written.obj] ... ",
                                  "Err (exportObjFile): cannot open original objfile which is <NULL>\n"},
                    ExportRefusal{"EmptySource", "/tmp/never-written.obj", "",
                                  "export obj file to [/tmp/never-written.obj] ... ",
                                  "Err (exportObjFile): cannot open original objfile which is <NULL>\n"},
                    ExportRefusal{
                        "MissingSource", "/tmp/never-written.obj", "/nonexistent/m.obj",
                        "export obj file to [/tmp/never-written.obj] ... ",
                        "Err (exportObjFile): cannot open original objfile [/nonexistent/m.obj]\n"}),
    [](const testing::TestParamInfo<ExportRefusal>& info) { return std::string(info.param.name); });

TEST(ExportRefusedTarget, NothingIsWritten) {
  EXPECT_FALSE(testsupport::fileExists("/tmp/never-written.obj"));
}

// ---- The comment lines of the export --------------------------------------------------------------

TEST(ExportLines, UnitLinesWordForWord) {
  const char* want[] = {
      "# - unit in this model is parsec\n",       "# - unit in this model is k-parsec\n",
      "# - unit in this model is lightyear\n",    "# - unit in this model is meters\n",
      "# - unit in this model is kilometers\n",   "# - unit in this model is 10^9 meters\n",
      "# - unit in this model is 10^12 meters\n", "# - unit in this model is 10^15 meters\n",
      "# - unit in this model is 10^18 meters\n", "# - unit in this model is 10^21 meters\n",
  };
  for (int code = 0; code < 10; code++) EXPECT_STREQ(exportUnitLine(code), want[code]) << code;
  EXPECT_EQ(exportUnitLine(-1), nullptr);
  EXPECT_EQ(exportUnitLine(10), nullptr);
}

TEST(ExportLines, CoordinateLinesWordForWord) {
  EXPECT_STREQ(exportCoordLine(0), "# - coordinate system is galactic\n");
  EXPECT_STREQ(exportCoordLine(1), "# - coordinate system is equatorial\n");
  EXPECT_STREQ(exportCoordLine(2), "# - coordinate system is super galactic\n");
  EXPECT_EQ(exportCoordLine(-1), nullptr);
  EXPECT_EQ(exportCoordLine(3), nullptr);
}

// ---- Small float, matrix and angle functions ------------------------------------------------

struct LbCase {
  double v[3];
  double l, b;
};

TEST(SmallFunctions, VecTolbGivesGalacticDegrees) {
  const LbCase cases[] = {
      {{1, 0, 0}, 0, 0},    {{0, 1, 0}, 90, 0}, {{0, -2, 0}, -90, 0},
      {{-1, 0, 0}, 180, 0}, {{0, 0, 5}, 0, 90}, {{0, 0, -1}, 0, -90},
      {{1, 1, 0}, 45, 0},   {{1, 0, 1}, 0, 45}, {{-3, -3, 0}, -135, 0},
  };
  for (const LbCase& c : cases) {
    double l = 0, b = 0;
    vecTolb(c.v, l, b);
    EXPECT_NEAR(l, c.l, 1e-12) << c.v[0] << " " << c.v[1] << " " << c.v[2];
    EXPECT_NEAR(b, c.b, 1e-12) << c.v[0] << " " << c.v[1] << " " << c.v[2];
  }
}

TEST(SmallFunctions, LbToVecIsTheInverse) {
  for (double l = -180; l < 180; l += 37.5)
    for (double b = -80; b <= 80; b += 20) {
      double v[3], l2, b2;
      lbToVec(l, b, v);
      EXPECT_NEAR(v[0] * v[0] + v[1] * v[1] + v[2] * v[2], 1.0, 1e-14);
      EXPECT_NEAR(v[0], std::cos(b * kPi / 180) * std::cos(l * kPi / 180), 1e-15);
      vecTolb(v, l2, b2);
      EXPECT_NEAR(l2, l, 1e-10);
      EXPECT_NEAR(b2, b, 1e-10);
    }
}

TEST(SmallFunctions, TransposeMatf) {
  float in[16], out[16];
  for (int i = 0; i < 16; i++) in[i] = static_cast<float>(i);
  transposeMatf(in, out);
  for (int r = 0; r < 4; r++)
    for (int c = 0; c < 4; c++) EXPECT_EQ(out[4 * r + c], in[4 * c + r]);
}

TEST(SmallFunctions, MatMultVertexfDividesByW) {
  // rows: x' = 2x + 1, y' = y, z' = z + y, w = 0.5 z + 1
  const float rows[16] = {2, 0, 0, 1, 0, 1, 0, 0, 0, 1, 1, 0, 0, 0, 0.5f, 1};
  float v[3] = {1, 2, 2};
  matMultVertexf(rows, v);
  EXPECT_FLOAT_EQ(v[0], 1.5f);
  EXPECT_FLOAT_EQ(v[1], 1.0f);
  EXPECT_FLOAT_EQ(v[2], 2.0f);
  // w exactly 0: no division
  float u[3] = {1, 2, -2};
  matMultVertexf(rows, u);
  EXPECT_FLOAT_EQ(u[0], 3.0f);
  EXPECT_FLOAT_EQ(u[1], 2.0f);
  EXPECT_FLOAT_EQ(u[2], 0.0f);
}

TEST(SmallFunctions, MatMultVertexdRoundsToFloat) {
  const double rows[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  double v[3] = {0.1, 1.0 + 1e-12, -3.3};
  matMultVertexd(rows, v);
  EXPECT_EQ(v[0], static_cast<double>(0.1f));
  EXPECT_EQ(v[1], 1.0);
  EXPECT_EQ(v[2], static_cast<double>(-3.3f));
  const double scaleW[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 4};
  double u[3] = {2, 4, 6};
  matMultVertexd(scaleW, u);
  EXPECT_EQ(u[0], 0.5);
  EXPECT_EQ(u[1], 1.0);
  EXPECT_EQ(u[2], 1.5);
}

TEST(SmallFunctions, UnifyfAndDot3f) {
  float v[3] = {3, 0, 4};
  unifyf(v);
  EXPECT_FLOAT_EQ(v[0], 0.6f);
  EXPECT_FLOAT_EQ(v[2], 0.8f);
  float zero[3] = {0, 0, 0};
  unifyf(zero);
  EXPECT_EQ(zero[0], 0.0f);
  EXPECT_EQ(zero[1], 0.0f);
  EXPECT_EQ(zero[2], 0.0f);
  const float a[3] = {1, 2, 3}, b[3] = {4, -5, 6};
  EXPECT_FLOAT_EQ(dot3f(a, b), 12.0f);
}

}  // namespace
