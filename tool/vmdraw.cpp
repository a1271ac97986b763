// The sky drawing of the alignment tool: one frame in a fixed order, the Milky Way sphere, the
// model under alignment with its outline, box, axes and normals, and the info lines.
#include "tool/vmdraw.h"

#include <GL/freeglut.h>
#include <GL/gl.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "tool/velmora.h"
#include "tool/vmfile.h"
#include "tool/vmpick.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

// The Milky Way sphere: radius in view units, bands of latitude and steps of longitude.
constexpr double kMilkyWayRadius = 1000.0;
constexpr int kLatitudeBands = 18;
constexpr int kLongitudeSteps = 36;
constexpr float kTenDegrees = 0.17453294f;
constexpr float kSouthPole = -1.5707964f;

// Model modes of the model library.
constexpr unsigned int kModeColour = GLM_COLOR;
constexpr unsigned int kModeColourTexture = GLM_COLOR | GLM_TEXTURE;
constexpr unsigned int kModeFacetNormals = 1;
constexpr unsigned int kModeVertexNormals = 2;
// An alpha from here on is drawn opaque.
constexpr float kOpaqueAlpha = 0.999f;
// Mirrors of the panel differing by less than this are the same.
constexpr double kMirrorTolerance = 1e-5;

// Star drawing flags: the colour map and the textured bright stars.
constexpr int kStarColourMap = 2;
constexpr int kStarTextured = 16;

// Grid types of drawSphereGrid.
constexpr int kGridEquatorial = 1;
constexpr int kGridGalactic = 2;
constexpr int kGridSupergalactic = 3;

// Galactic to supergalactic axes, OpenGL column order.
constexpr double kGalToSupergalactic[16] = {
    -0.735742574804, 0.677261296414, 0,            0,  //
    -0.074553778365, -0.080991471307, 0.9939225904, 0,  //
    0.673145302109,  0.731271165817,  0.110081262225, 0,  //
    0,               0,               0,            1};
// Galactic to equatorial axes as three turns, degrees, single precision as they were measured.
constexpr float kEqTurnZ1 = 32.931377f, kEqTurnX = -62.882179f, kEqTurnZ2 = 77.141663f;

constexpr float kFillColour[4] = {0.5f, 0.5f, 0.5f, 1.0f};
constexpr float kOutlineColour[4] = {1.0f, 1.0f, 0.3f, 1.0f};

// Markers lie within 10^kMarkerMaxExponent view units, well inside the far plane.
constexpr double kMarkerMaxExponent = 3.5;
// The marker's size follows the field of view: this many degrees give the base size.
constexpr double kMarkerFovyBase = 60.0;
constexpr double kMarkerSizeDivisor = 40.0;
constexpr float kMarkerTextScale = 0.008f;

// The picked star's info box: lower left corner, size, line spacing and text size.
constexpr float kInfoBoxY = 0.05f, kInfoBoxYLocked = 0.12f;
constexpr float kInfoBoxX = 0.01f, kInfoBoxDrop = 0.03f, kInfoBoxWidth = 0.285f, kInfoBoxHeight = 0.19f;
constexpr float kInfoTextX = 0.02f, kInfoTextStep = 0.03f, kInfoTextScale = 0.00018f;
constexpr float kInfoFill[4] = {0.1f, 0.1f, 0.1f, 0.5f};
constexpr float kInfoBorder[4] = {0.8f, 0.8f, 0.8f, 0.8f};

// Which mode the model is drawn with: worked out on the first frame only, so a model opened later
// keeps the mode of the first, as the tool has always done.
unsigned int modelFlag = 0;

void drawFixedModels() {
  if (!showFixedModels || !(alignFixedModelAlpha > 0)) return;
  for (int i = 0; i < nFixedModels; i++) {
    _GLMmodel* model = fixedModels[i];
    unsigned int mode = glmAnyTexture(model) ? kModeColourTexture : kModeColour;
    if (alignFixedModelAlpha < kOpaqueAlpha) {
      glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
      glmDrawOpacity(model, mode, alignFixedModelAlpha);
    } else {
      glmDraw(model, mode);
    }
    if (showFixedBehind) glClear(GL_DEPTH_BUFFER_BIT);
  }
}

