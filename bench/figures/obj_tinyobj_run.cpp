// The peer for reading an OBJ model: tinyobjloader in one whole process, obj_tinyobj_run FILE.
// Prints the triangle count; status 1 if the model can't be read.
#include <tiny_obj_loader.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "Usage: obj_tinyobj_run FILE.obj\n");
    return 2;
  }
  tinyobj::attrib_t attrib;
  std::vector<tinyobj::shape_t> shapes;
  std::vector<tinyobj::material_t> materials;
  std::string warn, err;
  if (!tinyobj::LoadObj(&attrib, &shapes, &materials, &warn, &err, argv[1], nullptr, true)) return 1;
  size_t triangles = 0;
  for (const tinyobj::shape_t& s : shapes) triangles += s.mesh.num_face_vertices.size();
  printf("%zu\n", triangles);
  return 0;
}
