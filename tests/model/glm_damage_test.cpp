// Damaged OBJ and MTL files: each one fails cleanly (no model, or the documented exit with its
// message) and nothing reads out of bounds. Run under ASan to make the last point count.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/testutil.h"

using glmtest::inChild;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const std::string kQuad = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvn 0 0 1\nvt 0 0\n";

// Reads the file in a child, and works the model over if it was read. Exit 0: read (with `read`
// telling whether a model came back); otherwise the process ended on its own.
struct Outcome {
  glmtest::ChildResult child;
  bool read = false;
};

Outcome readInChild(const std::string& path) {
  Outcome o;
  o.child = inChild([&] {
    _GLMmodel* m = glmReadOBJ(path.c_str());
    if (!m) _exit(3);
    float x[2], y[2], z[2];
    glmBoundBox(m, x, y, z);
    glmFacetNormals(m);
    glmVertexNormals(m, 90.0f);
    glmIsPlanar(m, 1e-5f);
    std::string out = path + ".out.obj";
    glmWriteOBJ(m, out.c_str(), GLM_SMOOTH | GLM_TEXTURE);
    glmDelete(m);
  });
  o.read = o.child.status == 0;
  if (o.child.status == 3) o.child.status = 0;
  return o;
}

void expectNoSanitizerReport(const Outcome& o) {
  EXPECT_EQ(o.child.err.find("Sanitizer"), std::string::npos) << o.child.err;
  EXPECT_EQ(o.child.err.find("runtime error"), std::string::npos) << o.child.err;
}

struct Refused {
  const char* name;
  std::string text;
  const char* reason;
};

}  // namespace

