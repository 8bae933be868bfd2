#include "output/recorded_file.h"

#include <algorithm>
#include <filesystem>
#include <memory>

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include "common/pending_file.h"
#include "vanta_base/av_pointer.h"

namespace vanta_run {
namespace {

using vanta::AvPointer;

constexpr AVRational kNanosecond{1, 1'000'000'000};
constexpr int kSkipBytes = 10;  // of a packet's note on samples to leave out

struct OutputCloser {
  void operator()(AVFormatContext *context) const {
    avio_closep(&context->pb);
    avformat_free_context(context);
  }
};
using InputFile = AvPointer<AVFormatContext>;
using OutputFile = std::unique_ptr<AVFormatContext, OutputCloser>;

// Null where it cannot be read.
InputFile Open(const std::string &path) {
  AVFormatContext *opened = nullptr;
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0) return nullptr;
  InputFile file(opened);
  return avformat_find_stream_info(opened, nullptr) < 0 ? nullptr : std::move(file);
}

int FindStream(AVFormatContext *file, AVMediaType type) {
  return av_find_best_stream(file, type, -1, -1, nullptr, 0);
}

// When the packet ends, in nanoseconds of the file.
int64_t EndOf(const AVPacket &packet, const AVStream &stream) {
  int64_t duration = av_rescale_q(packet.duration, stream.time_base, kNanosecond);
  if (duration == 0 && stream.avg_frame_rate.num > 0) {
    duration = av_rescale_q(1, av_inv_q(stream.avg_frame_rate), kNanosecond);
  }
  return av_rescale_q(packet.pts, stream.time_base, kNanosecond) + duration;
}

struct Ends {
  int64_t picture = 0, sound = 0;  // nanoseconds
};

Ends FindEnds(const std::string &path) {
  Ends ends;
  const InputFile file = Open(path);
  if (!file) return ends;
  const int video = FindStream(file.get(), AVMEDIA_TYPE_VIDEO), audio = FindStream(file.get(), AVMEDIA_TYPE_AUDIO);
  const AvPointer<AVPacket> packet(av_packet_alloc());
  while (av_read_frame(file.get(), packet.get()) >= 0) {
    const int64_t end = EndOf(*packet, *file->streams[packet->stream_index]);
    if (packet->stream_index == video) ends.picture = std::max(ends.picture, end);
    if (packet->stream_index == audio) ends.sound = std::max(ends.sound, end);
    av_packet_unref(packet.get());
  }
  return ends;
}

// The packet's sound ends there: .mp4 and .mov take that from its duration, .mkv from the samples that are left out.
void EndPacketAt(AVPacket &packet, const AVStream &stream, int64_t end_ns) {
  const int64_t late_ns = EndOf(packet, stream) - end_ns;
  packet.duration = std::max<int64_t>(1, packet.duration - av_rescale_q(late_ns, kNanosecond, stream.time_base));
  uint8_t *const skip = av_packet_new_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, kSkipBytes);
  if (skip == nullptr) return;
  std::fill_n(skip, kSkipBytes, uint8_t{0});
  AV_WL32(skip + 4, static_cast<uint32_t>(av_rescale_q(late_ns, kNanosecond, {1, stream.codecpar->sample_rate})));
}

OutputFile Create(const std::string &path, const AVFormatContext &like) {
  AVFormatContext *made = nullptr;
  if (avformat_alloc_output_context2(&made, nullptr, nullptr, path.c_str()) < 0) return nullptr;
  OutputFile file(made);
  for (unsigned i = 0; i < like.nb_streams; ++i) {
    const AVStream &from = *like.streams[i];
    AVStream *const to = avformat_new_stream(made, nullptr);
    if (to == nullptr || avcodec_parameters_copy(to->codecpar, from.codecpar) < 0) return nullptr;
    to->codecpar->codec_tag = 0;
    to->time_base = from.time_base;
    to->avg_frame_rate = from.avg_frame_rate;
  }
  made->flags |= AVFMT_FLAG_BITEXACT;  // no version and no date of the writer
  if (avio_open(&made->pb, path.c_str(), AVIO_FLAG_WRITE) < 0 || avformat_write_header(made, nullptr) < 0) {
    return nullptr;
  }
  return file;
}

bool CopyUntil(int64_t end_ns, AVFormatContext *from, AVFormatContext *to) {
  const int audio = FindStream(from, AVMEDIA_TYPE_AUDIO);
  const AvPointer<AVPacket> packet(av_packet_alloc());
  while (av_read_frame(from, packet.get()) >= 0) {
    const AVStream &stream = *from->streams[packet->stream_index];
    if (packet->stream_index == audio) {
      if (av_rescale_q(packet->pts, stream.time_base, kNanosecond) >= end_ns) {
        av_packet_unref(packet.get());
        continue;
      }
      if (EndOf(*packet, stream) > end_ns) EndPacketAt(*packet, stream, end_ns);
    }
    av_packet_rescale_ts(packet.get(), stream.time_base, to->streams[packet->stream_index]->time_base);
    packet->pos = -1;
    if (av_interleaved_write_frame(to, packet.get()) < 0) return false;
  }
  return av_write_trailer(to) >= 0 && avio_closep(&to->pb) >= 0;
}

}  // namespace

std::string FormatEnding(const std::string &path) {
  std::string ending = std::filesystem::path(path).extension().string();
  for (char &letter : ending) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return ending;
}

std::optional<uint64_t> CountRecordedFrames(const std::string &path) {
  const InputFile file = Open(path);
  if (!file) return std::nullopt;
  const int video = FindStream(file.get(), AVMEDIA_TYPE_VIDEO);
  if (video < 0) return std::nullopt;
  const int64_t promised = file->streams[video]->nb_frames;  // 0 where the format does not say
  const AvPointer<AVPacket> packet(av_packet_alloc());
  int64_t found = 0;
  int result = 0;
  while ((result = av_read_frame(file.get(), packet.get())) >= 0) {
    if (packet->stream_index == video && (packet->flags & AV_PKT_FLAG_CORRUPT) == 0) ++found;
    av_packet_unref(packet.get());
  }
  if (result != AVERROR_EOF || found == 0 || (promised != 0 && found != promised)) return std::nullopt;
  return static_cast<uint64_t>(found);
}

bool EndSoundWithPicture(const std::string &path) {
  const std::string ending = FormatEnding(path);
  if (ending != ".mp4" && ending != ".mov" && ending != ".mkv") return true;
  const Ends ends = FindEnds(path);
  if (ends.picture == 0 || ends.sound <= ends.picture) return true;
  PendingFile cut(path);
  const InputFile from = Open(path);
  const OutputFile to = from ? Create(cut.path(), *from) : nullptr;
  if (!to || !CopyUntil(ends.picture, from.get(), to.get())) return false;
  cut.Commit();
  return true;
}

}  // namespace vanta_run
