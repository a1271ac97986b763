// Test fixtures of the star textures: small image files written on the spot.
#pragma once

#include <functional>
#include <string>

namespace texfixtures {

// One byte of a picture: channel c of the pixel at column x, row y.
using PixelFunc = std::function<unsigned char(int x, int y, int c)>;

// A verbatim SGI file of width x height with channels planes, one byte a sample.
inline std::string sgiImage(int width, int height, int channels, const PixelFunc& pixel) {
  std::string s(512, '\0');
  auto put16 = [&](int at, int v) {
    s[at] = (char)((v >> 8) & 0xFF);
    s[at + 1] = (char)(v & 0xFF);
  };
  put16(0, 474);  // magic
  put16(2, 1);    // verbatim, one byte a sample
  put16(4, 3);    // dimensions
  put16(6, width);
  put16(8, height);
  put16(10, channels);
  for (int c = 0; c < channels; c++)
    for (int y = 0; y < height; y++)
      for (int x = 0; x < width; x++) s.push_back((char)pixel(x, y, c));
  return s;
}

// A binary PNM file: P6 for three channels, P5 for one.
inline std::string pnmImage(int width, int height, int channels, const PixelFunc& pixel) {
  std::string s = std::string(channels == 3 ? "P6" : "P5") + "\n" + std::to_string(width) + " " +
                  std::to_string(height) + "\n255\n";
  for (int y = 0; y < height; y++)
    for (int x = 0; x < width; x++)
      for (int c = 0; c < channels; c++) s.push_back((char)pixel(x, y, c));
  return s;
}

}  // namespace texfixtures
