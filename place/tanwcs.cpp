// The TAN WCS record in wcslib form and as a FITS header file written with cfitsio.
#include "place/tanwcs.h"

#include <fitsio.h>
#include <wcs.h>

#include <cstdio>

namespace place {

namespace {

// Significant digits of the written doubles: cfitsio's E format with this many decimals keeps
// a position to far below a milliarcsecond.
constexpr int kFitsDecimals = -15;
// The linear part is given by a CD matrix: bit 2 of wcsprm::altlin.
constexpr int kAltlinCd = 2;

}  // namespace

wcsprm* tanToWcs(const TanWcs& t, Wcs& wcs) {
  wcsprm* w = wcs.makeTwoAxes();
  std::snprintf(w->ctype[0], sizeof w->ctype[0], "RA---TAN");
  std::snprintf(w->ctype[1], sizeof w->ctype[1], "DEC--TAN");
  std::snprintf(w->radesys, sizeof w->radesys, "ICRS");
  for (int i = 0; i < 2; ++i) {
    w->crval[i] = t.crval[i];
    w->crpix[i] = t.crpix[i];
    for (int j = 0; j < 2; ++j) w->cd[i * 2 + j] = t.cd[i][j];
  }
  w->altlin |= kAltlinCd;
  return w;
}

bool writeWcsFits(const std::string& path, const TanWcs& t, const std::vector<std::string>& comments,
                  std::string& err) {
  fitsfile* f = nullptr;
  int status = 0;
  const std::string clobber = "!" + path;  // cfitsio's mark to replace an existing file
  fits_create_file(&f, clobber.c_str(), &status);
  fits_create_img(f, BYTE_IMG, 0, nullptr, &status);
  int axes = 2;
  long w = t.width, h = t.height;
  fits_write_key(f, TINT, "WCSAXES", &axes, "number of WCS axes", &status);
  fits_write_key_str(f, "CTYPE1", "RA---TAN", "gnomonic projection", &status);
  fits_write_key_str(f, "CTYPE2", "DEC--TAN", "gnomonic projection", &status);
  fits_write_key_str(f, "CUNIT1", "deg", nullptr, &status);
  fits_write_key_str(f, "CUNIT2", "deg", nullptr, &status);
  fits_write_key_str(f, "RADESYS", "ICRS", nullptr, &status);
  fits_write_key_dbl(f, "CRVAL1", t.crval[0], kFitsDecimals, "RA of the reference point, degrees", &status);
  fits_write_key_dbl(f, "CRVAL2", t.crval[1], kFitsDecimals, "Dec of the reference point, degrees", &status);
  fits_write_key_dbl(f, "CRPIX1", t.crpix[0], kFitsDecimals, "reference pixel x", &status);
  fits_write_key_dbl(f, "CRPIX2", t.crpix[1], kFitsDecimals, "reference pixel y", &status);
  fits_write_key_dbl(f, "CD1_1", t.cd[0][0], kFitsDecimals, "degrees per pixel", &status);
  fits_write_key_dbl(f, "CD1_2", t.cd[0][1], kFitsDecimals, "degrees per pixel", &status);
  fits_write_key_dbl(f, "CD2_1", t.cd[1][0], kFitsDecimals, "degrees per pixel", &status);
  fits_write_key_dbl(f, "CD2_2", t.cd[1][1], kFitsDecimals, "degrees per pixel", &status);
  fits_write_key(f, TLONG, "IMAGEW", &w, "image width in pixels", &status);
  fits_write_key(f, TLONG, "IMAGEH", &h, "image height in pixels", &status);
  for (const std::string& c : comments) fits_write_comment(f, c.c_str(), &status);
  int closeStatus = 0;
  if (f) fits_close_file(f, &closeStatus);
  if (status || closeStatus) {
    char text[FLEN_STATUS] = {};
    fits_get_errstatus(status ? status : closeStatus, text);
    err = "cannot write [" + path + "]: " + text;
    return false;
  }
  return true;
}

}  // namespace place
