// One whole process that reads a .star file into a catalogue, as the tool does at start-up:
// star_read_run FILE. Prints the star count; status 1 if the file can't be read.
#include <cstdio>

#include "stars/star.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "Usage: star_read_run FILE.star\n");
    return 2;
  }
  StarList list;
  if (list.readStarFiles(1, &argv[1], 0, true) != 1) return 1;
  printf("%d\n", list.getNumStars());
  return 0;
}