// The twelve edges of the box of the three ranges: one strip round the bottom and up to the top,
// and the three edges the strip leaves out.
void drawBox() {
  const float* x = alignModelRangeX;
  const float* y = alignModelRangeY;
  const float* z = alignModelRangeZ;
  glColor3f(0.5f, 0.8f, 0.5f);
  glBegin(GL_LINE_STRIP);
  glVertex3f(x[0], y[0], z[0]);
  glVertex3f(x[1], y[0], z[0]);
  glVertex3f(x[1], y[1], z[0]);
  glVertex3f(x[0], y[1], z[0]);
  glVertex3f(x[0], y[0], z[0]);
  glVertex3f(x[0], y[0], z[1]);
  glVertex3f(x[1], y[0], z[1]);
  glVertex3f(x[1], y[1], z[1]);
  glVertex3f(x[0], y[1], z[1]);
  glVertex3f(x[0], y[0], z[1]);
  glEnd();
  glBegin(GL_LINES);
  glVertex3f(x[1], y[0], z[0]);
  glVertex3f(x[1], y[0], z[1]);
  glVertex3f(x[1], y[1], z[0]);
  glVertex3f(x[1], y[1], z[1]);
  glVertex3f(x[0], y[1], z[0]);
  glVertex3f(x[0], y[1], z[1]);
  glEnd();
}

float largestRange() {
  float m = alignModelRangeX[1] - alignModelRangeX[0];
  m = std::fmax(m, alignModelRangeY[1] - alignModelRangeY[0]);
  return std::fmax(m, alignModelRangeZ[1] - alignModelRangeZ[0]);
}

void drawAlignModel() {
  if (!alignModel) return;
  if (!(showAlignModel || showAlignModelOutline || showAlignModelNormal || showAlignModelAxes || showAlignModelBBox))
    return;
  // Draw calls take their colour from the head group's material, which is lent for the fill and
  // outline colours and given its own colour back at the end.
  float* diffuse = nullptr;
  if (alignModel->groups && alignModel->groups->material < alignModel->nummaterials)
    diffuse = alignModel->materials[alignModel->groups->material].diffuse;
  auto lend = [&](const float* rgba) {
    if (diffuse) memcpy(diffuse, rgba, 4 * sizeof(float));
  };

  glPushMatrix();
  glMultMatrixd(alignModelMatrix);
  if (showAlignModelAxes) {
    float sx = 0.8f * (alignModelRangeX[1] - alignModelRangeX[0]);
    float sy = 0.8f * (alignModelRangeY[1] - alignModelRangeY[0]);
    float sz = 0.8f * (alignModelRangeZ[1] - alignModelRangeZ[0]);
    float m = std::fmax(sx, std::fmax(sy, sz));
    glPushMatrix();
    glScalef(alignModelObjScale[0], alignModelObjScale[1], alignModelObjScale[2]);
    glScalef(sx, sy, sz);
    drawAxes(1, "obj", m);
    glPopMatrix();
  }
  glTranslatef(alignModelObjTran[0], alignModelObjTran[1], 0);
  glScalef(alignModelObjScale[0], alignModelObjScale[1], alignModelObjScale[2]);
  if (showAlignModelBBox) drawBox();
  if (showAlignModel && alignModelAlpha > 0) {
    lend(kFillColour);
    if (alignModelAlpha < kOpaqueAlpha) {
      glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
      if (isObjAnImage) {
        glmDrawOpacity(alignModel, modelFlag, alignModelAlpha);
      } else {
        // A translucent mesh shows only the side that faces the viewer.
        glEnable(GL_CULL_FACE);
        glCullFace(GL_BACK);
        glmDrawOpacity(alignModel, modelFlag, alignModelAlpha);
        glDisable(GL_CULL_FACE);
      }
    } else {
      glmDraw(alignModel, modelFlag);
    }
  }
  if (showAlignModelOutline) {
    float outline[4] = {kOutlineColour[0], kOutlineColour[1], kOutlineColour[2], alignModelAlpha};
    lend(outline);
    glEnable(GL_POLYGON_OFFSET_LINE);
    glPolygonOffset(0, -1);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glmDraw(alignModel, kModeColour);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glDisable(GL_POLYGON_OFFSET_LINE);
  }
  if (showAlignModelNormal) {
    float m = largestRange();
    glColor4f(0.5f, 0.5f, 0.5f, 1.0f);
    if (glmExistVertexNormal(alignModel))
      glmDrawNormals(alignModel, kModeVertexNormals, 0.1f * m);
    else if (glmExistFacetNormal(alignModel))
      glmDrawNormals(alignModel, kModeFacetNormals, 0.1f * m);
    else
      printf("No Vertex/Face normal in the input obj file.\n");
  }
  lend(orig_modelColor);
  glPopMatrix();
  // The model hides nothing that follows: stars, figures and grids are always seen over it.
  glClear(GL_DEPTH_BUFFER_BIT);
}

