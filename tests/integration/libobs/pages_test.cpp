// The filters' pages as a program shows them: made by libobs, set as a user sets them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <obs.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

namespace scripted_engine = vanta_test::scripted_engine;
using testing::IsSupersetOf;

constexpr char kBeauty[] = "face_beauty_filter_v2";
constexpr char kGreenScreen[] = "LX_green_screen_filter";
constexpr char kLandmark[] = "tessera_landmark_filter";
const char *const kFilters[] = {kBeauty, kGreenScreen, kLandmark};

// A page as libobs makes it for the filter.
class Page {
 public:
  explicit Page(obs_source_t *filter) : filter_(filter), page_(obs_source_properties(filter)) {}

  obs_properties_t *Get() const { return page_.get(); }
  obs_property_t *operator[](const char *name) const { return obs_properties_get(page_.get(), name); }
  std::string Label(const char *name) const { return obs_property_description((*this)[name]); }
  bool Shows(const char *name) const { return (*this)[name] && obs_property_visible((*this)[name]); }
  bool Press(const char *name) const { return obs_property_button_clicked((*this)[name], filter_.Get()); }

  // As a widget does: the setting first, then the filter's update, then the property's callback.
  void Set(const char *name, const std::function<void(obs_data_t *)> &write) const {
    const OBSDataAutoRelease settings = obs_source_get_settings(filter_);
    write(settings);
    obs_source_update(filter_, settings);
    obs_property_modified((*this)[name], settings);
    WaitForTicks(2);
  }
  void SetInt(const char *name, int value) const {
    Set(name, [&](obs_data_t *settings) { obs_data_set_int(settings, name, value); });
  }
  void SetBool(const char *name, bool value) const {
    Set(name, [&](obs_data_t *settings) { obs_data_set_bool(settings, name, value); });
  }
  void SetText(const char *name, const char *value) const {
    Set(name, [&](obs_data_t *settings) { obs_data_set_string(settings, name, value); });
  }

 private:
  struct Destroy {
    void operator()(obs_properties_t *page) const { obs_properties_destroy(page); }
  };
  OBSSource filter_;
  std::unique_ptr<obs_properties_t, Destroy> page_;
};

// Every text of a page that a user can see.
void CollectTexts(obs_properties_t *page, std::vector<std::string> &texts) {
  for (obs_property_t *property = obs_properties_first(page); property; obs_property_next(&property)) {
    texts.emplace_back(obs_property_description(property));
    if (const char *tip = obs_property_long_description(property)) texts.emplace_back(tip);
    if (obs_property_get_type(property) == OBS_PROPERTY_LIST) {
      for (size_t i = 0; i < obs_property_list_item_count(property); ++i)
        texts.emplace_back(obs_property_list_item_name(property, i));
    }
    if (obs_property_get_type(property) == OBS_PROPERTY_GROUP)
      CollectTexts(obs_property_group_content(property), texts);
  }
}

// Texts are kept under keys of letters, dots and underscores, with a capital at the start.
bool LooksLikeAKey(const std::string &text) {
  return text.find('.') != std::string::npos && text.find(' ') == std::string::npos && text.back() != '.' &&
         text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz._0123456789") ==
             std::string::npos;
}

OBSData SettingsOf(obs_source_t *filter) {
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  return settings.Get();
}

long long Int(obs_source_t *filter, const char *name) {
  return obs_data_get_int(SettingsOf(filter), name);
}

OBSSourceAutoRelease MakeFilter(const char *id, const std::function<void(obs_data_t *)> &write = nullptr) {
  const OBSDataAutoRelease settings = obs_data_create();
  if (write) write(settings);
  return obs_source_create(id, id, settings, nullptr);
}

class Pages : public testing::Test {
 protected:
  ~Pages() override { WaitForTicks(1); }
  const ObsSession session_;
};

