// The star parameter file and the applying of a parameter record: every keyword, every message
// with its line number, the writer byte for byte, write-read-write round trips, the sky's own
// parameter file, damaged files, and the setters of the record.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "fileio/common.h"
#include "stars/star.h"
#include "stars/star_param_read.h"
#include "tests/support/testutil.h"

using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const char* kHeader = "Star Parameters\n---------------\n";

std::string dataRoot() {
  return testsupport::sourceDir();
}

std::string halvanePath() {
  return dataRoot() + "/data/stardata/halvane.txt";
}

StarParameter defaults() {
  StarList list;
  return list.getStarParameter();
}

bool sameRecord(const StarParameter& a, const StarParameter& b) {
  return memcmp(&a, &b, sizeof a) == 0;
}

// The object's record, byte for byte, padding included.
StarParameter snapshot(const StarList& list) {
  StarParameter p;
  memcpy(&p, &list.param, sizeof p);
  return p;
}

// What writeStarParameter gives for a record, on a file stream.
std::string written(const StarParameter& p) {
  StarList list;
  TempDir dir;
  std::string f = dir.file("w.txt");
  FILE* fp = fopen(f.c_str(), "w");
  EXPECT_NE(fp, nullptr);
  EXPECT_EQ(list.writeStarParameter(fp, p), 1);
  fclose(fp);
  return readFile(f);
}

// Replaces the one place of from in text; fails the test if it is not there exactly once.
std::string replaceOnce(std::string text, const std::string& from, const std::string& to) {
  size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at == std::string::npos) return text;
  EXPECT_EQ(text.find(from, at + 1), std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

// The writer's output for the record of initParameter, on a file.
const std::string kDefaultText =
    "Star Parameters\n"
    "---------------\n"
    "\n"
    "# NOTE : identifier names is important while order is not important (only edit)\n"
    "\n"
    "\n"
    "# constellation lines\n"
    "# - file for the constellation information\n"
    "# - color for constellation line and boundary:\t   <RGBA> <RGBA>\n"
    "# - linewidth for constellation line and boundary: %d %d\n"
    "# - stipple for constellation line and boundary:   off/<0x???"
    "?> off/<0x???"
    "?>\n"
    "constellation_file    = \n"
    "constellation_colors  =\n"
    "constellation_width =\n"
    "constellation_stipple = off off\n"
    "\n"
    "# label scale (scale factor for text label in constellation, extrasolar planet, etc)\n"
    "label_scale = 1.000000\n"
    "\n"
    "# extrasolar Planet Catalog\n"
    "extrasolar_planet_file        = \n"
    "extrasolar_planet_orbit_scale = 50000.000000\n"
    "\n"
    "# star selection criteria [on/off] followed by the range\n"
    "zRange_selection     = off\n"
    "Vmag_Range_selection = off\n"
    "Sptype_selection     = off O\n"
    "Sptype_selection     = off B\n"
    "Sptype_selection     = off A\n"
    "Sptype_selection     = off F\n"
    "Sptype_selection     = off G\n"
    "Sptype_selection     = off K\n"
    "Sptype_selection     = off M\n"
    "Sptype_selection     = off Other\n"
    "\n"
    "# color Map\n"
    "# - [no_colormap] or\n"
    "# - [bv_colormap <file> <bv-start> <bv-end>] or\n"
    "# - [sp_colormap <file>]\n"
    "color_map = no_colormap\n"
    "\n"
    "# stars with pixel size < pxsizeTex will be rendered as AA point,\n"
    "# else textured star\n"
    "pxsizeTex = 4\n"
    "\n"
    "# Parameter for textured stars\n"
    "texSize          = 1.000000 (no in use)\n"
    "texScale         = 1.000000\n"
    "texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR\n"
    // The default magnification filter has no name, so its line runs on into the next one.
    "texParaMagFilter = \n"
    "# parameters to generate star texture (or profile) automatically\n"
    "filterSize    = 1.000000\n"
    "filterExp     = 1.000000\n"
    "filterCutoff  = 1.000000\n"
    "filterOrder   = 1.000000\n"
    "filterRGB     = 1.000000 1.000000 1.000000\n"
    "telescopeDiam = 0.100000\n"
    "filterType    = circular\n"
    "\n"
    "# What kinds of texture for star\n"
    "texture_source = No\n"
    "\n"
    "# exposure and intensity tuning\n"
    "exposure      = 1.000000\n"
    "tuneIntensity = 1.000000\n"
    "\n"
    "# more parameters to tune the star size\n"
    "starScale = 1.000000\n"
    "vmagMin   = 10.000000\n"
    "\n"
    "# what time to put our stars and which year the data is taken\n"
    "starAtYear    = 1991\n"
    "datasetAtYear = 1991\n"
    "\n"
    "# Local Standard of Rest (in km/s) or ((l,b)+speed) where (l,b) are degrees\n"
    "LSR_KM       = 0.000000 0.000000 0.000000\n"
    "LSR_LB_SPEED = 0.000000 0.000000 0.000000\n"
    "\n";

// A record with every value away from its default, all of them legal.
StarParameter fullRecord() {
  StarParameter p = defaults();
  copyText(p.constellationFile, "/sky/const.txt", sizeof p.constellationFile);
  p.constellationColorOn = 1;
  const float line[4] = {0.1f, 0.2f, 0.3f, 0.4f}, bound[4] = {0.5f, 0.6f, 0.7f, 0.8f};
  memcpy(p.constellationLineColor, line, sizeof line);
  memcpy(p.constellationBoundColor, bound, sizeof bound);
  p.constellationWidthOn = 1;
  p.constellationLineWidth = 2.0f;
  p.constellationBoundWidth = 3.0f;
  p.constellationLineStipple = 0xF0F0;
  p.constellationBoundStipple = 0xFF;
  p.labelScale = 2.5f;
  copyText(p.extrasolarPlanetFile, "/sky/planets.txt", sizeof p.extrasolarPlanetFile);
  p.extrasolarPlanetOrbitScale = 1234.5f;
  p.zRangeOn = 1;
  p.zRangeMin = 12.0;
  p.zRangeMax = 20.5;
  p.vmagRangeOn = 1;
  p.vmagRangeMin = -1.0;
  p.vmagRangeMax = 6.5;
  p.sptypeOn[SPTYPE_O] = 1;
  p.sptypeMin[SPTYPE_O] = -1.0f;
  p.sptypeMax[SPTYPE_O] = 5.0f;
  p.sptypeOn[SPTYPE_G] = 1;
  p.sptypeMin[SPTYPE_G] = 2.0f;
  p.sptypeMax[SPTYPE_G] = 10.0f;
  copyText(p.bvColormapFile, "/sky/bv.txt", sizeof p.bvColormapFile);
  p.bvStart = -0.4f;
  p.bvEnd = 2.0f;
  p.whichColorMap = _USE_BV_COLOR_MAP;
  p.pxsizeTex = 6;
  p.texSize = 2.5;
  p.texScale = 0.75;
  p.texParaMinFilter = GL_NEAREST_MIPMAP_LINEAR;
  p.texParaMagFilter = GL_NEAREST;
  p.textureSource = STAR_TEX_FILE;
  copyText(p.textureFile, "/sky/star.sgi", sizeof p.textureFile);
  p.filterSize = 0.3f;
  p.filterExp = 2.0f;
  p.filterCutoff = 0.9f;
  p.filterOrder = 1.5f;
  p.filterRGB[0] = 0.2f;
  p.filterRGB[1] = 0.4f;
  p.filterRGB[2] = 0.6f;
  p.filterType = _STAR_FILTER_SQUARE;
  p.telescopeDiam = 0.25f;
  p.exposure = 1.5f;
  p.tuneIntensity = 0.8f;
  p.starScale = 1.25f;
  p.vmagMin = 8.0f;
  p.starAtYear = 2000;
  p.datasetYear = 1990;
  p.LSR[0] = 11.1;
  p.LSR[1] = 12.24;
  p.LSR[2] = 7.25;
  return p;
}

struct ReadOutcome {
  int result;
  std::string err;
};

ReadOutcome readParams(StarList& list, const std::string& path, const char* dir = nullptr,
                       bool quiet = false) {
  ReadOutcome o{};
  o.err = testsupport::stderrOf([&] { o.result = list.readStarParameter(path.c_str(), dir, quiet); });
  return o;
}

// A parameter file of the given lines behind the header, in a folder of its own.
struct ParamFile {
  TempDir dir;
  std::string path;
  explicit ParamFile(const std::string& body, bool withHeader = true) : path(dir.file("p.txt")) {
    writeFile(path, (withHeader ? std::string(kHeader) : std::string()) + body);
  }
};

}  // namespace

// ---------------------------------------------------------------------------------------------
// The record and its defaults

// The default magnification filter is the minification filter, which is no magnification
// filter at all: a record must name one, or applying it fails at the filter step.
TEST(StarParameterRecord, DefaultMagFilterIsNoLegalMagFilter) {
  StarList list;
  EXPECT_EQ(list.param.texParaMagFilter, GL_LINEAR_MIPMAP_LINEAR);
  EXPECT_EQ(list.param.texParaMagFilter, list.param.texParaMinFilter);
  StarParameter p = list.getStarParameter();
  p.exposure = 2.0f;  // a step after the filter step
  int r = 0;
  std::string err = testsupport::stderrOf([&] { r = list.setStarParameter(p); });
  EXPECT_EQ(r, -1);
  EXPECT_EQ(
      err,
      "Err (setStarTextureParaFilter) : inTexParaMagFilter should take values GL_NEAREST or GL_LINEAR.\n\n");
  EXPECT_EQ(list.param.exposure, 1.0f);
  // With a magnification filter named, the same record goes through.
  p.texParaMagFilter = GL_LINEAR;
  err = testsupport::stderrOf([&] { r = list.setStarParameter(p); });
  EXPECT_EQ(r, 1);
  EXPECT_EQ(err, "");
  EXPECT_EQ(list.param.exposure, 2.0f);
  EXPECT_EQ(list.param.texParaMagFilter, GL_LINEAR);
}

