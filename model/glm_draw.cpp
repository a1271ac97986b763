// Drawing a model in immediate mode: per group with its material, with an opacity, and with the
// triangles of each group sorted by distance from the viewer when asked.
#include <cassert>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "coords/math3D.h"
#include "model/glm.h"
#include "model/glm_internal.h"

namespace {

// Each of the draw warnings is printed once per process.
int warnedFlat = 0, warnedSmooth = 0, warnedTexture = 0, warnedFlatSmooth = 0, warnedZsort = 0,
    warnedColor = 0, warnedMaterial = 0, warnedColorMaterial = 0;
// One shared flag for the messages of glmDrawNormals: it reports once in all.
int normalsReport = 1;

void warnOnce(int& flag, const char* text) {
  if (flag) return;
  flag = 1;
  fputs(text, stdout);
}

// Scratch for the group walk of renderKernel.
float viewerPos[3];

void emitTriangle(_GLMmodel* model, const _GLMtriangle& t, bool flat, bool smooth, bool textured) {
  if (flat) glNormal3fv(model->facetnorms + 3 * static_cast<size_t>(t.findex));
  for (int k = 0; k < 3; k++) {
    if (smooth) glNormal3fv(model->normals + 3 * static_cast<size_t>(t.nindices[k]));
    if (textured) glTexCoord2fv(model->texcoords + 2 * static_cast<size_t>(t.tindices[k]));
    glVertex3fv(model->vertices + 3 * static_cast<size_t>(t.vindices[k]));
  }
}

void scaled(const float* in, float* out, double opacity, bool premultiply) {
  for (int i = 0; i < 4; i++) out[i] = in[i];
  if (premultiply)
    for (int i = 0; i < 4; i++) out[i] = static_cast<float>(out[i] * opacity);
  else
    out[3] = static_cast<float>(out[3] * opacity);
}

void siftDown(float* keys, unsigned int* ids, unsigned int root, unsigned int bottom) {
  unsigned int child = 2 * root + 1;
  while (child <= bottom) {
    if (child < bottom && keys[child + 1] > keys[child]) child++;
    if (!(keys[child] > keys[root])) break;
    std::swap(keys[root], keys[child]);
    std::swap(ids[root], ids[child]);
    root = child;
    child = 2 * root + 1;
  }
}

void quickSortRange(float* keys, unsigned int* ids, long lo, long hi) {
  while (lo < hi) {
    float pivot = keys[(lo + hi) / 2];
    long i = lo, j = hi;
    while (i <= j) {
      while (keys[i] < pivot) i++;
      while (keys[j] > pivot) j--;
      if (i <= j) {
        std::swap(keys[i], keys[j]);
        std::swap(ids[i], ids[j]);
        i++;
        j--;
      }
    }
    // recurse into the smaller side, loop over the larger, so the depth stays logarithmic
    if (j - lo < hi - i) {
      quickSortRange(keys, ids, lo, j);
      lo = i;
    } else {
      quickSortRange(keys, ids, i, hi);
      hi = j;
    }
  }
}

}  // namespace

void glm_heapSort(float* keys, unsigned int* ids, unsigned int n) {
  if (n < 2) return;
  for (long i = static_cast<long>(n) / 2 - 1; i >= 0; i--)
    siftDown(keys, ids, static_cast<unsigned int>(i), n - 1);
  for (unsigned int i = n - 1; i >= 2; i--) {
    std::swap(keys[0], keys[i]);
    std::swap(ids[0], ids[i]);
    siftDown(keys, ids, 0, i - 1);
  }
  if (keys[0] > keys[1]) {
    std::swap(keys[0], keys[1]);
    std::swap(ids[0], ids[1]);
  }
}

void glm_insertionSort(float* keys, unsigned int* ids, unsigned int n) {
  for (unsigned int i = 1; i < n; i++) {
    float k = keys[i];
    unsigned int id = ids[i];
    unsigned int j = i;
    for (; j > 0 && keys[j - 1] > k; j--) {
      keys[j] = keys[j - 1];
      ids[j] = ids[j - 1];
    }
    keys[j] = k;
    ids[j] = id;
  }
}

