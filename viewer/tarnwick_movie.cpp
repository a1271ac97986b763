// The movie in the frame loop: play steps from idle, the frame keys, and reloading the script.
#include <GL/freeglut.h>
#include <GL/gl.h>

#include <cstdio>

#include "movie/movierec.h"
#include "viewer/tarnwick.h"

namespace {

// Frames that home and end move by.
constexpr double kFrameJump = 5.0;
// A step of the movie: a whole frame, or half of one when frames are doubled.
constexpr double kWholeFrame = 1.0;
constexpr double kHalfFrame = 0.5;
// The sheared views of resetView: 0 the whole picture, 1 to 4 a quarter of it.
constexpr int kShearStates = 5;

// One frame, or half a frame when frames are doubled.
double frameStep() {
  return doubleFrame ? kHalfFrame : kWholeFrame;
}

double clampFrame(double frame, int nFrames) {
  if (frame > nFrames - 1) frame = nFrames - 1;
  if (frame < 0.0) frame = 0.0;
  return frame;
}

}  // namespace

int setMovieView(double frame) {
  if (!movieRec) return -1;
  View view;
  if (movieRec->retrieveFrame(frame, &view) != 1) return -1;
  resetView(&view);
  return 1;
}

void playMovieStep() {
  if (!movieRec || countPlay == kPlayStopped) return;
  const int nFrames = movieRec->getNFrames();
  frameNum += frameStep();
  if (frameNum > nFrames - 1) {
    --countPlay;
    if (countPlay == kPlayStopped) {
      // The play is used up: it rests on the last frame, whose view the last step has shown.
      frameNum = nFrames - 1;
      return;
    }
    frameNum = 0.0;
  }
  // The step's view replaces whatever the mouse did to the modelview since the last one.
  setMovieView(frameNum);
  display();
}

int nextKeyFrame(double frame, double* target) {
  int key = 0;
  double offset = 0.0;
  if (movieRec->convertFrameNum(frame, &key, &offset) != 1) return 0;
  return movieRec->convertKeyFrame(key + 1, 0.0, target) == 1 ? 1 : 0;
}

int previousKeyFrame(double frame, double* target) {
  int key = 0;
  double offset = 0.0;
  if (movieRec->convertFrameNum(frame, &key, &offset) != 1) return 0;
  // On a key frame the one before it; between two, the one the frame lies behind.
  if (offset <= 0.0) --key;
  return movieRec->convertKeyFrame(key, 0.0, target) == 1 ? 1 : 0;
}

int movieSpecKey(int key) {
  if (!movieRec) return 0;
  const int nFrames = movieRec->getNFrames();
  if (key >= GLUT_KEY_F1 && key <= GLUT_KEY_F10) {
    stopAllSpins();
    // A target past the end (fewer than ten frames) is no item of the menu, which ignores it.
    menuSelect(kMenuGotoFrame0 + functionKeyTarget(key - GLUT_KEY_F1 + 1, nFrames));
    return 1;
  }
  if (key == GLUT_KEY_F11 || key == GLUT_KEY_F12) {
    viewShearState = (viewShearState + (key == GLUT_KEY_F12 ? 1 : kShearStates - 1)) % kShearStates;
    double m[16];
    glMatrixMode(GL_MODELVIEW);
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    View view = frmMatToView(m);
    resetView(&view);
    return 1;
  }
  double target = frameNum;
  switch (key) {
    case GLUT_KEY_LEFT:
      target = clampFrame(frameNum - frameStep(), nFrames);
      break;
    case GLUT_KEY_RIGHT:
      target = clampFrame(frameNum + frameStep(), nFrames);
      break;
    case GLUT_KEY_PAGE_UP:
      nextKeyFrame(frameNum, &target);
      break;
    case GLUT_KEY_PAGE_DOWN:
      previousKeyFrame(frameNum, &target);
      break;
    case GLUT_KEY_HOME:
      target = clampFrame(frameNum + kFrameJump, nFrames);
      break;
    case GLUT_KEY_END:
      target = clampFrame(frameNum - kFrameJump, nFrames);
      break;
    default:
      return 0;
  }
  frameNum = target;
  stopAllSpins();
  setMovieView(frameNum);
  glutPostRedisplay();
  return 1;
}

int reloadMovieScript() {
  // The script is tried in a record of its own first, so that a broken one leaves the
  // running movie as it was.
  printf("loading script file [%s]...\n", scpFile);
  fflush(stdout);
  MovieRecord trial;
  if (trial.loadFile(scpFile, 1) == -1) {
    fprintf(stderr, "Err: failed to read [%s]\n", scpFile);
    return 0;
  }
  while (movieRec->getNKeyFrames() > 0) movieRec->deleteKeyFrame(0);
  movieRec->loadFile(scpFile, 1);
  const int nFrames = movieRec->getNFrames();
  if (frameNum > nFrames - 1) frameNum = nFrames - 1;
  setMovieView(frameNum);
  glutPostRedisplay();
  return 1;
}
