// The tool's mouse gestures, keys, help texts and the one callback that keys and panel controls
// share.
#pragma once

#include <cstdio>

// The texts of the help key, each line ending in a newline.
extern const char* const mouseHelpText;
extern const char* const keyboardHelpText;

// Button hook: every press first puts the matrix on the undo ring; a plain right press asks for a
// pick in the next frame. Returns 0 always, so the framework goes on with the event.
int myMouseCB(int button, int state, int x, int y);

// Motion hook: alignment gestures rewrite alignModelMatrix, viewing gestures the modelview
// matrix, a plain right drag without a picked star moves the anchor. Returns 1 (consumed), or 0
// for Alt with the middle button while the view isn't locked, where the framework changes the
// field of view. Prints "The reference point (anchor or picked star) does not make
// sense.\n" on standard error when the Alt scale has no fixed point.
int myMotionCB(int x, int y);

// Key hook: the tool's key table. Returns 1 when the key was consumed, 0 to let the framework
// handle it (also after R and r, which do their work first). Key m makes the next key a panel
// letter. u and y print the undo ring's messages on standard error when there is nothing to take
// back or bring again. Never exits.
int myKeyCB(unsigned char key, int x, int y);

// Writes two newlines, mouseHelpText, two newlines, keyboardHelpText and two newlines on stream
// (the framework's help passes standard error); returns 1, so the framework adds nothing.
int myHelpMenu(FILE* stream);

// The work of a panel control or of the key that stands for it, by control id, followed by a
// redisplay of the main window; the work that reads or sets the picture's matrices is done on
// the main window whichever window is current. Unknown ids do nothing. Quit (id 10) ends the
// process through the framework. Prints: "dir" (20) "\nDirectory [<alignpath>]\n\n" on standard
// error and then runs "ls -al <alignpath>" through the shell, the path unquoted; "print (console)"
// (52) a newline and the star's record, or "Please pick a star and press the button again.\n", on
// standard output; "look at star" (53) "Screen locked.\n" on standard error when the view is
// locked, or the same request on standard output without a star; and whatever the functions it
// calls print (help, about, open, export, the undo ring). A refused change of the field of view
// or aspect (view locked) puts the panel's value back and asks for no redisplay.
void myGLUICallback(int id);

// The ids of the panel's controls that act at once; the keys share some of them. The texture
// controls' ids (kIdTexChoice, kIdTexSlider, kSliderUnitBase, kTexListBase) and the recent list's
// (kRecentListBase) are in tool/velmora.h.
enum ToolCallbackId {
  kNoCallback = -1,   // a control that only writes its live variable
  kIdQuit = 10,
  kIdHelp = 11,
  kIdAbout = 12,
  kIdCloseAll = 13,   // "-"
  kIdNextPanel = 14,  // "m"
  kIdUndo = 15,
  kIdRedo = 16,
  kIdDir = 20,
  kIdOpen = 21,
  kIdFovy = 30,
  kIdAspect = 31,
  kIdSensitivity = 32,
  kIdLockView = 40,
  kIdAxes = 41,
  kIdRaDec = 42,
  kIdDecPlaces = 43,
  kIdStarSize = 50,
  kIdStarAtYear = 51,
  kIdPrintStar = 52,
  kIdLookAtStar = 53,
  kIdPickHD = 54,
  kIdPickHIC = 55,
  kIdPickCommon = 56,
  kIdPickConstellation = 57,
  kIdRedisplay = 64,
  kIdExport = 70,
  kIdExportWcs = 730,  // check box: the export writes an image model's WCS and AVM as well
};
