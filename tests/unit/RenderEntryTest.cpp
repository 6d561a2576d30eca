// The entry point that renders by name. What the effects draw is tested with the effects.

#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "CountedParams.h"
#include "support/Formats.h"

namespace {

using namespace norix::test;

constexpr int kWidth = 4;
constexpr int kHeight = 2;
constexpr std::uint8_t kUntouched = 0xA5;

/// A BGRA picture in memory of its own.
class Picture {
public:
  Picture() : bytes_(std::size_t{kWidth} * kHeight * 4, kUntouched) {
    frame_.data[0] = bytes_.data();
    frame_.linesize[0] = kWidth * 4;
    frame_.width = kWidth;
    frame_.height = kHeight;
    frame_.format = kBgra;
  }

  AVFrame* Frame() { return &frame_; }
  std::vector<std::uint8_t>& Bytes() { return bytes_; }
  bool Untouched() const {
    return std::all_of(bytes_.begin(), bytes_.end(), [](std::uint8_t byte) { return byte == kUntouched; });
  }

private:
  std::vector<std::uint8_t> bytes_;
  AVFrame frame_ = {};
};

class RenderEntry : public testing::Test {
protected:
  RenderEntry() {
    std::uint8_t value = 0;
    for (std::uint8_t& byte : src_.Bytes()) byte = value++;
    before_ = src_.Bytes();
  }

  int Render(const char* name, FilterParams* params, std::int64_t unused = 0) {
    return filter_video_frame(dst_.Frame(), src_.Frame(), name, params, unused, 0, kHeight);
  }

  Picture dst_;
  Picture src_;
  std::vector<std::uint8_t> before_;
};

TEST_F(RenderEntry, AnswersMinusOneForStretchAndLeavesThePicturesAlone) {
  int deletions = 0;
  auto* params = new CountedParams("Stretch", deletions);
  EXPECT_EQ(Render("Stretch", nullptr), -1);
  EXPECT_EQ(Render("Stretch", params), -1);
  EXPECT_TRUE(dst_.Untouched());
  EXPECT_EQ(src_.Bytes(), before_);
  EXPECT_EQ(params->refCount, 1);
  params->Release();
  EXPECT_EQ(deletions, 1);
}

TEST_F(RenderEntry, AnswersMinusOneForUnknownNamesAndLeavesThePicturesAlone) {
  SwirlParams* swirl = new SwirlParams;
  for (const char* name :
       {"", "swirl", "SWIRL", "Swirl ", "Swir", "MirrorMoveX", "stretch", "Mirror Scale Blur", "Flip Roll Up"}) {
    EXPECT_EQ(Render(name, nullptr), -1) << name;
    EXPECT_EQ(Render(name, swirl), -1) << name;
    EXPECT_TRUE(dst_.Untouched()) << name;
  }
  EXPECT_EQ(src_.Bytes(), before_);
  EXPECT_EQ(swirl->refCount, 1);
  swirl->Release();
}

TEST_F(RenderEntry, AnswersMinusOneForUnknownNamesOfNullFramesToo) {
  EXPECT_EQ(filter_video_frame(nullptr, nullptr, "Stretch", nullptr, 0, 0, 1), -1);
  EXPECT_EQ(filter_video_frame(nullptr, nullptr, "swirl", nullptr, 0, 0, 1), -1);
}

TEST_F(RenderEntry, AnswersZeroForAnEffectThatHadNothingToDo) {
  for (const char* name : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
    EXPECT_EQ(filter_video_frame(nullptr, src_.Frame(), name, nullptr, 0, 0, kHeight), 0) << name;
    EXPECT_EQ(filter_video_frame(dst_.Frame(), nullptr, name, nullptr, 0, 0, kHeight), 0) << name;
    EXPECT_EQ(filter_video_frame(nullptr, nullptr, name, nullptr, 0, 0, kHeight), 0) << name;
    EXPECT_EQ(filter_video_frame(dst_.Frame(), src_.Frame(), name, nullptr, 0, 0, 0), 0) << name;
    EXPECT_TRUE(dst_.Untouched()) << name;
  }
}

TEST_F(RenderEntry, LeavesUnknownFormatsAloneAndAnswersZero) {
  src_.Frame()->format = 1;
  for (const char* name : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
    EXPECT_EQ(Render(name, nullptr), 0) << name;
    EXPECT_TRUE(dst_.Untouched()) << name;
  }
}

TEST_F(RenderEntry, CallsTheEffectOfTheNameWithParamsAndBand) {
  FilterParams* params = nullptr;
  int size = 0;
  GetParamBuffer("Mirror Move X", 10000, &params, &size);
  ASSERT_EQ(filter_video_frame(dst_.Frame(), src_.Frame(), "Mirror Move X", params, 0, 1, 1), 0);
  ReleaseParamBuffer(params);
  for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(dst_.Bytes()[i], kUntouched) << "row 0, byte " << i;
  // A move by the whole width is the mirror image; row 1 of the source counts 16 to 31.
  const std::vector<std::uint8_t> mirrored = {28, 29, 30, 31, 24, 25, 26, 27, 20, 21, 22, 23, 16, 17, 18, 19};
  EXPECT_EQ(std::vector<std::uint8_t>(dst_.Bytes().begin() + 16, dst_.Bytes().end()), mirrored);
  EXPECT_EQ(src_.Bytes(), before_);
}

TEST_F(RenderEntry, NeverReadsTheFifthArgument) {
  for (const std::int64_t unused : {INT64_MIN, std::int64_t{-1}, std::int64_t{1}, INT64_MAX}) {
    std::fill(dst_.Bytes().begin(), dst_.Bytes().end(), kUntouched);
    EXPECT_EQ(Render("Swirl", nullptr, unused), 0);
    EXPECT_EQ(dst_.Bytes(), before_) << "without parameters Swirl copies";
  }
}

// An effect either runs or answers that it cannot; it never writes and denies it.
TEST_F(RenderEntry, AnswersOnlyZeroOrMinusOneAndWritesNothingWithMinusOne) {
  for (const char** name = NorixGetInfo(); *name; ++name) {
    std::fill(dst_.Bytes().begin(), dst_.Bytes().end(), kUntouched);
    const int answer = Render(*name, nullptr);
    if (answer == 0) {
      EXPECT_NE(std::string_view(*name), "Stretch");
      EXPECT_FALSE(dst_.Untouched()) << *name;
    } else {
      EXPECT_EQ(answer, -1) << *name;
      EXPECT_TRUE(dst_.Untouched()) << *name;
    }
    EXPECT_EQ(src_.Bytes(), before_) << *name;
  }
}

}  // namespace
