// Colour maps: an evenly spaced ramp of colours over a numeric range (used with the colour index
// B-V), a list of spectral types with their colours, small operations on a colour, and a built-in
// ramp that tints by distance. Both map files may lie in an EZ container.
#pragma once

#include <cstddef>
#include <cstdio>

// A colour, by value: red, green, blue, alpha, each in 0 to 1.
struct Color {
  float r = 0.0f;
  float g = 0.0f;
  float b = 0.0f;
  float a = 0.0f;
};

// An evenly spaced ramp; entry 0 stands at startValue, the last at endValue.
struct ColorMap {
  int nEntries;    // 1 to 100000
  Color* entries;  // owned by the map
  float startValue;
  float endValue;
  char name[512];  // path of the file
};

// One spectral type of a spectral map.
struct SpColorEntry {
  unsigned char red, green, blue;  // 0 to 255
  char spClass[2];                 // second character zero for a one-letter class
  float spNum;                     // sub-class number
  char lumClass[10];               // luminosity class, zero-filled (not terminated at 10 characters)
};

struct SpColorMap {
  int nEntries;
  SpColorEntry* entries;  // owned by the map
  char name[512];         // path of the file
};

using ColorAllocFunc = void* (*)(size_t);
using ColorFreeFunc = void (*)(void*);

// Plain file: a count (1 to 100000), then that many lines "red green blue alpha". Comments and
// blank lines count for nothing. Start and end values come from the caller. Null on failure.
ColorMap* loadColorMap(const char* path, float start, float end);
ColorMap* loadColorMapPtr(const char* path, float start, float end, ColorAllocFunc allocFunc);
// Spectral file: one type a line, "<type> <n> <n> <red> <green> <blue>". Null on failure.
SpColorMap* loadSpColorMap(const char* path);
SpColorMap* loadSpColorMapPtr(const char* path, ColorAllocFunc allocFunc);

// The ramp's colour at value, blended between the two entries around it.
Color getColor(const ColorMap* map, float value);
// The colour of the closest sub-class of the class (first two characters); pure green
// (0, 1, 0, 1) when the map has no entry of that class. lumClass is not used.
Color getSpColor(const SpColorMap* map, const char* spClass, float spNum, const char* lumClass);

// Release the entries, then the map; null is accepted.
void freeColorMap(ColorMap* map);
void freeSpColorMap(SpColorMap* map);
void freeColorMapPtr(ColorMap* map, ColorFreeFunc freeFunc);
void freeSpColorMapPtr(SpColorMap* map, ColorFreeFunc freeFunc);

// Fixed rainbow ramp: t 1 is white-blue end (x = 0), t 0 the red end (x = 255).
Color colorMapT(double t);
// colorMapT along the logarithm of distance: t 1 at 1e8 metres down to 0 at 4.2723e26 metres.
Color colorMapScale(double logDist);

Color blendColor(Color a, Color b, float t);  // a t + b (1 - t), per channel
Color multColor(Color a, Color b);            // per channel product
int colorEqual(Color a, Color b);             // 1 if every channel differs by at most 1e-7
void printColor(FILE* fp, Color c);           // "color : %f %f %f %f\n"

// The map readers' line tests. They sit in their own namespace so that they never meet the
// line tests of other readers at link time.
namespace colormap {
int isComment(const char* line);    // first non-space character is '#'
int isBlankLine(const char* line);  // white space only, also the empty line
}  // namespace colormap
