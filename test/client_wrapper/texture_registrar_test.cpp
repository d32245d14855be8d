// Textures, from the plug-in to the engine and its raster thread.

#include "flutter/texture_registrar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "client_wrapper/texture_registrar_impl.h"
#include "embedder_test.h"
#include "message_bytes.h"
#include "vtable_slot.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char kUnknownVariant[] = "Attempting to register unknown texture variant.\n";

class TextureRegistrarTest : public EmbedderTest {
 protected:
  TextureRegistrarTest() { embedder_.ClearCalls(); }

  TextureRegistrarImpl textures_{FlutterDesktopRegistrarGetTextureRegistrar(embedder_.registrar())};
  TextureVariant texture_{PixelBufferTexture([](size_t, size_t) { return nullptr; })};
};

TEST(TextureVariantTest, KindsKeepTheirOrder) {
  static_assert(std::variant_size_v<TextureVariant> == 3);
  static_assert(std::is_same_v<std::variant_alternative_t<0, TextureVariant>, PixelBufferTexture>);
  static_assert(std::is_same_v<std::variant_alternative_t<1, TextureVariant>, GpuSurfaceTexture>);
  static_assert(std::is_same_v<std::variant_alternative_t<2, TextureVariant>, EGLImageTexture>);
}

TEST_F(TextureRegistrarTest, VirtualOperationsFollowTheDestructorInOrder) {
  static_assert(std::has_virtual_destructor_v<TextureRegistrar>);
  using UnregisterWithCallback = void (TextureRegistrar::*)(int64_t, std::function<void()>);
  using Unregister = bool (TextureRegistrar::*)(int64_t);
  EXPECT_EQ(VtableSlot(&TextureRegistrar::RegisterTexture), 2u);
  EXPECT_EQ(VtableSlot(&TextureRegistrar::MarkTextureFrameAvailable), 3u);
  EXPECT_EQ(VtableSlot(static_cast<UnregisterWithCallback>(&TextureRegistrar::UnregisterTexture)), 4u);
  EXPECT_EQ(VtableSlot(static_cast<Unregister>(&TextureRegistrar::UnregisterTexture)), 5u);
}

// ---- Registering --------------------------------------------------------------------------------

TEST_F(TextureRegistrarTest, PixelBufferTextureRegistersWithItselfAsUserData) {
  EXPECT_EQ(textures_.RegisterTexture(&texture_), 1);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("TextureRegistrarRegisterExternalTexture(pixel buffer) = 1"));
  const FlutterDesktopTextureInfo info = embedder_.texture(1).info;
  EXPECT_EQ(info.type, kFlutterDesktopPixelBufferTexture);
  EXPECT_EQ(info.pixel_buffer_config.user_data, &std::get<PixelBufferTexture>(texture_));
}

TEST_F(TextureRegistrarTest, PixelBufferCallbackPassesTheSizeAndReturnsTheBuffer) {
  const FlutterDesktopPixelBuffer buffer = {};
  texture_ = PixelBufferTexture(
      [&](size_t width, size_t height) { return width == 640 && height == 480 ? &buffer : nullptr; });
  const int64_t id = textures_.RegisterTexture(&texture_);
  EXPECT_EQ(embedder_.FetchFrame(id, 640, 480), &buffer);
  EXPECT_EQ(embedder_.FetchFrame(id, 480, 640), nullptr);
}

TEST_F(TextureRegistrarTest, GpuSurfaceTextureRegistersWithSizeAndSurfaceType) {
  texture_ = GpuSurfaceTexture(kFlutterDesktopGpuSurfaceTypeD3d11Texture2D,
                               [](size_t, size_t) -> FlutterDesktopGpuSurfaceDescriptor* { return nullptr; });
  EXPECT_EQ(textures_.RegisterTexture(&texture_), 1);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("TextureRegistrarRegisterExternalTexture(GPU surface) = 1"));
  const FlutterDesktopTextureInfo info = embedder_.texture(1).info;
  EXPECT_EQ(info.type, kFlutterDesktopGpuSurfaceTexture);
  EXPECT_EQ(info.gpu_surface_config.struct_size, 32u);
  EXPECT_EQ(info.gpu_surface_config.type, kFlutterDesktopGpuSurfaceTypeD3d11Texture2D);
  EXPECT_EQ(info.gpu_surface_config.user_data, &std::get<GpuSurfaceTexture>(texture_));
}

TEST_F(TextureRegistrarTest, GpuSurfaceCallbackPassesTheSizeAndReturnsTheDescriptor) {
  const FlutterDesktopGpuSurfaceDescriptor descriptor = {};
  texture_ = GpuSurfaceTexture(kFlutterDesktopGpuSurfaceTypeNone, [&](size_t width, size_t height) {
    return width == 640 && height == 480 ? &descriptor : nullptr;
  });
  const auto config = embedder_.texture(textures_.RegisterTexture(&texture_)).info.gpu_surface_config;
  EXPECT_EQ(config.callback(640, 480, config.user_data), &descriptor);
  EXPECT_EQ(config.callback(480, 640, config.user_data), nullptr);
}

TEST_F(TextureRegistrarTest, EGLImageTextureRegistersWithItselfAsUserData) {
  texture_ = EGLImageTexture([](size_t, size_t, void*, void*) -> const FlutterDesktopEGLImage* { return nullptr; });
  EXPECT_EQ(textures_.RegisterTexture(&texture_), 1);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("TextureRegistrarRegisterExternalTexture(EGL image) = 1"));
  const FlutterDesktopTextureInfo info = embedder_.texture(1).info;
  EXPECT_EQ(info.type, kFlutterDesktopEGLImageTexture);
  EXPECT_EQ(info.egl_image_config.user_data, &std::get<EGLImageTexture>(texture_));
}