// A parameter file that names no magnification filter reads, but the record stops at the filter
// step: what comes after it in the applying order is not taken over.
TEST(StarParameterRecord, FileWithoutMagFilterStopsAtTheFilterStep) {
  ParamFile f("pxsizeTex = 9\nexposure = 2.0\n");
  StarList list;
  ReadOutcome o = readParams(list, f.path);
  EXPECT_EQ(o.result, 1);  // reading succeeded, whatever applying gave
  EXPECT_EQ(
      o.err,
      "Err (setStarTextureParaFilter) : inTexParaMagFilter should take values GL_NEAREST or GL_LINEAR.\n\n");
  EXPECT_EQ(list.param.pxsizeTex, 9);    // before the filter step
  EXPECT_EQ(list.param.exposure, 1.0f);  // after it
}

TEST(StarParameterRecord, GetStarParameterIsAWholeCopy) {
  StarList list;
  StarParameter p = list.getStarParameter();
  p.exposure = 7.0f;
  EXPECT_EQ(p.exposure, 7.0f);
  EXPECT_EQ(list.param.exposure, 1.0f);
  EXPECT_TRUE(sameRecord(list.getStarParameter(), snapshot(list)));
}

// ---------------------------------------------------------------------------------------------
// One line at a time: every keyword

struct KeywordCase {
  const char* line;
  const char* dir;
  std::function<void(const StarParameter&)> check;
};

TEST(StarParameterLine, EveryKeywordSetsItsField) {
  const std::vector<KeywordCase> cases = {
      {"constellation_file = data/stardata/c.txt", "/root",
       [](const StarParameter& p) { EXPECT_STREQ(p.constellationFile, "/root/data/stardata/c.txt"); }},
      {"constellation_file = data/stardata/c.txt", nullptr,
       [](const StarParameter& p) { EXPECT_STREQ(p.constellationFile, "data/stardata/c.txt"); }},
      {"constellation_colors  = 0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.constellationColorOn, 1);
         for (int i = 0; i < 4; i++) {
           EXPECT_FLOAT_EQ(p.constellationLineColor[i], 0.1f * (i + 1));
           EXPECT_FLOAT_EQ(p.constellationBoundColor[i], 0.1f * (i + 5));
         }
       }},
      {"constellation_width = 2 3.5", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.constellationWidthOn, 1);
         EXPECT_EQ(p.constellationLineWidth, 2.0f);
         EXPECT_EQ(p.constellationBoundWidth, 3.5f);
       }},
      {"constellation_stipple = off 0xAAAA", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.constellationLineStipple, 0);
         EXPECT_EQ(p.constellationBoundStipple, 0xAAAA);
       }},
      {"constellation_stipple = F0F0 off", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.constellationLineStipple, 0xF0F0);
         EXPECT_EQ(p.constellationBoundStipple, 0);
       }},
      {"label_scale = 2.5", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.labelScale, 2.5f); }},
      {"LABEL_SCALE = 3", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.labelScale, 3.0f); }},
      {"extrasolar_planet_file = planets.txt", "/root",
       [](const StarParameter& p) { EXPECT_STREQ(p.extrasolarPlanetFile, "/root/planets.txt"); }},
      {"extrasolar_planet_orbit_scale = 1000", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.extrasolarPlanetOrbitScale, 1000.0f); }},
      {"zRange_selection = ON 5 7", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.zRangeOn, 1);
         EXPECT_EQ(p.zRangeMin, 5.0);
         EXPECT_EQ(p.zRangeMax, 7.0);
       }},
      {"zRange_selection = Off", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.zRangeOn, 0);
         EXPECT_EQ(p.zRangeMin, 10.0);
       }},
      {"Vmag_Range_selection = on -1 6.5", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.vmagRangeOn, 1);
         EXPECT_EQ(p.vmagRangeMin, -1.0);
         EXPECT_EQ(p.vmagRangeMax, 6.5);
       }},
      {"Vmag_Range_selection = OFF", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.vmagRangeOn, 0); }},
      // Both bounds are brought onto the subclass scale after the order test.
      {"Sptype_selection = on G 2 20", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.sptypeOn[SPTYPE_G], 1);
         EXPECT_EQ(p.sptypeMin[SPTYPE_G], 2.0f);
         EXPECT_EQ(p.sptypeMax[SPTYPE_G], 10.0f);
       }},
      {"Sptype_selection = on Other -5 3", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.sptypeOn[SPTYPE_OTHER], 1);
         EXPECT_EQ(p.sptypeMin[SPTYPE_OTHER], -1.0f);
         EXPECT_EQ(p.sptypeMax[SPTYPE_OTHER], 3.0f);
       }},
      {"Sptype_selection = off K", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.sptypeOn[SPTYPE_K], 0); }},
      {"color_map = no_colormap", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.whichColorMap, _NO_COLOR_MAP); }},
      {"color_map = bv_colormap bv.txt -0.4 2.0", "/root",
       [](const StarParameter& p) {
         EXPECT_EQ(p.whichColorMap, _USE_BV_COLOR_MAP);
         EXPECT_STREQ(p.bvColormapFile, "/root/bv.txt");
         EXPECT_EQ(p.bvStart, (double)-0.4f);
         EXPECT_EQ(p.bvEnd, 2.0);
       }},
      {"color_map = sp_colormap sp.txt", "/root",
       [](const StarParameter& p) {
         EXPECT_EQ(p.whichColorMap, _USE_SPECTRAL_COLOR_MAP);
         EXPECT_STREQ(p.spColormapFile, "/root/sp.txt");
       }},
      {"pxsizeTex = 7", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.pxsizeTex, 7); }},
      // The writer's words behind the number are passed over.
      {"texSize          = 2.500000 (no in use)", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texSize, 2.5); }},
      {"texScale = 0.5", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.texScale, 0.5); }},
      {"texParaMinFilter = GL_NEAREST", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMinFilter, GL_NEAREST); }},
      {"texParaMinFilter = GL_LINEAR", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMinFilter, GL_LINEAR); }},
      {"texParaMinFilter = GL_NEAREST_MIPMAP_NEAREST", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMinFilter, GL_NEAREST_MIPMAP_NEAREST); }},
      {"texParaMinFilter = GL_LINEAR_MIPMAP_NEAREST", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMinFilter, GL_LINEAR_MIPMAP_NEAREST); }},
      {"texParaMinFilter = GL_NEAREST_MIPMAP_LINEAR", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMinFilter, GL_NEAREST_MIPMAP_LINEAR); }},
      {"texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMinFilter, GL_LINEAR_MIPMAP_LINEAR); }},
      {"texParaMagFilter = GL_NEAREST", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMagFilter, GL_NEAREST); }},
      {"texParaMagFilter = GL_LINEAR", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.texParaMagFilter, GL_LINEAR); }},
      {"filterSize = 0.25", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.filterSize, 0.25f); }},
      {"filterExp = 3", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.filterExp, 3.0f); }},
      {"filterCutoff = 0", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.filterCutoff, 0.0f); }},
      {"filterOrder = 0", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.filterOrder, 0.0f); }},
      {"filterRGB = 0.25 0.5 1", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.filterRGB[0], 0.25f);
         EXPECT_EQ(p.filterRGB[1], 0.5f);
         EXPECT_EQ(p.filterRGB[2], 1.0f);
       }},
      {"telescopeDiam = 2.4", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.telescopeDiam, 2.4f); }},
      {"filterType = Square", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.filterType, _STAR_FILTER_SQUARE); }},
      {"filterType = circular", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.filterType, _STAR_FILTER_CIRCULAR); }},
      {"filterType = BUTTONWORTH", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.filterType, _STAR_FILTER_BUTTERWORTH); }},
      {"texture_source = no", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.textureSource, STAR_TEX_NONE); }},
      {"texture_source = Airy", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.textureSource, STAR_TEX_AIRY); }},
      {"texture_source = gauss", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.textureSource, STAR_TEX_GAUSS); }},
      {"texture_source = fft", nullptr,
       [](const StarParameter& p) { EXPECT_EQ(p.textureSource, STAR_TEX_FFT); }},
      {"texture_source = FILE star.sgi", "/root",
       [](const StarParameter& p) {
         EXPECT_EQ(p.textureSource, STAR_TEX_FILE);
         EXPECT_STREQ(p.textureFile, "/root/star.sgi");
       }},
      {"exposure = 1.5", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.exposure, 1.5f); }},
      {"tuneIntensity = 0.5", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.tuneIntensity, 0.5f); }},
      {"starScale = 2", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.starScale, 2.0f); }},
      {"vmagMin = -10", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.vmagMin, -10.0f); }},
      {"vmagMin = 20", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.vmagMin, 20.0f); }},
      {"starAtYear = 2100", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.starAtYear, 2100); }},
      {"datasetAtYear = 2000", nullptr, [](const StarParameter& p) { EXPECT_EQ(p.datasetYear, 2000); }},
      {"LSR_KM = 11.1 12.24 7.25", nullptr,
       [](const StarParameter& p) {
         EXPECT_EQ(p.LSR[0], 11.1);
         EXPECT_EQ(p.LSR[1], 12.24);
         EXPECT_EQ(p.LSR[2], 7.25);
       }},
      // Longitude 90 points along y, latitude 90 along z.
      {"LSR_LB_SPEED = 90 0 10", nullptr,
       [](const StarParameter& p) {
         EXPECT_NEAR(p.LSR[0], 0.0, 1e-5);
         EXPECT_NEAR(p.LSR[1], 10.0, 1e-5);
         EXPECT_NEAR(p.LSR[2], 0.0, 1e-5);
       }},
      {"LSR_LB_SPEED = 0 90 4", nullptr,
       [](const StarParameter& p) {
         EXPECT_NEAR(p.LSR[0], 0.0, 1e-5);
         EXPECT_NEAR(p.LSR[1], 0.0, 1e-5);
         EXPECT_NEAR(p.LSR[2], 4.0, 1e-5);
       }},
  };
  for (const KeywordCase& c : cases) {
    SCOPED_TRACE(c.line);
    StarParameter p = defaults();
    EXPECT_EQ(parseStarParameterLine(&p, c.line, c.dir), STAR_PARAM_LINE_OK);
    c.check(p);
  }
}

