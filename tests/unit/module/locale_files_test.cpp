// Every locale file that the module installs, against the keys that the module asks for.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <util/text-lookup.h>

namespace {

namespace fs = std::filesystem;
using Strings = std::set<std::string>;

const fs::path kLocaleFolder = VANTA_TEST_LOCALE_FOLDER;
const Strings kKeys = {"FacebeautyFilterV2", "LXGreenScreenFilter"};

std::vector<fs::path> LocaleFiles() {
  std::vector<fs::path> files;
  for (const fs::directory_entry &entry : fs::directory_iterator(kLocaleFolder)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

Strings KeysOf(const fs::path &file) {
  Strings keys;
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    const size_t end = line.find('=');
    if (end != std::string::npos) keys.insert(line.substr(0, end));
  }
  return keys;
}

TEST(LocaleFiles, TheDefaultAndTheChineseTextsAreThere) {
  for (const char *locale : {"en-US.ini", "zh-CN.ini"}) EXPECT_TRUE(fs::exists(kLocaleFolder / locale)) << locale;
}

TEST(LocaleFiles, AtLeastFourMoreLanguagesAreThere) {
  EXPECT_GE(LocaleFiles().size(), 6u);
}

// The others are those of the host layer's pages.
TEST(LocaleFiles, EachHasTheModulesKeys) {
  for (const fs::path &file : LocaleFiles()) {
    const Strings keys = KeysOf(file);
    for (const std::string &key : kKeys) EXPECT_EQ(keys.count(key), 1u) << file << " " << key;
  }
}

TEST(LocaleFiles, TheHostFindsATextForEachKey) {
  for (const fs::path &file : LocaleFiles()) {
    lookup_t *table = text_lookup_create(file.c_str());
    ASSERT_NE(table, nullptr) << file;
    for (const std::string &key : kKeys) {
      const char *text = nullptr;
      EXPECT_TRUE(text_lookup_getstr(table, key.c_str(), &text)) << file << " " << key;
      ASSERT_NE(text, nullptr);
      EXPECT_STRNE(text, "") << file << " " << key;
      EXPECT_STRNE(text, key.c_str()) << file;
    }
    text_lookup_destroy(table);
  }
}

}  // namespace