void drawStarsAndFigures(double logScale) {
  if (!starList) return;
  if (showStarsFlag) {
    int flags = 0;
    if (useStarColorMap) flags += kStarColourMap;
    if (useStarTex) flags += kStarTextured;
    starList->drawStars(logScale, flags, -1, -1);
  }
  if (showConstellationNames || showConstellationLines || showConstellationBounds) {
    glLineWidth(1.5f);
    glColor4f(0.7f, 0.7f, 0.3f, 0.6f);
    if (!showConstellationPickedOnly) {
      // No name: the star list draws every figure; a name, even an empty one, selects by it.
      starList->drawConstellations(logScale, showConstellationLines, showConstellationNames, showConstellationBounds,
                                   nullptr);
    } else if (picked) {
      starList->drawConstellations(logScale, showConstellationLines, showConstellationNames, showConstellationBounds,
                                   pickedStar.constellName);
    }
    glLineWidth(1.0f);
  }
}

void drawGridsAndAxes() {
  if (showSGalSphere) drawSphereGrid(kGridSupergalactic, gridDetail);
  if (showGalSphere) drawSphereGrid(kGridGalactic, gridDetail);
  if (showEqnSphere) drawSphereGrid(kGridEquatorial, gridDetail);
  if (showSGalAxesFlag) {
    glPushMatrix();
    glMultMatrixd(kGalToSupergalactic);
    drawAxes(1, "SG", 1.0f);
    glPopMatrix();
  }
  if (showEqnAxesFlag) {
    glPushMatrix();
    glRotatef(kEqTurnZ1, 0, 0, 1);
    glRotatef(kEqTurnX, 1, 0, 0);
    glRotatef(kEqTurnZ2, 0, 0, 1);
    drawAxes(1, "E", 1.0f);
    glPopMatrix();
  }
}

void drawInfoLine(const double v[3], bool model, float y) {
  char text[256];
  formatDirectionInfo(v, model, text, sizeof text);
  glLineWidth(1.5f);
  glColor4f(0.8f, 0.6f, 0.8f, 0.8f);
  draw2DTextAt(text, 0.03f, y, 0.00025f, 1, 0);
  glLineWidth(1.0f);
}

}  // namespace

void renderScene(double, int, unsigned int renderMode, double logScale, int pickMode) {
  if (pickMode) {
    // The pick needs this frame's matrices; nothing is drawn.
    pickStarByPos(pickAtX, pickAtY);
    return;
  }
  glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT);
  drawSky(renderMode, logScale);
  glPopAttrib();
  // The framework's keys and mouse change these; the panel learns of it one frame later.
  bool changed = false;
  if (myShowAxesFlag != showAxesFlag) {
    myShowAxesFlag = showAxesFlag;
    changed = true;
  }
  if (std::fabs(myCurrFovy - currFovy) > kMirrorTolerance) {
    myCurrFovy = (float)currFovy;
    changed = true;
  }
  if (std::fabs(myCurrAspect - currAspect) > kMirrorTolerance && fixAspectRatio) {
    myCurrAspect = (float)currAspect;
    changed = true;
  }
  if (changed) panelSync();
}

