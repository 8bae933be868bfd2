#include "color/lookup_table.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <filesystem>

#include "color/cube_file.h"
#include "color/lookup_picture.h"
#include "lumivex/lumivex_values.h"
#include "vanta_base/utf8_path.h"

namespace lumivex {
namespace {

bool HasCubeExtension(const std::string &path) {
  std::string extension = vanta::Utf8FromPath(vanta::PathFromUtf8(path).extension());
  for (char &letter : extension) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return extension == ".cube";
}

}  // namespace

Rgb LookupTable::At(const Rgb &rgb) const {
  std::array<size_t, 3> low;
  std::array<float, 3> part;
  for (size_t i = 0; i < 3; ++i) {
    const float place = std::clamp((rgb[i] - domain_min[i]) / (domain_max[i] - domain_min[i]), 0.0f, 1.0f) *
                        static_cast<float>(side - 1);
    low[i] = std::min(static_cast<size_t>(place), static_cast<size_t>(side - 2));
    part[i] = place - static_cast<float>(low[i]);
  }
  const auto step = static_cast<size_t>(side);
  Rgb result = {0.0f, 0.0f, 0.0f};
  for (size_t corner = 0; corner < 8; ++corner) {
    const size_t red = corner & 1;
    const size_t green = corner >> 1 & 1;
    const size_t blue = corner >> 2;
    const float weight =
        (red ? part[0] : 1.0f - part[0]) * (green ? part[1] : 1.0f - part[1]) * (blue ? part[2] : 1.0f - part[2]);
    const Rgb &entry = entries[((low[2] + blue) * step + low[1] + green) * step + low[0] + red];
    for (size_t i = 0; i < 3; ++i) result[i] += weight * entry[i];
  }
  return result;
}

LookupFile ReadLookup(const std::string &path, int32_t type) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(vanta::PathFromUtf8(path), error)) {
    return {nullptr, "no such file", "give the path of a .cube file or of a square PNG table"};
  }
  const bool cube = type == kLookupCube || (type != kLookupPicture && HasCubeExtension(path));
  return cube ? ReadCubeFile(path) : ReadLookupPicture(path);
}

}  // namespace lumivex