TEST_F(Pages, ShowNoKeyInPlaceOfItsTextInAnyLanguage) {
  size_t languages = 0;
  for (const auto &entry : std::filesystem::directory_iterator(VANTA_TEST_DATA "/locale")) {
    obs_set_locale(entry.path().stem().c_str());
    ++languages;
    for (const char *id : kFilters) {
      const OBSSourceAutoRelease filter = MakeFilter(id);
      std::vector<std::string> texts = {obs_source_get_display_name(id)};
      const Page page(filter);
      CollectTexts(page.Get(), texts);
      EXPECT_GT(texts.size(), 3u) << id;
      for (const std::string &text : texts) {
        EXPECT_FALSE(text.empty()) << id << " in " << entry.path();
        EXPECT_FALSE(!text.empty() && LooksLikeAKey(text)) << text << " in " << entry.path();
      }
    }
  }
  EXPECT_EQ(languages, 16u);
}

TEST_F(Pages, AreMadeWithoutAFilterToo) {
  for (const char *id : kFilters) {
    obs_properties_t *page = obs_get_source_properties(id);
    EXPECT_TRUE(page) << id;
    obs_properties_destroy(page);
  }
}

TEST_F(Pages, WriteNothingIntoTheSettings) {
  for (const char *id : kFilters) {
    const OBSSourceAutoRelease filter = MakeFilter(id);
    const std::string before = obs_data_get_json(SettingsOf(filter));
    { const Page page(filter); }
    EXPECT_EQ(obs_data_get_json(SettingsOf(filter)), before);
  }
}

TEST_F(Pages, OfTheLandmarkFilterHasAReadableName) {
  EXPECT_STREQ(obs_source_get_display_name(kLandmark), "Face Landmarks");
}

TEST_F(Pages, HideWhatIsNotForEverydayUntilAsked) {
  const OBSSourceAutoRelease filter = MakeFilter(kBeauty);
  const Page page(filter);
  EXPECT_TRUE(page.Shows("beauty_smooth"));
  EXPECT_FALSE(page.Shows("beauty_sharpen"));
  EXPECT_FALSE(page.Shows("beauty_group_face"));
  page.SetBool("beauty_more", true);
  EXPECT_TRUE(page.Shows("beauty_sharpen"));
  EXPECT_TRUE(page.Shows("beauty_group_face"));
  EXPECT_TRUE(Page(filter).Shows("beauty_group_body"));
}

// ---- Beauty ----

constexpr char kSetBeauty[] = "entrance FacelessInstance::SetBeautyIntensityWithType";

class BeautyPage : public Pages {
 protected:
  const vanta_test::LogCapture log_;
};

TEST_F(BeautyPage, SaysNothingToTheControlObjectUntilAValueChanges) {
  const OBSSourceAutoRelease filter = MakeFilter(kBeauty);
  { const Page page(filter); }
  obs_source_update(filter, nullptr);
  WaitForTicks(2);
  EXPECT_EQ(log_.CountWith("[beauty faceless] entrance"), 0u);
}

TEST_F(BeautyPage, SendsAChangedValueAloneInABatch) {
  const OBSSourceAutoRelease filter = MakeFilter(kBeauty);
  Page(filter).SetInt("beauty_smooth", 80);
  EXPECT_EQ(log_.CountWith("[beauty faceless] entrance"), 3u);
  EXPECT_EQ(log_.CountWith("FacelessInstance::BeginBatchCommand"), 1u);
  EXPECT_EQ(log_.CountWith(std::string(kSetBeauty) + ", intensity=0.80,type=0"), 1u);
}

TEST_F(BeautyPage, GivesItsValuesToAnEngineThatStartsLater) {
  FedSource source;
  BeautyChain chain(source.Get());
  Page(chain.Filter()).SetInt("beauty_whiten", 70);
  vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, chain, MakeFrame(60));
        return scripted_engine::FramesProcessed() > 0;
      },
      "a running engine");
  EXPECT_THAT(scripted_engine::Texts(1), IsSupersetOf({std::string("setBeautyIntensityWithType(1, 0.70)"),
                                                       std::string("setBeautyIntensityWithType(0, 0.35)")}));
}