void drawSky(unsigned int, double logScale) {
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  drawMilkyway();
  if (modelFlag == 0 && alignModel) modelFlag = glmAnyTexture(alignModel) ? kModeColourTexture : kModeColour;
  drawFixedModels();
  drawAlignModel();
  drawStarsAndFigures(logScale);
  drawGridsAndAxes();

  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_DEPTH_TEST);
  if (picked) {
    glColor4f(0.8f, 0.8f, 0.8f, 1.0f);
    draw3DText(logScale, pickedStar);
  }
  if (showAnchor) {
    glColor4f(0.8f, 0.8f, 0.2f, 1.0f);
    draw3DText(logScale, anchor);
  }
  if (showAlignModelInfo) drawAlignInfo();
  if (showLookAtDir) drawLookAtInfo();
  if (showCenterLine) drawCenterLine();
  if (showStarInfo) drawStarInfo();
  if (lockView) {
    glLineWidth(1.5f);
    glColor4f(0.8f, 0.8f, 0.7f, 0.8f);
    draw2DTextAt("[View Locked]", 0.03f, 0.06f, 0.0003f, 1, 0);
    glLineWidth(1.0f);
  }
  glEnable(GL_DEPTH_TEST);
}

void drawMilkyway() {
  if (!texObjs || texChoice == 0) return;
  glEnable(GL_TEXTURE_2D);
  glDepthMask(GL_FALSE);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  if (texChoice == 1) {
    glDisable(GL_BLEND);
    glDisable(GL_LINE_SMOOTH);
    int index = showWhichTexture - kTexListBase;
    if (index >= 0 && index < nTexObjs) glBindTexture(GL_TEXTURE_2D, texObjs[index].texId);
    glColor4f(sliderTexAlpha, sliderTexAlpha, sliderTexAlpha, sliderTexAlpha);
    drawTexGeometry();
    glEnable(GL_BLEND);
    glEnable(GL_LINE_SMOOTH);
  } else {
    float a1 = sliderTexAlpha1 * sliderTexAlpha;
    float a2 = sliderTexAlpha2 * sliderTexAlpha;
    glDisable(GL_BLEND);
    glBindTexture(GL_TEXTURE_2D, sliderTexID1);
    glColor4f(a1, a1, a1, a1);
    drawTexGeometry();
    glEnable(GL_BLEND);
    if (sliderTexAlpha2 > 0) {
      // The second map is added over the first.
      glBlendFunc(GL_SRC_ALPHA, GL_ONE);
      glBindTexture(GL_TEXTURE_2D, sliderTexID2);
      glColor4f(a2, a2, a2, a2);
      drawTexGeometry();
      glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    }
  }
  glDisable(GL_TEXTURE_2D);
  glDepthMask(GL_TRUE);
}

void drawTexGeometry() {
  glPushAttrib(GL_ENABLE_BIT | GL_POLYGON_BIT);
  glEnable(GL_CULL_FACE);
  glCullFace(GL_FRONT);  // seen from inside
  // One strip for all bands: the quads joining one band to the next lie on the meridian of
  // longitude 0 and have no area.
  glBegin(GL_QUAD_STRIP);
  for (int i = 0; i < kLatitudeBands; i++) {
    float b = i * kTenDegrees + kSouthPole;
    float b2 = b + kTenDegrees;
    for (int j = 0; j <= kLongitudeSteps; j++) {
      double cl = 1.0, sl = 0.0;
      if (j != 0 && j != kLongitudeSteps) {
        float l = j * kTenDegrees;
        cl = cos(l);
        sl = sin(l);
      }
      double s = (double)j / kLongitudeSteps;
      double n[3] = {cos(b2) * cl, cos(b2) * sl, sin(b2)};
      glNormal3dv(n);
      glTexCoord2d(s, 1 - (double)(i + 1) / kLatitudeBands);
      glVertex3d(kMilkyWayRadius * n[0], kMilkyWayRadius * n[1], kMilkyWayRadius * n[2]);
      n[0] = cos(b) * cl, n[1] = cos(b) * sl, n[2] = sin(b);
      glNormal3dv(n);
      glTexCoord2d(s, 1 - (double)i / kLatitudeBands);
      glVertex3d(kMilkyWayRadius * n[0], kMilkyWayRadius * n[1], kMilkyWayRadius * n[2]);
    }
  }
  glEnd();
  glPopAttrib();
}

