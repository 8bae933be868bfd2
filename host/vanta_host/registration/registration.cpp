#include "registration/registration.h"

#include <cstring>

#include <util/base.h>

#include "module/module_control.h"
#include "registration/filter_table.h"
#include "registration/public_record.h"
#include "remote/hotkeys.h"
#include "vanta_host.h"

namespace {

bool IsRegistered(const char *id) {
  if (!obs_initialized()) return false;
  const char *known = nullptr;
  for (size_t i = 0; obs_enum_source_types(i, &known); ++i)
    if (std::strcmp(known, id) == 0) return true;
  return false;
}

bool IsBeautyFilter(const HostSourceInfo &record) {
  return std::strcmp(record.id, "face_beauty_filter_v2") == 0;
}

void RegisterLongRecord(const HostSourceInfo &record) {
  obs_source_info info = vanta_host::PublicRecord(record);
  // libobs refuses an id that it has; the callbacks of the one that it keeps must stay in the table.
  if (record.id && !IsRegistered(record.id)) {
    vanta_host::RememberModule(reinterpret_cast<const void *>(record.create));
    if (!vanta_host::InstallTrampolines(record, info))
      blog(LOG_WARNING, "[vanta_host] no room for %s: its frames cannot be marked for a dump", record.id);
    if (IsBeautyFilter(record)) vanta_host::RegisterLookHotkeys();
  }
  obs_register_source_s(&info, vanta_host::kPublicSourceInfoSize);
}

}  // namespace

void __wrap_obs_register_source_s(const obs_source_info *info, size_t size) {
  vanta_host_attach();
  if (!info || size != vanta::kHostSourceInfoSize) {
    obs_register_source_s(info, size);
    return;
  }
  HostSourceInfo record;
  std::memcpy(&record, info, sizeof(record));
  RegisterLongRecord(record);
}
