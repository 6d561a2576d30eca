#include "Footage.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

#include "media/Converter.h"
#include "media/Input.h"

namespace norix::bench {

namespace {

host::FramePtr FirstPicture() {
  host::Input input(NORIX_ASSETS "/meadow.mp4");
  while (std::optional<host::Reading> reading = input.read()) {
    if (reading->frame) return std::move(reading->frame);
  }
  return nullptr;
}

}  // namespace

host::FramePtr Footage(AVPixelFormat format, int width, int height) {
  static const host::FramePtr kPicture = FirstPicture();
  // Rows ask for the same pictures many times, and making one takes longer than most measurements.
  static std::map<std::tuple<AVPixelFormat, int, int>, host::FramePtr> pictures;
  host::FramePtr& picture = pictures[{format, width, height}];
  if (!picture) {
    host::Converter converter({});
    host::FramePtr copy(host::OrBadAlloc(av_frame_clone(kPicture.get())));
    picture = converter.fit(std::move(copy), {format, width, height}, {1, 1});
  }
  return host::FramePtr(host::OrBadAlloc(av_frame_clone(picture.get())));
}

std::size_t PictureBytes(const AVFrame& frame) {
  const int bytes = av_image_get_buffer_size(static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, 1);
  return static_cast<std::size_t>(bytes);
}

void CopyPlanes(AVFrame& dst, const AVFrame& src) {
  const auto format = static_cast<AVPixelFormat>(src.format);
  const AVPixFmtDescriptor* layout = av_pix_fmt_desc_get(format);
  for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
    const int rows = plane == 1 || plane == 2 ? AV_CEIL_RSHIFT(src.height, layout->log2_chroma_h) : src.height;
    const int bytes = av_image_get_linesize(format, src.width, plane);
    if (dst.linesize[plane] == bytes && src.linesize[plane] == bytes) {
      std::memcpy(dst.data[plane], src.data[plane], static_cast<std::size_t>(bytes) * static_cast<std::size_t>(rows));
    } else {
      av_image_copy_plane(dst.data[plane], dst.linesize[plane], src.data[plane], src.linesize[plane], bytes, rows);
    }
  }
}

}  // namespace norix::bench
