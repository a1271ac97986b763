// Star textures: the image a telescope makes of a point of light, with which bright stars are
// drawn. Four sources (an Airy pattern, a Gaussian, an impulse filtered in the frequency domain,
// an image file), the upload to OpenGL, the radius holding half the light, and the setters that
// choose a source. A setter clears texId; the drawing code builds the texture again only then.
#include "stars/star_tex.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "coords/randvar.h"
#include "fileio/common.h"
#include "fileio/sgi.h"
#include "stars/fft.h"
#include "stars/star.h"

namespace {

constexpr int kMaxByte = 255;
constexpr int kRGB = 3;
constexpr int kRGBA = 4;
constexpr int kAlpha = 3;  // byte of a pixel that holds alpha

// Airy: below this angle j1(t)/t is taken at this angle, which is the centre's value to many
// digits and avoids 0 over 0.
constexpr double kAiryMinAngle = 1e-12;
// Radians spanned by the half-width of the texture at size 0; size s spans (2 s + 1) times it.
constexpr double kAiryHalfSpan = 3e-6;
// Wavelengths in metres of the three channels.
constexpr double kWavelengthRed = 6.5e-07;
constexpr double kWavelengthGreen = 5.425e-07;
constexpr double kWavelengthBlue = 4.35e-07;

// The Gaussian's grid sits half a pixel off the Airy one, so no pixel is at its centre.
constexpr double kGaussPixelOffset = 0.5;

// The impulse filtered in the FFT texture, and the Butterworth gain of 1/(1 + k (r/R)^(2 order)).
constexpr float kFFTImpulse = 255.0f;
constexpr double kButterworthGain = 0.414;

// The texture's radius that holds this fraction of its light sizes the billboards.
constexpr double kHalfLight = 0.5;

// Scratch of the FFT texture, the signal and the filter: module-wide, not re-entrant.
FFTComplex fftSignal[kStarTexSide * kStarTexSide];
FFTComplex fftFilter[kStarTexSide * kStarTexSide];

// Truncates toward zero and clamps to 0..255. NaN gives 0, which is also what the processor's
// truncation of a NaN leaves in the low byte.
unsigned char toByte(double v) {
  if (!(v > 0.0)) return 0;
  if (v >= kMaxByte) return kMaxByte;
  return static_cast<unsigned char>(static_cast<int>(v));
}

bool inUnitRange(double v) {
  return v >= 0.0 && v <= 1.0;  // false for NaN too
}

bool isMinFilter(int f) {
  return f == GL_NEAREST || f == GL_LINEAR || f == GL_NEAREST_MIPMAP_NEAREST || f == GL_LINEAR_MIPMAP_NEAREST ||
         f == GL_NEAREST_MIPMAP_LINEAR || f == GL_LINEAR_MIPMAP_LINEAR;
}

bool isMagFilter(int f) {
  return f == GL_NEAREST || f == GL_LINEAR;
}

// Gives the GL texture back, so that the next frame builds it from the new parameters.
void dropTexture(unsigned int* name) {
  if (*name) glDeleteTextures(1, name);
  *name = 0;
}

// The 64 x 64 result of a computed texture; without it the process can't go on.
unsigned char* allocComputedTexture(StarAllocFunc allocFunc) {
  unsigned char* array = static_cast<unsigned char*>(allocFunc(kStarTexBytes));
  if (!array) {
    fprintf(stderr, "Err : allocate memory for texture!\n");
    exit(1);
  }
  return array;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Free functions

double airy(double angle, double apertureDiam, double wavelength) {
  if (angle < kAiryMinAngle) angle = kAiryMinAngle;
  double q = apertureDiam / wavelength;
  double a = q * kPi;
  double t = a * fabs(angle);
  double g = j1(t) / t;
  return a * q * g * g;
}

float intensityAt(const unsigned char* pixel, int channels) {
  float sum = 0.0f;
  for (int c = 0; c < channels; c++) sum += pixel[c];
  return sum / channels;
}

void maskTexture(unsigned char* array, int width, int height, int /*channels*/, int low, int high) {
  size_t pixels = static_cast<size_t>(width > 0 ? width : 0) * static_cast<size_t>(height > 0 ? height : 0);
  for (size_t i = 0; i < pixels; i++) {
    unsigned char* p = array + i * kRGBA;
    int m = static_cast<int>(intensityAt(p, kRGB) + 0.5f);
    if (m > high)
      p[kAlpha] = kMaxByte;
    else if (m < low)
      p[kAlpha] = 0;
    else if (high <= low)
      p[kAlpha] = kMaxByte;  // an empty ramp: the one grey left between the bounds is a step up
    else
      p[kAlpha] = toByte((m - low) * (static_cast<double>(kMaxByte) / (high - low)) + 0.5);
  }
}

void applyBlur(unsigned char* array, int width, int height, int channels, int count) {
  constexpr int kBlock = 3;
  constexpr int kBlockPixels = kBlock * kBlock;
  constexpr double kNoise = 8.0;
  constexpr int kShownChannels = 4;
  if (width < kBlock || height < kBlock || channels < 1) return;
  for (int n = 0; n < count; n++) {
    // A centre in [1, size - 2], so that the block lies inside the texture.
    int cx = 1 + static_cast<int>(uniformRV() * (width - 2));
    int cy = 1 + static_cast<int>(uniformRV() * (height - 2));
    if (cx > width - 2) cx = width - 2;
    if (cy > height - 2) cy = height - 2;
    printf("cx,cy = %d,%d (%d x %d)\n", cx, cy, width, height);
    int mean[kShownChannels] = {0, 0, 0, 0};
    for (int c = 0; c < channels; c++) {
      int sum = 0;
      for (int y = cy - 1; y <= cy + 1; y++)
        for (int x = cx - 1; x <= cx + 1; x++) sum += array[(static_cast<size_t>(y) * width + x) * channels + c];
      int m = toByte(static_cast<double>(sum) / kBlockPixels + 0.5 + (uniformRV() - 0.5) * kNoise);
      if (c < kShownChannels) mean[c] = m;
      for (int y = cy - 1; y <= cy + 1; y++)
        for (int x = cx - 1; x <= cx + 1; x++)
          array[(static_cast<size_t>(y) * width + x) * channels + c] = static_cast<unsigned char>(m);
    }
    printf("meanValue = (%d,%d,%d,%d)\n", mean[0], mean[1], mean[2], mean[3]);
  }
}

unsigned nearPower2(unsigned v) {
  if (v == 0) return 1;
  unsigned long long lower = 1;
  while (lower * 2 <= v) lower *= 2;
  unsigned long long upper = lower * 2;
  if (upper > 0x80000000ULL) return static_cast<unsigned>(lower);  // no larger power fits
  return (v - lower > upper - v) ? static_cast<unsigned>(upper) : static_cast<unsigned>(lower);
}

// ---------------------------------------------------------------------------------------------
// Building and uploading

int StarList::initTexture(unsigned int* name) {
  // A texture made before goes first, so that rebuilding leaks no GL texture.
  dropTexture(name);
  glGenTextures(1, name);
  if (*name == 0) {
    fprintf(stderr, "Err : cannot generate texture name!\n\n");
    return -1;
  }
  glBindTexture(GL_TEXTURE_2D, *name);

  int width = 0, height = 0;
  unsigned char* array = nullptr;
  switch (param.textureSource) {
    case STAR_TEX_AIRY:
      array = initAiryTexture(&width, &height, param.filterSize, param.filterCutoff, param.telescopeDiam);
      break;
    case STAR_TEX_GAUSS:
      array = initGaussTexture(&width, &height, param.filterSize, param.filterCutoff);
      break;
    case STAR_TEX_FFT:
      array = initFFTTexture(&width, &height, param.filterSize, param.filterExp, param.filterCutoff,
                             param.filterOrder, param.filterRGB, param.filterType);
      break;
    case STAR_TEX_FILE:
      array = initFileTexture(&width, &height);
      break;
    default:
      break;  // no source: nothing to build
  }
  if (!array) return -1;

  texDiam = computeIntenDiamTex(array, width, height, kRGBA, kHalfLight);
  // Alpha follows brightness, also for a file that brings its own alpha, so that the dark
  // surroundings of the profile don't cover what lies behind the billboard.
  maskTexture(array, width, height, kRGBA, kStarTexMaskLow, kStarTexMaskHigh);

  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, param.texParaMagFilter);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, param.texParaMinFilter);
  gluBuild2DMipmaps(GL_TEXTURE_2D, GL_RGBA, width, height, GL_RGBA, GL_UNSIGNED_BYTE, array);

