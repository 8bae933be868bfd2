// An effect.json from anywhere, in a folder beside one picture: what is loaded has pictures for every layer that draws
// a file, and stays within the limits.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <opencv2/imgcodecs.hpp>

#include "magic/effect_folder.h"

namespace {

std::string MakeFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "effect_fuzzer_XXXXXX").string();
  if (!mkdtemp(pattern.data())) std::abort();
  cv::imwrite(pattern + "/red.png", cv::Mat(8, 8, CV_8UC4, cv::Scalar(0, 0, 255, 255)));
  return pattern;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const std::string folder = MakeFolder();
  std::ofstream(folder + "/effect.json", std::ios::binary)
      .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
  const std::atomic<bool> cancelled{false};
  const auto loaded = lumivex::LoadEffect(folder, cancelled);
  if ((loaded.content == nullptr) == loaded.reason.empty()) std::abort();
  if (!loaded.content) return 0;
  const lumivex::Effect &effect = *loaded.content;
  if (effect.pictures.size() != effect.plan.layers.size()) std::abort();
  for (size_t i = 0; i < effect.pictures.size(); ++i) {
    const bool draws_file = effect.plan.layers[i].source == lumivex::LayerSource::kFile;
    if (draws_file == effect.pictures[i].Empty() || effect.pictures[i].list.size() > lumivex::kMaxPicturesInLayer)
      std::abort();
  }
  return 0;
}
