#include "core/settings_loads.h"

#include <util/base.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "makeup/makeup_color.h"
#include "settings/engine_control.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {
namespace {

// Relative names that are not found as they stand are looked up among the tables that come with the engine.
std::string LookupPath(const std::string &root, const std::string &path) {
  std::error_code error;
  if (path.empty() || std::filesystem::exists(vanta::PathFromUtf8(path), error)) return path;
  const std::filesystem::path own = vanta::PathFromUtf8(root) / "lookups" / vanta::PathFromUtf8(path);
  return std::filesystem::exists(own, error) ? vanta::Utf8FromPath(own) : path;
}

bool IsAskedFor(const std::string &folder, const std::vector<MakeupRequest> &requests) {
  return std::any_of(requests.begin(), requests.end(),
                     [&](const MakeupRequest &request) { return request.folder == folder; });
}

}  // namespace

bool SettingsLoads::Take(bool await) {
  const bool table = TakeTable(await);
  const bool makeup = TakeMakeup(await);
  const bool group = TakeGroup(await);
  return table || makeup || group;
}

void SettingsLoads::ReadTable(const std::string &path, float intensity, int32_t type) {
  loading_table_intensity_ = Clamped(intensity, 0.0f, 1.0f);
  if (path.empty()) {
    table_loading_.Cancel();
    settings_.lookup.reset();
    settings_.lookup_name.clear();
    settings_.lookup_intensity = loading_table_intensity_;
    return;
  }
  loading_table_ = path;
  table_loading_.Start(loader_, [root = root_, path, type](const std::atomic<bool> &) {
    return TableRead{ReadLookup(LookupPath(root, path), type)};
  });
  if (FramesAwaitLoads()) TakeTable(true);
}

bool SettingsLoads::TakeTable(bool await) {
  std::optional<TableRead> read = table_loading_.Take(await);
  if (!read) return false;
  if (!read->file.table) {
    blog(LOG_WARNING, "[lumivex] lookup table %s: %s; %s", loading_table_.c_str(), read->file.reason.c_str(),
         read->file.remedy.c_str());
    return false;
  }
  settings_.lookup = std::move(read->file.table);
  settings_.lookup_name = loading_table_;
  settings_.lookup_intensity = loading_table_intensity_;
  return true;
}

void SettingsLoads::SetTableIntensity(float intensity) {
  settings_.lookup_intensity = loading_table_intensity_ = Clamped(intensity, 0.0f, 1.0f);
}

void SettingsLoads::ReadMakeup(const std::vector<MakeupRequest> &requests) {
  if (requests.empty()) {
    makeup_loading_.Cancel();
    settings_.face.makeup.clear();
    return;
  }
  loading_makeup_ = requests;
  // A folder that is in use already is not read again, nor is one that stands there twice.
  std::vector<std::shared_ptr<const MakeupResource>> known;
  for (const MakeupChoice &choice : settings_.face.makeup) {
    if (std::find(known.begin(), known.end(), choice.resource) == known.end()) known.push_back(choice.resource);
  }
  makeup_loading_.Start(loader_, [requests, known = std::move(known)](const std::atomic<bool> &cancelled) {
    MakeupRead read;
    std::vector<std::shared_ptr<const MakeupResource>> whole = known;
    int64_t left = kMostMakeupPixels;
    for (const auto &resource : known) {
      if (IsAskedFor(resource->folder, requests)) left -= resource->Pixels();
    }
    for (const MakeupRequest &request : requests) {
      if (cancelled.load(std::memory_order_relaxed)) break;
      if (IsMakeupColor(request.folder)) {
        read.loads.push_back(MakeupOfColor(request.folder, request.key));
        continue;
      }
      const auto same = std::find_if(whole.begin(), whole.end(),
                                     [&](const auto &resource) { return resource->folder == request.folder; });
      if (same != whole.end()) {
        read.loads.push_back({*same, {}, {}, {}});
        continue;
      }
      MakeupLoad load = LoadMakeup(request.folder, left);
      if (load.resource) {
        left -= load.resource->Pixels();
        whole.push_back(load.resource);
      }
      read.loads.push_back(std::move(load));
    }
    return read;
  });
  if (FramesAwaitLoads()) TakeMakeup(true);
}

bool SettingsLoads::TakeMakeup(bool await) {
  std::optional<MakeupRead> read = makeup_loading_.Take(await);
  if (!read) return false;
  if (!read->reason.empty()) {
    blog(LOG_WARNING, "[lumivex] makeup: %s; it stays as it is", read->reason.c_str());
    return false;
  }
  std::vector<MakeupChoice> formers = settings_.face.makeup;
  std::vector<MakeupChoice> choices;
  for (size_t i = 0; i < read->loads.size(); ++i) {
    const MakeupRequest &request = loading_makeup_[i];
    MakeupLoad &load = read->loads[i];
    if (load.resource) {
      choices.push_back({request.key, std::move(load.resource), request.blend, Clamped(request.intensity, 0.0f, 1.0f)});
      continue;
    }
    blog(LOG_WARNING, "[lumivex] makeup %s: %s; %s", load.file.c_str(), load.reason.c_str(), load.remedy.c_str());
    // What the key has is kept once, however many of its makeups cannot be loaded.
    for (MakeupChoice &former : formers) {
      if (former.resource && former.key == request.key) choices.push_back(std::move(former));
    }
  }
  settings_.face.makeup = std::move(choices);
  return true;
}

void SettingsLoads::SetMakeupIntensity(const std::string &key, float intensity) {
  bool found = false;
  for (MakeupChoice &choice : settings_.face.makeup) {
    if (choice.key != key) continue;
    choice.intensity = Clamped(intensity, 0.0f, 1.0f);
    found = true;
  }
  if (makeup_loading_.Pending()) {
    for (MakeupRequest &request : loading_makeup_) {
      if (request.key != key) continue;
      request.intensity = intensity;
      found = true;
    }
  }
  if (!found) blog(LOG_WARNING, "[lumivex] no makeup has the key '%s'", key.c_str());
}

void SettingsLoads::ReadGroup(const std::string &text, bool is_group) {
  loading_group_ = text;
  beauty_since_group_.clear();
  group_loading_.Start(loader_, [root = root_, text, is_group](const std::atomic<bool> &) {
    return GroupRead{ReadPreset(root, text, is_group)};
  });
  if (FramesAwaitLoads()) TakeGroup(true);
}

void SettingsLoads::NoteBeauty(LXBeautyType type, float intensity) {
  if (group_loading_.Pending()) beauty_since_group_.emplace_back(type, intensity);
}

// Intensities that were set after the group go on top of it.
bool SettingsLoads::TakeGroup(bool await) {
  const std::optional<GroupRead> read = group_loading_.Take(await);
  if (!read) return false;
  const auto later = std::exchange(beauty_since_group_, {});
  if (!read->file.values) {
    blog(LOG_WARNING, "[lumivex] beauty preset %s: %s: %s; beauty stays as it is", loading_group_.c_str(),
         read->file.file.c_str(), read->file.reason.c_str());
    return false;
  }
  settings_.beauty = *read->file.values;
  settings_.group = loading_group_;
  for (const auto &[type, intensity] : later) SetBeauty(settings_.beauty, type, intensity);
  return true;
}

}  // namespace lumivex
