// The control panel beside the picture: a GLUT sub-window on the right of the main
// window, drawn by Dear ImGui with its GLUT and OpenGL2 back ends.
//
// The framework registers its main-window callbacks through the panelSet...Func functions
// rather than directly with GLUT. The panel then keeps its sub-window glued to the right
// edge when the main window changes size, offers the keys that it doesn't use itself to the
// framework, and tells the framework which part of the window is left to the picture.
// Without a panel all of this passes straight through to GLUT.
#pragma once

// What the panel draws, once per panel frame, between ImGui's Begin and End of one
// window that fills the sub-window. A result of 1 means that a value the picture depends
// on has changed: only then is the picture redrawn.
using PanelBuildFunc = int (*)();

// Makes the sub-window of the given width on the right of parentWindow and sets ImGui up
// in it. Returns the sub-window's id; 0 if a panel exists already.
int panelCreate(int parentWindow, int width, PanelBuildFunc build);
// Closes ImGui and the sub-window. Harmless without a panel.
void panelDestroy();
int panelWindow();  // 0 without a panel
int panelWidth();   // 0 without a panel

// The part of the parent window left to the picture: all of it without a panel.
void panelGetViewportArea(int* x, int* y, int* width, int* height);

// Asks for a panel frame, e.g. after the picture changed values that the panel shows. Harmless
// (does nothing) without a panel, so callers need not ask first.
void panelSync();

// Callback registration for the main window, in place of the GLUT calls of the same name.
void panelSetReshapeFunc(void (*func)(int width, int height));
void panelSetMouseFunc(void (*func)(int button, int state, int x, int y));
void panelSetKeyboardFunc(void (*func)(unsigned char key, int x, int y));
void panelSetSpecialFunc(void (*func)(int key, int x, int y));
void panelSetIdleFunc(void (*func)());
