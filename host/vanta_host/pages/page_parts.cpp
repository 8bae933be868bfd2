#include "pages/page_parts.h"

#include "module/module_files.h"

namespace vanta_host {
namespace {

constexpr char kStatusLine[] = "vanta_status";

void ReleaseWeak(void *param) {
  obs_weak_source_release(static_cast<obs_weak_source_t *>(param));
}

}  // namespace

obs_properties_t *NewPage(obs_source_t *filter) {
  obs_properties_t *page = obs_properties_create();
  if (filter) obs_properties_set_param(page, obs_source_get_weak_source(filter), ReleaseWeak);
  return page;
}

OBSSourceAutoRelease PageFilter(obs_properties_t *page) {
  return obs_weak_source_get_source(static_cast<obs_weak_source_t *>(obs_properties_get_param(page)));
}

obs_property_t *Labelled(obs_property_t *property, const std::string &text) {
  const std::string tip_key = text + ".Tip";
  const std::string tip = Text(tip_key);
  if (tip != tip_key) obs_property_set_long_description(property, tip.c_str());
  return property;
}

obs_property_t *AddSlider(obs_properties_t *page, const char *setting, const std::string &text, int minimum,
                          int maximum) {
  obs_property_t *slider = obs_properties_add_int_slider(page, setting, Text(text), minimum, maximum, 1);
  obs_property_int_set_suffix(slider, " %");
  return Labelled(slider, text);
}

obs_property_t *AddSwitch(obs_properties_t *page, const char *setting, const std::string &text) {
  return Labelled(obs_properties_add_bool(page, setting, Text(text)), text);
}

void AddStatus(obs_properties_t *page, const FilterStatus &status) {
  obs_properties_add_text(page, kStatusLine, status.text.c_str(), OBS_TEXT_INFO);
  ShowStatus(page, status);
}

void ShowStatus(obs_properties_t *page, const FilterStatus &status) {
  obs_property_t *line = obs_properties_get(page, kStatusLine);
  obs_property_set_description(line, status.text.c_str());
  obs_property_text_set_info_type(line, status.level);
  obs_property_text_set_info_word_wrap(line, true);
}

// Where the manual is not installed there is nothing to open.
void AddManual(obs_properties_t *page) {
  const std::string path = ModuleFile("manual/obs-studio.md");
  if (path.empty()) return;
  obs_property_t *button = obs_properties_add_button(
      page, "vanta_manual", Text("Page.Manual"), [](obs_properties_t *, obs_property_t *, void *) { return false; });
  std::string url = "file://" + path;
  obs_property_button_set_type(button, OBS_BUTTON_URL);
  obs_property_button_set_url(button, url.data());
}

void SetVisible(obs_properties_t *page, std::initializer_list<const char *> settings, bool visible) {
  for (const char *setting : settings) {
    if (obs_property_t *property = obs_properties_get(page, setting)) obs_property_set_visible(property, visible);
  }
}

}  // namespace vanta_host
