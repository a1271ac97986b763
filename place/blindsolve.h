// Blind solving of a sky image that carries no WCS and no AVM: astrometry.net's solve-field run on
// its pixels in a temporary folder, under a processor time limit and a hard stop behind it.
#pragma once

#include <string>

#include "place/skywcs.h"
#include "place/starfinder.h"

namespace place {

// solve-field reads the index paths from this file unless told another.
inline constexpr const char* kSolveFieldConfig = "/etc/astrometry.cfg";
inline constexpr int kDefaultSolveSeconds = 30;

struct SolveOptions {
  int cpuSeconds = kDefaultSolveSeconds;  // solve-field's --cpulimit, processor seconds
  // The image's width in degrees lies between these; both 0: no hint, a fully blind solve.
  double scaleLowDeg = 0, scaleHighDeg = 0;
  std::string program = "solve-field";  // a path, or a name looked up through PATH
  std::string config;                   // "" is kSolveFieldConfig
  double wallSeconds = 0;               // the hard stop by the wall clock; 0 is solveWallSeconds
};

// How long solve-field may run by the wall clock before it is killed, unless wallSeconds says:
// its processor limit stretched for a machine shared with other work, plus the start of its
// Python front end.
double solveWallSeconds(const SolveOptions& options);

// Solves the image blindly and puts the WCS that solve-field found into wcs (pixels as in
// GreyImage, the first row at the bottom). The stars are found here (findSources) and handed to
// solve-field as a source list. why is the reason the image needed solving (as "[<path>] has no
// WCS"); every err begins with it:
//   "<why>, and solve-field is not installed to solve it blindly (Debian package astrometry.net)"
//   "<why>, and no astrometry.net index files are installed to solve it blindly (Debian package
//    astrometry-data-tycho2-10-19-littleendian)"
//   "<why>, and no stars were found in it to solve it blindly"
//   "<why>, and no temporary folder could be made to solve it blindly in"
//   "<why>, and its stars could not be handed to solve-field: <writeSourceList's reason>"
//   "<why>, and it did not solve blindly within <n> seconds"
//   "<why>, and solve-field failed on it with status <n>"
// Runs solve-field with its streams sent to a log in the temporary folder, which is removed
// afterwards; prints nothing; never leaves solve-field running.
bool solveBlindly(const GreyImage& image, const std::string& why, const SolveOptions& options, Wcs& wcs,
                  std::string& err);

// The index files that the solve-field configuration at config names, directly by "index" or in
// an "add_path" folder (files index*.fits). Returns how many exist.
int countIndexFiles(const std::string& config);

// The program's full path: name itself when it holds a '/', else the first executable of that
// name in PATH; "" when there is none.
std::string findProgram(const std::string& name);

}  // namespace place
