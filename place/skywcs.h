// Where an image lies on the sky through its WCS: the galactic directions of its four corners,
// with the frames and projections that can be placed and the reasons why others cannot.
#pragma once

#include <string>

#include "skydata/quadmodel.h"

struct wcsprm;

namespace place {

using skydata::Vec3;

// An image's size in pixels and the galactic unit directions of its corners, in the order of
// skydata::quadOnSky: bottom left, bottom right, top right, top left, as the image is seen
// with its first FITS row at the bottom. Corners are the outer edges of the corner pixels.
struct SkyQuad {
  int width = 0, height = 0;
  Vec3 corners[skydata::kQuadCorners] = {};
};

// One celestial WCS owned from wcslib, freed by the destructor. Made either from the header
// parser's array (of which the first celestial one is kept) or by hand.
class Wcs {
 public:
  Wcs() = default;
  ~Wcs();
  Wcs(const Wcs&) = delete;
  Wcs& operator=(const Wcs&) = delete;
  // Takes over an array of n from wcspih, to be freed with wcsvfree.
  void adoptParsed(int n, wcsprm* array);
  // A fresh two-axis WCS of this object's own, with wcslib's defaults; returns it.
  wcsprm* makeTwoAxes();
  // The representation in use, or an empty pointer when there is none.
  wcsprm* get() const { return use_; }
  int count() const { return n_; }

 private:
  wcsprm* array_ = nullptr;  // from wcspih, n_ entries
  wcsprm* own_ = nullptr;    // from makeTwoAxes
  wcsprm* use_ = nullptr;
  int n_ = 0;
};

// The galactic directions of the corners of an image of width by height pixels, through wcs.
// Returns false with err, a sentence that begins with "[<name>] ", when the image can't be placed:
//   "[<name>] has no WCS"                                  no celestial axes at all
//   "[<name>] uses projection <XYZ>, which is not known"   a code wcslib doesn't have
//   "[<name>] has a broken WCS: <wcslib's reason>"         wcslib refuses the keywords
//   "[<name>] is in the <frame> frame, which cannot be placed"
//   "[<name>] has a corner outside its projection"
// Equatorial coordinates may be ICRS or FK5 of equinox 2000 (the two agree to some 0.02",
// and are both taken as ICRS); galactic coordinates are taken as they stand. wcs may be empty.
// Prints nothing.
bool wcsCorners(wcsprm* wcs, const std::string& name, int width, int height, SkyQuad& out, std::string& err);

// The ICRS right ascension and declination in degrees of pixel (x, y) (FITS pixel numbers,
// 1 at the centre of the first pixel) of a WCS that wcsCorners has accepted. Returns false if
// the pixel has no place in the projection.
bool wcsPixelToRaDec(wcsprm* wcs, double x, double y, double& raDeg, double& decDeg);

}  // namespace place
