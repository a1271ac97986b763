// Triangle models from Wavefront OBJ and MTL files: one _GLMmodel record and plain functions on it.
//
// Vertex, normal, texture and facet-normal arrays are indexed from 1 as in the file; slot 0 is
// allocated, zero-filled and never used. Triangles are indexed from 0, in file order. Groups form
// a singly linked list whose head is the group added last, so it runs opposite to file order with
// "default" last. All memory goes through ptrMalloc and ptrFree (see glmSetPtr).
//
// Reading, geometry and repair report nothing but what is stated at each function; failures of
// memory end the process with "Err: not enough memory!\n\n" and status 1.
#pragma once

#include <GL/gl.h>

#include <cstddef>
#include <cstdio>

// Render and write mode bits.
constexpr unsigned int GLM_NONE = 0;
constexpr unsigned int GLM_FLAT = 1 << 0;
constexpr unsigned int GLM_SMOOTH = 1 << 1;
constexpr unsigned int GLM_TEXTURE = 1 << 2;
constexpr unsigned int GLM_COLOR = 1 << 3;
constexpr unsigned int GLM_MATERIAL = 1 << 4;
constexpr unsigned int GLM_PREMULTIPLY = 1 << 5;
constexpr unsigned int GLM_ZSORT = 1 << 6;
constexpr unsigned int GLM_ZSORT_NEG = 1 << 7;

struct _GLMmaterial {
  char name[512];
  float diffuse[4];
  float ambient[4];
  float specular[4];
  float emissive[4];  // present in the record; nothing reads or writes it
  float shininess;    // OpenGL shininess, 0..128
  unsigned int texId;
  int texEnv;
  int texPending;  // 1 while a Td line was read and its texture isn't built yet
  char texEnvName[512];
  char texDir[512];  // directory of the model, with its final slash
  char texFile[512];
  char texAlphaFile[512];  // empty: no alpha file
};

struct _GLMtriangle {
  unsigned int vindices[3];
  unsigned int nindices[3];
  unsigned int tindices[3];
  unsigned int findex;
  float centroid[3];
};

struct _GLMgroup {
  char* name;
  unsigned int numtriangles;
  unsigned int* triangles;  // indices into the model's triangles
  unsigned int material;
  float centroid[3];
  float* sortKeys;
  unsigned int* sortedTriangles;
  _GLMgroup* next;
};

struct _GLMmodel {
  char* pathname;
  char* mtllibname;
  unsigned int numvertices;
  float* vertices;
  unsigned int numnormals;
  float* normals;
  float smoothAngle;
  unsigned int numtexcoords;
  float* texcoords;
  unsigned int numfacetnorms;
  float* facetnorms;
  unsigned int numtriangles;
  _GLMtriangle* triangles;
  unsigned int nummaterials;
  _GLMmaterial* materials;
  unsigned int numgroups;
  _GLMgroup* groups;
  float position[3];
  unsigned char centroidsValid;
};

// ---- Allocation and small text helpers (glm.cpp) ----
extern void* (*ptrMalloc)(size_t);
extern void (*ptrFree)(void*);
void glmSetPtr(void* (*mallocFunc)(size_t), void (*freeFunc)(void*));
char* glmStrDup(const char* text);
// path up to and including the last '/', or "" when there is none; release with ptrFree.
char* glmDirName(const char* path);

// ---- Groups, materials, release (glm.cpp) ----
_GLMgroup* glmAddGroup(_GLMmodel* model, const char* name);
_GLMgroup* glmFindGroup(_GLMmodel* model, const char* name);
unsigned int glmFindMaterial(_GLMmodel* model, const char* name);
void glmDelete(_GLMmodel* model);

// ---- Reading (glm_read.cpp) ----
// Reads a model; nullptr if the file can't be opened, reported on stderr ("Quiet": in silence).
// Face indices are checked against the arrays: 0, negative (relative) and too large indices, or
// more elements in the second pass than the first one counted, make the file damaged, which is
// refused the same way ("glmReadOBJ() failed: damaged objfile ...") instead of being read out of
// bounds later. Unknown `v` keywords and a missing material file end the process (status 1).
_GLMmodel* glmReadOBJ(const char* filename);
_GLMmodel* glmReadOBJQuiet(const char* filename);
_GLMmodel* glmReadOBJ_actual(const char* filename, int quiet);
void glmFirstPass(_GLMmodel* model, FILE* file);
// Returns 1, or 0 when the file is damaged (an index out of range, more elements than counted).
int glmSecondPass(_GLMmodel* model, FILE* file);
void glmReadMTL(_GLMmodel* model, const char* name);

// ---- Textures (glm_texture.cpp) ----
int nearPower2(int n);
void glmInitTexture(_GLMmaterial* material, const char* texEnvWord, const char* dir, const char* file,
                    const char* alphaFile);
// Tries the filters from the best down for `pname` (GL_TEXTURE_MIN_FILTER or _MAG_FILTER) of the
// bound texture, while glGetError reports an error; returns the filter that was accepted.
GLint glmBestTexFilter(GLenum pname);

