// Messages of the script reader that take more than one line: the list of interpolation words
// and the echo of a header.
#pragma once

// The words of the "interp" line, in the order in which they are listed.
inline constexpr int kInterpWordCount = 8;
extern const char* const kInterpWords[kInterpWordCount];
// The method value each word sets (LinPos ... SplAspect), same index.
extern const int kInterpWordMethods[kInterpWordCount];

// "Err : (line %d) undefined interpolation method [%s]\n" and the list of valid words, on
// standard error.
void reportUndefinedInterp(int lineNum, const char* word);

// The echo of a read header on standard error: resolution, methods and keyframe count. Returns
// 1, or 0 with a message naming the first method field that holds no valid value.
int echoScriptHeader(int lineNum, int winW, int winH, const int methods[4], int nKeyFrames);
