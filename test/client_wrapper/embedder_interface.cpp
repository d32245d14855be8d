// Compiles where the declarations of the embedder's interface have the numbers and signatures that the library compiled
// elsewhere has. Sizes and offsets are pinned where the records are declared.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "flutter_desktop.h"

namespace {

// ---- Enumerations ------------------------------------------------------------------------------------------

static_assert(kFlutterDesktopPixelBufferTexture == 0);
static_assert(kFlutterDesktopGpuSurfaceTexture == 1);
static_assert(kFlutterDesktopEGLImageTexture == 2);
static_assert(sizeof(FlutterDesktopTextureType) == 4);

static_assert(kFlutterDesktopGpuSurfaceTypeNone == 0);
static_assert(kFlutterDesktopGpuSurfaceTypeDxgiSharedHandle == 1);
static_assert(kFlutterDesktopGpuSurfaceTypeD3d11Texture2D == 2);
static_assert(sizeof(FlutterDesktopGpuSurfaceType) == 4);

static_assert(kFlutterDesktopPixelFormatNone == 0);
static_assert(kFlutterDesktopPixelFormatRGBA8888 == 1);
static_assert(kFlutterDesktopPixelFormatBGRA8888 == 2);
static_assert(sizeof(FlutterDesktopPixelFormat) == 4);

// ---- Functions ---------------------------------------------------------------------------------------------

using Registrar = FlutterDesktopPluginRegistrarRef;
using Messenger = FlutterDesktopMessengerRef;
using Textures = FlutterDesktopTextureRegistrarRef;
using Handle = const FlutterDesktopMessageResponseHandle*;

template <typename Function, typename Expected>
inline constexpr bool kIs = std::is_same_v<Function, Expected>;

static_assert(kIs<decltype(FlutterDesktopPluginRegistrarGetMessenger), Messenger(Registrar)>);
static_assert(kIs<decltype(FlutterDesktopRegistrarGetTextureRegistrar), Textures(Registrar)>);
static_assert(kIs<decltype(FlutterDesktopPluginRegistrarSetDestructionHandler),  //
                  void(Registrar, void (*)(Registrar))>);

static_assert(kIs<decltype(FlutterDesktopMessengerSend), bool(Messenger, const char*, const uint8_t*, size_t)>);
static_assert(
    kIs<decltype(FlutterDesktopMessengerSendWithReply),
        bool(Messenger, const char*, const uint8_t*, size_t, void (*)(const uint8_t*, size_t, void*), void*)>);
static_assert(kIs<decltype(FlutterDesktopMessengerSendResponse), void(Messenger, Handle, const uint8_t*, size_t)>);
static_assert(kIs<decltype(FlutterDesktopMessengerSetCallback),
                  void(Messenger, const char*, void (*)(Messenger, const FlutterDesktopMessage*, void*), void*)>);

static_assert(kIs<decltype(FlutterDesktopTextureRegistrarRegisterExternalTexture),
                  int64_t(Textures, const FlutterDesktopTextureInfo*)>);
static_assert(kIs<decltype(FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable),  //
                  bool(Textures, int64_t)>);
static_assert(kIs<decltype(FlutterDesktopTextureRegistrarUnregisterExternalTexture),
                  void(Textures, int64_t, void (*)(void*), void*)>);

static_assert(kIs<FlutterDesktopPixelBufferTextureCallback,  //
                  const FlutterDesktopPixelBuffer* (*)(size_t, size_t, void*)>);
static_assert(
    kIs<FlutterDesktopGpuSurfaceTextureCallback, const FlutterDesktopGpuSurfaceDescriptor* (*)(size_t, size_t, void*)>);
static_assert(
    kIs<FlutterDesktopEGLImageTextureCallback, const FlutterDesktopEGLImage* (*)(size_t, size_t, void*, void*, void*)>);

}  // namespace
