// The ezpack program, run as a separate process.
#include <dirent.h>
#include <gtest/gtest.h>

#include "ez_fixtures.h"
#include "fileio/entropy.h"
#include "tests/support/testutil.h"

using eztest::Bytes;
using testsupport::binaryDir;
using testsupport::fileExists;
using testsupport::readFile;
using testsupport::run;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

std::string ezpack() {
  return binaryDir() + "/ezpack";
}

// Names in the folder, to see that nothing was left behind.
std::vector<std::string> listing(const std::string& folder) {
  std::vector<std::string> names;
  DIR* d = opendir(folder.c_str());
  while (dirent* e = readdir(d)) {
    std::string n = e->d_name;
    if (n != "." && n != "..") names.push_back(n);
  }
  closedir(d);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

TEST(Ezpack, HelpAndUsage) {
  auto r = run(ezpack() + " --help");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("ezpack pack IN OUT"), std::string::npos);
  EXPECT_NE(r.out.find("ezpack unpack IN OUT"), std::string::npos);
  EXPECT_NE(r.out.find("ezpack info IN"), std::string::npos);
  EXPECT_EQ(run(ezpack() + " -h").out, r.out);
  auto bad = run(ezpack());
  EXPECT_EQ(bad.status, 2);
  EXPECT_NE(bad.err.find("Usage: ezpack"), std::string::npos);
  EXPECT_EQ(run(ezpack() + " pack onlyone").status, 2);
  EXPECT_EQ(run(ezpack() + " frobnicate a b").status, 2);
}

