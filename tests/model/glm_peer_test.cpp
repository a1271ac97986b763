// Real OBJ models that were written elsewhere: the models of Debian's stellarium-data package.
// Expected counts come from an independent count over the file (awk), and every model is drawn.
#include <GL/gl.h>
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

namespace {

std::vector<std::string> peerModels(const std::string& dir) {
  std::vector<std::string> out;
  DIR* d = opendir(dir.c_str());
  while (dirent* e = d ? readdir(d) : nullptr) {
    std::string name = e->d_name;
    if (name.size() > 4 && name.substr(name.size() - 4) == ".obj") out.push_back(dir + "/" + name);
  }
  if (d) closedir(d);
  std::sort(out.begin(), out.end());
  return out;
}

struct Counts {
  unsigned long v = 0, vn = 0, vt = 0, tri = 0, materials = 0;
  double x1 = 0, y1 = 0, z1 = 0;  // the first vertex
};

// Counted by awk: a face of n corners is n - 2 triangles. The files have CRLF line ends.
Counts countWithAwk(const std::string& path) {
  auto r = testsupport::run(
      "awk '{sub(/\r$/, \"\")} $1==\"v\"{v++; if(v==1){x=$2;y=$3;z=$4}} $1==\"vn\"{n++} $1==\"vt\"{t++} "
      "$1==\"f\"{f+=NF-3} "
      "END{printf \"%d %d %d %d %.9g %.9g %.9g\\n\", v, n, t, f, x, y, z}' '" +
      path + "'");
  Counts c;
  std::istringstream in(r.out);
  in >> c.v >> c.vn >> c.vt >> c.tri >> c.x1 >> c.y1 >> c.z1;
  // materials: the default one plus each newmtl of the file named by mtllib, if any
  auto m = testsupport::run("awk '{sub(/\r$/, \"\")} $1==\"mtllib\"{print $2; exit}' '" + path + "'");
  std::string lib = m.out.substr(0, m.out.find('\n'));
  if (!lib.empty()) {
    std::string dir = path.substr(0, path.rfind('/') + 1);
    auto n = testsupport::run("awk '$1==\"newmtl\"{n++} END{print n+0}' '" + dir + lib + "'");
    c.materials = std::stoul(n.out) + 1;
  }
  return c;
}

}  // namespace

TEST(GlmPeer, RealModelsReadWithTheRightCounts) {
  std::string dir = glmtest::peerModelDir();
  if (dir.empty())
    GTEST_SKIP() << "stellarium-data models are not unpacked under .cache/pkgs (scripts/deps.sh)";
  auto models = peerModels(dir);
  ASSERT_GE(models.size(), 10u);
  for (const auto& path : models) {
    Counts c = countWithAwk(path);
    ASSERT_GT(c.v, 0u) << path;
    testing::internal::CaptureStdout();
    _GLMmodel* m = glmReadOBJQuiet(path.c_str());
    testing::internal::GetCapturedStdout();
    ASSERT_NE(m, nullptr) << path;
    EXPECT_EQ(m->numvertices, c.v) << path;
    EXPECT_EQ(m->numnormals, c.vn) << path;
    EXPECT_EQ(m->numtexcoords, c.vt) << path;
    EXPECT_EQ(m->numtriangles, c.tri) << path;
    EXPECT_EQ(glmNumTri(m), c.tri) << path;
    EXPECT_EQ(m->nummaterials, c.materials) << path;
    EXPECT_NEAR(m->vertices[3], c.x1, 1e-5 * (1 + std::abs(c.x1))) << path;
    EXPECT_NEAR(m->vertices[4], c.y1, 1e-5 * (1 + std::abs(c.y1))) << path;
    EXPECT_NEAR(m->vertices[5], c.z1, 1e-5 * (1 + std::abs(c.z1))) << path;
    EXPECT_EQ(glmIsPlanar(m, 1e-5f), 0) << path;  // solid bodies
    glmDelete(m);
  }
}

TEST(GlmPeer, RealModelsRender) {
  std::string dir = glmtest::peerModelDir();
  if (dir.empty())
    GTEST_SKIP() << "stellarium-data models are not unpacked under .cache/pkgs (scripts/deps.sh)";
  const int size = 96;
  ASSERT_NE(testsupport::openGLWindow(size, size), 0) << "Xvfb could not be started";
  for (const auto& path : peerModels(dir)) {
    testing::internal::CaptureStdout();
    _GLMmodel* m = glmReadOBJQuiet(path.c_str());
    testing::internal::GetCapturedStdout();
    ASSERT_NE(m, nullptr) << path;
    glmUnitize(m);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1.2, 1.2, -1.2, 1.2, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    float pos[4] = {0.3f, 0.4f, 1, 0};
    glLightfv(GL_LIGHT0, GL_POSITION, pos);
    glEnable(GL_NORMALIZE);
    // smooth shading from the file's own normals, with the file's materials where it has them
    unsigned int mode = GLM_SMOOTH | (m->materials ? GLM_MATERIAL : 0);
    testing::internal::CaptureStdout();
    glmDraw(m, mode);
    testing::internal::GetCapturedStdout();
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glFinish();
    auto px = testsupport::readPixelsRGB(0, 0, size, size);
    int lit = 0;
    std::set<int> shades;
    for (int i = 0; i < size * size; i++) {
      int v = px[3 * i] + px[3 * i + 1] + px[3 * i + 2];
      if (v > 0) lit++;
      shades.insert(v);
    }
    // the body fills a good part of the view, and its shading varies over the surface
    EXPECT_GT(lit, size * size / 8) << path;
    EXPECT_LT(lit, size * size) << path;
    EXPECT_GT(shades.size(), 20u) << path;
    // the centre of a unitized asteroid is covered
    int c = (size / 2 * size + size / 2) * 3;
    EXPECT_GT(px[c] + px[c + 1] + px[c + 2], 0) << path;
    glmDelete(m);
  }
}
