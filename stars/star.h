// The star engine: StarList owns the star catalogue (an array sorted by distance, nearest first),
// the display parameters of the stars and the brightness and size model that turns a star's
// luminosity and distance into a point size and an opacity.
//
// Catalogue coordinates are galactic, with the observer (the Sun) at the origin: x towards
// longitude 0, y towards longitude 90, z towards the north galactic pole.
#pragma once

#include <cstddef>
#include <cstdio>

#include "coords/phcoord.h"
#include "stars/colormap.h"
#include "stars/star_memo.h"
#include "stars/starsize.h"

struct NODE_ExtrasolarPlanet;

// One star. Plain record, copied whole between arrays and to callers.
struct NODE_StarObject {
  PHCoord basePos;   // at the dataset year: file x, y, z times the SIZE factor, s the SIZE exponent
  PHCoord pos;       // current position, unified; pos.s as read is the sort key
  float distErr;     // fractional error of the distance, never negative
  double vel[3];     // km/s
  double velErr[3];  // fractional error of each component
  float bv;          // colour index B-V
  float lum;         // luminosity; 1 is absolute magnitude 0
  float rgba[4];     // file colour, each in [0,1]
  int HD;
  int HIC;
  char commonName[32];
  char constellName[32];
  char constellCode[4];
  char spClass[4];  // first two characters of the file's token
  float spNum;      // spectral subclass in [0,10]
  char spType[12];  // luminosity class "I" .. "V"
  float VMag;       // magnitude seen from the origin, computed at reading
  float cmapRgba[4];
  float lumMag;   // absolute magnitude, -2.5 log10(lum)
  float ptLum;    // lum over the rescale normaliser
  PHCoord velPH;  // metres per year, local standard of rest added; s = 0
  int nPlanets;
  NODE_ExtrasolarPlanet** planets;  // owned by the catalogue's record; copies alias it
  // Per-frame scratch of the drawing code, not set at reading.
  int pxSize;
  int pxAlpha;
  PHCoord viewVec;
  // Apparent magnitude from the camera, written when drawStars works the star out: in every frame
  // that has it in front of the camera, but from the origin only in the first such frame after a
  // change of the stars or of the frame's settings (the frames after it would write the same).
  float curVMag;
};

// One extrasolar planet, bound to its star by pointer.
struct NODE_ExtrasolarPlanet {
  int id;
  char starName[32];
  float mass;       // Jupiter masses
  float period;     // days
  float semiMajor;  // astronomical units
  float eccentricity;
  float K;  // velocity amplitude, m/s
  float minorRatio;
  double logOrbit;
  double orbitAngle;
  double orbitAxis[3];
  NODE_StarObject* star;
};

// Writes "Planet %d", the star's HD number if it has a star, and the orbit.
void printPlanet(NODE_ExtrasolarPlanet* planet, FILE* fp);
// An orbit of semi-major axis a as a line loop of 36 points in the y-z plane, the major axis along
// y and the star (the model-view origin) at a focus. Needs a GL context; prints nothing.
void drawOrbit(double a, double minorRatio, double eccentricity);

constexpr int _NO_COLOR_MAP = 0;
constexpr int _USE_BV_COLOR_MAP = 1;
constexpr int _USE_SPECTRAL_COLOR_MAP = 2;

constexpr int _STAR_FILTER_SQUARE = 1;
constexpr int _STAR_FILTER_CIRCULAR = 2;
constexpr int _STAR_FILTER_BUTTERWORTH = 3;

// All that a user can tune about the stars. Plain record, copied by value.
struct StarParameter {
  char constellationFile[512];
  unsigned char constellationColorOn;
  float constellationLineColor[4];
  float constellationBoundColor[4];
  unsigned char constellationWidthOn;
  float constellationLineWidth;
  float constellationBoundWidth;
  int constellationLineStipple;  // 16-bit pattern, 0 = off
  int constellationBoundStipple;
  float labelScale;
  char extrasolarPlanetFile[512];
  float extrasolarPlanetOrbitScale;
  int zRangeOn;
  double zRangeMin, zRangeMax;
  int vmagRangeOn;
  double vmagRangeMin, vmagRangeMax;
  int sptypeRangeOn;
  float sptypeMin[8], sptypeMax[8];
  int sptypeOn[8];
  char spColormapFile[512];
  char bvColormapFile[512];
  double bvStart, bvEnd;
  int whichColorMap;  // _NO_COLOR_MAP, _USE_BV_COLOR_MAP, _USE_SPECTRAL_COLOR_MAP
  int pxsizeTex;
  double texSize;
  double texScale;
  int texParaMinFilter, texParaMagFilter;
  int textureSource;  // No 0, Airy 1, Gauss 2, FFT 3, File 4
  char textureFile[512];
  float filterSize, filterExp, filterCutoff, filterOrder;
  float filterRGB[3];
  int filterType;
  float telescopeDiam;
  float exposure, tuneIntensity, starScale;
  float vmagMin;
  int starAtYear, datasetYear;
  double LSR[3];  // km/s
};

