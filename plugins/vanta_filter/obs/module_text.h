// The module's locale table and the host's module object, as the entry points leave them.
// Threads: the writers are the host's entry points; reading is safe from any thread between them.
#pragma once

#include <obs.h>

extern "C" {

// The text of `key` in the present locale; a key that the table lacks, or a module without a table, gives `key` itself.
const char *obs_module_text(const char *key);
// Null before the host has set it.
obs_module_t *obs_current_module();

}  // extern "C"

namespace vanta {

void SetModulePointer(obs_module_t *module);
// Replaces the present table with the one for `locale`, filled up with the default locale's texts; with none where the
// default locale's file may not be read.
void LoadModuleText(const char *locale);
void FreeModuleText();
bool FindModuleText(const char *key, const char **text);

}  // namespace vanta
