// Camera files: reading, every refusal with its message, the matrices, and the writer.
#include "coords/camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testsupport::stderrOf;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

// The planes the framework passes: the single-precision 0.01 and 10000.
const double kNear = (double)0.01f;
const double kFar = 10000.0;

const char kPrefix[] = "Err (readCameras): ";

// One good fovy camera; its lines are lines 2 to 7 of a file with one header line.
const std::vector<std::string> kGoodLines = {
    "resolution = 640 480\n", "viewDir = 0 0 -1\n", "viewUp = 0 1 0\n",
    "fovy = 60\n",            "aspect = 1.5\n",     "name = front\n",
};

std::string join(const std::vector<std::string>& lines) {
  std::string s;
  for (const auto& l : lines) s += l;
  return s;
}

struct Loaded {
  Camera* cameras = nullptr;
  int count = -1;
  std::string err;
};

Loaded load(const std::string& text, int firstId = 1) {
  TempDir dir;
  std::string path = dir.file("cams.cam");
  writeFile(path, text);
  Loaded r;
  r.err = stderrOf([&] { r.cameras = readCameras(path.c_str(), &r.count, kNear, kFar, firstId); });
  return r;
}

// What printCamera writes for every camera, behind a header line, as a whole camera file.
std::string printAll(const Camera* cameras, int count) {
  char* buffer = nullptr;
  size_t size = 0;
  FILE* out = open_memstream(&buffer, &size);
  fprintf(out, "NUM-CAMERAS %d\n", count);
  for (int i = 0; i < count; ++i) printCamera(out, &cameras[i]);
  fclose(out);
  std::string text(buffer, size);
  free(buffer);
  return text;
}

void expectMatrix(const double* got, const double* want) {
  for (int k = 0; k < 16; ++k) EXPECT_NEAR(got[k], want[k], 1e-9) << "element " << k;
}

}  // namespace

// ---- Reading good files -------------------------------------------------------------------

TEST(CameraRead, OneFovyCameraWithEveryField) {
  Loaded r = load("NUM-CAMERAS 1\n" + join(kGoodLines), 5);
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.count, 1);
  const Camera& c = r.cameras[0];
  EXPECT_EQ(c.resolution[0], 640);
  EXPECT_EQ(c.resolution[1], 480);
  EXPECT_EQ(c.viewDir[2], -1.0);
  EXPECT_EQ(c.viewUp[1], 1.0);
  EXPECT_TRUE(c.useFovy);
  EXPECT_EQ(c.fovy, 60.0);
  EXPECT_EQ(c.aspect, 1.5);
  EXPECT_STREQ(c.name, "front");
  EXPECT_EQ(c.id, 5);
  freeCameras(r.cameras);
}

