// Extrasolar planets: the fixed-column planet table read in two passes, each planet bound to its
// star in the catalogue and its orbit oriented from a seeded random sequence, and the look-ups and
// giving back of the planet arrays.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "coords/constants.h"
#include "coords/randvar.h"
#include "fileio/common.h"
#include "fileio/entropy.h"
#include "stars/star.h"

namespace {

// Lines of the system's text files are read into buffers of this size.
constexpr int kLineSize = 512;

// The columns of a data line, counted from 0: where each field starts and how wide it is.
struct Column {
  int start;
  int width;
};
constexpr Column kIdColumn{0, 9};
constexpr Column kNameColumn{9, 14};
constexpr Column kMassColumn{23, 12};
constexpr Column kPeriodColumn{35, 13};
constexpr Column kSemiMajorColumn{48, 13};
constexpr Column kEccentricityColumn{61, 13};
// K runs from here to the end of the line.
constexpr size_t kKColumn = 74;
// The widest column, and room for its terminator.
constexpr int kFieldSize = 16;

// A data line that is not skipped holds at least this many tokens and characters.
constexpr int kMinTokens = 7;
constexpr size_t kMinLineLength = 73;
// Masses, periods and orbit sizes from here on are taken for a broken table.
constexpr double kExceptionallyLarge = 1e7;
// The orbits are oriented from the random sequence of this seed, the same in every run.
constexpr unsigned kOrbitSeed = 2002;
constexpr double kDegreesPerTurn = 360.0;

// A mass column with this text marks an object that is no planet.
const char* const kNotAPlanet = "Not a Planet";
// The catalogue's mark of a star without a name; it names no star.
const char* const kNoName = "---";
// Names of this prefix are looked up by HD number.
const char* const kHdPrefix = "HD";
constexpr size_t kHdPrefixLength = 2;

// The head of a block of retired arrays: the next block, the count, then the arrays.
constexpr int kRetiredNext = 0;
constexpr int kRetiredCount = 1;
constexpr int kRetiredHead = 2;

void reportLine(int lineNo, const char* what) {
  fprintf(stderr, "Err(StarList::loadExtrasolarPlanets): (line %d)\n\t%s\n", lineNo, what);
}

void reportNoMemory() {
  fprintf(stderr, "Err(StarList::loadExtrasolarPlanets): failed to allocate memory\n");
}

// ---------------------------------------------------------------------------------------------
// Lines

enum class LineRead { Line, End, TooLong, Binary };

// A byte with no place in a text table: NUL and the control codes other than white space.
bool isBinaryByte(int c) {
  const int kFirstPrintable = 0x20, kDelete = 0x7F;
  return (c < kFirstPrintable && !isspace(c)) || c == kDelete;
}

// The next line that is neither comment nor blank, without its trailing white space, counting
// every line read in *lineNo. Reads byte by byte so that a line too long for the buffer or holding
// binary bytes is known as such rather than parsed in pieces, and so that a last line without a
// newline (a table saved by hand) still counts. Comments and blank lines are passed over at any
// length.
LineRead nextLine(FILE* fp, char* buf, int* lineNo) {
  for (;;) {
    int c = 0, n = 0;
    bool any = false, tooLong = false, binary = false;
    while ((c = getc(fp)) != EOF) {
      any = true;
      if (c == '\n') break;
      if (isBinaryByte(c)) binary = true;
      if (n < kLineSize - 1)
        buf[n++] = (char)c;
      else
        tooLong = true;
    }
    buf[n] = 0;
    if (!any) return LineRead::End;
    (*lineNo)++;
    if (binary) return LineRead::Binary;
    if (StarList::isComment(buf) || StarList::isBlankLine(buf)) continue;
    if (tooLong) return LineRead::TooLong;
    StarList::chomp(buf);
    return LineRead::Line;
  }
}

int countTokens(const char* line) {
  int n = 0;
  const char* p = line;
  for (;;) {
    while (*p && isspace((unsigned char)*p)) p++;
    if (!*p) return n;
    n++;
    while (*p && !isspace((unsigned char)*p)) p++;
  }
}

// What of the column the line holds, trimmed of white space at both ends, into out (kFieldSize).
void columnText(const char* line, size_t length, Column col, char* out) {
  size_t from = std::min((size_t)col.start, length);
  size_t to = std::min((size_t)(col.start + col.width), length);
  while (from < to && isspace((unsigned char)line[from])) from++;
  while (to > from && isspace((unsigned char)line[to - 1])) to--;
  memcpy(out, line + from, to - from);
  out[to - from] = 0;
}

// A column scanned with "%f"; 0 when it holds no number, which the range tests then refuse.
float columnFloat(const char* text) {
  float v = 0.0f;
  if (sscanf(text, "%f", &v) != 1) v = 0.0f;
  return v;
}

enum class LineKind { Skipped, Short, Data };

// What a valid line is: no data line (skipped silently), a planet line too short to read, or a
// planet line. A line without a planet number of at least 1 (a title, for instance) and a line
// whose mass reads "Not a Planet" or is not above 0 are skipped. An empty mass column skips the
// line only where the line is long enough to have had one: a line cut before it is too short.
LineKind classify(const char* line) {
  const size_t length = strlen(line);
  char text[kFieldSize];
  int id = 0;
  columnText(line, length, kIdColumn, text);
  if (sscanf(text, "%d", &id) != 1 || id < 1) return LineKind::Skipped;
  char mass[kFieldSize];
  columnText(line, length, kMassColumn, mass);
  if (strcmp(mass, kNotAPlanet) == 0) return LineKind::Skipped;
  const bool tooShort = countTokens(line) < kMinTokens || length < kMinLineLength;
  if (mass[0] == 0 && tooShort) return LineKind::Short;
  if (atof(mass) <= 0) return LineKind::Skipped;
  return tooShort ? LineKind::Short : LineKind::Data;
}

// The star name of a planet line.
void lineStarName(const char* line, char* out) {
  columnText(line, strlen(line), kNameColumn, out);
}

// ---------------------------------------------------------------------------------------------
// Finding stars

// The catalogue's stars by HD number and by common name, for one load. A name beginning with "HD"
// is looked up by the number behind it, any other by the common name without regard to case;
// either way the first star in array order wins, the Sun included when the catalogue has it.
// HD 0 (no number) and "---" (no name) find no star.
class StarFinder {
 public:
  explicit StarFinder(StarList& list) : list_(list) {}
  ~StarFinder() {
    if (hd_) list_.freeFunc(hd_);
    if (named_) list_.freeFunc(named_);
  }
  StarFinder(const StarFinder&) = delete;
  StarFinder& operator=(const StarFinder&) = delete;

