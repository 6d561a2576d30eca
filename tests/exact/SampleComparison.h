#ifndef NORIX_TESTS_EXACT_SAMPLECOMPARISON_H
#define NORIX_TESTS_EXACT_SAMPLECOMPARISON_H

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"
#include "support/Targets.h"

namespace norix::test {

/** A picture whose planes end (or begin) right at pages that nobody may touch. */
class CornerPicture {
public:
  CornerPicture(const Picture& model, bool atEnd) : frame_(*model.Frame()) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    for (int plane = 0; plane < model.PlaneCount(); ++plane) {
      const auto index = static_cast<std::size_t>(plane);
      const auto rowBytes = static_cast<std::size_t>(model.RowBytes(plane));
      const auto rows = static_cast<std::size_t>(model.Rows(plane));
      const std::size_t bytes = rowBytes * rows;
      const std::size_t inside = (bytes + page - 1) / page * page;
      lengths_[index] = inside + 2 * page;
      void* const mapped = mmap(nullptr, lengths_[index], PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      maps_[index] = static_cast<std::uint8_t*>(mapped);
      mprotect(maps_[index], page, PROT_NONE);
      mprotect(maps_[index] + page + inside, page, PROT_NONE);
      std::uint8_t* const begin = maps_[index] + page + (atEnd ? inside - bytes : 0);
      const bool bottomUp = model.Shape().bottomUp[index];
      const auto line = static_cast<std::ptrdiff_t>(rowBytes);
      frame_.data[plane] = bottomUp ? begin + (bytes - rowBytes) : begin;
      frame_.linesize[plane] = static_cast<int>(bottomUp ? -line : line);
      for (int row = 0; row < model.Rows(plane); ++row) {
        const std::uint8_t* const from = model.Frame()->data[plane] + std::ptrdiff_t{row} * model.Frame()->linesize[plane];
        std::memcpy(frame_.data[plane] + std::ptrdiff_t{row} * frame_.linesize[plane], from, rowBytes);
      }
    }
  }
  CornerPicture(const CornerPicture&) = delete;
  CornerPicture& operator=(const CornerPicture&) = delete;
  ~CornerPicture() {
    for (std::size_t plane = 0; plane < maps_.size(); ++plane)
      if (maps_[plane] != nullptr) munmap(maps_[plane], lengths_[plane]);
  }

  AVFrame* Frame() { return &frame_; }

  bool SamePixels(const Picture& other) const {
    for (int plane = 0; plane < other.PlaneCount(); ++plane)
      for (int row = 0; row < other.Rows(plane); ++row) {
        const std::uint8_t* const a = frame_.data[plane] + std::ptrdiff_t{row} * frame_.linesize[plane];
        const std::uint8_t* const b = other.Frame()->data[plane] + std::ptrdiff_t{row} * other.Frame()->linesize[plane];
        if (std::memcmp(a, b, static_cast<std::size_t>(other.RowBytes(plane))) != 0) return false;
      }
    return true;
  }

private:
  AVFrame frame_;
  std::array<std::uint8_t*, 4> maps_{};
  std::array<std::size_t, 4> lengths_{};
};

/** An effect that fetches pixels, against its reference on every instruction set. */
class SampleComparison {
public:
  SampleComparison(const char* name, std::vector<double> fields)
      : effect_(*reference::FindEffect(name)), params_(name, 5000), fields_(std::move(fields)) {
    filter_check_format(name, kBgra);
    for (std::size_t i = 0; i < fields_.size(); ++i) params_.SetField(i, fields_[i]);
  }

  testing::AssertionResult Agrees(const PictureShape& dst, const PictureShape& src, int firstRow, int rowCount,
                                  std::uint64_t seed) const {
    Picture source(src, seed);
    const Picture before(dst, ~seed);
    Picture expected = before;
    const ParamObject expectedParams = params_.Clone();
    effect_.render(*expected.Frame(), *source.Frame(), expectedParams.Get(), firstRow, rowCount);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      Picture actual = before;
      Render(actual.Frame(), source.Frame(), firstRow, rowCount);
      if (const auto same = SameBytes(expected, actual); !same)
        return testing::AssertionFailure()
               << Describe(src, firstRow, rowCount) << ", with " << TargetName(target) << "\n  " << same.message();
    }
    return testing::AssertionSuccess();
  }

  /** With unreadable pages before or behind the pixels of every plane of both pictures. */
  testing::AssertionResult AgreesInCorners(const PictureShape& shape, bool atEnd, std::uint64_t seed) const {
    Picture source(shape, seed);
    Picture expected(shape, ~seed);
    CornerPicture cornerSource(source, atEnd);
    const Picture before = expected;
    const ParamObject expectedParams = params_.Clone();
    effect_.render(*expected.Frame(), *source.Frame(), expectedParams.Get(), 0, shape.height);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      CornerPicture actual(before, atEnd);
      Render(actual.Frame(), cornerSource.Frame(), 0, shape.height);
      if (!actual.SamePixels(expected))
        return testing::AssertionFailure()
               << Describe(shape, 0, shape.height) << " in a corner, with " << TargetName(target);
    }
    return testing::AssertionSuccess();
  }

private:
  void Render(AVFrame* dst, AVFrame* src, int firstRow, int rowCount) const {
    const ParamObject params = params_.Clone();
    // Ripple's other bands wait for the one at row 0.
    if (firstRow != 0) filter_video_frame(dst, src, effect_.name, params.Get(), 0, 0, 0);
    filter_video_frame(dst, src, effect_.name, params.Get(), 0, firstRow, rowCount);
  }

  std::string Describe(const PictureShape& shape, int firstRow, int rowCount) const {
    std::ostringstream text;
    text << std::setprecision(17) << effect_.name << ' ' << FormatOf(shape.format).name << ' ' << shape.width << 'x'
         << shape.height << " rows " << firstRow << " + " << rowCount << ", fields";
    for (const double field : fields_) text << ' ' << field;
    text << ", padding";
    for (std::size_t plane = 0; plane < 4; ++plane)
      text << ' ' << shape.padding[plane] << (shape.bottomUp[plane] ? "up" : "");
    return text.str();
  }

  const reference::Effect& effect_;
  ParamObject params_;
  std::vector<double> fields_;
};

inline PictureShape SampleShape(int format, int width, int height, Random& random) {
  PictureShape shape{format, width, height, {}, {}};
  const bool sameChroma = random.OneIn(2);
  for (std::size_t plane = 0; plane < 4; ++plane) {
    shape.padding[plane] = random.OneIn(3) ? 0 : random.Between(0, 20);
    shape.bottomUp[plane] = random.OneIn(4);
  }
  if (sameChroma) {
    shape.padding[2] = shape.padding[1];
    shape.bottomUp[2] = shape.bottomUp[1];
  }
  return shape;
}

inline const std::vector<int>& SampledFormats() {
  static const std::vector<int> kFormats = {kBgra, kRgb24, kYuv420p, kYuva420p};
  return kFormats;
}

}  // namespace norix::test

#endif
