// Reading the star parameter file into a parameter record, line by line, without applying it.
// StarList::readStarParameter reads through these and then applies the record it got.
#pragma once

#include "stars/star.h"

// What became of one parameter line. Each fault has its own message (reportStarParameterLine).
enum StarParamLineResult {
  STAR_PARAM_LINE_OK = 0,
  STAR_PARAM_LINE_NOT_ENOUGH,  // fewer values than the keyword needs
  STAR_PARAM_LINE_NO_EQUALS,   // the second word is not "="
  STAR_PARAM_LINE_BAD_RANGE,   // values out of their range, or a maximum below its minimum
  STAR_PARAM_LINE_BAD_INPUT,   // a value of the wrong kind
  STAR_PARAM_LINE_UNKNOWN,     // a keyword the file format does not have
  STAR_PARAM_LINE_TOO_LONG,    // a line of more than STAR_PARAM_MAX_LINE characters
};

// Longest line of the file, without its newline; the reader's buffer is one byte more.
constexpr int STAR_PARAM_MAX_LINE = 511;

// Applies one line of the form "<keyword> = <values...>" to p; the line has no newline and is
// neither comment nor blank. Keywords are compared without regard to case. With dir not null,
// the file paths of the line become "<dir>/<path>"; a path that would not fit its 512 bytes is
// invalid input rather than cut. A known keyword with nothing behind "="
// leaves p as it is. Returns a StarParamLineResult; on any result but STAR_PARAM_LINE_OK p is
// left exactly as it was. Prints nothing, never exits.
int parseStarParameterLine(StarParameter* p, const char* line, const char* dir);

// Prints the message of a parameter-line fault on standard error, naming lineNo and the line
// (and, for an unknown keyword, the keyword). Prints nothing for STAR_PARAM_LINE_OK. Never exits.
void reportStarParameterLine(int result, int lineNo, const char* line);

// Reads a whole parameter file onto *p: p holds the values to start from, and every line of
// the file changes what it names. Returns 1; or -1 with *p unchanged when fileName is null, the
// file does not open, the header is wrong (these three report on standard error unless quiet)
// or a line is at fault (reported whatever quiet says). A line of more than STAR_PARAM_MAX_LINE
// characters is a fault unless it is a comment; a line holding a zero byte is invalid input; a
// last line without a newline counts for nothing. The file is closed before returning. Never exits.
int parseStarParameterFile(const char* fileName, const char* dir, bool quiet, StarParameter* p);
