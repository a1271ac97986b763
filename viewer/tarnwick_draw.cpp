// Axes, scale cubes, sky grids, the cached wire sphere and the text primitives.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "coords/constants.h"
#include "coords/phcoord.h"
#include "viewer/tarnwick.h"

namespace {

// Sum of the stroke widths of the characters, a blank counted as wide as a "-".
float strokeTextWidth(void* font, const char* text) {
  float width = 0.0f;
  for (const char* c = text; *c; ++c) width += glutStrokeWidth(font, *c == ' ' ? '-' : (unsigned char)*c);
  return width;
}

float textOffset(void* font, const char* text, int alignment, int padChars) {
  float offset = 0.0f;
  if (alignment != 1) {
    offset = -strokeTextWidth(font, text);
    if (alignment == 2) offset *= 0.5f;
  }
  return offset + padChars * glutStrokeWidth(font, '-');
}

void strokeText(void* font, const char* text) {
  for (const char* c = text; *c; ++c) glutStrokeCharacter(font, (unsigned char)*c);
}

void labelAt(double lon, double lat, const char* text, float size) {
  glPushMatrix();
  if (lon != 0.0) glRotated(lon, 0.0, 0.0, 1.0);
  if (lat != 0.0) glRotated(lat, 0.0, -1.0, 0.0);
  glTranslated(1000.0, 0.0, 0.0);
  drawBillboardText(text, size, 2, 0);
  glPopMatrix();
}

bool isMultipleOf(float value, int step) {
  float whole = truncf(value);
  return whole == value && ((int)whole) % step == 0;
}

}  // namespace

// ---- Axes and cubes -----------------------------------------------------------------------

void drawAxes(int withLabels, const char* prefix, float textSize) {
  glLineWidth(3.0f);
  glBegin(GL_LINES);
  glColor4f(0.8f, 0.2f, 0.2f, 0.8f);
  glVertex3f(0, 0, 0);
  glVertex3f(1, 0, 0);
  glColor4f(0.0f, 0.8f, 0.0f, 0.8f);
  glVertex3f(0, 0, 0);
  glVertex3f(0, 1, 0);
  glColor4f(0.3f, 0.3f, 1.0f, 0.8f);
  glVertex3f(0, 0, 0);
  glVertex3f(0, 0, 1);
  glEnd();
  glLineWidth(1.0f);
  if (!withLabels) return;
  char text[64];
  const float size = textSize * 0.001f;
  glPushMatrix();
  for (int axis = 0; axis < 3; ++axis) {
    glPushMatrix();
    glTranslatef(axis == 0 ? 1.1f : 0.0f, axis == 1 ? 1.1f : 0.0f, axis == 2 ? 1.1f : 0.0f);
    if (axis == 0)
      glColor3f(0.8f, 0.2f, 0.2f);
    else if (axis == 1)
      glColor4f(0.0f, 0.8f, 0.0f, 0.8f);
    else
      glColor4f(0.5f, 0.5f, 1.0f, 0.8f);
    snprintf(text, sizeof text, "%s%c", prefix, "xyz"[axis]);
    drawBillboardText(text, size, 2, 0);
    glPopMatrix();
  }
  glPopMatrix();
}

void drawUnitCube(int power, float alpha, const char* unit) {
  float c = alpha * 0.8f;
  glColor4f(c, c, 0.0f, c);
  for (int side = -1; side <= 1; side += 2) {
    glBegin(GL_LINE_LOOP);
    glVertex3f(-0.5f, -0.5f, 0.5f * side);
    glVertex3f(0.5f, -0.5f, 0.5f * side);
    glVertex3f(0.5f, 0.5f, 0.5f * side);
    glVertex3f(-0.5f, 0.5f, 0.5f * side);
    glEnd();
  }
  glBegin(GL_LINES);
  const float corners[4][2] = {{-0.5f, -0.5f}, {0.5f, -0.5f}, {0.5f, 0.5f}, {-0.5f, 0.5f}};
  for (const auto& corner : corners) {
    glVertex3f(corner[0], corner[1], -0.5f);
    glVertex3f(corner[0], corner[1], 0.5f);
  }
  glEnd();

  char label[128];
  if (power == 0)
    snprintf(label, sizeof label, "1 %s", unit);
  else
    snprintf(label, sizeof label, "10^%d%s", power, unit);
  float width = 0.0f;
  for (const char* ch = label; *ch; ++ch) width += glutStrokeWidth(GLUT_STROKE_ROMAN, (unsigned char)*ch);
  glColor4f(c, c, c, c);
  glPushMatrix();
  glRotatef(90.0f, 0.0f, 0.0f, -1.0f);
  glTranslatef(width * -0.0015f / 2.0f, -0.65f, -0.6f);
  glScalef(0.0015f, 0.0015f, 0.0015f);
  glRotatef(90.0f, 1.0f, 0.0f, 0.0f);
  strokeText(GLUT_STROKE_ROMAN, label);
  glPopMatrix();
}

