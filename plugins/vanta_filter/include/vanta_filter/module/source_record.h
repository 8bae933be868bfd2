// The customised host's source registration record: public libobs's with one slot more after `get_properties` and
// three more at the end. Its layout and its length are a contract with the host.
#pragma once

#include <cstddef>
#include <cstdint>

#include <obs.h>

// A slot that stays zero means that the filter does not provide that callback. Fields have the types and the meaning of
// libobs's obs_source_info; only what differs is commented.
struct HostSourceInfo {
  const char *id;
  obs_source_type type;
  uint32_t output_flags;
  const char *(*get_name)(void *type_data);
  void *(*create)(obs_data_t *settings, obs_source_t *source);
  void (*destroy)(void *data);
  uint32_t (*get_width)(void *data);
  uint32_t (*get_height)(void *data);
  void (*get_defaults)(obs_data_t *settings);
  obs_properties_t *(*get_properties)(void *data);
  void (*host_slot)();  // the host's own, absent from public libobs; no filter of this module sets it
  void (*update)(void *data, obs_data_t *settings);
  void (*activate)(void *data);
  void (*deactivate)(void *data);
  void (*show)(void *data);
  void (*hide)(void *data);
  void (*video_tick)(void *data, float seconds);
  void (*video_render)(void *data, gs_effect_t *effect);
  obs_source_frame *(*filter_video)(void *data, obs_source_frame *frame);
  obs_audio_data *(*filter_audio)(void *data, obs_audio_data *audio);
  void (*enum_active_sources)(void *data, obs_source_enum_proc_t enum_callback, void *param);
  void (*save)(void *data, obs_data_t *settings);
  void (*load)(void *data, obs_data_t *settings);
  void (*mouse_click)(void *data, const obs_mouse_event *event, int32_t type, bool mouse_up, uint32_t click_count);
  void (*mouse_move)(void *data, const obs_mouse_event *event, bool mouse_leave);
  void (*mouse_wheel)(void *data, const obs_mouse_event *event, int x_delta, int y_delta);
  void (*focus)(void *data, bool focus);
  void (*key_click)(void *data, const obs_key_event *event, bool key_up);
  void (*filter_remove)(void *data, obs_source_t *source);
  void *type_data;
  void (*free_type_data)(void *type_data);
  bool (*audio_render)(void *data, uint64_t *ts_out, obs_source_audio_mix *audio_output, uint32_t mixers,
                       size_t channels, size_t sample_rate);
  void (*enum_all_sources)(void *data, obs_source_enum_proc_t enum_callback, void *param);
  void (*transition_start)(void *data);
  void (*transition_stop)(void *data);
  void (*get_defaults2)(void *type_data, obs_data_t *settings);
  obs_properties_t *(*get_properties2)(void *data, void *type_data);
  bool (*audio_mix)(void *data, uint64_t *ts_out, audio_output_data *audio_output, size_t channels, size_t sample_rate);
  obs_icon_type icon_type;
  void (*media_play_pause)(void *data, bool pause);
  void (*media_restart)(void *data);
  void (*media_stop)(void *data);
  void (*media_next)(void *data);
  void (*media_previous)(void *data);
  int64_t (*media_get_duration)(void *data);
  int64_t (*media_get_time)(void *data);
  void (*media_set_time)(void *data, int64_t milliseconds);
  obs_media_state (*media_get_state)(void *data);
  uint32_t version;
  const char *unversioned_id;
  obs_missing_files_t *(*missing_files)(void *data);
  gs_color_space (*video_get_color_space)(void *data, size_t count, const gs_color_space *preferred_spaces);
  void *reserved[2];  // the host's own, not set
  // Hands out the filter's latest dump JSON: its characters, valid until the next dump, and its length.
  void (*get_dump_json)(void *data, const char **text, uint32_t *length);
};

namespace vanta {

// Passed as the length of every registration.
inline constexpr size_t kHostSourceInfoSize = 432;

}  // namespace vanta

static_assert(sizeof(HostSourceInfo) == vanta::kHostSourceInfoSize);
static_assert(offsetof(HostSourceInfo, id) == 0);
static_assert(offsetof(HostSourceInfo, type) == 8 && sizeof(HostSourceInfo::type) == 4);
static_assert(offsetof(HostSourceInfo, output_flags) == 12);
static_assert(offsetof(HostSourceInfo, get_name) == 16);
static_assert(offsetof(HostSourceInfo, create) == 24);
static_assert(offsetof(HostSourceInfo, destroy) == 32);
static_assert(offsetof(HostSourceInfo, get_width) == 40);
static_assert(offsetof(HostSourceInfo, get_height) == 48);
static_assert(offsetof(HostSourceInfo, get_defaults) == 56);
static_assert(offsetof(HostSourceInfo, get_properties) == 64);
static_assert(offsetof(HostSourceInfo, host_slot) == 72);
static_assert(offsetof(HostSourceInfo, update) == 80);
static_assert(offsetof(HostSourceInfo, activate) == 88);
static_assert(offsetof(HostSourceInfo, deactivate) == 96);
static_assert(offsetof(HostSourceInfo, show) == 104);
static_assert(offsetof(HostSourceInfo, hide) == 112);
static_assert(offsetof(HostSourceInfo, video_tick) == 120);
static_assert(offsetof(HostSourceInfo, video_render) == 128);
static_assert(offsetof(HostSourceInfo, filter_video) == 136);
static_assert(offsetof(HostSourceInfo, filter_audio) == 144);
static_assert(offsetof(HostSourceInfo, key_click) == 208);
static_assert(offsetof(HostSourceInfo, filter_remove) == 216);
static_assert(offsetof(HostSourceInfo, type_data) == 224);
static_assert(offsetof(HostSourceInfo, get_dump_json) == 424);

// Up to `get_properties` the public record stands as it is, from `update` on eight bytes later.
static_assert(offsetof(HostSourceInfo, get_properties) == offsetof(obs_source_info, get_properties));
static_assert(offsetof(HostSourceInfo, update) == offsetof(obs_source_info, update) + 8);
static_assert(offsetof(HostSourceInfo, filter_remove) == offsetof(obs_source_info, filter_remove) + 8);
static_assert(offsetof(HostSourceInfo, icon_type) == offsetof(obs_source_info, icon_type) + 8);
static_assert(offsetof(HostSourceInfo, video_get_color_space) == offsetof(obs_source_info, video_get_color_space) + 8);
