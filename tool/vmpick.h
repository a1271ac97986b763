// Choosing the tool's reference points: a star by name or number, by constellation, or by a click
// in the picture, and the anchor on empty sky; and the texts that describe the choice.
//
// All of these read and write the scene's globals of tool/velmora.h (pickedStar, picked, anchor,
// anchorText, showAnchor and the pickStar...Str texts). None of them prints, allocates or exits.
#pragma once

// Picks the first star, in the catalogue's order, whose common name equals text without regard
// to case, or, when the number atoi(text) is above 0, whose HD or HIC number it is. The text
// "anchor" (with this case) instead clears the pick, shows the anchor and returns 0. Returns 1 on
// a match; otherwise (also for a null text or no catalogue) changes nothing and returns 0.
int pickStarByName(const char* text);

// Picks the principal star of the first constellation that has a word starting with text (see
// StarList::getStarByConstellation). Returns 1 on a match; 0 for a null or empty text, no
// catalogue or no match, which change nothing.
int pickStarByConstellation(const char* text);

// Picks the star under the window pixel x, y (y from the top) with the matrices of the frame
// being drawn, so it runs from renderScene. On empty sky it clears the pick and moves the
// anchor there, drawn or not. Nothing happens without a catalogue.
void pickStarByPos(int x, int y);

// Moves the anchor to the direction under window pixel x, y (y from the top), using the current
// modelview matrix without its translation and the current projection; a negative x keeps it
// where it is. Then the anchor is copied to pickedStar (HD kAnchorHD), the texts describe it and
// anchorText becomes " (l,b)" of its two angle texts.
void updateAnchor(int x, int y);

// Rewrites the pickStar...Str texts from pickedStar with printDecPlace decimals; for the anchor's
// copy the catalogue texts are empty and the common name is "anchor".
void updateStarPanel();

// The two angle texts of a direction v (any length): galactic l and b, or with showRaDec right
// ascension in hours ("h" behind it) and declination, with printDecPlace decimals. lText and
// bText are the caller's buffers of at least kAngleTextSize bytes.
constexpr int kAngleTextSize = 64;
void computeAnglesStr(char* lText, char* bText, const double v[3]);
