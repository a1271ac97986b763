// Model files of the alignment tool: opening another model, the recent list, the file name
// variables, and the export that writes the source file again with its vertices aligned.
#include "tool/vmfile.h"

#include <GL/freeglut.h>
#include <GL/gl.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "fileio/entropy.h"
#include "tool/velmora.h"
#include "tool/vmimage.h"
#include "viewer/glui.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

// The program's version as the title and the export's header state it.
constexpr int kProgramVersionMajor = 1;
constexpr int kProgramVersionMinor = 2;

// Every text line of the export passes through a buffer of this size; a longer line arrives in
// pieces, each handled as a line of its own.
constexpr size_t kLineBuffer = 512;
constexpr size_t kPathBuffer = 512;  // paths of the tool, as alignfile holds them

// Permission bits of a file, and those that fopen asks for when it makes a new file.
constexpr mode_t kPermissionBits = 07777;
constexpr mode_t kNewFileMode = 0666;

// A model whose vertices lie within this distance of one plane is an image.
constexpr float kPlanarTolerance = 1e-5f;

// The turn from galactic into equatorial axes: three turns, about z, x and z, in degrees, at
// single precision as OpenGL takes them. They are the angles of the coordinate library's
// galacticToEquatorial (there in radians), so the export and the picture agree.
constexpr float kEquatorialTurnZ1 = -77.141663f;
constexpr float kEquatorialTurnX = 62.882179f;
constexpr float kEquatorialTurnZ2 = -32.931377f;

// Galactic to supergalactic, OpenGL order: the rows of this matrix are the supergalactic axes in
// the galactic frame (x towards l 137.37, b 0; z towards the pole at l 47.37, b 6.32).
// clang-format off
constexpr double kGalacticToSuperGalactic[16] = {
    -0.735742574804, -0.074553778365, 0.673145302109, 0,
    0.677261296414,  -0.080991471307, 0.731271165817, 0,
    0,               0.9939225904,    0.110081262225, 0,
    0,               0,               0,              1};
// clang-format on

const char* const kUnitLines[kNumExportUnits] = {
    "# - unit in this model is parsec\n",       "# - unit in this model is k-parsec\n",
    "# - unit in this model is lightyear\n",    "# - unit in this model is meters\n",
    "# - unit in this model is kilometers\n",   "# - unit in this model is 10^9 meters\n",
    "# - unit in this model is 10^12 meters\n", "# - unit in this model is 10^15 meters\n",
    "# - unit in this model is 10^18 meters\n", "# - unit in this model is 10^21 meters\n",
};

const char* const kCoordLines[kNumExportCoords] = {
    "# - coordinate system is galactic\n",
    "# - coordinate system is equatorial\n",
    "# - coordinate system is super galactic\n",
};

// ---- Line pieces ---------------------------------------------------------------------------

// Reads what fgets would read into a buffer of `size` bytes (up to and including a newline, at
// most size - 1 bytes) and says how many bytes that was, so that bytes 0 pass through a copy.
// Returns false at the end of the stream with nothing read.
bool readPiece(FILE* in, char* buf, size_t size, size_t* length) {
  size_t n = 0;
  while (n + 1 < size) {
    int c = getc(in);
    if (c == EOF) break;
    buf[n++] = static_cast<char>(c);
    if (c == '\n') break;
  }
  buf[n] = '\0';
  *length = n;
  return n > 0;
}

bool startsWith(const char* text, const char* head) {
  return strncmp(text, head, strlen(head)) == 0;
}

// ---- Making E --------------------------------------------------------------------------------

