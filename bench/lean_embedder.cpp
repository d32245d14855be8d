#include "bench/lean_embedder.h"

#include <memory>

#include "flutter/standard_method_codec.h"
#include "flutter_desktop.h"
#include "orbisk/orbisk_plugin.h"

namespace {

using flutter::EncodableValue;

int g_registrar;  // a handle: its address
FlutterDesktopOnPluginRegistrarDestroyed g_on_destroyed = nullptr;
FlutterDesktopMessageCallback g_on_message = nullptr;
void* g_message_data = nullptr;
FlutterDesktopPixelBufferTextureConfig g_texture = {};
lean_embedder::Bytes g_reply;

template <typename Handle>
Handle HandleOf(int& object) {
  return reinterpret_cast<Handle>(&object);
}

}  // namespace

namespace lean_embedder {

std::atomic<long> g_frames{0};

void Start() { OrbiskPluginRegisterWithRegistrar(HandleOf<FlutterDesktopPluginRegistrarRef>(g_registrar)); }
void Stop() { g_on_destroyed(HandleOf<FlutterDesktopPluginRegistrarRef>(g_registrar)); }

Bytes EncodeCall(const std::string& method, const EncodableValue& arguments) {
  const flutter::MethodCall<EncodableValue> call(method, std::make_unique<EncodableValue>(arguments));
  return *flutter::StandardMethodCodec::GetInstance().EncodeMethodCall(call);
}

void Deliver(const Bytes& message) {
  g_reply.clear();
  const FlutterDesktopMessage call = {sizeof call, "orbisk", message.data(), message.size(),
                                      HandleOf<const FlutterDesktopMessageResponseHandle*>(g_registrar)};
  g_on_message(HandleOf<FlutterDesktopMessengerRef>(g_registrar), &call, g_message_data);
}

const Bytes& Reply() { return g_reply; }

bool Call(const std::string& method, const EncodableValue& arguments) {
  Deliver(EncodeCall(method, arguments));
  return !g_reply.empty() && g_reply[0] == 0;
}

void FetchFrame() { g_texture.callback(0, 0, g_texture.user_data); }

}  // namespace lean_embedder

extern "C" {

FlutterDesktopMessengerRef FlutterDesktopPluginRegistrarGetMessenger(FlutterDesktopPluginRegistrarRef) {
  return HandleOf<FlutterDesktopMessengerRef>(g_registrar);
}
FlutterDesktopTextureRegistrarRef FlutterDesktopRegistrarGetTextureRegistrar(FlutterDesktopPluginRegistrarRef) {
  return HandleOf<FlutterDesktopTextureRegistrarRef>(g_registrar);
}
void FlutterDesktopPluginRegistrarSetDestructionHandler(FlutterDesktopPluginRegistrarRef,
                                                        FlutterDesktopOnPluginRegistrarDestroyed callback) {
  g_on_destroyed = callback;
}
bool FlutterDesktopMessengerSend(FlutterDesktopMessengerRef, const char*, const uint8_t*, size_t) { return true; }
bool FlutterDesktopMessengerSendWithReply(FlutterDesktopMessengerRef, const char*, const uint8_t*, size_t,
                                          FlutterDesktopBinaryReply, void*) {
  return true;
}
void FlutterDesktopMessengerSendResponse(FlutterDesktopMessengerRef, const FlutterDesktopMessageResponseHandle*,
                                         const uint8_t* data, size_t data_length) {
  g_reply.assign(data, data + data_length);
}
void FlutterDesktopMessengerSetCallback(FlutterDesktopMessengerRef, const char*, FlutterDesktopMessageCallback callback,
                                        void* user_data) {
  g_on_message = callback;
  g_message_data = user_data;
}
int64_t FlutterDesktopTextureRegistrarRegisterExternalTexture(FlutterDesktopTextureRegistrarRef,
                                                              const FlutterDesktopTextureInfo* info) {
  g_texture = info->pixel_buffer_config;
  return 1;
}
bool FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(FlutterDesktopTextureRegistrarRef, int64_t) {
  ++lean_embedder::g_frames;
  return true;
}
void FlutterDesktopTextureRegistrarUnregisterExternalTexture(FlutterDesktopTextureRegistrarRef, int64_t,
                                                             void (*callback)(void*), void* user_data) {
  if (callback != nullptr) callback(user_data);
}

}  // extern "C"
