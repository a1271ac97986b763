// The frame seen through a camera of a camera file: its matrices around one drawFrame.
#include <GL/gl.h>

#include "coords/camera.h"
#include "viewer/tarnwick.h"

void cameraFrameBegin(int jitterPass) {
  if (currCamera == 0) return;
  pushCamera(&cameras[currCamera - 1]);
  if (jitterPass) {
    // The jitter pass has set its own frustum: the camera's projection comes off again.
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
  }
}

void cameraFrameEnd(int jitterPass) {
  if (currCamera == 0) return;
  if (jitterPass) {
    // One push for popCamera to take off, in place of the projection popped at the start.
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glMatrixMode(GL_MODELVIEW);
  }
  popCamera();
}
