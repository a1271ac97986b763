// What the star tests share: reading one star file quietly into a list.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "stars/star.h"

namespace startest {

// Reads the one file into list with readStarFiles (withSun as there), swallowing the reader's
// report on standard error. Returns readStarFiles' result.
inline int readOne(StarList& list, std::string file, int withSun = 0) {
  char* name = file.data();
  testing::internal::CaptureStderr();
  int r = list.readStarFiles(1, &name, withSun, false);
  testing::internal::GetCapturedStderr();
  return r;
}

}  // namespace startest
