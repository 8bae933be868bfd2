#include "ffmpeg.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include "fixtures/frames/dump_folder.h"

namespace vanta_test {

std::vector<uint8_t> ThroughFfmpeg(const std::string &options_in, const std::vector<uint8_t> &in,
                                   const std::string &options_out) {
  const std::filesystem::path base =
      std::filesystem::temp_directory_path() / ("ffmpeg-" + std::to_string(std::random_device()()));
  const std::string from = base.string() + ".in", to = base.string() + ".out";
  std::ofstream(from, std::ios::binary)
      .write(reinterpret_cast<const char *>(in.data()), static_cast<std::streamsize>(in.size()));
  const std::string command =
      "ffmpeg -nostdin -v error -y " + options_in + " -i '" + from + "' " + options_out + " '" + to + "'";
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  const std::vector<uint8_t> out = Content(to);
  std::filesystem::remove(from);
  std::filesystem::remove(to);
  return out;
}

}  // namespace vanta_test
