#include <windows.h>

#include <shellapi.h>

#include "plain_host_system.h"

namespace plain_host {

std::vector<std::string> ArgumentsInUtf8(int, char **) {
  std::vector<std::string> texts;
  int count = 0;
  wchar_t **wide = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; i < count; ++i) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, text.data(), size, nullptr, nullptr);
    text.pop_back();
    texts.push_back(text);
  }
  LocalFree(wide);
  return texts;
}

void PrepareDisplay() {}

}  // namespace plain_host
