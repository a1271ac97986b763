// Editing the keyframe list: append, delete, replace a view or a gap, default methods, factors.
#include "movie/movierec.h"

int MovieRecord::recordKeyFrame(const View& view, int frames) {
  keyFrameNode* node = newNode();
  if (!node) {
    std::fprintf(stderr, "Err : MovieRecord::recordKeyFrame : Can't allocate memory for KeyFrames!\n");
    return -1;
  }
  node->id = nKeyFrames++;
  node->view = view;
  node->guideIn = view;
  node->guideOut = view;
  node->nFrameFrm = frames;
  keyFrameNode* tail = tailNode();
  if (!tail || tail == node) {
    node->nFrameFrm = 0;
    keyFrames = node;
    return 1;
  }
  tail->next = node;
  node->prev = tail;
  updateGuideView(tail);
  updateGuideView(node);
  return 1;
}

int MovieRecord::deleteKeyFrame(int keyFrame) {
  keyFrameNode* node = findNthKeyFrame(keyFrame);
  if (!node) return -1;
  keyFrameNode* prev = node->prev;
  keyFrameNode* next = node->next;
  if (prev) {
    prev->next = next;
    if (next) next->prev = prev;
    updateGuideView(prev);
    updateGuideView(next);
  } else {
    keyFrames = next;
    if (next) {
      next->prev = nullptr;
      next->nFrameFrm = 0;
      updateGuideView(next);
    }
  }
  freeFunc(node);
  nKeyFrames--;
  // Session records keep their indices.
  for (keyFrameNode* n = next; n; n = n->next) n->id--;
  return 1;
}

int MovieRecord::updateKeyFrameView(int keyFrame, const View* view) {
  keyFrameNode* node = findNthKeyFrame(keyFrame);
  if (!node || !view) return -1;
  node->view = *view;
  updateGuideView(node);
  updateGuideView(node->prev);
  updateGuideView(node->next);
  return 1;
}

int MovieRecord::updateKeyFrameFrm(int keyFrame, int frames) {
  keyFrameNode* node = findNthKeyFrame(keyFrame);
  if (!node || frames < 0) return -1;
  node->nFrameFrm = frames;
  return 1;
}

int MovieRecord::setInterpolation(int method) {
  switch (method) {
    case LinPos:
    case SplPos:
      interpMethod = method;
      return 1;
    case LinQuat:
    case SplQuat:
      interpMethodQuat = method;
      return 1;
    case LinFov:
    case SplFov:
      interpMethodFovy = method;
      return 1;
    case LinAspect:
    case SplAspect:
      interpMethodAspect = method;
      return 1;
    default:
      return -1;
  }
}

namespace {

// The three factor fields of one channel of a node.
struct FactorFields {
  double* level;
  double* in;
  double* out;
};

enum Channel { kChannelPos, kChannelQuat, kChannelFov, kChannelAspect };

FactorFields fieldsOf(keyFrameNode* n, Channel c) {
  switch (c) {
    case kChannelPos:
      return {&n->posLevel, &n->posIn, &n->posOut};
    case kChannelQuat:
      return {&n->quatLevel, &n->quatIn, &n->quatOut};
    case kChannelFov:
      return {&n->fovLevel, &n->fovIn, &n->fovOut};
    default:
      return {&n->aspectLevel, &n->aspectIn, &n->aspectOut};
  }
}

int setFactor(keyFrameNode* node, Channel c, double level, double in, double out) {
  if (!node) return -1;
  FactorFields f = fieldsOf(node, c);
  *f.level = level;
  *f.in = in;
  *f.out = out;
  return 1;
}

int getFactor(keyFrameNode* node, Channel c, double* level, double* in, double* out) {
  if (!node) return 0;
  FactorFields f = fieldsOf(node, c);
  *level = *f.level;
  *in = *f.in;
  *out = *f.out;
  return 1;
}

}  // namespace

int MovieRecord::updateFactorPos(int k, double level, double in, double out) {
  return setFactor(findNthKeyFrame(k), kChannelPos, level, in, out);
}
int MovieRecord::updateFactorQuat(int k, double level, double in, double out) {
  return setFactor(findNthKeyFrame(k), kChannelQuat, level, in, out);
}
int MovieRecord::updateFactorFOV(int k, double level, double in, double out) {
  return setFactor(findNthKeyFrame(k), kChannelFov, level, in, out);
}
int MovieRecord::updateFactorAspect(int k, double level, double in, double out) {
  return setFactor(findNthKeyFrame(k), kChannelAspect, level, in, out);
}
int MovieRecord::getFactorPos(int k, double* level, double* in, double* out) const {
  return getFactor(findNthKeyFrame(k), kChannelPos, level, in, out);
}
int MovieRecord::getFactorQuat(int k, double* level, double* in, double* out) const {
  return getFactor(findNthKeyFrame(k), kChannelQuat, level, in, out);
}
int MovieRecord::getFactorFOV(int k, double* level, double* in, double* out) const {
  return getFactor(findNthKeyFrame(k), kChannelFov, level, in, out);
}
int MovieRecord::getFactorAspect(int k, double* level, double* in, double* out) const {
  return getFactor(findNthKeyFrame(k), kChannelAspect, level, in, out);
}
