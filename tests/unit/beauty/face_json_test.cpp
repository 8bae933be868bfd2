// The debugging aid that reads a thread priority from a file.
#include "beauty/face_json.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

struct Reading {
  int32_t priority;
  std::string out;
  std::string err;
};

// In a folder of its own, where the file's Windows name is an ordinary one.
class FaceJson : public testing::Test {
 protected:
  FaceJson() {
    std::string folder = testing::TempDir() + "face_json_XXXXXX";
    if (mkdtemp(folder.data())) folder_ = folder;
    std::filesystem::current_path(folder_);
  }
  ~FaceJson() override {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }

  static Reading Read() {
    CaptureStdout();
    CaptureStderr();
    const int32_t priority = vanta::ReadFaceJsonPriority();
    Reading reading{priority, GetCapturedStdout(), GetCapturedStderr()};
    return reading;
  }
  static Reading Read(const std::string &text) {
    std::ofstream("C:\\face.json") << text;
    return Read();
  }

 private:
  const std::filesystem::path before_ = std::filesystem::current_path();
  std::filesystem::path folder_;
};

TEST_F(FaceJson, GivesThePriorityAndPrintsTheText) {
  const Reading reading = Read("{\"PRIORITY\":-1}");
  EXPECT_EQ(reading.priority, -1);
  EXPECT_EQ(reading.out, "文件内容：{\"PRIORITY\":-1}");
  EXPECT_EQ(reading.err, "");
}

TEST_F(FaceJson, PrintsEveryLineOfTheText) {
  EXPECT_EQ(Read("{\n  \"PRIORITY\": 1\n}\n").out, "文件内容：{\n  \"PRIORITY\": 1\n}\n");
}

TEST_F(FaceJson, MissingFileIsAnEmptyText) {
  const Reading reading = Read();
  EXPECT_EQ(reading.priority, 2);
  EXPECT_EQ(reading.out, "");
  EXPECT_EQ(reading.err.rfind("无法打开文件json error[json.exception.parse_error.101]", 0), 0u) << reading.err;
}

TEST_F(FaceJson, DamagedTextGivesTwo) {
  const Reading reading = Read("{\"PRIORITY\":");
  EXPECT_EQ(reading.priority, 2);
  EXPECT_EQ(reading.out, "文件内容：{\"PRIORITY\":");
  EXPECT_EQ(reading.err.rfind("json error[json.exception.parse_error.101]", 0), 0u) << reading.err;
}

TEST_F(FaceJson, MissingKeyGivesTwo) {
  const Reading reading = Read("{\"priority\":1}");
  EXPECT_EQ(reading.priority, 2);
  EXPECT_EQ(reading.err, "not find i_PRIORITY");
}

TEST_F(FaceJson, RootThatIsNoObjectLacksTheKey) {
  for (const char *text : {"[1]", "1", "\"PRIORITY\"", "null"}) {
    const Reading reading = Read(text);
    EXPECT_EQ(reading.priority, 2) << text;
    EXPECT_EQ(reading.err, "not find i_PRIORITY") << text;
  }
}

TEST_F(FaceJson, PriorityThatIsNoNumberGivesTwo) {
  for (const char *text : {"{\"PRIORITY\":\"1\"}", "{\"PRIORITY\":null}", "{\"PRIORITY\":[1]}"}) {
    const Reading reading = Read(text);
    EXPECT_EQ(reading.priority, 2) << text;
    EXPECT_EQ(reading.err.rfind("json error[json.exception.type_error.302]", 0), 0u) << reading.err;
  }
}

TEST_F(FaceJson, FractionIsCut) {
  EXPECT_EQ(Read("{\"PRIORITY\":1.9}").priority, 1);
}

}  // namespace
