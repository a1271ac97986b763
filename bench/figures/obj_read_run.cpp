// One whole process that reads an OBJ model with glmReadOBJ: obj_read_run FILE. Prints the
// triangle count; status 1 if the model can't be read.
#include <cstdio>

#include "model/glm.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "Usage: obj_read_run FILE.obj\n");
    return 2;
  }
  _GLMmodel* m = glmReadOBJQuiet(argv[1]);
  if (!m) return 1;
  printf("%u\n", m->numtriangles);
  glmDelete(m);
  return 0;
}
