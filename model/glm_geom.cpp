// Geometry of a model: vector helpers, bounds, planarity, transforms, normals and texture
// coordinate generators.
#include <cassert>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "model/glm.h"
#include "model/glm_internal.h"

using glm_detail::allocOrDie;

float glmMax(float a, float b) {
  return b > a ? b : a;
}
float glmAbs(float f) {
  return f < 0 ? -f : f;
}
float glmDot(const float* u, const float* v) {
  assert(u);
  assert(v);
  return u[0] * v[0] + u[1] * v[1] + u[2] * v[2];
}
float glmLength(const float* v) {
  return std::sqrt(glmDot(v, v));
}
float glmDist(const float* u, const float* v) {
  float d[3];
  glmMinus(u, v, d);
  return glmLength(d);
}
void glmCross(const float* u, const float* v, float* n) {
  assert(u);
  assert(v);
  assert(n);
  float r[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
  glmCopy(n, r);
}
void glmMinus(const float* u, const float* v, float* d) {
  for (int i = 0; i < 3; i++) d[i] = u[i] - v[i];
}
void glmAdd(const float* u, const float* v, float* s) {
  for (int i = 0; i < 3; i++) s[i] = u[i] + v[i];
}
void glmAddMul(const float* u, float f, const float* v, float* r) {
  for (int i = 0; i < 3; i++) r[i] = u[i] + f * v[i];
}
void glmCopy(float* dst, const float* src) {
  for (int i = 0; i < 3; i++) dst[i] = src[i];
}
void glmMult(float* v, float f) {
  for (int i = 0; i < 3; i++) v[i] *= f;
}
void glmNormalize(float* v) {
  assert(v);
  float l = glmLength(v);
  if (l == 0) return;
  for (int i = 0; i < 3; i++) v[i] /= l;
}
int glmEqual(const float* u, const float* v, float epsilon) {
  return glmAbs(u[0] - v[0]) < epsilon && glmAbs(u[1] - v[1]) < epsilon && glmAbs(u[2] - v[2]) < epsilon;
}
void glmTranMat(float* m, const float* t) {
  float r[16];
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) r[i * 4 + j] = t[j * 4 + i];
  memcpy(m, r, sizeof(r));
}
void glmMatMult(const float* rows, float* v) {
  float r[4];
  for (int i = 0; i < 4; i++)
    r[i] = rows[i * 4] * v[0] + rows[i * 4 + 1] * v[1] + rows[i * 4 + 2] * v[2] + rows[i * 4 + 3];
  if (r[3] != 0) {
    for (int i = 0; i < 3; i++) r[i] /= r[3];
  }
  glmCopy(v, r);
}

namespace {

float* vertex(_GLMmodel* model, unsigned int i) {
  return model->vertices + 3 * static_cast<size_t>(i);
}

// A new array of n + 1 triples (or pairs) replacing `old`.
float* freshArray(float* old, unsigned int n, int k) {
  if (old) ptrFree(old);
  return static_cast<float*>(glm_detail::zallocOrDie(sizeof(float) * k * (static_cast<size_t>(n) + 1)));
}

void negateBits(float* array, unsigned int n) {
  if (!array) return;
  for (size_t i = 3; i < 3 * (static_cast<size_t>(n) + 1); i++) {
    uint32_t bits;
    memcpy(&bits, &array[i], 4);
    bits ^= 0x80000000u;
    memcpy(&array[i], &bits, 4);
  }
}

// Facet normal of a triangle; slot 0 (zero) if its index doesn't point into the array.
const float* facetOf(_GLMmodel* model, const _GLMtriangle& t) {
  unsigned int f = t.findex <= model->numfacetnorms ? t.findex : 0;
  return model->facetnorms + 3 * static_cast<size_t>(f);
}

}  // namespace

int glmIsPlanar(_GLMmodel* model, float tolerance) {
  assert(model);
  if (model->numvertices < 4) return 1;
  // Directions are compared in double precision: the test measures an angle, which must not
  // depend on the model's size or its distance from the origin.
  double v1[3], e2[3], e3[3], n[3];
  for (int k = 0; k < 3; k++) {
    v1[k] = vertex(model, 1)[k];
    e2[k] = vertex(model, 2)[k] - v1[k];
    e3[k] = vertex(model, 3)[k] - v1[k];
  }
  cross3D(e2, e3, n);
  unify3D(n);
  for (unsigned int i = 4; i <= model->numvertices; i++) {
    double d[3];
    for (int k = 0; k < 3; k++) d[k] = vertex(model, i)[k] - v1[k];
    unify3D(d);
    if (std::fabs(dot3D(d, n)) > tolerance) return 0;
  }
  return 1;
}

