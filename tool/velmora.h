// The alignment tool's state: the model being aligned, its undo and redo rings, the reference
// models, the sky switches and the Milky Way maps. Every file of the tool reads and writes these
// directly; there is one alignment state per process.
//
// Frames: "file" is the frame the model file's coordinates are in (the sky frame of the
// catalogue, galactic); "model" is the model's own principal frame set up on loading.
// Matrices are 16 values in OpenGL order, column after column.
#pragma once

#include <cstdio>
#include <string>

#include "model/glm.h"
#include "stars/star.h"

// ---- Panel control ids that the state holds as values ---------------------------------------
enum ToolPanelId {
  kIdTexChoice = 60,       // radio group: none, one map, slider
  kIdTexSlider = 62,       // the wavelength slider
  kSliderUnitBase = 63,    // listbox of slider units: 63 plus the unit code
  kTexListBase = 610,      // listbox of maps: 610 plus the index in texObjs
  kUnitBase = 710,         // export unit choices start here
  kCoordBase = 720,        // export coordinate system choices start here
  kRecentListBase = 230,   // listbox of recent files: 230 plus the entry number
};

// ---- The aligned model ----------------------------------------------------------------------
extern _GLMmodel* alignModel;            // owned; vertices in the model frame after fixModelMatrix
extern char alignfile[512];              // path of the model file as given
extern char alignfile_basename[512];     // its last path component
extern std::string alignpath;            // its directory (panel text)
extern std::string try_open_alignfile;   // name shown in the open-file panel
extern int isObjAnImage;                 // 1 when the model is flat (an image)
extern float orig_modelColor[4];         // diffuse colour of the head group's material
extern double alignModelCenter[3];       // file frame: middle of the bounding box as read
extern float alignModelRangeX[2];        // model frame: minimum, maximum
extern float alignModelRangeY[2];
extern float alignModelRangeZ[2];
extern double alignModelMatrix[16];          // column order, model frame to file frame
extern double alignModelMatrix_Backup[16];   // the matrix as first computed
extern float alignModelObjScale[3];      // scale along the model's own axes
extern float alignModelObjTran[2];       // shift along the model's own x and y, model units
extern double alignModelUpVec[3];        // file frame, unit: the model's up direction
extern float alignModelAlpha;            // opacity, 0 to 1
extern float initTranMat[16];            // column order, file frame to model frame (as applied)
extern int showAlignModel, showAlignModelOutline, showAlignModelNormal;
extern int showAlignModelAxes, showAlignModelBBox, showAlignModelInfo;

// ---- Undo and redo --------------------------------------------------------------------------
constexpr int kAlignRingSize = 32;
extern double alignModelMatrix_undo[kAlignRingSize][16];  // earlier values of alignModelMatrix
extern double alignModelMatrix_redo[kAlignRingSize][16];  // undone values
extern int nUndo, nRedo;           // entries that can be taken back, at most kAlignRingSize
extern int undoIndex, redoIndex;   // slot the next push writes

// ---- Reference models and export ------------------------------------------------------------
extern int nFixedModels;
extern _GLMmodel** fixedModels;    // owned, nFixedModels entries, file frame
extern int showFixedModels, showFixedBehind;
extern float alignFixedModelAlpha;  // shared opacity of the reference models, 0 to 1
extern std::string objFileExport;  // export file name (panel text)
extern float distObjModel;         // distance of the model, file units
extern int unitObjModel;           // panel id of the chosen unit
extern int coordObjModel;          // panel id of the chosen coordinate system
extern int exportImageWcs;         // 1: an exported image model gets its WCS (FITS) and AVM (XMP) too
constexpr int kMaxRecentFiles = 9;
extern char recentFiles[kMaxRecentFiles][512];  // file names of recent models, entry 0 newest
extern char recentPaths[kMaxRecentFiles][512];  // their directories, as given
extern int nRecentFiles;            // entries in use, 0 to kMaxRecentFiles
extern int recentListBoxID;         // kRecentListBase plus the entry chosen, 0 for none

// ---- Sky display switches -------------------------------------------------------------------
extern int showSGalSphere, showGalSphere, showEqnSphere, gridDetail;
extern int showSGalAxesFlag, showEqnAxesFlag, showLookAtDir, showCenterLine, lockView;
extern int showRaDec, showAnchor, printDecPlace;
extern int showStarsFlag, useStarColorMap, useStarTex;
extern int showConstellationNames, showConstellationLines, showConstellationBounds;
extern int showConstellationPickedOnly, showCommonName, showStarInfo;
extern int textureOn;

