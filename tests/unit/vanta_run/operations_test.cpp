// Every operation of the control object, reached by its name.
#include <gtest/gtest.h>

#include <set>

#include "commands/command.h"
#include "fakes/control/fake_target.h"

namespace vanta_test {
namespace {

using vanta_run::Json;

struct Reached {
  const char *line;
  const char *call;
};

constexpr Reached kReached[] = {
    {R"("SetModelPathDic","path_dic":{"face":"/a","hand":"/b"})", "SetModelPathDic {'face'='/a';'hand'='/b';}"},
    {R"("SetModelRootPath","path":"/models")", "SetModelRootPath '/models'"},
    {R"("UpdateTesseraParams","json":"{\"a\":1}")", R"(UpdateTesseraParams '{"a":1}')"},
    {R"("BeginBatchCommand")", "BeginBatchCommand"},
    {R"("EndBatchCommand")", "EndBatchCommand"},
    {R"("SetEffectEnabledWithEffectType","type":"lookup","enabled":true)", "SetEffectEnabledWithEffectType 2 1"},
    {R"("SetLookupInfo","path":"t.cube","intensity":0.5,"dimension":33,"type":1)", "SetLookupInfo 't.cube' 0.5 33 1"},
    {R"("SetLookupIntensity","intensity":0.25)", "SetLookupIntensity 0.25"},
    {R"("SetMakeupInfo","layers":[{"resourceDir":"/lip","key":"lip","word":3,"intensity":0.5},
        {"resourceDir":"/eye","key":"eye","intensity":1}])",
     "SetMakeupInfo ('/lip' 'lip' 3 0.5) ('/eye' 'eye' 0 1)"},
    {R"("SetMakeupIntensityWithKey","key":"lip","intensity":0.75)", "SetMakeupIntensityWithKey 'lip' 0.75"},
    {R"("SetBeautyIntensityWithType","type":"whiten","intensity":0.5)", "SetBeautyIntensityWithType 1 0.5"},
    {R"("SetBeautyGroupPath","path":"jingdian","is_group":true)", "SetBeautyGroupPath 'jingdian' 1"},
    {R"("SetNaturalityIntensity","intensity":-1)", "SetNaturalityIntensity -1"},
    {R"("SetDeformIntensityWithMode","mode":-4,"intensity":0.5)", "SetDeformIntensityWithMode -4 0.5"},
    {R"("SetBodySlimmingIntensityWithType","type":6,"intensity":0.5)", "SetBodySlimmingIntensityWithType 6 0.5"},
    {R"("SetBodySlimmingManualLegHeightRangeAndDir","top":0.25,"bottom":0.75,"dir":1)",
     "SetBodySlimmingManualLegHeightRangeAndDir 0.25 0.75 1"},
    {R"("SetMagicEffectWithEvent","path":"/fx","slot":2,"flag":true,"event_name":"done")",
     "SetMagicEffectWithEvent '/fx' 2 1 'done'"},
    {R"("SetMagicEffectWithPath","path":"","slot":0,"flag":false)", "SetMagicEffectWithPath '' 0 0"},
    {R"("CancelMagicEffect")", "CancelMagicEffect"},
    {R"("SetEffectStateWithState","state":2)", "SetEffectStateWithState 2"},
    {R"("SetEffectIntensityWithType","type":1,"intensity":0.5)", "SetEffectIntensityWithType 1 0.5"},
    {R"("SetMediaResource","type":1,"mediaPath":"/m.png")", "SetMediaResource 1 '/m.png'"},
    {R"("SetBasicAdjustIntensity","type":9,"intensity":0.5)", "SetBasicAdjustIntensity 9 0.5"},
    {R"("SetBoomGameData","json":"{}")", "SetBoomGameData '{}'"},
    {R"("SetMagicCustomImage","paths":["/a.png","/b.png"])", "SetMagicCustomImage '/a.png' '/b.png'"},
    {R"("LoadInteractiveBoxResource","path":"/box")", "LoadInteractiveBoxResource '/box'"},
    {R"("UnloadInteractiveBoxResource")", "UnloadInteractiveBoxResource"},
    {R"("SetEngineSnapshot","effect_enabled":{"beauty":true,"8":false},"body_slimming":{"1":0.5},"deform":{"-3":1},
        "beauty":{"smooth":0.5,"6":1},"makeup":[{"resourceDir":"/d","key":"k","intensity":1}],
        "lookup":{"path":"l","intensity":1},"group":{"path":"g"},"model_root_path":"/r","basic_adjust":{"2":0.25},
        "words":[7,8,9],"tessera_params":"t","magic_path":"m","boom_game_data":"b")",
     "SetEngineSnapshot effect_enabled{0=1;8=0;} body_slimming{1=0.5;} deform{-3=1;} beauty{0=0.5;6=1;} "
     "makeup('/d' 'k' 0 1) lookup'l'1 group'g'0 model_root_path'/r' basic_adjust{2=0.25;} words789 tessera_params't' "
     "magic_path'm' boom_game_data'b'"},
    {R"("SetInteractiveBoxInfo","path":"/box","loaded":true)", "SetInteractiveBoxInfo '/box' 1"},
    {R"("GetBeautyStatistics")", "GetBeautyStatistics"},
    {R"("SetMagicEffectForSources","sources":["beauty","video"],
        "request":{"path":"/fx","slot":0,"flag":true,"event_name":"e"})",
     "SetMagicEffectForSources 2 '/fx' 0 1 'e'"},
    {R"("SetFacelessJumpInfo","need_jump":true,"jump_type":4)", "SetFacelessJumpInfo 1 4"},
    {R"("GetFacelessJumpInfo")", "GetFacelessJumpInfo"},
};

