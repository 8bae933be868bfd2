#include "fakes/control/fake_filter.h"

#include <algorithm>

#include "vanta_filter/module/host_frame.h"

namespace vanta_test {

void FakeFilter::Note(const char *call) {
  std::lock_guard<std::mutex> lock(mutex_);
  calls_.push_back(call);
}

std::vector<std::string> FakeFilter::Calls() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return calls_;
}

bool FakeFilter::Has(const char *call) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::find(calls_.begin(), calls_.end(), call) != calls_.end();
}

void FakeFilter::NoteSettings(obs_data_t *settings) {
  std::lock_guard<std::mutex> lock(mutex_);
  handlers_.push_back(obs_data_get_int(settings, kHandlerKey));
}

std::vector<long long> FakeFilter::Handlers() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return handlers_;
}

FakeFilter &TheFakeFilter() {
  static FakeFilter filter;
  return filter;
}

HostSourceInfo FakeRecord(const char *id) {
  HostSourceInfo record{};
  record.id = id;
  record.type = OBS_SOURCE_TYPE_FILTER;
  record.output_flags = OBS_SOURCE_VIDEO;
  record.get_name = [](void *) { return "fake"; };
  record.create = [](obs_data_t *settings, obs_source_t *source) -> void * {
    TheFakeFilter().NoteSettings(settings);
    TheFakeFilter().Note("create");
    TheFakeFilter().source = source;
    return new char;
  };
  record.destroy = [](void *data) {
    TheFakeFilter().Note("destroy");
    delete static_cast<char *>(data);
  };
  record.update = [](void *, obs_data_t *settings) {
    if (TheFakeFilter().on_update) TheFakeFilter().on_update(settings);
    TheFakeFilter().NoteSettings(settings);
    TheFakeFilter().Note("update");
  };
  record.filter_video = [](void *, obs_source_frame *frame) {
    TheFakeFilter().Note("filter_video");
    if (frame) TheFakeFilter().dump_ids.push_back(vanta::GetDumpId(frame));
    return frame;
  };
  record.get_dump_json = [](void *, const char **text, uint32_t *length) {
    *text = TheFakeFilter().dump_json.c_str();
    *length = static_cast<uint32_t>(TheFakeFilter().dump_json.size());
  };
  return record;
}

}  // namespace vanta_test
