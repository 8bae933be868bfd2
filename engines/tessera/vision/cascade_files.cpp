#include "vision/cascade_files.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace tessera {
namespace {

namespace fs = std::filesystem;

std::string FirstFile(const std::vector<fs::path> &places) {
  for (const fs::path &place : places) {
    std::error_code ignored;
    if (fs::is_regular_file(place, ignored)) return place.string();
  }
  return {};
}

}  // namespace

std::string CascadePackageFolder() {
  const char *named = std::getenv("TESSERA_CASCADES");
  return named && *named ? named : "/usr/share/opencv4/haarcascades";
}

std::string FindModelFile(const std::string &name, const std::string &model_folder,
                          const std::vector<std::string> &model_files) {
  std::vector<fs::path> places;
  for (const std::string &file : model_files) {
    if (fs::path(file).filename() == name) places.emplace_back(file);
  }
  if (!model_folder.empty()) places.push_back(fs::path(model_folder) / name);
  for (const std::string &file : model_files) places.push_back(fs::path(file).parent_path() / name);
  return FirstFile(places);
}

std::string FindCascade(const std::string &name, const std::string &model_folder,
                        const std::vector<std::string> &model_files) {
  std::string own = FindModelFile(name, model_folder, model_files);
  if (!own.empty()) return own;
  const fs::path package(CascadePackageFolder());
  return FirstFile({package / name, package.parent_path() / "lbpcascades" / name});
}

}  // namespace tessera
