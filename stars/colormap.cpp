// Colour maps and operations on colours.
#include "stars/colormap.h"

#include <cctype>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "fileio/common.h"
#include "fileio/entropy.h"

namespace colormap {

int isComment(const char* line) {
  while (*line && isspace((unsigned char)*line)) line++;
  return *line == '#' ? 1 : 0;
}

int isBlankLine(const char* line) {
  for (; *line; line++)
    if (!isspace((unsigned char)*line)) return 0;
  return 1;
}

}  // namespace colormap

namespace {

// Next line that is neither a comment nor blank; false at end of file. Counts every line read.
bool nextDataLine(FILE* fp, char* buf, int size, int* lineNo) {
  while (fgets(buf, size, fp)) {
    (*lineNo)++;
    if (!colormap::isComment(buf) && !colormap::isBlankLine(buf)) return true;
  }
  return false;
}

void printTablePointer() {
  fprintf(stderr, "\t[the published table of star colours by spectral type, one type a line]\n");
}

int clampByte(int v) {
  return v < 0 ? 0 : (v > 255 ? 255 : v);
}

}  // namespace

ColorMap* loadColorMap(const char* path, float start, float end) {
  return loadColorMapPtr(path, start, end, malloc);
}

ColorMap* loadColorMapPtr(const char* path, float start, float end, ColorAllocFunc allocFunc) {
  FILE* fp = fopenEZ(path, "r");
  if (!fp) {
    fprintf(stderr, "Err : opening colormap [%s]\n", path);
    return nullptr;
  }
  char buf[512];
  int lineNo = 0;
  // The count line must be there; a file that ends before it is refused like a bad count.
  int n = 0;
  if (!nextDataLine(fp, buf, sizeof buf, &lineNo) || sscanf(buf, "%d", &n) != 1) n = 0;
  if (n <= 0 || n > 100000) {
    fprintf(stderr, "Err : number of color entry in [%s] = %d\n", path, n);
    fprintf(stderr, "      it is quite unreasonable!\n\n");
    fclose(fp);
    return nullptr;
  }
  ColorMap* map = (ColorMap*)allocFunc(sizeof(ColorMap));
  Color* entries = map ? (Color*)allocFunc(sizeof(Color) * n) : nullptr;
  if (!map || !entries) {
    fprintf(stderr, "Err : cannot allocate memory for colormap!\n");
    fclose(fp);
    return nullptr;
  }
  // A line with fewer than four numbers leaves the rest of its entry as it was: zero, never
  // undefined memory.
  for (int i = 0; i < n; i++) entries[i] = Color{};
  map->nEntries = n;
  map->entries = entries;
  map->startValue = start;
  map->endValue = end;
  copyText(map->name, path, sizeof map->name);
  for (int i = 0; i < n; i++) {
    if (!nextDataLine(fp, buf, sizeof buf, &lineNo)) {
      fprintf(stderr, "Err : not enough color entries in file [%s]\n", path);
      fclose(fp);
      // The map stays unreleased: only the caller knows the release that goes with its allocator.
      return nullptr;
    }
    Color& c = entries[i];
    sscanf(buf, "%f %f %f %f", &c.r, &c.g, &c.b, &c.a);
  }
  fclose(fp);
  return map;
}

SpColorMap* loadSpColorMap(const char* path) {
  return loadSpColorMapPtr(path, malloc);
}

SpColorMap* loadSpColorMapPtr(const char* path, ColorAllocFunc allocFunc) {
  FILE* fp = fopenEZ(path, "rb");
  if (!fp) {
    fprintf(stderr, "Err : opening spectral colormap [%s]\n", path);
    return nullptr;
  }
  char buf[512];
  int lineNo = 0;
  int n = 0;
  while (nextDataLine(fp, buf, sizeof buf, &lineNo)) n++;
  if (n == 0) {
    fprintf(stderr, "Err: no spectral color entry found in [%s].\n", path);
    fclose(fp);
    return nullptr;
  }
  SpColorMap* map = (SpColorMap*)allocFunc(sizeof(SpColorMap));
  SpColorEntry* entries = map ? (SpColorEntry*)allocFunc(sizeof(SpColorEntry) * n) : nullptr;
  if (!map || !entries) {
    fprintf(stderr, "Err : cannot allocate memory for spectral colormap!\n");
    fclose(fp);
    return nullptr;
  }
  memset(entries, 0, sizeof(SpColorEntry) * n);
  map->nEntries = n;
  map->entries = entries;
  copyText(map->name, path, sizeof map->name);

  rewind(fp);
  lineNo = 0;
  for (int i = 0; i < n; i++) {
    if (!nextDataLine(fp, buf, sizeof buf, &lineNo)) break;  // the file changed under us
    char type[512];
    float f1, f2;
    int r, g, b;
    if (sscanf(buf, "%511s %f %f %d %d %d", type, &f1, &f2, &r, &g, &b) < 6) {
      fprintf(stderr, "Err (line %d in [%s]) - not enough argument.\n", lineNo, path);
      printTablePointer();
      fclose(fp);
      return nullptr;
    }
    SpColorEntry& e = entries[i];
    e.red = (unsigned char)clampByte(r);
    e.green = (unsigned char)clampByte(g);
    e.blue = (unsigned char)clampByte(b);
    e.spClass[0] = type[0];
    e.spClass[1] = isalpha((unsigned char)type[1]) ? type[1] : 0;
    bool formatFault = false;
    if (type[0] && strchr("OBAFGKM", type[0])) {
      char* open = strchr(type, '(');
      char* close = open ? strchr(open, ')') : nullptr;
      if (!open || !close) {
        fprintf(stderr, "Err (line %d in [%s]) - format of spectral type incorrect.\n", lineNo, path);
        printTablePointer();
        formatFault = true;
      } else {
        *open = 0;
        *close = 0;
        // A fixed field of ten characters, zero-filled, that a class of ten fills without a
        // terminator: strncpy's very semantics, and no string copy for copyText.
        strncpy(e.lumClass, open + 1, sizeof e.lumClass);
      }
    }
    e.spNum = (float)atof(e.spClass[1] ? type + 2 : type + 1);
    if (formatFault) {
      // After a format fault the file is closed: the entry stands as it is, and the map ends with
      // it, as there is nothing more to read with any sense.
      fclose(fp);
      map->nEntries = i + 1;
      return map;
    }
  }
  fclose(fp);
  return map;
}