// The eight rows of the spectral selection.
enum Sptype { SPTYPE_O = 0, SPTYPE_B, SPTYPE_A, SPTYPE_F, SPTYPE_G, SPTYPE_K, SPTYPE_M, SPTYPE_OTHER };
constexpr int STAR_NUM_SPTYPES = 8;

// Bits of the flags of drawStars.
constexpr int STAR_DRAW_FILE_COLOR = 1;     // times the star's file colour rgba
constexpr int STAR_DRAW_COLORMAP = 2;       // times the colour-map colour cmapRgba
constexpr int STAR_DRAW_COLOR_BIT4 = 4;     // no effect but to count as a colouring bit
constexpr int STAR_DRAW_DIST_SCALE = 8;     // times colorMapScale of the log distance
constexpr int STAR_DRAW_TEXTURED = 16;      // stars of at least pxsizeTex half pixels as billboards

// Texture sources of StarParameter::textureSource.
constexpr int STAR_TEX_NONE = 0;
constexpr int STAR_TEX_AIRY = 1;
constexpr int STAR_TEX_GAUSS = 2;
constexpr int STAR_TEX_FFT = 3;
constexpr int STAR_TEX_FILE = 4;

// The align argument of StarList::drawBillboardText.
constexpr int STAR_TEXT_ALIGN_RIGHT = 1;   // the text ends at the origin
constexpr int STAR_TEXT_ALIGN_CENTRE = 2;
constexpr int STAR_TEXT_ALIGN_LEFT = 3;    // the text begins at the origin

// One constellation: figure, boundaries and the star that carries its name.
struct NODE_Constellation {
  char name[32];
  char code[4];
  NODE_StarObject* principalStar;       // owned copy of the brightest figure star; null if none
  NODE_StarObject* (*lines)[2];         // segments, pointing into the catalogue array
  int numLines;
  PHCoord** boundPoints;                // one array of points per boundary
  int* boundCounts;
  int numBounds;
};

constexpr int STAR_NUM_BUCKETS = 64;
constexpr int STAR_SQRT_TABLE_LEN = 4096;
constexpr int STAR_INVSQ_TABLE_LEN = 64;
// Largest point size, in half pixels, that the look-up tables and the buckets hold.
constexpr int STAR_MAX_PX_SIZE = 63;

using StarAllocFunc = void* (*)(size_t);
using StarFreeFunc = void (*)(void*);

class StarList {
 public:
  // One deferred point of the drawing code.
  struct CPoint {
    double pos[3];
    float rgba[4];
  };

  StarList();
  ~StarList();
  StarList(const StarList&) = delete;
  StarList& operator=(const StarList&) = delete;

  // Clears the catalogue members and sets every default; seeds the random table.
  void init();
  void initParameter();
  StarParameter getStarParameter();

