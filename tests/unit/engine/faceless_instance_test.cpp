// The control object: its one life, its state and its locks.
#include "engine/faceless_instance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "beauty/face_beauty_filter_worker.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;
using vanta::FacelessInstance;

using vanta_test::kInfo;

TEST(ControlObject, IsOneForTheProcessAndMadeOnce) {
  const LogCapture log;
  ILumivex *first = nullptr;
  ILumivex *second = nullptr;
  EXPECT_TRUE(FindFacelessInstance(&first));
  EXPECT_TRUE(FindFacelessInstance(&second));
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(first, FacelessInstance::GetInstance().get());
  EXPECT_EQ(log.Count("FacelessInstance create"), 1u);
}

TEST(ControlObject, RefusesANullAddress) {
  EXPECT_FALSE(FindFacelessInstance(nullptr));
}

TEST(ControlObject, ManyThreadsFindTheSameOne) {
  ILumivex *found[4] = {};
  std::thread threads[4];
  for (int i = 0; i < 4; ++i) threads[i] = std::thread([&found, i] { FindFacelessInstance(&found[i]); });
  for (std::thread &thread : threads) thread.join();
  for (int i = 1; i < 4; ++i) EXPECT_EQ(found[i], found[0]);
}

// What the host's threads find while static objects end. Plain pointers: this must outlast them too.
std::weak_ptr<FacelessInstance> *watch = nullptr;
ILumivex *control = nullptr;

void LookAtTheControlObject() {
  const bool good = !watch->expired() && control->GetFacelessJumpInfo().jump_type == 7;
  std::_Exit(good ? 0 : 1);
}