TEST(Ezpack, PackUnpackRoundTripAndInfo) {
  TempDir dir;
  Bytes data = eztest::sampleData(100000);
  writeFile(dir.file("in.txt"), data);
  auto r = run(ezpack() + " pack " + dir.file("in.txt") + " " + dir.file("in.ez"));
  ASSERT_EQ(r.status, 0) << r.err;
  Bytes ez = readFile(dir.file("in.ez"));
  EXPECT_EQ(ez.substr(0, 2), "EZ");
  EXPECT_EQ(eztest::getBE32(ez, 2), 4u);
  EXPECT_LT(ez.size(), data.size() / 2);

  r = run(ezpack() + " unpack " + dir.file("in.ez") + " " + dir.file("out.txt"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(readFile(dir.file("out.txt")) == data);

  r = run(ezpack() + " info " + dir.file("in.ez"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("EZ container, 4 chunks"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("expanded 100000 bytes"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("file " + std::to_string(ez.size()) + " bytes"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("ratio"), std::string::npos);
  EXPECT_EQ(listing(dir.path()), (std::vector<std::string>{"in.ez", "in.txt", "out.txt"}));
}

TEST(Ezpack, EmptyFileRoundTrip) {
  TempDir dir;
  writeFile(dir.file("e"), "");
  ASSERT_EQ(run(ezpack() + " pack " + dir.file("e") + " " + dir.file("e.ez")).status, 0);
  EXPECT_EQ(readFile(dir.file("e.ez")), Bytes("EZ\0\0\0\0", 6));
  ASSERT_EQ(run(ezpack() + " unpack " + dir.file("e.ez") + " " + dir.file("e.out")).status, 0);
  EXPECT_TRUE(fileExists(dir.file("e.out")));
  EXPECT_EQ(readFile(dir.file("e.out")), "");
  auto r = run(ezpack() + " info " + dir.file("e.ez"));
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("0 chunks"), std::string::npos);
}

TEST(Ezpack, DamagedContainersFailCleanlyAndLeaveNoOutput) {
  TempDir dir;
  Bytes data = eztest::sampleData(70000);
  writeFile(dir.file("in.txt"), data);
  ASSERT_EQ(run(ezpack() + " pack " + dir.file("in.txt") + " " + dir.file("good.ez")).status, 0);
  Bytes good = readFile(dir.file("good.ez"));
  uint32_t off0 = eztest::getBE32(good, 6);
  uint32_t size0 = eztest::getBE32(good, 6 + 12);
  std::vector<std::pair<std::string, Bytes>> cases;
  cases.push_back({"truncated", good.substr(0, good.size() - 1)});
  cases.push_back({"header only", good.substr(0, 5)});
  Bytes sizes = good;
  eztest::putBE32(sizes, 6 + 12, size0 + 100);
  cases.push_back({"wrong size", sizes});
  Bytes crc = good;
  crc[off0 + size0 - 6] ^= 0x10;
  cases.push_back({"bad crc", crc});
  Bytes count = good;
  eztest::putBE32(count, 2, 0xfffffff0u);
  cases.push_back({"huge count", count});
  cases.push_back({"plain text", "just some text\n"});
  for (auto& [name, bytes] : cases) {
    writeFile(dir.file("bad.ez"), bytes);
    auto r = run(ezpack() + " unpack " + dir.file("bad.ez") + " " + dir.file("out.txt"));
    EXPECT_EQ(r.status, 1) << name;
    EXPECT_NE(r.err.find("ezpack: " + dir.file("bad.ez") + ": damaged or not an EZ container"),
              std::string::npos)
        << name << ": " << r.err;
    EXPECT_FALSE(fileExists(dir.file("out.txt"))) << name;
    auto i = run(ezpack() + " info " + dir.file("bad.ez"));
    EXPECT_EQ(i.status, 1) << name;
    EXPECT_EQ(i.out, "") << name;
    EXPECT_EQ(listing(dir.path()), (std::vector<std::string>{"bad.ez", "good.ez", "in.txt"})) << name;
  }
}

TEST(Ezpack, ExistingOutputIsKeptWhenUnpackingFails) {
  TempDir dir;
  writeFile(dir.file("out.txt"), "precious");
  writeFile(dir.file("bad.ez"), "EZ\0\0\0\1");
  auto r = run(ezpack() + " unpack " + dir.file("bad.ez") + " " + dir.file("out.txt"));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(readFile(dir.file("out.txt")), "precious");
}

TEST(Ezpack, MissingInputAndUnwritableOutput) {
  TempDir dir;
  auto r = run(ezpack() + " pack " + dir.file("nope") + " " + dir.file("x.ez"));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("ezpack: cannot open " + dir.file("nope")), std::string::npos) << r.err;
  writeFile(dir.file("in.txt"), "abc");
  r = run(ezpack() + " pack " + dir.file("in.txt") + " " + dir.file("no/such/folder/x.ez"));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("cannot create a file beside"), std::string::npos) << r.err;
  r = run(ezpack() + " unpack " + dir.file("nope") + " " + dir.file("x"));
  EXPECT_EQ(r.status, 1);
  r = run(ezpack() + " pack " + dir.path() + " " + dir.file("d.ez"));
  EXPECT_EQ(r.status, 1) << "a folder is no input";
  EXPECT_FALSE(fileExists(dir.file("d.ez")));
}

// Unpacking checks as it writes: a damaged container is named as such also when its output
// can't be made, and a sound one unpacks to the packed bytes.
TEST(Ezpack, DamageIsNamedBeforeAnOutputThatCannotBeMade) {
  TempDir dir;
  writeFile(dir.file("bad.ez"), Bytes("EZ\0\0\0\1", 6));
  auto r = run(ezpack() + " unpack " + dir.file("bad.ez") + " " + dir.file("no/such/folder/x"));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "ezpack: " + dir.file("bad.ez") +
                       ": damaged or not an EZ container: chunk count 1 needs tables longer than the file\n");
  Bytes data = eztest::sampleData(100000);
  writeFile(dir.file("in.txt"), data);
  ASSERT_EQ(run(ezpack() + " pack " + dir.file("in.txt") + " " + dir.file("good.ez")).status, 0);
  r = run(ezpack() + " unpack " + dir.file("good.ez") + " " + dir.file("no/such/folder/x"));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("ezpack: cannot create a file beside " + dir.file("no/such/folder/x")), std::string::npos)
      << r.err;
  r = run(ezpack() + " unpack " + dir.file("good.ez") + " " + dir.file("out.txt"));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(readFile(dir.file("out.txt")), data);
}

// Packing goes a chunk at a time, and the container is byte for byte the one PackFromFile
// writes from the whole file in memory.
TEST(Ezpack, PackWritesWhatPackFromFileWrites) {
  TempDir dir;
  for (size_t size : {size_t(0), size_t(1), size_t(32767), size_t(32768), size_t(32769), size_t(100000)}) {
    Bytes data = eztest::sampleData(size, 5);
    writeFile(dir.file("in.txt"), data);
    auto r = run(ezpack() + " pack " + dir.file("in.txt") + " " + dir.file("p.ez"));
    ASSERT_EQ(r.status, 0) << size << ": " << r.err;
    FILE* in = fopen(dir.file("in.txt").c_str(), "rb");
    FILE* out = fopen(dir.file("ref.ez").c_str(), "wb");
    PackFromFile(out, in);
    fclose(in);
    fclose(out);
    EXPECT_EQ(readFile(dir.file("p.ez")), readFile(dir.file("ref.ez"))) << size;
  }
}