  // False when the scratch tables cannot be had.
  bool build() {
    const int n = list_.stars ? list_.numStars : 0;
    if (n <= 0) return true;
    hd_ = (HdEntry*)list_.allocFunc(sizeof(HdEntry) * (size_t)n);
    named_ = (int*)list_.allocFunc(sizeof(int) * (size_t)n);
    if (!hd_ || !named_) return false;
    for (int i = 0; i < n; i++) {
      const NODE_StarObject& s = list_.stars[i];
      if (s.HD > 0) hd_[numHd_++] = HdEntry{s.HD, i};
      if (s.commonName[0] && strcmp(s.commonName, kNoName) != 0) named_[numNamed_++] = i;
    }
    std::sort(hd_, hd_ + numHd_,
              [](const HdEntry& a, const HdEntry& b) { return a.hd != b.hd ? a.hd < b.hd : a.index < b.index; });
    return true;
  }

  // The index of the star, or -1.
  int find(const char* name) const {
    if (strncmp(name, kHdPrefix, kHdPrefixLength) == 0) {
      const int hd = atoi(name + kHdPrefixLength);
      if (hd <= 0) return -1;
      const HdEntry* begin = hd_;
      const HdEntry* end = hd_ + numHd_;
      const HdEntry* it = std::lower_bound(begin, end, hd, [](const HdEntry& e, int v) { return e.hd < v; });
      return it != end && it->hd == hd ? it->index : -1;
    }
    if (!name[0] || strcmp(name, kNoName) == 0) return -1;
    for (int k = 0; k < numNamed_; k++)
      if (strcasecmp(list_.stars[named_[k]].commonName, name) == 0) return named_[k];
    return -1;
  }