int powerCubeChoice(double s, double offset, int* powers, float* alphas) {
  s -= offset;
  int first = (int)(s - 3.0);
  int count = 0;
  for (int p = first; p <= first + 6; ++p) {
    double a = 1.0 - fabs(p - (s - 0.5)) / 2.0;
    if (!(a > 0.0)) continue;
    powers[count] = p;
    alphas[count] = (float)sqrt(a);
    ++count;
  }
  return count;
}

namespace {

// The viewer's exponent: the eye read from the modelview as frmMatToView does it, unified.
double viewerExponent() {
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  View view = frmMatToView(m);
  PHCoord eye = view.viewPos;
  if (unifyPHCoord(&eye) == 1) return eye.s;
  return currLogScale;
}

void drawCubes(double offset, const char* unit) {
  glLineWidth(2.0f);
  int powers[7];
  float alphas[7];
  int n = powerCubeChoice(viewerExponent(), offset, powers, alphas);
  for (int i = 0; i < n; ++i) {
    glPushMatrix();
    float factor = (float)pow(10.0, powers[i] - currLogScale + offset);
    glScalef(factor, factor, factor);
    drawUnitCube(powers[i], powercubeAlpha * alphas[i], unit);
    glPopMatrix();
  }
  glLineWidth(1.0f);
}

}  // namespace

void drawPowerCubes() {
  drawCubes(0.0, "m");
}

void drawParsecCubes() {
  drawCubes(kParsecExponent, "parsec");
}

// ---- Text and rectangles ------------------------------------------------------------------

void drawBillboardText(const char* text, float scale, int alignment, int padChars) {
  glPushMatrix();
  float offset = textOffset(GLUT_STROKE_MONO_ROMAN, text, alignment, padChars);
  float m[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, m);
  m[0] = scale;
  m[1] = 0.0f;
  m[2] = 0.0f;
  m[4] = 0.0f;
  m[5] = scale;
  m[6] = 0.0f;
  m[8] = 0.0f;
  m[9] = 0.0f;
  m[10] = 1.0f;
  m[12] += offset * scale;
  glLoadMatrixf(m);
  glDepthFunc(GL_LEQUAL);
  strokeText(GLUT_STROKE_MONO_ROMAN, text);
  glDepthFunc(GL_LESS);
  glPopMatrix();
}

void draw3DText(const char* text, float scale, int alignment, int padChars) {
  glPushMatrix();
  float offset = textOffset(GLUT_STROKE_MONO_ROMAN, text, alignment, padChars);
  glRotatef(90.0f, 1.0f, 0.0f, 0.0f);
  glScalef(scale, scale, 1.0f);
  glTranslatef(offset, 0.0f, 0.0f);
  glDepthFunc(GL_LEQUAL);
  strokeText(GLUT_STROKE_MONO_ROMAN, text);
  glDepthFunc(GL_LESS);
  glPopMatrix();
}

void draw2DRectAt(float x, float y, float width, float height, const float* fill, int outline,
                  const float* outlineColour) {
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  gluOrtho2D(0, 1, 1, 0);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glDisable(GL_DEPTH_TEST);
  glColor4fv(fill);
  glRectf(x, y, x + width, y + height);
  if (outline) {
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glColor4fv(outlineColour);
    glRectf(x, y, x + width, y + height);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  }
  glEnable(GL_DEPTH_TEST);
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
  glPopMatrix();
}

void draw2DTextAt(const char* text, float x, float y, float scale, int alignment, int padChars) {
  const float blank = scale * 200000.0f;
  float offset = 0.0f;
  if (alignment != 1) {
    for (const char* c = text; *c; ++c) offset -= *c == ' ' ? blank : glutStrokeWidth(GLUT_STROKE_ROMAN, *c);
    if (alignment == 2) offset *= 0.5f;
  }
  offset += padChars * glutStrokeWidth(GLUT_STROKE_ROMAN, '-');
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  gluOrtho2D(0, 1, 0, 1);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glTranslatef(offset * scale + x, 1.0f - y, 0.0f);
  glScalef(scale, scale, scale);
  glDepthFunc(GL_ALWAYS);
  for (const char* c = text; *c; ++c) {
    if (*c == ' ')
      glTranslatef(blank, 0.0f, 0.0f);
    else
      glutStrokeCharacter(GLUT_STROKE_ROMAN, (unsigned char)*c);
  }
  glDepthFunc(GL_LESS);
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
  glPopMatrix();
}

