// The path of a frame through filter_video on a deinterlaced source, and of a frame marked for dump.
#include <util/base.h>
#include <util/bmem.h>

#include <cstdarg>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "fixtures/module/filter_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/module/host_frame.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;
using vanta_test::kWarning;

class BeautyFilterDeinterlaced : public FilterFixture {
 protected:
  void SetUp() override {
    parent_.deinterlace = OBS_DEINTERLACE_MODE_LINEAR;
    CreateFilter();
  }

  // Frames go by the engine from now on, and nothing is copied: a kept frame stays as it was made.
  void StopWorker() { record_.filter_remove(instance_, &parent_); }
};

// Looks at the filter's kept frame while EnqueueFrame says that the size is a new one.
class EnqueueWatch {
 public:
  explicit EnqueueWatch(const face_beauty_filter_data &filter) : filter_(filter) {
    base_get_log_handler(&former_, &former_param_);
    base_set_log_handler(Log, this);
  }
  ~EnqueueWatch() { base_set_log_handler(former_, former_param_); }
  EnqueueWatch(const EnqueueWatch &) = delete;
  EnqueueWatch &operator=(const EnqueueWatch &) = delete;

  uint32_t width_then = 0;  // 0: there was no such line, or no frame

 private:
  static void Log(int level, const char *format, va_list args, void *param) {
    auto &watch = *static_cast<EnqueueWatch *>(param);
    if (std::strstr(format, "Invalid width or height") && watch.width_then == 0 && watch.filter_.last_frame)
      watch.width_then = watch.filter_.last_frame->width;
    watch.former_(level, format, args, watch.former_param_);
  }

  const face_beauty_filter_data &filter_;
  log_handler_t former_ = nullptr;
  void *former_param_ = nullptr;
};

TEST_F(BeautyFilterDeinterlaced, FirstFrameComesBackAsACopyOfItself) {
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 51);
  obs_source_frame *out = Video(frame.get());
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(out, data().last_frame);
  EXPECT_NE(out, frame.get());
  EXPECT_EQ(out->data[0][0], 51);
  EXPECT_EQ(gs_recorder::Count("obs_source_release_frame(parent, frame)"), 1u);
  EXPECT_TRUE(WaitForPasses(1));
}

TEST_F(BeautyFilterDeinterlaced, LastFrameIsNeverReleasedByTheHost) {
  Pass();
  ASSERT_NE(data().last_frame, nullptr);
  EXPECT_EQ(data().last_frame->refs, 0x7fffffff);
}

TEST_F(BeautyFilterDeinterlaced, HostIsToldOnEveryFrameAndReportedToOnce) {
  Pass();
  Pass();
  EXPECT_EQ(host_double::Count("SetIsDeinterlace(1)"), 2u);
  EXPECT_EQ(host_double::Reports(),
            (std::vector<HostReport>{{12, "{\"fall_back_to_nv12\":true,\"reason\":\"deinterlace\"}"}}));
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] FallbackToNV12"), 1u);
}

TEST_F(BeautyFilterDeinterlaced, DeliveredFrameIsKeptAsTheLastOne) {
  Pass(1, kWidth, kHeight, 61);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 62, 99);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(data().last_frame->data[0][0], 61);
  EXPECT_EQ(data().last_frame->timestamp, 99u);
  EXPECT_TRUE(WaitForPasses(2));
}

TEST_F(BeautyFilterDeinterlaced, OnlyTheFirstInstancesFirstFramePrimes) {
  Pass();
  obs_source second_filter = filter_;
  void *second = record_.create(settings_, &second_filter);
  auto &second_data = *static_cast<face_beauty_filter_data *>(second);
  ASSERT_TRUE(WaitUntil([&] { return second_data.worker->IsRunning(); }));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 71);
  scripted_engine::Close(Gate::kProcess);
  obs_source_frame *out = record_.filter_video(second, frame.get());
  scripted_engine::Open(Gate::kProcess);
  EXPECT_EQ(out, second_data.last_frame);
  const std::string dark(size_t{kWidth} * kHeight, '\0');
  EXPECT_EQ(std::memcmp(out->data[0], dark.data(), dark.size()), 0) << "a later instance starts with a blank frame";
  const std::string neutral(size_t{kWidth} * kHeight / 2, '\x80');
  EXPECT_EQ(std::memcmp(out->data[1], neutral.data(), neutral.size()), 0);
  record_.destroy(second);
}