// ---- Mirrors of framework values for the panel's live controls -------------------------------
extern float myCurrFovy;     // degrees
extern float myCurrAspect;
extern float mySensitivity;
extern int myShowAxesFlag;
extern float starSize;       // texScale of the star parameters
extern int starAtYear;       // years AD

// ---- Stars, anchor, data root -----------------------------------------------------------------
extern StarList* starList;           // owned
extern char topdir[512];             // fall-back data root
extern NODE_StarObject anchor;       // no star: HD kAnchorHD marks it
extern NODE_StarObject pickedStar;   // copy of the star or anchor last chosen
extern int picked;                   // 1 while pickedStar holds a choice
extern int pickAtX, pickAtY;         // window pixel of the pending pick, y from the top
extern char anchorText[160];          // " (l,b)" of the anchor, each angle up to 63 characters
constexpr int kAnchorHD = -2;

// ---- Texts about the picked star or the anchor (shown by the panel and the info box) ----------
constexpr int kPickTextSize = 320;
extern char pickStarNameHDStr[kPickTextSize], pickStarNameHICStr[kPickTextSize];
extern char pickStarNameCommonStr[kPickTextSize], pickStarConstellationStr[kPickTextSize];
extern char pickStarBVStr[kPickTextSize], pickStarVMagStr[kPickTextSize];
extern char pickStarSpTypeStr[kPickTextSize], pickStarLumStr[kPickTextSize];
extern char pickStarPosXStr[kPickTextSize], pickStarPosYStr[kPickTextSize], pickStarPosZStr[kPickTextSize];
extern char pickStarDistErrorStr[kPickTextSize], pickStarPosScaleStr[kPickTextSize];
extern char pickStarDistParsecStr[kPickTextSize], pickStarDistLightYearStr[kPickTextSize];
extern char pickStarVelXStr[kPickTextSize], pickStarVelYStr[kPickTextSize], pickStarVelZStr[kPickTextSize];
extern char pickStarPecVelXStr[kPickTextSize], pickStarPecVelYStr[kPickTextSize], pickStarPecVelZStr[kPickTextSize];
extern char pickStarLStr[kPickTextSize], pickStarBStr[kPickTextSize];

// ---- Multispectral textures -----------------------------------------------------------------
struct TexObj {
  char name[512];        // label in the listbox
  char file[512];        // image file as the list gives it
  unsigned int texId;    // OpenGL texture name
  int width, height;     // pixels; powers of two after bindTexObjs
  int comp;              // channels as read_pnm gives them
  double logl;           // log10 of the wavelength in metres, or kNoWavelength
  unsigned char* image;  // owned (malloc), read_pnm layout
};
constexpr double kNoWavelength = -1.7976931348623157e308;  // the most negative double

extern TexObj* texObjs;            // owned, nTexObjs entries
extern int nTexObjs;
extern int nSliderTex;             // entries of sliderTex, or 0
extern TexObj** sliderTex;         // owned array of pointers into texObjs, rising logl
extern int texChoice;              // 0 none, 1 one map, 2 slider
extern int showWhichTexture;       // kTexListBase plus the index of the selected map
extern float sliderTexAlpha;       // overall intensity, 0 to 1
extern int tex_sliderUnit;         // kSliderUnitBase plus the unit code
extern float tex_sliderValue;      // log10 of the quantity in the current unit
extern float tex_sliderMin, tex_sliderMax;
extern unsigned int sliderTexID1, sliderTexID2;     // the two textures of the cross-fade
extern float sliderTexAlpha1, sliderTexAlpha2;      // their weights, summing to 1

// ---- The control panel (vmbuild.cpp) ---------------------------------------------------------
class GLUI;
class GLUI_Control;
class GLUI_Slider;
constexpr int kMaxRollouts = 16;
extern GLUI* glui;                                // the panel window, or nullptr before it is built
extern GLUI_Control* rolloutList[kMaxRollouts];   // the rollouts in their present circular order
extern char rolloutChar[kMaxRollouts];            // the letter of each, in the same order
extern int nRolloutList;                          // rollouts in use
extern int rolloutOffset;                         // index in rolloutList of the rollout on top
extern int rolloutStart;                          // children of the main panel before the rollouts
extern GLUI_Control* starPosLText;                // the star panel's two angle boxes, relabelled
extern GLUI_Control* starPosBText;                //   when Ra/Dec is switched
extern GLUI_Control* texRadioGroup;               // "[1] no texture" ... on texChoice
extern GLUI_Slider* textureSlider;                // "slider at (log10)", with a slider list only
extern GLUI_Slider* alphaSlider;                  // "MW Intensity (w/W)"
extern GLUI_Control* recentFilesBox;              // "recent:", items kRecentListBase up

