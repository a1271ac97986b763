// The Milky Way map list without a window: line tests, the list reader on good and damaged
// files, finding the list, the slider list, unit conversion and the cross-fade weights.
#include "tool/texfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "fileio/common.h"
#include "tests/support/testutil.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int kTexPathSize = 512;
constexpr int kTexLineSize = 512;  // the reader's line buffer, line end included

// A binary P6 image of w x h pixels, all of one colour.
std::string ppm(int w, int h, unsigned char r = 10, unsigned char g = 20, unsigned char b = 30) {
  std::string s = "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n";
  for (int i = 0; i < w * h; ++i) s += {static_cast<char>(r), static_cast<char>(g), static_cast<char>(b)};
  return s;
}

// The log wavelength that the reader stores for a wavelength written in the list: the value
// goes through a float on its way in.
double storedLogl(const char* text) {
  return log10(static_cast<double>(strtof(text, nullptr)));
}

// Every test starts and ends with no list in memory and the slider state as a fresh process
// has it, so that tests don't see each other's lists.
class TexFile : public testing::Test {
 protected:
  void SetUp() override { clearState(); }
  void TearDown() override {
    // Back to wavelength, so that the unit remembered between calls is wavelength again.
    tex_sliderUnit = kSliderUnitBase + kUnitWavelength;
    updateTexSliderUnit();
    clearState();
    unsetenv("VELMORA_TEXFILE");
    unsetenv("TEXFILES");
  }
  static void clearState() {
    freeTexObjs(texObjs, nTexObjs);
    texObjs = nullptr;
    nTexObjs = 0;
    free(sliderTex);
    sliderTex = nullptr;
    nSliderTex = 0;
    showWhichTexture = 0;
    sliderTexAlpha = 0;
    tex_sliderUnit = kSliderUnitBase;
    tex_sliderValue = kDefaultSliderValue;
    tex_sliderMin = tex_sliderMax = 0;
    sliderTexID1 = sliderTexID2 = 0;
    sliderTexAlpha1 = 1;
    sliderTexAlpha2 = 0;
    topdir[0] = '\0';
  }

  // Reads the list at path, keeping what readTexObjs printed in err.
  TexObj* read(const std::string& path, int* n, int* slider, int* status, std::string* err) {
    CaptureStderr();
    TexObj* objs = readTexObjs(path.c_str(), n, slider, status);
    *err = GetCapturedStderr();
    return objs;
  }

  TempDir dir;
};

// ---- Line tests -------------------------------------------------------------------------------

struct LineCase {
  const char* line;
  int expected;
};

TEST_F(TexFile, CommentLineLooksAtAllButTheLastCharacter) {
  const LineCase cases[] = {
      {"# maps", 1}, {"   # maps", 1}, {"\t#x", 1}, {"#\r", 1},  // a '\r' left by chomp is the last
      {"#", 0},      {"  #", 0},       {"\t#", 0},  {"a#", 0},  {"", 0}, {"fermi.ppm", 0},
  };
  for (const auto& c : cases) EXPECT_EQ(texfile::isCommentLine(c.line), c.expected) << "[" << c.line << "]";
}

TEST_F(TexFile, BlankLineLooksAtAllButTheLastCharacter) {
  const LineCase cases[] = {
      {"", 1},   {" ", 1},  {"x", 1},  {"#", 1},   {"   x", 1},  {" \t\r", 1},
      {"\r", 1}, {"x ", 0}, {"ab", 0}, {" ab", 0}, {"a.ppm", 0},
  };
  for (const auto& c : cases) EXPECT_EQ(texfile::isBlankLine(c.line), c.expected) << "[" << c.line << "]";
}

struct EditCase {
  const char* in;
  const char* out;
};

TEST_F(TexFile, TrimFileExtCutsAtTheFirstDotOrDet) {
  const EditCase cases[] = {
      {"milkyway.ppm", "milkyway"},
      {"iras_det100.ppm", "iras"},
      {"a.b_det.c", "a"},
      {"map_det", "map"},
      {"noext", "noext"},
      {"./x.ppm", ""},
      {"maps.v2/wmap_V.ppm", "maps"},
      {"wmap_V.ppm", "wmap_V"},
      {"", ""},
  };
  for (const auto& c : cases) {
    char buf[kTexPathSize];
    copyText(buf, c.in, sizeof buf);
    texfile::trimFileExt(buf);
    EXPECT_STREQ(buf, c.out) << c.in;
  }
}