  // --- catalogue ---------------------------------------------------------------------------
  int readStarFiles(int n, char** names);
  // Builds the catalogue from n files, nearest star first; with withSun the Sun comes first.
  // 1, or -1 on any failure. quiet silences only the failures a caller expects while trying
  // several locations (a file that does not open, a file that is not a star file).
  int readStarFiles(int n, char** names, int withSun, bool quiet);
  int readStarFile(char* name);
  int readStarFile(char* name, int withSun, bool quiet);
  // Reads one .star file into a new array; null on failure, with the reason on standard error.
  NODE_StarObject* readStarObj(const char* file, int* count, bool quiet);
  // Parses one data line of a .star file into out: true, or false after a report naming file and
  // line on standard error.
  bool parseStarLine(char* line, const char* file, int lineNo, float factor, float exponent,
                     NODE_StarObject* out);
  // Sorts the n records of *array nearest first, in place (*array stays the same block); the
  // index array comes from allocFunc and goes back through freeFunc. Without memory for it the
  // process ends with status 1 after a line on standard error.
  void sortStarObjs(NODE_StarObject** array, int n);
  void quickSortByIndex(int** index, NODE_StarObject* stars, int left, int right);
  void mergeStarObjs(NODE_StarObject** a, int* na, NODE_StarObject* b, int nb);
  int binSearchStarObj(double logScale, NODE_StarObject* stars, int n);
  NODE_StarObject getSun();
  void freeStarset();
  int getStarByID(NODE_StarObject* out, int id);
  int getStarByHD(NODE_StarObject* out, int hd);
  int getNumStars();
  void printStarObj(NODE_StarObject* star, FILE* fp);
  void printStarObjs(NODE_StarObject* stars, int n, FILE* fp);

  // Line functions of the star engine's readers.
  static void chomp(char* line);
  static int isComment(char* line);
  static int isBlankLine(char* line);
  // Next line that is neither comment nor blank, counting every line read: 0 with the line in buf,
  // 1 at end of file. A last line without a newline counts as end of file.
  static int getValidLine(FILE* fp, char* buf, int* lineNo);

  // --- derived star data -------------------------------------------------------------------
  void resetColor();
  void resetVelocity(int refresh);
  void resetCoord();
  void resetZRange();
  double sphwarpEq(double angle);

  // Colour maps of the stars.
  int loadColorMapBV(const char* file, float start, float end);
  int loadColorMapSpType(const char* file);
  int setWhichColorMap(int which);

  // --- brightness and size -----------------------------------------------------------------
  double computeVMag(float lumMag, float logDist);
  // 0 if the star is to be drawn (size in half pixels, alpha index 0..255), 1 if too small.
  int computePXSizeAlpha(int* pxSize, int* alpha, float vmag, float starScale, float radPerPixel,
                         int starIndex);
  int computePXSizeAlphaOld(int* pxSize, int* alpha, int brightness, int starIndex, int faintPx,
                            int faintAlpha);
  // Fills sqrtTable, invSqTable and lutMode for the current GL context.
  void initLUT();
  // The same for a given GL version string (null when there is none).
  void initLUTFor(const char* glVersion);
  void resetPtSize();
  void resetPxMinMax();
  void freeBuckets();
  void resetBucketSize();

  int setPtFaint(float inPtFaint);
  int setPtLarge(int inPtLarge);
  int setPXsizeTex(int inPtsizeTex);
  int setStarScale(float inStarScale);
  int setExposure(float inExposure);
  int setTuneIntensity(float inTuneIntensity);
  int setVMagMin(float inVMagMin);
  int ptSizeRescaleHint(int mode, float inFixedLum);
  void adjustLumScale(float delta);
  void setDLumScale(float value);

  // --- parameter file (star_param.cpp) -----------------------------------------------------
  int setStarParameter(StarParameter p);
  int readStarParameter(const char* fileName, const char* dir, bool quiet);
  int writeStarParameter(FILE* fp, StarParameter p);
  int writeStarParameter(FILE* fp);
  int writeStarParameter(const char* fileName);
  int setExtrasolarPlanetOrbitScale(float inScale);

  // --- drawing (star_draw.cpp, star_derived.cpp) -------------------------------------------
  void drawStars(double logScale, int flags, int width, int height);
  // Writes the star's colour into rgba (4 floats) and returns rgba.
  float* computeColor(NODE_StarObject* star, int flags, int alpha, float* rgba);
  void renderBillBstar(double* pos, double* up, float* rgba, double radPerPixel, int pxSize, double aspect);
  void dumpCPoints(CPoint* points, int n);
  void drawStarsErrors(double logScale);
  int isSptypeSelected(char spClass, float spNum);
  void setStarAtYear(int year);
  int getStarAtYear();
  void setDatasetYear(int year);
  int getDatasetYear();
  void enableSphWarp();
  void disableSphWarp();
  int setSphWarp(const double* dir, double angleFrm, double angleTo);
  int setSphWarpEq(double (*fn)(double, double, double));
  int setZRangeOn(double minZ, double maxZ);
  void setZRangeOff();
  int setVMagRangeOn(double minVMag, double maxVMag);
  void setVMagRangeOff();
  int setSptypeRangeOn(Sptype type, double min, double max);
  int setSptypeRangeOff(Sptype type);
  void setSptypeRangeAllOn();
  void setSptypeRangeAllOff();
  int setZRange(double inLogScaleNear, double inLogScaleFar);
  int setLSR(const double* lsr);

