/* Imports of the module that its host binds, so that the module loads where their library is missing. Only the build
 * for stock OBS Studio on Windows has such; the system's own loader binds all others. For C and C++. */
#ifndef VANTA_FILTER_PLATFORM_LATE_IMPORTS_H
#define VANTA_FILTER_PLATFORM_LATE_IMPORTS_H

#include <stddef.h>

#include "vanta_base/export.h"

#ifdef __cplusplus
extern "C" {
#endif

struct vanta_host_late_import {
  const char *name; /* as the library exports it */
  void **slot;      /* where the module calls through; null until bound */
};

/* Called while the module is being loaded: keeps the list, and loads nothing yet. It stays valid until withdrawn.
 * `library` is a file name without a folder; a second offer for it takes the former's place. */
VANTA_HOST_API void vanta_host_offer_late_imports(const char *library, const struct vanta_host_late_import *imports,
                                                  size_t count);
VANTA_HOST_API void vanta_host_withdraw_late_imports(const char *library);

#ifdef __cplusplus
}
#endif

#endif