TEST(CameraRead, IdsRunFromTheFirstIdAndTheSpareRecordKeepsTheDefaults) {
  std::string text = "NUM-CAMERAS 2\n" + join(kGoodLines) + join(kGoodLines);
  Loaded r = load(text, 10);
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_EQ(r.cameras[0].id, 10);
  EXPECT_EQ(r.cameras[1].id, 11);
  const Camera& spare = r.cameras[2];
  EXPECT_EQ(spare.id, 12);
  EXPECT_EQ(spare.viewDir[0], 0.0);
  EXPECT_EQ(spare.viewDir[1], 0.0);
  EXPECT_EQ(spare.viewDir[2], -1.0);
  EXPECT_EQ(spare.viewUp[0], 0.0);
  EXPECT_EQ(spare.viewUp[1], 1.0);
  EXPECT_EQ(spare.viewUp[2], 0.0);
  EXPECT_EQ(spare.resolution[0], 720);
  EXPECT_EQ(spare.resolution[1], 540);
  EXPECT_STREQ(spare.name, "default view");
  const double id[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  expectMatrix(spare.projMat, id);
  expectMatrix(spare.viewMat, id);
  freeCameras(r.cameras);
}

TEST(CameraRead, HeaderKeywordInLowerCaseIsAccepted) {
  Loaded r = load("num-cameras 1\n" + join(kGoodLines));
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_EQ(r.count, 1);
  freeCameras(r.cameras);
}

TEST(CameraRead, KeywordsInCapitalsAreTakenAsTheyAre) {
  Loaded r = load(
      "NUM-CAMERAS 1\nRESOLUTION = 10 20\nVIEWDIR = 0 0 -1\nViewUp = 0 1 0\nFOVY = 45\nASPECT = 2\nNAME = loud\n");
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_EQ(r.cameras[0].fovy, 45.0);
  EXPECT_EQ(r.cameras[0].aspect, 2.0);
  EXPECT_STREQ(r.cameras[0].name, "loud");
  freeCameras(r.cameras);
}

TEST(CameraRead, CommentsAndBlankLinesBetweenTheLinesAreSkippedAndCounted) {
  std::string text = "NUM-CAMERAS 1\n# a camera\n\n" + kGoodLines[0] + "   # indented comment\n \t\n" +
                     kGoodLines[1] + kGoodLines[2] + kGoodLines[3] + kGoodLines[4] + "\n" + kGoodLines[5];
  Loaded r = load(text);
  ASSERT_NE(r.cameras, nullptr) << r.err;
  freeCameras(r.cameras);
  // The same file with the name line broken: its line number counts the skipped lines.
  std::string broken = text.substr(0, text.size() - kGoodLines[5].size()) + "title = x\n";
  Loaded b = load(broken);
  EXPECT_EQ(b.cameras, nullptr);
  EXPECT_EQ(b.err, std::string(kPrefix) + "(line 12) missing [name].\n\n");
}

TEST(CameraRead, DirectionsAreReadInSinglePrecision) {
  Loaded r = load("NUM-CAMERAS 1\nresolution = 1 1\nviewDir = 0.1 0.2 -0.3\nviewUp = 0 1 0\nfovy = 60\n"
                  "aspect = 1\nname = a\n");
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_EQ(r.cameras[0].viewDir[0], (double)0.1f);
  EXPECT_EQ(r.cameras[0].viewDir[1], (double)0.2f);
  EXPECT_EQ(r.cameras[0].viewDir[2], (double)-0.3f);
  freeCameras(r.cameras);
}

TEST(CameraRead, NameKeepsInnerDoubleBlanksAndLosesTrailingOnes) {
  std::vector<std::string> lines = kGoodLines;
  lines[5] = "name =    left  wing   camera  \t \r\n";
  Loaded r = load("NUM-CAMERAS 1\n" + join(lines));
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_STREQ(r.cameras[0].name, "left  wing   camera");
  freeCameras(r.cameras);
}

TEST(CameraRead, AnOverlongNameIsCutToTheField) {
  std::vector<std::string> lines = kGoodLines;
  lines[5] = "name = " + std::string(100, 'n') + "\n";
  Loaded r = load("NUM-CAMERAS 1\n" + join(lines));
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_EQ(std::string(r.cameras[0].name), std::string(kCameraNameSize - 1, 'n'));
  freeCameras(r.cameras);
}

TEST(CameraRead, ViewUpNotPerpendicularIsStoredAndUsedAsItIs) {
  std::vector<std::string> lines = kGoodLines;
  lines[2] = "viewUp = 0 1 -1\n";
  Loaded r = load("NUM-CAMERAS 1\n" + join(lines));
  ASSERT_NE(r.cameras, nullptr) << r.err;
  const Camera& c = r.cameras[0];
  EXPECT_EQ(c.viewUp[1], 1.0);
  EXPECT_EQ(c.viewUp[2], -1.0);
  // Y is the up vector as written: the second row of the rotation.
  EXPECT_EQ(c.viewMat[1], 0.0);
  EXPECT_EQ(c.viewMat[5], 1.0);
  EXPECT_EQ(c.viewMat[9], -1.0);
  // X = Y x Z with Z = (0, 0, 1): (1, 0, 0), not made unit or orthogonal to anything.
  EXPECT_EQ(c.viewMat[0], 1.0);
  EXPECT_EQ(c.viewMat[4], 0.0);
  EXPECT_EQ(c.viewMat[8], 0.0);
  freeCameras(r.cameras);
}

// ---- Matrices -----------------------------------------------------------------------------

TEST(CameraMatrix, Fovy90Aspect1GivesOnesOnTheDiagonal) {
  std::vector<std::string> lines = kGoodLines;
  lines[3] = "fovy = 90\n";
  lines[4] = "aspect = 1\n";
  Loaded r = load("NUM-CAMERAS 1\n" + join(lines));
  ASSERT_NE(r.cameras, nullptr) << r.err;
  const double* p = r.cameras[0].projMat;
  EXPECT_NEAR(p[0], 1.0, 1e-12);
  EXPECT_NEAR(p[5], 1.0, 1e-12);
  EXPECT_NEAR(p[10], (kNear + kFar) / (kNear - kFar), 1e-12);
  EXPECT_EQ(p[11], -1.0);
  EXPECT_NEAR(p[14], 2 * kNear * kFar / (kNear - kFar), 1e-12);
  for (int k : {1, 2, 3, 4, 6, 7, 8, 9, 12, 13, 15}) EXPECT_EQ(p[k], 0.0) << k;
  freeCameras(r.cameras);
}

TEST(CameraMatrix, AspectDividesTheFirstElement) {
  Loaded r = load("NUM-CAMERAS 1\n" + join(kGoodLines));
  ASSERT_NE(r.cameras, nullptr) << r.err;
  double f = 1.0 / tan(30.0 * M_PI / 180.0);
  EXPECT_NEAR(r.cameras[0].projMat[0], f / 1.5, 1e-12);
  EXPECT_NEAR(r.cameras[0].projMat[5], f, 1e-12);
  freeCameras(r.cameras);
}

TEST(CameraMatrix, CornersOfTheSquareFrustumEqualFovy90) {
  std::string fovy = "NUM-CAMERAS 1\nresolution = 8 8\nviewDir = 0 0 -1\nviewUp = 0 1 0\nfovy = 90\naspect = 1\nname = f\n";
  std::string corners =
      "NUM-CAMERAS 1\nresolution = 8 8\nviewDir = 0 0 -1\nviewUp = 0 1 0\ncorner1 = -1 1 -1\ncorner2 = 1 -1 -1\n"
      "name = c\n";
  Loaded a = load(fovy), b = load(corners);
  ASSERT_NE(a.cameras, nullptr) << a.err;
  ASSERT_NE(b.cameras, nullptr) << b.err;
  EXPECT_FALSE(b.cameras[0].useFovy);
  expectMatrix(b.cameras[0].projMat, a.cameras[0].projMat);
  expectMatrix(b.cameras[0].viewMat, a.cameras[0].viewMat);
  freeCameras(a.cameras);
  freeCameras(b.cameras);
}

TEST(CameraMatrix, OffAxisCornersShiftTheFrustum) {
  // Left top (0, 1) and right bottom (2, -1) at distance 1: x from 0 to 2, y from -1 to 1.
  Loaded r = load("NUM-CAMERAS 1\nresolution = 8 8\nviewDir = 0 0 -1\nviewUp = 0 1 0\ncorner1 = 0 1 -1\n"
                  "second = 2 -1 -1\nname = shifted\n");
  ASSERT_NE(r.cameras, nullptr) << r.err;
  const double* p = r.cameras[0].projMat;
  EXPECT_NEAR(p[0], 2 * kNear / (2 * kNear), 1e-9);
  EXPECT_NEAR(p[5], 2 * kNear / (2 * kNear), 1e-9);
  EXPECT_NEAR(p[8], 1.0, 1e-9);
  EXPECT_NEAR(p[9], 0.0, 1e-9);
  freeCameras(r.cameras);
}

TEST(CameraMatrix, ViewMatrixIsTheTransposedFrame) {
  // Looking along +x with z up: Z = (-1, 0, 0), Y = (0, 0, 1), X = Y x Z = (0, -1, 0).
  Camera c[2];
  memset(c, 0, sizeof c);
  c[0].viewDir[0] = 1.0;
  c[0].viewUp[2] = 1.0;
  c[0].useFovy = true;
  c[0].fovy = 60.0;
  c[0].aspect = 1.0;
  ASSERT_EQ(constructMat(&c[0], kNear, kFar, 1), 1);
  const double want[16] = {0, 0, -1, 0, -1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1};
  expectMatrix(c[0].viewMat, want);
}

TEST(CameraMatrix, CornerBehindTheCameraFailsTheLoad) {
  std::string first = join(kGoodLines);
  std::string second =
      "resolution = 8 8\nviewDir = 0 0 -1\nviewUp = 0 1 0\ncorner1 = -1 1 -1\ncorner2 = 1 -1 1\nname = back\n";
  Loaded r = load("NUM-CAMERAS 2\n" + first + second);
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.count, 0);
  EXPECT_EQ(r.err,
            "Err (compute matrices): corner1 point [1.000000 -1.000000 1.000000] of camera 2 is out of viewing "
            "direction.\n");
}

