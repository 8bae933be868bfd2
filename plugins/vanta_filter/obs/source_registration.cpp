#include "obs/source_registration.h"

#include <cstring>

namespace vanta {

HostSourceInfo VideoFilterRecord(const char *id) {
  HostSourceInfo record;
  std::memset(&record, 0, sizeof(record));  // the padding too: the host reads all of it
  record.id = id;
  record.type = OBS_SOURCE_TYPE_FILTER;
  record.output_flags = OBS_SOURCE_VIDEO;
  return record;
}

void RegisterSource(const HostSourceInfo &record) {
  obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), kHostSourceInfoSize);
}

}  // namespace vanta
