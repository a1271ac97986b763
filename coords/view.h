// One complete camera state, copied by value.
#pragma once

#include "coords/phcoord.h"

struct View {
  PHCoord viewPos;         // the eye
  double viewDir[3] = {};  // direction of sight, kept unit length by those who set it
  double viewUp[3] = {};   // kept unit length, not necessarily perpendicular to viewDir
  double fovy = 0.0;       // vertical field of view in degrees
  double aspect = 0.0;     // width over height
};
