#include "paper_filter.h"

#include <algorithm>

#include "module/host_frame.h"

namespace vanta_test {

void PaperFilter::Note(const char *call) {
  std::lock_guard<std::mutex> lock(mutex_);
  calls_.push_back(call);
}

std::vector<std::string> PaperFilter::Calls() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return calls_;
}

bool PaperFilter::Has(const char *call) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::find(calls_.begin(), calls_.end(), call) != calls_.end();
}

void PaperFilter::NoteSettings(obs_data_t *settings) {
  std::lock_guard<std::mutex> lock(mutex_);
  handlers_.push_back(obs_data_get_int(settings, kHandlerKey));
}

std::vector<long long> PaperFilter::Handlers() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return handlers_;
}

PaperFilter &Paper() {
  static PaperFilter paper;
  return paper;
}

HostSourceInfo PaperRecord(const char *id) {
  HostSourceInfo record{};
  record.id = id;
  record.type = OBS_SOURCE_TYPE_FILTER;
  record.output_flags = OBS_SOURCE_VIDEO;
  record.get_name = [](void *) { return "paper"; };
  record.create = [](obs_data_t *settings, obs_source_t *source) -> void * {
    Paper().NoteSettings(settings);
    Paper().Note("create");
    Paper().source = source;
    return new char;
  };
  record.destroy = [](void *data) {
    Paper().Note("destroy");
    delete static_cast<char *>(data);
  };
  record.update = [](void *, obs_data_t *settings) {
    if (Paper().on_update) Paper().on_update(settings);
    Paper().NoteSettings(settings);
    Paper().Note("update");
  };
  record.filter_video = [](void *, obs_source_frame *frame) {
    Paper().Note("filter_video");
    if (frame) Paper().dump_ids.push_back(vanta::GetDumpId(frame));
    return frame;
  };
  record.get_dump_json = [](void *, const char **text, uint32_t *length) {
    *text = Paper().dump_json.c_str();
    *length = static_cast<uint32_t>(Paper().dump_json.size());
  };
  return record;
}

}  // namespace vanta_test
