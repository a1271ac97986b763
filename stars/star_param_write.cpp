// Writes a star parameter record in the text form that readStarParameter reads back.
#include <GL/gl.h>

#include <cstdio>

#include "coords/math3D.h"
#include "stars/star.h"

namespace {

// The name of a minification filter, with its newline; null for a value that is none of them.
const char* minFilterLine(int filter) {
  switch (filter) {
    case GL_NEAREST:
      return "GL_NEAREST\n";
    case GL_LINEAR:
      return "GL_LINEAR\n";
    case GL_NEAREST_MIPMAP_NEAREST:
      return "GL_NEAREST_MIPMAP_NEAREST\n";
    case GL_LINEAR_MIPMAP_NEAREST:
      return "GL_LINEAR_MIPMAP_NEAREST\n";
    case GL_NEAREST_MIPMAP_LINEAR:
      return "GL_NEAREST_MIPMAP_LINEAR\n";
    case GL_LINEAR_MIPMAP_LINEAR:
      return "GL_LINEAR_MIPMAP_LINEAR\n";
    default:
      return nullptr;
  }
}

// Only the two magnification filters have a name; the default, a minification filter, has none
// and leaves its line without a value.
const char* magFilterLine(int filter) {
  switch (filter) {
    case GL_NEAREST:
      return "GL_NEAREST\n";
    case GL_LINEAR:
      return "GL_LINEAR\n";
    default:
      return nullptr;
  }
}

const char* filterTypeLine(int type) {
  switch (type) {
    case _STAR_FILTER_SQUARE:
      return "square \n";
    case _STAR_FILTER_CIRCULAR:
      return "circular\n";
    case _STAR_FILTER_BUTTERWORTH:
      return "buttonworth\n";
    default:
      return nullptr;
  }
}

void writeConstellations(FILE* fp, const StarParameter& p) {
  fprintf(fp, "# constellation lines\n");
  fprintf(fp, "# - file for the constellation information\n");
  fprintf(fp, "# - color for constellation line and boundary:\t   <RGBA> <RGBA>\n");
  fprintf(fp, "# - linewidth for constellation line and boundary: %%d %%d\n");
  // The literal is split so that no "??>" sequence stands in it, which old compilers would turn
  // into a brace.
  fprintf(fp,
          "# - stipple for constellation line and boundary:   off/<0x???"
          "?> off/<0x???"
          "?>\n");
  if (p.constellationFile[0])
    fprintf(fp, "constellation_file    = %s\n", p.constellationFile);
  else
    fprintf(fp, "constellation_file    = \n");
  const float* l = p.constellationLineColor;
  const float* b = p.constellationBoundColor;
  if (p.constellationColorOn)
    fprintf(fp, "constellation_colors  = %f %f %f %f %f %f %f %f\n", l[0], l[1], l[2], l[3], b[0], b[1], b[2],
            b[3]);
  else
    fprintf(fp, "constellation_colors  =\n");
  if (p.constellationWidthOn)
    fprintf(fp, "constellation_width   = %f %f\n", p.constellationLineWidth, p.constellationBoundWidth);
  else
    fprintf(fp, "constellation_width =\n");
  fprintf(fp, "constellation_stipple =");
  if (p.constellationLineStipple)
    fprintf(fp, " 0x%x", (unsigned)p.constellationLineStipple);
  else
    fprintf(fp, " off");
  if (p.constellationBoundStipple)
    fprintf(fp, " 0x%x\n", (unsigned)p.constellationBoundStipple);
  else
    fprintf(fp, " off\n");
  fprintf(fp, "\n");
  fprintf(fp, "# label scale (scale factor for text label in constellation, extrasolar planet, etc)\n");
  fprintf(fp, "label_scale = %f\n", p.labelScale);
  fprintf(fp, "\n");
}

void writePlanets(FILE* fp, const StarParameter& p) {
  fprintf(fp, "# extrasolar Planet Catalog\n");
  if (p.extrasolarPlanetFile[0])
    fprintf(fp, "extrasolar_planet_file        = %s\n", p.extrasolarPlanetFile);
  else
    fprintf(fp, "extrasolar_planet_file        = \n");
  fprintf(fp, "extrasolar_planet_orbit_scale = %f\n", p.extrasolarPlanetOrbitScale);
  fprintf(fp, "\n");
}

void writeSelection(FILE* fp, const StarParameter& p, const char (*rowNames)[32]) {
  fprintf(fp, "# star selection criteria [on/off] followed by the range\n");
  if (p.zRangeOn)
    fprintf(fp, "zRange_selection     = on %f %f\n", p.zRangeMin, p.zRangeMax);
  else
    fprintf(fp, "zRange_selection     = off\n");
  if (p.vmagRangeOn)
    fprintf(fp, "Vmag_Range_selection = on %f %f\n", p.vmagRangeMin, p.vmagRangeMax);
  else
    fprintf(fp, "Vmag_Range_selection = off\n");
  for (int i = 0; i < STAR_NUM_SPTYPES; i++) {
    if (p.sptypeOn[i])
      fprintf(fp, "Sptype_selection     = on %s %f %f\n", rowNames[i], p.sptypeMin[i], p.sptypeMax[i]);
    else
      fprintf(fp, "Sptype_selection     = off %s\n", rowNames[i]);
  }
}

void writeColorMap(FILE* fp, const StarParameter& p) {
  fprintf(fp, "\n");
  fprintf(fp, "# color Map\n");
  fprintf(fp, "# - [no_colormap] or\n");
  fprintf(fp, "# - [bv_colormap <file> <bv-start> <bv-end>] or\n");
  fprintf(fp, "# - [sp_colormap <file>]\n");
  fprintf(fp, "color_map = ");
  if (p.whichColorMap == _NO_COLOR_MAP)
    fprintf(fp, "no_colormap\n");
  else if (p.whichColorMap == _USE_BV_COLOR_MAP)
    fprintf(fp, "bv_colormap %s %f %f\n", p.bvColormapFile, p.bvStart, p.bvEnd);
  else if (p.whichColorMap == _USE_SPECTRAL_COLOR_MAP)
    fprintf(fp, "sp_colormap %s\n", p.spColormapFile);
}

void writeTexture(FILE* fp, const StarParameter& p) {
  fprintf(fp, "\n");
  fprintf(fp, "# stars with pixel size < pxsizeTex will be rendered as AA point,\n");
  fprintf(fp, "# else textured star\n");
  fprintf(fp, "pxsizeTex = %d\n", p.pxsizeTex);
  fprintf(fp, "\n");
  fprintf(fp, "# Parameter for textured stars\n");
  fprintf(fp, "texSize          = %f (no in use)\n", p.texSize);
  fprintf(fp, "texScale         = %f\n", p.texScale);
  fprintf(fp, "texParaMinFilter = ");
  if (const char* s = minFilterLine(p.texParaMinFilter)) fputs(s, fp);
  fprintf(fp, "texParaMagFilter = ");
  if (const char* s = magFilterLine(p.texParaMagFilter)) fputs(s, fp);
  fprintf(fp, "\n");
  fprintf(fp, "# parameters to generate star texture (or profile) automatically\n");
  fprintf(fp, "filterSize    = %f\n", p.filterSize);
  fprintf(fp, "filterExp     = %f\n", p.filterExp);
  fprintf(fp, "filterCutoff  = %f\n", p.filterCutoff);
  fprintf(fp, "filterOrder   = %f\n", p.filterOrder);
  fprintf(fp, "filterRGB     = %f %f %f\n", p.filterRGB[0], p.filterRGB[1], p.filterRGB[2]);
  fprintf(fp, "telescopeDiam = %f\n", p.telescopeDiam);
  fprintf(fp, "filterType    = ");
  if (const char* s = filterTypeLine(p.filterType)) fputs(s, fp);
  fprintf(fp, "\n");
  fprintf(fp, "# What kinds of texture for star\n");
  fprintf(fp, "texture_source = ");
  switch (p.textureSource) {
    case STAR_TEX_NONE:
      fprintf(fp, "No\n");
      break;
    case STAR_TEX_AIRY:
      fprintf(fp, "Airy\n");
      break;
    case STAR_TEX_GAUSS:
      fprintf(fp, "Gauss\n");
      break;
    case STAR_TEX_FFT:
      fprintf(fp, "FFT\n");
      break;
    case STAR_TEX_FILE:
      fprintf(fp, "File %s\n", p.textureFile);
      break;
    default:
      break;
  }
}

void writeBrightnessAndTime(FILE* fp, const StarParameter& p) {
  fprintf(fp, "\n");
  fprintf(fp, "# exposure and intensity tuning\n");
  fprintf(fp, "exposure      = %f\n", p.exposure);
  fprintf(fp, "tuneIntensity = %f\n", p.tuneIntensity);
  fprintf(fp, "\n");
  fprintf(fp, "# more parameters to tune the star size\n");
  fprintf(fp, "starScale = %f\n", p.starScale);
  fprintf(fp, "vmagMin   = %f\n", p.vmagMin);
  fprintf(fp, "\n");
  fprintf(fp, "# what time to put our stars and which year the data is taken\n");
  fprintf(fp, "starAtYear    = %d\n", p.starAtYear);
  fprintf(fp, "datasetAtYear = %d\n", p.datasetYear);
  fprintf(fp, "\n");
}

// The same vector twice: in km/s, and as galactic longitude, latitude and speed.
void writeLsr(FILE* fp, const StarParameter& p) {
  double l = 0, b = 0;
  vecToLB(p.LSR, l, b);
  double speed = length3D(p.LSR);
  fprintf(fp, "# Local Standard of Rest (in km/s) or ((l,b)+speed) where (l,b) are degrees\n");
  fprintf(fp, "LSR_KM       = %f %f %f\n", p.LSR[0], p.LSR[1], p.LSR[2]);
  fprintf(fp, "LSR_LB_SPEED = %f %f %f\n", l, b, speed);
  fprintf(fp, "\n");
}

}  // namespace

