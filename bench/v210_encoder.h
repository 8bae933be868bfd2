// libavcodec's own V210 encoder, on the calling thread and into memory that stays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct AVBufferRef;
struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace vanta_bench {

// Owns: the encoder, its 4:2:2 picture and the packed one. Threads: confined by the owner.
class V210Encoder {
 public:
  // `i420`: one block without padding, of even sides. Each of its chroma rows is taken twice.
  V210Encoder(const uint8_t *i420, int width, int height);
  ~V210Encoder();
  V210Encoder(const V210Encoder &) = delete;
  V210Encoder &operator=(const V210Encoder &) = delete;

  // Ends the program when the encoder refuses. The bytes stay until the next call.
  const uint8_t *Encode();
  size_t size() const { return size_; }

 private:
  size_t size_;
  AVBufferRef *packed_;
  AVCodecContext *encoder_;
  AVFrame *picture_;
  AVPacket *packet_;
};

}  // namespace vanta_bench
