#include "input/input.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include "common/failure.h"
#include "common/option_values.h"
#include "common/quiet_errors.h"
#include "common/video_device.h"
#include "input/media_guard.h"
#include "vanta_base/av_pointer.h"

namespace vanta_run {
namespace {

constexpr PictureSize kLargestPicture{1920, 1080};
constexpr PictureSize kColorSize{1280, 720};
constexpr PictureSize kLargestCanvas{3840, 2160};
constexpr double kFastestDefault = 60;
constexpr double kFastestGrid = 120;
constexpr double kFastestFile = 1000;                // frames a second; more is a damaged file
constexpr size_t kLargestPiece = size_t{256} << 20;  // bytes; a picture of 8192x8192 with 24 bits a pixel takes 192 MiB
constexpr int64_t kMostLooked = int64_t{256} << 20;  // bytes that are read to know a file by
constexpr char kColorPrefix[] = "color:";

uint32_t RoundDown(uint32_t value, uint32_t step) {
  return std::max(value / step, 1u) * step;
}

PictureSize CanvasSize(PictureSize size) {
  return {RoundDown(size.width, 4), RoundDown(size.height, 2)};
}

// The largest size of the same shape inside `limit`; never larger than `size`.
PictureSize FitInside(PictureSize size, PictureSize limit) {
  const double factor =
      std::min({1.0, static_cast<double>(limit.width) / size.width, static_cast<double>(limit.height) / size.height});
  return {std::max(1u, static_cast<uint32_t>(std::lround(size.width * factor))),
          std::max(1u, static_cast<uint32_t>(std::lround(size.height * factor)))};
}

void TakePixels(const cv::Mat &bgra, Input &input) {
  input.size = {static_cast<uint32_t>(bgra.cols), static_cast<uint32_t>(bgra.rows)};
  input.canvas = input.shown = input.size;
  input.pixels.assign(bgra.datastart, bgra.dataend);
}

// One option that names something to play.
struct Request {
  const char *option;
  std::string text;
  std::optional<PictureSize> size;
  bool verbose;
  bool in_step;
};

void ProbeColor(const Request &request, Input &input) {
  const std::string text = input.path.substr(sizeof(kColorPrefix) - 1);
  const auto color = ParseColor(text);
  if (!color) {
    throw Failure(kExitUsage, request.option, "bad colour '" + text + "'",
                  "write six hexadecimal digits, color:30A060");
  }
  const PictureSize size = CanvasSize(request.size.value_or(kColorSize));
  TakePixels(cv::Mat(static_cast<int>(size.height), static_cast<int>(size.width), CV_8UC4,
                     cv::Scalar(*color & 255, *color >> 8 & 255, *color >> 16 & 255, 255)),
             input);
}

// The file's first bytes, as many as it has.
std::string HeadOf(const std::string &path, size_t length) {
  std::string head(length, '\0');
  std::ifstream file(path, std::ios::binary);
  file.read(head.data(), static_cast<std::streamsize>(length));
  head.resize(static_cast<size_t>(std::max<std::streamsize>(file.gcount(), 0)));
  return head;
}

bool IsAnimatedWebP(const std::string &path) {
  const std::string head = HeadOf(path, 21);
  return head.size() == 21 && head.compare(8, 8, "WEBPVP8X") == 0 && (head[20] & 2) != 0;
}

void ProbePicture(const Request &request, Input &input) {
  cv::Mat picture;
  const QuietErrors quiet(request.verbose);  // the decoders write their warnings there
  try {
    picture = cv::imread(input.path, cv::IMREAD_COLOR);
  } catch (const cv::Exception &) {
    picture.release();
  }
  if (picture.empty() && IsAnimatedWebP(input.path)) {
    throw Failure(kExitInput, input.path, "an animated WebP is not played", "give a video, a GIF or an animated PNG");
  }
  if (picture.empty()) throw Failure(kExitInput, input.path, "the picture is damaged", "give another file");
  const PictureSize own{static_cast<uint32_t>(picture.cols), static_cast<uint32_t>(picture.rows)};
  const PictureSize frame = CanvasSize(request.size.value_or(FitInside(own, kLargestPicture)));
  // The picture keeps its shape: what is left of the frame stays black.
  const double factor =
      std::min(static_cast<double>(frame.width) / own.width, static_cast<double>(frame.height) / own.height);
  const bool nearly =
      std::fabs(frame.width - own.width * factor) < 4 && std::fabs(frame.height - own.height * factor) < 4;
  const cv::Size inner = nearly ? cv::Size(static_cast<int>(frame.width), static_cast<int>(frame.height))
                                : cv::Size(std::max(1, static_cast<int>(std::lround(own.width * factor))),
                                           std::max(1, static_cast<int>(std::lround(own.height * factor))));
  if (inner != picture.size()) cv::resize(picture, picture, inner, 0, 0, factor < 1 ? cv::INTER_AREA : cv::INTER_CUBIC);
  cv::Mat canvas(static_cast<int>(frame.height), static_cast<int>(frame.width), CV_8UC3, cv::Scalar(0, 0, 0));
  picture.copyTo(
      canvas(cv::Rect((canvas.cols - inner.width) / 2, (canvas.rows - inner.height) / 2, inner.width, inner.height)));
  cv::Mat bgra;
  cv::cvtColor(canvas, bgra, cv::COLOR_BGR2BGRA);
  TakePixels(bgra, input);
}

struct FormatCloser {
  void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};

std::string AvReason(int error) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(error, text, sizeof(text));
  return text;
}

double MeanRate(const AVStream &stream) {
  return stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0 ? av_q2d(stream.avg_frame_rate) : 0;
}

// Ticks that leave room for each frame of a variable rate: the rate on whose grid all frames' times lie, where there is
// a sensible one. Twice the mean is the rate of fields, not of frames.
AVRational TickRate(const AVStream &stream) {
  const AVRational mean = stream.avg_frame_rate, grid = stream.r_frame_rate;
  if (MeanRate(stream) <= 0) return grid;
  if (grid.num <= 0 || grid.den <= 0 || av_q2d(grid) > kFastestGrid) return mean;
  const double ratio = av_q2d(grid) / av_q2d(mean);
  return ratio > 1.02 && std::fabs(ratio - 2) > 0.02 ? grid : mean;
}

// A telephone writes how it was held into the file, instead of turning the pictures; a front camera may mirror them so.
void TakeOrientation(const AVStream &stream, Input &input) {
  size_t size = 0;
  const uint8_t *const data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  std::array<int32_t, 9> matrix{};
  if (data == nullptr || size < sizeof(matrix)) return;
  std::memcpy(matrix.data(), data, sizeof(matrix));
  const bool mirrored = int64_t{matrix[0]} * matrix[4] < int64_t{matrix[1]} * matrix[3];
  for (size_t i = 0; mirrored && i < 2; ++i) matrix[i] = -std::max(matrix[i], -INT32_MAX);
  const double counterclockwise = av_display_rotation_get(matrix.data());
  if (!std::isfinite(counterclockwise)) return;
  const int turn = static_cast<int>((std::lround(-counterclockwise) % 360 + 360) % 360);
  input.changes.mirrored = mirrored && turn % 90 == 0;
  (turn % 90 == 0 ? input.changes.turn : input.impossible_turn) = turn;
}

// What a file does not say of its colours is told from its size, as players do.
bool IsBt601(const AVCodecParameters &codec) {
  constexpr PictureSize kLargest{1279, 576};  // of standard definition
  if (codec.color_space != AVCOL_SPC_UNSPECIFIED) return false;
  switch (codec.color_primaries) {
    case AVCOL_PRI_UNSPECIFIED:
      return codec.width <= static_cast<int>(kLargest.width) && codec.height <= static_cast<int>(kLargest.height);
    case AVCOL_PRI_BT470M:
    case AVCOL_PRI_BT470BG:
    case AVCOL_PRI_SMPTE170M:
    case AVCOL_PRI_SMPTE240M:
      return true;
    default:
      return false;
  }
}

// Pixels that are not square make a picture wider or higher, never smaller.
PictureSize ShownSize(AVFormatContext *file, AVStream *stream, PictureSize size) {
  constexpr double kMost = 8;  // more is a damaged file
  const AVRational shape = av_guess_sample_aspect_ratio(file, stream, nullptr);
  const double wider = shape.num > 0 && shape.den > 0 ? av_q2d(shape) : 1;
  if (wider > kMost || wider < 1 / kMost) return size;
  if (wider > 1) size.width = static_cast<uint32_t>(std::lround(size.width * wider));
  if (wider < 1) size.height = static_cast<uint32_t>(std::lround(size.height / wider));
  return size;
}

using FormatHandle = vanta::AvPointer<AVFormatContext>;

// Behind a damaged file's last packet libavformat would look for another one through gigabytes.
int HasLookedEnough(void *file) {
  const AVIOContext *const input = static_cast<const AVFormatContext *>(file)->pb;
  return input != nullptr && input->bytes_read > kMostLooked ? 1 : 0;
}

// Null where it cannot be; `error` says why.
FormatHandle OpenMedia(const std::string &path, int &error) {
  // A damaged index may tell of billions of frames, for which libavformat takes memory in one piece; libobs's own too.
  av_max_alloc(kLargestPiece);
  AVFormatContext *opened = avformat_alloc_context();
  if (opened == nullptr) return nullptr;
  opened->interrupt_callback = {HasLookedEnough, opened};
  error = avformat_open_input(&opened, path.c_str(), nullptr, nullptr);
  return FormatHandle(error < 0 ? nullptr : opened);
}

// OpenCV would show the first of its pictures alone.
bool HoldsManyPictures(const std::string &path) {
  int error = 0;
  const FormatHandle file = OpenMedia(path, error);
  const std::string_view format = file ? file->iformat->name : "";
  return format == "apng" || format == "mjpeg";
}

// To open such a file is to open those that it names: a pipe, itself, or one of a row without an end.
void RequireNoList(const std::string &path) {
  AVIOContext *opened = nullptr;
  if (avio_open(&opened, path.c_str(), AVIO_FLAG_READ) < 0) return;
  const AVInputFormat *format = nullptr;
  const bool known = av_probe_input_buffer2(opened, &format, path.c_str(), nullptr, 0, 0) >= 0;
  avio_closep(&opened);
  constexpr std::string_view kLists[] = {"concat", "dash", "hls", "imf", "rtsp", "sdp"};
  if (!known || std::find(std::begin(kLists), std::end(kLists), format->name) == std::end(kLists)) return;
  throw Failure(kExitInput, path, "is a list of other files", "give one of those that it names");
}

[[noreturn]] void RefuseMedia(const std::string &path, int error) {
  const std::string head = HeadOf(path, 8);
  const bool mp4 = head.size() == 8 && (head.compare(4, 4, "ftyp") == 0 || head.compare(4, 4, "mdat") == 0);
  if (error == AVERROR_INVALIDDATA && mp4) {
    throw Failure(kExitInput, path, "its index is missing: it is still being written, or was cut off",
                  "wait until it is whole, or repair it");
  }
  throw Failure(kExitInput, path, AvReason(error), "give a video, a picture or color:RRGGBB");
}

// From the packets, which may come in another order than the pictures.
double FirstStay(AVFormatContext *file, const AVStream &stream) {
  constexpr int kPackets = 24;
  std::set<int64_t> times;
  const vanta::AvPointer<AVPacket> packet(av_packet_alloc());
  for (int found = 0; found < kPackets && av_read_frame(file, packet.get()) >= 0;) {
    if (packet->stream_index == stream.index && (packet->flags & AV_PKT_FLAG_DISCARD) == 0) {
      if (packet->pts != AV_NOPTS_VALUE) times.insert(packet->pts);
      ++found;
    }
    av_packet_unref(packet.get());
  }
  if (times.size() < 2) return 0;
  const double stay = static_cast<double>(*std::next(times.begin()) - *times.begin()) * av_q2d(stream.time_base);
  return std::min(stay, kLongestStay);
}

void ProbeMedia(const Request &request, Input &input) {
  RequireNoList(input.path);
  int error = 0;
  const FormatHandle context = OpenMedia(input.path, error);
  if (!context) RefuseMedia(input.path, error);
  error = avformat_find_stream_info(context.get(), nullptr);
  const int index = error < 0 ? error : av_find_best_stream(context.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  AVStream *const stream = index >= 0 ? context->streams[index] : nullptr;
  // A song's cover is a stream of one picture, which the media source does not play.
  if (stream == nullptr || (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0 || stream->codecpar->width <= 0 ||
      stream->codecpar->height <= 0) {
    throw Failure(kExitInput, input.path, "holds no video", "give a file with a picture");
  }
  input.size = {static_cast<uint32_t>(stream->codecpar->width), static_cast<uint32_t>(stream->codecpar->height)};
  input.shown = ShownSize(context.get(), stream, input.size);
  input.changes.bt601 = IsBt601(*stream->codecpar);
  TakeOrientation(*stream, input);
  if (input.changes.turn % 180 != 0) {
    std::swap(input.size.width, input.size.height);
    std::swap(input.shown.width, input.shown.height);
  }
  input.canvas = request.size.value_or(FitInside(input.shown, kLargestCanvas));
  input.file_rate = MeanRate(*stream);
  const AVRational rate = request.in_step                  ? TickRate(*stream)
                          : stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate
                                                           : stream->r_frame_rate;
  if (rate.num > 0 && rate.den > 0 && av_q2d(rate) >= 1) {
    input.rate = av_q2d(rate) <= (request.in_step ? kFastestFile : kFastestDefault)
                     ? FrameRate{static_cast<uint32_t>(rate.num), static_cast<uint32_t>(rate.den)}
                     : FrameRate{static_cast<uint32_t>(kFastestDefault), 1};
  }
  input.first_stay = FirstStay(context.get(), *stream);
  if (context->duration > 0) input.duration = static_cast<double>(context->duration) / AV_TIME_BASE;
}

void ProbeCamera(const Request &request, Input &input) {
  std::error_code ignored;
  const auto device = ProbeVideoDevice(input.path);
  if (!std::filesystem::exists(input.path, ignored)) {
    throw Failure(kExitInput, input.path, "there is no such camera", "connect one, or load its driver");
  }
  if (!device || !device->captures) {
    throw Failure(kExitInput, input.path, "is no camera, or may not be used", "give one that this user may open");
  }
  input.size = input.shown = device->size.width > 0 && device->size.height > 0 ? device->size : kColorSize;
  input.canvas = request.size.value_or(FitInside(input.size, kLargestCanvas));
}

void RequireReadable(const std::string &path) {
  std::error_code ignored;
  if (path == "-") {
    throw Failure(kExitInput, path, "standard input cannot be read twice",
                  "write what comes out of it into a file first");
  }
  if (std::filesystem::is_directory(path, ignored)) {
    throw Failure(kExitInput, path, "is a folder", "give a video, a picture or color:RRGGBB");
  }
  // Opening a pipe would wait for its other end, and a file is read more than once.
  if (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored)) {
    throw Failure(kExitInput, path, "is no regular file", "write what comes out of it into a file first");
  }
  errno = 0;
  if (!std::ifstream(path, std::ios::binary)) {
    throw Failure(kExitInput, path, std::strerror(errno), "give a file that exists and may be read");
  }
  if (std::filesystem::file_size(path, ignored) == 0) {
    throw Failure(kExitInput, path, "is empty", "give a video, a picture or color:RRGGBB");
  }
}

Input LookAt(const Request &request) {
  Input input;
  input.path = request.text;
  if (input.path.rfind(kColorPrefix, 0) == 0) {
    input.kind = InputKind::kColor;
    ProbeColor(request, input);
  } else if (NamesVideoDevice(input.path)) {
    input.kind = InputKind::kCamera;
    ProbeCamera(request, input);
  } else {
    RequireReadable(input.path);
    input.path = std::filesystem::absolute(input.path).string();  // a colon in a bare name would read as a protocol
    if (cv::haveImageReader(input.path) && !HoldsManyPictures(input.path)) {
      input.kind = InputKind::kPicture;
      ProbePicture(request, input);
    } else {
      ProbeMedia(request, input);
    }
  }
  input.canvas = CanvasSize(input.canvas);
  return input;
}

}  // namespace

Input ProbeInput(const Options &options) {
  Input input = LookAt({"--input", options.input, options.size, options.verbose, options.InStep()});
  if (options.rate) input.rate = *options.rate;
  return input;
}

Input ProbeBackground(const Options &options) {
  return LookAt({"--background", options.background, std::nullopt, options.verbose, false});
}

}  // namespace vanta_run
