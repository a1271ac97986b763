// The velmora program itself, on the real data, each run on its own X server.
#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <utility>
#include <string>
#include <vector>

#include "tests/support/program_run.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::ProgramRun;

std::string velmora() {
  return testsupport::binaryDir() + "/velmora";
}
std::string sample(const std::string& name) {
  return testsupport::sourceDir() + "/samples/" + name;
}

// The title names the model file as it was given. xdotool takes the name as a regular
// expression, so the brackets and dots of the title are escaped.
std::string titleOf(const std::string& model) {
  std::string pattern = "^Velmora tool 1\\.2 \\[";
  for (char c : model) {
    if (std::string(".[]()*+?^$|\\").find(c) != std::string::npos) pattern += '\\';
    pattern += c;
  }
  return pattern + "\\]$";
}

TEST(VelmoraProgram, StartsOnTheMisplacedSampleWithItsTwinAndQuitsOnQ) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m51-misplaced.obj");
  ProgramRun run({velmora(), model, sample("m51.obj")}, titleOf(model));
  ASSERT_TRUE(run.ok());
  ASSERT_FALSE(run.window().empty()) << run.err();
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0) << run.err();
  const std::string tried = "Try Reading star file : [" + testsupport::binaryDir() + "//data/stardata/HIP/hip.6.star]\n";
  EXPECT_NE(run.out().find(tried), std::string::npos) << run.out();
}

TEST(VelmoraProgram, AStarSetOptionIsAnnounced) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m1-misplaced.obj");
  ProgramRun run({velmora(), "-s3", model}, titleOf(model));
  ASSERT_FALSE(run.window().empty()) << run.err();
  run.key("Escape");
  EXPECT_EQ(run.waitExit(), 0);
  EXPECT_NE(run.out().find("Use starset 3 (-s3)\n"), std::string::npos) << run.out();
  EXPECT_NE(run.out().find("/data/stardata/HIP/hip.3.star]\n"), std::string::npos) << run.out();
}

TEST(VelmoraProgram, AModelThatCannotBeReadEndsWithItsMessage) {
  ProgramRun run({velmora(), "/nonexistent/model.obj"}, "Velmora tool");
  EXPECT_EQ(run.waitExit(), 1);
  EXPECT_NE(run.err().find("Err: failed to read [/nonexistent/model.obj]\n"), std::string::npos) << run.err();
}

TEST(VelmoraProgram, AReferenceModelThatCannotBeReadEndsWithItsMessage) {
  VELMORA_REQUIRE_SKY_DATA();
  ProgramRun run({velmora(), sample("m51-misplaced.obj"), "/nonexistent/ref.obj"}, "Velmora tool");
  EXPECT_EQ(run.waitExit(), 1);
  EXPECT_NE(run.err().find("Err: failed to read [/nonexistent/ref.obj]\n"), std::string::npos) << run.err();
}

TEST(VelmoraProgram, NoModelBehindTheOptionsEndsWithStatusOne) {
  ProgramRun run({velmora(), "-notex"}, "Velmora tool");
  EXPECT_EQ(run.waitExit(), 1);
}

// A copy of the program in a folder without data, and TOPDIR pointing nowhere: neither root
// holds the catalogue.
TEST(VelmoraProgram, AMissingCatalogueIsReportedWithBothPlaces) {
  testsupport::TempDir dir;
  std::filesystem::copy_file(velmora(), dir.file("velmora"));
  std::filesystem::permissions(dir.file("velmora"), std::filesystem::perms::owner_exec,
                               std::filesystem::perm_options::add);
  ProgramRun run({dir.file("velmora"), sample("m51-misplaced.obj")}, "Velmora tool", false,
                 {"TOPDIR=/nonexistent-velmora-top"});
  EXPECT_EQ(run.waitExit(), 1);
  EXPECT_NE(run.err().find("Err: failed to open [data/stardata/HIP/hip] or "
                           "[/nonexistent-velmora-top/data/stardata/HIP/hip.6.star]\n"),
            std::string::npos)
      << run.err();
}

// Window-system arguments before the model are taken by the window system, and the scene
// never reads what they leave behind as a model.
TEST(VelmoraProgram, ADisplayArgumentBeforeTheModelIsNoModel) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m27-misplaced.obj");
  testsupport::XvfbServer other;
  ASSERT_TRUE(other.ok());
  ProgramRun run({velmora(), "-display", other.display(), "-notex", model}, titleOf(model));
  // The window opens on the other server, so this run's server never sees it: wait for the
  // program to get past start-up, then end it.
  run.letCpuPass(1.0);
  EXPECT_EQ(run.waitExit(1), -1) << run.err();
  EXPECT_EQ(run.err().find("failed to read"), std::string::npos) << run.err();
}

// The window's pixels as ImageMagick grabs them from the X server.
std::string grab(ProgramRun& run) {
  testsupport::pauseMs(1500);  // the frames asked for by the last event are drawn
  std::string file = run.dir().file("grab.rgb");
  testsupport::run("DISPLAY=" + run.display() + " import -window " + run.window() + " -depth 8 rgb:" + file);
  return testsupport::readFile(file);
}

// A drag with the button (1 left, 2 middle) through the window points given, a step at a time.
void drag(ProgramRun& run, int button, std::initializer_list<std::pair<int, int>> points) {
  const std::string w = run.window();
  const std::string b = std::to_string(button);
  auto at = [&](const std::pair<int, int>& p) {
    return "mousemove --window " + w + " " + std::to_string(p.first) + " " + std::to_string(p.second);
  };
  auto it = points.begin();
  run.xdo(at(*it) + " mousedown " + b);
  for (++it; it != points.end(); ++it) {
    testsupport::pauseMs(200);
    run.xdo(at(*it));
  }
  run.xdo("mouseup " + b);
}

// A middle drag moves the model over the sky; u takes it back to the very same picture and y
// brings the move again; a second u finds the ring empty and says so.
TEST(VelmoraProgram, DragUndoAndRedoWithTheKeys) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m51-misplaced.obj");
  ProgramRun run({velmora(), "-notex", model}, titleOf(model));
  ASSERT_FALSE(run.window().empty()) << run.err();
  std::string before = grab(run);
  ASSERT_FALSE(before.empty());
  drag(run, 2, {{320, 320}, {360, 340}, {400, 360}});
  std::string moved = grab(run);
  EXPECT_NE(moved, before) << "the drag moved nothing";
  run.key("u");
  EXPECT_EQ(grab(run), before) << "undo did not restore the picture";
  run.key("y");
  EXPECT_EQ(grab(run), moved) << "redo did not bring the move back";
  run.key("u");
  run.key("u");
  testsupport::pauseMs(500);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
  EXPECT_NE(run.err().find("no alignment operation to undo\n"), std::string::npos) << run.err();
}

// R puts the model back where the file had it, whatever the drags did.
TEST(VelmoraProgram, CapitalRRestartsTheModelPosition) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m1-misplaced.obj");
  ProgramRun run({velmora(), "-notex", model}, titleOf(model));
  ASSERT_FALSE(run.window().empty()) << run.err();
  std::string before = grab(run);
  drag(run, 1, {{300, 300}, {350, 330}, {380, 350}});
  EXPECT_NE(grab(run), before);
  run.key("R");
  EXPECT_EQ(grab(run), before);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

}  // namespace