// The export matrix E = K s matrix T S initMatrix in OpenGL order, built on the modelview
// stack. The modelview is selected for the build and the mode and matrix in force are given back.
void buildExportMatrix(const double* matrix, const float* initMatrix, float distance, int coord,
                       float e[16]) {
  const double tx = matrix[12], ty = matrix[13], tz = matrix[14];
  const float length = static_cast<float>(std::sqrt(tx * tx + ty * ty + tz * tz));
  // A model at the origin has no length to scale: s is then infinite or NaN, as fixModelMatrix
  // warned on loading.
  const float s = distance / length;

  GLint oldMode = GL_MODELVIEW;
  glGetIntegerv(GL_MATRIX_MODE, &oldMode);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  if (coord == kCoordEquatorial) {
    glRotatef(kEquatorialTurnZ1, 0, 0, 1);
    glRotatef(kEquatorialTurnX, 1, 0, 0);
    glRotatef(kEquatorialTurnZ2, 0, 0, 1);
  } else if (coord == kCoordSuperGalactic) {
    glMultMatrixd(kGalacticToSuperGalactic);
  }
  glScalef(s, s, s);
  glMultMatrixd(matrix);
  glTranslatef(alignModelObjTran[0], alignModelObjTran[1], 0);
  glScalef(alignModelObjScale[0], alignModelObjScale[1], alignModelObjScale[2]);
  glMultMatrixf(initMatrix);
  glGetFloatv(GL_MODELVIEW_MATRIX, e);
  glPopMatrix();
  glMatrixMode(static_cast<GLenum>(oldMode));
}

// ---- Writing the rewritten file -------------------------------------------------------------

enum class Written { kOk, kReadError, kWriteError };

// Copies the source into `out` with the header in front and the vertex lines rewritten through
// the row-major P (points) and N (normals).
Written writeExport(FILE* source, FILE* out, const float P[16], const float N[16], int unit, int coord) {
  time_t now = time(nullptr);
  const struct tm* local = localtime(&now);
  // asctime's text ends in its own newline, so an empty line follows
  fprintf(out, "# written by program \"velmora %d.%d\" %s\n", kProgramVersionMajor, kProgramVersionMinor,
          local ? asctime(local) : "\n");
  if (const char* line = exportUnitLine(unit)) fputs(line, out);
  if (const char* line = exportCoordLine(coord)) fputs(line, out);
  fputs("\n", out);

  char buf[kLineBuffer];
  char word[kLineBuffer];
  size_t length = 0;
  while (readPiece(source, buf, sizeof buf, &length)) {
    const bool isVertex = startsWith(buf, "v ");
    const bool isNormal = startsWith(buf, "vn ");
    float v[3];
    // A vertex line without three numbers is kept as it stands rather than written as zeros.
    if ((isVertex || isNormal) && sscanf(buf, "%511s %f %f %f", word, &v[0], &v[1], &v[2]) == 4) {
      if (isVertex) {
        matMultVertexf(P, v);
        fprintf(out, "v %11.8f %11.8f %11.8f\n", v[0], v[1], v[2]);
      } else {
        matMultVertexf(N, v);
        unifyf(v);
        fprintf(out, "vn %11.8f %11.8f %11.8f\n", v[0], v[1], v[2]);
      }
    } else {
      fwrite(buf, 1, length, out);
    }
  }
  if (ferror(source)) return Written::kReadError;
  if (fflush(out) != 0 || ferror(out)) return Written::kWriteError;
  return Written::kOk;
}

// The file that the export really replaces: the target, or the file a symbolic link names, so
// that the link survives.
std::string realTarget(const char* target) {
  struct stat st;
  if (lstat(target, &st) == 0 && S_ISLNK(st.st_mode)) {
    char resolved[PATH_MAX];
    if (realpath(target, resolved)) return resolved;
  }
  return target;
}