TEST(StarParameterLine, LongitudeAndLatitudeGoToRadiansInSinglePrecision) {
  StarParameter p = defaults();
  ASSERT_EQ(parseStarParameterLine(&p, "LSR_LB_SPEED = 47.796286 23.690318 18.044115", nullptr),
            STAR_PARAM_LINE_OK);
  float l = 47.796286f / 180.0f * 3.1415927f, b = 23.690318f / 180.0f * 3.1415927f;
  EXPECT_DOUBLE_EQ(p.LSR[0], 18.044115f * cos((double)b) * cos((double)l));
  EXPECT_DOUBLE_EQ(p.LSR[2], 18.044115f * sin((double)b));
  EXPECT_NEAR(p.LSR[0], 11.1, 1e-5);
  EXPECT_NEAR(p.LSR[1], 12.24, 1e-5);
  EXPECT_NEAR(p.LSR[2], 7.25, 1e-5);
}

// The writer puts the vector twice; the second line, a few millionths off, does not replace the
// exact first. A longitude-latitude line that says something else is an edit, and wins.
TEST(StarParameterLine, LsrLinesOfOneVectorKeepTheKmValues) {
  StarParameter p = defaults();
  ASSERT_EQ(parseStarParameterLine(&p, "LSR_KM       = 11.100000 12.240000 7.250000", nullptr),
            STAR_PARAM_LINE_OK);
  ASSERT_EQ(parseStarParameterLine(&p, "LSR_LB_SPEED = 47.796286 23.690318 18.044115", nullptr),
            STAR_PARAM_LINE_OK);
  EXPECT_EQ(p.LSR[0], 11.1);
  EXPECT_EQ(p.LSR[1], 12.24);
  EXPECT_EQ(p.LSR[2], 7.25);
  ASSERT_EQ(parseStarParameterLine(&p, "LSR_LB_SPEED = 47.8 23.69 18.044115", nullptr), STAR_PARAM_LINE_OK);
  EXPECT_NE(p.LSR[0], 11.1);
  EXPECT_NEAR(p.LSR[0], 11.1, 1e-3);
  ASSERT_EQ(parseStarParameterLine(&p, "LSR_LB_SPEED = 90 0 10", nullptr), STAR_PARAM_LINE_OK);
  EXPECT_NEAR(p.LSR[1], 10.0, 1e-5);
  // Also a small vector: the lines agree within a few millionths.
  ASSERT_EQ(parseStarParameterLine(&p, "LSR_KM = 0.000001 0.000002 0.000003", nullptr), STAR_PARAM_LINE_OK);
  ASSERT_EQ(parseStarParameterLine(&p, "LSR_LB_SPEED = 63.434949 53.300775 0.000004", nullptr),
            STAR_PARAM_LINE_OK);
  EXPECT_EQ(p.LSR[2], 0.000003);
}

// "keyword =" with nothing behind it keeps the value; the flag of the colours stays on too.
TEST(StarParameterLine, KnownKeywordWithoutValueKeepsTheValue) {
  StarParameter p = defaults();
  ASSERT_EQ(parseStarParameterLine(&p, "constellation_colors = 0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8", nullptr),
            STAR_PARAM_LINE_OK);
  StarParameter before = p;
  for (const char* line : {"constellation_colors =", "constellation_colors  =   ", "label_scale =",
                           "color_map =", "texParaMagFilter = ", "LSR_KM ="}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(parseStarParameterLine(&p, line, nullptr), STAR_PARAM_LINE_OK);
    EXPECT_TRUE(sameRecord(p, before));
  }
  EXPECT_EQ(p.constellationColorOn, 1);
  EXPECT_FLOAT_EQ(p.constellationLineColor[0], 0.1f);
}

struct RefusedCase {
  const char* line;
  int result;
};

TEST(StarParameterLine, EveryCheckRefusesAndLeavesTheRecord) {
  const std::vector<RefusedCase> cases = {
      {"label_scale", STAR_PARAM_LINE_NOT_ENOUGH},
      {"label_scale : 2", STAR_PARAM_LINE_NO_EQUALS},
      {"label_scale == 2", STAR_PARAM_LINE_NO_EQUALS},
      {"label_scale=2", STAR_PARAM_LINE_NOT_ENOUGH},
      {"nonsense = 1", STAR_PARAM_LINE_UNKNOWN},
      {"nonsense =", STAR_PARAM_LINE_UNKNOWN},
      {"label_scale = big", STAR_PARAM_LINE_BAD_INPUT},
      {"constellation_colors = 0.1 0.2 0.3 0.4 0.5 0.6 0.7", STAR_PARAM_LINE_NOT_ENOUGH},
      {"constellation_width = 1", STAR_PARAM_LINE_NOT_ENOUGH},
      {"constellation_stipple = off", STAR_PARAM_LINE_NOT_ENOUGH},
      {"constellation_stipple = OFF off", STAR_PARAM_LINE_BAD_INPUT},  // "off" in exact case only
      {"constellation_stipple = off 0xZZ", STAR_PARAM_LINE_BAD_INPUT},
      {"zRange_selection = on 5 2", STAR_PARAM_LINE_BAD_RANGE},
      {"zRange_selection = on 5", STAR_PARAM_LINE_NOT_ENOUGH},
      {"zRange_selection = maybe 1 2", STAR_PARAM_LINE_BAD_INPUT},
      {"Vmag_Range_selection = on 3 1", STAR_PARAM_LINE_BAD_RANGE},
      {"Vmag_Range_selection = sometimes", STAR_PARAM_LINE_BAD_INPUT},
      {"Sptype_selection = on G 5 2", STAR_PARAM_LINE_BAD_RANGE},
      {"Sptype_selection = on G 2 1", STAR_PARAM_LINE_BAD_RANGE},
      {"Sptype_selection = on Q 1 2", STAR_PARAM_LINE_BAD_INPUT},
      {"Sptype_selection = on g 1 2", STAR_PARAM_LINE_BAD_INPUT},  // the class in exact case
      {"Sptype_selection = on other 1 2", STAR_PARAM_LINE_BAD_INPUT},
      {"Sptype_selection = on G 1", STAR_PARAM_LINE_NOT_ENOUGH},
      {"Sptype_selection = off", STAR_PARAM_LINE_NOT_ENOUGH},
      {"Sptype_selection = perhaps G 1 2", STAR_PARAM_LINE_BAD_INPUT},
      {"color_map = bv_colormap bv.txt 2 1", STAR_PARAM_LINE_BAD_RANGE},
      {"color_map = bv_colormap bv.txt 1", STAR_PARAM_LINE_NOT_ENOUGH},
      {"color_map = sp_colormap", STAR_PARAM_LINE_NOT_ENOUGH},
      {"color_map = rainbow", STAR_PARAM_LINE_BAD_INPUT},
      {"pxsizeTex = -1", STAR_PARAM_LINE_BAD_INPUT},
      {"texSize = -1", STAR_PARAM_LINE_BAD_INPUT},
      {"texScale = -0.5", STAR_PARAM_LINE_BAD_INPUT},
      {"texParaMinFilter = gl_linear", STAR_PARAM_LINE_BAD_INPUT},
      {"texParaMinFilter = GL_CUBIC", STAR_PARAM_LINE_BAD_INPUT},
      {"texParaMagFilter = GL_LINEAR_MIPMAP_LINEAR", STAR_PARAM_LINE_BAD_INPUT},
      {"texParaMagFilter = gl_nearest", STAR_PARAM_LINE_BAD_INPUT},
      {"filterSize = 1.5", STAR_PARAM_LINE_BAD_RANGE},
      {"filterSize = -0.1", STAR_PARAM_LINE_BAD_RANGE},
      {"filterExp = 0", STAR_PARAM_LINE_BAD_INPUT},
      {"filterCutoff = 2", STAR_PARAM_LINE_BAD_RANGE},
      {"filterOrder = -1", STAR_PARAM_LINE_BAD_INPUT},
      {"filterRGB = 1 1", STAR_PARAM_LINE_NOT_ENOUGH},
      {"filterRGB = 1 1.5 1", STAR_PARAM_LINE_BAD_RANGE},
      {"filterRGB = -0.5 1 1", STAR_PARAM_LINE_BAD_RANGE},
      {"telescopeDiam = 0", STAR_PARAM_LINE_BAD_INPUT},
      {"filterType = butterworth", STAR_PARAM_LINE_BAD_INPUT},  // the file spells it "buttonworth"
      {"texture_source = Sun", STAR_PARAM_LINE_BAD_INPUT},
      {"texture_source = File", STAR_PARAM_LINE_NOT_ENOUGH},
      {"exposure = 0", STAR_PARAM_LINE_BAD_INPUT},
      {"tuneIntensity = -1", STAR_PARAM_LINE_BAD_INPUT},
      {"starScale = 0", STAR_PARAM_LINE_BAD_INPUT},
      {"vmagMin = 21", STAR_PARAM_LINE_BAD_RANGE},
      {"vmagMin = -11", STAR_PARAM_LINE_BAD_RANGE},
      {"LSR_KM = 1 2", STAR_PARAM_LINE_NOT_ENOUGH},
      {"LSR_LB_SPEED = 1 2", STAR_PARAM_LINE_NOT_ENOUGH},
  };
  for (const RefusedCase& c : cases) {
    SCOPED_TRACE(c.line);
    StarParameter p = fullRecord();
    StarParameter before = p;
    EXPECT_EQ(parseStarParameterLine(&p, c.line, nullptr), c.result);
    EXPECT_TRUE(sameRecord(p, before));
  }
}

