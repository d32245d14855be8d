#ifndef CLIENT_WRAPPER_TEXTURE_REGISTRAR_IMPL_H_
#define CLIENT_WRAPPER_TEXTURE_REGISTRAR_IMPL_H_

#include <functional>

#include "flutter/texture_registrar.h"
#include "flutter_desktop.h"

namespace flutter {

/// A texture registrar over the embedder's.
class TextureRegistrarImpl : public TextureRegistrar {
 public:
  explicit TextureRegistrarImpl(FlutterDesktopTextureRegistrarRef registrar) : registrar_(registrar) {}

  int64_t RegisterTexture(TextureVariant* texture) override;
  bool MarkTextureFrameAvailable(int64_t texture_id) override;
  void UnregisterTexture(int64_t texture_id, std::function<void()> callback) override;
  bool UnregisterTexture(int64_t texture_id) override;

 private:
  FlutterDesktopTextureRegistrarRef registrar_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_TEXTURE_REGISTRAR_IMPL_H_