 private:
  struct HdEntry {
    int hd;
    int index;
  };
  StarList& list_;
  HdEntry* hd_ = nullptr;
  int numHd_ = 0;
  int* named_ = nullptr;
  int numNamed_ = 0;
};

// ---------------------------------------------------------------------------------------------
// One load

// A load builds the new table beside the old one and puts it in place only when the whole file
// has been read: a table that fails anywhere leaves the planets and the stars as they were.
// Whatever it allocated and did not hand over it gives back.
class PlanetLoad {
 public:
  PlanetLoad(StarList& list, const char* file) : list_(list), file_(file), finder_(list) {}
  ~PlanetLoad() {
    if (lists_) {
      for (int i = 0; i < numStars(); i++)
        if (lists_[i]) list_.freeFunc(lists_[i]);
      list_.freeFunc(lists_);
    }
    if (counts_) list_.freeFunc(counts_);
    if (planets_) list_.freeFunc(planets_);
    if (retired_) list_.freeFunc(retired_);
  }
  PlanetLoad(const PlanetLoad&) = delete;
  PlanetLoad& operator=(const PlanetLoad&) = delete;

  int run(FILE* fp) {
    if (!finder_.build() || !allocCounts()) return noMemory();
    if (!countPass(fp)) return -1;
    if (!allocTable()) return noMemory();
    rewind(fp);
    if (!fillPass(fp)) return -1;
    commit();
    return 1;
  }

 private:
  int numStars() const { return list_.stars ? list_.numStars : 0; }

  int noMemory() {
    reportNoMemory();
    return -1;
  }

  bool allocCounts() {
    if (numStars() <= 0) return true;
    counts_ = (int*)list_.allocFunc(sizeof(int) * (size_t)numStars());
    if (!counts_) return false;
    memset(counts_, 0, sizeof(int) * (size_t)numStars());
    return true;
  }

  // A fault of the line reader: reported, and the load ends.
  bool lineFault(LineRead r, int lineNo) {
    if (r == LineRead::TooLong)
      reportLine(lineNo, "line longer than 511 characters");
    else if (r == LineRead::Binary)
      reportLine(lineNo, "unreadable (binary) characters in line");
    return false;
  }

  bool readFault(FILE* fp) {
    if (!ferror(fp)) return false;
    fprintf(stderr, "ERR : reading [%s]\n", file_);
    return true;
  }

  // First pass: the shape of each planet line, how many planets there are and how many each
  // star gets.
  bool countPass(FILE* fp) {
    char line[kLineSize];
    int lineNo = 0;
    for (;;) {
      LineRead r = nextLine(fp, line, &lineNo);
      if (r == LineRead::End) break;
      if (r != LineRead::Line) return lineFault(r, lineNo);
      LineKind kind = classify(line);
      if (kind == LineKind::Skipped) continue;
      if (kind == LineKind::Short) {
        notEnoughInput(lineNo, line);
        return false;
      }
      char name[kFieldSize];
      lineStarName(line, name);
      const int star = finder_.find(name);
      if (star >= 0) counts_[star]++;
      total_++;
    }
    return !readFault(fp);
  }

  void notEnoughInput(int lineNo, const char* line) {
    fprintf(stderr, "Err(StarList::loadExtrasolarPlanets): (line %d)\n\tnot enough input argument in line [%s]\n",
            lineNo, line);
  }

