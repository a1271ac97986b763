// The look-up tables of the size model are built for the GL context at hand.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "stars/star.h"
#include "tests/support/xvfb.h"

TEST(StarSizeGL, InitLUTReadsTheContextsVersion) {
  ASSERT_NE(testsupport::openGLWindow(64, 64), 0);
  const char* version = (const char*)glGetString(GL_VERSION);
  ASSERT_NE(version, nullptr);
  StarList list;
  list.lutMode = 7;
  list.initLUT();
  bool old = strncmp(version, "CRIME", 5) == 0 || strncmp(version, "IR", 2) == 0 ||
             strncmp(version, "1.3.0", 5) == 0;
  EXPECT_EQ(list.lutMode, old ? 0 : -1);
  EXPECT_EQ(list.invSqTable[1], old ? 1.0f : 0.25f);
  EXPECT_EQ(list.invSqTable[0], 1.0f);
  EXPECT_FLOAT_EQ(list.invSqTable[63], 1.0f / 3969);
  EXPECT_EQ(list.sqrtTable[0], 1);
  EXPECT_EQ(list.sqrtTable[4095], 64);
  // With these tables a star of h x h 2.5 is a 2-half-pixel point at a quarter opacity.
  float vmag = 4.0f;
  double d = (float)starDiameter(vmag, 10.0, 1.0);
  float rpp = (float)(d * 2 / sqrt(2.5));
  int px, alpha;
  ASSERT_EQ(list.computePXSizeAlpha(&px, &alpha, vmag, 1.0f, rpp, 0), 0);
  EXPECT_EQ(px, 2);
  EXPECT_EQ(alpha, 64);
}