TEST_F(TexFile, ChompCutsOneNewlineAndKeepsTheCarriageReturn) {
  const EditCase cases[] = {
      {"abc\n", "abc"}, {"abc\r\n", "abc\r"}, {"abc", "abc"}, {"a\n\n", "a\n"}, {"", ""}, {"\n", ""},
  };
  for (const auto& c : cases) {
    char buf[kTexPathSize];
    copyText(buf, c.in, sizeof buf);
    texfile::chomp(buf);
    EXPECT_STREQ(buf, c.out);
  }
}

TEST_F(TexFile, DirectoryOfAPathKeepsItsLastSlash) {
  const EditCase cases[] = {
      {"Images/ALL.texture", "Images/"},
      {"ALL.texture", ""},
      {"/a/b/c", "/a/b/"},
      {"/x", "/"},
      {"dir/", "dir/"},
      {"", ""},
  };
  for (const auto& c : cases) {
    char* d = getTexPathOfFile(c.in);
    ASSERT_NE(d, nullptr);
    EXPECT_STREQ(d, c.out) << c.in;
    free(d);
  }
}

// ---- Reading the list -------------------------------------------------------------------------

TEST_F(TexFile, ListEntriesTakeFileNameAndWavelength) {
  writeFile(dir.file("a.ppm"), ppm(4, 2));
  writeFile(dir.file("b_det1.ppm"), ppm(2, 2));
  writeFile(dir.file("c.ppm"), ppm(2, 2));
  writeFile(dir.file("d.ppm"), ppm(2, 2));
  writeFile(dir.file("list"),
            "# maps\n"
            "\n"
            "a.ppm\n"
            "b_det1.ppm Bee\n"
            "c.ppm Cee 5.0e-07\n"
            "d.ppm 2.5e-07\n");  // a wavelength needs a name before it: this is the name
  int n = -1, slider = -1, status = -1;
  std::string err;
  TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
  ASSERT_NE(objs, nullptr) << err;
  EXPECT_EQ(err, "");
  EXPECT_EQ(n, 4);
  EXPECT_EQ(slider, 0);
  EXPECT_EQ(status, 0);

  EXPECT_STREQ(objs[0].file, "a.ppm");
  EXPECT_STREQ(objs[0].name, "a");
  EXPECT_EQ(objs[0].logl, kNoWavelength);
  EXPECT_EQ(objs[0].width, 4);
  EXPECT_EQ(objs[0].height, 2);
  EXPECT_EQ(objs[0].comp, 3);
  EXPECT_EQ(objs[0].texId, 0u);
  ASSERT_NE(objs[0].image, nullptr);
  EXPECT_EQ(objs[0].image[0], 10);
  EXPECT_EQ(objs[0].image[4 * 2 * 3 - 1], 30);

  EXPECT_STREQ(objs[1].name, "Bee");
  EXPECT_EQ(objs[1].logl, kNoWavelength);
  EXPECT_STREQ(objs[2].name, "Cee");
  EXPECT_DOUBLE_EQ(objs[2].logl, storedLogl("5.0e-07"));
  EXPECT_STREQ(objs[3].name, "2.5e-07");
  EXPECT_EQ(objs[3].logl, kNoWavelength);
  freeTexObjs(objs, n);
}

TEST_F(TexFile, NameFromFileIsCutAtDet) {
  writeFile(dir.file("iras_det100.ppm"), ppm(1, 1));
  writeFile(dir.file("list"), "iras_det100.ppm\n");
  int n, slider, status;
  std::string err;
  TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
  ASSERT_NE(objs, nullptr) << err;
  EXPECT_STREQ(objs[0].name, "iras");
  freeTexObjs(objs, n);
}

TEST_F(TexFile, ImageIsTriedAsGivenThenInTheListsDirectory) {
  TempDir here;
  writeFile(here.file("m.ppm"), ppm(2, 2));  // found as given, from the working directory
  writeFile(dir.file("m.ppm"), ppm(8, 8));   // the list's own copy, not taken
  writeFile(dir.file("n.ppm"), ppm(4, 4));   // only in the list's directory
  writeFile(dir.file("list"), "m.ppm\nn.ppm\n" + here.file("m.ppm") + " abs\n");
  auto before = std::filesystem::current_path();
  std::filesystem::current_path(here.path());
  int n, slider, status;
  std::string err;
  TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
  std::filesystem::current_path(before);
  ASSERT_NE(objs, nullptr) << err;
  ASSERT_EQ(n, 3);
  EXPECT_EQ(objs[0].width, 2);
  EXPECT_EQ(objs[1].width, 4);
  EXPECT_EQ(objs[2].width, 2);
  EXPECT_STREQ(objs[1].file, "n.ppm");  // the name as the list gives it
  freeTexObjs(objs, n);
}