// A path that would not fit its 512 bytes behind the folder is refused, not cut.
TEST(StarParameterLine, PathTooLongForItsFieldIsRefused) {
  std::string dir(300, 'd');
  std::string line = "constellation_file = " + std::string(300, 'f');
  StarParameter p = defaults();
  EXPECT_EQ(parseStarParameterLine(&p, line.c_str(), dir.c_str()), STAR_PARAM_LINE_BAD_INPUT);
  EXPECT_STREQ(p.constellationFile, "");
  EXPECT_EQ(parseStarParameterLine(&p, line.c_str(), "/d"), STAR_PARAM_LINE_OK);
  EXPECT_EQ(std::string(p.constellationFile), "/d/" + std::string(300, 'f'));
}

// ---------------------------------------------------------------------------------------------
// Reading a file: header, messages and their line numbers

TEST(StarParameterFile, NullNameFailedOpenAndBadHeaderSpeakUnlessQuiet) {
  StarList list;
  StarParameter before = snapshot(list);
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.readStarParameter(nullptr, nullptr, false); }),
            "Err: (NULL) input for readStarParameter\n");
  EXPECT_EQ(r, -1);
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.readStarParameter(nullptr, nullptr, true); }), "");
  EXPECT_EQ(r, -1);

  TempDir dir;
  std::string missing = dir.file("missing.txt");
  ReadOutcome o = readParams(list, missing);
  EXPECT_EQ(o.result, -1);
  EXPECT_EQ(o.err, "Err: fail to open [" + missing + "] in readStarParameter\n");
  o = readParams(list, missing, nullptr, true);
  EXPECT_EQ(o.result, -1);
  EXPECT_EQ(o.err, "");

  for (const char* text :
       {"", "Star Parameters\n", "Star Parameter\n---------------\n", "Star Parameters\n-------------\n",
        "---------------\nStar Parameters\n", "Star Parameters\n---------------"}) {
    SCOPED_TRACE(text);
    ParamFile f(text, false);
    o = readParams(list, f.path);
    EXPECT_EQ(o.result, -1);
    EXPECT_EQ(o.err, "Err: invalid header in star parameter file [" + f.path + "]\n");
    o = readParams(list, f.path, nullptr, true);
    EXPECT_EQ(o.result, -1);
    EXPECT_EQ(o.err, "");
  }
  EXPECT_TRUE(sameRecord(before, snapshot(list)));
}

// The header is tested over its first 15 characters with no regard to case.
TEST(StarParameterFile, HeaderIsTestedOverFifteenCharactersWithoutCase) {
  for (const char* header :
       {"star parameters\n---------------\n", "STAR PARAMETERS of the sky\n----------------------\n"}) {
    SCOPED_TRACE(header);
    ParamFile f(std::string(header) + "pxsizeTex = 9\n", false);
    StarParameter p = defaults();
    EXPECT_EQ(parseStarParameterFile(f.path.c_str(), nullptr, false, &p), 1);
    EXPECT_EQ(p.pxsizeTex, 9);
  }
}

struct MessageCase {
  const char* body;
  const char* message;
};

// Line numbers count every line from the header's first, comments and blank lines included;
// line faults are reported also when quiet, and nothing of the file is applied.
TEST(StarParameterFile, EveryLineMessageWithItsLineNumber) {
  const std::vector<MessageCase> cases = {
      {"# comment\n\nlabel_scale\n",
       "Err(StarList::readStarParameter): (line 5)\n\tnot enough input argument in line [label_scale]\n"},
      {"pxsizeTex = 9\n   label_scale : 2   \n",
       "Err(StarList::readStarParameter): (line 4)\n\tinvalid data line format in line [   label_scale : "
       "2]\n"},
      {"\n\n\n\nzRange_selection = on 5 2\n",
       "Err(StarList::readStarParameter): (line 7)\n\tinvalid data range in line [zRange_selection = on 5 "
       "2]\n"},
      {"filterExp = 0\n",
       "Err(StarList::readStarParameter): (line 3)\n\tinvalid data input in line [filterExp = 0]\n"},
      {"pxsizeTex = 9\n# note\nstarColour = 1 0 0\n",
       "Err(StarList::readStarParameter): (line 5)\n\tunknown identifier [starColour] in line [starColour = "
       "1 0 0]\n"},
      // An unknown keyword stops the read also with nothing behind it.
      {"starColour =\n",
       "Err(StarList::readStarParameter): (line 3)\n\tunknown identifier [starColour] in line [starColour "
       "=]\n"},
      {"constellation_colors = 1 1 1\n",
       "Err(StarList::readStarParameter): (line 3)\n\tnot enough input argument in line "
       "[constellation_colors = 1 1 1]\n"},
  };
  for (const MessageCase& c : cases) {
    for (bool quiet : {false, true}) {
      SCOPED_TRACE(std::string(c.body) + (quiet ? " (quiet)" : ""));
      ParamFile f(c.body);
      StarList list;
      StarParameter before = snapshot(list);
      ReadOutcome o = readParams(list, f.path, nullptr, quiet);
      EXPECT_EQ(o.result, -1);
      EXPECT_EQ(o.err, c.message);
      EXPECT_TRUE(sameRecord(before, snapshot(list)));
    }
  }
}

// Keyword order in the file does not matter, a later line overrides an earlier one, and what the
// file does not name keeps the value the object had.
TEST(StarParameterFile, LaterLineWinsAndUnnamedValuesStay) {
  ParamFile f("exposure = 2\npxsizeTex = 3\nPXSIZETEX = 5\n");
  StarParameter p = defaults();
  p.starScale = 3.0f;
  ASSERT_EQ(parseStarParameterFile(f.path.c_str(), nullptr, false, &p), 1);
  EXPECT_EQ(p.pxsizeTex, 5);
  EXPECT_EQ(p.exposure, 2.0f);
  EXPECT_EQ(p.starScale, 3.0f);
}

// The colours line with nothing behind it leaves colours and flag as they were.
TEST(StarParameterFile, EmptyColoursLineLeavesColoursAndFlag) {
  ParamFile f("constellation_colors =\nconstellation_width =\n");
  StarParameter p = fullRecord();
  StarParameter before = p;
  ASSERT_EQ(parseStarParameterFile(f.path.c_str(), nullptr, false, &p), 1);
  EXPECT_TRUE(sameRecord(p, before));
  EXPECT_EQ(p.constellationColorOn, 1);
}

// The same through the object: the colours and their flag stay as they were set.
TEST(StarParameterFile, EmptyColoursLineKeepsTheObjectsColours) {
  StarList list;
  const float line[4] = {0.5f, 0.5f, 0.5f, 1.0f}, bound[4] = {0.25f, 0.25f, 0.25f, 1.0f};
  ASSERT_EQ(list.setConstellationColors(line, bound), 1);
  ParamFile f("constellation_colors =\ntexParaMagFilter = GL_LINEAR\n");
  ReadOutcome o = readParams(list, f.path);
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(list.param.constellationColorOn, 1);
  EXPECT_EQ(list.param.constellationLineColor[0], 0.5f);
  EXPECT_EQ(list.param.constellationBoundColor[2], 0.25f);
}

// ---------------------------------------------------------------------------------------------
// Damaged files: a clear message, never a crash or a hang, the record as it was

TEST(StarParameterFile, LastLineWithoutNewlineCountsForNothing) {
  ParamFile f("pxsizeTex = 7\ntexParaMagFilter = GL_LINEAR\npxsizeTex = 9");
  StarList list;
  ReadOutcome o = readParams(list, f.path);
  EXPECT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(list.param.pxsizeTex, 7);
}

TEST(StarParameterFile, DamagedFilesAreRefusedWithTheRecordUnchanged) {
  std::string longData = "label_scale = " + std::string(600, '9') + "\n";
  // The report shows the first 40 characters of an over-long line.
  std::string longMessage =
      "Err(StarList::readStarParameter): (line 3)\n\tline longer than 511 characters in line [" +
      longData.substr(0, 40) + "...]\n";
  const std::vector<MessageCase> cases = {
      {"pxsizeTex = 9\nfilterRGB = 0.5 0.5\n",
       "Err(StarList::readStarParameter): (line 4)\n\tnot enough input argument in line [filterRGB = 0.5 "
       "0.5]\n"},
      {"pxsizeTex = 9\nfilterRGB 0.5 0.5 0.5\n",
       "Err(StarList::readStarParameter): (line 4)\n\tinvalid data line format in line [filterRGB 0.5 0.5 "
       "0.5]\n"},
      {longData.c_str(), longMessage.c_str()},
  };
  for (const MessageCase& c : cases) {
    SCOPED_TRACE(c.message);
    ParamFile f(c.body);
    StarList list;
    StarParameter before = snapshot(list);
    ReadOutcome o = readParams(list, f.path);
    EXPECT_EQ(o.result, -1);
    EXPECT_EQ(o.err, c.message);
    EXPECT_TRUE(sameRecord(before, snapshot(list)));
  }
}

