// Reading OBJ and MTL files: two passes over each, dispatching on the first one or two
// characters of every white-space delimited word.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

#include "fileio/entropy.h"
#include "model/glm.h"
#include "model/glm_internal.h"
#include "model/obj_scan.h"

using glm_detail::allocOrDie;
using glm_detail::zallocOrDie;

namespace {

constexpr int kWord = 128;  // one word of the OBJ text, and one skipped stretch of a line
constexpr int kLine = 512;  // lines of the MTL text

// Capacity of each group's triangle array between the passes. Faces that stand before the first
// `g` line are counted for "default" but stored into the head group, so pass 2 grows an array
// that would overflow instead of writing past its end.
std::unordered_map<_GLMgroup*, unsigned int> groupCapacity;

// The model's groups by name, for the `g` lines of both passes. The list alone would be walked
// once a line, which makes a file of many groups quadratic. Where two groups share a name the
// one nearer the list's head is indexed, the one glmFindGroup finds.
std::unordered_map<std::string, _GLMgroup*> groupIndex;

void indexGroups(_GLMmodel* model) {
  groupIndex.clear();
  for (_GLMgroup* g = model->groups; g; g = g->next) groupIndex.emplace(g->name, g);
}

// The group of that name, made and indexed if the model has none: glmAddGroup's result.
_GLMgroup* addGroupIndexed(_GLMmodel* model, const char* name) {
  auto it = groupIndex.find(name);
  if (it != groupIndex.end()) return it->second;
  _GLMgroup* group = glm_detail::pushNewGroup(model, name);
  groupIndex.emplace(name, group);
  return group;
}

// What the second pass found wrong, for the reader's message.
char faultText[kLine];
bool faulty = false;

void fault(const char* text) {
  if (faulty) return;  // the first fault is the one reported
  faulty = true;
  copyText(faultText, text, sizeof(faultText));
}

void skipLine(FILE* file, char* buf, int size) {
  if (!fgets(buf, size, file)) buf[0] = '\0';
}

// Consumes the stream up to and including the next newline, however far it is. A comment is
// passed over whole this way: read in stretches of a buffer, its tail would come back as
// words ("vertices", "by") and be taken for keywords.
void skipWholeLine(FILE* file) {
  int c;
  while ((c = getc_unlocked(file)) != EOF && c != '\n') {
  }
}

// Reads the rest of the line (at most 127 characters) as a group name, dropping its last
// character, the newline. An empty read gives an empty name (the drop is guarded).
void readGroupName(FILE* file, char* buf) {
  if (!fgets(buf, kWord, file)) buf[0] = '\0';
  size_t n = strlen(buf);
  if (n > 0) buf[n - 1] = '\0';
}

// Reads the rest of the line and keeps its first word; returns false when it has none.
bool readFirstWord(FILE* file, char* word) {
  char line[kWord];
  if (!fgets(line, sizeof(line), file)) return false;
  return sscanf(line, "%127s", word) == 1;
}

using objscan::Corner;
using objscan::FaceForm;
using objscan::StreamSource;

// Corner from the first word of a face line.
Corner parseCorner(const char* word, FaceForm form) {
  Corner c;
  objscan::StringSource src{word};
  objscan::scanCorner(src, form, &c);
  return c;
}

// Reads the corners of a face line (the first as a word, which fixes the form), and calls
// emit(form, a, b, c) for each triangle of the fan. A further corner is read for as long as a
// read yields at least one field; a failing read leaves the fields as they stood, which are
// those of the corner before.
template <typename Emit>
void readFace(StreamSource& in, Emit emit) {
  char firstWord[kWord] = "";
  if (!objscan::scanWord(in, firstWord)) firstWord[0] = '\0';
  FaceForm form = objscan::formOf(firstWord);
  // A first word without a number leaves its fields 0, which the range test of pass 2 refuses.
  Corner a = parseCorner(firstWord, form);
  Corner b = a;
  objscan::scanCorner(in, form, &b);
  Corner c = b;
  objscan::scanCorner(in, form, &c);
  emit(form, a, b, c);
  Corner next = c;
  while (objscan::scanCorner(in, form, &next) > 0) {
    // fan: first corner of the triangle before, its third corner, the new corner
    b = c;
    c = next;
    emit(form, a, b, c);
  }
}

// Counts the triangles of a face line: the same reads as readFace, the corners' values unused.
unsigned int countFace(StreamSource& in) {
  unsigned int n = 0;
  char firstWord[kWord] = "";
  if (!objscan::scanWord(in, firstWord)) firstWord[0] = '\0';
  FaceForm form = objscan::formOf(firstWord);
  Corner scratch;
  objscan::scanCorner(in, form, &scratch);
  objscan::scanCorner(in, form, &scratch);
  n++;
  while (objscan::scanCorner(in, form, &scratch) > 0) n++;
  return n;
}

void growGroup(_GLMgroup* group) {
  unsigned int& cap = groupCapacity[group];
  unsigned int newCap = cap < 16 ? 16 : cap * 2;
  auto* bigger = static_cast<unsigned int*>(allocOrDie(sizeof(unsigned int) * newCap));
  if (group->triangles) {
    memcpy(bigger, group->triangles, sizeof(unsigned int) * group->numtriangles);
    ptrFree(group->triangles);
  }
  group->triangles = bigger;
  cap = newCap;
}

void appendTriangle(_GLMgroup* group, unsigned int index) {
  auto it = groupCapacity.find(group);
  if (it == groupCapacity.end() || group->numtriangles >= it->second) growGroup(group);
  group->triangles[group->numtriangles++] = index;
}

// Index check of one corner. The file's indices are 1-based; 0, negative (relative) and too
// large indices would be read out of bounds later, so the reader refuses them here.
bool cornerInRange(_GLMmodel* model, FaceForm form, const Corner& c, unsigned int tri) {
  char text[kLine];
  auto bad = [&](const char* kind, int value, unsigned int count) {
    snprintf(text, sizeof(text), "triangle %u refers to %s %d of %u", tri + 1, kind, value, count);
    fault(text);
    return false;
  };
  if (c.v < 1 || static_cast<unsigned int>(c.v) > model->numvertices)
    return bad("vertex", c.v, model->numvertices);
  bool hasT = form == FaceForm::VT || form == FaceForm::VTN;
  bool hasN = form == FaceForm::VN || form == FaceForm::VTN;
  if (hasT && (c.t < 1 || static_cast<unsigned int>(c.t) > model->numtexcoords))
    return bad("texture coordinate", c.t, model->numtexcoords);
  if (hasN && (c.n < 1 || static_cast<unsigned int>(c.n) > model->numnormals))
    return bad("normal", c.n, model->numnormals);
  return true;
}

}  // namespace

