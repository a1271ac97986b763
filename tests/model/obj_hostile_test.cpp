// Hostile lines in OBJ and MTL files: comments longer than any buffer, whose tails were read as
// keywords, and files of very many groups, whose names were looked up along the whole list on
// every `g` line. The readers run in a child where a regression would end the process.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/testutil.h"

using glmtest::inChild;
using glmtest::readText;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const char* kQuad =
    "v 0 0 0\n"
    "v 1 0 0\n"
    "v 1 1 0\n"
    "v 0 1 0\n";

// One read of a skipped OBJ line takes this many characters behind its first word, and one
// read of an MTL line this many; a longer line's tail came back as words.
constexpr size_t kObjStretch = 127;
constexpr size_t kMtlStretch = 511;

// A comment whose text behind the "#" fills exactly one stretch, then goes on with `tail`.
std::string longComment(size_t stretch, const std::string& tail) {
  std::string text =
      " This model was traced from the survey plates; the outline follows the brightest filaments";
  while (text.size() < stretch) text += " and more of the same";
  text.resize(stretch);
  std::string line = "#";
  line.append(text).append(tail).append("\n");
  return line;
}

// A comment of 100000 characters full of keywords.
std::string hugeComment() {
  std::string text = "#";
  while (text.size() < 100000) text += " v 1 2 3 vx g g2 f 1 2 3 mtllib by";
  return text + "\n";
}

// What a model looks like, as one line for comparison.
std::string summary(_GLMmodel* m) {
  char head[128];
  snprintf(head, sizeof head, "v%u t%u g%u m%u", m->numvertices, m->numtriangles, m->numgroups,
           m->nummaterials);
  std::string s = head;
  for (_GLMgroup* g = m->groups; g; g = g->next) {
    s.append(" [").append(g->name).append(":");
    for (unsigned i = 0; i < g->numtriangles; i++) s.append(" ").append(std::to_string(g->triangles[i]));
    s.append("]");
  }
  return s;
}

}  // namespace

TEST(ObjHostile, LongCommentsAreSkippedWholeAndTheirTailsAreNotKeywords) {
  TempDir dir;
  struct Case {
    const char* name;
    std::string comment;
  } cases[] = {
      // Ended the process: Unknown token "vertices", status 1.
      {"vertices", longComment(kObjStretch, " vertices are listed below")},
      // Opened a material file "by" and ended the process on its absence.
      {"made by hand", longComment(kObjStretch, " made by hand")},
      // A group, a face, a vertex and a material in the tail.
      {"keywords", longComment(kObjStretch, " g tail f 1 2 3 v 9 9 9 usemtl red")},
      // The tail cut in the middle of a word.
      {"mid-word", longComment(kObjStretch - 3, "vertices")},
      // A comment of 100000 characters full of keywords.
      {"huge", hugeComment()},
      // "#" glued to its first word, and a comment indented by blanks.
      {"glued", "#vertices" + std::string(200, 'x') + " vp 1 2\n"},
      {"indented", "   " + longComment(kObjStretch, " vp 0 0")},
  };
  for (const Case& c : cases) {
    std::string text = std::string(kQuad) + c.comment + "f 1 2 3\n" + c.comment + "f 1 3 4\n" + c.comment;
    std::string path = dir.file("c.obj");
    writeFile(path, text);
    auto r = inChild([&] {
      _GLMmodel* m = glmReadOBJ(path.c_str());
      if (m) printf("%s", summary(m).c_str());
    });
    EXPECT_EQ(r.status, 0) << c.name;
    EXPECT_EQ(r.err, "") << c.name;
    EXPECT_EQ(r.out, "v4 t2 g1 m0 [default: 0 1]") << c.name;
  }
}

TEST(ObjHostile, LongCommentAsTheLastLineWithoutANewline) {
  TempDir dir;
  _GLMmodel* m =
      readText(dir, "e.obj", std::string(kQuad) + "f 1 2 3\n" + "# " + std::string(5000, 'v') + " vertices");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(summary(m), "v4 t1 g1 m0 [default: 0]");
  glmDelete(m);
}

