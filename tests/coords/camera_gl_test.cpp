// A camera's matrices on OpenGL's stacks, under a private X server.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "coords/camera.h"
#include "tests/support/xvfb.h"

namespace {

const double kNear = (double)0.01f;
const double kFar = 10000.0;

class CameraGL : public testing::Test {
 protected:
  void SetUp() override {
    if (testsupport::openGLWindow(32, 32) == 0) GTEST_SKIP() << "no X server";
    memset(cams_, 0, sizeof cams_);
    Camera& c = cams_[0];
    c.viewDir[0] = 1.0;  // looking along +x of the eye, z up
    c.viewUp[2] = 1.0;
    c.useFovy = true;
    c.fovy = 40.0;
    c.aspect = 2.0;
    ASSERT_EQ(constructMat(&c, kNear, kFar, 1), 1);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(-1, 1, -1, 1, 1, 100);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslated(1, 2, 3);
    glRotated(30, 0, 1, 0);
  }
  Camera cams_[2];
};

void matrices(double mv[16], double pr[16]) {
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
}

}  // namespace

TEST_F(CameraGL, PushAndPopLeaveModeAndBothMatricesAsBefore) {
  for (GLenum mode : {GL_MODELVIEW, GL_PROJECTION}) {
    glMatrixMode(mode);
    double mv0[16], pr0[16], mv1[16], pr1[16];
    matrices(mv0, pr0);
    pushCamera(&cams_[0]);
    GLint inside;
    glGetIntegerv(GL_MATRIX_MODE, &inside);
    EXPECT_EQ((GLenum)inside, mode);
    popCamera();
    GLint after;
    glGetIntegerv(GL_MATRIX_MODE, &after);
    EXPECT_EQ((GLenum)after, mode);
    matrices(mv1, pr1);
    for (int k = 0; k < 16; ++k) {
      EXPECT_EQ(mv1[k], mv0[k]) << k;
      EXPECT_EQ(pr1[k], pr0[k]) << k;
    }
    glMatrixMode(GL_MODELVIEW);
  }
  EXPECT_EQ(glGetError(), (GLenum)GL_NO_ERROR);
}

TEST_F(CameraGL, PushPutsTheProjectionInPlaceAndTheRotationOverTheView) {
  double mv0[16], pr0[16], mv[16], pr[16];
  matrices(mv0, pr0);
  pushCamera(&cams_[0]);
  matrices(mv, pr);
  for (int k = 0; k < 16; ++k) EXPECT_NEAR(pr[k], cams_[0].projMat[k], 1e-6 * (1.0 + fabs(pr[k]))) << k;  // single precision
  // viewMat times the old modelview, column-major.
  const double* v = cams_[0].viewMat;
  for (int col = 0; col < 4; ++col)
    for (int row = 0; row < 4; ++row) {
      double sum = 0.0;
      for (int k = 0; k < 4; ++k) sum += v[k * 4 + row] * mv0[col * 4 + k];
      EXPECT_NEAR(mv[col * 4 + row], sum, 1e-6) << row << "," << col;
    }
  popCamera();
}
