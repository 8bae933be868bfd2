// What the scalers say when they are checked and rebuilt.
#include <gtest/gtest.h>

#include "fakes/host/host_double.h"
#include "fixtures/frames/host_frame.h"
#include "fixtures/process/log_capture.h"
#include "frames/face_beauty_frame_factory.h"
#include "frames/frame_scaler.h"

namespace vanta {
namespace {

using vanta_test::LogCapture;
using vanta_test::LogLine;
using vanta_test::MakeHostFrame;
using Lines = std::vector<LogLine>;

class FrameScalerLog : public testing::Test {
 protected:
  void Put(const obs_source_frame *host) {
    factory_.PutInput(factory_.TakeFreeFrame(host->width, host->height), host);
    factory_.Recycle(factory_.TakeNextInput());
  }
  bool Copy(obs_source_frame *host) {
    const PooledFramePtr frame = factory_.TakeDumpFrame(1, host->width, host->height, 1);
    return factory_.CopyToObsFrame(*frame, host);
  }

  FaceBeautyFrameFactory factory_;
};

TEST_F(FrameScalerLog, FirstInputSaysThatThereIsNoScaler) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  LogCapture log;
  Put(host.get());
  EXPECT_EQ(log.LinesWith("[beauty]"), (Lines{{LOG_INFO, "[beauty] Invalid scaler_"}}));
}

TEST_F(FrameScalerLog, Nv12BuildsAScalerToo) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  LogCapture log;
  Put(host.get());
  Put(host.get());
  EXPECT_EQ(log.LinesWith("[beauty]"), (Lines{{LOG_INFO, "[beauty] Invalid scaler_"}}));
}

TEST_F(FrameScalerLog, SecondInputOfTheSameKindSaysNothing) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  Put(host.get());
  LogCapture log;
  Put(host.get());
  EXPECT_TRUE(log.Lines().empty());
}

TEST(FrameScaler, ConversionBeforeAScalerIsBuiltSaysSoAndFails) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  const auto nv12 = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  const auto before = vanta_test::PixelsOf(*nv12);
  FrameScaler scaler(ScaleDirection::kToNv12);
  LogCapture log;
  EXPECT_FALSE(scaler.ToNv12(*host, Nv12PlanesOf(*nv12)));
  EXPECT_EQ(log.Lines(), (Lines{{LOG_INFO, "[beauty] Scaler not initialized!"}}));
  EXPECT_EQ(vanta_test::PixelsOf(*nv12), before);
}

TEST_F(FrameScalerLog, ChangeOfSizeNamesNewAndOldSizes) {
  const auto before = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 18);
  const auto after = MakeHostFrame(VIDEO_FORMAT_BGRA, 32, 34);
  Put(before.get());
  LogCapture log;
  Put(after.get());
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Invalid width or height! width 32 width_ 16 height 34 height_ 18"}}));
}

TEST_F(FrameScalerLog, ChangeOfHeightAloneCounts) {
  const auto before = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 18);
  const auto after = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 20);
  Put(before.get());
  LogCapture log;
  Put(after.get());
  EXPECT_TRUE(log.Has(LOG_INFO, "[beauty] Invalid width or height! width 16 width_ 16 height 20 height_ 18"));
}

TEST_F(FrameScalerLog, SwitchFromNv12ToBgraNamesTheNewFormatOnce) {
  const auto before = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  const auto after = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  Put(before.get());
  LogCapture log;
  Put(after.get());
  Put(after.get());
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Invalid source frame format!  src_frame 7 src_frame_format_"}}));
}

TEST_F(FrameScalerLog, ChangeOfRangeAloneNamesNewAndOldRange) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  Put(host.get());
  LogCapture log;
  host->full_range = true;
  Put(host.get());
  Put(host.get());
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Valid parameters! colorspace 2 colorspace_ 2 range_type 2 height_ 1"}}));
}

TEST_F(FrameScalerLog, ChangeOfColourSpaceAloneNamesNewAndOldSpace) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  Put(host.get());
  LogCapture log;
  vanta_test::host_double::Change([](vanta_test::HostSwitches &says) { says.colorspace = VIDEO_CS_601; });
  Put(host.get());
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Valid parameters! colorspace 1 colorspace_ 2 range_type 1 height_ 1"}}));
}

TEST_F(FrameScalerLog, SizeComesBeforeFormatAndRange) {
  const auto before = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  const auto after = MakeHostFrame(VIDEO_FORMAT_BGRA, 18, 16);
  after->full_range = true;
  Put(before.get());
  LogCapture log;
  Put(after.get());
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Invalid width or height! width 18 width_ 16 height 16 height_ 16"}}));
}

TEST_F(FrameScalerLog, FormatComesBeforeRange) {
  const auto before = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  const auto after = MakeHostFrame(VIDEO_FORMAT_I420, 16, 16);
  after->full_range = true;
  Put(before.get());
  LogCapture log;
  Put(after.get());
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Invalid source frame format!  src_frame 1 src_frame_format_"}}));
}

TEST_F(FrameScalerLog, FailedBuildIsFollowedByNoScalerOnTheNextFrame) {
  const auto good = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  const auto bad = MakeHostFrame(VIDEO_FORMAT_AYUV, 16, 16);
  Put(good.get());
  LogCapture log;
  Put(bad.get());
  Put(bad.get());
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Invalid source frame format!  src_frame 16 src_frame_format_"},
                   {LOG_WARNING, "[beauty] create ffmpeg scaler failed"},
                   {LOG_INFO, "[beauty] Invalid scaler_"},
                   {LOG_WARNING, "[beauty] create ffmpeg scaler failed"}}));
}

TEST_F(FrameScalerLog, OutputAlsoSaysWhatItBuilds) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 18);
  LogCapture log;
  EXPECT_TRUE(Copy(host.get()));
  EXPECT_TRUE(Copy(host.get()));
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (Lines{{LOG_INFO, "[beauty] Invalid scaler_"}, {LOG_INFO, "[beauty] Initialize scalers. Size 16 x 18"}}));
}

TEST_F(FrameScalerLog, InputAndOutputHaveScalersOfTheirOwn) {
  const auto nv12 = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  const auto bgra = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  Put(bgra.get());
  EXPECT_TRUE(Copy(nv12.get()));
  LogCapture log;
  Put(bgra.get());
  EXPECT_TRUE(Copy(nv12.get()));
  EXPECT_TRUE(log.Lines().empty());
}

}  // namespace
}  // namespace vanta