// Each has other planes than the one before, and so a frame of its own.
TEST_F(BeautyFilterDeinterlaced, BlankFrameIsOpaqueBlackInEachKindOfFormat) {
  const struct {
    video_format format;
    std::vector<std::string> planes;  // how each begins
  } cases[] = {{VIDEO_FORMAT_NV12, {{0, 0, 0, 0}, "\x80\x80\x80\x80"}},
               {VIDEO_FORMAT_I420, {{0, 0, 0, 0}, "\x80\x80\x80\x80", "\x80\x80\x80\x80"}},
               {VIDEO_FORMAT_YUY2, {{0, '\x80', 0, '\x80'}}},
               {VIDEO_FORMAT_BGRA, {{0, 0, 0, '\xFF'}}},
               {VIDEO_FORMAT_UYVY, {{'\x80', 0, '\x80', 0}}},
               {VIDEO_FORMAT_YUVA, {{0, 0, 0, 0}, "\x80\x80\x80\x80", "\x80\x80\x80\x80", "\xFF\xFF\xFF\xFF"}}};
  StopWorker();
  for (const auto &wanted : cases) {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 99, 1, wanted.format);
    EXPECT_EQ(Video(frame.get()), frame.get());
    const obs_source_frame &last = *data().last_frame;
    ASSERT_EQ(last.format, wanted.format);
    for (size_t i = 0; i < wanted.planes.size(); ++i)
      EXPECT_EQ(std::string(reinterpret_cast<char *>(last.data[i]), 4), wanted.planes[i])
          << "plane " << i << " of " << get_video_format_name(wanted.format);
  }
}

// libobs counts a frame's bytes in 32 bits. Each of these wraps, to nothing or to a few rows.
TEST_F(BeautyFilterDeinterlaced, SizeThatTheHostCannotLayOutHasNoLastFrame) {
  StopWorker();
  for (const auto &[format, width, height] : {std::tuple{VIDEO_FORMAT_BGRA, 32768u, 32769u},
                                              {VIDEO_FORMAT_NV12, 65536u, 65537u},
                                              {VIDEO_FORMAT_AYUV, 0x40000001u, 4u},
                                              {VIDEO_FORMAT_I420, 3u, 0xFFFFFFFFu},
                                              {VIDEO_FORMAT_BGRA, 0u, 16u}}) {
    obs_source_frame frame = {};
    frame.format = format;
    frame.width = width;
    frame.height = height;
    EXPECT_EQ(Video(&frame), &frame);
    EXPECT_EQ(data().last_frame, nullptr) << width << "x" << height;
  }
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  Video(frame.get());
  EXPECT_NE(data().last_frame, nullptr);
}

TEST_F(BeautyFilterDeinterlaced, FirstFrameWithoutAChromaPlaneDoesNotPrime) {
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 51);
  frame->data[1] = nullptr;
  obs_source_frame *out = Video(frame.get());
  ASSERT_EQ(out, data().last_frame);
  EXPECT_EQ(out->data[0][0], 0);
}

// The engine's pixel buffer and shared texture leave the host's frame as it came.
TEST_F(BeautyFilterDeinterlaced, FrameWithoutAChromaPlaneIsNotKeptWhenTheOutputStaysOffTheHostsFrame) {
  for (const int32_t type : {3, 4, 5}) {
    scripted_engine::Change([type](EngineScript &script) { script.out_format = type; });
    Pass(1, kWidth, kHeight, 61);
    const HostFrame before = MakeFlatFrame(kWidth, kHeight, 62);
    Video(before.get());
    EXPECT_TRUE(WaitForPasses(++passes_));
    ASSERT_EQ(data().last_frame->data[0][0], 62);
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 63);
    frame->data[1] = nullptr;
    EXPECT_EQ(Video(frame.get()), frame.get());
    EXPECT_EQ(data().frame_type, type);
    EXPECT_EQ(data().last_frame->data[0][0], 62);
  }
}

TEST_F(BeautyFilterDeinterlaced, FrameWithAPitchBeyondTheSignedRangeIsNotKept) {
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 51);
  frame->linesize[1] = 0xFFFFFFC0u;
  obs_source_frame *out = Video(frame.get());
  ASSERT_EQ(out, data().last_frame);
  EXPECT_EQ(out->data[0][0], 0);
}

TEST_F(BeautyFilterDeinterlaced, NewSizeReplacesTheLastFrameBeforeTheEnqueue) {
  Pass();
  scripted_engine::Close(Gate::kProcess);
  const HostFrame frame = MakeFlatFrame(32, 16);
  const EnqueueWatch watch(data());
  Video(frame.get());
  EXPECT_EQ(watch.width_then, 32u);
  EXPECT_EQ(data().last_frame->width, 32u);
  EXPECT_EQ(data().last_frame->height, 16u);
  EXPECT_EQ(data().last_frame->refs, 0x7fffffff);
}

TEST_F(BeautyFilterDeinterlaced, NewFormatOfTheSameSizeReplacesItToo) {
  Pass();
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 16, 1, VIDEO_FORMAT_I420);
  Video(frame.get());
  EXPECT_EQ(data().last_frame->format, VIDEO_FORMAT_I420);
  EXPECT_NE(data().last_frame->data[2], nullptr);
  EXPECT_TRUE(WaitForPasses(2));
}

