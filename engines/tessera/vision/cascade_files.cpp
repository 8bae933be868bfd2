#include "vision/cascade_files.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/cascade_folder.h"
#include "vanta_base/host_text.h"
#include "vanta_base/utf8_path.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

std::string FirstFile(const std::vector<fs::path> &places) {
  for (const fs::path &place : places) {
    std::error_code ignored;
    if (fs::is_regular_file(place, ignored)) return vanta::Utf8FromPath(place);
  }
  return {};
}

}  // namespace

std::string CascadePackageFolder() {
  const char *named = std::getenv("TESSERA_CASCADES");
  return named && *named ? vanta::Utf8FromHostText(named) : vanta::Utf8FromPath(InstalledCascadeFolder());
}

std::string FindModelFile(const std::string &name, const std::string &model_folder,
                          const std::vector<std::string> &model_files) {
  std::vector<fs::path> places;
  for (const std::string &file : model_files) {
    if (vanta::PathFromUtf8(file).filename() == name) places.push_back(vanta::PathFromUtf8(file));
  }
  if (!model_folder.empty()) places.push_back(vanta::PathFromUtf8(model_folder) / name);
  for (const std::string &file : model_files) places.push_back(vanta::PathFromUtf8(file).parent_path() / name);
  return FirstFile(places);
}

std::string FindCascade(const std::string &name, const std::string &model_folder,
                        const std::vector<std::string> &model_files) {
  std::string own = FindModelFile(name, model_folder, model_files);
  if (!own.empty()) return own;
  const fs::path package = vanta::PathFromUtf8(CascadePackageFolder());
  return FirstFile({package / name, package.parent_path() / "lbpcascades" / name});
}

}  // namespace tessera
