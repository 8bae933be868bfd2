// The address of an ability handler in the settings of a beauty filter, on every way by which settings come in.
#include <initializer_list>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <obs.hpp>

#include "fakes/control/fake_filter.h"
#include "fixtures/host/headless_session.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "registration/registration.h"
#include "vanta_host.h"

namespace {

using namespace vanta_test;

constexpr long long kForeign = 0x7f0012345678;
constexpr char kCamera[] = "camera";

char handler[1];  // what its address is of does not matter here
long long AddressOf(const void *object) {
  return static_cast<long long>(reinterpret_cast<intptr_t>(object));
}

void RegisterFilter(const char *id) {
  const HostSourceInfo record = FakeRecord(id);
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
}

void RegisterCamera() {
  obs_source_info info{};
  info.id = kCamera;
  info.type = OBS_SOURCE_TYPE_INPUT;
  info.output_flags = OBS_SOURCE_ASYNC_VIDEO;
  info.get_name = [](void *) { return kCamera; };
  info.create = [](obs_data_t *, obs_source_t *) -> void * { return new char; };
  info.destroy = [](void *data) { delete static_cast<char *>(data); };
  obs_register_source(&info);
}

OBSData With(long long address) {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_int(settings, kHandlerKey, address);
  return settings.Get();
}

long long OwnHandler(obs_source_t *filter) {
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  return obs_data_get_int(settings, kHandlerKey);
}

class AbilityHandlers : public testing::Test {
 protected:
  AbilityHandlers() {
    if (!StartVideo()) ADD_FAILURE() << "no video";  // updates come with its rounds
    RegisterFilter(kBeautyFilterId);
    RegisterCamera();
    camera_ = obs_source_create(kCamera, kCamera, nullptr, nullptr);
  }

  OBSSourceAutoRelease Create(obs_data_t *settings = nullptr) {
    return obs_source_create(kBeautyFilterId, "beauty", settings, nullptr);
  }

  // The module has taken `updates` updates.
  static bool WaitForUpdates(size_t updates) {
    return WaitUntil(
        [=] {
          size_t seen = 0;
          for (const std::string &call : TheFakeFilter().Calls()) seen += call == "update";
          return seen >= updates;
        },
        "the update");
  }

  static void ExpectNoHandler(obs_source_t *filter, size_t calls) {
    ASSERT_TRUE(filter);
    EXPECT_EQ(TheFakeFilter().Handlers(), std::vector<long long>(calls, 0));
    EXPECT_EQ(OwnHandler(filter), 0);
  }

  // A filter of the camera that holds the address of a handler that has been registered.
  OBSSourceAutoRelease FilterWithHandler() {
    vanta_host_register_ability_handler(handler);
    OBSSourceAutoRelease filter = Create();
    obs_source_filter_add(camera_, filter);
    obs_source_update(filter, With(AddressOf(handler)));
    EXPECT_TRUE(WaitForUpdates(1));
    EXPECT_EQ(TheFakeFilter().Handlers(), (std::vector<long long>{0, AddressOf(handler)}));
    return filter;
  }