void glm_shellSort(float* keys, unsigned int* ids, unsigned int n) {
  for (unsigned int gap : {3u, 1u}) {
    for (unsigned int i = gap; i < n; i++) {
      float k = keys[i];
      unsigned int id = ids[i];
      unsigned int j = i;
      for (; j >= gap && keys[j - gap] > k; j -= gap) {
        keys[j] = keys[j - gap];
        ids[j] = ids[j - gap];
      }
      keys[j] = k;
      ids[j] = id;
    }
  }
}

void glm_quickSort(float* keys, unsigned int* ids, unsigned int n) {
  if (n > 1) quickSortRange(keys, ids, 0, static_cast<long>(n) - 1);
}

int glmExistFacetNormal(_GLMmodel* model) {
  return model->facetnorms && model->numfacetnorms ? 1 : 0;
}
int glmExistVertexNormal(_GLMmodel* model) {
  return model->normals && model->numnormals ? 1 : 0;
}
int glmExistTexCoord(_GLMmodel* model) {
  return model->texcoords && model->numtexcoords ? 1 : 0;
}
int glmExistMaterial(_GLMmodel* model) {
  return model->mtllibname && model->nummaterials ? 1 : 0;
}

int glmAnyTexture(_GLMmodel* model) {
  for (_GLMgroup* g = model->groups; g; g = g->next) {
    if (g->material >= model->nummaterials) continue;
    const _GLMmaterial& m = model->materials[g->material];
    if (m.texPending) return 1;
    if (m.texId && model->numtexcoords) return 1;
  }
  return 0;
}

void glmSetDiffuseColor(_GLMmodel* model, int materialId, const float* rgba) {
  if (materialId == -1) {
    for (unsigned int i = 0; i < model->nummaterials; i++)
      memcpy(model->materials[i].diffuse, rgba, 4 * sizeof(float));
    return;
  }
  if (materialId < 0 || static_cast<unsigned int>(materialId) >= model->nummaterials) {
    fprintf(stderr, "Err: materialID is out of range.\n");
    return;
  }
  memcpy(model->materials[materialId].diffuse, rgba, 4 * sizeof(float));
}

void glmSetDiffuseColor4(_GLMmodel* model, int materialId, float r, float g, float b, float a) {
  const float rgba[4] = {r, g, b, a};
  glmSetDiffuseColor(model, materialId, rgba);
}

void glmComputeCentroid(_GLMmodel* model) {
  if (model->centroidsValid) return;
  model->centroidsValid = 1;
  for (unsigned int i = 0; i < model->numtriangles; i++) {
    _GLMtriangle& t = model->triangles[i];
    float sum[3] = {0, 0, 0};
    for (int k = 0; k < 3; k++) glmAdd(sum, model->vertices + 3 * static_cast<size_t>(t.vindices[k]), sum);
    glmMult(sum, 0.33333334f);
    glmCopy(t.centroid, sum);
  }
  for (_GLMgroup* g = model->groups; g; g = g->next) {
    float sum[3] = {0, 0, 0};
    for (unsigned int i = 0; i < g->numtriangles; i++)
      glmAdd(sum, model->triangles[g->triangles[i]].centroid, sum);
    if (g->numtriangles) glmMult(sum, 1.0f / g->numtriangles);
    glmCopy(g->centroid, sum);
  }
}

