// Path length: the arc length of a span of the camera path, and the view at a given distance.
#include <cmath>
#include <utility>

#include "coords/math3D.h"
#include "movie/movierec.h"

namespace {

// Offsets closer than this measure nothing.
constexpr double kOffsetEqual = 1e-7;
// Stretches shorter than this have no length.
constexpr double kTinyLength = 1e-7;
// A stretch is measured once its two halves are this close to its chord, relatively.
constexpr double kChordRatio = 0.001;
// binSearchView stops when the bracket of offsets is this narrow.
constexpr double kOffsetBracket = 1e-7;

}  // namespace

double MovieRecord::computeLength(int keyFrame, double offset1, double offset2, double scale) const {
  if (keyFrame < 0 || keyFrame >= nKeyFrames - 1) {
    std::fprintf(stderr, "Err : computeLength (keyFrameID is out of range [0,%d-1])\n\n", keyFrame);
    return 0.0;
  }
  if (!(offset1 >= 0.0 && offset1 <= 1.0)) {
    std::fprintf(stderr, "Err : computeLength (offset1 is out of range [0,1])\n\n");
    return 0.0;
  }
  if (!(offset2 >= 0.0 && offset2 <= 1.0)) {
    std::fprintf(stderr, "Err : computeLength (offset2 is out of range [0,1])\n\n");
    return 0.0;
  }
  if (std::fabs(offset1 - offset2) < kOffsetEqual) return 0.0;
  if (offset2 < offset1) std::swap(offset1, offset2);

  const keyFrameNode* p1 = findNthKeyFrame(keyFrame);
  const keyFrameNode* p2 = p1->next;
  double b0[3], b1[3], b2[3], b3[3];
  phCoordToPos3D(p1->view.viewPos, scale, b0);
  phCoordToPos3D(p1->guideOut.viewPos, scale, b1);
  phCoordToPos3D(p2->guideIn.viewPos, scale, b2);
  phCoordToPos3D(p2->view.viewPos, scale, b3);
  // A span that returns to its start measures 0 here.
  if (equalVec3D(b0, b3)) return 0.0;

  // The record's default method decides, not the span's.
  if (interpMethod == LinPos) {
    // Between the two guide points, not the ends: kept as it has always measured.
    return (offset2 - offset1) * dist3D(b1, b2);
  }
  if (interpMethod == SplPos) {
    double p0[3], q0[3];
    BezierPosition(b0, b1, b2, b3, offset1, p0);
    BezierPosition(b0, b1, b2, b3, offset2, q0);
    return splineLength(b0, b1, b2, b3, offset1, offset2, p0, q0, dist3D(p0, q0));
  }
  return -1.0;
}

double MovieRecord::splineLength(const double b0[3], const double b1[3], const double b2[3], const double b3[3],
                                 double t0, double t1, const double p0[3], const double p1[3], double chord) {
  const double tm = (t0 + t1) / 2.0;
  double pm[3];
  BezierPosition(b0, b1, b2, b3, tm, pm);
  const double d1 = dist3D(p0, pm);
  const double d2 = dist3D(pm, p1);
  if (chord < kTinyLength && d1 + d2 < kTinyLength) return 0.0;
  double ratio = (d1 + d2) / chord;
  // A position beyond the range of a double gives no ratio at all: taken as measured, so the
  // subdivision always ends.
  if (std::isnan(ratio)) return d1 + d2;
  if (ratio < 0.0) ratio = 1.0 / ratio;
  if (ratio - 1.0 < kChordRatio) return d1 + d2;
  return splineLength(b0, b1, b2, b3, t0, tm, p0, pm, d1) + splineLength(b0, b1, b2, b3, tm, t1, pm, p1, d2);
}

View MovieRecord::binSearchView(int keyFrame, double length, double scale) const {
  double lo = 0.0, hi = 1.0, mid = 0.0;
  while (hi - lo > kOffsetBracket) {
    mid = (lo + hi) / 2.0;
    double l = computeLength(keyFrame, 0.0, mid, scale);
    if (l > length)
      hi = mid;
    else if (l < length)
      lo = mid;
    else
      break;
  }
  View view;
  retrieveFrame(keyFrame, mid, &view);
  return view;
}