void glmFirstPass(_GLMmodel* model, FILE* file) {
  char buf[kWord];
  indexGroups(model);
  _GLMgroup* group = addGroupIndexed(model, "default");
  unsigned int numvertices = 0, numnormals = 0, numtexcoords = 0, numtriangles = 0;
  StreamSource in{file};

  while (objscan::scanWord(in, buf)) {
    switch (buf[0]) {
      case '#':
        skipWholeLine(file);
        break;
      case 'v':
        switch (buf[1]) {
          case '\0':
            numvertices++;
            break;
          case 'n':
            numnormals++;
            break;
          case 't':
            numtexcoords++;
            break;
          default:
            printf("glmFirstPass(): Unknown token \"%s\".\n", buf);
            exit(1);
        }
        skipLine(file, buf, kWord);
        break;
      case 'm': {
        char name[kWord];
        if (!readFirstWord(file, name)) break;  // an mtllib line without a name names nothing
        if (model->mtllibname) ptrFree(model->mtllibname);
        model->mtllibname = glmStrDup(name);
        glmReadMTL(model, name);
        break;
      }
      case 'g':
        readGroupName(file, buf);
        group = addGroupIndexed(model, buf);
        break;
      case 'f': {
        unsigned int n = countFace(in);
        numtriangles += n;
        group->numtriangles += n;
        break;
      }
      default:
        skipLine(file, buf, kWord);
        break;
    }
  }

  model->numvertices = numvertices;
  model->numnormals = numnormals;
  model->numtexcoords = numtexcoords;
  model->numtriangles = numtriangles;

  groupIndex.clear();
  groupCapacity.clear();
  for (_GLMgroup* g = model->groups; g; g = g->next) {
    if (g->triangles) ptrFree(g->triangles);
    g->triangles = static_cast<unsigned int*>(allocOrDie(sizeof(unsigned int) * g->numtriangles));
    groupCapacity[g] = g->numtriangles;
    g->numtriangles = 0;
  }
}

