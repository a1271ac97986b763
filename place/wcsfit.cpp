// A quad model back to a gnomonic WCS: reading the quad, the exact fit through its corners and
// the residual against the model's own texture mapping.
#include "place/wcsfit.h"

#include <wcs.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "coords/constants.h"

namespace place {

namespace {

constexpr int kCorners = skydata::kQuadCorners;
// Texture corner of each quad corner: bottom left, bottom right, top right, top left.
constexpr double kCornerS[kCorners] = {0, 1, 1, 0};
constexpr double kCornerT[kCorners] = {0, 0, 1, 1};
// Pixel edges of the image relative to FITS pixel numbers.
constexpr double kHalfPixel = 0.5;
// Grid of points per side at which the inside of the quad is compared.
constexpr int kResidualGrid = 9;
// Below this a determinant counts as zero. Three unit directions span a volume of about the
// square of their spread in radians, 2.5e-11 for corners one arcsecond apart; far below it, the
// corners lie on one great circle.
constexpr double kDegenerate = 1e-300;
constexpr double kDegenerateDirections = 1e-15;

using M3 = double[3][3];

double det3(const M3 m) {
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

// Solves m x = b by Cramer's rule; false when the determinant is below tiny.
bool solve3(const M3 m, const double b[3], double x[3], double tiny = kDegenerate) {
  const double d = det3(m);
  if (std::fabs(d) < tiny) return false;
  for (int k = 0; k < 3; ++k) {
    M3 c;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) c[i][j] = j == k ? b[i] : m[i][j];
    x[k] = det3(c) / d;
  }
  return true;
}

bool invert3(const M3 m, M3 out) {
  for (int k = 0; k < 3; ++k) {
    const double e[3] = {double(k == 0), double(k == 1), double(k == 2)};
    double col[3];
    if (!solve3(m, e, col)) return false;
    for (int i = 0; i < 3; ++i) out[i][k] = col[i];
  }
  return true;
}

double angleArcsec(const Vec3& a, const Vec3& b) {
  return skydata::angleBetween(a, b) * kDegreesPerRadian * kArcsecPerDegree;
}

bool isComment(const std::string& line) {
  const size_t at = line.find_first_not_of(" \t");
  return at != std::string::npos && line[at] == '#';
}

// Width and height from the header of a binary or text PNM file.
bool pnmSize(const std::string& path, int& w, int& h) {
  std::ifstream in(path, std::ios::binary);
  std::string magic;
  if (!(in >> magic) || magic.size() != 2 || magic[0] != 'P') return false;
  int got = 0, vals[2];
  while (got < 2 && in) {
    in >> std::ws;
    if (in.peek() == '#') {
      std::string skip;
      std::getline(in, skip);
      continue;
    }
    if (!(in >> vals[got])) return false;
    ++got;
  }
  w = vals[0];
  h = vals[1];
  return got == 2 && w > 0 && h > 0;
}

std::string dirOf(const std::string& path) {
  const size_t s = path.rfind('/');
  return s == std::string::npos ? "" : path.substr(0, s + 1);
}

// The texture file named by the Td line of the material library, or "".
std::string textureOf(const std::string& mtlPath) {
  std::ifstream in(mtlPath);
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream ls(line);
    std::string key, env, file;
    if (ls >> key >> env >> file && key == "Td") return file;
  }
  return "";
}

}  // namespace