  // --- star textures (star_tex.cpp) --------------------------------------------------------
  // Deletes the texture *name names (if any), makes a new one from the source textureSource picks
  // and sets texDiam. Needs a GL context. 1, or -1 after the source's message (or
  // "Err : cannot generate texture name!\n\n"); never exits but through the computed sources.
  int initTexture(unsigned int* name);
  // The texture arrays below are RGBA, rows from the top, from allocFunc; the caller owns them.
  // textureFile read as PNM or SGI, scaled to powers of two if need be (needs a GL context then).
  // Null after its message on standard error; the sizes are written only with a result.
  unsigned char* initFileTexture(int* width, int* height);
  // 64 x 64 computed profiles; no memory writes "Err : allocate memory for texture!\n" and
  // exits with status 1. The FFT one writes its filter's name on standard output.
  unsigned char* initGaussTexture(int* width, int* height, float size, float cutoff);
  unsigned char* initAiryTexture(int* width, int* height, float size, float cutoff, float diam);
  unsigned char* initFFTTexture(int* width, int* height, float size, float exponent, float cutoff, float order,
                                const float* rgb, int type);
  // Radius, in units of the texture's size, that holds fraction of its light. Prints nothing.
  float computeIntenDiamTex(unsigned char* array, int width, int height, int channels, double fraction);
  // Setters: 1, or -1 with the record untouched after a one-line message on standard error. The
  // source setters drop the GL texture (texId 0), so the next frame builds it anew.
  int setStarTextureFile(const char* file, double inTexSize);
  int setStarTextureFFT(float size, float exponent, float cutoff, float order, const float* rgb, int type);
  int setStarTextureAiry(float size, float cutoff, float inTelescopeDiam);
  int setStarTextureGauss(float size, float cutoff);
  int setStarTextureParaFilter(int minFilter, int magFilter);
  int setStarTextureScale(double inTexScale);

  // --- constellations (constell.cpp) -------------------------------------------------------
  // Reads the constellation file (through fopenEZ) into constellations, replacing an earlier
  // array; the catalogue must be read first, as figure stars get their constellation's name and
  // code. Keeps the name in param.constellationFile. 1, or -1 after a one-line message on standard
  // error ("ERR : reading [...]", "Err (line n): ..."), with what was built before the fault kept.
  // Never exits. The records, their arrays and the principal star copies come from allocFunc.
  int loadConstellations(const char* file);
  // Gives every constellation array back through freeFunc, the principal star copies included,
  // and clears constellations and numConstellations. Safe to call again; the destructor calls it.
  void freeConstellations();
  // Boundaries, figure lines and names around the camera of the current model-view matrix, whose
  // translation is in units of 10^logScale metres; only the constellation named onlyName when
  // that isn't null. Colours, widths and stipples from param when switched on. Prints nothing.
  void drawConstellations(double logScale, int showLines, int showNames, int showBounds, char* onlyName);
  int getNumConstellations();
  // Stroke text square to the viewer at the model-view origin: align 1 right-aligned, 2 centred,
  // 3 left-aligned (STAR_TEXT_ALIGN_*). Needs freeglut initialised.
  static void drawBillboardText(const char* text, float size, int align);
  // Setters: 1, or -1 after a one-line message on standard error with the values as they were.
  // The two first switch their flag (constellationColorOn, constellationWidthOn) on also when they
  // refuse. Widths must lie in the context's GL_LINE_WIDTH_RANGE; without a current context the
  // range [1, 10] stands in.
  int setConstellationColors(const float* line, const float* bound);
  int setConstellationLineWidth(float line, float bound);
  int setConstellationStipple(int line, int bound);
  int setLabelScale(float inLabelScale);

