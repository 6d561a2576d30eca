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

TEST_F(DiskFullTest, Gallery) {
  const Ending ending = Norix({"gallery", In("clip.mp4"), In("small/gallery"), "--width", "160"});
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("No space left on device"));
  EXPECT_THAT(ending.err, HasSubstr("small/gallery"));
  EXPECT_THAT(Names("small"), IsEmpty());
}

TEST_F(DiskFullTest, Transition) {
  const Ending ending = Norix({"transition", In("clip.mp4"), In("clip.mp4"), In("small/out.mkv"), "--group",
                               "Flip Roll Left", "--option", "crf=1"});
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("No space left on device"));
  EXPECT_THAT(Names("small"), IsEmpty());
}

TEST_F(DiskFullTest, AtTheVeryEnd) {
  // The last write, of an index or a trailer, is the first that fails; or none does.
  const Words words = {"--effect", "Swirl", "--video-only", "--frames", "3"};
  const auto render = [&](const std::string& name) {
    Words all = {"render", In("clip.mp4"), In("small/" + name)};
    all.insert(all.end(), words.begin(), words.end());
    return Norix(all);
  };
  for (const std::string name : {"out.mp4", "out.mkv"}) {
    ASSERT_EQ(render(name).code, 0);
    const std::size_t bytes = Content(In("small/" + name)).size();
    std::filesystem::remove(In("small/" + name));
    constexpr std::size_t kPage = 4096;
    constexpr std::size_t kDisk = 65536;
    // Room for ever fewer pages.
    for (std::size_t room = (bytes + kPage - 1) / kPage + 1; room-- > 0;) {
      SetContent(In("small/ballast"), std::string(kDisk - room * kPage, 'b'));
      const Ending ending = render(name);
      const bool fits = ending.code == 0;
      if (fits) {
        EXPECT_EQ(PlayErrors(In("small/" + name)), "");
        std::filesystem::remove(In("small/" + name));
      } else {
        EXPECT_EQ(ending.code, 1);
        EXPECT_THAT(ending.err, HasSubstr("No space left on device"));
      }
      EXPECT_EQ(Names("small"), std::set<std::string>{"ballast"});
    }
    std::filesystem::remove(In("small/ballast"));
  }
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