TEST(CameraMatrix, CornerAtRightAnglesIsOutOfView) {
  Camera c[2];
  memset(c, 0, sizeof c);
  c[0].viewDir[2] = -1.0;
  c[0].viewUp[1] = 1.0;
  c[0].corner[0][0] = 1.0;  // (1, 0, 0): dot product 0, not above it
  c[0].corner[1][2] = -1.0;
  std::string err = stderrOf([&] { EXPECT_EQ(constructMat(&c[0], kNear, kFar, 7), 0); });
  EXPECT_EQ(err,
            "Err (compute matrices): corner0 point [1.000000 0.000000 0.000000] of camera 7 is out of viewing "
            "direction.\n");
}

// ---- Refusals -----------------------------------------------------------------------------

TEST(CameraRefuse, MissingFilename) {
  int count = 3;
  std::string err = stderrOf([&] { EXPECT_EQ(readCameras(nullptr, &count, kNear, kFar, 1), nullptr); });
  EXPECT_EQ(err, "Err (readCameras): missing filename!\n\n");
}

TEST(CameraRefuse, UnreadableFile) {
  TempDir dir;
  std::string path = dir.file("none.cam");
  int count = 3;
  std::string err = stderrOf([&] { EXPECT_EQ(readCameras(path.c_str(), &count, kNear, kFar, 1), nullptr); });
  EXPECT_EQ(err, "Err (readCameras): cannot read [" + path + "]\n");
}

