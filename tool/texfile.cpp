// The Milky Way maps: the texture list reader, the slider list, the texture upload, the unit
// conversion of the slider and the cross-fade of two maps.
#include "tool/texfile.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "coords/constants.h"
#include "fileio/common.h"
#include "fileio/sgi.h"
#include "model/glm.h"
#include "tool/vmbuild.h"
#include "viewer/glui.h"

namespace {

constexpr int kTexLineSize = 512;  // one line of the list, line end included
constexpr int kTexPathSize = 512;  // file names and paths, as everywhere in the system
constexpr const char* kSliderKeyword = "USE_WAVELENGTH_SLIDER";
constexpr int kRGBChannels = 3;
constexpr int kRGBAChannels = 4;
constexpr int kGreyChannels = 1;
constexpr int kFieldsFileOnly = 1;    // an entry with a file name alone
constexpr int kFieldsWithLength = 3;  // file, name and wavelength
constexpr int kMinSliderMaps = 2;     // a cross-fade needs two maps

// Joins dir, separator and name into dst of kTexPathSize bytes; a longer result is cut (and so
// not found).
void joinPath(char* dst, const char* dir, const char* name, const char* separator) {
  copyText(dst, dir, kTexPathSize);
  for (const char* part : {separator, name}) {
    size_t used = strlen(dst);
    copyText(dst + used, part, kTexPathSize - used);
  }
}

// True for lines that are entries, as opposed to comments, blank lines and the slider keyword;
// *slider is set to 1 when the line is the keyword. The line end is cut from line.
bool isEntryLine(char* line, int* slider) {
  texfile::chomp(line);
  if (texfile::isCommentLine(line) || texfile::isBlankLine(line)) return false;
  if (strncmp(line, kSliderKeyword, strlen(kSliderKeyword)) == 0) {
    *slider = 1;
    return false;
  }
  return true;
}

// The next line of fp into line. The read that meets the end of the file ends the scan, so a
// last line without a newline isn't read: the list's format has always been so.
bool nextListLine(FILE* fp, char* line) {
  return fgets(line, kTexLineSize, fp) != nullptr && !feof(fp);
}

// Widens a grey image to RGB in place of its pixels: the upload always hands OpenGL three
// bytes a pixel for anything but four channels, which a one-byte-a-pixel buffer doesn't have.
// Returns false when out of memory (the entry is left as it was).
bool widenGreyToRGB(TexObj* obj) {
  size_t pixels = static_cast<size_t>(obj->width) * static_cast<size_t>(obj->height);
  // One byte more, so that an image without pixels still gets a buffer, as read_pnm gives it.
  auto* rgb = static_cast<unsigned char*>(malloc(pixels * kRGBChannels + 1));
  if (!rgb) return false;
  for (size_t p = 0; p < pixels; ++p)
    for (int c = 0; c < kRGBChannels; ++c) rgb[p * kRGBChannels + c] = obj->image[p];
  free(obj->image);
  obj->image = rgb;
  obj->comp = kRGBChannels;
  return true;
}

}  // namespace

namespace texfile {

int isCommentLine(const char* line) {
  int n = static_cast<int>(strlen(line));
  for (int i = 0; i < n - 1; ++i) {  // the last character is not examined
    if (isspace(static_cast<unsigned char>(line[i]))) continue;
    return line[i] == '#' ? 1 : 0;
  }
  return 0;
}

int isBlankLine(const char* line) {
  int n = static_cast<int>(strlen(line));
  for (int i = 0; i < n - 1; ++i)  // the same bound: a line of one character is blank
    if (!isspace(static_cast<unsigned char>(line[i]))) return 0;
  return 1;
}

void trimFileExt(char* name) {
  char* cut = strchr(name, '.');
  char* det = strstr(name, "_det");
  if (!cut || (det && det < cut)) cut = det;
  if (cut) *cut = '\0';
}

void chomp(char* line) {
  size_t n = strlen(line);
  if (n > 0 && line[n - 1] == '\n') line[n - 1] = '\0';
}

}  // namespace texfile

char* getTexPathOfFile(const char* path) {
  const char* slash = strrchr(path, '/');
  size_t keep = slash ? static_cast<size_t>(slash - path) + 1 : 0;
  auto* dir = static_cast<char*>(malloc(keep + 1));
  if (!dir) return nullptr;
  memcpy(dir, path, keep);
  dir[keep] = '\0';
  return dir;
}