  // The planet array, each star's list of planets and the block that will hold the arrays of the
  // table loaded before, all taken before anything is handed over.
  bool allocTable() {
    if (total_ > 0) {
      planets_ = (NODE_ExtrasolarPlanet*)list_.allocFunc(sizeof(NODE_ExtrasolarPlanet) * (size_t)total_);
      if (!planets_) return false;
      memset(planets_, 0, sizeof(NODE_ExtrasolarPlanet) * (size_t)total_);
    }
    if (numStars() > 0) {
      lists_ = (NODE_ExtrasolarPlanet***)list_.allocFunc(sizeof(NODE_ExtrasolarPlanet**) * (size_t)numStars());
      if (!lists_) return false;
      memset(lists_, 0, sizeof(NODE_ExtrasolarPlanet**) * (size_t)numStars());
      for (int i = 0; i < numStars(); i++) {
        if (counts_[i] == 0) continue;
        lists_[i] = (NODE_ExtrasolarPlanet**)list_.allocFunc(sizeof(NODE_ExtrasolarPlanet*) * (size_t)counts_[i]);
        if (!lists_[i]) return false;
        for (int k = 0; k < counts_[i]; k++) lists_[i][k] = nullptr;
      }
    }
    int old = list_.planets ? 1 : 0;
    for (int i = 0; i < numStars(); i++)
      if (list_.stars[i].planets) old++;
    if (old > 0) {
      retired_ = (void**)list_.allocFunc(sizeof(void*) * (size_t)(kRetiredHead + old));
      if (!retired_) return false;
    }
    return true;
  }

  // The values of a planet line, each tested in turn. False after the message of the first that
  // is out of range.
  bool readValues(const char* line, int lineNo, NODE_ExtrasolarPlanet* p) {
    const size_t length = strlen(line);
    char text[kFieldSize];
    columnText(line, length, kMassColumn, text);
    p->mass = strtof(text, nullptr);  // HUGE_VALF beyond the float range, refused below
    columnText(line, length, kIdColumn, text);
    sscanf(text, "%d", &p->id);
    columnText(line, length, kNameColumn, text);
    copyText(p->starName, text, sizeof p->starName);
    columnText(line, length, kPeriodColumn, text);
    p->period = columnFloat(text);
    columnText(line, length, kSemiMajorColumn, text);
    p->semiMajor = columnFloat(text);
    columnText(line, length, kEccentricityColumn, text);
    p->eccentricity = columnFloat(text);
    p->K = columnFloat(length > kKColumn ? line + kKColumn : "");

    // Written so that a NaN fails each test too.
    const char* fault = nullptr;
    if (!(p->mass > 0))
      fault = "mass of planet should be positive.";
    else if (!(p->mass < kExceptionallyLarge))
      fault = "mass of planet is exceptionally large.";
    else if (!(p->period > 0))
      fault = "orbiting period of planet should be positive.";
    else if (!(p->period < kExceptionallyLarge))
      fault = "orbiting period is exceptionally large.";
    else if (!(p->semiMajor > 0))
      fault = "orbiting radius of planet should be positive.";
    else if (!(p->semiMajor < kExceptionallyLarge))
      fault = "orbiting radius is exceptionally large.";
    else if (!(p->eccentricity >= 0 && p->eccentricity < 1))
      fault = "eccentricity of planet should be within [0,1).";
    else if (!(p->K > 0))
      fault = "K (m/s) of planet should be positive.";
    if (fault) {
      reportLine(lineNo, fault);
      return false;
    }
    return true;
  }

  // The orbit's shape and a random orientation: an angle, then an axis drawn uniformly from the
  // unit ball and made unit length. This order of draws fixes every orbit of a table.
  static void orient(NODE_ExtrasolarPlanet* p) {
    p->minorRatio = sqrtf(1.0f - p->eccentricity * p->eccentricity);
    p->logOrbit = log10((double)p->semiMajor * kMetresPerAstronomicalUnit);
    p->orbitAngle = uniformRV() * kDegreesPerTurn;
    double len = 0;
    do {
      for (int k = 0; k < 3; k++) p->orbitAxis[k] = 2 * uniformRV() - 1;
      len = sqrt(p->orbitAxis[0] * p->orbitAxis[0] + p->orbitAxis[1] * p->orbitAxis[1] +
                 p->orbitAxis[2] * p->orbitAxis[2]);
    } while (len > 1 || len == 0);
    for (int k = 0; k < 3; k++) p->orbitAxis[k] /= len;
  }

  void fileChanged() {
    fprintf(stderr, "Err(StarList::loadExtrasolarPlanets): [%s] changed while it was read\n", file_);
  }