// A line can hold 511 characters before its newline; one more is too long. A comment may be as
// long as it likes.
TEST(StarParameterFile, LineLengthLimit) {
  std::string fits = "pxsizeTex = 5";
  fits += std::string(STAR_PARAM_MAX_LINE - fits.size() - 1, ' ') + "5";  // "pxsizeTex = 5 ... 5"
  ASSERT_EQ(fits.size(), 511u);
  std::string longComment = "#" + std::string(2000, 'x') + "\n";
  ParamFile ok(longComment + fits + "\n");
  StarParameter p = defaults();
  EXPECT_EQ(parseStarParameterFile(ok.path.c_str(), nullptr, false, &p), 1);
  EXPECT_EQ(p.pxsizeTex, 5);

  ParamFile tooLong(fits + " \n");
  p = defaults();
  int r = 0;
  std::string err = testsupport::stderrOf([&] { r = parseStarParameterFile(tooLong.path.c_str(), nullptr, false, &p); });
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Err(StarList::readStarParameter): (line 3)\n\tline longer than 511 characters in line [" +
                     fits.substr(0, 40) + "...]\n");
  EXPECT_TRUE(sameRecord(p, defaults()));
}

TEST(StarParameterFile, BinaryJunkIsRefused) {
  // Bytes with a zero among them: the line is shown up to the zero.
  std::string junk = std::string("\x01\x02", 2) + std::string(1, '\0') + "\xff" + "pxsizeTex = 3\n";
  ParamFile f("pxsizeTex = 9\n" + junk);
  StarList list;
  StarParameter before = snapshot(list);
  ReadOutcome o = readParams(list, f.path);
  EXPECT_EQ(o.result, -1);
  EXPECT_EQ(o.err, "Err(StarList::readStarParameter): (line 4)\n\tinvalid data input in line [\x01\x02]\n");
  EXPECT_TRUE(sameRecord(before, snapshot(list)));

  // Random bytes behind a good header and instead of one.
  std::mt19937 rng(2024);
  std::string noise;
  for (int i = 0; i < 20000; i++) noise += (char)(rng() & 0xFF);
  ParamFile behindHeader(noise);
  o = readParams(list, behindHeader.path);
  EXPECT_EQ(o.result, -1);
  EXPECT_EQ(o.err.rfind("Err(StarList::readStarParameter): (line ", 0), 0u) << o.err;
  EXPECT_TRUE(sameRecord(before, snapshot(list)));

  ParamFile noHeader(noise, false);
  o = readParams(list, noHeader.path);
  EXPECT_EQ(o.result, -1);
  EXPECT_EQ(o.err, "Err: invalid header in star parameter file [" + noHeader.path + "]\n");
  EXPECT_TRUE(sameRecord(before, snapshot(list)));
}

// A fault anywhere in the file applies nothing of it, also not the good lines before the fault.
TEST(StarParameterFile, FaultLateInTheFileAppliesNothing) {
  ParamFile f("texParaMagFilter = GL_LINEAR\npxsizeTex = 9\nexposure = 3\nvmagMin = 30\n");
  StarList list;
  StarParameter before = snapshot(list);
  ReadOutcome o = readParams(list, f.path);
  EXPECT_EQ(o.result, -1);
  EXPECT_EQ(o.err,
            "Err(StarList::readStarParameter): (line 6)\n\tinvalid data range in line [vmagMin = 30]\n");
  EXPECT_TRUE(sameRecord(before, snapshot(list)));
}

// ---------------------------------------------------------------------------------------------
// Writing

TEST(StarParameterWrite, DefaultsByteForByte) {
  EXPECT_EQ(written(defaults()), kDefaultText);
}

// On the terminal the note for editors and the two blank lines after it are left out.
TEST(StarParameterWrite, StdoutLeavesOutTheNote) {
  StarList list;
  int r = 0;
  std::string out = testsupport::stdoutOf([&] { r = list.writeStarParameter(stdout); });
  EXPECT_EQ(r, 1);
  std::string expected = replaceOnce(
      kDefaultText, "# NOTE : identifier names is important while order is not important (only edit)\n\n\n",
      "");
  EXPECT_EQ(out, expected);
  std::string err = testsupport::stderrOf([&] { r = list.writeStarParameter(stderr, list.param); });
  EXPECT_EQ(r, 1);
  EXPECT_EQ(err, expected);
}

TEST(StarParameterWrite, FullRecordByteForByte) {
  std::string expected = kDefaultText;
  expected = replaceOnce(expected, "constellation_file    = \n", "constellation_file    = /sky/const.txt\n");
  expected =
      replaceOnce(expected, "constellation_colors  =\n",
                  "constellation_colors  = 0.100000 0.200000 0.300000 0.400000 0.500000 0.600000 0.700000 "
                  "0.800000\n");
  expected = replaceOnce(expected, "constellation_width =\n", "constellation_width   = 2.000000 3.000000\n");
  expected =
      replaceOnce(expected, "constellation_stipple = off off\n", "constellation_stipple = 0xf0f0 0xff\n");
  expected = replaceOnce(expected, "label_scale = 1.000000\n", "label_scale = 2.500000\n");
  expected = replaceOnce(expected, "extrasolar_planet_file        = \n",
                         "extrasolar_planet_file        = /sky/planets.txt\n");
  expected = replaceOnce(expected, "orbit_scale = 50000.000000\n", "orbit_scale = 1234.500000\n");
  expected = replaceOnce(expected, "zRange_selection     = off\n",
                         "zRange_selection     = on 12.000000 20.500000\n");
  expected =
      replaceOnce(expected, "Vmag_Range_selection = off\n", "Vmag_Range_selection = on -1.000000 6.500000\n");
  expected = replaceOnce(expected, "Sptype_selection     = off O\n",
                         "Sptype_selection     = on O -1.000000 5.000000\n");
  expected = replaceOnce(expected, "Sptype_selection     = off G\n",
                         "Sptype_selection     = on G 2.000000 10.000000\n");
  expected = replaceOnce(expected, "color_map = no_colormap\n",
                         "color_map = bv_colormap /sky/bv.txt -0.400000 2.000000\n");
  expected = replaceOnce(expected, "pxsizeTex = 4\n", "pxsizeTex = 6\n");
  expected = replaceOnce(expected, "texSize          = 1.000000 (no in use)\n",
                         "texSize          = 2.500000 (no in use)\n");
  expected = replaceOnce(expected, "texScale         = 1.000000\n", "texScale         = 0.750000\n");
  expected = replaceOnce(expected, "texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR\n",
                         "texParaMinFilter = GL_NEAREST_MIPMAP_LINEAR\n");
  expected = replaceOnce(expected, "texParaMagFilter = \n", "texParaMagFilter = GL_NEAREST\n\n");
  expected = replaceOnce(expected, "filterSize    = 1.000000\n", "filterSize    = 0.300000\n");
  expected = replaceOnce(expected, "filterExp     = 1.000000\n", "filterExp     = 2.000000\n");
  expected = replaceOnce(expected, "filterCutoff  = 1.000000\n", "filterCutoff  = 0.900000\n");
  expected = replaceOnce(expected, "filterOrder   = 1.000000\n", "filterOrder   = 1.500000\n");
  expected = replaceOnce(expected, "filterRGB     = 1.000000 1.000000 1.000000\n",
                         "filterRGB     = 0.200000 0.400000 0.600000\n");
  expected = replaceOnce(expected, "telescopeDiam = 0.100000\n", "telescopeDiam = 0.250000\n");
  expected = replaceOnce(expected, "filterType    = circular\n", "filterType    = square \n");
  expected = replaceOnce(expected, "texture_source = No\n", "texture_source = File /sky/star.sgi\n");
  expected = replaceOnce(expected, "exposure      = 1.000000\n", "exposure      = 1.500000\n");
  expected = replaceOnce(expected, "tuneIntensity = 1.000000\n", "tuneIntensity = 0.800000\n");
  expected = replaceOnce(expected, "starScale = 1.000000\n", "starScale = 1.250000\n");
  expected = replaceOnce(expected, "vmagMin   = 10.000000\n", "vmagMin   = 8.000000\n");
  expected = replaceOnce(expected, "starAtYear    = 1991\n", "starAtYear    = 2000\n");
  expected = replaceOnce(expected, "datasetAtYear = 1991\n", "datasetAtYear = 1990\n");
  expected = replaceOnce(expected, "LSR_KM       = 0.000000 0.000000 0.000000\n",
                         "LSR_KM       = 11.100000 12.240000 7.250000\n");
  expected = replaceOnce(expected, "LSR_LB_SPEED = 0.000000 0.000000 0.000000\n",
                         "LSR_LB_SPEED = 47.796286 23.690318 18.044115\n");
  EXPECT_EQ(written(fullRecord()), expected);
}

struct WriteVariant {
  std::function<void(StarParameter&)> change;
  const char* from;
  const char* to;
};

TEST(StarParameterWrite, EveryWordOfTheChoices) {
  const std::vector<WriteVariant> cases = {
      {[](StarParameter& p) { p.constellationLineStipple = 0xAAAA; }, "constellation_stipple = off off\n",
       "constellation_stipple = 0xaaaa off\n"},
      {[](StarParameter& p) { p.constellationBoundStipple = 0xAAAA; }, "constellation_stipple = off off\n",
       "constellation_stipple = off 0xaaaa\n"},
      {[](StarParameter& p) {
         p.whichColorMap = _USE_SPECTRAL_COLOR_MAP;
         copyText(p.spColormapFile, "sp.txt", sizeof p.spColormapFile);
       },
       "color_map = no_colormap\n", "color_map = sp_colormap sp.txt\n"},
      {[](StarParameter& p) { p.texParaMinFilter = GL_NEAREST; },
       "texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR\n", "texParaMinFilter = GL_NEAREST\n"},
      {[](StarParameter& p) { p.texParaMinFilter = GL_LINEAR; },
       "texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR\n", "texParaMinFilter = GL_LINEAR\n"},
      {[](StarParameter& p) { p.texParaMinFilter = GL_NEAREST_MIPMAP_NEAREST; },
       "texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR\n", "texParaMinFilter = GL_NEAREST_MIPMAP_NEAREST\n"},
      {[](StarParameter& p) { p.texParaMinFilter = GL_LINEAR_MIPMAP_NEAREST; },
       "texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR\n", "texParaMinFilter = GL_LINEAR_MIPMAP_NEAREST\n"},
      {[](StarParameter& p) { p.texParaMagFilter = GL_LINEAR; }, "texParaMagFilter = \n",
       "texParaMagFilter = GL_LINEAR\n\n"},
      {[](StarParameter& p) { p.filterType = _STAR_FILTER_BUTTERWORTH; }, "filterType    = circular\n",
       "filterType    = buttonworth\n"},
      {[](StarParameter& p) { p.textureSource = STAR_TEX_AIRY; }, "texture_source = No\n",
       "texture_source = Airy\n"},
      {[](StarParameter& p) { p.textureSource = STAR_TEX_GAUSS; }, "texture_source = No\n",
       "texture_source = Gauss\n"},
      {[](StarParameter& p) { p.textureSource = STAR_TEX_FFT; }, "texture_source = No\n",
       "texture_source = FFT\n"},
  };
  for (const WriteVariant& c : cases) {
    SCOPED_TRACE(c.to);
    StarParameter p = defaults();
    c.change(p);
    EXPECT_EQ(written(p), replaceOnce(kDefaultText, c.from, c.to));
  }
}

