// SEAM: placeholders until constell.cpp and star_pick.cpp have them.
#include "stars/star.h"
int StarList::loadConstellations(const char*) { return -1; }
void StarList::freeConstellations() {}
void StarList::drawConstellations(double, int, int, int, char*) {}
int StarList::getNumConstellations() { return 0; }
void StarList::drawBillboardText(const char*, float, int) {}
int StarList::setConstellationColors(const float*, const float*) { return -1; }
int StarList::setConstellationLineWidth(float, float) { return -1; }
int StarList::setConstellationStipple(int, int) { return -1; }
int StarList::setLabelScale(float) { return -1; }
int StarList::pickStar(int, int, double, NODE_StarObject*, float, int*) { return 0; }
int StarList::getStarByConstellation(NODE_StarObject*, const char*) { return -1; }
int StarList::getStarByConstellationCode(NODE_StarObject*, const char*) { return -1; }
void StarList::drawLabelOfStar(int, double, int, int) {}
void StarList::drawLabelOfStar(const NODE_StarObject*, double, int, int) {}
void StarList::drawLabelOfStar(int, double, const char*, int) {}
void StarList::drawLabelOfStar(const NODE_StarObject*, double, const char*, int) {}
int StarList::computeAvgVelocity(int, int, int, double*) { return 0; }