TEST(CameraRefuse, WrongOrMissingHeader) {
  const std::string msg = std::string(kPrefix) + "(line 1) missing camera file identifier!\n\n";
  const char* const headers[] = {
      "",                       // empty file
      "CAMERAS 1\n",            // wrong keyword
      "NUM-CAMERAS\n",          // no count
      "NUM-CAMERAS one\n",      // count not a number
      "NUM_CAMERAS 1\n",        // near miss
      "resolution = 640 480\n", // a camera without its header
  };
  for (const char* h : headers) {
    Loaded r = load(std::string(h) + join(kGoodLines));
    EXPECT_EQ(r.cameras, nullptr) << h;
    EXPECT_EQ(r.err, msg) << h;
  }
}

TEST(CameraRefuse, ACountBelowOneIsRefused) {
  for (const char* h : {"NUM-CAMERAS 0\n", "NUM-CAMERAS -4\n"}) {
    Loaded r = load(std::string(h) + join(kGoodLines));
    EXPECT_EQ(r.cameras, nullptr);
    EXPECT_EQ(r.err, std::string(kPrefix) + "(line 1) no camera to read!\n\n") << h;
  }
}

TEST(CameraRefuse, FewerCamerasThanTheCountEndsAtTheEndOfFile) {
  Loaded r = load("NUM-CAMERAS 3\n" + join(kGoodLines) + join(kGoodLines));
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.count, 0);
  EXPECT_EQ(r.err, "Err (readCameras): not enough information in file (EOF encountered).\n\n");
}

