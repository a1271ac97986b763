// The column scan of a .star data line gives the count and the values of the format's scan line,
// on plain lines, on every field count, and on tokens where strtod and sscanf read differently.
#include "stars/star_fields.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kColumns = 22;

StarFields filled() {
  StarFields f;
  memset(&f, 0, sizeof f);
  for (double& v : f.d) v = -7.5;
  for (float& v : f.f) v = -7.5f;
  f.spNum = -7.5f;
  f.hd = f.hic = -7;
  strcpy(f.cls, "unset");
  strcpy(f.type, "unset");
  strcpy(f.name, "unset");
  return f;
}

// The scan line of the format, as the reference.
int referenceScan(const char* line, StarFields* o) {
  return sscanf(line, "%lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %f %f %f %f %f %f %511s %f %511s %d %d %511s",
                &o->d[0], &o->d[1], &o->d[2], &o->d[3], &o->d[4], &o->d[5], &o->d[6], &o->d[7], &o->d[8],
                &o->d[9], &o->f[0], &o->f[1], &o->f[2], &o->f[3], &o->f[4], &o->f[5], o->cls, &o->spNum,
                o->type, &o->hd, &o->hic, o->name);
}

bool sameBits(double a, double b) {
  return memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}
bool sameBits(float a, float b) {
  return memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

// Empty when the two scans agree on the count and on every column it covers.
std::string compare(const std::string& line) {
  StarFields want = filled(), got = filled();
  int kw = referenceScan(line.c_str(), &want);
  int kg = scanStarFields(line.c_str(), &got);
  if (kw != kg) return "count " + std::to_string(kg) + " instead of " + std::to_string(kw);
  for (int c = 0; c < kw && c < kColumns; c++) {
    bool same = true;
    if (c < 10) same = sameBits(want.d[c], got.d[c]);
    else if (c < 16) same = sameBits(want.f[c - 10], got.f[c - 10]);
    else if (c == 16) same = strcmp(want.cls, got.cls) == 0;
    else if (c == 17) same = sameBits(want.spNum, got.spNum);
    else if (c == 18) same = strcmp(want.type, got.type) == 0;
    else if (c == 19) same = want.hd == got.hd;
    else if (c == 20) same = want.hic == got.hic;
    else same = strcmp(want.name, got.name) == 0;
    if (!same) return "column " + std::to_string(c + 1) + " differs";
  }
  return "";
}

const char* kFull = "1.5 -2.25 3e2 0.05 10 -20 30 0.1 0.2 0.3 0.65 2.5 0.1 0.2 0.3 0.4 G2 2.5 V 1234 5678 Alpha Beta";

// The first n white-space separated tokens of kFull.
std::string firstTokens(int n) {
  std::string out;
  const char* p = kFull;
  for (int i = 0; i < n; i++) {
    while (*p == ' ') p++;
    const char* e = strchr(p, ' ');
    if (!out.empty()) out += ' ';
    out += std::string(p, e ? e - p : strlen(p));
    p = e ? e : p + strlen(p);
  }
  return out;
}

}  // namespace

TEST(StarFields, EveryFieldCountScansAsTheScanLine) {
  for (int n = 0; n <= kColumns; n++) {
    for (const char* tail : {"", "\n", "  \t\n", " \r\n"}) {
      std::string line = firstTokens(n) + tail;
      EXPECT_EQ(compare(line), "") << "[" << line << "]";
      StarFields f = filled();
      int k = scanStarFields(line.c_str(), &f);
      EXPECT_EQ(k, n == 0 ? -1 : n) << "[" << line << "]";
    }
  }
}

TEST(StarFields, ValuesOfAFullLine) {
  StarFields f = filled();
  ASSERT_EQ(scanStarFields(kFull, &f), 22);
  EXPECT_EQ(f.d[0], 1.5);
  EXPECT_EQ(f.d[2], 300.0);
  EXPECT_EQ(f.f[1], 2.5f);
  EXPECT_STREQ(f.cls, "G2");
  EXPECT_EQ(f.spNum, 2.5f);
  EXPECT_STREQ(f.type, "V");
  EXPECT_EQ(f.hd, 1234);
  EXPECT_EQ(f.hic, 5678);
  EXPECT_STREQ(f.name, "Alpha");
  // Columns past the count keep what the caller put there.
  StarFields g = filled();
  ASSERT_EQ(scanStarFields("1 2 3\n", &g), 3);
  EXPECT_EQ(g.d[3], -7.5);
  EXPECT_EQ(g.hd, -7);
  EXPECT_STREQ(g.cls, "unset");
}