Json Send(FakeTarget &target, const std::string &line) {
  std::optional<double> at;
  const auto command = vanta_run::ReadCommand(line, at);
  return command ? command->action(target) : Json();
}

std::string NameOf(const Reached &reached) {
  const std::string line = reached.line;
  return line.substr(1, line.find('"', 1) - 1);
}

class OperationByName : public testing::TestWithParam<Reached> {};

TEST_P(OperationByName, IsCalledWithItsArguments) {
  FakeTarget target;
  Send(target, std::string(R"({"call":)") + GetParam().line + "}");
  EXPECT_EQ(target.control.calls, std::vector<std::string>{GetParam().call});
}

INSTANTIATE_TEST_SUITE_P(All, OperationByName, testing::ValuesIn(kReached),
                         [](const auto &info) { return NameOf(info.param); });

TEST(Operations, AllThirtyThreeAreReachedAbove) {
  std::set<std::string> reached, known;
  for (const Reached &one : kReached) reached.insert(NameOf(one));
  for (const vanta_operations::Operation &operation : vanta_operations::Operations())
    known.insert(std::string(operation.name));
  EXPECT_EQ(known.size(), 33u);
  EXPECT_EQ(reached, known);
}

TEST(Operations, WhatASnapshotLeavesOutKeepsItsDefault) {
  FakeTarget target;
  Send(target, R"({"call":"SetEngineSnapshot"})");
  EXPECT_EQ(target.control.calls, std::vector<std::string>{"SetEngineSnapshot words104"});
}

TEST(Operations, JumpStateComesBackAsAnObject) {
  FakeTarget target;
  target.control.SetFacelessJumpInfo({true, 5});
  EXPECT_EQ(Send(target, R"({"call":"GetFacelessJumpInfo"})").dump(), R"({"need_jump":true,"jump_type":5})");
}

TEST(Operations, StatisticsComeBackAsAListOfObjects) {
  FakeTarget target;
  const Json result = Send(target, R"({"call":"GetBeautyStatistics"})");
  ASSERT_EQ(result.size(), 1u);
  EXPECT_EQ(result[0]["name"], "camera_7");
  EXPECT_EQ(result[0]["arrived_fps"], 30.0);
}

TEST(Operations, SourcesAreLookedUpWhenTheCommandIsSent) {
  FakeTarget target;
  std::optional<double> at;
  const auto command = vanta_run::ReadCommand(
      R"({"call":"SetMagicEffectForSources","sources":["beauty"],"request":{"path":"","slot":0,"flag":true}})", at);
  ASSERT_TRUE(command);
  EXPECT_TRUE(target.sources.empty());
  command->action(target);
  EXPECT_EQ(target.sources, std::vector<std::string>{"beauty"});
}

TEST(Operations, AreNotCalledWhereASourceIsMissing) {
  FakeTarget target;
  const vanta_operations::Operation *operation = vanta_operations::FindOperation("SetMagicEffectForSources");
  const auto action =
      operation->read(Json::parse(R"({"sources":["gone"],"request":{"path":"","slot":0,"flag":true}})"));
  EXPECT_THROW(action(target), vanta_operations::BadCommand);
  EXPECT_TRUE(target.control.calls.empty());
}

TEST(Operations, HelpNamesArgumentsAndWhatMayBeLeftOut) {
  const vanta_operations::Operation *operation = vanta_operations::FindOperation("SetBeautyGroupPath");
  ASSERT_NE(operation, nullptr);
  EXPECT_EQ(operation->forms, "path: text, [is_group: true or false]");
}

}  // namespace
}  // namespace vanta_test
