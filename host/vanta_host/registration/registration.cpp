#include "registration/registration.h"

#include <cstring>
#include <string>

#include <util/base.h>
#include <util/bmem.h>
#include <util/platform.h>

#include "module/module_control.h"
#include "module/module_files.h"
#include "platform/neighbours.h"
#include "registration/empty_filter.h"
#include "registration/engine_watch.h"
#include "registration/filter_table.h"
#include "registration/public_record.h"
#include "remote/hotkeys.h"
#include "vanta_filter/module/filter_ids.h"
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
  return std::strcmp(record.id, vanta::kBeautyFilterId) == 0;
}

bool IsLandmarkFilter(const HostSourceInfo &record) {
  return std::strcmp(record.id, vanta::kLandmarkFilterId) == 0;
}

// The record as it is, or an empty one where a library that the filter needs is missing.
HostSourceInfo WorkingRecord(const HostSourceInfo &record) {
  if (IsBeautyFilter(record)) {
    const std::string obstacle = vanta_host::ObstacleToEngine();
    if (obstacle.empty()) return record;
    vanta_host::ReportMissingEngine(obstacle);
    return vanta_host::EmptyRecord(record);
  }
  if (IsLandmarkFilter(record)) {
    const std::string obstacle = vanta_host::ObstacleToRunner();
    if (obstacle.empty()) return record;
    blog(LOG_WARNING, "[vanta_host] no vision runner: no faces are found (%s)", obstacle.c_str());
    return vanta_host::EmptyRecord(record);
  }
  return record;
}

// In the system's code page, in which the engine is told of paths. libobs gives 0 or the largest count where it lacks a
// character.
bool HasMultibyteName(const std::string &path) {
  char *text = nullptr;
  const size_t length = os_utf8_to_mbs_ptr(path.c_str(), path.size(), &text);
  bfree(text);
  return length != 0 && length != static_cast<size_t>(-1);
}

// Once, before the first filter is made: without its data the module works badly, and in silence. A program that has
// the module linked in keeps the data elsewhere.
void CheckData() {
  if (!obs_get_module("vanta_filter")) return;
  if (vanta_host::ModuleFile("vanta_beauty.effect").empty()) {
    blog(LOG_ERROR, "[vanta_host] the data folder of vanta_filter is missing: its filters cannot work");
    return;
  }
  const std::string engine_files = vanta_host::ModuleFile("faceless_builtin");
  if (!engine_files.empty() && !vanta_host::EngineFindsItsData() && !HasMultibyteName(engine_files))
    blog(LOG_WARNING, "[vanta_host] the effect engine cannot open %s: a folder with plain letters would do",
         engine_files.c_str());
}

void RegisterPublicly(const obs_source_info &info) {
  obs_register_source_s(&info, vanta_host::kPublicSourceInfoSize);
}

void RegisterLongRecord(const HostSourceInfo &whole) {
  // libobs refuses an id that it has; the callbacks of the one that it keeps must stay in the table.
  if (!whole.id || IsRegistered(whole.id)) return RegisterPublicly(vanta_host::PublicRecord(whole));
  vanta_host::RememberModule(reinterpret_cast<const void *>(whole.create));
  if (IsBeautyFilter(whole)) CheckData();
  const HostSourceInfo record = WorkingRecord(whole);
  obs_source_info info = vanta_host::PublicRecord(record);
  if (!vanta_host::InstallTrampolines(record, info))
    blog(LOG_WARNING, "[vanta_host] no room for %s: its frames cannot be marked for a dump", record.id);
  if (IsBeautyFilter(record)) vanta_host::RegisterLookHotkeys();
  RegisterPublicly(info);
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