  freeFunc(array);
  return 1;
}

unsigned char* StarList::initAiryTexture(int* width, int* height, float size, float cutoff, float diam) {
  unsigned char* array = allocComputedTexture(allocFunc);
  const double wavelengths[kRGB] = {kWavelengthRed, kWavelengthGreen, kWavelengthBlue};
  static double values[kStarTexSide * kStarTexSide * kRGB];  // scratch; not re-entrant
  double largest = 0.0;
  for (int j = 0; j < kStarTexSide; j++) {
    for (int i = 0; i < kStarTexSide; i++) {
      float dx = static_cast<float>(i - kStarTexCentre);
      float dy = static_cast<float>(j - kStarTexCentre);
      double angle = sqrt(static_cast<double>(dx * dx + dy * dy)) / kStarTexCentre * kAiryHalfSpan * (2.0 * size + 1.0);
      for (int c = 0; c < kRGB; c++) {
        double v = airy(angle, diam, wavelengths[c]);
        values[(j * kStarTexSide + i) * kRGB + c] = v;
        if (v > largest) largest = v;
      }
    }
  }
  for (int p = 0; p < kStarTexSide * kStarTexSide; p++) {
    int sum = 0;
    for (int c = 0; c < kRGB; c++) {
      double v = values[p * kRGB + c] / largest;
      // The cutoff brightens the profile and saturates its core.
      unsigned char b = toByte(v > cutoff ? kMaxByte : v / cutoff * kMaxByte);
      array[p * kRGBA + c] = b;
      sum += b;
    }
    array[p * kRGBA + kAlpha] = toByte(sum / kRGB);
  }
  *width = kStarTexSide;
  *height = kStarTexSide;
  return array;
}

