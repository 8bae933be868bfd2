#include "input/first_frame.h"

#include <memory>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "common/failure.h"
#include "vanta_base/av_pointer.h"

namespace vanta_run {
namespace {

constexpr char kRemedy[] = "give a picture of it, as PNG";

using vanta::AvPointer;

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

// With the colours that the filters see.
cv::Mat Bgr(const Input &input, const AVFrame &frame) {
  // Formats that mean full range by their name alone are marked as obsolete.
  static constexpr std::pair<AVPixelFormat, AVPixelFormat> kFull[] = {{AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
                                                                      {AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV422P},
                                                                      {AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUV444P}};
  auto format = static_cast<AVPixelFormat>(frame.format);
  bool full = frame.color_range == AVCOL_RANGE_JPEG;
  for (const auto &[obsolete, plain] : kFull) {
    full = full || frame.format == obsolete;
    if (frame.format == obsolete) format = plain;
  }
  const bool bt601 = frame.colorspace == AVCOL_SPC_SMPTE170M || frame.colorspace == AVCOL_SPC_BT470BG ||
                     frame.colorspace == AVCOL_SPC_FCC || frame.colorspace == AVCOL_SPC_SMPTE240M ||
                     input.changes.bt601;
  const int *matrix = sws_getCoefficients(bt601 ? SWS_CS_ITU601 : SWS_CS_ITU709);
  const AvPointer<SwsContext> scaler(sws_getContext(frame.width, frame.height, format, frame.width, frame.height,
                                                    AV_PIX_FMT_BGR24, SWS_BICUBIC, nullptr, nullptr, nullptr));
  if (!scaler) Refuse(input, "its pixel format is not known here");
  sws_setColorspaceDetails(scaler.get(), matrix, full, matrix, 1, 0, 1 << 16, 1 << 16);
  constexpr int kPadding = 32;  // pixels: some of the scaler's loops write by blocks of so many
  cv::Mat padded(frame.height, frame.width + kPadding, CV_8UC3);
  uint8_t *const planes[] = {padded.data};
  const int strides[] = {static_cast<int>(padded.step)};
  sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
  return padded.colRange(0, frame.width).clone();
}

}  // namespace

cv::Mat FirstFrame(const Input &input) {
  if (input.kind == InputKind::kCamera) Refuse(input, "is a camera");
  if (input.kind == InputKind::kMedia) return Bgr(input, *Decode(input));
  const cv::Mat bgra(static_cast<int>(input.size.height), static_cast<int>(input.size.width), CV_8UC4,
                     const_cast<uint8_t *>(input.pixels.data()));
  cv::Mat picture;
  cv::cvtColor(bgra, picture, cv::COLOR_BGRA2BGR);
  return picture;
}

}  // namespace vanta_run
