// The OBJ reader's own conversions consume what fscanf consumes, fail where it fails and give
// the same values: compared with fscanf on the same text, case by case and on random text.
#include "model/obj_scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using objscan::Corner;
using objscan::FaceForm;

namespace {

// What one conversion did: its result, the values and where the stream stands after it.
struct Outcome {
  int result;
  std::vector<unsigned> bits;
  std::string rest;
  bool operator==(const Outcome& o) const { return result == o.result && bits == o.bits && rest == o.rest; }
};

std::string restOf(FILE* f) {
  std::string s;
  int c;
  while ((c = fgetc(f)) != EOF) s += static_cast<char>(c);
  return s;
}

unsigned bitsOf(float v) {
  unsigned u;
  memcpy(&u, &v, sizeof u);
  return std::isnan(v) ? 0x7fc00000u : u;
}

template <typename Run>
Outcome onText(const std::string& text, Run run) {
  std::string copy = text;
  FILE* f = fmemopen(copy.data(), copy.size() ? copy.size() : 1, "r");
  if (copy.empty()) fgetc(f);  // an empty stream
  Outcome o = run(f);
  o.rest = restOf(f);
  fclose(f);
  return o;
}

const char* kFormats[] = {"%d", "%d/%d", "%d/%d/%d", "%d//%d"};
const FaceForm kForms[] = {FaceForm::V, FaceForm::VT, FaceForm::VTN, FaceForm::VN};

std::string compareCorner(const std::string& text, int form) {
  Outcome want = onText(text, [&](FILE* f) {
    int v[3] = {-7, -7, -7};
    int r = form == 0   ? fscanf(f, kFormats[0], &v[0])
            : form == 1 ? fscanf(f, kFormats[1], &v[0], &v[1])
            : form == 2 ? fscanf(f, kFormats[2], &v[0], &v[1], &v[2])
                        : fscanf(f, kFormats[3], &v[0], &v[2]);
    return Outcome{r, {unsigned(v[0]), unsigned(v[1]), unsigned(v[2])}, ""};
  });
  Outcome got = onText(text, [&](FILE* f) {
    Corner c;
    c.v = c.t = c.n = -7;
    objscan::StreamSource in{f};
    int r = objscan::scanCorner(in, kForms[form], &c);
    return Outcome{r, {unsigned(c.v), unsigned(c.t), unsigned(c.n)}, ""};
  });
  if (want == got) return "";
  return std::string(kFormats[form]) + " result " + std::to_string(got.result) + " want " +
         std::to_string(want.result) + ", rest [" + got.rest + "] want [" + want.rest + "]";
}

std::string compareFloats(const std::string& text) {
  Outcome want = onText(text, [](FILE* f) {
    float v[3] = {-7, -7, -7};
    int r = fscanf(f, "%f %f %f", &v[0], &v[1], &v[2]);
    return Outcome{r, {bitsOf(v[0]), bitsOf(v[1]), bitsOf(v[2])}, ""};
  });
  Outcome got = onText(text, [](FILE* f) {
    float v[3] = {-7, -7, -7};
    objscan::StreamSource in{f};
    int r = 0;
    for (int i = 0; i < 3; i++) {
      int k = objscan::scanFloat(in, &v[i]);
      if (k != 1) {
        if (i == 0) r = k;
        break;
      }
      r = i + 1;
    }
    return Outcome{r, {bitsOf(v[0]), bitsOf(v[1]), bitsOf(v[2])}, ""};
  });
  if (want == got) return "";
  return "result " + std::to_string(got.result) + " want " + std::to_string(want.result) + ", values " +
         std::to_string(got.bits[0]) + " want " + std::to_string(want.bits[0]) + ", rest [" + got.rest +
         "] want [" + want.rest + "]";
}

std::string compareWord(const std::string& text) {
  auto words = [](FILE* f, bool own) {
    std::string all;
    char w[128];
    for (;;) {
      bool ok;
      if (own) {
        objscan::StreamSource in{f};
        ok = objscan::scanWord(in, w);
      } else {
        ok = fscanf(f, "%127s", w) == 1;
      }
      if (!ok) break;
      all += '<';
      all += w;
      all += '>';
    }
    return all;
  };
  std::string copy = text;
  FILE* a = fmemopen(copy.data(), copy.size(), "r");
  std::string want = words(a, false);
  fclose(a);
  FILE* b = fmemopen(copy.data(), copy.size(), "r");
  std::string got = words(b, true);
  fclose(b);
  return want == got ? "" : got + " want " + want;
}

const char* kCornerTexts[] = {
    "1",      " 12 ",   "\n\t 3/4", "1/2/3",  "1//2",    "1/2",     "1/",     "1//",    "1/x",     "1//x",
    "1/-x",   "-x",     "+ 5",      "-",      "+",       "x",       "",       "   ",    "-12/-3/+4", "007//08",
    "99999999999/1/1",  "-99999999999", "99999999999999999999999", "1/2/", "1/2/x", "1/2//3", "f 1 2 3",
    "1 2 3",  "1/2/3 4/5/6", "0x10", "1e5",  "1.5",    "\r\n5"};

const char* kFloatTexts[] = {
    "1 2 3",       "-1.5 0.25 1e3",  "0.123456 -0.654321 12.5", "1e",        "1e+ 2",      "1ex 2",
    "0x1p3 2 3",   "0x 2",           "0xq",                     "inf 1 2",   "-inf",       "nan 1",
    "nan(12) 3",   "infinit 2",      ".5 .5 .5",                "-.5",       "-.x",        "-",
    "+ 1",         ".",              "1.5.3",                   "1..2",      "1e99999 2",  "1e-99999",
    "3.4028236e38", "1.17549435e-38", "16777217",               "16777216.5", "0.1 0.2 0.3", "123456789.123",
    "1.00000000000000000001", "0.000000000000000000000000000000000000000000001", "-0", "-0.0 1",
    "12345678", "1234567.8", "0.00001234", "9.999999e-11", "1e10", "12e9", "3e-10", "v 1 2",
    "1 2\nv 3 4 5", "1 x 3", "", "   ", "7\r\n"};

}  // namespace

