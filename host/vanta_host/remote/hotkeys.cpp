#include "remote/hotkeys.h"

#include <array>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <obs.hpp>

#include "controls/beauty_controls.h"
#include "controls/frontend.h"
#include "controls/look_file.h"
#include "module/module_files.h"
#include "vanta_base/mutex.h"

namespace vanta_host {

BeautyLook LookSwitch::Off(const BeautyLook &now) {
  if (!now.IsOff()) kept_ = now;
  return PlainLook();
}

BeautyLook LookSwitch::On(const BeautyLook &now) const {
  return now.IsOff() ? kept_ : now;
}

namespace {

using vanta::Mutex;
using vanta::MutexLock;

struct LookHotkey {
  const char *name;  // in the scene collection
  const char *text;
  obs_hotkey_func press;
};

// All presets in the order of their names, from one to the next.
std::optional<BeautyLook> NextLook(std::string &current) {
  const ResourceFolders folders = ModuleFolders();
  const std::vector<std::string> names = folders.List(ResourceKind::kPreset);
  if (names.empty()) return std::nullopt;
  size_t next = 0;
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i] == current) next = (i + 1) % names.size();
  }
  current = names[next];
  return ReadLookFile(folders.Find(ResourceKind::kPreset, current));
}

struct LookKeys {
  Mutex mutex;
  LookSwitch look_switch VANTA_GUARDED_BY(mutex);
  std::optional<BeautyLook> compared VANTA_GUARDED_BY(mutex);  // what comes back when the key is let go
  std::string current VANTA_GUARDED_BY(mutex);
  std::vector<obs_hotkey_id> ids VANTA_GUARDED_BY(mutex);
};

LookKeys &TheKeys() {
  static LookKeys *keys = new LookKeys;
  return *keys;
}

void OnOn(void *, obs_hotkey_id, obs_hotkey_t *, bool pressed) {
  if (!pressed) return;
  MutexLock lock(TheKeys().mutex);
  Controls().SetLook(TheKeys().look_switch.On(Controls().Look()));
}

void OnOff(void *, obs_hotkey_id, obs_hotkey_t *, bool pressed) {
  if (!pressed) return;
  MutexLock lock(TheKeys().mutex);
  Controls().SetLook(TheKeys().look_switch.Off(Controls().Look()));
}

void OnNext(void *, obs_hotkey_id, obs_hotkey_t *, bool pressed) {
  if (!pressed) return;
  MutexLock lock(TheKeys().mutex);
  if (const std::optional<BeautyLook> look = NextLook(TheKeys().current)) Controls().SetLook(*look);
}

// A look that was changed meanwhile stays.
void OnCompare(void *, obs_hotkey_id, obs_hotkey_t *, bool pressed) {
  MutexLock lock(TheKeys().mutex);
  std::optional<BeautyLook> &compared = TheKeys().compared;
  const BeautyLook now = Controls().Look();
  if (pressed && !compared && !now.IsOff()) {
    compared = now;
    Controls().SetLook(PlainLook());
  } else if (!pressed && compared) {
    if (now.IsOff()) Controls().SetLook(*compared);
    compared.reset();
  }
}

constexpr LookHotkey kHotkeys[] = {{"vanta_filter.beauty_on", "Hotkey.BeautyOn", OnOn},
                                   {"vanta_filter.beauty_off", "Hotkey.BeautyOff", OnOff},
                                   {"vanta_filter.next_look", "Hotkey.NextLook", OnNext},
                                   {"vanta_filter.compare", "Hotkey.Compare", OnCompare}};

void OnSave(obs_data_t *data, bool saving, void *) {
  std::vector<obs_hotkey_id> ids;
  {
    MutexLock lock(TheKeys().mutex);
    ids = TheKeys().ids;
  }
  for (size_t i = 0; i < ids.size(); ++i) {
    if (saving) {
      const OBSDataArrayAutoRelease bindings = obs_hotkey_save(ids[i]);
      obs_data_set_array(data, kHotkeys[i].name, bindings);
    } else {
      const OBSDataArrayAutoRelease bindings = obs_data_get_array(data, kHotkeys[i].name);
      obs_hotkey_load(ids[i], bindings);
    }
  }
}

using SaveCallbacks = void(obs_frontend_save_cb, void *);

// ---- One filter ----

bool SetEnabled(void *data, bool pressed, bool enabled) {
  const OBSSourceAutoRelease filter = obs_source_get_ref(static_cast<obs_source_t *>(data));
  if (!pressed || !filter || obs_source_enabled(filter) == enabled) return false;
  obs_source_set_enabled(filter, enabled);
  return true;
}

bool OnFilterOn(void *data, obs_hotkey_pair_id, obs_hotkey_t *, bool pressed) {
  return SetEnabled(data, pressed, true);
}

bool OnFilterOff(void *data, obs_hotkey_pair_id, obs_hotkey_t *, bool pressed) {
  return SetEnabled(data, pressed, false);
}

}  // namespace

// libobs takes the pair back before the filter's memory goes.
void RegisterFilterHotkeys(obs_source_t *filter) {
  const std::string name = obs_source_get_name(filter) ? obs_source_get_name(filter) : "";
  obs_hotkey_pair_register_source(filter, "vanta_filter.on", Filled(Text("Hotkey.FilterOn"), name).c_str(),
                                  "vanta_filter.off", Filled(Text("Hotkey.FilterOff"), name).c_str(), OnFilterOn,
                                  OnFilterOff, filter, filter);
}

void RegisterLookHotkeys() {
  LookKeys &keys = TheKeys();
  {
    MutexLock lock(keys.mutex);
    if (!keys.ids.empty()) return;
    for (const LookHotkey &key : kHotkeys)
      keys.ids.push_back(obs_hotkey_register_frontend(key.name, Text(key.text), key.press, nullptr));
  }
  if (auto *add = FrontendFunction<SaveCallbacks>("obs_frontend_add_save_callback")) add(OnSave, nullptr);
}

void UnregisterLookHotkeys() {
  std::vector<obs_hotkey_id> ids;
  {
    MutexLock lock(TheKeys().mutex);
    ids = TheKeys().ids;
  }
  for (const obs_hotkey_id id : ids) obs_hotkey_unregister(id);
  if (auto *remove = FrontendFunction<SaveCallbacks>("obs_frontend_remove_save_callback")) remove(OnSave, nullptr);
  ForgetLookHotkeys();
}

void ForgetLookHotkeys() {
  MutexLock lock(TheKeys().mutex);
  TheKeys().ids.clear();
  TheKeys().compared.reset();
}

}  // namespace vanta_host