TEST(StarParameterWrite, ToANamedFile) {
  TempDir dir;
  StarList list;
  list.param.exposure = 2.0f;
  std::string f = dir.file("out.txt");
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.writeStarParameter(f.c_str()); }), "");
  EXPECT_EQ(r, 1);
  EXPECT_EQ(readFile(f),
            replaceOnce(kDefaultText, "exposure      = 1.000000\n", "exposure      = 2.000000\n"));

  std::string bad = dir.file("no/such/folder/out.txt");
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.writeStarParameter(bad.c_str()); }),
            "Err (writeStarParameter): error writing star parameter to [" + bad + "]\n");
  EXPECT_EQ(r, -1);
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.writeStarParameter((const char*)nullptr); }),
            "Err (writeStarParameter): error writing star parameter to [(NULL)]\n");
  EXPECT_EQ(r, -1);
  // A device that takes nothing: the write fails when the file is closed.
  if (testsupport::fileExists("/dev/full")) {
    EXPECT_EQ(testsupport::stderrOf([&] { r = list.writeStarParameter("/dev/full"); }),
              "Err (writeStarParameter): error writing star parameter to [/dev/full]\n");
    EXPECT_EQ(r, -1);
  }
}

// ---------------------------------------------------------------------------------------------
// Write, read back, write again

TEST(StarParameterRoundTrip, WriteReadWriteGivesTheSameBytes) {
  for (const StarParameter& start : {defaults(), fullRecord()}) {
    TempDir dir;
    std::string a = dir.file("a.txt");
    writeFile(a, written(start));
    StarParameter back = defaults();
    ASSERT_EQ(parseStarParameterFile(a.c_str(), nullptr, false, &back), 1);
    EXPECT_EQ(written(back), readFile(a));
    // The values themselves come back (the vector through its longitude, latitude and speed).
    EXPECT_STREQ(back.textureFile, start.textureFile);
    EXPECT_EQ(back.constellationBoundStipple, start.constellationBoundStipple);
    EXPECT_EQ(back.sptypeOn[SPTYPE_G], start.sptypeOn[SPTYPE_G]);
    EXPECT_EQ(back.texParaMagFilter, start.texParaMagFilter);
    for (int i = 0; i < 3; i++) EXPECT_NEAR(back.LSR[i], start.LSR[i], 1e-5);
  }
}

TEST(StarParameterRoundTrip, TheSkysParameterFile) {
  StarParameter p = defaults();
  ASSERT_EQ(parseStarParameterFile(halvanePath().c_str(), dataRoot().c_str(), false, &p), 1);
  TempDir dir;
  std::string a = dir.file("a.txt");
  writeFile(a, written(p));
  StarParameter back = defaults();
  ASSERT_EQ(parseStarParameterFile(a.c_str(), nullptr, false, &back), 1);
  EXPECT_EQ(written(back), readFile(a));
}

// Through the object: read and apply, write, read and apply into a fresh object, write again.
TEST(StarParameterRoundTrip, ThroughTheObject) {
  std::string root = dataRoot();
  ParamFile f(
      "color_map = bv_colormap data/stardata/bv_colormap.txt -0.4 2.0\n"
      "zRange_selection = on 12 22\n"
      "Vmag_Range_selection = on -1 7\n"
      "Sptype_selection = on M 0 5\n"
      "pxsizeTex = 6\n"
      "texScale = 0.5\n"
      "texParaMinFilter = GL_LINEAR\n"
      "texParaMagFilter = GL_NEAREST\n"
      "filterSize = 0.4\n"
      "filterCutoff = 0.7\n"
      "telescopeDiam = 0.3\n"
      "texture_source = Airy\n"
      "exposure = 1.5\n"
      "tuneIntensity = 0.5\n"
      "starScale = 2\n"
      "vmagMin = 9\n"
      "starAtYear = 2010\n"
      "datasetAtYear = 2000\n"
      "LSR_KM = 11.1 12.24 7.25\n");
  StarList first;
  ReadOutcome o = readParams(first, f.path, root.c_str());
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(first.param.textureSource, STAR_TEX_AIRY);
  EXPECT_EQ(first.param.texSize, 6.0);
  EXPECT_EQ(first.param.sptypeOn[SPTYPE_M], 1);
  EXPECT_NE(first.bvColorMap, nullptr);
  TempDir dir;
  std::string a = dir.file("a.txt"), b = dir.file("b.txt");
  ASSERT_EQ(first.writeStarParameter(a.c_str()), 1);

  StarList second;
  o = readParams(second, a);
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  ASSERT_EQ(second.writeStarParameter(b.c_str()), 1);
  EXPECT_EQ(readFile(b), readFile(a));
}

// ---------------------------------------------------------------------------------------------
// The sky's own parameter file

TEST(StarParameterHalvane, ParsesToTheValuesItNames) {
  std::string root = dataRoot();
  StarParameter p = defaults();
  ASSERT_EQ(parseStarParameterFile(halvanePath().c_str(), root.c_str(), false, &p), 1);
  EXPECT_EQ(std::string(p.constellationFile), root + "/data/stardata/constellation.txt");
  EXPECT_EQ(p.constellationColorOn, 1);
  EXPECT_FLOAT_EQ(p.constellationLineColor[0], 0.30f);
  EXPECT_FLOAT_EQ(p.constellationBoundColor[3], 0.60f);
  EXPECT_EQ(p.constellationWidthOn, 1);
  EXPECT_EQ(p.constellationLineWidth, 1.0f);
  EXPECT_EQ(p.constellationLineStipple, 0);
  EXPECT_EQ(p.constellationBoundStipple, 0xAAAA);
  EXPECT_EQ(p.zRangeOn, 0);
  EXPECT_EQ(p.vmagRangeOn, 0);
  EXPECT_EQ(p.whichColorMap, _USE_BV_COLOR_MAP);
  EXPECT_EQ(std::string(p.bvColormapFile), root + "/data/stardata/bv_colormap.txt");
  EXPECT_EQ(p.bvStart, (double)-0.4f);
  EXPECT_EQ(p.bvEnd, 2.0);
  EXPECT_EQ(p.texParaMinFilter, GL_LINEAR_MIPMAP_LINEAR);
  EXPECT_EQ(p.texParaMagFilter, GL_LINEAR);
  EXPECT_EQ(p.filterSize, 0.5f);
  EXPECT_EQ(p.filterCutoff, 0.8f);
  EXPECT_EQ(p.textureSource, STAR_TEX_GAUSS);
  EXPECT_EQ(p.starAtYear, 2000);
  EXPECT_EQ(p.datasetYear, 2000);
  EXPECT_EQ(p.LSR[0], 11.1);
  EXPECT_EQ(p.LSR[1], 12.24);
  EXPECT_EQ(p.LSR[2], 7.25);
}

// The colour map, texture and the rest of the sky's file reach an object without a catalogue.
// The constellation lines are left out here, as constellations point into the catalogue (the
// next test has them).
TEST(StarParameterHalvane, ColourMapAndTheRestApply) {
  std::string text = readFile(halvanePath()), kept;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\n', at);
    std::string line = text.substr(at, end - at + 1);
    if (line.rfind("constellation_", 0) != 0) kept += line;
    at = end + 1;
  }
  ASSERT_NE(kept, text);
  TempDir dir;
  std::string f = dir.file("sky.txt");
  writeFile(f, kept);
  StarList list;
  ReadOutcome o = readParams(list, f, dataRoot().c_str());
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  ASSERT_NE(list.bvColorMap, nullptr);
  EXPECT_EQ(list.param.whichColorMap, _USE_BV_COLOR_MAP);
  EXPECT_EQ(std::string(list.param.bvColormapFile), dataRoot() + "/data/stardata/bv_colormap.txt");
  EXPECT_EQ(list.bvColorMap->startValue, -0.4f);
  EXPECT_EQ(list.bvColorMap->endValue, 2.0f);
  EXPECT_EQ(list.param.textureSource, STAR_TEX_GAUSS);
  EXPECT_EQ(list.param.filterSize, 0.5f);
  EXPECT_EQ(list.param.texParaMagFilter, GL_LINEAR);
  EXPECT_EQ(list.param.starAtYear, 2000);
  EXPECT_EQ(list.param.datasetYear, 2000);
  EXPECT_EQ(list.param.LSR[1], 12.24);
}

