// UTF-8 as the wide functions of Windows want it. For the *_win32.cpp files only.
#pragma once

#include <string>

namespace vanta {

// Malformed bytes become U+FFFD, so that a name never changes its meaning silently by losing some.
std::wstring WideFromUtf8(const std::string &utf8);

}  // namespace vanta
