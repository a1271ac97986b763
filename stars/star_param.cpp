// Applying star parameters: a whole record step by step (setStarParameter), and the setters of
// the colour maps and the planets' orbit scale through which single values reach the object.
#include <cstdio>
#include <cstring>

#include "coords/math3D.h"
#include "fileio/common.h"
#include "stars/star.h"

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

int StarList::setExtrasolarPlanetOrbitScale(float inScale) {
  if (!(inScale >= 0)) {  // NaN is refused too
    fprintf(stderr,
            "Err (setExtrasolarPlanetOrbitScale): inExtrasolarPlanetOrbitScale should be non-negative\n");
    return -1;
  }
  param.extrasolarPlanetOrbitScale = inScale;
  return 1;
}

// ---------------------------------------------------------------------------------------------
// A whole record. Each step calls its setter only where the value differs from the object's, and
// the first refusal ends the work: the steps before it stay applied. The record is never copied
// whole, so nothing reaches the object but through a setter.

namespace {

bool sameText(const char* a, const char* b) {
  return strcmp(a, b) == 0;
}

int applyConstellationParameter(StarList& s, const StarParameter& p) {
  if (!sameText(p.constellationFile, s.param.constellationFile) && p.constellationFile[0])
    if (s.loadConstellations(p.constellationFile) == -1) return -1;
  // The colours and widths themselves are not looked at while their flag stays as it is.
  if (p.constellationColorOn != s.param.constellationColorOn) {
    if (!p.constellationColorOn)
      s.param.constellationColorOn = 0;
    else if (s.setConstellationColors(p.constellationLineColor, p.constellationBoundColor) == -1)
      return -1;
  }
  if (p.constellationWidthOn != s.param.constellationWidthOn) {
    if (!p.constellationWidthOn)
      s.param.constellationWidthOn = 0;
    else if (s.setConstellationLineWidth(p.constellationLineWidth, p.constellationBoundWidth) == -1)
      return -1;
  }
  if (p.constellationLineStipple != s.param.constellationLineStipple ||
      p.constellationBoundStipple != s.param.constellationBoundStipple)
    if (s.setConstellationStipple(p.constellationLineStipple, p.constellationBoundStipple) == -1) return -1;
  if (p.labelScale != s.param.labelScale && s.setLabelScale(p.labelScale) == -1) return -1;
  return 1;
}

int applyPlanetParameter(StarList& s, const StarParameter& p) {
  // A table that fails to load has said why and is left out; the work stops here.
  if (!sameText(p.extrasolarPlanetFile, s.param.extrasolarPlanetFile) && p.extrasolarPlanetFile[0] &&
      s.loadExtrasolarPlanets(p.extrasolarPlanetFile) == -1)
    return -1;
  if (p.extrasolarPlanetOrbitScale != s.param.extrasolarPlanetOrbitScale &&
      s.setExtrasolarPlanetOrbitScale(p.extrasolarPlanetOrbitScale) == -1)
    return -1;
  return 1;
}

int applySelectionParameter(StarList& s, const StarParameter& p) {
  // A new range under an unchanged flag is not taken over.
  if (p.zRangeOn != s.param.zRangeOn) {
    if (!p.zRangeOn)
      s.setZRangeOff();
    else if (s.setZRangeOn(p.zRangeMin, p.zRangeMax) == -1)
      return -1;
  }
  if (p.vmagRangeOn != s.param.vmagRangeOn) {
    if (!p.vmagRangeOn)
      s.setVMagRangeOff();
    else if (s.setVMagRangeOn(p.vmagRangeMin, p.vmagRangeMax) == -1)
      return -1;
  }
  for (int i = 0; i < STAR_NUM_SPTYPES; i++) {
    if (p.sptypeOn[i] == s.param.sptypeOn[i]) continue;
    Sptype row = (Sptype)i;
    int r =
        p.sptypeOn[i] ? s.setSptypeRangeOn(row, p.sptypeMin[i], p.sptypeMax[i]) : s.setSptypeRangeOff(row);
    if (r == -1) return -1;
  }
  return 1;
}

int applyColorMapParameter(StarList& s, const StarParameter& p) {
  switch (p.whichColorMap) {
    case _USE_BV_COLOR_MAP:
      if (sameText(p.bvColormapFile, s.param.bvColormapFile) && p.bvStart == s.param.bvStart &&
          p.bvEnd == s.param.bvEnd) {
        // The map that is loaded is the one asked for: switch to it without reading it again.
        if (s.param.whichColorMap != _USE_BV_COLOR_MAP && s.setWhichColorMap(_USE_BV_COLOR_MAP) == -1)
          return -1;
      } else {
        s.param.whichColorMap = _USE_BV_COLOR_MAP;
        if (p.bvColormapFile[0] && s.loadColorMapBV(p.bvColormapFile, (float)p.bvStart, (float)p.bvEnd) == -1)
          return -1;
      }
      break;
    case _NO_COLOR_MAP:
      if (s.param.whichColorMap != _NO_COLOR_MAP && s.setWhichColorMap(_NO_COLOR_MAP) == -1) return -1;
      break;
    case _USE_SPECTRAL_COLOR_MAP:
      if (sameText(p.spColormapFile, s.param.spColormapFile)) {
        if (s.param.whichColorMap != _USE_SPECTRAL_COLOR_MAP &&
            s.setWhichColorMap(_USE_SPECTRAL_COLOR_MAP) == -1)
          return -1;
      } else {
        s.param.whichColorMap = _USE_SPECTRAL_COLOR_MAP;
        if (p.spColormapFile[0] && s.loadColorMapSpType(p.spColormapFile) == -1) return -1;
      }
      break;
    default:
      break;
  }
  return 1;
}

int applyTextureParameter(StarList& s, const StarParameter& p) {
  if (p.pxsizeTex != s.param.pxsizeTex && s.setPXsizeTex(p.pxsizeTex) == -1) return -1;
  if (p.texSize != s.param.texSize) s.param.texSize = p.texSize;
  if (p.texScale != s.param.texScale && s.setStarTextureScale(p.texScale) == -1) return -1;
  // Always called: a record must name a magnification filter (the default names none).
  if (s.setStarTextureParaFilter(p.texParaMinFilter, p.texParaMagFilter) == -1) return -1;
  // A source is selected only when one of its own values changes, so a source whose values all
  // equal the current ones is not taken up.
  bool sizeOrCutoff = p.filterSize != s.param.filterSize || p.filterCutoff != s.param.filterCutoff;
  switch (p.textureSource) {
    case STAR_TEX_AIRY:
      if (sizeOrCutoff || p.telescopeDiam != s.param.telescopeDiam)
        if (s.setStarTextureAiry(p.filterSize, p.filterCutoff, p.telescopeDiam) == -1) return -1;
      break;
    case STAR_TEX_GAUSS:
      if (sizeOrCutoff && s.setStarTextureGauss(p.filterSize, p.filterCutoff) == -1) return -1;
      break;
    case STAR_TEX_FFT: {
      bool rgb = p.filterRGB[0] != s.param.filterRGB[0] || p.filterRGB[1] != s.param.filterRGB[1] ||
                 p.filterRGB[2] != s.param.filterRGB[2];
      if (sizeOrCutoff || rgb || p.filterExp != s.param.filterExp || p.filterOrder != s.param.filterOrder ||
          p.filterType != s.param.filterType)
        if (s.setStarTextureFFT(p.filterSize, p.filterExp, p.filterCutoff, p.filterOrder, p.filterRGB,
                                p.filterType) == -1)
          return -1;
      break;
    }
    case STAR_TEX_FILE:
      // texSize was taken over a step ago, so here it is the file that decides.
      if (!sameText(p.textureFile, s.param.textureFile) || p.texSize != s.param.texSize)
        if (s.setStarTextureFile(p.textureFile, p.texSize) == -1) return -1;
      break;
    default:
      break;
  }
  return 1;
}

int applyBrightnessParameter(StarList& s, const StarParameter& p) {
  if (p.exposure != s.param.exposure && s.setExposure(p.exposure) == -1) return -1;
  if (p.tuneIntensity != s.param.tuneIntensity && s.setTuneIntensity(p.tuneIntensity) == -1) return -1;
  if (p.starScale != s.param.starScale && s.setStarScale(p.starScale) == -1) return -1;
  if (p.vmagMin != s.param.vmagMin && s.setVMagMin(p.vmagMin) == -1) return -1;
  if (p.starAtYear != s.param.starAtYear) s.setStarAtYear(p.starAtYear);
  if (p.datasetYear != s.param.datasetYear) s.setDatasetYear(p.datasetYear);
  if (!equalVec3D(p.LSR, s.param.LSR) && s.setLSR(p.LSR) == -1) return -1;
  return 1;
}

}  // namespace

int StarList::setStarParameter(StarParameter p) {
  if (applyConstellationParameter(*this, p) == -1) return -1;
  if (applyPlanetParameter(*this, p) == -1) return -1;
  if (applySelectionParameter(*this, p) == -1) return -1;
  if (applyColorMapParameter(*this, p) == -1) return -1;
  if (applyTextureParameter(*this, p) == -1) return -1;
  return applyBrightnessParameter(*this, p);
}
