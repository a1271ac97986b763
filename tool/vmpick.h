// Choosing the tool's reference points: a star by name or number, by constellation, or by a click
// in the picture, and the anchor on empty sky; and the texts that describe the choice.
#pragma once

// Picks the first star whose common name equals text without regard to case, or, when the number
// atoi(text) is above 0, whose HD or HIC number it is. The text "anchor" (with this case) shows the
// anchor instead and returns 0. Returns 1 on a match; otherwise changes nothing and returns 0.
int pickStarByName(const char* text);

// Picks a star of the constellation named (a word of its name, or its code); 0 for an empty or
// absent text or no match, which changes nothing.
int pickStarByConstellation(const char* text);

// Picks the star under the window pixel x, y (y from the top) in the frame being drawn; on empty
// sky clears the pick and moves the anchor there.
void pickStarByPos(int x, int y);

// Moves the anchor to the direction under window pixel x, y (y from the top); a negative x keeps
// it where it is. Then it stands as the picked record (HD kAnchorHD) and the texts describe it.
void updateAnchor(int x, int y);

// Rewrites the picked-star texts from pickedStar.
void updateStarPanel();

// The two angle texts of a direction: galactic l and b, or with showRaDec right ascension in hours
// ("h" behind it) and declination, with printDecPlace decimals. lText and bText hold 64 bytes.
void computeAnglesStr(char* lText, char* bText, const double v[3]);
