// The picture of the alignment tool: the Milky Way sphere far behind, the reference models, the
// model under alignment, the stars, the constellations, the grids and axes, and the flat overlays,
// in that order.
#pragma once

#include "stars/star.h"
#include "tool/velmora.h"

// The whole scene of one frame. mode is accepted and not used; logScale is the viewer's current
// log scale, handed on to the stars and the constellations. Prints nothing (but the model's
// "No Vertex/Face normal in the input obj file.\n" while normals are asked for and missing).
void drawSky(unsigned int mode, double logScale);

// The Milky Way maps on the sphere: one map, or two cross-faded by the slider. Nothing without
// maps or with texChoice 0.
void drawMilkyway();

// A sphere of radius kMilkyWayRadius around the observer, galactic longitude along s from 0 to 1
// and latitude along t from the south pole (1) to the north pole (0), seen from inside.
void drawTexGeometry();

// One text line about the direction of the model's origin (drawAlignInfo) or of the picture's
// centre (drawLookAtInfo), in galactic or, with showRaDec, equatorial coordinates.
void drawAlignInfo();
void drawLookAtInfo();

// Dashed lines through the centre of the picture with a tick every 5 degrees of view.
void drawCenterLine();

// The texts of the two info lines, without drawing: what drawAlignInfo and drawLookAtInfo show
// for the direction v (any length). model picks the "model centered" or "screen centered" form.
void formatDirectionInfo(const double v[3], bool model, char* out, int size);

// The marker of a picked star (a wire cube and its label) or of the anchor (a cross, and for the
// anchor itself its text), at the star's true direction from the eye whatever its distance.
void draw3DText(double logScale, const NODE_StarObject& star);

// The label of a star's marker: " HD%d" or " <common name>" after showCommonName, followed by
// " (<constellation>)" when the star has one. Writes at most size bytes into out.
void formatMarkerLabel(const NODE_StarObject& star, char* out, int size);

// The box about the picked star at the lower left: nothing for no pick or the anchor's copy.
void drawStarInfo();

// The lines of that box, lowest first, and the y of the lowest (higher with lockView so as to
// clear "[View Locked]"). Returns the number of lines, 0 when no box is shown.
constexpr int kStarInfoLines = 6;
constexpr int kStarInfoLineSize = kPickTextSize + 32;  // a picked-star text and its label
int starInfoLines(char lines[kStarInfoLines][kStarInfoLineSize], float* y0);
