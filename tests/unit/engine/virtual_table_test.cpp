// The operations as the host application calls them: through the table of virtual functions, by place.
#include <cstring>
#include <list>

#include "engine/faceless_instance.h"
#include "fixtures/module/render_fixture.h"
#include "fixtures/module/worker_fixture.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

// Operation N of an interface; the destructor, operation 0, takes two places of the table here.
template <typename Result = void, typename... Args>
Result CallSlot(void *object, int operation, Args... args) {
  constexpr int kDestructorPlaces = 2;
  void **table = *static_cast<void ***>(object);
  auto function = reinterpret_cast<Result (*)(void *, Args...)>(table[kDestructorPlaces + operation - 1]);
  return function(object, args...);
}

LXLookupInfo Lookup() {
  LXLookupInfo info{};
  std::strcpy(info.path, "table");
  info.intensity = 0.5F;
  info.dimension = 33;
  info.type = 2;
  return info;
}

LXGroupConfig Group() {
  LXGroupConfig group{};
  std::strcpy(group.path, "group");
  group.is_group = true;
  return group;
}

std::vector<LXMakeupInfo> Makeup() {
  LXMakeupInfo layer{};
  std::strcpy(layer.resourceDir, "dir");
  std::strcpy(layer.key, "lip");
  layer.word = 9;
  layer.intensity = 0.7F;
  return {layer};
}

LXMediaResource Media() {
  LXMediaResource media{};
  media.type = 7;
  std::strcpy(media.mediaPath, "media");
  return media;
}

// Calls operations 1 to 27 in order, each with arguments of its own.
void CallAll(IFaceless *interface) {
  void *object = interface;
  const std::map<std::string, std::string> dictionary = {{"key", "folder"}};
  const std::string params = "params", event = "event", boom = "boom", box = "box";
  const std::vector<std::string> images = {"a.png", "b.png"};
  const std::vector<LXMakeupInfo> makeup = Makeup();
  const LXGroupConfig group = Group();
  CallSlot<void, const std::map<std::string, std::string> &>(object, 1, dictionary);
  CallSlot<void, std::string>(object, 2, "root");
  CallSlot<void, const std::string &>(object, 3, params);
  CallSlot<void>(object, 4);
  CallSlot<void>(object, 5);
  CallSlot<void, LXEffectType, bool>(object, 6, LXEffectType(61), true);
  CallSlot<void, LXLookupInfo>(object, 7, Lookup());
  CallSlot<void, float>(object, 8, 0.25F);
  CallSlot<void, const std::vector<LXMakeupInfo> &>(object, 9, makeup);
  CallSlot<void, std::string, float>(object, 10, "lip", 0.75F);
  CallSlot<void, LXBeautyType, float>(object, 11, LXBeautyType(111), 0.5F);
  CallSlot<void, const LXGroupConfig &>(object, 12, group);
  CallSlot<void, float>(object, 13, 0.5F);
  CallSlot<void, int32_t, float>(object, 14, 141, 0.25F);
  CallSlot<void, LXBodySlimmingType, float>(object, 15, LXBodySlimmingType(151), 0.75F);
  CallSlot<void, float, float, int32_t>(object, 16, 0.25F, 0.75F, 3);
  CallSlot<void, std::string, LXEffectSlot, bool, const std::string &>(object, 17, "with_event", kMainEffectSlot, true,
                                                                       event);
  CallSlot<void, std::string, LXEffectSlot, bool>(object, 18, "with_path", kRecognitionGiftSlot, false);
  CallSlot<void>(object, 19);
  CallSlot<void, LXEffectState>(object, 20, LXEffectState(201));
  CallSlot<void, LXEffectAdjustType, float>(object, 21, LXEffectAdjustType(211), 0.5F);
  CallSlot<void, LXMediaResource>(object, 22, Media());
  CallSlot<void, int32_t, float>(object, 23, 231, 0.5F);
  CallSlot<void, const std::string &>(object, 24, boom);
  CallSlot<void, const std::vector<std::string> &>(object, 25, images);
  CallSlot<void, const std::string &>(object, 26, box);
  CallSlot<void>(object, 27);
}

