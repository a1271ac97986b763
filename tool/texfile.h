// The Milky Way maps: reading the texture list, the wavelength slider list, uploading the maps
// as OpenGL textures, converting the slider between units and cross-fading two maps.
//
// The state these functions fill (texObjs, nTexObjs, sliderTex, nSliderTex, the slider values
// and the cross-fade) is declared in tool/velmora.h under "Multispectral textures".
#pragma once

#include "tool/velmora.h"

// Default name of the texture list, below the program's directory or topdir.
constexpr const char* kDefaultTexFile = "Images/ALL.texture";
// The slider's start, log10 of about 546 nanometres: green light.
constexpr float kDefaultSliderValue = -6.2627f;
// The overall intensity of the maps after the list has been read.
constexpr float kDefaultSliderTexAlpha = 0.6f;

// Units of the slider; tex_sliderUnit holds kSliderUnitBase plus one of these.
constexpr int kUnitWavelength = 0;   // "wavelength(m)"
constexpr int kUnitFrequency = 1;    // "frequency(Hz)"
constexpr int kUnitTemperature = 2;  // "temperature(K)"
constexpr int kUnitEnergy = 3;       // "energy(ev)"

// Finds and reads the texture list into texObjs / nTexObjs and builds the slider list.
// texFile is a 512-character buffer, in and out: when empty it is filled with the value of the
// environment variable TEXFILES if VELMORA_TEXFILE is set (one name tested, the other read, as
// the program has always done; with TEXFILES unset the default name is taken), else with
// kDefaultTexFile. The list is tried as "baseDir/texFile", then as "topdir/texFile".
// Prints "reading texture images [%s] ... " and then "ok.\n" or "no texture provided.\n" on
// standard error. Sets showWhichTexture, sliderTexAlpha, and, with a slider, tex_sliderUnit,
// tex_sliderValue, tex_sliderMin and tex_sliderMax. A list read earlier is freed first.
// Returns 1 when a list was read, 0 when none was. Never exits.
int readMWTexture(char* texFile, const char* baseDir);

// Reads the list file at path. Returns a malloc'ed array of *nTex entries that the caller owns
// (free with freeTexObjs), or nullptr when the file can't be opened, has no entries, or an image
// can't be read; then *nTex is 0. *nSlider becomes 1 if the list holds a line
// "USE_WAVELENGTH_SLIDER", else 0. *status is 1 on entry and 0 once the file is open and its
// directory found. An image is tried as the list gives it, then in the list's directory; when
// both fail prints "\nErr (readTextureListFile) : reading [%s] or [%s]\n" on standard error
// (out of memory: "\nErr (readTextureListFile) : no memory for %d textures\n").
TexObj* readTexObjs(const char* path, int* nTex, int* nSlider, int* status);

// The entries of objs that carry a wavelength, as a malloc'ed array of pointers into objs
// sorted by rising logl, owned by the caller. nullptr, with *nSlider 0, when fewer than two
// entries carry one, when two carry the same, or out of memory. Prints nothing.
TexObj** genSliderList(TexObj* objs, int n, int* nSlider);

// Makes an OpenGL texture of every entry: scales each image to the nearest powers of two
// (replacing image, width and height), and uploads it with mipmaps, GL_DECAL and GL_REPEAT.
// A grey image (comp 1) is widened to RGB first. Needs a current OpenGL context; without one
// prints "Err : please initialize the GLUT environment before\n" and
// "      calling bindTexObjs if you want to use texture.\n". Returns 1, or -1 at the first
// failure (no texture name, no memory: "Err (bindTexObjs) : no memory for [%s]\n", a scaling
// error: "Err : GLerror [%s]\n"), all on standard error. A failed mipmap build prints the same
// GLerror line and goes on. The pixels stay in image.
int bindTexObjs(TexObj* objs, int n);

// Frees every entry's image and the array itself; the texture objects stay. nullptr is harmless.
void freeTexObjs(TexObj* objs, int n);

// Prints the entry's name, file, size, channels and log wavelength on standard error.
void printTexObjInfo(const TexObj* obj);

// A malloc'ed copy of path up to and including its last '/', or an empty text when it has
// none; the caller frees it. nullptr when out of memory.
char* getTexPathOfFile(const char* path);

// Converts a slider value, log10 of a quantity in frmUnit, into log10 of the same light in
// toUnit, rounded to float. Equal units return value unchanged. An unknown unit prints
// "Err (convertSliderUnit) : internal programming error (unknown frmUnit)\n\n" (or toUnit) on
// standard error and ends the process with status 1.
float convertSliderUnit(int frmUnit, int toUnit, float value);

// To be called after a change of texture choice. Does nothing without texObjs. For
// kIdTexSlider it sets sliderTexID1/2 and sliderTexAlpha1/2 from tex_sliderValue; for any id
// it brings the panel up to date, if there is one. Prints nothing.
void resetTexture(int id);

// To be called after a change of tex_sliderUnit: converts tex_sliderValue, tex_sliderMin and
// tex_sliderMax from the unit of the previous call (at first wavelength) into the new one,
// keeping the minimum below the maximum, and brings the panel up to date. Exits like
// convertSliderUnit on an unknown unit.
void updateTexSliderUnit();

// The line tests and edits of the texture list reader, kept apart from the star engine's own.
namespace texfile {

// 1 when the first non-white-space character is '#'. The last character of the line is not
// examined, so a '#' standing last (or alone) doesn't make a comment.
int isCommentLine(const char* line);
// 1 when the line is white space up to its last character, which isn't examined: the empty
// line and every line of one character count as blank.
int isBlankLine(const char* line);
// Cuts name in place at its first '.' or its first "_det", whichever comes first.
void trimFileExt(char* name);
// Cuts one trailing '\n'; a '\r' before it stays.
void chomp(char* line);

}  // namespace texfile