TEST(ObjHostile, LongCommentsInMaterialFilesAreSkippedWhole) {
  TempDir dir;
  // The tails name a material, a shininess, a colour and a texture: none may count.
  std::string mtl = longComment(kMtlStretch, " newmtl ghost Ns 1000 Kd 0 1 0 Td decal ghost.ppm") +
                    "newmtl red\n" + longComment(kMtlStretch, " Ns 500 Kd 0 0 1 newmtl ghost2") +
                    "Kd 1 0 0\n" + "#" + std::string(3000, 'n') + "\n";
  writeFile(dir.file("m.mtl"), mtl);
  std::string path = dir.file("a.obj");
  writeFile(path, std::string("mtllib m.mtl\n") + kQuad + "usemtl red\nf 1 2 3\n");
  auto r = inChild([&] {
    _GLMmodel* m = glmReadOBJ(path.c_str());
    if (!m) return;
    printf("%u", m->nummaterials);
    for (unsigned i = 0; i < m->nummaterials; i++) {
      const _GLMmaterial& mt = m->materials[i];
      printf(" [%s %.1f %.1f %.1f %.1f %d]", mt.name, mt.shininess, mt.diffuse[0], mt.diffuse[1],
             mt.diffuse[2], mt.texPending);
    }
  });
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, "2 [default 65.0 0.8 0.8 0.8 0] [red 65.0 1.0 0.0 0.0 0]");
}

TEST(ObjHostile, OtherLongLinesStillHaveTheirTailsReadAsWords) {
  TempDir dir;
  // Only comments are skipped whole: the tail of a long skipped keyword line is still read on
  // as words, the parser's way with every other line.
  std::string line = "s " + std::string(kObjStretch - 1, 'x') + " v 7 8 9\n";
  _GLMmodel* m = readText(dir, "s.obj", std::string(kQuad) + line + "f 1 2 3\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numvertices, 5u);
  glmDelete(m);
}

TEST(ObjHostile, ManyGroupsGiveTheSameGroupsAsTheListWouldFind) {
  TempDir dir;
  // 80000 groups of one triangle each, the way a 1.1 MB file of them is laid out; then every
  // 1000th group named again with a second triangle, and names that differ only in blanks.
  constexpr int kGroups = 80000;
  constexpr int kRevisit = 1000;
  std::string text = kQuad;
  for (int g = 0; g < kGroups; g++) text += "g n" + std::to_string(g) + "\nf 1 2 3\n";
  for (int g = 0; g < kGroups; g += kRevisit) text += "g n" + std::to_string(g) + "\nf 1 3 4\n";
  text += "g  n7\nf 2 3 4\ng n7 \nf 1 2 4\n";
  _GLMmodel* m = readText(dir, "g.obj", text);
  ASSERT_NE(m, nullptr);
  // The expected groups, head first: the last group made first, "default" last. A revisited
  // group holds its first triangle and the one of its revisit.
  const unsigned revisits = kGroups / kRevisit;
  const unsigned firstRevisitTri = kGroups;
  std::vector<std::string> names;
  std::vector<std::vector<unsigned>> tris;
  names.push_back(" n7 ");
  tris.push_back({firstRevisitTri + revisits + 1});
  names.push_back("  n7");
  tris.push_back({firstRevisitTri + revisits});
  for (int g = kGroups - 1; g >= 0; g--) {
    names.push_back(" n" + std::to_string(g));
    std::vector<unsigned> t = {static_cast<unsigned>(g)};
    if (g % kRevisit == 0) t.push_back(firstRevisitTri + static_cast<unsigned>(g / kRevisit));
    tris.push_back(t);
  }
  names.push_back("default");
  tris.push_back({});
  EXPECT_EQ(m->numgroups, names.size());
  EXPECT_EQ(m->numtriangles, firstRevisitTri + revisits + 2);
  size_t k = 0;
  int mismatches = 0;
  for (_GLMgroup* g = m->groups; g && k < names.size(); g = g->next, k++) {
    std::vector<unsigned> got(g->triangles, g->triangles + g->numtriangles);
    if (g->name != names[k] || got != tris[k]) {
      mismatches++;
      EXPECT_LT(mismatches, 5) << "group " << k << " [" << g->name << "] wants [" << names[k] << "]";
    }
    // And the list's own look-up finds each group by its name.
    if (k % 997 == 0) {
      EXPECT_EQ(glmFindGroup(m, names[k].c_str()), g);
    }
  }
  EXPECT_EQ(k, names.size());
  EXPECT_EQ(mismatches, 0);
  glmDelete(m);
}

TEST(ObjHostile, GroupLookUpKeepsTheFaceBeforeTheFirstGroupRule) {
  TempDir dir;
  // Faces before the first `g` line are counted for "default" and stored into the head group,
  // the one added last; a second visit to a group reuses it.
  _GLMmodel* m =
      readText(dir, "h.obj", std::string(kQuad) + "f 1 2 3\ng a\nf 1 3 4\ng b\nf 2 3 4\ng a\nf 1 2 4\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(summary(m), "v4 t4 g3 m0 [ b: 0 2] [ a: 1 3] [default:]");
  glmDelete(m);
}