TEST_F(BeautyPage, ChangesTheSettingsOfEveryBeautyFilter) {
  const OBSSourceAutoRelease one = MakeFilter(kBeauty), other = MakeFilter(kBeauty);
  Page(one).SetInt("beauty_smooth", 80);
  EXPECT_EQ(Int(other, "beauty_smooth"), 80);
}

TEST_F(BeautyPage, OfANewFilterShowsTheLookThatIsThere) {
  const OBSSourceAutoRelease one = MakeFilter(kBeauty);
  Page(one).SetInt("beauty_smooth", 80);
  const OBSSourceAutoRelease pasted =
      MakeFilter(kBeauty, [](obs_data_t *settings) { obs_data_set_int(settings, "beauty_smooth", 5); });
  EXPECT_EQ(Int(pasted, "beauty_smooth"), 80);
}

TEST_F(BeautyPage, OfTheFirstFilterBringsItsLookAlong) {
  const OBSSourceAutoRelease one =
      MakeFilter(kBeauty, [](obs_data_t *settings) { obs_data_set_int(settings, "beauty_smooth", 5); });
  const OBSSourceAutoRelease other = MakeFilter(kBeauty);
  EXPECT_EQ(Int(other, "beauty_smooth"), 5);
}

TEST_F(BeautyPage, ForgetsTheLookWithTheLastFilter) {
  {
    const OBSSourceAutoRelease one = MakeFilter(kBeauty);
    Page(one).SetInt("beauty_smooth", 80);
  }
  while (obs_wait_for_destroy_queue()) {
  }
  const OBSSourceAutoRelease next = MakeFilter(kBeauty);
  EXPECT_EQ(Int(next, "beauty_smooth"), 35);
  EXPECT_EQ(log_.CountWith(std::string(kSetBeauty) + ", intensity=0.35,type=0"), 0u);  // nothing to be taken back
}

TEST_F(BeautyPage, GoesBackToTheDefaultsAsAUserAsksForThem) {
  const OBSSourceAutoRelease one = MakeFilter(kBeauty), other = MakeFilter(kBeauty);
  Page(one).SetInt("beauty_smooth", 80);
  obs_data_clear(SettingsOf(one));
  obs_source_update(one, nullptr);
  WaitForTicks(2);
  EXPECT_EQ(Int(one, "beauty_smooth"), 35);
  EXPECT_EQ(Int(other, "beauty_smooth"), 35);
  EXPECT_EQ(Int(one, "apply_flag"), 255);  // the module's own
  EXPECT_EQ(log_.CountWith(std::string(kSetBeauty) + ", intensity=0.35,type=0"), 1u);
}

TEST_F(BeautyPage, TakesSettingsBackAsUndoDoes) {
  const OBSSourceAutoRelease one = MakeFilter(kBeauty), other = MakeFilter(kBeauty);
  const std::string before = obs_data_get_json(SettingsOf(one));
  Page(one).SetInt("beauty_smooth", 80);
  EXPECT_EQ(Int(other, "beauty_smooth"), 80);
  const OBSDataAutoRelease saved = obs_data_create_from_json(before.c_str());
  obs_source_reset_settings(one, saved);
  WaitForTicks(2);
  EXPECT_EQ(Int(other, "beauty_smooth"), 35);
}

TEST_F(BeautyPage, SetsAllValuesByAPresetAndChoosesNothing) {
  const OBSSourceAutoRelease filter = MakeFilter(kBeauty);
  const Page page(filter);
  page.SetText("beauty_preset", "baixi");
  EXPECT_EQ(Int(filter, "beauty_smooth"), 60);
  EXPECT_EQ(Int(filter, "beauty_whiten"), 50);
  EXPECT_EQ(Int(filter, "beauty_sharpen"), 20);
  EXPECT_STREQ(obs_data_get_string(SettingsOf(filter), "beauty_preset"), "");
  EXPECT_EQ(log_.CountWith(std::string(kSetBeauty) + ", intensity=0.60,type=0"), 1u);
}