void glmBoundBox(_GLMmodel* model, float* rangeX, float* rangeY, float* rangeZ) {
  assert(model);
  assert(model->vertices);
  assert(rangeX);
  assert(rangeY);
  assert(rangeZ);
  float* r[3] = {rangeX, rangeY, rangeZ};
  if (model->numvertices == 0) {
    for (int k = 0; k < 3; k++) r[k][0] = r[k][1] = 0;
    return;
  }
  for (int k = 0; k < 3; k++) r[k][0] = r[k][1] = vertex(model, 1)[k];
  for (unsigned int i = 2; i <= model->numvertices; i++)
    for (int k = 0; k < 3; k++) {
      float v = vertex(model, i)[k];
      if (v < r[k][0]) r[k][0] = v;
      if (v > r[k][1]) r[k][1] = v;
    }
}

void glmDimensions(_GLMmodel* model, float* dimensions) {
  assert(model);
  assert(model->vertices);
  assert(dimensions);
  float x[2], y[2], z[2];
  glmBoundBox(model, x, y, z);
  dimensions[0] = glmAbs(x[1]) + glmAbs(x[0]);
  dimensions[1] = glmAbs(y[1]) + glmAbs(y[0]);
  dimensions[2] = glmAbs(z[1]) + glmAbs(z[0]);
}

unsigned int glmNumTri(_GLMmodel* model) {
  assert(model);
  unsigned int n = 0;
  for (_GLMgroup* g = model->groups; g; g = g->next) n += g->numtriangles;
  return n;
}

namespace {
void boxMiddle(_GLMmodel* model, float* centre) {
  float x[2], y[2], z[2];
  glmBoundBox(model, x, y, z);
  centre[0] = (x[0] + x[1]) / 2.0f;
  centre[1] = (y[0] + y[1]) / 2.0f;
  centre[2] = (z[0] + z[1]) / 2.0f;
}
}  // namespace

float glmUnitize(_GLMmodel* model) {
  assert(model);
  assert(model->vertices);
  float centre[3], w[3];
  boxMiddle(model, centre);
  glmDimensions(model, w);
  float scale = 2.0f / glmMax(glmMax(w[0], w[1]), w[2]);
  for (unsigned int i = 1; i <= model->numvertices; i++) {
    float* v = vertex(model, i);
    for (int k = 0; k < 3; k++) v[k] = (v[k] - centre[k]) * scale;
  }
  return scale;
}

void glmToOrigin(_GLMmodel* model) {
  assert(model);
  assert(model->vertices);
  float centre[3];
  boxMiddle(model, centre);
  for (unsigned int i = 1; i <= model->numvertices; i++) glmMinus(vertex(model, i), centre, vertex(model, i));
}

float glmUnitSphere(_GLMmodel* model) {
  assert(model);
  assert(model->vertices);
  glmToOrigin(model);
  float largest = 0;
  for (unsigned int i = 1; i <= model->numvertices; i++)
    largest = glmMax(largest, glmLength(vertex(model, i)));
  float factor = 1.0f / largest;
  glmScale(model, factor);
  return factor;
}

void glmScale(_GLMmodel* model, float factor) {
  assert(model);
  assert(model->vertices);
  for (unsigned int i = 1; i <= model->numvertices; i++) glmMult(vertex(model, i), factor);
}

void glmTransform(_GLMmodel* model, const float* matrix) {
  assert(model);
  assert(matrix);
  float rows[16];
  glmTranMat(rows, matrix);
  for (unsigned int i = 1; i <= model->numvertices; i++) glmMatMult(rows, vertex(model, i));

  // The array inverted as it stands, read by rows, is the inverse transpose: its upper 3 by 3
  // carries the normals.
  float inv[16];
  memcpy(inv, matrix, sizeof(inv));
  invert4by4f(inv);
  auto apply = [&](float* array, unsigned int n) {
    if (!array) return;
    for (unsigned int i = 1; i <= n; i++) {
      float* v = array + 3 * static_cast<size_t>(i);
      float r[3];
      for (int k = 0; k < 3; k++) r[k] = inv[k * 4] * v[0] + inv[k * 4 + 1] * v[1] + inv[k * 4 + 2] * v[2];
      glmCopy(v, r);
      glmNormalize(v);
    }
  };
  apply(model->normals, model->numnormals);
  apply(model->facetnorms, model->numfacetnorms);
}

