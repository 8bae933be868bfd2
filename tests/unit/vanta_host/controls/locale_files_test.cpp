// The locale files of the plug-in: each language says all that pages and hotkeys say.
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "controls/beauty_values.h"
#include "controls/green_screen_keys.h"
#include "controls/makeup_parts.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::map<std::string, std::string>;

Texts ReadTexts(const fs::path &path) {
  Texts texts;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const size_t equals = line.find("=\"");
    if (equals == std::string::npos || line.back() != '"') {
      ADD_FAILURE() << path << ": " << line;
      continue;
    }
    EXPECT_TRUE(texts.emplace(line.substr(0, equals), line.substr(equals + 2, line.size() - equals - 3)).second)
        << line;
  }
  return texts;
}

std::map<std::string, Texts> AllTexts() {
  std::map<std::string, Texts> all;
  for (const auto &entry : fs::directory_iterator(VANTA_TEST_LOCALES))
    all[entry.path().stem().string()] = ReadTexts(entry.path());
  return all;
}

const Texts &English() {
  static const Texts texts = ReadTexts(fs::path(VANTA_TEST_LOCALES) / "en-US.ini");
  return texts;
}

TEST(LocaleFiles, AreSixteen) {
  EXPECT_EQ(AllTexts().size(), 16u);
}

TEST(LocaleFiles, HoldTheSameKeysInEveryLanguage) {
  for (const auto &[language, texts] : AllTexts()) {
    for (const auto &[key, text] : English()) EXPECT_EQ(texts.count(key), 1u) << language << " lacks " << key;
    for (const auto &[key, text] : texts) EXPECT_EQ(English().count(key), 1u) << language << " alone has " << key;
  }
}

TEST(LocaleFiles, LeaveNoTextEmptyAndKeepTheMarksThatAreFilledIn) {
  for (const auto &[language, texts] : AllTexts()) {
    for (const auto &[key, text] : texts) {
      EXPECT_FALSE(text.empty()) << language << " " << key;
      const auto english = English().find(key);
      if (english == English().end()) continue;
      EXPECT_EQ(text.find("%1") != std::string::npos, english->second.find("%1") != std::string::npos)
          << language << " " << key;
    }
  }
}

// Single words may be the same in two languages; whole sentences are not.
TEST(LocaleFiles, HaveNoEnglishSentenceInAnotherLanguage) {
  for (const auto &[language, texts] : AllTexts()) {
    if (language == "en-US") continue;
    for (const auto &[key, text] : texts) {
      if (text.find(' ') == std::string::npos || English().count(key) == 0) continue;
      EXPECT_NE(text, English().at(key)) << language << " " << key;
    }
  }
}

TEST(LocaleFiles, NameEveryValueAndEveryKeySetting) {
  for (const vanta_host::BeautyValue &value : vanta_host::BeautyValues())
    EXPECT_EQ(English().count(std::string("Value.") + value.name), 1u) << value.name;
  for (const vanta_host::KeySetting &key : vanta_host::KeySettings()) {
    const std::string name = std::string(key.setting).substr(4);
    if (name == "adjust") continue;  // on no page
    EXPECT_EQ(English().count("Key." + name), 1u) << name;
  }
}

TEST(LocaleFiles, NameEveryPartThatMakeupColoursAndEveryShade) {
  for (const vanta_host::MakeupPart &part : vanta_host::MakeupParts()) {
    EXPECT_EQ(English().count(std::string("Makeup.") + part.name), 1u) << part.name;
    for (const vanta_host::MakeupShade &shade : part.shades) {
      EXPECT_EQ(English().count(std::string("Color.") + shade.name), 1u) << shade.name;
      EXPECT_EQ(vanta_host::ColorDigits(shade.rgb), shade.rgb) << shade.name;
    }
  }
}

}  // namespace
