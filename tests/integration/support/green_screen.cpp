#include "integration/support/green_screen.h"

#include "integration/support/beauty_chain.h"
#include "integration/support/obs_session.h"

namespace vanta_integration {

GreenScreen::GreenScreen(obs_source_t *source, const std::string &config) : source_(source) {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_string(settings, "config", config.c_str());
  filter_ = obs_source_create("LX_green_screen_filter", "green screen", settings, nullptr);
  obs_source_filter_add(source_, filter_);
}

GreenScreen::~GreenScreen() {
  RemoveFilterSafely(source_, filter_);
}

void GreenScreen::Configure(const std::string &config) {
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_string(settings, "config", config.c_str());
  obs_source_update(filter_, settings);
  WaitForTicks(2);  // libobs hands updates over in its tick
}

}  // namespace vanta_integration
