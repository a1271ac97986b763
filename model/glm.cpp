// Allocation, groups, materials and release of a model.
#include "model/glm.h"

#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "model/glm_internal.h"

void* (*ptrMalloc)(size_t) = malloc;
void (*ptrFree)(void*) = free;

void glmSetPtr(void* (*mallocFunc)(size_t), void (*freeFunc)(void*)) {
  ptrMalloc = mallocFunc;
  ptrFree = freeFunc;
}

namespace glm_detail {

void* allocOrDie(size_t bytes, bool quiet) {
  void* p = ptrMalloc(bytes == 0 ? 1 : bytes);
  if (p == nullptr) {
    if (!quiet) fprintf(stderr, "Err: not enough memory!\n\n");
    exit(1);
  }
  return p;
}

void* zallocOrDie(size_t bytes, bool quiet) {
  void* p = allocOrDie(bytes, quiet);
  memset(p, 0, bytes == 0 ? 1 : bytes);
  return p;
}

void setMaterialDefaults(_GLMmaterial* m) {
  memset(m, 0, sizeof(*m));
  copyText(m->name, "default", sizeof(m->name));
  const float diffuse[4] = {0.8f, 0.8f, 0.8f, 1.0f};
  const float ambient[4] = {0.2f, 0.2f, 0.2f, 1.0f};
  const float specular[4] = {0.0f, 0.0f, 0.0f, 1.0f};
  memcpy(m->diffuse, diffuse, sizeof(diffuse));
  memcpy(m->ambient, ambient, sizeof(ambient));
  memcpy(m->specular, specular, sizeof(specular));
  m->shininess = 65.0f;
  m->texId = 0;
  m->texEnv = GL_MODULATE;
  m->texPending = 0;
}

}  // namespace glm_detail

char* glmStrDup(const char* text) {
  size_t n = strlen(text) + 1;
  char* copy = static_cast<char*>(glm_detail::allocOrDie(n));
  memcpy(copy, text, n);
  return copy;
}

char* glmDirName(const char* path) {
  const char* slash = strrchr(path, '/');
  size_t n = slash ? static_cast<size_t>(slash - path) + 1 : 0;
  char* dir = static_cast<char*>(glm_detail::allocOrDie(n + 1));
  copyText(dir, path, n + 1);
  return dir;
}

_GLMgroup* glmFindGroup(_GLMmodel* model, const char* name) {
  assert(model);
  for (_GLMgroup* g = model->groups; g; g = g->next)
    if (strcmp(name, g->name) == 0) return g;
  return nullptr;
}

_GLMgroup* glm_detail::pushNewGroup(_GLMmodel* model, const char* name) {
  _GLMgroup* group = static_cast<_GLMgroup*>(glm_detail::zallocOrDie(sizeof(_GLMgroup)));
  group->name = glmStrDup(name);
  group->next = model->groups;
  model->groups = group;
  model->numgroups++;
  return group;
}

_GLMgroup* glmAddGroup(_GLMmodel* model, const char* name) {
  _GLMgroup* group = glmFindGroup(model, name);
  if (group) return group;
  return glm_detail::pushNewGroup(model, name);
}

unsigned int glmFindMaterial(_GLMmodel* model, const char* name) {
  for (unsigned int i = 0; i < model->nummaterials; i++)
    if (strcmp(model->materials[i].name, name) == 0) return i;
  printf("glmFindMaterial():  can't find material \"%s\".\n", name);
  return 0;
}

void glmDelete(_GLMmodel* model) {
  assert(model);
  if (model->pathname) ptrFree(model->pathname);
  if (model->mtllibname) ptrFree(model->mtllibname);
  if (model->vertices) ptrFree(model->vertices);
  if (model->normals) ptrFree(model->normals);
  if (model->texcoords) ptrFree(model->texcoords);
  if (model->facetnorms) ptrFree(model->facetnorms);
  if (model->triangles) ptrFree(model->triangles);
  if (model->materials) {
    for (unsigned int i = 0; i < model->nummaterials; i++)
      if (model->materials[i].texId != 0) glDeleteTextures(1, &model->materials[i].texId);
    ptrFree(model->materials);
  }
  while (model->groups) {
    _GLMgroup* group = model->groups;
    model->groups = group->next;
    ptrFree(group->name);
    if (group->triangles) ptrFree(group->triangles);
    if (group->sortKeys) ptrFree(group->sortKeys);
    if (group->sortedTriangles) ptrFree(group->sortedTriangles);
    ptrFree(group);
  }
  ptrFree(model);
}
