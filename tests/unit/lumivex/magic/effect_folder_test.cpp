// Folders that are broken or hostile.
#include <filesystem>
#include <fstream>

#include "fixtures/lumivex/effect_fixture.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

// The file, the reason and the remedy, as the log has them.
class EffectFolder : public EffectFixture {
 protected:
  std::string Refusal(const std::string &folder) {
    const vanta_test::LogCapture log;
    Play(folder);
    EXPECT_FALSE(descriptions_.back().success);
    const auto lines = log.LinesWith("[lumivex] magic effect " + folder + ": ");
    if (lines.size() != 1) return std::to_string(lines.size()) + " lines";
    return lines[0].text.substr(("[lumivex] magic effect " + folder + ": ").size());
  }

  // Of a layer of that picture.
  std::string RefusalOf(const std::string &image) {
    return Refusal(WriteEffect("effect", OneLayer({{"image", image}})));
  }
  static std::string Cut(const std::string &path, size_t bytes) {
    std::filesystem::resize_file(path, bytes);
    return path;
  }
};

constexpr char kLeadsOut[] = "it leads out of the effect's folder; name a file inside the folder";

TEST_F(EffectFolder, PathsStayInside) {
  const std::string outside = WritePicture("outside.png", kRed);
  for (const std::string &path : {std::string("../outside.png"), outside, std::string("sub/../../outside.png"),
                                  std::string("..\\outside.png"), std::string("..")}) {
    EXPECT_EQ(RefusalOf(path), path + ": " + kLeadsOut);
  }
}

TEST_F(EffectFolder, LinksDoNotLeadOut) {
  const std::string outside = WritePicture("outside/outside.png", kRed);
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "link.png"}}));
  std::filesystem::create_symlink(outside, folder + "/link.png");
  EXPECT_EQ(Refusal(folder), std::string("link.png: ") + kLeadsOut);
  std::filesystem::create_directory(folder + "/walk");
  std::filesystem::create_symlink(outside, folder + "/walk/1.png");
  EXPECT_EQ(RefusalOf("walk"),
            folder + "/walk/1.png: it leads out of the effect's folder; put the picture into the folder");
}

TEST_F(EffectFolder, MayBeALinkItself) {
  const std::string folder = WriteEffect("effect", OneLayer());
  std::filesystem::create_directory_symlink(folder, OwnFolder() + "/link");
  Play(OwnFolder() + "/link");
  EXPECT_TRUE(descriptions_.back().success);
}

TEST_F(EffectFolder, PicturesThatLieAboutTheirSizeTakeNoMemory) {
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "bomb.png"}}));
  // The signature, and a header that tells of 65535 by 65535 pixels.
  WriteFile("effect/bomb.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\xff\xff\0\0\xff\xff\x08\x06\0\0\0", 29));
  EXPECT_EQ(Refusal(folder), folder + "/bomb.png: it has 65535 by 65535 pixels; make it at most 4096 pixels a side");
}

TEST_F(EffectFolder, PicturesTogetherStayWithinTheBudget) {
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "walk"}}));
  for (int i = 1; i <= 9; ++i) WritePicture("effect/walk/" + std::to_string(i) + ".png", kRed, 2048, 2048);
  EXPECT_EQ(Refusal(folder), folder +
                                 "/walk/9.png: with it the pictures have more than 32 million pixels; use fewer or "
                                 "smaller pictures");
}

TEST_F(EffectFolder, APictureOfSeveralLayersCountsOnce) {
  json effect = {{"format", 1}, {"layers", json::array()}};
  for (int i = 0; i < 9; ++i) effect["layers"].push_back(RedLayer({{"image", "large.png"}}));
  const std::string folder = WriteEffect("effect", effect);
  WritePicture("effect/large.png", kRed, 2048, 2048);
  Play(folder);
  EXPECT_TRUE(descriptions_.back().success);
}

TEST_F(EffectFolder, BrokenPicturesAreRefused) {
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "broken.png"}}));
  const std::string save = "; save it as a PNG picture of 8 bits a channel";
  const std::string file = WritePicture("effect/broken.png", kRed, 64, 64);
  Cut(file, 40);
  EXPECT_EQ(Refusal(folder), file + ": it is a broken picture" + save);
  Cut(file, 20);
  EXPECT_EQ(Refusal(folder), file + ": it is no PNG, JPEG or WebP picture" + save);
  Cut(file, 0);
  EXPECT_EQ(Refusal(folder), file + ": it is no file that can be read; check the name");
}

TEST_F(EffectFolder, FoldersOfPicturesHaveAFew) {
  const std::string folder = WriteEffect("effect", OneLayer({{"image", "walk"}}));
  const std::string few =
      folder + "/walk: it is a folder without pictures or with more than 256; give 1 to 256 PNG files";
  std::filesystem::create_directory(folder + "/walk");
  EXPECT_EQ(Refusal(folder), few);
  for (int i = 0; i < 257; ++i) std::ofstream(folder + "/walk/" + std::to_string(i) + ".png") << i;
  EXPECT_EQ(Refusal(folder), few);
}

