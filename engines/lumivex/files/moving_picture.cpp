#include "files/moving_picture.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>

#include "files/animated_webp.h"
#include "files/moving_pictures_taken.h"
#include "files/mp4_samples.h"
#include "vanta_base/av_pointer.h"

namespace lumivex {
namespace {

constexpr int kReadBytes = 1 << 15;
constexpr AVRational kMilliseconds = {1, 1000};
// Of a file, those of its sound too. libavformat takes some 50 bytes for each.
constexpr uint64_t kMostSamples = uint64_t{1} << 22;
constexpr int64_t kUntoldDuration = 40;  // milliseconds
// Some of the scaler's loops write by blocks of so many pixels.
constexpr int kPaddingPixels = 32;

using vanta::AvPointer;

// A file in memory, as libavformat reads one. No other file is opened, whatever this one names.
struct MemoryFile {
  std::span<const uint8_t> bytes;
  int64_t at = 0;

  static int Read(void *self, uint8_t *to, int most) {
    auto &file = *static_cast<MemoryFile *>(self);
    const int64_t count = std::min<int64_t>(most, static_cast<int64_t>(file.bytes.size()) - file.at);
    if (count <= 0) return AVERROR_EOF;
    std::memcpy(to, file.bytes.data() + file.at, static_cast<size_t>(count));
    file.at += count;
    return static_cast<int>(count);
  }

  static int64_t Seek(void *self, int64_t offset, int whence) {
    auto &file = *static_cast<MemoryFile *>(self);
    const auto size = static_cast<int64_t>(file.bytes.size());
    if (whence & AVSEEK_SIZE) return size;
    const int from = whence & ~AVSEEK_FORCE;
    const int64_t base = from == SEEK_CUR ? file.at : from == SEEK_END ? size : 0;
    if (offset < -base || offset > size - base) return AVERROR(EINVAL);
    return file.at = base + offset;
  }
};

const char *FormatName(MovingKind kind) {
  switch (kind) {
    case MovingKind::kPng:
      return "apng";
    case MovingKind::kGif:
      return "gif";
    case MovingKind::kMp4:
      return "mp4";
    default:
      return "matroska";
  }
}

// FFmpeg's own decoders of VP8 and VP9 leave the alpha out.
const AVCodec *DecoderOf(const AVStream &stream) {
  const AVCodecID id = stream.codecpar->codec_id;
  const AVDictionaryEntry *alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
  if (alpha && std::string_view(alpha->value) == "1") {
    const AVCodec *with_alpha = nullptr;
    if (id == AV_CODEC_ID_VP8) with_alpha = avcodec_find_decoder_by_name("libvpx");
    if (id == AV_CODEC_ID_VP9) with_alpha = avcodec_find_decoder_by_name("libvpx-vp9");
    if (with_alpha) return with_alpha;
  }
  return avcodec_find_decoder(id);
}

// Turns decoded pictures into pixels. What is not told is BT.709, limited.
// Owns: the scaler. Threads: one.
class Converter {
 public:
  // `full`: the range, also where a picture tells none.
  explicit Converter(bool full) : full_(full) {}

  // Empty where the format cannot be read.
  cv::Mat ToBgra(const AVFrame &frame) {
    bool full = full_ || frame.color_range == AVCOL_RANGE_JPEG;
    const AVPixelFormat format = Plain(static_cast<AVPixelFormat>(frame.format), full);
    scaler_.reset(sws_getCachedContext(scaler_.release(), frame.width, frame.height, format, frame.width, frame.height,
                                       AV_PIX_FMT_BGRA, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                                       nullptr, nullptr));
    if (!scaler_) return {};
    const bool told = frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RGB;
    sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(told ? frame.colorspace : SWS_CS_ITU709), full,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    pixels_.create(frame.height, frame.width + kPaddingPixels, CV_8UC4);
    const std::array<uint8_t *, 1> planes = {pixels_.data};
    const std::array<int, 1> strides = {static_cast<int>(pixels_.step)};
    sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes.data(), strides.data());
    return pixels_.colRange(0, frame.width);
  }

 private:
  // Formats that mean full range by their name alone are marked as obsolete.
  static AVPixelFormat Plain(AVPixelFormat format, bool &full) {
    switch (format) {
      case AV_PIX_FMT_YUVJ420P:
        full = true;
        return AV_PIX_FMT_YUV420P;
      case AV_PIX_FMT_YUVJ422P:
        full = true;
        return AV_PIX_FMT_YUV422P;
      case AV_PIX_FMT_YUVJ444P:
        full = true;
        return AV_PIX_FMT_YUV444P;
      default:
        return format;
    }
  }

  const bool full_;
  AvPointer<SwsContext> scaler_;
  cv::Mat pixels_;
};

// Owns: decoder and converter. Borrows: the stream, and where pictures go. Threads: one.
class StreamReader {
 public:
  StreamReader(const AVStream &stream, const MovingLimits &limits, MovingPicturesTaken &taken)
      : stream_(stream),
        taken_(taken),
        frame_(av_frame_alloc()),
        converter_(stream.codecpar->codec_id == AV_CODEC_ID_APNG) {
    const AVCodec *codec = DecoderOf(stream);
    AvPointer<AVCodecContext> decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0) return;
    decoder->pkt_timebase = stream.time_base;
    decoder->thread_count = 1;
    decoder->max_pixels = limits.side * limits.side;
    if (avcodec_open2(decoder.get(), codec, nullptr) == 0) decoder_ = std::move(decoder);
  }

