// Texture images: SGI files (verbatim and run-length) and binary PNM (P5, P6).
// Every file is opened through fopenEZ, so EZ-packed images read the same way.
// Pixel buffers come from the pair set by setAllocFunc_SGI; the caller owns them.
// Neither reader turns the image over: an SGI file's first row is its bottom row,
// a PNM file's first row its top row.
#pragma once

#include <cstddef>
#include <cstdio>

// State of one open SGI file. imagic..zsize are the first 12 bytes of the file.
struct ImageRec {
  unsigned short imagic;  // read, not checked
  unsigned short type;    // high byte 1: run-length encoded
  unsigned short dim;
  unsigned short xsize;
  unsigned short ysize;
  unsigned short zsize;
  unsigned int min;  // not read
  unsigned int max;  // not read
  unsigned int wasteBytes;
  char name[80];
  unsigned long colorMap;
  FILE* file;
  unsigned char* tmp;  // one compressed row, xsize * 256 bytes
  unsigned char* tmpR;
  unsigned char* tmpG;
  unsigned char* tmpB;
  unsigned long rleEnd;    // 512 plus twice the table size
  unsigned int* rowStart;  // ysize * zsize entries, run-length files only
  int* rowSize;            // ysize * zsize entries, run-length files only
};

extern void* (*ptrSGIMalloc)(size_t);
extern void (*ptrSGIFree)(void*);
void setAllocFunc_SGI(void* (*mallocFunc)(size_t), void (*freeFunc)(void*));

ImageRec* ImageOpen(const char* name);
void ImageClose(ImageRec* image);
// Reads row y of plane z into buffer, which holds at least xsize bytes.
void ImageGetRow(ImageRec* image, unsigned char* buffer, int y, int z);

// Channels 1..4 interleaved by pixel, row 0 of the file first. nullptr on failure.
unsigned char* read_sgi(const char* name, int* width, int* height, int* channels);
// As read_sgi, but always 4 bytes per pixel; *channels still tells the file's number.
unsigned char* read_texture(const char* name, int* width, int* height, int* channels);
// Binary P6 (3 channels) or P5 (1 channel); first row of the file first. nullptr on failure.
unsigned char* read_pnm(const char* name, int* width, int* height, int* channels);
// The same into the caller's buffer; with a null buffer it allocates as read_pnm does.
unsigned char* read_pnm_tobuf(const char* name, int* width, int* height, int* channels,
                              unsigned char* buffer);
// Returns 0, 1 if the file can't be opened, 2 if channels is neither 1 nor 3.
int write_pnm(const char* path, int width, int height, int channels, unsigned char* pixels);

// Big-endian 16- and 32-bit values into machine order, in place.
void ConvertShort(unsigned short* array, long length);
void ConvertLong(unsigned int* array, long length);

// Row packers, count pixels each.
void bwtorgba(unsigned char* b, unsigned char* out, int count);
void latorgba(unsigned char* b, unsigned char* a, unsigned char* out, int count);
void rgbtorgba(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* out, int count);
void rgbatorgba(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* a, unsigned char* out,
                int count);
void bwtobw(unsigned char* b, unsigned char* out, int count);
void latola(unsigned char* b, unsigned char* a, unsigned char* out, int count);
void rgbtorgb(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* out, int count);
