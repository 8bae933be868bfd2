// A filter of the customised host's kind whose callbacks note what they are given.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <obs.h>

#include "vanta_filter/module/source_record.h"

namespace vanta_test {

// What the callbacks have seen. Threads: Note, Calls, Has and Handlers any; the rest the test's.
class FakeFilter {
 public:
  void Note(const char *call);
  std::vector<std::string> Calls() const;  // "create", "update", "destroy", ... in order
  bool Has(const char *call) const;

  void NoteSettings(obs_data_t *settings);
  // The ability handler's address in the settings of each "create" and "update", in order.
  std::vector<long long> Handlers() const;
  std::function<void(obs_data_t *)> on_update;  // called first in "update"; set before an update is under way

  std::vector<uint32_t> dump_ids;  // of each frame that came
  std::string dump_json;           // what get_dump_json hands out
  obs_source_t *source = nullptr;  // of the newest instance

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> calls_;
  std::vector<long long> handlers_;
};

FakeFilter &TheFakeFilter();  // the process's; instances share it

inline constexpr char kBeautyFilterId[] = "face_beauty_filter_v2";
inline constexpr char kHandlerKey[] = "effect_json_ability_handler";

// get_name, create, destroy, update, filter_video and get_dump_json are set.
HostSourceInfo FakeRecord(const char *id);

}  // namespace vanta_test
