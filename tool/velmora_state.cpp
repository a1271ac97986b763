// Definitions of the alignment tool's state, with the values a fresh process starts from; the
// scene's start-up sets most of them again.
#include "tool/velmora.h"

_GLMmodel* alignModel = nullptr;
char alignfile[512] = "";
char alignfile_basename[512] = "";
std::string alignpath;
std::string try_open_alignfile;
int isObjAnImage = 0;
float orig_modelColor[4] = {0, 0, 0, 0};
double alignModelCenter[3] = {0, 0, 0};
float alignModelRangeX[2] = {0, 0};
float alignModelRangeY[2] = {0, 0};
float alignModelRangeZ[2] = {0, 0};
double alignModelMatrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
double alignModelMatrix_Backup[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
float alignModelObjScale[3] = {1, 1, 1};
float alignModelObjTran[2] = {0, 0};
double alignModelUpVec[3] = {0, 0, 1};
float alignModelAlpha = 1.0f;
float initTranMat[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
int showAlignModel = 1, showAlignModelOutline = 1, showAlignModelNormal = 0;
int showAlignModelAxes = 0, showAlignModelBBox = 0, showAlignModelInfo = 1;

double alignModelMatrix_undo[kAlignRingSize][16];
double alignModelMatrix_redo[kAlignRingSize][16];
int nUndo = 0, nRedo = 0;
int undoIndex = 0, redoIndex = 0;

int nFixedModels = 0;
_GLMmodel** fixedModels = nullptr;
int showFixedModels = 1, showFixedBehind = 1;
float alignFixedModelAlpha = 1.0f;
std::string objFileExport;
float distObjModel = 0;
int unitObjModel = kUnitBase;
int coordObjModel = kCoordBase;
int exportImageWcs = 0;
char recentFiles[kMaxRecentFiles][512];
char recentPaths[kMaxRecentFiles][512];
int nRecentFiles = 0;
int recentListBoxID = 0;

int showSGalSphere = 0, showGalSphere = 0, showEqnSphere = 0, gridDetail = 0;
int showSGalAxesFlag = 0, showEqnAxesFlag = 0, showLookAtDir = 1, showCenterLine = 0, lockView = 0;
int showRaDec = 0, showAnchor = 0, printDecPlace = 2;
int showStarsFlag = 1, useStarColorMap = 1, useStarTex = 1;
int showConstellationNames = 0, showConstellationLines = 0, showConstellationBounds = 0;
int showConstellationPickedOnly = 0, showCommonName = 1, showStarInfo = 1;
int textureOn = 1;

float myCurrFovy = 0;
float myCurrAspect = 0;
float mySensitivity = 0;
int myShowAxesFlag = 0;
float starSize = 1.0f;
int starAtYear = 1991;

StarList* starList = nullptr;
char topdir[512] = "";
NODE_StarObject anchor;
NODE_StarObject pickedStar;
int picked = 0;
int pickAtX = 0, pickAtY = 0;
char anchorText[160] = " (0,0)";

char pickStarNameHDStr[kPickTextSize], pickStarNameHICStr[kPickTextSize];
char pickStarNameCommonStr[kPickTextSize], pickStarConstellationStr[kPickTextSize];
char pickStarBVStr[kPickTextSize], pickStarVMagStr[kPickTextSize];
char pickStarSpTypeStr[kPickTextSize], pickStarLumStr[kPickTextSize];
char pickStarPosXStr[kPickTextSize], pickStarPosYStr[kPickTextSize], pickStarPosZStr[kPickTextSize];
char pickStarDistErrorStr[kPickTextSize], pickStarPosScaleStr[kPickTextSize];
char pickStarDistParsecStr[kPickTextSize], pickStarDistLightYearStr[kPickTextSize];
char pickStarVelXStr[kPickTextSize], pickStarVelYStr[kPickTextSize], pickStarVelZStr[kPickTextSize];
char pickStarPecVelXStr[kPickTextSize], pickStarPecVelYStr[kPickTextSize], pickStarPecVelZStr[kPickTextSize];
char pickStarLStr[kPickTextSize], pickStarBStr[kPickTextSize];

TexObj* texObjs = nullptr;
int nTexObjs = 0;
int nSliderTex = 0;
TexObj** sliderTex = nullptr;
int texChoice = 0;
int showWhichTexture = kTexListBase;
float sliderTexAlpha = 0.6f;
int tex_sliderUnit = kSliderUnitBase;
float tex_sliderValue = -6.2627f;
float tex_sliderMin = 0, tex_sliderMax = 0;
unsigned int sliderTexID1 = 0, sliderTexID2 = 0;
float sliderTexAlpha1 = 1, sliderTexAlpha2 = 0;

GLUI* glui = nullptr;
GLUI_Control* rolloutList[kMaxRollouts];
char rolloutChar[kMaxRollouts];
int nRolloutList = 0;
int rolloutOffset = 0;
int rolloutStart = 0;
GLUI_Control* starPosLText = nullptr;
GLUI_Control* starPosBText = nullptr;
GLUI_Control* texRadioGroup = nullptr;
GLUI_Slider* textureSlider = nullptr;
GLUI_Slider* alphaSlider = nullptr;
GLUI_Control* recentFilesBox = nullptr;