unsigned char* StarList::initGaussTexture(int* width, int* height, float size, float cutoff) {
  unsigned char* array = allocComputedTexture(allocFunc);
  double sigma = static_cast<double>(size) * kStarTexSide;
  double limit = static_cast<double>(cutoff) * kMaxByte;
  for (int j = 0; j < kStarTexSide; j++) {
    for (int i = 0; i < kStarTexSide; i++) {
      double dy = j + kGaussPixelOffset - kStarTexCentre;
      double dx = i + kGaussPixelOffset - kStarTexCentre;
      double g = exp(-(dx * dx + dy * dy) / (sigma * sigma)) * kMaxByte;
      g = (g <= limit) ? g / limit * kMaxByte : kMaxByte;
      unsigned char b = toByte(g);
      unsigned char* p = array + (j * kStarTexSide + i) * kRGBA;
      p[0] = p[1] = p[2] = p[kAlpha] = b;
    }
  }
  *width = kStarTexSide;
  *height = kStarTexSide;
  return array;
}

unsigned char* StarList::initFFTTexture(int* width, int* height, float size, float exponent, float cutoff,
                                        float order, const float* rgb, int type) {
  constexpr int n = kStarTexSide;
  unsigned char* array = allocComputedTexture(allocFunc);
  memset(fftSignal, 0, sizeof fftSignal);
  memset(fftFilter, 0, sizeof fftFilter);
  // An impulse at the centre: its forward transform is a flat spectrum, and the inverse transform
  // of that spectrum times the aperture is the aperture's far-field amplitude.
  fftSignal[kStarTexCentre * n + kStarTexCentre].re = kFFTImpulse;

  double radius = static_cast<double>(size) * kStarTexCentre;
  if (type == _STAR_FILTER_CIRCULAR)
    printf("fft texture (_FILTER_CIRCULAR)!\n");
  else if (type == _STAR_FILTER_SQUARE)
    printf("fft texture (_FILTER_SQUARE)!\n");
  else if (type == _STAR_FILTER_BUTTERWORTH)
    printf("fft texture (_FILTER_BUTTERWORTH)!\n");
  for (int j = 0; j < n; j++) {
    for (int i = 0; i < n; i++) {
      double dx = i - kStarTexCentre, dy = j - kStarTexCentre;
      double r = sqrt(dx * dx + dy * dy);
      double f = 0.0;
      if (type == _STAR_FILTER_CIRCULAR) {
        f = radius - r;  // a disc with a soft edge one pixel wide
        if (f < 0.0) f = 0.0;
        if (f > 1.0) f = 1.0;
      } else if (type == _STAR_FILTER_SQUARE) {
        f = (fabs(dx) < radius && fabs(dy) < radius) ? 1.0 : 0.0;
      } else if (type == _STAR_FILTER_BUTTERWORTH) {
        f = 1.0 / (1.0 + kButterworthGain * pow(r / radius, 2.0 * order));
      }
      fftFilter[j * n + i].re = static_cast<float>(f);
    }
  }

  // The spectrum is centred by forward_fft, which is why the filters are centred at 32. A failed
  // transform leaves the impulse as it is; the result is then a point, which is no reason to stop.
  setAllocFunc_fft(allocFunc, freeFunc);
  forward_fft(fftSignal, n, n);
  for (int k = 0; k < n * n; k++) {
    FFTComplex a = fftSignal[k], f = fftFilter[k];
    fftSignal[k].re = a.re * f.re - a.im * f.im;
    fftSignal[k].im = a.re * f.im + a.im * f.re;
  }
  inverse_fft(fftSignal, n, n);

  static float power[kStarTexSide * kStarTexSide];  // scratch; not re-entrant
  float largest = 0.0f;
  for (int k = 0; k < n * n; k++) {
    power[k] = fftSignal[k].re * fftSignal[k].re + fftSignal[k].im * fftSignal[k].im;
    if (power[k] > largest) largest = power[k];
  }
  // The cutoff saturates the core. At cutoff 0 the division below is 0 over 0 and the texture
  // comes out black: the setters accept 0, and nothing guards it.
  largest *= cutoff;
  for (int k = 0; k < n * n; k++) {
    float p = power[k] < largest ? power[k] : largest;
    unsigned char b = toByte(kMaxByte * pow(p / largest, exponent));
    for (int c = 0; c < kRGB; c++) array[k * kRGBA + c] = toByte(b * rgb[c]);
    array[k * kRGBA + kAlpha] = kMaxByte;
  }
  *width = n;
  *height = n;
  return array;
}

