// Reading a keyed shared texture back on a device apart from the host's renderer, so that the wait is a
// worker's and never the host's. Five operations, with one source for each graphics system.
//
// Threads: none of them enters graphics. CreateD3DDevice on any thread; CreateStagingTexture and MapSharedHandleToCPU
// on one thread, the only user of the context; the other two when that thread uses it no more.
#pragma once

#include <cstdint>

#include "platform/texture_device.h"

namespace vanta {

// A device on the adapter that the host renders on. False, with a log line, when there can be none.
bool CreateD3DDevice(TextureDevice **device, TextureDeviceContext **context);

// RGBA, 8 bits each, readable by the processor. False when the device is lost or has no memory.
bool CreateStagingTexture(uint32_t width, uint32_t height, TextureDevice *device, StagingTexture **texture);

// Copies the texture behind `shared_handle` into `staging`, which must have its size, and shows its memory: `*data` may
// be read until the next call with this staging texture, `*pitch` is bytes a row. Waits 200 ms at most for the lock.
// False: the lock was never held, the keys stand where they were. True with `*data` and `*pitch` untouched: the picture
// could not be mapped, the keys have advanced.
// On Windows a device lost while opening or mapping ends the process, with the result as its exit code.
bool MapSharedHandleToCPU(uint32_t shared_handle, uint64_t acquire_key, uint64_t release_key, TextureDevice *device,
                          TextureDeviceContext *context, StagingTexture *staging, uint8_t **data, uint32_t *pitch);

// Both clear what they release and take null.
void ReleaseStagingTexture(StagingTexture **texture);
void DestroyD3DDevice(TextureDevice **device, TextureDeviceContext **context);

}  // namespace vanta
