#include "input/media_guard.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cstring>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "vanta_base/av_pointer.h"
#include "vanta_base/export.h"

namespace vanta_run {
namespace {

// The definition of that name behind the program's.
template <typename Function>
Function *Hidden(Function *, const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// The pictures of the calling thread's file.
class Pictures {
 public:
  void Begin(AVFormatContext *file) {
    const int stream = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    time_base_ = stream >= 0 ? file->streams[stream]->time_base : AVRational{0, 1};
    Forget();
  }
  void Forget() {
    last_.reset();
    next_.reset();
  }
  // The one that the decoder gives, or another one in between.
  template <typename Function>
  int Receive(Function *decode, AVCodecContext *decoder, AVFrame *frame) {
    if (!next_) {
      const int result = decode(decoder, frame);
      if (result < 0) return result;
      if (!IsPause(frame->best_effort_timestamp)) return Keep(frame);
      next_.reset(av_frame_alloc());
      av_frame_move_ref(next_.get(), frame);
    }
    if (IsPause(next_->best_effort_timestamp)) {
      last_->best_effort_timestamp += Step();
      last_->pts = last_->best_effort_timestamp;
      return av_frame_ref(frame, last_.get());
    }
    av_frame_move_ref(frame, next_.get());
    next_.reset();
    return Keep(frame);
  }

 private:
  // Of kLongestStay, as the file counts; 0 where it does not count so finely.
  int64_t Step() const { return av_rescale_q(1, {1, 2}, time_base_); }
  // Whether that time is so far behind the last picture's. What is further away is a damaged file's.
  bool IsPause(int64_t time) const {
    constexpr double kLongest = 600;  // seconds
    if (!last_ || time_base_.num == 0 || time == AV_NOPTS_VALUE || last_->best_effort_timestamp == AV_NOPTS_VALUE) {
      return false;
    }
    const int64_t step = Step();
    const double away = static_cast<double>(time) - static_cast<double>(last_->best_effort_timestamp);
    const double seconds = away * av_q2d(time_base_);
    return step > 0 && away > static_cast<double>(step) && seconds > kLongestStay * 1.01 && seconds < kLongest;
  }
  int Keep(const AVFrame *frame) {
    if (!last_) last_.reset(av_frame_alloc());
    av_frame_unref(last_.get());
    return av_frame_ref(last_.get(), frame);
  }

  AVRational time_base_{0, 1};
  vanta::AvPointer<AVFrame> last_, next_;  // given; to be given, where a pause lies before it
};

thread_local Pictures pictures;

// Whether a search for that time is one for the very start of a file that is searched by the times at which its
// pictures are decoded. The first one's is earlier than the one at which it is shown.
bool IsStartOfStream(const AVFormatContext &file, int stream, int64_t time) {
  const std::string_view format = file.iformat->name;
  if ((format != "mpegts" && format != "mpeg") || stream < 0 || file.start_time == AV_NOPTS_VALUE) return false;
  return time <= av_rescale_q(file.start_time, {1, AV_TIME_BASE}, file.streams[stream]->time_base);
}

// libobs asks decoders of MPEG to look for the end of a picture in the next packet, though each packet is one: the last
// picture is then never decoded, and each is shown at the time of the one behind it.
void TakeWholePackets([[maybe_unused]] AVCodecContext &decoder) {
#ifdef AV_CODEC_FLAG_TRUNCATED
  decoder.flags &= ~AV_CODEC_FLAG_TRUNCATED;
#endif
}

}  // namespace

void GuardMedia() {}

bool OnMediaThread() {
  char name[16] = {};
  return pthread_getname_np(pthread_self(), name, sizeof(name)) == 0 && std::strcmp(name, "mp_media_thread") == 0;
}

}  // namespace vanta_run

extern "C" {

VANTA_EXPORT int av_seek_frame(AVFormatContext *file, int stream, int64_t time, int flags) {
  static const auto hidden = vanta_run::Hidden(&av_seek_frame, "av_seek_frame");
  if (vanta_run::OnMediaThread()) {
    vanta_run::pictures.Begin(file);
    if (vanta_run::IsStartOfStream(*file, stream, time)) return hidden(file, -1, 0, AVSEEK_FLAG_BYTE);
  }
  const int result = hidden(file, stream, time, flags);
  if (result >= 0 || (flags & AVSEEK_FLAG_BACKWARD) == 0 || !vanta_run::OnMediaThread()) return result;
  return hidden(file, stream, time, flags & ~AVSEEK_FLAG_BACKWARD);
}

VANTA_EXPORT int avcodec_receive_frame(AVCodecContext *decoder, AVFrame *frame) {
  static const auto hidden = vanta_run::Hidden(&avcodec_receive_frame, "avcodec_receive_frame");
  const bool picture = decoder->codec_type == AVMEDIA_TYPE_VIDEO && vanta_run::OnMediaThread();
  if (picture) vanta_run::TakeWholePackets(*decoder);
  const int result = picture ? vanta_run::pictures.Receive(hidden, decoder, frame) : hidden(decoder, frame);
  if (result != AVERROR_EOF || decoder->frame_number > 0 || !vanta_run::OnMediaThread()) return result;
  return AVERROR(EAGAIN);
}

VANTA_EXPORT void avcodec_flush_buffers(AVCodecContext *decoder) {
  static const auto hidden = vanta_run::Hidden(&avcodec_flush_buffers, "avcodec_flush_buffers");
  if (vanta_run::OnMediaThread()) vanta_run::pictures.Forget();
  hidden(decoder);
}

}  // extern "C"