void freeTexObjs(TexObj* objs, int n) {
  if (!objs) return;
  for (int i = 0; i < n; ++i) free(objs[i].image);
  free(objs);
}

TexObj* readTexObjs(const char* path, int* nTex, int* nSlider, int* status) {
  *status = 1;
  *nTex = 0;
  *nSlider = 0;
  FILE* fp = fopen(path, "rb");
  if (!fp) return nullptr;
  char* dir = getTexPathOfFile(path);
  if (!dir) {
    fclose(fp);
    return nullptr;
  }
  *status = 0;

  char line[kTexLineSize];
  int count = 0;
  while (nextListLine(fp, line))
    if (isEntryLine(line, nSlider)) ++count;
  if (count == 0 || fseek(fp, 0, SEEK_SET) != 0) {
    free(dir);
    fclose(fp);
    return nullptr;
  }
  auto* objs = static_cast<TexObj*>(calloc(static_cast<size_t>(count), sizeof(TexObj)));
  if (!objs) {
    fprintf(stderr, "\nErr (readTextureListFile) : no memory for %d textures\n", count);
    free(dir);
    fclose(fp);
    return nullptr;
  }

  int filled = 0;
  while (filled < count && nextListLine(fp, line)) {
    if (!isEntryLine(line, nSlider)) continue;
    TexObj* obj = &objs[filled];
    float wavelength = 0;
    int fields = sscanf(line, "%511s %511s %f", obj->file, obj->name, &wavelength);
    if (fields == kFieldsFileOnly) {
      copyText(obj->name, obj->file, sizeof obj->name);
      texfile::trimFileExt(obj->name);
    }
    obj->logl = fields == kFieldsWithLength ? log10(static_cast<double>(wavelength)) : kNoWavelength;
    ++filled;

    obj->image = read_pnm(obj->file, &obj->width, &obj->height, &obj->comp);
    if (!obj->image) {
      char inDir[kTexPathSize];
      joinPath(inDir, dir, obj->file, "");
      obj->image = read_pnm(inDir, &obj->width, &obj->height, &obj->comp);
      if (!obj->image) {
        fprintf(stderr, "\nErr (readTextureListFile) : reading [%s] or [%s]\n", obj->file, inDir);
        freeTexObjs(objs, filled);
        free(dir);
        fclose(fp);
        *nSlider = 0;
        return nullptr;
      }
    }
  }
  free(dir);
  fclose(fp);
  if (filled == 0) {  // the file changed under the reader
    free(objs);
    *nSlider = 0;
    return nullptr;
  }
  *nTex = filled;
  return objs;
}

TexObj** genSliderList(TexObj* objs, int n, int* nSlider) {
  *nSlider = 0;
  if (!objs) return nullptr;
  int count = 0;
  for (int i = 0; i < n; ++i)
    if (objs[i].logl != kNoWavelength) ++count;
  if (count < kMinSliderMaps) return nullptr;

  auto* labels = static_cast<int*>(malloc(sizeof(int) * static_cast<size_t>(count)));
  auto* keys = static_cast<double*>(malloc(sizeof(double) * static_cast<size_t>(count)));
  auto* list = static_cast<TexObj**>(malloc(sizeof(TexObj*) * static_cast<size_t>(count)));
  if (!labels || !keys || !list) {
    free(labels);
    free(keys);
    free(list);
    return nullptr;
  }
  int k = 0;
  for (int i = 0; i < n; ++i) {
    if (objs[i].logl == kNoWavelength) continue;
    labels[k] = i;
    keys[k] = objs[i].logl;
    ++k;
  }
  q_sort(labels, keys, 0, count - 1, count);

  bool distinct = true;
  for (k = 0; k < count; ++k) {
    list[k] = &objs[labels[k]];
    if (k > 0 && keys[k] == keys[k - 1]) distinct = false;
  }
  free(labels);
  free(keys);
  if (!distinct) {  // two maps at one wavelength leave the cross-fade undefined
    free(list);
    return nullptr;
  }
  *nSlider = count;
  return list;
}

