// Scanning the columns of one .star data line in one pass: plain decimals converted here, with
// the results strtod and strtof give, other numbers by strtod, strtof and strtol.
#include "stars/star_fields.h"

#include <cstdio>
#include <cstdlib>

namespace {

// The number of columns of a data line.
constexpr int kColumns = 22;
// Columns 1-10 are doubles, 11-16 floats, then token, float, token, int, int, token.
constexpr int kDoubleColumns = 10;
constexpr int kFloatColumns = 6;
// The longest token a string column takes, as the scan line's %511s.
constexpr int kMaxToken = 511;

// White space as isspace has it in the C locale, which the program never leaves.
bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

const char* skipSpace(const char* p) {
  while (isSpace(*p)) p++;
  return p;
}

// A token the fast path may convert: only characters of a plain decimal number. strtod and
// sscanf agree on these; on others ("1e", "0x", "nan(1)", "infinit") sscanf reads a different
// stretch of the line than strtod does.
bool plainNumber(const char* p, bool integer) {
  const char* q = p;
  for (; *q && !isSpace(*q); q++) {
    char c = *q;
    bool ok = (c >= '0' && c <= '9') || c == '+' || c == '-' || (!integer && (c == '.' || c == 'e' || c == 'E'));
    if (!ok) return false;
  }
  return q != p;
}

// The conversion of a plain token must end where the token ends; a tail (such as "1e" or "1.2.3"'s
// ".3") is left to sscanf.
bool endsToken(const char* end, const char* start) {
  return end != start && (*end == '\0' || isSpace(*end));
}

// Powers of ten that a double holds exactly.
constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                   1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kMaxDoublePower = 22;
// Integers below this a double holds exactly.
constexpr double kExactDoubleLimit = 9007199254740992.0;  // 2^53
// A float mantissa below 2^24 scaled by at most ten decimal places rounds to the same float
// through a double as straight from the decimal: 5^10 is below 2^28, so the double can't fall
// on a float's midpoint unless the exact value lies there.
constexpr unsigned long long kMaxFloatMantissa = 1ULL << 24;
constexpr int kMaxFloatPower = 10;
// The most digits a mantissa takes before the number goes to strtod.
constexpr int kMaxMantissaDigits = 19;

// A decimal in its plainest form, [+-]digits[.digits][e[+-]digits] with at least one digit
// before the exponent and one in it, ending at white space or the line's end: its value is
// mantissa x 10^tens. False for anything else, which strtod then converts.
struct Decimal {
  unsigned long long mantissa = 0;
  int tens = 0;
  bool negative = false;
  const char* end = nullptr;
};

bool plainDecimal(const char* p, Decimal* d) {
  if (*p == '+' || *p == '-') d->negative = *p++ == '-';
  int digits = 0, significant = 0;
  auto digit = [&](char c, bool fraction) {
    digits++;
    if (significant == 0 && c == '0') {
      if (fraction) d->tens--;
      return true;
    }
    if (++significant > kMaxMantissaDigits) return false;
    d->mantissa = d->mantissa * 10 + static_cast<unsigned>(c - '0');
    if (fraction) d->tens--;
    return true;
  };
  for (; *p >= '0' && *p <= '9'; p++)
    if (!digit(*p, false)) return false;
  if (*p == '.')
    for (p++; *p >= '0' && *p <= '9'; p++)
      if (!digit(*p, true)) return false;
  if (digits == 0) return false;
  if (*p == 'e' || *p == 'E') {
    p++;
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    if (!(*p >= '0' && *p <= '9')) return false;
    int e = 0;
    for (; *p >= '0' && *p <= '9'; p++)
      if (e < 1000) e = e * 10 + (*p - '0');
    d->tens += negative ? -e : e;
  }
  if (*p != '\0' && !isSpace(*p)) return false;
  d->end = p;
  return true;
}

// strtod's result for the token at p, quicker for plain decimals of up to 15 or so digits: one
// exactly represented mantissa and one exact power of ten, one correctly rounded operation.
double toDouble(const char* p, char** end) {
  Decimal d;
  if (plainDecimal(p, &d) && static_cast<double>(d.mantissa) < kExactDoubleLimit && d.tens >= -kMaxDoublePower && d.tens <= kMaxDoublePower) {
    double m = static_cast<double>(d.mantissa);
    double v = d.tens < 0 ? m / kExactPowers[-d.tens] : m * kExactPowers[d.tens];
    *end = const_cast<char*>(d.end);
    return d.negative ? -v : v;
  }
  return strtod(p, end);
}

// strtof's result for the token at p, likewise.
float toFloat(const char* p, char** end) {
  Decimal d;
  if (plainDecimal(p, &d) && d.mantissa < kMaxFloatMantissa && d.tens >= -kMaxFloatPower &&
      d.tens <= kMaxFloatPower &&
      (d.tens <= 0 || static_cast<double>(d.mantissa) * kExactPowers[d.tens] < kExactDoubleLimit)) {
    double m = static_cast<double>(d.mantissa);
    float v = static_cast<float>(d.tens < 0 ? m / kExactPowers[-d.tens] : m * kExactPowers[d.tens]);
    *end = const_cast<char*>(d.end);
    return d.negative ? -v : v;
  }
  return strtof(p, end);
}

int scanBySscanf(const char* line, StarFields* o) {
  return sscanf(line, "%lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %f %f %f %f %f %f %511s %f %511s %d %d %511s",
                &o->d[0], &o->d[1], &o->d[2], &o->d[3], &o->d[4], &o->d[5], &o->d[6], &o->d[7], &o->d[8],
                &o->d[9], &o->f[0], &o->f[1], &o->f[2], &o->f[3], &o->f[4], &o->f[5], o->cls, &o->spNum,
                o->type, &o->hd, &o->hic, o->name);
}

// Copies the token at p into dst (at most kMaxToken characters) and returns the end of what was
// taken.
const char* takeToken(const char* p, char* dst) {
  int n = 0;
  while (*p && !isSpace(*p) && n < kMaxToken) dst[n++] = *p++;
  dst[n] = '\0';
  return p;
}

}  // namespace

