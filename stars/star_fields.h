// The columns of one .star data line, scanned once, left to right, as the format's scan line
// "%lf x10 %f x6 %s %f %s %d %d %s" would scan them.
#pragma once

// What a data line holds, column by column. Columns past `count` keep the values the caller put
// there before the scan.
struct StarFields {
  double d[10];      // columns 1-10: position, distance error, velocity, velocity errors
  float f[6];        // columns 11-16: B-V, luminosity, red, green, blue, alpha
  char cls[512];     // column 17, the spectral class token
  float spNum;       // column 18
  char type[512];    // column 19, the luminosity class token
  int hd, hic;       // columns 20, 21
  char name[512];    // column 22, its first word only (the reader takes the name from the raw line)
};

// Scans `line` into `out` and returns the number of columns converted, as sscanf with the scan
// line above returns it (0 to 22; -1 for a line of white space only). Plain decimal numbers are
// converted with strtod, strtof and strtol; a line with any other token in a numeric column
// (letters, hexadecimal, a number with a tail) is handed whole to sscanf, so that every line
// scans to the same values and count as before. Prints nothing.
int scanStarFields(const char* line, StarFields* out);
