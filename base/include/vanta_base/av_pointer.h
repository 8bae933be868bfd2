// Owning pointers to what ffmpeg's libraries hand out. A header alone: who includes it links those libraries.
#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace vanta {

struct AvDeleter {
  void operator()(AVIOContext *context) const {  // made with avio_alloc_context, whose buffer goes with it
    av_freep(&context->buffer);
    avio_context_free(&context);
  }
  void operator()(AVFormatContext *context) const { avformat_close_input(&context); }  // one that reads
  void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
  void operator()(AVPacket *packet) const { av_packet_free(&packet); }
  void operator()(AVFrame *frame) const { av_frame_free(&frame); }
  void operator()(SwsContext *context) const { sws_freeContext(context); }
};
template <typename T>
using AvPointer = std::unique_ptr<T, AvDeleter>;

}  // namespace vanta
