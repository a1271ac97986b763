// Writes the OBJ models of the reading figures: a grid of 1,000,000 triangles with one texture
// coordinate and one normal per vertex, faces in the form given: obj_generate FORM FILE, FORM
// one of v/vt/vn, v//vn, v/vt.
#include <cstdio>
#include <cstring>

namespace {

// 1001 by 501 vertices: 1000 x 500 quads, two triangles each.
constexpr int kColumns = 1001;
constexpr int kRows = 501;

void corner(FILE* f, const char* form, int i) {
  if (strcmp(form, "v/vt/vn") == 0) fprintf(f, " %d/%d/%d", i, i, i);
  else if (strcmp(form, "v//vn") == 0) fprintf(f, " %d//%d", i, i);
  else fprintf(f, " %d/%d", i, i);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || (strcmp(argv[1], "v/vt/vn") && strcmp(argv[1], "v//vn") && strcmp(argv[1], "v/vt"))) {
    fprintf(stderr, "Usage: obj_generate v/vt/vn|v//vn|v/vt FILE.obj\n");
    return 2;
  }
  const char* form = argv[1];
  FILE* f = fopen(argv[2], "w");
  if (!f) return 1;
  bool normals = strstr(form, "vn") != nullptr, texcoords = strstr(form, "vt") != nullptr;
  for (int y = 0; y < kRows; y++)
    for (int x = 0; x < kColumns; x++)
      fprintf(f, "v %f %f %f\n", x * 0.01, y * 0.01, 0.001 * ((x * 7 + y * 13) % 17));
  if (texcoords)
    for (int y = 0; y < kRows; y++)
      for (int x = 0; x < kColumns; x++) fprintf(f, "vt %f %f\n", x / (kColumns - 1.0), y / (kRows - 1.0));
  if (normals)
    for (int y = 0; y < kRows; y++)
      for (int x = 0; x < kColumns; x++)
        fprintf(f, "vn %f %f %f\n", 0.01 * ((x * 3 + y) % 11), 0.01 * ((x + y * 5) % 13), 0.999);
  fprintf(f, "g grid\n");
  for (int y = 0; y + 1 < kRows; y++)
    for (int x = 0; x + 1 < kColumns; x++) {
      int a = y * kColumns + x + 1, b = a + 1, c = a + kColumns + 1, d = a + kColumns;
      fputs("f", f);
      corner(f, form, a), corner(f, form, b), corner(f, form, c);
      fputs("\nf", f);
      corner(f, form, a), corner(f, form, c), corner(f, form, d);
      fputs("\n", f);
    }
  return fclose(f) == 0 ? 0 : 1;
}