TEST_F(TexFile, MissingImageNamesBothTriesAndGivesNothing) {
  writeFile(dir.file("a.ppm"), ppm(2, 2));
  writeFile(dir.file("list"), "USE_WAVELENGTH_SLIDER\na.ppm A 1e-6\nnope.ppm N 2e-6\n");
  int n = -1, slider = -1, status = -1;
  std::string err;
  EXPECT_EQ(read(dir.file("list"), &n, &slider, &status, &err), nullptr);
  EXPECT_EQ(err, "\nErr (readTextureListFile) : reading [nope.ppm] or [" + dir.file("nope.ppm") + "]\n");
  EXPECT_EQ(n, 0);
  EXPECT_EQ(slider, 0);
  EXPECT_EQ(status, 0);  // the list itself was open
}

TEST_F(TexFile, MissingListLeavesStatusOne) {
  int n = -1, slider = -1, status = -1;
  std::string err;
  EXPECT_EQ(read(dir.file("absent"), &n, &slider, &status, &err), nullptr);
  EXPECT_EQ(err, "");
  EXPECT_EQ(status, 1);
  EXPECT_EQ(n, 0);
}

TEST_F(TexFile, ListsWithoutEntriesGiveNothing) {
  writeFile(dir.file("x"), ppm(1, 1));  // a file of one character's name, to be sure it isn't read
  const char* lists[] = {
      "",
      "# only a comment\n\n   \n",
      "USE_WAVELENGTH_SLIDER\n",
      "x\n",           // a line of one character counts as blank
      "   #\n",        // '#' last: no comment, but blank up to it
      "x.ppm X 1e-6",  // the last line has no newline and isn't read
  };
  for (const char* text : lists) {
    writeFile(dir.file("list"), text);
    int n = -1, slider = -1, status = -1;
    std::string err;
    EXPECT_EQ(read(dir.file("list"), &n, &slider, &status, &err), nullptr) << text;
    EXPECT_EQ(err, "") << text;
    EXPECT_EQ(n, 0);
    EXPECT_EQ(status, 0);
  }
}

TEST_F(TexFile, LastLineIsReadOnlyWithItsNewline) {
  writeFile(dir.file("a.ppm"), ppm(1, 1));
  writeFile(dir.file("list"), "a.ppm A\nnope.ppm B");
  int n, slider, status;
  std::string err;
  TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
  ASSERT_NE(objs, nullptr) << err;
  EXPECT_EQ(n, 1);
  freeTexObjs(objs, n);
}

TEST_F(TexFile, SliderKeywordStandsAtTheStartOfTheLine) {
  writeFile(dir.file("a.ppm"), ppm(1, 1));
  struct {
    const char* first;
    int slider;
    int entries;  // -1: the keyword line became an entry whose image is missing
  } cases[] = {
      {"USE_WAVELENGTH_SLIDER\n", 1, 1},
      {"USE_WAVELENGTH_SLIDERS please\n", 1, 1},  // only the first 21 characters count
      {"USE_WAVELENGTH_SLIDE\n", 0, -1},
      {" USE_WAVELENGTH_SLIDER\n", 0, -1},
  };
  for (const auto& c : cases) {
    writeFile(dir.file("list"), std::string(c.first) + "a.ppm A 1e-6\n");
    int n, slider, status;
    std::string err;
    TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
    if (c.entries < 0) {
      EXPECT_EQ(objs, nullptr) << c.first;
      EXPECT_THAT(err, testing::StartsWith("\nErr (readTextureListFile) : reading [")) << c.first;
      continue;
    }
    ASSERT_NE(objs, nullptr) << c.first << err;
    EXPECT_EQ(slider, c.slider) << c.first;
    EXPECT_EQ(n, c.entries);
    freeTexObjs(objs, n);
  }
}

TEST_F(TexFile, CarriageReturnsAreHarmless) {
  writeFile(dir.file("a.ppm"), ppm(1, 1));
  writeFile(dir.file("list"), "USE_WAVELENGTH_SLIDER\r\n# c\r\n\r\na.ppm Ay 5.0e-07\r\na.ppm\r\n");
  int n, slider, status;
  std::string err;
  TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
  ASSERT_NE(objs, nullptr) << err;
  ASSERT_EQ(n, 2);
  EXPECT_EQ(slider, 1);
  EXPECT_STREQ(objs[0].name, "Ay");
  EXPECT_DOUBLE_EQ(objs[0].logl, storedLogl("5.0e-07"));
  EXPECT_STREQ(objs[1].name, "a");
  freeTexObjs(objs, n);
}