bool readQuadFile(const std::string& path, QuadFile& out, std::string& err) {
  std::ifstream in(path);
  if (!in) {
    err = "cannot open [" + path + "]";
    return false;
  }
  const std::string notQuad = "[" + path + "] is not a quad of four corners with texture coordinates";
  std::vector<Vec3> v;
  std::vector<std::array<double, 2>> vt;
  std::vector<std::array<int, 2>> face;
  int faces = 0;
  bool& equatorial = out.equatorial;
  equatorial = false;
  std::string mtllib, line;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (isComment(line)) {
      if (line.find("# - coordinate system is super galactic") == 0) {
        err = "[" + path + "] is in the super galactic system, which has no WCS here";
        return false;
      }
      if (line.find("# - coordinate system is equatorial") == 0) equatorial = true;
      continue;
    }
    std::istringstream ls(line);
    std::string key;
    if (!(ls >> key)) continue;
    if (key == "v") {
      Vec3 p;
      if (!(ls >> p[0] >> p[1] >> p[2])) {
        err = notQuad;
        return false;
      }
      v.push_back(p);
    } else if (key == "vt") {
      std::array<double, 2> t;
      if (!(ls >> t[0] >> t[1])) {
        err = notQuad;
        return false;
      }
      vt.push_back(t);
    } else if (key == "f") {
      ++faces;
      std::string corner;
      while (ls >> corner) {
        int a = 0, b = 0;
        if (std::sscanf(corner.c_str(), "%d/%d", &a, &b) != 2) {
          err = notQuad;
          return false;
        }
        face.push_back({a, b});
      }
    } else if (key == "mtllib") {
      ls >> mtllib;
    }
  }
  if (v.size() != size_t(kCorners) || vt.size() != size_t(kCorners) || faces != 1 ||
      face.size() != size_t(kCorners)) {
    err = notQuad;
    return false;
  }
  bool seen[kCorners] = {};
  for (int i = 0; i < kCorners; ++i) {
    const int vi = face[i][0], ti = face[i][1];
    if (vi < 1 || vi > kCorners || ti < 1 || ti > kCorners) {
      err = notQuad;
      return false;
    }
    // Texture t runs down the image (the PNM's first row is t = 0); the quad's corners count up.
    const double s = vt[ti - 1][0], t = 1.0 - vt[ti - 1][1];
    int corner = -1;
    for (int c = 0; c < kCorners; ++c)
      if (std::fabs(s - kCornerS[c]) < 1e-9 && std::fabs(t - kCornerT[c]) < 1e-9) corner = c;
    if (corner < 0 || seen[corner]) {
      err = notQuad;
      return false;
    }
    seen[corner] = true;
    out.faceOrder[i] = corner;
    out.points[corner] = v[vi - 1];
    const Vec3 dir = skydata::normalized(v[vi - 1]);
    out.icrs[corner] = equatorial ? dir : skydata::galacticToEquatorial(dir);
  }
  const std::string texture = textureOf(dirOf(path) + mtllib);
  const std::string texPath = !texture.empty() && texture[0] == '/' ? texture : dirOf(path) + texture;
  if (mtllib.empty() || texture.empty() || !pnmSize(texPath, out.width, out.height)) {
    err = "cannot read the texture of [" + path + "], which gives the image size";
    return false;
  }
  return true;
}

bool fitTanWcs(const Vec3 icrs[kCorners], int width, int height, TanWcs& out) {
  // The projective map M from homogeneous pixels to directions that takes each pixel corner onto
  // its direction: in the basis of the first three corners both sides are fixed by the fourth.
  double px[kCorners][3];
  for (int i = 0; i < kCorners; ++i) {
    px[i][0] = kHalfPixel + kCornerS[i] * width;
    px[i][1] = kHalfPixel + kCornerT[i] * height;
    px[i][2] = 1.0;
  }
  M3 P, U;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      P[i][j] = px[j][i];
      U[i][j] = icrs[j][i];
    }
  double mu[3], lambda[3];
  const double u4[3] = {icrs[3][0], icrs[3][1], icrs[3][2]};
  if (!solve3(P, px[3], mu) || !solve3(U, u4, lambda, kDegenerateDirections)) return false;
  M3 Pm, PmInv, M;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) Pm[i][j] = P[i][j] * mu[j];
  if (!invert3(Pm, PmInv)) return false;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      M[i][j] = 0;
      for (int k = 0; k < 3; ++k) M[i][j] += U[i][k] * lambda[k] * PmInv[k][j];
    }
  const Vec3 c0 = {M[0][0], M[1][0], M[2][0]}, c1 = {M[0][1], M[1][1], M[2][1]}, c2 = {M[0][2], M[1][2], M[2][2]};
  // The tangent point: square to the images of both pixel axes, so that its plane sees the
  // pixels linearly; on the side where the picture is.
  Vec3 t = skydata::normalized(skydata::cross(c0, c1));
  Vec3 centre;
  for (int k = 0; k < 3; ++k) centre[k] = c0[k] * (kHalfPixel + width / 2.0) + c1[k] * (kHalfPixel + height / 2.0) + c2[k];
  if (skydata::dot(t, centre) < 0)
    for (double& x : t) x = -x;
  const double s = skydata::dot(t, c2);
  if (std::fabs(s) < kDegenerate) return false;
  double ra, dec;
  skydata::vecToAng(t, ra, dec);
  // Standard coordinates: xi towards the east, eta towards the north at the tangent point.
  const double a = ra * kRadiansPerDegree, d = dec * kRadiansPerDegree;
  const Vec3 east = {-std::sin(a), std::cos(a), 0};
  const Vec3 north = {-std::sin(d) * std::cos(a), -std::sin(d) * std::sin(a), std::cos(d)};
  double lin[2][3];
  const Vec3 cols[3] = {c0, c1, c2};
  for (int j = 0; j < 3; ++j) {
    lin[0][j] = skydata::dot(east, cols[j]) / s * kDegreesPerRadian;
    lin[1][j] = skydata::dot(north, cols[j]) / s * kDegreesPerRadian;
  }
  const double det = lin[0][0] * lin[1][1] - lin[0][1] * lin[1][0];
  if (std::fabs(det) < kDegenerate) return false;
  // CRPIX: the pixel that lands on the tangent point.
  out.crpix[0] = (-lin[0][2] * lin[1][1] + lin[1][2] * lin[0][1]) / det;
  out.crpix[1] = (-lin[1][2] * lin[0][0] + lin[0][2] * lin[1][0]) / det;
  out.crval[0] = ra;
  out.crval[1] = dec;
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 2; ++j) out.cd[i][j] = lin[i][j];
  out.width = width;
  out.height = height;
  return true;
}