int readMWTexture(char* texFile, const char* baseDir) {
  freeTexObjs(texObjs, nTexObjs);
  texObjs = nullptr;
  nTexObjs = 0;
  free(sliderTex);
  sliderTex = nullptr;
  nSliderTex = 0;

  if (texFile[0] == '\0') {
    // The test is of VELMORA_TEXFILE and the name is taken from TEXFILES, as it always was.
    const char* named = getenv("TEXFILES");
    if (getenv("VELMORA_TEXFILE") && named)
      copyText(texFile, named, kTexPathSize);
    else
      copyText(texFile, kDefaultTexFile, kTexPathSize);
  }

  char path[kTexPathSize];
  int status = 1;
  joinPath(path, baseDir, texFile, "/");
  fprintf(stderr, "reading texture images [%s] ... ", path);
  texObjs = readTexObjs(path, &nTexObjs, &nSliderTex, &status);
  if (!texObjs) {
    joinPath(path, topdir, texFile, "/");
    texObjs = readTexObjs(path, &nTexObjs, &nSliderTex, &status);
  }
  fprintf(stderr, texObjs ? "ok.\n" : "no texture provided.\n");

  showWhichTexture = kTexListBase;
  sliderTexAlpha = kDefaultSliderTexAlpha;
  if (!texObjs || nSliderTex == 0) {
    nSliderTex = 0;
    return texObjs ? 1 : 0;
  }
  sliderTex = genSliderList(texObjs, nTexObjs, &nSliderTex);
  if (sliderTex) {
    tex_sliderUnit = kSliderUnitBase + kUnitWavelength;
    tex_sliderValue = kDefaultSliderValue;
    tex_sliderMin = static_cast<float>(sliderTex[0]->logl);
    tex_sliderMax = static_cast<float>(sliderTex[nSliderTex - 1]->logl);
    if (tex_sliderValue < tex_sliderMin) tex_sliderValue = tex_sliderMin;
    if (tex_sliderValue > tex_sliderMax) tex_sliderValue = tex_sliderMax;
  }
  return 1;
}

int bindTexObjs(TexObj* objs, int n) {
  for (int i = 0; i < n; ++i) {
    TexObj* obj = &objs[i];
    GLuint id = 0;
    glGenTextures(1, &id);
    if (id == 0) {
      fprintf(stderr, "Err : please initialize the GLUT environment before\n");
      fprintf(stderr, "      calling bindTexObjs if you want to use texture.\n");
      return -1;
    }
    obj->texId = id;
    glBindTexture(GL_TEXTURE_2D, id);

    if (obj->comp == kGreyChannels && !widenGreyToRGB(obj)) {
      fprintf(stderr, "Err (bindTexObjs) : no memory for [%s]\n", obj->file);
      return -1;
    }
    GLenum format = obj->comp == kRGBAChannels ? GL_RGBA : GL_RGB;
    int channels = obj->comp == kRGBAChannels ? kRGBAChannels : kRGBChannels;
    int w2 = nearPower2(obj->width), h2 = nearPower2(obj->height);
    if (w2 != obj->width || h2 != obj->height) {
      auto* scaled = static_cast<unsigned char*>(
          calloc(static_cast<size_t>(w2) * static_cast<size_t>(h2) * static_cast<size_t>(channels), 1));
      if (!scaled) {
        fprintf(stderr, "Err (bindTexObjs) : no memory for [%s]\n", obj->file);
        return -1;
      }
      // Rows are packed tightly on both sides: the scaler also pads its output rows to the pack
      // alignment, which would run past the buffer for widths whose rows aren't whole words.
      GLint packAlignment = 0;
      glGetIntegerv(GL_PACK_ALIGNMENT, &packAlignment);
      glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
      glPixelStorei(GL_PACK_ALIGNMENT, 1);
      GLint err = gluScaleImage(format, obj->width, obj->height, GL_UNSIGNED_BYTE, obj->image, w2, h2,
                                GL_UNSIGNED_BYTE, scaled);
      glPixelStorei(GL_PACK_ALIGNMENT, packAlignment);
      if (err != 0) {
        fprintf(stderr, "Err : GLerror [%s]\n", reinterpret_cast<const char*>(gluErrorString(err)));
        free(scaled);
        return -1;
      }
      free(obj->image);
      obj->image = scaled;
      obj->width = w2;
      obj->height = h2;
    }

    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_DECAL);
    // Repeating in s lets the map close up at longitude 0.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    // A mipmap filter isn't a magnification filter: OpenGL refuses it there and keeps
    // GL_LINEAR, so GL_LINEAR is what is set, without leaving an error behind.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    GLint err = gluBuild2DMipmaps(GL_TEXTURE_2D, obj->comp, obj->width, obj->height, format, GL_UNSIGNED_BYTE,
                                  obj->image);
    if (err != 0)  // the texture stays incomplete and draws nothing; the other maps go on
      fprintf(stderr, "Err : GLerror [%s]\n", reinterpret_cast<const char*>(gluErrorString(err)));
  }
  return 1;
}

