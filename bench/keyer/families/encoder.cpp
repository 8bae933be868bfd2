// The takes' pixels through libavcodec's MPEG-4 encoder and decoder.
extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "camera.h"

namespace keyer_bench {
namespace {

struct FreeContext {
  void operator()(AVCodecContext *c) const { avcodec_free_context(&c); }
};
struct FreeFrame {
  void operator()(AVFrame *f) const { av_frame_free(&f); }
};
struct FreePacket {
  void operator()(AVPacket *p) const { av_packet_free(&p); }
};
using Context = std::unique_ptr<AVCodecContext, FreeContext>;
using Frame = std::unique_ptr<AVFrame, FreeFrame>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;

uint8_t Byte(float value) {
  return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0f, 255.0f)));
}

void Fill(AVFrame &frame, const std::vector<uint8_t> &rgba, uint32_t width, uint32_t height) {
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const uint8_t *p = &rgba[(size_t{y} * width + x) * 4];
      frame.data[0][y * static_cast<uint32_t>(frame.linesize[0]) + x] =
          Byte(16 + (0.2126f * p[0] + 0.7152f * p[1] + 0.0722f * p[2]) * 219 / 255);
    }
  }
  for (uint32_t y = 0; y < height / 2; ++y) {
    for (uint32_t x = 0; x < width / 2; ++x) {
      float sum[3] = {0, 0, 0};
      for (uint32_t k = 0; k < 4; ++k)
        for (size_t c = 0; c < 3; ++c) sum[c] += rgba[((2 * size_t{y} + k / 2) * width + 2 * x + k % 2) * 4 + c] / 4.0f;
      const float luma = 0.2126f * sum[0] + 0.7152f * sum[1] + 0.0722f * sum[2];
      frame.data[1][y * static_cast<uint32_t>(frame.linesize[1]) + x] =
          Byte(128 + (sum[2] - luma) / 1.8556f * 224 / 255);
      frame.data[2][y * static_cast<uint32_t>(frame.linesize[2]) + x] =
          Byte(128 + (sum[0] - luma) / 1.5748f * 224 / 255);
    }
  }
}

void Read(const AVFrame &frame, std::vector<uint8_t> &rgba, uint32_t width, uint32_t height) {
  const auto chroma = [&](int plane, float x, float y) {
    const auto cw = static_cast<float>(width / 2 - 1), ch = static_cast<float>(height / 2 - 1);
    x = std::clamp(x / 2 - 0.25f, 0.0f, cw);
    y = std::clamp(y / 2 - 0.25f, 0.0f, ch);
    const auto x0 = static_cast<int>(x), y0 = static_cast<int>(y);
    const int x1 = std::min(x0 + 1, static_cast<int>(cw)), y1 = std::min(y0 + 1, static_cast<int>(ch));
    const float tx = x - static_cast<float>(x0), ty = y - static_cast<float>(y0);
    const uint8_t *p = frame.data[plane];
    const int pitch = frame.linesize[plane];
    const float top = p[y0 * pitch + x0] * (1 - tx) + p[y0 * pitch + x1] * tx;
    return top * (1 - ty) + (p[y1 * pitch + x0] * (1 - tx) + p[y1 * pitch + x1] * tx) * ty;
  };
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const float luma = (frame.data[0][y * static_cast<uint32_t>(frame.linesize[0]) + x] - 16.0f) / 219;
      const float u = (chroma(1, static_cast<float>(x), static_cast<float>(y)) - 128) / 224;
      const float v = (chroma(2, static_cast<float>(x), static_cast<float>(y)) - 128) / 224;
      const float r = luma + 1.5748f * v, b = luma + 1.8556f * u;
      uint8_t *p = &rgba[(size_t{y} * width + x) * 4];
      p[0] = Byte(255 * r);
      p[1] = Byte(255 * (luma - 0.2126f * r - 0.0722f * b) / 0.7152f);
      p[2] = Byte(255 * b);
    }
  }
}

Context OpenEncoder(const FamilyTake &take, int bit_rate) {
  const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
  Context encoder(codec ? avcodec_alloc_context3(codec) : nullptr);
  if (!encoder) throw std::runtime_error("libavcodec has no MPEG-4 encoder");
  encoder->width = static_cast<int>(take.width);
  encoder->height = static_cast<int>(take.height);
  encoder->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder->time_base = {1, 30};
  encoder->bit_rate = bit_rate;
  encoder->gop_size = 60;
  encoder->max_b_frames = 0;
  encoder->thread_count = 1;
  encoder->flags |= AV_CODEC_FLAG_BITEXACT;
  if (avcodec_open2(encoder.get(), codec, nullptr) < 0) throw std::runtime_error("the encoder does not open");
  return encoder;
}

Context OpenDecoder() {
  const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_MPEG4);
  Context decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
  if (!decoder) throw std::runtime_error("libavcodec has no MPEG-4 decoder");
  decoder->thread_count = 1;
  decoder->flags |= AV_CODEC_FLAG_LOW_DELAY | AV_CODEC_FLAG_BITEXACT;
  if (avcodec_open2(decoder.get(), codec, nullptr) < 0) throw std::runtime_error("the decoder does not open");
  return decoder;
}

}  // namespace

void ThroughEncoder(FamilyTake &take, int bit_rate) {
  const Context encoder = OpenEncoder(take, bit_rate), decoder = OpenDecoder();
  const Frame in(av_frame_alloc()), out(av_frame_alloc());
  const Packet packet(av_packet_alloc());
  in->format = AV_PIX_FMT_YUV420P;
  in->width = encoder->width;
  in->height = encoder->height;
  if (av_frame_get_buffer(in.get(), 0) < 0) throw std::runtime_error("no frame for the encoder");
  size_t read = 0;
  const auto decode = [&](AVPacket *p) {
    avcodec_send_packet(decoder.get(), p);
    while (read < take.frames.size() && avcodec_receive_frame(decoder.get(), out.get()) == 0)
      Read(*out, take.frames[read++].rgba, take.width, take.height);
  };
  for (size_t i = 0; i <= take.frames.size(); ++i) {
    const bool last = i == take.frames.size();
    if (!last) {
      av_frame_make_writable(in.get());
      Fill(*in, take.frames[i].rgba, take.width, take.height);
      in->pts = static_cast<int64_t>(i);
    }
    avcodec_send_frame(encoder.get(), last ? nullptr : in.get());
    while (avcodec_receive_packet(encoder.get(), packet.get()) == 0) {
      decode(packet.get());
      av_packet_unref(packet.get());
    }
  }
  decode(nullptr);
  if (read != take.frames.size()) throw std::runtime_error("the decoder lost frames");
}

}  // namespace keyer_bench
