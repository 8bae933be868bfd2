// What a recording holds, and where its sound ends.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vanta_run {

// What tells the format: the name's ending in small letters, ".mp4" for instance.
std::string FormatEnding(const std::string &path);

// The pictures of the file; nothing where it does not open, has none, or ends before it says it does.
std::optional<uint64_t> CountRecordedFrames(const std::string &path);

// libobs ends a recording behind the packet of sound that holds the last picture's end, up to 21 ms later. The sound
// ends with the picture after this, where the format can say so (.mp4, .mov, .mkv); else, and where the sound is no
// longer anyway, the file stays as it is. Every other packet is copied. False where the file cannot be written anew;
// throws Failure(kExitOutput) where it cannot be begun.
bool EndSoundWithPicture(const std::string &path);

}  // namespace vanta_run
