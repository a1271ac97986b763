// The alignment scene: start-up and release of the scene, the model's principal frame, the first
// view of the model, and the undo and redo rings of the alignment matrix.
#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "coords/eigen.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "model/glm_internal.h"
#include "tool/texfile.h"
#include "tool/velmora.h"
#include "tool/vmbuild.h"
#include "tool/vmcb.h"
#include "tool/vmfile.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

// The tool's version, in the title and the About text.
constexpr int kVersionMajor = 1;
constexpr int kVersionMinor = 2;

// Data files below a data root (the program's directory, then topdir).
constexpr const char* kStarFileStem = "data/stardata/HIP/hip";
constexpr const char* kStarParamFile = "data/stardata/halvane.txt";
constexpr const char* kDefaultTopDir = "../..";
// A root (a path buffer like topdir) and one of the names above always fit.
constexpr size_t kDataPathSize = 2 * sizeof topdir;

// Vertices whose directions from the first one stay this close to one plane (as the model
// library measures it) make the model a flat image.
constexpr float kPlanarTolerance = 1e-5f;
// Shorter mantissas than this count as zero: the centre at the origin, the tie of two
// eigenvalues, an up vector without a z component.
constexpr double kTiny = 1e-7;

// The drawing area beside the panel, in pixels.
constexpr int kSceneWindowSize = 640;
// The field of view leaves this much room around the model's widest angle, both sides together.
constexpr double kFovyMargin = 2.2;

// Vertex counts that earn a warning.
enum DegenerateModel { kNoVertex = 0, kSinglePoint = 1, kSingleLine = 2 };
// The square-image path needs exactly this many vertices.
constexpr unsigned int kSquareImageVertices = 4;

constexpr size_t kMatrixBytes = 16 * sizeof(double);

// Vertex i of a model, counted from 1 as in the file.
float* modelVertex(_GLMmodel* model, unsigned int i) {
  return model->vertices + 3 * static_cast<size_t>(i);
}

void* allocOrExit(size_t bytes) {
  void* p = malloc(bytes == 0 ? 1 : bytes);
  if (!p) {
    fprintf(stderr, "Err: not enough memory!\n\n");
    exit(1);
  }
  return p;
}

// Copies the diffuse colour of the head group's material to orig_modelColor, the colour the
// drawing puts back after it has overwritten it.
void keepModelColor(_GLMmodel* model) {
  if (!model->groups || model->groups->material >= model->nummaterials) return;
  memcpy(orig_modelColor, model->materials[model->groups->material].diffuse, sizeof orig_modelColor);
}

// The path "root/name" ("%s/%s"), or for the catalogue "root/stem.set.star", into out.
void starFileName(char* out, size_t size, const char* root, int starSet) {
  snprintf(out, size, "%s/%s.%d.star", root, kStarFileStem, starSet);
}

// Reads the catalogue from one root: 1 or -1.
int tryStarFile(const char* root, int starSet, char* path, size_t size) {
  starFileName(path, size, root, starSet);
  printf("Try Reading star file : [%s]\n", path);
  char* names[1] = {path};
  return starList->readStarFiles(1, names, 0, true);
}

// Reads the star parameter file from one root: 1 or -1.
int tryStarParameter(const char* root, char* path, size_t size) {
  snprintf(path, size, "%s/%s", root, kStarParamFile);
  return starList->readStarParameter(path, root, true);
}

}  // namespace

// ---- Command line --------------------------------------------------------------------------

int sceneArgCount(int argc, char** argv) {
  if (!argv) return 0;
  // glutInit closes the gap it makes by moving later arguments forward; the slots behind hold
  // nulls or the very pointers that moved, so a repeated pointer marks the end as well. Two
  // arguments of a real command line never share their storage.
  for (int n = 0; n < argc; ++n) {
    if (argv[n] == nullptr) return n;
    for (int k = 0; k < n; ++k)
      if (argv[k] == argv[n]) return n;
  }
  return argc;
}

