// What NorixEngine.h lets hosts do at the same time. ThreadSanitizer looks on; the bytes must be those of one thread.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <barrier>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "exact/EffectComparison.h"
#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"

namespace norix::test {

namespace {

using reference::Effect;

constexpr int kThreads = 4;
constexpr int kLevel = 6000;

/** Runs `work` with the numbers 0 to 3, each on a thread of its own; all set out together. */
void OnThreads(const std::function<void(int)>& work) {
  std::barrier start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int number = 0; number < kThreads; ++number)
    threads.emplace_back([&, number] {
      start.arrive_and_wait();
      work(number);
    });
  for (std::thread& thread : threads) thread.join();
}

class ThreadsTest : public testing::TestWithParam<std::tuple<Effect, Format>> {
protected:
  static constexpr int kWidth = 150;
  static constexpr int kHeight = 64;
  static constexpr int kBandRows = kHeight / kThreads;

  /** What is drawn from rand() depends on which thread comes first. */
  bool Draws() const { return std::string(effect_.name) == "Ground Glass"; }

  PictureShape Shape() const { return {format_.code, kWidth, kHeight, {3, 1, 1, 2}, {}}; }

  void Render(Picture& dst, const Picture& src, FilterParams* params, int firstRow, int rowCount) const {
    // The library only reads the source.
    filter_video_frame(dst.Frame(), const_cast<AVFrame*>(src.Frame()), effect_.name, params, 0, firstRow, rowCount);
  }

  Picture Expected(const Picture& source, const Picture& before, int bandRows) const {
    Picture expected = before;
    const ParamObject params(effect_.name, kLevel);
    for (int y = 0; y < kHeight; y += bandRows)
      effect_.render(*expected.Frame(), *source.Frame(), params.Get(), y, bandRows);
    return expected;
  }

  const Effect effect_ = std::get<0>(GetParam());
  const Format format_ = std::get<1>(GetParam());
};

TEST_P(ThreadsTest, BandsOfOnePicture) {
  filter_check_format(effect_.name, kBgra);
  const Picture source(Shape(), 1);
  const Picture before(Shape(), 2);
  Picture actual = before;
  const ParamObject params(effect_.name, kLevel);
  OnThreads([&](int number) { Render(actual, source, params.Get(), number * kBandRows, kBandRows); });
  if (Draws()) return;
  EXPECT_TRUE(SameBytes(Expected(source, before, kBandRows), actual));
}

TEST_P(ThreadsTest, PicturesWithOneObject) {
  filter_check_format(effect_.name, kBgra);
  const ParamObject params(effect_.name, kLevel);
  std::vector<Picture> sources;
  std::vector<Picture> pictures;
  for (int number = 0; number < kThreads; ++number) {
    sources.emplace_back(Shape(), static_cast<unsigned>(number));
    pictures.emplace_back(Shape(), 9);
  }
  const Picture before = pictures.front();
  // The first picture leaves "Ripple" its tables.
  Render(pictures.front(), sources.front(), params.Get(), 0, kHeight);
  OnThreads([&](int number) {
    const auto k = static_cast<std::size_t>(number);
    for (int round = 0; round < 3; ++round) Render(pictures[k], sources[k], params.Get(), 0, kHeight);
  });
  if (Draws()) return;
  for (std::size_t k = 0; k < kThreads; ++k)
    EXPECT_TRUE(SameBytes(Expected(sources[k], before, kHeight), pictures[k])) << k;
}

INSTANTIATE_TEST_SUITE_P(All, ThreadsTest,
                         testing::Combine(testing::ValuesIn(reference::Effects().begin(), reference::Effects().end()),
                                          testing::Values(FormatOf(kYuva420p), FormatOf(kRgb24), FormatOf(kBgra))),
                         NameOfCase);

TEST(NegotiationThreadsTest, FirstCallsOfAllEffects) {
  std::array<std::vector<int>, kThreads> answers;
  OnThreads([&](int number) {
    for (const char** name = NorixGetInfo(); *name != nullptr; ++name)
      for (const int format : {kBgra, kYuv420p, kRgb24, -1})
        answers[static_cast<std::size_t>(number)].push_back(filter_check_format(*name, format));
  });
  for (const std::vector<int>& answer : answers) EXPECT_EQ(answer, answers.front());
  // Gray is there for whoever has his answer.
  const Effect& effect = *reference::FindEffect("Sketch");
  const PictureShape shape{kBgra, 40, 20, {}, {}};
  Picture source(shape, 1);
  Picture expected(shape, 2);
  Picture actual = expected;
  const ParamObject params(effect.name, kLevel);
  effect.render(*expected.Frame(), *source.Frame(), params.Get(), 0, shape.height);
  filter_video_frame(actual.Frame(), source.Frame(), effect.name, params.Get(), 0, 0, shape.height);
  EXPECT_TRUE(SameBytes(expected, actual));
}

TEST(ObjectThreadsTest, EachThreadItsOwnObjectsAndGroups) {
  OnThreads([&](int number) {
    FilterGroupParam* group = nullptr;
    FilterParams* params = nullptr;
    int size = 0;
    for (int round = 0; round < 50; ++round) {
      for (const char** name = NorixGetInfo(); *name != nullptr; ++name) {
        GetParamBuffer(*name, 100 * round + number, &params, &size);
        ReleaseParamBuffer(CloneParamBuffer(params));
      }
      for (const char* name : {"Mirror Scale Blur", "Flip Roll Left", "Blurry Cross Right Up", "Tile Zoom Blur"}) {
        GetFilterGroupParam(name, 200 * round, &group);
        EXPECT_GT(group->count, 0);
      }
    }
    ReleaseParamBuffer(params);
    ReleaseFilterGroupParam(group);
  });
}

}  // namespace

}  // namespace norix::test
