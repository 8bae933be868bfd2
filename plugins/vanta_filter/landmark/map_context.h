// Reading a keyed shared texture back on a device of one's own beside the host's renderer, so that the wait is a
// worker's and never the host's. Five operations, with one source for each graphics system.
//
// Threads: none of them enters graphics. CreateD3DDevice on any thread; CreateStagingTexture and MapSharedHandleToCPU
// on one thread, the only user of the context; the other two when that thread uses it no more.
#pragma once

#include <cstdint>

// Direct3D's own on Windows. Elsewhere map_context_gl.cpp says what they are.
struct ID3D11Device;
struct ID3D11DeviceContext;
struct ID3D11Texture2D;

namespace vanta {

// A device on the adapter that the host renders on. False, with a log line, when there can be none.
bool CreateD3DDevice(ID3D11Device **device, ID3D11DeviceContext **context);

// RGBA, 8 bits each, readable by the processor. False when the device is lost or has no memory.
bool CreateStagingTexture(uint32_t width, uint32_t height, ID3D11Device *device, ID3D11Texture2D **texture);

// Copies the texture behind `shared_handle` into `staging`, which must have its size, and shows its memory: `*data` may
// be read until the next call with this staging texture, `*pitch` is bytes a row. Waits 200 ms at most for the lock.
// False: the lock was never held, the keys stand where they were. True with `*data` and `*pitch` untouched: the picture
// could not be mapped, the keys have advanced.
// On Windows a device lost while opening or mapping ends the process, with the result as its exit code.
bool MapSharedHandleToCPU(uint32_t shared_handle, uint64_t acquire_key, uint64_t release_key, ID3D11Device *device,
                          ID3D11DeviceContext *context, ID3D11Texture2D *staging, uint8_t **data, uint32_t *pitch);

// Both clear what they release and take null.
void ReleaseStagingTexture(ID3D11Texture2D **texture);
void DestroyD3DDevice(ID3D11Device **device, ID3D11DeviceContext **context);

}  // namespace vanta