int scanSceneOptions(int argc, char** argv, SceneOptions* out) {
  out->starSet = kDefaultStarSet;
  out->texFile[0] = '\0';
  out->textureOn = 1;
  int i = 0;
  // Each pass runs the four tests in order, each on the argument the one before left current;
  // passes go on while any test matched. Every test first makes sure an argument is left, so a
  // line ending right behind an option simply ends the scan.
  for (int matched = 1; matched;) {
    if (i >= argc) return -1;
    matched = 0;
    if (i < argc && strcmp(argv[i], "-fullscreen") == 0) {
      ++i;  // the framework has dealt with it
      matched = 1;
    }
    if (i < argc && strncmp(argv[i], "-s", 2) == 0) {
      // Any "-s..." is a star set, "-star" too (set 0); no range is checked.
      out->starSet = atoi(argv[i] + 2);
      printf("Use starset %d (%s)\n", out->starSet, argv[i]);
      ++i;
      matched = 1;
    }
    if (i < argc && strcmp(argv[i], "-tex") == 0) {
      if (i + 1 >= argc) {
        fprintf(stderr, "Err: no texture list file behind -tex\n");
        return -1;
      }
      copyText(out->texFile, argv[i + 1], sizeof out->texFile);
      i += 2;
      matched = 1;
    }
    if (i < argc && strcmp(argv[i], "-notex") == 0) {
      out->textureOn = 0;
      ++i;
      matched = 1;
    }
  }
  out->next = i;
  return 1;
}

// ---- Start and end of the scene -------------------------------------------------------------

int giveDefaultMaterial(_GLMmodel* model) {
  if (model->materials && model->nummaterials > 0) return 0;
  model->materials = static_cast<_GLMmaterial*>(glm_detail::allocOrDie(sizeof(_GLMmaterial)));
  glm_detail::setMaterialDefaults(model->materials);
  model->nummaterials = 1;
  for (_GLMgroup* g = model->groups; g; g = g->next) g->material = 0;
  return 1;
}

