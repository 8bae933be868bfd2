// The road of a frame through filter_video on a deinterlaced source, and of a frame marked for dump.
#include <util/bmem.h>

#include <cstring>
#include <string>

#include "filter_bench.h"
#include "module/host_frame.h"
#include "support/log_capture.h"
#include "support/wait.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;
using vanta_test::kWarning;

class BeautyFilterDeinterlaced : public FilterBench {
 protected:
  void SetUp() override {
    parent_.deinterlace = OBS_DEINTERLACE_MODE_LINEAR;
    CreateFilter();
  }
};

TEST_F(BeautyFilterDeinterlaced, FirstFrameComesBackAsACopyOfItself) {
  const TestFrame frame = MakeFrame(kWidth, kHeight, 51);
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
  const TestFrame frame = MakeFrame(kWidth, kHeight, 62, 99);
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
  const TestFrame frame = MakeFrame(kWidth, kHeight, 71);
  scripted_engine::Close(Gate::kProcess);
  obs_source_frame *out = record_.filter_video(second, frame.get());
  scripted_engine::Open(Gate::kProcess);
  EXPECT_EQ(out, second_data.last_frame);
  const std::string dark(size_t{kWidth} * kHeight, '\0');
  EXPECT_EQ(std::memcmp(out->data[0], dark.data(), dark.size()), 0) << "a later instance starts with a blank frame";
  record_.destroy(second);
}

TEST_F(BeautyFilterDeinterlaced, NewSizeReplacesTheLastFrameBeforeTheEnqueue) {
  Pass();
  scripted_engine::Close(Gate::kProcess);
  const TestFrame frame = MakeFrame(32, 16);
  Video(frame.get());
  EXPECT_EQ(data().last_frame->width, 32u);
  EXPECT_EQ(data().last_frame->height, 16u);
  EXPECT_EQ(data().last_frame->refs, 0x7fffffff);
}

TEST_F(BeautyFilterDeinterlaced, NewFormatOfTheSameSizeReplacesItToo) {
  Pass();
  const TestFrame frame = MakeFrame(kWidth, kHeight, 16, 1, VIDEO_FORMAT_I420);
  Video(frame.get());
  EXPECT_EQ(data().last_frame->format, VIDEO_FORMAT_I420);
  EXPECT_NE(data().last_frame->data[2], nullptr);
  EXPECT_TRUE(WaitForPasses(2));
}

TEST_F(BeautyFilterDeinterlaced, SwitchingTheModeOffFreesItOnTheNextFrame) {
  Pass();
  parent_.deinterlace = OBS_DEINTERLACE_MODE_DISABLE;
  Pass();
  EXPECT_EQ(data().last_frame, nullptr);
  EXPECT_TRUE(host_double::Switches().deinterlace) << "the host's flag stays as the last true left it";
}

TEST_F(BeautyFilterDeinterlaced, LastFrameCarriesNoDumpMark) {
  const TestFrame frame = MakeFrame(kWidth, kHeight, 16, 5);
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

class BeautyFilterDump : public FilterBench {
 protected:
  void SetUp() override {
    scripted_engine::Change([](EngineScript &script) { script.dump_text = "{\"a\":1}"; });
    CreateFilter();
  }
};

TEST_F(BeautyFilterDump, MarkedFrameBringsItsTextToTheRecord) {
  const TestFrame marked = MakeFrame(kWidth, kHeight, 16, 1000);
  vanta::SetDumpId(marked.get(), 7);
  Video(marked.get());
  ASSERT_TRUE(WaitForPasses(1));
  const TestFrame frame = MakeFrame(kWidth, kHeight, 16, 2000);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(vanta::GetDumpId(frame.get()), 7u);
  EXPECT_EQ(data().dump_json, "{\"a\":1}");
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:7 corvid_dump_json:{\"a\":1} "));
  EXPECT_TRUE(WaitForPasses(2));
}

TEST_F(BeautyFilterDump, MarkThatRodeOnALaterFrameIsRefused) {
  Pass();
  const TestFrame frame = MakeFrame(kWidth, kHeight);
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
