#include <dlfcn.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <obs.h>
#include <util/bmem.h>
#include <util/text-lookup.h>

#include "fakes/engine/scripted_engine.h"
#include "obs/module_text.h"
#include "obs/source_registration.h"
#include "vanta_filter/module/source_record.h"

extern "C" {
extern uint32_t NvOptimusEnablement;
extern uint32_t AmdPowerXpressRequestHighPerformance;
void obs_module_set_pointer(obs_module_t *module);
uint32_t obs_module_ver();
bool obs_module_load();
void obs_module_set_locale(const char *locale);
void obs_module_free_locale();
bool obs_module_get_string(const char *key, const char **text);
}

namespace {

struct Registration {
  std::vector<std::byte> bytes;
  HostSourceInfo Record() const {
    HostSourceInfo record;
    std::memcpy(&record, bytes.data(), sizeof(record));
    return record;
  }
};

std::vector<Registration> registrations;
std::vector<std::string> calls;  // on the locale tables, in order
int tables_alive = 0;

// A table with one text.
lookup_t *NewTable(const std::string &text) {
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("vanta_text_" + std::to_string(getpid()) + ".ini");
  std::ofstream(file) << "FacebeautyFilterV2=\"" << text << "\"\n";
  lookup_t *table = text_lookup_create(file.c_str());
  std::filesystem::remove(file);
  return table;
}

std::string folder_in_place_of;  // where a locale's file is looked for, a folder stands

obs_module_t *const kModule = reinterpret_cast<obs_module_t *>(0x1234);

class ModuleTest : public testing::Test {
 protected:
  ~ModuleTest() override {
    obs_module_free_locale();
    folder_in_place_of.clear();
  }
};

}  // namespace

// In place of the host's.
extern "C" {

void __wrap_obs_register_source_s(const obs_source_info *info, size_t size) {
  const auto *bytes = reinterpret_cast<const std::byte *>(info);
  registrations.push_back({std::vector<std::byte>(bytes, bytes + size)});
}

lookup_t *obs_module_load_locale(obs_module_t *module, const char *default_locale, const char *locale) {
  calls.push_back(std::string("load ") + (module == kModule ? "own " : "other ") + default_locale + " " + locale);
  if (std::strcmp(locale, "none") == 0) return nullptr;
  ++tables_alive;
  return NewTable(locale);
}

char *obs_find_module_file(obs_module_t *, const char *file) {
  return file == folder_in_place_of ? bstrdup("/tmp") : nullptr;
}

void text_lookup_destroy(lookup_t *lookup) {
  calls.push_back(lookup ? "destroy" : "destroy null");
  if (lookup) --tables_alive;
  static const auto next = reinterpret_cast<void (*)(lookup_t *)>(dlsym(RTLD_NEXT, "text_lookup_destroy"));
  next(lookup);
}

}  // extern "C"