TEST(GlmDamage, BadIndicesAreRefusedWithAMessage) {
  const Refused cases[] = {
      {"range", kQuad + "f 1 2 9\n", "triangle 1 refers to vertex 9 of 4"},
      {"zero", kQuad + "f 0 1 2\n", "triangle 1 refers to vertex 0 of 4"},
      {"negative", kQuad + "f -1 -2 -3\n", "triangle 1 refers to vertex -1 of 4"},
      {"normal", kQuad + "f 1//1 2//1 3//5\n", "triangle 1 refers to normal 5 of 1"},
      {"texture", kQuad + "f 1/1 2/2 3/1\n", "triangle 1 refers to texture coordinate 2 of 1"},
      {"later", kQuad + "f 1 2 3\nf 1 2 3 4 7\n", "triangle 4 refers to vertex 7 of 4"},
      {"huge", kQuad + "f 1 2 2147483647\n", "triangle 1 refers to vertex 2147483647 of 4"},
      {"words", kQuad + "f a b c\n", "triangle 1 refers to vertex 0 of 4"},
      {"bare", "f\n", "triangle 1 refers to vertex 0 of 0"},
      {"nonormals", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1//1 2//1 3//1\n", "triangle 1 refers to normal 1 of 0"},
  };
  TempDir dir;
  for (const auto& c : cases) {
    std::string path = dir.file(std::string(c.name) + ".obj");
    writeFile(path, c.text);
    testing::internal::CaptureStderr();
    _GLMmodel* m = glmReadOBJ(path.c_str());
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(m, nullptr) << c.name;
    EXPECT_EQ(err, "glmReadOBJ() failed: damaged objfile \"" + path + "\": " + c.reason + ".\n") << c.name;
    testing::internal::CaptureStderr();
    EXPECT_EQ(glmReadOBJQuiet(path.c_str()), nullptr) << c.name;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << c.name;
  }
}

TEST(GlmDamage, TruncatedAndOddFilesReadWithoutHarm) {
  const std::pair<const char*, std::string> cases[] = {
      {"empty", ""},
      {"cutvertex", "v 1 2 3\nv 4 5"},
      {"cutnumber", kQuad + "f 1 2 3\nv 0.5e"},
      {"cutface", kQuad + "f 1 2"},
      {"group-at-end", kQuad + "f 1 2 3\ng"},
      {"group-no-newline", kQuad + "g tail"},
      {"mtllib-no-name", "mtllib\n" + kQuad + "f 1 2 3\n"},
      {"usemtl-at-end", kQuad + "f 1 2 3\nusemtl"},
      {"long-line", kQuad + "# " + std::string(100000, 'z') + "\nf 1 2 3\n"},
      {"long-word", kQuad + std::string(5000, 'q') + "\nf 1 2 3\n"},
      {"nul-bytes", kQuad + std::string("\0\0\0 f 1 2 3\n", 13)},
      {"big-polygon",
       [] {
         std::string s = kQuad;
         s += "f";
         for (int i = 0; i < 20000; i++) s.append(" ").append(std::to_string(1 + i % 4));
         return s + "\n";
       }()},
  };
  TempDir dir;
  for (const auto& [name, text] : cases) {
    std::string path = dir.file(std::string(name) + ".obj");
    writeFile(path, text);
    Outcome o = readInChild(path);
    EXPECT_EQ(o.child.status, 0) << name << "\n" << o.child.out << o.child.err;
    expectNoSanitizerReport(o);
  }
}

TEST(GlmDamage, DamagedMaterialFilesReadWithoutHarm) {
  const std::pair<const char*, std::string> cases[] = {
      {"empty", ""},
      {"name-at-end", "newmtl"},
      {"extra-words", "newmtl a nnn nnnn\nnewmtl b\nKd 1 0 0\nnx\nny\nnz\n"},
      {"no-numbers", "newmtl a\nKd\nKa x y z\nNs\n"},
      {"one-word-texture", "newmtl a\nTd\nTr 0.5\n"},
      {"long-name", "newmtl " + std::string(3000, 'a') + "\n"},
      {"garbage", std::string("\x01\xff\x80nK\x00T\x10\n", 10)},
  };
  TempDir dir;
  for (const auto& [name, text] : cases) {
    std::string mtl = dir.file(std::string(name) + ".mtl");
    std::string obj = dir.file(std::string(name) + ".obj");
    writeFile(mtl, text);
    writeFile(obj, "mtllib " + std::string(name) + ".mtl\n" + kQuad + "usemtl b\nf 1 2 3\n");
    Outcome o = readInChild(obj);
    EXPECT_EQ(o.child.status, 0) << name << "\n" << o.child.out << o.child.err;
    EXPECT_TRUE(o.read) << name;
    expectNoSanitizerReport(o);
  }
}

TEST(GlmDamage, BinaryGarbageFailsCleanly) {
  TempDir dir;
  std::mt19937 rng(12345);
  for (int n = 0; n < 24; n++) {
    std::string bytes(4096 + n * 512, '\0');
    for (auto& b : bytes) b = static_cast<char>(rng() & 0xff);
    // a third of the files start as a plausible model and break down later
    if (n % 3 == 0) bytes = kQuad + "f 1 2 3\n" + bytes;
    std::string path = dir.file("garbage" + std::to_string(n) + ".obj");
    writeFile(path, bytes);
    Outcome o = readInChild(path);
    expectNoSanitizerReport(o);
    // Clean endings: read or refused (0), or the documented exits with their messages (1).
    if (o.child.status == 1) {
      bool unknownToken = o.child.out.rfind("glmFirstPass(): Unknown token \"", 0) == 0;
      bool missingMaterial = o.child.err.rfind("glmReadMTL() failed: can't open material file \"", 0) == 0;
      EXPECT_TRUE(unknownToken || missingMaterial) << path << "\n" << o.child.out << o.child.err;
    } else {
      EXPECT_EQ(o.child.status, 0) << path << "\n" << o.child.out << o.child.err;
    }
  }
}

TEST(GlmDamage, BinaryGarbageAsMaterialFile) {
  TempDir dir;
  std::mt19937 rng(777);
  for (int n = 0; n < 8; n++) {
    std::string bytes(8192, '\0');
    for (auto& b : bytes) b = static_cast<char>(rng() & 0xff);
    writeFile(dir.file("g.mtl"), bytes);
    std::string obj = dir.file(std::string("g").append(std::to_string(n)).append(".obj"));
    writeFile(obj, "mtllib g.mtl\n" + kQuad + "f 1 2 3\n");
    Outcome o = readInChild(obj);
    EXPECT_EQ(o.child.status, 0) << o.child.out << o.child.err;
    expectNoSanitizerReport(o);
  }
}
