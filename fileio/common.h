// Byte order and stream routines shared by every binary format.
//
// Multi-byte numbers in the system's binary files are stored most significant byte first.
// cp_fread and cp_fwrite reverse the bytes of each element wider than one byte between
// memory (little-endian) and file; an element size of 1 passes through untouched.
#pragma once

#include <cstddef>
#include <cstdio>

// Reverses the order of the bytes within each of the count elements of size bytes.
void SwapByte(void* data, unsigned size, unsigned count);

// fread of count elements of size bytes, each turned from big-endian into machine order.
// Only the elements really read are turned. A size of 0 prints
// "[cp_fread]: fread size < 1\n" on standard error and ends the process with status 1.
// Returns the number of elements read.
size_t cp_fread(void* buffer, unsigned size, unsigned count, FILE* stream);

// fwrite of count elements, each written big-endian. The caller's buffer is swapped,
// written and swapped back, so it is the same afterwards. A size of 0 prints
// "[cp_fwrite]: fwrite size < 1\n" on standard error and ends the process with status 1.
// Returns the number of elements written.
size_t cp_fwrite(void* buffer, unsigned size, unsigned count, FILE* stream);

// Size of the stream in bytes; the position is kept. -1 if a seek fails (or the size
// doesn't fit an int).
int getFileSize(FILE* stream);

// The one bounded copy of the system: copies at most size - 1 characters of src into dst and
// always terminates; size 0 writes nothing. Returns nothing, prints nothing.
void copyText(char* dst, const char* src, size_t size);