  // --- extrasolar planets (planet.cpp, planet_draw.cpp) ------------------------------------
  // Reads the fixed-column planet table file (through fopenEZ) into planets and binds each planet
  // to the first catalogue star of its HD number or, case-free, of its common name; a planet whose
  // star the catalogue lacks is kept with star null. Orbits are oriented from a random sequence
  // seeded with srand(2002), so every load gives the same ones. Keeps the name in
  // param.extrasolarPlanetFile. 1, or -1 after a message on standard error ("ERR : reading [...]",
  // "Err(StarList::loadExtrasolarPlanets): ..."); on -1 the planets, the stars' planet lists and
  // the file name are as they were. Never exits. Every array comes from allocFunc; the arrays of
  // an earlier table stay alive (copies of star records may still point into them) until
  // freeExtrasolarPlanets.
  int loadExtrasolarPlanets(const char* file);
  // Gives back the planet array, every star's list of planets (clearing nPlanets) and the arrays
  // of earlier tables; copies of star records taken before then must not follow their planets.
  // Safe to call again; the destructor calls it.
  void freeExtrasolarPlanets();
  int getNumExtrasolarPlanet();
  // The i-th planet, owned by the list; null if there are none or i is out of range.
  NODE_ExtrasolarPlanet* getExtrasolarPlanet(int i);
  // The orbits, each as an ellipse of its true angular size times extrasolarPlanetOrbitScale
  // around its star, seen from the camera of the current model-view matrix (translation in units
  // of 10^logScale metres), in the current colour. labelType 1 adds the star's common name, 2 its
  // HD number, each with its constellation; any other value no label. A planet without a star is
  // passed over. A bad index or a null record prints "Err (drawPlanetOfStar): ..." or
  // "Err (drawPlanet): ..." on standard error. They leave GL_LIGHTING and GL_TEXTURE_2D on.
  void drawPlanetOfStar(int starID, double logScale, int labelType);
  void drawPlanetOfStar(const NODE_StarObject* star, double logScale, int labelType);
  void drawPlanet(int planetID, double logScale, int labelType);
  void drawPlanet(const NODE_ExtrasolarPlanet* planet, double logScale, int labelType);
  void drawAllPlanets(double logScale, int labelType);
  void drawPlanetActual(const NODE_ExtrasolarPlanet* planet, double logScale, int labelType);

  // --- velocity trails and spanning tree (star_trail.cpp) ---------------------------------
  // A line for each selected star (z, spectral and magnitude ranges as switched on; only the star
  // of HD number onlyHD unless that is -1) from where it stands back along its motion over years,
  // bright at the star and fading into the past, placed around the camera of the current
  // model-view matrix (translation in units of 10^logScale metres). With showError, and star-at
  // year unlike dataset year, a cross of red, green and blue arms for the error of the velocity
  // over that span times errorScale. Needs a GL context; prints nothing. The magnitude range reads
  // curVMag of the last drawStars.
  void drawVelocityTrail(double logScale, double years, int showError, double errorScale, int onlyHD);
  // The minimum spanning tree of all stars (the Sun too if it is in), replacing an earlier one in
  // mstEdges; with saveFile not null it is also written there. 1 if a tree came back (a file that
  // can't be written reports on standard error and still gives 1); -1 with fewer than two stars,
  // or after "Err: StarList::buildMST : Can't allocate memory.\n". Never exits.
  int buildMST(char* saveFile);
  // Reads a tree file into mstEdges, giving an earlier tree back. 1; or -1 after the reader's
  // message, mstEdges as it was; or -1 after "Err (loadMST): number of points in [...] does not
  // match the number points I have.\n", mstEdges null. Never exits.
  int loadMST(const char* file);
  // The tree's edges, at the positions of the stars in the current model-view (relative to its
  // origin, not to the camera), fading out between 1 and 1000 view units; edges with an end
  // farther are left out. The int has no effect. Needs a GL context; prints nothing.
  void drawMST(double logScale, int ignored);

