#include "gpu/output_texture.h"

#include <chrono>
#include <utility>

#include "gpu/shared_texture_state.h"

namespace lumivex {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uint64_t kFirstKey = 1;
constexpr uint32_t kTryMs = 5;  // the host tells the new key a moment after it has released the lock with it
constexpr std::chrono::milliseconds kPatience{100};

}  // namespace

std::shared_ptr<OutputTexture> OutputTexture::Create(std::shared_ptr<GlContext> context, int width, int height) {
  const GlApi &gl = Gl();
  std::shared_ptr<OutputTexture> made(new OutputTexture(std::move(context)));
  gl.GenTextures(1, &made->name_);
  gl.BindTexture(GL_TEXTURE_2D, made->name_);
  // libobs reads its own textures of this format with and without the curve.
  gl.TexImage2D(GL_TEXTURE_2D, 0, GL_SRGB8_ALPHA8, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  gl.BindTexture(GL_TEXTURE_2D, 0);
  made->shared_ = vanta_host_texture_publish(made->name_, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  if (!made->shared_) return nullptr;
  made->handle = vanta_host_texture_handle(made->shared_);
  vanta_host_texture_acquire(made->shared_, 0, 0);
  vanta_host_texture_release(made->shared_, kFirstKey);
  made->setKeyValue(kFirstKey);
  return made;
}

OutputTexture::~OutputTexture() {
  context_->DeferDelete(name_, shared_);
}

OutputTexture::Begin OutputTexture::BeginWriting() {
  state_->writing.store(true, std::memory_order_release);
  const Begin result = AcquirePresentKey();
  if (result != Begin::kReady) {
    state_->writing.store(false, std::memory_order_release);
    state_->writing.notify_all();
  }
  return result;
}

OutputTexture::Begin OutputTexture::AcquirePresentKey() {
  const Clock::time_point deadline = Clock::now() + kPatience;
  do {
    held_key_ = getKeyValue();
    const int result = vanta_host_texture_acquire(shared_, held_key_, kTryMs);
    if (result == 0) return Begin::kReady;
    if (result < 0) return Begin::kLost;
  } while (Clock::now() < deadline);
  return Begin::kBusy;
}

void OutputTexture::EndWriting() {
  vanta_host_texture_release(shared_, held_key_);
  state_->writing.store(false, std::memory_order_release);
  state_->writing.notify_all();
}

void OutputTexture::Abandon() {
  vanta_host_texture *other = vanta_host_texture_open(static_cast<uint32_t>(handle));
  if (!other) return;
  vanta_host_texture_acquire(other, getKeyValue(), 0);
  vanta_host_texture_close(other);
}

}  // namespace lumivex
