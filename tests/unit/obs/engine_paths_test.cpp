#include "obs/engine_paths.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

#include "fixtures/module/render_fixture.h"

namespace {

using namespace vanta_test;

class EnginePaths : public testing::Test {
 protected:
  void SetUp() override {
    setenv("XDG_CONFIG_HOME", "/config", 1);
    std::setlocale(LC_CTYPE, "C.UTF-8");
  }
};

TEST_F(EnginePaths, DataFolderIsTheModulesOwn) {
  EXPECT_EQ(vanta::FaceBeautyPath(), "/fake/vanta_filter/file");
  EXPECT_EQ(gs_recorder::Calls(), (std::vector<std::string>{"obs_find_module_file(faceless_builtin)"}));
}

TEST_F(EnginePaths, MissingDataFolderIsEmpty) {
  gs_recorder::SetModuleFile("");
  EXPECT_EQ(vanta::FaceBeautyPath(), "");
}

TEST_F(EnginePaths, DataFolderKeepsItsForeignLetters) {
  gs_recorder::SetModuleFile("/d\xc3\xa4ten/\xe7\xbe\x8e");
  EXPECT_EQ(vanta::FaceBeautyPath(), "/d\xc3\xa4ten/\xe7\xbe\x8e");
}

TEST_F(EnginePaths, ForeignLettersThatTheLocaleLacksGiveNoPath) {
  std::setlocale(LC_CTYPE, "C");
  gs_recorder::SetModuleFile("/d\xc3\xa4ten");
  EXPECT_EQ(vanta::FaceBeautyPath(), "");
}

TEST_F(EnginePaths, ModelFolderLiesBelowTheHostsConfigurationAsARealFolder) {
  EXPECT_EQ(vanta::ModelFolder(), "/config/VantaLive/basic/default/CorvidModel");
  EXPECT_EQ(vanta::AiPath(), vanta::ModelFolder());
}

TEST_F(EnginePaths, ModelFolderIsInTheCodePageForTheRunnerAndInUtf8ForTheDictionary) {
  setenv("XDG_CONFIG_HOME", "/k\xc3\xb6nfig", 1);
  const std::string folder = "/k\xc3\xb6nfig/VantaLive/basic/default/CorvidModel";
  EXPECT_EQ(vanta::AiPath(), folder);
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(vanta::AiPath(), "") << "no name in this code page";
  EXPECT_EQ(vanta::ModelFolder(), folder);
}

TEST_F(EnginePaths, ModelFolderIsCutAtTheLimitOfThePath) {
  setenv("XDG_CONFIG_HOME", ("/" + std::string(600, 'c')).c_str(), 1);
  EXPECT_EQ(vanta::ModelFolder().size(), 499u);
}

TEST_F(EnginePaths, WithoutAConfigurationFolderTheDictionaryHoldsTheTailsAlone) {
  const NoConfigFolder none;
  EXPECT_EQ(vanta::ModelFolder(), "");
  EXPECT_EQ(vanta::AiPath(), "");
  EXPECT_EQ(vanta::BuildModelDictionary(),
            (std::map<std::string, std::string>{{"magic_rho_model_animoji1", "/magic_rho_model_animoji1"},
                                                {"magic_rho_model_basewhite", "/magic_rho_model_basewhite"},
                                                {"magic_rho_model_faceprop", "/magic_rho_model_faceprop"}}));
}

TEST_F(EnginePaths, DictionaryHasItsThreeRows) {
  EXPECT_EQ(vanta::BuildModelDictionary(),
            (std::map<std::string, std::string>{
                {"magic_rho_model_animoji1", "/config/VantaLive/basic/default/CorvidModel/magic_rho_model_animoji1"},
                {"magic_rho_model_basewhite", "/config/VantaLive/basic/default/CorvidModel/magic_rho_model_basewhite"},
                {"magic_rho_model_faceprop", "/config/VantaLive/basic/default/CorvidModel/magic_rho_model_faceprop"}}));
}

}  // namespace