TEST(ControlObject, StaysGoodWhileTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process of its own, in which nobody has asked for the object
  EXPECT_EXIT(
      {
        std::atexit(LookAtTheControlObject);  // registered before all that the object registers, and so run behind it
        watch = new std::weak_ptr<FacelessInstance>(FacelessInstance::GetInstance());
        FindFacelessInstance(&control);
        control->SetFacelessJumpInfo({true, 7});
        std::exit(2);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ControlObject, JumpInfoBeginsClearAndIsLoggedWhenSet) {
  const LogCapture log;
  const auto instance = FacelessInstance::GetInstance();
  EXPECT_FALSE(instance->GetFacelessJumpInfo().need_jump);
  EXPECT_EQ(instance->GetFacelessJumpInfo().jump_type, 0);
  instance->SetFacelessJumpInfo({true, 4});
  EXPECT_TRUE(instance->GetFacelessJumpInfo().need_jump);
  EXPECT_EQ(instance->GetFacelessJumpInfo().jump_type, 4);
  EXPECT_TRUE(log.Has(kInfo,
                      "[beauty faceless] entrance FacelessInstance::SetFacelessJumpInfo, "
                      "jump_info.need_jump=1, jump_info.jump_type=4"));
}

TEST(ControlObject, SnapshotChangesByTheHostsWordAlone) {
  const auto instance = FacelessInstance::GetInstance();
  instance->SetBeautyIntensityWithType(LXBeautyType(1), 0.5F);
  instance->SetModelRootPath("root");
  EXPECT_TRUE(instance->GetEngineSnapshot().beauty.empty());
  EXPECT_EQ(instance->GetEngineSnapshot().model_root_path, "");
  FacelessEngineSnapshot snapshot;
  snapshot.beauty = {{LXBeautyType(2), 0.25F}};
  instance->SetEngineSnapshot(snapshot);
  EXPECT_EQ(instance->GetEngineSnapshot().beauty, snapshot.beauty);
}

TEST(ControlObject, BoxInfoBeginsUnloaded) {
  EXPECT_FALSE(FacelessInstance::GetInstance()->GetInteractiveBoxInfo().loaded);
}

TEST(ControlObject, StatisticsAreKeptBySourceInKeyOrder) {
  const auto instance = FacelessInstance::GetInstance();
  obs_source sources[3];
  for (const int i : {2, 0, 1}) {
    StatisticsSample sample;
    sample.name = std::to_string(i);
    instance->UpdateStatistics(&sources[i], sample);
  }
  const std::vector<StatisticsSample> all = instance->GetBeautyStatistics();
  ASSERT_EQ(all.size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(all[static_cast<size_t>(i)].name, std::to_string(i));
}

TEST(ControlObject, NewStatisticsReplaceTheOld) {
  const auto instance = FacelessInstance::GetInstance();
  obs_source source;
  StatisticsSample sample;
  instance->UpdateStatistics(&source, sample);
  sample.drop_count = 3;
  instance->UpdateStatistics(&source, sample);
  ASSERT_EQ(instance->GetBeautyStatistics().size(), 1u);
  EXPECT_EQ(instance->GetBeautyStatistics().front().drop_count, 3);
}

TEST(ControlObject, RemovingUnknownStatisticsIsSilent) {
  const auto instance = FacelessInstance::GetInstance();
  const LogCapture log;
  obs_source source;
  instance->RemoveStatistics(&source);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(ControlObject, CommandsWithoutWorkersAreDroppedAfterTheirLine) {
  const LogCapture log;
  FacelessInstance::GetInstance()->SetLookupIntensity(0.5F);
  EXPECT_TRUE(log.Has(kInfo, "[beauty faceless] entrance FacelessInstance::SetLookupIntensity, intensity=0.50"));
}

// "%d" takes the low word of the double that a float becomes on its way into a log line.
TEST(ControlObject, NaturalityIsLoggedAsTheLowWordOfItsDouble) {
  const LogCapture log;
  FacelessInstance::GetInstance()->SetNaturalityIntensity(0.3F);  // 0x3fd33333'40000000
  EXPECT_TRUE(
      log.Has(kInfo, "[beauty faceless] entrance FacelessInstance::SetNaturalityIntensity, intensity=1073741824"));
}

TEST(ControlObject, EmptyListsAreLoggedByTheirSizeOrNotAtAll) {
  const LogCapture log;
  FacelessInstance::GetInstance()->SetModelPathDic({});
  FacelessInstance::GetInstance()->SetMakeupInfo({});
  FacelessInstance::GetInstance()->SetMagicCustomImage({});
  FacelessInstance::GetInstance()->CancelMagicEffect();
  EXPECT_EQ(log.LinesWith("[beauty faceless]"),
            (std::vector<LogLine>{
                {kInfo, "[beauty faceless] entrance FacelessInstance::SetModelPathDic, pathDic.size()=0"}}));
}

// A text that fills its array to the last byte, as a host that forgets the terminator sends it.
template <size_t kSize>
std::string Fill(char (&text)[kSize]) {
  std::fill(text, text + kSize, 'x');
  return std::string(kSize, 'x');
}

TEST(ControlObject, TextsWithoutATerminatorAreLoggedNoFurtherThanTheirArrays) {
  const auto instance = FacelessInstance::GetInstance();
  const LogCapture log;
  LXGroupConfig group{};
  const std::string full = Fill(group.path);
  instance->SetBeautyGroupPath(group);
  EXPECT_TRUE(log.HasText("SetBeautyGroupPath, path=" + full + ",is_group=0"));
  LXLookupInfo lookup{};
  Fill(lookup.path);
  lookup.intensity = 0.5F;
  instance->SetLookupInfo(lookup);
  EXPECT_TRUE(log.HasText("lookupInfo.path=" + full + ", lookupInfo.type=0"));
  LXMakeupInfo layer{};
  Fill(layer.key);
  Fill(layer.resourceDir);
  layer.word = -1;
  layer.intensity = 0.5F;
  instance->SetMakeupInfo({layer});
  const LogLine makeup = log.Lines().back();
  EXPECT_TRUE(makeup.text.ends_with("item_info.key=" + full + ", item_info.resourceDir=" + full));
  LXMediaResource media{};
  Fill(media.mediaPath);
  instance->SetMediaResource(media);
  EXPECT_TRUE(log.Lines().back().text.ends_with("mediaResource.mediaPath=" + full));
}

TEST(ControlObject, SourcesWithoutAWorkerAreReleasedAllTheSame) {
  obs_source first, second;
  first.refs = second.refs = 2;
  FacelessInstance::GetInstance()->SetMagicEffectForSources({&first, &second}, {"path", kMainEffectSlot, false, ""});
  EXPECT_EQ(first.refs, 1);
  EXPECT_EQ(second.refs, 1);
}

TEST(ControlObject, RemovingAnUnknownWorkerIsSilent) {
  const auto instance = FacelessInstance::GetInstance();
  const LogCapture log;
  obs_source source;
  instance->RemoveWorker(&source);
  EXPECT_TRUE(log.Lines().empty());
}

}  // namespace
