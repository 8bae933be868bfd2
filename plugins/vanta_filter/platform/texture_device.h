// The device that textures are shared on, beside the host's renderer: each graphics system has its own.
#pragma once

#if defined(_WIN32)

struct ID3D11Device;
struct ID3D11DeviceContext;
struct ID3D11Texture2D;

namespace vanta {

using TextureDevice = ID3D11Device;
using TextureDeviceContext = ID3D11DeviceContext;
using StagingTexture = ID3D11Texture2D;

}  // namespace vanta

#else

namespace vanta {

struct GlTextureDevice;
struct GlTextureDeviceContext;
struct GlStagingTexture;

using TextureDevice = GlTextureDevice;
using TextureDeviceContext = GlTextureDeviceContext;
using StagingTexture = GlStagingTexture;

}  // namespace vanta

#endif
