#include "media/PicturePool.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include "Failure.h"

namespace norix::host {

namespace {

// What libav's own vector code wants of lines, and may read beyond the last one.
constexpr int kAlignment = 64;

}  // namespace

FramePtr PicturePool::picture(AVPixelFormat format, int width, int height) {
  const int bytes = av_image_get_buffer_size(format, width, height, kAlignment);
  if (bytes < 0) Fail("cannot make a picture of {}x{} {}: {}", width, height, FormatName(format), ErrorText(bytes));
  const std::size_t size = static_cast<std::size_t>(bytes) + kAlignment;
  FramePtr frame = NewFrame();
  frame->format = format;
  frame->width = width;
  frame->height = height;
#ifdef __SANITIZE_THREAD__
  // ThreadSanitizer cannot see how libavutil synchronises those who give memory back and those who get it.
  frame->buf[0] = OrBadAlloc(av_buffer_alloc(size));
#else
  // A clip may change its size with every picture; pictures outlive their pool.
  constexpr std::size_t kMostPools = 16;
  if (pools_.size() >= kMostPools && !pools_.contains({format, width, height})) pools_.clear();
  auto& pool = pools_[{format, width, height}];
  if (!pool) pool.reset(OrBadAlloc(av_buffer_pool_init(size, nullptr)));
  frame->buf[0] = OrBadAlloc(av_buffer_pool_get(pool.get()));
#endif
  av_image_fill_arrays(frame->data, frame->linesize, frame->buf[0]->data, format, width, height, kAlignment);
  return frame;
}

}  // namespace norix::host