// Tokens on which strtod alone would read another stretch of the line than sscanf: a failed or
// shortened number changes the count, so each must scan as the scan line does.
TEST(StarFields, OddTokensScanAsTheScanLine) {
  const char* odd[] = {"1e",     "1e+",   "1E-",   "1ex",   "0x",      "0x1p3", "0X",      "inf",  "-inf",
                       "infinity", "infinit", "nan",  "nan(12)", "NAN",  "-",     "+",     ".",       "-.",
                       "1..2",   "1.2.3", "1e5x",  "--1",   "+-1",     "1-2",   "99999999999", "-99999999999",
                       "1e400",  "1e-400", "1e-50", "3.4028236e38", "0.1", "007", "+5", "-0", "abc", "#"};
  for (int col = 0; col < kColumns; col++) {
    for (const char* tok : odd) {
      std::string line;
      const char* p = kFull;
      for (int i = 0; i < kColumns; i++) {
        while (*p == ' ') p++;
        const char* e = strchr(p, ' ');
        std::string t(p, e ? e - p : strlen(p));
        p = e ? e : p + strlen(p);
        if (i) line += ' ';
        line += i == col ? std::string(tok) : t;
      }
      // The odd token also stands just before the next token and at the line's end.
      for (const std::string& l : {line + "\n", firstTokens(col) + (col ? " " : "") + tok + "\n",
                                   firstTokens(col) + (col ? " " : "") + tok + " 2 3\n"})
        EXPECT_EQ(compare(l), "") << "column " << col + 1 << " [" << l << "]";
    }
  }
}

TEST(StarFields, LongTokensAreCutAsTheScanLineCutsThem) {
  std::string longWord(600, 'x');
  for (int col : {16, 18, 21}) {
    std::string line = firstTokens(col) + " " + longWord + " 1 2 3\n";
    EXPECT_EQ(compare(line), "") << col;
  }
}

TEST(StarFields, RandomLinesScanAsTheScanLine) {
  std::mt19937 rng(20240611u);
  const char* pieces[] = {"1", "-2.5", "3e1", "0.001", "1e", "0x", "inf", "nan", "G2", "V", "IV", "x", "",
                          "+", "-", ".", "12345678901", "1.5.2", "7", "0", "1e-3", "2E+2", "\t"};
  const char* gaps[] = {" ", "  ", "\t", " \t "};
  for (int trial = 0; trial < 20000; trial++) {
    std::string line;
    int n = static_cast<int>(rng() % 26);
    for (int i = 0; i < n; i++) {
      line += pieces[rng() % (sizeof pieces / sizeof *pieces)];
      line += gaps[rng() % 4];
    }
    if (rng() % 2) line += "\n";
    ASSERT_EQ(compare(line), "") << "[" << line << "]";
  }
}

// Decimals of every length and exponent, in every numeric column: the quick conversion of
// short decimals and strtod for the rest give the bits the scan line gives.
TEST(StarFields, RandomDecimalsConvertToTheSameBits) {
  std::mt19937 rng(4242u);
  auto decimal = [&]() {
    std::string t;
    if (rng() % 3 == 0) t += '-';
    if (rng() % 8 == 0) t += '+';
    int intDigits = static_cast<int>(rng() % 12);
    for (int d = 0; d < intDigits; d++) t += static_cast<char>('0' + rng() % 10);
    if (intDigits == 0 || rng() % 2) {
      t += '.';
      int frac = static_cast<int>(rng() % 20);
      if (intDigits == 0 && frac == 0) frac = 1;
      for (int d = 0; d < frac; d++) t += static_cast<char>('0' + rng() % 10);
    }
    if (rng() % 4 == 0) {
      t += rng() % 2 ? 'e' : 'E';
      t += std::to_string(static_cast<int>(rng() % 70) - 35);
    }
    return t;
  };
  for (int trial = 0; trial < 3000; trial++) {
    std::string line;
    for (int col = 0; col < 16; col++) {
      if (col) line += ' ';
      line += decimal();
    }
    line += " G2 ";
    line += decimal();
    line += " V 12 -34 Name\n";
    ASSERT_EQ(compare(line), "") << "[" << line << "]";
  }
}
