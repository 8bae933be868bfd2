// The recorder's obs_find_module_file, which finds one file for every name. The fake host for Windows has one that
// looks into a folder.
#include <obs-module.h>
#include <util/bmem.h>

#include "fakes/graphics/gs_recorder.h"

extern "C" char *obs_find_module_file(obs_module_t *, const char *file) {
  const bool fail = vanta_test::gs_recorder::Note(std::string("obs_find_module_file(") + file + ")");
  const std::string path = vanta_test::gs_recorder::ModuleFile();
  return fail || path.empty() ? nullptr : bstrdup(path.c_str());
}
