// Constellations: the reader of the constellation file, giving the records back, drawing the
// figures, boundaries and names around the camera, the billboard text of every sky label, and the
// setters of the constellation parameters.
#include <GL/gl.h>
#include <GL/glut.h>

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "fileio/entropy.h"
#include "stars/sky_place.h"
#include "stars/star.h"

namespace {

// Lines of the system's text files are read into buffers of this size.
constexpr int kLineSize = 512;
// A CONSTELLATION line holds its name from this column on: one blank behind a three-letter code.
constexpr size_t kNameColumn = 18;
// Keyword, code and name: a header line has at least this many tokens.
constexpr int kHeaderTokens = 3;
// A boundary point is right ascension, declination and a tag; a figure entry is "HD<number>",
// perhaps followed by "SHARED".
constexpr int kPointTokens = 3;
constexpr int kEntryMaxTokens = 2;
// Red, green, blue and alpha.
constexpr int kColorComponents = 4;
// Boundaries vanish once a view unit is this many decades larger than their sphere's radius.
constexpr double kBoundVisibleDecades = 4.0;
// Name cube: labelScale times 1/100 of its distance; the text 0.012 of the cube per stroke unit.
constexpr double kNameCubeDivisor = 100.0;
constexpr double kNameTextScale = 0.012;
// What glPushAttrib keeps around the drawing: enables, depth buffer and point state (0x2102).
constexpr GLbitfield kConstellAttribBits = GL_ENABLE_BIT | GL_DEPTH_BUFFER_BIT | GL_POINT_BIT;
// Stipple patterns are 16 bits; each bit covers one pixel.
constexpr int kStippleMax = 0xFFFF;
constexpr GLint kStippleFactor = 1;
// Without a current GL context there is no width range to ask for; then this one, which GL
// implementations commonly draw, stands in.
constexpr float kFallbackMinLineWidth = 1.0f;
constexpr float kFallbackMaxLineWidth = 10.0f;

// The number of white-space-separated tokens of a line.
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

// Token number index (from 0) of a line into buf (kLineSize bytes); "" if the line has fewer.
void tokenAt(const char* line, int index, char* buf) {
  const char* p = line;
  buf[0] = 0;
  for (int t = 0;; t++) {
    while (*p && isspace((unsigned char)*p)) p++;
    if (!*p) return;
    const char* start = p;
    while (*p && !isspace((unsigned char)*p)) p++;
    if (t == index) {
      size_t n = std::min((size_t)(p - start), (size_t)kLineSize - 1);
      memcpy(buf, start, n);
      buf[n] = 0;
      return;
    }
  }
}

bool firstTokenIs(const char* line, const char* word) {
  char tok[kLineSize];
  tokenAt(line, 0, tok);
  return strcmp(tok, word) == 0;
}

// A line of exactly the two keywords a and b, as "BEGIN LINE".
bool isKeywordPair(const char* line, const char* a, const char* b) {
  if (countTokens(line) != 2) return false;
  char t0[kLineSize], t1[kLineSize];
  tokenAt(line, 0, t0);
  tokenAt(line, 1, t1);
  return strcmp(t0, a) == 0 && strcmp(t1, b) == 0;
}

// The reader's place in the file: the current valid line, trailing white space removed, and the
// number of lines read so far. Sweeps that look ahead return to a saved place.
struct ConstellReader {
  FILE* fp;
  char line[kLineSize];
  int lineNo;

  struct Mark {
    long offset;
    int lineNo;
  };

  // The next line that is neither comment nor blank; false at the end of the file.
  bool next() {
    if (StarList::getValidLine(fp, line, &lineNo) != 0) {
      line[0] = 0;
      return false;
    }
    StarList::chomp(line);
    return true;
  }
  Mark mark() const { return Mark{ftell(fp), lineNo}; }
  void back(Mark m) {
    fseek(fp, m.offset, SEEK_SET);
    lineNo = m.lineNo;
  }

