#include "registration/ability_handlers.h"

#include <cstdint>
#include <set>

#include <util/base.h>

#include "vanta_base/mutex.h"
#include "vanta_host.h"

namespace {

using vanta::Mutex;
using vanta::MutexLock;

constexpr const char *kHandlerKey = "effect_json_ability_handler";

struct AbilityHandlers {
  Mutex mutex;
  std::set<uintptr_t> addresses VANTA_GUARDED_BY(mutex);
};

AbilityHandlers &TheAbilityHandlers() {
  static AbilityHandlers *handlers = new AbilityHandlers;
  return *handlers;
}

bool IsRegisteredHandler(uintptr_t address) {
  AbilityHandlers &handlers = TheAbilityHandlers();
  MutexLock lock(handlers.mutex);
  return handlers.addresses.count(address) != 0;
}

}  // namespace

namespace vanta_host {

// Reads the address as the module does: a default counts, and so does a number with a fraction.
void RemoveForeignHandler(obs_data_t *settings) {
  if (!settings) return;
  const auto address = static_cast<uintptr_t>(obs_data_get_int(settings, kHandlerKey));
  if (address == 0 || IsRegisteredHandler(address)) return;
  obs_data_set_int(settings, kHandlerKey, 0);
  blog(LOG_WARNING, "[vanta_host] settings hold an ability handler that the application has not registered: removed");
}

}  // namespace vanta_host

void vanta_host_register_ability_handler(const void *handler) {
  if (!handler) return;
  AbilityHandlers &handlers = TheAbilityHandlers();
  MutexLock lock(handlers.mutex);
  handlers.addresses.insert(reinterpret_cast<uintptr_t>(handler));
}

void vanta_host_unregister_ability_handler(const void *handler) {
  AbilityHandlers &handlers = TheAbilityHandlers();
  MutexLock lock(handlers.mutex);
  handlers.addresses.erase(reinterpret_cast<uintptr_t>(handler));
}