TEST_F(TexFile, OverLongLinesAreSplitByTheBuffer) {
  // A comment of 600 characters: its first 511 make a comment, the remaining 89 an entry.
  std::string tail(600 - (kTexLineSize - 1), 'x');
  writeFile(dir.file("list"), "#" + std::string(599, 'x') + "\n");
  int n, slider, status;
  std::string err;
  EXPECT_EQ(read(dir.file("list"), &n, &slider, &status, &err), nullptr);
  EXPECT_EQ(err, "\nErr (readTextureListFile) : reading [" + tail + "] or [" + dir.file(tail) + "]\n");

  // An entry of 2000 characters in one word is four entries, none of them an image.
  writeFile(dir.file("list"), std::string(2000, 'y') + "\n");
  EXPECT_EQ(read(dir.file("list"), &n, &slider, &status, &err), nullptr);
  EXPECT_THAT(err, testing::StartsWith("\nErr (readTextureListFile) : reading [" +
                                       std::string(kTexLineSize - 1, 'y') + "] or ["));
}

TEST_F(TexFile, BinaryJunkNeverCrashes) {
  std::mt19937 random(20031125);
  for (int trial = 0; trial < 20; ++trial) {
    std::string junk;
    int length = 1 + static_cast<int>(random() % 3000);
    for (int i = 0; i < length; ++i) junk += static_cast<char>(random() & 0xff);
    writeFile(dir.file("list"), junk);
    int n = -1, slider = -1, status = -1;
    std::string err;
    TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
    EXPECT_EQ(objs, nullptr);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(status, 0);
    freeTexObjs(objs, n);
  }
  // A directory opens but reads nothing.
  int n, slider, status;
  std::string err;
  EXPECT_EQ(read(dir.path(), &n, &slider, &status, &err), nullptr);
}

TEST_F(TexFile, DamagedImagesInTheListAreRefusedOrKept) {
  writeFile(dir.file("text.ppm"), "P3\n1 1\n255\n1 2 3\n");  // plain PNM isn't taken
  writeFile(dir.file("list"), "text.ppm\n");
  int n, slider, status;
  std::string err;
  EXPECT_EQ(read(dir.file("list"), &n, &slider, &status, &err), nullptr);
  EXPECT_EQ(err, "\nErr (readTextureListFile) : reading [text.ppm] or [" + dir.file("text.ppm") + "]\n");

  // A short file is read as far as it goes.
  writeFile(dir.file("short.ppm"), "P6\n4 4\n255\nabc");
  writeFile(dir.file("list"), "short.ppm\n");
  TexObj* objs = read(dir.file("list"), &n, &slider, &status, &err);
  ASSERT_NE(objs, nullptr) << err;
  EXPECT_EQ(objs[0].width, 4);
  EXPECT_EQ(objs[0].image[0], 'a');
  freeTexObjs(objs, n);
}

// ---- The slider list --------------------------------------------------------------------------

std::vector<TexObj> entries(const std::vector<double>& logls) {
  std::vector<TexObj> v(logls.size());
  for (size_t i = 0; i < v.size(); ++i) {
    memset(&v[i], 0, sizeof(TexObj));
    v[i].logl = logls[i];
    v[i].texId = static_cast<unsigned>(100 + i);
  }
  return v;
}

TEST_F(TexFile, SliderListNeedsTwoDistinctWavelengths) {
  const double none = kNoWavelength;
  struct {
    std::vector<double> logls;
    std::vector<int> order;  // indices in rising logl; empty: no slider
  } cases[] = {
      {{none, none}, {}},
      {{-6.0}, {}},
      {{none, -6.0, none}, {}},  // one wavelength gives no slider
      {{-6.0, -6.0}, {}},        // two maps at one wavelength turn it off
      {{-5.0, -6.0, -7.0, -6.0}, {}},
      {{-6.0, -7.0}, {1, 0}},
      {{-5.0, none, -7.0, -6.0, none}, {2, 3, 0}},
      {{-1.0, -16.0, -6.3, -6.4, -2.5, -2.3, -6.26}, {1, 3, 2, 6, 4, 5, 0}},
  };
  for (auto& c : cases) {
    auto objs = entries(c.logls);
    int nSlider = -1;
    TexObj** list = genSliderList(objs.data(), static_cast<int>(objs.size()), &nSlider);
    EXPECT_EQ(nSlider, static_cast<int>(c.order.size()));
    if (c.order.empty()) {
      EXPECT_EQ(list, nullptr);
      continue;
    }
    ASSERT_NE(list, nullptr);
    for (size_t k = 0; k < c.order.size(); ++k) EXPECT_EQ(list[k], &objs[c.order[k]]) << k;
    free(list);
  }
  int nSlider = -1;
  EXPECT_EQ(genSliderList(nullptr, 0, &nSlider), nullptr);
  EXPECT_EQ(nSlider, 0);
}

// ---- Finding the list -------------------------------------------------------------------------

