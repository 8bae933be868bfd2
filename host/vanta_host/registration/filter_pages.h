// What the host layer adds to the module's three filters: pages, and settings that users can change.
// Types are those of FilterTable.
#pragma once

#include <vector>

#include <obs.hpp>

namespace vanta_host {

obs_properties_t *MakePage(size_t type, obs_source_t *filter);
void SetPageDefaults(size_t type, obs_data_t *settings);
const char *LandmarkName(void *type_data);

// The settings that the module is to make the filter from: the filter's own, or a copy.
OBSData BeforeCreation(size_t type, obs_source_t *filter, obs_data_t *settings);
// The filter is about to go, or could not be made.
void AfterEnd(size_t type, obs_source_t *filter);

void TakeBeautyUpdate(obs_source_t *filter, obs_data_t *settings);
// What the module is to be updated with, in this order.
std::vector<OBSData> GreenScreenUpdates(obs_data_t *settings);

}  // namespace vanta_host