void formatDirectionInfo(const double v[3], bool model, char* out, int size) {
  const char* what = model ? "model" : "screen";
  double d[3] = {v[0], v[1], v[2]};
  double l, b;
  char format[128];
  if (!showRaDec) {
    vecTolb(d, l, b);
    if (l < 0) l += 360;
    snprintf(format, sizeof format, "%s centered at Gal.(l,b) (%%.%df,%%.%df)", what, printDecPlace, printDecPlace);
    snprintf(out, size, format, l, b);
  } else {
    galacticToEquatorial(d);
    vecTolb(d, l, b);
    if (l < 0) l += 360;
    snprintf(format, sizeof format, "%s centered at Eqn.(Ra/Dec) (%%.%dfh,%%.%df)", what, printDecPlace,
             printDecPlace);
    snprintf(out, size, format, l / 15, b);
  }
}

void drawAlignInfo() {
  double v[3] = {alignModelMatrix[12], alignModelMatrix[13], alignModelMatrix[14]};
  drawInfoLine(v, true, showLookAtDir ? 0.93f : 0.97f);
}

void drawLookAtInfo() {
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  double v[3] = {-m[2], -m[6], -m[10]};
  drawInfoLine(v, false, 0.97f);
}

void drawCenterLine() {
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  glOrtho(0, 1, 0, 1, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glDepthFunc(GL_ALWAYS);
  glLineWidth(1.0f);
  glColor3f(0.8f, 0.8f, 0.3f);
  glEnable(GL_LINE_STIPPLE);
  glLineStipple(1, 0xa0a0);
  glBegin(GL_LINES);
  glVertex2f(0.5f, 0.5f), glVertex2f(0.0f, 0.5f);
  glVertex2f(0.5f, 0.5f), glVertex2f(1.0f, 0.5f);
  glVertex2f(0.5f, 0.5f), glVertex2f(0.5f, 0.0f);
  glVertex2f(0.5f, 0.5f), glVertex2f(0.5f, 1.0f);
  glEnd();
  glDisable(GL_LINE_STIPPLE);
  // A tick every 5 degrees of the field of view; the aspect enters the y step, as it always has.
  const double kTickDegrees = 5.0;
  double xStep = kTickDegrees * 0.5 / (currFovy / 2);
  double yStep = kTickDegrees * 0.5 / ((currFovy / 2) / currAspect);
  glBegin(GL_LINES);
  for (double o = xStep; xStep > 0 && o < 0.5; o += xStep) {
    glVertex2d(0.5 + o, 0.51), glVertex2d(0.5 + o, 0.49);
    glVertex2d(0.5 - o, 0.51), glVertex2d(0.5 - o, 0.49);
  }
  for (double o = yStep; yStep > 0 && o < 0.5; o += yStep) {
    glVertex2d(0.51, 0.5 + o), glVertex2d(0.49, 0.5 + o);
    glVertex2d(0.51, 0.5 - o), glVertex2d(0.49, 0.5 - o);
  }
  glEnd();
  glDepthFunc(GL_LESS);
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
  glPopMatrix();
}

void draw3DText(double logScale, const NODE_StarObject& star) {
  glPushMatrix();
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  // The eye in world coordinates: minus the translation turned back through the rotation.
  PHCoord eye;
  eye.x = -(m[0] * m[12] + m[1] * m[13] + m[2] * m[14]);
  eye.y = -(m[4] * m[12] + m[5] * m[13] + m[6] * m[14]);
  eye.z = -(m[8] * m[12] + m[9] * m[13] + m[10] * m[14]);
  eye.s = logScale;
  PHCoord d = subPHCoord(star.pos, eye);
  // A star at the eye has no direction: its marker shrinks to nothing.
  if (unifyPHCoord(&d) == -1) d.s = std::numeric_limits<double>::lowest();
  double s = std::fmin(d.s - logScale, kMarkerMaxExponent);
  double k = std::pow(10.0, s);
  double v[3] = {d.x * k, d.y * k, d.z * k};
  float size = (float)(currFovy / kMarkerFovyBase * k / kMarkerSizeDivisor);
  m[12] = m[13] = m[14] = 0;
  glLoadMatrixd(m);
  glTranslated(v[0], v[1], v[2]);
  if (star.HD == kAnchorHD) {
    float h = size / 2;
    glBegin(GL_LINES);
    glVertex3f(-h, 0, 0), glVertex3f(h, 0, 0);
    glVertex3f(0, -h, 0), glVertex3f(0, h, 0);
    glVertex3f(0, 0, -h), glVertex3f(0, 0, h);
    glEnd();
    if (&star == &anchor) drawBillboardText(anchorText, kMarkerTextScale * size, 1, 0);
  } else {
    glutWireCube(size);
    char label[128];
    formatMarkerLabel(star, label, sizeof label);
    drawBillboardText(label, kMarkerTextScale * size, 1, 0);
  }
  glPopMatrix();
}

void formatMarkerLabel(const NODE_StarObject& star, char* out, int size) {
  bool known = star.constellName[0] != '-';
  if (!known) {
    if (showCommonName)
      snprintf(out, size, " %s", star.commonName);
    else
      snprintf(out, size, " HD%d", star.HD);
  } else {
    if (showCommonName)
      snprintf(out, size, " %s (%s)", star.commonName, star.constellName);
    else
      snprintf(out, size, " HD%d (%s)", star.HD, star.constellName);
  }
}

int starInfoLines(char lines[kStarInfoLines][kStarInfoLineSize], float* y0) {
  if (!picked || pickedStar.HD == kAnchorHD) return 0;
  *y0 = lockView ? kInfoBoxYLocked : kInfoBoxY;
  snprintf(lines[0], kStarInfoLineSize, "BV: %s", pickStarBVStr);
  snprintf(lines[1], kStarInfoLineSize, "Sp: %s", pickStarSpTypeStr);
  snprintf(lines[2], kStarInfoLineSize, showRaDec ? "RA: %s" : "Gal L: %s", pickStarLStr);
  snprintf(lines[3], kStarInfoLineSize, showRaDec ? "Dec: %s" : "Gal B: %s", pickStarBStr);
  snprintf(lines[4], kStarInfoLineSize, "Dist: %s parsec", pickStarDistParsecStr);
  snprintf(lines[5], kStarInfoLineSize, "Dist: %s ly", pickStarDistLightYearStr);
  return kStarInfoLines;
}

void drawStarInfo() {
  char lines[kStarInfoLines][kStarInfoLineSize];
  float y = 0;
  int n = starInfoLines(lines, &y);
  if (n == 0) return;
  draw2DRectAt(kInfoBoxX, y - kInfoBoxDrop, kInfoBoxWidth, kInfoBoxHeight, kInfoFill, 1, kInfoBorder);
  glLineWidth(1.5f);
  glColor4f(0.8f, 0.4f, 0.8f, 0.9f);
  for (int i = 0; i < n; i++) draw2DTextAt(lines[i], kInfoTextX, y + i * kInfoTextStep, kInfoTextScale, 1, 0);
  glLineWidth(1.0f);
}
