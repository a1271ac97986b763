// The program's entry: the framework owns the process; the scene comes in at link time.
#include "viewer/tarnwick.h"

int main(int argc, char** argv) {
  return tarnwickMain(argc, argv);
}
