// A host in C++ that sets fields: half a turn from the field must be half a turn from the level.

#include <NorixEngine/FEParams.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace {

constexpr int kWidth = 32;
constexpr int kHeight = 24;
constexpr int kLine = 4 * kWidth;

std::vector<std::uint8_t> Render(std::vector<std::uint8_t>& picture, FilterParams* params) {
  std::vector<std::uint8_t> out(picture.size());
  AVFrame* src = av_frame_alloc();
  AVFrame* dst = av_frame_alloc();
  src->width = dst->width = kWidth;
  src->height = dst->height = kHeight;
  src->format = dst->format = filter_check_format("Swirl", AV_PIX_FMT_BGRA);
  src->data[0] = picture.data();
  dst->data[0] = out.data();
  src->linesize[0] = dst->linesize[0] = kLine;
  filter_video_frame(dst, src, "Swirl", params, 0, 0, kHeight);
  av_frame_free(&src);
  av_frame_free(&dst);
  return out;
}

}  // namespace

int main() {
  std::vector<std::uint8_t> picture(std::size_t{kHeight} * kLine);
  for (std::size_t i = 0; i < picture.size(); ++i) picture[i] = i % kLine < kLine / 2 ? 255 : 0;

  auto* fields = new SwirlParams;
  fields->angle = 180;
  FilterParams* level = nullptr;
  int size = 0;
  GetParamBuffer("Swirl", 5000, &level, &size);
  const std::vector<std::uint8_t> turned = Render(picture, fields);
  const bool same = turned == Render(picture, level);
  fields->angle = 90;
  const bool other = turned != Render(picture, fields);
  std::puts(same && other && turned != picture ? "twisted" : "not twisted");
  fields->Release();
  ReleaseParamBuffer(level);
}
