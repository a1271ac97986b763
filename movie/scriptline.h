// Raw line input and tokens shared by the parts of the script reader.
#pragma once

#include <cstdio>

// Token separators of every script line.
inline constexpr const char* kScriptDelimiters = " \t\r\n";

// Reads one line of at most size - 1 characters into buf. Returns 1, or 0 at end of file, which
// is noticed right after the read: a last line without a line end counts as the end and is lost.
// Stray NUL bytes end the text of a line early and never overrun buf. Prints nothing.
int readScriptLine(char* buf, int size, FILE* fp);

// Copies line into buf (size bytes) without its trailing line end characters; returns buf.
char* chompedCopy(char* buf, const char* line, int size);
