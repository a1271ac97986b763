// SEAM: placeholders until star_draw.cpp has them.
#include "stars/star.h"
void StarList::drawStars(double, int, int, int) {}
float* StarList::computeColor(NODE_StarObject*, int, int, float* rgba) { return rgba; }
void StarList::renderBillBstar(double*, double*, float*, double, int, double) {}
void StarList::dumpCPoints(CPoint*, int) {}
void StarList::drawStarsErrors(double) {}
int StarList::isSptypeSelected(char, float) { return 1; }
void StarList::setStarAtYear(int) {}
int StarList::getStarAtYear() { return 0; }
void StarList::setDatasetYear(int) {}
int StarList::getDatasetYear() { return 0; }
void StarList::enableSphWarp() {}
void StarList::disableSphWarp() {}
int StarList::setSphWarp(const double*, double, double) { return -1; }
int StarList::setSphWarpEq(double (*)(double, double, double)) { return -1; }
int StarList::setZRangeOn(double, double) { return -1; }
void StarList::setZRangeOff() {}
int StarList::setVMagRangeOn(double, double) { return -1; }
void StarList::setVMagRangeOff() {}
int StarList::setSptypeRangeOn(Sptype, double, double) { return -1; }
int StarList::setSptypeRangeOff(Sptype) { return -1; }
void StarList::setSptypeRangeAllOn() {}
void StarList::setSptypeRangeAllOff() {}
int StarList::setZRange(double, double) { return -1; }
int StarList::setLSR(const double*) { return -1; }