TEST_F(TextureRegistrarTest, EGLImageCallbackPassesSizeDisplayAndContextAndReturnsTheImage) {
  const FlutterDesktopEGLImage image = {};
  int display = 0;
  int context = 0;
  texture_ = EGLImageTexture([&](size_t width, size_t height, void* egl_display, void* egl_context) {
    return width == 640 && height == 480 && egl_display == &display && egl_context == &context ? &image : nullptr;
  });
  const auto config = embedder_.texture(textures_.RegisterTexture(&texture_)).info.egl_image_config;
  EXPECT_EQ(config.callback(640, 480, &display, &context, config.user_data), &image);
  EXPECT_EQ(config.callback(640, 480, &context, &display, config.user_data), nullptr);
}

TEST_F(TextureRegistrarTest, EachTextureGetsTheEmbeddersNextId) {
  TextureVariant other = texture_;
  EXPECT_EQ(textures_.RegisterTexture(&texture_), 1);
  EXPECT_EQ(textures_.RegisterTexture(&other), 2);
}

TEST_F(TextureRegistrarTest, IdComesBackInAll64Bits) {
  fakes::FakeEmbedder embedder(int64_t{1} << 40);
  TextureRegistrarImpl textures(FlutterDesktopRegistrarGetTextureRegistrar(embedder.registrar()));
  EXPECT_EQ(textures.RegisterTexture(&texture_), int64_t{1} << 40);
}

TEST_F(TextureRegistrarTest, RefusalOfTheEmbedderComesBack) {
  embedder_.RefuseTextures(true);
  EXPECT_EQ(textures_.RegisterTexture(&texture_), -1);
}

/// Throws while it becomes a texture, which leaves a variant without a kind.
struct Spoiler {
  operator PixelBufferTexture::CopyBufferCallback() const { throw std::runtime_error("spoilt"); }
};

TEST_F(TextureRegistrarTest, TextureOfNoKindGivesMinusOneWithALineAndNoCall) {
  EXPECT_THROW(texture_.emplace<PixelBufferTexture>(Spoiler()), std::runtime_error);
  ASSERT_TRUE(texture_.valueless_by_exception());
  for (TextureVariant* const texture : {static_cast<TextureVariant*>(nullptr), &texture_}) {
    int64_t id = 0;
    EXPECT_EQ(StderrOf([&] { id = textures_.RegisterTexture(texture); }), kUnknownVariant);
    EXPECT_EQ(id, -1);
    EXPECT_THAT(embedder_.call_texts(), IsEmpty());
  }
}

// ---- Frames -------------------------------------------------------------------------------------

TEST_F(TextureRegistrarTest, MarkTellsTheEmbedder) {
  const int64_t id = textures_.RegisterTexture(&texture_);
  EXPECT_TRUE(textures_.MarkTextureFrameAvailable(id));
  EXPECT_EQ(embedder_.texture(id).marks, 1);
}

TEST_F(TextureRegistrarTest, MarkOfAnUnknownTextureIsFalse) {
  fakes::FakeEmbedder embedder;
  TextureRegistrarImpl textures(FlutterDesktopRegistrarGetTextureRegistrar(embedder.registrar()));
  EXPECT_FALSE(textures.MarkTextureFrameAvailable(5));
  EXPECT_THAT(embedder.complaints(),
              ElementsAre("TextureRegistrarMarkExternalTextureFrameAvailable: texture 5 is not registered"));
}

TEST_F(TextureRegistrarTest, MarksFromAnotherThreadCount) {
  const int64_t id = textures_.RegisterTexture(&texture_);
  std::thread marking([&] {
    for (int i = 0; i < 100; ++i) textures_.MarkTextureFrameAvailable(id);
  });
  EXPECT_TRUE(embedder_.WaitForMarks(id, 100));
  marking.join();
}

// ---- Unregistering ------------------------------------------------------------------------------

TEST_F(TextureRegistrarTest, UnregisterAloneOrWithAnEmptyCallbackNamesNoCallback) {
  TextureVariant other = texture_;
  const int64_t first = textures_.RegisterTexture(&texture_);
  const int64_t second = textures_.RegisterTexture(&other);
  embedder_.ClearCalls();
  EXPECT_TRUE(textures_.UnregisterTexture(first));
  textures_.UnregisterTexture(second, nullptr);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("TextureRegistrarUnregisterExternalTexture(1, null, null)",
                                                  "TextureRegistrarUnregisterExternalTexture(2, null, null)"));
}

TEST_F(TextureRegistrarTest, UnregisterCallbackRunsOnceWhenTheEngineLetsGoAndIsDestroyed) {
  const int64_t id = textures_.RegisterTexture(&texture_);
  const auto calls = std::make_shared<int>(0);
  embedder_.ClearCalls();
  textures_.UnregisterTexture(id, [calls] { ++*calls; });
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("TextureRegistrarUnregisterExternalTexture(1, callback, user data)"));
  EXPECT_EQ(*calls, 0);
  EXPECT_EQ(calls.use_count(), 2);

  embedder_.LetGoOfTexture(id);
  EXPECT_EQ(*calls, 1);
  EXPECT_EQ(calls.use_count(), 1);
}

TEST_F(TextureRegistrarTest, TexturesUnregisterIndependently) {
  TextureVariant other = texture_;
  const int64_t first = textures_.RegisterTexture(&texture_);
  const int64_t second = textures_.RegisterTexture(&other);
  textures_.UnregisterTexture(first);
  EXPECT_FALSE(embedder_.texture(first).registered);
  EXPECT_TRUE(textures_.MarkTextureFrameAvailable(second));
}

}  // namespace
}  // namespace client_wrapper_test
