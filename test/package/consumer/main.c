/* Registers the plug-in as a Flutter application's generated registrant does, with as much of an embedder as that takes,
   and ends it again. */

#include <orbisk/orbisk_plugin.h>
#include <stdio.h>
#include <string.h>

typedef void (*DestructionHandler)(struct FlutterDesktopPluginRegistrar* registrar);

static int registrar, messenger, texture_registrar; /* handles: their addresses */
static DestructionHandler destroy;
static char channel[32];

void* FlutterDesktopPluginRegistrarGetMessenger(struct FlutterDesktopPluginRegistrar* of) {
  return (void*)of == &registrar ? &messenger : NULL;
}
void* FlutterDesktopRegistrarGetTextureRegistrar(struct FlutterDesktopPluginRegistrar* of) {
  return (void*)of == &registrar ? &texture_registrar : NULL;
}
void FlutterDesktopPluginRegistrarSetDestructionHandler(struct FlutterDesktopPluginRegistrar* of,
                                                        DestructionHandler handler) {
  (void)of;
  destroy = handler;
}
void FlutterDesktopMessengerSetCallback(void* of, const char* name, void* callback, void* user_data) {
  (void)user_data;
  if (of == &messenger && callback != NULL) strncpy(channel, name, sizeof channel - 1);
}

int main(void) {
  OrbiskPluginRegisterWithRegistrar((struct FlutterDesktopPluginRegistrar*)&registrar);
  if (destroy == NULL) return 1;
  destroy((struct FlutterDesktopPluginRegistrar*)&registrar);
  printf("channel: %s\n", channel);
  return 0;
}
