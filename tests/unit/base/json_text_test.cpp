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

TEST(JsonText, BytesThatAreNoUtf8BecomeReplacementCharacters) {
  EXPECT_EQ(WriteJson("a\xff"), "\"a\xEF\xBF\xBD\"");
}

}  // namespace
}  // namespace vanta
