// Flat textured quads on the sky: where the four corners of an image lie at a distance in the
// galactic frame, and the OBJ and MTL text that shows the image on them.
#pragma once

#include <string>
#include <vector>

#include "skydata/skymath.h"

namespace skydata {

// Number of corners of a quad; corner i carries texture corner (0,0), (1,0), (1,1), (0,1) in
// turn, where (0,0) is the bottom left of the image as it is seen on the sky.
constexpr int kQuadCorners = 4;

// Corner positions of a flat quad at distance d, in the unit of d, from the galactic unit
// directions of its corners: each direction is followed to the plane that stands square to the
// mean direction at distance d, so the quad is flat and every corner lies exactly in its own
// direction. Returns four points.
std::vector<Vec3> quadOnSky(const Vec3 dirs[kQuadCorners], double d);

// What a quad model file says about itself.
struct QuadModel {
  std::string name;                   // stem of the .obj, .mtl and .ppm files, and the group name
  std::vector<std::string> comments;  // comment lines above the unit line, without "# " or newline
  std::string unit;                   // "parsec", "k-parsec", "lightyear" or "meters"
  std::vector<Vec3> corners;          // four galactic positions in `unit`, as quadOnSky gives them
  // printf format of one vertex line with three doubles; the samples keep six decimals, a placed
  // image wants significant digits since its distance may be small.
  std::string vertexFormat = "v %.6f %.6f %.6f\n";
};

// The OBJ text of a quad: the comments, the unit and coordinate lines the export writes (the
// coordinate system is always galactic), the material library <name>.mtl, the four vertices,
// their texture corners and one face. The first row of a PNM texture is its top and reaches
// OpenGL as t = 0, so t is turned over.
std::string quadObjText(const QuadModel& q);

// The MTL text of a quad: one white material <name> whose texture is <name>.ppm, under the
// comment line "# <description>".
std::string quadMtlText(const std::string& name, const std::string& description);

// Writes text to path. Returns false with err "cannot write [path]" if the file can't be
// written; prints nothing.
bool writeText(const std::string& path, const std::string& text, std::string& err);

}  // namespace skydata