  // Second pass: every planet line into the array, bound to its star.
  bool fillPass(FILE* fp) {
    char line[kLineSize];
    int lineNo = 0;
    int stored = 0;
    srand(kOrbitSeed);
    for (;;) {
      LineRead r = nextLine(fp, line, &lineNo);
      if (r == LineRead::End) break;
      if (r != LineRead::Line) return lineFault(r, lineNo);
      LineKind kind = classify(line);
      if (kind == LineKind::Skipped) continue;
      if (kind == LineKind::Short) {
        notEnoughInput(lineNo, line);
        return false;
      }
      if (stored >= total_) {
        fileChanged();
        return false;
      }
      NODE_ExtrasolarPlanet* p = &planets_[stored];
      if (!readValues(line, lineNo, p)) return false;
      orient(p);
      p->star = nullptr;
      const int star = finder_.find(p->starName);
      if (star >= 0) {
        // The first free place of the star's list.
        int k = 0;
        while (k < counts_[star] && lists_[star][k]) k++;
        if (k == counts_[star]) {
          fileChanged();
          return false;
        }
        lists_[star][k] = p;
        p->star = &list_.stars[star];
      }
      stored++;
    }
    if (readFault(fp)) return false;
    if (stored != total_) {
      fileChanged();
      return false;
    }
    return true;
  }

  // The new table takes the place of the old one. The old arrays are kept, not given back, as
  // copies of star records may still point into them; freeExtrasolarPlanets gives them back.
  void commit() {
    if (retired_) {
      int n = 0;
      if (list_.planets) retired_[kRetiredHead + n++] = list_.planets;
      for (int i = 0; i < numStars(); i++)
        if (list_.stars[i].planets) retired_[kRetiredHead + n++] = list_.stars[i].planets;
      retired_[kRetiredNext] = list_.retiredPlanetBlocks;
      retired_[kRetiredCount] = (void*)(intptr_t)n;
      list_.retiredPlanetBlocks = retired_;
      retired_ = nullptr;
    }
    for (int i = 0; i < numStars(); i++) {
      list_.stars[i].nPlanets = counts_[i];
      list_.stars[i].planets = lists_ ? lists_[i] : nullptr;
    }
    if (lists_) {
      list_.freeFunc(lists_);
      lists_ = nullptr;
    }
    list_.planets = planets_;
    list_.numPlanets = total_;
    planets_ = nullptr;
    if (file_ != list_.param.extrasolarPlanetFile)
      copyText(list_.param.extrasolarPlanetFile, file_, sizeof list_.param.extrasolarPlanetFile);
  }

  StarList& list_;
  const char* file_;
  StarFinder finder_;
  int* counts_ = nullptr;                    // planets of each star
  int total_ = 0;                            // planets of the table, bound or not
  NODE_ExtrasolarPlanet* planets_ = nullptr;
  NODE_ExtrasolarPlanet*** lists_ = nullptr;  // each star's list, null where it has none
  void** retired_ = nullptr;
};

}  // namespace

int StarList::loadExtrasolarPlanets(const char* file) {
  FILE* fp = file ? fopenEZ(file, "rb") : nullptr;
  if (!fp) {
    fprintf(stderr, "ERR : reading [%s]\n", file ? file : "(null)");
    return -1;
  }
  int r;
  {
    PlanetLoad load(*this, file);
    r = load.run(fp);
  }
  fclose(fp);
  return r;
}

void StarList::freeExtrasolarPlanets() {
  // The stars' lists point into the planet array, so they go with it.
  if (stars)
    for (int i = 0; i < numStars; i++) {
      if (stars[i].planets) freeFunc(stars[i].planets);
      stars[i].planets = nullptr;
      stars[i].nPlanets = 0;
    }
  if (planets) freeFunc(planets);
  planets = nullptr;
  numPlanets = 0;
  while (retiredPlanetBlocks) {
    void** block = retiredPlanetBlocks;
    retiredPlanetBlocks = (void**)block[kRetiredNext];
    const int n = (int)(intptr_t)block[kRetiredCount];
    for (int k = 0; k < n; k++) freeFunc(block[kRetiredHead + k]);
    freeFunc(block);
  }
}

int StarList::getNumExtrasolarPlanet() {
  return numPlanets;
}

NODE_ExtrasolarPlanet* StarList::getExtrasolarPlanet(int i) {
  if (!planets || i < 0 || i >= numPlanets) return nullptr;
  return &planets[i];
}