unsigned char* StarList::initFileTexture(int* width, int* height) {
  int w = 0, h = 0, channels = 0;
  unsigned char* image = read_pnm(param.textureFile, &w, &h, &channels);
  if (!image) image = read_sgi(param.textureFile, &w, &h, &channels);
  if (image && (w < 1 || h < 1)) {  // an empty picture has no light to measure
    ptrSGIFree(image);
    image = nullptr;
  }
  if (!image) {
    fprintf(stderr, "Err : reading [%s]\n", param.textureFile);
    return nullptr;
  }
  size_t pixels = static_cast<size_t>(w) * static_cast<size_t>(h);
  unsigned char* array = static_cast<unsigned char*>(allocFunc(pixels * kRGBA));
  if (!array) {
    fprintf(stderr, "ERR : cannot allocate memory for star texture.\n\n");
    ptrSGIFree(image);
    return nullptr;
  }
  if (channels == kRGB) {
    for (size_t i = 0; i < pixels; i++) {
      const unsigned char* in = image + i * kRGB;
      unsigned char* out = array + i * kRGBA;
      out[0] = in[0];
      out[1] = in[1];
      out[2] = in[2];
      out[kAlpha] = toByte(sqrt(static_cast<double>(in[0] * in[0] + in[1] * in[1] + in[2] * in[2])));
    }
  } else if (channels == kRGBA) {
    unsigned char* fresh = static_cast<unsigned char*>(allocFunc(pixels * kRGBA));
    freeFunc(array);
    if (!fresh) {
      fprintf(stderr, "Err: StarList::initFileTexture : Can't allocate memory.\n");
      ptrSGIFree(image);
      return nullptr;
    }
    array = fresh;
    memcpy(array, image, pixels * kRGBA);
  } else {
    fprintf(stderr, "ERR : texFile [%s] should have three or four channels\n\n", param.textureFile);
    freeFunc(array);
    ptrSGIFree(image);
    return nullptr;
  }
  ptrSGIFree(image);

  unsigned w2 = nearPower2(static_cast<unsigned>(w)), h2 = nearPower2(static_cast<unsigned>(h));
  if (w2 == static_cast<unsigned>(w) && h2 == static_cast<unsigned>(h)) {
    *width = w;
    *height = h;
    return array;
  }

  // OpenGL wants power-of-two sides. The scaled array has room for four bytes a pixel whatever
  // the file had, so that the caller, which reads four, stays inside it. A three-channel file is
  // scaled as three-byte pixels of its four-byte array, which garbles it: such files should come
  // with power-of-two sides.
  size_t scaledBytes = static_cast<size_t>(w2) * h2 * kRGBA;
  unsigned char* scaled = static_cast<unsigned char*>(allocFunc(scaledBytes));
  if (!scaled) {
    fprintf(stderr, "ERR : cannot allocate memory for star texture.\n\n");
    freeFunc(array);
    return nullptr;
  }
  memset(scaled, 0, scaledBytes);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  GLenum format = channels == kRGBA ? GL_RGBA : GL_RGB;
  GLint err = gluScaleImage(format, w, h, GL_UNSIGNED_BYTE, array, static_cast<GLint>(w2), static_cast<GLint>(h2),
                            GL_UNSIGNED_BYTE, scaled);
  if (err != 0) {
    fprintf(stderr, "Err : GLerror [%s]\n", reinterpret_cast<const char*>(gluErrorString(static_cast<GLenum>(err))));
    freeFunc(scaled);
    freeFunc(array);
    return nullptr;
  }
  freeFunc(array);
  *width = static_cast<int>(w2);
  *height = static_cast<int>(h2);
  return scaled;
}