TEST_F(EffectFolder, TextsThatAreTooLongOrTooDeepAreRefused) {
  const std::string folder = WriteEffect("effect", OneLayer());
  const std::string see = "; see docs/effects.md for the format";
  WriteFile("effect/effect.json", "{\"about\": \"" + std::string(1 << 20, 'x') + "\"}");
  EXPECT_EQ(Refusal(folder), folder + "/effect.json: it is longer than 1048576 bytes" + see);
  WriteFile("effect/effect.json", std::string(500000, '['));
  EXPECT_EQ(Refusal(folder), folder + "/effect.json: it nests too deep" + see);
  WriteFile("effect/effect.json", "{");
  EXPECT_EQ(Refusal(folder), folder + "/effect.json: it is no JSON" + see);
}

TEST_F(EffectFolder, WhatIsWrongInTheTextIsNamed) {
  const struct {
    json effect;
    const char *reason;
  } rows[] = {
      {json::array(), "the effect is no object"},
      {{{"layers", json::array()}}, "the effect: \"format\" is missing; it must be 1"},
      {{{"format", 2}}, "the effect: \"format\" is not 1"},
      {{{"format", 1}, {"lairs", 1}}, "the effect: \"lairs\" is no member of it"},
      {{{"format", 1}, {"duration", -1}}, "the effect: \"duration\" is not from 0 to 86400000"},
      {{{"format", 1}, {"duration", 1.5}}, "the effect: \"duration\" is no whole number"},
      {{{"format", 1}, {"duration", 18446744073709551615u}}, "the effect: \"duration\" is not from 0 to 86400000"},
      {{{"format", 1}, {"disables", {{"makeup", 1}}}}, "\"disables\": \"makeup\" is neither true nor false"},
      {OneLayer({{"size", 0}}), "layer 0: \"size\" is not from 0.001 to 20"},
      {OneLayer({{"size", "big"}}), "layer 0: \"size\" is no number"},
      {OneLayer({{"anchor", "hat"}}), "layer 0: \"anchor\" is none that there is"},
      {OneLayer({{"trigger", "nose"}}), "layer 0: \"trigger\" is neither mouth_open nor blink"},
      {OneLayer({{"trigger", ""}}), "layer 0: \"trigger\" is neither mouth_open nor blink"},
      {OneLayer({{"offset", {1}}}), "layer 0: \"offset\" is no list of two numbers from -20 to 20"},
      {OneLayer({{"offset", {1, 21}}}), "layer 0: \"offset\" is no list of two numbers from -20 to 20"},
      {OneLayer({{"image", "custom:16"}}), "layer 0: \"image\" is no custom image from custom:0 to custom:15"},
      {OneLayer({{"image", "custom:"}}), "layer 0: \"image\" is no custom image from custom:0 to custom:15"},
      {OneLayer({{"image", ""}}), "layer 0: \"image\" is missing"},
      {OneLayer({{"text", "x"}}), "layer 0: \"text\" and \"image\" exclude each other"},
      {OneLayer({{"text", "two\nlines"}, {"image", ""}}), "layer 0: \"text\" is more than one line"},
      {OneLayer({{"color", {1, 2, 256}}}), "layer 0: \"color\" is no list of three whole numbers from 0 to 255"},
      {{{"format", 1}, {"layers", std::vector<json>(33, RedLayer())}},
       "the effect: \"layers\" has more than 32 entries"},
      {{{"format", 1}, {"layers", {RedLayer({{"id", "a"}}), RedLayer({{"id", "a"}})}}},
       "layer 1: \"id\" is that of an earlier layer"},
      {{{"format", 1}, {"messages", {{{"at", "start"}}}}}, "message 0: \"game_data\" is missing"},
      {{{"format", 1}, {"messages", {{{"game_data", json::object()}}}}},
       "message 0: \"at\" is missing; it is \"start\", \"end\" or milliseconds"},
      {{{"format", 1}, {"on", {{{"show", {"hat"}}}}}}, "reaction 0: \"show\" names a layer that is not there"},
      {{{"format", 1}, {"on", {{{"method", 5}}}}}, "reaction 0: \"method\" is no text"},
      {{{"format", 1}, {"layers", {RedLayer({{"id", "a"}})}}, {"on", {{{"set_text", {{"layer", "a"}}}}}}},
       "\"set_text\": \"layer\" names no layer with a text"},
  };
  const std::string folder = WriteEffect("effect", json::object());
  for (const auto &row : rows) {
    WriteFile("effect/effect.json", row.effect.dump());
    EXPECT_EQ(Refusal(folder), folder + "/effect.json: " + row.reason + "; see docs/effects.md for the format");
  }
}

}  // namespace
}  // namespace lumivex_test
