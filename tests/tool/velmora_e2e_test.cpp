// The velmora program itself, on the real data, each run on its own X server.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/program_run.h"
#include "tests/support/testutil.h"
#include "tests/tool/velmora_driver.h"

namespace {

using e2e::drag;
using e2e::Grab;
using e2e::grabStable;
using e2e::sample;
using e2e::titleOf;
using e2e::velmora;
using testsupport::ProgramRun;

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
constexpr int kStartWaitMs = 30000;
constexpr int kStepMs = 100;

TEST(VelmoraProgram, ADisplayArgumentBeforeTheModelIsNoModel) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m27-misplaced.obj");
  testsupport::XvfbServer other;
  ASSERT_TRUE(other.ok());
  ProgramRun run({velmora(), "-display", other.display(), "-notex", model}, titleOf(model));
  // The window opens on the other server, so this run's server never sees it: wait for the
  // program to get past start-up (its window on the other server), then end it.
  std::string search = "DISPLAY=" + other.display() + " xdotool search --name '";
  search += titleOf(model);
  search += "'";
  for (int waited = 0; waited < kStartWaitMs; waited += kStepMs) {
    if (testsupport::run(search).status == 0) break;
    testsupport::pauseMs(kStepMs);
  }
  EXPECT_EQ(run.waitExit(1), -1) << run.err();
  EXPECT_EQ(run.err().find("failed to read"), std::string::npos) << run.err();
}

// A middle drag moves the model over the sky; u takes it back to the very same picture and y
// brings the move again; a second u finds the ring empty and says so.
TEST(VelmoraProgram, DragUndoAndRedoWithTheKeys) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m51-misplaced.obj");
  ProgramRun run({velmora(), "-notex", model}, titleOf(model));
  ASSERT_FALSE(run.window().empty()) << run.err();
  Grab before = grabStable(run);
  ASSERT_FALSE(before.empty());
  drag(run, 2, {{320, 320}, {360, 340}, {400, 360}});
  Grab moved = grabStable(run);
  EXPECT_NE(moved, before) << "the drag moved nothing";
  run.key("u");
  EXPECT_EQ(grabStable(run), before) << "undo did not restore the picture";
  run.key("y");
  EXPECT_EQ(grabStable(run), moved) << "redo did not bring the move back";
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
  Grab before = grabStable(run);
  drag(run, 1, {{300, 300}, {350, 330}, {380, 350}});
  EXPECT_NE(grabStable(run), before);
  run.key("R");
  EXPECT_EQ(grabStable(run), before);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// A still picture costs next to nothing: with nothing turning, the program waits for events
// instead of running its idle callback in a loop.
constexpr double kMeasureSeconds = 3.0;
constexpr double kMostIdleShare = 0.05;  // of one core

TEST(VelmoraProgram, AStillPictureTakesAlmostNoProcessorTimeAndTheNextDragStillActs) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string model = sample("m51-misplaced.obj");
  ProgramRun run({velmora(), "-notex", model}, titleOf(model));
  ASSERT_FALSE(run.window().empty()) << run.err();
  const Grab still = grabStable(run);
  const double before = run.cpuSeconds();
  testsupport::pauseMs(static_cast<int>(kMeasureSeconds * 1000));
  const double used = run.cpuSeconds() - before;
  EXPECT_LT(used, kMostIdleShare * kMeasureSeconds) << used << " processor seconds in " << kMeasureSeconds;
  EXPECT_EQ(e2e::grab(run), still) << "the picture changed with nothing to change it";

  // Waiting doesn't make it deaf: a drag after the quiet spell moves the model at once.
  drag(run, 2, {{300, 300}, {340, 300}});
  EXPECT_NE(grabStable(run), still) << "the drag after the quiet spell did nothing";
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

}  // namespace
