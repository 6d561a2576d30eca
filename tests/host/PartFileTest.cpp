#include "media/PartFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>

#include "Failure.h"

namespace norix::host {

namespace {

namespace fs = std::filesystem;

class PartFileTest : public testing::Test {
protected:
  PartFileTest() {
    std::string name = fs::temp_directory_path() / "norix-XXXXXX";
    folder_ = mkdtemp(name.data());
  }
  ~PartFileTest() override { fs::remove_all(folder_); }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.insert(entry.path().filename());
    return names;
  }

  void Leave(const std::string& name) const { std::ofstream(folder_ / name) << "half"; }

  static std::string Part(const std::string& name, const std::string& more = "") {
    return '.' + name + '.' + std::to_string(getpid()) + more + ".part";
  }

  fs::path folder_;
};

TEST_F(PartFileTest, GoesOrGetsItsName) {
  {
    const PartFile file(folder_ / "out.mp4", false);
    EXPECT_EQ(Names(), std::set<std::string>{Part("out.mp4")});
  }
  EXPECT_TRUE(Names().empty());
  PartFile file(folder_ / "out.mp4", false);
  file.write("whole");
  file.keep();
  EXPECT_EQ(Names(), std::set<std::string>{"out.mp4"});
}

TEST_F(PartFileTest, WhatKilledRunsLeftGoes) {
  // In a container each run may have the same number.
  for (const std::string& name : {Part("out.mp4"), std::string(".out.mp4.1.part"), std::string(".out.mp4.99-3.part")}) {
    Leave(name);
  }
  const std::set<std::string> others = {".other.mp4.1.part", ".out.mp4.x.part", ".out.mp4.part", "out.mp4.1.part"};
  for (const std::string& name : others) Leave(name);
  {
    const PartFile file(folder_ / "out.mp4", false);
    EXPECT_TRUE(fs::exists(file.partPath()));
    EXPECT_EQ(fs::file_size(file.partPath()), 0U);
  }
  EXPECT_EQ(Names(), others);
}

TEST_F(PartFileTest, WhatAnotherRunWritesStays) {
  const PartFile first(folder_ / "out.mp4", false);
  const PartFile second(folder_ / "out.mp4", false);
  EXPECT_EQ(Names(), (std::set<std::string>{Part("out.mp4"), Part("out.mp4", "-1")}));
  EXPECT_NE(first.partPath(), second.partPath());
}

TEST_F(PartFileTest, NamesOfAnyLength) {
  {
    const std::string name = std::string(251, 'n') + ".mp4";
    PartFile file(folder_ / name, false);
    file.write("whole");
    file.keep();
    EXPECT_TRUE(fs::exists(folder_ / name));
  }
  std::string umlauts = "n";
  for (int i = 0; i < 125; ++i) umlauts += "\xc3\xa4";
  const PartFile file(folder_ / umlauts, false);
  const std::string part = file.partPath().filename();
  const std::size_t end = part.find('.', 1);
  EXPECT_EQ((end - 2) % 2, 0U) << "half a character: " << part;
  try {
    const PartFile longer(folder_ / (std::string(252, 'n') + ".mp4"), false);
    ADD_FAILURE() << "it was taken";
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), testing::HasSubstr("255"));
  }
}

}  // namespace

}  // namespace norix::host