FitResidual wcsResidual(const QuadFile& q, const TanWcs& t) {
  FitResidual r;
  Wcs wcs;
  wcsprm* w = tanToWcs(t, wcs);
  auto through = [&](double s, double tt, Vec3& dir) {
    double ra, dec;
    if (!wcsPixelToRaDec(w, kHalfPixel + s * t.width, kHalfPixel + tt * t.height, ra, dec)) return false;
    dir = skydata::angToVec(ra, dec);
    return true;
  };
  for (int c = 0; c < kCorners; ++c) {
    Vec3 d;
    const double e = through(kCornerS[c], kCornerT[c], d) ? angleArcsec(d, q.icrs[c]) : HUGE_VAL;
    r.cornersArcsec = std::max(r.cornersArcsec, e);
  }
  // The face is a fan from its first corner: triangles (f0, f1, f2) and (f0, f2, f3).
  const int* f = q.faceOrder;
  const int tri[2][3] = {{f[0], f[1], f[2]}, {f[0], f[2], f[3]}};
  for (int gy = 0; gy < kResidualGrid; ++gy)
    for (int gx = 0; gx < kResidualGrid; ++gx) {
      const double s = double(gx) / (kResidualGrid - 1), tt = double(gy) / (kResidualGrid - 1);
      for (const auto& k : tri) {
        // Barycentric weights of (s, t) in the triangle's texture corners.
        const double x0 = kCornerS[k[0]], y0 = kCornerT[k[0]], x1 = kCornerS[k[1]], y1 = kCornerT[k[1]],
                     x2 = kCornerS[k[2]], y2 = kCornerT[k[2]];
        const double den = (y1 - y2) * (x0 - x2) + (x2 - x1) * (y0 - y2);
        const double w0 = ((y1 - y2) * (s - x2) + (x2 - x1) * (tt - y2)) / den;
        const double w1 = ((y2 - y0) * (s - x2) + (x0 - x2) * (tt - y2)) / den;
        const double w2 = 1 - w0 - w1;
        constexpr double kInside = -1e-12;
        if (w0 < kInside || w1 < kInside || w2 < kInside) continue;
        Vec3 p;
        for (int i = 0; i < 3; ++i)
          p[i] = w0 * q.points[k[0]][i] + w1 * q.points[k[1]][i] + w2 * q.points[k[2]][i];
        const Vec3 dir = skydata::normalized(p);
        const Vec3 model = q.equatorial ? dir : skydata::galacticToEquatorial(dir);
        Vec3 d;
        const double e = through(s, tt, d) ? angleArcsec(d, model) : HUGE_VAL;
        r.insideArcsec = std::max(r.insideArcsec, e);
        break;
      }
    }
  return r;
}

}  // namespace place
