// The frame path at 1920x1080 against the work that it cannot do without: for NV12 the four plane copies, done bare;
// for every other format the host's scaler called directly, plus one copy of the NV12 planes.
#include <media-io/video-scaler.h>
#include <obs.h>

#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "comparison.h"
#include "frames/face_beauty_frame_factory.h"

namespace {

using vanta::FaceBeautyFrameFactory;
using vanta::PooledFramePtr;

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr size_t kLumaBytes = size_t{kWidth} * kHeight;
constexpr size_t kChromaBytes = kLumaBytes / 2;
constexpr double kPathBar = 1.2;
constexpr double kConversionBar = 1.1;
constexpr int kTurns = 30;

using HostFrame = std::shared_ptr<obs_source_frame>;
using Scaler = std::shared_ptr<video_scaler_t>;

HostFrame MakeFrame(video_format format) {
  HostFrame frame(obs_source_frame_create(format, kWidth, kHeight), obs_source_frame_destroy);
  frame->full_range = false;
  video_format_get_parameters_for_format(VIDEO_CS_709, VIDEO_RANGE_PARTIAL, format, frame->color_matrix,
                                         frame->color_range_min, frame->color_range_max);
  std::minstd_rand random(1);
  for (int i = 0; i < MAX_AV_PLANES && frame->data[i]; ++i) {
    const bool half = i > 0 && i < 3 &&
                      (format == VIDEO_FORMAT_I420 || format == VIDEO_FORMAT_NV12 || format == VIDEO_FORMAT_I40A ||
                       format == VIDEO_FORMAT_I010 || format == VIDEO_FORMAT_P010);
    const size_t size = size_t{frame->linesize[i]} * (half ? kHeight / 2 : kHeight);
    for (size_t k = 0; k < size; ++k) frame->data[i][k] = static_cast<uint8_t>(random() >> 8);
  }
  return frame;
}

Scaler MakeScaler(video_format from, video_format to) {
  const video_scale_info source{from, kWidth, kHeight, VIDEO_RANGE_PARTIAL, VIDEO_CS_709};
  const video_scale_info target{to, kWidth, kHeight, VIDEO_RANGE_PARTIAL, VIDEO_CS_709};
  video_scaler_t *scaler = nullptr;
  if (video_scaler_create(&scaler, &target, &source, VIDEO_SCALE_DEFAULT) != VIDEO_SCALER_SUCCESS) std::abort();
  return Scaler(scaler, video_scaler_destroy);
}

void CopyPlanes(uint8_t *const *to, const uint8_t *const *from) {
  std::memcpy(to[0], from[0], kLumaBytes);
  std::memcpy(to[1], from[1], kChromaBytes);
}

void Scale(const Scaler &scaler, obs_source_frame &to, const obs_source_frame &from) {
  if (!video_scaler_scale(scaler.get(), to.data, to.linesize, from.data, from.linesize)) std::abort();
}

PooledFramePtr Enqueue(FaceBeautyFrameFactory &factory, const obs_source_frame *host) {
  factory.PutInput(factory.TakeFreeFrame(kWidth, kHeight), host);
  PooledFramePtr frame = factory.TakeNextInput();
  if (!frame) std::abort();
  return frame;
}

vanta_bench::Pair MakePath() {
  const auto factory = std::make_shared<FaceBeautyFrameFactory>();
  const auto pool = std::make_shared<LX::FramePool>();
  const HostFrame host = MakeFrame(VIDEO_FORMAT_NV12);
  const auto ours = [factory, host] {
    factory->PushOutput(Enqueue(*factory, host.get()));
    PooledFramePtr frame = factory->TakeOutput(kWidth, kHeight);
    if (!factory->CopyToObsFrame(*frame, host.get())) std::abort();
    factory->Recycle(std::move(frame));
  };
  const auto bare = [data = pool->takeFrameDataNV12(kWidth, kHeight, 0, 0), pool, host] {
    CopyPlanes(data->planes, host->data);
    CopyPlanes(host->data, data->planes);
  };
  return {ours, bare};
}

vanta_bench::Pair MakeInput(video_format format) {
  const auto factory = std::make_shared<FaceBeautyFrameFactory>();
  const auto pool = std::make_shared<LX::FramePool>();
  const HostFrame host = MakeFrame(format);
  const HostFrame nv12 = MakeFrame(VIDEO_FORMAT_NV12);
  const auto ours = [factory, host] { factory->Recycle(Enqueue(*factory, host.get())); };
  const auto bare = [scaler = MakeScaler(format, VIDEO_FORMAT_NV12), host, nv12,
                     data = pool->takeFrameDataNV12(kWidth, kHeight, 0, 0), pool] {
    Scale(scaler, *nv12, *host);
    CopyPlanes(data->planes, nv12->data);
  };
  return {ours, bare};
}

vanta_bench::Pair MakeOutput(video_format format) {
  const auto factory = std::make_shared<FaceBeautyFrameFactory>();
  const HostFrame host = MakeFrame(format);
  const HostFrame nv12 = MakeFrame(VIDEO_FORMAT_NV12);
  const std::shared_ptr<vanta::PooledFrame> frame = Enqueue(*factory, MakeFrame(VIDEO_FORMAT_NV12).get());
  const auto ours = [factory, host, frame] {
    if (!factory->CopyToObsFrame(*frame, host.get())) std::abort();
  };
  const auto bare = [scaler = MakeScaler(VIDEO_FORMAT_NV12, format), host, nv12, frame] {
    CopyPlanes(nv12->data, frame->data->planes);
    Scale(scaler, *host, *nv12);
  };
  return {ours, bare};
}

void Quiet(int, const char *, va_list, void *) {}

}  // namespace

int main(int argc, char **argv) {
  base_set_log_handler(Quiet, nullptr);
  vanta_bench::Compare("NV12 enqueue + dequeue / four plane copies", kPathBar, kTurns, MakePath);
  for (const video_format format :
       {VIDEO_FORMAT_I420, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY, VIDEO_FORMAT_YVYU, VIDEO_FORMAT_BGRA,
        VIDEO_FORMAT_RGBA, VIDEO_FORMAT_BGRX, VIDEO_FORMAT_BGR3, VIDEO_FORMAT_I422, VIDEO_FORMAT_I444,
        VIDEO_FORMAT_Y800, VIDEO_FORMAT_I40A, VIDEO_FORMAT_I42A, VIDEO_FORMAT_YUVA, VIDEO_FORMAT_I010,
        VIDEO_FORMAT_P010, VIDEO_FORMAT_I210, VIDEO_FORMAT_I412, VIDEO_FORMAT_YA2L}) {
    const std::string name = get_video_format_name(format);
    vanta_bench::Compare(name + " to NV12 / scaler + copy", kConversionBar, kTurns,
                         [format] { return MakeInput(format); });
    vanta_bench::Compare("NV12 to " + name + " / copy + scaler", kConversionBar, kTurns,
                         [format] { return MakeOutput(format); });
  }
  return vanta_bench::RunComparisons(argc, argv);
}