// ---- The scene (velmora.cpp) ------------------------------------------------------------------
// The drawing, gestures, files, textures and picking are declared in the headers of their own
// files: vmdraw.h, vmcb.h, vmfile.h, texfile.h, vmpick.h.
// initScene and deleteScene, the framework's contract, are declared in viewer/tarnwick.h.

// What the option scan at the head of the scene's command line found.
struct SceneOptions {
  int starSet;         // number behind "-s"; the catalogue file is hip.<starSet>.star
  char texFile[512];   // texture list named by "-tex", empty for the default
  int textureOn;       // 0 after "-notex"
  int next;            // index of the first argument that is no option: the model
};
constexpr int kDefaultStarSet = 6;

// Number of arguments of argv up to argc, or up to the first entry that is null or repeats an
// earlier entry's pointer, whichever comes first: glutInit removes the window-system arguments
// it consumes by moving the later ones forward, and leaves nulls or stale copies of the moved
// pointers in the slots that the scene's count still covers. Prints nothing.
int sceneArgCount(int argc, char** argv);

// Scans the options at the head of argv (argc already cut by sceneArgCount) into *out.
// Prints "Use starset %d (%s)\n" on standard output for each "-s..." argument. A "-tex" with no
// argument behind it prints "Err: no texture list file behind -tex\n" on standard error.
// Returns 1 when a model argument follows the options (out->next is its index), -1 when none
// is left or "-tex" lacks its file. Never exits.
int scanSceneOptions(int argc, char** argv, SceneOptions* out);

// Gives a model read without any material (no mtllib line) the library's default material, so
// that the head group's material, which the scene reads and the drawing overwrites, exists.
// Returns 1 when a material was added, 0 when the model had one already. Memory comes from the
// model library's allocator and is freed by glmDelete; out of memory ends the process.
int giveDefaultMaterial(_GLMmodel* model);

// Puts the model's vertices into its own principal frame and sets alignModelCenter, the
// ranges, alignModelUpVec, alignModelMatrix (and its backup), initTranMat, the object scale
// and translation. Prints the warnings of a model with 0, 1 or 2 vertices or centred at the
// origin on standard output. Reads isObjAnImage. Never exits but out of memory.
void fixModelMatrix(_GLMmodel* model);

// The principal axes of the model seen from the origin, projected along the line of sight
// through centre (3 doubles, file frame). Writes the unit vectors up and side (3 doubles
// each, caller's buffers). A square image (isObjAnImage, exactly 4 vertices, equal second and
// third eigenvalues) takes its up from its two highest corners. Prints nothing; out of memory
// prints "Err: not enough memory!\n\n" and ends the process with status 1.
void computeFrame(_GLMmodel* model, const double* centre, double* up, double* side);

// The first view: loads the projection and modelview matrices so that the eye at the origin
// looks at alignModel with all of it in the picture; sets myCurrFovy and currFovy (which keeps
// its value when the fit needs more than kMaxInitFovy degrees). Needs a current OpenGL context.
void fixInitView();
constexpr double kMaxInitFovy = 170.0;  // degrees

// The undo and redo rings. resetAlign empties both (their slots keep their contents).
// saveAlign pushes alignModelMatrix on the undo ring unless it equals the newest slot, and
// then empties the redo ring. undoAlign and redoAlign move one step, or print
// "no alignment operation to undo\n" / "no alignment operation to redo\n" on standard error.
void resetAlign();
void saveAlign();
void undoAlign();
void redoAlign();
// Copies matrix (16 doubles) into ring[*index], advances *index modulo kAlignRingSize and
// raises *count up to kAlignRingSize.
void pushMat(double (*ring)[16], const double* matrix, int* index, int* count);
// Steps *index back modulo kAlignRingSize, copies that slot into matrix, lowers *count; it
// doesn't look at *count.
void popMat(double (*ring)[16], double* matrix, int* index, int* count);

// Sum of a[i] * b[i] over n values, in double precision, returned rounded to float.
float dotN(const double* a, const double* b, int n);
// Sorts keys[left..right] upward, moving labels along; length bounds the left-hand scan.
void q_sort(int* labels, double* keys, int left, int right, int length);
// Swaps entries i and j of both arrays.
void mySwap(int* labels, double* keys, int i, int j);
