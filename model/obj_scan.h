// The conversions of fscanf that the OBJ reader uses ("%127s", "%d", "%f" and the '/' between
// the indices of a face corner), done character by character on a stream or a string, so that
// the reader consumes exactly what fscanf would and fails where it would.
#pragma once

#include <cstdio>

namespace objscan {

// The longest word of the OBJ text, as "%127s".
constexpr int kWordChars = 127;

// The forms of a face corner, fixed by the first corner of the line.
enum class FaceForm { V, VT, VTN, VN };

struct Corner {
  int v = 0, t = 0, n = 0;
};

// Characters of a stream, read through its own buffer without locking.
struct StreamSource {
  FILE* file;
  int get() { return getc_unlocked(file); }
  void unget(int c) {
    if (c != EOF) ungetc(c, file);
  }
};

// Characters of a zero-terminated string; its end reads as EOF.
struct StringSource {
  const char* p;
  int get() { return *p ? static_cast<unsigned char>(*p++) : EOF; }
  void unget(int c) {
    if (c != EOF) p--;
  }
};

// "%127s": skips white space and reads a word of at most 127 characters into word (128 bytes).
// False at the end of the input.
bool scanWord(StreamSource& in, char* word);

// "%d" as fscanf converts it: 1 with *value set, 0 on a matching failure (what fscanf consumes is
// consumed), -1 at the end of the input before any character. A value past a long is clamped,
// then cut to an int.
template <typename Source>
int scanInt(Source& in, int* value);

// One face corner in the given form ("%d", "%d/%d", "%d/%d/%d" or "%d//%d"): the number of
// fields read, as fscanf returns it (-1 at the end of the input). Fields not read keep their
// values.
template <typename Source>
int scanCorner(Source& in, FaceForm form, Corner* c);

// The form of a face line, from its first word: "//" means vertex and normal, then three
// fields vertex, texture and normal, then two vertex and texture, else vertex alone.
FaceForm formOf(const char* word);

// "%f": 1 with *value set, 0 on a matching failure, -1 at the end of the input. Plain decimal
// numbers are converted here (correctly rounded, as strtof); anything else (a leading '.',
// infinities, NaNs, hexadecimal) is handed back to fscanf itself.
int scanFloat(StreamSource& in, float* value);

}  // namespace objscan
