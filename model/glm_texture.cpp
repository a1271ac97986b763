// Building the OpenGL texture object of one material from its image and alpha files.
#include <GL/glu.h>
#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fileio/sgi.h"
#include "model/glm.h"
#include "model/glm_internal.h"

int nearPower2(int n) {
  if (n <= 0) return 1;
  int a = 1;
  while ((a << 1) <= n && a < (1 << 30)) a <<= 1;  // the highest set bit of n
  int b = a * 2;
  return (n - a > b - n) ? b : a;  // a tie goes down
}

GLint glmBestTexFilter(GLenum pname) {
  static const GLint filters[] = {GL_LINEAR_MIPMAP_LINEAR,  GL_NEAREST_MIPMAP_LINEAR,  GL_LINEAR,
                                  GL_LINEAR_MIPMAP_NEAREST, GL_NEAREST_MIPMAP_NEAREST, GL_NEAREST};
  while (glGetError() != GL_NO_ERROR) {
  }
  for (GLint f : filters) {
    glTexParameteri(GL_TEXTURE_2D, pname, f);
    if (glGetError() == GL_NO_ERROR) return f;
  }
  return GL_NEAREST;
}

namespace {

bool endsWith(const char* s, const char* tail) {
  size_t n = strlen(s), m = strlen(tail);
  return n >= m && strcmp(s + n - m, tail) == 0;
}

}  // namespace

void glmInitTexture(_GLMmaterial* material, const char* texEnvWord, const char* dir, const char* file,
                    const char* alphaFile) {
  size_t size = strlen(dir) + strlen(file) + (alphaFile ? strlen(alphaFile) : 0) + 2;
  char* path = static_cast<char*>(glm_detail::allocOrDie(size));
  snprintf(path, size, "%s%s", dir, file);

  unsigned char* (*reader)(const char*, int*, int*, int*) = nullptr;
  if (endsWith(path, ".sgi") || endsWith(path, ".rgb")) reader = read_sgi;
  if (endsWith(path, ".ppm") || endsWith(path, ".pnm") || endsWith(path, ".pgm")) reader = read_pnm;
  if (!reader) {
    fprintf(stderr, "Err: unknown file extension in [%s]\n", file);
    exit(1);
  }

  int width = 0, height = 0, channels = 0;
  unsigned char* image = reader(file, &width, &height, &channels);
  if (!image) image = reader(path, &width, &height, &channels);
  if (!image) {
    fprintf(stderr, "Err: reading [%s] or [%s]\n", file, path);
    exit(1);
  }
  if (channels != 1 && channels != 3 && channels != 4) {
    fprintf(stderr, "Err: [%s] should have Luminosity or RGB or RGBA channel only\n", file);
    exit(1);
  }
  size_t pixels = static_cast<size_t>(width) * height;
  auto* data = static_cast<unsigned char*>(ptrMalloc(pixels * channels + 1));
  if (!data) {
    fprintf(stderr, "Err: allocating memory\n");
    exit(1);
  }
  memcpy(data, image, pixels * channels);
  ptrSGIFree(image);

  if (alphaFile && alphaFile[0]) {
    int aw = 0, ah = 0, ac = 0;
    snprintf(path, size, "%s%s", dir, alphaFile);
    unsigned char* alpha = read_pnm(alphaFile, &aw, &ah, &ac);
    if (!alpha) alpha = read_pnm(path, &aw, &ah, &ac);
    if (!alpha) {
      fprintf(stderr, "Err: reading [%s] o [%s]\n", alphaFile, path);
      exit(1);
    }
    if (aw != width || ah != height) {
      fprintf(stderr, "Err: sizes of files [%s] and [%s] illmatch\n", file, alphaFile);
      exit(1);
    }
    if (ac != 1) {
      fprintf(stderr, "Err: [%s] should have one alpha channel only\n", alphaFile);
      exit(1);
    }
    if (channels == 4) {
      for (size_t i = 0; i < pixels; i++) data[4 * i + 3] = alpha[i];
    } else {
      int out = channels + 1;  // luminance + alpha, or RGBA
      auto* merged = static_cast<unsigned char*>(ptrMalloc(pixels * out + 1));
      if (!merged) {
        fprintf(stderr, "Err: allocating memory\n");
        exit(1);
      }
      for (size_t i = 0; i < pixels; i++) {
        memcpy(merged + out * i, data + channels * i, channels);
        merged[out * i + channels] = alpha[i];
      }
      ptrFree(data);
      data = merged;
      channels = out;
    }
    ptrSGIFree(alpha);
  }

  GLenum format = GL_RGBA;
  switch (channels) {
    case 1:
      format = GL_LUMINANCE;
      break;
    case 2:
      format = GL_LUMINANCE_ALPHA;
      break;
    case 3:
      format = GL_RGB;
      break;
    default:
      format = GL_RGBA;
      break;
  }

  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  int w2 = nearPower2(width), h2 = nearPower2(height);
  if (w2 != width || h2 != height) {
    printf("- call gluScaleImage : %dx%d to %dx%d\n", width, height, w2, h2);
    auto* scaled = static_cast<unsigned char*>(ptrMalloc(static_cast<size_t>(w2) * h2 * channels + 1));
    if (!scaled) {
      fprintf(stderr, "Err: allocating memory\n");
      exit(1);
    }
    GLint err =
        gluScaleImage(format, width, height, GL_UNSIGNED_BYTE, data, w2, h2, GL_UNSIGNED_BYTE, scaled);
    if (err != 0) {
      fprintf(stderr, "Err: GLerror [%s]\n", reinterpret_cast<const char*>(gluErrorString(err)));
      exit(1);
    }
    printf("- done.\n");
    ptrFree(data);
    data = scaled;
    width = w2;
    height = h2;
  }

  material->texId = 0;
  glGenTextures(1, &material->texId);
  if (material->texId == 0) {
    fprintf(stderr, "Err: please initialize the GLUT environment\n");
    fprintf(stderr, "     before calling readObj if you want to use texture.\n");
    exit(1);
  }
  glBindTexture(GL_TEXTURE_2D, material->texId);

  int env;
  if (strcasecmp(texEnvWord, "replace") == 0)
    env = GL_REPLACE;
  else if (strcasecmp(texEnvWord, "decal") == 0)
    env = GL_DECAL;
  else if (strcasecmp(texEnvWord, "modulate") == 0)
    env = GL_MODULATE;
  else if (strcasecmp(texEnvWord, "blend") == 0)
    env = GL_BLEND;
  else {
    fprintf(stderr, "Err: unknown texEnv parameter [%s]\n", texEnvWord);
    exit(1);
  }
  material->texEnv = env;
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, env);

  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
  glmBestTexFilter(GL_TEXTURE_MIN_FILTER);
  glmBestTexFilter(GL_TEXTURE_MAG_FILTER);

  gluBuild2DMipmaps(GL_TEXTURE_2D, channels, width, height, format, GL_UNSIGNED_BYTE, data);
  ptrFree(data);
  ptrFree(path);
}
