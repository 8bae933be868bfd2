#include "beauty/face_json.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/thread.h"

namespace vanta {
namespace {

constexpr char kPath[] = "C:\\face.json";
constexpr char kKey[] = "PRIORITY";

// Empty, as a file without text is, when it cannot be opened.
std::string ReadText(const char *path) {
  std::ifstream file(path);
  if (!file) {
    std::cerr << "无法打开文件";
    return {};
  }
  std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  std::cout << "文件内容：" << text << std::flush;
  return text;
}

}  // namespace

int32_t ReadPriority(const char *path) {
  const std::string text = ReadText(path);
  try {
    const nlohmann::json root = nlohmann::json::parse(text);
    const auto found = root.find(kKey);
    if (found != root.end()) return found->get<int32_t>();
    std::cerr << "not find i_PRIORITY";
  } catch (const nlohmann::json::exception &error) {  // a value that is no number gets here as well
    std::cerr << "json error" << error.what();
  }
  return kThreadPriorityHighest;
}

int32_t ReadFaceJsonPriority() {
  return ReadPriority(kPath);
}

}  // namespace vanta