void renderKernel(_GLMmodel* model, unsigned int mode, double opacity) {
  bool sorted = mode & (GLM_ZSORT | GLM_ZSORT_NEG);
  bool flat = (mode & GLM_FLAT) && glmExistFacetNormal(model);
  bool smooth = (mode & GLM_SMOOTH) && glmExistVertexNormal(model);
  bool textured = (mode & GLM_TEXTURE) && glmExistTexCoord(model);
  bool premultiply = mode & GLM_PREMULTIPLY;

  if (sorted) {
    double mv[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    glGetDoublev(GL_MODELVIEW_MATRIX, mv);
    invert4by4(mv);
    viewerPos[0] = static_cast<float>(mv[12]);
    viewerPos[1] = static_cast<float>(mv[13]);
    viewerPos[2] = static_cast<float>(mv[14]);
    glmComputeCentroid(model);
  }

  for (_GLMgroup* group = model->groups; group; group = group->next) {
    if (group->numtriangles == 0) continue;
    // An index that doesn't name a material (possible only after the caller changed the record)
    // falls back to the default one instead of reading past the array.
    const _GLMmaterial* material = nullptr;
    if (model->materials)
      material = &model->materials[group->material < model->nummaterials ? group->material : 0];

    if (!(mode & GLM_TEXTURE)) {
      glDisable(GL_TEXTURE_2D);
    } else if (material && material->texId) {
      glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, material->texEnv);
      glBindTexture(GL_TEXTURE_2D, material->texId);
      glEnable(GL_TEXTURE_2D);
    } else {
      glDisable(GL_TEXTURE_2D);
    }

    if ((mode & GLM_MATERIAL) && material) {
      float c[4];
      scaled(material->ambient, c, opacity, premultiply);
      glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, c);
      scaled(material->diffuse, c, opacity, premultiply);
      glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, c);
      scaled(material->specular, c, opacity, premultiply);
      glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, c);
      glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, material->shininess);
    }
    if ((mode & GLM_COLOR) && material) {
      float c[4];
      scaled(material->diffuse, c, opacity, premultiply);
      glColor4fv(c);
    }

    if (!sorted) {
      glBegin(GL_TRIANGLES);
      for (unsigned int i = 0; i < group->numtriangles; i++)
        emitTriangle(model, model->triangles[group->triangles[i]], flat, smooth, textured);
      glEnd();
      continue;
    }

    if (!group->sortKeys || !group->sortedTriangles) {
      group->sortKeys = static_cast<float*>(ptrMalloc(sizeof(float) * group->numtriangles));
      group->sortedTriangles =
          static_cast<unsigned int*>(ptrMalloc(sizeof(unsigned int) * group->numtriangles));
      if (!group->sortKeys || !group->sortedTriangles) {
        // drop the half that was had, so the next draw starts over cleanly
        if (group->sortKeys) ptrFree(group->sortKeys);
        if (group->sortedTriangles) ptrFree(group->sortedTriangles);
        group->sortKeys = nullptr;
        group->sortedTriangles = nullptr;
        fprintf(stderr, "Critical Err: failed to allocate memory (for ZSort) in GLM library.\n");
        return;
      }
      memcpy(group->sortedTriangles, group->triangles, sizeof(unsigned int) * group->numtriangles);
    }
    for (unsigned int i = 0; i < group->numtriangles; i++) {
      const float* c = model->triangles[group->sortedTriangles[i]].centroid;
      float d[3] = {c[0] - viewerPos[0], c[1] - viewerPos[1], c[2] - viewerPos[2]};
      group->sortKeys[i] = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
    }
    glm_heapSort(group->sortKeys, group->sortedTriangles, group->numtriangles);

    glBegin(GL_TRIANGLES);
    if (mode & GLM_ZSORT) {
      for (unsigned int i = group->numtriangles; i-- > 0;)
        emitTriangle(model, model->triangles[group->sortedTriangles[i]], flat, smooth, textured);
    } else {
      for (unsigned int i = 0; i < group->numtriangles; i++)
        emitTriangle(model, model->triangles[group->sortedTriangles[i]], flat, smooth, textured);
    }
    glEnd();
  }
}