int initScene(int argc, char** argv) {
  argc = sceneArgCount(argc, argv);

  SceneOptions opt;
  if (scanSceneOptions(argc, argv, &opt) != 1) return -1;
  textureOn = opt.textureOn;

  const char* topEnv = getenv("TOPDIR");
  copyText(topdir, topEnv ? topEnv : kDefaultTopDir, sizeof topdir);

  int arg = opt.next;
  if (arg >= argc) return -1;

  // The model to align. A path too long for alignfile is refused rather than cut, which could
  // name another file.
  const char* modelArg = argv[arg++];
  alignModel = strlen(modelArg) < sizeof alignfile ? glmReadOBJ(modelArg) : nullptr;
  if (!alignModel) {
    fprintf(stderr, "Err: failed to read [%s]\n", modelArg);
    exit(1);
  }
  copyText(alignfile, modelArg, sizeof alignfile);
  giveDefaultMaterial(alignModel);
  isObjAnImage = glmIsPlanar(alignModel, kPlanarTolerance) ? 1 : 0;
  showAlignModelOutline = isObjAnImage ? 0 : 1;
  fixModelMatrix(alignModel);
  resetAlign();
  keepModelColor(alignModel);
  resetAlignFile(1);

  showAlignModel = 1;
  showAlignModelNormal = 0;
  showAlignModelAxes = 0;
  showAlignModelBBox = 0;
  showAlignModelInfo = 1;
  alignModelAlpha = 1.0f;
  objFileExport.clear();
  unitObjModel = kUnitBase;
  coordObjModel = kCoordBase;
  distObjModel = static_cast<float>(length3D(alignModelCenter));
  panelSync();

  // Reference models stay where their files put them.
  nFixedModels = argc - arg;
  showFixedModels = 1;
  showFixedBehind = 1;
  if (nFixedModels > 0) {
    fixedModels = static_cast<_GLMmodel**>(allocOrExit(sizeof(_GLMmodel*) * nFixedModels));
    for (int i = 0; i < nFixedModels; ++i) fixedModels[i] = nullptr;
    for (int i = 0; i < nFixedModels; ++i) {
      fixedModels[i] = glmReadOBJ(argv[arg + i]);
      if (!fixedModels[i]) {
        fprintf(stderr, "Err: failed to read [%s]\n", argv[arg + i]);
        exit(1);
      }
      giveDefaultMaterial(fixedModels[i]);
    }
  }

  // Sky switches.
  showSGalSphere = 0;
  showGalSphere = 0;
  showEqnSphere = 0;
  gridDetail = 0;
  showSGalAxesFlag = 0;
  showEqnAxesFlag = 0;
  showLookAtDir = 1;
  showCenterLine = 0;
  lockView = 0;
  showRaDec = 0;
  showAnchor = 0;
  printDecPlace = 2;
  showStarsFlag = 1;
  useStarColorMap = 1;
  useStarTex = 1;
  showConstellationNames = 0;
  showConstellationLines = 0;
  showConstellationBounds = 0;
  showConstellationPickedOnly = 0;
  showCommonName = 1;
  showStarInfo = 1;

  // The anchor is no star: one graphics unit out along x, marked by its HD number.
  anchor = NODE_StarObject{};
  anchor.pos.x = 1.0;
  anchor.pos.s = currLogScale;
  anchor.basePos = anchor.pos;
  anchor.HD = kAnchorHD;
  copyText(anchorText, " (0,0)", sizeof anchorText);

  // Milky Way maps; a list that can't be read isn't fatal.
  if (textureOn) {
    readMWTexture(opt.texFile, basedir);
    if (texObjs && nTexObjs > 0) {
      bindTexObjs(texObjs, nTexObjs);
      if (nSliderTex != 0) resetTexture(kIdTexSlider);
      resetTexture(kTexListBase);
      texChoice = 1;
    }
  }

  // The catalogue and the star parameters, under the program's directory, then under topdir.
  starList = new StarList();
  char firstPath[kDataPathSize], secondPath[kDataPathSize];
  if (tryStarFile(basedir, opt.starSet, firstPath, sizeof firstPath) == -1 &&
      tryStarFile(topdir, opt.starSet, secondPath, sizeof secondPath) == -1) {
    fprintf(stderr, "Err: failed to open [%s] or [%s]\n", kStarFileStem, secondPath);
    return -1;
  }
  if (tryStarParameter(basedir, firstPath, sizeof firstPath) == -1 &&
      tryStarParameter(topdir, secondPath, sizeof secondPath) == -1) {
    fprintf(stderr, "Err: failed to read [%s] or [%s]\n", kStarParamFile, secondPath);
    return -1;
  }
  StarParameter param = starList->getStarParameter();
  starSize = static_cast<float>(param.texScale);
  starAtYear = param.starAtYear;
  mySensitivity = static_cast<float>(sensitivity);

  snprintf(titleStr, sizeof titleStr, "Velmora tool %d.%d [%s]", kVersionMajor, kVersionMinor, alignfile);
  snprintf(aboutStr, sizeof aboutStr,
           "Multispectral Velmora Tool (version %d.%d)\n"
           "\n"
           "Rule:\n"
           " a time to search and a time to give up,\n"
           " a time to keep and a time to throw away\n"
           "Ecclesiastes 3:6\n"
           "\n"
           "by the Velmora developers\n"
           "velmora@example.org\n"
           "- 11/25/2003",
           kVersionMajor, kVersionMinor);

  fixInitView();

  helpMenuFuncPtr = myHelpMenu;
  keyboardCBFuncPtr = myKeyCB;
  mouseCBFuncPtr = myMouseCB;
  motionCBFuncPtr = myMotionCB;
  gluiCreatePtr = myGLUICreate;
  useGLUTMenu = 0;
  useSubGLUI = 1;
  if (fullScreen) {
    useSubGLUI = 0;
  } else {
    winW = kSceneWindowSize;
    winH = kSceneWindowSize;
  }
  return 0;
}

