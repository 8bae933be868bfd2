// One set of plain functions for each type of the table: libobs's callbacks are not told which type they belong to.
#include <utility>

#include "platform/renderer.h"
#include "registration/adapter.h"
#include "registration/filter_pages.h"
#include "registration/filter_table.h"
#include "registration/switches.h"
#include "vanta_host.h"

namespace vanta_host {
namespace {

template <size_t kType>
void *Create(obs_data_t *settings, obs_source_t *source) {
  // The module's workers ask for both, and must not enter the graphics context.
  LearnAdapter();
  LearnRenderer();
  ChooseGpuOutput(vanta_host_adapter_name());
  return Filters().Create(kType, settings, source);
}

template <size_t kType>
void Destroy(void *data) {
  Filters().Destroy(kType, data);
}

template <size_t kType>
obs_source_frame *FilterVideo(void *data, obs_source_frame *frame) {
  return Filters().FilterVideo(kType, data, frame);
}

template <size_t kType>
void Update(void *data, obs_data_t *settings) {
  Filters().Update(kType, data, settings);
}

template <size_t kType>
void VideoRender(void *data, gs_effect_t *effect) {
  Filters().VideoRender(kType, data, effect);
}

// Null data: a page for no filter in particular.
template <size_t kType>
obs_properties_t *GetProperties(void *data, void *) {
  return MakePage(kType, data ? Filters().SourceOf(kType, data) : nullptr);
}

template <size_t kType>
void GetDefaults(void *, obs_data_t *settings) {
  SetPageDefaults(kType, settings);
}

struct Trampolines {
  decltype(obs_source_info::create) create;
  decltype(obs_source_info::destroy) destroy;
  decltype(obs_source_info::filter_video) filter_video;
  decltype(obs_source_info::update) update;
  decltype(obs_source_info::video_render) video_render;
  decltype(obs_source_info::get_properties2) get_properties2;
  decltype(obs_source_info::get_defaults2) get_defaults2;
};

template <size_t... kTypes>
constexpr std::array<Trampolines, sizeof...(kTypes)> AllTrampolines(std::index_sequence<kTypes...>) {
  return {{{Create<kTypes>, Destroy<kTypes>, FilterVideo<kTypes>, Update<kTypes>, VideoRender<kTypes>,
            GetProperties<kTypes>, GetDefaults<kTypes>}...}};
}

constexpr auto kTrampolines = AllTrampolines(std::make_index_sequence<FilterTable::kTypes>());

}  // namespace

bool InstallTrampolines(const HostSourceInfo &record, obs_source_info &info) {
  const size_t type = Filters().AddType(record);
  if (type == FilterTable::kNoType) return false;
  // An empty slot tells libobs that the filter lacks the callback, so it stays empty.
  if (info.create && info.destroy) {
    info.create = kTrampolines[type].create;
    info.destroy = kTrampolines[type].destroy;
  }
  if (info.filter_video) info.filter_video = kTrampolines[type].filter_video;
  if (type > FilterTable::kLandmarkType) return true;
  if (info.update && type != FilterTable::kLandmarkType) info.update = kTrampolines[type].update;
  if (info.video_render) info.video_render = kTrampolines[type].video_render;
  // The module has no pages: these are the host layer's own.
  info.get_properties2 = kTrampolines[type].get_properties2;
  info.get_defaults2 = kTrampolines[type].get_defaults2;
  if (type == FilterTable::kLandmarkType) info.get_name = LandmarkName;
  return true;
}

}  // namespace vanta_host
