// Reading a generated OBJ of 1,000,000 triangles: glmReadOBJ, a plain reader that only counts
// lines (the floor for any reader of the text), and tinyobjloader. And a file of 80,000 groups
// of one triangle against the same triangles in one group, with the ratio of their times.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "model/glm.h"

#ifdef VELMORA_HAVE_TINYOBJ
#include <tiny_obj_loader.h>
#endif

namespace {

std::string generatedPath;

// A 1001 by 501 grid of vertices with one normal each: 1000 x 500 quads, 1,000,000 triangles.
// Written once, on first use, and removed by main at the end.
const std::string& modelPath() {
  if (!generatedPath.empty()) return generatedPath;
  generatedPath = "/tmp/velmora-bench-model-" + std::to_string(getpid()) + ".obj";
  FILE* f = fopen(generatedPath.c_str(), "w");
  const int nx = 1001, ny = 501;
  for (int y = 0; y < ny; y++)
    for (int x = 0; x < nx; x++)
      fprintf(f, "v %f %f %f\n", x * 0.01, y * 0.01, 0.001 * ((x * 7 + y * 13) % 17));
  for (int y = 0; y < ny; y++)
    for (int x = 0; x < nx; x++) fprintf(f, "vn 0 0 1\n");
  fprintf(f, "g grid\n");
  for (int y = 0; y + 1 < ny; y++)
    for (int x = 0; x + 1 < nx; x++) {
      int a = y * nx + x + 1, b = a + 1, c = a + nx + 1, d = a + nx;
      fprintf(f, "f %d//%d %d//%d %d//%d\n", a, a, b, b, c, c);
      fprintf(f, "f %d//%d %d//%d %d//%d\n", a, a, c, c, d, d);
    }
  fclose(f);
  return generatedPath;
}

void BM_glmReadOBJ(benchmark::State& state) {
  const std::string& path = modelPath();
  for (auto _ : state) {
    _GLMmodel* m = glmReadOBJQuiet(path.c_str());
    if (!m || m->numtriangles != 1000000) state.SkipWithError("wrong triangle count");
    benchmark::DoNotOptimize(m);
    if (m) glmDelete(m);
  }
}
BENCHMARK(BM_glmReadOBJ)->Unit(benchmark::kMillisecond);

void BM_CountLines(benchmark::State& state) {
  const std::string& path = modelPath();
  for (auto _ : state) {
    FILE* f = fopen(path.c_str(), "r");
    char line[512];
    long lines = 0;
    while (fgets(line, sizeof(line), f)) lines++;
    fclose(f);
    benchmark::DoNotOptimize(lines);
  }
}
BENCHMARK(BM_CountLines)->Unit(benchmark::kMillisecond);

// 80,000 triangles on four vertices, each in a group of its own (about 1.1 MB of text) or all
// in one group. Written once each, on first use, and removed by main at the end.
constexpr int kGroupFaces = 80000;
std::string groupsPath[2];

const std::string& groupModelPath(bool manyGroups) {
  std::string& path = groupsPath[manyGroups ? 1 : 0];
  if (!path.empty()) return path;
  path = "/tmp/velmora-bench-groups-" + std::string(manyGroups ? "many-" : "one-") +
         std::to_string(getpid()) + ".obj";
  FILE* f = fopen(path.c_str(), "w");
  fprintf(f, "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n");
  if (!manyGroups) fprintf(f, "g all\n");
  for (int i = 0; i < kGroupFaces; i++) {
    if (manyGroups) fprintf(f, "g part%d\n", i);
    fprintf(f, "f 1 2 3\n");
  }
  fclose(f);
  return path;
}

// Seconds of one glmReadOBJQuiet of the file; the group count is checked.
double readGroupsSeconds(benchmark::State& state, bool manyGroups) {
  const std::string& path = groupModelPath(manyGroups);
  auto t0 = std::chrono::steady_clock::now();
  _GLMmodel* m = glmReadOBJQuiet(path.c_str());
  auto t1 = std::chrono::steady_clock::now();
  unsigned want = manyGroups ? kGroupFaces + 1 : 2;  // "default" as well
  if (!m || m->numgroups != want) state.SkipWithError("wrong group count");
  if (m) glmDelete(m);
  return std::chrono::duration<double>(t1 - t0).count();
}

void BM_ReadManyGroups(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(readGroupsSeconds(state, true));
}
BENCHMARK(BM_ReadManyGroups)->UseManualTime()->Unit(benchmark::kMillisecond);

void BM_ReadOneGroup(benchmark::State& state) {
  for (auto _ : state) state.SetIterationTime(readGroupsSeconds(state, false));
}
BENCHMARK(BM_ReadOneGroup)->UseManualTime()->Unit(benchmark::kMillisecond);

// Both in turn; "many/one" is the ratio of their times: the price of the groups themselves (a
// name, a record and an array each), not of looking them up (16 s for the file of many groups
// when each `g` line walked the list).
void BM_ReadManyGroupsOverOne(benchmark::State& state) {
  double tMany = 0, tOne = 0;
  for (auto _ : state) {
    double a = readGroupsSeconds(state, true), b = readGroupsSeconds(state, false);
    tMany += a;
    tOne += b;
    state.SetIterationTime(a + b);
  }
  state.counters["many/one"] = tOne > 0 ? tMany / tOne : 0;
}
BENCHMARK(BM_ReadManyGroupsOverOne)->UseManualTime()->Unit(benchmark::kMillisecond);

#ifdef VELMORA_HAVE_TINYOBJ
void BM_TinyObjLoader(benchmark::State& state) {
  const std::string& path = modelPath();
  for (auto _ : state) {
    tinyobj::ObjReader reader;
    tinyobj::ObjReaderConfig config;
    config.triangulate = true;
    if (!reader.ParseFromFile(path, config)) state.SkipWithError("tinyobjloader failed");
    size_t faces = 0;
    for (const auto& shape : reader.GetShapes()) faces += shape.mesh.num_face_vertices.size();
    if (faces != 1000000) state.SkipWithError("wrong triangle count");
    benchmark::DoNotOptimize(faces);
  }
}
BENCHMARK(BM_TinyObjLoader)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  if (!generatedPath.empty()) unlink(generatedPath.c_str());
  for (const std::string& p : groupsPath)
    if (!p.empty()) unlink(p.c_str());
  return 0;
}
