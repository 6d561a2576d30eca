#include "host/EngineFrames.h"

#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <stdexcept>

#include "host/MediaTools.h"

namespace norix::test {

namespace {

struct FreeFrame {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

/** A frame whose planes lie in `bytes`. */
std::unique_ptr<AVFrame, FreeFrame> FrameOver(std::string& bytes, const Clip& clip) {
  std::unique_ptr<AVFrame, FreeFrame> frame(av_frame_alloc());
  const AVPixelFormat format = av_get_pix_fmt(clip.pixelFormat.c_str());
  frame->format = format;
  frame->width = clip.width;
  frame->height = clip.height;
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  av_image_fill_arrays(frame->data, frame->linesize, data, format, clip.width, clip.height, 1);
  return frame;
}

}  // namespace

std::size_t PictureBytes(const std::string& pixelFormat, int width, int height) {
  const int size = av_image_get_buffer_size(av_get_pix_fmt(pixelFormat.c_str()), width, height, 1);
  if (size <= 0) throw std::runtime_error("no such picture: " + pixelFormat);
  return static_cast<std::size_t>(size);
}

Clip ReadClip(const std::string& path, const std::string& pixelFormat) {
  const nlohmann::json video = StreamOf(Probe(path), "video");
  Clip clip = {pixelFormat, video.at("width").get<int>(), video.at("height").get<int>()};
  const std::size_t size = PictureBytes(pixelFormat, clip.width, clip.height);
  const std::string bytes = RawVideo(path, pixelFormat);
  if (bytes.size() % size != 0) throw std::runtime_error(path + ": a frame is not whole");
  for (std::size_t at = 0; at < bytes.size(); at += size) clip.frames.push_back(bytes.substr(at, size));
  return clip;
}

Clip Apply(const Clip& clip, const std::string& effect, const Levels& levels, const Change& change) {
  Clip result = clip;
  for (std::size_t i = 0; i < clip.frames.size(); ++i) {
    std::string source = clip.frames[i];
    FilterParams* params = nullptr;
    int size = 0;
    GetParamBuffer(effect.c_str(), levels(i), &params, &size);
    if (change) change(*params);
    const int answer = filter_video_frame(FrameOver(result.frames[i], clip).get(), FrameOver(source, clip).get(),
                                          effect.c_str(), params, 0, 0, clip.height);
    ReleaseParamBuffer(params);
    if (answer != 0) throw std::runtime_error("the engine does not render " + effect);
  }
  return result;
}

Clip Apply(const Clip& clip, const std::string& effect, int level, const Change& change) {
  return Apply(
      clip, effect, [level](std::size_t) { return level; }, change);
}

Change SettingsOf(const FilterGroupEntry& entry) {
  return [&entry](FilterParams& params) {
    const std::string name = entry.name;
    if (name == "Mirror Move X") {
      static_cast<MirrorMoveXParams&>(params).offset = static_cast<const MirrorMoveXParams&>(*entry.params).offset;
    } else if (name == "Mirror Move Y") {
      static_cast<MirrorMoveYParams&>(params).offset = static_cast<const MirrorMoveYParams&>(*entry.params).offset;
    } else if (name == "Motion Blur") {
      static_cast<MotionBlurParams&>(params).strength = static_cast<const MotionBlurParams&>(*entry.params).strength;
      static_cast<MotionBlurParams&>(params).angle = static_cast<const MotionBlurParams&>(*entry.params).angle;
    } else if (name == "Zoom Blur") {
      static_cast<ZoomBlurParams&>(params).strength = static_cast<const ZoomBlurParams&>(*entry.params).strength;
    } else if (name == "Tile Scale") {
      static_cast<TileScaleParams&>(params).scale = static_cast<const TileScaleParams&>(*entry.params).scale;
    } else if (name == "Swirl") {
      static_cast<SwirlParams&>(params).centerX = static_cast<const SwirlParams&>(*entry.params).centerX;
      static_cast<SwirlParams&>(params).centerY = static_cast<const SwirlParams&>(*entry.params).centerY;
      static_cast<SwirlParams&>(params).radius = static_cast<const SwirlParams&>(*entry.params).radius;
      static_cast<SwirlParams&>(params).angle = static_cast<const SwirlParams&>(*entry.params).angle;
    } else {
      FAIL() << "not expected in a group: " << name;
    }
  };
}

void ExpectSameFrames(const Clip& expected, const Clip& actual) {
  EXPECT_EQ(expected.width, actual.width);
  EXPECT_EQ(expected.height, actual.height);
  ASSERT_EQ(expected.frames.size(), actual.frames.size());
  for (std::size_t i = 0; i < expected.frames.size(); ++i) {
    const std::string& a = expected.frames[i];
    const std::string& b = actual.frames[i];
    ASSERT_EQ(a.size(), b.size());
    const auto at = std::mismatch(a.begin(), a.end(), b.begin());
    ASSERT_EQ(at.first, a.end()) << "frame " << i << " differs first at byte " << at.first - a.begin();
  }
}

int LargestDifference(const Clip& a, const Clip& b) {
  if (a.frames.size() != b.frames.size()) return 255;
  int largest = 0;
  for (std::size_t i = 0; i < a.frames.size(); ++i) {
    if (a.frames[i].size() != b.frames[i].size()) return 255;
    for (std::size_t k = 0; k < a.frames[i].size(); ++k) {
      const auto one = static_cast<unsigned char>(a.frames[i][k]);
      const auto other = static_cast<unsigned char>(b.frames[i][k]);
      largest = std::max(largest, std::abs(one - other));
    }
  }
  return largest;
}

std::string Noise(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() >> 24); });
  return bytes;
}

}  // namespace norix::test
