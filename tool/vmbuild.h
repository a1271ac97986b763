// The tool's control panel: its window, title, buttons and seven rollouts bound to the tool's
// variables, and the circle of rollouts that the m key and the "m" and "-" buttons turn.
//
// The panel state (glui, rolloutList, rolloutChar, nRolloutList, rolloutOffset, rolloutStart and
// the controls the tool reaches afterwards) is declared in tool/velmora.h. Every control that
// acts at once calls myGLUICallback (tool/vmcb.h) with its id. Nothing here prints or exits.
#pragma once

class GLUI_Control;

// The panel hook of the framework (gluiCreatePtr): makes the panel window (beside the picture
// when useSubGLUI is set, otherwise a window "Velmora Panel" of its own), fills it with
// buildPanelControls, makes mainWindow its picture and, beside the picture, widens the main
// window by the panel's width. Needs GLUT with mainWindow made. The window is owned by
// GLUI_Master.
void myGLUICreate();

// Fills the (empty) panel window glui with the title, the button row and the rollouts, and sets
// rolloutStart, rolloutList, rolloutChar, nRolloutList (7, or 6 without texObjs) and
// rolloutOffset 0. The controls belong to glui. Reads the model, texture and recent-file state
// for the conditional controls; needs no window, so the tree can be built on a bare GLUI.
void buildPanelControls();

// The contents of each rollout (or any panel), in the order of the panel tables.
void addFilePanel(GLUI_Control* rollout);
void addViewPanel(GLUI_Control* rollout);
void addStatusPanel(GLUI_Control* rollout);
void addAlignmentObjPanel(GLUI_Control* rollout);
void addStarPanel(GLUI_Control* rollout);
void addStarPickPanel(GLUI_Control* rollout);
void addMWPanel(GLUI_Control* rollout);

// Closes every rollout of the circle.
void closeAllRollouts();
// Takes every child of the main panel from index rolloutStart out (deleting the separators) and
// puts the rollouts back, each after a new separator, starting at rolloutOffset and wrapping.
// Does nothing without a panel.
void resetPanels();
// Turns the circle by delta (either sign): rolloutOffset moves by delta, into 0 to
// nRolloutList - 1, and the panel is rebuilt. Does nothing without rollouts.
void rotatePanelsOffset(int delta);
// Opens or closes the rollout of a letter (a capital is lowered; the last match counts): an open
// one is closed; a closed one is brought to rolloutOffset, the ones from there up to its old place
// moving one step on in the circle with their letters, and opened. Returns 1 when a rollout had
// the letter, 0 otherwise (always 0 without rollouts).
int rotatePanelsTo(int letter);

// Asks for a redisplay of window although another window may be current: the current window is
// made current again afterwards. A window of 0 is ignored.
void myGlutPostRedisplay(int window);

// Asks the panel, if there is one, to show every live variable anew.
void syncPanel();

// Labels of the star panel's two angle boxes, galactic or equatorial as showRaDec says.
void relabelStarPosTexts();
