// The direct conversions of a 1920x1080 picture against the bare libyuv call that each one makes, and V210 packing
// against libavcodec's encoder, whose packer is hand-written assembly, and against a copy of the bytes that it writes.
#include <libyuv/convert.h>
#include <libyuv/convert_from.h>
#include <libyuv/planar_functions.h>
#include <obs.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "beauty/face_beauty_filter_worker.h"
#include "comparison.h"
#include "frames/conversion/flip_frame.h"
#include "frames/conversion/frame_makers.h"
#include "frames/conversion/libyuv_to_i420_frame.h"
#include "frames/conversion/pack_v210.h"
#include "v210_encoder.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr size_t kI420Bytes = size_t{kWidth} * kHeight * 3 / 2;
constexpr double kConversionBar = 1.05;
constexpr double kEncoderBar = 1.5;
constexpr double kCopyBar = 2;
constexpr int kTurns = 60;

using HostFrame = std::shared_ptr<obs_source_frame>;
using EngineFrame = std::shared_ptr<LX::FrameData>;
using Bare = std::function<void(const obs_source_frame &, const LX::FrameData &)>;

void FillRandom(uint8_t *bytes, size_t size) {
  std::minstd_rand random(1);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(1 + (random() >> 8) % 254);
}

HostFrame MakeHostFrame(video_format format) {
  HostFrame frame(obs_source_frame_create(format, kWidth, kHeight), obs_source_frame_destroy);
  // The planes of these formats lie one behind the other.
  FillRandom(frame->data[0],
             format == VIDEO_FORMAT_I420 || format == VIDEO_FORMAT_NV12 ? kI420Bytes : size_t{kWidth} * kHeight * 2);
  return frame;
}

EngineFrame MakeI420() {
  EngineFrame frame = vanta::MakeI420Frame(kWidth, kHeight);
  FillRandom(frame->planes[0], kI420Bytes);
  return frame;
}

void Require(bool good) {
  if (!good) std::abort();
}

// The host frame's planes and the engine frame's, as libyuv's calls take them.
#define VANTA_HOST_PLANE(i) f.data[i], static_cast<int>(f.linesize[i])
#define VANTA_ENGINE_PLANES d.planes[0], d.strides[0], d.planes[1], d.strides[1], d.planes[2], d.strides[2]

struct Conversion {
  video_format format;
  Bare cover, copy;
};

void CopyPlanes(uint8_t *const to[], const uint8_t *const from[], const int pitches[]) {
  for (int i = 0; i < 3; ++i)
    std::memcpy(to[i], from[i], static_cast<size_t>(pitches[i]) * static_cast<size_t>(i == 0 ? kHeight : kHeight / 2));
}

template <typename Cover, typename Copy>
Conversion Packed(video_format format, Cover cover, Copy copy) {
  return {format,
          [cover](const obs_source_frame &f, const LX::FrameData &d) {
            cover(VANTA_HOST_PLANE(0), VANTA_ENGINE_PLANES, kWidth, kHeight);
          },
          [copy](const obs_source_frame &f, const LX::FrameData &d) {
            copy(VANTA_ENGINE_PLANES, VANTA_HOST_PLANE(0), kWidth, kHeight);
          }};
}

std::vector<Conversion> Conversions() {
  return {
      {VIDEO_FORMAT_I420,
       [](const obs_source_frame &f, const LX::FrameData &d) { CopyPlanes(d.planes, f.data, d.strides); },
       [](const obs_source_frame &f, const LX::FrameData &d) { CopyPlanes(f.data, d.planes, d.strides); }},
      {VIDEO_FORMAT_NV12,
       [](const obs_source_frame &f, const LX::FrameData &d) {
         libyuv::NV12ToI420(VANTA_HOST_PLANE(0), VANTA_HOST_PLANE(1), VANTA_ENGINE_PLANES, kWidth, kHeight);
       },
       [](const obs_source_frame &f, const LX::FrameData &d) {
         libyuv::I420ToNV12(VANTA_ENGINE_PLANES, VANTA_HOST_PLANE(0), VANTA_HOST_PLANE(1), kWidth, kHeight);
       }},
      Packed(VIDEO_FORMAT_YUY2, libyuv::YUY2ToI420, libyuv::I420ToYUY2),
      Packed(VIDEO_FORMAT_UYVY, libyuv::UYVYToI420, libyuv::I420ToUYVY),
      Packed(VIDEO_FORMAT_RGBA, libyuv::ABGRToI420, libyuv::I420ToABGR),
      Packed(VIDEO_FORMAT_BGRA, libyuv::ARGBToI420, libyuv::I420ToARGB),
      Packed(VIDEO_FORMAT_BGRX, libyuv::ARGBToI420, libyuv::I420ToARGB),
      {VIDEO_FORMAT_I422,
       [](const obs_source_frame &f, const LX::FrameData &d) {
         libyuv::I422ToI420(VANTA_HOST_PLANE(0), VANTA_HOST_PLANE(1), VANTA_HOST_PLANE(2), VANTA_ENGINE_PLANES, kWidth,
                            kHeight);
       },
       [](const obs_source_frame &f, const LX::FrameData &d) {
         libyuv::I420ToI422(VANTA_ENGINE_PLANES, VANTA_HOST_PLANE(0), VANTA_HOST_PLANE(1), VANTA_HOST_PLANE(2), kWidth,
                            kHeight);
       }},
  };
}

