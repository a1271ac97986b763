// The in-process test scene: what the framework asked of it, and a shared GL window.
#pragma once

#include <vector>

struct SceneCall {
  double frameNum;
  int nFrames;
  unsigned int renderMode;
  double logScale;
  int pickMode;
};

// Every renderScene call since the last clear.
extern std::vector<SceneCall> sceneCalls;
// What renderScene draws: nothing (0), a white square 2 units ahead on the x axis (1), or a
// thin white diagonal line without smoothing, 2 units ahead (2).
extern int sceneDraws;

// Opens the window once, makes it the framework's mainWindow and sets the framework up as
// myInit and myGLInit do, then puts the default view back. Returns false without a display.
bool frameworkWindow();
// The default view and the flags of a fresh start.
void resetFramework();
