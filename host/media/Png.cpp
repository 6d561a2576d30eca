#include "media/Png.h"

#include <cstddef>

#include "Failure.h"

namespace norix::host {

void WritePng(const AVFrame& picture, const PartFile& file) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  if (!codec) Fail("this FFmpeg cannot write PNG pictures");
  const CodecPtr encoder(OrBadAlloc(avcodec_alloc_context3(codec)));
  encoder->width = picture.width;
  encoder->height = picture.height;
  encoder->pix_fmt = AV_PIX_FMT_RGB24;
  encoder->time_base = {1, 1};
  encoder->compression_level = 9;
  const PacketPtr packet = NewPacket();
  int code = avcodec_open2(encoder.get(), codec, nullptr);
  if (code >= 0) code = avcodec_send_frame(encoder.get(), &picture);
  if (code >= 0) code = avcodec_send_frame(encoder.get(), nullptr);
  if (code >= 0) code = avcodec_receive_packet(encoder.get(), packet.get());
  if (code < 0) Fail("cannot encode '{}': {}", file.partPath().string(), ErrorText(code));
  file.write({reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size)});
}

}  // namespace norix::host