TEST(ObjScan, CornersAsFscanfReadsThem) {
  for (const char* t : kCornerTexts)
    for (int form = 0; form < 4; form++) EXPECT_EQ(compareCorner(t, form), "") << "[" << t << "]";
}

TEST(ObjScan, FormOfTheFirstCorner) {
  struct Case {
    const char* word;
    FaceForm form;
  } cases[] = {{"1//2", FaceForm::VN}, {"1/2/3", FaceForm::VTN}, {"1/2", FaceForm::VT}, {"1", FaceForm::V},
               {"1/2/", FaceForm::VT},  {"1/", FaceForm::V},      {"x//", FaceForm::VN}, {"", FaceForm::V},
               {"1/x/3", FaceForm::V}};
  for (const Case& c : cases) EXPECT_EQ(objscan::formOf(c.word), c.form) << c.word;
}

TEST(ObjScan, FloatsAsFscanfReadsThem) {
  for (const char* t : kFloatTexts) EXPECT_EQ(compareFloats(t), "") << "[" << t << "]";
}

TEST(ObjScan, WordsAsFscanfReadsThem) {
  std::string longWord(300, 'w');
  for (const std::string& t : {std::string("v 1 2 3\nf 1 2 3\n"), std::string("  \t\n"), std::string(""),
                               longWord + " x", std::string(127, 'a') + "b c", std::string(127, 'a') + " b"})
    EXPECT_EQ(compareWord(t), "") << t.size();
}

TEST(ObjScan, RandomNumbersAsFscanfReadsThem) {
  std::mt19937 rng(77u);
  for (int i = 0; i < 20000; i++) {
    // Decimals of every length around the fast conversion's limits, with and without exponents.
    std::string t;
    if (rng() % 3 == 0) t += "-";
    int intDigits = static_cast<int>(rng() % 10);
    for (int d = 0; d < intDigits; d++) t += static_cast<char>('0' + rng() % 10);
    if (intDigits == 0) t += "0";
    if (rng() % 4) {
      t += ".";
      int frac = static_cast<int>(rng() % 12);
      for (int d = 0; d < frac; d++) t += static_cast<char>('0' + rng() % 10);
    }
    if (rng() % 4 == 0) {
      t += 'e';
      t += std::to_string(static_cast<int>(rng() % 50) - 25);
    }
    t += " 1 2";
    ASSERT_EQ(compareFloats(t), "") << "[" << t << "]";
  }
  const char* pieces[] = {"1", "/", "//", "-", "+", " ", "x", "12", "\n", "0"};
  for (int i = 0; i < 20000; i++) {
    std::string t;
    int n = static_cast<int>(rng() % 8);
    for (int k = 0; k < n; k++) t += pieces[rng() % 10];
    for (int form = 0; form < 4; form++) ASSERT_EQ(compareCorner(t, form), "") << "[" << t << "]";
  }
}
