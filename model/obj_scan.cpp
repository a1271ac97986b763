// Character-level forms of the fscanf conversions of the OBJ reader.
#include "model/obj_scan.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace objscan {

namespace {

// White space as isspace has it in the C locale, which the program never leaves.
bool isSpace(int c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(int c) {
  return c >= '0' && c <= '9';
}

// Skips white space; returns the first other character (or EOF), already read.
template <typename Source>
int skipSpace(Source& in) {
  int c;
  do c = in.get();
  while (isSpace(c));
  return c;
}

// A literal character of the format: consumed if it is next, else left.
template <typename Source>
bool literal(Source& in, char want) {
  int c = in.get();
  if (c == want) return true;
  in.unget(c);
  return false;
}

// Powers of ten that a double holds exactly.
constexpr double kExactPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10};
constexpr int kMaxExactPower = 10;
// Below this a decimal mantissa scaled by an exact power of ten rounds to the same float
// whether rounded once or through a double: a double can't land on a float's midpoint unless
// the exact value lies there.
constexpr long kMaxFastMantissa = 1L << 24;
// The longest number text collected for strtof.
constexpr int kMaxNumberText = 255;

}  // namespace

bool scanWord(StreamSource& in, char* word) {
  int c = skipSpace(in);
  if (c == EOF) return false;
  int n = 0;
  while (c != EOF && !isSpace(c)) {
    word[n++] = static_cast<char>(c);
    if (n == kWordChars) break;  // the rest of a longer word is the next word
    c = in.get();
  }
  if (n < kWordChars) in.unget(c);
  word[n] = '\0';
  return true;
}

template <typename Source>
int scanInt(Source& in, int* value) {
  int c = skipSpace(in);
  if (c == EOF) return -1;
  bool negative = false;
  if (c == '+' || c == '-') {
    negative = c == '-';
    c = in.get();
  }
  if (!isDigit(c)) {
    in.unget(c);  // a sign before it stays consumed, as in fscanf
    return 0;
  }
  long v = 0;
  bool clamped = false;
  for (; isDigit(c); c = in.get()) {
    int d = c - '0';
    if (!clamped && v > (LONG_MAX - d) / 10) clamped = true;
    if (!clamped) v = v * 10 + d;
  }
  in.unget(c);
  if (clamped) v = negative ? LONG_MIN : LONG_MAX;
  else if (negative) v = -v;
  *value = static_cast<int>(v);
  return 1;
}

template <typename Source>
int scanCorner(Source& in, FaceForm form, Corner* c) {
  int r = scanInt(in, &c->v);
  if (r < 1 || form == FaceForm::V) return r;
  if (form == FaceForm::VN) {
    if (!literal(in, '/') || !literal(in, '/')) return 1;
    return scanInt(in, &c->n) == 1 ? 2 : 1;
  }
  if (!literal(in, '/') || scanInt(in, &c->t) != 1) return 1;
  if (form == FaceForm::VT) return 2;
  if (!literal(in, '/') || scanInt(in, &c->n) != 1) return 2;
  return 3;
}

template int scanInt<StreamSource>(StreamSource&, int*);
template int scanInt<StringSource>(StringSource&, int*);
template int scanCorner<StreamSource>(StreamSource&, FaceForm, Corner*);
template int scanCorner<StringSource>(StringSource&, FaceForm, Corner*);

FaceForm formOf(const char* word) {
  if (strstr(word, "//")) return FaceForm::VN;
  Corner c;
  StringSource three{word};
  if (scanCorner(three, FaceForm::VTN, &c) == 3) return FaceForm::VTN;
  StringSource two{word};
  if (scanCorner(two, FaceForm::VT, &c) == 2) return FaceForm::VT;
  return FaceForm::V;
}

int scanFloat(StreamSource& in, float* value) {
  int c = skipSpace(in);
  if (c == EOF) return -1;
  char text[kMaxNumberText + 1];
  int n = 0;
  int sign = 0;
  if (c == '+' || c == '-') {
    sign = c;
    text[n++] = static_cast<char>(c);
    c = in.get();
  }
  // Not a plain decimal number: fscanf reads it from where it started.
  auto handBack = [&](int next, const char* taken) {
    in.unget(next);
    for (int i = static_cast<int>(strlen(taken)) - 1; i >= 0; i--) in.unget(static_cast<unsigned char>(taken[i]));
    if (sign) in.unget(sign);
    return fscanf(in.file, "%f", value);
  };
  if (!isDigit(c)) return handBack(c, "");
  long mantissa = 0;
  int scale = 0;  // decimal places of the mantissa
  auto take = [&](int ch) {
    if (n < kMaxNumberText) text[n++] = static_cast<char>(ch);
  };
  for (; isDigit(c); c = in.get()) {
    take(c);
    if (mantissa < kMaxFastMantissa) mantissa = mantissa * 10 + (c - '0');
  }
  if ((c == 'x' || c == 'X') && mantissa == 0 && n == (sign ? 2 : 1)) return handBack(c, "0");
  if (c == '.') {
    take(c);
    for (c = in.get(); isDigit(c); c = in.get()) {
      take(c);
      if (mantissa < kMaxFastMantissa) {
        mantissa = mantissa * 10 + (c - '0');
        scale++;
      }
    }
  }
  int exponent = 0;
  if (c == 'e' || c == 'E') {
    // fscanf takes the 'e' and its sign even when no digit follows; strtof then ignores them.
    take(c);
    c = in.get();
    bool expNegative = false;
    if (c == '+' || c == '-') {
      expNegative = c == '-';
      take(c);
      c = in.get();
    }
    for (; isDigit(c); c = in.get()) {
      take(c);
      if (exponent < 1000) exponent = exponent * 10 + (c - '0');
    }
    if (expNegative) exponent = -exponent;
  }
  in.unget(c);
  text[n] = '\0';
  int tens = exponent - scale;  // the value is mantissa x 10^tens
  // A mantissa that grew past its room stopped taking digits; strtof converts such a number.
  if (mantissa < kMaxFastMantissa && tens >= -kMaxExactPower && tens <= kMaxExactPower &&
      (tens <= 0 || mantissa * kExactPowers[tens] < 9007199254740992.0)) {
    double v = tens < 0 ? mantissa / kExactPowers[-tens] : mantissa * kExactPowers[tens];
    float f = static_cast<float>(v);
    *value = sign == '-' ? -f : f;
    return 1;
  }
  *value = strtof(text, nullptr);
  return 1;
}

}  // namespace objscan