// ---- Writing (glm_write.cpp) ----
int glmWriteOBJ(_GLMmodel* model, const char* filename, unsigned int mode);
int glmWriteOBJComment(_GLMmodel* model, const char* filename, unsigned int mode, const char* comment);
int glmWriteOBJStream(_GLMmodel* model, FILE* stream, unsigned int mode);
int glmWriteOBJStreamComment(_GLMmodel* model, FILE* stream, unsigned int mode, const char* comment);
int glmWriteOBJKernel(_GLMmodel* model, FILE* stream, const char* filename, unsigned int mode,
                      const char* comment);
void glmWriteMTL(_GLMmodel* model, const char* modelPath, const char* mtlName);

// ---- Geometry (glm_geom.cpp) ----
float glmMax(float a, float b);
float glmAbs(float f);
float glmDot(const float* u, const float* v);
float glmLength(const float* v);
float glmDist(const float* u, const float* v);
void glmCross(const float* u, const float* v, float* n);
void glmMinus(const float* u, const float* v, float* d);  // d = u - v
void glmAdd(const float* u, const float* v, float* s);
void glmAddMul(const float* u, float f, const float* v, float* r);  // r = u + f v
void glmCopy(float* dst, const float* src);
void glmMult(float* v, float f);
void glmNormalize(float* v);  // left alone when the length is 0
// All three absolute differences strictly below epsilon.
int glmEqual(const float* u, const float* v, float epsilon);
void glmTranMat(float* m, const float* t);  // m = transpose of t (16 floats)
// Point v (3 floats) times the row-major 4x4 `rows`, divided by w unless w is 0; in place.
void glmMatMult(const float* rows, float* v);

int glmIsPlanar(_GLMmodel* model, float tolerance);
void glmBoundBox(_GLMmodel* model, float* rangeX, float* rangeY, float* rangeZ);
void glmDimensions(_GLMmodel* model, float* dimensions);
unsigned int glmNumTri(_GLMmodel* model);

float glmUnitize(_GLMmodel* model);
void glmToOrigin(_GLMmodel* model);
float glmUnitSphere(_GLMmodel* model);
void glmScale(_GLMmodel* model, float factor);
void glmTransform(_GLMmodel* model, const float* matrix);  // 16 floats in OpenGL order
void glmReverseWinding(_GLMmodel* model);
void glmFlipFaceNormals(_GLMmodel* model);
void glmFlipVertexNormals(_GLMmodel* model);
void glmFlipNormals(_GLMmodel* model);

void glmFacetNormals(_GLMmodel* model);
void glmVertexNormals(_GLMmodel* model, float angle);
void glmLinearTexture(_GLMmodel* model);
void glmSpheremapTexture(_GLMmodel* model);
int glmSetTexture(_GLMmodel* model, const char* materialName, const char* file, const char* alphaFile,
                  int envType);

// ---- Rendering (glm_draw.cpp) ----
void glmDraw(_GLMmodel* model, unsigned int mode);
void glmDrawOpacity(_GLMmodel* model, unsigned int mode, double opacity);
void renderKernel(_GLMmodel* model, unsigned int mode, double opacity);
void glmDrawNormals(_GLMmodel* model, unsigned int mode, float scale);
GLuint glmList(_GLMmodel* model, unsigned int mode);
void glmComputeCentroid(_GLMmodel* model);
int glmAnyTexture(_GLMmodel* model);
int glmExistFacetNormal(_GLMmodel* model);
int glmExistVertexNormal(_GLMmodel* model);
int glmExistTexCoord(_GLMmodel* model);
int glmExistMaterial(_GLMmodel* model);
void glmSetDiffuseColor(_GLMmodel* model, int materialId, const float* rgba);
void glmSetDiffuseColor4(_GLMmodel* model, int materialId, float r, float g, float b, float a);

// Parallel sorts of keys and ids by rising key. Drawing uses the heap sort.
void glm_heapSort(float* keys, unsigned int* ids, unsigned int n);
void glm_insertionSort(float* keys, unsigned int* ids, unsigned int n);
void glm_shellSort(float* keys, unsigned int* ids, unsigned int n);
void glm_quickSort(float* keys, unsigned int* ids, unsigned int n);

// ---- Queries and repair (glm_repair.cpp) ----
int glmInsideTest(_GLMmodel* model, const float* testPoint);
float glmShortestDist(_GLMmodel* model, const float* testPoint);
float glmMinDistTriangle(const float* p, const float* a, const float* b, const float* c, const float* normal);
float glmMinDistSegment(const float* a, const float* b, const float* m, const float* q);
void glmWeld(_GLMmodel* model, float epsilon);
unsigned int glmRemoveRedundantTri(_GLMmodel* model);
unsigned int glmRemoveRedundantVertex(_GLMmodel* model);
void glmFixOrder(_GLMmodel* model);