void deleteScene() {
  if (starList) {
    delete starList;
    starList = nullptr;
  }
  if (texObjs) {
    freeTexObjs(texObjs, nTexObjs);
    texObjs = nullptr;
    nTexObjs = 0;
  }
  if (sliderTex) {
    free(sliderTex);
    sliderTex = nullptr;
    nSliderTex = 0;
  }
  if (alignModel) {
    glmDelete(alignModel);
    alignModel = nullptr;
  }
  if (fixedModels) {
    for (int i = 0; i < nFixedModels; ++i)
      if (fixedModels[i]) glmDelete(fixedModels[i]);
    free(fixedModels);
    fixedModels = nullptr;
    nFixedModels = 0;
  }
}

// ---- The model's own frame ------------------------------------------------------------------

void fixModelMatrix(_GLMmodel* model) {
  glmBoundBox(model, alignModelRangeX, alignModelRangeY, alignModelRangeZ);
  const float* range[3] = {alignModelRangeX, alignModelRangeY, alignModelRangeZ};
  for (int k = 0; k < 3; ++k)
    alignModelCenter[k] = (static_cast<double>(range[k][0]) + static_cast<double>(range[k][1])) / 2.0;

  switch (model->numvertices) {
    case kSingleLine:
      printf("\nWarning: input model is a degenerated single line!!!\n\n");
      break;
    case kSinglePoint:
      printf("\nWarning: input model is a degenerated single point!!!\n\n");
      break;
    case kNoVertex:
      printf("\nWarning: input model has no vertex!!!\n\n");
      break;
    default:
      break;
  }
  if (fabs(alignModelCenter[0]) < kTiny && fabs(alignModelCenter[1]) < kTiny && fabs(alignModelCenter[2]) < kTiny)
    printf("\nWarning: input model locates exactly at the origin!!!\n\n");

  double side[3], normal[3];
  computeFrame(model, alignModelCenter, alignModelUpVec, side);
  cross3D(side, alignModelUpVec, normal);

  double* m = alignModelMatrix;
  for (int k = 0; k < 3; ++k) {
    m[k] = side[k];
    m[4 + k] = alignModelUpVec[k];
    m[8 + k] = normal[k];
    m[12 + k] = alignModelCenter[k];
  }
  m[3] = 0.0;
  m[7] = 0.0;
  m[15] = 1.0;
  // The third column loses its z, and its fourth row (value 11) is never written: the stored
  // model, the export and every saved matrix are built on exactly this frame.
  m[10] = 0.0;
  memcpy(alignModelMatrix_Backup, alignModelMatrix, kMatrixBytes);

  for (int i = 0; i < 16; ++i) initTranMat[i] = static_cast<float>(m[i]);
  // A singular frame (a model on the z axis) leaves initTranMat as it is, and the vertices then
  // go through the frame itself: that stays unguarded.
  invert4by4f(initTranMat);
  glmTransform(model, initTranMat);
  glmBoundBox(model, alignModelRangeX, alignModelRangeY, alignModelRangeZ);

  for (float& s : alignModelObjScale) s = 1.0f;
  for (float& t : alignModelObjTran) t = 0.0f;
}

