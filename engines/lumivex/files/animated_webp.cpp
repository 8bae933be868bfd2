#include "files/animated_webp.h"

#include <webp/demux.h>

#include <memory>

#include "files/picture_size.h"

namespace lumivex {
namespace {

struct Deleter {
  void operator()(WebPAnimDecoder *decoder) const { WebPAnimDecoderDelete(decoder); }
};

}  // namespace

void ReadAnimatedWebp(std::span<const uint8_t> file, const std::atomic<bool> &cancelled, MovingPicturesTaken &taken) {
  // The decoder takes memory for whole pictures at once.
  const auto size = ReadPictureSize(file);
  if (!size || !taken.HasRoom(size->width, size->height)) return;
  WebPAnimDecoderOptions options;
  if (!WebPAnimDecoderOptionsInit(&options)) return;
  options.color_mode = MODE_BGRA;
  const WebPData data{file.data(), file.size()};
  const std::unique_ptr<WebPAnimDecoder, Deleter> decoder(WebPAnimDecoderNew(&data, &options));
  WebPAnimInfo told{};
  if (!decoder || !WebPAnimDecoderGetInfo(decoder.get(), &told)) return;
  if (told.canvas_width != size->width || told.canvas_height != size->height) return;
  while (WebPAnimDecoderHasMoreFrames(decoder.get()) && !cancelled.load(std::memory_order_relaxed)) {
    if (!taken.HasRoom(size->width, size->height)) return;
    uint8_t *pixels = nullptr;
    int end_ms = 0;
    if (!WebPAnimDecoderGetNext(decoder.get(), &pixels, &end_ms))
      return taken.Fail("it is a broken picture", "save it again");
    taken.Take(cv::Mat(static_cast<int>(size->height), static_cast<int>(size->width), CV_8UC4, pixels));
    taken.EndAt(end_ms);
  }
}

}  // namespace lumivex
