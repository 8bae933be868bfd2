// The dump path: a frame that the host marked comes back under its id, with the engine's text.
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "vanta_filter/module/host_frame.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;
using vanta_test::kWarning;

class WorkerDump : public WorkerFixture {
 protected:
  void SetUp() override {
    scripted_engine::Change([](EngineScript &script) { script.dump_text = "{\"applied\":1}"; });
    StartWorker();
  }

  bool FeedMarked(uint32_t id, uint64_t timestamp) {
    const TestFrame frame = MakeFrame(kWidth, kHeight, 16, timestamp);
    vanta::SetDumpId(frame.get(), id);
    return FeedFrame(frame.get());
  }
};

TEST_F(WorkerDump, MarkedFrameIsLoggedOnItsWay) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:7 timestamp:1000"));
  EXPECT_TRUE(log_.Has(kInfo, "[ImageDump] after beauty_fitler id : 1"));
  EXPECT_TRUE(Dequeue().success);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:1000 "));
}

TEST_F(WorkerDump, MarkedFrameComesBackUnderItsId) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  const Dequeued out = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(out.frame.get()), 7u);
  std::string json;
  EXPECT_EQ(worker_->GetDumpJson(json, 7), "{\"applied\":1}");
  EXPECT_EQ(json, "{\"applied\":1}");
  EXPECT_TRUE(log_.Has(kWarning, "[beauty][DumpImage] beauty_fiter, get dump json for 7"));
}

TEST_F(WorkerDump, AnotherIdIsRefusedWithAnEmptyText) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  EXPECT_TRUE(Dequeue().success);
  std::string json = "old";
  EXPECT_EQ(worker_->GetDumpJson(json, 8), "");
  EXPECT_EQ(json, "");
  EXPECT_TRUE(log_.Has(kWarning, "[beauty][DumpImage] beauty_fiter, can not get dump json for 8(7)"));
}

TEST_F(WorkerDump, MarkedFrameComesOnTopOfTheFourInFlight) {
  scripted_engine::Close(Gate::kProcess);
  const TestFrame frame = MakeFrame(kWidth, kHeight);
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  const TestFrame marked = MakeFrame(kWidth, kHeight, 16, 99);
  vanta::SetDumpId(marked.get(), 5);
  EXPECT_TRUE(worker_->EnqueueFrame(marked.get()));
  EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));
}

TEST_F(WorkerDump, OrdinaryFrameLeavesTheHostsMarkAlone) {
  ASSERT_TRUE(Feed());
  TestFrame frame = MakeFrame(kWidth, kHeight);
  vanta::SetDumpId(frame.get(), 3);
  int32_t type = 2;
  std::shared_ptr<LX::FrameData> bgra;
  EXPECT_TRUE(worker_->DequeueFrame(frame.get(), &type, &bgra));
  EXPECT_EQ(vanta::GetDumpId(frame.get()), 3u);
}

TEST_F(WorkerDump, IdOfARecycledFrameIsGone) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  EXPECT_TRUE(Dequeue().success);
  ASSERT_TRUE(Feed(1000));
  const Dequeued out = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(out.frame.get()), 0u);
}

TEST_F(WorkerDump, SecondMarkOnOneTimestampStands) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  ASSERT_TRUE(FeedMarked(8, 1000));
  const Dequeued first = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(first.frame.get()), 8u);
  // The first to be recycled took the entry with it: the second frame is marked, but has no id.
  const Dequeued second = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(second.frame.get()), 0u);
  std::string json;
  EXPECT_EQ(worker_->GetDumpJson(json, 8), "{\"applied\":1}");
}

}  // namespace