  // --- labels and picking (star_pick.cpp) --------------------------------------------------
  // GL selection of the stars under window position x, y (pixels from the top-left) in a square
  // of 5 x size pixels; viewport is 4 ints or null for the current one. Returns the hit count
  // and, with a hit, copies the farthest star of the lowest depth class to out. Needs the frame's
  // matrices; sets pickMode while it runs. Prints nothing.
  int pickStar(int x, int y, double logScale, NODE_StarObject* out, float size, int* viewport);
  // The principal star of the first constellation one of whose words begins with name (case-free),
  // or whose code begins with code over at most three letters: copied to out, 1; -1 if none.
  // Print nothing.
  int getStarByConstellation(NODE_StarObject* out, const char* name);
  int getStarByConstellationCode(NODE_StarObject* out, const char* code);
  // A label beside a star: labelType 0 none, 1 its common name, 2 its HD number, each with its
  // constellation; or the given text. A star with HD -2 is the anchor, drawn as a cross. With
  // showError the distance error bar is drawn too. Leave GL_LIGHTING and GL_TEXTURE_2D on. A bad
  // index or a null argument prints "Err (drawLabelOfStar): ..." on standard error.
  void drawLabelOfStar(int starID, double logScale, int labelType, int showError);
  void drawLabelOfStar(const NODE_StarObject* star, double logScale, int labelType, int showError);
  void drawLabelOfStar(int starID, double logScale, const char* text, int showError);
  void drawLabelOfStar(const NODE_StarObject* star, double logScale, const char* text, int showError);
  // Mean velocity in km/s of the stars the asked-for and switched-on selections keep, into avgVel
  // (3 doubles, zero when none); returns how many they were. The magnitude is the last frame's.
  int computeAvgVelocity(int useVMagRange, int useZRange, int useSptypeRange, double* avgVel);
  // First star in array order with this HIC number (above 0), or whose common name equals name
  // without regard to case ("---", the mark of no name, is no name). Copies it to out and returns
  // 1; -1 if there is none. Print nothing.
  int getStarByHIC(NODE_StarObject* out, int hic);
  int getStarByName(NODE_StarObject* out, const char* name);

  // --- state -------------------------------------------------------------------------------
  StarParameter param;

  StarAllocFunc allocFunc;
  StarFreeFunc freeFunc;
  NODE_StarObject* stars;
  int numStars;  // counts the Sun if there is one
  int withSun;
  int pickMode;
  char sptypeNames[8][32];

  ColorMap* bvColorMap;
  SpColorMap* spColorMap;

  // Brightness and size model.
  float ptFaint;
  int ptLarge;
  int pxMin, pxMax;
  unsigned char randTable[256];
  unsigned char threshTable[256];
  unsigned char sqrtTable[STAR_SQRT_TABLE_LEN];
  float invSqTable[STAR_INVSQ_TABLE_LEN];
  int lutMode;
  unsigned char gammaTable[256];
  float dLumScale;
  int ptRescaleMode;
  float fixedLum;
  int exposureOn, tuneOn;
  CPoint* buckets[STAR_NUM_BUCKETS];
  int bucketCount[STAR_NUM_BUCKETS];
  int bucketSize;

  // Selection range and position of the stars.
  int zFirst, zLast;
  unsigned char logZRangeOn;              // gate on the camera distance; nothing sets it
  double logScaleNear, logScaleFar;       // log10 metres, bounds of that gate
  float uniformColor[4];                  // start of the colouring chain
  float baseColor[4];                     // colour when no colouring flag is set

  // Star texture.
  unsigned int texId;                     // GL texture name, 0 until made
  double texDiam;                         // radius holding half the texture's light, texture units

  // Constellations; lines point into the star array.
  NODE_Constellation* constellations;
  int numConstellations;
  double constellLogRadius;               // log10 metres of the boundaries' sphere
  int sphWarpOn;
  double sphwarpDir[3];
  double sphwarpAngleFrm, sphwarpAngleTo;
  double (*sphwarpEqFunc)(double, double, double);

  // Spanning tree: numStars - 1 edges of two star indices each, from allocFunc; null when there
  // is none.
  int* mstEdges = nullptr;
  // The number of stars the tree in mstEdges was made for; it is drawn only while that holds.
  int mstNumPoints = 0;

  // Planets bound to the stars.
  NODE_ExtrasolarPlanet* planets;
  int numPlanets;
  // Arrays of tables loaded over, kept until freeExtrasolarPlanets: a chain of blocks, each
  // {next, count, block...}.
  void** retiredPlanetBlocks = nullptr;

  // What frames seen from the origin worked out per star, for the frames after them; with
  // drawMemoOn false every frame works every star out.
  StarDrawMemo drawMemo;
  bool drawMemoOn = true;
  // Counts the changes of what a frame reads of the star records (positions, magnitudes, colours,
  // spectral types): the memo holds only while it stands. The reader and the derived-data
  // functions count it; code that changes records by hand calls starsChanged() before drawing.
  unsigned long starDataStamp = 0;
  void starsChanged() { ++starDataStamp; }
};