// Writes a list "Images/ALL.texture" with one image below root.
void writeList(const std::string& root, const std::string& list, int width = 2) {
  std::filesystem::create_directories(root + "/Images");
  writeFile(root + "/Images/m.ppm", ppm(width, 1));
  writeFile(root + "/Images/ALL.texture", list);
}

TEST_F(TexFile, RealListLoadsWithItsSlider) {
  char texFile[kTexPathSize] = "";
  std::string base = testsupport::sourceDir();
  CaptureStderr();
  EXPECT_EQ(readMWTexture(texFile, base.c_str()), 1);
  EXPECT_EQ(GetCapturedStderr(), "reading texture images [" + base + "/Images/ALL.texture] ... ok.\n");
  EXPECT_STREQ(texFile, "Images/ALL.texture");
  ASSERT_EQ(nTexObjs, 6);
  const char* names[] = {"Fermi_LAT_10GeV", "Starlight_B", "Visible",
                         "Starlight_V",     "WMAP_94GHz",  "WMAP_61GHz"};
  const char* lengths[] = {"1.2398e-16", "4.4e-07", "5.0e-07", "5.5e-07", "3.1893e-03", "4.9147e-03"};
  for (int i = 0; i < nTexObjs; ++i) {
    EXPECT_STREQ(texObjs[i].name, names[i]);
    EXPECT_DOUBLE_EQ(texObjs[i].logl, storedLogl(lengths[i]));
    EXPECT_EQ(texObjs[i].width, 1024);
    EXPECT_EQ(texObjs[i].height, 512);
    EXPECT_EQ(texObjs[i].comp, 3);
  }
  // The list is already in order of wavelength.
  ASSERT_EQ(nSliderTex, 6);
  for (int i = 0; i < nSliderTex; ++i) EXPECT_EQ(sliderTex[i], &texObjs[i]);
  EXPECT_EQ(showWhichTexture, kTexListBase);
  EXPECT_FLOAT_EQ(sliderTexAlpha, 0.6f);
  EXPECT_EQ(tex_sliderUnit, kSliderUnitBase);
  EXPECT_FLOAT_EQ(tex_sliderValue, -6.2627f);
  EXPECT_EQ(tex_sliderMin, static_cast<float>(storedLogl("1.2398e-16")));
  EXPECT_EQ(tex_sliderMax, static_cast<float>(storedLogl("4.9147e-03")));
}

TEST_F(TexFile, ListNameComesFromTheEnvironment) {
  writeList(dir.path(), "m.ppm\n");
  std::filesystem::create_directories(dir.file("other"));
  writeFile(dir.file("other/m.ppm"), ppm(3, 1));
  writeFile(dir.file("other.texture"), "other/m.ppm\n");
  struct {
    const char* velmoraTexfile;  // nullptr: unset
    const char* texfiles;
    const char* expected;
  } cases[] = {
      {nullptr, nullptr, "Images/ALL.texture"},
      {"yes", "other.texture", "other.texture"},  // one name is tested, the other read
      {"other.texture", nullptr, "Images/ALL.texture"},
      {nullptr, "other.texture", "Images/ALL.texture"},
  };
  for (const auto& c : cases) {
    unsetenv("VELMORA_TEXFILE");
    unsetenv("TEXFILES");
    if (c.velmoraTexfile) setenv("VELMORA_TEXFILE", c.velmoraTexfile, 1);
    if (c.texfiles) setenv("TEXFILES", c.texfiles, 1);
    char texFile[kTexPathSize] = "";
    CaptureStderr();
    EXPECT_EQ(readMWTexture(texFile, dir.path().c_str()), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "reading texture images [" + dir.path() + "/" + c.expected + "] ... ok.\n");
    EXPECT_STREQ(texFile, c.expected);
  }
  // A name already given is kept, whatever the environment says.
  setenv("VELMORA_TEXFILE", "1", 1);
  setenv("TEXFILES", "other.texture", 1);
  char texFile[kTexPathSize] = "Images/ALL.texture";
  CaptureStderr();
  EXPECT_EQ(readMWTexture(texFile, dir.path().c_str()), 1);
  GetCapturedStderr();
  EXPECT_STREQ(texFile, "Images/ALL.texture");
  EXPECT_EQ(texObjs[0].width, 2);
}

