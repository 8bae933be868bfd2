// Parameters of the vision runner, from the host's JSON text.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace lumivex {

struct VisionParams {
  std::optional<std::map<std::string, std::string>>
      values;          // by name, numbers as text; empty for a text that is no good
  std::string reason;  // why
};

// {"max_face_num": 3, ...}, or the same within {"landmarks_param": {...}}. Values are numbers, truth values or texts.
VisionParams ReadVisionParams(std::string_view json);

}  // namespace lumivex