// The whole file on a real catalogue: constellations and colour map load with it.
TEST(StarParameterHalvane, LoadsWithConstellationsAndColourMap) {
  StarList list;
  std::string hip = testsupport::starSetPath(6);
  int r = 0;
  testsupport::stderrOf([&] { r = list.readStarFile(hip.data(), 0, true); });
  ASSERT_EQ(r, 1);
  ReadOutcome o = readParams(list, halvanePath(), dataRoot().c_str());
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(list.getNumConstellations(), 88);
  ASSERT_NE(list.constellations, nullptr);
  EXPECT_GT(list.constellations[0].numLines, 0);
  EXPECT_EQ(std::string(list.param.constellationFile), dataRoot() + "/data/stardata/constellation.txt");
  EXPECT_EQ(list.param.constellationColorOn, 1);
  EXPECT_EQ(list.param.constellationWidthOn, 1);
  EXPECT_EQ(list.param.constellationBoundStipple, 0xAAAA);
  ASSERT_NE(list.bvColorMap, nullptr);
  EXPECT_EQ(list.param.whichColorMap, _USE_BV_COLOR_MAP);
  EXPECT_EQ(list.param.textureSource, STAR_TEX_GAUSS);
  EXPECT_EQ(list.param.starAtYear, 2000);
}

TEST(StarParameterHalvane, SpectralColourMapThroughTheFile) {
  ParamFile f("color_map = sp_colormap data/stardata/sp_colormap.txt\ntexParaMagFilter = GL_LINEAR\n");
  StarList list;
  ReadOutcome o = readParams(list, f.path, dataRoot().c_str());
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  ASSERT_NE(list.spColorMap, nullptr);
  EXPECT_EQ(list.param.whichColorMap, _USE_SPECTRAL_COLOR_MAP);
  EXPECT_EQ(std::string(list.param.spColormapFile), dataRoot() + "/data/stardata/sp_colormap.txt");
}

// ---------------------------------------------------------------------------------------------
// Applying a record

namespace {

// A record the object takes as it stands: its own, with a magnification filter named.
StarParameter legalCopy(StarList& list) {
  int r = 0;
  testsupport::stderrOf([&] { r = list.setStarTextureParaFilter(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR); });
  EXPECT_EQ(r, 1);
  return list.getStarParameter();
}

}  // namespace

TEST(StarParameterApply, OwnRecordChangesNothing) {
  StarList list;
  StarParameter p = legalCopy(list);
  StarParameter before = snapshot(list);
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.setStarParameter(p); }), "");
  EXPECT_EQ(r, 1);
  EXPECT_TRUE(sameRecord(before, snapshot(list)));
}

// Only the steps copy values, so a field no step reads does not reach the object.
TEST(StarParameterApply, NeverCopiesTheRecordWhole) {
  StarList list;
  StarParameter p = legalCopy(list);
  p.sptypeRangeOn = 1;
  copyText(p.textureFile, "unused.sgi", sizeof p.textureFile);  // source stays 0
  p.filterSize = 0.3f;
  p.zRangeMin = 3.0;  // a new range under an unchanged flag
  p.vmagRangeMax = 4.0;
  p.constellationLineColor[0] = 0.5f;  // colours under an unchanged flag
  p.constellationLineWidth = 4.0f;
  StarParameter before = snapshot(list);
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.setStarParameter(p); }), "");
  EXPECT_EQ(r, 1);
  EXPECT_TRUE(sameRecord(before, snapshot(list)));
}

TEST(StarParameterApply, StepsThatNeedNoOtherUnit) {
  StarList list;
  StarParameter p = legalCopy(list);
  p.extrasolarPlanetOrbitScale = 100.0f;
  p.zRangeOn = 1;
  p.zRangeMin = 11.0;
  p.zRangeMax = 21.0;
  p.vmagRangeOn = 1;
  p.vmagRangeMin = 0.0;
  p.vmagRangeMax = 5.0;
  p.sptypeOn[SPTYPE_K] = 1;
  p.sptypeMin[SPTYPE_K] = 1.0f;
  p.sptypeMax[SPTYPE_K] = 4.0f;
  p.pxsizeTex = 8;
  p.texSize = 4.0;
  p.texScale = 0.25;
  p.texParaMinFilter = GL_NEAREST;
  p.texParaMagFilter = GL_NEAREST;
  p.textureSource = STAR_TEX_FFT;
  p.filterExp = 2.0f;
  p.filterType = _STAR_FILTER_SQUARE;
  p.exposure = 2.0f;
  p.tuneIntensity = 0.5f;
  p.starScale = 3.0f;
  p.vmagMin = 7.0f;
  p.starAtYear = 2020;
  p.datasetYear = 2000;
  p.LSR[0] = 10.0;
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.setStarParameter(p); }), "");
  EXPECT_EQ(r, 1);
  const StarParameter& q = list.param;
  EXPECT_EQ(q.extrasolarPlanetOrbitScale, 100.0f);
  EXPECT_EQ(q.zRangeOn, 1);
  EXPECT_EQ(q.zRangeMin, 11.0);
  EXPECT_EQ(q.vmagRangeOn, 1);
  EXPECT_EQ(q.vmagRangeMax, 5.0);
  EXPECT_EQ(q.sptypeOn[SPTYPE_K], 1);
  EXPECT_EQ(q.sptypeMax[SPTYPE_K], 4.0f);
  EXPECT_EQ(q.pxsizeTex, 8);
  EXPECT_EQ(q.texScale, 0.25);
  EXPECT_EQ(q.texParaMinFilter, GL_NEAREST);
  EXPECT_EQ(q.texParaMagFilter, GL_NEAREST);
  EXPECT_EQ(q.textureSource, STAR_TEX_FFT);
  EXPECT_EQ(q.texSize, 3.0);  // the FFT source's own size, set after texSize was copied
  EXPECT_EQ(q.filterExp, 2.0f);
  EXPECT_EQ(q.filterType, _STAR_FILTER_SQUARE);
  EXPECT_EQ(q.exposure, 2.0f);
  EXPECT_EQ(q.tuneIntensity, 0.5f);
  EXPECT_EQ(q.starScale, 3.0f);
  EXPECT_EQ(q.vmagMin, 7.0f);
  EXPECT_EQ(q.starAtYear, 2020);
  EXPECT_EQ(q.datasetYear, 2000);
  EXPECT_EQ(q.LSR[0], 10.0);

  // Turning the flags off goes through the off-setters.
  StarParameter off = list.getStarParameter();
  off.zRangeOn = 0;
  off.vmagRangeOn = 0;
  off.sptypeOn[SPTYPE_K] = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.setStarParameter(off); }), "");
  EXPECT_EQ(r, 1);
  EXPECT_EQ(list.param.zRangeOn, 0);
  EXPECT_EQ(list.param.vmagRangeOn, 0);
  EXPECT_EQ(list.param.sptypeOn[SPTYPE_K], 0);
}

TEST(StarParameterApply, TextureSources) {
  {
    StarList list;
    StarParameter p = legalCopy(list);
    p.textureSource = STAR_TEX_AIRY;
    p.telescopeDiam = 0.5f;
    EXPECT_EQ(list.setStarParameter(p), 1);
    EXPECT_EQ(list.param.textureSource, STAR_TEX_AIRY);
    EXPECT_EQ(list.param.texSize, 6.0);
    EXPECT_EQ(list.param.telescopeDiam, 0.5f);
  }
  {
    StarList list;
    StarParameter p = legalCopy(list);
    p.textureSource = STAR_TEX_FILE;
    copyText(p.textureFile, "/sky/star.sgi", sizeof p.textureFile);
    p.texSize = 2.0;
    EXPECT_EQ(list.setStarParameter(p), 1);
    EXPECT_EQ(list.param.textureSource, STAR_TEX_FILE);
    EXPECT_STREQ(list.param.textureFile, "/sky/star.sgi");
    EXPECT_EQ(list.param.texSize, 2.0);
  }
  {
    // A source whose values all equal the current ones is not selected.
    StarList list;
    StarParameter p = legalCopy(list);
    p.textureSource = STAR_TEX_AIRY;
    EXPECT_EQ(list.setStarParameter(p), 1);
    EXPECT_EQ(list.param.textureSource, STAR_TEX_NONE);
  }
}

// The sky's file names "Gauss"; with every filter value at its default it selects nothing.
TEST(StarParameterApply, GaussWithDefaultFilterValuesLeavesTheSourceAtZero) {
  ParamFile same(
      "texParaMagFilter = GL_LINEAR\nfilterSize = 1.0\nfilterCutoff = 1.0\ntexture_source = Gauss\n");
  StarList list;
  ReadOutcome o = readParams(list, same.path);
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(list.param.texParaMagFilter, GL_LINEAR);  // the filter step went through
  EXPECT_EQ(list.param.textureSource, STAR_TEX_NONE);
  EXPECT_EQ(list.param.texSize, 1.0);

  ParamFile other(
      "texParaMagFilter = GL_LINEAR\nfilterSize = 0.5\nfilterCutoff = 1.0\ntexture_source = Gauss\n");
  StarList list2;
  o = readParams(list2, other.path);
  ASSERT_EQ(o.result, 1);
  EXPECT_EQ(list2.param.textureSource, STAR_TEX_GAUSS);
  EXPECT_EQ(list2.param.texSize, 6.0);
}

// The first refusal ends the work: the steps before it stay, the later ones do not happen.
TEST(StarParameterApply, FirstRefusalStopsTheRest) {
  StarList list;
  StarParameter p = legalCopy(list);
  p.zRangeOn = 1;
  p.zRangeMin = 5.0;
  p.zRangeMax = 2.0;                     // refused by the z-range setter
  p.extrasolarPlanetOrbitScale = 10.0f;  // an earlier step
  p.pxsizeTex = 9;                       // a later one
  int r = 0;
  std::string err = testsupport::stderrOf([&] { r = list.setStarParameter(p); });
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Err(setZRangeOn) : inMinZ > inMaxZ\n\n");
  EXPECT_EQ(list.param.extrasolarPlanetOrbitScale, 10.0f);
  EXPECT_EQ(list.param.zRangeOn, 0);
  EXPECT_EQ(list.param.pxsizeTex, 4);

  StarParameter q = legalCopy(list);
  q.extrasolarPlanetOrbitScale = -1.0f;
  q.pxsizeTex = 9;
  err = testsupport::stderrOf([&] { r = list.setStarParameter(q); });
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err,
            "Err (setExtrasolarPlanetOrbitScale): inExtrasolarPlanetOrbitScale should be non-negative\n");
  EXPECT_EQ(list.param.extrasolarPlanetOrbitScale, 10.0f);
  EXPECT_EQ(list.param.pxsizeTex, 4);
}

