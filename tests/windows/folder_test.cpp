// The module in a folder whose name no plain text function of the system could open.
#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/engine/scripted_engine.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fixtures/process/log_capture.h"
#include "module_dll.h"

using namespace vanta_test;
namespace fs = std::filesystem;

namespace {

// The classic layout below `root`.
struct Installed {
  explicit Installed(const fs::path &root)
      : module(root / "obs-plugins/64bit/vanta_filter.dll"), data(root / "data/obs-plugins/vanta_filter") {
    fs::create_directories(module.parent_path());
    fs::create_directories(data.parent_path());
    fs::copy_file(VANTA_TEST_MODULE_FILE, module);
    fs::copy(VANTA_TEST_DATA_FOLDER, data, fs::copy_options::recursive);
  }
  fs::path module;
  fs::path data;
};

std::string Argument(const std::string &call) {
  const size_t opening = call.find('(');
  return call.substr(opening + 1, call.find_first_of(",)", opening) - opening - 1);
}

TEST(FolderName, ModuleLoadsFromAFolderOutsideTheCodePage) {
  const ScratchFolder folder(L"\u7f8e\u989c \u0444\u0438\u043b\u044c\u0442\u0440");
  const Installed installed(folder.path);
  ModuleDll dll(installed.module, installed.data);
  dll.Load("zh-CN");
  EXPECT_STREQ(host_double::Registered("face_beauty_filter_v2").get_name(nullptr), "\xe7\xbe\x8e\xe9\xa2\x9c");
}

TEST(FolderName, EffectFileIsFoundInAFolderOutsideTheCodePage) {
  const ScratchFolder folder(L"\u7f8e\u989c \u0444\u0438\u043b\u044c\u0442\u0440");
  const Installed installed(folder.path);
  ModuleDll dll(installed.module, installed.data);
  dll.Load();
  const BeautyFilter filter;
  std::string asked;
  for (const std::string &call : gs_recorder::Calls())
    if (call.rfind("gs_effect_create_from_file(", 0) == 0) asked = Argument(call);
  EXPECT_EQ(asked, Utf8(installed.data) + "/vanta_beauty.effect");
  EXPECT_TRUE(fs::exists(fs::path(std::u8string(asked.begin(), asked.end()))));
}

// The engine opens its files with the code page's text.
TEST(FolderName, EngineGetsThePathOfItsFilesInTheCodePage) {
  const ScratchFolder folder(L"V\u00e4nta F\u00fc\u00dfe");
  const Installed installed(folder.path);
  ModuleDll dll(installed.module, installed.data);
  dll.Load();
  BeautyFilter filter;
  filter.VideoThroughEngine(MakeFrame(16, 1).get());
  std::string path;
  for (const std::string &text : scripted_engine::Texts())
    if (text.rfind("createEngine(", 0) == 0) path = Argument(text);
  EXPECT_NE(GetFileAttributesA((path + "/presets").c_str()), INVALID_FILE_ATTRIBUTES) << path;
}

}  // namespace
