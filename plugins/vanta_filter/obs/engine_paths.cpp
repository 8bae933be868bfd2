#include "obs/engine_paths.h"

#include <obs.h>
#include <util/bmem.h>
#include <util/platform.h>

#include <array>

#include "obs/module_text.h"
#include "platform/files.h"

namespace vanta {
namespace {

constexpr char kBuiltinFolder[] = "faceless_builtin";
constexpr char kModelPath[] = "VantaLive\\basic\\default\\CorvidModel";
constexpr size_t kConfigPathLimit = 500;
constexpr std::array kModelKeys = {"magic_rho_model_animoji1", "magic_rho_model_basewhite", "magic_rho_model_faceprop"};

// libobs reports a failed conversion as a count of 0 or, where the code page lacks a character, as C does: as the
// largest one. It may leave a pointer all the same.
std::string ToMultibyte(const std::string &utf8) {
  if (utf8.empty()) return {};
  char *converted = nullptr;
  const size_t count = os_utf8_to_mbs_ptr(utf8.c_str(), utf8.size(), &converted);
  std::string text;
  if (count != 0 && count != static_cast<size_t>(-1) && converted) text.assign(converted, count);
  bfree(converted);
  return text;
}

}  // namespace

std::string FaceBeautyPath() {
  char *found = obs_find_module_file(obs_current_module(), kBuiltinFolder);
  if (!found) return {};
  const std::string path = found;
  bfree(found);
  return ToMultibyte(path);
}

std::string AiPath() {
  return ToMultibyte(ModelFolder());
}

std::string ModelFolder() {
  char path[512] = {};
  if (os_get_config_path(path, kConfigPathLimit, NativePath(kModelPath).c_str()) < 1) return {};
  return path;
}

std::map<std::string, std::string> BuildModelDictionary() {
  const std::string folder = ModelFolder();
  std::map<std::string, std::string> dictionary;
  for (const char *key : kModelKeys) dictionary[key] = folder + NativePath(std::string("\\") + key);
  return dictionary;
}

}  // namespace vanta