float StarList::computeIntenDiamTex(unsigned char* array, int width, int height, int channels, double fraction) {
  // Distances are in units of the texture's own size: the edge is at about 0.5, a corner at 0.707.
  constexpr float kCornerDistanceSquared = 0.5f;
  float cx = (width - 1) / 2.0f, cy = (height - 1) / 2.0f;
  float lo = 0.0f, hi = sqrtf(kCornerDistanceSquared);
  float mid = (lo + hi) / 2.0f;
  int longest = width > height ? width : height;
  float step = 1.0f / static_cast<float>(longest);

  auto lightWithin = [&](float radius, bool all) {
    float sum = 0.0f;
    for (int y = 0; y < height; y++) {
      for (int x = 0; x < width; x++) {
        float u = (x - cx) / width, v = (y - cy) / height;
        if (all || sqrtf(u * u + v * v) <= radius)
          sum += intensityAt(array + (static_cast<size_t>(y) * width + x) * channels, channels);
      }
    }
    return sum;
  };

  float total = lightWithin(0.0f, true);
  float inner = lightWithin(mid, false);
  while (hi - lo >= step) {
    float ratio = inner / total;
    if (ratio > fraction) {
      hi = mid;
      mid = (mid + lo) / 2.0f;
    } else {
      lo = mid;
      mid = (mid + hi) / 2.0f;
    }
    inner = lightWithin(mid, false);
  }
  return mid;
}

// ---------------------------------------------------------------------------------------------
// Setters

int StarList::setStarTextureFile(const char* file, double inTexSize) {
  if (!(inTexSize > 0.0)) {
    fprintf(stderr, "Err (setStarTextureFile) : inTexSize should be positive.\n\n");
    return -1;
  }
  if (!file || !file[0]) {
    fprintf(stderr, "Err (setStarTextureFile) : inTexFile is NULL.\n\n");
    return -1;
  }
  dropTexture(&texId);
  copyText(param.textureFile, file, sizeof param.textureFile);
  param.texSize = inTexSize;
  param.textureSource = STAR_TEX_FILE;
  return 1;
}

