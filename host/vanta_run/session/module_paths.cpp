#include "session/module_paths.h"

#include <filesystem>

#include "common/failure.h"

namespace fs = std::filesystem;

namespace vanta_run {
namespace {

constexpr char kFileName[] = "vanta_filter.so";
constexpr char kEffectFile[] = "vanta_beauty.effect";  // every data folder of the plug-in holds it
constexpr char kDataBelowPrefix[] = "share/obs/obs-plugins/vanta_filter";

fs::path ProgramFolder() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error).parent_path();
}

bool HoldsData(const fs::path &folder) {
  std::error_code ignored;
  return fs::is_regular_file(folder / kEffectFile, ignored);
}

// Data lies beside the plug-in (build folder) or in the share folder of its prefix: lib/obs-plugins is two levels below
// the prefix, lib/<multiarch>/obs-plugins three.
std::string DataFor(const fs::path &binary) {
  const fs::path folder = binary.parent_path();
  for (const fs::path &place :
       {folder / "data", folder / ".." / ".." / ".." / kDataBelowPrefix, folder / ".." / ".." / kDataBelowPrefix}) {
    if (HoldsData(place)) return place.lexically_normal().string();
  }
  return "";
}

std::vector<fs::path> Places(const Options &options) {
  if (!options.module.empty()) {
    std::error_code ignored;
    const fs::path given = fs::absolute(options.module);
    return {fs::is_directory(given, ignored) ? given / kFileName : given};
  }
  const fs::path here = ProgramFolder();
  return {here / ".." / ".." / "plugins" / "vanta_filter" / kFileName,
          here / ".." / VANTA_LIBDIR / "obs-plugins" / kFileName,
          fs::path("/usr") / VANTA_LIBDIR / "obs-plugins" / kFileName};
}

}  // namespace

ModulePaths FindFilterModule(const Options &options) {
  std::string tried;
  for (const fs::path &place : Places(options)) {
    std::error_code ignored;
    const fs::path binary = place.lexically_normal();
    tried += (tried.empty() ? "" : ", ") + binary.string();
    if (!fs::is_regular_file(binary, ignored)) continue;
    const std::string data = options.module_data.empty() ? DataFor(binary) : options.module_data;
    if (data.empty() || !HoldsData(data)) {
      throw Failure(kExitModule, binary.string(), "its data folder is missing" + (data.empty() ? "" : " at " + data),
                    "install the plug-in whole, or give --module-data DIR");
    }
    return {binary.string(), data};
  }
  throw Failure(kExitModule, kFileName, "not found at " + tried, "build or install it, or give --module FILE");
}

}  // namespace vanta_run
