// What the three pages are put together from.
#pragma once

#include <initializer_list>
#include <string>

#include <obs.hpp>

#include "controls/filter_status.h"

namespace vanta_host {

// A page of its own reference on the filter; null makes a page for no filter in particular.
obs_properties_t *NewPage(obs_source_t *filter);
// The page's filter, in a callback of one of its properties; null when it is gone.
OBSSourceAutoRelease PageFilter(obs_properties_t *page);

// The text of `text` is the label, that of "`text`.Tip", where there is one, what shows while the mouse rests above it.
obs_property_t *Labelled(obs_property_t *property, const std::string &text);
obs_property_t *AddSlider(obs_properties_t *page, const char *setting, const std::string &text, int minimum,
                          int maximum);
obs_property_t *AddSwitch(obs_properties_t *page, const char *setting, const std::string &text);

// The first line, and the last one.
void AddStatus(obs_properties_t *page, const FilterStatus &status);
void ShowStatus(obs_properties_t *page, const FilterStatus &status);
void AddManual(obs_properties_t *page);

void SetVisible(obs_properties_t *page, std::initializer_list<const char *> settings, bool visible);

}  // namespace vanta_host
