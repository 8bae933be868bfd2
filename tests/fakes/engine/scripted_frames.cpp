// The scripted engine's frames, frame pool, shared textures and windows.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "fakes/clock/movable_clock.h"
#include "fakes/engine/scripted_engine.h"

namespace LX {

FrameData::FrameData()
    : planes{},
      strides{},
      word(0),
      color_code(2),
      layout_code(0),
      pixel_format(-1),
      reserved(0),
      width(0),
      height(0),
      rotation(0),
      prepared_mark(0),
      flip(0),
      tessera_ms(0),
      beauty_ms(0),
      timestamp(0),
      stamp(0),
      dump_flag(0) {}
FrameData::FrameData(const FrameData &other) = default;
FrameData &FrameData::operator=(const FrameData &other) = default;
FrameData::~FrameData() = default;

struct DXGLSharedTexture::State {
  std::atomic<uint64_t> key{0};
  std::atomic<int> waits{0};
};

DXGLSharedTexture::DXGLSharedTexture() : state_(std::make_shared<State>()) {}
DXGLSharedTexture::~DXGLSharedTexture() = default;
void DXGLSharedTexture::waitSync() {
  vanta_test::scripted_internal::Note(0, "waitSync()");
  ++state_->waits;
}
uint64_t DXGLSharedTexture::getKeyValue() {
  vanta_test::scripted_internal::Note(0, "getKeyValue()");
  return state_->key;
}
void DXGLSharedTexture::setKeyValue(uint64_t key) {
  vanta_test::scripted_internal::Note(0, "setKeyValue(" + std::to_string(key) + ")");
  state_->key = key;
}

namespace {

std::atomic<uint64_t> frames_taken{0};
std::atomic<size_t> frames_alive{0};

// A frame with its pixels behind it in memory. The bytes of the pixels are exact: no slack that could hide an overrun.
struct Storage {
  size_t bytes = 0;
  uint8_t *pixels = nullptr;
  alignas(FrameData) unsigned char frame[sizeof(FrameData)];
  Storage *next = nullptr;
};

size_t LumaBytes(int width, int height) {
  return static_cast<size_t>(width) * static_cast<size_t>(height);
}

size_t FrameBytes(int width, int height) {
  const size_t chroma_stride = (static_cast<size_t>(width) + 1) & ~size_t{1};
  return LumaBytes(width, height) + chroma_stride * ((static_cast<size_t>(height) + 1) / 2);
}

void SetPlanes(FrameData *frame, uint8_t *pixels, int width, int height) {
  frame->width = width;
  frame->height = height;
  frame->strides[0] = width;
  frame->strides[1] = (width + 1) & ~1;
  frame->strides[2] = 0;
  frame->planes[0] = pixels;
  frame->planes[1] = pixels + LumaBytes(width, height);
  frame->planes[2] = nullptr;
}

}  // namespace

// Keeps frames and the control blocks of their shared pointers, so that the steady state takes nothing from the heap.
struct FramePool::State {
  struct Block {
    Block *next;
  };

  std::mutex mutex;
  Storage *idle = nullptr;
  int idle_count = 0;
  int limit = 8;
  Block *blocks = nullptr;
  size_t block_size = 0;

  ~State() {
    while (Storage *storage = idle) {
      idle = storage->next;
      delete[] storage->pixels;
      delete storage;
    }
    while (Block *block = blocks) {
      blocks = block->next;
      ::operator delete(block);
    }
  }
};

namespace {

// Control blocks come from the pool's list; they are all of one size.
template <typename T, typename State>
struct BlockAllocator {
  using value_type = T;
  template <typename U>
  struct rebind {
    using other = BlockAllocator<U, State>;
  };

  std::shared_ptr<State> state;

  explicit BlockAllocator(std::shared_ptr<State> pool) : state(std::move(pool)) {}
  template <typename U>
  BlockAllocator(const BlockAllocator<U, State> &other) : state(other.state) {}

  T *allocate(size_t count) {
    std::lock_guard<std::mutex> lock(state->mutex);
    if (state->blocks && state->block_size == count * sizeof(T)) {
      auto *block = state->blocks;
      state->blocks = block->next;
      return reinterpret_cast<T *>(block);
    }
    state->block_size = count * sizeof(T);
    return static_cast<T *>(::operator new(count * sizeof(T)));
  }
  void deallocate(T *memory, size_t) {
    std::lock_guard<std::mutex> lock(state->mutex);
    auto *block = reinterpret_cast<typename State::Block *>(memory);
    block->next = state->blocks;
    state->blocks = block;
  }
  template <typename U>
  bool operator==(const BlockAllocator<U, State> &other) const {
    return state == other.state;
  }
};

template <typename State>
struct ReturnToPool {
  std::shared_ptr<State> state;
  Storage *storage;