  bool Good() const { return decoder_ && frame_; }

  // Null for the end: the decoder gives what it still holds. False where there is no use in going on.
  bool Decode(const AVPacket *packet) {
    if (avcodec_send_packet(decoder_.get(), packet) < 0) return Broken();
    for (;;) {
      const int result = avcodec_receive_frame(decoder_.get(), frame_.get());
      if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return true;
      if (result < 0) return Broken();
      if (!TakeFrame()) return false;
    }
  }

  void Finish() { taken_.EndAt(End()); }

 private:
  bool Broken() {
    taken_.Fail("it is broken", "save it again");
    return false;
  }

  // Times from a file may be any numbers.
  int64_t End() const { return av_sat_add64(start_, duration_); }
  int64_t InMilliseconds(int64_t time) const { return av_rescale_q(time, stream_.time_base, kMilliseconds); }

  bool TakeFrame() {
    const AVFrame &frame = *frame_;
    if (!taken_.HasRoom(frame.width, frame.height)) return false;
    const int64_t told = frame.best_effort_timestamp;
    const bool first = first_ == AV_NOPTS_VALUE;
    if (first) first_ = told == AV_NOPTS_VALUE ? 0 : told;
    const int64_t next = told == AV_NOPTS_VALUE ? End() : InMilliseconds(av_sat_sub64(told, first_));
    if (!first) taken_.EndAt(next);
    start_ = first ? 0 : next;
    duration_ = frame.pkt_duration > 0 ? InMilliseconds(frame.pkt_duration) : kUntoldDuration;
    const cv::Mat picture = converter_.ToBgra(frame);
    if (picture.empty()) return Broken();
    taken_.Take(picture);
    return true;
  }

  const AVStream &stream_;
  MovingPicturesTaken &taken_;
  AvPointer<AVCodecContext> decoder_;
  AvPointer<AVFrame> frame_;
  Converter converter_;
  int64_t first_ = AV_NOPTS_VALUE;  // in the stream's units
  int64_t start_ = 0;               // of the last picture, milliseconds
  int64_t duration_ = 0;            // likewise
};

AvPointer<AVFormatContext> Open(MovingKind kind, AVIOContext *input) {
  AVFormatContext *file = avformat_alloc_context();
  if (!file) return nullptr;
  file->pb = input;
  // Frees the context itself where it fails.
  if (avformat_open_input(&file, nullptr, av_find_input_format(FormatName(kind)), nullptr) < 0) return nullptr;
  return AvPointer<AVFormatContext>(file);
}

void ReadWithFfmpeg(MovingKind kind, std::span<const uint8_t> bytes, const MovingLimits &limits,
                    const std::atomic<bool> &cancelled, MovingPicturesTaken &taken) {
  if (kind == MovingKind::kMp4 && SamplesToldByMp4(bytes) > kMostSamples)
    return taken.Fail("it tells of more than 4 million samples", "save it again, without its sound");
  MemoryFile memory{bytes};
  auto *buffer = static_cast<uint8_t *>(av_malloc(kReadBytes));
  const AvPointer<AVIOContext> input(
      avio_alloc_context(buffer, kReadBytes, 0, &memory, &MemoryFile::Read, nullptr, &MemoryFile::Seek));
  if (!input) return av_free(buffer);
  const AvPointer<AVFormatContext> file = Open(kind, input.get());
  if (!file) return taken.Fail("it is broken", "save it again");
  const int index = av_find_best_stream(file.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) return taken.Fail("it has no picture", "give a file with one");
  const AVStream &stream = *file->streams[index];
  if (!taken.HasRoom(stream.codecpar->width, stream.codecpar->height)) return;
  StreamReader reader(stream, limits, taken);
  const AvPointer<AVPacket> packet(av_packet_alloc());
  if (!reader.Good() || !packet) return taken.Fail("its codec is not known here", "save it as VP9 or H.264");
  while (!cancelled.load(std::memory_order_relaxed)) {
    const bool more = av_read_frame(file.get(), packet.get()) >= 0;
    const bool ours = more && packet->stream_index == index;
    const bool good = more ? !ours || reader.Decode(packet.get()) : reader.Decode(nullptr);
    av_packet_unref(packet.get());
    if (!good) return;
    if (!more) break;
  }
  reader.Finish();
}

}  // namespace

bool PlaysMovingPictures() {
  return true;
}

MovingFile ReadMoving(MovingKind kind, std::span<const uint8_t> file, const MovingLimits &limits,
                      const std::atomic<bool> &cancelled, const TakePicture &take) {
  MovingPicturesTaken taken(limits, take);
  if (kind == MovingKind::kWebp)
    ReadAnimatedWebp(file, cancelled, taken);
  else
    ReadWithFfmpeg(kind, file, limits, cancelled, taken);
  return taken.Result();
}

}  // namespace lumivex
