// What leaves the destination as it was: frames without a picture, formats without a rule.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"

namespace norix::test {

namespace {

using reference::Effect;

class GuardTest : public testing::TestWithParam<Effect> {
protected:
  void SetUp() override { filter_check_format(Name(), kBgra); }

  const char* Name() const { return GetParam().name; }

  int Render(AVFrame* dst, AVFrame* src, FilterParams* params) const {
    return filter_video_frame(dst, src, Name(), params, 0, 0, 8);
  }

  static PictureShape Shape(int format) { return {format, 12, 8, {3, 1, 2, 5}, {}}; }

  /** Renders with an object and without: the guards come before the copy that null parameters ask for. */
  void ExpectUntouched(AVFrame* dst, AVFrame* src, const Picture& before, const Picture& after) const {
    const ParamObject params(Name(), 5000);
    EXPECT_EQ(Render(dst, src, params.Get()), 0);
    EXPECT_TRUE(SameBytes(before, after));
    EXPECT_EQ(Render(dst, src, nullptr), 0);
    EXPECT_TRUE(SameBytes(before, after));
  }
};

TEST_P(GuardTest, NullFrames) {
  for (const Format& format : AllFormats()) {
    Picture source(Shape(format.code), 1);
    Picture destination(Shape(format.code), 2);
    const Picture sourceBefore = source;
    const Picture destinationBefore = destination;
    ExpectUntouched(nullptr, source.Frame(), sourceBefore, source);
    ExpectUntouched(destination.Frame(), nullptr, destinationBefore, destination);
    ExpectUntouched(nullptr, nullptr, sourceBefore, source);
  }
}

TEST_P(GuardTest, EmptyPictures) {
  for (const Format& format : AllFormats())
    for (const int length : {0, -1, -12, std::numeric_limits<int>::min()})
      for (const bool horizontal : {false, true}) {
        SCOPED_TRACE(std::string(format.name) + (horizontal ? " width " : " height ") + std::to_string(length));
        Picture source(Shape(format.code), 3);
        Picture destination(Shape(format.code), 4);
        const Picture before = destination;
        for (AVFrame* const frame : {source.Frame(), destination.Frame()})
          (horizontal ? frame->width : frame->height) = length;
        ExpectUntouched(destination.Frame(), source.Frame(), before, destination);
      }
}

TEST_P(GuardTest, NullPlanes) {
  for (const Format& format : AllFormats())
    for (int plane = 0; plane < format.planes; ++plane)
      for (const bool inSource : {false, true}) {
        SCOPED_TRACE(std::string(format.name) + " plane " + std::to_string(plane));
        Picture source(Shape(format.code), 5);
        Picture destination(Shape(format.code), 6);
        const Picture before = destination;
        (inSource ? source : destination).Frame()->data[plane] = nullptr;
        ExpectUntouched(destination.Frame(), source.Frame(), before, destination);
      }
}

TEST_P(GuardTest, SourceFormatGoverns) {
  const ParamObject params(Name(), 5000);
  for (const Format& format : RenderedFormats())
    for (const int otherFormat : {-1, kYuyv422, kYuva420p, kBgra}) {
      SCOPED_TRACE(std::string(format.name) + " into " + std::to_string(otherFormat));
      Picture source(Shape(format.code), 7);
      Picture expected(Shape(format.code), 8);
      Picture actual = expected;
      actual.Frame()->format = otherFormat;
      GetParam().render(*expected.Frame(), *source.Frame(), params.Clone().Get(), 0, 8);
      EXPECT_EQ(Render(actual.Frame(), source.Frame(), params.Get()), 0);
      EXPECT_TRUE(SameBytes(expected, actual));
    }
}

TEST_P(GuardTest, CodesWithoutRuleLeaveDestination) {
  for (const int code : {kYuyv422, kArgb, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), 100000}) {
    SCOPED_TRACE(code);
    Picture source(Shape(kYuva420p), 9);
    Picture destination(Shape(kYuva420p), 10);
    const Picture before = destination;
    source.Frame()->format = code;
    destination.Frame()->format = code;
    ExpectUntouched(destination.Frame(), source.Frame(), before, destination);
  }
}

INSTANTIATE_TEST_SUITE_P(All, GuardTest, testing::ValuesIn(reference::Effects().begin(), reference::Effects().end()),
                         [](const auto& tested) {
                           std::string name = tested.param.name;
                           std::erase(name, ' ');
                           return name;
                         });

}  // namespace

}  // namespace norix::test