TEST_F(TexFile, ListIsTriedUnderBaseDirThenTopdir) {
  TempDir base, top;
  writeList(top.path(), "m.ppm\n", 5);
  copyText(topdir, top.path().c_str(), sizeof topdir);
  char texFile[kTexPathSize] = "";
  CaptureStderr();
  EXPECT_EQ(readMWTexture(texFile, base.path().c_str()), 1);
  EXPECT_EQ(GetCapturedStderr(), "reading texture images [" + base.path() + "/Images/ALL.texture] ... ok.\n");
  ASSERT_EQ(nTexObjs, 1);
  EXPECT_EQ(texObjs[0].width, 5);

  writeList(base.path(), "m.ppm\n", 7);  // now both have one: baseDir's comes first
  CaptureStderr();
  EXPECT_EQ(readMWTexture(texFile, base.path().c_str()), 1);
  GetCapturedStderr();
  EXPECT_EQ(texObjs[0].width, 7);

  // A damaged list under baseDir falls back to topdir's as well.
  writeFile(base.path() + "/Images/ALL.texture", "gone.ppm\n");
  CaptureStderr();
  EXPECT_EQ(readMWTexture(texFile, base.path().c_str()), 1);
  EXPECT_EQ(GetCapturedStderr(),
            "reading texture images [" + base.path() +
                "/Images/ALL.texture] ... \nErr (readTextureListFile) : reading [gone.ppm] or [" +
                base.path() + "/Images/gone.ppm]\nok.\n");
  EXPECT_EQ(texObjs[0].width, 5);
}

TEST_F(TexFile, NoListIsNoTexture) {
  char texFile[kTexPathSize] = "none.texture";
  CaptureStderr();
  EXPECT_EQ(readMWTexture(texFile, dir.path().c_str()), 0);
  EXPECT_EQ(GetCapturedStderr(),
            "reading texture images [" + dir.path() + "/none.texture] ... no texture provided.\n");
  EXPECT_EQ(texObjs, nullptr);
  EXPECT_EQ(nTexObjs, 0);
  EXPECT_EQ(nSliderTex, 0);
  EXPECT_EQ(sliderTex, nullptr);
  EXPECT_EQ(showWhichTexture, kTexListBase);
  EXPECT_FLOAT_EQ(sliderTexAlpha, 0.6f);
  resetTexture(kIdTexSlider);  // nothing to do without maps
  EXPECT_EQ(sliderTexID1, 0u);
  EXPECT_EQ(sliderTexAlpha1, 1.0f);
}

TEST_F(TexFile, SliderNeedsKeywordAndTwoDistinctWavelengths) {
  struct {
    const char* list;
    int nSlider;
  } cases[] = {
      {"USE_WAVELENGTH_SLIDER\nm.ppm A 1e-6\nm.ppm B 1e-5\n", 2},
      {"USE_WAVELENGTH_SLIDER\nm.ppm A 1e-6\nm.ppm B\n", 0},       // one wavelength: no slider
      {"USE_WAVELENGTH_SLIDER\nm.ppm A\nm.ppm B\n", 0},            // keyword without wavelengths
      {"m.ppm A 1e-6\nm.ppm B 1e-5\n", 0},                         // wavelengths without keyword
      {"USE_WAVELENGTH_SLIDER\nm.ppm A 1e-6\nm.ppm B 1e-6\n", 0},  // equal wavelengths
  };
  for (const auto& c : cases) {
    writeList(dir.path(), c.list);
    char texFile[kTexPathSize] = "";
    CaptureStderr();
    EXPECT_EQ(readMWTexture(texFile, dir.path().c_str()), 1);
    GetCapturedStderr();
    EXPECT_EQ(nTexObjs, 2) << c.list;  // the map list works either way
    EXPECT_EQ(nSliderTex, c.nSlider) << c.list;
    EXPECT_EQ(sliderTex != nullptr, c.nSlider != 0) << c.list;
  }
}

TEST_F(TexFile, SliderValueStartsGreenWithinTheBounds) {
  struct {
    const char* list;
    float value;
  } cases[] = {
      {"USE_WAVELENGTH_SLIDER\nm.ppm A 1e-7\nm.ppm B 1e-5\n", -6.2627f},
      {"USE_WAVELENGTH_SLIDER\nm.ppm A 1e-3\nm.ppm B 1e-2\n", static_cast<float>(storedLogl("1e-3"))},
      {"USE_WAVELENGTH_SLIDER\nm.ppm A 1e-9\nm.ppm B 1e-8\n", static_cast<float>(storedLogl("1e-8"))},
  };
  for (const auto& c : cases) {
    writeList(dir.path(), c.list);
    char texFile[kTexPathSize] = "";
    CaptureStderr();
    readMWTexture(texFile, dir.path().c_str());
    GetCapturedStderr();
    EXPECT_EQ(tex_sliderValue, c.value) << c.list;
  }
}

// ---- Units and the cross-fade -----------------------------------------------------------------

