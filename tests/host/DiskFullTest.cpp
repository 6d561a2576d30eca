#include <gmock/gmock.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/** A folder that holds few bytes. */
class DiskFullTest : public HostTest {
protected:
  void SetUp() override {
    std::filesystem::create_directory(In("small"));
    if (mount("tmpfs", In("small").c_str(), "tmpfs", 0, "size=64k") != 0) {
      GTEST_SKIP() << "needs the right to mount a small file system: " << std::strerror(errno);
    }
    mounted_ = true;
    MakeClip("clip.mp4", 160, 120, 50);
  }

  void TearDown() override {
    if (mounted_) umount2(In("small").c_str(), MNT_DETACH);
  }

  void ExpectTold(const std::string& name) const {
    SCOPED_TRACE(name);
    const Ending ending =
        Render("clip.mp4", "small/" + name, {"--effect", "Swirl", "--codec", "libx264", "--option", "crf=1"});
    EXPECT_EQ(ending.code, 1);
    EXPECT_EQ(ending.out, "");
    EXPECT_THAT(ending.err, StartsWith("norix: error: "));
    EXPECT_THAT(ending.err, HasSubstr("No space left on device"));
    EXPECT_THAT(Names("small"), IsEmpty());
  }

private:
  bool mounted_ = false;
};

TEST_F(DiskFullTest, IsToldInEachContainer) {
  for (const char* name : {"out.mp4", "out.mkv", "out.ts"}) ExpectTold(name);
}

TEST_F(DiskFullTest, FileThatIsThereSurvives) {
  SetContent(In("small/out.mp4"), "precious");
  const Ending ending = Render("clip.mp4", "small/out.mp4", {"--effect", "Swirl", "-y", "--option", "crf=1"});
  EXPECT_EQ(ending.code, 1);
  EXPECT_EQ(Content(In("small/out.mp4")), "precious");
  EXPECT_EQ(Names("small").size(), 1U);
}

TEST_F(DiskFullTest, SinglePicture) {
  MakeNoiseClip("photo.png", "rgb24", 300, 300, 1, {});
  const Ending ending = Render("photo.png", "small/out.png", {"--effect", "Swirl"});
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("No space left on device"));
  EXPECT_THAT(Names("small"), IsEmpty());
}

}  // namespace

}  // namespace norix::test