TEST(CameraRefuse, AHugeCountIsNotAllocatedInFull) {
  static size_t asked = 0;
  auto recorder = +[](size_t bytes) -> void* {
    asked = bytes;
    return malloc(bytes);
  };
  setAllocFunc_Camera(recorder, free);
  Loaded r = load("NUM-CAMERAS 2000000000\n" + join(kGoodLines));
  setAllocFunc_Camera(malloc, free);
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.count, 0);
  EXPECT_EQ(r.err, "Err (readCameras): not enough information in file (EOF encountered).\n\n");
  EXPECT_LT(asked, 100u * sizeof(Camera));
}

TEST(CameraRefuse, AllocationFailure) {
  setAllocFunc_Camera(testsupport::failingAlloc, free);
  Loaded r;
  {
    testsupport::FailAllocScope scope(0);
    r = load("NUM-CAMERAS 1\n" + join(kGoodLines));
  }
  setAllocFunc_Camera(malloc, free);
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.err, "Err (readCameras): memory allocation failure!\n\n");
}

// Each damaged line of a camera, with its message; the line is numbered in the file.
struct DamagedLine {
  int index;  // which of the six lines is replaced (0 to 5)
  const char* line;
  const char* message;  // behind the prefix and "(line n) "
};

TEST(CameraRefuse, EveryDamagedLineHasItsMessage) {
  const DamagedLine cases[] = {
      {0, "size = 640 480\n", "missing [resolution].\n\n"},
      {0, "resolution : 640 480\n", "missing [=] after resolution.\n\n"},
      {0, "resolution 640 480\n", "missing [=] after resolution.\n\n"},
      {0, "resolution = 640\n", "not enough resolution data.\n\n"},
      {0, "resolution\n", "not enough resolution data.\n\n"},
      {0, "resolution = 640 0\n", "resolution should be positive.\n\n"},
      {0, "resolution = -1 480\n", "resolution should be positive.\n\n"},
      {1, "direction = 0 0 -1\n", "missing [viewDir].\n\n"},
      {1, "viewDir 0 0 -1\n", "missing [=] after viewDir.\n\n"},
      {1, "viewDir = 0 0\n", "not enough viewing direction data.\n\n"},
      {1, "viewDir = 0 x -1\n", "not enough viewing direction data.\n\n"},
      {2, "up = 0 1 0\n", "missing [viewUp].\n\n"},
      {2, "viewUp := 0 1 0\n", "missing [=] after viewUp.\n\n"},
      {2, "viewUp =\n", "not enough viewup direction data.\n\n"},
      {3, "fov = 60\n", "missing fovy OR corner1.\n\n"},
      {3, "corner2 = 1 1 -1\n", "missing fovy OR corner1.\n\n"},
      {3, "fovy 60\n", "missing [=] after fovy.\n\n"},
      {3, "fovy =\n", "missing fovy data.\n\n"},
      {3, "fovy = wide\n", "missing fovy data.\n\n"},
      {3, "fovy = 0\n", "fovy should be positive.\n\n"},
      {3, "fovy = -30\n", "fovy should be positive.\n\n"},
      {4, "ratio = 1.5\n", "missing [aspect].\n\n"},
      {4, "aspect 1.5\n", "missing [=] after aspect.\n\n"},
      {4, "aspect =\n", "missing aspect ratio.\n\n"},
      {4, "aspect = 0\n", "aspect ratio should be positive.\n\n"},
      {5, "title = front\n", "missing [name].\n\n"},
      {5, "name front\n", "missing [=] after name.\n\n"},
      {5, "name =\n", "missing name.\n\n"},
      {5, "name =   \t \n", "missing name.\n\n"},
  };
  for (const DamagedLine& c : cases) {
    std::vector<std::string> lines = kGoodLines;
    lines[c.index] = c.line;
    // A good camera first: the line numbers run on through it.
    Loaded r = load("NUM-CAMERAS 2\n" + join(kGoodLines) + join(lines));
    EXPECT_EQ(r.cameras, nullptr) << c.line;
    EXPECT_EQ(r.count, 0) << c.line;
    EXPECT_EQ(r.err, std::string(kPrefix) + "(line " + std::to_string(8 + c.index) + ") " + c.message) << c.line;
  }
}