TEST_F(TexFile, UnitConversionFollowsTheTable) {
  const float value = -6.0f;  // one micrometre
  EXPECT_EQ(convertSliderUnit(0, 0, value), value);
  EXPECT_EQ(convertSliderUnit(2, 2, value), value);
  EXPECT_EQ(convertSliderUnit(9, 9, value), value);  // equal units are returned untouched
  EXPECT_EQ(convertSliderUnit(0, 1, value), static_cast<float>(log10(2.99792e8 / 1e-6)));
  EXPECT_EQ(convertSliderUnit(0, 2, value), static_cast<float>(log10(0.0143878 / 1e-6)));
  EXPECT_EQ(convertSliderUnit(0, 3, value), static_cast<float>(log10(1.239817567e-6 / 1e-6)));
  // Between two inverted units the wavelength cancels: log T - log f = log(c2 / c).
  EXPECT_NEAR(convertSliderUnit(1, 2, 14.0f), 14.0 + log10(0.0143878 / 2.99792e8), 2e-6);
}

TEST_F(TexFile, UnitConversionReturnsWhereItStarted) {
  const float values[] = {-6.2627f, -15.9f, -2.3f, 0.0f, 3.5f};
  for (int unit = 1; unit <= 3; ++unit)
    for (float v : values) {
      float there = convertSliderUnit(unit, 0, v);
      float back = convertSliderUnit(0, unit, there);
      EXPECT_NEAR(back, v, 4e-6) << unit << " " << v;
      back = convertSliderUnit(unit, 0, convertSliderUnit(0, unit, v));
      EXPECT_NEAR(back, v, 4e-6) << unit << " " << v;
    }
}

TEST_F(TexFile, UnknownUnitEndsTheProcess) {
  EXPECT_EXIT(convertSliderUnit(4, 0, 1.0f), testing::ExitedWithCode(1),
              testing::StrEq("Err (convertSliderUnit) : internal programming error (unknown frmUnit)\n\n"));
  EXPECT_EXIT(convertSliderUnit(-1, 2, 1.0f), testing::ExitedWithCode(1),
              testing::StrEq("Err (convertSliderUnit) : internal programming error (unknown frmUnit)\n\n"));
  EXPECT_EXIT(convertSliderUnit(1, 7, 1.0f), testing::ExitedWithCode(1),
              testing::StrEq("Err (convertSliderUnit) : internal programming error (unknown toUnit)\n\n"));
  EXPECT_EXIT(convertSliderUnit(9, 8, 1.0f), testing::ExitedWithCode(1),
              testing::StrEq("Err (convertSliderUnit) : internal programming error (unknown frmUnit)\n\n"));
  EXPECT_EXIT(
      {
        tex_sliderUnit = kSliderUnitBase + 5;
        updateTexSliderUnit();
      },
      testing::ExitedWithCode(1),
      testing::StrEq("Err (convertSliderUnit) : internal programming error (unknown toUnit)\n\n"));
}

// Three maps at exactly representable log wavelengths -7, -6 and -5, as the state holds them.
class CrossFade : public TexFile {
 protected:
  void SetUp() override {
    TexFile::SetUp();
    objs = static_cast<TexObj*>(calloc(3, sizeof(TexObj)));
    const double logls[] = {-6.0, -5.0, -7.0};  // listed out of order on purpose
    for (int i = 0; i < 3; ++i) {
      objs[i].logl = logls[i];
      objs[i].texId = static_cast<unsigned>(11 + i);
    }
    texObjs = objs;
    nTexObjs = 3;
    sliderTex = genSliderList(texObjs, nTexObjs, &nSliderTex);
    ASSERT_EQ(nSliderTex, 3);
    tex_sliderMin = -7;
    tex_sliderMax = -5;
  }
  // Sets the slider, in the current unit, to log wavelength logl and cross-fades.
  void slideTo(float logl) {
    tex_sliderValue = convertSliderUnit(0, tex_sliderUnit - kSliderUnitBase, logl);
    resetTexture(kIdTexSlider);
  }
  TexObj* objs = nullptr;
};

TEST_F(CrossFade, WeightsAreLinearInLogWavelength) {
  struct {
    float logl;
    unsigned id1, id2;
    float alpha1;
  } cases[] = {
      {-6.5f, 13, 11, 0.5f}, {-6.75f, 13, 11, 0.75f},
      {-5.2f, 11, 12, 0.2f}, {-7.0f, 13, 11, 1.0f},  // the bottom end
      {-6.0f, 11, 12, 1.0f},  // an entry's own wavelength: that entry leads, with weight 1
  };
  for (const auto& c : cases) {
    slideTo(c.logl);
    EXPECT_EQ(sliderTexID1, c.id1) << c.logl;
    EXPECT_EQ(sliderTexID2, c.id2) << c.logl;
    EXPECT_NEAR(sliderTexAlpha1, c.alpha1, 1e-6) << c.logl;
    EXPECT_FLOAT_EQ(sliderTexAlpha1 + sliderTexAlpha2, 1.0f);
  }
}