int glmSecondPass(_GLMmodel* model, FILE* file) {
  char buf[kWord];
  unsigned int numvertices = 1, numnormals = 1, numtexcoords = 1, numtriangles = 0;
  unsigned int material = 0;
  _GLMgroup* group = model->groups;
  faulty = false;
  faultText[0] = '\0';
  indexGroups(model);
  StreamSource in{file};

  // Stores up to three floats into slot `index` of `array`, or reads them into scratch when the
  // second pass finds more elements than the first one counted (a damaged file).
  auto readFloats = [&](float* array, unsigned int count, unsigned int index, int k, const char* kind) {
    float scratch[3] = {0, 0, 0};
    float* dst = (array && index <= count) ? array + static_cast<size_t>(k) * index : scratch;
    // "%f %f %f": the reads stop at the first that fails, which leaves its value as it stood.
    for (int i = 0; i < k; i++)
      if (objscan::scanFloat(in, &dst[i]) != 1) break;
    if (dst == scratch) {
      char text[kWord];
      snprintf(text, sizeof(text), "more %s than counted", kind);
      fault(text);
    }
  };

  while (objscan::scanWord(in, buf)) {
    switch (buf[0]) {
      case '#':
        skipWholeLine(file);
        break;
      case 'v':
        switch (buf[1]) {
          case '\0':
            readFloats(model->vertices, model->numvertices, numvertices++, 3, "vertices");
            break;
          case 'n':
            readFloats(model->normals, model->numnormals, numnormals++, 3, "normals");
            break;
          case 't':
            readFloats(model->texcoords, model->numtexcoords, numtexcoords++, 2, "texture coordinates");
            break;
          default:
            skipLine(file, buf, kWord);
            break;
        }
        break;
      case 'u': {
        char name[kWord];
        if (!readFirstWord(file, name)) break;
        material = glmFindMaterial(model, name);
        if (group) group->material = material;
        break;
      }
      case 'g': {
        readGroupName(file, buf);
        group = addGroupIndexed(model, buf);
        group->material = material;
        break;
      }
      case 'f':
        readFace(in, [&](FaceForm form, const Corner& a, const Corner& b, const Corner& c) {
          unsigned int tri = numtriangles++;
          bool ok = cornerInRange(model, form, a, tri) && cornerInRange(model, form, b, tri) &&
                    cornerInRange(model, form, c, tri);
          if (tri >= model->numtriangles) {
            fault("more triangles than counted");
            return;
          }
          _GLMtriangle& t = model->triangles[tri];
          const Corner* corners[3] = {&a, &b, &c};
          for (int i = 0; i < 3; i++) {
            if (!ok) break;
            t.vindices[i] = corners[i]->v;
            if (form == FaceForm::VT || form == FaceForm::VTN) t.tindices[i] = corners[i]->t;
            if (form == FaceForm::VN || form == FaceForm::VTN) t.nindices[i] = corners[i]->n;
          }
          if (group) appendTriangle(group, tri);
        });
        break;
      default:
        skipLine(file, buf, kWord);
        break;
    }
  }
  groupIndex.clear();
  groupCapacity.clear();
  return faulty ? 0 : 1;
}