// libobs may still hold the frame for the field before.
TEST_F(BeautyFilterDeinterlaced, FormatsOfTheSamePlanesShareTheFrame) {
  for (const std::vector<video_format> &formats :
       {std::vector{VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY, VIDEO_FORMAT_YVYU},
        std::vector{VIDEO_FORMAT_RGBA, VIDEO_FORMAT_BGRA, VIDEO_FORMAT_BGRX}}) {
    constexpr long kHeld = 0x7ffffffe;  // a new frame has another count, though it may lie in the same place
    const obs_source_frame *kept = nullptr;
    for (const video_format format : formats) {
      const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 77, 1, format);
      obs_source_frame *out = Video(frame.get());
      EXPECT_TRUE(WaitForPasses(++passes_));
      if (kept) {
        ASSERT_EQ(data().last_frame, kept);
        EXPECT_EQ(kept->refs, kHeld);
        EXPECT_EQ(out, frame.get());
        EXPECT_EQ(std::memcmp(kept->data[0], frame->data[0], size_t{frame->linesize[0]} * kHeight), 0);
        EXPECT_EQ(kept->format, format);
      }
      kept = data().last_frame;
      data().last_frame->refs = kHeld;
    }
  }
}

TEST_F(BeautyFilterDeinterlaced, SharedFrameHasTheFormatOfItsOwnPixels) {
  scripted_engine::Close(Gate::kProcess);
  const HostFrame first = MakeFlatFrame(kWidth, kHeight, 51, 1, VIDEO_FORMAT_YUY2);
  const HostFrame second = MakeFlatFrame(kWidth, kHeight, 52, 2, VIDEO_FORMAT_UYVY);
  obs_source_frame *of_first = Video(first.get());
  ASSERT_EQ(of_first, data().last_frame);
  obs_source_frame *of_second = Video(second.get());  // nothing has been delivered: the first one's pixels again
  EXPECT_EQ(of_second, of_first);
  EXPECT_EQ(of_second->data[0][0], 51);
  EXPECT_EQ(of_second->format, VIDEO_FORMAT_YUY2);
}

TEST_F(BeautyFilterDeinterlaced, SwitchingTheModeOffFreesItOnTheNextFrame) {
  Pass();
  parent_.deinterlace = OBS_DEINTERLACE_MODE_DISABLE;
  Pass();
  EXPECT_EQ(data().last_frame, nullptr);
  EXPECT_TRUE(host_double::Switches().deinterlace) << "the host's flag stays as the last true left it";
}

TEST_F(BeautyFilterDeinterlaced, LastFrameCarriesNoDumpMark) {
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 16, 5);
  vanta::SetDumpId(frame.get(), 9);
  obs_source_frame *out = Video(frame.get());
  ASSERT_EQ(out, data().last_frame);
  EXPECT_EQ(vanta::GetDumpId(out), 0u);
  EXPECT_TRUE(WaitForPasses(1));
}

TEST_F(BeautyFilterDeinterlaced, NothingOfItLeaks) {
  Pass();
  Pass(2, 32, 16);
  DestroyFilter();
  passes_ = 0;
  host_double::ClearCalls();
  const long before = bnum_allocs();
  CreateFilter();
  Pass();
  Pass(2, 32, 16);
  DestroyFilter();
  EXPECT_EQ(bnum_allocs(), before);
}

// ---- Dump ----

class BeautyFilterDump : public FilterFixture {
 protected:
  void SetUp() override {
    scripted_engine::Change([](EngineScript &script) { script.dump_text = "{\"a\":1}"; });
    CreateFilter();
  }
};

TEST_F(BeautyFilterDump, MarkedFrameBringsItsTextToTheRecord) {
  const HostFrame marked = MakeFlatFrame(kWidth, kHeight, 16, 1000);
  vanta::SetDumpId(marked.get(), 7);
  Video(marked.get());
  ASSERT_TRUE(WaitForPasses(1));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 16, 2000);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(vanta::GetDumpId(frame.get()), 7u);
  EXPECT_EQ(data().dump_json, "{\"a\":1}");
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:7 corvid_dump_json:{\"a\":1} "));
  EXPECT_TRUE(WaitForPasses(2));
}

TEST_F(BeautyFilterDump, MarkThatRodeOnALaterFrameIsRefused) {
  Pass();
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  vanta::SetDumpId(frame.get(), 8);  // this very frame is to be dumped; what comes out is an older, unmarked one
  Video(frame.get());
  EXPECT_EQ(data().dump_json, "");
  EXPECT_TRUE(log_.Has(kWarning, "[beauty][DumpImage] beauty_fiter, can not get dump json for 8(0)"));
  EXPECT_TRUE(WaitForPasses(2));
}

TEST_F(BeautyFilterDump, CallbackHandsOutTextAndLength) {
  data().dump_json = "{\"b\":2}";
  const char *text = nullptr;
  uint32_t length = 0;
  record_.get_dump_json(instance_, &text, &length);
  EXPECT_STREQ(text, "{\"b\":2}");
  EXPECT_EQ(length, 7u);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][vanta dump][FaceBeautyFilterWorker]  corvid_dump_json:{\"b\":2} "));
}

TEST_F(BeautyFilterDump, CallbackWithANullArgumentDoesNothing) {
  const char *text = "old";
  uint32_t length = 99;
  log_.Clear();
  record_.get_dump_json(nullptr, &text, &length);
  record_.get_dump_json(instance_, nullptr, &length);
  record_.get_dump_json(instance_, &text, nullptr);
  EXPECT_STREQ(text, "old");
  EXPECT_EQ(length, 99u);
  EXPECT_FALSE(log_.HasText("corvid_dump_json"));
}

}  // namespace
