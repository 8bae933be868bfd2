// What the host keeps of the module's filters: their types, their instances, the dump marks.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <obs.h>

#include "registration/frame_gate.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/engine/i_faceless.h"
#include "vanta_filter/module/filter_ids.h"
#include "vanta_filter/module/source_record.h"

namespace vanta_host {

// Stands between libobs and the module's callbacks for each registered type.
// Owns: copies of the callbacks, for the life of the process. Borrows: the instances, from creation to destruction.
// Threads: AddType [control]; Create [control]; Destroy, Update, FilterVideo, VideoRender as libobs calls them;
// MarkNextFrame, GetDumpJson any that holds a reference on the source.
class FilterTable {
 public:
  // The module's three, kept for them however many others register.
  static constexpr size_t kBeautyType = 0;
  static constexpr size_t kGreenScreenType = 1;
  static constexpr size_t kLandmarkType = 2;
  static constexpr size_t kTypes = 19;
  static constexpr size_t kNoType = SIZE_MAX;

  // The index of the record's type; kNoType when the table is full. A type that registers again keeps its index.
  size_t AddType(const HostSourceInfo &record);

  void *Create(size_t type, obs_data_t *settings, obs_source_t *source);
  void Destroy(size_t type, void *data);
  // Without an engine, and while its look is off, the beauty filter's frame is returned as it is, with its dump mark.
  obs_source_frame *FilterVideo(size_t type, void *data, obs_source_frame *frame);
  // For beauty and green screen. The module reads a copy of the settings: without a foreign address, with a complete
  // config.
  void Update(size_t type, void *data, obs_data_t *settings);
  // For the module's three. A beauty filter whose frames pass untouched is not drawn either: what it would draw is an
  // older frame.
  void VideoRender(size_t type, void *data, gs_effect_t *effect);

  // Null for an instance that is not known.
  obs_source_t *SourceOf(size_t type, const void *data) const;

  bool MarkNextFrame(obs_source_t *source, uint32_t id);
  bool GetDumpJson(obs_source_t *source, const char **text, uint32_t *length) const;

 private:
  // Atomic, since a type that comes again after a restart of libobs brings the addresses of a module loaded anew.
  struct Type {
    std::atomic<decltype(HostSourceInfo::create)> create{nullptr};
    std::atomic<decltype(HostSourceInfo::destroy)> destroy{nullptr};
    std::atomic<decltype(HostSourceInfo::update)> update{nullptr};
    std::atomic<decltype(HostSourceInfo::filter_video)> filter_video{nullptr};
    std::atomic<decltype(HostSourceInfo::video_render)> video_render{nullptr};
    std::atomic<decltype(HostSourceInfo::get_dump_json)> get_dump_json{nullptr};
  };
  struct Instance {
    obs_source_t *source;
    void *data;
    size_t type;
    std::unique_ptr<FrameGate> gate;  // of a beauty filter
    uint32_t mark = 0;                // of its next frame; 0: none
  };
  // What a callback needs of its instance: good until the instance's Destroy, as the module's own data is.
  struct Found {
    obs_source_t *source = nullptr;
    FrameGate *gate = nullptr;
  };

  uint32_t TakeMark(const void *data);
  Found Find(size_t type, const void *data) const;
  bool IsPassedBy(const FrameGate *gate) const;

  std::array<Type, kTypes> types_;
  std::atomic<size_t> marks_{0};  // instances with a mark: a frame of a process without marks takes no lock

  std::atomic<ILumivex *> control_{nullptr};  // the module's, found when it made a filter

  mutable vanta::Mutex mutex_;
  std::vector<std::string> ids_ VANTA_GUARDED_BY(mutex_){vanta::kBeautyFilterId, vanta::kGreenScreenFilterId,
                                                         vanta::kLandmarkFilterId};  // by type
  std::vector<Instance> instances_ VANTA_GUARDED_BY(mutex_);
};

FilterTable &Filters();  // the process's

// Puts the table's callbacks into `info` in place of the module's, where the module has them. False when the table is
// full: the type then works, without dump marks.
bool InstallTrampolines(const HostSourceInfo &record, obs_source_info &info);

}  // namespace vanta_host
