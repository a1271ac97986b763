// Residuals of marked stars against a model's WCS.
#include "place/fitreport.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "coords/constants.h"
#include "place/tanwcs.h"
#include "place/wcsfit.h"
#include "skydata/skymath.h"

namespace place {

namespace {

// Columns of a star set line: x, y, z first, the Hipparcos number in this one (counted from 1).
constexpr int kHipColumn = 21;

bool isCommentOrBlank(const std::string& line) {
  const size_t at = line.find_first_not_of(" \t\r");
  return at == std::string::npos || line[at] == '#';
}

}  // namespace

bool readMarkedStars(const std::string& path, std::vector<MarkedStar>& out, std::string& err) {
  std::ifstream in(path);
  if (!in) {
    err = "cannot open [" + path + "]";
    return false;
  }
  out.clear();
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    if (isCommentOrBlank(line)) continue;
    std::istringstream words(line);
    std::string key, rest;
    MarkedStar m;
    if (!(words >> key >> m.hip >> m.x >> m.y) || key != "HIP" || m.hip <= 0 || !std::isfinite(m.x) ||
        !std::isfinite(m.y) || (words >> rest)) {
      err = "[" + path + "] line " + std::to_string(number) + ": not \"HIP <number> <x> <y>\"";
      return false;
    }
    out.push_back(m);
  }
  if (out.empty()) {
    err = "[" + path + "] marks no star";
    return false;
  }
  return true;
}

bool markedStarDirections(const std::string& starFile, const std::vector<MarkedStar>& marks,
                          std::vector<Vec3>& out, std::string& err) {
  std::ifstream in(starFile);
  if (!in) {
    err = "cannot open [" + starFile + "]";
    return false;
  }
  out.assign(marks.size(), Vec3{0, 0, 0});
  std::vector<bool> found(marks.size(), false);
  std::string line;
  while (std::getline(in, line)) {
    if (isCommentOrBlank(line)) continue;
    std::istringstream words(line);
    Vec3 p;
    if (!(words >> p[0] >> p[1] >> p[2])) continue;  // the NUM_STARS and SIZE lines
    std::string word;
    int column = 3;
    while (column < kHipColumn && words >> word) ++column;
    if (column != kHipColumn) continue;
    const int hip = std::atoi(word.c_str());
    for (size_t i = 0; i < marks.size(); ++i)
      if (marks[i].hip == hip) {
        out[i] = skydata::normalized(p);
        found[i] = true;
      }
  }
  for (size_t i = 0; i < marks.size(); ++i)
    if (!found[i]) {
      err = "HIP " + std::to_string(marks[i].hip) + " is not in [" + starFile + "]";
      return false;
    }
  return true;
}

std::vector<double> markResidualsArcsec(wcsprm* wcs, const std::vector<MarkedStar>& marks,
                                        const std::vector<Vec3>& directions) {
  std::vector<double> out;
  for (size_t i = 0; i < marks.size(); ++i) {
    double ra = 0, dec = 0;
    if (!wcsPixelToRaDec(wcs, marks[i].x, marks[i].y, ra, dec)) {
      out.push_back(-1);
      continue;
    }
    const Vec3 at = skydata::equatorialToGalactic(skydata::angToVec(ra, dec));
    out.push_back(skydata::angleBetween(at, directions[i]) * kDegreesPerRadian * kArcsecPerDegree);
  }
  return out;
}

std::string fitReport(const std::vector<MarkedStar>& marks, const std::vector<double>& residuals) {
  std::string text;
  char line[256];
  double sum2 = 0, largest = -1;
  int n = 0, largestHip = 0;
  for (size_t i = 0; i < marks.size() && i < residuals.size(); ++i) {
    if (residuals[i] < 0) {
      std::snprintf(line, sizeof line, "HIP %d at (%.2f, %.2f): outside the projection\n", marks[i].hip,
                    marks[i].x, marks[i].y);
    } else {
      std::snprintf(line, sizeof line, "HIP %d at (%.2f, %.2f): %.2f arcsec\n", marks[i].hip, marks[i].x,
                    marks[i].y, residuals[i]);
      sum2 += residuals[i] * residuals[i];
      ++n;
      if (residuals[i] > largest) largest = residuals[i], largestHip = marks[i].hip;
    }
    text += line;
  }
  if (n > 0) {
    std::snprintf(line, sizeof line,
                  "fit residual over %d stars: rms %.2f arcsec, largest %.2f arcsec (HIP %d)\n", n,
                  std::sqrt(sum2 / n), largest, largestHip);
    text += line;
  }
  return text;
}

bool wcsOfModel(const std::string& objPath, Wcs& wcs, std::string& err) {
  QuadFile q;
  if (!readQuadFile(objPath, q, err)) return false;
  TanWcs t;
  if (!fitTanWcs(q.icrs, q.width, q.height, t)) {
    err = "[" + objPath + "] has corners in a line, which no WCS fits";
    return false;
  }
  return tanToWcs(t, wcs) != nullptr;
}

}  // namespace place
