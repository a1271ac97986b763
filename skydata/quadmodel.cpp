// Flat textured quads on the sky: corner positions and the OBJ and MTL text of an image model.
#include "skydata/quadmodel.h"

#include <cstdio>

namespace skydata {

std::vector<Vec3> quadOnSky(const Vec3 dirs[kQuadCorners], double d) {
  Vec3 c = {0, 0, 0};
  for (int i = 0; i < kQuadCorners; ++i)
    for (int k = 0; k < 3; ++k) c[k] += dirs[i][k];
  c = normalized(c);
  std::vector<Vec3> out;
  for (int i = 0; i < kQuadCorners; ++i) {
    const double t = d / dot(dirs[i], c);
    out.push_back({dirs[i][0] * t, dirs[i][1] * t, dirs[i][2] * t});
  }
  return out;
}

std::string quadObjText(const QuadModel& q) {
  char buf[256];
  std::string o;
  for (const std::string& c : q.comments) o += "# " + c + "\n";
  o += "# - unit in this model is " + q.unit + "\n";
  o += "# - coordinate system is galactic\n\n";
  o += "mtllib " + q.name + ".mtl\n";
  for (const Vec3& p : q.corners) {
    std::snprintf(buf, sizeof buf, q.vertexFormat.c_str(), p[0], p[1], p[2]);
    o += buf;
  }
  // The image's first row is its top: texture t = 0 at the top corners (2 and 3).
  o += "vt 0 1\nvt 1 1\nvt 1 0\nvt 0 0\n";
  o += "g " + q.name + "\nusemtl " + q.name + "\n";
  o += "f 1/1 2/2 3/3 4/4\n";
  return o;
}

std::string quadMtlText(const std::string& name, const std::string& description) {
  return "# " + description + "\nnewmtl " + name + "\nKa 1 1 1 1\nKd 1 1 1 1\nKs 0 0 0 1\nTd modulate " + name +
         ".ppm\n";
}

bool writeText(const std::string& path, const std::string& text, std::string& err) {
  FILE* f = std::fopen(path.c_str(), "w");
  if (!f) {
    err = "cannot write [" + path + "]";
    return false;
  }
  const bool wrote = std::fputs(text.c_str(), f) >= 0;
  if (std::fclose(f) != 0 || !wrote) {
    err = "cannot write [" + path + "]";
    return false;
  }
  return true;
}

}  // namespace skydata