// What of them an engine hears, operation by operation; 2 and 23 differ by who answers.
Texts EngineTexts(bool with_root_path) {
  Texts texts = {"setModelPathDic({key=folder})"};
  if (with_root_path) {
    texts.push_back("setModelPathDic(built)");
    texts.push_back("setModelRootPath(root)");
  }
  const Texts rest = {"updateTesseraParams(params)",
                      "beginBatchCommand()",
                      "endBatchCommand()",
                      "setEffectEnabledWithEffectType(61, 1)",
                      "setLookupInfo(table, 0.50, 33, 2)",
                      "setLookupIntensity(0.25)",
                      "setMakeupInfo(dir lip 9 0.70)",
                      "setMakeupIntensityWithKey(lip, 0.75)",
                      "setBeautyIntensityWithType(111, 0.50)",
                      "setBeautyGroupPath(group, 1)",
                      "setNaturalityIntensity(0.50)",
                      "setDeformIntensityWithMode(141, 0.25)",
                      "setBodySlimmingIntensityWithType(151, 0.75)",
                      "setBodySlimmingManualLegHeightRangeAndDir(0.25, 0.75, 3)",
                      "setMagicEffectWithPath(with_event, 0, 1)",
                      "setMagicEffectWithPath(with_path, 2, 0)",
                      "cancelMagicEffect()",
                      "setEffectStateWithState(201)",
                      "setEffectIntensityWithType(211, 0.50)",
                      "setMediaResource(7, media)",
                      "setBoomGameData(boom)",
                      "setMagicCustomImage(a.png, b.png)",
                      "loadInteractiveBoxResource(box)",
                      "unloadInteractiveBoxResource()"};
  texts.insert(texts.end(), rest.begin(), rest.end());
  return texts;
}

// The dictionary that is built from the model folder depends on the machine.
Texts WithBuiltDictionary(Texts texts) {
  for (std::string &text : texts)
    if (text.rfind("setModelPathDic({magic_rho", 0) == 0) text = "setModelPathDic(built)";
  return texts;
}

class RenderTable : public RenderFixture {};

TEST_F(RenderTable, HoldsThe27OperationsInTheirOrder) {
  Start();
  CallAll(processor_.get());
  EXPECT_EQ(WithBuiltDictionary(CallsAfterStart()), EngineTexts(true));
}

TEST_F(RenderTable, BeginsWithTheDestructor) {
  vanta::LumivexProcessor *processor = new vanta::LumivexProcessor;
  processor->Initialize(64, 48, nullptr);
  void **table = *reinterpret_cast<void ***>(processor);
  // The second place destroys and frees.
  reinterpret_cast<void (*)(void *)>(table[1])(processor);
  EXPECT_EQ(scripted_engine::Alive(), 0);
}

class ControlTable : public WorkerFixture {
 protected:
  void SetUp() override {
    SetAsync(false);
    StartWorker();
    ASSERT_TRUE(Feed());
    vanta::FacelessInstance::GetInstance()->AddWorker(&filter_, worker_);
  }
  void TearDown() override { vanta::FacelessInstance::GetInstance()->RemoveWorker(&filter_); }
  static void SetAsync(bool on) {
    host_double::Change([on](HostSwitches &switches) { switches.async_beauty = on; });
  }
};

TEST_F(ControlTable, ForwardsOperationNToOperationNOfTheProcessor) {
  CallAll(vanta::FacelessInstance::GetInstance().get());
  EXPECT_EQ(CommandsOf(1), EngineTexts(false));
}

TEST_F(ControlTable, QueuedOperationsReachTheProcessorInTheirOrderToo) {
  SetAsync(true);
  CallAll(vanta::FacelessInstance::GetInstance().get());
  EXPECT_TRUE(CommandsOf(1).empty());
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), EngineTexts(false));
}

