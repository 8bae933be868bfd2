#include "platform/font_files.h"

#include <windows.h>

#include <string>

#include "vanta_base/installed_folder_win32.h"

namespace lumivex {
namespace {

// What each edition of Windows has for scripts that the installed font lacks: Chinese with Japanese, Korean, the
// scripts of India and of South-East Asia, symbols.
constexpr const char *kSystemFonts[] = {"msyh.ttc",    "YuGothM.ttc", "msgothic.ttc", "malgun.ttf",
                                        "Nirmala.ttc", "Nirmala.ttf", "LeelawUI.ttf", "seguisym.ttf"};

std::filesystem::path SystemFontFolder() {
  std::wstring folder(MAX_PATH, L'\0');
  folder.resize(GetSystemWindowsDirectoryW(folder.data(), MAX_PATH));
  return std::filesystem::path(folder) / "Fonts";
}

}  // namespace

// The installed one first: with it a text looks as it does elsewhere.
std::vector<std::filesystem::path> FontFiles() {
  std::vector<std::filesystem::path> files;
  const std::filesystem::path installed = vanta::InstalledFolder("fonts");
  if (!installed.empty()) files.push_back(installed / "DejaVuSans.ttf");
  const std::filesystem::path folder = SystemFontFolder();
  for (const char *name : kSystemFonts) files.push_back(folder / name);
  return files;
}

}  // namespace lumivex
