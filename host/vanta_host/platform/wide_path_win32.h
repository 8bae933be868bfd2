// Paths as Windows takes them.
#pragma once

#include <windows.h>

#include <string>

namespace vanta_host {

std::wstring WideFromUtf8(const std::string &utf8);
std::string Utf8FromWide(const std::wstring &wide);
// The whole path of a loaded library; empty where the system does not tell.
std::wstring FileOf(HMODULE library);

}  // namespace vanta_host