void glmDrawOpacity(_GLMmodel* model, unsigned int mode, double opacity) {
  assert(model);
  assert(model->vertices);
  glPushAttrib(GL_CURRENT_BIT | GL_LIGHTING_BIT | GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_TEXTURE_BIT);

  if (opacity < 0) {
    printf("glmDrawOpacity() warning: opacity out of range [0,1]\n");
    opacity = 0;
  } else if (opacity > 1) {
    printf("glmDrawOpacity() warning: opacity out of range [0,1]\n");
    opacity = 1;
  }

  if ((mode & GLM_FLAT) && !model->facetnorms) {
    warnOnce(warnedFlat, "glmDraw() warning: flat render mode requested with no facet normals defined.\n");
    mode &= ~GLM_FLAT;
  }
  if ((mode & GLM_SMOOTH) && !model->normals) {
    warnOnce(warnedSmooth, "glmDraw() warning: smooth render mode requested with no normals defined.\n");
    mode &= ~GLM_SMOOTH;
  }
  if ((mode & GLM_TEXTURE) && !model->texcoords) {
    warnOnce(warnedTexture,
             "glmDraw() warning: texture render mode requested with no texture coordinates defined.\n");
    mode &= ~GLM_TEXTURE;
  }
  if ((mode & GLM_FLAT) && (mode & GLM_SMOOTH)) {
    warnOnce(warnedFlatSmooth, "glmDraw() warning: flat render mode requested (assume smooth).\n");
    mode &= ~GLM_FLAT;
  }
  if ((mode & GLM_ZSORT) && (mode & GLM_ZSORT_NEG)) {
    warnOnce(warnedZsort,
             "glmDraw() warning: GLM_ZSORT and GLM_ZSORT_NEG render mode requested (assume GLM_ZSORT).\n");
    mode &= ~GLM_ZSORT_NEG;
  }
  if ((mode & GLM_COLOR) && !model->materials) {
    warnOnce(warnedColor, "glmDraw() warning: color render mode requested with no materials defined.\n");
    mode &= ~GLM_COLOR;
  }
  if ((mode & GLM_MATERIAL) && !model->materials) {
    warnOnce(warnedMaterial,
             "glmDraw() warning: material render mode requested with no materials defined.\n");
    mode &= ~GLM_MATERIAL;
  }
  if ((mode & GLM_COLOR) && (mode & GLM_MATERIAL)) {
    warnOnce(warnedColorMaterial,
             "glmDraw() warning: color and material render mode requested using only material mode.\n");
    mode &= ~GLM_COLOR;
  }

  if (mode & GLM_COLOR)
    glEnable(GL_COLOR_MATERIAL);
  else if (mode & GLM_MATERIAL)
    glDisable(GL_COLOR_MATERIAL);

  for (unsigned int i = 0; i < model->nummaterials; i++) {
    _GLMmaterial& m = model->materials[i];
    if (!m.texPending) continue;
    m.texPending = 0;
    glmInitTexture(&m, m.texEnvName, m.texDir, m.texFile, m.texAlphaFile[0] ? m.texAlphaFile : nullptr);
  }

  renderKernel(model, mode, opacity);
  glPopAttrib();
}

void glmDraw(_GLMmodel* model, unsigned int mode) {
  glmDrawOpacity(model, mode, 1.0);
}

GLuint glmList(_GLMmodel* model, unsigned int mode) {
  GLuint list = glGenLists(1);
  glNewList(list, GL_COMPILE);
  glmDraw(model, mode);
  glEndList();
  return list;
}

void glmDrawNormals(_GLMmodel* model, unsigned int mode, float scale) {
  if (!(mode & (GLM_FLAT | GLM_SMOOTH))) return;
  auto report = [](FILE* stream, const char* text) {
    if (normalsReport) fputs(text, stream);
    normalsReport = 0;
  };
  if (!model) return report(stderr, "glmDrawNormals: input model is NULL.\n");
  if (!model->vertices || model->numvertices == 0)
    return report(stderr, "glmDrawNormals: no vertices in input model.\n");
  if ((mode & GLM_FLAT) && (mode & GLM_SMOOTH))
    return report(stderr, "glmDrawNormals: contradictory mode; both GLM_FLAT and GLM_SMOOTH are on.\n");
  if ((mode & GLM_FLAT) && !glmExistFacetNormal(model))
    return report(
        stdout,
        "glmDrawNormals() warning: face normals rendering requested with no facet normals defined.\n");
  if ((mode & GLM_SMOOTH) && !glmExistVertexNormal(model))
    return report(stdout,
                  "glmDrawNormals() warning: vertex normals rendering requested with no vertex normals "
                  "defined.\n");

  if (mode & GLM_FLAT) glmComputeCentroid(model);
  glBegin(GL_LINES);
  for (_GLMgroup* g = model->groups; g; g = g->next)
    for (unsigned int i = 0; i < g->numtriangles; i++) {
      const _GLMtriangle& t = model->triangles[g->triangles[i]];
      if (mode & GLM_FLAT) {
        float end[3];
        glmAddMul(t.centroid, scale, model->facetnorms + 3 * static_cast<size_t>(t.findex), end);
        glVertex3fv(t.centroid);
        glVertex3fv(end);
      } else {
        for (int k = 0; k < 3; k++) {
          const float* v = model->vertices + 3 * static_cast<size_t>(t.vindices[k]);
          float end[3];
          glmAddMul(v, scale, model->normals + 3 * static_cast<size_t>(t.nindices[k]), end);
          glVertex3fv(v);
          glVertex3fv(end);
        }
      }
    }
  glEnd();
}