TEST(CameraRefuse, EveryDamagedCornerLineHasItsMessage) {
  const DamagedLine cases[] = {
      {3, "corner1 : -1 1 -1\n", "missing [=] after corner1.\n\n"},
      {3, "corner1 = -1 1\n", "missing corner1 data.\n\n"},
      {4, "corner2 -1 1 -1\n", "missing [=] after corner2.\n\n"},
      {4, "corner2 = 1 -1\n", "missing corner2 data.\n\n"},
      {4, "anything = 1 -1 no\n", "missing corner2 data.\n\n"},
  };
  const std::vector<std::string> good = {"resolution = 8 8\n", "viewDir = 0 0 -1\n", "viewUp = 0 1 0\n",
                                         "corner1 = -1 1 -1\n", "corner2 = 1 -1 -1\n", "name = c\n"};
  for (const DamagedLine& c : cases) {
    std::vector<std::string> lines = good;
    lines[c.index] = c.line;
    Loaded r = load("NUM-CAMERAS 1\n" + join(lines));
    EXPECT_EQ(r.cameras, nullptr) << c.line;
    EXPECT_EQ(r.err, std::string(kPrefix) + "(line " + std::to_string(2 + c.index) + ") " + c.message) << c.line;
  }
}

TEST(CameraRefuse, ATruncatedFileEndsAtEveryLine) {
  // Cut behind each line of the camera but the last, and in the middle of each line.
  std::string whole = "NUM-CAMERAS 1\n" + join(kGoodLines);
  for (size_t cut = 14; cut < whole.size() - 1; ++cut) {
    Loaded r = load(whole.substr(0, cut));
    EXPECT_EQ(r.cameras, nullptr) << cut;
    EXPECT_EQ(r.count, 0) << cut;
    EXPECT_EQ(r.err, "Err (readCameras): not enough information in file (EOF encountered).\n\n") << cut;
  }
}

TEST(CameraRefuse, ALastLineWithoutItsLineEndCountsAsTheEnd) {
  std::string whole = "NUM-CAMERAS 1\n" + join(kGoodLines);
  Loaded r = load(whole.substr(0, whole.size() - 1));
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.err, "Err (readCameras): not enough information in file (EOF encountered).\n\n");
}

TEST(CameraRefuse, AnOverlongLineIsReadInPiecesAndRefused) {
  std::vector<std::string> lines = kGoodLines;
  lines[0] = "resolution = 640 480" + std::string(600, ' ') + "\n";
  // The first piece is the resolution; the rest, all blanks and a line end, is blank.
  Loaded ok = load("NUM-CAMERAS 1\n" + join(lines));
  EXPECT_NE(ok.cameras, nullptr) << ok.err;
  freeCameras(ok.cameras);
  lines[0] = "resolution = 640 480 " + std::string(600, 'x') + "\n";
  Loaded r = load("NUM-CAMERAS 1\n" + join(lines));
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.err, std::string(kPrefix) + "(line 3) missing [viewDir].\n\n");
}

TEST(CameraRefuse, BinaryJunkNeverCrashes) {
  srand(7);
  for (int round = 0; round < 200; ++round) {
    std::string junk;
    if (round % 2) junk = "NUM-CAMERAS " + std::to_string(round % 5 + 1) + "\n";
    int n = rand() % 2000;
    for (int i = 0; i < n; ++i) junk += (char)(rand() % 256);
    Loaded r = load(junk);
    EXPECT_EQ(r.cameras, nullptr) << round;
    EXPECT_EQ(r.err.rfind("Err (readCameras): ", 0), 0u) << round << ": " << r.err;
  }
}

