// The EZ container: any data file stored as independent raw-DEFLATE chunks.
//
// Layout (offsets from the start of the container's file):
//   0                 2 bytes   "EZ"
//   2                 4 bytes   chunkCount, big-endian (input size / 32768, rounded up)
//   6                 4 x n     chunk offsets, big-endian, counted from the start of the file
//   6 + 4n            4 x n     compressed chunk sizes, big-endian
//   6 + 8n            ...       the chunks, back to back
// A chunk is a raw DEFLATE stream of up to 32768 input bytes followed by the CRC-32 of
// those bytes and their length, both little-endian (a gzip member without its header).
//
// Readers open their files with fopenEZ in place of fopen and never see the container.
// The compressor keeps state at file level: one call at a time.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "fileio/common.h"

// Allocation pair for the container's own buffers (tables, chunk buffers, the expanded
// block); the standard pair until changed. A failed allocation ends the process with status 1.
extern void* (*ptrEZMalloc)(size_t);
extern void (*ptrEZFree)(void*);
void setAllocFunc_EZ(void* (*mallocFunc)(size_t), void (*freeFunc)(void*));

// Input bytes per chunk, and the size of the compressed-chunk buffer.
constexpr int EZ_CHUNK_SIZE = 32768;
constexpr int EZ_INBUF_SIZE = 65536;

// Opens path; if its first two bytes are "EZ" the container is expanded into a tmpfile,
// which is returned rewound (the mode has no effect then, and the temporary file vanishes
// when the caller closes it). Otherwise the file is opened with fopen(path, mode).
// Returns nullptr if the file can't be opened.
FILE* fopenEZ(const char* path, const char* mode);

// Reads a container from the stream's current position (chunk offsets are taken from the
// start of the file). *data receives a block of chunkCount x 32768 bytes from ptrEZMalloc, which
// the caller frees; *size the number of bytes expanded. Errors inside a chunk are reported on
// standard error and reading goes on; the reader gets what came out.
void ReadDeflateZip(FILE* stream, unsigned char** data, int* size);

// Writes data as a container at the stream's current position.
void WriteDeflateZip(FILE* stream, unsigned char* data, int size);

// Expands the container in `in` into `out`, chunk by chunk through one 32768-byte buffer; faults
// inside a chunk are reported as ReadDeflateZip reports them. Returns the bytes read from `in`,
// plus 1.
int ExpandToFile(FILE* in, FILE* out);

// Packs the rest of `in` (from its position to its end; callers start at 0) into `out`.
// Returns the number of bytes written to `out`.
int PackFromFile(FILE* out, FILE* in);

// Compresses one chunk from memory to memory (raw DEFLATE, level 6) and appends the
// little-endian CRC-32 and length. *outSize receives the number of bytes written.
// outCapacity bounds the output; a chunk of at most 32768 bytes always fits 65536.
// Returns 0 on success, 1 on error.
int entropyZip(unsigned char* in, unsigned char* out, int inSize, int* outSize,
               int outCapacity = EZ_INBUF_SIZE);

// Expands one chunk (raw DEFLATE plus the 8-byte trailer) and checks its CRC and length.
// *outSize receives the number of bytes written; at most outCapacity are written.
// Errors are reported on standard error as "\n%s: %s: %s\n"; whatever was expanded stays.
// Returns 0 on success, 1 on error.
int entropyUnzip(unsigned char* in, unsigned char* out, int inSize, int* outSize,
                 int outCapacity = EZ_CHUNK_SIZE);

// What a strict look at a container found.
struct EZChunkInfo {
  unsigned offset = 0;  // from the start of the file
  unsigned size = 0;    // compressed, trailer included
  unsigned length = 0;  // expanded, as the trailer states
};
struct EZInfo {
  long fileSize = 0;  // bytes of the whole file
  long start = 0;     // position of the container within the file
  unsigned chunkCount = 0;
  std::vector<EZChunkInfo> chunks;
  long expandedSize = 0;  // sum of the chunk lengths
};

// Strict check of the container at the stream's current position: magic, tables inside the
// file, every chunk inside the file and no larger than the input buffer, each chunk inflating
// cleanly to its stated length with the right CRC, and every chunk but the last exactly 32768
// bytes. Prints nothing. Returns true if sound; otherwise false with a one-line reason in
// *error (when given). *info (when given) is filled as far as the check got.
// The stream's position is restored.
bool checkEZ(FILE* stream, EZInfo* info = nullptr, std::string* error = nullptr);

// checkEZ and the expansion in one pass: each chunk's bytes are written to `out` as soon as the
// chunk has passed the check. On false, `out` holds the chunks before the fault, which the
// caller throws away. Prints nothing; the stream's position is restored. Holds two chunk
// buffers, never the whole expanded file.
bool expandCheckedEZ(FILE* in, FILE* out, EZInfo* info = nullptr, std::string* error = nullptr);
