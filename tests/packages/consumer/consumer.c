/* A host in C99 that was given nothing but the installed headers and library. */

#include <NorixEngine/NorixEngine.h>
#include <libavutil/frame.h>
#include <stdio.h>
#include <string.h>

enum { kWidth = 32, kHeight = 24, kLine = 4 * kWidth };

int main(void) {
  static uint8_t in[kHeight * kLine], out[kHeight * kLine];
  for (int i = 0; i < kHeight * kLine; i++) in[i] = i % kLine < kLine / 2 ? 255 : 0;
  AVFrame *src = av_frame_alloc(), *dst = av_frame_alloc();
  if (!src || !dst) return 1;
  src->width = dst->width = kWidth;
  src->height = dst->height = kHeight;
  src->format = dst->format = filter_check_format("Swirl", AV_PIX_FMT_BGRA);
  src->data[0] = in;
  dst->data[0] = out;
  src->linesize[0] = dst->linesize[0] = kLine;

  FilterParams* params = NULL;
  int size = 0;
  GetParamBuffer("Swirl", 5000, &params, &size);
  if (filter_video_frame(dst, src, "Swirl", params, 0, 0, kHeight) != 0) return 1;
  ReleaseParamBuffer(params);

  /* The corners lie outside the twist, and half a turn swaps the halves beside the middle. */
  const uint8_t* middle = out + kHeight / 2 * kLine;
  const int twisted = memcmp(in, out, kLine / 4) == 0 && middle[kLine / 2 - 8] == 0 && middle[kLine / 2 + 8] == 255;
  puts(twisted ? "twisted" : "not twisted");
  av_frame_free(&src);
  av_frame_free(&dst);
  return 0;
}