vanta_bench::Pair MakeCover(const Conversion &conversion) {
  const HostFrame host = MakeHostFrame(conversion.format);
  const EngineFrame i420 = MakeI420();
  return {[host, i420] { vanta::LibYuvToI420Frame::CoverFrame(*host, *i420); },
          [host, i420, bare = conversion.cover] { bare(*host, *i420); }};
}

vanta_bench::Pair MakeCopy(const Conversion &conversion) {
  const HostFrame host = MakeHostFrame(conversion.format);
  const EngineFrame i420 = MakeI420();
  return {[host, i420] { Require(vanta::FaceBeautyFilterWorker::CopyFrame(host.get(), *i420)); },
          [host, i420, bare = conversion.copy] { bare(*host, *i420); }};
}

vanta_bench::Pair MakeFlip(bool vertical, bool horizontal) {
  const EngineFrame a = MakeI420(), b = MakeI420();
  const auto mirror = [a, b](int height) {
    libyuv::I420Mirror(a->planes[0], a->strides[0], a->planes[1], a->strides[1], a->planes[2], a->strides[2],
                       b->planes[0], b->strides[0], b->planes[1], b->strides[1], b->planes[2], b->strides[2], kWidth,
                       height);
  };
  return {[a, b, vertical, horizontal] { vanta::FlipFrame(*a, *b, vertical, horizontal); },
          [a, b, mirror, vertical, horizontal] {
            mirror(vertical ? -kHeight : kHeight);
            if (!vertical || horizontal) return;
            CopyPlanes(a->planes, b->planes, a->strides);
            mirror(kHeight);
          }};
}

struct Packing {
  std::vector<uint8_t> i420 = std::vector<uint8_t>(kI420Bytes);
  std::vector<uint8_t> v210 = std::vector<uint8_t>(vanta::V210RowBytes(kWidth) * kHeight);

  Packing() { FillRandom(i420.data(), i420.size()); }
  void Pack() { vanta::PackV210(i420.data(), reinterpret_cast<uint32_t *>(v210.data()), kWidth, kHeight); }
};

vanta_bench::Pair MakePackAndEncode() {
  const auto ours = std::make_shared<Packing>();
  const auto encoder = std::make_shared<vanta_bench::V210Encoder>(ours->i420.data(), kWidth, kHeight);
  ours->Pack();
  Require(encoder->size() == ours->v210.size() &&
          std::memcmp(encoder->Encode(), ours->v210.data(), ours->v210.size()) == 0);
  return {[ours] { ours->Pack(); }, [encoder] { encoder->Encode(); }};
}

vanta_bench::Pair MakePackAndBytes() {
  const auto ours = std::make_shared<Packing>();
  const auto source = std::make_shared<std::vector<uint8_t>>(ours->v210.size(), uint8_t{1});
  const auto target = std::make_shared<std::vector<uint8_t>>(ours->v210.size());
  return {[ours] { ours->Pack(); }, [source, target] { std::memcpy(target->data(), source->data(), source->size()); }};
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  for (const Conversion &conversion : Conversions()) {
    const std::string name = get_video_format_name(conversion.format);
    const std::string bare = conversion.format == VIDEO_FORMAT_I420 ? " / three copies" : " / libyuv";
    vanta_bench::Compare(name + " to the engine's I420" + bare, kConversionBar, kTurns,
                         [conversion] { return MakeCover(conversion); });
    vanta_bench::Compare("the engine's I420 to " + name + bare, kConversionBar, kTurns,
                         [conversion] { return MakeCopy(conversion); });
  }
  vanta_bench::Compare("flip left to right / I420Mirror", kConversionBar, kTurns, [] { return MakeFlip(false, true); });
  vanta_bench::Compare("flip both ways / I420Mirror", kConversionBar, kTurns, [] { return MakeFlip(true, true); });
  vanta_bench::Compare("flip upside down / two I420Mirror + copy", kConversionBar, kTurns,
                       [] { return MakeFlip(true, false); });
  vanta_bench::Compare("I420 to V210 / libavcodec's encoder", kEncoderBar, kTurns, MakePackAndEncode);
  vanta_bench::Compare("I420 to V210 / copy of the packed bytes", kCopyBar, kTurns, MakePackAndBytes);
  return vanta_bench::RunComparisons(argc, argv);
}
