// Model files of the alignment tool: opening another model while the tool runs, the list of
// recent files, the file name variables, and the export of the aligned model as an OBJ file.
// Also the small float, matrix and angle functions that the export and the sky texts use.
//
// Everything here runs on the one thread of the event loop and reads and writes the alignment
// state of tool/velmora.h directly.
#pragma once

#include "model/glm.h"

// ---- Unit and coordinate system codes of the export ----------------------------------------
// The unit is a label only: it names the unit in which the user typed the model's distance.
// The code is the panel id minus kUnitBase (tool/velmora.h).
enum ExportUnit {
  kUnitParsec = 0,
  kUnitKiloParsec = 1,
  kUnitLightYear = 2,
  kUnitMeter = 3,
  kUnitKilometer = 4,
  kUnitGigaMeter = 5,   // 10^9 m
  kUnitTeraMeter = 6,   // 10^12 m
  kUnitPetaMeter = 7,   // 10^15 m
  kUnitExaMeter = 8,    // 10^18 m
  kUnitZettaMeter = 9,  // 10^21 m
  kNumExportUnits = 10,
};
// The code is the panel id minus kCoordBase.
enum ExportCoord {
  kCoordGalactic = 0,
  kCoordEquatorial = 1,
  kCoordSuperGalactic = 2,
  kNumExportCoords = 3,
};

// The comment line that an export writes for a unit or coordinate code, with its "\n"; nullptr
// for a code outside the table.
const char* exportUnitLine(int unit);
const char* exportCoordLine(int coord);

// The file panel's controls call these: the open button (id 21) openFile(alignpath,
// try_open_alignfile), the recent listbox (id kRecentListBase) openRecentFile(recentListBoxID -
// kRecentListBase), the export button (id 70) exportObjFile with alignpath "/" objFileExport and
// then addRecentFile(alignpath, objFileExport).

// ---- Opening a model --------------------------------------------------------------------------
// Replaces alignModel by the model dir/name (dir "" or nullptr means the working directory) and
// sets the alignment up afresh as the start of the tool does: planarity, principal frame, empty
// undo and redo, colour, file names, distance, title, recent list, first view. Needs a current
// OpenGL context (the first view is loaded into its matrices).
// Prints "Try to read [path] (please wait) ... " and then "okay.\n", "failed to open.\n" or
// "failed to read.\n" on stderr; an empty name prints "Err : cannot open [dir/<null>]\n" and
// nothing else happens. On every failure the old model stays in force. A file that the model
// reader or the drawing would end the process on (an unknown vertex keyword, a material file or
// texture image that can't be opened, an unknown image type or texture mode) is refused with
// "Err : [path]: reason\n" behind "failed to read.\n". A FITS, PNG or JPEG picture is first made
// into a quad model by modelOfImage (tool/vmimage.h, with its messages), placed on the sky or
// standing facing the view, and that model is opened in its stead (path, title and recent list
// name the model); a picture whose pixels can't be read is refused with modelOfImage's message
// alone. Never exits but out of memory.
// Returns 1 when the new model is in place, -1 otherwise.
int openFile(const char* dir, const char* name);

// Opens entry 0 to nRecentFiles - 1 of the recent list through openFile. Out of range:
// "Err(openRecentFile): input argument (entry) is out of range!\n" on stderr, nothing else.
void openRecentFile(int entry);

// Puts the pair at the head of the recent list (recentPaths, recentFiles), removing an equal
// pair further down and letting the ninth entry fall off a full list, and refills the panel's
// recent listbox (recentFilesBox) when there is one. Prints nothing.
void addRecentFile(const char* dir, const char* name);

// Sets alignfile_basename and alignpath from alignfile; with flag not 0 try_open_alignfile
// takes the base name as well. Prints nothing.
void resetAlignFile(int flag);

// ---- Export -------------------------------------------------------------------------------------
// Writes the model file `source` to `target` with every "v " and "vn " line passed through the
// alignment: E = K s matrix T S initMatrix, K the turn into the coordinate system `coord`, s the
// scale that puts the translation of `matrix` at `distance`, T and S the object translation and
// scale of the alignment state. Normals go through the inverse of E (its translation included)
// and are made unit length. All other lines, line ends included, pass byte for byte. In front
// come the line "# written by program ..." with the date, an empty line, the unit and the
// coordinate line (none for a code outside the tables) and an empty line. `model` is not used. `matrix` is 16
// doubles and `initMatrix` 16 floats, OpenGL order. Needs a current OpenGL context (E is built on its
// modelview stack, which is left as it was).
// The target may be the source. The new file is made beside the target and renamed over it once
// it is complete, so a failure at any point leaves the old target (and the source) whole.
// Prints "export obj file to [target] ... " and "okay\n" on stdout; failures on stderr:
//   "Err (exportObjFile): cannot export to <NULL>\n"
//   "Err (exportObjFile): cannot open original objfile which is <NULL>\n"
//   "Err (exportObjFile): cannot open original objfile [source]\n"
//   "Sorry... buffer is full. Failed to open tmp file.\n"
//   "Err (exportObjFile): cannot read original objfile [source]\n"
//   "Sorry... buffer is full. Failed to write tmp file.\n"
//   "Err (exportObjFile): cannot open objfile [target]\n"
//   "Err (exportObjFile): cannot write objfile [target]\n"
// Returns 1, or -1 on failure. Never exits.
int exportObjFile(const char* target, const char* source, _GLMmodel* model, const double* matrix,
                  const float* initMatrix, float distance, int unit, int coord);

// ---- Small float, matrix and angle functions ------------------------------------------------
// Galactic longitude l in (-180, 180] and latitude b in degrees of a vector (need not be unit).
// A zero vector gives NaN.
void vecTolb(const double v[3], double& l, double& b);
// The unit vector (cos b cos l, cos b sin l, sin b) of l and b in degrees.
void lbToVec(double l, double b, double v[3]);
// out = transpose of in, 16 floats; out must differ from in.
void transposeMatf(const float in[16], float out[16]);
float dot3f(const float a[3], const float b[3]);
// The point v times the row-major 4 by 4 matrix `rows`, in place, divided by the computed w
// unless w is exactly 0.
void matMultVertexf(const float rows[16], float v[3]);
// The same on doubles; each result is rounded to single precision before the division.
void matMultVertexd(const double rows[16], double v[3]);
// v made unit length in place; a zero vector is left alone.
void unifyf(float v[3]);
