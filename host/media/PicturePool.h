#pragma once

#include <map>
#include <memory>
#include <tuple>

#include "media/Av.h"

namespace norix::host {

/// Makes pictures whose memory is used again once they are gone: fresh memory costs as much time as a fast effect. For one
/// thread at a time; the pictures may go to other threads and outlive the pool. A copy begins empty.
class PicturePool {
public:
  PicturePool() = default;
  PicturePool(const PicturePool& /*other*/) {}
  PicturePool& operator=(const PicturePool&) = delete;
  ~PicturePool() = default;

  /// A writable frame with one buffer for all planes, which holds anything.
  FramePtr picture(AVPixelFormat format, int width, int height);

private:
  struct Free {
    void operator()(AVBufferPool* pool) const { av_buffer_pool_uninit(&pool); }
  };

  std::map<std::tuple<AVPixelFormat, int, int>, std::unique_ptr<AVBufferPool, Free>> pools_;
};

}  // namespace norix::host
