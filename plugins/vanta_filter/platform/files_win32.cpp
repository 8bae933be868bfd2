#include "platform/files.h"

// The order matters: shlobj.h needs what windows.h declares.
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <limits>

#include "platform/wide_text_win32.h"

namespace vanta {

namespace {

constexpr wchar_t kBackSlash = L'\\';

// SHCreateDirectory takes nothing but a full path with back slashes.
std::wstring FullPath(const std::string &path) {
  std::wstring wide = WideFromUtf8(path);
  std::replace(wide.begin(), wide.end(), L'/', kBackSlash);
  const DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  if (size == 0) return {};
  std::wstring full(size, L'\0');
  full.resize(GetFullPathNameW(wide.c_str(), size, full.data(), nullptr));
  while (full.size() > 3 && full.back() == kBackSlash) full.pop_back();  // 3: a drive's own root keeps its slash
  return full;
}

bool IsFolder(const std::wstring &path) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  return GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) &&
         (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

HANDLE AsHandle(intptr_t file) {
  return reinterpret_cast<HANDLE>(file);
}

}  // namespace

std::string NativePath(std::string host_path) {
  return host_path;
}

bool EnsureFolder(const std::string &path) {
  const std::wstring full = FullPath(path);
  if (full.empty()) return false;
  return IsFolder(full) || SHCreateDirectory(nullptr, full.c_str()) == ERROR_SUCCESS || IsFolder(full);
}

OutputFile::~OutputFile() {
  Close();
}

bool OutputFile::Create(const std::string &path) {
  Close();
  const HANDLE file = CreateFileW(WideFromUtf8(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  file_ = reinterpret_cast<intptr_t>(file);
  return file_ != kClosed;
}

bool OutputFile::Write(const void *data, size_t size) {
  if (file_ == kClosed) return false;
  const char *next = static_cast<const char *>(data);
  while (size > 0) {
    const DWORD piece = static_cast<DWORD>(std::min<size_t>(size, std::numeric_limits<DWORD>::max()));
    DWORD written = 0;
    if (!WriteFile(AsHandle(file_), next, piece, &written, nullptr) || written == 0) return false;
    next += written;
    size -= written;
  }
  return true;
}

bool OutputFile::Close() {
  if (file_ == kClosed) return true;
  const bool kept = CloseHandle(AsHandle(file_)) != FALSE;
  file_ = kClosed;
  return kept;
}

}  // namespace vanta