namespace {

using Strings = std::vector<std::string>;

TEST_F(ModuleTest, TellsTheVersionOfItsRecords) {
  EXPECT_EQ(obs_module_ver(), 0x1d000001u);
}

TEST_F(ModuleTest, AsksTheDriversForTheFastAdapter) {
  EXPECT_EQ(NvOptimusEnablement, 1u);
  EXPECT_EQ(AmdPowerXpressRequestHighPerformance, 1u);
}

TEST_F(ModuleTest, ModuleObjectIsNullUntilTheHostSetsIt) {
  EXPECT_EQ(obs_current_module(), nullptr);
  obs_module_set_pointer(kModule);
  EXPECT_EQ(obs_current_module(), kModule);
}

TEST_F(ModuleTest, LocaleIsLoadedForTheModuleOverTheDefault) {
  obs_module_set_pointer(kModule);
  obs_module_set_locale("zh-CN");
  EXPECT_EQ(calls, (Strings{"load own en-US zh-CN"}));
  EXPECT_STREQ(obs_module_text("FacebeautyFilterV2"), "zh-CN");
}

// libobs would take it for a file without an end, and the process would end.
TEST_F(ModuleTest, FolderInPlaceOfALocalesFileIsNotRead) {
  obs_module_set_pointer(kModule);
  folder_in_place_of = "locale/zh-CN.ini";
  obs_module_set_locale("zh-CN");
  EXPECT_EQ(calls, (Strings{"load own en-US en-US"}));
  folder_in_place_of = "locale/en-US.ini";
  obs_module_set_locale("zh-CN");
  EXPECT_EQ(calls, (Strings{"load own en-US en-US", "destroy"}));
  EXPECT_STREQ(obs_module_text("FacebeautyFilterV2"), "FacebeautyFilterV2");
}

TEST_F(ModuleTest, SecondLocaleDestroysTheFormerTableFirst) {
  obs_module_set_pointer(kModule);
  obs_module_set_locale("zh-CN");
  obs_module_set_locale("de-DE");
  EXPECT_EQ(calls, (Strings{"load own en-US zh-CN", "destroy", "load own en-US de-DE"}));
  EXPECT_EQ(tables_alive, 1);
  EXPECT_STREQ(obs_module_text("FacebeautyFilterV2"), "de-DE");
}

TEST_F(ModuleTest, FreeingTheLocaleDestroysTheTable) {
  obs_module_set_locale("zh-CN");
  obs_module_free_locale();
  EXPECT_EQ(tables_alive, 0);
  EXPECT_STREQ(obs_module_text("FacebeautyFilterV2"), "FacebeautyFilterV2");
}

TEST_F(ModuleTest, FreeingWithoutATablePassesNullOn) {
  obs_module_free_locale();
  obs_module_free_locale();
  EXPECT_EQ(calls, (Strings{"destroy null", "destroy null"}));
}

TEST_F(ModuleTest, LocaleAfterAFreeDestroysNothing) {
  obs_module_set_locale("zh-CN");
  obs_module_free_locale();
  calls.clear();
  obs_module_set_locale("de-DE");
  EXPECT_EQ(calls, (Strings{"load other en-US de-DE"}));
}

TEST_F(ModuleTest, TextWithoutATableIsTheKeyItself) {
  const char *key = "FacebeautyFilterV2";
  EXPECT_EQ(obs_module_text(key), key);
}

TEST_F(ModuleTest, TextThatTheTableLacksIsTheKeyItself) {
  obs_module_set_locale("zh-CN");
  const char *key = "NoSuchKey";
  EXPECT_EQ(obs_module_text(key), key);
}

TEST_F(ModuleTest, TextWhereNoTableCouldBeLoadedIsTheKeyItself) {
  obs_module_set_locale("none");
  EXPECT_STREQ(obs_module_text("FacebeautyFilterV2"), "FacebeautyFilterV2");
}

TEST_F(ModuleTest, StringLookupTellsWhetherTheTableHasTheKey) {
  const char *text = nullptr;
  EXPECT_FALSE(obs_module_get_string("FacebeautyFilterV2", &text));
  EXPECT_EQ(text, nullptr);
  obs_module_set_locale("zh-CN");
  EXPECT_TRUE(obs_module_get_string("FacebeautyFilterV2", &text));
  EXPECT_STREQ(text, "zh-CN");
  EXPECT_FALSE(obs_module_get_string("NoSuchKey", &text));
}

TEST_F(ModuleTest, RecordOfAVideoFilterIsZeroButForWhatItIs) {
  const HostSourceInfo record = vanta::VideoFilterRecord("some_filter");
  std::vector<std::byte> bytes(sizeof(record));
  std::memcpy(bytes.data(), &record, sizeof(record));
  EXPECT_STREQ(record.id, "some_filter");
  EXPECT_EQ(record.type, 1);
  EXPECT_EQ(record.output_flags, 1u);
  EXPECT_EQ(std::vector<std::byte>(bytes.begin() + 16, bytes.end()), std::vector<std::byte>(432 - 16));
}

TEST_F(ModuleTest, RegistrationPassesTheWholeRecordAndItsLength) {
  HostSourceInfo record = vanta::VideoFilterRecord("some_filter");
  record.get_dump_json = [](void *, const char **, uint32_t *) {};
  vanta::RegisterSource(record);
  ASSERT_EQ(registrations.size(), 1u);
  ASSERT_EQ(registrations[0].bytes.size(), 432u);
  EXPECT_EQ(std::memcmp(registrations[0].bytes.data(), &record, 432), 0);
}

TEST_F(ModuleTest, LoadRegistersTheFiltersInTheirOrder) {
  EXPECT_TRUE(obs_module_load());
  Strings ids;
  for (const Registration &registration : registrations) {
    ASSERT_EQ(registration.bytes.size(), 432u);
    ids.emplace_back(registration.Record().id);
  }
  EXPECT_EQ(ids, (Strings{"face_beauty_filter_v2", "LX_green_screen_filter", "tessera_landmark_filter"}));
}

// From here on each of these system calls ends the process.
bool ForbidThreadsSocketsAndFiles() {
  std::vector<long> forbidden{SYS_clone, SYS_clone3, SYS_socket, SYS_openat};
#if defined(SYS_open)  // newer processors have none of these
  forbidden.insert(forbidden.end(), {SYS_open, SYS_fork, SYS_vfork});
#endif
  std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const long number : forbidden) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(number), 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

TEST(ModuleDeathTest, LoadStartsNoThreadAndOpensNoSocketAndNoFile) {
  if (prctl(PR_GET_SECCOMP) < 0) GTEST_SKIP() << "the kernel filters no system calls";
  EXPECT_EXIT(
      {
        if (!ForbidThreadsSocketsAndFiles()) std::_Exit(2);
        std::_Exit(obs_module_load() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(ModuleTest, LoadMakesNeitherEngineNorWindow) {
  obs_module_load();
  EXPECT_EQ(vanta_test::scripted_engine::Texts(), Strings());
  EXPECT_EQ(vanta_test::scripted_engine::Created(), 0);
}

TEST_F(ModuleTest, BeautyRecordSetsItsSlotsAndNoOther) {
  obs_module_load();
  ASSERT_FALSE(registrations.empty());
  const std::vector<std::byte> &bytes = registrations[0].bytes;
  std::vector<size_t> set;
  for (size_t offset = 0; offset < bytes.size(); offset += 8) {
    uint64_t slot = 0;
    std::memcpy(&slot, bytes.data() + offset, sizeof(slot));
    if (slot != 0) set.push_back(offset);
  }
  EXPECT_EQ(set, (std::vector<size_t>{0, 8, 16, 24, 32, 64, 80, 128, 136, 216, 424}));
  EXPECT_EQ(registrations[0].Record().type, OBS_SOURCE_TYPE_FILTER);
  EXPECT_EQ(registrations[0].Record().output_flags, static_cast<uint32_t>(OBS_SOURCE_VIDEO));
}

TEST_F(ModuleTest, BeautyFilterOfAnUntranslatedHostShowsItsKey) {
  obs_module_load();
  ASSERT_FALSE(registrations.empty());
  EXPECT_STREQ(registrations[0].Record().get_name(nullptr), "FacebeautyFilterV2");
}

TEST_F(ModuleTest, BeautyFilterFollowsTheLocale) {
  obs_module_load();
  ASSERT_FALSE(registrations.empty());
  obs_module_set_locale("ja-JP");
  EXPECT_STREQ(registrations[0].Record().get_name(nullptr), "ja-JP");
}

TEST_F(ModuleTest, BeautyFilterHasNoPropertySheet) {
  obs_module_load();
  ASSERT_FALSE(registrations.empty());
  EXPECT_EQ(registrations[0].Record().get_properties(nullptr), nullptr);
}

}  // namespace
