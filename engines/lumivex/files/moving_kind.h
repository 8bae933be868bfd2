// Which picture files hold pictures that follow each other.
#pragma once

#include <cstdint>
#include <span>

namespace lumivex {

enum class MovingKind { kNone, kPng, kWebp, kGif, kMp4, kWebm };

// By what the file begins with. A PNG or WebP file with one picture is kNone, and so is what is not known here; GIF
// files and videos count as moving whatever they hold. Threads: any.
MovingKind MovingKindOf(std::span<const uint8_t> file);

}  // namespace lumivex