TEST_F(BeautyPage, OpensWithoutChangingWhatWasSaved) {
  const OBSSourceAutoRelease filter =
      MakeFilter(kBeauty, [](obs_data_t *settings) { obs_data_set_int(settings, "beauty_smooth", 5); });
  { const Page page(filter); }
  EXPECT_EQ(Int(filter, "beauty_smooth"), 5);
}

TEST_F(BeautyPage, SaysThatAPictureSourceGivesNoFrames) {
  RegisterPaintedSource();
  const PaintedSource image;
  const OBSSourceAutoRelease filter = MakeFilter(kBeauty);
  obs_source_filter_add(image.Get(), filter);
  const Page page(filter);
  EXPECT_THAT(page.Label("vanta_status"), testing::HasSubstr("no camera frames"));
  EXPECT_EQ(obs_property_text_info_type(page["vanta_status"]), OBS_TEXT_INFO_WARNING);
  RemoveFilterSafely(image.Get(), filter);
}

TEST_F(BeautyPage, SaysThatTheEngineIsMissingAndTriesAgain) {
  scripted_engine::Change([](vanta_test::EngineScript &script) { script.create = false; });
  FedSource source;
  BeautyChain chain(source.Get());
  vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, chain, MakeFrame(60));
        return vanta_host_is_passing_through();
      },
      "the pass-through");
  const Page page(chain.Filter());
  EXPECT_THAT(page.Label("vanta_status"), testing::HasSubstr("engine is missing"));
  EXPECT_EQ(obs_property_text_info_type(page["vanta_status"]), OBS_TEXT_INFO_ERROR);
  page.Press("vanta_retry");
  EXPECT_FALSE(vanta_host_is_passing_through());
}

TEST_F(BeautyPage, SaysThatItIsOff) {
  FedSource source;
  BeautyChain chain(source.Get());
  const Page page(chain.Filter());
  page.SetText("beauty_preset", "yuantu");
  EXPECT_THAT(Page(chain.Filter()).Label("vanta_status"), testing::HasSubstr("Every value is off"));
}

// ---- Green screen ----

class GreenScreenPage : public Pages {};

TEST_F(GreenScreenPage, ShowsWhatAConfigSays) {
  const OBSSourceAutoRelease filter = MakeFilter(
      kGreenScreen, [](obs_data_t *settings) { obs_data_set_string(settings, "config", R"({"similarity":0.4})"); });
  EXPECT_NEAR(obs_data_get_double(SettingsOf(filter), "key_similarity"), 40, 1e-9);
  const OBSDataAutoRelease patch = obs_data_create();
  obs_data_set_string(patch, "config", R"({"alphaUp":0.1})");
  obs_source_update(filter, patch);
  WaitForTicks(2);
  EXPECT_NEAR(obs_data_get_double(SettingsOf(filter), "key_alpha_up"), 10, 1e-9);
  EXPECT_NEAR(obs_data_get_double(SettingsOf(filter), "key_similarity"), 40, 1e-9);
}

TEST_F(GreenScreenPage, HasWholeNumbersOfPerCent) {
  const OBSSourceAutoRelease filter = MakeFilter(
      kGreenScreen, [](obs_data_t *settings) { obs_data_set_string(settings, "config", R"({"similarity":0.29})"); });
  const Page page(filter);
  EXPECT_EQ(obs_property_get_type(page["key_similarity"]), OBS_PROPERTY_INT);
  EXPECT_STREQ(obs_property_int_suffix(page["key_similarity"]), " %");
  EXPECT_EQ(Int(filter, "key_similarity"), 29);
  EXPECT_EQ(obs_property_get_type(page["key_alpha_shrink"]), OBS_PROPERTY_FLOAT);
}

