#include <windows.h>  // before libobs, whose vector headers rename what this one includes

#include "platform/library.h"
#include "platform/wide_path_win32.h"

namespace vanta_host {
namespace {

void *ExportOf(HMODULE library, const char *name) {
  return library ? reinterpret_cast<void *>(GetProcAddress(library, name)) : nullptr;
}

}  // namespace

std::string LibraryOf(const void *address) {
  HMODULE library = nullptr;
  if (!address ||
      !GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          static_cast<const wchar_t *>(address), &library))
    return {};
  return Utf8FromWide(FileOf(library));
}

void *FunctionOf(const std::string &library, const char *name) {
  void *function = ExportOf(GetModuleHandleW(WideFromUtf8(library).c_str()), name);
  return function ? function : ExportOf(GetModuleHandleW(nullptr), name);
}

void *FunctionOfFrontend(const char *name) {
  return ExportOf(GetModuleHandleW(L"obs-frontend-api.dll"), name);
}

}  // namespace vanta_host
