// Small free functions around images and depth maps.
// An image is a byte array, rows in order, components interleaved; a depth map an array of
// floats, row by row. Buffers come from the pair set by setAllocFunc_UTL; who gets one owns it.
#pragma once

#include <GL/gl.h>

#include <cstddef>
#include <cstdio>

#include "fileio/common.h"  // getFileSize

extern void* (*ptrUTLMalloc)(size_t);
extern void (*ptrUTLFree)(void*);
void setAllocFunc_UTL(void* (*mallocFunc)(size_t), void (*freeFunc)(void*));

// Rows top to bottom, 3 bytes a pixel (image) or one float (depth), in place.
void upsidedownImage(unsigned char* image, int width, int height);
void upsidedownDepth(float* depth, int width, int height);

// RGB bytes of the GL buffer, rows from the top of the screen. Any negative argument takes
// the whole viewport. nullptr on failure.
unsigned char* readImage(GLenum buffer, int x, int y, int width, int height);
// Distance from the eye of every pixel of the viewport, rows from the top.
float* readDepth();
// The window's depth buffer as floats, rows from the top; sets glDepthRange(near, far).
float* readRawDepth(float zNear, float zFar);
// Draws a depth map (rows from the top) into the depth buffer. 1, or -1 on failure.
int writeRawDepth(float* depth, int width, int height, float zNear, float zFar);

unsigned char* extractSubImage(unsigned char* image, int width, int height, int comps, int x, int y,
                               int subWidth, int subHeight);
void pasteSubImage(unsigned char* image, int width, int height, int comps, unsigned char* sub, int subWidth,
                   int subHeight, int x, int y);

// Where the ray from pos along dir leaves the sphere of radius r around the origin.
// 1 with the point in out, 0 if the ray misses.
int vhLimitObjSphere(double pos[3], double dir[3], double radius, double out[3]);

void findMinMaxFloat(float* data, int count, float* min, float* max);
void findMinMaxDouble(double* data, int count, double* min, double* max);
float findSecondMaxFloat(float* data, int count);
double findSecondMaxDouble(double* data, int count);

unsigned char* floatToImage(float* data, int count, float cut);
unsigned char* doubleToImage(double* data, int count, double cut);
double* floatToDouble(float* data, int count);

void clampFloat(float* data, int count, float min, float max);
void clampDouble(double* data, int count, double min, double max);
void normalizeFloat(float* data, int count);
void normalizeDouble(double* data, int count);

double colorRatio(unsigned char* rgb, int count);
int countData(unsigned char* data, int count, unsigned char value);
int binSearch(int* data, int count, int key);
void printMat4(double* m);

unsigned char* diffImgs(unsigned char* a, unsigned char* b, int width, int height, int comps);
// 1 on success, -1 after a message on standard error.
int rmsImgs(unsigned char* a, unsigned char* b, int width, int height, int comps, double* out,
            double threshold);
int snrrmsImgs(unsigned char* a, unsigned char* b, int width, int height, int comps, double* out,
               double threshold);

void bitmap_output(int x, int y, const char* string, void* font);
void extractPath(char* path);
void SpanReorder(int* span);
void WindowIntersect(int* a, int* b, int* c, int* d, int* out1, int* out2);
