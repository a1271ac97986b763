// SEAM: placeholders until star_param.cpp has them.
#include "stars/star.h"
int StarList::setStarParameter(StarParameter) { return -1; }
int StarList::readStarParameter(const char*, const char*, bool) { return -1; }
int StarList::writeStarParameter(FILE*, StarParameter) { return -1; }
int StarList::writeStarParameter(FILE*) { return -1; }
int StarList::writeStarParameter(const char*) { return -1; }
int StarList::setExtrasolarPlanetOrbitScale(float) { return -1; }