TEST_F(CrossFade, TopEndShowsTheLastMapAlone) {
  slideTo(-5.5f);
  EXPECT_EQ(sliderTexID2, 12u);
  sliderTexID2 = 77;  // left as it was
  slideTo(-5.0f);
  EXPECT_EQ(sliderTexID1, 12u);
  EXPECT_EQ(sliderTexAlpha1, 1.0f);
  EXPECT_EQ(sliderTexAlpha2, 0.0f);
  EXPECT_EQ(sliderTexID2, 77u);
}

TEST_F(CrossFade, OtherIdsLeaveTheFadeAlone) {
  slideTo(-6.5f);
  tex_sliderValue = -5.2f;
  resetTexture(kTexListBase + 1);
  resetTexture(kIdTexChoice);
  EXPECT_EQ(sliderTexID1, 13u);
  EXPECT_FLOAT_EQ(sliderTexAlpha1, 0.5f);
}

TEST_F(CrossFade, WeightsDontDependOnTheUnit) {
  for (int unit = kUnitWavelength; unit <= kUnitEnergy; ++unit) {
    tex_sliderUnit = kSliderUnitBase + unit;
    updateTexSliderUnit();
    slideTo(-5.75f);
    EXPECT_EQ(sliderTexID1, 11u) << unit;
    EXPECT_EQ(sliderTexID2, 12u) << unit;
    EXPECT_NEAR(sliderTexAlpha1, 0.75f, 1e-5) << unit;
  }
}

TEST_F(CrossFade, ChangingUnitConvertsValueAndBounds) {
  tex_sliderValue = -6.0f;
  const float lc = static_cast<float>(log10(kSpeedOfLight));
  tex_sliderUnit = kSliderUnitBase + kUnitFrequency;
  updateTexSliderUnit();
  EXPECT_NEAR(tex_sliderValue, lc + 6, 2e-6);
  EXPECT_NEAR(tex_sliderMin, lc + 5, 2e-6);  // swapped: frequency falls as wavelength rises
  EXPECT_NEAR(tex_sliderMax, lc + 7, 2e-6);

  // From frequency straight to energy.
  const float le = static_cast<float>(log10(kPlanckTimesLightEvMetres));
  tex_sliderUnit = kSliderUnitBase + kUnitEnergy;
  updateTexSliderUnit();
  EXPECT_NEAR(tex_sliderValue, le + 6, 4e-6);
  EXPECT_NEAR(tex_sliderMin, le + 5, 4e-6);
  EXPECT_NEAR(tex_sliderMax, le + 7, 4e-6);

  // Calling again without a change of unit changes nothing.
  float value = tex_sliderValue;
  updateTexSliderUnit();
  EXPECT_EQ(tex_sliderValue, value);

  tex_sliderUnit = kSliderUnitBase + kUnitWavelength;
  updateTexSliderUnit();
  EXPECT_NEAR(tex_sliderValue, -6, 4e-6);
  EXPECT_NEAR(tex_sliderMin, -7, 4e-6);
  EXPECT_NEAR(tex_sliderMax, -5, 4e-6);
}

TEST_F(TexFile, EntryInfoIsPrinted) {
  TexObj obj;
  memset(&obj, 0, sizeof obj);
  copyText(obj.name, "Visible", sizeof obj.name);
  copyText(obj.file, "milkyway.ppm", sizeof obj.file);
  obj.width = 1024;
  obj.height = 512;
  obj.comp = 3;
  obj.logl = -6.30103;
  CaptureStderr();
  printTexObjInfo(&obj);
  EXPECT_EQ(GetCapturedStderr(),
            "name : Visible\nfile : milkyway.ppm\nwxh  : 1024 x 512\ncomp : 3\nlogl : -6.301030\n");
  obj.logl = kNoWavelength;
  CaptureStderr();
  printTexObjInfo(&obj);
  EXPECT_EQ(GetCapturedStderr(),
            "name : Visible\nfile : milkyway.ppm\nwxh  : 1024 x 512\ncomp : 3\nlogl : not provided.\n");
}

TEST_F(TexFile, BindingWithoutAWindowIsRefused) {
  TexObj obj;
  memset(&obj, 0, sizeof obj);
  CaptureStderr();
  EXPECT_EQ(bindTexObjs(&obj, 1), -1);
  EXPECT_EQ(GetCapturedStderr(),
            "Err : please initialize the GLUT environment before\n"
            "      calling bindTexObjs if you want to use texture.\n");
  EXPECT_EQ(obj.texId, 0u);
  EXPECT_EQ(bindTexObjs(nullptr, 0), 1);  // nothing to bind
}

}  // namespace