void glmReverseWinding(_GLMmodel* model) {
  assert(model);
  for (unsigned int i = 0; i < model->numtriangles; i++) {
    _GLMtriangle& t = model->triangles[i];
    std::swap(t.vindices[0], t.vindices[2]);
    if (model->normals) std::swap(t.nindices[0], t.nindices[2]);
    if (model->texcoords) std::swap(t.tindices[0], t.tindices[2]);
  }
  for (unsigned int i = 1; i <= model->numnormals && model->normals; i++)
    glmMult(model->normals + 3 * i, -1.0f);
  for (unsigned int i = 1; i <= model->numfacetnorms && model->facetnorms; i++)
    glmMult(model->facetnorms + 3 * i, -1.0f);
}

void glmFlipFaceNormals(_GLMmodel* model) {
  assert(model);
  negateBits(model->facetnorms, model->numfacetnorms);
}

void glmFlipVertexNormals(_GLMmodel* model) {
  assert(model);
  negateBits(model->normals, model->numnormals);
}

void glmFlipNormals(_GLMmodel* model) {
  glmFlipFaceNormals(model);
  glmFlipVertexNormals(model);
}

void glmFacetNormals(_GLMmodel* model) {
  assert(model);
  assert(model->vertices);
  model->facetnorms = freshArray(model->facetnorms, model->numtriangles, 3);
  model->numfacetnorms = model->numtriangles;
  for (unsigned int i = 0; i < model->numtriangles; i++) {
    _GLMtriangle& t = model->triangles[i];
    t.findex = i + 1;
    float u[3], v[3];
    glmMinus(vertex(model, t.vindices[1]), vertex(model, t.vindices[0]), u);
    glmMinus(vertex(model, t.vindices[2]), vertex(model, t.vindices[0]), v);
    float* n = model->facetnorms + 3 * static_cast<size_t>(i + 1);
    glmCross(u, v, n);
    glmNormalize(n);
  }
}

void glmVertexNormals(_GLMmodel* model, float angle) {
  assert(model);
  assert(model->facetnorms);
  model->smoothAngle = angle;
  if (!model->facetnorms || model->numfacetnorms == 0) {
    fprintf(stderr, "Err (glmVertexNormals): missing face normals for vertex normal computation.\n");
    return;
  }
  float cosAngle = std::cos(angle * kRadiansPerDegree);

  size_t capacity = 3 * static_cast<size_t>(model->numtriangles);
  float* normals = static_cast<float*>(glm_detail::zallocOrDie(sizeof(float) * 3 * (capacity + 1)));

  // For each vertex the triangles that use it, newest first.
  struct Node {
    unsigned int tri;
    int next;
    bool averaged;
  };
  std::vector<Node> nodes;
  nodes.reserve(capacity);
  std::vector<int> members(static_cast<size_t>(model->numvertices) + 1, -1);
  for (unsigned int i = 0; i < model->numtriangles; i++)
    for (int k = 0; k < 3; k++) {
      unsigned int v = model->triangles[i].vindices[k];
      if (v > model->numvertices) continue;
      nodes.push_back({i, members[v], false});
      members[v] = static_cast<int>(nodes.size()) - 1;
    }

  unsigned int count = 1;
  auto setCorner = [&](_GLMtriangle& t, unsigned int v, unsigned int n) {
    if (t.vindices[0] == v)
      t.nindices[0] = n;
    else if (t.vindices[1] == v)
      t.nindices[1] = n;
    else if (t.vindices[2] == v)
      t.nindices[2] = n;
  };
  for (unsigned int v = 1; v <= model->numvertices; v++) {
    int head = members[v];
    if (head < 0) {
      fprintf(stderr, "glmVertexNormals(): vertex w/o a triangle\n");
      continue;
    }
    const float* reference = facetOf(model, model->triangles[nodes[head].tri]);
    float average[3] = {0, 0, 0};
    bool any = false;
    for (int n = head; n >= 0; n = nodes[n].next) {
      const float* f = facetOf(model, model->triangles[nodes[n].tri]);
      nodes[n].averaged = glmDot(f, reference) > cosAngle;
      if (nodes[n].averaged) {
        glmAdd(average, f, average);
        any = true;
      }
    }
    unsigned int avg = 0;
    if (any) {
      glmNormalize(average);
      glmCopy(normals + 3 * static_cast<size_t>(count), average);
      avg = count++;
    }
    for (int n = head; n >= 0; n = nodes[n].next) {
      _GLMtriangle& t = model->triangles[nodes[n].tri];
      if (nodes[n].averaged) {
        setCorner(t, v, avg);
      } else {
        glmCopy(normals + 3 * static_cast<size_t>(count), facetOf(model, t));
        setCorner(t, v, count++);
      }
    }
  }

  model->numnormals = count - 1;
  if (model->normals) ptrFree(model->normals);
  model->normals = static_cast<float*>(allocOrDie(sizeof(float) * 3 * count));
  memcpy(model->normals, normals, sizeof(float) * 3 * count);
  ptrFree(normals);
}