TEST(CameraRefuse, JunkInsideAGoodFileStopsAtThatLine) {
  std::string junk = std::string("\x01\x02\xff\xfe", 4) + std::string(1, '\0') + "zz\n";
  Loaded r = load("NUM-CAMERAS 1\n" + kGoodLines[0] + junk + join({kGoodLines.begin() + 1, kGoodLines.end()}));
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.err, std::string(kPrefix) + "(line 3) missing [viewDir].\n\n");
}

TEST(CameraRefuse, ASeparatorLineIsNoCameraLine) {
  Loaded r = load("NUM-CAMERAS 1\n-----\n" + join(kGoodLines));
  EXPECT_EQ(r.cameras, nullptr);
  EXPECT_EQ(r.err, std::string(kPrefix) + "(line 2) missing [resolution].\n\n");
}

// ---- Writing ------------------------------------------------------------------------------

TEST(CameraWrite, PrintCameraWordForWord) {
  Loaded r = load("NUM-CAMERAS 1\n" + join(kGoodLines), 3);
  ASSERT_NE(r.cameras, nullptr) << r.err;
  EXPECT_EQ(printAll(r.cameras, 1),
            "NUM-CAMERAS 1\n"
            "# Camera 3\n"
            "resolution = 640 480\n"
            "viewDir    =  0.000000  0.000000 -1.000000\n"
            "viewUp     =  0.000000  1.000000  0.000000\n"
            "fovy       = 60.000000\n"
            "aspect     =  1.500000\n"
            "name       = front\n"
            "\n");
  freeCameras(r.cameras);
}

TEST(CameraWrite, WrittenReadBackAndWrittenAgainGiveIdenticalBytes) {
  std::string text =
      "NUM-CAMERAS 3\n"
      "resolution = 1920 1080\nviewDir = 0.123456789 -0.5 -0.8\nviewUp = 0 1 0.0000001\nfovy = 33.3333333\n"
      "aspect = 1.7777777\nname = first  one \n"
      "resolution = 7 9\nviewDir = 1 0 0\nviewUp = 0 0 1\nfovy = 179.5\naspect = 0.25\nname = side\n"
      "resolution = 640 480\nviewDir = 0 0 -1\nviewUp = 0 1 0\nfovy = 60\naspect = 1.333333\nname = last\n";
  Loaded first = load(text);
  ASSERT_NE(first.cameras, nullptr) << first.err;
  std::string once = printAll(first.cameras, first.count);
  Loaded second = load(once);
  ASSERT_NE(second.cameras, nullptr) << second.err;
  std::string twice = printAll(second.cameras, second.count);
  EXPECT_EQ(twice, once);
  // The names come back whole; the numbers as the six decimals of the writer give them.
  for (int i = 0; i < 3; ++i) EXPECT_STREQ(second.cameras[i].name, first.cameras[i].name);
  EXPECT_STREQ(second.cameras[0].name, "first  one");
  freeCameras(first.cameras);
  freeCameras(second.cameras);
}

