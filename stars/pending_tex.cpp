// SEAM: placeholders until star_tex.cpp has them.
#include "stars/star.h"
int StarList::initTexture(unsigned int*) { return -1; }
unsigned char* StarList::initFileTexture(int*, int*) { return nullptr; }
unsigned char* StarList::initGaussTexture(int*, int*, float, float) { return nullptr; }
unsigned char* StarList::initAiryTexture(int*, int*, float, float, float) { return nullptr; }
unsigned char* StarList::initFFTTexture(int*, int*, float, float, float, float, const float*, int) { return nullptr; }
float StarList::computeIntenDiamTex(unsigned char*, int, int, int, double) { return 0; }
int StarList::setStarTextureFile(const char*, double) { return -1; }
int StarList::setStarTextureFFT(float, float, float, float, const float*, int) { return -1; }
int StarList::setStarTextureAiry(float, float, float) { return -1; }
int StarList::setStarTextureGauss(float, float) { return -1; }
int StarList::setStarTextureParaFilter(int, int) { return -1; }
int StarList::setStarTextureScale(double) { return -1; }
