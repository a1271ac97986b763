// Free functions of the star textures: the Airy profile, pixel brightness, the alpha mask, a
// random blur and the nearest power of two. The StarList members that build, measure and upload
// a texture are declared in stars/star.h.
//
// A texture in memory is rows from the top of the array, 4 bytes a pixel: red, green, blue,
// alpha. The computed ones are kStarTexSide x kStarTexSide.
#pragma once

constexpr int kStarTexSide = 64;
constexpr int kStarTexCentre = kStarTexSide / 2;
constexpr int kStarTexBytesPerPixel = 4;
constexpr int kStarTexBytes = kStarTexSide * kStarTexSide * kStarTexBytesPerPixel;

// Bounds of the grey levels between which maskTexture ramps alpha from 0 to 255.
constexpr int kStarTexMaskLow = 32;
constexpr int kStarTexMaskHigh = 223;

// Intensity of the diffraction pattern of a circular aperture of diameter apertureDiam seen at
// angle radians, for light of that wavelength (metres): pi q^2 (J1(t) / t)^2 with
// q = apertureDiam / wavelength and t = pi q |angle|; pi q^2 / 4 at the centre. Angles below 1e-12, negative ones included,
// count as 1e-12 so that the centre gives its finite value. Prints nothing.
double airy(double angle, double apertureDiam, double wavelength);

// Mean of the channels bytes at pixel.
float intensityAt(const unsigned char* pixel, int channels);

// Sets each pixel's alpha from the mean of its red, green and blue: 0 below low, 255 above
// high, a ramp between. Always steps 4 bytes a pixel; channels doesn't act. Prints nothing.
void maskTexture(unsigned char* array, int width, int height, int channels, int low, int high);

// Count times: averages a random 3 x 3 block (centre drawn with uniformRV) into all its nine
// pixels, with some noise. Writes "cx,cy = %d,%d (%d x %d)\n" and "meanValue = (%d,%d,%d,%d)\n"
// on standard output each time. Textures under 3 x 3 are left alone.
void applyBlur(unsigned char* array, int width, int height, int channels, int count);

// The power of two nearest to v; a tie goes to the lower one. 0 gives 1, the smallest power.
unsigned nearPower2(unsigned v);