TEST_F(ControlTable, NamesEachOperationInItsLine) {
  log_.Clear();
  CallAll(vanta::FacelessInstance::GetInstance().get());
  Texts lines;
  for (const LogLine &line : log_.LinesWith("[beauty faceless] entrance ")) {
    EXPECT_EQ(line.level, 300);
    lines.push_back(line.text.substr(std::strlen("[beauty faceless] entrance ")));
  }
  EXPECT_EQ(lines, (Texts{"FacelessInstance::SetModelPathDic, pathDic.size()=1",
                          "FacelessInstance::SetModelPathDic, pathDic.key=key, pathDic.value=folder",
                          "FacelessInstance::SetModelRootPath, path=root",
                          "FacelessInstance::UpdateTesseraParams, jsonStr=params",
                          "FacelessInstance::BeginBatchCommand",
                          "FacelessInstance::EndBatchCommand",
                          "FacelessInstance::SetEffectEnabledWithEffectType, LXEffectType=61,bool=1",
                          "FacelessInstance::SetLookupInfo, lookupInfo.dimension=33, lookupInfo.intensity=0.50, "
                          "lookupInfo.path=table, lookupInfo.type=2",
                          "FacelessInstance::SetLookupIntensity, intensity=0.25",
                          "FacelessInstance::SetMakeupInfo, item_info.intensity=0.70, item_info.key=lip, "
                          "item_info.resourceDir=dir",
                          "FacelessInstance::SetMakeupIntensityWithKey, intensity=0.75,key=lip",
                          "FacelessInstance::SetBeautyIntensityWithType, intensity=0.50,type=111",
                          "FacelessInstance::SetBeautyGroupPath, path=group,is_group=1",
                          "FacelessInstance::SetNaturalityIntensity, intensity=0",
                          "FacelessInstance::SetDeformIntensityWithMode, intensity=0.25,mode=141",
                          "FacelessInstance::SetBodySlimmingIntensityWithType, intensity=0.75,type=151",
                          "FacelessInstance::SetBodySlimmingManualLegHeightRangeAndDir, top=0.25,bottom=0.75,dir=3",
                          "FacelessInstance::SetMagicEffectWithEvent, path=with_event",
                          "FacelessInstance::SetMagicEffectWithPath, path=with_path",
                          "FacelessInstance::SetEffectStateWithState, effectState=201",
                          "FacelessInstance::SetEffectIntensityWithType, intensity=0.50,type=211",
                          "FacelessInstance::SetMediaResource, item_info.intensity=,  mediaResource.type=7, "
                          "mediaResource.mediaPath=media",
                          "FacelessInstance::SetBasicAdjustIntensity, intensity=0.50,type=231",
                          "FacelessInstance::SetBoomGameData, intensity=boom",
                          "FacelessInstance::LoadInteractiveBoxResource, path=box",
                          "FacelessInstance::UnloadInteractiveBoxResource"}));
}

TEST_F(ControlTable, HoldsTheSixFurtherOperationsBehind) {
  ILumivex *control = vanta::FacelessInstance::GetInstance().get();
  FacelessEngineSnapshot snapshot;
  snapshot.boom_game_data = "kept";
  CallSlot<void, const FacelessEngineSnapshot &>(control, 28, snapshot);
  EXPECT_EQ(vanta::FacelessInstance::GetInstance()->GetEngineSnapshot().boom_game_data, "kept");

  const InteractiveBoxInfo box{"chest", true};
  CallSlot<void, const InteractiveBoxInfo &>(control, 29, box);
  EXPECT_EQ(vanta::FacelessInstance::GetInstance()->GetInteractiveBoxInfo().path, "chest");

  StatisticsSample sample;
  sample.name = "mine";
  vanta::FacelessInstance::GetInstance()->UpdateStatistics(&filter_, sample);
  // A result of class type comes back through a hidden first argument.
  void **table = *reinterpret_cast<void ***>(control);
  using Getter = std::vector<StatisticsSample> (*)(void *);
  const std::vector<StatisticsSample> statistics = reinterpret_cast<Getter>(table[31])(control);
  ASSERT_EQ(statistics.size(), 1u);
  EXPECT_EQ(statistics.front().name, "mine");

  filter_.refs = 2;
  CallSlot<void, std::list<obs_source_t *>, MagicEffectRequest>(control, 31, {&filter_},
                                                                MagicEffectRequest{"path", kMainEffectSlot, true, ""});
  EXPECT_EQ(filter_.refs, 1);
  EXPECT_EQ(scripted_engine::Count("setMagicEffectWithPath(path, 0, 1)"), 1u);

  const FacelessJumpInfo jump{true, 5};
  CallSlot<void, const FacelessJumpInfo &>(control, 32, jump);
  const auto read = CallSlot<FacelessJumpInfo>(control, 33);
  EXPECT_TRUE(read.need_jump);
  EXPECT_EQ(read.jump_type, 5);
}

}  // namespace