void computeFrame(_GLMmodel* model, const double* centre, double* up, double* side) {
  const unsigned int nv = model->numvertices;
  const int n = static_cast<int>(nv);
  double* px = static_cast<double*>(allocOrExit(sizeof(double) * nv));
  double* py = static_cast<double*>(allocOrExit(sizeof(double) * nv));
  double* pz = static_cast<double*>(allocOrExit(sizeof(double) * nv));

  // The line of sight from the observer at the origin to the model.
  double dir[3];
  copy3D(dir, centre);
  if (!unify3D(dir)) {
    dir[0] = 1.0;
    dir[1] = 0.0;
    dir[2] = 0.0;
  }

  double mean[3] = {0.0, 0.0, 0.0};
  for (unsigned int i = 1; i <= nv; ++i)
    for (int k = 0; k < 3; ++k) mean[k] += modelVertex(model, i)[k];
  if (nv > 0) div3D(mean, static_cast<double>(nv));

  // Project every vertex into the plane through the mean at right angles to the line of sight.
  for (unsigned int i = 1; i <= nv; ++i) {
    const float* v = modelVertex(model, i);
    double d[3] = {v[0] - mean[0], v[1] - mean[1], v[2] - mean[2]};
    double t = dot3D(d, dir);
    add_mul_3D(d, -t, dir, d);
    px[i - 1] = d[0];
    py[i - 1] = d[1];
    pz[i - 1] = d[2];
  }

  // Sums of products, not divided by n; rounded to float, which settles the tie below.
  mgcEigenD eigen(3);
  eigen.Matrix(0, 0) = dotN(px, px, n);
  eigen.Matrix(1, 1) = dotN(py, py, n);
  eigen.Matrix(2, 2) = dotN(pz, pz, n);
  eigen.Matrix(0, 1) = eigen.Matrix(1, 0) = dotN(px, py, n);
  eigen.Matrix(0, 2) = eigen.Matrix(2, 0) = dotN(px, pz, n);
  eigen.Matrix(1, 2) = eigen.Matrix(2, 1) = dotN(py, pz, n);
  eigen.IncrSortEigenStuff3();
  // Column 0, the smallest eigenvalue, is the line of sight; the long axis becomes the side.
  for (int k = 0; k < 3; ++k) {
    up[k] = eigen.Eigenvector(k, 1);
    side[k] = eigen.Eigenvector(k, 2);
  }

  // A square image has no long axis: its upper edge, the two corners highest in z, stays up.
  if (fabs(eigen.Eigenvalue(1) - eigen.Eigenvalue(2)) < kTiny && isObjAnImage && nv == kSquareImageVertices) {
    int labels[kSquareImageVertices] = {0, 1, 2, 3};
    const int last = static_cast<int>(kSquareImageVertices) - 1;
    q_sort(labels, pz, 0, last, static_cast<int>(kSquareImageVertices));
    up[0] = up[1] = up[2] = 0.0;
    for (int j = last - 1; j <= last; ++j) {
      const float* v = modelVertex(model, static_cast<unsigned int>(labels[j]) + 1);
      for (int k = 0; k < 3; ++k) up[k] += v[k] - mean[k];
    }
    unify3D(up);
    cross3D(up, dir, side);
  }

  free(px);
  free(py);
  free(pz);

  // Up points to the sky's +z side wherever it can; side turns with it to keep the pair's sense.
  if (up[2] < kTiny) {
    mult3D(up, -1.0);
    mult3D(side, -1.0);
  }
}

float dotN(const double* a, const double* b, int n) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) sum += a[i] * b[i];
  return static_cast<float>(sum);
}

void mySwap(int* labels, double* keys, int i, int j) {
  int label = labels[i];
  labels[i] = labels[j];
  labels[j] = label;
  double key = keys[i];
  keys[i] = keys[j];
  keys[j] = key;
}

void q_sort(int* labels, double* keys, int left, int right, int length) {
  if (left >= right) return;
  const double pivot = keys[left];
  int i = left, j = right;
  while (i <= j) {
    while (i < length && keys[i] < pivot) ++i;
    while (keys[j] > pivot) --j;
    if (i <= j) {
      mySwap(labels, keys, i, j);
      ++i;
      --j;
    }
  }
  if (left < j) q_sort(labels, keys, left, j, length);
  if (i < right) q_sort(labels, keys, i, right, length);
}

// ---- First view -----------------------------------------------------------------------------

