#include "pe_tables.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

namespace vanta_test {
namespace {

// The file laid out as the loader would, without its code being run or its imports looked up.
class Image {
 public:
  explicit Image(const std::filesystem::path &file)
      : module_(LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {}
  ~Image() { FreeLibrary(module_); }
  Image(const Image &) = delete;
  Image &operator=(const Image &) = delete;

  explicit operator bool() const { return module_ != nullptr; }
  template <typename Record>
  const Record *At(uint64_t offset) const {
    // The low bits of the handle are flags.
    return reinterpret_cast<const Record *>((reinterpret_cast<uintptr_t>(module_) & ~uintptr_t{3}) + offset);
  }
  const IMAGE_DATA_DIRECTORY &Directory(int which) const {
    const auto *headers = At<IMAGE_NT_HEADERS64>(static_cast<uint64_t>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    return headers->OptionalHeader.DataDirectory[which];
  }

 private:
  HMODULE module_;
};

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
  return text;
}

}  // namespace

PeTables ReadTables(const std::filesystem::path &file) {
  PeTables tables;
  const Image image(file);
  if (!image) {
    ADD_FAILURE() << "no DLL: " << file;
    return tables;
  }
  const auto *exports = image.At<IMAGE_EXPORT_DIRECTORY>(image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
  const auto *names = image.At<DWORD>(exports->AddressOfNames);
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) tables.exports.insert(image.At<char>(names[i]));

  const auto *next = image.At<IMAGE_IMPORT_DESCRIPTOR>(image.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
  for (; next->Name != 0; ++next) {
    std::set<std::string> &functions = tables.imports[Lower(image.At<char>(next->Name))];
    const DWORD list = next->OriginalFirstThunk ? next->OriginalFirstThunk : next->FirstThunk;
    for (const auto *thunk = image.At<IMAGE_THUNK_DATA64>(list); thunk->u1.AddressOfData != 0; ++thunk) {
      if (IMAGE_SNAP_BY_ORDINAL64(thunk->u1.Ordinal)) continue;
      functions.insert(image.At<IMAGE_IMPORT_BY_NAME>(thunk->u1.AddressOfData)->Name);
    }
  }
  return tables;
}

}  // namespace vanta_test