  void notEnoughData() const { fprintf(stderr, "Err (line %d): not enough data\n", lineNo); }
  void invalidData() const {
    fprintf(stderr, "Err (line %d): invalid data\n", lineNo);
    fprintf(stderr, "[%s]\n", line);
  }
};

// Stars by HD number, for a load: the first star in array order with a number. The index is a
// sorted scratch table taken for the time of one load; when it cannot be had the catalogue is
// searched straight through, which gives the same star more slowly.
class HdFinder {
 public:
  explicit HdFinder(StarList& list) : list_(list) {
    if (list.numStars <= 0 || !list.stars) return;
    table_ = (Entry*)list.allocFunc(sizeof(Entry) * (size_t)list.numStars);
    if (!table_) return;
    for (int i = 0; i < list.numStars; i++) table_[i] = Entry{list.stars[i].HD, i};
    std::sort(table_, table_ + list.numStars,
              [](const Entry& a, const Entry& b) { return a.hd != b.hd ? a.hd < b.hd : a.index < b.index; });
  }
  ~HdFinder() {
    if (table_) list_.freeFunc(table_);
  }
  HdFinder(const HdFinder&) = delete;
  HdFinder& operator=(const HdFinder&) = delete;

  NODE_StarObject* find(int hd) const {
    if (!table_) {
      for (int i = 0; i < list_.numStars; i++)
        if (list_.stars[i].HD == hd) return &list_.stars[i];
      return nullptr;
    }
    Entry* end = table_ + list_.numStars;
    Entry* e = std::lower_bound(table_, end, hd, [](const Entry& a, int h) { return a.hd < h; });
    return (e != end && e->hd == hd) ? &list_.stars[e->index] : nullptr;
  }

