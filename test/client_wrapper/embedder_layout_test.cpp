#include <gtest/gtest.h>

#include <type_traits>

#include "flutter_desktop.h"

namespace client_wrapper_test {
namespace {

// The records and functions are shared with a library compiled elsewhere: sizes and offsets in bytes,
// signatures and numbers are fixed.

TEST(EmbedderLayoutTest, Message) {
  using Record = FlutterDesktopMessage;
  EXPECT_EQ(sizeof(Record), 40u);
  EXPECT_EQ(offsetof(Record, struct_size), 0u);
  EXPECT_EQ(offsetof(Record, channel), 8u);
  EXPECT_EQ(offsetof(Record, message), 16u);
  EXPECT_EQ(offsetof(Record, message_size), 24u);
  EXPECT_EQ(offsetof(Record, response_handle), 32u);
}

TEST(EmbedderLayoutTest, PixelBuffer) {
  using Record = FlutterDesktopPixelBuffer;
  EXPECT_EQ(sizeof(Record), 40u);
  EXPECT_EQ(offsetof(Record, buffer), 0u);
  EXPECT_EQ(offsetof(Record, width), 8u);
  EXPECT_EQ(offsetof(Record, height), 16u);
  EXPECT_EQ(offsetof(Record, release_callback), 24u);
  EXPECT_EQ(offsetof(Record, release_context), 32u);
}

TEST(EmbedderLayoutTest, EGLImage) {
  using Record = FlutterDesktopEGLImage;
  EXPECT_EQ(sizeof(Record), 40u);
  EXPECT_EQ(offsetof(Record, egl_image), 0u);
  EXPECT_EQ(offsetof(Record, width), 8u);
  EXPECT_EQ(offsetof(Record, height), 16u);
  EXPECT_EQ(offsetof(Record, release_callback), 24u);
  EXPECT_EQ(offsetof(Record, release_context), 32u);
}

TEST(EmbedderLayoutTest, GpuSurfaceDescriptor) {
  using Record = FlutterDesktopGpuSurfaceDescriptor;
  EXPECT_EQ(sizeof(Record), 72u);
  EXPECT_EQ(offsetof(Record, struct_size), 0u);
  EXPECT_EQ(offsetof(Record, handle), 8u);
  EXPECT_EQ(offsetof(Record, width), 16u);
  EXPECT_EQ(offsetof(Record, height), 24u);
  EXPECT_EQ(offsetof(Record, visible_width), 32u);
  EXPECT_EQ(offsetof(Record, visible_height), 40u);
  EXPECT_EQ(offsetof(Record, format), 48u);
  EXPECT_EQ(offsetof(Record, release_callback), 56u);
  EXPECT_EQ(offsetof(Record, release_context), 64u);
}

TEST(EmbedderLayoutTest, TextureInfoAndItsConfigs) {
  EXPECT_EQ(sizeof(FlutterDesktopTextureInfo), 40u);
  EXPECT_EQ(offsetof(FlutterDesktopTextureInfo, type), 0u);
  EXPECT_EQ(offsetof(FlutterDesktopTextureInfo, pixel_buffer_config), 8u);
  EXPECT_EQ(offsetof(FlutterDesktopTextureInfo, gpu_surface_config), 8u);
  EXPECT_EQ(offsetof(FlutterDesktopTextureInfo, egl_image_config), 8u);

  EXPECT_EQ(sizeof(FlutterDesktopPixelBufferTextureConfig), 16u);
  EXPECT_EQ(offsetof(FlutterDesktopPixelBufferTextureConfig, callback), 0u);
  EXPECT_EQ(offsetof(FlutterDesktopPixelBufferTextureConfig, user_data), 8u);

  EXPECT_EQ(sizeof(FlutterDesktopEGLImageTextureConfig), 16u);
  EXPECT_EQ(offsetof(FlutterDesktopEGLImageTextureConfig, callback), 0u);
  EXPECT_EQ(offsetof(FlutterDesktopEGLImageTextureConfig, user_data), 8u);

  EXPECT_EQ(sizeof(FlutterDesktopGpuSurfaceTextureConfig), 32u);
  EXPECT_EQ(offsetof(FlutterDesktopGpuSurfaceTextureConfig, struct_size), 0u);
  EXPECT_EQ(offsetof(FlutterDesktopGpuSurfaceTextureConfig, type), 8u);
  EXPECT_EQ(offsetof(FlutterDesktopGpuSurfaceTextureConfig, callback), 16u);
  EXPECT_EQ(offsetof(FlutterDesktopGpuSurfaceTextureConfig, user_data), 24u);
}

TEST(EmbedderLayoutTest, EnumerationsCountFromZero) {
  EXPECT_EQ(int{kFlutterDesktopPixelBufferTexture}, 0);
  EXPECT_EQ(int{kFlutterDesktopGpuSurfaceTexture}, 1);
  EXPECT_EQ(int{kFlutterDesktopEGLImageTexture}, 2);
  EXPECT_EQ(int{kFlutterDesktopGpuSurfaceTypeNone}, 0);
  EXPECT_EQ(int{kFlutterDesktopGpuSurfaceTypeDxgiSharedHandle}, 1);
  EXPECT_EQ(int{kFlutterDesktopGpuSurfaceTypeD3d11Texture2D}, 2);
  EXPECT_EQ(int{kFlutterDesktopPixelFormatNone}, 0);
  EXPECT_EQ(int{kFlutterDesktopPixelFormatRGBA8888}, 1);
  EXPECT_EQ(int{kFlutterDesktopPixelFormatBGRA8888}, 2);
  EXPECT_EQ(sizeof(FlutterDesktopTextureType), 4u);
  EXPECT_EQ(sizeof(FlutterDesktopGpuSurfaceType), 4u);
  EXPECT_EQ(sizeof(FlutterDesktopPixelFormat), 4u);
}

template <typename Expected, typename Function>
constexpr bool HasType(Function) {
  return std::is_same_v<Expected*, Function>;
}

TEST(EmbedderLayoutTest, FunctionsHaveTheirSignatures) {
  using Registrar = FlutterDesktopPluginRegistrarRef;
  using Messenger = FlutterDesktopMessengerRef;
  using Textures = FlutterDesktopTextureRegistrarRef;
  using Handle = const FlutterDesktopMessageResponseHandle*;
  EXPECT_TRUE(HasType<Messenger(Registrar)>(FlutterDesktopPluginRegistrarGetMessenger));
  EXPECT_TRUE(HasType<Textures(Registrar)>(FlutterDesktopRegistrarGetTextureRegistrar));
  EXPECT_TRUE(HasType<void(Registrar, void (*)(Registrar))>(FlutterDesktopPluginRegistrarSetDestructionHandler));
  EXPECT_TRUE(HasType<bool(Messenger, const char*, const uint8_t*, size_t)>(FlutterDesktopMessengerSend));
  EXPECT_TRUE(
      (HasType<bool(Messenger, const char*, const uint8_t*, size_t, void (*)(const uint8_t*, size_t, void*), void*)>(
          FlutterDesktopMessengerSendWithReply)));
  EXPECT_TRUE((HasType<void(Messenger, Handle, const uint8_t*, size_t)>(FlutterDesktopMessengerSendResponse)));
  EXPECT_TRUE((HasType<void(Messenger, const char*, void (*)(Messenger, const FlutterDesktopMessage*, void*), void*)>(
      FlutterDesktopMessengerSetCallback)));
  EXPECT_TRUE((HasType<int64_t(Textures, const FlutterDesktopTextureInfo*)>(
      FlutterDesktopTextureRegistrarRegisterExternalTexture)));
  EXPECT_TRUE((HasType<bool(Textures, int64_t)>(FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable)));
  EXPECT_TRUE((HasType<void(Textures, int64_t, void (*)(void*), void*)>(
      FlutterDesktopTextureRegistrarUnregisterExternalTexture)));
}

TEST(EmbedderLayoutTest, TextureCallbacksHaveTheirSignatures) {
  static_assert(std::is_same_v<FlutterDesktopPixelBufferTextureCallback,
                               const FlutterDesktopPixelBuffer* (*)(size_t, size_t, void*)>);
  static_assert(std::is_same_v<FlutterDesktopGpuSurfaceTextureCallback,
                               const FlutterDesktopGpuSurfaceDescriptor* (*)(size_t, size_t, void*)>);
  static_assert(std::is_same_v<FlutterDesktopEGLImageTextureCallback,
                               const FlutterDesktopEGLImage* (*)(size_t, size_t, void*, void*, void*)>);
}

}  // namespace
}  // namespace client_wrapper_test
