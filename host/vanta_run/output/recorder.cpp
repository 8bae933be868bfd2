#include "output/recorder.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "common/failure.h"
#include "common/quiet_errors.h"
#include "output/recorded_file.h"

namespace vanta_run {
namespace {

constexpr auto kFinishLimit = std::chrono::seconds(20);
constexpr auto kLookPeriod = std::chrono::milliseconds(500);  // between two looks at the space that is left

}  // namespace

void RequireRecordingFormat(const std::string &path) {
  const std::string ending = FormatEnding(path);
  for (const char *known : {".mp4", ".mkv", ".mov", ".flv", ".ts"}) {
    if (ending == known) return;
  }
  throw Failure(kExitUsage, "--output", "'" + path + "' ends in no known format",
                "end it in .mp4, .mkv, .mov, .flv or .ts");
}

Recorder::~Recorder() {
  if (started_ && output_ != nullptr) {
    if (!Stopped() && obs_output_active(output_)) obs_output_force_stop(output_);
    AwaitRest();
  }
  if (folder_ >= 0) close(folder_);
}

// libobs says it to a shell, in double quotes. A folder whose name means something there is reached by its number.
std::string Recorder::PathForMuxer() {
  const std::filesystem::path path = file_.path();
  const std::string folder = path.parent_path().string();
  if (folder.find_first_of("\"$`\\") == std::string::npos) return path.string();
  folder_ = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (folder_ < 0) return path.string();
  return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(folder_) + "/" + path.filename().string();
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
  obs_data_set_string(settings, "path", PathForMuxer().c_str());
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

// libobs tells the stop before the thread that ends the output is through. An output that is stopped or destroyed in
// between takes back that thread's signal, and waits for it for ever.
void Recorder::AwaitRest() const {
  const auto latest = std::chrono::steady_clock::now() + kFinishLimit;
  while (obs_output_active(output_) && std::chrono::steady_clock::now() < latest) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
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
  AwaitRest();
  if (!early_reason_.empty()) ThrowBroken(early_reason_);
  if (*stop_code_ != OBS_OUTPUT_SUCCESS) ThrowBroken(LastError());
  // libobs's own count holds the packet that ends the recording too, which is not written.
  const auto frames = CountRecordedFrames(file_.path());
  if (!frames) ThrowBroken("the file is not whole");
  frames_ = *frames;
  if (same_bytes_ && !EndSoundWithPicture(file_.path())) ThrowBroken("its sound cannot be cut to its picture");
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
