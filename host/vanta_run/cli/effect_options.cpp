#include "cli/effect_options.h"

#include <filesystem>

#include "common/failure.h"
#include "common/option_values.h"

namespace vanta_run {
namespace {

namespace fs = std::filesystem;

void RequireFolder(const char *option, const std::string &path, const char *remedy) {
  std::error_code ignored;
  if (path.empty()) throw Failure(kExitUsage, option, "bad value ''", remedy);
  if (!fs::exists(path, ignored)) throw Failure(kExitInput, path, "no such folder", remedy);
  if (!fs::is_directory(path, ignored)) throw Failure(kExitInput, path, "is no folder", remedy);
}

// Without the separator at the end that shells add.
std::string Absolute(const std::string &path) {
  fs::path whole = fs::absolute(path).lexically_normal();
  if (!whole.has_filename()) whole = whole.parent_path();
  return whole.string();
}

}  // namespace

std::string ReadEffectFolder(const std::string &value) {
  constexpr char kRemedy[] = "give the folder of an effect, as docs/effects.md describes it";
  RequireFolder("--effect", value, kRemedy);
  std::error_code ignored;
  if (!fs::is_regular_file(fs::path(value) / "effect.json", ignored)) {
    throw Failure(kExitInput, value, "holds no effect.json", kRemedy);
  }
  return Absolute(value);
}

MakeupOption ReadMakeup(const std::string &value) {
  MakeupOption makeup{value, 1.0f};
  std::error_code ignored;
  // A folder's own name may hold "=": what exists under the whole text is taken as it stands.
  const size_t equals = value.rfind('=');
  if (equals != std::string::npos && !fs::exists(value, ignored)) {
    const auto number = ParseNumber(value.substr(equals + 1));
    if (!number || *number < 0 || *number > 1) {
      throw Failure(kExitUsage, "--makeup", "bad value '" + value + "'", "give the intensity as a number from 0 to 1");
    }
    makeup.intensity = static_cast<float>(*number);
    makeup.folder.resize(equals);
  }
  RequireFolder("--makeup", makeup.folder, "give the folder of a makeup layer, as docs/effects.md describes it");
  makeup.folder = Absolute(makeup.folder);
  return makeup;
}

}  // namespace vanta_run
