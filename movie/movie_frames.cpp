// Frame retrieval: frame numbers to keyframes and offsets and back, and the view of any frame.
#include <climits>
#include <cmath>

#include "coords/math3D.h"
#include "movie/movierec.h"

namespace {

// An offset closer than this to 0 is the keyframe itself.
constexpr double kOffsetZero = 1e-7;
// An offset above this is the next keyframe itself.
constexpr double kOffsetOne = 0.999999;
// splineValue: a neighbour closer than this is at distance zero.
constexpr double kNeighbourZero = 1e-7;
constexpr double kHandleSixth = 6.0;

}  // namespace

int MovieRecord::getNFrames() const {
  if (!keyFrames) return 0;
  long long n = 1;
  for (const keyFrameNode* node = keyFrames->next; node; node = node->next) n += node->nFrameFrm + 1LL;
  // Frame numbers come from the script as ints; a sum beyond that range is held at its top.
  return n > INT_MAX ? INT_MAX : static_cast<int>(n);
}

int MovieRecord::getNKeyFrameFrm(int keyFrame) const {
  const keyFrameNode* node = findNthKeyFrame(keyFrame);
  return node ? node->nFrameFrm : 0;
}

keyFrameNode* MovieRecord::findNthKeyFrame(int n) const {
  if (n < 0) return nullptr;
  keyFrameNode* node = keyFrames;
  for (int i = 0; node && i < n; i++) node = node->next;
  return node;
}

int MovieRecord::queryKeyFrame(int keyFrame) const {
  const keyFrameNode* node = findNthKeyFrame(keyFrame);
  if (!node) return -1;
  std::fprintf(stderr, "KeyFrame %d", node->id);
  if (node->breakFlag) std::fprintf(stderr, " Break");
  printFactor(stderr, node);
  std::fprintf(stderr, "\n-----------\n");
  printView(stderr, &node->view);
  std::fprintf(stderr, "nFrameFrm  = %d\n\n", node->nFrameFrm);
  std::fprintf(stderr, node->guideInByUser ? "GuideFrame In (from user's SCP)\n" : "GuideFrame In\n");
  printView(stderr, &node->guideIn);
  std::fprintf(stderr, node->guideOutByUser ? "GuideFrame Out (from user's SCP)\n" : "GuideFrame Out\n");
  printView(stderr, &node->guideOut);
  return 1;
}

int MovieRecord::convertFrameNum(double frame, int* keyFrame, double* offset) const {
  int n = getNFrames();
  if (!(frame >= 0.0 && frame <= n - 1)) return -1;
  if (nKeyFrames == 1) {
    *keyFrame = 0;
    *offset = 0.0;
    return 1;
  }
  int k = 0;
  double remaining = frame;
  for (const keyFrameNode* node = keyFrames->next; node; node = node->next) {
    double gap = node->nFrameFrm + 1.0;
    if (gap > remaining) {
      *keyFrame = k;
      *offset = remaining / gap;
      return 1;
    }
    remaining -= gap;
    k++;
  }
  // Exactly the last frame.
  *keyFrame = nKeyFrames - 1;
  *offset = 0.0;
  return 1;
}

int MovieRecord::convertKeyFrame(int keyFrame, double offset, double* frame) const {
  if (keyFrame < 0 || keyFrame > nKeyFrames - 1) return -1;
  if (keyFrame == nKeyFrames - 1 && offset > kOffsetZero) return -1;
  if (!(offset >= 0.0 && offset <= 1.0)) return -1;
  if (nKeyFrames == 1) {
    *frame = 0.0;
    return 1;
  }
  if (keyFrame == nKeyFrames - 1) {
    *frame = getNFrames() - 1;
    return 1;
  }
  double f = 0.0;
  const keyFrameNode* node = keyFrames->next;
  for (int i = 1; i <= keyFrame; i++, node = node->next) f += node->nFrameFrm + 1.0;
  // Scaled by the gap without its keyframe, unlike convertFrameNum: the two agree at offset 0.
  f += node->nFrameFrm * offset;
  *frame = f;
  return 1;
}

int MovieRecord::retrieveFrame(double frame, View* view) const {
  int keyFrame = 0;
  double offset = 0.0;
  if (convertFrameNum(frame, &keyFrame, &offset) != 1) return -1;
  return retrieveFrame(keyFrame, offset, view);
}

int MovieRecord::retrieveFrame(int keyFrame, double offset, View* view) const {
  if (keyFrame < 0 || keyFrame >= nKeyFrames) return -1;
  if (!(offset >= 0.0 && offset <= 1.0)) return -1;
  const keyFrameNode* p1 = findNthKeyFrame(keyFrame);
  if (!p1->next) {
    if (!(offset < kOffsetZero)) return -1;
    *view = p1->view;
    return 1;
  }
  const keyFrameNode* p2 = p1->next;
  // Keyframes are exact: neither sessions nor blends touch them.
  if (offset < kOffsetZero) {
    *view = p1->view;
    return 1;
  }
  if (offset > kOffsetOne) {
    *view = p2->view;
    return 1;
  }
  // The timing curve of the span in frame units, p1 at 0.
  const double x1 = 0.0;
  const double x2 = p2->nFrameFrm + 1.0;
  const double x0 = (!p1->breakFlag && p1->prev) ? -(p1->nFrameFrm + 1.0) : 0.0;
  const double x3 = (!p2->breakFlag && p2->next) ? x2 + p2->next->nFrameFrm + 1.0 : x2;
  double unused = 0.0, c1 = 0.0, c2 = 0.0;
  // In and out swap places here: the handle leaving p1 takes p1's posIn, the one reaching p2
  // takes p2's posOut.
  splineValue(x0, x1, x2, p1->posLevel, p1->posOut, p1->posIn, &unused, &c1, 2);
  splineValue(x1, x2, x3, p2->posLevel, p2->posOut, p2->posIn, &c2, &unused, 1);
  const double lengths[4] = {0.0, c1, c2, x2};
  viewInterp(&p1->view, &p1->guideOut, &p2->guideIn, &p2->view, lengths, offset, p1->interpMethod,
             p1->interpMethodQuat, p1->interpMethodFovy, p1->interpMethodAspect, view);
  updateViewBySession(p1, view);
  return 1;
}

void MovieRecord::splineValue(double x0, double x1, double x2, double level, double a, double b, double* left,
                              double* right, int which) {
  const double D = x2 - x0;
  const double d0 = std::fabs(x0 - x1);
  const double d2 = std::fabs(x2 - x1);
  const double m = d0 < d2 ? d0 : d2;
  double l, r;
  if (d0 < kNeighbourZero) {
    r = x1 + (b / kHandleSixth) * D;
    l = x1;
  } else if (d2 < kNeighbourZero) {
    r = x1;
    l = x1 - (a / kHandleSixth) * D;
  } else {
    const double c = (1.0 - level) / 2.0;
    const double sR = x2 > x1 ? 1.0 : -1.0;
    const double sL = x0 > x1 ? 1.0 : -1.0;
    r = x1 + b * (c * m * sR + (level / kHandleSixth) * D);
    l = x1 + a * (c * m * sL - (level / kHandleSixth) * D);
  }
  if (which != 2) *left = l;
  if (which != 1) *right = r;
}