std::string directoryOf(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The permissions the new file gets: those of the file it replaces, or what a plain fopen
// would give a new file.
mode_t modeFor(const std::string& path) {
  struct stat st;
  if (stat(path.c_str(), &st) == 0) return st.st_mode & kPermissionBits;
  mode_t mask = umask(0);
  umask(mask);
  return kNewFileMode & ~mask;
}

enum class Replace { kOk, kCannotOpen, kCannotWrite };

// Copies the finished text of `text` (rewound here) into a new file beside the target and
// renames it over the target. A crash, a kill or a full disk before the rename leaves the old
// target as it was; the half-written file is removed on every failure that returns.
Replace replaceTarget(FILE* text, const char* target) {
  const std::string path = realTarget(target);
  struct stat st;
  if (stat(path.c_str(), &st) == 0 && (!S_ISREG(st.st_mode) || access(path.c_str(), W_OK) != 0))
    return Replace::kCannotOpen;
  const std::string dir = directoryOf(path);
  std::string temp = dir + "/." + baseOf(path) + ".XXXXXX";
  int fd = mkstemp(temp.data());
  if (fd < 0) return Replace::kCannotOpen;
  FILE* out = fdopen(fd, "w");
  if (!out) {
    close(fd);
    unlink(temp.c_str());
    return Replace::kCannotOpen;
  }

  rewind(text);
  char buf[kLineBuffer];
  size_t length = 0;
  bool ok = true;
  while (ok && readPiece(text, buf, sizeof buf, &length)) ok = fwrite(buf, 1, length, out) == length;
  ok = ok && !ferror(text) && fflush(out) == 0 && fsync(fd) == 0 && fchmod(fd, modeFor(path)) == 0;
  ok = (fclose(out) == 0) && ok;
  ok = ok && rename(temp.c_str(), path.c_str()) == 0;
  if (!ok) {
    unlink(temp.c_str());
    return Replace::kCannotWrite;
  }
  // The new name is only lasting once the directory is on the disk as well.
  int dirFd = open(dir.c_str(), O_RDONLY | O_DIRECTORY);
  if (dirFd >= 0) {
    fsync(dirFd);
    close(dirFd);
  }
  return Replace::kOk;
}

// ---- Checks before a model replaces the present one -----------------------------------------

// The model reader ends the process on an unknown vertex keyword and on a material file that
// can't be opened. While the tool runs that would throw the user's alignment away, so the file is
// walked first word by word the way the reader's first pass walks it. Returns "" when the reader
// will come through, else the reason.
std::string readerWouldExit(const char* path) {
  constexpr int kWord = 128;  // the reader's word and skipped stretch
  FILE* file = fopenEZ(path, "r");
  if (!file) return "";  // the reader reports this one itself
  std::string dir = path;
  size_t slash = dir.rfind('/');
  dir = slash == std::string::npos ? "" : dir.substr(0, slash + 1);

  std::string reason;
  char buf[kWord];
  char line[kWord];
  while (reason.empty() && fscanf(file, "%127s", buf) == 1) {
    switch (buf[0]) {
      case 'v':
        if (buf[1] != '\0' && buf[1] != 'n' && buf[1] != 't')
          reason = std::string("unknown token [") + buf + "]";
        if (!fgets(line, kWord, file)) line[0] = '\0';
        break;
      case 'm': {
        char name[kWord];
        if (!fgets(line, kWord, file) || sscanf(line, "%127s", name) != 1) break;
        std::string mtl = dir + name;
        FILE* m = fopenEZ(mtl.c_str(), "r");
        if (m)
          fclose(m);
        else
          reason = "cannot open material file [" + mtl + "]";
        break;
      }
      case 'g':
        if (!fgets(line, kWord, file)) line[0] = '\0';
        break;
      case 'f': {
        // A face runs over as many numbers as follow, across line ends, in the form of its
        // first corner.
        char first[kWord] = "";
        if (fscanf(file, "%127s", first) != 1) break;
        int a, b, c;
        const char* form = "%d";
        if (strstr(first, "//"))
          form = "%d//%d";
        else if (sscanf(first, "%d/%d/%d", &a, &b, &c) == 3)
          form = "%d/%d/%d";
        else if (sscanf(first, "%d/%d", &a, &b) == 2)
          form = "%d/%d";
        while (fscanf(file, form, &a, &b, &c) > 0) {
        }
        break;
      }
      default:
        if (!fgets(line, kWord, file)) line[0] = '\0';
        break;
    }
  }
  fclose(file);
  return reason;
}

bool hasImageExtension(const char* file) {
  static const char* const kExtensions[] = {".sgi", ".rgb", ".ppm", ".pnm", ".pgm"};
  size_t n = strlen(file);
  for (const char* ext : kExtensions) {
    size_t m = strlen(ext);
    if (n >= m && strcmp(file + n - m, ext) == 0) return true;
  }
  return false;
}

bool canOpen(const std::string& path) {
  FILE* f = fopenEZ(path.c_str(), "r");
  if (!f) return false;
  fclose(f);
  return true;
}

// A texture that can't be built ends the process at the first frame that draws it; such a model
// is refused here instead. Returns "" or the reason.
std::string textureWouldExit(const _GLMmodel* model) {
  static const char* const kEnvWords[] = {"replace", "decal", "modulate", "blend"};
  for (unsigned int i = 0; i < model->nummaterials; i++) {
    const _GLMmaterial& m = model->materials[i];
    if (!m.texPending) continue;
    bool envKnown = false;
    for (const char* word : kEnvWords) envKnown = envKnown || strcasecmp(m.texEnvName, word) == 0;
    if (!envKnown) return std::string("unknown texture mode [") + m.texEnvName + "]";
    if (!hasImageExtension(m.texFile)) return std::string("unknown image type [") + m.texFile + "]";
    if (!canOpen(m.texFile) && !canOpen(std::string(m.texDir) + m.texFile))
      return std::string("cannot open texture image [") + m.texDir + m.texFile + "]";
    if (m.texAlphaFile[0] && !canOpen(m.texAlphaFile) && !canOpen(std::string(m.texDir) + m.texAlphaFile))
      return std::string("cannot open texture image [") + m.texDir + m.texAlphaFile + "]";
  }
  return "";
}

void setWindowTitle() {
  snprintf(titleStr, sizeof titleStr, "Velmora tool %d.%d [%s]", kProgramVersionMajor, kProgramVersionMinor,
           alignfile);
  if (mainWindow == 0) return;  // no window of the framework yet: the title is set when it opens
  int current = glutGetWindow();
  glutSetWindow(mainWindow);
  glutSetWindowTitle(titleStr);
  if (current != 0) glutSetWindow(current);
}

}  // namespace