// A record naming a planet table loads it at that step; a table that does not open stops the
// work there with the loader's message.
TEST(StarParameterApply, PlanetFileIsLoadedAtItsStep) {
  StarList list;
  TempDir dir;
  StarParameter p = legalCopy(list);
  const std::string missing = dir.file("missing.txt");
  copyText(p.extrasolarPlanetFile, missing.c_str(), sizeof p.extrasolarPlanetFile);
  p.extrasolarPlanetOrbitScale = 10.0f;
  int r = 0;
  std::string err = testsupport::stderrOf([&] { r = list.setStarParameter(p); });
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "ERR : reading [" + missing + "]\n");
  EXPECT_STREQ(list.param.extrasolarPlanetFile, "");
  EXPECT_EQ(list.param.extrasolarPlanetOrbitScale, 50000.0f);

  // Test fixture: one planet with made-up test values, in the table's fixed columns.
  const std::string table = dir.file("planets.txt");
  writeFile(table,
            "# Test fixture: made-up test values only.\n"
            "        1 HD 217014            0.47         4.23        0.052        0.01         55.9\n");
  copyText(p.extrasolarPlanetFile, table.c_str(), sizeof p.extrasolarPlanetFile);
  err = testsupport::stderrOf([&] { r = list.setStarParameter(p); });
  EXPECT_EQ(r, 1);
  EXPECT_EQ(err, "");
  EXPECT_STREQ(list.param.extrasolarPlanetFile, table.c_str());
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 1);
  EXPECT_EQ(list.param.extrasolarPlanetOrbitScale, 10.0f);
}

// Flags turned off are cleared without a setter; colours and widths stay as they were.
TEST(StarParameterApply, ConstellationFlagsTurnedOff) {
  StarList list;
  list.param.constellationColorOn = 1;
  list.param.constellationLineColor[0] = 0.25f;
  list.param.constellationWidthOn = 1;
  list.param.constellationLineWidth = 2.0f;
  StarParameter p = legalCopy(list);
  p.constellationColorOn = 0;
  p.constellationWidthOn = 0;
  p.constellationLineColor[0] = 0.75f;
  EXPECT_EQ(list.setStarParameter(p), 1);
  EXPECT_EQ(list.param.constellationColorOn, 0);
  EXPECT_EQ(list.param.constellationWidthOn, 0);
  EXPECT_EQ(list.param.constellationLineColor[0], 0.25f);
  EXPECT_EQ(list.param.constellationLineWidth, 2.0f);
}

TEST(StarParameterApply, ConstellationSteps) {
  StarList list;
  StarParameter p = legalCopy(list);
  p.constellationColorOn = 1;
  for (int i = 0; i < 4; i++) {
    p.constellationLineColor[i] = 0.5f;
    p.constellationBoundColor[i] = 0.25f;
  }
  p.constellationWidthOn = 1;
  p.constellationLineWidth = 1.0f;
  p.constellationBoundWidth = 1.0f;
  p.constellationLineStipple = 0xF0F0;
  p.constellationBoundStipple = 0xAAAA;
  p.labelScale = 2.0f;
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.setStarParameter(p); }), "");
  EXPECT_EQ(r, 1);
  EXPECT_EQ(list.param.constellationColorOn, 1);
  EXPECT_EQ(list.param.constellationBoundColor[2], 0.25f);
  EXPECT_EQ(list.param.constellationWidthOn, 1);
  EXPECT_EQ(list.param.constellationLineStipple, 0xF0F0);
  EXPECT_EQ(list.param.constellationBoundStipple, 0xAAAA);
  EXPECT_EQ(list.param.labelScale, 2.0f);

  // A refused colour stops the work at that step.
  StarParameter q = legalCopy(list);
  q.constellationColorOn = 0;
  EXPECT_EQ(list.setStarParameter(q), 1);
  q.constellationColorOn = 1;
  q.constellationBoundColor[1] = 2.0f;
  q.pxsizeTex = 9;
  std::string err = testsupport::stderrOf([&] { r = list.setStarParameter(q); });
  EXPECT_EQ(r, -1);
  EXPECT_EQ(err, "Err (setConstellationColors): the (1)th component of inBoundColor out of range [0,1]\n");
  EXPECT_EQ(list.param.pxsizeTex, 4);
}

TEST(StarParameterApply, ColourMapSteps) {
  std::string root = dataRoot();
  std::string bv = root + "/data/stardata/bv_colormap.txt", sp = root + "/data/stardata/sp_colormap.txt";
  StarList list;
  StarParameter p = legalCopy(list);
  p.whichColorMap = _USE_BV_COLOR_MAP;
  copyText(p.bvColormapFile, bv.c_str(), sizeof p.bvColormapFile);
  p.bvStart = -0.4f;
  p.bvEnd = 2.0f;
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.setStarParameter(p); }), "");
  EXPECT_EQ(r, 1);
  ASSERT_NE(list.bvColorMap, nullptr);
  EXPECT_EQ(list.param.whichColorMap, _USE_BV_COLOR_MAP);
  // The same record again reloads nothing.
  ColorMap* loaded = list.bvColorMap;
  EXPECT_EQ(list.setStarParameter(p), 1);
  EXPECT_EQ(list.bvColorMap, loaded);

  p.whichColorMap = _NO_COLOR_MAP;
  EXPECT_EQ(list.setStarParameter(p), 1);
  EXPECT_EQ(list.param.whichColorMap, _NO_COLOR_MAP);
  EXPECT_EQ(list.bvColorMap, loaded);

  p.whichColorMap = _USE_SPECTRAL_COLOR_MAP;
  copyText(p.spColormapFile, sp.c_str(), sizeof p.spColormapFile);
  EXPECT_EQ(list.setStarParameter(p), 1);
  ASSERT_NE(list.spColorMap, nullptr);
  EXPECT_EQ(list.param.whichColorMap, _USE_SPECTRAL_COLOR_MAP);

  // A map that does not load ends the work; the choice of map is made before the load.
  p = list.getStarParameter();
  p.whichColorMap = _USE_BV_COLOR_MAP;
  std::string missing = root + "/data/stardata/no_such_map.txt";
  copyText(p.bvColormapFile, missing.c_str(), sizeof p.bvColormapFile);
  p.pxsizeTex = 9;
  std::string err = testsupport::stderrOf([&] { r = list.setStarParameter(p); });
  EXPECT_EQ(r, -1);
  // The first line is the colour map reader's own.
  EXPECT_EQ(err, "Err : opening colormap [" + missing + "]\nErr: (loadColorMapBV) failed to load colormap [" +
                     missing + "]\n");
  EXPECT_EQ(list.param.whichColorMap, _USE_BV_COLOR_MAP);
  EXPECT_EQ(std::string(list.param.bvColormapFile), bv);
  EXPECT_EQ(list.bvColorMap, loaded);
  EXPECT_EQ(list.param.pxsizeTex, 4);
}

// Back from the spectral map to the BV map with its file and range unchanged: a switch, no reload.
// The map file is gone by then, so a reload would fail.
TEST(StarParameterApply, BackToTheLoadedBvMapSwitchesWithoutReload) {
  TempDir dir;
  std::string bv = dir.file("bv.txt");
  writeFile(bv, readFile(dataRoot() + "/data/stardata/bv_colormap.txt"));
  std::string sp = dataRoot() + "/data/stardata/sp_colormap.txt";
  StarList list;
  ASSERT_EQ(list.loadColorMapBV(bv.c_str(), -0.4f, 2.0f), 1);
  ASSERT_EQ(list.loadColorMapSpType(sp.c_str()), 1);
  ASSERT_EQ(list.param.whichColorMap, _USE_SPECTRAL_COLOR_MAP);
  ColorMap* loaded = list.bvColorMap;
  remove(bv.c_str());
  StarParameter p = legalCopy(list);
  p.whichColorMap = _USE_BV_COLOR_MAP;
  int r = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { r = list.setStarParameter(p); }), "");
  EXPECT_EQ(r, 1);
  EXPECT_EQ(list.param.whichColorMap, _USE_BV_COLOR_MAP);
  EXPECT_EQ(list.bvColorMap, loaded);
}

// ---------------------------------------------------------------------------------------------
// The orbit scale of the planets

TEST(StarParameterSetters, ExtrasolarPlanetOrbitScale) {
  StarList list;
  int r = 0;
  for (float ok : {0.0f, 123.5f, 1e6f}) {
    EXPECT_EQ(testsupport::stderrOf([&] { r = list.setExtrasolarPlanetOrbitScale(ok); }), "");
    EXPECT_EQ(r, 1);
    EXPECT_EQ(list.param.extrasolarPlanetOrbitScale, ok);
  }
  for (float bad : {-1.0f, -1e-6f, NAN}) {
    StarParameter before = snapshot(list);
    EXPECT_EQ(testsupport::stderrOf([&] { r = list.setExtrasolarPlanetOrbitScale(bad); }),
              "Err (setExtrasolarPlanetOrbitScale): inExtrasolarPlanetOrbitScale should be non-negative\n");
    EXPECT_EQ(r, -1);
    EXPECT_TRUE(sameRecord(before, snapshot(list)));
  }
}
