// Guide views: the inner Bezier control views on each side of a keyframe, worked out from its
// neighbours under the keyframe's factors unless the script gave them.
#include <algorithm>

#include "coords/math3D.h"
#include "movie/movierec.h"

namespace {

// The Catmull-Rom tangent is a sixth of the span between the neighbours.
constexpr double kHandleSixth = 6.0;

}  // namespace

void MovieRecord::updateGuideView(keyFrameNode* node) {
  if (!node || (node->guideInByUser && node->guideOutByUser)) return;
  keyFrameNode* prev = node->prev;
  keyFrameNode* next = node->next;
  if (!prev && !next) {
    if (!node->guideInByUser) node->guideIn = node->view;
    if (!node->guideOutByUser) node->guideOut = node->view;
  } else if (!prev) {
    if (!node->guideOutByUser) updateGuideViewKernel(node, node, next, 2);
  } else if (!next) {
    if (!node->guideInByUser) updateGuideViewKernel(prev, node, node, 1);
  } else if (node->breakFlag == 1) {
    // A break ends one path and starts another at this keyframe.
    if (!node->guideInByUser) updateGuideViewKernel(prev, node, node, 1);
    if (!node->guideOutByUser) updateGuideViewKernel(node, node, next, 2);
  } else if (node->guideInByUser) {
    updateGuideViewKernel(prev, node, next, 2);
  } else if (node->guideOutByUser) {
    updateGuideViewKernel(prev, node, next, 1);
  } else {
    updateGuideViewKernel(prev, node, next, 3);
  }
}

void MovieRecord::updateGuideViewKernel(keyFrameNode* p1, keyFrameNode* p2, keyFrameNode* p3, int which) {
  if (!p1 || !p2 || !p3) {
    std::fprintf(stderr, "Err: Big problem in your code!!!\n");
    std::fprintf(stderr, "     because p2 should not be at the end or at the front!!!\n");
    std::fprintf(stderr, "     so... you will have segmentation fault very soon...\n");
    return;  // unlike the words say, nothing is touched
  }
  const bool wantIn = which != 2;
  const bool wantOut = which != 1;

  // Position.
  const double L = p2->posLevel, I = p2->posIn, O = p2->posOut;
  const PHCoord P1 = p1->view.viewPos, P2 = p2->view.viewPos, P3 = p3->view.viewPos;
  PHCoord V = subPHCoord(P3, P1);
  if (eqnPHCoord(P1, P2) || eqnPHCoord(P2, P3)) {
    // The end form: first and last keyframes, breaks, repeated positions.
    if (wantIn) p2->guideIn.viewPos = addPHCoord(P2, multPHCoord(V, -I / kHandleSixth));
    if (wantOut) p2->guideOut.viewPos = addPHCoord(P2, multPHCoord(V, O / kHandleSixth));
  } else {
    PHCoord A = subPHCoord(P1, P2);
    PHCoord B = subPHCoord(P3, P2);
    unifyPHCoord(&A);
    unifyPHCoord(&B);
    const double a[3] = {A.x, A.y, A.z};
    const double b[3] = {B.x, B.y, B.z};
    double n[3], t[3];
    add3D(a, b, n);
    unify3D(n);  // zero on a straight line: T is then A itself
    add_mul_3D(a, -dot3D(a, n), n, t);
    unify3D(t);
    // The handle takes the length of the nearer neighbour, so a small scale isn't overshot.
    PHCoord W{t[0], t[1], t[2], std::min(A.s, B.s)};
    const double cIn = (1.0 - L) * I / 2.0;
    const double cOut = (1.0 - L) * O / 2.0;
    if (wantIn)
      p2->guideIn.viewPos =
          addPHCoord(P2, addPHCoord(multPHCoord(V, (-I / kHandleSixth) * L), multPHCoord(W, cIn)));
    if (wantOut)
      p2->guideOut.viewPos =
          addPHCoord(P2, addPHCoord(multPHCoord(V, (O / kHandleSixth) * L), multPHCoord(W, -cOut)));
  }

  // Orientation: a sixth of the whole turn from the previous to the next keyframe.
  double q1[4], q2[4], q3[4], r[4], c[4], g[4];
  frmViewToQuat(&p1->view, q1);
  frmViewToQuat(&p2->view, q2);
  frmViewToQuat(&p3->view, q3);
  if (innerProduct4(q1, q2) < 0.0) flip(q2);
  if (innerProduct4(q2, q3) < 0.0) flip(q3);
  double conj1[4];
  copyQuat(conj1, q1);
  inverseQuat(conj1);
  multQuat(conj1, q3, r);
  copyQuat(c, r);
  inverseQuat(c);
  if (wantIn) {
    scaleQuat(c, p2->quatIn / kHandleSixth);
    multQuat(q2, c, g);
    frmQuatToView(g, p2->guideIn.viewDir, p2->guideIn.viewUp);
  }
  if (wantOut) {
    scaleQuat(r, p2->quatOut / kHandleSixth);
    multQuat(q2, r, g);
    frmQuatToView(g, p2->guideOut.viewDir, p2->guideOut.viewUp);
  }

  // Field of view and aspect as plain numbers.
  splineValue(p1->view.fovy, p2->view.fovy, p3->view.fovy, p2->fovLevel, p2->fovIn, p2->fovOut,
              &p2->guideIn.fovy, &p2->guideOut.fovy, which);
  splineValue(p1->view.aspect, p2->view.aspect, p3->view.aspect, p2->aspectLevel, p2->aspectIn, p2->aspectOut,
              &p2->guideIn.aspect, &p2->guideOut.aspect, which);
}
