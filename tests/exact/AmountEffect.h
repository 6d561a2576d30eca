#ifndef NORIX_TESTS_EXACT_AMOUNTEFFECT_H
#define NORIX_TESTS_EXACT_AMOUNTEFFECT_H

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Targets.h"

namespace norix::test {

/** A frame without padding, each of whose planes ends where memory ends. */
class FrameAtPageEnd {
public:
  FrameAtPageEnd(int format, int width, int height) {
    frame_.format = format;
    frame_.width = width;
    frame_.height = height;
    for (int plane = 0; plane < FormatOf(format).planes; ++plane) {
      const bool chroma = plane == 1 || plane == 2;
      const int line = plane == 0 ? width * FormatOf(format).bytesPerPixel : chroma ? (width + 1) / 2 : width;
      const auto index = static_cast<std::size_t>(plane);
      Map& map = maps_[index];
      map.used = static_cast<std::size_t>(line) * static_cast<std::size_t>(chroma ? (height + 1) / 2 : height);
      const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
      const std::size_t readable = (map.used + page - 1) / page * page;
      map.all = readable + page;
      void* const memory = mmap(nullptr, map.all, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      if (memory == MAP_FAILED) throw std::runtime_error("mmap");
      map.memory = static_cast<std::uint8_t*>(memory);
      if (mprotect(map.memory + readable, page, PROT_NONE) != 0) throw std::runtime_error("mprotect");
      frame_.data[index] = map.memory + readable - map.used;
      frame_.linesize[index] = line;
    }
  }
  FrameAtPageEnd(const FrameAtPageEnd&) = delete;
  FrameAtPageEnd& operator=(const FrameAtPageEnd&) = delete;
  ~FrameAtPageEnd() {
    for (const Map& map : maps_)
      if (map.memory != nullptr) munmap(map.memory, map.all);
  }

  AVFrame* Frame() { return &frame_; }

  template <typename Value>
  void Fill(const Value& value) {
    for (std::size_t plane = 0; plane < maps_.size(); ++plane)
      for (std::size_t i = 0; i < maps_[plane].used; ++i) frame_.data[plane][i] = static_cast<std::uint8_t>(value());
  }

  bool SameBytes(const FrameAtPageEnd& other) const {
    for (std::size_t plane = 0; plane < maps_.size(); ++plane)
      if (maps_[plane].used != 0 && std::memcmp(frame_.data[plane], other.frame_.data[plane], maps_[plane].used) != 0)
        return false;
    return true;
  }

private:
  struct Map {
    std::uint8_t* memory = nullptr;
    std::size_t all = 0;
    std::size_t used = 0;
  };

  AVFrame frame_{};
  std::array<Map, 4> maps_;
};

/** An effect with one field, "amount", against its reference, on pictures that a test has painted. */
class AmountEffect {
public:
  explicit AmountEffect(const char* name) : effect_(*reference::FindEffect(name)), params_(name, 5000) {
    filter_check_format(name, kBgra);
  }

  void SetAmount(double amount) { params_.SetField(0, amount); }
  void SetLevel(int level) { params_ = ParamObject(effect_.name, level); }

  testing::AssertionResult Agrees(Picture& source, const PictureShape& shape, int firstRow, int rowCount) const {
    const Picture before(shape, 77);
    Picture expected = before;
    effect_.render(*expected.Frame(), *source.Frame(), params_.Get(), firstRow, rowCount);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      Picture actual = before;
      filter_video_frame(actual.Frame(), source.Frame(), effect_.name, params_.Get(), 0, firstRow, rowCount);
      if (const auto same = norix::test::SameBytes(expected, actual); !same) return Failure(target) << same.message();
    }
    return testing::AssertionSuccess();
  }

  testing::AssertionResult Agrees(Picture& source) const {
    return Agrees(source, source.Shape(), 0, source.Shape().height);
  }

  /** Whatever reads or writes beyond a plane dies here. */
  testing::AssertionResult AgreesAtPageEnd(FrameAtPageEnd& source) const {
    const AVFrame& frame = *source.Frame();
    FrameAtPageEnd expected(frame.format, frame.width, frame.height);
    expected.Fill([] { return 9; });
    effect_.render(*expected.Frame(), *source.Frame(), params_.Get(), 0, frame.height);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      FrameAtPageEnd actual(frame.format, frame.width, frame.height);
      actual.Fill([] { return 9; });
      filter_video_frame(actual.Frame(), source.Frame(), effect_.name, params_.Get(), 0, 0, frame.height);
      if (!expected.SameBytes(actual))
        return Failure(target) << frame.width << 'x' << frame.height << " at the end of memory";
    }
    return testing::AssertionSuccess();
  }

private:
  testing::AssertionResult Failure(std::int64_t target) const {
    return testing::AssertionFailure() << effect_.name << ", amount " << testing::PrintToString(params_.Field(0))
                                       << ", with " << TargetName(target) << "\n  ";
  }

  reference::Effect effect_;
  ParamObject params_;
};

}  // namespace norix::test

#endif
