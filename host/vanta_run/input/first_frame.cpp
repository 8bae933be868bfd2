#include "input/first_frame.h"

#include <media-io/video-scaler.h>

#include <memory>
#include <opencv2/imgproc.hpp>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "common/failure.h"

namespace vanta_run {
namespace {

constexpr char kRemedy[] = "give a picture of it, as PNG";

struct AvDeleter {
  void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
  void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
  void operator()(AVPacket *packet) const { av_packet_free(&packet); }
  void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
template <typename T>
using AvPointer = std::unique_ptr<T, AvDeleter>;

[[noreturn]] void Refuse(const Input &input, const char *reason) {
  throw Failure(kExitInput, input.path, reason, kRemedy);
}

AvPointer<AVFormatContext> Open(const Input &input) {
  AVFormatContext *opened = nullptr;
  if (avformat_open_input(&opened, input.path.c_str(), nullptr, nullptr) < 0) Refuse(input, "cannot be read");
  AvPointer<AVFormatContext> file(opened);
  if (avformat_find_stream_info(opened, nullptr) < 0) Refuse(input, "cannot be read");
  return file;
}

AvPointer<AVFrame> Decode(const Input &input) {
  const AvPointer<AVFormatContext> file = Open(input);
  const AVCodec *codec = nullptr;
  const int index = av_find_best_stream(file.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &codec, 0);
  if (index < 0 || codec == nullptr) Refuse(input, "has no picture that can be decoded");
  const AvPointer<AVCodecContext> decoder(avcodec_alloc_context3(codec));
  if (avcodec_parameters_to_context(decoder.get(), file->streams[index]->codecpar) < 0 ||
      avcodec_open2(decoder.get(), codec, nullptr) < 0) {
    Refuse(input, "has no picture that can be decoded");
  }
  const AvPointer<AVPacket> packet(av_packet_alloc());
  AvPointer<AVFrame> frame(av_frame_alloc());
  for (bool more = true; more;) {
    more = av_read_frame(file.get(), packet.get()) >= 0;
    if (more && packet->stream_index == index) avcodec_send_packet(decoder.get(), packet.get());
    if (!more) avcodec_send_packet(decoder.get(), nullptr);  // the decoder gives what it still holds
    av_packet_unref(packet.get());
    if (avcodec_receive_frame(decoder.get(), frame.get()) == 0) return frame;
  }
  Refuse(input, "has no picture that can be decoded");
}

video_format FormatOf(const AVFrame &frame) {
  static constexpr std::pair<AVPixelFormat, video_format> kFormats[] = {
      {AV_PIX_FMT_YUV420P, VIDEO_FORMAT_I420},  {AV_PIX_FMT_YUVJ420P, VIDEO_FORMAT_I420},
      {AV_PIX_FMT_NV12, VIDEO_FORMAT_NV12},     {AV_PIX_FMT_YUV422P, VIDEO_FORMAT_I422},
      {AV_PIX_FMT_YUVJ422P, VIDEO_FORMAT_I422}, {AV_PIX_FMT_YUV444P, VIDEO_FORMAT_I444},
      {AV_PIX_FMT_YUVJ444P, VIDEO_FORMAT_I444}, {AV_PIX_FMT_YUYV422, VIDEO_FORMAT_YUY2},
      {AV_PIX_FMT_UYVY422, VIDEO_FORMAT_UYVY},  {AV_PIX_FMT_RGBA, VIDEO_FORMAT_RGBA},
      {AV_PIX_FMT_BGRA, VIDEO_FORMAT_BGRA},     {AV_PIX_FMT_BGR0, VIDEO_FORMAT_BGRX},
      {AV_PIX_FMT_BGR24, VIDEO_FORMAT_BGR3},    {AV_PIX_FMT_YUV420P10LE, VIDEO_FORMAT_I010},
      {AV_PIX_FMT_P010LE, VIDEO_FORMAT_P010},
  };
  for (const auto &[known, format] : kFormats) {
    if (known == frame.format) return format;
  }
  return VIDEO_FORMAT_NONE;
}

// As libobs's media source takes them: what is not told is BT.709, limited.
video_scale_info InfoOf(const AVFrame &frame) {
  const bool sd = frame.colorspace == AVCOL_SPC_SMPTE170M || frame.colorspace == AVCOL_SPC_BT470BG ||
                  frame.colorspace == AVCOL_SPC_FCC;
  const bool old_full =
      frame.format == AV_PIX_FMT_YUVJ420P || frame.format == AV_PIX_FMT_YUVJ422P || frame.format == AV_PIX_FMT_YUVJ444P;
  const video_format format = FormatOf(frame);
  const bool full = frame.color_range == AVCOL_RANGE_JPEG || old_full || !format_is_yuv(format);
  return {format, static_cast<uint32_t>(frame.width), static_cast<uint32_t>(frame.height),
          full ? VIDEO_RANGE_FULL : VIDEO_RANGE_PARTIAL, sd ? VIDEO_CS_601 : VIDEO_CS_709};
}

}  // namespace

cv::Mat FirstFrame(const Input &input) {
  if (input.kind == InputKind::kCamera) Refuse(input, "is a camera");
  cv::Mat bgra, picture;
  if (input.kind != InputKind::kMedia) {
    bgra = cv::Mat(static_cast<int>(input.size.height), static_cast<int>(input.size.width), CV_8UC4,
                   const_cast<uint8_t *>(input.pixels.data()));
    cv::cvtColor(bgra, picture, cv::COLOR_BGRA2BGR);
    return picture;
  }
  const AvPointer<AVFrame> frame = Decode(input);
  const video_scale_info from = InfoOf(*frame);
  const video_scale_info to{VIDEO_FORMAT_BGRA, from.width, from.height, VIDEO_RANGE_FULL, VIDEO_CS_SRGB};
  video_scaler_t *scaler = nullptr;
  if (from.format == VIDEO_FORMAT_NONE ||
      video_scaler_create(&scaler, &to, &from, VIDEO_SCALE_BICUBIC) != VIDEO_SCALER_SUCCESS) {
    Refuse(input, "its pixel format is not known here");
  }
  bgra.create(frame->height, frame->width, CV_8UC4);
  uint8_t *planes[MAX_AV_PLANES] = {bgra.data};
  const uint32_t pitches[MAX_AV_PLANES] = {static_cast<uint32_t>(bgra.step)};
  uint32_t source_pitches[MAX_AV_PLANES] = {};
  for (int i = 0; i < MAX_AV_PLANES; ++i) source_pitches[i] = static_cast<uint32_t>(frame->linesize[i]);
  video_scaler_scale(scaler, planes, pitches, frame->data, source_pitches);
  video_scaler_destroy(scaler);
  cv::cvtColor(bgra, picture, cv::COLOR_BGRA2BGR);
  return picture;
}

}  // namespace vanta_run