Color getColor(const ColorMap* map, float value) {
  int n = map->nEntries;
  float pos = (value - map->startValue) / (map->endValue - map->startValue) * (n - 1);
  if (pos <= 0) return map->entries[0];
  if (pos < n - 1) {
    int i = (int)floorf(pos);
    return blendColor(map->entries[i], map->entries[i + 1], 1 - (pos - i));
  }
  return map->entries[n - 1];
}

Color getSpColor(const SpColorMap* map, const char* spClass, float spNum, const char* /*lumClass*/) {
  const SpColorEntry* best = nullptr;
  float bestDiff = FLT_MAX;
  for (int i = 0; i < map->nEntries; i++) {
    const SpColorEntry& e = map->entries[i];
    if (strncmp(e.spClass, spClass, 2) != 0) continue;
    float diff = fabsf(e.spNum - spNum);
    if (diff < bestDiff) {
      bestDiff = diff;
      best = &e;
    }
  }
  if (!best) return Color{0.0f, 1.0f, 0.0f, 1.0f};
  return Color{best->red / 255.0f, best->green / 255.0f, best->blue / 255.0f, 1.0f};
}

void freeColorMapPtr(ColorMap* map, ColorFreeFunc freeFunc) {
  if (!map) return;
  if (map->entries) freeFunc(map->entries);
  freeFunc(map);
}

void freeSpColorMapPtr(SpColorMap* map, ColorFreeFunc freeFunc) {
  if (!map) return;
  if (map->entries) freeFunc(map->entries);
  freeFunc(map);
}

void freeColorMap(ColorMap* map) {
  freeColorMapPtr(map, free);
}
void freeSpColorMap(SpColorMap* map) {
  freeSpColorMapPtr(map, free);
}

Color colorMapT(double t) {
  double x = (1 - t) * 255;
  double r, g, b, u;
  if (x <= 80) {
    u = x / 80;
    r = (1 - u) * 255 + u * 15;
  } else if (x <= 81) {
    r = 15;
  } else if (x <= 161) {
    u = (x - 81) / 80;
    r = (1 - u) * 15 + u * 255;
  } else {
    r = 255;
  }
  if (x <= 148)
    g = 255;
  else if (x <= 233)
    g = (1 - (x - 148) / 86) * 255;
  else
    g = 0;
  if (x <= 88) {
    b = 255;
  } else if (x <= 215) {
    u = (x - 88) / 128;
    b = (1 - u) * 255 + u;
  } else if (x <= 216) {
    b = 1 - (x - 215);
  } else {
    b = 0;
  }
  return Color{(float)(r / 255), (float)(g / 255), (float)(b / 255), 1.0f};
}

Color colorMapScale(double logDist) {
  double top = log10(4.2723) + 26;
  double t;
  if (logDist < 8)
    t = 1;
  else if (logDist <= top)
    t = (logDist - top) / (8 - top);
  else
    t = 0;
  return colorMapT(t);
}

Color blendColor(Color a, Color b, float t) {
  return Color{a.r * t + b.r * (1 - t), a.g * t + b.g * (1 - t), a.b * t + b.b * (1 - t),
               a.a * t + b.a * (1 - t)};
}

Color multColor(Color a, Color b) {
  return Color{a.r * b.r, a.g * b.g, a.b * b.b, a.a * b.a};
}

int colorEqual(Color a, Color b) {
  return fabs(a.r - b.r) <= 1e-7 && fabs(a.g - b.g) <= 1e-7 && fabs(a.b - b.b) <= 1e-7 &&
                 fabs(a.a - b.a) <= 1e-7
             ? 1
             : 0;
}

void printColor(FILE* fp, Color c) {
  fprintf(fp, "color : %f %f %f %f\n", c.r, c.g, c.b, c.a);
}