// ---- Wire sphere --------------------------------------------------------------------------

void myGlutWireSphere(float radius, int slices, int stacks) {
  const int kMaxCount = 512;
  static double sliceCos[kMaxCount + 1], sliceSin[kMaxCount + 1];
  static double stackCos[kMaxCount + 1], stackSin[kMaxCount + 1];
  static int lastSlices = 0, lastStacks = 0;
  if (stacks > kMaxCount) {
    fprintf(stderr, "warning (myGlutWireSphere): too many stacks.\n");
    stacks = kMaxCount;
  }
  if (slices > kMaxCount) {
    fprintf(stderr, "warning (myGlutWireSphere): too many slices.\n");
    slices = kMaxCount;
  }
  if (slices < 1 || stacks < 1) return;  // nothing to draw, and no division by zero
  if (slices != lastSlices) {
    for (int i = 0; i <= slices; ++i) {
      double angle = i * 2.0 * kPi / slices;
      sliceCos[i] = cos(angle);
      sliceSin[i] = sin(angle);
    }
    lastSlices = slices;
  }
  // The radius goes into the stack tables; a new radius alone takes effect only when the
  // stack count changes. All callers use the one radius 1000.
  if (stacks != lastStacks) {
    for (int j = 0; j <= stacks; ++j) {
      double angle = (0.5 - (double)j / stacks) * kPi;
      stackCos[j] = cos(angle) * radius;
      stackSin[j] = sin(angle) * radius;
    }
    lastStacks = stacks;
  }
  for (int i = 0; i < slices; ++i) {
    glBegin(GL_LINE_STRIP);
    for (int j = 0; j <= stacks; ++j)
      glVertex3d(stackCos[j] * sliceCos[i], stackCos[j] * sliceSin[i], stackSin[j]);
    glEnd();
  }
  for (int j = 1; j < stacks; ++j) {
    glBegin(GL_LINE_LOOP);
    for (int i = 0; i < slices; ++i)
      glVertex3d(stackCos[j] * sliceCos[i], stackCos[j] * sliceSin[i], stackSin[j]);
    glEnd();
  }
}

// ---- Sky grids ----------------------------------------------------------------------------

GridSphereAlphas gridSphereAlphas(double fovy, float a) {
  GridSphereAlphas r{};
  r.drawn[0] = fovy > 25.0;
  r.alpha[0] = fovy < 40.0 ? (float)(a * (fovy - 25.0) / 15.0) : a;
  r.drawn[1] = fovy < 40.0;
  r.alpha[1] = fovy > 25.0 ? (float)(a * (40.0 - fovy) / 15.0) : (float)(a * (fovy - 10.0) / 15.0);
  r.drawn[2] = fovy < 25.0;
  r.alpha[2] = fovy > 10.0 ? (float)(a * (25.0 - fovy) / 15.0) : a;
  return r;
}

std::vector<GridLabel> sphereGridCrossingLabels(int gridType, double fovy) {
  std::vector<GridLabel> labels;
  const bool hours = gridType == 1;
  char text[64];
  if (fovy > 40.0) {
    for (int lon = 15; lon <= 345; lon += 15)
      for (int lat = -90; lat <= 90; lat += 15) {
        if (lat == 0 || lat == 90 || lat == -90) continue;
        if (hours)
          snprintf(text, sizeof text, "(%dh,%d)", lon / 15, lat);
        else
          snprintf(text, sizeof text, "(%d,%d)", lon, lat);
        labels.push_back({(double)lon, (double)lat, text, 1});
      }
  } else if (fovy > 25.0) {
    for (int lon = 0; lon <= 355; lon += 5)
      for (int lat = -85; lat <= 85; lat += 5) {
        if (lat == 0 && lon % 15 == 0) continue;
        if (lon == 0 && lat % 15 == 0) continue;
        if (!hours)
          snprintf(text, sizeof text, "(%d,%d)", lon, lat);
        else if (lon % 15 == 0)
          snprintf(text, sizeof text, "(%dh,%d)", lon / 15, lat);
        else
          snprintf(text, sizeof text, "(%.2fh,%d)", lon / 15.0, lat);
        labels.push_back({(double)lon, (double)lat, text, lon % 15 == 0 && lat % 15 == 0});
      }
  } else {
    for (float lon = 0.0f; lon < 360.0f; lon += 2.5f)
      for (float lat = -87.5f; lat < 90.0f; lat += 2.5f) {
        int ilon = (int)lon, ilat = (int)lat;
        if (lat == 0.0f && isMultipleOf(lon, 15)) continue;
        if (lon == 0.0f && isMultipleOf(lat, 15)) continue;
        char lonPart[32];
        if (hours) {
          if (isMultipleOf(lon, 15))
            snprintf(lonPart, sizeof lonPart, "(%dh", ilon / 15);
          else
            snprintf(lonPart, sizeof lonPart, "(%.2fh", lon / 15.0f);
        } else if (isMultipleOf(lon, 5)) {
          snprintf(lonPart, sizeof lonPart, "(%d", ilon);
        } else {
          snprintf(lonPart, sizeof lonPart, "(%.1f", lon);
        }
        if (isMultipleOf(lat, 5))
          snprintf(text, sizeof text, "%s,%d)", lonPart, ilat);
        else
          snprintf(text, sizeof text, "%s,%.1f)", lonPart, lat);
        labels.push_back({lon, lat, text, isMultipleOf(lon, 5) && isMultipleOf(lat, 5)});
      }
  }
  return labels;
}