const char* exportUnitLine(int unit) {
  return unit >= 0 && unit < kNumExportUnits ? kUnitLines[unit] : nullptr;
}

const char* exportCoordLine(int coord) {
  return coord >= 0 && coord < kNumExportCoords ? kCoordLines[coord] : nullptr;
}

// ---- Opening ------------------------------------------------------------------------------------

int openFile(const char* dir, const char* name) {
  if (!dir) dir = "";
  if (!name || !name[0]) {
    fprintf(stderr, "Err : cannot open [%s/<null>]\n", dir);
    return -1;
  }
  const size_t dirLength = strlen(dir);
  const char* format = (dirLength > 0 && dir[dirLength - 1] == '/') ? "%s%s" : "%s/%s";
  // An empty directory is the working directory, not the root.
  if (dirLength == 0) dir = ".";
  char path[kPathBuffer];
  if (snprintf(path, sizeof path, format, dir, name) >= static_cast<int>(sizeof path)) {
    fprintf(stderr, "Err : cannot open [%s/%s] (path too long)\n", dir, name);
    panelSync();
    return -1;
  }

  // A sky picture is placed first (or stood facing the view), and the model written for it is
  // opened in its stead: the recent list and the title name that model.
  std::string imageModel, imageDir, imageName;
  const ImageOpen image = modelOfImage(path, imageModel);
  if (image == ImageOpen::Failed) {
    panelSync();
    return -1;
  }
  if (image != ImageOpen::NotAnImage) {
    if (imageModel.size() >= sizeof path) {
      fprintf(stderr, "Err : cannot open [%s] (path too long)\n", imageModel.c_str());
      panelSync();
      return -1;
    }
    copyText(path, imageModel.c_str(), sizeof path);
    const size_t slash = imageModel.rfind('/');
    imageDir = imageModel.substr(0, slash);
    imageName = imageModel.substr(slash + 1);
    dir = imageDir.c_str();
    name = imageName.c_str();
  }
  fprintf(stderr, "Try to read [%s] (please wait) ... ", path);
  fflush(stderr);
  // A directory opens for reading too, but holds no model.
  struct stat st;
  FILE* test = fopen(path, "r");
  if (test && (fstat(fileno(test), &st) != 0 || S_ISDIR(st.st_mode))) {
    fclose(test);
    test = nullptr;
  }
  if (!test) {
    fprintf(stderr, "failed to open.\n");
    panelSync();
    return -1;
  }
  fclose(test);

  std::string reason = readerWouldExit(path);
  _GLMmodel* model = reason.empty() ? glmReadOBJ(path) : nullptr;
  if (model && reason.empty()) reason = textureWouldExit(model);
  if (!model || !reason.empty()) {
    if (model) glmDelete(model);
    fprintf(stderr, "failed to read.\n");
    if (!reason.empty()) fprintf(stderr, "Err : [%s]: %s\n", path, reason.c_str());
    panelSync();
    return -1;
  }

  fprintf(stderr, "okay.\n");
  // A file without mtllib has no material; the head group's colour needs one.
  giveDefaultMaterial(model);
  if (alignModel) glmDelete(alignModel);
  alignModel = model;

  if (glmIsPlanar(alignModel, kPlanarTolerance)) {
    isObjAnImage = 1;
    showAlignModelOutline = 0;
  } else {
    isObjAnImage = 0;
    showAlignModelOutline = 1;
  }

  fixModelMatrix(alignModel);
  resetAlign();
  unsigned int material = alignModel->groups ? alignModel->groups->material : 0;
  if (material >= alignModel->nummaterials) material = 0;
  memcpy(orig_modelColor, alignModel->materials[material].diffuse, sizeof orig_modelColor);
  copyText(alignfile, path, sizeof alignfile);
  resetAlignFile(1);
  try_open_alignfile = name;

  distObjModel = static_cast<float>(length3D(alignModelCenter));
  setWindowTitle();

  // The list may hold `dir` and `name` themselves (openRecentFile passes copies for that reason).
  addRecentFile(dir, name);
  // No entry chosen: picking any entry afterwards, the head included, is a change of the box.
  recentListBoxID = 0;
  fixInitView();
  panelSync();
  return 1;
}