int scanStarFields(const char* line, StarFields* out) {
  // A line that goes the slow way is scanned again from its start: the columns taken so far
  // hold the same values sscanf gives them.
  StarFields& o = *out;
  const char* p = skipSpace(line);
  if (*p == '\0') return -1;  // sscanf's end of input before the first conversion
  int count = 0;
  for (int col = 0; col < kColumns; col++) {
    p = skipSpace(p);
    if (*p == '\0') return count;
    char* end = nullptr;
    if (col < kDoubleColumns + kFloatColumns) {
      if (!plainNumber(p, false)) return scanBySscanf(line, out);
      if (col < kDoubleColumns) {
        double v = toDouble(p, &end);
        if (!endsToken(end, p)) return scanBySscanf(line, out);
        o.d[col] = v;
      } else {
        float v = toFloat(p, &end);
        if (!endsToken(end, p)) return scanBySscanf(line, out);
        o.f[col - kDoubleColumns] = v;
      }
      p = end;
    } else if (col == 16) {
      p = takeToken(p, o.cls);
    } else if (col == 17) {
      if (!plainNumber(p, false)) return scanBySscanf(line, out);
      float v = toFloat(p, &end);
      if (!endsToken(end, p)) return scanBySscanf(line, out);
      o.spNum = v;
      p = end;
    } else if (col == 18) {
      p = takeToken(p, o.type);
    } else if (col == 19 || col == 20) {
      if (!plainNumber(p, true)) return scanBySscanf(line, out);
      // %d keeps the low bits of the long it converts, as the cast does.
      long v = strtol(p, &end, 10);
      if (!endsToken(end, p)) return scanBySscanf(line, out);
      (col == 19 ? o.hd : o.hic) = static_cast<int>(v);
      p = end;
    } else {
      p = takeToken(p, o.name);
    }
    count++;
  }
  return count;
}
