// Where looks, colour tables, makeup and effects lie: the plug-in's data folder and its folder in the user's
// configuration.
#pragma once

#include <string>
#include <vector>

namespace vanta_host {

enum class ResourceKind { kPreset, kLookup, kMakeup, kEffect };

// Borrows nothing: it looks at the disk at each call. The user's resource hides the plug-in's of the same name.
// Threads: any.
class ResourceFolders {
 public:
  // Folders that hold "presets", "lookups", "makeup" and "effects"; an empty one, or one that is not there, holds none.
  ResourceFolders(std::string plugin, std::string user);

  // Names in alphabetical order: of presets without ".json", of tables with their ending, of makeup and effects those
  // of their folders.
  std::vector<std::string> List(ResourceKind kind) const;
  std::vector<std::string> ListUserPresets() const;
  // Empty where nothing has that name. A name is no path.
  std::string Find(ResourceKind kind, const std::string &name) const;
  std::string UserPresetPath(const std::string &name) const;  // empty for a name that a file cannot have

 private:
  std::string plugin_, user_;
};

// What a user has typed, without what no file name may have; empty when nothing is left.
std::string FileName(const std::string &typed);

}  // namespace vanta_host
