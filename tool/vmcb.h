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
// redisplay of the main window. Unknown ids do nothing.
void myGLUICallback(int id);

// Panel control ids the keys share.
enum ToolCallbackId {
  kIdUndo = 15,
  kIdRedo = 16,
  kIdLockView = 40,
  kIdStarSize = 50,
};