  HeadlessSession obs_;
  OBSSourceAutoRelease camera_;
};

TEST_F(AbilityHandlers, AForeignAddressIsRemovedAtCreation) {
  const LogCapture log;
  const OBSSourceAutoRelease filter = Create(With(kForeign));
  ExpectNoHandler(filter, 1);
  EXPECT_TRUE(log.Has(
      LOG_WARNING, "[vanta_host] settings hold an ability handler that the application has not registered: removed"));
}

TEST_F(AbilityHandlers, AForeignAddressIsRemovedFromAnUpdate) {
  const OBSSourceAutoRelease filter = Create();
  obs_source_update(filter, With(kForeign));
  ASSERT_TRUE(WaitForUpdates(1));
  ExpectNoHandler(filter, 2);
}

TEST_F(AbilityHandlers, AForeignAddressIsRemovedWhereItIsADefault) {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_default_int(settings, kHandlerKey, kForeign);
  const OBSSourceAutoRelease filter = Create(settings);
  ExpectNoHandler(filter, 1);
}

TEST_F(AbilityHandlers, AForeignAddressIsRemovedWhereItBecomesADefaultLater) {
  const OBSSourceAutoRelease filter = Create();
  {
    const OBSDataAutoRelease own = obs_source_get_settings(filter);
    obs_data_set_default_int(own, kHandlerKey, kForeign);
  }
  obs_source_update(filter, nullptr);
  ASSERT_TRUE(WaitForUpdates(1));
  ExpectNoHandler(filter, 2);
}

TEST_F(AbilityHandlers, AForeignAddressIsRemovedWhereItIsANumberWithAFraction) {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_double(settings, kHandlerKey, static_cast<double>(kForeign) + 0.5);
  const OBSSourceAutoRelease filter = Create(settings);
  ExpectNoHandler(filter, 1);
}

TEST_F(AbilityHandlers, AForeignAddressIsRemovedFromASavedScene) {
  {
    const OBSSourceAutoRelease filter = Create();
    obs_source_filter_add(camera_, filter);
  }
  const OBSDataAutoRelease saved = obs_save_source(camera_);
  {
    const OBSDataArrayAutoRelease filters = obs_data_get_array(saved, "filters");
    ASSERT_EQ(obs_data_array_count(filters), 1u);
    const OBSDataAutoRelease filter = obs_data_array_item(filters, 0);
    obs_data_set_obj(filter, "settings", With(kForeign));
  }
  const OBSSourceAutoRelease loaded = obs_load_source(saved);
  ASSERT_TRUE(loaded);
  const OBSSourceAutoRelease filter = obs_source_get_filter_by_name(loaded, "beauty");
  ExpectNoHandler(filter, 2);
}

TEST_F(AbilityHandlers, ARegisteredAddressPasses) {
  const OBSSourceAutoRelease filter = FilterWithHandler();
  EXPECT_EQ(OwnHandler(filter), AddressOf(handler));
}

TEST_F(AbilityHandlers, TheAddressBesideARegisteredOneDoesNot) {
  const OBSSourceAutoRelease filter = FilterWithHandler();
  obs_source_update(filter, With(AddressOf(handler) + 1));
  ASSERT_TRUE(WaitForUpdates(2));
  EXPECT_EQ(TheFakeFilter().Handlers().back(), 0);
  EXPECT_EQ(OwnHandler(filter), 0);
}

TEST_F(AbilityHandlers, AnUnregisteredAddressGoesWithTheNextUpdate) {
  const OBSSourceAutoRelease filter = FilterWithHandler();
  vanta_host_unregister_ability_handler(handler);
  obs_source_update(filter, nullptr);
  ASSERT_TRUE(WaitForUpdates(2));
  EXPECT_EQ(TheFakeFilter().Handlers().back(), 0);
  EXPECT_EQ(OwnHandler(filter), 0);
}

TEST_F(AbilityHandlers, ADuplicatedFilterDoesNotTakeAnUnregisteredAddressOn) {
  const OBSSourceAutoRelease filter = FilterWithHandler();
  vanta_host_unregister_ability_handler(handler);
  for (const bool is_private : {false, true}) {
    const OBSSourceAutoRelease copy = obs_source_duplicate(filter, "copy", is_private);
    ASSERT_TRUE(copy);
    EXPECT_EQ(TheFakeFilter().Handlers().back(), 0) << is_private;
    EXPECT_EQ(OwnHandler(copy), 0) << is_private;
  }
}

TEST_F(AbilityHandlers, APastedFilterDoesNotTakeAnUnregisteredAddressOn) {
  const OBSSourceAutoRelease filter = FilterWithHandler();
  vanta_host_unregister_ability_handler(handler);
  const OBSSourceAutoRelease other = obs_source_create(kCamera, "other", nullptr, nullptr);
  obs_source_copy_filters(other, camera_);
  const OBSSourceAutoRelease copy = obs_source_get_filter_by_name(other, "beauty");
  ASSERT_TRUE(copy);
  EXPECT_EQ(TheFakeFilter().Handlers(), (std::vector<long long>{0, AddressOf(handler), 0}));
  EXPECT_EQ(OwnHandler(copy), 0);
}

TEST_F(AbilityHandlers, APrivateCopyOfASceneDoesNotTakeAnUnregisteredAddressOn) {
  const OBSSourceAutoRelease filter = FilterWithHandler();
  vanta_host_unregister_ability_handler(handler);
  const OBSSceneAutoRelease inner = obs_scene_create("inner");
  obs_scene_add(inner, camera_);
  const OBSSceneAutoRelease outer = obs_scene_create("outer");
  obs_scene_add(outer, obs_scene_get_source(inner));
  const size_t before = TheFakeFilter().Handlers().size();
  const OBSSceneAutoRelease copy = obs_scene_duplicate(outer, "copy", OBS_SCENE_DUP_PRIVATE_COPY);
  const OBSSceneAutoRelease inner_copy = obs_scene_duplicate(inner, "inner copy", OBS_SCENE_DUP_PRIVATE_COPY);
  const std::vector<long long> handlers = TheFakeFilter().Handlers();
  ASSERT_GT(handlers.size(), before) << "no filter was copied";
  for (size_t i = before; i < handlers.size(); ++i) EXPECT_EQ(handlers[i], 0) << i;
}

// libobs hands the filter its own settings, which another thread's update may change while the module reads them.
TEST_F(AbilityHandlers, AnAddressThatComesWhileTheModuleReadsDoesNotReachIt) {
  const OBSSourceAutoRelease filter = Create();
  TheFakeFilter().on_update = [&](obs_data_t *) {
    const OBSDataAutoRelease own = obs_source_get_settings(filter);
    obs_data_set_int(own, kHandlerKey, kForeign);
  };
  obs_source_update(filter, nullptr);
  ASSERT_TRUE(WaitForUpdates(1));
  EXPECT_EQ(TheFakeFilter().Handlers(), (std::vector<long long>{0, 0}));
}

TEST_F(AbilityHandlers, OtherSettingsReachTheModuleAsTheyAre) {
  const OBSSourceAutoRelease filter = Create();
  static std::string seen;
  TheFakeFilter().on_update = [](obs_data_t *settings) { seen = obs_data_get_json(settings); };
  const OBSDataAutoRelease settings = obs_data_create_from_json(
      R"({"lx_enable_nvdx_interop":"open","no_green_matting":true,"sceneitem_orientation_info":{"rot_deg":90}})");
  obs_source_update(filter, settings);
  ASSERT_TRUE(WaitForUpdates(1));
  const OBSDataAutoRelease arrived = obs_data_create_from_json(seen.c_str());
  EXPECT_STREQ(obs_data_get_string(arrived, "lx_enable_nvdx_interop"), "open");
  EXPECT_TRUE(obs_data_get_bool(arrived, "no_green_matting"));
  const OBSDataAutoRelease orientation = obs_data_get_obj(arrived, "sceneitem_orientation_info");
  ASSERT_TRUE(orientation);
  EXPECT_EQ(obs_data_get_int(orientation, "rot_deg"), 90);
}

TEST_F(AbilityHandlers, OtherFiltersSettingsAreLeftAlone) {
  RegisterFilter("fake_filter");
  const OBSSourceAutoRelease filter = obs_source_create("fake_filter", "other", With(kForeign), nullptr);
  EXPECT_EQ(TheFakeFilter().Handlers(), std::vector<long long>{kForeign});
}

TEST(AbilityHandlersOfALateFilter, AreGuardedHoweverManyTypesCameBefore) {
  std::vector<std::string> ids;  // libobs keeps their addresses
  const HeadlessSession obs;
  for (int i = 0; i < 20; ++i) ids.push_back("fake_" + std::to_string(i));
  for (const std::string &id : ids) RegisterFilter(id.c_str());
  RegisterFilter(kBeautyFilterId);
  const OBSSourceAutoRelease filter = obs_source_create(kBeautyFilterId, "beauty", With(kForeign), nullptr);
  EXPECT_EQ(TheFakeFilter().Handlers(), std::vector<long long>{0});
}

}  // namespace
