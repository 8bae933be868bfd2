// The module's DLL as a host loads it: by its path, its entry points by their names.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include <obs.h>

#include "vanta_filter/engine/i_faceless.h"
#include "vanta_filter/module/source_record.h"

namespace vanta_test {

inline constexpr uint32_t kWidth = 64;
inline constexpr uint32_t kHeight = 48;

std::string Utf8(const std::filesystem::path &path);

// A file below a folder of this process, whose name and path hold what no single code page has; gone at the end.
struct ScratchFolder {
  explicit ScratchFolder(const wchar_t *name);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder &) = delete;
  ScratchFolder &operator=(const ScratchFolder &) = delete;
  std::filesystem::path path;
};

// Loads the DLL and calls its entry points in the host's order. A module that does not load fails the test.
class ModuleDll {
 public:
  explicit ModuleDll(const std::filesystem::path &file = VANTA_TEST_MODULE_FILE,
                     const std::filesystem::path &data = VANTA_TEST_DATA_FOLDER);
  ~ModuleDll();
  ModuleDll(const ModuleDll &) = delete;
  ModuleDll &operator=(const ModuleDll &) = delete;

  void Load(const char *locale = "en-US");
  HMODULE handle() const { return handle_; }
  template <typename Function>
  Function *Find(const char *name) const {
    return reinterpret_cast<Function *>(reinterpret_cast<void *>(GetProcAddress(handle_, name)));
  }
  ILumivex *Control() const;

 private:
  HMODULE handle_ = nullptr;
};

struct FreeFrame {
  void operator()(obs_source_frame *frame) const;
};
using Frame = std::unique_ptr<obs_source_frame, FreeFrame>;
// NV12, every luma byte `fill`, every chroma byte 128.
Frame MakeFrame(uint8_t fill, uint64_t timestamp, uint32_t width = kWidth, uint32_t height = kHeight);

// A beauty filter of that module on a fake source. Its worker has had one black frame when the constructor is through.
class BeautyFilter {
 public:
  explicit BeautyFilter(obs_data_t *settings = nullptr);
  ~BeautyFilter();
  BeautyFilter(const BeautyFilter &) = delete;
  BeautyFilter &operator=(const BeautyFilter &) = delete;

  const HostSourceInfo &record() const { return record_; }
  void *instance() const { return instance_; }
  obs_source_frame *Video(obs_source_frame *frame) { return record_.filter_video(instance_, frame); }
  // The worker is done with the frame when this returns; what comes back is an older one's pixels.
  obs_source_frame *VideoThroughEngine(obs_source_frame *frame);
  void Render();

 private:
  static size_t Passes();
  void WaitForPasses(size_t passes);

  struct Sources;
  std::unique_ptr<Sources> sources_;
  HostSourceInfo record_{};
  void *instance_ = nullptr;
};

}  // namespace vanta_test