int StarList::setStarTextureFFT(float size, float exponent, float cutoff, float order, const float* rgb, int type) {
  constexpr double kFFTTexSize = 3.0;
  if (!inUnitRange(size)) {
    fprintf(stderr, "Err (setStarTextureFFT) : inFilterSize should be [0,1].\n\n");
    return -1;
  }
  if (!(exponent > 0.0f)) {
    fprintf(stderr, "Err (setStarTextureFFT) : inFilterExp should be positive.\n\n");
    return -1;
  }
  if (!inUnitRange(cutoff)) {
    fprintf(stderr, "Err (setStarTextureFFT) : inFilterCutoff should be [0,1].\n\n");
    return -1;
  }
  if (!rgb || !inUnitRange(rgb[0]) || !inUnitRange(rgb[1]) || !inUnitRange(rgb[2])) {
    fprintf(stderr, "Err (setStarTextureFFT) : inFilterRGB's values should be [0,1].\n\n");
    return -1;
  }
  if (!(order >= 0.0f)) {
    fprintf(stderr, "Err (setStarTextureFFT) : inFilterOrder should be positive.\n\n");
    return -1;
  }
  if (type != _STAR_FILTER_SQUARE && type != _STAR_FILTER_CIRCULAR && type != _STAR_FILTER_BUTTERWORTH) {
    fprintf(stderr,
            "Err (setStarTextureFFT) : inFilterType should be _STAR_FILTER_CIRCULAR, _STAR_FILTER_SQUARE, or "
            "_STAR_FILTER_BUTTERWORTH.\n\n");
    return -1;
  }
  dropTexture(&texId);
  param.texSize = kFFTTexSize;
  param.filterSize = size;
  param.filterExp = exponent;
  param.filterCutoff = cutoff;
  param.filterOrder = order;
  for (int c = 0; c < kRGB; c++) param.filterRGB[c] = rgb[c];
  param.filterType = type;
  param.textureSource = STAR_TEX_FFT;
  return 1;
}

int StarList::setStarTextureAiry(float size, float cutoff, float inTelescopeDiam) {
  constexpr double kAiryTexSize = 6.0;
  if (!inUnitRange(size)) {
    fprintf(stderr, "Err (setStarTextureAiry) : inFilterSize should be [0,1].\n\n");
    return -1;
  }
  if (!inUnitRange(cutoff)) {
    fprintf(stderr, "Err (setStarTextureAiry) : inFilterCutoff should be [0,1].\n\n");
    return -1;
  }
  if (!(inTelescopeDiam > 0.0f)) {
    fprintf(stderr, "Err (setStarTextureAiry) : inTelescopeDiam should be positive.\n\n");
    return -1;
  }
  dropTexture(&texId);
  param.texSize = kAiryTexSize;
  param.filterSize = size;
  param.filterCutoff = cutoff;
  param.telescopeDiam = inTelescopeDiam;
  param.textureSource = STAR_TEX_AIRY;
  return 1;
}

int StarList::setStarTextureGauss(float size, float cutoff) {
  constexpr double kGaussTexSize = 6.0;
  if (!inUnitRange(size)) {
    // The Airy setter's text: the two share the size range, and the message is kept as it is.
    fprintf(stderr, "Err (setStarTextureAiry) : inFilterSize should be [0,1].\n\n");
    return -1;
  }
  if (!inUnitRange(cutoff)) {
    fprintf(stderr, "Err (setStarTextureGauss) : inFilterCutoff should be [0,1].\n\n");
    return -1;
  }
  dropTexture(&texId);
  param.texSize = kGaussTexSize;
  param.filterSize = size;
  param.filterCutoff = cutoff;
  param.textureSource = STAR_TEX_GAUSS;
  return 1;
}

int StarList::setStarTextureParaFilter(int minFilter, int magFilter) {
  if (!isMinFilter(minFilter)) {
    fprintf(stderr, "Err (setStarTextureParaFilter) : inTexParaMinFilter should take values GL_NEAREST, GL_LINEAR, "
                    "etc.\n\n");
    return -1;
  }
  if (!isMagFilter(magFilter)) {
    fprintf(stderr,
            "Err (setStarTextureParaFilter) : inTexParaMagFilter should take values GL_NEAREST or GL_LINEAR.\n\n");
    return -1;
  }
  // Stored only: a texture already built keeps its filters until it is built again.
  param.texParaMinFilter = minFilter;
  param.texParaMagFilter = magFilter;
  return 1;
}

int StarList::setStarTextureScale(double inTexScale) {
  if (!(inTexScale >= 0.0)) {
    fprintf(stderr, "Err (setStarTextureScale) : inTexScale should be non-negative.\n\n");
    return -1;
  }
  param.texScale = inTexScale;
  return 1;
}