TEST_F(GreenScreenPage, LogsAConfigThatIsNoObjectAsTheModuleDoes) {
  const vanta_test::LogCapture log;
  const OBSSourceAutoRelease filter = MakeFilter(kGreenScreen);
  const OBSDataAutoRelease patch = obs_data_create();
  obs_data_set_string(patch, "config", "[1]");
  for (int i = 0; i < 2; ++i) {
    obs_source_update(filter, patch);
    WaitForTicks(2);
  }
  EXPECT_EQ(log.Count("[LX_green_screen_filter][shader] invalid config json, keep previous settings. json=[1]"), 1u);
}

// A red block before a green backing.
Picture Take() {
  Picture picture(64, 48);
  picture.Fill(40, 180, 70);
  for (uint32_t y = 16; y < 48; ++y) {
    for (uint32_t x = 20; x < 44; ++x) {
      uint8_t *at = picture.At(x, y);
      at[0] = 200, at[1] = 40, at[2] = 40;
    }
  }
  return picture;
}

class GreenScreenPicture : public Pages {
 protected:
  GreenScreenPicture() {
    RegisterPaintedSource();
    source_ = std::make_unique<PaintedSource>();
    source_->Paint(Take());
    filter_ = MakeFilter(kGreenScreen, [](obs_data_t *settings) {
      obs_data_set_string(settings, "config", R"({"keyColor":[0.1,0.1,0.9],"denoiseEnabled":false})");
    });
    obs_source_filter_add(source_->Get(), filter_);
    WaitForTicks(2);
  }
  ~GreenScreenPicture() override { RemoveFilterSafely(source_->Get(), filter_); }

  int CornerAlpha() const {
    WaitForTicks(2);
    return TakeScreenshot(source_->Get()).At(3, 3)[3];
  }

  std::unique_ptr<PaintedSource> source_;
  OBSSourceAutoRelease filter_;
};

TEST_F(GreenScreenPicture, IsKeyedOnceTheButtonHasPickedTheColour) {
  EXPECT_GT(CornerAlpha(), 240);
  EXPECT_TRUE(Page(filter_).Press("key_pick"));
  EXPECT_LT(CornerAlpha(), 16);
  const auto colour = static_cast<unsigned long long>(Int(filter_, "key_color"));
  EXPECT_NEAR(double(colour & 0xFF), 40, 2);
  EXPECT_NEAR(double(colour >> 8 & 0xFF), 180, 2);
  EXPECT_NEAR(double(colour >> 16 & 0xFF), 70, 2);
}

TEST_F(GreenScreenPicture, PicksTheSameColourAgainThroughItsOwnKey) {
  Page(filter_).Press("key_pick");
  EXPECT_LT(CornerAlpha(), 16);
  const long long first = Int(filter_, "key_color");
  Page(filter_).Press("key_pick");
  EXPECT_EQ(Int(filter_, "key_color"), first);
}

TEST_F(GreenScreenPicture, IsShownWithoutKeyUntilTheButtonIsPressedAgain) {
  Page(filter_).Press("key_pick");
  EXPECT_LT(CornerAlpha(), 16);
  const Page page(filter_);
  page.Press("key_show_unkeyed");
  EXPECT_GT(CornerAlpha(), 240);
  EXPECT_THAT(page.Label("key_show_unkeyed"), "Show with key");
  page.Press("key_show_unkeyed");
  EXPECT_LT(CornerAlpha(), 16);
}

TEST_F(GreenScreenPicture, GoesBackToTheDefaultKeyAsAUserAsksForDefaults) {
  Page(filter_).Press("key_pick");
  EXPECT_LT(CornerAlpha(), 16);
  Page(filter_).SetInt("key_color", static_cast<int>(0xFFE61A1A));  // blue
  EXPECT_GT(CornerAlpha(), 240);
  obs_data_clear(SettingsOf(filter_));
  obs_source_update(filter_, nullptr);
  EXPECT_LT(CornerAlpha(), 200);  // pure green keys a part of this backing
}

}  // namespace
}  // namespace vanta_integration
