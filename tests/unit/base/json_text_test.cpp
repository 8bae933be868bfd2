#include <gtest/gtest.h>
#include <vanta_base/json_text.h>

namespace vanta {
namespace {

TEST(JsonText, MembersKeepTheirOrder) {
  EXPECT_EQ(WriteJson(ReadJson(R"({"z": 1, "a": [2.5]})")), R"({"z":1,"a":[2.5]})");
}

TEST(JsonText, IndentBreaksLines) {
  EXPECT_EQ(WriteJson({{"a", 1}}, 2), "{\n  \"a\": 1\n}");
}

TEST(JsonText, TextThatIsNoJsonIsDiscarded) {
  EXPECT_TRUE(ReadJson("{").is_discarded());
}

TEST(JsonText, TextThatIsNoJsonThrowsWhereItIsAskedTo) {
  EXPECT_THROW(ReadJsonOrThrow("{"), nlohmann::ordered_json::parse_error);
}

// It would use up the stack where it is copied or written.
TEST(JsonText, TextThatNestsWithoutAnEndIsNoJson) {
  const auto nested = [](size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
  EXPECT_EQ(WriteJson(ReadJson(nested(256))), nested(256));
  EXPECT_TRUE(ReadJson(nested(257)).is_discarded());
  EXPECT_THROW(ReadJsonOrThrow(nested(200000)), nlohmann::ordered_json::parse_error);
  EXPECT_EQ(ReadJson("[\"\\\"" + std::string(300, '[') + "\"]").size(), 1u) << "brackets in a text nest nothing";
}

// A megabyte of members took half a minute: each was compared with all before it.
TEST(JsonText, TextOfAnObjectWithoutAnEndIsNoJson) {
  const auto object = [](size_t members) {
    std::string text = "{\"a\": [], \"b\": {}";
    for (size_t i = 2; i < members; ++i) text += ", \"" + std::to_string(i) + "\": \"::::\"";
    return text + "}";
  };
  EXPECT_EQ(vanta::ReadJson(object(10000)).size(), 10000u);
  EXPECT_TRUE(vanta::ReadJson(object(10001)).is_discarded());
  EXPECT_THROW(vanta::ReadJsonOrThrow("[1, {\"x\":" + object(10001) + "}]"), nlohmann::ordered_json::parse_error);
}

TEST(JsonText, ListOfManyObjectsIsRead) {
  std::string text = "[{}";
  for (int i = 0; i < 20000; ++i) text += ", {\"a\": 1, \"b\": 2}";
  EXPECT_EQ(vanta::ReadJson(text + "]").size(), 20001u);
}

TEST(JsonText, BytesThatAreNoUtf8BecomeReplacementCharacters) {
  EXPECT_EQ(WriteJson("a\xff"), "\"a\xEF\xBF\xBD\"");
}

}  // namespace
}  // namespace vanta
