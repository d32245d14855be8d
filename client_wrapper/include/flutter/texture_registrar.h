#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_TEXTURE_REGISTRAR_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_TEXTURE_REGISTRAR_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <variant>

#include "flutter_desktop.h"

namespace flutter {

/// A texture whose frames lie in memory.
///
/// The function is called on the engine's raster thread with the size at which the texture is shown; what it
/// returns stays the texture's own. Null: no frame.
class PixelBufferTexture {
 public:
  using CopyBufferCallback = std::function<const FlutterDesktopPixelBuffer*(size_t width, size_t height)>;

  explicit PixelBufferTexture(CopyBufferCallback copy) : copy_(std::move(copy)) {}

  const FlutterDesktopPixelBuffer* CopyPixelBuffer(size_t width, size_t height) const { return copy_(width, height); }

 private:
  CopyBufferCallback copy_;
};

/// A texture whose frames are surfaces of the GPU.
class GpuSurfaceTexture {
 public:
  using ObtainDescriptorCallback =
      std::function<const FlutterDesktopGpuSurfaceDescriptor*(size_t width, size_t height)>;

  GpuSurfaceTexture(FlutterDesktopGpuSurfaceType surface_type, ObtainDescriptorCallback obtain)
      : surface_type_(surface_type), obtain_(std::move(obtain)) {}

  FlutterDesktopGpuSurfaceType surface_type() const { return surface_type_; }
  const FlutterDesktopGpuSurfaceDescriptor* ObtainDescriptor(size_t width, size_t height) const {
    return obtain_(width, height);
  }

 private:
  FlutterDesktopGpuSurfaceType surface_type_;
  ObtainDescriptorCallback obtain_;
};

/// A texture whose frames are EGL images.
class EGLImageTexture {
 public:
  using GetEGLImageCallback =
      std::function<const FlutterDesktopEGLImage*(size_t width, size_t height, void* egl_display, void* egl_context)>;

  explicit EGLImageTexture(GetEGLImageCallback get) : get_(std::move(get)) {}

  const FlutterDesktopEGLImage* GetEGLImage(size_t width, size_t height, void* egl_display, void* egl_context) const {
    return get_(width, height, egl_display, egl_context);
  }

 private:
  GetEGLImageCallback get_;
};

using TextureVariant = std::variant<PixelBufferTexture, GpuSurfaceTexture, EGLImageTexture>;

/// Makes textures known to the engine, which shows them by their identifiers.
///
/// Thread   any.
class TextureRegistrar {
 public:
  virtual ~TextureRegistrar() = default;

  /// The texture's identifier, 0 or more, or -1 when it could not be registered.
  ///
  /// Lifetime the caller keeps `texture` alive and in place while it is registered.
  virtual int64_t RegisterTexture(TextureVariant* texture) = 0;

  /// Tells the engine that a new frame is there; false when it does not know the identifier.
  virtual bool MarkTextureFrameAvailable(int64_t texture_id) = 0;

  /// Takes the texture back. `callback`, when not empty, is called once the engine has let go of it.
  virtual void UnregisterTexture(int64_t texture_id, std::function<void()> callback) = 0;
  /// Takes the texture back without saying when the engine has let go of it; always true.
  virtual bool UnregisterTexture(int64_t texture_id) = 0;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_TEXTURE_REGISTRAR_H_
