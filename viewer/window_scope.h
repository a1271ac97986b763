// Makes one GLUT window current for the life of a scope and puts the previous one back.
//
// GLUT draws into, sizes and reads "the current window"; the framework and its panel have
// two, and a callback of one may need to act on the other. The scope keeps the switch and
// the switch back together, so that no early return leaves the wrong window current.
#pragma once

#include <GL/freeglut.h>

class WindowScope {
 public:
  // Makes target current. A target of 0 (no window made yet) changes nothing. Prints
  // nothing, never exits; GLUT must have been initialised.
  explicit WindowScope(int target) : target_(target), previous_(glutGetWindow()) {
    if (target_ && previous_ != target_) glutSetWindow(target_);
  }
  // Makes the window current again that was current at the start, if the start switched
  // away from one. When the target was current already, whatever the work made current
  // stays so: the work may have destroyed the target, and a destroyed window can't be made
  // current again.
  ~WindowScope() {
    if (target_ && previous_ && previous_ != target_) glutSetWindow(previous_);
  }
  WindowScope(const WindowScope&) = delete;
  WindowScope& operator=(const WindowScope&) = delete;

 private:
  int target_;
  int previous_;
};