void drawSphereGrid(int gridType, int detail) {
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  glDepthMask(GL_FALSE);
  glLineWidth(1.0f);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  m[12] = m[13] = m[14] = 0.0;
  glLoadMatrixd(m);

  float colour[4];
  float labelColour[4] = {0.5f, 1.0f, 1.0f, 0.8f};
  if (gridType == 1) {
    glRotated(32.9313774, 0, 0, 1);
    glRotated(-62.8821792, 1, 0, 0);
    glRotated(77.1416626, 0, 0, 1);
    glScaled(1.05, 1.05, 1.05);
    const float c[4] = {0.8f, 0.6f, 0.6f, 0.5f};
    memcpy(colour, c, sizeof colour);
    labelColour[0] = 1.0f;
    labelColour[1] = 0.6f;
    labelColour[2] = 0.6f;
  } else if (gridType == 3) {
    const double super[16] = {-0.735742574804,
                              0.677261296414,
                              0,
                              0,
                              -0.074553778365,
                              -0.080991471307,
                              0.9939225904,
                              0,
                              0.673145302109,
                              0.731271165817,
                              0.110081262225,
                              0,
                              0,
                              0,
                              0,
                              1};
    glMultMatrixd(super);
    glScaled(1.1, 1.1, 1.1);
    const float c[4] = {0.7f, 0.7f, 0.9f, 0.5f};
    memcpy(colour, c, sizeof colour);
    labelColour[0] = 0.7f;
    labelColour[1] = 0.7f;
    labelColour[2] = 1.0f;
  } else {
    const float c[4] = {0.5f, 0.8f, 0.8f, 0.5f};
    memcpy(colour, c, sizeof colour);
  }

  const GridSphereAlphas alphas = gridSphereAlphas(currFovy, colour[3]);
  const int slices[3] = {24, 72, 144}, stacks[3] = {12, 36, 72};
  for (int k = 0; k < 3; ++k) {
    if (!alphas.drawn[k]) continue;
    glColor4f(colour[0], colour[1], colour[2], alphas.alpha[k]);
    myGlutWireSphere(1000.0f, slices[k], stacks[k]);
  }

  glColor4fv(labelColour);
  const float size = (float)(currFovy * 0.5 / 60.0);
  char text[32];
  for (int lat = -90; lat <= 90; lat += 15) {
    snprintf(text, sizeof text, "%d", lat);
    labelAt(0.0, lat, text, size);
  }
  for (int lon = 15; lon <= 345; lon += 15) {
    if (gridType == 1)
      snprintf(text, sizeof text, "%dh", lon / 15);
    else
      snprintf(text, sizeof text, "%d", lon);
    labelAt(lon, 0.0, text, size);
  }

  if (detail) {
    float first[4], second[4];
    glGetFloatv(GL_CURRENT_COLOR, first);
    memcpy(second, first, sizeof second);
    if (currFovy > 40.0) {
    } else if (currFovy > 25.0) {
      second[3] *= (float)((40.0 - currFovy) / 15.0);
    } else if (currFovy > 10.0) {
      second[3] *= (float)((25.0 - currFovy) / 15.0);
    }
    const float detailSize = (float)(currFovy * 0.1 / 60.0);
    for (const GridLabel& label : sphereGridCrossingLabels(gridType, currFovy)) {
      glColor4fv(label.firstColour ? first : second);
      labelAt(label.lon, label.lat, label.text.c_str(), detailSize);
    }
  }

  glEnable(GL_LIGHTING);
  glEnable(GL_TEXTURE_2D);
  glDepthMask(GL_TRUE);
  glPopMatrix();
}
