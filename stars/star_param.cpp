// The star parameter file, its reader and writer, and the setters through which a parameter
// record reaches the object.
#include "stars/star.h"

#include <cstdio>

#include "fileio/common.h"

int StarList::loadColorMapBV(const char* file, float start, float end) {
  ColorMap* map = loadColorMapPtr(file, start, end, allocFunc);
  if (!map) {
    fprintf(stderr, "Err: (loadColorMapBV) failed to load colormap [%s]\n", file);
    return -1;
  }
  freeColorMapPtr(bvColorMap, freeFunc);
  bvColorMap = map;
  param.whichColorMap = _USE_BV_COLOR_MAP;
  param.bvStart = start;
  param.bvEnd = end;
  copyText(param.bvColormapFile, file, sizeof param.bvColormapFile);
  resetColor();
  return 1;
}

int StarList::loadColorMapSpType(const char* file) {
  SpColorMap* map = loadSpColorMapPtr(file, allocFunc);
  if (!map) {
    fprintf(stderr, "Err: (loadColorMapSpType) failed to load colormap [%s]\n", file);
    return -1;
  }
  freeSpColorMapPtr(spColorMap, freeFunc);
  spColorMap = map;
  param.whichColorMap = _USE_SPECTRAL_COLOR_MAP;
  copyText(param.spColormapFile, file, sizeof param.spColormapFile);
  resetColor();
  return 1;
}

int StarList::setWhichColorMap(int which) {
  switch (which) {
    case _NO_COLOR_MAP:
      break;
    case _USE_BV_COLOR_MAP:
      if (!bvColorMap) {
        fprintf(stderr, "Err: please call loadColorMapBV to setup the BV colormap first.\n");
        return -1;
      }
      break;
    case _USE_SPECTRAL_COLOR_MAP:
      // The spectral value is accepted on the strength of a loaded BV map; this stays so.
      if (!bvColorMap) {
        fprintf(stderr, "Err: please call loadColorMapSpType to setup the SpType colormap first.\n");
        return -1;
      }
      break;
    default:
      fprintf(stderr, "Err: unknown parameter for setWhichColorMap\n");
      fprintf(stderr, "     input should be _NO_COLOR_MAP, _USE_BV_COLOR_MAP, or _USE_SPECTRAL_COLOR_MAP)\n");
      return -1;
  }
  param.whichColorMap = which;
  return 1;
}