void printTexObjInfo(const TexObj* obj) {
  fprintf(stderr, "name : %s\n", obj->name);
  fprintf(stderr, "file : %s\n", obj->file);
  fprintf(stderr, "wxh  : %d x %d\n", obj->width, obj->height);
  fprintf(stderr, "comp : %d\n", obj->comp);
  if (obj->logl != kNoWavelength)
    fprintf(stderr, "logl : %f\n", obj->logl);
  else
    fprintf(stderr, "logl : not provided.\n");
}

namespace {

// The constant k of x = k / L for units 1 to 3; 0 for an unknown unit.
double unitConstant(int unit) {
  switch (unit) {
    case kUnitFrequency:
      return kSpeedOfLight;
    case kUnitTemperature:
      return kSecondRadiationConstant;
    case kUnitEnergy:
      return kPlanckTimesLightEvMetres;
    default:
      return 0;
  }
}

bool isKnownUnit(int unit) {
  return unit >= kUnitWavelength && unit <= kUnitEnergy;
}

}  // namespace

float convertSliderUnit(int frmUnit, int toUnit, float value) {
  if (frmUnit == toUnit) return value;
  if (!isKnownUnit(frmUnit)) {
    fprintf(stderr, "Err (convertSliderUnit) : internal programming error (unknown frmUnit)\n\n");
    exit(1);
  }
  if (!isKnownUnit(toUnit)) {
    fprintf(stderr, "Err (convertSliderUnit) : internal programming error (unknown toUnit)\n\n");
    exit(1);
  }
  double x = pow(10.0, static_cast<double>(value));
  double wavelength = frmUnit == kUnitWavelength ? x : unitConstant(frmUnit) / x;
  double y = toUnit == kUnitWavelength ? wavelength : unitConstant(toUnit) / wavelength;
  return static_cast<float>(log10(y));
}

void resetTexture(int id) {
  if (!texObjs) return;
  if (id == kIdTexSlider && sliderTex && nSliderTex > 0) {
    float v = convertSliderUnit(tex_sliderUnit - kSliderUnitBase, kUnitWavelength, tex_sliderValue);
    bool found = false;
    for (int i = 1; i < nSliderTex && !found; ++i) {
      // Strictly greater: at an entry's own wavelength that entry leads the next interval.
      if (sliderTex[i]->logl > v) {
        const TexObj* lo = sliderTex[i - 1];
        const TexObj* hi = sliderTex[i];
        sliderTexID1 = lo->texId;
        sliderTexID2 = hi->texId;
        sliderTexAlpha1 = static_cast<float>((hi->logl - v) / (hi->logl - lo->logl));
        sliderTexAlpha2 = 1 - sliderTexAlpha1;
        found = true;
      }
    }
    if (!found) {  // at or beyond the top end the last map stands alone
      sliderTexID1 = sliderTex[nSliderTex - 1]->texId;
      sliderTexAlpha1 = 1;
      sliderTexAlpha2 = 0;
    }
  }
  syncPanel();
}

void updateTexSliderUnit() {
  static int prevSliderUnit = kUnitWavelength;
  int unit = tex_sliderUnit - kSliderUnitBase;
  if (unit != prevSliderUnit) {
    tex_sliderValue = convertSliderUnit(prevSliderUnit, unit, tex_sliderValue);
    tex_sliderMin = convertSliderUnit(prevSliderUnit, unit, tex_sliderMin);
    tex_sliderMax = convertSliderUnit(prevSliderUnit, unit, tex_sliderMax);
    prevSliderUnit = unit;
    // Frequency, temperature and energy fall as the wavelength rises.
    if (tex_sliderMin > tex_sliderMax) {
      float lowest = tex_sliderMax;
      tex_sliderMax = tex_sliderMin;
      tex_sliderMin = lowest;
    }
  }
  // New limits may clamp the value: it is put back afterwards.
  if (textureSlider) {
    float value = tex_sliderValue;
    textureSlider->set_float_limits(tex_sliderMin, tex_sliderMax);
    textureSlider->set_float_val(value);
  }
  syncPanel();
}
