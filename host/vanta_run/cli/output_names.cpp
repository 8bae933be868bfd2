#include "cli/output_names.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>

#include "common/failure.h"
#include "input/preset_files.h"
#include "session/module_paths.h"

namespace vanta_run {
namespace {

namespace fs = std::filesystem;

constexpr char kColorPrefix[] = "color:";

void Replace(std::string &text, const std::string &part, const std::string &by) {
  for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += by.size()) {
    text.replace(at, part.size(), by);
  }
}

std::string NameOf(const std::string &input) {
  if (input.rfind(kColorPrefix, 0) == 0) return input.substr(sizeof(kColorPrefix) - 1);
  return fs::path(input).stem().string();
}

std::vector<NamedFile> Sources(const Options &options) {
  std::vector<NamedFile> files = {{"--commands", options.commands},
                                  {"--ability-answers", options.ability_answers},
                                  {"--green-screen", options.green_screen_file},
                                  {"--module", options.module}};
  if (!options.group.empty()) {
    for (const std::string &file : PresetFiles(options.group, "")) files.push_back({"--group", file});
  }
  if (options.input.rfind(kColorPrefix, 0) != 0) files.push_back({"--input", options.input});
  if (options.background.rfind(kColorPrefix, 0) != 0) files.push_back({"--background", options.background});
  if (options.lookup) files.push_back({"--lookup", options.lookup->path});
  std::erase_if(files, [](const NamedFile &file) { return file.path.empty(); });
  return files;
}

// Where the plug-in's data lies; empty where it is not found, which the run will say.
std::string DataFolder(const Options &options) {
  try {
    return FindFilterModule(options).data;
  } catch (const Failure &) {
    return "";
  }
}

// What is read from these is known only to their reader.
std::vector<NamedFile> SourceFolders(const Options &options) {
  std::vector<NamedFile> folders = {{"--effect", options.effect},
                                    {"--group", options.group},
                                    {"--module", options.module},
                                    {"--module-data", options.module_data},
                                    {"the plug-in's data", DataFolder(options)}};
  for (const MakeupOption &makeup : options.makeup) folders.push_back({"--makeup", makeup.folder});
  std::error_code ignored;
  std::erase_if(folders, [&](const NamedFile &folder) { return !fs::is_directory(folder.path, ignored); });
  return folders;
}

// The option whose folder holds that file; empty: none does, or the file is not there yet.
std::string FolderThatHolds(const std::string &path, const std::vector<NamedFile> &folders) {
  std::error_code error;
  const fs::path file = fs::canonical(path, error);
  if (error || !fs::is_regular_file(file, error)) return "";
  for (const NamedFile &folder : folders) {
    const fs::path root = fs::canonical(folder.path, error);
    if (!error && std::mismatch(root.begin(), root.end(), file.begin(), file.end()).first == root.end()) {
      return folder.option;
    }
  }
  return "";
}

// A file's names: where its path leads to, and, where it exists, the file system's own number for it, which hard links
// share.
std::vector<std::string> Identities(const std::string &path) {
  std::error_code ignored;
  std::vector<std::string> all = {fs::weakly_canonical(fs::absolute(path), ignored).string()};
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    all.push_back(std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino));
  }
  return all;
}

struct Claim {
  NamedFile file;
  size_t run;
};

// By identity.
using Claims = std::map<std::string, Claim>;

std::optional<Claim> FindClaim(const Claims &claims, const std::string &path) {
  for (const std::string &identity : Identities(path)) {
    if (const auto found = claims.find(identity); found != claims.end()) return found->second;
  }
  return std::nullopt;
}

[[noreturn]] void RefuseTwice(const NamedFile &file, const Claim &other, size_t run, const std::vector<Options> &runs) {
  if (other.run != run) {
    throw Failure(kExitUsage, file.option,
                  "'" + file.path + "' would be written for " + runs[other.run].input + " and for " + runs[run].input,
                  "put {name} or {number} into the name");
  }
  throw Failure(kExitUsage, file.option, "'" + file.path + "' is the file of " + other.file.option + " too",
                "give each a name of its own");
}

}  // namespace

std::string NamedFor(const std::string &pattern, const std::string &input, size_t number) {
  std::string text = pattern;
  Replace(text, "{number}", std::to_string(number));
  Replace(text, "{name}", NameOf(input));
  return text;
}

Options ForInput(const Options &options, const std::string &input, size_t number) {
  Options run = options;
  run.input = input;
  for (std::string *name :
       {&run.output, &run.snapshot, &run.matte, &run.compare, &run.report, &run.plot, &run.landmarks, &run.log}) {
    *name = NamedFor(*name, input, number);
  }
  if (run.dump) run.dump->prefix = NamedFor(run.dump->prefix, input, number);
  return run;
}

std::vector<NamedFile> Results(const Options &options) {
  std::vector<NamedFile> files = {{"--output", options.output},      {"--snapshot", options.snapshot},
                                  {"--matte", options.matte},        {"--compare", options.compare},
                                  {"--report", options.report},      {"--plot", options.plot},
                                  {"--landmarks", options.landmarks}};
  if (options.dump) {
    for (const char *ending : {"-before.png", "-after.png", ".json"}) {
      files.push_back({"--dump-frame", options.dump->prefix + ending});
    }
  }
  std::erase_if(files, [](const NamedFile &file) { return file.path.empty() || file.path == "-"; });
  return files;
}

void RefuseSharedFiles(const std::vector<Options> &runs) {
  Claims read, written;
  for (size_t i = 0; i < runs.size(); ++i) {
    for (const NamedFile &file : Sources(runs[i])) {
      for (const std::string &identity : Identities(file.path)) read.emplace(identity, Claim{file, i});
    }
  }
  for (size_t i = 0; i < runs.size(); ++i) {
    const std::vector<NamedFile> folders = SourceFolders(runs[i]);
    std::vector<NamedFile> files = Results(runs[i]);
    if (!runs[i].log.empty()) files.push_back({"--log", runs[i].log});
    for (const NamedFile &file : files) {
      if (const auto source = FindClaim(read, file.path)) {
        throw Failure(kExitUsage, file.option, "'" + file.path + "' is the file of " + source->file.option,
                      "what is read is not replaced: give another name");
      }
      // A recording made in such a folder may be made again: its ending is that of a video, which none of them reads.
      const std::string holder = file.option == "--output" ? "" : FolderThatHolds(file.path, folders);
      if (!holder.empty()) {
        throw Failure(kExitUsage, file.option, "'" + file.path + "' is there already, in the folder of " + holder,
                      "what is read is not replaced: give another name");
      }
      if (const auto other = FindClaim(written, file.path)) RefuseTwice(file, *other, i, runs);
      for (const std::string &identity : Identities(file.path)) written.emplace(identity, Claim{file, i});
    }
  }
}

}  // namespace vanta_run
