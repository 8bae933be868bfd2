#include "output/recorder.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

extern "C" {
#include <libavformat/avformat.h>
}

#include "common/failure.h"
#include "common/quiet_errors.h"

namespace vanta_run {
namespace {

constexpr auto kFinishLimit = std::chrono::seconds(20);
constexpr auto kLookPeriod = std::chrono::milliseconds(500);  // between two looks at the space that is left

struct FormatCloser {
  void operator()(AVFormatContext *context) const { avformat_close_input(&context); }
};

}  // namespace

bool IsWholeRecording(const std::string &path) {
  AVFormatContext *opened = nullptr;
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0) return false;
  const std::unique_ptr<AVFormatContext, FormatCloser> context(opened);
  if (avformat_find_stream_info(context.get(), nullptr) < 0) return false;
  const int video = av_find_best_stream(context.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video < 0) return false;
  const int64_t promised = context->streams[video]->nb_frames;  // 0 where the format does not say
  AVPacket *packet = av_packet_alloc();
  int64_t found = 0;
  int result = 0;
  while ((result = av_read_frame(context.get(), packet)) >= 0) {
    if (packet->stream_index == video && (packet->flags & AV_PKT_FLAG_CORRUPT) == 0) ++found;
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  return result == AVERROR_EOF && found > 0 && (promised == 0 || found == promised);
}

void RequireRecordingFormat(const std::string &path) {
  const std::string ending = std::filesystem::path(path).extension().string();
  for (const char *known : {".mp4", ".mkv", ".mov", ".flv", ".ts"}) {
    if (ending == known) return;
  }
  throw Failure(kExitUsage, "--output", "'" + path + "' ends in no known format",
                "end it in .mp4, .mkv, .mov, .flv or .ts");
}

Recorder::~Recorder() {
  if (started_ && output_ != nullptr && obs_output_active(output_)) obs_output_force_stop(output_);
}

void Recorder::Start() {
  OBSDataAutoRelease video = obs_data_create();
  obs_data_set_string(video, "rate_control", "CRF");
  obs_data_set_int(video, "crf", 20);
  obs_data_set_string(video, "preset", "veryfast");
  obs_data_set_string(video, "profile", "high");
  obs_data_set_int(video, "keyint_sec", 2);
  if (same_bytes_) {
    // The number of threads shows in the stream. Without B-frames the frame that is drawn last is also encoded last:
    // the muxer cuts by the order of encoding.
    const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1u, 16u);
    obs_data_set_int(video, "bf", 0);
    obs_data_set_string(video, "x264opts", ("threads=" + std::to_string(threads)).c_str());
  }
  video_ = obs_video_encoder_create("obs_x264", "picture", video, nullptr);
  OBSDataAutoRelease audio = obs_data_create();
  obs_data_set_int(audio, "bitrate", 160);
  audio_ = obs_audio_encoder_create("ffmpeg_aac", "sound", audio, 0, nullptr);
  OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_string(settings, "path", file_.path().c_str());
  output_ = obs_output_create("ffmpeg_muxer", "recording", settings, nullptr);
  if (video_ == nullptr || audio_ == nullptr || output_ == nullptr) {
    throw Failure(kExitModule, "libobs", "its encoders or its muxer are missing",
                  "install the packages obs-plugins and obs-studio");
  }
  obs_encoder_set_video(video_, obs_get_video());
  obs_encoder_set_audio(audio_, obs_get_audio());
  obs_output_set_video_encoder(output_, video_);
  obs_output_set_audio_encoder(output_, audio_, 0);
  stop_signal_.Connect(obs_output_get_signal_handler(output_), "stop", OnStop, this);
  bool started = false;
  {
    const QuietErrors quiet(verbose_);  // the muxer inherits it: its failure comes back as ours
    started = obs_output_start(output_);
  }
  if (!started) ThrowBroken(LastError());
  started_ = true;
}

void Recorder::OnStop(void *param, calldata_t *data) {
  auto *self = static_cast<Recorder *>(param);
  std::lock_guard<std::mutex> lock(self->mutex_);
  self->stop_code_ = calldata_int(data, "code");
  self->stopped_.notify_all();
}

bool Recorder::Failed() {
  const auto now = std::chrono::steady_clock::now();
  if (now - last_look_ > kLookPeriod) {
    last_look_ = now;
    // The muxer reports a full disk only when it ends.
    if (early_reason_.empty()) early_reason_ = file_.GuessedReason();
  }
  std::lock_guard<std::mutex> lock(mutex_);
  return stop_code_.has_value() || !early_reason_.empty();
}

void Recorder::Stop() {
  obs_output_stop(output_);
}

bool Recorder::Stopped() {
  std::lock_guard<std::mutex> lock(mutex_);
  return stop_code_.has_value();
}

void Recorder::Finish() {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!stop_code_) {
      lock.unlock();
      obs_output_stop(output_);
      lock.lock();
    }
    if (!stopped_.wait_for(lock, kFinishLimit, [this] { return stop_code_.has_value(); })) {
      lock.unlock();
      obs_output_force_stop(output_);
      ThrowBroken("the muxer does not end");
    }
  }
  frames_ = static_cast<uint64_t>(obs_output_get_total_frames(output_));
  if (!early_reason_.empty()) ThrowBroken(early_reason_);
  if (*stop_code_ != OBS_OUTPUT_SUCCESS) ThrowBroken(LastError());
  if (!IsWholeRecording(file_.path())) ThrowBroken("the file is not whole");
  bytes_ = std::filesystem::file_size(file_.path());
  file_.Commit();
}

std::string Recorder::LastError() const {
  const char *text = obs_output_get_last_error(output_);
  std::string line = text != nullptr ? text : "the muxer stopped";
  for (char &letter : line) {
    if (letter == '\n' || letter == '\r') letter = ' ';
  }
  return line;
}

void Recorder::ThrowBroken(const std::string &detail) const {
  const std::string reason = early_reason_.empty() ? file_.GuessedReason() : early_reason_;
  throw Failure(kExitOutput, file_.final_path(), reason.empty() ? detail : reason,
                "free some space, or give a place that can be written");
}

}  // namespace vanta_run
