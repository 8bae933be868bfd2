#include "v210_encoder.h"

#include <cstdlib>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace vanta_bench {

namespace {

void Require(bool good) {
  if (!good) std::abort();
}

// Always the same memory: fresh pages would count against the encoder.
int GiveBuffer(AVCodecContext *encoder, AVPacket *packet, int) {
  const auto *packed = static_cast<AVBufferRef *>(encoder->opaque);
  Require(static_cast<size_t>(packet->size) <= static_cast<size_t>(packed->size));
  packet->buf = av_buffer_ref(packed);
  packet->data = packed->data;
  return 0;
}

}  // namespace

V210Encoder::V210Encoder(const uint8_t *i420, int width, int height)
    : size_((static_cast<size_t>(width) + 47) / 48 * 128 * static_cast<size_t>(height)),
      packed_(av_buffer_alloc(size_ + AV_INPUT_BUFFER_PADDING_SIZE)),
      encoder_(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_V210))),
      picture_(av_frame_alloc()),
      packet_(av_packet_alloc()) {
  Require(packed_ && encoder_ && picture_ && packet_);
  encoder_->width = picture_->width = width;
  encoder_->height = picture_->height = height;
  encoder_->pix_fmt = AV_PIX_FMT_YUV422P;
  picture_->format = AV_PIX_FMT_YUV422P;
  encoder_->time_base = {1, 30};
  encoder_->thread_count = 1;
  encoder_->opaque = packed_;
  encoder_->get_encode_buffer = GiveBuffer;
  Require(avcodec_open2(encoder_, nullptr, nullptr) == 0 && av_frame_get_buffer(picture_, 0) == 0);
  for (int plane = 0; plane < 3; ++plane) {
    const size_t row = static_cast<size_t>(plane ? width / 2 : width);
    for (int y = 0; y < height; ++y) {
      std::memcpy(picture_->data[plane] + y * picture_->linesize[plane],
                  i420 + static_cast<size_t>(plane ? y / 2 : y) * row, row);
    }
    i420 += row * static_cast<size_t>(plane ? height / 2 : height);
  }
}

V210Encoder::~V210Encoder() {
  av_packet_free(&packet_);
  av_frame_free(&picture_);
  avcodec_free_context(&encoder_);
  av_buffer_unref(&packed_);
}

const uint8_t *V210Encoder::Encode() {
  av_packet_unref(packet_);
  ++picture_->pts;
  Require(avcodec_send_frame(encoder_, picture_) == 0 && avcodec_receive_packet(encoder_, packet_) == 0);
  return packet_->data;
}

}  // namespace vanta_bench
