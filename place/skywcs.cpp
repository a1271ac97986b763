// The galactic corners of an image through its WCS, by wcslib, with the reasons for refusal.
#include "place/skywcs.h"

#include <wcs.h>
#include <wcsmath.h>
#include <wcserr.h>
#include <wcshdr.h>
#include <prj.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace place {

namespace {

// Length of a celestial CTYPE's axis part ("RA--", "GLON") and of the whole "AXIS-PRJ" form.
constexpr int kAxisPartLength = 4;
constexpr int kProjectionAt = 5;
constexpr int kProjectionLength = 3;
// The equinox of the one FK5 frame that is placed as ICRS.
constexpr double kPlacedEquinox = 2000.0;
constexpr double kEquinoxTolerance = 1e-6;
// Number of known projection codes in wcslib's table.
constexpr int kProjectionCodes = sizeof prj_codes / sizeof prj_codes[0];

// Text of a CTYPE value without trailing blanks.
std::string trimmed(const char* s) {
  std::string t(s);
  while (!t.empty() && t.back() == ' ') t.pop_back();
  return t;
}

bool isCelestialPrefix(const std::string& axis) {
  static const char* const prefixes[] = {"RA--", "DEC-", "GLON", "GLAT", "ELON", "ELAT",
                                         "SLON", "SLAT", "HLON", "HLAT"};
  for (const char* p : prefixes)
    if (axis == p) return true;
  return false;
}

// The projection code of a celestial CTYPE that wcslib doesn't know, or "" when all are known.
std::string unknownProjection(const wcsprm* wcs) {
  for (int i = 0; i < wcs->naxis; ++i) {
    const std::string c = trimmed(wcs->ctype[i]);
    if (int(c.size()) < kProjectionAt + kProjectionLength || c[kAxisPartLength] != '-') continue;
    if (!isCelestialPrefix(c.substr(0, kAxisPartLength))) continue;
    const std::string code = c.substr(kProjectionAt, kProjectionLength);
    bool known = false;
    for (int k = 0; k < kProjectionCodes; ++k)
      if (code == prj_codes[k]) known = true;
    if (!known) return code;
  }
  return "";
}

// The frame's name as the refusal states it.
std::string frameName(const wcsprm* wcs, const std::string& lngAxis) {
  if (lngAxis == "ELON") return "ecliptic";
  if (lngAxis == "SLON") return "supergalactic";
  if (lngAxis == "HLON") return "helioecliptic";
  if (lngAxis != "RA--") return lngAxis;
  const std::string sys = trimmed(wcs->radesys);
  char buf[64];
  if ((sys == "FK4" || sys == "FK4-NO-E" || sys == "FK5") && !undefined(wcs->equinox)) {
    std::snprintf(buf, sizeof buf, "%s %s%g", sys.c_str(), sys == "FK5" ? "J" : "B", wcs->equinox);
    return buf;
  }
  return sys.empty() ? "unnamed equatorial" : sys;
}

}  // namespace

Wcs::~Wcs() {
  if (array_) wcsvfree(&n_, &array_);
  if (own_) {
    wcsfree(own_);
    std::free(own_);
  }
}

void Wcs::adoptParsed(int n, wcsprm* array) {
  array_ = array;
  n_ = n;
  use_ = n > 0 ? &array[0] : nullptr;
}

wcsprm* Wcs::makeTwoAxes() {
  own_ = static_cast<wcsprm*>(std::calloc(1, sizeof(wcsprm)));
  own_->flag = -1;  // tells wcsini the struct holds nothing yet
  wcsini(1, 2, own_);
  use_ = own_;
  return own_;
}

bool wcsCorners(wcsprm* wcs, const std::string& name, int width, int height, SkyQuad& out, std::string& err) {
  const std::string who = "[" + name + "] ";
  if (!wcs || wcs->naxis < 2) {
    err = who + "has no WCS";
    return false;
  }
  const std::string unknown = unknownProjection(wcs);
  if (!unknown.empty()) {
    err = who + "uses projection " + unknown + ", which is not known";
    return false;
  }
  wcserr_enable(1);
  if (wcsset(wcs) != 0) {
    err = who + "has a broken WCS: " + (wcs->err && wcs->err->msg ? wcs->err->msg : "unknown reason");
    return false;
  }
  if (wcs->lng < 0 || wcs->lat < 0) {
    err = who + "has no WCS";
    return false;
  }
  const std::string lngAxis = trimmed(wcs->ctype[wcs->lng]).substr(0, kAxisPartLength);
  const std::string sys = trimmed(wcs->radesys);
  const bool equatorial = lngAxis == "RA--" &&
                          (sys == "ICRS" || (sys == "FK5" && std::abs(wcs->equinox - kPlacedEquinox) < kEquinoxTolerance));
  const bool galactic = lngAxis == "GLON";
  if (!equatorial && !galactic) {
    err = who + "is in the " + frameName(wcs, lngAxis) + " frame, which cannot be placed";
    return false;
  }
  // The pixel corners: outer edges of the corner pixels, further axes at their first pixel.
  const int n = wcs->naxis;
  const double cx[skydata::kQuadCorners] = {0.5, width + 0.5, width + 0.5, 0.5};
  const double cy[skydata::kQuadCorners] = {0.5, 0.5, height + 0.5, height + 0.5};
  std::vector<double> pix(skydata::kQuadCorners * n, 1.0), img(skydata::kQuadCorners * n), world(img.size());
  std::vector<double> phi(skydata::kQuadCorners), theta(skydata::kQuadCorners);
  std::vector<int> stat(skydata::kQuadCorners);
  for (int i = 0; i < skydata::kQuadCorners; ++i) {
    pix[i * n] = cx[i];
    pix[i * n + 1] = cy[i];
  }
  const int s = wcsp2s(wcs, skydata::kQuadCorners, n, pix.data(), img.data(), phi.data(), theta.data(),
                       world.data(), stat.data());
  if (s != 0) {
    err = who + "has a corner outside its projection";
    return false;
  }
  out.width = width;
  out.height = height;
  for (int i = 0; i < skydata::kQuadCorners; ++i) {
    const Vec3 v = skydata::angToVec(world[i * n + wcs->lng], world[i * n + wcs->lat]);
    out.corners[i] = equatorial ? skydata::equatorialToGalactic(v) : v;
  }
  return true;
}

bool wcsPixelToRaDec(wcsprm* wcs, double x, double y, double& raDeg, double& decDeg) {
  const int n = wcs->naxis;
  std::vector<double> pix(n, 1.0), img(n), world(n);
  double phi, theta;
  int stat;
  pix[0] = x;
  pix[1] = y;
  if (wcsp2s(wcs, 1, n, pix.data(), img.data(), &phi, &theta, world.data(), &stat) != 0) return false;
  const double lng = world[wcs->lng], lat = world[wcs->lat];
  if (trimmed(wcs->ctype[wcs->lng]).substr(0, kAxisPartLength) == "GLON") {
    skydata::lbToRaDec(lng, lat, raDeg, decDeg);
  } else {
    raDeg = lng;
    decDeg = lat;
  }
  return true;
}

}  // namespace place