 private:
  struct Entry {
    int hd;
    int index;
  };
  StarList& list_;
  Entry* table_ = nullptr;
};

// Code and name of a header line. The name is taken by column, so that it may hold blanks; a
// code of other than three letters moves where it begins.
void readHeader(NODE_Constellation& c, const char* line) {
  char tok[kLineSize];
  tokenAt(line, 1, tok);
  copyText(c.code, tok, sizeof c.code);
  const char* name = strlen(line) > kNameColumn ? line + kNameColumn : "";
  copyText(c.name, name, sizeof c.name);
  StarList::chomp(c.name);
}

// An entry of a line block, "HD<number>" or "HD<number> SHARED". False if it is neither.
bool parseEntry(const char* line, int* hd, bool* shared) {
  const int n = countTokens(line);
  if (n < 1 || n > kEntryMaxTokens) return false;
  char tok[kLineSize];
  tokenAt(line, 0, tok);
  // Only digits may follow "HD": a number the catalogue cannot hold would match its stars
  // without an HD number.
  if (strncmp(tok, "HD", 2) != 0 || tok[2] == 0) return false;
  for (const char* p = tok + 2; *p; p++)
    if (!isdigit((unsigned char)*p)) return false;
  *hd = atoi(tok + 2);
  if (*hd <= 0) return false;
  *shared = false;
  if (n == kEntryMaxTokens) {
    tokenAt(line, 1, tok);
    if (strcmp(tok, "SHARED") != 0) return false;
    *shared = true;
  }
  return true;
}

// The boundary blocks of one constellation, read from behind its header up to and including its
// first "BEGIN LINE". 1, or -1 after a report.
int readBoundaries(StarList& list, NODE_Constellation& c, ConstellReader& in) {
  // First sweep: how many blocks.
  const ConstellReader::Mark start = in.mark();
  int blocks = 0;
  while (in.next()) {
    if (isKeywordPair(in.line, "BEGIN", "LINE") || firstTokenIs(in.line, "CONSTELLATION")) break;
    if (isKeywordPair(in.line, "BEGIN", "BOUNDARY")) blocks++;
  }
  in.back(start);

  c.boundPoints = nullptr;
  c.boundCounts = nullptr;
  c.numBounds = 0;
  if (blocks > 0) {
    c.boundPoints = (PHCoord**)list.allocFunc(sizeof(PHCoord*) * (size_t)blocks);
    c.boundCounts = (int*)list.allocFunc(sizeof(int) * (size_t)blocks);
    if (!c.boundPoints || !c.boundCounts) {
      if (c.boundPoints) list.freeFunc(c.boundPoints);
      if (c.boundCounts) list.freeFunc(c.boundCounts);
      c.boundPoints = nullptr;
      c.boundCounts = nullptr;
      fprintf(stderr, "Err: Failed to allocate memory for constellation boundaries.\n\n");
      return -1;
    }
    for (int k = 0; k < blocks; k++) {
      c.boundPoints[k] = nullptr;
      c.boundCounts[k] = 0;
    }
    c.numBounds = blocks;
  }

  // Second sweep: each block is counted, then read.
  for (int k = 0;; k++) {
    if (!in.next()) {
      in.notEnoughData();
      return -1;
    }
    if (isKeywordPair(in.line, "BEGIN", "LINE")) return 1;
    if (!isKeywordPair(in.line, "BEGIN", "BOUNDARY") || k >= blocks) {
      in.invalidData();
      return -1;
    }
    const ConstellReader::Mark blockStart = in.mark();
    int n = 0;
    for (;;) {
      if (!in.next()) {
        in.notEnoughData();
        return -1;
      }
      if (isKeywordPair(in.line, "END", "BOUNDARY")) break;
      n++;
    }
    in.back(blockStart);
    if (n > 0) {
      c.boundPoints[k] = (PHCoord*)list.allocFunc(sizeof(PHCoord) * (size_t)n);
      if (!c.boundPoints[k]) {
        fprintf(stderr, "Err: failed to allocate memory.\n\n");
        return -1;
      }
    }
    for (int j = 0; j < n; j++) {
      in.next();
      double ra, dec;
      char tag[kLineSize];
      if (countTokens(in.line) != kPointTokens || sscanf(in.line, "%lf %lf %511s", &ra, &dec, tag) != kPointTokens) {
        in.invalidData();
        return -1;
      }
      // Equatorial hours and degrees to the catalogue's galactic axes, on the boundaries' shell.
      double v[3];
      lbToVec(v, ra * kDegreesPerHour, dec);
      equatorialToGalactic(v);
      PHCoord& p = c.boundPoints[k][j];
      p.x = v[0];
      p.y = v[1];
      p.z = v[2];
      p.s = list.constellLogRadius;
      c.boundCounts[k]++;
    }
    in.next();  // "END BOUNDARY", seen by the count
  }
}

// The line blocks of one constellation, from behind its first "BEGIN LINE" to the end of the
// file or the next header line, which is then left in in.line with *pending set. 1, or -1 after
// a report.
int readFigure(StarList& list, NODE_Constellation& c, ConstellReader& in, const HdFinder& finder, bool* pending) {
  // First sweep: every entry of a block but its first makes a segment.
  const ConstellReader::Mark start = in.mark();
  int segments = 0;
  for (;;) {
    int entries = 0;
    bool closed = false;
    while (in.next()) {
      if (isKeywordPair(in.line, "END", "LINE")) {
        closed = true;
        break;
      }
      entries++;
    }
    if (entries > 1) segments += entries - 1;
    if (!closed || !in.next() || !isKeywordPair(in.line, "BEGIN", "LINE")) break;
  }
  in.back(start);

  c.lines = nullptr;
  c.numLines = 0;
  if (segments > 0) {
    c.lines = (NODE_StarObject* (*)[2])list.allocFunc(sizeof(NODE_StarObject*[2]) * (size_t)segments);
    if (!c.lines) {
      fprintf(stderr, "Err: Failed to allocate memory for constellation lines.\n\n");
      return -1;
    }
  }

  // Second sweep: entries in order, joined while both ends are known stars.
  for (;;) {
    NODE_StarObject* prev = nullptr;
    NODE_StarObject* cur = nullptr;
    for (;;) {
      if (!in.next()) {
        in.notEnoughData();
        return -1;
      }
      if (isKeywordPair(in.line, "END", "LINE")) break;
      int hd;
      bool shared;
      if (!parseEntry(in.line, &hd, &shared)) {
        in.invalidData();
        return -1;
      }
      prev = cur;
      cur = finder.find(hd);
      // A star the catalogue lacks breaks the chain: no segment on either side of it.
      if (!cur) {
        prev = nullptr;
        continue;
      }
      // A shared star belongs to a neighbour's figure too: it neither takes this name nor
      // carries it.
      if (!shared) {
        copyText(cur->constellName, c.name, sizeof cur->constellName);
        copyText(cur->constellCode, c.code, sizeof cur->constellCode);
        bool take = false;
        if (!c.principalStar) {
          c.principalStar = (NODE_StarObject*)list.allocFunc(sizeof(NODE_StarObject));
          if (!c.principalStar) {
            fprintf(stderr, "Err: failed to allocate memory.\n\n");
            return -1;
          }
          take = true;
        } else if (c.principalStar->VMag > cur->VMag) {
          take = true;
        }
        if (take) {
          *c.principalStar = *cur;
          copyText(c.principalStar->constellName, c.name, sizeof c.principalStar->constellName);
          copyText(c.principalStar->constellCode, c.code, sizeof c.principalStar->constellCode);
        }
      }
      if (prev && cur && c.numLines < segments) {
        c.lines[c.numLines][0] = prev;
        c.lines[c.numLines][1] = cur;
        c.numLines++;
      }
    }
    // Behind "END LINE": another block, the next constellation, or the end of the file.
    if (!in.next()) return 1;
    if (isKeywordPair(in.line, "BEGIN", "LINE")) continue;
    if (firstTokenIs(in.line, "CONSTELLATION") && countTokens(in.line) >= kHeaderTokens) {
      *pending = true;
      return 1;
    }
    in.invalidData();
    return -1;
  }
}

// All constellation blocks of an opened file into the zeroed array of count records.
int readConstellations(StarList& list, ConstellReader& in, int count) {
  HdFinder finder(list);
  bool pending = false;
  for (int i = 0; i < count; i++) {
    if (!pending && !in.next()) break;
    pending = false;
    if (!firstTokenIs(in.line, "CONSTELLATION")) {
      fprintf(stderr, "Err (line %d): missing identifier [CONSTELLATION]\n", in.lineNo);
      return -1;
    }
    if (countTokens(in.line) < kHeaderTokens) {
      in.invalidData();
      return -1;
    }
    NODE_Constellation& c = list.constellations[i];
    c.principalStar = nullptr;
    c.numBounds = 0;
    readHeader(c, in.line);
    if (readBoundaries(list, c, in) < 0) return -1;
    if (readFigure(list, c, in, finder, &pending) < 0) return -1;
  }
  return 1;
}

// Sets the stipple of the lines to come: pattern 0 is a solid line.
void applyStipple(int pattern) {
  if (pattern != 0) {
    glEnable(GL_LINE_STIPPLE);
    glLineStipple(kStippleFactor, (GLushort)pattern);
  } else {
    glDisable(GL_LINE_STIPPLE);
  }
}

bool inUnitRange(float v) {
  return v >= 0.0f && v <= 1.0f;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Reading and giving back

int StarList::loadConstellations(const char* file) {
  FILE* fp = file ? fopenEZ(file, "rb") : nullptr;
  if (!fp) {
    fprintf(stderr, "ERR : reading [%s]\n", file ? file : "");
    return -1;
  }
  copyText(param.constellationFile, file, sizeof param.constellationFile);

  ConstellReader in{fp, {0}, 0};
  int count = 0;
  while (in.next())
    if (firstTokenIs(in.line, "CONSTELLATION")) count++;
  rewind(fp);
  in.lineNo = 0;

  // A second load replaces the first; the star records keep the names the first gave them.
  freeConstellations();
  if (count == 0) {
    // A file of something else is no empty constellation file.
    int result = 1;
    if (in.next()) {
      fprintf(stderr, "Err (line %d): missing identifier [CONSTELLATION]\n", in.lineNo);
      result = -1;
    }
    fclose(fp);
    return result;
  }
  constellations = (NODE_Constellation*)allocFunc(sizeof(NODE_Constellation) * (size_t)count);
  if (!constellations) {
    numConstellations = 0;
    fprintf(stderr, "Err: Failed to allocate memory for constellation.\n\n");
    fclose(fp);
    return -1;
  }
  // Records not reached after a fault stay empty, so that what was built can be drawn and freed.
  memset((void*)constellations, 0, sizeof(NODE_Constellation) * (size_t)count);
  numConstellations = count;

  int result = readConstellations(*this, in, count);
  fclose(fp);
  return result;
}

void StarList::freeConstellations() {
  // The principal stars are private copies and go back with the rest; the members are cleared
  // so that a second call, a second load or the destructor finds nothing to give back twice.
  if (constellations) {
    for (int i = 0; i < numConstellations; i++) {
      NODE_Constellation& c = constellations[i];
      if (c.lines) freeFunc(c.lines);
      if (c.boundPoints) {
        for (int k = 0; k < c.numBounds; k++)
          if (c.boundPoints[k]) freeFunc(c.boundPoints[k]);
        freeFunc(c.boundPoints);
      }
      if (c.boundCounts) freeFunc(c.boundCounts);
      if (c.principalStar) freeFunc(c.principalStar);
    }
    freeFunc(constellations);
  }
  constellations = nullptr;
  numConstellations = 0;
}

int StarList::getNumConstellations() {
  return numConstellations;
}

// ---------------------------------------------------------------------------------------------
// Drawing

void StarList::drawBillboardText(const char* text, float size, int align) {
  if (!text) return;
  glPushMatrix();
  float width = 0.0f;
  if (align != STAR_TEXT_ALIGN_LEFT) {
    // A blank of the stroke font is narrower than its other letters; "-" gives the true advance.
    for (const char* p = text; *p; p++)
      width += (float)glutStrokeWidth(GLUT_STROKE_MONO_ROMAN, *p == ' ' ? '-' : (unsigned char)*p);
  }
  GLfloat m[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, m);
  // Square to the viewer at the matrix's origin: the rotation goes, the size stays.
  m[0] = size, m[1] = 0, m[2] = 0;
  m[4] = 0, m[5] = size, m[6] = 0;
  m[8] = 0, m[9] = 0, m[10] = 1;
  if (align == STAR_TEXT_ALIGN_RIGHT) m[12] += -width * size;
  if (align == STAR_TEXT_ALIGN_CENTRE) m[12] += -width * size / 2;
  glLoadMatrixf(m);
  glDepthFunc(GL_LEQUAL);
  for (const char* p = text; *p; p++) glutStrokeCharacter(GLUT_STROKE_MONO_ROMAN, (unsigned char)*p);
  glDepthFunc(GL_LESS);
  glPopMatrix();
}

void StarList::drawConstellations(double logScale, int showLines, int showNames, int showBounds, char* onlyName) {
  if (!showLines && !showNames && !showBounds) return;

  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  const PHCoord cam = cameraFromModelview(m, logScale);
  const double forward[3] = {-m[2], -m[6], -m[10]};

  glPushMatrix();
  m[12] = m[13] = m[14] = 0.0;
  glLoadIdentity();
  glMultMatrixd(m);
  glPushAttrib(kConstellAttribBits);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LIGHTING);
  glDepthMask(GL_FALSE);

  auto selected = [&](const NODE_Constellation& c) { return !onlyName || strcmp(c.name, onlyName) == 0; };
  double v[3];

  if (showBounds && logScale < constellLogRadius + kBoundVisibleDecades) {
    applyStipple(param.constellationBoundStipple);
    if (param.constellationColorOn) glColor4fv(param.constellationBoundColor);
    if (param.constellationWidthOn) glLineWidth(param.constellationBoundWidth);
    for (int i = 0; i < numConstellations; i++) {
      const NODE_Constellation& c = constellations[i];
      if (!selected(c)) continue;
      for (int k = 0; k < c.numBounds; k++) {
        glBegin(GL_LINE_LOOP);
        for (int j = 0; j < c.boundCounts[k]; j++) {
          placeOnSky(c.boundPoints[k][j], cam, logScale, v);
          glVertex3dv(v);
        }
        glEnd();
      }
    }
  }

  if (showLines) {
    applyStipple(param.constellationLineStipple);
    if (param.constellationColorOn) glColor4fv(param.constellationLineColor);
    if (param.constellationWidthOn) glLineWidth(param.constellationLineWidth);
    glBegin(GL_LINES);
    for (int i = 0; i < numConstellations; i++) {
      const NODE_Constellation& c = constellations[i];
      if (!selected(c)) continue;
      // The two stars of the last drawn segment and where they were placed: a chain places each
      // shared end once.
      const NODE_StarObject* known[2] = {nullptr, nullptr};
      double knownPos[2][3];
      for (int l = 0; l < c.numLines; l++) {
        const NODE_StarObject* ends[2] = {c.lines[l][0], c.lines[l][1]};
        double pos[2][3];
        bool placed[2];
        PHCoord rel[2];
        bool inFront = false;
        for (int e = 0; e < 2; e++) {
          int hit = ends[e] == known[0] ? 0 : (ends[e] == known[1] ? 1 : -1);
          if (hit >= 0) {
            copy3D(pos[e], knownPos[hit]);
            placed[e] = true;
            inFront = inFront || dot3D(pos[e], forward) >= 0.0;
          } else {
            rel[e] = subPHCoord(ends[e]->pos, cam);
            placed[e] = false;
            const double r[3] = {rel[e].x, rel[e].y, rel[e].z};
            inFront = inFront || dot3D(r, forward) >= 0.0;
          }
        }
        // A segment with both ends behind the camera is left out and changes nothing remembered.
        if (!inFront) continue;
        for (int e = 0; e < 2; e++) {
          if (!placed[e]) placeRelative(rel[e], logScale, pos[e]);
          glVertex3dv(pos[e]);
        }
        for (int e = 0; e < 2; e++) {
          known[e] = ends[e];
          copy3D(knownPos[e], pos[e]);
        }
      }
    }
    glEnd();
  }

  if (showNames) {
    glDisable(GL_LINE_STIPPLE);
    if (param.constellationColorOn) glColor4fv(param.constellationLineColor);
    if (param.constellationWidthOn) glLineWidth(param.constellationLineWidth);
    for (int i = 0; i < numConstellations; i++) {
      const NODE_Constellation& c = constellations[i];
      if (!selected(c) || !c.principalStar) continue;
      const double s = placeOnSky(c.principalStar->pos, cam, logScale, v);
      glPushMatrix();
      glTranslated(v[0], v[1], v[2]);
      const double size = param.labelScale * pow(10.0, s) / kNameCubeDivisor;
      glutWireCube(size);
      char text[sizeof(NODE_Constellation::name) + 2];
      snprintf(text, sizeof text, "%s ", c.name);
      // Right-aligned: the name ends at the cube.
      drawBillboardText(text, (float)(kNameTextScale * size), STAR_TEXT_ALIGN_RIGHT);
      glPopMatrix();
    }
  }

  glPopMatrix();
  glPopAttrib();
}

// ---------------------------------------------------------------------------------------------
// Parameters

int StarList::setConstellationColors(const float* line, const float* bound) {
  // The flag goes on before the test, also when the colours are refused.
  param.constellationColorOn = 1;
  if (!line || !bound) {
    fprintf(stderr, "Err (setConstellationColors): NULL input parameter\n");
    return -1;
  }
  for (int i = 0; i < kColorComponents; i++) {
    if (!inUnitRange(line[i])) {
      fprintf(stderr, "Err (setConstellationColors): the (%d)th component of inLineColor out of range [0,1]\n", i);
      return -1;
    }
    if (!inUnitRange(bound[i])) {
      fprintf(stderr, "Err (setConstellationColors): the (%d)th component of inBoundColor out of range [0,1]\n", i);
      return -1;
    }
  }
  memcpy(param.constellationLineColor, line, sizeof param.constellationLineColor);
  memcpy(param.constellationBoundColor, bound, sizeof param.constellationBoundColor);
  return 1;
}

int StarList::setConstellationLineWidth(float line, float bound) {
  // The flag goes on before the test, also when the widths are refused.
  param.constellationWidthOn = 1;
  GLfloat range[2] = {-1.0f, -1.0f};
  glGetFloatv(GL_LINE_WIDTH_RANGE, range);
  if (range[0] < 0.0f) {
    range[0] = kFallbackMinLineWidth;
    range[1] = kFallbackMaxLineWidth;
  }
  if (!(line >= range[0] && line <= range[1])) {
    fprintf(stderr, "Err (setConstellationLineWidth): inLineWidth out of range [%f,%f]\n", range[0], range[1]);
    return -1;
  }
  if (!(bound >= range[0] && bound <= range[1])) {
    fprintf(stderr, "Err (setConstellationLineWidth): inBoundWidth out of range [%f,%f]\n", range[0], range[1]);
    return -1;
  }
  param.constellationLineWidth = line;
  param.constellationBoundWidth = bound;
  return 1;
}

int StarList::setConstellationStipple(int line, int bound) {
  if (line < 0 || line > kStippleMax) {
    fprintf(stderr, "Err (setConstellationStipple): inLineStipple out of range [0,0xFFFF]\n");
    return -1;
  }
  if (bound < 0 || bound > kStippleMax) {
    fprintf(stderr, "Err (setConstellationStipple): inBoundStipple out of range [0,0xFFFF]\n");
    return -1;
  }
  param.constellationLineStipple = line;
  param.constellationBoundStipple = bound;
  return 1;
}

int StarList::setLabelScale(float inLabelScale) {
  if (!(inLabelScale >= 0.0f)) {
    fprintf(stderr, "Err (setLabelScale): inLabelScale should be non-negative\n");
    return -1;
  }
  param.labelScale = inLabelScale;
  return 1;
}
