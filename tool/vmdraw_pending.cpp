// Stand-in for the sky drawing until tool/vmdraw.cpp is in: the framework's renderScene, which
// draws nothing yet, so that the library and the program link.
#include "viewer/tarnwick.h"

// SEAM: drawing — renderScene with drawSky, the panel mirrors and the pick pass replaces this
// file when tool/vmdraw.cpp lands.
void renderScene(double, int, unsigned int, double, int) {}
