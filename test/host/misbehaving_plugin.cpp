// A plug-in that does what a plug-in should not, for the host to survive. The environment variable
// ORBISK_MISBEHAVIOUR says what it does with its messages.

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "flutter_desktop.h"

namespace {

FlutterDesktopPluginRegistrarRef g_registrar = nullptr;

// One whose picture never changes.
int64_t RegisterTexture() {
  static const uint8_t pixel[4] = {};
  static const FlutterDesktopPixelBuffer picture = {pixel, 1, 1, nullptr, nullptr};
  FlutterDesktopTextureInfo texture = {};
  texture.type = kFlutterDesktopPixelBufferTexture;
  texture.pixel_buffer_config.callback = [](size_t, size_t, void*) { return &picture; };
  return FlutterDesktopTextureRegistrarRegisterExternalTexture(FlutterDesktopRegistrarGetTextureRegistrar(g_registrar),
                                                               &texture);
}

void OnMessage(FlutterDesktopMessengerRef messenger, const FlutterDesktopMessage* message, void*) {
  const char* const variable = std::getenv("ORBISK_MISBEHAVIOUR");
  const std::string misbehaviour = variable == nullptr ? "" : variable;
  const auto answer = [&](const std::string& bytes) {
    FlutterDesktopMessengerSendResponse(messenger, message->response_handle,
                                        reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  };
  if (misbehaviour == "throw") throw std::runtime_error("thrown by the plug-in");
  if (misbehaviour == "silence") return;
  if (misbehaviour == "abort") {
    std::puts("about to abort");
    std::fflush(stdout);
    std::abort();
  }
  if (misbehaviour == "unknown texture") {
    // Success, the 64-bit integer 12.
    answer(std::string("\x00\x04\x0c\x00\x00\x00\x00\x00\x00\x00", 10));
    return;
  }
  if (misbehaviour == "no frames") {
    // A call: 7, the length of its name, the name.
    const std::string name(reinterpret_cast<const char*>(message->message) + 2, message->message[1]);
    std::puts(name.c_str());
    std::fflush(stdout);
    // Success with the texture's number, which is below 256, or with true.
    const char id = name == "createTexture" ? static_cast<char>(RegisterTexture()) : '\0';
    answer(name == "createTexture" ? std::string("\x00\x04", 2) + id + std::string(7, '\0')
                                   : std::string("\x00\x01", 2));
    return;
  }
  answer("");  // not implemented
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void OrbiskPluginRegisterWithRegistrar(
    FlutterDesktopPluginRegistrarRef registrar) {
  g_registrar = registrar;
  FlutterDesktopMessengerSetCallback(FlutterDesktopPluginRegistrarGetMessenger(registrar), "orbisk", OnMessage,
                                     nullptr);
}
