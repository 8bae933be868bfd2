// What DXGLSharedTexture keeps for its two sides.
#pragma once

#include <atomic>
#include <cstdint>

#include "vanta_filter/engine/lumivex_api.h"

struct LX::DXGLSharedTexture::State {
  std::atomic<uint64_t> key{0};
  std::atomic<bool> writing{false};
};
