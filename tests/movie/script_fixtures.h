// Scripts for the movie tests: a valid script built from parts, and functions that load text.
#pragma once

#include <string>

#include "movie/movierec.h"

namespace moviefixtures {

// The five lines of a view at (x, y, z) * 10^s looking along dir with up (0, 1, 0) or given.
std::string viewText(double x, double y, double z, double s, const char* dir = "0 0 -1",
                     const char* up = "0 1 0", double fovy = 45, double aspect = 1);
// "Movie Script", separator, resolution, interp and the count lines.
std::string header(int count, const char* interp = "linear", int w = 320, int h = 240);
// A keyframe: its line (with extra tokens), sessions lines, separator, view.
std::string keyFrame(int frame, const std::string& view, const std::string& extra = "",
                     const std::string& sessions = "");
// A view at (x, y, 0) in metres looking down -z with up +y, fovy 45 and aspect 1.
View viewAt(double x, double y);
// Writes text to a temporary file and loads it; the result of loadFile. *err gets the error stream.
int loadText(MovieRecord& m, const std::string& text, int quiet, std::string* err);

}  // namespace moviefixtures
