#include "input/media_guard.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "vanta_base/export.h"

namespace vanta_run {
namespace {

// The definition of that name behind the program's.
template <typename Function>
Function *Hidden(Function *, const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
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
  const int result = hidden(file, stream, time, flags);
  if (result >= 0 || (flags & AVSEEK_FLAG_BACKWARD) == 0 || !vanta_run::OnMediaThread()) return result;
  return hidden(file, stream, time, flags & ~AVSEEK_FLAG_BACKWARD);
}

VANTA_EXPORT int avcodec_receive_frame(AVCodecContext *decoder, AVFrame *frame) {
  static const auto hidden = vanta_run::Hidden(&avcodec_receive_frame, "avcodec_receive_frame");
  const int result = hidden(decoder, frame);
  if (result != AVERROR_EOF || decoder->frame_number > 0 || !vanta_run::OnMediaThread()) return result;
  return AVERROR(EAGAIN);
}

}  // extern "C"
