// The floor of a star frame: every star in front of the eye as a plain smooth point, at the size
// and colour the star drawing gives it, so that a benchmark can set drawStars beside the least a
// frame of the same points costs.
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "stars/star.h"

struct StarFloor {
  std::map<int, std::vector<StarList::CPoint>> points;  // by size in half pixels
  size_t numPoints = 0;
};

// Works out the floor's points for a picture heightPixels high, with the projection of the frame
// current and after a drawStars of the same view (which sets every star's apparent magnitude);
// logScale and flags are drawStars's. The eye looks along +x. Returns the points; prints nothing.
StarFloor placeStarFloor(StarList& list, double logScale, int heightPixels, int flags);

// Draws the points with the state of a star frame: rotation-only model-view, smooth blended
// points, no lighting or texture, depth not written. Leaves the GL state as it found it.
void drawStarFloor(const StarFloor& floor);
