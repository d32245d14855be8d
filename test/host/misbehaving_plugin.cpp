// A plug-in that does what a plug-in should not, for the host to survive. The environment variable
// ORBISK_MISBEHAVIOUR says what it does with its first message.

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "flutter_desktop.h"

namespace {

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
  answer("");  // not implemented
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void OrbiskPluginRegisterWithRegistrar(
    FlutterDesktopPluginRegistrarRef registrar) {
  FlutterDesktopMessengerSetCallback(FlutterDesktopPluginRegistrarGetMessenger(registrar), "orbisk",
                                     OnMessage, nullptr);
}
