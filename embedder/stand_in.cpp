// Every function of the embedder's C interface, with no embedder behind it. Whoever gets here runs the plug-in
// without a Flutter application and without a program that plays one, so it says that and ends.

#include <cstdio>
#include <cstdlib>

#include "flutter_desktop.h"

namespace {

[[noreturn]] void NoEmbedder(const char* function) {
  std::fprintf(stderr,
               "%s: this libflutter_elinux_x11.so is only Orbisk's link-time stand-in; "
               "run the plug-in in a Flutter application or in orbisk_host.\n",
               function);
  std::abort();
}

}  // namespace

extern "C" {

FlutterDesktopMessengerRef FlutterDesktopPluginRegistrarGetMessenger(FlutterDesktopPluginRegistrarRef) {
  NoEmbedder(__func__);
}
FlutterDesktopTextureRegistrarRef FlutterDesktopRegistrarGetTextureRegistrar(FlutterDesktopPluginRegistrarRef) {
  NoEmbedder(__func__);
}
void FlutterDesktopPluginRegistrarSetDestructionHandler(FlutterDesktopPluginRegistrarRef,
                                                        FlutterDesktopOnPluginRegistrarDestroyed) {
  NoEmbedder(__func__);
}
bool FlutterDesktopMessengerSend(FlutterDesktopMessengerRef, const char*, const uint8_t*, size_t) {
  NoEmbedder(__func__);
}
bool FlutterDesktopMessengerSendWithReply(FlutterDesktopMessengerRef, const char*, const uint8_t*, size_t,
                                          FlutterDesktopBinaryReply, void*) {
  NoEmbedder(__func__);
}
void FlutterDesktopMessengerSendResponse(FlutterDesktopMessengerRef, const FlutterDesktopMessageResponseHandle*,
                                         const uint8_t*, size_t) {
  NoEmbedder(__func__);
}
void FlutterDesktopMessengerSetCallback(FlutterDesktopMessengerRef, const char*, FlutterDesktopMessageCallback, void*) {
  NoEmbedder(__func__);
}
int64_t FlutterDesktopTextureRegistrarRegisterExternalTexture(FlutterDesktopTextureRegistrarRef,
                                                              const FlutterDesktopTextureInfo*) {
  NoEmbedder(__func__);
}
bool FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(FlutterDesktopTextureRegistrarRef, int64_t) {
  NoEmbedder(__func__);
}
void FlutterDesktopTextureRegistrarUnregisterExternalTexture(FlutterDesktopTextureRegistrarRef, int64_t,
                                                             void (*)(void*), void*) {
  NoEmbedder(__func__);
}

}  // extern "C"