TEST(CameraWrite, ACornerCameraShowsTheNextRecordAsCorners3And4) {
  std::string text =
      "NUM-CAMERAS 2\n"
      "resolution = 8 8\nviewDir = 0 0 -1\nviewUp = 0 1 0\ncorner1 = -1 1 -1\ncorner2 = 1 -1 -1\nname = c\n"
      "resolution = 8 8\nviewDir = 0.5 0 -1\nviewUp = 0 1 0.25\nfovy = 60\naspect = 1\nname = d\n";
  Loaded r = load(text);
  ASSERT_NE(r.cameras, nullptr) << r.err;
  char* buffer = nullptr;
  size_t size = 0;
  FILE* out = open_memstream(&buffer, &size);
  printCamera(out, &r.cameras[0]);
  printCamera(out, &r.cameras[1]);
  fclose(out);
  std::string printed(buffer, size);
  free(buffer);
  EXPECT_EQ(printed.substr(0, printed.find("# Camera 2")),
            "# Camera 1\n"
            "resolution = 8 8\n"
            "viewDir    =  0.000000  0.000000 -1.000000\n"
            "viewUp     =  0.000000  1.000000  0.000000\n"
            "corner1    = -1.000000  1.000000 -1.000000\n"
            "corner2    =  1.000000 -1.000000 -1.000000\n"
            "corner3    =  0.500000  0.000000 -1.000000\n"
            "corner4    =  0.000000  1.000000  0.250000\n"
            "name       = c\n"
            "\n");
  // The last corner camera of an array shows the spare record's defaults.
  Loaded last = load("NUM-CAMERAS 1\nresolution = 8 8\nviewDir = 0 0 -1\nviewUp = 0 1 0\ncorner1 = -1 1 -1\n"
                     "corner2 = 1 -1 -1\nname = c\n");
  ASSERT_NE(last.cameras, nullptr) << last.err;
  std::string lastText = printAll(last.cameras, 1);
  EXPECT_NE(lastText.find("corner3    =  0.000000  0.000000 -1.000000\n"
                          "corner4    =  0.000000  1.000000  0.000000\n"),
            std::string::npos);
  // Such a file doesn't read back: the third corner line stands where the name belongs.
  Loaded again = load(lastText);
  EXPECT_EQ(again.cameras, nullptr);
  EXPECT_EQ(again.err, std::string(kPrefix) + "(line 8) missing [name].\n\n");
  freeCameras(r.cameras);
  freeCameras(last.cameras);
}

// ---- Line classes -------------------------------------------------------------------------

struct LineCase {
  const char* line;
  int comment, separator, empty;
};

TEST(CameraLines, LineClasses) {
  const LineCase cases[] = {
      {"# comment\n", 1, 0, 0},  {"   \t# indented\n", 1, 0, 0}, {"x # not\n", 0, 0, 0},
      {"\n", 0, 0, 1},           {"", 0, 0, 1},                   {" \t\r\n", 0, 0, 1},
      {"-----\n", 0, 1, 0},      {"- - -  -\n", 0, 1, 0},         {"-\n", 0, 1, 0},
      {"-", 0, 1, 0},            {"--x-\n", 0, 0, 0},             {" ---\n", 0, 0, 0},
      {"---x", 0, 1, 0},  // the last character isn't looked at
  };
  for (const LineCase& c : cases) {
    EXPECT_EQ(camerafile::isCommentLine(c.line), c.comment) << "[" << c.line << "]";
    EXPECT_EQ(camerafile::isSeparatorLine(c.line), c.separator) << "[" << c.line << "]";
    EXPECT_EQ(camerafile::isEmptyLine(c.line), c.empty) << "[" << c.line << "]";
  }
}

TEST(CameraLines, GetValidLineSkipsAndCounts) {
  TempDir dir;
  std::string path = dir.file("lines.txt");
  writeFile(path, "# one\n\n  \nfirst\n#\nsecond\nlast");
  FILE* fp = fopen(path.c_str(), "r");
  ASSERT_NE(fp, nullptr);
  char buffer[512];
  int lineNo = 0;
  EXPECT_EQ(camerafile::getValidLine(buffer, sizeof buffer, fp, &lineNo), 1);
  EXPECT_STREQ(buffer, "first\n");
  EXPECT_EQ(lineNo, 4);
  EXPECT_EQ(camerafile::getValidLine(buffer, sizeof buffer, fp, &lineNo), 1);
  EXPECT_STREQ(buffer, "second\n");
  EXPECT_EQ(lineNo, 6);
  std::string err = stderrOf([&] { EXPECT_EQ(camerafile::getValidLine(buffer, sizeof buffer, fp, &lineNo), 0); });
  EXPECT_EQ(err, "Err (readCameras): not enough information in file (EOF encountered).\n\n");
  EXPECT_EQ(lineNo, 7);
  fclose(fp);
}
