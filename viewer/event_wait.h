// Waiting for the window system's next event, so that a program with nothing to do sleeps
// instead of running its idle callback in a busy loop.
#pragma once

// Returns at once if events are already queued on the connection of the current GL context;
// otherwise once one arrives or after maxMs milliseconds. Does nothing without a current
// context. Prints nothing; never exits.
void waitForWindowEvent(int maxMs);