int StarList::writeStarParameter(FILE* fp, StarParameter p) {
  if (!fp) {
    fprintf(stderr, "Err (writeStarParameter): no stream to write star parameter to\n");
    return -1;
  }
  fprintf(fp, "Star Parameters\n");
  fprintf(fp, "---------------\n");
  fprintf(fp, "\n");
  // A note for someone editing a saved file; a print-out on the terminal goes without it.
  if (fp != stdout && fp != stderr) {
    fprintf(fp, "# NOTE : identifier names is important while order is not important (only edit)\n");
    fprintf(fp, "\n");
    fprintf(fp, "\n");
  }
  writeConstellations(fp, p);
  writePlanets(fp, p);
  writeSelection(fp, p, sptypeNames);
  writeColorMap(fp, p);
  writeTexture(fp, p);
  writeBrightnessAndTime(fp, p);
  writeLsr(fp, p);
  return 1;
}

int StarList::writeStarParameter(FILE* fp) {
  return writeStarParameter(fp, param);
}

int StarList::writeStarParameter(const char* fileName) {
  FILE* fp = fileName ? fopen(fileName, "w") : nullptr;
  if (!fp) {
    fprintf(stderr, "Err (writeStarParameter): error writing star parameter to [%s]\n",
            fileName ? fileName : "(NULL)");
    return -1;
  }
  writeStarParameter(fp, param);
  // A full disk shows only here: the same message, as the file is not what it should be.
  bool failed = ferror(fp) != 0;
  if (fclose(fp) != 0) failed = true;
  if (failed) {
    fprintf(stderr, "Err (writeStarParameter): error writing star parameter to [%s]\n", fileName);
    return -1;
  }
  return 1;
}
