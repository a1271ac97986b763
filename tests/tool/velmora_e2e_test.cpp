// The velmora program itself, on the real data, each run on its own X server.
#include <gtest/gtest.h>

#include <filesystem>
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

}  // namespace
