// AVM in XMP through exempi: the spatial properties to a wcslib WCS, and a TAN WCS to a sidecar.
#include "place/avm.h"

#include <exempi/xmp.h>
#include <wcs.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "coords/constants.h"
#include "skydata/quadmodel.h"

namespace place {

namespace {

// The linear part of the WCS: bit 2 of wcsprm::altlin for a CD matrix, bit 4 for CROTA.
constexpr int kAltlinCd = 2;
constexpr int kAltlinCrota = 4;
constexpr int kCdTerms = 4;
// AVM's pixel numbers count from 1 at the centre of the first pixel; its edge lies half a pixel
// below, and rescaling to another size keeps the edges where they are.
constexpr double kHalfPixel = 0.5;
// Equinoxes assumed where the AVM names a frame but no equinox.
constexpr double kFk5Equinox = 2000.0, kFk4Equinox = 1950.0;

void initOnce() {
  static const bool ready = [] {
    xmp_init();
    xmp_register_namespace(kAvmNamespace, "avm", nullptr);
    return true;
  }();
  (void)ready;
}

// Owned exempi objects.
struct Packet {
  XmpPtr p = nullptr;
  ~Packet() {
    if (p) xmp_free(p);
  }
};
struct Text {
  XmpStringPtr s = xmp_string_new();
  ~Text() { xmp_string_free(s); }
  std::string str() const { return xmp_string_cstr(s); }
};

bool getText(XmpPtr x, const char* prop, std::string& out) {
  Text t;
  uint32_t bits = 0;
  if (!xmp_get_property(x, kAvmNamespace, prop, t.s, &bits)) return false;
  out = t.str();
  return true;
}

// The items of an array property; none when it is absent.
std::vector<std::string> getArray(XmpPtr x, const char* prop) {
  std::vector<std::string> out;
  for (int i = 1;; ++i) {
    Text t;
    uint32_t bits = 0;
    if (!xmp_get_array_item(x, kAvmNamespace, prop, i, t.s, &bits)) break;
    out.push_back(t.str());
  }
  return out;
}

bool toNumber(const std::string& s, double& v) {
  char* end = nullptr;
  v = std::strtod(s.c_str(), &end);
  if (end == s.c_str()) return false;
  while (*end == ' ') ++end;
  return *end == '\0' && std::isfinite(v);
}

enum Need { kRequired, kOptional };

// Reads an array of n numbers into v. Returns 1 when read, 0 when absent, -1 with err when
// broken or absent though required.
int numbers(XmpPtr x, const char* prop, int n, double* v, Need need, const std::string& who, std::string& err) {
  const std::vector<std::string> items = getArray(x, prop);
  if (items.empty()) {
    if (need == kOptional) return 0;
    err = who + "has an incomplete AVM: no " + prop;
    return -1;
  }
  bool ok = int(items.size()) == n;
  for (int i = 0; ok && i < n; ++i) ok = toNumber(items[i], v[i]);
  if (!ok) {
    static const char* const counts[] = {"", "one number", "a pair of numbers", "three numbers", "four numbers"};
    err = who + "has a broken AVM: " + prop + " is not " + counts[n];
    return -1;
  }
  return 1;
}

bool fromPacket(XmpPtr x, const std::string& name, int width, int height, Wcs& wcs, std::string& err) {
  const std::string who = "[" + name + "] ";
  // The AVM is there when any of its spatial properties is.
  static const char* const spatial[] = {"Spatial.ReferenceValue", "Spatial.ReferencePixel", "Spatial.Scale",
                                        "Spatial.CDMatrix", "Spatial.CoordinateFrame",
                                        "Spatial.CoordsystemProjection"};
  bool any = false;
  for (const char* p : spatial) any = any || xmp_has_property(x, kAvmNamespace, p);
  if (!any) {
    err = who + "has no AVM";
    return false;
  }
  double value[2], pixel[2], scale[2] = {}, rotation = 0, cd[kCdTerms] = {}, dim[2];
  if (numbers(x, "Spatial.ReferenceValue", 2, value, kRequired, who, err) < 0) return false;
  if (numbers(x, "Spatial.ReferencePixel", 2, pixel, kRequired, who, err) < 0) return false;
  const int hasCd = numbers(x, "Spatial.CDMatrix", kCdTerms, cd, kOptional, who, err);
  if (hasCd < 0) return false;
  if (!hasCd) {
    if (numbers(x, "Spatial.Scale", 2, scale, kRequired, who, err) < 0) return false;
    std::string r;
    if (getText(x, "Spatial.Rotation", r) && !toNumber(r, rotation)) {
      err = who + "has a broken AVM: Spatial.Rotation is not one number";
      return false;
    }
  }
  const int hasDim = numbers(x, "Spatial.ReferenceDimension", 2, dim, kOptional, who, err);
  if (hasDim < 0) return false;
  std::string frame = "ICRS", projection = "TAN", equinoxText;
  getText(x, "Spatial.CoordinateFrame", frame);
  getText(x, "Spatial.CoordsystemProjection", projection);
  getText(x, "Spatial.Equinox", equinoxText);
  const char* lng;
  const char* lat;
  std::string radesys;
  double equinox = 0;
  if (frame == "ICRS" || frame == "FK5" || frame == "FK4") {
    lng = "RA--";
    lat = "DEC-";
    radesys = frame;
    equinox = frame == "FK4" ? kFk4Equinox : kFk5Equinox;
  } else if (frame == "GAL") {
    lng = "GLON";
    lat = "GLAT";
  } else if (frame == "ECL") {
    lng = "ELON";
    lat = "ELAT";
  } else if (frame == "SGAL") {
    lng = "SLON";
    lat = "SLAT";
  } else {
    err = who + "has a broken AVM: Spatial.CoordinateFrame is not ICRS, FK5, FK4, GAL, ECL or SGAL";
    return false;
  }
  if (!equinoxText.empty() && radesys != "ICRS" && !radesys.empty()) {
    // "J2000", "B1950" or a bare year.
    const std::string year = (equinoxText[0] == 'J' || equinoxText[0] == 'B') ? equinoxText.substr(1) : equinoxText;
    if (!toNumber(year, equinox)) {
      err = who + "has a broken AVM: Spatial.Equinox is not a year";
      return false;
    }
  }
  // A copy of another size than the one the values refer to: scale them, keeping the edges.
  double sx = 1, sy = 1;
  if (hasDim && dim[0] > 0 && dim[1] > 0) {
    sx = dim[0] / width;
    sy = dim[1] / height;
  }
  wcsprm* w = wcs.makeTwoAxes();
  std::snprintf(w->ctype[0], sizeof w->ctype[0], "%s-%s", lng, projection.c_str());
  std::snprintf(w->ctype[1], sizeof w->ctype[1], "%s-%s", lat, projection.c_str());
  if (!radesys.empty()) {
    std::snprintf(w->radesys, sizeof w->radesys, "%s", radesys.c_str());
    if (radesys != "ICRS") w->equinox = equinox;
  }
  w->crval[0] = value[0];
  w->crval[1] = value[1];
  w->crpix[0] = (pixel[0] - kHalfPixel) / sx + kHalfPixel;
  w->crpix[1] = (pixel[1] - kHalfPixel) / sy + kHalfPixel;
  if (hasCd) {
    w->cd[0] = cd[0] * sx;
    w->cd[1] = cd[1] * sy;
    w->cd[2] = cd[2] * sx;
    w->cd[3] = cd[3] * sy;
    w->altlin |= kAltlinCd;
  } else {
    w->cdelt[0] = scale[0] * sx;
    w->cdelt[1] = scale[1] * sy;
    w->crota[1] = rotation;
    w->altlin |= kAltlinCrota;
  }
  return true;
}

}  // namespace

bool readAvmFile(const std::string& path, int width, int height, Wcs& wcs, std::string& err) {
  initOnce();
  Packet x;
  XmpFilePtr f = xmp_files_open_new(path.c_str(), XmpOpenFileOptions(XMP_OPEN_READ | XMP_OPEN_ONLYXMP));
  if (f) {
    x.p = xmp_files_get_new_xmp(f);
    xmp_files_close(f, XMP_CLOSE_NOOPTION);
    xmp_files_free(f);
  }
  if (!x.p) {
    err = "[" + path + "] has no AVM";
    return false;
  }
  return fromPacket(x.p, path, width, height, wcs, err);
}

bool readAvmPacket(const std::string& packet, const std::string& name, int width, int height, Wcs& wcs,
                   std::string& err) {
  initOnce();
  Packet x;
  x.p = xmp_new_empty();
  if (!xmp_parse(x.p, packet.data(), packet.size())) {
    err = "[" + name + "] has no AVM";
    return false;
  }
  return fromPacket(x.p, name, width, height, wcs, err);
}

bool writeAvmSidecar(const std::string& path, const TanWcs& t, const std::string& notes, std::string& err) {
  initOnce();
  Packet x;
  x.p = xmp_new_empty();
  char buf[64];
  auto seq = [&](const char* prop, std::initializer_list<double> values) {
    for (double v : values) {
      std::snprintf(buf, sizeof buf, "%.17g", v);
      xmp_append_array_item(x.p, kAvmNamespace, prop, XMP_PROP_ARRAY_IS_ORDERED, buf, 0);
    }
  };
  // Scale and Rotation: the CD matrix as two axis scales and a turn, x's sign following the
  // handedness (negative for the usual east-left picture).
  const double det = t.cd[0][0] * t.cd[1][1] - t.cd[0][1] * t.cd[1][0];
  const double scaleY = std::hypot(t.cd[0][1], t.cd[1][1]);
  const double scaleX = std::copysign(std::hypot(t.cd[0][0], t.cd[1][0]), det);
  const double rotation = std::atan2(-t.cd[0][1], t.cd[1][1]) * kDegreesPerRadian;
  xmp_set_property(x.p, kAvmNamespace, "MetadataVersion", "1.2", 0);
  xmp_set_property(x.p, kAvmNamespace, "Spatial.CoordinateFrame", "ICRS", 0);
  xmp_set_property(x.p, kAvmNamespace, "Spatial.Equinox", "J2000", 0);
  xmp_set_property(x.p, kAvmNamespace, "Spatial.CoordsystemProjection", "TAN", 0);
  xmp_set_property(x.p, kAvmNamespace, "Spatial.Quality", "Full", 0);
  seq("Spatial.ReferenceValue", {t.crval[0], t.crval[1]});
  seq("Spatial.ReferencePixel", {t.crpix[0], t.crpix[1]});
  seq("Spatial.ReferenceDimension", {double(t.width), double(t.height)});
  seq("Spatial.Scale", {scaleX, scaleY});
  std::snprintf(buf, sizeof buf, "%.17g", rotation);
  xmp_set_property(x.p, kAvmNamespace, "Spatial.Rotation", buf, 0);
  seq("Spatial.CDMatrix", {t.cd[0][0], t.cd[0][1], t.cd[1][0], t.cd[1][1]});
  xmp_set_property(x.p, kAvmNamespace, "Spatial.Notes", notes.c_str(), 0);
  Text out;
  if (!xmp_serialize(x.p, out.s, XMP_SERIAL_OMITPACKETWRAPPER, 0)) {
    err = "cannot write [" + path + "]";
    return false;
  }
  std::string ignored;
  if (!skydata::writeText(path, out.str(), ignored)) {
    err = "cannot write [" + path + "]";
    return false;
  }
  return true;
}

}  // namespace place