void openRecentFile(int entry) {
  if (entry < 0 || entry >= nRecentFiles) {
    fprintf(stderr, "Err(openRecentFile): input argument (entry) is out of range!\n");
    return;
  }
  // addRecentFile rewrites the arrays that the pair comes from.
  char dir[kPathBuffer], name[kPathBuffer];
  copyText(dir, recentPaths[entry], sizeof dir);
  copyText(name, recentFiles[entry], sizeof name);
  openFile(dir, name);
}

void addRecentFile(const char* dir, const char* name) {
  if (!dir) dir = "";
  if (!name) name = "";
  // The box holds as many items as the list had entries before this call.
  const int boxItems = nRecentFiles;
  // Copies first: the pair may stand in the arrays that are shifted below.
  char newDir[kPathBuffer], newName[kPathBuffer];
  copyText(newDir, dir, sizeof newDir);
  copyText(newName, name, sizeof newName);

  for (int i = 0; i < nRecentFiles; i++) {
    if (strcmp(recentPaths[i], newDir) != 0 || strcmp(recentFiles[i], newName) != 0) continue;
    for (int j = i; j < nRecentFiles - 1; j++) {
      memcpy(recentPaths[j], recentPaths[j + 1], kPathBuffer);
      memcpy(recentFiles[j], recentFiles[j + 1], kPathBuffer);
    }
    nRecentFiles--;
    // The walk goes on with the next index: the entry that slid into the gap isn't looked at.
  }

  const int last = nRecentFiles < kMaxRecentFiles - 1 ? nRecentFiles : kMaxRecentFiles - 1;
  for (int i = last; i > 0; i--) {
    memcpy(recentPaths[i], recentPaths[i - 1], kPathBuffer);
    memcpy(recentFiles[i], recentFiles[i - 1], kPathBuffer);
  }
  copyText(recentPaths[0], newDir, kPathBuffer);
  copyText(recentFiles[0], newName, kPathBuffer);
  if (nRecentFiles < kMaxRecentFiles) nRecentFiles++;

  // The listbox shows the entries by their file names alone.
  if (recentFilesBox) {
    for (int i = 0; i < boxItems; i++) recentFilesBox->delete_item(kRecentListBase + i);
    for (int i = 0; i < nRecentFiles; i++) recentFilesBox->add_item(kRecentListBase + i, recentFiles[i]);
  }
}

void resetAlignFile(int flag) {
  const char* slash = strrchr(alignfile, '/');
  if (slash) {
    copyText(alignfile_basename, slash + 1, sizeof alignfile_basename);
    alignpath.assign(alignfile, static_cast<size_t>(slash - alignfile) + 1);
  } else {
    copyText(alignfile_basename, alignfile, sizeof alignfile_basename);
    alignpath = "./";
  }
  // Paths written the other way round; a leading backslash may be a drive or share prefix.
  for (size_t i = 1; i < alignpath.size(); i++)
    if (alignpath[i] == '\\') alignpath[i] = '/';
  if (alignpath.size() > 1) {
    size_t end = alignpath.size();
    while (end > 1 && alignpath[end - 1] == '/' && alignpath[end - 2] == '/') end--;
    alignpath.resize(end);
  }
  if (flag) try_open_alignfile = alignfile_basename;
}

// ---- Export -------------------------------------------------------------------------------------