void glmReadMTL(_GLMmodel* model, const char* name) {
  char* dir = glmDirName(model->pathname);
  size_t pathSize = strlen(dir) + strlen(name) + 1;
  char* filename = static_cast<char*>(allocOrDie(pathSize));
  snprintf(filename, pathSize, "%s%s", dir, name);

  FILE* file = fopenEZ(filename, "r");
  if (!file) {
    fprintf(stderr, "glmReadMTL() failed: can't open material file \"%s\".\n", filename);
    exit(1);
  }
  ptrFree(filename);

  char buf[kWord];
  char line[kLine];
  unsigned int count = 1;
  while (fscanf(file, "%127s", buf) == 1) {
    if (buf[0] == '#') {
      skipWholeLine(file);
      continue;
    }
    if (buf[0] == 'n') count++;
    skipLine(file, line, kLine);
  }

  // A second mtllib line reads its file over the first one.
  if (model->materials) {
    for (unsigned int i = 0; i < model->nummaterials; i++)
      if (model->materials[i].texId != 0) glDeleteTextures(1, &model->materials[i].texId);
    ptrFree(model->materials);
  }
  model->materials = static_cast<_GLMmaterial*>(allocOrDie(sizeof(_GLMmaterial) * count));
  model->nummaterials = count;
  for (unsigned int i = 0; i < count; i++) glm_detail::setMaterialDefaults(&model->materials[i]);

  rewind(file);
  unsigned int current = 0;
  _GLMmaterial scratch;  // takes what a damaged file puts beyond the counted materials
  glm_detail::setMaterialDefaults(&scratch);
  auto mat = [&]() -> _GLMmaterial& { return current < count ? model->materials[current] : scratch; };

  while (fscanf(file, "%127s", buf) == 1) {
    switch (buf[0]) {
      case '#':
        skipWholeLine(file);
        break;
      case 'n': {
        // the rest of the line in one read, long enough for a 511-character name
        char nameLine[4 * kLine], word[kLine];
        skipLine(file, nameLine, sizeof(nameLine));
        current++;
        if (sscanf(nameLine, "%511s", word) == 1) copyText(mat().name, word, sizeof(mat().name));
        break;
      }
      case 'N': {
        float value;
        if (fscanf(file, "%f", &value) == 1) mat().shininess = value / 1000.0f * 128.0f;
        break;
      }
      case 'K': {
        float* colour = nullptr;
        if (buf[1] == 'd') colour = mat().diffuse;
        if (buf[1] == 'a') colour = mat().ambient;
        if (buf[1] == 's') colour = mat().specular;
        skipLine(file, line, kLine);
        if (!colour) break;
        float c[4] = {colour[0], colour[1], colour[2], colour[3]};
        int n = sscanf(line, "%f %f %f %f", &c[0], &c[1], &c[2], &c[3]);
        if (n == 3) c[3] = 1.0f;
        for (int i = 0; i < 4; i++) colour[i] = c[i];
        break;
      }
      case 'T': {
        char env[kLine], image[kLine], alpha[kLine];
        skipLine(file, line, kLine);
        int n = sscanf(line, "%511s %511s %511s", env, image, alpha);
        // A T line without an image file (such as "Tr 1.0", a transparency) names no texture:
        // there is nothing to build, so it is passed over rather than left to fail at drawing.
        if (n < 2) break;
        _GLMmaterial& m = mat();
        m.texPending = 1;
        copyText(m.texEnvName, env, sizeof(m.texEnvName));
        copyText(m.texFile, image, sizeof(m.texFile));
        copyText(m.texDir, dir, sizeof(m.texDir));
        copyText(m.texAlphaFile, n == 2 ? "" : alpha, sizeof(m.texAlphaFile));
        break;
      }
      default:
        skipLine(file, line, kLine);
        break;
    }
  }
  ptrFree(dir);
  // The material stream stays open until the process ends; this is meant so.
}

_GLMmodel* glmReadOBJ_actual(const char* filename, int quiet) {
  FILE* file = fopenEZ(filename, "r");
  if (!file) {
    if (!quiet) fprintf(stderr, "glmReadOBJ() failed: can't open objfile \"%s\".\n", filename);
    return nullptr;
  }
  size_t len = strlen(filename);
  if (!quiet && (len < 4 || strcmp(filename + len - 4, ".obj") != 0))
    fprintf(stderr, "Warning: glmReadOBJ() : input file does not end with .obj\n\n");

  auto* model = static_cast<_GLMmodel*>(zallocOrDie(sizeof(_GLMmodel), quiet));
  size_t n = len + 1;
  model->pathname = static_cast<char*>(allocOrDie(n, quiet));
  memcpy(model->pathname, filename, n);

  glmFirstPass(model, file);

  auto floats = [&](unsigned int count, int k) {
    return static_cast<float*>(zallocOrDie(sizeof(float) * k * (static_cast<size_t>(count) + 1), quiet));
  };
  model->vertices = floats(model->numvertices, 3);
  model->triangles =
      static_cast<_GLMtriangle*>(zallocOrDie(sizeof(_GLMtriangle) * model->numtriangles, quiet));
  if (model->numnormals) model->normals = floats(model->numnormals, 3);
  if (model->numtexcoords) model->texcoords = floats(model->numtexcoords, 2);

  rewind(file);
  int ok = glmSecondPass(model, file);
  fclose(file);
  if (!ok) {
    if (!quiet) fprintf(stderr, "glmReadOBJ() failed: damaged objfile \"%s\": %s.\n", filename, faultText);
    glmDelete(model);
    return nullptr;
  }
  return model;
}

_GLMmodel* glmReadOBJ(const char* filename) {
  return glmReadOBJ_actual(filename, 0);
}

_GLMmodel* glmReadOBJQuiet(const char* filename) {
  return glmReadOBJ_actual(filename, 1);
}
