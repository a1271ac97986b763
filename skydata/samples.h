// Sample models: images of nebulae and galaxies as flat textured quads placed in the galactic
// frame at their published distances, deliberately misplaced twins, and the Pleiades in 3D.
#pragma once

#include <string>
#include <vector>

#include "skydata/hipcat.h"
#include "skydata/skymath.h"

namespace skydata {

// One image of the packaged set with the J2000 RA/Dec of its corners, in the order of the
// texture corners (0,0), (1,0), (1,1), (0,1), where (0,0) is the bottom left of the image.
struct PlacedImage {
  std::string image;  // file name in nebulae/default
  double corners[4][2] = {};
  std::string credit;
};

// Reads the entries of textures.json (not strict JSON) whose imageUrl is `image`.
bool findPlacedImage(const std::string& texturesJson, const std::string& image, PlacedImage& out,
                     std::string& err);

struct SampleInfo {
  std::string name;       // file stem: m51
  std::string image;      // stellarium image file
  std::string object;     // "M51, the Whirlpool galaxy"
  double distance;        // in `unit`
  std::string unit;       // "parsec" or "k-parsec", as the export header names them
  std::string reference;  // the published distance
  std::string credit;     // credit line of the image, as the package's CREDITS.md gives it
  std::string licence;    // terms of the image, from the same place
};

const std::vector<SampleInfo>& sampleList();

// Corner positions of a placed image at distance d: the corner directions projected on the
// plane square to the mean direction at distance d, so that the quad is flat.
std::vector<Vec3> quadCorners(const PlacedImage& img, double d);

// The misplacing transform of the twins: about the centre, a turn of 25 degrees, a scale of
// 1.3 and a shift of 6 % of the distance, across the line of sight.
std::vector<Vec3> misplace(const std::vector<Vec3>& pts);

// Writes <dir>/<name>.obj, .mtl, -misplaced.obj and the texture <name>.ppm.
bool writeImageSample(const std::string& stellariumDir, const SampleInfo& info, const std::string& dir,
                      std::string& err);

// Members of the Pleiades from the catalogue: within 2 degrees of the cluster centre, with a
// proper motion within 12 mas/yr of the cluster's and a parallax from 5 to 12 mas.
std::vector<HipStar> pleiadesMembers(const Catalog& cat);

// The Pleiades as small octahedra at their catalogue positions, in parsecs.
bool writePleiades(const Catalog& cat, const std::string& dir, std::string& err);

}  // namespace skydata
