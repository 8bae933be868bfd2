// A frame and its pixels are one allocation. The frame object itself is made anew in that memory for every trip, so
// that nothing of an earlier trip survives; the control block of its shared pointer comes from a list of used ones.
#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "vanta_base/mutex.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace LX {
namespace {

constexpr size_t kPixelAlignment = 64;         // bytes
constexpr size_t kSlack = 64;                  // bytes behind the last row, for wide loads
constexpr int kMaxSide = 65536;                // pixels
constexpr size_t kMaxBytes = size_t{1} << 30;  // of one frame
constexpr int kDefaultCacheLimit = 8;          // frames

struct BufferHeader {
  BufferHeader *next = nullptr;
  int width = 0;
  int height = 0;
};

constexpr size_t AlignUp(size_t value) {
  return (value + kPixelAlignment - 1) / kPixelAlignment * kPixelAlignment;
}

constexpr size_t kFrameOffset = AlignUp(sizeof(BufferHeader));
constexpr size_t kPixelOffset = AlignUp(kFrameOffset + sizeof(FrameData));

// Bytes of both planes; 0 for a size that no frame can have. The pitches are those of the host's own NV12 frames.
size_t PixelBytes(int width, int height) {
  if (width <= 0 || height <= 0 || width > kMaxSide || height > kMaxSide) return 0;
  const size_t chroma_pitch = (static_cast<size_t>(width) + 1) & ~size_t{1};
  const size_t bytes = static_cast<size_t>(width) * height + chroma_pitch * ((static_cast<size_t>(height) + 1) / 2);
  return bytes <= kMaxBytes ? bytes : 0;
}

BufferHeader *NewBuffer(int width, int height) {
  const size_t size = kPixelOffset + AlignUp(PixelBytes(width, height)) + kSlack;
  void *memory = ::operator new (size, std::align_val_t{kPixelAlignment}, std::nothrow);
  if (!memory) return nullptr;
  auto *header = new (memory) BufferHeader;
  header->width = width;
  header->height = height;
  return header;
}

void DeleteBuffer(BufferHeader *header) {
  ::operator delete (static_cast<void *>(header), std::align_val_t{kPixelAlignment});
}

FrameData *MakeFrame(BufferHeader *header) {
  auto *memory = reinterpret_cast<uint8_t *>(header);
  auto *frame = new (memory + kFrameOffset) FrameData;
  const int chroma_pitch = (header->width + 1) & ~1;
  frame->planes[0] = memory + kPixelOffset;
  frame->planes[1] = frame->planes[0] + static_cast<size_t>(header->width) * header->height;
  frame->strides[0] = header->width;
  frame->strides[1] = chroma_pitch;
  frame->width = header->width;
  frame->height = header->height;
  return frame;
}

BufferHeader *HeaderOf(FrameData *frame) {
  return reinterpret_cast<BufferHeader *>(reinterpret_cast<uint8_t *>(frame) - kFrameOffset);
}

}  // namespace

// What pool and frames share; it lives as long as either.
// Owns: idle buffers, idle control blocks. Threads: any.
struct FramePool::State {
  ~State() {
    while (idle) DeleteBuffer(PopOldest());
    while (blocks) {
      void *block = blocks;
      blocks = *static_cast<void **>(block);
      ::operator delete(block);
    }
  }

  void SetLimit(int count) {
    vanta::MutexLock lock(mutex);
    limit = std::max(count, 0);
    while (idle_count > limit) DeleteBuffer(PopOldest());
  }

  BufferHeader *TakeIdle(int width, int height) {
    vanta::MutexLock lock(mutex);
    for (BufferHeader **link = &idle; *link; link = &(*link)->next) {
      BufferHeader *header = *link;
      if (header->width != width || header->height != height) continue;
      *link = header->next;
      --idle_count;
      return header;
    }
    return nullptr;
  }

  void PutIdle(BufferHeader *header) {
    vanta::MutexLock lock(mutex);
    header->next = nullptr;
    BufferHeader **link = &idle;
    while (*link) link = &(*link)->next;
    *link = header;
    ++idle_count;
    // The oldest goes first, so that frames of a size no longer in use make room.
    while (idle_count > limit) DeleteBuffer(PopOldest());
  }

  void *TakeBlock(size_t size) {
    {
      vanta::MutexLock lock(mutex);
      if (blocks && size <= block_size) {
        void *block = blocks;
        blocks = *static_cast<void **>(block);
        return block;
      }
      block_size = std::max({block_size, size, sizeof(void *)});
      size = block_size;
    }
    return ::operator new(size);
  }

  void PutBlock(void *block) {
    vanta::MutexLock lock(mutex);
    *static_cast<void **>(block) = blocks;
    blocks = block;
  }

  BufferHeader *PopOldest() VANTA_REQUIRES(mutex) {
    BufferHeader *header = idle;
    idle = header->next;
    --idle_count;
    return header;
  }

  vanta::Mutex mutex;
  BufferHeader *idle VANTA_GUARDED_BY(mutex) = nullptr;  // oldest first
  int idle_count VANTA_GUARDED_BY(mutex) = 0;
  int limit VANTA_GUARDED_BY(mutex) = kDefaultCacheLimit;
  void *blocks VANTA_GUARDED_BY(mutex) = nullptr;  // each begins with the next one's address
  size_t block_size VANTA_GUARDED_BY(mutex) = 0;   // all control blocks have one type, hence one size
};

namespace {

// Gives shared_ptr its control blocks from the pool's list. The state outlives every block, since each block holds it.
template <typename T, typename State>
struct BlockAllocator {
  using value_type = T;

  explicit BlockAllocator(std::shared_ptr<State> owner) : state(std::move(owner)) {}
  template <typename U>
  BlockAllocator(const BlockAllocator<U, State> &other) : state(other.state) {}
  template <typename U>
  struct rebind {
    using other = BlockAllocator<U, State>;
  };

  T *allocate(size_t count) { return static_cast<T *>(state->TakeBlock(count * sizeof(T))); }
  void deallocate(T *block, size_t) { state->PutBlock(block); }
  template <typename U>
  bool operator==(const BlockAllocator<U, State> &other) const {
    return state == other.state;
  }

  std::shared_ptr<State> state;
};

}  // namespace

FramePool::FramePool() : state_(std::make_shared<State>()) {}

FramePool::~FramePool() {
  state_->SetLimit(0);
}

void FramePool::setMaxCachedFrameSize(int count) {
  state_->SetLimit(count);
}

std::shared_ptr<FrameData> FramePool::takeFrameDataNV12(int width, int height, int, int) {
  // A size that cannot be had gives a frame without pixels, of size 0: callers compare sizes before they touch planes.
  if (PixelBytes(width, height) == 0) return std::make_shared<FrameData>();
  BufferHeader *header = state_->TakeIdle(width, height);
  if (!header) header = NewBuffer(width, height);
  if (!header) return std::make_shared<FrameData>();

  auto recycle = [state = state_](FrameData *frame) {
    BufferHeader *buffer = HeaderOf(frame);
    frame->~FrameData();
    state->PutIdle(buffer);
  };
  return std::shared_ptr<FrameData>(MakeFrame(header), std::move(recycle), BlockAllocator<FrameData, State>(state_));
}

}  // namespace LX