void glmLinearTexture(_GLMmodel* model) {
  assert(model);
  assert(model->vertices);
  model->texcoords = freshArray(model->texcoords, model->numvertices, 2);
  model->numtexcoords = model->numvertices;
  float w[3];
  glmDimensions(model, w);
  float s = 2.0f / glmAbs(glmMax(glmMax(w[0], w[1]), w[2]));
  for (unsigned int i = 1; i <= model->numvertices; i++) {
    model->texcoords[2 * i + 0] = (vertex(model, i)[0] * s + 1.0f) / 2.0f;
    model->texcoords[2 * i + 1] = (vertex(model, i)[2] * s + 1.0f) / 2.0f;
  }
  for (unsigned int i = 0; i < model->numtriangles; i++)
    for (int k = 0; k < 3; k++) model->triangles[i].tindices[k] = model->triangles[i].vindices[k];
}

void glmSpheremapTexture(_GLMmodel* model) {
  assert(model);
  assert(model->normals);
  model->texcoords = freshArray(model->texcoords, model->numnormals, 2);
  model->numtexcoords = model->numnormals;
  for (unsigned int i = 1; i <= model->numnormals; i++) {
    float x = model->normals[3 * i], y = model->normals[3 * i + 1], z = model->normals[3 * i + 2];
    float r = std::sqrt(z * z + y * y);
    float rho = std::sqrt(r * r + x * x);
    float theta = 0, phi = 0;
    if (r != 0) {
      phi = x == 0 ? 1.5707964f : std::acos(x / rho);
      theta = y == 0 ? 1.5707961f : std::asin(y / r) + 1.570796325f;
    }
    // Divided in single precision, as the angles are.
    model->texcoords[2 * i + 0] = theta / static_cast<float>(kPi);
    model->texcoords[2 * i + 1] = phi / static_cast<float>(kPi);
  }
  for (unsigned int i = 0; i < model->numtriangles; i++)
    for (int k = 0; k < 3; k++) model->triangles[i].tindices[k] = model->triangles[i].nindices[k];
}

int glmSetTexture(_GLMmodel* model, const char* materialName, const char* file, const char* alphaFile,
                  int envType) {
  assert(model);
  assert(model->materials);
  const char* word = nullptr;
  switch (envType) {
    case GL_REPLACE:
      word = "replace";
      break;
    case GL_BLEND:
      word = "blend";
      break;
    case GL_MODULATE:
      word = "modulate";
      break;
    case GL_DECAL:
      word = "decal";
      break;
    default:
      printf("Err (glmSetTexture) : invalid envType (see gltexenv)!\n");
      return GL_INVALID_ENUM;
  }
  char* dir = glmDirName(model->mtllibname ? model->mtllibname : "");
  bool found = false;
  for (unsigned int i = 0; i < model->nummaterials; i++) {
    _GLMmaterial& m = model->materials[i];
    if (strcmp(m.name, materialName) != 0) continue;
    found = true;
    if (m.texId != 0) glDeleteTextures(1, &m.texId);
    m.texId = 0;
    glmInitTexture(&m, word, dir, file, alphaFile);
  }
  ptrFree(dir);
  if (!found) {
    printf("Err (glmSetTexture) : material name [%s] not found in model!\n", materialName);
    return 1;
  }
  return 0;
}