  void operator()(FrameData *frame) const {
    frame->~FrameData();
    --frames_alive;
    {
      std::lock_guard<std::mutex> lock(state->mutex);
      if (state->idle_count < state->limit) {
        storage->next = state->idle;
        state->idle = storage;
        ++state->idle_count;
        return;
      }
    }
    delete[] storage->pixels;
    delete storage;
  }
};

}  // namespace

FramePool::FramePool() : state_(std::make_shared<State>()) {
  vanta_test::scripted_internal::Note(0, "FramePool()");
}
FramePool::~FramePool() = default;

void FramePool::setMaxCachedFrameSize(int count) {
  vanta_test::scripted_internal::Note(0, "setMaxCachedFrameSize(" + std::to_string(count) + ")");
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->limit = count;
}

std::shared_ptr<FrameData> FramePool::takeFrameDataNV12(int width, int height, int, int) {
  if (vanta_test::scripted_internal::Recording()) {
    vanta_test::scripted_internal::Note(
        0, "takeFrameDataNV12(" + std::to_string(width) + ", " + std::to_string(height) + ")");
  }
  vanta_test::scripted_internal::ChangePoolSize(width, height);
  const size_t bytes = FrameBytes(width, height);
  Storage *storage = nullptr;
  {
    std::lock_guard<std::mutex> lock(state_->mutex);
    for (Storage **link = &state_->idle; *link; link = &(*link)->next) {
      if ((*link)->bytes != bytes) continue;
      storage = *link;
      *link = storage->next;
      --state_->idle_count;
      break;
    }
  }
  if (!storage) {
    storage = new Storage;
    storage->bytes = bytes;
    storage->pixels = new uint8_t[bytes];
  }
  auto *frame = new (storage->frame) FrameData;
  SetPlanes(frame, storage->pixels, width, height);
  ++frames_taken;
  ++frames_alive;
  return std::shared_ptr<FrameData>(frame, ReturnToPool<State>{state_, storage},
                                    BlockAllocator<FrameData, State>(state_));
}

}  // namespace LX

namespace vanta_test {

namespace scripted_internal {

void MoveClock(std::chrono::nanoseconds by) {
  if (auto *mover = clock_mover.load(); mover && by.count() != 0) mover(by);
}

std::shared_ptr<LX::FrameData> CopyFrame(const LX::FrameData &frame) {
  const size_t bytes = LX::FrameBytes(frame.width, frame.height);
  auto *pixels = new uint8_t[bytes];
  if (frame.planes[0]) std::memcpy(pixels, frame.planes[0], bytes);
  std::shared_ptr<LX::FrameData> copy(new LX::FrameData(frame), [pixels](LX::FrameData *data) {
    delete data;
    delete[] pixels;
  });
  LX::SetPlanes(copy.get(), pixels, frame.width, frame.height);
  return copy;
}

}  // namespace scripted_internal

namespace scripted_engine {

uint64_t FramesTaken() {
  return LX::frames_taken;
}
size_t FramesAlive() {
  return LX::frames_alive;
}

}  // namespace scripted_engine

ScriptedTexture::ScriptedTexture(uint64_t texture_handle, uint64_t key) {
  handle = texture_handle;
  state_->key = key;
}
uint64_t ScriptedTexture::Key() const {
  return state_->key;
}
int ScriptedTexture::Waits() const {
  return state_->waits;
}

}  // namespace vanta_test

struct GLFWwindow {};

namespace Lumivex {

namespace {

// A window that the host keeps alive stays reachable here.
struct WindowList {
  std::mutex mutex;
  std::vector<GLFWwindow *> windows;
};

WindowList &Windows() {
  static auto *list = new WindowList;
  return *list;
}

}  // namespace

GLFWwindow *createGLFWWindow(int width, int height, bool visible) {
  vanta_test::scripted_internal::Note(0, "createGLFWWindow(" + std::to_string(width) + ", " + std::to_string(height) +
                                             ", " + std::to_string(visible) + ")");
  if (!vanta_test::scripted_internal::WindowsCanBeMade()) return nullptr;
  const std::lock_guard<std::mutex> lock(Windows().mutex);
  return Windows().windows.emplace_back(new GLFWwindow);
}

void destroyGLFWWindow(GLFWwindow *window) {
  vanta_test::scripted_internal::Note(0, window ? "destroyGLFWWindow(window)" : "destroyGLFWWindow(null)");
  const std::lock_guard<std::mutex> lock(Windows().mutex);
  std::erase(Windows().windows, window);
  delete window;
}

}  // namespace Lumivex