// The model in memory is not needed: the source file is read again.
int exportObjFile(const char* target, const char* source, _GLMmodel* /*model*/, const double* matrix,
                  const float* initMatrix, float distance, int unit, int coord) {
  printf("export obj file to [%s] ... ", target ? target : "<NULL>");
  fflush(stdout);
  if (!target || !target[0]) {
    fprintf(stderr, "Err (exportObjFile): cannot export to <NULL>\n");
    return -1;
  }
  if (!source || !source[0]) {
    fprintf(stderr, "Err (exportObjFile): cannot open original objfile which is <NULL>\n");
    return -1;
  }
  // Read as plain text: an EZ-packed model is not expanded here.
  FILE* in = fopen(source, "r");
  if (!in) {
    fprintf(stderr, "Err (exportObjFile): cannot open original objfile [%s]\n", source);
    return -1;
  }
  FILE* text = tmpfile();
  if (!text) {
    fclose(in);
    fprintf(stderr, "Sorry... buffer is full. Failed to open tmp file.\n");
    return -1;
  }

  float e[16], P[16], N[16];
  buildExportMatrix(matrix, initMatrix, distance, coord, e);
  transposeMatf(e, P);
  // Normals go through the inverse of E itself, translation included, not its inverse
  // transpose; exported normals are defined so.
  invert4by4f(e);
  transposeMatf(e, N);

  Written written = writeExport(in, text, P, N, unit, coord);
  // The source is closed before the target is written, so the target may be the source.
  fclose(in);
  if (written != Written::kOk) {
    fclose(text);
    if (written == Written::kReadError)
      fprintf(stderr, "Err (exportObjFile): cannot read original objfile [%s]\n", source);
    else
      fprintf(stderr, "Sorry... buffer is full. Failed to write tmp file.\n");
    return -1;
  }

  Replace result = replaceTarget(text, target);
  fclose(text);
  if (result == Replace::kCannotOpen) {
    fprintf(stderr, "Err (exportObjFile): cannot open objfile [%s]\n", target);
    return -1;
  }
  if (result == Replace::kCannotWrite) {
    fprintf(stderr, "Err (exportObjFile): cannot write objfile [%s]\n", target);
    return -1;
  }
  printf("okay\n");
  return 1;
}

// ---- Small float, matrix and angle functions ------------------------------------------------

void vecTolb(const double v[3], double& l, double& b) {
  double u[3] = {v[0], v[1], v[2]};
  const double length = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
  u[0] /= length;
  u[1] /= length;
  u[2] /= length;
  l = std::atan2(u[1], u[0]) * kDegreesPerRadian;
  b = std::asin(u[2]) * kDegreesPerRadian;
}

void lbToVec(double l, double b, double v[3]) {
  const double lr = l * kRadiansPerDegree, br = b * kRadiansPerDegree;
  v[0] = std::cos(br) * std::cos(lr);
  v[1] = std::cos(br) * std::sin(lr);
  v[2] = std::sin(br);
}

void transposeMatf(const float in[16], float out[16]) {
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) out[4 * i + j] = in[4 * j + i];
}

float dot3f(const float a[3], const float b[3]) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void matMultVertexf(const float rows[16], float v[3]) {
  float r[4];
  for (int i = 0; i < 4; i++)
    r[i] = rows[4 * i] * v[0] + rows[4 * i + 1] * v[1] + rows[4 * i + 2] * v[2] + rows[4 * i + 3];
  if (r[3] != 0.0f) {
    r[0] /= r[3];
    r[1] /= r[3];
    r[2] /= r[3];
  }
  v[0] = r[0];
  v[1] = r[1];
  v[2] = r[2];
}

void matMultVertexd(const double rows[16], double v[3]) {
  float r[4];
  for (int i = 0; i < 4; i++)
    r[i] = static_cast<float>(rows[4 * i] * v[0] + rows[4 * i + 1] * v[1] + rows[4 * i + 2] * v[2] +
                              rows[4 * i + 3]);
  if (r[3] != 0.0f) {
    r[0] /= r[3];
    r[1] /= r[3];
    r[2] /= r[3];
  }
  v[0] = r[0];
  v[1] = r[1];
  v[2] = r[2];
}

void unifyf(float v[3]) {
  const float length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (length == 0.0f) return;
  v[0] /= length;
  v[1] /= length;
  v[2] /= length;
}