void fixInitView() {
  // The model's placing as the drawing applies it, read back from OpenGL.
  float placing[16], rows[16];
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadMatrixd(alignModelMatrix);
  glTranslatef(alignModelObjTran[0], alignModelObjTran[1], 0.0f);
  glScalef(alignModelObjScale[0], alignModelObjScale[1], alignModelObjScale[2]);
  glGetFloatv(GL_MODELVIEW_MATRIX, placing);
  glPopMatrix();
  transposeMatf(placing, rows);

  const unsigned int nv = alignModel ? alignModel->numvertices : 0;
  auto placed = [&](unsigned int i, double* out) {
    float v[3];
    glmCopy(v, modelVertex(alignModel, i));
    matMultVertexf(rows, v);
    for (int k = 0; k < 3; ++k) out[k] = v[k];
  };

  double dir[3] = {0.0, 0.0, 0.0};
  for (unsigned int i = 1; i <= nv; ++i) {
    double p[3];
    placed(i, p);
    add3D(dir, p, dir);
  }
  if (!unify3D(dir)) {
    dir[0] = 1.0;
    dir[1] = 0.0;
    dir[2] = 0.0;
  }

  double widest = 0.0;
  for (unsigned int i = 1; i <= nv; ++i) {
    double p[3];
    placed(i, p);
    unify3D(p);
    double angle = acos(dot3D(p, dir));
    if (angle > widest) widest = angle;  // a rounding NaN (dot just above 1) never wins
  }

  myCurrFovy = static_cast<float>(widest * kFovyMargin * kDegreesPerRadian);
  double oldFovy = currFovy;
  currFovy = myCurrFovy;
  // Beyond this the perspective breaks down: the old field stays, and the model doesn't fit.
  if (currFovy > kMaxInitFovy) currFovy = oldFovy;

  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(currFovy, currAspect, viewNearPlane, viewFarPlane);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0.0, 0.0, 0.0, dir[0], dir[1], dir[2], alignModelUpVec[0], alignModelUpVec[1], alignModelUpVec[2]);
  panelSync();
}

// ---- Undo and redo --------------------------------------------------------------------------

void pushMat(double (*ring)[16], const double* matrix, int* index, int* count) {
  memcpy(ring[*index], matrix, kMatrixBytes);
  *index = (*index + 1) % kAlignRingSize;
  if (*count < kAlignRingSize) ++*count;
}

void popMat(double (*ring)[16], double* matrix, int* index, int* count) {
  *index = (*index + kAlignRingSize - 1) % kAlignRingSize;
  memcpy(matrix, ring[*index], kMatrixBytes);
  --*count;
}

void saveAlign() {
  // Compared also with an empty ring: the slot then holds whatever it held.
  int newest = (undoIndex + kAlignRingSize - 1) % kAlignRingSize;
  if (memcmp(alignModelMatrix, alignModelMatrix_undo[newest], kMatrixBytes) != 0) {
    pushMat(alignModelMatrix_undo, alignModelMatrix, &undoIndex, &nUndo);
    nRedo = 0;
  }
}

void undoAlign() {
  if (nUndo == 0) {
    fprintf(stderr, "no alignment operation to undo\n");
    return;
  }
  pushMat(alignModelMatrix_redo, alignModelMatrix, &redoIndex, &nRedo);
  popMat(alignModelMatrix_undo, alignModelMatrix, &undoIndex, &nUndo);
}

void redoAlign() {
  if (nRedo == 0) {
    fprintf(stderr, "no alignment operation to redo\n");
    return;
  }
  pushMat(alignModelMatrix_undo, alignModelMatrix, &undoIndex, &nUndo);
  popMat(alignModelMatrix_redo, alignModelMatrix, &redoIndex, &nRedo);
}

void resetAlign() {
  nUndo = 0;
  nRedo = 0;
  undoIndex = 0;
  redoIndex = 0;
}
