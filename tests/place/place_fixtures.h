// What the image-placing tests share: the program under test, FITS images written with cfitsio,
// and the angle between two directions in arc seconds.
#pragma once

#include <string>
#include <vector>

#include "skydata/skymath.h"

namespace placetest {

// The velmora-place program of this build.
std::string program();
// s in single quotes, for a shell command line.
std::string quoted(const std::string& s);

// The angle between two directions of any lengths, in arc seconds.
double angleArcsec(const skydata::Vec3& a, const skydata::Vec3& b);

// One header card: a number or a text.
struct Card {
  std::string key;
  std::string text;
  double number = 0;
  bool isText = false;
};
Card num(const std::string& k, double v);
Card str(const std::string& k, const std::string& v);

// Writes a FITS image of w by h floats, px in FITS order (the first row at the bottom), with the
// cards in its header, over any file at path. Fails the calling test if cfitsio reports an error.
void writeFits(const std::string& path, long w, long h, const std::vector<float>& px,
               const std::vector<Card>& cards = {});
// The same with a gradient of pixels, x + 2 y.
void makeFits(const std::string& path, int w, int h, const std::vector<Card>& cards);

}  // namespace placetest
