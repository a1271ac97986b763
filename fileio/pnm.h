// Raw byte (PNM), float (PFM) and double (PDM) images for dumps and the tools around the viewer.
//
//   line 1   "P6", "P5", "PF" or "PD"
//   line 2   "%d %d\n"   width height
//   line 3   "%d\n" maximum (PNM) or "%f\n" scale (PFM, PDM)
//   pixels   rows in order; floats and doubles most significant byte first
//
// All functions return 1 on success and -1 on failure. Readers allocate through the pair
// set by setAllocFunc_PNM; the caller owns the buffer.
#pragma once

#include <cstddef>
#include <cstdio>

extern void* (*ptrPNMMalloc)(size_t);
extern void (*ptrPNMFree)(void*);
void setAllocFunc_PNM(void* (*mallocFunc)(size_t), void (*freeFunc)(void*));

int writePNM(const char* path, const char* type, int width, int height, int maximum, unsigned char* pixels);
int writePFM(const char* path, const char* type, int width, int height, float scale, float* pixels);
int writePDM(const char* path, const char* type, int width, int height, double scale, double* pixels);

int readPNM(const char* path, const char* type, int* width, int* height, int* maximum,
            unsigned char** pixels);
int readPFM(const char* path, const char* type, int* width, int* height, float* scale, float** pixels);
int readPDM(const char* path, const char* type, int* width, int* height, double* scale, double** pixels);

// Seeks bytes forward from the current position and back again, to learn of a full disk
// before the pixels start. Failures are reported on standard error; neither ends the write.
void pre_allocate(FILE* stream, long bytes);
